#include "facade/CEA608Caption.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <bit>

namespace qlx::cea608 {

namespace {

/// A control code with its parity bits, as it is sent.
using Pair = std::array<std::uint8_t, 2>;

constexpr Pair kResumeCaptionLoading{0x94, 0x20};
constexpr Pair kEraseNonDisplayedMemory{0x94, 0xAE};
constexpr Pair kEraseDisplayedMemory{0x94, 0x2C};
constexpr Pair kEndOfCaption{0x94, 0x2F};
/// Rows 12 and 13, white, column 0.
constexpr std::array<Pair, kMaxRows> kRowAddresses{{{0x13, 0x40}, {0x13, 0xE0}}};

constexpr std::size_t kMaxCharacters = 31;
constexpr std::uint8_t kNullWithParity = 0x80;
constexpr std::uint8_t kSpecial = 0x11;

struct Mapping {
    std::uint32_t character;
    CharacterCode code;
};

/// Ascending by character.
constexpr std::array<Mapping, 28> kMappings{{
    {0x00A2, {kSpecial, 0x35}},   // cent sign
    {0x00A3, {kSpecial, 0x36}},   // pound sign
    {0x00AE, {kSpecial, 0x30}},   // registered sign
    {0x00B0, {kSpecial, 0x31}},   // degree sign
    {0x00BD, {kSpecial, 0x32}},   // one half
    {0x00BF, {kSpecial, 0x33}},   // inverted question mark
    {0x00C7, {0, 0x7B}},          // C cedilla
    {0x00C9, {0, 0x5C}},          // E acute
    {0x00CD, {0, 0x5E}},          // I acute
    {0x00D1, {0, 0x7D}},          // N tilde
    {0x00D2, {0, 0x5F}},          // O grave: takes o acute, and O acute is a space; receivers know it so
    {0x00DA, {0, 0x60}},          // U acute
    {0x00E0, {kSpecial, 0x38}},   // a grave
    {0x00E1, {0, 0x2A}},          // a acute
    {0x00E2, {kSpecial, 0x3B}},   // a circumflex
    {0x00E8, {kSpecial, 0x3A}},   // e grave
    {0x00E9, {0, 0x5C}},          // e acute
    {0x00EA, {kSpecial, 0x3C}},   // e circumflex
    {0x00ED, {0, 0x5E}},          // i acute
    {0x00EE, {kSpecial, 0x3D}},   // i circumflex
    {0x00F1, {0, 0x7E}},          // n tilde
    {0x00F3, {0, 0x5F}},          // o acute
    {0x00F4, {kSpecial, 0x3E}},   // o circumflex
    {0x00F7, {0, 0x7C}},          // division sign
    {0x00FA, {0, 0x60}},          // u acute
    {0x00FB, {kSpecial, 0x3F}},   // u circumflex
    {0x2588, {0, 0x7F}},          // full block
    {0x1F3B5, {kSpecial, 0x37}},  // musical note
}};

static_assert(std::is_sorted(kMappings.begin(), kMappings.end(), [](const Mapping& left, const Mapping& right) {
    return left.character < right.character;
}));

void append(std::vector<std::uint8_t>& caption, const Pair& pair) {
    caption.insert(caption.end(), pair.begin(), pair.end());
}

}  // namespace

CharacterCode codeOf(std::uint32_t character) noexcept {
    constexpr std::uint32_t kFirstMapped = 0x80;
    if (character < kFirstMapped) {
        return {0, static_cast<std::uint8_t>(character)};
    }
    const auto* const mapping =
        std::lower_bound(kMappings.begin(), kMappings.end(), character,
                         [](const Mapping& entry, std::uint32_t wanted) { return entry.character < wanted; });
    return mapping != kMappings.end() && mapping->character == character ? mapping->code : CharacterCode{0, ' '};
}

std::uint8_t withOddParity(std::uint8_t byte) noexcept {
    constexpr std::uint8_t kParityBit = 0x80;
    const auto code = static_cast<std::uint8_t>(byte & 0x7FU);
    return std::popcount(byte) % 2 == 0 ? static_cast<std::uint8_t>(code | kParityBit) : code;
}

void appendText(std::vector<std::uint8_t>& caption, std::string_view text) {
    const std::size_t start = caption.size();
    for (std::size_t count = 0; count < kMaxCharacters && !text.empty(); ++count) {
        const CharacterCode code = codeOf(takeCodePoint(text));
        for (const std::uint8_t byte : {code.high, code.low}) {
            if (byte != 0) {
                caption.push_back(withOddParity(byte));
            }
        }
    }
    if ((caption.size() - start) % 2 != 0) {
        caption.push_back(kNullWithParity);
    }
}

void appendBeginning(std::vector<std::uint8_t>& caption) {
    append(caption, kResumeCaptionLoading);
    append(caption, kEraseNonDisplayedMemory);
    append(caption, kResumeCaptionLoading);
}

void appendRow(std::vector<std::uint8_t>& caption, std::size_t row, std::string_view text) {
    append(caption, kRowAddresses.at(row));
    appendText(caption, text);
}

void appendEnd(std::vector<std::uint8_t>& caption) {
    append(caption, kEraseDisplayedMemory);
    append(caption, kEndOfCaption);
}

}  // namespace qlx::cea608
