#include "facade/CaptionCharacters.h"

#include <qlx/cea608/characters.h>

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

// Where the sets of CEA-608 depart from the core's; 0 for a code that is left out.

constexpr Entry kSpecial[] = {
    {0x37, u'\u266B'},
    {0x39, u'\u00A0'},
};

constexpr Entry kSpanishFrench[] = {
    {0x26, u'\u00B4'},
    {0x2A, u'-'},
    {0x2E, u'"'},
    {0x2F, u'"'},
};

constexpr Entry kPortugueseGermanDanish[] = {
    {0x36, u' '}, {0x3C, u'\0'}, {0x3D, u'\0'}, {0x3E, u'\0'}, {0x3F, u'\0'},
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
        table[entry.code] = entry.character == u'\0' ? UTF8Character{} : encoded(entry.character);
    }
    return table;
}

/// A set of CEA-608 as the standard has it.
constexpr Table standardCharacters(cea608::CharacterSet set, Table table = {}) {
    for (std::size_t code = 0; code < kCodes; ++code) {
        if (const auto character = cea608::characterOf(set, static_cast<std::uint8_t>(code))) {
            table[code] = encoded(static_cast<char16_t>(*character));
        }
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
    standardCharacters(cea608::CharacterSet::Basic, ownBytes()),
    withEntries(kSpecial, standardCharacters(cea608::CharacterSet::Special)),
    withEntries(kSpanishFrench, standardCharacters(cea608::CharacterSet::SpanishFrench)),
    withEntries(kPortugueseGermanDanish, standardCharacters(cea608::CharacterSet::PortugueseGerman)),
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
