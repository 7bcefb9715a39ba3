#include "ExpectedTeletext.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

namespace {

using qlxtest::fromHex;
using qlxtest::makeLine;
using qlxtest::spaces;
using qlxtest::toHex;

std::string rowOf(const std::shared_ptr<QLXSubtitleTextLine>& line) {
    return toHex(QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true)->teletextLineDataWithSubtitleLine(line));
}

/// The same text without the spaces that make it readable.
std::string hex(const std::string& text) {
    return toHex(fromHex(text));
}

TEST(TeletextRow, WritesALeftAlignedLine) {
    EXPECT_EQ(rowOf(makeLine("Bonjour", 11)), hex("159b 070d0b0b c2ef6eeaef75f2 8a8a" + spaces(27)));
}

TEST(TeletextRow, LeavesAnUnchangedAlignmentAtTheLeft) {
    EXPECT_EQ(rowOf(makeLine("Bonjour", 11, 0)), rowOf(makeLine("Bonjour", 11, 1)));
    EXPECT_EQ(rowOf(makeLine("Bonjour", 11, 4)), rowOf(makeLine("Bonjour", 11, 1)));
    EXPECT_EQ(rowOf(makeLine("Bonjour", 11, -1)), rowOf(makeLine("Bonjour", 11, 1)));
}

TEST(TeletextRow, CentersALine) {
    // Ten characters: floor((34 - 10) / 2) = 12 spaces. '0' and so on, with odd parity.
    EXPECT_EQ(rowOf(makeLine("0123456789", 10, 2)),
              hex("158c" + spaces(12) + "070d0b0b b03132b334b5b63738b9 8a8a" + spaces(12)));
    // Seven: floor(27 / 2) = 13, and 14 behind.
    EXPECT_EQ(rowOf(makeLine("Bonjour", 11, 2)),
              hex("159b" + spaces(13) + "070d0b0b c2ef6eeaef75f2 8a8a" + spaces(14)));
}

TEST(TeletextRow, AlignsALineToTheRight) {
    EXPECT_EQ(rowOf(makeLine("Bonjour", 11, 3)), hex("159b" + spaces(27) + "070d0b0b c2ef6eeaef75f2 8a8a"));
}

TEST(TeletextRow, CutsALongLine) {
    // 40 characters: 34 remain, and the row is full whatever the alignment. 'a' is 61 (three ones), 'z' 7A (five).
    std::string letters;
    for (int index = 0; index < 34; ++index) {
        letters += "61";
    }
    for (const std::int32_t alignment : {0, 1, 2, 3}) {
        EXPECT_EQ(rowOf(makeLine(std::string(34, 'a') + "zzzzzz", 11, alignment)),
                  hex("159b 070d0b0b" + letters + "8a8a"));
        EXPECT_EQ(rowOf(makeLine(std::string(34, 'a'), 11, alignment)), hex("159b 070d0b0b" + letters + "8a8a"));
    }
    // 33 characters leave one space: none in front when centred.
    const std::string text33 = letters.substr(2);
    EXPECT_EQ(rowOf(makeLine(std::string(33, 'a'), 11, 2)), hex("159b 070d0b0b" + text33 + "8a8a 20"));
    EXPECT_EQ(rowOf(makeLine(std::string(33, 'a'), 11, 3)), hex("159b 20 070d0b0b" + text33 + "8a8a"));
}

TEST(TeletextRow, CountsCharactersNotUTF8Bytes) {
    // é is C3 A9 in UTF-8, one character, and 23 in the French subset (three ones: no parity bit).
    std::string text;
    std::string codes;
    for (int index = 0; index < 34; ++index) {
        text += "é";
        codes += "23";
    }
    EXPECT_EQ(rowOf(makeLine(text + "éé", 11, 2)), hex("159b 070d0b0b" + codes + "8a8a"));
    // Two characters centred: sixteen spaces. à is 40 (one 1), ç is 7E (six, so FE).
    EXPECT_EQ(rowOf(makeLine("àç", 11, 2)), hex("159b" + spaces(16) + "070d0b0b 40fe 8a8a" + spaces(16)));
}

