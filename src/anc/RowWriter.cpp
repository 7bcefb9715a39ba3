#include <qlx/anc/row.h>

#include "anc/RowWords.h"

#include <algorithm>

namespace qlx::anc {

namespace {

Finding failure(FindingCode code, std::size_t offset, std::size_t first, std::size_t second) {
    return {code, Severity::Error, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)};
}

Channels channelsOf(Channel channel) {
    switch (channel) {
    case Channel::Luma:
        return Channels::Luma;
    case Channel::Chroma:
        return Channels::Chroma;
    default:
        return Channels::SdMultiplex;
    }
}

/// Notices a packet that the row's end cuts: it is not given, but has the rest of the row.
class CutPackets final : public FindingSink {
public:
    void add(const Finding& finding) override { _any = _any || finding.code == FindingCode::AncPacketCut; }
    [[nodiscard]] bool any() const { return _any; }

private:
    bool _any = false;
};

/// The word behind the last packet of a channel that has `words` words.
std::size_t endOfPackets(std::span<const std::uint8_t> row, const RowWriteOptions& options, std::size_t words) {
    CutPackets cut;
    std::size_t end = 0;
    const RowOptions reading{.format = options.format,
                             .channels = channelsOf(options.channel),
                             .protectedFlags = options.protectedFlags,
                             .width = options.width};
    for (const PacketView packet : packets(row, reading, &cut)) {
        end = std::max(end, packet.horizontalOffset() + packetWords(packet.dataCount()));
    }
    return cut.any() ? words : end;
}

}  // namespace

Result<std::size_t> appendPackets(std::span<std::uint8_t> row, std::span<const PacketContentView> packets,
                                  const RowWriteOptions& options) {
    const std::size_t needed = detail::leastRowBytes(options.format, options.width);
    if (row.size() < needed) {
        return failure(FindingCode::AncRowTooShort, 0, needed, row.size());
    }
    std::size_t length = 0;
    for (const PacketContentView& packet : packets) {
        if (packet.userData.size() > kGreatestUserData) {
            return failure(FindingCode::AncTooManyUserDataWords, 0, packet.userData.size(), kGreatestUserData);
        }
        length += packetWords(packet.userData.size());
    }
    const std::size_t samples = detail::samplesOf(options.format, row.size(), options.width);
    const std::size_t words = detail::wordsOf(options.channel, samples);
    const std::size_t first = endOfPackets(row, options, words);
    if (length > words - first) {
        const std::size_t sample = detail::sampleOf(options.channel, first);
        return failure(FindingCode::AncPacketDoesNotFit, detail::byteOf(options.format, sample), length, words - first);
    }
    std::size_t index = first;
    for (const PacketContentView& packet : packets) {
        std::array<std::uint16_t, kGreatestPacketWords> room{};
        const std::size_t count = *writeWords(packet, room);
        detail::withWords(options.format, options.channel, [&](auto place) {
            for (std::size_t word = 0; word < count; ++word) {
                place.set(row.data(), index++, room[word]);
            }
        });
    }
    return first;
}

Result<std::size_t> fillBlank(std::span<std::uint8_t> row, RowFormat format, std::size_t width) {
    const std::size_t bytes = rowBytes(format, width, RowPadding::None);
    if (row.size() < bytes) {
        return failure(FindingCode::OutputTooSmall, 0, bytes, row.size());
    }
    if (format == RowFormat::V210) {
        for (std::size_t offset = 0; offset < bytes; offset += 2 * v210::kWordBytes) {
            storeLittle32(row.data() + offset, v210::makeWord(0x200, 0x040, 0x200));
            storeLittle32(row.data() + offset + v210::kWordBytes, v210::makeWord(0x040, 0x200, 0x040));
        }
    } else {
        for (std::size_t offset = 0; offset < bytes; offset += 2) {
            row[offset] = 0x80;
            row[offset + 1] = 0x10;
        }
    }
    std::fill(row.begin() + static_cast<std::ptrdiff_t>(bytes), row.end(), std::uint8_t{0});
    return bytes;
}

std::vector<std::uint8_t> blankRow(RowFormat format, std::size_t width, RowPadding padding) {
    std::vector<std::uint8_t> row(rowBytes(format, width, padding));
    static_cast<void>(fillBlank(row, format, width));
    return row;
}

}  // namespace qlx::anc
