// The Latin character sets of teletext (ETSI EN 300 706, clause 15): G0 with its national options, G2, and the block
// mosaics of G1, as Unicode and back.
//
//     const auto option = qlx::teletext::NationalOption::German;
//     const char32_t letter = qlx::teletext::latinG0(0x5B, option);           // A with diaeresis
//     const auto code = qlx::teletext::latinG0Code(U'\u00DF', option);        // 7Eh
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qlx::teletext {

/// A national option sub-set: thirteen characters of the Latin G0 set (EN 300 706, table 36).
enum class NationalOption : std::uint8_t {
    CzechSlovak,
    English,
    Estonian,
    French,
    German,
    Italian,
    LettishLithuanian,
    Polish,
    PortugueseSpanish,
    Rumanian,
    SerbianCroatianSlovenian,
    SwedishFinnishHungarian,
    Turkish,
};

/// How many there are.
inline constexpr std::size_t kNationalOptions = 13;

/// All of them, in the order of their numbers.
inline constexpr std::array<NationalOption, kNationalOptions> kAllNationalOptions = []() {
    std::array<NationalOption, kNationalOptions> options{};
    for (std::size_t index = 0; index < options.size(); ++index) {
        options[index] = static_cast<NationalOption>(index);
    }
    return options;
}();

/// The codes that mean another character in each sub-set.
inline constexpr std::array<std::uint8_t, 13> kNationalCodes{0x23, 0x24, 0x40, 0x5B, 0x5C, 0x5D, 0x5E,
                                                             0x5F, 0x60, 0x7B, 0x7C, 0x7D, 0x7E};

/// The characters of each sub-set, in the order of kNationalCodes. Where the standard draws a letter in a way of its own,
/// they are the letters that texts of the language have: Polish Z with a dot (drawn with a stroke), Rumanian A with a
/// breve and I with a circumflex (a caron, an acute accent), Lithuanian e with an ogonek (a cedilla), and the sign of the
/// Turkish lira (the letters TL).
inline constexpr std::array<std::u32string_view, kNationalOptions> kNationalCharacters{
    U"#\u016F\u010D\u0165\u017E\u00FD\u00ED\u0159\u00E9\u00E1\u011B\u00FA\u0161",
    U"\u00A3$@\u2190\u00BD\u2192\u2191#\u2014\u00BC\u2016\u00BE\u00F7",
    U"#\u00F5\u0160\u00C4\u00D6\u017D\u00DC\u00D5\u0161\u00E4\u00F6\u017E\u00FC",
    U"\u00E9\u00EF\u00E0\u00EB\u00EA\u00F9\u00EE#\u00E8\u00E2\u00F4\u00FB\u00E7",
    U"#$\u00A7\u00C4\u00D6\u00DC^_\u00B0\u00E4\u00F6\u00FC\u00DF",
    U"\u00A3$\u00E9\u00B0\u00E7\u2192\u2191#\u00F9\u00E0\u00F2\u00E8\u00EC",
    U"#$\u0160\u0117\u0119\u017D\u010D\u016B\u0161\u0105\u0173\u017E\u012F",
    U"#\u0144\u0105\u017B\u015A\u0141\u0107\u00F3\u0119\u017C\u015B\u0142\u017A",
    U"\u00E7$\u00A1\u00E1\u00E9\u00ED\u00F3\u00FA\u00BF\u00FC\u00F1\u00E8\u00E0",
    U"#\u00A4\u0162\u00C2\u015E\u0102\u00CE\u0131\u0163\u00E2\u015F\u0103\u00EE",
    U"#\u00CB\u010C\u0106\u017D\u0110\u0160\u00EB\u010D\u0107\u017E\u0111\u0161",
    U"#\u00A4\u00C9\u00C4\u00D6\u00C5\u00DC_\u00E9\u00E4\u00F6\u00E5\u00FC",
    U"\u20BA\u011F\u0130\u015E\u00D6\u00C7\u00DC\u011E\u0131\u015F\u00F6\u00E7\u00FC",
};

static_assert(std::all_of(kNationalCharacters.begin(), kNationalCharacters.end(),
                          [](std::u32string_view subset) { return subset.size() == kNationalCodes.size(); }));

/// The characters of a sub-set, in the order of kNationalCodes.
[[nodiscard]] constexpr std::u32string_view nationalCharacters(NationalOption option) noexcept {
    return kNationalCharacters[static_cast<std::size_t>(option)];
}

/// The filled block at 7Fh of the sets.
inline constexpr char32_t kFilledBlock = U'\u25A0';

/// The character of a code 20h to 7Fh of the Latin G0 set; a space for any other.
[[nodiscard]] constexpr char32_t latinG0(std::uint8_t code, NationalOption option) noexcept {
    constexpr std::uint8_t kLast = 0x7F;
    if (code < 0x20 || code > kLast) {
        return U' ';
    }
    if (code == kLast) {
        return kFilledBlock;
    }
    const auto place = static_cast<std::size_t>(std::find(kNationalCodes.begin(), kNationalCodes.end(), code) -
                                                kNationalCodes.begin());
    return place == kNationalCodes.size() ? char32_t{code} : nationalCharacters(option)[place];
}

/// The code of a character in the Latin G0 set, without parity; none for one that the set does not have.
[[nodiscard]] constexpr std::optional<std::uint8_t> latinG0Code(char32_t character, NationalOption option) noexcept {
    for (std::uint8_t code = 0x20; code <= 0x7F; ++code) {
        if (latinG0(code, option) == character) {
            return code;
        }
    }
    return std::nullopt;
}

/// The Latin G2 set from code 20h on (EN 300 706, clause 15.6): 0 where it has none. The diacritical marks of 41h to 4Fh
/// are the combining ones; without a use in Unicode of their own, they stand over the letter that they come with.
inline constexpr std::u32string_view kLatinG2{
    U"\u00A0\u00A1\u00A2\u00A3$\u00A5#\u00A7\u00A4\u2018\u201C\u00AB\u2190\u2191\u2192\u2193"
    U"\u00B0\u00B1\u00B2\u00B3\u00D7\u00B5\u00B6\u00B7\u00F7\u2019\u201D\u00BB\u00BC\u00BD\u00BE\u00BF"
    U"\0\u0300\u0301\u0302\u0303\u0304\u0306\u0307\u0308\u0323\u030A\u0327\u0332\u030B\u0328\u030C"
    U"\u2015\u00B9\u00AE\u00A9\u2122\u266A\u20A0\u2030\u03B1\0\0\0\u215B\u215C\u215D\u215E"
    U"\u2126\u00C6\u0110\u00AA\u0126\0\u0132\u013F\u0141\u00D8\u0152\u00BA\u00DE\u0166\u014A\u0149"
    U"\u0138\u00E6\u0111\u00F0\u0127\u0131\u0133\u0140\u0142\u00F8\u0153\u00DF\u00FE\u0167\u014B\u25A0",
    96};

/// The character of a code 20h to 7Fh of the Latin G2 set; 0 where it has none.
[[nodiscard]] constexpr char32_t latinG2(std::uint8_t code) noexcept {
    return code < 0x20 || code > 0x7F ? U'\0' : kLatinG2[code - std::size_t{0x20}];
}

/// The code of a character in the Latin G2 set; none for one that the set does not have.
[[nodiscard]] constexpr std::optional<std::uint8_t> latinG2Code(char32_t character) noexcept {
    const std::size_t place = character == U'\0' ? std::u32string_view::npos : kLatinG2.find(character);
    return place == std::u32string_view::npos ? std::nullopt : std::optional(static_cast<std::uint8_t>(place + 0x20));
}

/// The sub-set of a whole designation of the Latin G0 set: seven bits, the low three of them C12, C13 and C14 of the
/// page's header (C12 highest), the others from packet X/28/0, M/29/0 or the receiver's region (EN 300 706, table 32).
/// None for a designation that is reserved or of another alphabet.
[[nodiscard]] constexpr std::optional<NationalOption> nationalOptionOf(std::uint8_t designation) noexcept {
    struct Entry {
        std::uint8_t designation;
        NationalOption option;
    };
    using enum NationalOption;
    constexpr Entry kEntries[] = {
        // Western, Eastern, Western with Turkish.
        {0x00, English},
        {0x01, German},
        {0x02, SwedishFinnishHungarian},
        {0x03, Italian},
        {0x04, French},
        {0x05, PortugueseSpanish},
        {0x06, CzechSlovak},
        {0x08, Polish},
        {0x09, German},
        {0x0A, SwedishFinnishHungarian},
        {0x0B, Italian},
        {0x0C, French},
        {0x0E, CzechSlovak},
        {0x10, English},
        {0x11, German},
        {0x12, SwedishFinnishHungarian},
        {0x13, Italian},
        {0x14, French},
        {0x15, PortugueseSpanish},
        {0x16, Turkish},
        // South-eastern, beside Cyrillic, beside Greek, beside Arabic.
        {0x1D, SerbianCroatianSlovenian},
        {0x1F, Rumanian},
        {0x21, German},
        {0x22, Estonian},
        {0x23, LettishLithuanian},
        {0x26, CzechSlovak},
        {0x36, Turkish},
        {0x40, English},
        {0x44, French},
    };
    for (const Entry& entry : kEntries) {
        if (entry.designation == designation) {
            return entry.option;
        }
    }
    return std::nullopt;
}

/// The sub-set that C12, C13 and C14 of a page's header (0 to 7, C12 highest) choose where nothing else is designated:
/// that of Western Europe; English for 7, which the table leaves open.
[[nodiscard]] constexpr NationalOption westernOption(std::uint8_t control) noexcept {
    return nationalOptionOf(control & 7U).value_or(NationalOption::English);
}

/// The Unicode character (block element or sextant) of a contiguous mosaic code 20h to 3Fh or 60h to 7Fh of the G1 set
/// (EN 300 706, clause 15.7).
[[nodiscard]] constexpr char32_t mosaic(std::uint8_t code) noexcept {
    // Bits 0 to 4 and 6 are the six parts from the upper left to the lower right. The Unicode block leaves out the
    // empty and the full one and the two halves, which are older characters.
    constexpr unsigned kLeftHalf = 0x15;
    constexpr unsigned kRightHalf = 0x2A;
    constexpr unsigned kAll = 0x3F;
    const unsigned parts = (code & 0x1FU) | (code & 0x40U) >> 1U;
    switch (parts) {
    case 0:
        return U' ';
    case kLeftHalf:
        return U'\u258C';
    case kRightHalf:
        return U'\u2590';
    case kAll:
        return U'\u2588';
    default:
        break;
    }
    constexpr char32_t kFirstSextant = 0x1FB00;
    const unsigned leftOut = parts > kRightHalf ? 3 : parts > kLeftHalf ? 2 : 1;
    return kFirstSextant + parts - leftOut;
}

}  // namespace qlx::teletext
