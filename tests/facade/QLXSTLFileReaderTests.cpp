#include "MemoryFiles.h"
#include "STLFile.h"
#include "SubtitleStates.h"

#include "RecordingConsole.h"

#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>

namespace {

using qlxtest::LineState;
using qlxtest::RecordState;
using qlxtest::STLBlock;
using qlxtest::stlFile;
using qlxtest::stlInformation;
using qlxtest::stlText;
using Records = std::vector<RecordState>;

Records statesFromFile(const std::string& path) {
    return qlxtest::statesOf(QLXSTLFileReader::subtitleRecordsFromSTLFileAtPath(path));
}

Records read(std::string_view content) {
    qlxtest::MemoryFiles files;
    files.add("a.stl", content);
    return statesFromFile("a.stl");
}

/// The lines of a file of this one block.
std::vector<LineState> linesOf(const STLBlock& block) {
    const Records records = read(stlFile({block}));
    EXPECT_EQ(records.size(), 1U);
    return records.empty() ? std::vector<LineState>() : records[0].lines;
}

/// A line in the place of STLBlock's defaults: position 20 is row (20 - 1) / 2 = 9.
LineState line(std::string text, std::uint64_t row = 9, std::int32_t color = 7) {
    return {.text = std::move(text), .color = color, .alignment = 2, .row = row};
}

STLBlock hello() {
    return {
        .text = stlText({'H', 'e', 'l', 'l', 'o', 0x8F}), .number = 0x0102, .in = {1, 0, 10, 12}, .out = {1, 0, 12, 0}};
}

RecordState helloRecord(double start, double end) {
    return {0x0102, 0, true, start, end, {line("Hello")}};
}

TEST(QLXSTLFileReader, ReadsBothFrameRates) {
    EXPECT_EQ(read(stlFile({hello()}, "STL25.01")), Records{helloRecord(3610.48, 3612.0)});
    EXPECT_EQ(read(stlFile({hello()}, "STL30.01")), Records{helloRecord(3610.4, 3612.0)});
}

TEST(QLXSTLFileReader, ReadsARealFile) {
    const std::string path = testing::TempDir() + "QLXSTLFileReader.stl";
    std::ofstream(path, std::ios::binary) << stlFile({hello()});
    const Records records = statesFromFile(path);
    std::remove(path.c_str());
    EXPECT_EQ(records, Records{helloRecord(3610.48, 3612.0)});
    EXPECT_EQ(statesFromFile(path), Records{});
}

TEST(QLXSTLFileReader, GivesNothingForOtherDiskFormats) {
    for (const char* code : {"STL24.01", "STL25.02", "stl25.01", "STL25.0 ", "        ", "STL25.0\xB1"}) {
        EXPECT_EQ(read(stlFile({hello()}, code)), Records{}) << code;
    }
}

TEST(QLXSTLFileReader, GivesNothingForAFileThatCannotBeReadOrIsEmpty) {
    const qlxtest::MemoryFiles files;
    EXPECT_EQ(statesFromFile("missing.stl"), Records{});
    EXPECT_EQ(read(""), Records{});
    EXPECT_EQ(read(std::string(1023, ' ')), Records{});
    EXPECT_EQ(read(std::string_view(stlFile({hello()})).substr(0, 1023)), Records{});
}

TEST(QLXSTLFileReader, TakesTheBlockCountAsANumber) {
    const std::string blocks = hello().bytes() + hello().bytes();
    const auto countOf = [&blocks](std::string_view count) {
        return read(stlInformation("STL25.01", count) + blocks).size();
    };
    EXPECT_EQ(countOf("00002"), 2U);
    EXPECT_EQ(countOf("    2"), 2U);
    EXPECT_EQ(countOf("2    "), 2U);
    EXPECT_EQ(countOf(" 2   "), 2U);
    EXPECT_EQ(countOf("   +1"), 1U);
    EXPECT_EQ(countOf("00001"), 1U);
    for (const char* count : {"00000", "     ", "-0001", "00003", "99999", "two  ", "0000\xB2"}) {
        EXPECT_EQ(countOf(count), 0U) << count;
    }
}

TEST(QLXSTLFileReader, ReadsTheMostBlocksThatCanBeAnnounced) {
    std::string file = stlInformation("STL25.01", "99999");
    const std::string block = hello().bytes();
    for (int index = 0; index < 99999; ++index) {
        file += block;
    }
    const Records records = read(file);
    ASSERT_EQ(records.size(), 99999U);
    EXPECT_EQ(records.front(), helloRecord(3610.48, 3612.0));
    EXPECT_EQ(records.back(), helloRecord(3610.48, 3612.0));
    EXPECT_EQ(read(std::string_view(file).substr(0, file.size() - 1)), Records{});
}

TEST(QLXSTLFileReader, GivesNothingForAFileShorterThanItsBlocks) {
    const std::string file = stlFile({hello(), hello()});
    for (std::size_t length = 0; length < file.size(); ++length) {
        EXPECT_EQ(read(std::string_view(file).substr(0, length)), Records{}) << length;
    }
    // What lies behind the announced blocks does not matter.
    EXPECT_EQ(read(file + "and more").size(), 2U);
}

TEST(QLXSTLFileReader, LeavesCommentsAndUserDataOut) {
    STLBlock comment = hello();
    comment.comment = 1;
    STLBlock otherComment = hello();
    otherComment.comment = 0x80;
    STLBlock userData = hello();
    userData.extension = 0xFE;
    EXPECT_EQ(read(stlFile({comment, otherComment, userData})), Records{});
    EXPECT_EQ(read(stlFile({comment, hello(), userData, hello()})),
              (Records{helloRecord(3610.48, 3612.0), helloRecord(3610.48, 3612.0)}));
}

TEST(QLXSTLFileReader, TakesEveryOtherExtensionBlock) {
    for (const int extension : {0x00, 0x01, 0xEF, 0xF0, 0xFD, 0xFF}) {
        STLBlock block = hello();
        block.extension = static_cast<std::uint8_t>(extension);
        EXPECT_EQ(read(stlFile({block})), Records{helloRecord(3610.48, 3612.0)}) << extension;
    }
}

TEST(QLXSTLFileReader, MakesARecordOfEachBlockInFileOrder) {
    STLBlock first = hello();
    first.extension = 0;  // the next block goes on with it
    first.text = stlText({'A', 0x8F});
    STLBlock second = hello();
    second.text = stlText({'B', 0x8F});
    second.in = {0, 0, 1, 0};
    EXPECT_EQ(read(stlFile({first, second})),
              (Records{{0x0102, 0, true, 3610.48, 3612.0, {line("A")}}, {0x0102, 0, true, 1.0, 3612.0, {line("B")}}}));
}

TEST(QLXSTLFileReader, ReadsEveryFieldToItsLimit) {
    STLBlock block = hello();
    block.number = 0xFFFF;
    block.in = {255, 255, 255, 255};
    block.out = {0, 0, 0, 0};
    block.justification = 255;
    // 255 x 3600 + 255 x 60 + 255 + 255 / 25
    EXPECT_EQ(read(stlFile({block})),
              (Records{{65535, 0, true, 933565.2, 0.0, {{.text = "Hello", .alignment = 255, .row = 9}}}}));
}

TEST(QLXSTLFileReader, ReadsColoursAndRows) {
    const STLBlock block{.text = stlText({0x07, 'H', 'i', 0x8A, 0x01, 'x', 0x8F})};
    EXPECT_EQ(linesOf(block), (std::vector{line("Hi", 9, 7), line("x", 10, 1)}));
}

TEST(QLXSTLFileReader, TakesTheRowFromTheVerticalPosition) {
    constexpr std::array<std::array<unsigned, 2>, 7> kRows{
        {{0, 127}, {1, 0}, {2, 0}, {3, 1}, {4, 1}, {23, 11}, {255, 127}}};
    for (const auto& [position, row] : kRows) {
        STLBlock block{.text = stlText({'x', 0x8A, 0x8A, 'y', 0x8F})};
        block.row = static_cast<std::uint8_t>(position);
        // Two line breaks in a row: an empty line, and a row that is skipped.
        EXPECT_EQ(linesOf(block), (std::vector{line("x", row), line("", row + 1), line("y", row + 2)})) << position;
    }
}

TEST(QLXSTLFileReader, KnowsEveryControlCode) {
    constexpr int kNone = 0;
    constexpr std::array<int, 32> kColors{7,     1,     2,     3,     4,     5,     6,     7,     kNone, kNone, kNone,
                                          kNone, kNone, kNone, kNone, kNone, 7,     1,     2,     3,     4,     5,
                                          6,     7,     kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone};
    for (int code = 0; code < 32; ++code) {
        const int color = kColors[static_cast<std::size_t>(code)];
        // Behind yellow, in the middle of a word: the code takes no room.
        const STLBlock block{.text = stlText({0x03, 'a', code, 'b', 0x8A, 'c', 0x8F})};
        const std::int32_t expected = color == kNone ? 3 : color;
        EXPECT_EQ(linesOf(block), (std::vector{line("ab", 9, expected), line("c", 10, expected)})) << code;
    }
}

TEST(QLXSTLFileReader, StartsEachBlockInWhite) {
    const STLBlock red{.text = stlText({0x01, 'a', 0x8F})};
    const STLBlock plain{.text = stlText({'b', 0x8F})};
    const Records records = read(stlFile({red, plain}));
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].lines, std::vector{line("a", 9, 1)});
    EXPECT_EQ(records[1].lines, std::vector{line("b", 9, 7)});
}

