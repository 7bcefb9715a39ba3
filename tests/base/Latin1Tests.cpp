#include "base/Latin1.h"

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

/// Up to `room` bytes of the conversion, as a text of bytes.
std::string converted(std::string_view text, std::size_t room = 64) {
    auto target = qlxtest::ExactBuffer::filled(room, 0xAA);
    const std::size_t count = qlx::latin1::convertLossy(text, target.span());
    EXPECT_LE(count, room);
    return {reinterpret_cast<const char*>(target.data()), count};
}

TEST(Latin1, KeepsItsOwnCharacters) {
    for (unsigned character = 0; character < 256; ++character) {
        const std::string utf8 = character < 0x80 ? std::string(1, static_cast<char>(character))
                                                  : std::string{static_cast<char>(0xC0 | character >> 6),
                                                                static_cast<char>(0x80 | (character & 0x3F))};
        EXPECT_EQ(converted(utf8), std::string(1, static_cast<char>(character)));
    }
}

TEST(Latin1, FoldsTypographicPunctuation) {
    EXPECT_EQ(converted("‘a’ ‚b‛"), "'a' 'b'");
    EXPECT_EQ(converted("“a” „b‟"), "\"a\" \"b\"");
    EXPECT_EQ(converted("‹a›"), "<a>");
    EXPECT_EQ(converted("‐‑‒–—―−"), "-------");
    EXPECT_EQ(converted("Non…"), "Non...");
    EXPECT_EQ(converted("5′ 6″ lʼeau"), "5' 6\" l'eau");
    // Narrow no-break, thin, en, em and figure spaces.
    EXPECT_EQ(converted("a\u202F!\u2009b\u2002c\u2003d\u2007e"), "a ! b c d e");
}

TEST(Latin1, FoldsAccentedLettersThatItLacks) {
    const std::vector<std::pair<std::string, std::string>> kCases = {
        {"ŒUVRE œuvre", "OEUVRE oeuvre"},
        {"Ÿ Š š Ž ž", "Y S s Z z"},
        {"Łódź", "L\xF3"
                 "dz"},
        {"Ă ă Ą ą Ć ć Č č Ď ď Đ đ", "A a A a C c C c D d D d"},
        {"Ę ę Ě ě Ğ ğ İ ı Ķ ķ", "E e E e G g I i K k"},
        {"Ł ł Ń ń Ň ň Ő ő Ř ř", "L l N n N n O o R r"},
        {"Ś ś Ş ş Ș ș Ť ť Ț ț", "S s S s S s T t T t"},
        {"Ů ů Ű ű Ŵ ŵ Ŷ ŷ Ź ź Ż ż", "U u U u W w Y y Z z Z z"},
        {"Ħ ħ Ŧ ŧ ĳ Ĳ ŉ ẞ ſ", "H h T t ij IJ 'n SS s"},
        {"Ơ ơ Ư ư Ǎ ǎ Ǿ ǿ Ȁ ȁ Ȳ ȳ", "O o U u A a O o A a Y y"},
        {"Việt Nữ Ẁ ẁ Ẽ ẽ Ỹ ỹ", "Viet Nu W w E e Y y"},
        {"Ā Ŀ ŀ Ž", "A L l Z"},
    };
    for (const auto& [text, expected] : kCases) {
        EXPECT_EQ(converted(text), expected) << text;
    }
}

