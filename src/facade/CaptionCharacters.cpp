#include "facade/CaptionCharacters.h"

#include <array>
#include <cstddef>

// The characters are those that deployed decoders show. Where they differ from CTA-608 and CTA-708 (plain ASCII quotes
// and dashes, full-width signs, (c) for the caption icon, codes left out) the difference is kept.

namespace qlx::captioncharacters {

namespace {

struct Entry {
    std::uint8_t code;
    char16_t character;
};

constexpr Entry kBasic[] = {
    {0x2A, u'\u00E1'}, {0x5C, u'\u00E9'}, {0x5E, u'\u00ED'}, {0x5F, u'\u00F3'}, {0x60, u'\u00FA'},
    {0x7B, u'\u00E7'}, {0x7C, u'\u00F7'}, {0x7D, u'\u00D1'}, {0x7E, u'\u00F1'}, {0x7F, u'\u2588'},
};

constexpr Entry kSpecial[] = {
    {0x30, u'\u00AE'}, {0x31, u'\u00B0'}, {0x32, u'\u00BD'}, {0x33, u'\u00BF'}, {0x34, u'\u2122'}, {0x35, u'\u00A2'},
    {0x36, u'\u00A3'}, {0x37, u'\u266B'}, {0x38, u'\u00E0'}, {0x39, u'\u00A0'}, {0x3A, u'\u00E8'}, {0x3B, u'\u00E2'},
    {0x3C, u'\u00EA'}, {0x3D, u'\u00EE'}, {0x3E, u'\u00F4'}, {0x3F, u'\u00FB'},
};

constexpr Entry kSpanishFrench[] = {
    {0x20, u'\u00C1'}, {0x21, u'\u00C9'}, {0x22, u'\u00D3'}, {0x23, u'\u00DA'}, {0x24, u'\u00DC'}, {0x25, u'\u00FC'},
    {0x26, u'\u00B4'}, {0x27, u'\u00A1'}, {0x28, u'*'},      {0x29, u'\''},     {0x2A, u'-'},      {0x2B, u'\u00A9'},
    {0x2C, u'\u2120'}, {0x2D, u'\u2022'}, {0x2E, u'"'},      {0x2F, u'"'},      {0x30, u'\u00C0'}, {0x31, u'\u00C2'},
    {0x32, u'\u00C7'}, {0x33, u'\u00C8'}, {0x34, u'\u00CA'}, {0x35, u'\u00CB'}, {0x36, u'\u00EB'}, {0x37, u'\u00CE'},
    {0x38, u'\u00CF'}, {0x39, u'\u00EF'}, {0x3A, u'\u00D4'}, {0x3B, u'\u00D9'}, {0x3C, u'\u00F9'}, {0x3D, u'\u00DB'},
    {0x3E, u'\u00AB'}, {0x3F, u'\u00BB'},
};

constexpr Entry kPortugueseGermanDanish[] = {
    {0x20, u'\u00C3'}, {0x21, u'\u00E3'}, {0x22, u'\u00CD'}, {0x23, u'\u00CC'}, {0x24, u'\u00EC'}, {0x25, u'\u00D2'},
    {0x26, u'\u00F2'}, {0x27, u'\u00D5'}, {0x28, u'\u00F5'}, {0x29, u'{'},      {0x2A, u'}'},      {0x2B, u'\\'},
    {0x2C, u'^'},      {0x2D, u'_'},      {0x2E, u'|'},      {0x2F, u'~'},      {0x30, u'\u00C4'}, {0x31, u'\u00E4'},
    {0x32, u'\u00D6'}, {0x33, u'\u00F6'}, {0x34, u'\u00DF'}, {0x35, u'\u00A5'}, {0x36, u' '},      {0x37, u'\u00A6'},
    {0x38, u'\u00C5'}, {0x39, u'\u00E5'}, {0x3A, u'\u00D8'}, {0x3B, u'\u00F8'},
};

constexpr Entry kG0[] = {
    {0x7F, u'\u266B'},
};

constexpr Entry kG1[] = {
    {0xA2, u'\uFFE0'}, {0xA3, u'\uFFE1'}, {0xA5, u'\uFFE5'}, {0xAC, u'\uFFE2'}, {0xAD, u'-'}, {0xAF, u'\uFFE3'},
};

constexpr Entry kG2[] = {
    {0x20, u' '},      {0x21, u'\u00A0'}, {0x2A, u'\u0160'}, {0x2C, u'\u0152'}, {0x30, u'\u2588'},
    {0x31, u'\''},     {0x32, u'\''},     {0x33, u'\u201C'}, {0x34, u'\u201D'}, {0x35, u'\u2022'},
    {0x39, u'\u2122'}, {0x3A, u'\u0161'}, {0x3C, u'\u0153'}, {0x3D, u'\u2120'}, {0x3F, u'\u0178'},
    {0x76, u'\u215B'}, {0x77, u'\u215C'}, {0x78, u'\u215D'}, {0x79, u'\u215E'}, {0x7A, u'\u2502'},
    {0x7B, u'\u2510'}, {0x7C, u'\u2514'}, {0x7D, u'\u2500'}, {0x7E, u'\u2518'}, {0x7F, u'\u250C'},
};

constexpr Entry kG3[] = {
    {0xA0, u'\u00A9'},
};

struct UTF8Character {
    std::uint8_t size = 0;
    std::array<std::uint8_t, 3> bytes{};
};

constexpr UTF8Character rawByte(std::uint8_t byte) {
    return {1, {byte}};
}

constexpr UTF8Character encoded(char16_t character) {
    const auto tail = [character](unsigned shift) {
        return static_cast<std::uint8_t>(0x80U | (std::uint32_t{character} >> shift & 0x3FU));
    };
    if (character < 0x80) {
        return rawByte(static_cast<std::uint8_t>(character));
    }
    if (character < 0x800) {
        return {2, {static_cast<std::uint8_t>(0xC0U | std::uint32_t{character} >> 6U), tail(0)}};
    }
    return {3, {static_cast<std::uint8_t>(0xE0U | std::uint32_t{character} >> 12U), tail(6), tail(0)}};
}

constexpr std::size_t kCodes = 256;
using Table = std::array<UTF8Character, kCodes>;

template <std::size_t count>
constexpr Table withEntries(const Entry (&entries)[count], Table table = {}) {
    for (const Entry& entry : entries) {
        table[entry.code] = encoded(entry.character);
    }
    return table;
}

/// Codes from `first` to `last` that are their own Unicode characters.
constexpr Table ownCharacters(char16_t first, char16_t last) {
    Table table{};
    for (char16_t code = first; code <= last; ++code) {
        table[code] = encoded(code);
    }
    return table;
}

/// Every code as the byte that it is; from 0x80 on that is no UTF-8, which deployed hosts expect.
constexpr Table ownBytes() {
    Table table{};
    for (std::size_t code = 0; code < kCodes; ++code) {
        table[code] = rawByte(static_cast<std::uint8_t>(code));
    }
    return table;
}

/// In the order of Set.
constexpr Table kTables[] = {
    withEntries(kBasic, ownBytes()),
    withEntries(kSpecial),
    withEntries(kSpanishFrench),
    withEntries(kPortugueseGermanDanish),
    withEntries(kG0, ownCharacters(0x20, 0x7E)),
    withEntries(kG1, ownCharacters(0xA0, 0xFF)),
    withEntries(kG2),
    withEntries(kG3),
};

}  // namespace

std::span<const std::uint8_t> utf8(Set set, std::uint8_t code) noexcept {
    const UTF8Character& character = kTables[static_cast<std::size_t>(set)][code];
    return {character.bytes.data(), character.size};
}

}  // namespace qlx::captioncharacters
