// The search for what may be an ancillary data flag on a `v210` row: plain, and with AVX2 where the processor has it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace qlx::anc::detail {

/// Bits that are set before a word's first and third sample are looked at as 16-bit halves: all that is not theirs.
inline constexpr std::uint32_t kAroundOuterSamples = 0xC00F'FC00;

/// The same with the two low bits of both, so that 3FC to 3FF are alike.
inline constexpr std::uint32_t kAroundProtectedSamples = kAroundOuterSamples | 0x0030'0003;

/// Gives the first 32-bit word from `first` up to, not including, `end` whose first or third sample is 3FF once the
/// bits of `around` are set; `end` when there is none.
///
/// Of any three samples that follow one another in luma, in chroma or in both, one is the first of its word, one the
/// second and one the third. Two samples of a flag are 3FF, so that one of these is not the second: a row without such
/// a word has no flag.
using FindOuterOnes = std::size_t (*)(const std::uint8_t* row, std::size_t first, std::size_t end,
                                      std::uint32_t around);

/// The plain loop.
[[nodiscard]] std::size_t findOuterOnesScalar(const std::uint8_t* row, std::size_t first, std::size_t end,
                                              std::uint32_t around) noexcept;

/// The AVX2 loop, or null where the processor (or the compiler's target) does not have it.
[[nodiscard]] FindOuterOnes findOuterOnesAVX2() noexcept;

/// Finds out which one that is, and searches with it: what stands there before the first search.
[[nodiscard]] std::size_t findOuterOnesFirst(const std::uint8_t* row, std::size_t first, std::size_t end,
                                             std::uint32_t around) noexcept;

/// Written once, and always the same. No variable of a function, whose guard each search would look at.
inline std::atomic<FindOuterOnes> chosenFindOuterOnes = findOuterOnesFirst;

/// The fastest one that this processor runs.
[[nodiscard]] inline FindOuterOnes findOuterOnes() noexcept {
    return chosenFindOuterOnes.load(std::memory_order_relaxed);
}

}  // namespace qlx::anc::detail
