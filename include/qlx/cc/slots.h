// How many caption triplets a frame of each rate has, and which of them are for CEA-608 (CTA-708: 9600 bits a second,
// 960 of them for CEA-608).
#pragma once

#include <qlx/base/frame_rate.h>
#include <qlx/cc/triplet.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::cc {

/// The triplets of a frame. Those of CEA-608 come first.
struct Slots {
    std::uint8_t ccCount = 0;        ///< All triplets of a frame: cc_count.
    std::uint8_t greatestDtvcc = 0;  ///< How many of them may be DTVCC.
    bool fieldsAlternate = false;    ///< One pair a frame: field 1 on even frames, field 2 on odd ones.

    /// Whether all fields are equal.
    friend constexpr bool operator==(const Slots&, const Slots&) noexcept = default;
};

/// The slots of a rate.
[[nodiscard]] constexpr Slots slotsOf(FrameRate rate) noexcept {
    constexpr std::array<Slots, kFrameRates.size()> kSlots{{{25, 22, false},
                                                            {25, 22, false},
                                                            {24, 22, false},
                                                            {20, 18, false},
                                                            {20, 18, false},
                                                            {12, 11, true},
                                                            {10, 9, true},
                                                            {10, 9, true}}};
    return kSlots[static_cast<std::size_t>(rate) - 1];
}

/// The most pairs of one field that a frame may have. At 23.976 and 24 the three triplets that DTVCC leaves are those of
/// the fields in turn, so that one has two pairs now and then: 60 fields a second in 24 frames.
[[nodiscard]] constexpr std::size_t greatestPairsOfField(FrameRate rate) noexcept {
    const Slots slots = slotsOf(rate);
    return (slots.ccCount - slots.greatestDtvcc + std::size_t{1}) / 2;
}

/// The fields of which a frame carries a pair.
struct FrameFields {
    bool field1 = false;  ///< A pair of field 1.
    bool field2 = false;  ///< A pair of field 2.

    /// Whether all fields are equal.
    friend constexpr bool operator==(const FrameFields&, const FrameFields&) noexcept = default;
};

/// The fields of a frame, counted from 0.
///
///     if (qlx::cc::fieldsOfFrame(qlx::FrameRate::Fps5994, 7).field2) { use(pair); }   // an odd frame: field 2
[[nodiscard]] constexpr FrameFields fieldsOfFrame(FrameRate rate, std::uint64_t frame) noexcept {
    if (!slotsOf(rate).fieldsAlternate) {
        return {true, true};
    }
    const bool isOdd = frame % 2 != 0;
    return {!isOdd, isOdd};
}

/// What stands in the slot of a field that has nothing to send: a valid pair of null bytes with odd parity.
[[nodiscard]] constexpr Triplet idlePair(CcType field) noexcept {
    return Triplet::make(field, 0x80, 0x80);
}

}  // namespace qlx::cc
