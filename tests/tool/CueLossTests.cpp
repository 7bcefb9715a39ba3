// What qlxcc play and subs say of what a viewer will not see as it is written.
#include "STLFiles.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"
#include "cues/CueLosses.h"
#include "cues/CueTransmission.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/base/utf8.h>

#include <gtest/gtest.h>

#include <random>
#include <utility>

namespace {

using qlx::tool::CueLosses;
using qlxtest::deployedCaptionArguments;
using qlxtest::deployedTeletextArguments;
using qlxtest::linesOf;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::srt;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

constexpr std::int32_t kCaptions = 1;
constexpr std::int32_t kTeletext = 2;

struct Row {
    std::string text;
    std::uint64_t position = 0;
};

std::shared_ptr<QLXSubtitleRecord> cueOf(std::int32_t mode, const std::vector<Row>& rows) {
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
    for (const Row& row : rows) {
        auto line = std::make_shared<QLXSubtitleTextLine>();
        line->setTextString(row.text);
        line->setVerticalPosition(row.position != 0 ? row.position : lines.size() + 1);
        lines.push_back(std::move(line));
    }
    auto cue = QLXSubtitleRecord::initWithSubtitleMode(mode);
    cue->setSubtitleLines(std::move(lines));
    return cue;
}

/// What is lost of a cue with these rows.
std::string lossesOf(std::int32_t mode, const std::vector<Row>& rows) {
    return CueLosses(mode).of(cueOf(mode, rows));
}

TEST(TeletextLosses, AreNoneInFrenchText) {
    EXPECT_EQ(lossesOf(kTeletext, {{"\u00C0 b\u00F4rd"}}), "\u00C0 as A");
    EXPECT_EQ(
        lossesOf(kTeletext, {{"\u00E0\u00E2\u00E7\u00E8\u00E9\u00EA\u00EB\u00EE\u00EF\u00F4\u00F9\u00FB # 'Az\" 09"},
                             {""},
                             {std::string(34, 'x')}}),
        "");
    // Spaces of every kind are spaces, and accents may follow their letters.
    EXPECT_EQ(lossesOf(kTeletext, {{"Qui\u00A0? Lui\u202F!\tVoil\u0061\u0300, c\u0327a, Noe\u0308l"}}), "");
}

TEST(TeletextLosses, NameCharactersThatAreSentAsOthers) {
    // The codes are the lower seven bits: F1 71 q; A3 23, DF 5F, FC 7C, which are e acute, # and o circumflex in the
    // French set. So are 40 and 7E, a grave and c cedilla.
    EXPECT_EQ(lossesOf(kTeletext, {{"Se\u00F1or stra\u00DFe \u00FCber 5 \u00A3"}}),
              "\u00F1 as q; \u00DF as #; \u00FC as \u00F4; \u00A3 as \u00E9");
    EXPECT_EQ(lossesOf(kTeletext, {{"a@b ~"}}), "@ as \u00E0; ~ as \u00E7");
    EXPECT_EQ(lossesOf(kTeletext, {{"\u2019 \u2026 \u0152 \u20AC"}}),
              "\u2019 as '; \u2026 as ...; \u0152 as OE; \u20AC as ?");
    // With an accent that the letter cannot have, and with one that makes a letter which the set lacks.
    EXPECT_EQ(lossesOf(kTeletext, {{"e\u0303 n\u0303"}}), "e\u0303 as e; n\u0303 as q");
    EXPECT_EQ(lossesOf(kTeletext, {{"\u200Fa"}}), "U+200F as ?");
}

TEST(TeletextLosses, NameEveryCharacterOnceAndTwelveAtMost) {
    EXPECT_EQ(lossesOf(kTeletext, {{"\u043F\u0440\u0438\u043F"}, {"\u0440\u0434"}}),
              "\u043F, \u0440, \u0438, \u0434 as ?");
    EXPECT_EQ(
        lossesOf(kTeletext,
                 {{"\u0430\u0431\u0432\u0433\u0434\u0435\u0436\u0437\u0438\u043A\u043B\u043C\u043D\u043E\u00F1"}}),
        "\u0430, \u0431, \u0432, \u0433, \u0434, \u0435, \u0436, \u0437, \u0438, \u043A, \u043B, \u043C as ?; "
        "3 more characters as others");
}

TEST(TeletextLosses, CountWhatIsLeftOut) {
    const std::string end = " left out: a teletext subtitle has 3 rows of 34 characters";
    EXPECT_EQ(lossesOf(kTeletext, {{"a"}, {"b"}, {"c"}, {"d"}, {"e"}, {"f"}, {"g"}}), "4 rows" + end);
    EXPECT_EQ(lossesOf(kTeletext, {{"a"}, {"b"}, {"c"}, {" "}, {""}}), "");
    EXPECT_EQ(lossesOf(kTeletext, {{std::string(34, 'x') + "y"}}), "1 character" + end);
    EXPECT_EQ(lossesOf(kTeletext, {{std::string(34, 'x') + "  "}}), "");
    EXPECT_EQ(lossesOf(kTeletext, {{"a"}, {"b"}, {std::string(34, 'x') + " yz"}, {"d"}}),
              "1 row and 3 characters" + end);
    // An ellipsis takes three of the 34.
    EXPECT_EQ(lossesOf(kTeletext, {{"\u2026" + std::string(31, 'x') + "\u00F1y"}}),
              "2 characters" + end + "; \u2026 as ...");
}

TEST(TeletextLosses, NameRowsThatThePageDoesNotShow) {
    const std::string what = " not shown: no place on the page";
    // Receivers read row n as row 2 n from 1 to 12, and 16 + n as 2 n + 1; there are 24.
    EXPECT_EQ(lossesOf(kTeletext, {{"a", 12}}), "");
    EXPECT_EQ(lossesOf(kTeletext, {{"a", 13}}), "1 row" + what);
    EXPECT_EQ(lossesOf(kTeletext, {{"a", 16 + 4}}), "");
    // The lower half of row 8 hides row 9, and the second of two rows in one place hides the first.
    EXPECT_EQ(lossesOf(kTeletext, {{"a", 4}, {"b", 16 + 4}}), "1 row" + what);
    EXPECT_EQ(lossesOf(kTeletext, {{"a", 4}, {"b", 4}}), "1 row" + what);
    // Row 0 is taken for a page header, which is none, so that the rows behind it are no part of the page.
    EXPECT_EQ(lossesOf(kTeletext, {{"a", 32}, {"b", 1}, {"c", 2}}), "3 rows" + what);
}

TEST(TeletextLosses, QuoteRowsThatControlCodesChange) {
    // 0x18 conceals what follows.
    EXPECT_EQ(lossesOf(kTeletext, {{"ab\x18"
                                    "cd"}}),
              "its row 1 is shown as \"ab\"; U+0018 as a space");
}

TEST(CaptionLosses, AreNoneInWhatTheCodesHave) {
    EXPECT_EQ(lossesOf(kCaptions, {{"Se\u00F1or \u00E1\u00E9\u00ED\u00F3\u00FA\u00F7\u00D1 \u2588 '\"#@[]"},
                                   {std::string(31, 'x')}}),
              "");
    // Special characters on even columns.
    EXPECT_EQ(
        lossesOf(kCaptions, {{"\u00E0\u00E8ab\u00AE\u00B0\u00BD\u00BF\u00A2\u00A3\u00E2\u00EA\u00EE\u00F4\u00FB"}}),
        "");
}

TEST(CaptionLosses, NameCharactersThatAreSentAsOthers) {
    EXPECT_EQ(lossesOf(kCaptions, {{"\u00E7a \u2019 \u266A \u00F9"}}), "\u00E7, \u2019, \u266A, \u00F9 as a space");
    // 5C, 2A, 7B and 7E are letters in the basic set; E acute has the code of the small letter.
    EXPECT_EQ(lossesOf(kCaptions, {{"\\*{~ \u00C9"}}), "\\, \u00C9 as \u00E9; * as \u00E1; { as \u00E7; ~ as \u00F1");
    EXPECT_EQ(lossesOf(kCaptions, {{"\U0001F3B5"}}), "\U0001F3B5 as \u266A");
    EXPECT_EQ(lossesOf(kCaptions, {{"e\u0301"}}), "U+0301 as a space");
}

TEST(CaptionLosses, CountWhatIsLeftOut) {
    const std::string end = " left out: a caption has 2 rows of 31 characters";
    EXPECT_EQ(lossesOf(kCaptions, {{"a"}, {"b"}, {"c"}, {""}, {"d"}}), "2 rows" + end);
    EXPECT_EQ(lossesOf(kCaptions, {{"\u00E9" + std::string(31, 'x')}, {"a"}, {"b"}}), "1 row and 1 character" + end);
    EXPECT_EQ(lossesOf(kCaptions, {{std::string(31, 'x') + " "}}), "");
}

TEST(CaptionLosses, QuoteRowsWithSplitCharacters) {
    // The pairs are p e, u 11, 38 space, p e, u: the second one is u and nothing, the third one 8 and a space.
    EXPECT_EQ(lossesOf(kCaptions, {{"a"}, {"peu\u00E0 peu"}}),
              "its row 2 is shown as \"peu8 peu\" (\u00E0 split over two pairs)");
    // a 11, 38 b, 11 3A, 5C 11, 38 80: only the e with grave stands in a pair.
    EXPECT_EQ(lossesOf(kCaptions, {{"a\u00E0b\u00E8\u00E9\u00E0"}}),
              "its row 1 is shown as \"a8b\u00E8\u00E98\" (\u00E0 split over two pairs)");
    // Receivers take a control pair that comes twice in a row once.
    EXPECT_EQ(lossesOf(kCaptions, {{"\u00E0\u00E0b"}}), "its row 1 is shown as \"\u00E0b\"");
}

TEST(CaptionLosses, NameNonPrintingCodes) {
    // Of the pair 09 b receivers pass over the first byte alone: the row is whole.
    EXPECT_EQ(lossesOf(kCaptions, {{"aa\tbc"}}), "U+0009 as nothing");
}

const std::string kLossy = srt({{"00:00:04,000", "00:00:05,000", "rien"},
                                {"00:00:06,000", "00:00:07,000", "Se\u00F1or"},
                                {"00:00:08,000", "00:00:09,000", "a\nb\nc\nd"}});

TEST(Losses, AreWarningsOfPlay) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kLossy);
    const std::string cue = "qlxcc: warning: " + file + ": cue ";
    const ToolResult teletext = runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(teletext.exitCode, 0);
    EXPECT_EQ(teletext.err,
              cue + "2: \u00F1 as q\n" + cue + "3: 1 row left out: a teletext subtitle has 3 rows of 34 characters\n");
    const ToolResult captions = runTool(deployedCaptionArguments(file, "25", {"--format", "jsonl"}));
    EXPECT_EQ(captions.exitCode, 0);
    EXPECT_EQ(captions.err, cue + "3: 2 rows left out: a caption has 2 rows of 31 characters\n");
    EXPECT_EQ(runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl", "--quiet"})).err, "");
    // Only of what is played: frame 200 is at 8 s, where cue 3 is not yet due.
    EXPECT_EQ(runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl", "--duration", "8.04"})).err,
              cue + "2: \u00F1 as q\n");
    EXPECT_EQ(
        linesOf(runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl", "--duration", "8.08"})).err).size(),
        2U);
}

/// A cue that is left out.
const std::string kBackwards = "9\n00:00:09,000 --> 00:00:08,000\nx\n";

TEST(Losses, AreRemarksOfSubsWithAMode) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", kLossy + kBackwards);
    const auto plain = linesOf(runTool({"subs", file}).out);
    EXPECT_EQ(plain.back(), file + " (SRT): 3 cues, 1 left out");
    ASSERT_EQ(plain.size(), 9U);
    const auto teletext = linesOf(runTool({"subs", file, "--mode", "teletext"}).out);
    ASSERT_EQ(teletext.size(), 11U);
    EXPECT_EQ(std::vector<std::string>(teletext.begin(), teletext.begin() + 8),
              std::vector<std::string>(plain.begin(), plain.begin() + 8));
    EXPECT_EQ(teletext[8], "cue 2: remark: \u00F1 as q");
    EXPECT_EQ(teletext[9], "cue 3: remark: 1 row left out: a teletext subtitle has 3 rows of 34 characters");
    EXPECT_EQ(teletext[10], file + " (SRT): 3 cues, 1 left out, 2 not shown as written");
    const auto captions = linesOf(runTool({"subs", file, "--mode", "cea608", "--rate", "25"}).out);
    ASSERT_EQ(captions.size(), 10U);
    EXPECT_EQ(captions[4], "                                     13  white    center     b");
    EXPECT_EQ(captions[5], "                                      -  white    center     c");
    EXPECT_EQ(captions[8], "cue 3: remark: 2 rows left out: a caption has 2 rows of 31 characters");
    EXPECT_EQ(captions[9], file + " (SRT): 3 cues, 1 left out, 1 not shown as written");
}

