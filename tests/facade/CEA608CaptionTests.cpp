#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Packetizer = QLXSubtitlesPacketizer;
using qlxtest::fromHex;
using qlxtest::toHex;

namespace {

std::shared_ptr<QLXSubtitleTextLine> lineOf(std::optional<std::string> text) {
    auto line = std::make_shared<QLXSubtitleTextLine>();
    if (text) {
        line->setTextString(std::move(text));
    }
    return line;
}

std::shared_ptr<QLXSubtitleRecord> recordOf(std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines) {
    auto record = std::make_shared<QLXSubtitleRecord>();
    record->setSubtitleLines(std::move(lines));
    return record;
}

std::string captionOf(const std::shared_ptr<QLXSubtitleRecord>& record) {
    return toHex(Packetizer::cea608PageDataWithSubtitleRecord(record));
}

std::string textHex(std::string_view text) {
    return toHex(Packetizer::cea608DataWithText(text));
}

struct Row {
    std::uint32_t character;
    std::uint8_t high;
    std::uint8_t low;
};

constexpr Row kRows[] = {
    {0x00A2, 0x11, 0x35}, {0x00A3, 0x11, 0x36}, {0x00AE, 0x11, 0x30},  {0x00B0, 0x11, 0x31}, {0x00BD, 0x11, 0x32},
    {0x00BF, 0x11, 0x33}, {0x00C7, 0, 0x7B},    {0x00C9, 0, 0x5C},     {0x00CD, 0, 0x5E},    {0x00D1, 0, 0x7D},
    {0x00D2, 0, 0x5F},    {0x00DA, 0, 0x60},    {0x00E0, 0x11, 0x38},  {0x00E1, 0, 0x2A},    {0x00E2, 0x11, 0x3B},
    {0x00E8, 0x11, 0x3A}, {0x00E9, 0, 0x5C},    {0x00EA, 0x11, 0x3C},  {0x00ED, 0, 0x5E},    {0x00EE, 0x11, 0x3D},
    {0x00F1, 0, 0x7E},    {0x00F3, 0, 0x5F},    {0x00F4, 0x11, 0x3E},  {0x00F7, 0, 0x7C},    {0x00FA, 0, 0x60},
    {0x00FB, 0x11, 0x3F}, {0x2588, 0, 0x7F},    {0x1F3B5, 0x11, 0x37},
};

}  // namespace

TEST(CEA608Characters, FollowEveryRowOfTheTable) {
    std::size_t row = 0;
    for (std::uint32_t character = 0x80; character < 0x20000; ++character) {
        std::uint8_t high = 0xEE;
        std::uint8_t low = 0xEE;
        Packetizer::cea608BytesWithUTF32Character_highByte_lowByte(character, &high, &low);
        if (row < std::size(kRows) && kRows[row].character == character) {
            EXPECT_EQ(high, kRows[row].high) << std::hex << character;
            EXPECT_EQ(low, kRows[row].low) << std::hex << character;
            ++row;
        } else {
            ASSERT_EQ(high, 0) << std::hex << character;
            ASSERT_EQ(low, 0x20) << std::hex << character;
        }
    }
    EXPECT_EQ(row, std::size(kRows));
}

TEST(CEA608Characters, KeepEveryValueBelow128) {
    for (std::uint32_t character = 0; character < 0x80; ++character) {
        std::uint8_t high = 0xEE;
        std::uint8_t low = 0xEE;
        Packetizer::cea608BytesWithUTF32Character_highByte_lowByte(character, &high, &low);
        EXPECT_EQ(high, 0);
        EXPECT_EQ(low, character);
    }
}

