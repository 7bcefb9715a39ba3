#include "MemoryFiles.h"
#include "PeakMemory.h"
#include "Sanitized.h"
#include "SubtitleStates.h"

#include "ExactBuffer.h"

#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <limits>

namespace {

using qlxtest::LineState;
using qlxtest::RecordState;
using Records = std::vector<RecordState>;

constexpr std::int32_t kCEA608 = 1;
constexpr std::int32_t kTeletext = 2;
constexpr double kFrameDuration = 1.0 / 25;

Records statesFromFile(const std::string& path, std::int32_t mode = kTeletext) {
    return qlxtest::statesOf(
        QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(path, mode, kFrameDuration));
}

Records read(std::string_view content, std::int32_t mode = kTeletext) {
    qlxtest::MemoryFiles files;
    files.add("a.srt", content);
    return statesFromFile("a.srt", mode);
}

/// A record of a file, as the reader gives it.
RecordState record(std::uint64_t index, double start, double end, std::vector<LineState> lines) {
    return {index, 0, true, start, end, std::move(lines)};
}

/// The record of one line of white text at the bottom in teletext numbering.
RecordState simpleRecord(std::uint64_t index, double start, double end, std::string text) {
    return record(index, start, end, {LineState{.text = std::move(text), .row = 11}});
}

const char* const kTiming = "00:00:01,000 --> 00:00:02,000\n";

/// The lines of one block that holds `text`.
std::vector<LineState> linesOf(std::string_view text, std::int32_t mode = kTeletext) {
    const Records records = read(std::string("1\n") + kTiming + std::string(text), mode);
    EXPECT_EQ(records.size(), 1U);
    return records.empty() ? std::vector<LineState>() : records[0].lines;
}

constexpr std::string_view kTwoCues = "1\n00:00:01,000 --> 00:00:02,500\nHello\nWorld\n\n"
                                      "2\n00:01:02,500 --> 01:00:00,250\nBye\n\n";

Records twoCues() {
    return {record(1, 1.0, 2.5, {LineState{.text = "Hello", .row = 10}, LineState{.text = "World", .row = 11}}),
            simpleRecord(2, 62.5, 3600.25, "Bye")};
}

TEST(QLXSRTFileReader, ReadsRecordsInFileOrder) {
    EXPECT_EQ(read(kTwoCues), twoCues());
    EXPECT_EQ(read("7\n00:00:09,000 --> 00:00:10,000\nlate\n\n7\n00:00:01,000 --> 00:00:02,000\nearly\n\n"),
              (Records{simpleRecord(7, 9.0, 10.0, "late"), simpleRecord(7, 1.0, 2.0, "early")}));
}

TEST(QLXSRTFileReader, ReadsARealFile) {
    const std::string path = testing::TempDir() + "QLXSRTFileReader.srt";
    std::ofstream(path, std::ios::binary) << kTwoCues;
    const Records records = statesFromFile(path);
    std::remove(path.c_str());
    EXPECT_EQ(records, twoCues());
    EXPECT_EQ(statesFromFile(path), Records{});
}

TEST(QLXSRTFileReader, GivesNothingForAFileThatCannotBeRead) {
    const qlxtest::MemoryFiles files;
    EXPECT_EQ(statesFromFile("missing.srt"), Records{});
    EXPECT_EQ(statesFromFile(""), Records{});
}

TEST(QLXSRTFileReader, GivesNothingForAFileWithoutBlocks) {
    for (const char* content : {"", "\n", "\n\n\n", "1", "1\n", "\xEF\xBB\xBF", "Hello\nWorld\n\n"}) {
        EXPECT_EQ(read(content), Records{}) << content;
    }
}

TEST(QLXSRTFileReader, ClosesTheLastBlockWithoutABlankLine) {
    for (const char* end : {"", "\n", "\n\n", "\r", "\r\n", "\n\n\n\n"}) {
        EXPECT_EQ(read(std::string("1\n") + kTiming + "last" + end), (Records{simpleRecord(1, 1.0, 2.0, "last")}));
    }
}

TEST(QLXSRTFileReader, SkipsSeveralBlankLines) {
    EXPECT_EQ(read(std::string("\n\n\n1\n") + kTiming + "a\n\n\n\n\n2\n" + kTiming + "b\n\n\n"),
              (Records{simpleRecord(1, 1.0, 2.0, "a"), simpleRecord(2, 1.0, 2.0, "b")}));
}

TEST(QLXSRTFileReader, SkipsAByteOrderMarkOnce) {
    EXPECT_EQ(read("\xEF\xBB\xBF" + std::string(kTwoCues)), twoCues());
    // A second one is a character of the index line, which then has no number at its start.
    Records expected = twoCues();
    expected[0].index = 0;
    EXPECT_EQ(read("\xEF\xBB\xBF\xEF\xBB\xBF" + std::string(kTwoCues)), expected);
}

TEST(QLXSRTFileReader, ReadsCarriageReturnsWithLineFeedsLikeLineFeeds) {
    std::string content;
    for (const char character : kTwoCues) {
        content += character == '\n' ? "\r\n" : std::string(1, character);
    }
    EXPECT_EQ(read(content), twoCues());
}

TEST(QLXSRTFileReader, RemovesCarriageReturnsAnywhere) {
    EXPECT_EQ(read("\r1\r2\n00:00:0\r1,000 -\r-> 00:00:02,000\r\r\n\rA\rB \r\n\r\r\n3\n"),
              (Records{simpleRecord(12, 1.0, 2.0, "AB")}));
}

TEST(QLXSRTFileReader, ReadsAFileOfCarriageReturnsAsOneLine) {
    EXPECT_EQ(read("1\r00:00:01,000 --> 00:00:02,000\rHello\r\r"), Records{});
}

TEST(QLXSRTFileReader, GivesNothingForInvalidUTF8Anywhere) {
    for (const std::string bytes : {"\xFF", "\x80", "\xC0\x80", "\xE2\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
        EXPECT_EQ(read(bytes + std::string(kTwoCues)), Records{});
        std::string middle(kTwoCues);
        middle.insert(middle.find("World"), bytes);
        EXPECT_EQ(read(middle), Records{});
        EXPECT_EQ(read(std::string(kTwoCues) + bytes), Records{});
    }
}

TEST(QLXSRTFileReader, KeepsNULBytesAndCharactersOutsideASCII) {
    const std::string text("n\0l \xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", 13);
    EXPECT_EQ(read(std::string("1\n") + kTiming + text + "\n\n"), (Records{simpleRecord(1, 1.0, 2.0, text)}));
}

TEST(QLXSRTFileReader, ReadsTheIndexLeniently) {
    const auto index = [](const std::string& line) {
        const Records records = read(line + "\n" + kTiming + "x\n");
        return records.size() == 1 ? records[0].index : 999;
    };
    EXPECT_EQ(index("12"), 12U);
    EXPECT_EQ(index("  7 of 9"), 7U);
    EXPECT_EQ(index("abc"), 0U);
    EXPECT_EQ(index("#3"), 0U);
    EXPECT_EQ(index(" "), 0U);
    EXPECT_EQ(index("-1"), std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(index("99999999999999999999"), 0x7FFF'FFFF'FFFF'FFFFU);
}

TEST(QLXSRTFileReader, MisreadsABlockWithoutAnIndexLine) {
    EXPECT_EQ(read(std::string(kTiming) + "Hello\nWorld\n\n" + std::string(kTwoCues)), twoCues());
}

TEST(QLXSRTFileReader, TakesBlocksThatNoBlankLineSeparatesForOne) {
    EXPECT_EQ(read(std::string("1\n") + kTiming + "a\n2\n" + kTiming + "b\n"),
              (Records{record(1, 1.0, 2.0,
                              {LineState{.text = "a", .row = 8}, LineState{.text = "2", .row = 9},
                               LineState{.text = "00:00:01,000 --> 00:00:02,000", .row = 10},
                               LineState{.text = "b", .row = 11}})}));
}

TEST(QLXSRTFileReader, GivesARecordWithoutTextToo) {
    EXPECT_EQ(read(std::string("1\n") + kTiming + "\n"), (Records{record(1, 1.0, 2.0, {})}));
}

TEST(QLXSRTFileReader, DropsBlocksThatDoNotEndAfterTheyStart) {
    for (const char* timing : {
             "00:00:01,000 --> 00:00:01,000",  // equal
             "00:00:02,000 --> 00:00:01,999",
             "00:00:00,000 --> nothing",
             "00:00:01,000 --> 00:00:02.000",              // not a timecode: 0
             "00:00:01,000 --> 00:00:02,000 X1:10,Y1:20",  // a second comma: not a timecode
             "00:00:01,000-->00:00:02,000",                // no blanks around the arrow
             "00:00:01,000 -> 00:00:02,000",
             "00:00:01,000 --> 00:00:02,000 --> 00:00:03,000",
             "00:00:01,000",
             " ",
         }) {
        EXPECT_EQ(read(std::string("1\n") + timing + "\n<font color=\"#FF0000\">x\ny\n\n" + std::string(kTwoCues)),
                  twoCues())
            << timing;
    }
}

TEST(QLXSRTFileReader, ReadsTimingLeniently) {
    const std::array<const char*, 4> timings{
        "00:00:01,000 --> 00:00:02,000 X1:100 X2:200 Y1:50 Y2:60",
        " 0:0:1,0  -->   0:0:2,0  ",
        "00:00:01,000x --> 00:00:02,000 ",
        "00:00:00,1000 --> 00:00:2s,",
    };
    for (const char* timing : timings) {
        EXPECT_EQ(read(std::string("1\n") + timing + "\nx\n"), (Records{simpleRecord(1, 1.0, 2.0, "x")})) << timing;
    }
    EXPECT_EQ(read("1\nnever --> 00:00:02,000\nx\n"), (Records{simpleRecord(1, 0.0, 2.0, "x")}));
    EXPECT_EQ(read("1\n-00:00:01,000 --> 00:00:-1,1500\nx\n"), (Records{}));  // 1.0 to 0.5
    EXPECT_EQ(read("1\n00:00:-1,000 --> 00:00:00,000\nx\n"), (Records{simpleRecord(1, -1.0, 0.0, "x")}));
}

TEST(QLXSRTFileReader, TakesALineOfBlanksForText) {
    EXPECT_EQ(linesOf(" \t\nx\n"),
              (std::vector<LineState>{LineState{.text = "", .row = 10}, LineState{.text = "x", .row = 11}}));
    // At the start of a block it stands in the place of the index.
    EXPECT_EQ(read(std::string(" \n1\n") + kTiming + "x\n"), Records{});
}

TEST(QLXSRTFileReader, ColorsTheLineBehindAnOpenFont) {
    EXPECT_EQ(linesOf("<font color=\"#00FF00\">one\ntwo</font>\nthree\n"),
              (std::vector<LineState>{LineState{.text = "one", .color = 2, .row = 9, .colorStaysOpen = true},
                                      LineState{.text = "two", .color = 2, .row = 10},
                                      LineState{.text = "three", .row = 11}}));
}

TEST(QLXSRTFileReader, CarriesAColorByOneLine) {
    // The middle line opens no font itself, so that nothing is carried on from it.
    EXPECT_EQ(linesOf("<font color=\"#00FF00\">one\ntwo\nthree</font>\n"),
              (std::vector<LineState>{LineState{.text = "one", .color = 2, .row = 9, .colorStaysOpen = true},
                                      LineState{.text = "two", .color = 2, .row = 10},
                                      LineState{.text = "three", .row = 11}}));
}

TEST(QLXSRTFileReader, OverridesALinesOwnColorByTheCarriedOne) {
    EXPECT_EQ(linesOf("<font color=\"#00FF00\">one\n<font color=\"#FF0000\">two\nthree\n"),
              (std::vector<LineState>{LineState{.text = "one", .color = 2, .row = 9, .colorStaysOpen = true},
                                      LineState{.text = "two", .color = 2, .row = 10, .colorStaysOpen = true},
                                      LineState{.text = "three", .color = 2, .row = 11}}));
    EXPECT_EQ(linesOf("<font color=\"#00FF00\">one</font>\n<font color=\"#FF0000\">two</font>\n"),
              (std::vector<LineState>{LineState{.text = "one", .color = 2, .row = 10},
                                      LineState{.text = "two", .color = 1, .row = 11}}));
}

TEST(QLXSRTFileReader, CarriesNoColorIntoTheNextBlock) {
    EXPECT_EQ(
        read(std::string("1\n") + kTiming + "<font color=\"#00FF00\">one\n\n2\n" + kTiming + "two\nthree\n"),
        (Records{record(1, 1.0, 2.0, {LineState{.text = "one", .color = 2, .row = 11, .colorStaysOpen = true}}),
                 record(2, 1.0, 2.0, {LineState{.text = "two", .row = 10}, LineState{.text = "three", .row = 11}})}));
}

TEST(QLXSRTFileReader, HandsPositioningOn) {
    EXPECT_EQ(linesOf("{\\an8}first\nsecond\n", kCEA608),
              (std::vector<LineState>{LineState{.text = "first", .type = 8, .row = 1},
                                      LineState{.text = "second", .type = 8, .row = 2}}));
    EXPECT_EQ(linesOf("{\\an7}a\nb\n{\\an6}c\nd\n"),
              (std::vector<LineState>{LineState{.text = "a", .alignment = 1, .type = 7, .row = 1},
                                      LineState{.text = "b", .alignment = 1, .type = 7, .row = 2},
                                      LineState{.text = "c", .alignment = 3, .type = 6, .row = 8},
                                      LineState{.text = "d", .alignment = 3, .type = 6, .row = 9}}));
    EXPECT_EQ(linesOf("a\n{\\an8}b\n"),
              (std::vector<LineState>{LineState{.text = "a", .row = 10}, LineState{.text = "b", .type = 8, .row = 2}}));
    // Tag 0 counts as no tag.
    EXPECT_EQ(linesOf("{\\an9}a\n{\\an0}b\n"),
              (std::vector<LineState>{LineState{.text = "a", .alignment = 3, .type = 9, .row = 1},
                                      LineState{.text = "b", .alignment = 3, .type = 9, .row = 2}}));
}

TEST(QLXSRTFileReader, HandsNoPositioningToALineWithARow) {
    EXPECT_EQ(linesOf("{\\an9}a\n<line=\"5\">b\nc\n"),
              (std::vector<LineState>{LineState{.text = "a", .alignment = 3, .type = 9, .row = 1},
                                      LineState{.text = "b", .row = 5}, LineState{.text = "c", .row = 11}}));
}

TEST(QLXSRTFileReader, HandsNoPositioningIntoTheNextBlock) {
    EXPECT_EQ(
        read(std::string("1\n") + kTiming + "{\\an8}a\n\n2\n" + kTiming + "b\n"),
        (Records{record(1, 1.0, 2.0, {LineState{.text = "a", .type = 8, .row = 1}}), simpleRecord(2, 1.0, 2.0, "b")}));
}

TEST(QLXSRTFileReader, ShiftsCaptionsByTheFramesThatTheyNeed) {
    constexpr std::string_view kContent = "1\n00:00:10,000 --> 00:00:12,000\nHello\nWorld\n\n";
    Records records = read(kContent, kCEA608);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_DOUBLE_EQ(records[0].start, 9.64);  // 10 - 9 pairs x 0.04
    EXPECT_DOUBLE_EQ(records[0].end, 11.96);
    records[0].start = 0;
    records[0].end = 0;
    EXPECT_EQ(records[0],
              record(1, 0, 0, {LineState{.text = "Hello", .row = 13}, LineState{.text = "World", .row = 14}}));
    EXPECT_EQ(read(kContent, kTeletext),
              (Records{record(1, 10.0, 12.0,
                              {LineState{.text = "Hello", .row = 10}, LineState{.text = "World", .row = 11}})}));
}

TEST(QLXSRTFileReader, ShiftsNoOtherMode) {
    for (const std::int32_t mode : {0, 3, -1}) {
        EXPECT_EQ(read("1\n00:00:10,000 --> 00:00:12,000\nHello\nWorld\n\n", mode),
                  (Records{record(1, 10.0, 12.0,
                                  {LineState{.text = "Hello", .row = 13}, LineState{.text = "World", .row = 14}})}));
    }
}

TEST(QLXSRTFileReader, CountsUTF16CodeUnitsForTheShift) {
    qlxtest::MemoryFiles files;
    // e acute is one code unit, the character outside the basic plane two: (1 + 2 + 2 + 4) / 2 = 4 pairs.
    files.add("a.srt", "1\n00:00:10,000 --> 00:00:12,000\n\xC3\xA9\xF0\x9F\x98\x80\n");
    const auto records =
        QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration("a.srt", kCEA608, 0.5);
    EXPECT_EQ(qlxtest::statesOf(records),
              (Records{record(1, 8.0, 11.5, {LineState{.text = "\xC3\xA9\xF0\x9F\x98\x80", .row = 14}})}));
}

TEST(QLXSRTFileReader, ClampsShiftedTimesAtZero) {
    EXPECT_EQ(read("1\n00:00:00,100 --> 00:00:00,040\nx\n", kCEA608), Records{});
    EXPECT_EQ(
        read("1\n00:00:00,005 --> 00:00:00,020\nHello\nWorld\n", kCEA608),
        (Records{record(1, 0.0, 0.0, {LineState{.text = "Hello", .row = 13}, LineState{.text = "World", .row = 14}})}));
    Records records = read("1\n00:00:00,100 --> 00:00:02,000\nHello\nWorld\n", kCEA608);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].start, 0.0);
    EXPECT_DOUBLE_EQ(records[0].end, 1.96);
}

// Where a file that is still being written ends does not matter: every shorter file gives what it holds whole.
TEST(QLXSRTFileReader, ReadsEveryShorterFile) {
    constexpr std::string_view kFile = "\xEF\xBB\xBF"
                                       "1\r\n00:00:01,000 --> 00:00:02,500\r\n<b>Caf\xC3\xA9</b>\r\nb\r\n\r\n"
                                       "2\r\n00:00:03,000 --> 00:00:04,500 X1:1\r\n{\\an8}\xE2\x82\xAC\r\n\r\n";
    const Records whole{
        record(1, 1.0, 2.5,
               {LineState{.text = "Caf\xC3\xA9", .bold = true, .row = 10}, LineState{.text = "b", .row = 11}}),
        record(2, 3.0, 4.5, {LineState{.text = "\xE2\x82\xAC", .type = 8, .row = 1}})};
    EXPECT_EQ(read(kFile), whole);
    // A block counts from the comma of its end time on: before it the end reads as 0.
    const std::size_t firstEnd = kFile.find("02,500") + 3;
    const std::size_t secondEnd = kFile.find("04,500") + 3;
    const std::size_t firstClosed = kFile.find("b\r\n\r\n") + 1;
    const std::size_t secondClosed = kFile.find("\xE2\x82\xAC") + 3;
    const auto bytes = std::span(reinterpret_cast<const std::uint8_t*>(kFile.data()), kFile.size());
    qlxtest::forEachTruncation(bytes, [&](const qlxtest::ExactBuffer& buffer) {
        const std::size_t length = buffer.size();
        const Records records = read({reinterpret_cast<const char*>(buffer.data()), length});
        SCOPED_TRACE(length);
        const auto cutInside = [&](std::string_view character) {
            const std::size_t place = kFile.find(character);
            return length > place && length < place + character.size();
        };
        if (cutInside("\xEF\xBB\xBF") || cutInside("\xC3\xA9") || cutInside("\xE2\x82\xAC")) {
            EXPECT_EQ(records, Records{});
            return;
        }
        EXPECT_EQ(records.size(), (length >= firstEnd ? 1U : 0U) + (length >= secondEnd ? 1U : 0U));
        if (length >= firstClosed) {
            ASSERT_FALSE(records.empty());
            EXPECT_EQ(records[0], whole[0]);
        }
        if (length >= secondClosed) {
            EXPECT_EQ(records, whole);
        }
    });
}

TEST(QLXSRTFileReader, ReadsHostileFiles) {
    constexpr std::size_t kCount = 100'000;
    std::string manyLines = std::string("1\n") + kTiming;
    for (std::size_t line = 0; line < kCount; ++line) {
        manyLines += "{\n";
    }
    const Records records = read(manyLines);
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].lines.size(), kCount);
    EXPECT_EQ(records[0].lines.back(), (LineState{.text = "{", .row = 11}));
    EXPECT_EQ(read(std::string(kCount, '\n')), Records{});
    EXPECT_EQ(read(std::string(kCount, '\r')), Records{});
    EXPECT_EQ(read("1\n" + std::string(kCount, ' ') + "-->\nx\n"), Records{});
}

TEST(QLXSRTFileReader, HoldsTwiceTheFileBesideItsRecords) {
    if (qlxtest::kIsSanitized) {
        GTEST_SKIP() << "the sanitizers keep what is given back";
    }
    constexpr std::size_t kSize = std::size_t{1024} * 1024;
    constexpr std::uint64_t kMeasured = 512 * 1024;  // The system counts in pages, and late.
    std::string shortLines = std::string("1\n") + kTiming;
    // Just more lines than a power of two: a list that doubled its room would hold the most here.
    while (shortLines.size() < kSize + 256) {
        shortLines += "a\n";
    }
    std::string shortCues;
    while (shortCues.size() < kSize) {
        shortCues += "1\n0:0:0,0 --> 0:0:0,1\n\n";
    }
    for (const std::string& text : {shortLines, shortCues}) {
        qlxtest::MemoryFiles files;
        files.add("/a.srt", text);
        const auto held = qlxtest::bytesBesideResult([] {
            return QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration("/a.srt", 2, 0.04);
        });
        // The file is in memory before and behind, too.
        EXPECT_LE(held.value_or(0), kSize + kMeasured);
    }
}

}  // namespace