TEST(Losses, StandInTheJsonOfSubs) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.srt", srt({{"00:00:01,000", "00:00:02,000", "Se\u00F1or"}}) + kBackwards);
    const std::string json = runTool({"subs", file, "--mode", "teletext", "--json"}).out;
    EXPECT_NE(
        json.find(
            "\"leftOut\":1,\n\"problemCount\":2,\n\"problems\":[\n"
            R"({"effect":"cue left out","line":6,"what":"the end, 8000 ms, is not later than the start, 9000 ms"},)"
            "\n"
            R"({"cue":1,"effect":"remark","what":")"
            "\u00F1 as q\"}]}\n"),
        std::string::npos)
        << json;
    EXPECT_NE(json.find(R"("vertical_position":11)"), std::string::npos) << json;
    const std::string captions = runTool({"subs", file, "--mode", "cea608", "--rate", "25", "--json"}).out;
    EXPECT_EQ(captions.find("vertical_position"), std::string::npos) << captions;
}

TEST(Losses, NameElementsOfJsonFiles) {
    const TemporaryFolder folder;
    const std::string cue = R"({"start_time_seconds":1,"end_time_seconds":2,"text_lines":[{"text":")";
    const std::string file = folder.write("in.json", "[7," + cue + "a\"}]}," + cue + "[\"}]}]");
    EXPECT_EQ(linesOf(runTool(deployedTeletextArguments(file, "25", {"--format", "jsonl"})).err).back(),
              "qlxcc: warning: " + file + ": cue 3: [ as \u00EB");
}