TEST(Latin1, FoldsEveryLatinLetterWithAMark) {
    // By their names: LATIN ... LETTER x WITH ... of the blocks Latin Extended-A, -B and Additional.
    const std::vector<std::pair<char, std::string_view>> kLetters = {
        {'A', "ĀĂĄǍǞǠǺȀȂȦȺḀẠẢẤẦẨẪẬẮẰẲẴẶ"},
        {'B', "ƁƂɃḂḄḆ"},
        {'C', "ĆĈĊČƇȻḈ"},
        {'D', "ĎĐƊƋḊḌḎḐḒ"},
        {'E', "ĒĔĖĘĚȄȆȨɆḔḖḘḚḜẸẺẼẾỀỂỄỆ"},
        {'F', "ƑḞ"},
        {'G', "ĜĞĠĢƓǤǦǴḠ"},
        {'H', "ĤĦȞḢḤḦḨḪ"},
        {'I', "ĨĪĬĮİƗǏȈȊḬḮỈỊ"},
        {'J', "ĴɈ"},
        {'K', "ĶƘǨḰḲḴ"},
        {'L', "ĹĻĽĿŁȽḶḸḺḼ"},
        {'M', "ḾṀṂ"},
        {'N', "ŃŅŇƝǸȠṄṆṈṊ"},
        {'O', "ŌŎŐƟƠǑǪǬǾȌȎȪȬȮȰṌṎṐṒỌỎỐỒỔỖỘỚỜỞỠỢ"},
        {'P', "ƤṔṖ"},
        {'Q', "Ɋ"},
        {'R', "ŔŖŘȐȒɌṘṚṜṞ"},
        {'S', "ŚŜŞŠȘṠṢṤṦṨ"},
        {'T', "ŢŤŦƬƮȚȾṪṬṮṰ"},
        {'U', "ŨŪŬŮŰŲƯǓǕǗǙǛȔȖṲṴṶṸṺỤỦỨỪỬỮỰ"},
        {'V', "ƲṼṾ"},
        {'W', "ŴẀẂẄẆẈ"},
        {'X', "ẊẌ"},
        {'Y', "ŶŸƳȲɎẎỲỴỶỸỾ"},
        {'Z', "ŹŻŽƵȤẐẒẔ"},
        {'a', "āăąǎǟǡǻȁȃȧḁẚạảấầẩẫậắằẳẵặ"},
        {'b', "ƀƃḃḅḇ"},
        {'c', "ćĉċčƈȼḉ"},
        {'d', "ďđƌȡḋḍḏḑḓ"},
        {'e', "ēĕėęěȅȇȩɇḕḗḙḛḝẹẻẽếềểễệ"},
        {'f', "ƒḟ"},
        {'g', "ĝğġģǥǧǵḡ"},
        {'h', "ĥħȟḣḥḧḩḫẖ"},
        {'i', "ĩīĭįıǐȉȋḭḯỉị"},
        {'j', "ĵǰȷɉ"},
        {'k', "ķƙǩḱḳḵ"},
        {'l', "ĺļľŀłƚȴḷḹḻḽ"},
        {'m', "ḿṁṃ"},
        {'n', "ńņňƞǹȵṅṇṉṋ"},
        {'o', "ōŏőơǒǫǭǿȍȏȫȭȯȱṍṏṑṓọỏốồổỗộớờởỡợ"},
        {'p', "ƥṕṗ"},
        {'q', "ɋ"},
        {'r', "ŕŗřȑȓɍṙṛṝṟ"},
        {'s', "śŝşšſșȿṡṣṥṧṩẛẜẝ"},
        {'t', "ţťŧƫƭțȶṫṭṯṱẗ"},
        {'u', "ũūŭůűųưǔǖǘǚǜȕȗṳṵṷṹṻụủứừửữự"},
        {'v', "ṽṿ"},
        {'w', "ŵẁẃẅẇẉẘ"},
        {'x', "ẋẍ"},
        {'y', "ŷƴȳɏẏẙỳỵỷỹỿ"},
        {'z', "źżžƶȥɀẑẓẕ"},
    };
    for (const auto& [letter, text] : kLetters) {
        std::size_t count = 0;
        for (const char byte : text) {
            count += (static_cast<unsigned char>(byte) & 0xC0) == 0x80 ? 0 : 1;
        }
        EXPECT_EQ(converted(text), std::string(count, letter));
    }
}

TEST(Latin1, FoldsDigraphsAndLigatures) {
    EXPECT_EQ(converted("ĲĳŉŒœẞ"), "IJij'nOEoeSS");
    EXPECT_EQ(converted("ǄǅǆǇǈǉǊǋǌǱǲǳ"), "DZDzdzLJLjljNJNjnjDZDzdz");
    EXPECT_EQ(converted("ǢǣǼǽ"), "\xC6\xE6\xC6\xE6");
}

TEST(Latin1, ReplacesTheRest) {
    EXPECT_EQ(converted("€"), "?");
    EXPECT_EQ(converted("αБ中"), "???");
    EXPECT_EQ(converted("a😀b"), "a?b");
    EXPECT_EQ(converted("™♪•"), "???");
    EXPECT_EQ(converted("ĸ Ə ǝ"), "? ? ?");
    // Characters beside folded ones: U+0250, U+02BD, U+1DFF, U+1E9F, U+1F00, U+200B, U+2016, U+2020, U+2034, U+203B,
    // U+2213, U+3001.
    EXPECT_EQ(converted("\u0250\u02BD\u1DFF\u1E9F\u1F00\u200B\u2016\u2020\u2034\u203B\u2213\u3001"),
              std::string(12, '?'));
    // Letters of other alphabets in the same blocks: kra, eng, esh, wynn, glottal stop.
    EXPECT_EQ(converted("ĸŊŋƩƿɁ"), std::string(6, '?'));
}