TEST(QLXSTLFileReader, PassesOverTheOtherCodes) {
    for (int code = 0x80; code <= 0xA0; ++code) {
        if (code == 0x8A || code == 0x8F) {
            continue;
        }
        EXPECT_EQ(linesOf({.text = stlText({'a', code, 'b', 0x8F})}), std::vector{line("ab")}) << code;
        // Not even a diacritical mark takes one of them.
        EXPECT_EQ(linesOf({.text = stlText({0xC2, code, 'e', 0x8F})}), std::vector{line("\u00E9")}) << code;
    }
}

TEST(QLXSTLFileReader, KeepsTextToTheEndsOfItsRanges) {
    const LineState expected{.text = " \x7F.", .color = 7, .alignment = 0, .row = 9};
    EXPECT_EQ(linesOf({.text = stlText({0x20, 0x7F, '.', 0x8F}), .justification = 0}), std::vector{expected});
    EXPECT_EQ(linesOf({.text = stlText({0xA1, 'a', 0xFF, 0x8F})}), std::vector{line("\u00A1a\u00AD")});
}

TEST(QLXSTLFileReader, StopsAtUnusedSpace) {
    EXPECT_EQ(linesOf({.text = stlText({'a', 0x8F, 'b', 0x8A, 'c', 0x8F})}), std::vector{line("a")});
    EXPECT_EQ(linesOf({.text = {}}), std::vector{line("")});
    EXPECT_EQ(linesOf({.text = stlText({'a', 0x8A, 0x8F})}), (std::vector{line("a"), line("", 10)}));
}