TEST(Losses, KeepTheFirstThousandRemarks) {
    const std::vector<qlxtest::Cue> cues(1003, {"00:00:04,000", "00:00:05,000", "["});
    const auto lines = linesOf(runTool({"subs", "-", "--mode", "teletext"}, {.input = srt(cues)}).out);
    ASSERT_EQ(lines.size(), 1U + 1003U + 1000U + 2U);
    EXPECT_EQ(lines[2004], "and 3 more remarks");
    EXPECT_EQ(lines[2005], "standard input (SRT): 1003 cues, 0 left out, 1003 not shown as written");
}

TEST(Losses, AreOneShortLineForAnyText) {
    // Letters, accents, controls, special characters of CEA-608, other planes.
    const std::vector<std::string> characters{"a",    " ",      "\u0301", "\u0327", "\x01",   std::string(1, '\0'),
                                              "\x0A", "\x0B",   "\x0D",   "\x11",   "\x14",   "\x18",
                                              ",",    "\u00E0", "\u2026", "\u0416", "\u2028", "\U0001F3B5"};
    std::mt19937 random(1);
    for (const std::int32_t mode : {kCaptions, kTeletext}) {
        CueLosses losses(mode);
        for (int round = 0; round < 500; ++round) {
            std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines(random() % 5);
            for (auto& line : lines) {
                std::string text;
                for (auto count = random() % 60; count > 0; --count) {
                    text += characters[random() % characters.size()];
                }
                line = std::make_shared<QLXSubtitleTextLine>();
                line->setTextString(std::move(text));
                line->setVerticalPosition(random() % 40);
            }
            auto cue = QLXSubtitleRecord::initWithSubtitleMode(mode);
            cue->setSubtitleLines(std::move(lines));
            const std::string what = losses.of(cue);
            EXPECT_EQ(what.find_first_of("\n\x1b"), std::string::npos) << what;
            EXPECT_LT(what.size(), 1000U);
            EXPECT_EQ(what, losses.of(cue));
        }
    }
}

