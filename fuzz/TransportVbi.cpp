// Arbitrary bytes as PES packets of teletext and other lines, and as a transport stream: pieces make no difference, and the
// lines that are read are written and read again, also as packets of a frame.
#include <qlx/streams/teletext_packets.h>
#include <qlx/streams/ts/vbi_reader.h>

#include "FuzzSupport.h"

#include <algorithm>

using namespace qlx::streams::ts;
using qlxfuzz::require;

namespace {

struct FoundVbi {
    std::vector<std::int64_t> times;
    std::vector<qlx::teletext::SdpLine> lines;
    std::vector<qlx::Finding> findings;
    std::uint64_t rest = 0;

    friend bool operator==(const FoundVbi&, const FoundVbi&) = default;
};

FoundVbi readStream(std::span<const std::uint8_t> bytes, std::size_t piece) {
    FoundVbi found;
    qlx::Findings findings;
    VbiReader reader({}, &findings);
    const auto take = [&] {
        while (const VbiMoment* const moment = reader.next()) {
            found.times.push_back(moment->time90k);
            found.lines.insert(found.lines.end(), moment->vbi.teletext.begin(), moment->vbi.teletext.end());
        }
    };
    for (std::size_t done = 0; done < bytes.size(); done += piece) {
        const auto part = bytes.subspan(done, std::min(piece, bytes.size() - done));
        reader.push(std::vector<std::uint8_t>(part.begin(), part.end()));
        take();
    }
    reader.finish();
    take();
    found.findings.assign(findings.begin(), findings.end());
    found.rest = findings.rest();
    return found;
}

/// A program with a stream of private data, and what that carries.
std::vector<std::uint8_t> streamWith(std::span<const std::uint8_t> pes, bool isNamed) {
    std::vector<PacketBytes> packets;
    Pat association;
    association.programs = {{1, 0x100}};
    Pmt map;
    map.header.extension = 1;
    map.streams = {{kPrivatePesType, 0x101, {}}};
    if (isNamed) {
        map.streams[0].descriptors = {teletextDescriptor(std::vector<TeletextPage>(1))};
    }
    PayloadWriter(kPatPid).addSection(*writePat(association), packets);
    PayloadWriter(0x100).addSection(*writePmt(map), packets);
    PayloadWriter(0x101).addPes(pes, packets);
    std::vector<std::uint8_t> stream;
    for (const PacketBytes& packet : packets) {
        stream.insert(stream.end(), packet.begin(), packet.end());
    }
    return stream;
}

/// Each field's lines come back in their order, but for what is more than its sixteen.
void putIntoPackets(std::span<const qlx::teletext::SdpLine> lines) {
    constexpr std::size_t kFieldLines = 16;
    qlx::streams::Frame frame;
    frame.teletext.assign(lines.begin(), lines.end());
    qlx::streams::TeletextPackets packets;
    qlx::Findings findings;
    packets.put(frame, &findings);
    require(frame.teletext.empty());
    std::vector<qlx::teletext::SdpLine> back;
    for (const qlx::anc::Packet& packet : frame.packets) {
        qlx::Findings none;
        const auto sdp = qlx::teletext::parseSdp(packet.userData, &none);
        require(sdp && none.empty());
        back.insert(back.end(), sdp->lines.begin(), sdp->lines.end());
    }
    std::size_t place = 0;
    for (const bool isOdd : {true, false}) {
        std::size_t count = 0;
        for (const qlx::teletext::SdpLine& line : lines) {
            if (line.isOddField() == isOdd && count++ < kFieldLines) {
                require(place < back.size() && back[place].isOddField() == isOdd && back[place].bytes == line.bytes);
                require(back[place].line() >= 7 && back[place].line() <= 22);
                ++place;
            }
        }
    }
    require(place == back.size() && (place == lines.size()) == findings.empty());
}

}  // namespace

// How the bytes are read, the size of a piece, the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t form = input.takeByte();
    const std::size_t piece = input.takeByte() + std::size_t{1};
    const std::vector<std::uint8_t> bytes = input.rest();
    // Alone, as a PES packet of a program, or with a header in front of them.
    std::vector<std::uint8_t> stream = bytes;
    if (form % 4 == 1) {
        stream = streamWith(bytes, form > 128);
    } else if (form % 4 >= 2) {
        std::vector<std::uint8_t> pes(kPesHeaderBytes + kVbiHeaderLength);
        PesHeader header;
        header.packetLength = static_cast<std::uint16_t>(
            std::min<std::size_t>(bytes.size() + pes.size() - kPesStartBytes, form % 4 == 2 ? 0xFFFF : 0));
        header.pts = 90000;
        header.headerLength = kVbiHeaderLength;
        (void)writePesHeader(header, pes);
        pes.insert(pes.end(), bytes.begin(), bytes.end());
        stream = streamWith(pes, form > 128);
    }
    const FoundVbi whole = readStream(stream, stream.size() + 1);
    require(whole == readStream(stream, piece));

    constexpr std::size_t kLines = 64;
    const std::span lines = std::span(whole.lines).first(std::min(whole.lines.size(), kLines));
    std::vector<std::uint8_t> pes;
    require(writeTeletextPes(lines, 1, true, pes));
    std::size_t headerBytes = 0;
    PesView view;
    view.header = *parsePesHeader(pes, headerBytes);
    view.payload = std::span(pes).subspan(headerBytes);
    VbiPacket packet;
    qlx::Findings findings;
    require(readVbi(view, packet, &findings) && findings.empty());
    require(std::equal(packet.teletext.begin(), packet.teletext.end(), lines.begin(), lines.end()));
    putIntoPackets(lines);
    return 0;
}
