#include <qlx/video/scte20.h>

#include "base/MakeFinding.h"

#include <utility>

namespace qlx::video {

namespace {

/// Bits from the highest on.
class Bits {
public:
    explicit Bits(std::span<const std::uint8_t> bytes) noexcept : _bytes(bytes) {}

    [[nodiscard]] std::size_t left() const noexcept { return _bytes.size() * 8 - _position; }
    [[nodiscard]] std::size_t byte() const noexcept { return _position / 8; }

    /// There must be as many.
    [[nodiscard]] std::uint8_t take(unsigned count) noexcept {
        unsigned value = 0;
        for (; count > 0; --count, ++_position) {
            value = value << 1U | (_bytes[_position / 8] >> (7 - _position % 8) & 1U);
        }
        return static_cast<std::uint8_t>(value);
    }

    [[nodiscard]] std::uint8_t takeReversed() noexcept {
        unsigned value = 0;
        for (unsigned bit = 0; bit < 8; ++bit) {
            value |= static_cast<unsigned>(take(1)) << bit;
        }
        return static_cast<std::uint8_t>(value);
    }

private:
    std::span<const std::uint8_t> _bytes;
    std::size_t _position = 0;
};

}  // namespace

Result<Scte20Pairs> parseScte20(std::span<const std::uint8_t> bytes, FindingSink* findings) {
    constexpr std::size_t kHeader = 2;
    constexpr std::uint8_t kReserved = 0x80;  // seven bits, then vbi_data_flag
    constexpr unsigned kCountBits = 5;
    constexpr std::size_t kPairBits = 2 + 2 + 5 + 8 + 8 + 1;
    const bool isLike = bytes.size() >= kHeader && bytes[0] == kScte20TypeCode && (bytes[1] & 0xFEU) == kReserved;
    const bool hasPairs = isLike && (bytes[1] & 1U) != 0;
    if (!isLike || (hasPairs && bytes.size() == kHeader)) {
        return makeFinding(FindingCode::VideoUserDataUnlikeScte20, Severity::Error, 0, bytes.size());
    }
    Scte20Pairs pairs;
    if (!hasPairs) {
        return pairs;
    }
    Bits bits(bytes.subspan(kHeader));
    const std::size_t count = bits.take(kCountBits);
    bool hasOtherLine = false;
    for (std::size_t index = 0; index < count; ++index) {
        if (bits.left() < kPairBits) {
            addTo(findings, makeFinding(FindingCode::VideoScte20Cut, Severity::Error, bytes.size(), count, index));
            break;
        }
        const std::size_t place = kHeader + bits.byte();
        Scte20Pair pair;
        pair.priority = bits.take(2);
        pair.field = bits.take(2);
        pair.lineOffset = bits.take(5);
        pair.first = bits.takeReversed();
        pair.second = bits.takeReversed();
        (void)bits.take(1);
        if (pair.field == 0) {
            addTo(findings, makeFinding(FindingCode::VideoScte20FieldWrong, Severity::Error, place, index));
        } else if (pair.lineOffset != kScte20Line21 && !std::exchange(hasOtherLine, true)) {
            addTo(findings,
                  makeFinding(FindingCode::VideoScte20OtherLine, Severity::Remark, place, index, pair.lineOffset));
        }
        // There is room for as many as 5 bits can count.
        (void)pairs.append(std::span(&pair, 1));
    }
    return pairs;
}

cc::Triplet scte20Triplet(const Scte20Pair& pair, const Mpeg2PictureCoding& coding) noexcept {
    const bool isFirstUpper = coding.structure == Mpeg2PictureStructure::Frame
                                  ? coding.isTopFieldFirst
                                  : coding.structure != Mpeg2PictureStructure::BottomField;
    const bool isUpper = (pair.field != 2) == isFirstUpper;
    return cc::Triplet::make(isUpper ? cc::CcType::Field1 : cc::CcType::Field2, pair.first, pair.second,
                             pair.field != 0);
}

}  // namespace qlx::video
