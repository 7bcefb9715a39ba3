// The codes that protect teletext bytes (ETSI EN 300 706, clause 8): odd parity, Hamming 8/4 and Hamming 24/18.
//
//     const auto magazine = qlx::teletext::decodeHamming84(byte);
//     if (!magazine) { report("more than one bit is wrong"); }
//     else { use(magazine.value & 7U); }
//     const auto letter = qlx::teletext::withoutParity(byte);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/parity.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::teletext {

/// What a protected value turned out to be.
enum class Protection : std::uint8_t {
    Right,      ///< As it was sent.
    Corrected,  ///< One bit was wrong and has been put right.
    Wrong,      ///< More was wrong than can be put right.
};

/// A value read from a protected one.
template <class T>
struct Decoded {
    T value{};                                  ///< 0 when it is wrong.
    Protection protection = Protection::Wrong;  ///< Whether it may be used.

    /// Whether there is a value.
    [[nodiscard]] explicit constexpr operator bool() const noexcept { return protection != Protection::Wrong; }
    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Decoded&, const Decoded&) noexcept = default;
};

/// How much a reader had to put right or to give up.
struct ProtectionCounts {
    std::uint64_t corrected = 0;    ///< Hamming codes with one wrong bit.
    std::uint64_t wrong = 0;        ///< Hamming codes with more.
    std::uint64_t parityWrong = 0;  ///< Bytes with even parity.

    /// Counts a value.
    constexpr void count(Protection protection) noexcept {
        corrected += protection == Protection::Corrected ? 1U : 0U;
        wrong += protection == Protection::Wrong ? 1U : 0U;
    }
    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const ProtectionCounts&, const ProtectionCounts&) noexcept = default;
};

/// Hamming 8/4 code words of the values 0 to 15 (EN 300 706, clause 8.2), first transmitted bit lowest.
inline constexpr std::array<std::uint8_t, 16> kHamming84{0x15, 0x02, 0x49, 0x5E, 0x64, 0x73, 0x38, 0x2F,
                                                         0xD0, 0xC7, 0x8C, 0x9B, 0xA1, 0xB6, 0xFD, 0xEA};

/// The code word of the low 4 bits.
[[nodiscard]] constexpr std::uint8_t hamming84(unsigned value) noexcept {
    return kHamming84[value & 15U];
}

/// What each of the 256 bytes is as a Hamming 8/4 code word.
inline constexpr std::array<Decoded<std::uint8_t>, 256> kHamming84Values = []() {
    std::array<Decoded<std::uint8_t>, 256> table{};
    // Not left to the member's initialiser: g++ 12 emits zeros for elements that nothing else writes.
    table.fill({0, Protection::Wrong});
    for (std::size_t value = 0; value < kHamming84.size(); ++value) {
        const auto nibble = static_cast<std::uint8_t>(value);
        table[kHamming84[value]] = {nibble, Protection::Right};
        // Code words differ in four bits at least: a byte with one wrong bit is near one of them only.
        for (unsigned bit = 0; bit < 8; ++bit) {
            table[kHamming84[value] ^ 1U << bit] = {nibble, Protection::Corrected};
        }
    }
    return table;
}();

/// The four bits of a code word; one wrong bit is put right, two are found out.
[[nodiscard]] constexpr Decoded<std::uint8_t> decodeHamming84(std::uint8_t byte) noexcept {
    return kHamming84Values[byte];
}

/// Hamming 24/18 (EN 300 706, clause 8.3): the low 18 bits of `data` become 24 coded bits, first transmitted bit
/// lowest.
[[nodiscard]] QLX_EXPORT std::uint32_t hamming2418(std::uint32_t data) noexcept;

/// The 18 bits of 24 coded ones; one wrong bit is put right, two are found out. Bits above the 24 are not looked at.
[[nodiscard]] QLX_EXPORT Decoded<std::uint32_t> decodeHamming2418(std::uint32_t coded) noexcept;

using qlx::hasOddParity;   // EN 300 706, clause 8.1
using qlx::withOddParity;  // The same.

/// The seven bits of a byte with odd parity; wrong when the parity is even. Nothing is ever put right.
[[nodiscard]] constexpr Decoded<std::uint8_t> withoutParity(std::uint8_t byte) noexcept {
    return hasOddParity(byte) ? Decoded<std::uint8_t>{static_cast<std::uint8_t>(byte & 0x7FU), Protection::Right}
                              : Decoded<std::uint8_t>{};
}

}  // namespace qlx::teletext
