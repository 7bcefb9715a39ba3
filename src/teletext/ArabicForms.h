// Arabic letters and the forms in which they are drawn: Unicode's presentation forms, as the sets of teletext have them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::teletext {

/// The form of a letter, in Unicode's order.
enum class ArabicForm : std::uint8_t { Isolated, Final, Initial, Medial };

/// A letter and its forms, which stand one behind the other: two for a letter that joins only the one before it.
struct ArabicLetter {
    char32_t letter = 0;
    char32_t forms = 0;  ///< The isolated one.
    std::uint8_t count = 0;
};

/// Lam with alef, which has no character but its forms.
inline constexpr char32_t kLamAlef = U'\uFEFB';

inline constexpr ArabicLetter kArabicLetters[] = {
    {0x621, 0xFE80, 1}, {0x622, 0xFE81, 2}, {0x623, 0xFE83, 2}, {0x624, 0xFE85, 2}, {0x625, 0xFE87, 2},
    {0x626, 0xFE89, 4}, {0x627, 0xFE8D, 2}, {0x628, 0xFE8F, 4}, {0x629, 0xFE93, 2}, {0x62A, 0xFE95, 4},
    {0x62B, 0xFE99, 4}, {0x62C, 0xFE9D, 4}, {0x62D, 0xFEA1, 4}, {0x62E, 0xFEA5, 4}, {0x62F, 0xFEA9, 2},
    {0x630, 0xFEAB, 2}, {0x631, 0xFEAD, 2}, {0x632, 0xFEAF, 2}, {0x633, 0xFEB1, 4}, {0x634, 0xFEB5, 4},
    {0x635, 0xFEB9, 4}, {0x636, 0xFEBD, 4}, {0x637, 0xFEC1, 4}, {0x638, 0xFEC5, 4}, {0x639, 0xFEC9, 4},
    {0x63A, 0xFECD, 4}, {0x641, 0xFED1, 4}, {0x642, 0xFED5, 4}, {0x643, 0xFED9, 4}, {0x644, 0xFEDD, 4},
    {0x645, 0xFEE1, 4}, {0x646, 0xFEE5, 4}, {0x647, 0xFEE9, 4}, {0x648, 0xFEED, 2}, {0x649, 0xFEEF, 2},
    {0x64A, 0xFEF1, 4}, {0x671, 0xFB50, 2}, {0x698, 0xFB8A, 2}, {0x6AF, 0xFB92, 4}, {0x6CC, 0xFBFC, 4},
    {0x67E, 0xFB56, 4}, {0x686, 0xFB7A, 4}, {0x6A4, 0xFB6A, 4}, {0x6A9, 0xFB8E, 4}, {kLamAlef, kLamAlef, 2},
};

/// Whether it may be in the table.
[[nodiscard]] constexpr bool isArabic(char32_t character) noexcept {
    return (character >= 0x600 && character < 0x700) || (character >= 0xFB50 && character < 0xFF00);
}

/// The entry of a letter or of one of its forms; null for another character.
[[nodiscard]] constexpr const ArabicLetter* arabicLetter(char32_t character) noexcept {
    if (isArabic(character)) {
        for (const ArabicLetter& letter : kArabicLetters) {
            if (letter.letter == character || (character >= letter.forms && character < letter.forms + letter.count)) {
                return &letter;
            }
        }
    }
    return nullptr;
}

/// The letter of a form; any other character as it is, and so lam with alef.
[[nodiscard]] constexpr char32_t plainArabic(char32_t character) noexcept {
    const ArabicLetter* const letter = arabicLetter(character);
    return letter == nullptr ? character : letter->letter;
}

/// A letter's form; the nearest one where it has not got it.
[[nodiscard]] constexpr char32_t formOf(const ArabicLetter& letter, ArabicForm form) noexcept {
    const auto place = static_cast<std::uint8_t>(form);
    return letter.forms + (place < letter.count ? place : place % 2U < letter.count ? place % 2U : 0U);
}

/// The form that a character is of its letter; a letter itself counts as its isolated one.
[[nodiscard]] constexpr ArabicForm formIn(const ArabicLetter& letter, char32_t character) noexcept {
    const bool isForm = character >= letter.forms && character < letter.forms + letter.count;
    return isForm ? static_cast<ArabicForm>(character - letter.forms) : ArabicForm::Isolated;
}

/// The same form of another letter, which stands for the first one; any other character as it is.
[[nodiscard]] constexpr char32_t formLike(char32_t character, char32_t other) noexcept {
    const ArabicLetter* const own = arabicLetter(character);
    const ArabicLetter* const stand = arabicLetter(other);
    return own == nullptr || stand == nullptr ? other : formOf(*stand, formIn(*own, character));
}

/// The forms of a letter, those that are most like the given one first; zeros behind the last and for other characters.
/// A letter itself counts as its isolated form.
[[nodiscard]] constexpr std::array<char32_t, 4> otherForms(char32_t character) noexcept {
    std::array<char32_t, 4> forms{};
    const ArabicLetter* const letter = arabicLetter(character);
    if (letter == nullptr) {
        return forms;
    }
    constexpr std::array<std::array<std::uint8_t, 4>, 4> kNearness{
        {{0, 1, 2, 3}, {1, 0, 3, 2}, {2, 3, 0, 1}, {3, 2, 1, 0}}};
    const auto own = static_cast<std::size_t>(formIn(*letter, character));
    std::size_t count = 0;
    for (const std::uint8_t place : kNearness[own]) {
        if (place < letter->count) {
            forms[count++] = letter->forms + place;
        }
    }
    return forms;
}

}  // namespace qlx::teletext
