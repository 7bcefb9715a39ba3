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

constexpr bool hasEvenOnes(std::uint32_t bits) noexcept {
    return std::popcount(bits) % 2 == 0;
}

constexpr std::uint32_t dataOf(std::uint32_t coded) noexcept {
    std::uint32_t data = 0;
    for (const Run& run : kRuns) {
        data |= coded >> run.shift & run.data;
    }
    return data;
}

constexpr std::uint32_t codeOf(std::uint32_t data) noexcept {
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

// Each coded bit is the sum, modulo 2, of data bits and of that of the value 0: six data bits at a time are looked up.

constexpr unsigned kPieceBits = 6;
constexpr std::size_t kPieceValues = std::size_t{1} << kPieceBits;
constexpr std::uint32_t kCodeOfZero = codeOf(0);

constexpr std::array<std::array<std::uint32_t, kPieceValues>, 3> kPieces = []() {
    std::array<std::array<std::uint32_t, kPieceValues>, 3> pieces{};
    for (unsigned piece = 0; piece < pieces.size(); ++piece) {
        for (std::uint32_t value = 0; value < kPieceValues; ++value) {
            pieces[piece][value] = codeOf(value << piece * kPieceBits) ^ kCodeOfZero;
        }
    }
    return pieces;
}();

// And so are the checks of what is received, a byte at a time.

constexpr unsigned kByteBits = 8;
constexpr std::size_t kByteValues = 256;
constexpr unsigned kPositionBits = 0x1F;
/// Set when the number of ones among all bits is odd.
constexpr unsigned kOddBit = 0x20;

/// For each byte, a bit for each check whose number of ones in it is odd; kOddBit for all of them.
constexpr std::array<std::array<std::uint8_t, kByteValues>, 3> kChecks = []() {
    std::array<std::array<std::uint8_t, kByteValues>, 3> checks{};
    for (unsigned place = 0; place < checks.size(); ++place) {
        for (std::uint32_t value = 0; value < kByteValues; ++value) {
            const std::uint32_t coded = value << place * kByteBits;
            unsigned odd = hasEvenOnes(coded) ? 0 : kOddBit;
            for (std::size_t check = 0; check < kCoverage.size(); ++check) {
                odd |= hasEvenOnes(coded & kCoverage[check]) ? 0U : kCheckPositions[check];
            }
            checks[place][value] = static_cast<std::uint8_t>(odd);
        }
    }
    return checks;
}();

}  // namespace

std::uint32_t hamming2418(std::uint32_t data) noexcept {
    constexpr std::size_t kMask = kPieceValues - 1;
    return kCodeOfZero ^ kPieces[0][data & kMask] ^ kPieces[1][data >> kPieceBits & kMask] ^
           kPieces[2][data >> 2 * kPieceBits & kMask];
}

Decoded<std::uint32_t> decodeHamming2418(std::uint32_t coded) noexcept {
    coded &= kCodedMask;
    constexpr std::size_t kMask = kByteValues - 1;
    const unsigned odd = static_cast<unsigned>(kChecks[0][coded & kMask]) ^ kChecks[1][coded >> kByteBits & kMask] ^
                         kChecks[2][coded >> 2 * kByteBits];
    // The position whose bit is wrong if one alone is: 0 when all checks of the positions 1 to 23 are right.
    const unsigned position = ~odd & kPositionBits;
    if ((odd & kOddBit) != 0) {
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
