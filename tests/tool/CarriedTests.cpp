// The table of what each format of cues carries, cell by cell: a cue that has nothing but the one feature is written, read
// by the reader of the format, and has it or has it not, as the table says.
#include "CarriedCues.h"
#include "ToolRunner.h"
#include "streams/Json.h"

#include <qlx/subtitles/value.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace carried_tests {
namespace {

using namespace qlxtest::carried;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

constexpr std::string_view kOrange = "#ffa500";

Cue plainCue() {
    Cue cue;
    cue.start = qlx::MediaTime::make(2000, 1000);
    cue.end = qlx::MediaTime::make(4000, 1000);
    Row row;
    row.runs.push_back({"ab", {}, {}, {}});
    cue.rows.push_back(std::move(row));
    return cue;
}

/// A cue that has one feature.
Cue cueWith(CueFeature feature, CueTarget target) {
    Cue cue = plainCue();
    Row& row = cue.rows[0];
    Run& run = row.runs[0];
    switch (feature) {
    case CueFeature::Bold:
        run.style.isBold = true;
        break;
    case CueFeature::Italic:
        run.style.isItalic = true;
        break;
    case CueFeature::Underline:
        run.style.isUnderlined = true;
        break;
    case CueFeature::StrikeOut:
        run.properties = {{"strikeout", ""}};
        break;
    case CueFeature::Flash:
        run.style.isFlashing = true;
        break;
    case CueFeature::Colors:
        run.style.foreground = Color::Red;
        break;
    case CueFeature::MoreColors:
        run.style.foreground = qlx::screen::colorOf(3, 2, 0);
        run.properties = {{"color", std::string(kOrange)}};
        break;
    case CueFeature::Transparency:
        run.properties = {{"color.alpha", "40"}};
        break;
    case CueFeature::Background:
        run.style.background = Color::Blue;
        break;
    case CueFeature::Font:
        run.properties = {{"font.face", "Arial"}};
        break;
    case CueFeature::Rows:
        row.anchor = 8;
        break;
    case CueFeature::Sides:
        row.alignment = Alignment::Left;
        row.anchor = 1;
        break;
    case CueFeature::Columns:
        row.number = 14;
        row.column = 13;
        row.alignment = Alignment::Left;
        cue.screenRows = 15;
        cue.screenColumns = 32;
        break;
    case CueFeature::Box:
        cue.box = qlx::subtitles::Box{20, 30, 40, 50, qlx::subtitles::BoxEdge::Top};
        break;
    case CueFeature::Region:
        cue.region = "r";
        break;
    case CueFeature::Name:
        cue.identifier = "intro";
        break;
    case CueFeature::Language:
        cue.language = "de";
        break;
    case CueFeature::InnerTimes:
        row.runs.push_back({"cd", {}, qlx::MediaTime::make(3000, 1000), {}});
        break;
    case CueFeature::Voices:
        run.properties = {{"vtt.v", "Mary"}};
        break;
    case CueFeature::Ruby:
        run.properties = {{"vtt.ruby", ""}};
        row.runs.push_back({"cd", {}, {}, {{"vtt.ruby", ""}, {"vtt.rt", ""}}});
        break;
    case CueFeature::Others:
        cue.properties = target == CueTarget::SubRip ? qlx::subtitles::Properties{{"vtt.size", "50%"}}
                                                     : qlx::subtitles::Properties{{"srt.coordinates", "X1:1"}};
        break;
    }
    return cue;
}

/// A value of a run, or of the cue.
bool says(const Cue& cue, std::string_view name, std::string_view value) {
    const auto isSaid = [&](const qlx::subtitles::Properties& properties) {
        const std::string* const found = valueOf(properties, name);
        return found != nullptr && *found == value;
    };
    bool isThere = isSaid(cue.properties);
    for (const Row& row : cue.rows) {
        for (const Run& run : row.runs) {
            isThere = isThere || isSaid(run.properties);
        }
    }
    return isThere;
}

/// Where the text begins, in parts of the width of a screen's columns.
std::optional<double> leftEdgeOf(const Cue& cue) {
    const Row& row = cue.rows[0];
    if (const std::string* const position = valueOf(cue.properties, "vtt.position")) {
        return (std::stod(*position) - 10) / 80;
    }
    if (row.column == 0 || cue.screenColumns == 0) {
        return std::nullopt;
    }
    const std::size_t blanks = row.text().find_first_not_of(' ');
    // The 42 columns of a wide picture have those of captions in their middle.
    const bool isWide = cue.screenColumns == 42;
    return (static_cast<double>(row.column - 1 + blanks) - (isWide ? 5 : 0)) / (isWide ? 32 : cue.screenColumns);
}

/// The run with the first letters.
const Run& firstRun(const Cue& cue) {
    for (const Row& row : cue.rows) {
        for (const Run& run : row.runs) {
            if (run.text.find('a') != std::string::npos) {
                return run;
            }
        }
    }
    ADD_FAILURE() << "no text";
    return cue.rows.at(0).runs.at(0);
}

bool isAbove(const Cue& cue) {
    const Row& row = cue.rows[0];
    const std::uint64_t rows = cue.screenRows == 0 ? 11 : cue.screenRows;
    return row.number != 0 ? row.number * 3 <= rows : row.anchor >= 7;
}

bool isLeft(const Cue& cue) {
    constexpr double kLeft = 0.25;
    const auto edge = leftEdgeOf(cue);
    return edge && cue.rows[0].alignment != Alignment::Center ? *edge < kLeft
           : edge                                             ? *edge < kLeft
                                                              : cue.rows[0].alignment == Alignment::Left;
}

/// Whether cues that were read have the feature of cueWith().
bool has(const std::vector<Cue>& cues, CueFeature feature, CueTarget target) {
    const Cue& cue = cues[0];
    const Run& run = firstRun(cue);
    constexpr double kEdge = 12.0 / 32;
    constexpr double kNear = 0.5 / 32;
    switch (feature) {
    case CueFeature::Bold:
        return run.style.isBold;
    case CueFeature::Italic:
        return run.style.isItalic;
    case CueFeature::Underline:
        return run.style.isUnderlined;
    case CueFeature::StrikeOut:
        return says(cue, "strikeout", "");
    case CueFeature::Flash:
        return run.style.isFlashing;
    case CueFeature::Colors:
        return run.style.foreground == Color::Red;
    case CueFeature::MoreColors:
        return run.style.foreground == qlx::screen::colorOf(3, 2, 0);
    case CueFeature::Transparency:
        return says(cue, "color.alpha", "40");
    case CueFeature::Background:
        return run.style.background == Color::Blue;
    case CueFeature::Font:
        return says(cue, "font.face", "Arial");
    case CueFeature::Rows:
        return isAbove(cue);
    case CueFeature::Sides:
        return isLeft(cue);
    case CueFeature::Columns:
        return leftEdgeOf(cue) && std::abs(*leftEdgeOf(cue) - kEdge) <= kNear;
    case CueFeature::Box:
        return cue.box && cue.box->left == 20 && cue.box->top == 30 && cue.box->width == 40;
    case CueFeature::Region:
        return cue.region == "r";
    case CueFeature::Name:
        return cue.identifier == "intro";
    case CueFeature::Language:
        return cue.language == "de" || says(cue, "vtt.lang", "de");
    case CueFeature::InnerTimes: {
        const auto isAtThree = [](const qlx::MediaTime& time) {
            return time.isValid() && time.value == std::int64_t{3} * time.timescale;
        };
        return cues.size() == 2 ? isAtThree(cues[1].start)
                                : std::any_of(cue.rows[0].runs.begin(), cue.rows[0].runs.end(),
                                              [&](const Run& each) { return isAtThree(each.from); });
    }
    case CueFeature::Voices:
        return says(cue, "vtt.v", "Mary");
    case CueFeature::Ruby:
        return says(cue, "vtt.rt", "");
    case CueFeature::Others:
        return target == CueTarget::SubRip ? says(cue, "vtt.size", "50%") : says(cue, "srt.coordinates", "X1:1");
    }
    return false;
}

class Carried : public testing::TestWithParam<CarriedRow> {};

TEST_P(Carried, IsWhatTheTableSays) {
    const CarriedRow& row = GetParam();
    const TemporaryFolder folder;
    for (const Target& target : kTargets) {
        SCOPED_TRACE(target.name);
        const qlx::Dictionary model = qlx::subtitles::modelOf(cueWith(row.feature, target.target));
        // A region is one of the file's head.
        const std::string head =
            row.feature != CueFeature::Region ? std::string()
            : target.target == CueTarget::WebVtt
                ? R"("webvtt":{"title":"","header":[],"blocks":["REGION\nid:r"]},)"
                : R"("ttml":{"kind":"imsc","language":"","title":"","description":"","copyright":"","cellColumns":32,)"
                  R"("cellRows":15,"regions":[{"name":"r","attributes":[{"name":"tts:origin","value":"10% 10%"},)"
                  R"({"name":"tts:extent","value":"80% 80%"}]}]},)";
        const std::string file = folder.write("in.json", R"({"schema":"qlxcc/subtitles/1",)" + head + R"("cues":[)" +
                                                             jsonText(model) + "]}");
        std::vector<std::string> arguments{"convert", file, "-o", folder.path(target.name)};
        arguments.insert(arguments.end(), target.more.begin(), target.more.end());
        const ToolResult result = runTool(arguments);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        const std::vector<Cue> cues = readWritten(folder.path(target.name));
        ASSERT_FALSE(cues.empty());
        EXPECT_EQ(has(cues, row.feature, target.target), isCarried(row, target.target)) << result.err;
    }
}

TEST_P(Carried, IsNothingThatAPlainCueHas) {
    const TemporaryFolder folder;
    const std::string file = folder.write("in.json", R"({"schema":"qlxcc/subtitles/1","cues":[)" +
                                                         jsonText(qlx::subtitles::modelOf(plainCue())) + "]}");
    for (const Target& target : kTargets) {
        SCOPED_TRACE(target.name);
        std::vector<std::string> arguments{"convert", file, "-o", folder.path(target.name)};
        arguments.insert(arguments.end(), target.more.begin(), target.more.end());
        ASSERT_EQ(runTool(arguments).exitCode, 0);
        const std::vector<Cue> cues = readWritten(folder.path(target.name));
        ASSERT_EQ(cues.size(), 1U);
        EXPECT_FALSE(has(cues, GetParam().feature, target.target));
    }
}

INSTANTIATE_TEST_SUITE_P(Table, Carried, testing::ValuesIn(kCarriedTable), [](const auto& row) {
    std::string name(row.param.name);
    std::erase_if(name, [](char character) { return std::isalpha(static_cast<unsigned char>(character)) == 0; });
    return name;
});

}  // namespace
}  // namespace carried_tests
