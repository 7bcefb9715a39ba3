#include "facade/OP47Search.h"

#include <qlx/anc/packet.h>

#include "anc/AncWord.h"
#include "facade/AncElement.h"
#include "v210/V210.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

namespace qlx::op47 {

namespace {

using Lines = std::span<const std::uint8_t>;

constexpr anc::PacketId kId = anc::ids::kOp47;
constexpr std::size_t kMaximumDataCount = 255;

/// The 32-bit words from the start of a row to the end of the lines.
class Words10 {
public:
    explicit Words10(Lines fromRow) : _bytes(fromRow.data()), _count(fromRow.size() / v210::kWordBytes) {}

    [[nodiscard]] std::uint32_t at(std::uint64_t index) const {
        return index < _count ? loadLittle32(_bytes + index * v210::kWordBytes) : 0;
    }
    [[nodiscard]] bool hasFlagAt(std::uint64_t word) const {
        const std::uint32_t next = at(word + 1);
        return v210::middleSample(at(word)) == anc::kDataFlag[0] && v210::lowSample(next) == anc::kDataFlag[1] &&
               v210::highSample(next) == anc::kDataFlag[2];
    }

    /// Low 8 bits of the luma samples from word 4 of the row on: one of an even word, two of an odd one.
    void copyUserData(std::span<std::uint8_t> target) const {
        constexpr std::uint64_t kFirstWord = 4;
        constexpr std::size_t kLumaOfPair = 3;
        std::uint64_t word = kFirstWord;
        for (std::size_t done = 0; done < target.size(); done += kLumaOfPair, word += 2) {
            const std::uint32_t next = at(word + 1);
            const std::array<std::uint8_t, kLumaOfPair> luma{static_cast<std::uint8_t>(v210::middleSample(at(word))),
                                                             static_cast<std::uint8_t>(v210::lowSample(next)),
                                                             static_cast<std::uint8_t>(v210::highSample(next))};
            std::copy_n(luma.begin(), std::min(kLumaOfPair, target.size() - done),
                        target.begin() + static_cast<std::ptrdiff_t>(done));
        }
    }

private:
    const std::uint8_t* _bytes;
    std::uint64_t _count;
};

Data elementOf(const Words10& words, std::uint8_t dataCount, std::int32_t lineNumber) {
    std::array<std::uint8_t, kMaximumDataCount> userData{};
    const auto used = std::span(userData).first(dataCount);
    words.copyUserData(used);
    // Hosts read a count of 2 in front of the one packet. A negative line is divided with its sign.
    constexpr std::uint16_t kCount = 2;
    const auto line = static_cast<std::uint16_t>((static_cast<std::uint32_t>(lineNumber / 256) & 0xFFU) << 8U |
                                                 (static_cast<std::uint32_t>(lineNumber) & 0xFFU));
    return ancelement::bareElement(kCount, {line, kId.did, kId.sdid, used});
}

/// The luma bytes, at odd offsets, of rows that follow each other.
class Luma8 {
public:
    explicit Luma8(Lines lines) : _lines(lines) {}

    [[nodiscard]] std::uint8_t at(std::uint64_t offset) const {
        return offset < _lines.size() ? _lines[static_cast<std::size_t>(offset)] : std::uint8_t{0};
    }
    [[nodiscard]] bool hasFlagAt(std::uint64_t position) const {
        return at(position + 1) == 0x00 && at(position + 3) == 0xFF && at(position + 5) == 0xFF;
    }

    /// Every second byte from `offset` on; behind the lines nothing is changed.
    void copy(std::uint64_t offset, std::span<std::uint8_t> target) const {
        const std::size_t first = static_cast<std::size_t>(std::min<std::uint64_t>(offset, _lines.size()));
        const Lines rest = _lines.subspan(first);
        const std::size_t count = std::min(target.size(), rest.size() / 2 + rest.size() % 2);
        for (std::size_t index = 0; index < count; ++index) {
            target[index] = rest[2 * index];
        }
    }

private:
    Lines _lines;
};

Data userDataOf(const Luma8& luma, std::uint64_t position) {
    constexpr std::uint64_t kUserData = 13;
    constexpr std::uint64_t kLengthWord = kUserData + 4;
    // The chroma byte gives the size, the packet's own length byte the number of bytes that are copied; it is kept.
    std::vector<std::uint8_t> bytes(luma.at(position));
    const std::size_t count = std::min<std::size_t>(luma.at(position + kLengthWord), bytes.size());
    luma.copy(position + kUserData, std::span(bytes).first(count));
    return bytes;
}

}  // namespace

Data find10Bit(Lines lines, std::uint64_t bytesPerRow, std::int32_t lineNumber) {
    const std::uint64_t rows = lines.size() / bytesPerRow;
    for (std::uint64_t row = 0; row < rows; ++row) {
        const Words10 words(lines.subspan(static_cast<std::size_t>(row * bytesPerRow)));
        // Hosts compare words with the bytes of a row: the search may go on into the rows that follow.
        for (std::uint64_t word = 0; word < bytesPerRow && words.hasFlagAt(word);) {
            const auto dataCount = static_cast<std::uint8_t>(v210::highSample(words.at(word + 3)));
            if (v210::middleSample(words.at(word + 2)) == anc::word(kId.did) &&
                v210::lowSample(words.at(word + 3)) == anc::word(kId.sdid)) {
                return elementOf(words, dataCount, lineNumber);
            }
            if (dataCount == 0) {
                break;
            }
            word += dataCount;
        }
    }
    return {};
}

Data find8Bit(Lines lines, std::uint64_t bytesPerRow) {
    constexpr std::uint64_t kBytesAroundData = 14;
    const Luma8 luma(lines);
    std::uint64_t row = 0;
    std::uint64_t offset = 0;
    while (row + offset < lines.size()) {
        const std::uint64_t position = row + offset;
        if (!luma.hasFlagAt(position)) {
            // The offset is kept: hosts look on at the same place of the next row.
            row += bytesPerRow;
            continue;
        }
        if (anc::PacketId{luma.at(position + 7), luma.at(position + 9)} == kId) {
            return userDataOf(luma, position);
        }
        offset += 2 * std::uint64_t{luma.at(position + 11)} + kBytesAroundData;
        if (offset >= bytesPerRow) {
            row += bytesPerRow;
            offset = 0;
        }
    }
    return {};
}

}  // namespace qlx::op47