TEST(CEA608Characters, TakeTheLargestCodesForSpaces) {
    std::uint8_t low = 0;
    Packetizer::cea608BytesWithUTF32Character_highByte_lowByte(0xFFFF'FFFF, nullptr, &low);
    EXPECT_EQ(low, 0x20);
}

TEST(CEA608Characters, WriteOnlyWhatIsAskedFor) {
    std::uint8_t high = 0xEE;
    Packetizer::cea608BytesWithUTF32Character_highByte_lowByte(0x00E0, &high, nullptr);
    EXPECT_EQ(high, 0x11);
    Packetizer::cea608BytesWithUTF32Character_highByte_lowByte(0x00E0, nullptr, nullptr);
}

TEST(CEA608Parity, CountsAllEightBitsOfTheInput) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        unsigned ones = 0;
        for (unsigned bit = 0; bit < 8; ++bit) {
            ones += byte >> bit & 1U;
        }
        const unsigned expected = (byte & 0x7FU) | (ones % 2 == 0 ? 0x80U : 0U);
        EXPECT_EQ(Packetizer::addOddParity(static_cast<std::uint8_t>(byte)), expected) << byte;
    }
    EXPECT_EQ(Packetizer::addOddParity(0x14), 0x94);
    EXPECT_EQ(Packetizer::addOddParity(0x13), 0x13);
    EXPECT_EQ(Packetizer::addOddParity(0x00), 0x80);
}

TEST(CEA608Text, HasParityAndAnEvenLength) {
    EXPECT_EQ(textHex("Caf\xC3\xA9"), "4361e6dc");
    EXPECT_EQ(textHex("Hi"), "c8e9");
    EXPECT_EQ(textHex("ok!"), "ef6ba180");
    EXPECT_EQ(textHex(""), "");
}

TEST(CEA608Text, PutsSpecialCharactersWhereverTheyFall) {
    EXPECT_EQ(textHex("\xC3\xA0"), "9138");
    EXPECT_EQ(textHex("x\xC3\xA0"), "f8913880");
    EXPECT_EQ(textHex("x\xC3\xA0y"), "f8913879");
}

TEST(CEA608Text, IsCutTo31Characters) {
    const std::string first31 = "c1c243c44546c7c8494acb4ccdce4fd05152d354d5d65758d9dab03132b33480";
    EXPECT_EQ(textHex("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcd"), first31);
    EXPECT_EQ(textHex("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234"), first31);
    EXPECT_EQ(Packetizer::cea608DataWithText(std::string(30, 'C')).size(), 30U);
    std::string notes;
    std::string pairs;
    for (int count = 0; count < 40; ++count) {
        notes += "\xF0\x9F\x8E\xB5";
        pairs += count < 31 ? "9137" : "";
    }
    EXPECT_EQ(textHex(notes), pairs);
}

TEST(CEA608Text, LeavesOutNulCharactersAndMakesSpacesOfBadBytes) {
    EXPECT_EQ(textHex(std::string_view("C\0C", 3)), "4343");
    EXPECT_EQ(textHex("C\xFF"), "4320");
    EXPECT_EQ(textHex("\xE2\x82\xAC"), "2080");
}

TEST(CEA608Caption, CarriesTwoLines) {
    EXPECT_EQ(captionOf(recordOf({lineOf("Hi"), lineOf("ok")})), "942094ae94201340c8e913e0ef6b942c942f");
    EXPECT_EQ(captionOf(recordOf({lineOf("Hi")})), "942094ae94201340c8e9942c942f");
}

TEST(CEA608Caption, DropsLinesBehindTheSecond) {
    EXPECT_EQ(captionOf(recordOf({lineOf("Hi"), lineOf("ok"), lineOf("no")})), "942094ae94201340c8e913e0ef6b942c942f");
}

TEST(CEA608Caption, GivesAnEmptyLineItsAddressOnly) {
    EXPECT_EQ(captionOf(recordOf({lineOf(""), lineOf("ok")})), "942094ae9420134013e0ef6b942c942f");
    EXPECT_EQ(captionOf(recordOf({lineOf(std::nullopt)})), "942094ae94201340942c942f");
}

TEST(CEA608Caption, ClearsTheScreenWithoutLines) {
    EXPECT_EQ(captionOf(nullptr), "942094ae9420942c942f");
    EXPECT_EQ(captionOf(recordOf({})), "942094ae9420942c942f");
}

TEST(CEA608Caption, UsesNoStyle) {
    const auto line = lineOf("Hi");
    line->setTextColor(1);
    line->setAlignment(3);
    line->setVerticalPosition(2);
    line->setBold(true);
    line->setItalic(true);
    line->setUnderline(true);
    EXPECT_EQ(captionOf(recordOf({line})), "942094ae94201340c8e9942c942f");
}
