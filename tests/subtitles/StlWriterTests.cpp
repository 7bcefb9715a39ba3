// Cues as EBU STL files: blocks by hand-worked bytes, what is lost, and random cues written and read back.
#include "TextCues.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/stl_reader.h>
#include <qlx/subtitles/stl_writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace stl_writer_tests {
namespace {

namespace subtitles = qlx::subtitles;
using namespace qlx::subtitles;
using namespace std::string_view_literals;
using enum qlx::FindingCode;
using qlx::FindingCode;
using qlx::MediaTime;
using qlx::screen::Color;
using Bytes = std::vector<std::uint8_t>;
using Codes = std::vector<FindingCode>;

struct Written {
    Gsi gsi;
    Bytes blocks;
    std::vector<qlx::Finding> findings;

    [[nodiscard]] Codes codes() const {
        Codes codes;
        for (const qlx::Finding& finding : findings) {
            codes.push_back(finding.code);
        }
        return codes;
    }
    [[nodiscard]] Tti block(std::size_t index) const { return *parseTti(std::span(blocks).subspan(index * kTtiBytes)); }
    [[nodiscard]] Bytes file() const {
        const qlx::Data information = writeGsi(gsi);
        Bytes file(information.begin(), information.end());
        file.insert(file.end(), blocks.begin(), blocks.end());
        return file;
    }
};

StlWriterOptions usual() {
    StlWriterOptions options;
    options.gsi.languageCode = "09";
    options.gsi.creationDate = "261122";
    options.gsi.revisionDate = "261122";
    return options;
}

Written write(const std::vector<Cue>& cues, const StlWriterOptions& options = usual()) {
    Written written;
    qlx::Findings findings(100'000);
    StlWriter writer(options, &findings);
    for (const Cue& cue : cues) {
        (void)writer.write(cue, written.blocks);
    }
    written.gsi = writer.finish(written.blocks);
    written.findings.assign(findings.begin(), findings.end());
    return written;
}

std::vector<Cue> readBack(const Written& written) {
    const Bytes file = written.file();
    qlx::Findings findings;
    auto reader = StlReader::open(file, &findings);
    std::vector<Cue> cues;
    while (const Cue* const cue = reader->next()) {
        cues.push_back(*cue);
    }
    EXPECT_TRUE(findings.empty()) << findings.begin()->text();
    return cues;
}

Run runOf(std::string text, Color color = Color::White) {
    Run run{std::move(text), {}};
    run.style.foreground = color;
    return run;
}

Cue cueOf(std::vector<Run> runs, std::int64_t start = 1000, std::int64_t end = 2000) {
    Row row;
    row.runs = std::move(runs);
    return qlxtest::cueOf(1, start, end, {std::move(row)});
}

/// The text field up to the unused space.
std::string textOf(const Tti& block) {
    const auto* const end = std::find(block.text.begin(), block.text.end(), 0x8F);
    return {block.text.begin(), end};
}

StlWriterOptions open(std::string_view rows = "23") {
    StlWriterOptions options = usual();
    options.gsi.displayStandard = "0";
    options.gsi.rows = rows;
    return options;
}

TEST(StlWriter, WritesBlocks) {
    Cue cue = cueOf({runOf("Hi")}, 3'723'480, 3'725'000);
    cue.number = 300;
    cue.rows.front().number = 11;
    cue.rows.front().alignment = Alignment::Left;
    const Written written = write({cue});
    ASSERT_EQ(written.blocks.size(), kTtiBytes);
    const Bytes head(written.blocks.begin(), written.blocks.begin() + 26);
    EXPECT_EQ(head, (Bytes{0,  0x2C, 1, 0xFF, 0,    1,    2,   3,   12,   1,    2,    5,    0,
                           22, 1,    0, 0x0D, 0x0B, 0x0B, 'H', 'i', 0x0A, 0x0A, 0x8F, 0x8F, 0x8F}));
    EXPECT_EQ(written.gsi.blockCount.text(), "00001");
    EXPECT_EQ(written.gsi.subtitleCount.text(), "00001");
    EXPECT_EQ(written.gsi.firstCue.text(), "01020312");
    EXPECT_TRUE(written.findings.empty());
}

struct TextCase {
    std::vector<subtitles::Run> runs;
    std::string_view text;
    bool isOpen = false;
    Codes findings{};
    Alignment alignment = Alignment::Center;
};

TEST(StlWriter, WritesLooksOfRows) {
    subtitles::Run italic = runOf("it ");
    italic.style.isItalic = true;
    subtitles::Run onRed = runOf("x");
    onRed.style.background = Color::Red;
    subtitles::Run boxed = runOf("b");
    boxed.style.background = Color::Black;
    subtitles::Run flashing = runOf("f");
    flashing.style.isFlashing = true;
    subtitles::Run bold = runOf("B");
    bold.style.isBold = true;
    subtitles::Run late = runOf("l");
    late.from = qlxtest::milliseconds(1500);
    const TextCase cases[] = {
        {{runOf("a")},
         "\x0D\x0B\x0B"
         "a\x0A\x0A"},
        {{runOf("a")}, "a", true},
        {{runOf("a", Color::Red)},
         "\x0D\x01\x0B\x0B"
         "a\x0A\x0A"},
        // The space in front of a colour becomes its cell.
        {{runOf("a "), runOf("b", Color::Yellow)},
         "a\x03"
         "b",
         true},
        {{runOf("a"), runOf(" b", Color::Yellow)},
         "a\x03"
         "b",
         true},
        {{runOf("a   "), runOf("b", Color::Yellow)},
         "a  \x03"
         "b",
         true},
        {{runOf("a"), runOf("b", Color::Yellow)},
         "a\x03"
         "b",
         true,
         {StlColorNoSpace}},
        {{italic, runOf("no")}, "\x80it \x81no", true},
        {{runOf("a   "), onRed}, "a\x01\x1D\x07x", true},
        {{onRed, runOf(" a")},
         "\x01\x1D\x07x\x1C"
         "a",
         true},
        {{boxed, runOf(" a")},
         "\x84"
         "b \x85"
         "a",
         true},
        {{boxed},
         "\x0D\x0B\x0B"
         "b\x0A\x0A"},
        {{runOf("a "), flashing},
         "a\x08"
         "f",
         true},
        {{bold}, "B", true, {SubtitleStylesLost}},
        {{late}, "l", true, {SubtitleRunTimeLost}},
        {{runOf("o", qlx::screen::colorOf(3, 2, 0))},
         "\x03"
         "o",
         true,
         {SubtitleColorChanged}},
        {{runOf("  a  ")}, "  a  ", true, {}, Alignment::Unchanged},
        {{runOf("  a  ")}, "a", true},
        // ISO 6937, and what it does not have.
        {{runOf("\u00E9$\u0161\u00DF\u20AC\u2026")},
         "\xC2"
         "e$\xCF"
         "s\xFB?...",
         true,
         {StlCharacterReplaced}},
        {{runOf("e\u0301\u1EC7\u2014")},
         "\xC2"
         "e?\xD0",
         true,
         {StlCharacterReplaced}},
        {{runOf(std::string(39, 'a'))}, "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", true, {StlRowTooLong}},
    };
    for (const TextCase& each : cases) {
        Cue cue = cueOf(each.runs);
        cue.rows.front().alignment = each.alignment;
        const Written written = write({cue}, each.isOpen ? open() : usual());
        ASSERT_EQ(written.blocks.size(), kTtiBytes);
        EXPECT_EQ(textOf(written.block(0)), each.text);
        EXPECT_EQ(written.codes(), each.findings) << each.text;
    }
}

TEST(StlWriter, PlacesRows) {
    struct Case {
        std::vector<std::uint64_t> numbers;
        std::uint16_t screen = 0;
        std::uint8_t anchor = 0;
        int position = 0;
        std::string_view text = "";
        Codes findings{};
        bool isDouble = true;
        std::string_view rows{};
    };
    const Case cases[] = {
        {{10, 11},
         0,
         0,
         20,
         "a\x8A\x8A"
         "a"},
        {{9, 11},
         0,
         0,
         18,
         "a\x8A\x8A\x8A\x8A"
         "a"},
        {{0, 0},
         0,
         0,
         20,
         "a\x8A\x8A"
         "a"},
        {{0}, 0, 8, 1, "a"},
        {{0, 0},
         0,
         5,
         10,
         "a\x8A\x8A"
         "a"},
        {{20, 22},
         23,
         0,
         20,
         "a\x8A\x8A"
         "a"},
        {{20, 21},
         23,
         0,
         20,
         "a\x8A"
         "a",
         {},
         false},
        {{20, 21},
         23,
         0,
         20,
         "a\x8A\x8A"
         "a",
         {SubtitlePlaceLost}},
        {{23}, 23, 0, 22, "a", {SubtitlePlaceLost}},
        {{1, 15},
         15,
         0,
         1,
         "a\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A\x8A"
         "a",
         {},
         true,
         "15"},
    };
    for (const Case& each : cases) {
        Cue cue = cueOf({}, 1000, 2000);
        cue.rows.clear();
        cue.screenRows = each.screen;
        for (const std::uint64_t number : each.numbers) {
            Row row = qlxtest::rowOf("a");
            row.number = number;
            row.anchor = each.anchor;
            cue.rows.push_back(std::move(row));
        }
        StlWriterOptions options = each.rows.empty() ? usual() : open(each.rows);
        options.isDoubleHeight = each.isDouble;
        const Written written = write({cue}, options);
        EXPECT_EQ(written.block(0).verticalPosition, each.position);
        std::string text = textOf(written.block(0));
        std::erase_if(text, [](char byte) { return byte == '\x0D' || byte == '\x0B' || byte == '\x0A'; });
        EXPECT_EQ(text, each.text);
        EXPECT_EQ(written.codes(), each.findings) << each.position;
    }
    Cue high = cueOf({});
    high.rows.assign(30, qlxtest::rowOf("a"));
    EXPECT_EQ(write({high}).codes(), (Codes{StlRowOffScreen}));
}

TEST(StlWriter, MakesSetsOfCuesThatEndTogether) {
    const auto cue = [](std::int64_t start, std::int64_t end) { return cueOf({runOf("a")}, start, end); };
    struct Case {
        std::vector<Cue> cues;
        std::vector<int> status;
        Codes findings{};
    };
    const Case cases[] = {
        {{cue(1000, 2000), cue(2000, 3000)}, {0, 0}},
        {{cue(1000, 3000), cue(2000, 3000)}, {1, 3}},
        {{cue(1000, 4000), cue(2000, 4000), cue(3000, 4000), cue(4000, 5000)}, {1, 2, 3, 0}},
        {{cue(1000, 3000), cue(1000, 3000)}, {1, 3}},
        {{cue(1000, 3000), cue(2000, 4000)}, {0, 0}, {StlCuesOverlap}},
        {{cue(1000, 3000), cue(2000, 2400), cue(2600, 3000)}, {0, 0, 0}, {StlCuesOverlap, StlCuesOverlap}},
    };
    for (const Case& each : cases) {
        std::vector<Cue> cues = each.cues;
        for (std::size_t index = 0; index < cues.size(); ++index) {
            cues[index].number = index + 1;
        }
        const Written written = write(cues);
        ASSERT_EQ(written.blocks.size(), cues.size() * kTtiBytes);
        for (std::size_t index = 0; index < cues.size(); ++index) {
            EXPECT_EQ(static_cast<int>(written.block(index).status), each.status[index]);
        }
        EXPECT_EQ(written.codes(), each.findings);
        const std::vector<Cue> back = readBack(written);
        ASSERT_EQ(back.size(), cues.size());
        for (std::size_t index = 0; index < cues.size(); ++index) {
            EXPECT_EQ(qlx::secondsFrom(back[index].start), qlx::secondsFrom(cues[index].start));
            EXPECT_EQ(qlx::secondsFrom(back[index].end), qlx::secondsFrom(cues[index].end));
        }
    }
}

TEST(StlWriter, SplitsLongTextsAndSaysWhatHasNoRoom) {
    Cue cue = cueOf({});
    for (int row = 0; row < 3; ++row) {
        cue.rows.push_back(qlxtest::rowOf(std::string(70, static_cast<char>('a' + row))));
    }
    const Written written = write({cue}, open());
    ASSERT_EQ(written.blocks.size(), 2 * kTtiBytes);
    EXPECT_EQ(written.block(0).extensionNumber, 0);
    EXPECT_EQ(written.block(1).extensionNumber, Tti::kLastExtension);
    EXPECT_EQ(written.gsi.blockCount.text(), "00002");
    EXPECT_EQ(written.gsi.subtitleCount.text(), "00001");
    EXPECT_EQ(readBack(written).front().rows[2].text(), std::string(70, 'c'));
    // One block has room for 112 bytes, all for 26992.
    EXPECT_EQ(write({cueOf({runOf(std::string(112, 'a'))})}, open()).blocks.size(), kTtiBytes);
    EXPECT_EQ(write({cueOf({runOf(std::string(113, 'a'))})}, open()).blocks.size(), 2 * kTtiBytes);
    const Written all = write({cueOf({runOf(std::string(26992, 'a'))})}, open());
    EXPECT_EQ(all.codes(), Codes{StlRowTooLong});
    EXPECT_EQ(readBack(all).front().rows.front().text().size(), 26992U);
    const Written more = write({cueOf({runOf(std::string(26993, 'a'))})}, open());
    EXPECT_EQ(more.codes(), (Codes{StlRowTooLong, StlTextTooLong}));
    EXPECT_EQ(readBack(more).front().rows.front().text().size(), 26992U);
    // No more blocks than five digits count.
    std::vector<Cue> cues(100'001, cueOf({}));
    qlx::Findings findings(200'000);
    StlWriter writer(usual(), &findings);
    Bytes blocks;
    for (Cue& each : cues) {
        (void)writer.write(each, blocks);
    }
    EXPECT_EQ(writer.finish(blocks).blockCount.text(), "99999");
    EXPECT_EQ(blocks.size(), 99'999 * kTtiBytes);
    EXPECT_EQ(std::count_if(findings.begin(), findings.end(),
                            [](const qlx::Finding& finding) { return finding.code == StlTooManyBlocks; }),
              2);
}

TEST(StlWriter, RoundsTimesOnce) {
    struct Case {
        std::int64_t start;
        std::int64_t end;
        StlTimeCode in;
        StlTimeCode out;
        Codes findings{};
        std::string_view format = "STL25.01";
    };
    const Case cases[] = {
        {1019, 1020, {0, 0, 1, 0}, {0, 0, 1, 1}},
        {1021, 1022, {0, 0, 1, 1}, {0, 0, 1, 2}, {SubtitleTimeEmptied}},
        {1000, 2000, {0, 0, 1, 0}, {0, 0, 2, 0}, {}, "STL30.01"},
        {0, 86'399'950, {0, 0, 0, 0}, {23, 59, 59, 24}},
        {-1000, 1000, {0, 0, 0, 0}, {0, 0, 1, 0}, {SubtitleTimeNegative}},
        {1000, 2000, {0, 0, 1, 0}, {0, 0, 2, 0}, {}, "STL99.01"},
    };
    for (const Case& each : cases) {
        StlWriterOptions options = usual();
        options.gsi.diskFormatCode = each.format;
        const Written written = write({cueOf({runOf("a")}, each.start, each.end)}, options);
        ASSERT_EQ(written.blocks.size(), kTtiBytes);
        EXPECT_EQ(written.block(0).timeCodeIn, each.in) << each.start;
        EXPECT_EQ(written.block(0).timeCodeOut, each.out) << each.start;
        EXPECT_EQ(written.codes(), each.findings) << each.start;
        EXPECT_EQ(written.gsi.diskFormatCode.text(), each.format == "STL99.01" ? "STL25.01" : each.format);
    }
    EXPECT_EQ(write({cueOf({}, -2000, -1000)}).codes(), Codes{SubtitleTimeNegative});
    EXPECT_EQ(write({cueOf({}, 0, 86'400'000)}).codes(), Codes{StlTimeTooLate});
}

TEST(StlWriter, KnowsLanguagesAndInformationTexts) {
    EXPECT_EQ(stlLanguageCode("en"), "09");
    EXPECT_EQ(stlLanguageCode("DE-at"), "08");
    EXPECT_EQ(stlLanguageCode("tlh"), std::nullopt);
    EXPECT_EQ(stlLanguageCode(""), std::nullopt);
    EXPECT_EQ(stlTableOfLanguage("ru"), "01");
    EXPECT_EQ(stlTableOfLanguage("ar"), "02");
    EXPECT_EQ(stlTableOfLanguage("el-GR"), "03");
    EXPECT_EQ(stlTableOfLanguage("he"), "04");
    EXPECT_EQ(stlTableOfLanguage("pl"), "00");
    EXPECT_EQ(stlInformationText("A\u00E9\u0416\u00DF\u00A0"), "A\x82?\xE1\xFF");
}

/// A character and its look; that of a space does not count.
struct SeenCell {
    char32_t character;
    Style style;
    friend bool operator==(const SeenCell&, const SeenCell&) = default;
};

std::vector<SeenCell> cellsOf(const Row& row) {
    std::vector<SeenCell> cells;
    for (const subtitles::Run& run : row.runs) {
        std::string_view rest = run.text;
        while (!rest.empty()) {
            const char32_t character = qlx::takeCodePoint(rest);
            cells.push_back({character, character == U' ' ? Style{} : run.style});
        }
    }
    return cells;
}

constexpr std::string_view kLetters[] = {"aZ\u00E9\u0161\u00DF\u00E6\u201C\u266A7?", "aZ\u0416\u044F\u0451\u0490",
                                         "aZ\u0627\u0628\u0645\u061F", "aZ\u0391\u03C9\u03AC\u03C2",
                                         "aZ\u05D0\u05EA\u05DD"};

std::string randomWord(std::mt19937& random, std::size_t table) {
    std::vector<std::string> letters;
    for (std::string_view rest = kLetters[table]; !rest.empty();) {
        const std::string_view before = rest;
        if (qlx::takeCodePoint(rest) != U'\u0490') {
            letters.emplace_back(before.substr(0, before.size() - rest.size()));
        }
    }
    std::string word;
    for (std::size_t count = 1 + random() % 7; count > 0; --count) {
        word += letters[random() % letters.size()];
    }
    return word;
}

/// What the format can say: looks change behind spaces, of which there are enough for any change.
Row randomRow(std::mt19937& random, std::size_t table, bool isOpen, Alignment alignment) {
    const auto isSo = [&random] { return random() % 4 == 0; };
    Row row;
    row.alignment = alignment;
    std::string spaces = alignment == Alignment::Unchanged ? std::string(random() % 4, ' ') : std::string();
    for (std::size_t runs = 1 + random() % 3; runs > 0; --runs) {
        subtitles::Run run{std::exchange(spaces, "    ") + randomWord(random, table), {}};
        run.style.foreground = isSo() ? qlx::screen::kBasicColors[random() % 8] : Color::White;
        if (isSo()) {
            const Color color = qlx::screen::kBasicColors[1 + random() % 7];
            run.style.background = isOpen && isSo() ? Color::Black : color;
        }
        run.style.isFlashing = isSo();
        run.style.isItalic = isSo();
        run.style.isUnderlined = isSo();
        row.runs.push_back(std::move(run));
    }
    return row;
}

TEST(StlWriter, IsReadBackAsItWasWritten) {
    for (std::size_t table = 0; table < 5; ++table) {
        std::mt19937 random(static_cast<unsigned>(table + 1));
        const bool isOpen = table % 2 == 1;
        StlWriterOptions options = isOpen ? open("30") : usual();
        options.isDoubleHeight = table != 2;
        options.gsi.charactersOfRow = "99";
        options.gsi.characterTable.characters[1] = static_cast<char>('0' + table);
        options.gsi.diskFormatCode = table == 3 ? "STL30.01" : "STL25.01";
        const std::int32_t frames = table == 3 ? 30 : 25;
        const std::uint64_t height = isOpen || table == 2 ? 1 : 2;
        std::vector<Cue> cues;
        std::int64_t frame = 0;
        for (std::uint64_t number = 1; number <= 2000; ++number) {
            Cue cue;
            cue.number = number;
            cue.screenRows = isOpen ? 30 : 23;
            cue.start = MediaTime::make(frame += static_cast<std::int64_t>(random() % 50), frames);
            cue.end = MediaTime::make(frame += 1 + static_cast<std::int64_t>(random() % 50), frames);
            const auto alignment = static_cast<Alignment>(random() % 4);
            std::uint64_t place = 1 + random() % 14;
            for (std::size_t rows = random() % 4; rows > 0; --rows) {
                if (random() % 4 == 0 && !cue.rows.empty()) {
                    cue.rows.push_back({.runs = {}, .number = place, .alignment = alignment});
                    place += height;
                }
                cue.rows.push_back(randomRow(random, table, isOpen, alignment));
                cue.rows.back().number = place;
                place += height;
            }
            cues.push_back(std::move(cue));
        }
        const Written written = write(cues, options);
        EXPECT_TRUE(written.findings.empty()) << written.findings.front().text();
        const std::vector<Cue> back = readBack(written);
        ASSERT_EQ(back.size(), cues.size());
        for (std::size_t index = 0; index < cues.size(); ++index) {
            const Cue& cue = cues[index];
            const Cue& other = back[index];
            ASSERT_EQ(other.number, cue.number);
            ASSERT_EQ(other.start, cue.start);
            ASSERT_EQ(other.end, cue.end);
            ASSERT_EQ(other.rows.size(), cue.rows.size()) << index;
            for (std::size_t row = 0; row < cue.rows.size(); ++row) {
                ASSERT_EQ(other.rows[row].number, cue.rows[row].number) << index;
                ASSERT_EQ(other.rows[row].alignment, cue.rows[row].alignment);
                ASSERT_EQ(other.rows[row].text(), cue.rows[row].text()) << index;
                ASSERT_TRUE(cellsOf(other.rows[row]) == cellsOf(cue.rows[row])) << index << cue.rows[row].text();
            }
        }
    }
}

TEST(StlWriter, TellsWhatOfAnythingIsLost) {
    std::mt19937 random(11);
    std::uint64_t equal = 0;
    for (std::uint64_t number = 1; number <= 4000; ++number) {
        Cue cue = qlxtest::randomCue(random, number, qlxtest::CueFormat::WebVtt);
        const Written written = write({cue});
        const std::vector<Cue> back = readBack(written);
        ASSERT_EQ(back.size(), 1U);
        if (!written.findings.empty()) {
            continue;
        }
        // Rows without text have a place of their own between others alone.
        std::vector<Row> rows = cue.rows;
        std::erase_if(rows, [](const Row& row) { return row.text().find_first_not_of(' ') == std::string::npos; });
        std::vector<Row> read = back.front().rows;
        std::erase_if(read, [](const Row& row) { return row.text().find_first_not_of(' ') == std::string::npos; });
        ASSERT_EQ(read.size(), rows.size());
        for (std::size_t row = 0; row < rows.size(); ++row) {
            std::string text = rows[row].text();
            text.erase(0, text.find_first_not_of(' '));
            text.erase(text.find_last_not_of(' ') + 1);
            ASSERT_EQ(read[row].text(), text) << number;
        }
        ++equal;
    }
    // Without findings are those of few characters.
    EXPECT_GT(equal, 100U);
}

}  // namespace
}  // namespace stl_writer_tests
