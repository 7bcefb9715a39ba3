// SRT files as cues and findings, by hand-written files, in pieces of any size and at every length.
#include <qlx/subtitles/srt.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include "PeakMemory.h"
#include "Sanitized.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace qlx::subtitles;
using namespace std::string_view_literals;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::MediaTime;
using qlx::Severity;
using qlx::screen::Color;

struct Read {
    std::vector<Cue> cues;
    std::vector<Finding> findings;

    friend bool operator==(const Read&, const Read&) = default;
};

/// Each piece in an allocation of its own size.
Read read(std::string_view text, std::size_t piece = std::string_view::npos, const SrtOptions& options = {}) {
    Read result;
    Findings findings;
    SrtReader reader(options, &findings);
    const auto take = [&] {
        while (const Cue* const cue = reader.next()) {
            result.cues.push_back(*cue);
        }
    };
    while (!text.empty()) {
        const std::string_view part = text.substr(0, piece);
        text.remove_prefix(part.size());
        reader.push(std::vector<std::uint8_t>(part.begin(), part.end()));
        take();
    }
    reader.finish();
    take();
    EXPECT_EQ(reader.next(), nullptr);
    result.findings.assign(findings.begin(), findings.end());
    return result;
}

MediaTime milliseconds(std::int64_t value) {
    return MediaTime::make(value, 1000);
}

Row row(std::string text, Color color = Color::White) {
    Row result;
    result.runs.push_back({std::move(text), {}});
    result.runs.front().style.foreground = color;
    return result;
}

std::vector<Finding> findingsOf(std::string_view text) {
    return read(text).findings;
}

constexpr std::string_view kTimes = "00:00:01,000 --> 00:00:02,500\n";

std::string cueOfRows(std::string_view rows) {
    return "1\n" + std::string(kTimes) + std::string(rows);
}

std::vector<Row> rowsOf(std::string_view rows) {
    const Read result = read(cueOfRows(rows));
    EXPECT_EQ(result.cues.size(), 1U);
    return result.cues.empty() ? std::vector<Row>() : result.cues[0].rows;
}

