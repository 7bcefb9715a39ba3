// Hamming 24/18.
#include <qlx/teletext/coding.h>

namespace qlx::teletext {

namespace {

// The transmitted bits are counted from 1. Bits 1, 2, 4, 8 and 16 are check bits: check bit 2^k makes the number of ones
// at all positions that have 2^k in them odd. Bit 24 does so for all 24 bits.

constexpr unsigned kCodedBits = 24;
constexpr std::uint32_t kCodedMask = (1U << kCodedBits) - 1;
constexpr std::uint32_t kLastBit = 1U << (kCodedBits - 1);
constexpr std::array<unsigned, 5> kCheckPositions{1, 2, 4, 8, 16};

/// For each check bit, the positions 1 to 23 that it covers, as a mask of the coded bits.
constexpr std::array<std::uint32_t, kCheckPositions.size()> kCoverage = []() {
    std::array<std::uint32_t, kCheckPositions.size()> masks{};
    for (std::size_t check = 0; check < masks.size(); ++check) {
        for (unsigned position = 1; position < kCodedBits; ++position) {
            if ((position & kCheckPositions[check]) != 0) {
                masks[check] |= 1U << (position - 1);
            }
        }
    }
    return masks;
}();

/// Data bits that stand together in a row of positions: how far up they are moved.
struct Run {
    std::uint32_t data;
    unsigned shift;
};

/// Data bits 1, 2 to 4, 5 to 11 and 12 to 18 fill the positions 3, 5 to 7, 9 to 15 and 17 to 23.
constexpr std::array<Run, 4> kRuns{{{0x1, 2}, {0xE, 3}, {0x7F0, 4}, {0x3F800, 5}}};

bool hasEvenOnes(std::uint32_t bits) noexcept {
    return std::popcount(bits) % 2 == 0;
}

std::uint32_t dataOf(std::uint32_t coded) noexcept {
    std::uint32_t data = 0;
    for (const Run& run : kRuns) {
        data |= coded >> run.shift & run.data;
    }
    return data;
}

/// The position whose bit is wrong if one alone is: 0 when all checks of the positions 1 to 23 are right.
unsigned wrongPosition(std::uint32_t coded) noexcept {
    unsigned position = 0;
    for (std::size_t check = 0; check < kCoverage.size(); ++check) {
        position |= hasEvenOnes(coded & kCoverage[check]) ? kCheckPositions[check] : 0U;
    }
    return position;
}

}  // namespace

std::uint32_t hamming2418(std::uint32_t data) noexcept {
    std::uint32_t coded = 0;
    for (const Run& run : kRuns) {
        coded |= (data & run.data) << run.shift;
    }
    for (std::size_t check = 0; check < kCoverage.size(); ++check) {
        if (hasEvenOnes(coded & kCoverage[check])) {
            coded |= 1U << (kCheckPositions[check] - 1);
        }
    }
    return hasEvenOnes(coded) ? coded | kLastBit : coded;
}

Decoded<std::uint32_t> decodeHamming2418(std::uint32_t coded) noexcept {
    coded &= kCodedMask;
    const unsigned position = wrongPosition(coded);
    if (!hasEvenOnes(coded)) {
        // No bit is wrong, or two are: an odd number would show here.
        return position == 0 ? Decoded<std::uint32_t>{dataOf(coded), Protection::Right} : Decoded<std::uint32_t>{};
    }
    if (position >= kCodedBits) {
        return {};
    }
    // Without a position the last bit is the wrong one, and no data bit is.
    const std::uint32_t right = position == 0 ? coded : coded ^ 1U << (position - 1);
    return {dataOf(right), Protection::Corrected};
}

}  // namespace qlx::teletext
