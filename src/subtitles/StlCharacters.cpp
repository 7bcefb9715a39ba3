#include "subtitles/StlCharacters.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qlx::stl {

namespace {

constexpr std::uint8_t kFirstMark = 0xC0;
constexpr std::size_t kMarks = 16;
constexpr std::uint8_t kSpace = 0x20;

/// 0x00 and an ASCII character: hosts expect this pair where a character has no letter of its own; it is kept.
constexpr std::uint16_t zeroAnd(char character) {
    return static_cast<std::uint16_t>(static_cast<unsigned char>(character) << 8U);
}

/// The two UTF-8 bytes of a character from U+0080 to U+07FF, the first in the low 8 bits.
constexpr std::uint16_t utf8(char16_t character) {
    const unsigned value = character;
    return static_cast<std::uint16_t>((0xC0U | value >> 6U) | (0x80U | (value & 0x3FU)) << 8U);
}

/// A letter with every mark, from 0xC0 on; 0 where it stays as it is.
struct AccentedLetter {
    char letter;
    std::array<char16_t, kMarks> withMark;
};

// Marks: 1 grave, 2 acute, 3 circumflex, 4 tilde, 5 macron, 6 breve, 7 dot, 8 diaeresis, 10 ring, 11 cedilla,
// 13 double acute, 15 caron. Deployed hosts expect other letters for E with a dot, and for I and U with a tilde; it is
// kept.
constexpr std::array kAccentedLetters{
    AccentedLetter{'A', {0, u'À', u'Á', u'Â', u'Ã', u'Ā', u'Ă', u'Ȧ', u'Ä', 0, u'Å', 0, 0, 0, 0, u'Ǎ'}},
    AccentedLetter{'a', {0, u'à', u'á', u'â', u'ã', u'ā', u'ă', u'ȧ', u'ä', 0, u'å', 0, 0, 0, 0, u'ǎ'}},
    AccentedLetter{'E', {0, u'È', u'É', u'Ê', 0, u'Ē', u'Ĕ', u'Ȗ', u'Ë', 0, 0, 0, 0, 0, 0, u'Ě'}},
    AccentedLetter{'e', {0, u'è', u'é', u'ê', 0, u'ē', u'ĕ', u'ė', u'ë', 0, 0, 0, 0, 0, 0, u'ě'}},
    AccentedLetter{'I', {0, u'Ì', u'Í', u'Î', u'Ċ', u'Ī', u'Ĭ', u'İ', u'Ï', 0, 0, 0, 0, 0, 0, 0}},
    AccentedLetter{'i', {0, u'ì', u'í', u'î', u'ĩ', u'ī', u'ĭ', 0, u'ï', 0, 0, 0, 0, 0, 0, 0}},
    AccentedLetter{'O', {0, u'Ò', u'Ó', u'Ô', u'Õ', u'Ō', u'Ŏ', u'Ȯ', u'Ö', 0, 0, 0, 0, u'Ő', 0, u'Ǒ'}},
    AccentedLetter{'o', {0, u'ò', u'ó', u'ô', u'õ', u'ō', u'ŏ', u'ȯ', u'ö', 0, 0, 0, 0, u'ő', 0, u'ǒ'}},
    AccentedLetter{'U', {0, u'Ù', u'Ú', u'Û', u'Ŋ', u'Ū', u'Ŭ', 0, u'Ü', 0, u'Ů', 0, 0, u'Ű', 0, u'Ǔ'}},
    AccentedLetter{'u', {0, u'ù', u'ú', u'û', u'ũ', u'ū', u'ŭ', 0, u'ü', 0, u'ů', 0, 0, u'ű', 0, u'ǔ'}},
    AccentedLetter{'C', {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, u'Ç', 0, 0, 0, 0}},
    AccentedLetter{'c', {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, u'ç', 0, 0, 0, 0}},
    AccentedLetter{'N', {0, u'Ǹ', u'Ń', 0, u'Ñ', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, u'Ň'}},
    AccentedLetter{'n', {0, u'ǹ', u'ń', 0, u'ñ', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, u'ň'}},
};

/// A character outside ASCII, or 0x00 and an ASCII one.
struct Symbol {
    std::uint8_t byte;
    char16_t character;
};

constexpr std::array kSymbols{
    Symbol{0x24, 0x00A4},  // currency sign
    Symbol{0xA0, 0x00A0}, Symbol{0xA1, u'¡'},   Symbol{0xA2, u'¢'}, Symbol{0xA3, u'£'},   Symbol{0xA4, u'$'},
    Symbol{0xA5, u'¥'},   Symbol{0xA7, u'§'},   Symbol{0xA9, u'`'}, Symbol{0xAA, u'"'},   Symbol{0xAB, u'«'},
    Symbol{0xB0, u'°'},   Symbol{0xB1, u'±'},   Symbol{0xB2, u'²'}, Symbol{0xB3, u'³'},   Symbol{0xB4, u'×'},
    Symbol{0xB5, 0x03BC},  // Greek mu
    Symbol{0xB6, u'¶'},   Symbol{0xB7, 0x0095}, Symbol{0xB8, u'÷'}, Symbol{0xB9, u'´'},   Symbol{0xBA, u'"'},
    Symbol{0xBB, u'»'},   Symbol{0xBC, u'¼'},   Symbol{0xBD, u'½'}, Symbol{0xBE, u'¾'},   Symbol{0xBF, u'¿'},
    Symbol{0xD0, 0x0097}, Symbol{0xD1, u'¹'},   Symbol{0xD2, u'®'}, Symbol{0xD3, u'©'},   Symbol{0xD4, 0x0099},
    Symbol{0xD5, u'¶'},   Symbol{0xD6, u'¬'},   Symbol{0xD7, u'¦'}, Symbol{0xE0, 0x03A9},  // Greek capital omega
    Symbol{0xE1, u'Æ'},   Symbol{0xE2, u'Ð'},   Symbol{0xE3, u'a'}, Symbol{0xE9, u'Ø'},   Symbol{0xEA, 0x008C},
    Symbol{0xEB, u'o'},   Symbol{0xF0, u'k'},   Symbol{0xF1, u'æ'}, Symbol{0xF9, u'ø'},   Symbol{0xFA, 0x009C},
    Symbol{0xFB, 0x03B2},  // Greek beta
    Symbol{0xFF, 0x00AD},  // soft hyphen
};

/// What a byte without a second one gives: itself, a symbol, or 0x00 and a space where the set has nothing.
constexpr std::array<std::uint16_t, 256> kSingles = []() {
    std::array<std::uint16_t, 256> table{};
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        const bool hasSymbol = byte >= 0xA0 && !isDiacriticalMark(static_cast<std::uint8_t>(byte));
        table[byte] = hasSymbol ? zeroAnd(' ') : static_cast<std::uint16_t>(byte);
    }
    for (const Symbol& symbol : kSymbols) {
        table[symbol.byte] =
            symbol.character < 0x80 ? zeroAnd(static_cast<char>(symbol.character)) : utf8(symbol.character);
    }
    return table;
}();

