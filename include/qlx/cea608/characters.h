// The characters of CEA-608 (CTA-608-E, tables of the basic, special and extended sets) as Unicode and back.
//
//     const auto code = qlx::cea608::characterCode(U'\u266A');   // 37h of the special set
//     if (code) { use(qlx::cea608::characterOf(code->set, code->code)); }
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qlx::cea608 {

/// The sets of characters.
enum class CharacterSet : std::uint8_t {
    Basic,             ///< A byte a character, 20h to 7Fh.
    Special,           ///< A pair: 11h, and 30h to 3Fh.
    SpanishFrench,     ///< A pair: 12h, and 20h to 3Fh; takes the place of the character in front of it.
    PortugueseGerman,  ///< A pair: 13h, and 20h to 3Fh; the same. Danish letters and corners too.
};

/// The special character at 39h: a space through which the picture shows.
inline constexpr char32_t kTransparentSpace = U'\0';

/// First code of the sets of pairs, in the order of CharacterSet; that of the basic set.
inline constexpr std::array<std::uint8_t, 4> kFirstCharacterCodes{0x20, 0x30, 0x20, 0x20};

/// The characters of the sets from their first code on, in the order of CharacterSet.
inline constexpr std::array<std::u32string_view, 4> kCharacters{
    U" !\"#$%&'()\u00E1+,-./0123456789:;<=>?"
    U"@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\u00E9]\u00ED\u00F3"
    U"\u00FAabcdefghijklmnopqrstuvwxyz\u00E7\u00F7\u00D1\u00F1\u2588",
    std::u32string_view(U"\u00AE\u00B0\u00BD\u00BF\u2122\u00A2\u00A3\u266A\u00E0\0\u00E8\u00E2\u00EA\u00EE\u00F4\u00FB",
                        16),
    U"\u00C1\u00C9\u00D3\u00DA\u00DC\u00FC\u2018\u00A1*'\u2014\u00A9\u2120\u2022\u201C\u201D"
    U"\u00C0\u00C2\u00C7\u00C8\u00CA\u00CB\u00EB\u00CE\u00CF\u00EF\u00D4\u00D9\u00F9\u00DB\u00AB\u00BB",
    U"\u00C3\u00E3\u00CD\u00CC\u00EC\u00D2\u00F2\u00D5\u00F5{}\\^_|~"
    U"\u00C4\u00E4\u00D6\u00F6\u00DF\u00A5\u00A4\u00A6\u00C5\u00E5\u00D8\u00F8\u250C\u2510\u2514\u2518",
};

static_assert(kCharacters[0].size() == 96 && kCharacters[2].size() == 32 && kCharacters[3].size() == 32);

/// The character of a code without parity; none for a code that the set does not have. kTransparentSpace for 39h of the
/// special set.
[[nodiscard]] constexpr std::optional<char32_t> characterOf(CharacterSet set, std::uint8_t code) noexcept {
    const auto index = static_cast<std::size_t>(set);
    const std::size_t first = kFirstCharacterCodes[index];
    const std::u32string_view characters = kCharacters[index];
    return code < first || code - first >= characters.size() ? std::nullopt : std::optional(characters[code - first]);
}

/// Where a character stands.
struct CharacterCode {
    CharacterSet set = CharacterSet::Basic;  ///< Its set.
    std::uint8_t code = 0x20;                ///< Its code there, without parity.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CharacterCode&, const CharacterCode&) noexcept = default;
};

/// The code of a character, in the first set that has it; none when none has.
[[nodiscard]] constexpr std::optional<CharacterCode> characterCode(char32_t character) noexcept {
    for (std::size_t index = 0; index < kCharacters.size(); ++index) {
        const std::size_t place = kCharacters[index].find(character);
        if (place != std::u32string_view::npos) {
            return CharacterCode{static_cast<CharacterSet>(index),
                                 static_cast<std::uint8_t>(kFirstCharacterCodes[index] + place)};
        }
    }
    return std::nullopt;
}

}  // namespace qlx::cea608