TEST(Latin1, ReplacesEachByteThatIsNotUTF8) {
    EXPECT_EQ(converted("a\xFF"
                        "b"),
              "a?b");
    EXPECT_EQ(converted("\xE9t\xE9"), "?t?");
    EXPECT_EQ(converted("\xC3"), "?");
    EXPECT_EQ(converted("\xE2\x82"), "??");
    EXPECT_EQ(converted("\xC0\xAF"), "??");
    EXPECT_EQ(converted("\xED\xA0\x80"), "???");
    EXPECT_EQ(converted("\xF4\x90\x80\x80"), "????");
    // A well-formed replacement character is a character that the set lacks.
    EXPECT_EQ(converted("\uFFFD"), "?");
}

TEST(Latin1, JoinsCombiningAccents) {
    // e + acute, c + cedilla, A + ring, y + diaeresis
    EXPECT_EQ(converted("e\u0301"), "\xE9");
    EXPECT_EQ(converted("c\u0327a"), "\xE7"
                                     "a");
    EXPECT_EQ(converted("A\u030A"), "\xC5");
    EXPECT_EQ(converted("y\u0308"), "\xFF");
    // The set has no such letter: z + caron, x + grave; nor a second accent.
    EXPECT_EQ(converted("z\u030Ca x\u0300"), "za x");
    EXPECT_EQ(converted("e\u0302\u0301"), "\xEA");
    // An accent without a letter.
    EXPECT_EQ(converted("\u0301e"), "?e");
}

TEST(Latin1, JoinsEveryPairThatItHas) {
    constexpr std::string_view kMarks[] = {"\u0300", "\u0301", "\u0302", "\u0303", "\u0308", "\u030A", "\u0327"};
    // For each mark, the letter it makes of A C E I N O U Y (upper case), '.' where there is none.
    constexpr std::string_view kComposed[] = {"\xC0.\xC8\xCC.\xD2\xD9.",
                                              "\xC1.\xC9\xCD.\xD3\xDA\xDD",
                                              "\xC2.\xCA\xCE.\xD4\xDB.",
                                              "\xC3...\xD1\xD5..",
                                              "\xC4.\xCB\xCF.\xD6\xDC.",
                                              "\xC5.......",
                                              ".\xC7......"};
    constexpr std::string_view kLetters = "ACEINOUY";
    for (std::size_t mark = 0; mark < std::size(kMarks); ++mark) {
        for (std::size_t index = 0; index < kLetters.size(); ++index) {
            const char upper = kLetters[index];
            const char lower = static_cast<char>(upper + 0x20);
            const char composed = kComposed[mark][index];
            EXPECT_EQ(converted(upper + std::string(kMarks[mark])), std::string(1, composed == '.' ? upper : composed));
            // Small letters stand 0x20 behind the capitals; y diaeresis is the only one without its capital.
            const char small = composed == '.' ? lower : static_cast<char>(composed + 0x20);
            if (lower != 'y' || kMarks[mark] != "\u0308") {
                EXPECT_EQ(converted(lower + std::string(kMarks[mark])), std::string(1, small));
            }
        }
    }
}

TEST(Latin1, StopsAtTheEndOfTheTarget) {
    EXPECT_EQ(converted("abcdef", 3), "abc");
    EXPECT_EQ(converted("", 3), "");
    EXPECT_EQ(converted("abc", 0), "");
    EXPECT_EQ(converted("\u0301", 0), "");
    // A sequence is cut as well; an accent still joins the last character.
    EXPECT_EQ(converted("ab…", 3), "ab.");
    EXPECT_EQ(converted("abœ", 3), "abo");
    EXPECT_EQ(converted("abe\u0301", 3), "ab\xE9");
    EXPECT_EQ(converted("abe\u0301\u0301z", 3), "ab\xE9");
}

TEST(Latin1, ReadsNothingBehindTheText) {
    const std::string whole = "a\u0301é…œ€😀\xFFžb";
    qlxtest::forEachTruncation({reinterpret_cast<const std::uint8_t*>(whole.data()), whole.size()},
                               [&whole](const qlxtest::ExactBuffer& part) {
                                   const std::string_view text(reinterpret_cast<const char*>(part.data()), part.size());
                                   EXPECT_EQ(converted(text), converted(whole.substr(0, part.size())));
                               });
}

}  // namespace