/// The usual way to a viewer, which counts how often something is drawn: what takes the time.
class CountingTransmission final : public qlx::tool::CueTransmission {
public:
    CountingTransmission(std::int32_t mode, std::size_t& drawings)
        : _usual(qlx::tool::makeTransmission(mode)), _drawings(drawings) {}

    [[nodiscard]] std::string_view name() const override { return _usual->name(); }
    [[nodiscard]] std::size_t rows() const override { return _usual->rows(); }
    [[nodiscard]] qlx::tool::ShownRows shown(const std::shared_ptr<QLXSubtitleRecord>& cue) override {
        ++_drawings;
        return _usual->shown(cue);
    }
    [[nodiscard]] std::string bytesOf(const std::string& text) override { return _usual->bytesOf(text); }
    [[nodiscard]] std::string_view takeCharacter(std::string_view& text) const override {
        return _usual->takeCharacter(text);
    }
    [[nodiscard]] std::size_t lengthOf(std::u32string_view shown) const override { return _usual->lengthOf(shown); }
    [[nodiscard]] std::vector<std::string> torn(std::string_view text, std::size_t length) const override {
        return _usual->torn(text, length);
    }

private:
    std::unique_ptr<qlx::tool::CueTransmission> _usual;
    std::size_t& _drawings;
};

