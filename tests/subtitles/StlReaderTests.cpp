// EBU STL files read whole: joined blocks, cumulative sets, rows, looks and characters of text fields by hand-made bytes.
#include "STLFile.h"
#include "TextCues.h"

#include <qlx/subtitles/stl_reader.h>

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace stl_reader_tests {
namespace {

using namespace qlx::subtitles;
using enum qlx::FindingCode;
using qlx::Finding;
using qlx::FindingCode;
using qlx::MediaTime;
using qlxtest::CuesRead;

/// A block; its text is filled up with unused space.
struct Block {
    std::string_view text;
    int number = 1;
    int in = 1;  ///< Seconds.
    int out = 2;
    int position = 20;
    int justification = 2;
    int status = 0;
    int extension = 0xFF;
    int comment = 0;
};

std::string bytesOf(const Block& block) {
    std::string bytes(128, '\x8F');
    const auto put = [&bytes](std::size_t place, int value) { bytes[place] = static_cast<char>(value); };
    put(0, 0);
    put(1, block.number % 256);
    put(2, block.number / 256);
    put(3, block.extension);
    put(4, block.status);
    for (std::size_t place = 5; place < 13; ++place) {
        put(place, 0);
    }
    put(7, block.in);
    put(11, block.out);
    put(13, block.position);
    put(14, block.justification);
    put(15, block.comment);
    return bytes.replace(16, block.text.size(), block.text);
}

struct Header {
    std::string_view format = "STL25.01";
    std::string_view standard = "1";
    std::string_view table = "00";
    std::string_view rows = "23";
    int more = 0;  ///< Blocks announced besides those that are there.
};

std::string fileOf(const std::vector<Block>& blocks, const Header& header = {}) {
    Gsi gsi;
    gsi.diskFormatCode = header.format;
    gsi.displayStandard = header.standard;
    gsi.characterTable = header.table;
    gsi.rows = header.rows;
    gsi.languageCode = "09";
    gsi.creationDate = "261122";
    gsi.revisionDate = "261122";
    EXPECT_TRUE(gsi.blockCount.setNumber(blocks.size() + static_cast<std::size_t>(header.more)));
    const qlx::Data information = writeGsi(gsi);
    std::string file(information.begin(), information.end());
    for (const Block& block : blocks) {
        file += bytesOf(block);
    }
    return file;
}

CuesRead readFile(std::string_view text) {
    CuesRead result;
    qlx::Findings findings(100'000);
    const std::vector<std::uint8_t> bytes(text.begin(), text.end());
    auto reader = StlReader::open(bytes, &findings);
    if (reader) {
        while (const Cue* const cue = reader->next()) {
            result.cues.push_back(*cue);
        }
    }
    result.findings.assign(findings.begin(), findings.end());
    return result;
}

CuesRead read(const std::vector<Block>& blocks, const Header& header = {}) {
    return readFile(fileOf(blocks, header));
}

/// `20 first|21 second`
std::string placedRows(const Cue& cue) {
    std::string words;
    for (const Row& row : cue.rows) {
        words += (words.empty() ? "" : "|") + std::to_string(row.number) + " " + row.text();
    }
    return words;
}

/// `1-2 20 first`, seconds in front.
std::vector<std::string> cuesInWords(const CuesRead& read) {
    std::vector<std::string> words;
    for (const Cue& cue : read.cues) {
        words.push_back(std::to_string(static_cast<int>(qlx::secondsFrom(cue.start))) + "-" +
                        std::to_string(static_cast<int>(qlx::secondsFrom(cue.end))) + " " + placedRows(cue));
    }
    return words;
}

using Words = std::vector<std::string>;
using Codes = std::vector<FindingCode>;

struct JoinCase {
    std::vector<Block> blocks;
    Words cues;
    Codes findings{};
};

TEST(StlReader, JoinsTheBlocksOfASubtitle) {
    const JoinCase cases[] = {
        {{{.text = "one "}, {.text = "two", .number = 2, .in = 3, .out = 4}}, {"1-2 20 one", "3-4 20 two"}},
        {{{.text = "one ", .extension = 0}, {.text = "two ", .extension = 1}, {.text = "three"}},
         {"1-2 20 one two three"}},
        // The last block of a subtitle is missing, at the end and in front of another one.
        {{{.text = "one", .extension = 0}}, {"1-2 20 one"}, {StlExtensionMissing}},
        {{{.text = "one", .extension = 0}, {.text = "two", .number = 2}},
         {"1-2 20 one", "1-2 20 two"},
         {StlExtensionMissing}},
        // One in the middle, the first one, the same one twice.
        {{{.text = "a", .extension = 0}, {.text = "c", .extension = 2}, {.text = "d"}},
         {"1-2 20 acd"},
         {StlExtensionMissing}},
        {{{.text = "b", .extension = 1}, {.text = "c"}}, {"1-2 20 bc"}, {StlExtensionMissing}},
        {{{.text = "a", .extension = 0}, {.text = "b", .extension = 0}, {.text = "c"}},
         {"1-2 20 a", "1-2 20 bc"},
         {StlExtensionMissing}},
        // The place and the times are the first block's.
        {{{.text = "a", .position = 4, .extension = 0}, {.text = "b", .in = 5, .out = 9, .position = 8}}, {"1-2 4 ab"}},
        // User data stands between, comments are no cues, reserved numbers are last ones.
        {{{.text = "a", .extension = 0}, {.text = "data", .extension = 0xFE}, {.text = "b"}},
         {"1-2 20 ab"},
         {StlUserDataPassed}},
        {{{.text = "said", .comment = 1}, {.text = "x", .number = 2}}, {"1-2 20 x"}, {StlComment}},
        {{{.text = "a", .extension = 0xF0}}, {"1-2 20 a"}, {StlExtensionNumberReserved}},
    };
    for (const JoinCase& each : cases) {
        const CuesRead result = read(each.blocks);
        EXPECT_EQ(cuesInWords(result), each.cues);
        EXPECT_EQ(result.codes(), each.findings) << each.cues.front();
    }
    // All that there can be.
    std::vector<Block> blocks;
    for (int number = 0; number <= 0xEF; ++number) {
        blocks.push_back({.text = "ab", .extension = number});
    }
    blocks.push_back({.text = "c"});
    const CuesRead result = read(blocks);
    ASSERT_EQ(result.cues.size(), 1U);
    EXPECT_EQ(result.cues.front().rows.front().text().size(), 2 * 240U + 1);
    EXPECT_TRUE(result.findings.empty());
}

TEST(StlReader, KeepsTheMembersOfASetUpToItsEnd) {
    const auto member = [](std::string_view text, int in, int out, int status) {
        return Block{.text = text, .number = in, .in = in, .out = out, .position = 2 * in, .status = status};
    };
    const JoinCase cases[] = {
        {{member("a", 1, 2, 1), member("b", 2, 3, 2), member("c", 3, 5, 3), member("d", 6, 7, 0)},
         {"1-5 2 a", "2-5 4 b", "3-5 6 c", "6-7 12 d"}},
        {{member("a", 1, 2, 1), member("b", 2, 4, 3)}, {"1-4 2 a", "2-4 4 b"}},
        // Sets that have not begun, or do not end.
        {{member("a", 1, 2, 3), member("b", 2, 3, 2)}, {"1-2 2 a", "2-3 4 b"}, {StlSetWrong, StlSetWrong}},
        {{member("a", 1, 2, 1), member("b", 2, 4, 2), member("c", 5, 6, 0)},
         {"1-4 2 a", "2-4 4 b", "5-6 10 c"},
         {StlSetWrong}},
        {{member("a", 1, 2, 1), member("b", 3, 4, 1), member("c", 4, 6, 3)},
         {"1-2 2 a", "3-6 6 b", "4-6 8 c"},
         {StlSetWrong}},
        {{member("a", 1, 2, 1), member("b", 2, 4, 2)}, {"1-4 2 a", "2-4 4 b"}},
        // A comment in a set is none of its members.
        {{member("a", 1, 2, 1), {.text = "x", .comment = 1}, member("b", 2, 4, 3)},
         {"1-4 2 a", "2-4 4 b"},
         {StlComment}},
    };
    for (const JoinCase& each : cases) {
        const CuesRead result = read(each.blocks);
        EXPECT_EQ(cuesInWords(result), each.cues);
        EXPECT_EQ(result.codes(), each.findings) << each.cues.back();
    }
    // One that goes on for ever is given in parts.
    std::vector<Block> blocks(1, member("a", 1, 9, 1));
    blocks.resize(1500, member("b", 2, 9, 2));
    EXPECT_EQ(read(blocks).cues.size(), 1500U);
}

struct PlaceCase {
    std::string_view text;
    std::string_view expected;
    int position = 10;
    std::string_view standard = "1";
    std::string_view rows = "23";
    Codes findings{};
};

TEST(StlReader, PlacesRowsAsTheVerticalPositionAndLineEndsSay) {
    using namespace std::string_view_literals;
    const PlaceCase cases[] = {
        {"a", "10 a"},
        {"a\x8A"
         "b",
         "10 a|11 b"},
        {"a\x8A\x8A"
         "b",
         "10 a|11 |12 b"},
        {"\x8A"
         "b\x8A\x8A",
         "11 b"},
        // Double height: a pair of line ends is the next pair of rows; a single one as well.
        {"\x0D"
         "a\x8A\x8A\x0D"
         "b",
         "10 a|12 b"},
        {"\x0D"
         "a\x8A\x0D"
         "b",
         "10 a|12 b"},
        {"\x0D"
         "a\x8A\x8A\x8A\x8A\x0D"
         "b",
         "10 a|12 |14 b"},
        {"\x0D"
         "a\x8A\x8A"
         "b\x8A"
         "c",
         "10 a|12 b|13 c"},
        // The edges of the screen.
        {"a", "1 a", 1},
        {"a", "23 a", 23},
        {"a", "0 a", 24, "1", "23", {StlRowOffScreen}},
        {"a\x8A"
         "b",
         "23 a|0 b",
         23,
         "2",
         "23",
         {StlRowOffScreen}},
        {"a", "0 a", 0, "1", "23", {StlRowOffScreen}},
        {"a", "10 a", 10, " ", "  ", {StlFieldUnknown, StlNumberWrong}},
        // Open subtitling has rows of its own number.
        {"a", "10 a", 10, "0", "11"},
        {"a", "1 a", 0, "0", "11"},
        {"a", "40 a", 40, "0", "99"},
        {"a", "0 a", 12, "0", "11", {StlRowOffScreen}},
    };
    for (const PlaceCase& each : cases) {
        const CuesRead result =
            read({{.text = each.text, .position = each.position}}, {.standard = each.standard, .rows = each.rows});
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(placedRows(result.cues.front()), each.expected);
        EXPECT_EQ(result.cues.front().screenRows, each.standard == "0" ? std::stoi(std::string(each.rows)) : 23);
        Codes codes = result.codes();
        std::erase_if(codes, [&](FindingCode code) { return each.standard == " " && code == StlFieldUnknown; });
        Codes expected = each.findings;
        std::erase_if(expected, [&](FindingCode code) { return each.standard == " " && code == StlFieldUnknown; });
        EXPECT_EQ(codes, expected) << each.expected << each.position;
    }
}

struct TextCase {
    std::string_view text;
    std::string_view expected;  ///< See rowsInWords().
    std::string_view table = "00";
    int justification = 2;
    Codes findings{};
};

TEST(StlReader, ReadsLooksOfRows) {
    using namespace std::string_view_literals;
    const TextCase cases[] = {
        {"plain", "plain"},
        {"\x0D\x07\x0B\x0B"
         "boxed\x0A\x0A",
         "boxed"},
        // Attributes inside a row take their cell, in the look in front of them.
        {"WhiteOnBlack\x01RedOnBlack", "WhiteOnBlack {#30}RedOnBlack"},
        {"a \x02"
         "b",
         "a  {#0c}b"},
        {"a\x0A\x0A\x0B\x0B"
         "b",
         "a    b"},
        {"a\x8A"
         "b\x80"
         "c\x81"
         "d",
         "a|b{i}c{}d"},
        {"\x01\x1D\x07white on red\x1C"
         "x",
         "{on30}white on red{} x"},
        {"\x04\x1D\x03"
         "a",
         "{#3con03}a"},
        {"\x08"
         "a\x09"
         "b",
         "{f}a{} b"},
        {"\x82"
         "a\x83"
         "b\x84"
         "c\x85"
         "d",
         "{u}a{}b{on00}c{}d"},
        {"\x80\x82\x03"
         "a\x83"
         "b",
         "{iu#3c}a{i#3c}b"},
        // All of it ends with the row.
        {"\x80\x01"
         "a\x8A"
         "b",
         "{i#30}a|b"},
        {"\x00"
         "a"sv,
         "{#00}a"},
        // Justification: spaces count where it is unchanged.
        {"  a  ", "a", "00", 1},
        {"\x0D  \x0B\x0B"
         "a  ",
         "  a  ", "00", 0},
        {"   ", "", "00", 0},
        {"a", "a", "00", 7, {StlJustificationUnknown}},
        {"\x0E"
         "a\x18"
         "b\x90"
         "c",
         "a bc",
         "00",
         2,
         {StlCodesPassed}},
        {"\x11"
         "a",
         "{#30}a",
         "00",
         2,
         {StlCodesPassed}},
    };
    for (const TextCase& each : cases) {
        const CuesRead result = read({{.text = each.text, .justification = each.justification}});
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(qlxtest::rowsInWords(result.cues.front()), each.expected);
        EXPECT_EQ(result.codes(), each.findings) << each.expected;
    }
    // In open subtitling they end with their own codes, colours with the row all the same.
    for (const auto& [standard, expected] :
         {std::pair("0", "{i}a{iu} {iu#30}b|{iu}c{u}d|{u}e{}f|g"), std::pair("1", "{i}a{iu} {iu#30}b|cd|ef|g")}) {
        const CuesRead result = read({{.text = "\x80"
                                               "a\x82"
                                               "\x01"
                                               "b\x8A"
                                               "c\x81"
                                               "d\x8A"
                                               "e\x83"
                                               "f\x8A"
                                               "g"}},
                                     {.standard = standard});
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(qlxtest::rowsInWords(result.cues.front()), expected);
    }
    const CuesRead sides = read({{.text = "a", .justification = 0},
                                 {.text = "a", .justification = 1},
                                 {.text = "a", .justification = 2},
                                 {.text = "a", .justification = 3}});
    ASSERT_EQ(sides.cues.size(), 4U);
    for (std::size_t index = 0; index < 4; ++index) {
        EXPECT_EQ(sides.cues[index].rows.front().alignment, static_cast<Alignment>(index));
    }
}

TEST(StlReader, ReadsTheCharacterCodeTables) {
    const TextCase cases[] = {
        // ISO 6937: a mark stands in front of its letter.
        {"\xC8"
         "a\xC2"
         "E\xCF"
         "s\xCB"
         "c\xCA"
         "U",
         "\u00E4\u00C9\u0161\u00E7\u016E"},
        {"\xE1\xF1\xE9\xF9\xE8\xF8\xFB\xEC\xF5", "\u00C6\u00E6\u00D8\u00F8\u0141\u0142\u00DF\u00DE\u0131"},
        {"$ \xA3\xA9\xB9\xAA\xBA\xD0\xD5", "$ \u00A3\u2018\u2019\u201C\u201D\u2014\u266A"},
        {"\xC1q", "q\u0300"},
        {"x\xC8 y", "x\u00A8y"},
        {"x\xC2", "x\u00B4"},
        {"\xE5"
         "a\x7F",
         "\uFFFD"
         "a\uFFFD",
         "00",
         2,
         {StlCharacterUnknown}},
        // ISO 8859-5, -6, -7, -8.
        {"A\xB0\xEF\xA1\xF1\xF0", "A\u0410\u044F\u0401\u0451\u2116", "01"},
        {"A\xC1\xDA\xE0\xF2\xBF", "A\u0621\u063A\u0640\u0652\u061F", "02"},
        {"A\xC1\xD3\xFE\xB6\xA1", "A\u0391\u03A3\u03CE\u0386\u2018", "03"},
        {"A\xE0\xFA\xAA", "A\u05D0\u05EA\u00D7", "04"},
        {"A\xC0", "A\uFFFD", "04", 2, {StlCharacterUnknown}},
        {"A\xC8"
         "a",
         "A\u00E4",
         "09",
         2,
         {StlFieldUnknown}},
    };
    for (const TextCase& each : cases) {
        const CuesRead result = read({{.text = each.text, .justification = 2}}, {.table = each.table});
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(qlxtest::rowsInWords(result.cues.front()), each.expected);
        EXPECT_EQ(result.codes(), each.findings) << each.expected;
    }
}

TEST(StlReader, ReadsWhatThereIs) {
    using FindingList = std::vector<Finding>;
    const std::vector<Block> blocks{{.text = "a"}, {.text = "b", .number = 2}};
    for (const int more : {-2, 5}) {
        const CuesRead result = read(blocks, {.more = more});
        EXPECT_EQ(result.cues.size(), 2U);
        EXPECT_EQ(result.findings,
                  (FindingList{{StlBlockCountWrong, more > 0 ? qlx::Severity::Error : qlx::Severity::Warning,
                                kBlockCountOffset, 2 + more, 2}}));
    }
    const std::string file = fileOf(blocks);
    const CuesRead cut = readFile(file.substr(0, file.size() - 1));
    EXPECT_EQ(cuesInWords(cut), Words{"1-2 20 a"});
    EXPECT_EQ(cut.codes(), (Codes{StlBlockCountWrong, StlBlockCut}));
    // Never more cues than whole blocks.
    for (std::size_t size = 0; size <= file.size(); ++size) {
        EXPECT_EQ(readFile(file.substr(0, size)).cues.size(), size < 1152 ? 0U : (size - 1024) / 128);
    }
    const CuesRead times = read({{.text = "a", .in = 3, .out = 3}, {.text = "b", .in = 60, .out = 61}});
    EXPECT_EQ(cuesInWords(times), Words{"60-61 20 b"});
    EXPECT_EQ(times.codes(), (Codes{StlEndNotLater, StlTimeCodeWrong, StlTimeCodeWrong}));
    EXPECT_EQ(times.findings[0].text(), "time code out 00:00:03:00 is not later than time code in 00:00:03:00");
    EXPECT_EQ(times.findings[1].text(), "impossible time code 00:00:60:00 (25 frames in a second)");
    EXPECT_EQ((Finding{StlTimeCodeWrong, qlx::Severity::Warning, 0, 0x980C0519, 25}.text()),
              "impossible time code 152:12:05:25 (25 frames in a second)");
    struct Rate {
        std::string_view code;
        std::int64_t value;
        std::int32_t timescale;
    };
    for (const Rate& rate : {Rate{"STL23.01", 24 * 1001, 24000}, Rate{"STL24.01", 24, 24}, Rate{"STL25.01", 25, 25},
                             Rate{"STL30.01", 30, 30}, Rate{"STL50.01", 50, 50}}) {
        const CuesRead result = read({{.text = "a"}}, {.format = rate.code});
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(result.cues.front().start, MediaTime::make(rate.value, rate.timescale)) << rate.code;
        EXPECT_TRUE(result.findings.empty());
    }
}

TEST(StlReader, KeepsComments) {
    const std::string file = fileOf({{.text = "who said", .extension = 0, .comment = 1},
                                     {.text = " it", .comment = 1},
                                     {.text = "line", .number = 2}});
    const std::vector<std::uint8_t> bytes(file.begin(), file.end());
    auto reader = StlReader::open(bytes);
    ASSERT_TRUE(reader);
    ASSERT_NE(reader->next(), nullptr);
    EXPECT_EQ(reader->offset(), StlView::offsetOf(2));
    EXPECT_EQ(reader->next(), nullptr);
    ASSERT_EQ(reader->comments().size(), 1U);
    EXPECT_EQ(reader->comments().front().rows.front().text(), "who said it");
}

}  // namespace
}  // namespace stl_reader_tests
