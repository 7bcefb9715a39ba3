#include "facade/CaptionLines.h"

#include <qlx/anc/packet.h>

#include "anc/AncWord.h"
#include "facade/AncElement.h"
#include "facade/CaptionSample.h"
#include "v210/V210.h"

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::captionlines {

namespace {

using Line = std::span<const std::uint8_t>;

constexpr std::size_t kMaximumDataCount = 255;

/// An atom of a CDP; the atom size has only its low byte.
std::vector<std::uint8_t> atomBytes(std::span<const std::uint8_t> packet) {
    std::vector<std::uint8_t> bytes(anc::kAtomHeaderBytes + packet.size());
    captionsample::writeAtomHeader(bytes.data(), static_cast<std::uint8_t>(bytes.size()), anc::kCdpAtom);
    std::copy(packet.begin(), packet.end(), bytes.begin() + anc::kAtomHeaderBytes);
    return bytes;
}

/// Calls `find(line)` for each line until it finds something.
template <class Find>
std::optional<Payload> findInLines(Line lines, std::uint64_t bytesPerRow, std::uint64_t step, Find find) {
    const std::uint64_t count = bytesPerRow == 0 ? 0 : lines.size() / bytesPerRow;
    for (std::uint64_t line = 0; line < count; ++line) {
        const auto begin = static_cast<std::size_t>(line * step);
        if (std::optional<Payload> payload = find(lines.subspan(begin, static_cast<std::size_t>(bytesPerRow)))) {
            return payload;
        }
    }
    return std::nullopt;
}

/// A line of luma bytes at odd offsets; what lies behind its end is 0.
class Luma8 {
public:
    explicit Luma8(Line line) : _line(line) {}

    [[nodiscard]] std::uint8_t at(std::uint64_t offset) const {
        return offset < _line.size() ? _line[static_cast<std::size_t>(offset)] : std::uint8_t{0};
    }
    [[nodiscard]] bool hasFlagAt(std::uint64_t position) const {
        return position + 5 < _line.size() && at(position + 1) == 0x00 && at(position + 3) == 0xFF &&
               at(position + 5) == 0xFF;
    }
    [[nodiscard]] std::uint8_t userDataWord(std::uint64_t position, std::uint64_t index) const {
        return at(position + 13 + 2 * index);
    }

private:
    Line _line;
};

std::optional<Payload> findInLine8(Line line) {
    constexpr std::size_t kLengthWord = 2;
    const Luma8 luma(line);
    for (std::uint64_t position = 0; luma.hasFlagAt(position);) {
        const std::uint8_t did = luma.at(position + 7);
        const std::uint8_t sdid = luma.at(position + 9);
        const bool cdp = anc::PacketId{did, sdid} == anc::ids::kCdp;
        if (cdp || anc::PacketId{did, sdid} == anc::ids::kOp47) {
            const std::size_t size = luma.userDataWord(position, kLengthWord);
            std::vector<std::uint8_t> userData(size);
            for (std::size_t index = 0; index < size; ++index) {
                userData[index] = luma.userDataWord(position, index);
            }
            return cdp ? Payload{Kind::CDP, atomBytes(userData)} : Payload{Kind::OP47, std::move(userData)};
        }
        position += 2 * std::uint64_t{luma.at(position + 11)} + 14;
    }
    return std::nullopt;
}

/// A line of 32-bit words; what lies behind its last whole word is 0.
class Words10 {
public:
    explicit Words10(Line line) : _line(line), _count(line.size() / v210::kWordBytes) {}

    [[nodiscard]] std::uint32_t at(std::uint64_t index) const {
        return index < _count ? loadLittle32(_line.data() + index * v210::kWordBytes) : 0;
    }
    [[nodiscard]] bool hasFlagAt(std::uint64_t word) const {
        return word + 1 < _count && v210::middleSample(at(word)) == 0x000 && v210::lowSample(at(word + 1)) == 0x3FF &&
               v210::highSample(at(word + 1)) == 0x3FF;
    }

    /// Low 8 bits of user data word `index`: luma from word 4 of the line on, three samples in two words.
    [[nodiscard]] std::uint8_t userDataWord(std::uint64_t index) const {
        constexpr std::uint64_t kFirstWord = 4;
        const std::uint64_t pair = kFirstWord + index / 3 * 2;
        switch (index % 3) {
        case 0:
            return static_cast<std::uint8_t>(v210::middleSample(at(pair)));
        case 1:
            return static_cast<std::uint8_t>(v210::lowSample(at(pair + 1)));
        default:
            return static_cast<std::uint8_t>(v210::highSample(at(pair + 1)));
        }
    }

private:
    Line _line;
    std::uint64_t _count;
};

/// The bytes of a 10-bit OP-47 payload: an element of one packet on line 12.
std::vector<std::uint8_t> op47Bytes(std::span<const std::uint8_t> userData) {
    constexpr std::uint64_t kOP47Line = 12;
    return ancelement::bareElement(1, {kOP47Line, anc::ids::kOp47.did, anc::ids::kOp47.sdid, userData});
}

std::optional<Payload> findInLine10(Line line) {
    const Words10 words(line);
    for (std::uint64_t word = 0; words.hasFlagAt(word);) {
        const std::uint16_t did = v210::middleSample(words.at(word + 2));
        const std::uint16_t sdid = v210::lowSample(words.at(word + 3));
        const auto dataCount = static_cast<std::uint8_t>(v210::highSample(words.at(word + 3)));
        const bool cdp = did == anc::word(anc::ids::kCdp.did) && sdid == anc::word(anc::ids::kCdp.sdid);
        if (cdp || (did == anc::word(anc::ids::kOp47.did) && sdid == anc::word(anc::ids::kOp47.sdid))) {
            std::array<std::uint8_t, kMaximumDataCount> data{};
            for (std::size_t index = 0; index < dataCount; ++index) {
                data[index] = words.userDataWord(index);
            }
            const auto userData = std::span(data).first(dataCount);
            return cdp ? Payload{Kind::CDP, atomBytes(userData)} : Payload{Kind::OP47, op47Bytes(userData)};
        }
        if (dataCount == 0) {
            break;
        }
        word += dataCount;
    }
    return std::nullopt;
}

}  // namespace

std::optional<Payload> find8Bit(Line lines, std::uint64_t bytesPerRow) {
    return findInLines(lines, bytesPerRow, bytesPerRow, findInLine8);
}

std::optional<Payload> find10Bit(Line lines, std::uint64_t bytesPerRow) {
    return findInLines(lines, bytesPerRow, bytesPerRow / v210::kWordBytes * v210::kWordBytes, findInLine10);
}

}  // namespace qlx::captionlines
