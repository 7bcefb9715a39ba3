// Cues as dictionaries and back: what is kept, what is lost, and what a dictionary has wrong.
#include <qlx/subtitles/value.h>

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using qlx::Array;
using qlx::Dictionary;
using qlx::FindingCode;
using qlx::MediaTime;
using qlx::Value;
using qlx::screen::Color;
using qlx::subtitles::Alignment;
using qlx::subtitles::Cue;
using qlx::subtitles::cueOf;
using qlx::subtitles::dictionaryOf;
using qlx::subtitles::Row;
using qlx::subtitles::Run;

using Codes = std::vector<FindingCode>;
using Texts = std::vector<std::string>;

Texts textsOf(const qlx::Findings& findings) {
    Texts texts;
    for (const qlx::Finding& finding : findings) {
        texts.push_back(std::to_string(finding.offset) + ": " + finding.text());
    }
    return texts;
}

Row rowOf(std::string text, Color color = Color::White, std::uint64_t number = 11,
          Alignment alignment = Alignment::Center) {
    Row row;
    row.runs.push_back({std::move(text), {.foreground = color, .background = std::nullopt}});
    row.number = number;
    row.alignment = alignment;
    return row;
}

Cue cueWithRows(std::vector<Row> rows) {
    return {
        .number = 7, .start = MediaTime::make(1000, 1000), .end = MediaTime::make(2500, 1000), .rows = std::move(rows)};
}

/// Times that are right, and one line.
Dictionary valueWith(Dictionary line) {
    return {{"start_time_seconds", 1.0}, {"end_time_seconds", 2.5}, {"text_lines", Array{std::move(line)}}};
}

TEST(SubtitleValue, IsWhatJsonSubtitlesHave) {
    const Cue cue =
        cueWithRows({rowOf("Bonjour", Color::Red, 10), rowOf("\xC3\xA9", Color::White, 0, Alignment::Left)});
    const Dictionary expected{
        {"index", 7U},
        {"start_time_seconds", 1.0},
        {"start_timecode", "00:00:01,000"},
        {"end_time_seconds", 2.5},
        {"end_timecode", "00:00:02,500"},
        {"text_lines",
         Array{
             Dictionary{{"text", "Bonjour"}, {"color", "#ff0000"}, {"alignment", "center"}, {"vertical_position", 10U}},
             Dictionary{
                 {"text", "\xC3\xA9"}, {"color", "#ffffff"}, {"alignment", "left"}, {"vertical_position", 0U}}}}};
    qlx::Findings findings;
    EXPECT_EQ(dictionaryOf(cue, {}, &findings), expected);
    const auto again = cueOf(expected, &findings);
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, cue);
    EXPECT_TRUE(findings.empty());
}

