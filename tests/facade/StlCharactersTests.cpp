// The characters of EBU STL text fields: every byte, and every pair of a diacritical mark and a letter.
#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace {

/// The one or two bytes of a character.
std::string bytesOf(std::uint16_t character) {
    std::string bytes(1, static_cast<char>(character & 0xFF));
    if (character >= 256) {
        bytes += static_cast<char>(character >> 8);
    }
    return bytes;
}

std::string character(int byte1, int byte2 = 0) {
    return bytesOf(QLXSTLFileReader::UTF8CharacterWithByte1_byte2(static_cast<std::uint8_t>(byte1),
                                                                  static_cast<std::uint8_t>(byte2)));
}

std::string byteItself(int byte) {
    return std::string(1, static_cast<char>(byte));
}

/// 0x00 and a letter.
std::string zeroAnd(char letter) {
    return {'\0', letter};
}

struct LetterRow {
    char letter;
    std::array<const char*, 12> withMark;  ///< Empty where it stays as it is.
};

/// The places of the marks behind 0xC0, in the order of the rows.
constexpr std::array<int, 12> kMarks{1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 13, 15};

constexpr LetterRow kLetters[] = {
    {'A', {"À", "Á", "Â", "Ã", "Ā", "Ă", "Ȧ", "Ä", "Å", "", "", "Ǎ"}},
    {'a', {"à", "á", "â", "ã", "ā", "ă", "ȧ", "ä", "å", "", "", "ǎ"}},
    {'E', {"È", "É", "Ê", "", "Ē", "Ĕ", "Ȗ", "Ë", "", "", "", "Ě"}},
    {'e', {"è", "é", "ê", "", "ē", "ĕ", "ė", "ë", "", "", "", "ě"}},
    {'I', {"Ì", "Í", "Î", "Ċ", "Ī", "Ĭ", "İ", "Ï", "", "", "", ""}},
    {'i', {"ì", "í", "î", "ĩ", "ī", "ĭ", "", "ï", "", "", "", ""}},
    {'O', {"Ò", "Ó", "Ô", "Õ", "Ō", "Ŏ", "Ȯ", "Ö", "", "", "Ő", "Ǒ"}},
    {'o', {"ò", "ó", "ô", "õ", "ō", "ŏ", "ȯ", "ö", "", "", "ő", "ǒ"}},
    {'U', {"Ù", "Ú", "Û", "Ŋ", "Ū", "Ŭ", "", "Ü", "Ů", "", "Ű", "Ǔ"}},
    {'u', {"ù", "ú", "û", "ũ", "ū", "ŭ", "", "ü", "ů", "", "ű", "ǔ"}},
    {'C', {"", "", "", "", "", "", "", "", "", "Ç", "", ""}},
    {'c', {"", "", "", "", "", "", "", "", "", "ç", "", ""}},
    {'N', {"Ǹ", "Ń", "", "Ñ", "", "", "", "", "", "", "", "Ň"}},
    {'n', {"ǹ", "ń", "", "ñ", "", "", "", "", "", "", "", "ň"}},
};

/// What each of the 16 marks gives with a letter of the table.
std::map<char, std::vector<std::string>> expectedLetters() {
    std::map<char, std::vector<std::string>> letters;
    for (const LetterRow& row : kLetters) {
        std::vector<std::string> marked(16, zeroAnd(row.letter));
        for (std::size_t index = 0; index < kMarks.size(); ++index) {
            if (*row.withMark[index] != '\0') {
                marked[static_cast<std::size_t>(kMarks[index])] = row.withMark[index];
            }
        }
        letters[row.letter] = marked;
    }
    return letters;
}

TEST(STLCharacters, HaveEveryPairOfMarkAndLetter) {
    const auto letters = expectedLetters();
    ASSERT_EQ(letters.size(), 14U);
    for (int mark = 0xC0; mark <= 0xCF; ++mark) {
        for (int byte = 1; byte < 256; ++byte) {
            const auto known = byte < 0x80 ? letters.find(static_cast<char>(byte)) : letters.end();
            const std::string expected =
                known == letters.end() ? zeroAnd(' ') : known->second[static_cast<std::size_t>(mark - 0xC0)];
            EXPECT_EQ(character(mark, byte), expected) << std::hex << mark << ' ' << byte;
        }
    }
    EXPECT_EQ(character(0xC2, 'e'), "\xC3\xA9");
    EXPECT_EQ(character(0xC8, 'o'), "\xC3\xB6");
    EXPECT_EQ(character(0xC7, 'E'), "\xC8\x96");  // the odd ones
    EXPECT_EQ(character(0xC4, 'I'), "\xC4\x8A");
    EXPECT_EQ(character(0xC4, 'U'), "\xC5\x8A");
    EXPECT_EQ(QLXSTLFileReader::UTF8CharacterWithByte1_byte2(0xC2, 'x'), 0x2000);
    EXPECT_EQ(QLXSTLFileReader::UTF8CharacterWithByte1_byte2(0xC2, 'C'), 0x4300);
    EXPECT_EQ(QLXSTLFileReader::UTF8CharacterWithByte1_byte2(0xC2, 'e'), 0xA9C3);
}

