// Whether the pairs of a field have parity bits (CTA-608-E; 47 CFR 15.119 (i)).
//
//     qlx::cea608::ParityWatch parity;
//     parity.take(pair.first, pair.second);
//     if (parity.tell()) { warn("no parity bits"); }
#pragma once

#include <cstdint>
#include <utility>

namespace qlx::cea608 {

/// Tells a field without parity bits from one with errors: of the first it is said once that it has none, and not of each
/// pair that it is damaged.
class ParityWatch {
public:
    /// So many pairs without a parity bit, one behind the other, are those of a field that has none.
    static constexpr std::uint8_t kPairs = 64;

    /// Takes the next pair, as it comes. Null pairs say nothing of it: some streams have parity bits in them alone. A field
    /// that has parity bits again is looked at again.
    constexpr void take(std::uint8_t first, std::uint8_t second) noexcept {
        if (((first | second) & 0x7FU) == 0) {
            return;
        }
        if (((first | second) & 0x80U) != 0) {
            _without = 0;
        } else if (_without < kPairs) {
            ++_without;
        }
    }

    /// Whether the field has none.
    [[nodiscard]] constexpr bool hasNone() const noexcept { return _without == kPairs; }

    /// Whether it has none, and that has not been told: true once.
    [[nodiscard]] constexpr bool tell() noexcept { return hasNone() && !std::exchange(_hasTold, true); }

private:
    std::uint8_t _without = 0;
    bool _hasTold = false;
};

}  // namespace qlx::cea608
