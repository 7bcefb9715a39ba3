// Anything as sections, PES packets and teletext in a transport stream: every packet is whole and counted, the clock
// goes forward, and all comes back in its order.
#include <qlx/streams/transport_writer.h>
#include <qlx/streams/ts/multiplexer.h>
#include <qlx/streams/ts/vbi_reader.h>
#include <qlx/teletext/sdp.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

using namespace qlx::streams;
using qlxfuzz::require;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t kSections = 0x200;
constexpr std::uint16_t kPes = 0x201;
constexpr std::uint16_t kPmt = 0x100;

class StreamChecker {
public:
    void take(const ts::PacketBytes& bytes) {
        qlx::Findings findings;
        const auto packet = ts::parsePacket(bytes, &findings);
        require(packet && findings.empty());
        if (packet->pcr) {
            // The clock begins 200 ms in front of the first time, and so may begin anew.
            const std::uint64_t step = _pcr ? (*packet->pcr + ts::kPcrWrap - *_pcr) % ts::kPcrWrap : 1;
            require(step > 0 && step < ts::kPcrWrap / 2);
            _pcr = packet->pcr;
        }
        if (packet->hasPayload && packet->pid != ts::kNullPid) {
            const auto [place, isFirst] = _counters.try_emplace(packet->pid, packet->continuity);
            require(isFirst || packet->continuity == ((place->second + 1U) & 0xFU));
            place->second = packet->continuity;
        }
        if (packet->pid == kSections) {
            sections.push(*packet);
            while (const auto section = sections.next()) {
                found.emplace_back(section->bytes.begin(), section->bytes.end());
            }
        }
    }

    ts::SectionReader sections{ts::SectionCrc::Never};
    std::vector<Bytes> found;

private:
    std::map<std::uint16_t, std::uint8_t> _counters;
    std::optional<std::uint64_t> _pcr;
};

/// Sections of any bytes and PES packets at times that ascend.
void multiplex(qlxfuzz::Input& input) {
    qlx::Findings findings;
    ts::MultiplexOptions options;
    options.bitrate = input.takeByte() * 8'000U;
    options.mapPid = kPmt;
    options.map.streams = {{ts::kSpliceType, kSections, {}}, {ts::kPrivatePesType, kPes, {}}};
    options.serviceName = input.takeByte() % 2 == 0 ? "" : "a";
    ts::Multiplexer multiplexer(options, &findings);
    StreamChecker checker;
    std::vector<Bytes> given;
    std::int64_t time = 0;
    for (std::size_t items = 0; !input.empty() && items < 20; ++items) {
        const std::uint8_t kind = input.takeByte();
        time += std::int64_t{input.takeByte()} * 300;
        Bytes bytes(4 + (kind >> 1U) * std::size_t{5});
        std::generate(bytes.begin(), bytes.end(), [&input] { return input.takeByte(); });
        if ((kind & 1U) != 0) {
            // A table of private data without what a CRC is for: table_id, section_length.
            bytes[0] = 0x80;
            bytes[1] = static_cast<std::uint8_t>((bytes.size() - 3) >> 8U);
            bytes[2] = static_cast<std::uint8_t>(bytes.size() - 3);
            multiplexer.addSection(kSections, bytes, time);
            given.push_back(std::move(bytes));
        } else {
            multiplexer.addPes(kPes, bytes, time);
        }
        multiplexer.advanceTo(time);
        for (const ts::PacketBytes& packet : multiplexer.takePackets()) {
            checker.take(packet);
        }
    }
    multiplexer.finish(time);
    for (const ts::PacketBytes& packet : multiplexer.takePackets()) {
        checker.take(packet);
    }
    require(checker.found == given);
    for (const qlx::Finding& finding : findings) {
        require(!finding.text().empty());
    }
}

class StreamSink final : public ByteSink {
public:
    std::optional<qlx::Finding> write(std::span<const std::uint8_t> written) override {
        bytes.insert(bytes.end(), written.begin(), written.end());
        return std::nullopt;
    }
    Bytes bytes;
};

/// Frames with teletext come back line by line.
void writeTeletext(qlxfuzz::Input& input) {
    StreamSink sink;
    qlx::Findings findings;
    const bool isFifty = input.takeByte() % 2 != 0;
    TransportWriter writer(sink, {.rate = isFifty ? qlx::FrameRate::Fps50 : qlx::FrameRate::Fps25, .pages = {{}}});
    std::vector<qlx::teletext::SdpLine> given;
    for (std::uint64_t frames = 0; !input.empty() && frames < 30; ++frames) {
        Frame frame;
        frame.number = frames;
        const std::size_t lines = input.takeByte() % 6;
        for (std::size_t number = 0; number < lines; ++number) {
            qlx::teletext::SdpLine line;
            line.descriptor = static_cast<std::uint8_t>(0xE7U + number);
            std::generate(line.bytes.begin(), line.bytes.end(), [&input] { return input.takeByte(); });
            // Clock run-in, framing code, magazine 1 and packet 0: no filling.
            constexpr std::array<std::uint8_t, 5> kHeader{0x55, 0x55, 0x27, 0x02, 0x15};
            std::copy(kHeader.begin(), kHeader.end(), line.bytes.begin());
            frame.teletext.push_back(line);
            given.push_back(line);
        }
        require(!writer.write(frame, &findings));
    }
    require(!writer.finish());
    require(sink.bytes.size() % ts::kPacketBytes == 0);
    qlx::Findings damage;
    ts::VbiReader reader({}, &damage);
    StreamChecker checker;
    for (std::size_t place = 0; place < sink.bytes.size(); place += ts::kPacketBytes) {
        ts::PacketBytes packet{};
        std::copy_n(sink.bytes.begin() + static_cast<std::ptrdiff_t>(place), packet.size(), packet.begin());
        checker.take(packet);
    }
    reader.push(sink.bytes);
    reader.finish();
    std::size_t place = 0;
    while (const ts::VbiMoment* const moment = reader.next()) {
        for (const qlx::teletext::SdpLine& line : moment->vbi.teletext) {
            require(place < given.size() && line.line() == given[place].line() && line.bytes == given[place].bytes);
            ++place;
        }
    }
    require(place == given.size() && damage.empty() && findings.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    if (input.takeByte() % 2 == 0) {
        multiplex(input);
    } else {
        writeTeletext(input);
    }
    return 0;
}
