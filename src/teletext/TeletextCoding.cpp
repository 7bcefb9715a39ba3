#include "teletext/TeletextCoding.h"

namespace qlx::teletext {

namespace {

// Hamming 24/18 counts the transmitted bits from 1. Bits 1, 2, 4, 8 and 16 are check bits: check bit 2^k makes the
// number of ones at all positions that have 2^k in them odd. Bit 24 does so for all 24 bits.

constexpr unsigned kCodedBits = 24;
constexpr std::array<unsigned, 5> kCheckPositions = {1, 2, 4, 8, 16};

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

bool hasEvenOnes(std::uint32_t bits) noexcept {
    return std::popcount(bits) % 2 == 0;
}

struct NationalCharacter {
    std::uint8_t latin1;
    std::uint8_t code;
};

constexpr NationalCharacter kFrenchCharacters[] = {
    {0x23, 0x5F},  // number sign
    {0xE0, 0x40},  // a grave
    {0xE2, 0x7B},  // a circumflex
    {0xE7, 0x7E},  // c cedilla
    {0xE8, 0x60},  // e grave
    {0xE9, 0x23},  // e acute
    {0xEA, 0x5C},  // e circumflex
    {0xEB, 0x5B},  // e diaeresis
    {0xEE, 0x5E},  // i circumflex
    {0xEF, 0x24},  // i diaeresis
    {0xF4, 0x7C},  // o circumflex
    {0xF9, 0x5D},  // u grave
    {0xFB, 0x7D},  // u circumflex
};

/// Accented capitals from `first` to `last` that become one plain letter.
struct CapitalRange {
    std::uint8_t first;
    std::uint8_t last;
    char letter;
};

constexpr CapitalRange kAccentedCapitals[] = {
    {0xC0, 0xC5, 'A'}, {0xC7, 0xC7, 'C'}, {0xC8, 0xCB, 'E'}, {0xCC, 0xCF, 'I'},
    {0xD1, 0xD1, 'N'}, {0xD2, 0xD6, 'O'}, {0xD9, 0xDC, 'U'}, {0xDD, 0xDD, 'Y'},
};

constexpr std::array<std::uint8_t, 256> kFrenchCodes = []() {
    std::array<std::uint8_t, 256> table{};
    for (unsigned character = 0; character < table.size(); ++character) {
        table[character] = static_cast<std::uint8_t>(character & 0x7FU);
    }
    for (const NationalCharacter& character : kFrenchCharacters) {
        table[character.latin1] = character.code;
    }
    for (const CapitalRange& range : kAccentedCapitals) {
        for (unsigned character = range.first; character <= range.last; ++character) {
            table[character] = static_cast<std::uint8_t>(range.letter);
        }
    }
    return table;
}();

}  // namespace

std::uint32_t hamming2418(std::uint32_t data) noexcept {
    // Data bits 1, 2 to 4, 5 to 11 and 12 to 18 fill the positions 3, 5 to 7, 9 to 15 and 17 to 23.
    std::uint32_t coded = (data & 0x1U) << 2U | (data & 0xEU) << 3U | (data & 0x7F0U) << 4U | (data & 0x3F800U) << 5U;
    for (std::size_t check = 0; check < kCoverage.size(); ++check) {
        if (hasEvenOnes(coded & kCoverage[check])) {
            coded |= 1U << (kCheckPositions[check] - 1);
        }
    }
    if (hasEvenOnes(coded)) {
        coded |= 1U << (kCodedBits - 1);
    }
    return coded;
}

std::uint8_t frenchCode(std::uint8_t character) noexcept {
    return kFrenchCodes[character];
}

}  // namespace qlx::teletext