TEST(SrtTime, IsTheSumOfItsNumbers) {
    struct Known {
        std::string_view text;
        std::int64_t milliseconds;
        bool isUsual;
    };
    for (const Known& known :
         std::initializer_list<Known>{{"00:00:01,500", 1500, true},
                                      {"0:00:01,500", 1500, true},
                                      {"0:0:1,500", 1500, true},
                                      {"100:59:59,999", 363'599'999, true},
                                      {"99999:00:00,000", 359'996'400'000, true},
                                      {" 00:00:01,500\t", 1500, true},
                                      {"00: 0: 1,500", 1500, true},
                                      {"00 :00:01 , 500", 1500, true},
                                      {"00:60:00,000", 3'600'000, false},
                                      {"00:00:60,000", 60'000, false},
                                      {"00:75:00,5", 4'500'005, false},
                                      {"00:00:01,50", 1050, false},
                                      {"00:00:01,1000", 2000, false},
                                      {"2499999999999:00:00,000", 8'999'999'999'996'400'000, true}}) {
        EXPECT_EQ(parseSrtTime(known.text), (SrtTime{milliseconds(known.milliseconds), known.isUsual})) << known.text;
    }
}

TEST(SrtTime, IsNoOtherText) {
    for (const std::string_view text : {""sv,
                                        " "sv,
                                        "abc"sv,
                                        "NaN"sv,
                                        "1.5"sv,
                                        "00:00:01"sv,
                                        "00:00:01.500"sv,
                                        "00:00:01:12"sv,
                                        "00:00:01;12"sv,
                                        "00:01,500"sv,
                                        "00:00:01,"sv,
                                        "::,"sv,
                                        "00::01,500"sv,
                                        ":00:01,500"sv,
                                        "-00:00:01,500"sv,
                                        "00:00:01,-500"sv,
                                        "+0:00:01,500"sv,
                                        "00:00:01,500x"sv,
                                        "x0:00:01,500"sv,
                                        "00:00:01,500,1"sv,
                                        "00:00:00:01,500"sv,
                                        "00:0 0:01,500"sv,
                                        "00:00:01,500\0"sv,
                                        "0x:00:01,500"sv,
                                        "2600000000000:00:00,000"sv,
                                        "00:99999999999999999999:01,000"sv,
                                        "00:00:01,99999999999999999999"sv}) {
        EXPECT_EQ(parseSrtTime(text), std::nullopt) << text;
    }
}

TEST(SrtTiming, IsTakenApartAtItsOnlyArrow) {
    const auto check = [](std::string_view line, std::string_view start, std::string_view end, std::string_view rest) {
        const auto parts = splitSrtTiming(line);
        ASSERT_TRUE(parts) << line;
        EXPECT_EQ(parts->start, start);
        EXPECT_EQ(parts->end, end);
        EXPECT_EQ(parts->rest, rest);
    };
    check("a --> b", "a", "b", "");
    check("00:00:01,000 --> 00:00:02,500 X1:1 X2:2", "00:00:01,000", "00:00:02,500", " X1:1 X2:2");
    check("00:00:01,000 --> 00:00:02, 500\tX", "00:00:01,000", "00:00:02, 500", "\tX");
    check("00:00:01,000 --> 00:00:02,500\xC2\xA0X", "00:00:01,000", "00:00:02,500", "\xC2\xA0X");
    // With another comma it is no time, and what is wrong is told of all of it.
    check("00:00:01,000 --> 00:00:02,500 X1:1,5", "00:00:01,000", "00:00:02,500 X1:1,5", "");
    for (const std::string_view line : {"", "a->b", "a-->b", "a --> b --> c"}) {
        EXPECT_FALSE(splitSrtTiming(line)) << line;
    }
}

TEST(SrtReader, GivesNumberTimesAndRows) {
    const Read expected{{{7, milliseconds(1000), milliseconds(2500), {row("Hello"), row("you")}},
                         {8, milliseconds(3'600'000), milliseconds(3'600'040), {row("two")}},
                         {9, milliseconds(3'600'040), milliseconds(3'600'080), {}}},
                        {}};
    const std::string text = "7\n00:00:01,000 --> 00:00:02,500\nHello\nyou\n\n\n"
                             "8\n01:00:00,000 --> 01:00:00,040\n\t two \n\n"
                             "9\n01:00:00,040 --> 01:00:00,080\n";
    EXPECT_EQ(read(text), expected);
    EXPECT_EQ(read("\xEF\xBB\xBF" + text), expected);
    EXPECT_EQ(read("\n\n" + text + "\n\n\n"), expected);
    // A carriage return counts for nothing, wherever it stands.
    std::string returns;
    for (const char character : text) {
        returns += character;
        returns += character == '\n' ? "" : "\r";
    }
    EXPECT_EQ(read(returns), expected);
}

TEST(SrtReader, ReadsStyles) {
    std::vector<Row> expected{row("bold  it un"), row("plain")};
    Style& style = expected[0].runs[0].style;
    style.isBold = style.isItalic = style.isUnderlined = true;
    EXPECT_EQ(rowsOf("<b>bold</b> <I> <i>it</I> <u>un</u>\nplain\n"), expected);
    EXPECT_EQ(rowsOf("a <s>b</s>\n"), std::vector<Row>{row("a <s>b</s>")});
}

TEST(SrtReader, LetsAnOpenColorGoOn) {
    EXPECT_EQ(rowsOf("<font color=\"#ff0000\">one\ntwo\nthree</font>\nfour\n"),
              (std::vector<Row>{row("one", Color::Red), row("two", Color::Red), row("three"), row("four")}));
    EXPECT_EQ(rowsOf("<font color=\"rgb(0, 255, 255)\">one</font>\ntwo\n"),
              (std::vector<Row>{row("one", Color::Cyan), row("two")}));
    // Not into the next cue.
    EXPECT_EQ(read(cueOfRows("<font color=\"#ff0000\">one\n\n") + cueOfRows("two\n")).cues[1].rows,
              std::vector<Row>{row("two")});
}

TEST(SrtReader, LetsAPlaceGoOn) {
    const auto placed = [](std::string text, std::uint8_t anchor, Alignment alignment, std::uint64_t number = 0) {
        Row result = row(std::move(text));
        result.anchor = anchor;
        result.alignment = alignment;
        result.number = number;
        return result;
    };
    EXPECT_EQ(rowsOf("{\\an7}a\nb\n<line=\"5\">c\nd\n{\\AN3}e\n"),
              (std::vector<Row>{placed("a", 7, Alignment::Left), placed("b", 7, Alignment::Left),
                                placed("c", 0, Alignment::Center, 5), placed("d", 0, Alignment::Center),
                                placed("e", 3, Alignment::Right)}));
}

TEST(SrtReader, TellsOfNumbersThatAreNone) {
    using enum FindingCode;
    constexpr std::int64_t kGreatest = 9'223'372'036'854'775'807;
    const auto check = [](std::string_view line, std::uint64_t number, const std::vector<Finding>& findings) {
        const Read result = read(std::string(line) + "\n" + std::string(kTimes) + "a\n");
        EXPECT_EQ(result.findings, findings) << line;
        ASSERT_EQ(result.cues.size(), 1U);
        EXPECT_EQ(result.cues[0].number, number) << line;
    };
    check("9223372036854775807", kGreatest, {});
    check(" 00000000000000000000000012\t", 12, {});
    for (const std::string_view line : {"9223372036854775808", "99999999999999999999"}) {
        check(line, kGreatest, {{SrtNumberTooGreat, Severity::Warning, 1, kGreatest, 0}});
    }
    check("-1", 0, {{SrtNumberWrong, Severity::Remark, 1, 0, 0}});
    check("7a", 7, {{SrtNumberWrong, Severity::Remark, 1, 0, 0}});
}

TEST(SrtReader, TellsOfRowsThatAreNone) {
    struct Known {
        std::string_view value;
        std::uint64_t row;
    };
    for (const Known& known :
         std::initializer_list<Known>{{"1", 1}, {"012", 12}, {"9223372036854775807", 9'223'372'036'854'775'807}}) {
        const Read result = read(cueOfRows("{\\an7}a\n<line=\"" + std::string(known.value) + "\">b\n"));
        EXPECT_EQ(result.findings, std::vector<Finding>{});
        EXPECT_EQ(result.cues.at(0).rows.at(1).number, known.row);
        EXPECT_EQ(result.cues.at(0).rows.at(1).anchor, 0);
    }
    for (const std::string_view value :
         {"", "0", "-1", "+1", " 1", "abc", "50%", "1.5", "9223372036854775808", "99999999999999999999"}) {
        const Read result = read(cueOfRows("{\\an7}a\n<line=\"" + std::string(value) + "\">b\n"));
        EXPECT_EQ(result.findings, (std::vector<Finding>{{FindingCode::SrtRowWrong, Severity::Warning, 4,
                                                          static_cast<std::int64_t>(value.size()), 0}}))
            << value;
        // It has no row, and stands where the one before it does.
        EXPECT_EQ(result.cues.at(0).rows.at(1).text(), "b");
        EXPECT_EQ(result.cues.at(0).rows.at(1).number, 0U) << value;
        EXPECT_EQ(result.cues.at(0).rows.at(1).anchor, 7) << value;
    }
}

TEST(SrtReader, TellsOfColorsThatAreNone) {
    for (const std::string_view value : {"#ff0000", "FF0000", "rgb(255, 0,\t0)", "RGBA(255,0,0,0.5)"}) {
        EXPECT_EQ(findingsOf(cueOfRows("<font color=\"" + std::string(value) + "\">a</font>\n")),
                  std::vector<Finding>{})
            << value;
    }
    // Six letters are digits, 0 where they are none: "0ra0ge" is 00h, A0h, 0Eh, which is green, number 2.
    EXPECT_EQ(findingsOf(cueOfRows("<font color=\"orange\">a</font>\n")),
              (std::vector<Finding>{{FindingCode::SrtColorUnknown, Severity::Warning, 3, 2, 6}}));
    for (const std::string_view value : {"", "red", "#f00", "#ff000g", "ff00000", "rgb(255,0)", "rgb(255,0,0",
                                         "rgb(256,0,0,1)", "rgb(,,)", "rgb(-1,-1,-1)", "rgbx"}) {
        const auto findings = findingsOf(cueOfRows("<font color=\"" + std::string(value) + "\">a</font>\n"));
        ASSERT_EQ(findings.size(), 1U) << value;
        EXPECT_EQ(findings[0].code, FindingCode::SrtColorUnknown) << value;
        EXPECT_EQ(findings[0].second, static_cast<std::int64_t>(value.size())) << value;
    }
}

TEST(SrtReader, TellsWhatMakesNoCue) {
    using enum FindingCode;
    constexpr auto kError = Severity::Error;
    EXPECT_EQ(findingsOf("1"), (std::vector<Finding>{{SrtTimingMissing, kError, 1, 0, 0}}));
    EXPECT_EQ(findingsOf("1\n\n\n2\n\n"),
              (std::vector<Finding>{{SrtTimingMissing, kError, 1, 0, 0}, {SrtTimingMissing, kError, 4, 0, 0}}));
    EXPECT_EQ(findingsOf("1\nx\ny\n"), (std::vector<Finding>{{SrtTimingWrong, kError, 2, 0, 0}}));
    EXPECT_EQ(findingsOf("1\nx --> 00:00:01,000\ny\n"), (std::vector<Finding>{{SrtTimeWrong, kError, 2, 1, 0}}));
    EXPECT_EQ(findingsOf("1\n00:00:01,000 --> x\ny\n"), (std::vector<Finding>{{SrtTimeWrong, kError, 2, 2, 0}}));
    EXPECT_EQ(findingsOf("1\n00:00:02,000 --> 00:00:02,000\ny\n"),
              (std::vector<Finding>{{SrtEndNotLater, kError, 2, 2000, 2000}}));
    EXPECT_EQ(read("1\nx\ny\n\n2\n00:00:02,000 --> 00:00:01,000\ny\n\n3\n").cues, std::vector<Cue>{});
}

TEST(SrtReader, TellsWhatIsStrange) {
    using enum FindingCode;
    const Read odd = read("one\n00:00:01,5 --> 00:75:00,000\na\n");
    EXPECT_EQ(odd.findings, (std::vector<Finding>{{SrtNumberWrong, Severity::Remark, 1, 0, 0},
                                                  {SrtTimeUnusual, Severity::Warning, 2, 1, 1005},
                                                  {SrtTimeUnusual, Severity::Warning, 2, 2, 4'500'000}}));
    EXPECT_EQ(odd.cues, (std::vector<Cue>{{0, milliseconds(1005), milliseconds(4'500'000), {row("a")}}}));
    EXPECT_EQ(findingsOf("1\n00:00:01,000 --> 00:00:02,000 X1:7\na\n"),
              (std::vector<Finding>{{SrtBytesBehindTimes, Severity::Remark, 2, 5, 0}}));
    const Read inside = read(cueOfRows("a\n2\n00:00:03,000 --> 00:00:04,000 X1:1\n00:00:04,000 --> 00:00:03,000\n"
                                       "0:00:03,000 --> 0:00:04,000\n"));
    EXPECT_EQ(inside.findings, (std::vector<Finding>{{SrtTimingInsideCue, Severity::Warning, 5, 0, 0}}));
    EXPECT_EQ(inside.cues.at(0).rows.size(), 5U);
}

TEST(SrtReader, ReplacesBytesThatAreNoUtf8) {
    const Read result = read(cueOfRows("a\xFF"
                                       "b\xC3\n\xC3\xA9\xEF\xBF\xBD\n"));
    EXPECT_EQ(result.findings,
              (std::vector<Finding>{{FindingCode::SubtitleTextNotUtf8, Severity::Warning, 3, 0xFF, 2}}));
    EXPECT_EQ(result.cues.at(0).rows, (std::vector<Row>{row("a\uFFFDb\uFFFD"), row("\u00E9\uFFFD")}));
}

TEST(SrtReader, PassesOverACueThatIsTooLong) {
    const Cue second{2, milliseconds(1000), milliseconds(2500), {row("b")}};
    const std::string behind = "\n2\n" + std::string(kTimes) + "b\n";
    // 2 + 30 bytes in front of the rows, 1 for the empty line behind them.
    const auto finding = [](std::int64_t bytes, std::int64_t lines) {
        return std::vector<Finding>{{FindingCode::SrtCueTooLong, Severity::Error, 1, bytes, lines}};
    };
    for (const std::size_t piece : {std::size_t{1}, std::size_t{7}, std::string_view::npos}) {
        const std::string hundred = cueOfRows(std::string(66, 'a') + "\n") + behind;
        EXPECT_EQ(read(hundred, piece, {.greatestCue = 100}).cues.size(), 2U);
        EXPECT_EQ(read(hundred, piece, {.greatestCue = 99}), (Read{{second}, finding(99, 10'000)}));
        const std::string six = cueOfRows("a\na\na\n") + behind;
        EXPECT_EQ(read(six, piece, {.mostLines = 6}).cues.size(), 2U);
        EXPECT_EQ(read(six, piece, {.mostLines = 5}), (Read{{second}, finding(1024 * 1024, 5)}));
        // Its end is found all the same, also behind a line of which nothing is kept.
        for (const char character : {'x', '\r'}) {
            EXPECT_EQ(read(std::string(1000, character) + "\n" + behind, piece, {.greatestCue = 99}),
                      (Read{{second}, finding(99, 10'000)}));
        }
    }
}

const std::string kEverything = "\xEF\xBB\xBF"
                                "1\r\n00:00:01,000 --> 00:00:02,500 X1:1\r\n{\\an8}<i>\xC3\xA9</i>\r\n\r\n"
                                "two\n00:00:03,5 --> 00:00:04,000\n<font color=\"#00ff00\">a\n\xFF\n\n\n"
                                "3\n00:00:05,000 --> 00:00:04,000\nx\n\n4\n\n"
                                "5\n00:00:06,000 --> 00:00:07,000\nlast\n6\n00:00:08,000 --> 00:00:09,000\nend";

TEST(SrtReader, GivesTheSameInPiecesOfAnySize) {
    const Read whole = read(kEverything);
    EXPECT_EQ(whole.cues.size(), 3U);
    EXPECT_EQ(whole.findings.size(), 7U);
    for (std::size_t piece = 1; piece < kEverything.size(); ++piece) {
        EXPECT_EQ(read(kEverything, piece), whole) << piece;
    }
}

TEST(SrtReader, GivesWhatIsThereAtEveryLength) {
    const Read whole = read(kEverything);
    std::size_t before = 0;
    for (std::size_t length = 0; length < kEverything.size(); ++length) {
        const Read cut = read(std::string_view(kEverything).substr(0, length));
        ASSERT_LE(cut.cues.size(), whole.cues.size());
        ASSERT_GE(cut.cues.size() + 1, before) << length;
        before = cut.cues.size();
        // Only the last cue can be another one than in the whole file.
        for (std::size_t index = 0; index + 1 < cut.cues.size(); ++index) {
            EXPECT_EQ(cut.cues[index], whole.cues[index]) << length;
        }
    }
}

TEST(SrtReader, ReadsBackRandomCues) {
    std::mt19937 random(11);  // NOLINT(cert-msc51-cpp): the same cues in each run
    const auto number = [&random](std::int64_t end) {
        return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(end));
    };
    const auto digits = [](std::int64_t value, std::size_t count) {
        const std::string text = std::to_string(value);
        return std::string(count - text.size(), '0') + text;
    };
    const auto timecode = [&digits](std::int64_t time) {
        return digits(time / 3'600'000, 2) + ":" + digits(time / 60'000 % 60, 2) + ":" + digits(time / 1000 % 60, 2) +
               "," + digits(time % 1000, 3);
    };
    std::string text;
    std::vector<Cue> cues;
    for (std::uint64_t index = 1; index <= 2000; ++index) {
        const std::int64_t start = number(80'000'000);
        Cue cue{index, milliseconds(start), milliseconds(start + 1 + number(10'000'000)), {}};
        text += std::to_string(index) + "\n" + timecode(cue.start.value) + " --> " + timecode(cue.end.value) + "\n";
        for (std::int64_t rows = number(4); rows > 0; --rows) {
            cue.rows.push_back(row("row " + std::to_string(number(1000)) + " \u20AC"));
            text += cue.rows.back().text() + "\n";
        }
        text += "\n";
        cues.push_back(std::move(cue));
    }
    EXPECT_EQ(read(text, 4096), (Read{cues, {}}));
}

TEST(SrtReader, HoldsTwelveTimesTheFileAtMost) {
    if (qlxtest::kIsSanitized) {
        GTEST_SKIP() << "the sanitizers keep what is given back";
    }
    constexpr std::size_t kSize = std::size_t{1024} * 1024;
    const SrtOptions options;
    std::string text;
    while (text.size() < kSize) {
        text += cueOfRows("");
        for (std::uint64_t row = 3; row < options.mostLines; ++row) {
            text += "a\n";
        }
        text += '\n';
    }
    const auto held = qlxtest::bytesBesideResult([&text, &options] {
        SrtReader reader(options);
        reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
        reader.finish();
        std::size_t rows = 0;
        while (const Cue* const cue = reader.next()) {
            rows += cue->rows.size();
        }
        EXPECT_GT(rows, kSize / 3);
        return rows;
    });
    EXPECT_LE(held.value_or(0), 12 * kSize);
}

TEST(SrtReader, EndsAtItsLimits) {
    const std::string cue = cueOfRows("a\n\n");
    const std::string three = cue + cue + cue;
    const auto with = [&three](const qlx::ReadLimits& limits) {
        SrtOptions options;
        options.limits = limits;
        const Read whole = read(three, three.size(), options);
        EXPECT_EQ(read(three, 1, options).cues, whole.cues);
        return whole;
    };
    EXPECT_EQ(with({.bytes = three.size(), .items = 3}), read(three));
    const Read items = with({.items = 2});
    EXPECT_EQ(items.cues.size(), 2U);
    EXPECT_EQ(items.findings, (std::vector<Finding>{{FindingCode::LimitOfItemsReached, Severity::Error, 12, 2, 0}}));
    const Read bytes = with({.bytes = cue.size()});
    EXPECT_EQ(bytes.cues.size(), 1U);
    const auto size = static_cast<std::int64_t>(cue.size());
    EXPECT_EQ(bytes.findings, (std::vector<Finding>{{FindingCode::LimitOfBytesReached, Severity::Error, 4, size, 0}}));
}

/// The cues and findings of a reader of several ones.
template <class Reader>
std::pair<std::size_t, std::vector<Finding>> readWithin(const qlx::ReadLimits& limits, const std::string& text) {
    Findings findings;
    TextCueOptions options;
    options.limits = limits;
    Reader reader(options, &findings);
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    std::size_t cues = 0;
    while (reader.next() != nullptr) {
        ++cues;
    }
    return {cues, {findings.begin(), findings.end()}};
}

TEST(TextCueReaders, EndAtTheirLimits) {
    const std::string one = cueOfRows("a\n\n");
    const std::string subRip = one + "2" + one.substr(1) + "3" + one.substr(1);
    std::string webVtt = subRip;
    std::replace(webVtt.begin(), webVtt.end(), ',', '.');
    webVtt.insert(0, "WEBVTT\n\n");
    const auto check = [&one](const auto& readThem, const std::string& text) {
        EXPECT_EQ(readThem({.bytes = text.size(), .items = 3}, text),
                  std::pair(std::size_t{3}, std::vector<Finding>{}));
        const auto items = readThem({.items = 2}, text);
        EXPECT_EQ(items.first, 2U);
        ASSERT_EQ(items.second.size(), 1U);
        EXPECT_EQ(items.second[0].code, FindingCode::LimitOfItemsReached);
        const auto bytes = readThem({.bytes = text.size() - one.size()}, text);
        EXPECT_EQ(bytes.first, 2U);
        ASSERT_EQ(bytes.second.size(), 1U);
        EXPECT_EQ(bytes.second[0].code, FindingCode::LimitOfBytesReached);
    };
    check(readWithin<SubRipReader>, subRip);
    check(readWithin<WebVttReader>, webVtt);
}

TEST(TextCueReaders, LeaveOutACueThatALimitCuts) {
    const std::string subRip = cueOfRows("one\n\n") + "2" + cueOfRows("two\nthree\n\n").substr(1);
    std::string webVtt = subRip;
    std::replace(webVtt.begin(), webVtt.end(), ',', '.');
    webVtt.insert(0, "WEBVTT\n\n");
    const auto check = [](const auto& readThem, const std::string& text) {
        const std::size_t second = text.find("one\n\n") + 5;
        for (std::size_t bytes = second; bytes < text.size(); ++bytes) {
            const auto [cues, findings] = readThem({.bytes = bytes}, text);
            EXPECT_EQ(cues, 1U) << bytes;
            ASSERT_EQ(findings.size(), 1U) << bytes;
            EXPECT_EQ(findings[0].code, FindingCode::LimitOfBytesReached);
        }
        EXPECT_EQ(readThem({.bytes = text.size()}, text), std::pair(std::size_t{2}, std::vector<Finding>{}));
    };
    check(readWithin<SubRipReader>, subRip);
    check(readWithin<WebVttReader>, webVtt);
    for (std::size_t bytes = subRip.find("one\n\n") + 5; bytes < subRip.size(); ++bytes) {
        SrtOptions options;
        options.limits.bytes = bytes;
        const Read cut = read(subRip, subRip.size(), options);
        EXPECT_EQ(cut.cues.size(), 1U) << bytes;
        ASSERT_EQ(cut.findings.size(), 1U) << bytes;
        EXPECT_EQ(cut.findings[0].code, FindingCode::LimitOfBytesReached);
    }
}

}  // namespace