TEST(SubtitleValue, KeepsEveryCueThatItCanHold) {
    std::mt19937 random(20261122);
    const auto below = [&random](std::uint32_t limit) { return static_cast<std::uint32_t>(random() % limit); };
    // Milliseconds come back in the same terms, frames and ticks of clocks as the same moment.
    constexpr std::int32_t kTimescales[] = {1000, 24, 25, 30, 50, 60, 24'000, 30'000, 60'000, 90'000, 1'000'000};
    for (int count = 0; count < 10'000; ++count) {
        const std::int32_t timescale = kTimescales[below(11)];
        const std::int64_t step = timescale % 24'000 == 0 || timescale == 30'000 ? 1001 : 1;
        Cue cue;
        cue.number = below(3) == 0 ? 0 : random();
        // Up to 100 hours.
        cue.start = MediaTime::make(below(360'000) * std::int64_t{timescale} / step * step, timescale);
        cue.end = MediaTime::make(cue.start.value + step * (1 + below(100'000)), timescale);
        for (std::uint32_t rows = 1 + below(4); rows > 0; --rows) {
            Row row = rowOf("row " + std::to_string(random()), qlx::screen::kBasicColors[1 + below(7)], below(12),
                            static_cast<Alignment>(below(4)));
            if (below(10) == 0) {
                row.runs.clear();
            } else if (below(10) == 0) {
                row.runs.front().text.clear();
            }
            cue.rows.push_back(std::move(row));
        }
        qlx::Findings findings;
        const auto again = cueOf(dictionaryOf(cue, {}, &findings), &findings);
        ASSERT_TRUE(again);
        EXPECT_EQ(textsOf(findings), Texts{});
        EXPECT_EQ(again->number, cue.number);
        EXPECT_EQ(again->rows, cue.rows);
        const auto expectSame = [&](const MediaTime& left, const MediaTime& right) {
            EXPECT_EQ(left.value * right.timescale, right.value * left.timescale) << right.value << "/" << timescale;
            EXPECT_EQ(left == right, left.timescale == right.timescale);
        };
        expectSame(again->start, cue.start);
        expectSame(again->end, cue.end);
        if (timescale == 1000) {
            EXPECT_EQ(*again, cue);
        }
    }
}

TEST(SubtitleValue, SaysWhatOfACueIsLost) {
    Row row = rowOf("a", Color::Black, 23, static_cast<Alignment>(9));
    row.anchor = 8;
    row.runs.push_back({"b", {.foreground = Color::Black, .background = std::nullopt, .isItalic = true}});
    row.runs.push_back({"c", {.foreground = Color::Cyan, .background = std::nullopt}});
    Cue cue = cueWithRows({rowOf("x"), row});
    cue.start = MediaTime::make(1, 7);
    cue.end = MediaTime::make(1, 7);
    qlx::Findings findings;
    const Dictionary dictionary = dictionaryOf(cue, {.findingsOffset = 5}, &findings);
    EXPECT_EQ(textsOf(findings), (Texts{"5: time 1 of 2 is rounded", "5: time 2 of 2 is rounded",
                                        "5: the end, 143 ms, is not later than the start, 143 ms",
                                        "5: line 2 has an alignment that is none: it is read as 0",
                                        "5: line 2 has a colour that is none: it is read as colour 7 of teletext",
                                        "5: line 2 loses the style of 2 runs", "5: line 2 loses its place 8 in the cue",
                                        "5: line 2 has a row that is none: it is read as 0"}));
    EXPECT_EQ(
        dictionary.find("text_lines")->array()->at(1),
        (Dictionary{{"text", "abc"}, {"color", "#ffffff"}, {"alignment", "unchanged"}, {"vertical_position", 23U}}));
}

TEST(SubtitleValue, WritesNoTimeThatIsNone) {
    Cue cue = cueWithRows({});
    cue.start = MediaTime();
    cue.end = MediaTime::make(-1, 2);
    qlx::Findings findings;
    EXPECT_EQ(
        dictionaryOf(cue, {}, &findings),
        (Dictionary{
            {"index", 7U}, {"end_time_seconds", -0.5}, {"end_timecode", "00:00:00,000"}, {"text_lines", Array{}}}));
    EXPECT_EQ(textsOf(findings), (Texts{"0: time 1 of 2 is none", "0: time 2 of 2 is none", "0: no lines of text"}));
}

TEST(SubtitleValue, RoundsTimecodesToTheNearestMillisecond) {
    const auto timecode = [](std::int64_t value, std::int32_t timescale) {
        Cue cue = cueWithRows({rowOf("x")});
        cue.end = MediaTime::make(value, timescale);
        return *dictionaryOf(cue).find("end_timecode")->text();
    };
    EXPECT_EQ(timecode(7800, 1000), "00:00:07,800");
    EXPECT_EQ(timecode(1001 * 29, 30'000), "00:00:00,968");
    EXPECT_EQ(timecode(59'999'500, 1'000'000), "00:01:00,000");
    EXPECT_EQ(timecode(59'999'499, 1'000'000), "00:00:59,999");
    EXPECT_EQ(timecode(360'000, 1), "100:00:00,000");
}

TEST(SubtitleValue, PlacesRowsThatHaveNone) {
    const auto rows = [](std::size_t count) {
        Dictionary value = valueWith({});
        value.set("text_lines", Array(count, Dictionary{{"text", "x"}}));
        qlx::Findings findings;
        std::vector<std::uint64_t> numbers;
        const auto cue = cueOf(value, &findings);
        for (const Row& row : cue->rows) {
            numbers.push_back(row.number);
        }
        EXPECT_EQ(findings.size(), count > 11 ? count - 11 : 0);
        return numbers;
    };
    EXPECT_EQ(rows(1), std::vector<std::uint64_t>{11});
    EXPECT_EQ(rows(3), (std::vector<std::uint64_t>{9, 10, 11}));
    EXPECT_EQ(rows(13), (std::vector<std::uint64_t>{0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
    // Without them in the dictionary a reader does the same.
    const Cue cue = cueWithRows({rowOf("a", Color::White, 3), rowOf("b", Color::White, 4)});
    const auto again = cueOf(dictionaryOf(cue, {.placesRows = false}));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->rows, (std::vector<Row>{rowOf("a", Color::White, 10), rowOf("b", Color::White, 11)}));
}

/// What is wrong with the one line of a value, and what becomes of it.
void expectLine(const Dictionary& line, const Row& expected, const Texts& said) {
    qlx::Findings findings;
    const auto cue = cueOf(valueWith(line), &findings, 3);
    ASSERT_TRUE(cue);
    EXPECT_EQ(cue->rows, std::vector<Row>{expected});
    EXPECT_EQ(textsOf(findings), said);
}

TEST(SubtitleValue, SaysWhatALineHasWrong) {
    const std::string color = "3: line 1 has a colour that is none: it is read as colour 7 of teletext";
    const std::string alignment = "3: line 1 has an alignment that is none: it is read as 2";
    expectLine({{"text", "x"}, {"color", "RGB(250, 10, 128)"}, {"alignment", "RIGHT"}, {"vertical_position", "4"}},
               rowOf("x", Color::Magenta, 4, Alignment::Right), {});
    expectLine({{"text", 5}, {"color", nullptr}, {"alignment", nullptr}, {"vertical_position", 2.0}},
               rowOf("5", Color::White, 2), {});
    for (const Value& wrong : Array{"red", "#12345", 5, true, Array{}, Dictionary{}}) {
        expectLine({{"text", "x"}, {"color", wrong}}, rowOf("x"), {color});
    }
    for (const Value& wrong : Array{"middle", 3, false, Array{}}) {
        expectLine({{"text", "x"}, {"alignment", wrong}}, rowOf("x"), {alignment});
    }
    const auto row = [](std::uint64_t number) {
        return "3: line 1 has a row that is none: it is read as " + std::to_string(number);
    };
    for (const Value& wrong :
         Array{12, "12", -1, "", "abc", Array{}, Dictionary{}, std::numeric_limits<double>::infinity()}) {
        expectLine({{"text", "x"}, {"vertical_position", wrong}}, rowOf("x", Color::White, 0), {row(0)});
    }
    expectLine({{"text", "x"}, {"vertical_position", 3.5}}, rowOf("x", Color::White, 3), {row(3)});
    expectLine({{"text", "x"}, {"vertical_position", "3 or so"}}, rowOf("x", Color::White, 3), {row(3)});
    expectLine({{"text", "x"}, {"vertical_position", true}}, rowOf("x", Color::White, 1), {row(1)});
}

TEST(SubtitleValue, LeavesOutLinesThatAreNone) {
    Dictionary value = valueWith({});
    value.set("text_lines", Array{5, Dictionary{{"color", "#ff0000"}}, Dictionary{{"text", nullptr}},
                                  Dictionary{{"text", Array{}}}, Dictionary{{"text", "x"}}});
    qlx::Findings findings;
    const auto cue = cueOf(value, &findings);
    ASSERT_TRUE(cue);
    // The fourth dictionary of five entries: one row above the last.
    EXPECT_EQ(cue->rows, std::vector<Row>{rowOf("x", Color::White, 10)});
    EXPECT_EQ(textsOf(findings), (Texts{"0: line 1 is no dictionary", "0: line 2 has no text", "0: line 3 has no text",
                                        "0: line 4 has no text"}));
}

/// Why a value is no cue; the code None when it is one.
FindingCode refusalOf(const Value& value) {
    const auto cue = cueOf(value);
    return cue ? FindingCode::None : cue.error().code;
}

TEST(SubtitleValue, RefusesWhatIsNoCue) {
    for (const Value& value : Array{nullptr, 5, "text", Array{}}) {
        EXPECT_EQ(refusalOf(value), FindingCode::SubtitleValueNotDictionary);
    }
    EXPECT_EQ(refusalOf(Dictionary{}), FindingCode::SubtitleValueNoLines);
    for (const Value& lines : Array{nullptr, 5, "text", Array{}, Dictionary{}}) {
        Dictionary value = valueWith({});
        value.set("text_lines", lines);
        EXPECT_EQ(refusalOf(value), FindingCode::SubtitleValueNoLines);
    }
}

TEST(SubtitleValue, RefusesTimesThatAreNone) {
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const Dictionary right = valueWith({{"text", "x"}});
    const auto refusal = [&right](std::string_view key, const Value& value) {
        Dictionary dictionary = right;
        dictionary.set(key, value);
        const auto cue = cueOf(dictionary, nullptr, 9);
        return cue ? std::string("a cue") : std::to_string(cue.error().offset) + ": " + cue.error().text();
    };
    EXPECT_EQ(refusal("start_time_seconds", 0), "a cue");
    EXPECT_EQ(refusal("start_time_seconds", " +0.5e0\t"), "a cue");
    for (const Value& wrong :
         Array{kNaN, kInfinity, -1, -0.5, 1e16, "", "x", "1,5", "1 s", "nan", "inf", "1e999", "-1", true, Array{}}) {
        EXPECT_EQ(refusal("start_time_seconds", wrong), "9: time 1 of 2 is none") << wrong.description();
        EXPECT_EQ(refusal("end_time_seconds", wrong), "9: time 2 of 2 is none") << wrong.description();
    }
    EXPECT_EQ(refusal("end_time_seconds", nullptr), "9: time 2 of 2 is missing");
    EXPECT_EQ(refusal("end_time_seconds", 1), "9: the end, 1000 ms, is not later than the start, 1000 ms");

    // A time code counts where there are no seconds.
    Dictionary coded = right;
    coded.erase("start_time_seconds");
    EXPECT_EQ(refusalOf(coded), FindingCode::SubtitleValueTimeMissing);
    for (const Value& wrong : Array{"00:00:01.500", "x", "", 5, true}) {
        coded.set("start_timecode", wrong);
        EXPECT_EQ(refusalOf(coded), FindingCode::SubtitleValueTimeWrong);
    }
    coded.set("start_timecode", "00:00:01,5");
    qlx::Findings findings;
    const auto cue = cueOf(coded, &findings);
    ASSERT_TRUE(cue);
    EXPECT_EQ(cue->start, MediaTime::make(1005, 1000));
    EXPECT_EQ(textsOf(findings), Texts{"0: time 1 of 2 has another form than usual: read as 1005 ms"});
}

TEST(SubtitleValue, TakesSecondsAsExactlyAsTheyAre) {
    const auto start = [](double seconds) {
        Dictionary value = valueWith({{"text", "x"}});
        value.set("start_time_seconds", seconds);
        value.set("end_time_seconds", 1e9);
        qlx::Findings findings;
        const MediaTime time = cueOf(value, &findings)->start;
        EXPECT_EQ(findings.size(), time.timescale == 1'000'000'000 && seconds * 1e9 != 1234567.0 ? 1U : 0U);
        return time;
    };
    EXPECT_EQ(start(1.01), MediaTime::make(1010, 1000));
    EXPECT_EQ(start(1001 / 30'000.0), MediaTime::make(4004, 120'000));
    EXPECT_EQ(start(1 / 90'000.0), MediaTime::make(1, 90'000));
    EXPECT_EQ(start(0.123456), MediaTime::make(123'456, 1'000'000));
    EXPECT_EQ(start(0.1 + 0.2), MediaTime::make(300'000'000, 1'000'000'000));
}

}  // namespace