/// How much is drawn for looking at cues of one row each, beside the cues themselves.
std::size_t moreDrawings(std::int32_t mode, const std::vector<std::string>& rows) {
    std::size_t drawings = 0;
    CueLosses losses(std::make_unique<CountingTransmission>(mode, drawings));
    for (const std::string& row : rows) {
        EXPECT_FALSE(losses.of(cueOf(mode, {{row}})).empty());
    }
    return drawings - rows.size();
}

TEST(Losses, AreFoundFastWhateverTheCharacters) {
    constexpr std::size_t kCues = 500;
    constexpr std::size_t kRow = 30;
    std::vector<std::string> different(kCues);
    std::vector<std::string> accented(kCues);
    char32_t character = 0x20000;
    std::mt19937 random(1);
    for (std::size_t cue = 0; cue < kCues; ++cue) {
        for (std::size_t column = 0; column < kRow; ++column) {
            qlx::appendUtf8(different[cue], character++);
            accented[cue] += 'a';
            for (int accents = 0; accents < 8; ++accents) {
                qlx::appendUtf8(accented[cue], static_cast<char32_t>(0x0300 + random() % 0x70));
            }
        }
    }
    for (const std::int32_t mode : {kCaptions, kTeletext}) {
        // A row of the greatest length, and the one character.
        EXPECT_EQ(moreDrawings(mode, std::vector<std::string>(kCues, std::string(kRow, '~'))), 2U) << mode;
        EXPECT_EQ(moreDrawings(mode, different), 2U) << "all are sent as the same character, mode " << mode;
        // An accent may make one of six other letters of ISO 8859-1 of it.
        EXPECT_LE(moreDrawings(mode, accented), 8U) << mode;
    }
}

TEST(PlayWarnings, MakeTheRunFailAsThoseOfConvertDo) {
    const TemporaryFolder folder;
    const std::string good = qlxtest::srt({{"00:00:01,000", "00:00:02,000", "Hi"}});
    const qlxtest::STLCue cue{.start = {0, 0, 1, 0}, .end = {0, 0, 2, 0}, .verticalPosition = 20, .text = "Hi"};
    const struct {
        std::string name;
        std::string text;
        std::vector<std::string> options;
        int exitCode = 0;
        int strictExitCode = 0;
    } cases[] = {
        {"good.srt", good, {}, 0, 0},
        {"time.srt", good + "2\n00:00:0x,000 --> 00:00:04,000\nHo\n", {}, 1, 1},
        {"end.srt", good + "2\n00:00:05,000 --> 00:00:04,000\nHo\n", {}, 1, 1},
        {"byte.srt", qlxtest::srt({{"00:00:01,000", "00:00:02,000", "H\xFFi"}}), {"--encoding", "utf-8"}, 1, 1},
        {"time.vtt", "WEBVTT\n\n00:01.000 --> 00:02.000\nHi\n\n00:0x.000 --> 00:04.000\nHo\n", {}, 1, 1},
        {"element.json",
         "[{\"start_timecode\":\"00:00:01,000\",\"end_timecode\":\"00:00:02,000\",\"text_lines\":[{\"text\":\"Hi\"}]},"
         "7]",
         {},
         1,
         1},
        {"good.stl", qlxtest::stl({cue}), {}, 0, 0},
        {"cut.stl", qlxtest::stl({cue, cue}, 3), {}, 1, 1},
        {"comment.stl",
         qlxtest::stl({cue, {.number = 1, .start = {0, 0, 3, 0}, .end = {0, 0, 4, 0}, .text = "who", .comment = 1}}),
         {},
         0,
         1},
        {"data.stl", qlxtest::stl({cue, {.number = 0, .text = "own", .extension = '\xFE'}}), {}, 0, 1},
        {"before.srt", good, {"--from-start", "1.5"}, 0, 1},
        {"short.srt", qlxtest::srt({{"00:00:01,010", "00:00:01,020", "Hi"}}), {}, 0, 1},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.name);
        const std::string file = folder.write(each.name, each.text);
        const std::string output = folder.path("out.klv");
        for (const std::vector<std::string>& command :
             {playArguments(file, "25", {"-o", output}),
              std::vector<std::string>{"play", file, "--mode", "cea608", "--rate", "25", "-o", output},
              std::vector<std::string>{"convert", file, "-o", output, "--to-rate", "25"}}) {
            for (const bool isStrict : {false, true}) {
                std::vector<std::string> arguments = command;
                arguments.insert(arguments.end(), each.options.begin(), each.options.end());
                if (isStrict) {
                    arguments.emplace_back("--strict");
                }
                const int expected = isStrict ? each.strictExitCode : each.exitCode;
                const ToolResult run = runTool(arguments);
                EXPECT_EQ(run.exitCode, expected) << arguments.front() << isStrict << run.err;
                EXPECT_EQ(run.err.empty(), each.strictExitCode == 0) << run.err;
                // What could be read is written all the same, and why the run fails is said in any case.
                EXPECT_FALSE(folder.read("out.klv").empty());
                arguments.emplace_back("--quiet");
                EXPECT_EQ(runTool(arguments).err.empty(), expected == 0);
            }
        }
    }
    EXPECT_EQ(runTool(playArguments(folder.path("good.srt"), "25", {"--strict", "--as-deployed"})).exitCode, 2);
}