TEST(QLXSTLFileReader, DropsTextThatNothingCloses) {
    EXPECT_EQ(linesOf({.text = stlText({'a', 0x8A, 'b', 'c'}), .filler = 0x20}), std::vector{line("a")});
    EXPECT_EQ(linesOf({.text = {}, .filler = 'x'}), std::vector<LineState>{});
}

TEST(QLXSTLFileReader, NeverReadsTheLastByteOfTheTextField) {
    const std::vector<std::uint8_t> letters(110, 'x');
    std::vector<std::uint8_t> text = letters;
    text.push_back(0x8A);  // the 111th
    text.push_back(0x8F);  // the last
    EXPECT_EQ(linesOf({.text = text}), std::vector{line(std::string(110, 'x'))});
    text[110] = 'x';
    EXPECT_EQ(linesOf({.text = text}), std::vector<LineState>{});
}

TEST(QLXSTLFileReader, TrimsAlignedText) {
    STLBlock block{.text = stlText({' ', 0x0D, ' ', 'a', ' ', 'b', ' ', 0x8A, ' ', ' ', 0x8F})};
    for (const std::uint8_t code : std::array<std::uint8_t, 4>{1, 2, 3, 9}) {
        block.justification = code;
        EXPECT_EQ(linesOf(block), (std::vector<LineState>{{.text = "a b", .alignment = code, .row = 9},
                                                          {.text = "", .alignment = code, .row = 10}}));
    }
    block.justification = 0;
    EXPECT_EQ(linesOf(block), (std::vector<LineState>{{.text = "  a b ", .alignment = 0, .row = 9},
                                                      {.text = "  ", .alignment = 0, .row = 10}}));
}