TEST(TeletextRow, CountsWhatTheConversionGives) {
    // "Cœur…" is eight characters: C o e u r and three full stops; 13 spaces in front when centred.
    EXPECT_EQ(rowOf(makeLine("Cœur…", 11, 2)),
              hex("159b" + spaces(13) + "070d0b0b 43efe575f2aeaeae 8a8a" + spaces(13)));
    // '?' is 3F, six ones.
    EXPECT_EQ(rowOf(makeLine("中\xFF", 11, 1)), hex("159b 070d0b0b bfbf 8a8a" + spaces(32)));
}

TEST(TeletextRow, WritesTheColor) {
    const std::string rest = "0d0b0b c1 8a8a" + spaces(33);
    constexpr const char* kCodes[] = {"80", "01", "02", "83", "04", "85", "86", "07"};
    for (std::int32_t color = 0; color < 8; ++color) {
        EXPECT_EQ(rowOf(makeLine("A", 11, 1, color)), hex("159b" + (kCodes[color] + rest)));
    }
    // Other numbers give their low 7 bits.
    EXPECT_EQ(rowOf(makeLine("A", 11, 1, 0x187)), hex("159b 07" + rest));
    EXPECT_EQ(rowOf(makeLine("A", 11, 1, -1)), hex("159b 7f" + rest));
}

TEST(TeletextRow, AddressesTheRow) {
    const std::string rest = "070d0b0b c1 8a8a" + spaces(33);
    EXPECT_EQ(rowOf(makeLine("A", 0)), hex("1515" + rest));
    EXPECT_EQ(rowOf(makeLine("A", 1)), hex("1502" + rest));
    EXPECT_EQ(rowOf(makeLine("A", 15)), hex("15ea" + rest));
    EXPECT_EQ(rowOf(makeLine("A", 16)), hex("d015" + rest));
    EXPECT_EQ(rowOf(makeLine("A", 24)), hex("d0d0" + rest));
    EXPECT_EQ(rowOf(makeLine("A", 31)), hex("d0ea" + rest));
    // The low 8 bits of the row, of which five count.
    EXPECT_EQ(rowOf(makeLine("A", 256 + 11)), hex("159b" + rest));
    EXPECT_EQ(rowOf(makeLine("A", 32 + 11)), hex("159b" + rest));
}

TEST(TeletextRow, DoesNotShowBoldItalicAndUnderline) {
    const auto line = makeLine("Bonjour", 11);
    line->setBold(true);
    line->setItalic(true);
    line->setUnderline(true);
    EXPECT_EQ(rowOf(line), rowOf(makeLine("Bonjour", 11)));
}

TEST(TeletextRow, WritesAnEmptyBoxWithoutText) {
    EXPECT_EQ(rowOf(makeLine("", 11)), hex("159b 070d0b0b 8a8a" + spaces(34)));
    const auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setVerticalPosition(11);
    line->setAlignment(1);
    EXPECT_EQ(rowOf(line), hex("159b 070d0b0b 8a8a" + spaces(34)));
    line->setAlignment(2);
    EXPECT_EQ(rowOf(line), hex("159b" + spaces(17) + "070d0b0b 8a8a" + spaces(17)));
    line->setAlignment(3);
    EXPECT_EQ(rowOf(line), hex("159b" + spaces(34) + "070d0b0b 8a8a"));
}

TEST(TeletextRow, GivesNoneForANullLine) {
    EXPECT_FALSE(QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true)->teletextLineDataWithSubtitleLine(nullptr));
}

TEST(TeletextRow, ConvertsFrenchText) {
    // "Où est l’île n#1 ?" with the no-break space of French typography before the question mark:
    // O 4F, ù 5D, space, e s t, space, l ' î(5E) l e, space, n #(5F) 1, A0 -> 20, ?
    EXPECT_EQ(rowOf(makeLine("Où est l’île n#1\u00A0?", 11)),
              hex("159b 070d0b0b 4f5d20 e573f420 eca75eece520 6edf31 20bf 8a8a" + spaces(16)));
}

}  // namespace