using MarkedLetters = std::array<std::uint16_t, kMarks>;

/// What each mark gives with a letter: one row a letter, behind the row of every other byte.
constexpr std::array<MarkedLetters, kAccentedLetters.size() + 1> kMarkedLetters = []() {
    std::array<MarkedLetters, kAccentedLetters.size() + 1> table{};
    for (std::uint16_t& value : table[0]) {
        value = zeroAnd(' ');
    }
    for (std::size_t row = 0; row < kAccentedLetters.size(); ++row) {
        for (std::size_t mark = 0; mark < kMarks; ++mark) {
            const char16_t character = kAccentedLetters[row].withMark[mark];
            table[row + 1][mark] = character == 0 ? zeroAnd(kAccentedLetters[row].letter) : utf8(character);
        }
    }
    return table;
}();

/// The row of each byte in kMarkedLetters.
constexpr std::array<std::uint8_t, 256> kRowOfLetter = []() {
    std::array<std::uint8_t, 256> rows{};
    for (std::size_t row = 0; row < kAccentedLetters.size(); ++row) {
        rows[static_cast<unsigned char>(kAccentedLetters[row].letter)] = static_cast<std::uint8_t>(row + 1);
    }
    return rows;
}();

}  // namespace

std::uint16_t utf8Character(std::uint8_t byte1, std::uint8_t byte2) noexcept {
    if (isDiacriticalMark(byte1) && byte2 != 0) {
        return kMarkedLetters[kRowOfLetter[byte2]][byte1 - kFirstMark];
    }
    return kSingles[byte1];
}

std::optional<std::string> decodedLine(std::span<const std::uint8_t> line) {
    std::string text;
    text.reserve(line.size() * 2);
    for (std::size_t index = 0; index < line.size(); ++index) {
        const std::uint8_t byte = line[index];
        if (byte < kSpace) {
            continue;
        }
        std::uint16_t character = 0;
        if (!isDiacriticalMark(byte)) {
            character = kSingles[byte];
        } else if (index + 1 < line.size()) {
            character = utf8Character(byte, line[++index]);
        } else {
            character = kSpace;
        }
        text += static_cast<char>(character & 0xFFU);
        if (character > 0xFF) {
            text += static_cast<char>(character >> 8U);
        }
    }
    return firstInvalidUTF8Byte(text) ? std::nullopt : std::optional(std::move(text));
}

}  // namespace qlx::stl