TEST(PlayWarnings, OfAProgrammeThatBeginsLater) {
    const TemporaryFolder folder;
    const std::string file = folder.write(
        "in.stl", qlxtest::stl({{.start = {1, 0, 1, 0}, .end = {1, 0, 2, 0}, .verticalPosition = 20, .text = "Hi"}}));
    const std::string warning = "qlxcc: warning: " + file + ": ";
    const std::string late = warning + "the first cue begins at 01:00:01,000";
    const std::string asked = late + ": --from-start 10:00:00:00 (or auto, or 0) says where the programme does\n";
    EXPECT_EQ(runTool(playArguments(file, "25", {"--format", "klv", "-o", "/dev/null"})).err, asked);
    EXPECT_EQ(runTool(playArguments(file, "25", {"--from-start", "0", "--format", "klv", "-o", "/dev/null"})).err,
              late + ", more than an hour behind the first frame: is --from missing?\n");
    // An hour is not more than one.
    EXPECT_EQ(runTool(playArguments(file, "25", {"--from", "1", "--format", "klv", "-o", "/dev/null"})).err, "");
    EXPECT_EQ(runTool(playArguments(file, "25", {"--from", "01:00:00:00"})).err, "");
    EXPECT_EQ(runTool(playArguments(file, "25", {"--duration", "5"})).err,
              asked + warning + "no cue falls into what is played: the next one begins at 01:00:01,000\n");
    EXPECT_EQ(runTool(playArguments(file, "25", {"--from", "01:00:02:00", "--duration", "5"})).err,
              warning + "no cue falls into what is played: the last one ends at 01:00:02,000\n");
    EXPECT_EQ(runTool(playArguments(file, "25", {"--from", "01:00:01:24", "--duration", "5"})).err, "");
}

// CTA-708-E has 64 colours: another one is not that one any more.
TEST(CueLosses, OfColoursThatAServiceDoesNotHave) {
    const TemporaryFolder folder;
    for (const auto& [color, isKept] : {std::pair("#aa5500", true), std::pair("#808080", false)}) {
        const std::string text = "<font color=\"" + std::string(color) + "\">a</font>";
        const std::string file = folder.write("in.srt", qlxtest::srt({{"00:00:01,000", "00:00:02,000", text}}));
        const ToolResult run = runTool(
            {"convert", file, "-o", folder.path("out.mcc"), "--service", "1", "--to-rate", "29.97", "--strict"});
        EXPECT_EQ(run.exitCode, isKept ? 0 : 1) << run.err;
        EXPECT_EQ(run.err.find("does not carry: what another format adds (1 cue)") != std::string::npos, !isKept)
            << run.err;
    }
}

}  // namespace
