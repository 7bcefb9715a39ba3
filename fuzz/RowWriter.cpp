// Packets of all kinds on rows of all kinds: all of them are written or none, nothing else changes, and they are read
// back one behind the other.
#include <qlx/anc/row.h>

#include "FuzzSupport.h"
#include "SlowRowReader.h"

#include <algorithm>
#include <vector>

using qlxfuzz::require;
using namespace qlx::anc;

namespace {

Packet takeContent(qlxfuzz::Input& input) {
    Packet packet;
    packet.did = input.takeByte();
    packet.sdid = input.takeByte();
    packet.userData.resize(input.takeByte());
    std::generate(packet.userData.begin(), packet.userData.end(), [&input] { return input.takeByte(); });
    return packet;
}

Channels channelsOf(Channel channel) {
    return channel == Channel::Luma     ? Channels::Luma
           : channel == Channel::Chroma ? Channels::Chroma
                                        : Channels::SdMultiplex;
}

/// A blank row, or one of any bytes.
std::vector<std::uint8_t> makeRow(qlxfuzz::Input& input, RowFormat format, std::size_t width, bool isBlank) {
    std::vector<std::uint8_t> row = blankRow(format, width, RowPadding::None);
    for (std::uint8_t& byte : row) {
        byte = isBlank ? byte : input.takeByte();
    }
    return row;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const unsigned form = input.takeByte();
    const RowWriteOptions options{.format = static_cast<RowFormat>(form & 1U),
                                  .channel = static_cast<Channel>((form >> 1U) % 3),
                                  .width = 1 + input.takeByte() * std::size_t{3},
                                  .protectedFlags = (form & 0x20U) != 0};
    std::vector<Packet> packets(1 + (form >> 6U));
    std::generate(packets.begin(), packets.end(), [&input] { return takeContent(input); });
    std::vector<std::uint8_t> row = makeRow(input, options.format, options.width, (form & 8U) != 0);
    const RowOptions reading{.format = options.format,
                             .channels = channelsOf(options.channel),
                             .protectedFlags = options.protectedFlags,
                             .width = options.width};
    for (int round = 0; round < 2; ++round) {
        const std::vector<std::uint8_t> before = row;
        std::vector<PacketContentView> contents(packets.begin(), packets.end());
        const auto place = appendPackets(row, contents, options);
        if (!place) {
            require(row == before && !place.error().text().empty());
            return 0;
        }
        std::vector<std::uint8_t> expected = before;
        std::size_t next = *place;
        for (const Packet& packet : packets) {
            const auto words = qlxtest::packetSamples(packet.did, packet.sdid, packet.userData);
            qlxtest::putWords(options.format, expected, options.channel, next, words);
            next += words.size();
        }
        require(row == expected);

        // A flag inside a damaged packet may begin one that becomes right only with what was put there.
        qlx::Findings findings;
        for (PacketIterator each = qlx::anc::packets(before, reading, &findings).begin(); each != std::default_sentinel;
             ++each) {
        }
        if (std::any_of(findings.begin(), findings.end(), [](const qlx::Finding& finding) {
                return finding.code == qlx::FindingCode::AncFlagInsidePacket;
            })) {
            return 0;
        }
        std::size_t found = 0;
        for (const PacketView view : qlx::anc::packets(row, reading)) {
            if (view.horizontalOffset() < *place) {
                continue;
            }
            const Packet packet = view.toPacket();
            require(found < packets.size() && view.checksum() == Status::Right && packet.did == packets[found].did &&
                    packet.sdid == packets[found].sdid && packet.userData == packets[found].userData);
            ++found;
        }
        require(found == packets.size());
    }
    return 0;
}