/// 0xA0 to 0xBF.
std::vector<std::string> expectedSymbols() {
    const std::string blank = zeroAnd(' ');
    return {"\u00A0", "\u00A1",     "\u00A2",     "\u00A3", zeroAnd('$'), "\u00A5", blank,    "\u00A7",
            blank,    zeroAnd('`'), zeroAnd('"'), "\u00AB", blank,        blank,    blank,    blank,
            "\u00B0", "\u00B1",     "\u00B2",     "\u00B3", "\u00D7",     "\u03BC", "\u00B6", "\u0095",
            "\u00F7", "\u00B4",     zeroAnd('"'), "\u00BB", "\u00BC",     "\u00BD", "\u00BE", "\u00BF"};
}

/// 0xD0 to 0xFF.
std::vector<std::string> expectedLettersOfTheEnd() {
    const std::string blank = zeroAnd(' ');
    return {"\u0097",     "\u00B9", "\u00AE", "\u00A9",     "\u0099", "\u00B6", "\u00AC", "\u00A6",
            blank,        blank,    blank,    blank,        blank,    blank,    blank,    blank,
            "\u03A9",     "\u00C6", "\u00D0", zeroAnd('a'), blank,    blank,    blank,    blank,
            blank,        "\u00D8", "\u008C", zeroAnd('o'), blank,    blank,    blank,    blank,
            zeroAnd('k'), "\u00E6", blank,    blank,        blank,    blank,    blank,    blank,
            blank,        "\u00F8", "\u009C", "\u03B2",     blank,    blank,    blank,    "\u00AD"};
}

/// What each byte gives without a second one.
std::vector<std::string> expectedSingles() {
    std::vector<std::string> singles;
    for (int byte = 0; byte < 0xA0; ++byte) {
        singles.push_back(byte == 0x24 ? "\u00A4" : byteItself(byte));
    }
    const auto symbols = expectedSymbols();
    singles.insert(singles.end(), symbols.begin(), symbols.end());
    for (int byte = 0xC0; byte <= 0xCF; ++byte) {
        singles.push_back(byteItself(byte));
    }
    const auto letters = expectedLettersOfTheEnd();
    singles.insert(singles.end(), letters.begin(), letters.end());
    return singles;
}

TEST(STLCharacters, HaveEveryByte) {
    const auto singles = expectedSingles();
    ASSERT_EQ(singles.size(), 256U);
    for (int byte = 0; byte < 256; ++byte) {
        EXPECT_EQ(character(byte), singles[static_cast<std::size_t>(byte)]) << std::hex << byte;
        if (byte < 0xC0 || byte > 0xCF) {
            EXPECT_EQ(character(byte, 'e'), singles[static_cast<std::size_t>(byte)]) << std::hex << byte;
        }
    }
}

std::optional<std::string> text(std::vector<std::uint8_t> bytes) {
    return QLXSTLFileReader::stringWithTTIEncodedData(bytes);
}

TEST(STLCharacters, MakeAText) {
    EXPECT_EQ(text({}), "");
    EXPECT_EQ(QLXSTLFileReader::stringWithTTIEncodedData({}), "");
    EXPECT_EQ(text({'$', 'a', 0xA4, 0xC1, 'a', 0xFB}), std::string("\u00A4a\0$\u00E0\u03B2", 9));
    const auto singles = expectedSingles();
    for (int byte = 0; byte < 256; ++byte) {
        const std::optional<std::string> one = text({static_cast<std::uint8_t>(byte)});
        if (byte < 0x20) {
            EXPECT_EQ(one, "") << byte;
        } else if (byte >= 0xC0 && byte <= 0xCF) {
            EXPECT_EQ(one, " ") << byte;  // a mark without a letter
        } else if (byte >= 0x80 && byte <= 0x9F) {
            EXPECT_EQ(one, std::nullopt) << byte;
        } else {
            EXPECT_EQ(one, singles[static_cast<std::size_t>(byte)]) << byte;
        }
    }
}

TEST(STLCharacters, LetAMarkTakeAnyByte) {
    EXPECT_EQ(text({'a', 0xC2, 0x0D, 'b'}), std::string("a\0 b", 4));
    EXPECT_EQ(text({'a', 0xC2, 0x1F, 'e'}), std::string("a\0 e", 4));
    EXPECT_EQ(text({0xC2, 0x85}), zeroAnd(' '));
    EXPECT_EQ(text({0xC2, 0xC2, 'e'}), std::string("\0 e", 3));
    EXPECT_EQ(text({0xC1, 'e', 0xC2, 'e'}), "\u00E8\u00E9");
    // 0x00 is no second byte: the mark stands alone, and its byte is no text by itself.
    EXPECT_EQ(text({'a', 0xC2, 0x00, 'b'}), std::nullopt);
    EXPECT_EQ(text({'a', 0xC2, 0x00}), std::nullopt);
    // The bytes are put together before they are read as UTF-8.
    EXPECT_EQ(text({0xC3, 0x00, 0x80}), "\u00C0");
}

TEST(STLCharacters, GiveNoTextForABrokenByte) {
    EXPECT_EQ(text({'a', 0x80, 'b'}), std::nullopt);
    EXPECT_EQ(text({0xC2, 'e', 0x9F}), std::nullopt);
    EXPECT_EQ(text({'a', 0x7F}), "a\x7F");
}

}  // namespace