TEST(QLXSTLFileReader, TrimsSpacesOnly) {
    // A double acute under nothing known: 0x00 and a space; the space is trimmed at the end, not behind a NUL in front.
    EXPECT_EQ(linesOf({.text = stlText({0xCD, 'x', 'a', 0xCD, 'x', 0x8F})}),
              std::vector{line(std::string("\0 a\0", 4))});
}

TEST(QLXSTLFileReader, ReadsAccentsInLines) {
    EXPECT_EQ(linesOf({.text = stlText({0xC2, 'e', 't', 0xC2, 'e', 0x8A, 0xC8, 'o', 0xC2, 0x8F})}),
              (std::vector{line("\u00E9t\u00E9", 9), line("\u00F6", 10)}));
}

TEST(QLXSTLFileReader, ReadsTimeCodes) {
    constexpr std::array<std::uint8_t, 4> kTime{1, 0, 10, 12};
    const auto seconds = QLXSTLFileReader::secondsFromSTLBytes_length_framesPerSecond;
    EXPECT_EQ(seconds(kTime.data(), 4, 25.0), 3610.48);
    EXPECT_EQ(seconds(kTime.data(), 4, 30.0), 3610.4);
    for (const std::uint64_t length : {0U, 3U, 5U, 8U}) {
        EXPECT_EQ(seconds(kTime.data(), length, 25.0), 0.0);
    }
    EXPECT_EQ(seconds(nullptr, 0, 25.0), 0.0);
    EXPECT_EQ(seconds(nullptr, 4, 25.0), 0.0);
}

TEST(QLXSTLFileReader, DecodesBytes) {
    constexpr std::array<std::uint8_t, 5> kBytes{'A', 0x00, 'z', 0xE9, 0xA1};
    const auto text = QLXSTLFileReader::stringWithBytes_length_encoding;
    EXPECT_EQ(text(kBytes.data(), 3, qlx::TextEncoding::ASCII), std::string("A\0z", 3));
    EXPECT_EQ(text(kBytes.data(), 4, qlx::TextEncoding::ASCII), std::nullopt);
    EXPECT_EQ(text(kBytes.data(), 4, qlx::TextEncoding::Latin1), std::string("A\0z\u00E9", 5));
    EXPECT_EQ(text(nullptr, 0, qlx::TextEncoding::ASCII), "");
    EXPECT_EQ(text(nullptr, 3, qlx::TextEncoding::ASCII), std::nullopt);
}

TEST(QLXSTLFileReader, KnowsTheCharacterCodeTables) {
    const auto encoding = QLXSTLFileReader::stringEncodingWithCharacterCodeTable;
    EXPECT_EQ(encoding(1), qlx::TextEncoding::LatinCyrillic);
    EXPECT_EQ(encoding(2), qlx::TextEncoding::LatinArabic);
    EXPECT_EQ(encoding(3), qlx::TextEncoding::LatinGreek);
    EXPECT_EQ(encoding(4), qlx::TextEncoding::LatinHebrew);
    for (const std::int32_t table : {0, 5, -1, 256 + 1, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(encoding(table), qlx::TextEncoding::Latin1) << table;
    }
}

struct HexCase {
    const char* text;
    std::int32_t value;
    std::vector<std::string> logged;
};

TEST(QLXSTLFileReader, ReadsHexadecimalDigitsFromTheLastOn) {
    const std::vector<HexCase> cases{
        {"", 0, {}},
        {"1f", 0x1F, {"15", "1"}},
        {"aBc", 0xABC, {"12", "11", "10"}},
        {"0x1G", 0x10, {"0", "1", "0", "0"}},
        {"-2", 2, {"2", "0"}},
        {"9:@`g/", 0x900000, {"0", "0", "0", "0", "0", "9"}},
        {"1\u00E92", 0x102, {"2", "0", "1"}},
        {"1\U0001F4FA2", 0x1002, {"2", "0", "0", "1"}},
        {"FFFFFFFF", -1, {"15", "15", "15", "15", "15", "15", "15", "15"}},
        {"700000001", 1, {"1", "0", "0", "0", "0", "0", "0", "0", "7"}},
    };
    for (const HexCase& test : cases) {
        qlxtest::RecordingConsole console;
        const qlx::ScopedService<qlx::Console> service(console);
        EXPECT_EQ(QLXSTLFileReader::integerWithHexString(test.text), test.value) << test.text;
        EXPECT_EQ(console.logged, test.logged) << test.text;
        EXPECT_EQ(console.printed, "");
    }
}

}  // namespace
