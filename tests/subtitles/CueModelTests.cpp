// Cues as dictionaries that have all of them, and back: equal for any cue, and what a dictionary has wrong.
#include <qlx/subtitles/value.h>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace cue_model_tests {
namespace {

using namespace qlx::subtitles;
using qlx::Array;
using qlx::Dictionary;
using qlx::FindingCode;
using qlx::Findings;
using qlx::MediaTime;
using qlx::Value;
using qlx::screen::Color;

Dictionary timeValue(std::int64_t value, std::int32_t timescale, double seconds) {
    return {{"value", value}, {"timescale", timescale}, {"seconds", seconds}};
}

TEST(CueModel, IsWhatTheSchemaSays) {
    Cue cue;
    cue.number = 7;
    cue.identifier = "intro";
    cue.language = "de-AT";
    cue.region = "r1";
    cue.start = MediaTime::make(1000, 1000);
    cue.end = MediaTime::make(75, 30);
    cue.screenRows = 15;
    cue.screenColumns = 32;
    cue.box = Box{10, 12.5, 80, 60, BoxEdge::Middle};
    cue.properties = {{"vtt.size", "50%"}};
    Row row;
    row.number = 14;
    row.column = 3;
    row.anchor = 2;
    row.alignment = Alignment::Right;
    qlx::subtitles::Run run;
    run.text = "a";
    run.style = {.foreground = Color::Yellow, .background = Color::Blue, .isBold = true, .isItalic = true};
    run.style.isUnderlined = true;
    run.style.isFlashing = true;
    run.from = MediaTime::make(3, 2);
    run.properties = {{"vtt.v", "Mary"}, {"vtt.v", ""}};
    row.runs = {run, {"b", {}}};
    cue.rows = {row, Row{}};
    const Dictionary expected{
        {"number", 7U},
        {"id", "intro"},
        {"language", "de-AT"},
        {"region", "r1"},
        {"start", timeValue(1000, 1000, 1.0)},
        {"end", timeValue(75, 30, 2.5)},
        {"screenRows", 15U},
        {"screenColumns", 32U},
        {"box", Dictionary{{"left", 10.0}, {"top", 12.5}, {"width", 80.0}, {"height", 60.0}, {"edge", "middle"}}},
        {"properties", Array{Dictionary{{"name", "vtt.size"}, {"value", "50%"}}}},
        {"rows",
         Array{
             Dictionary{{"number", 14U},
                        {"column", 3U},
                        {"anchor", 2U},
                        {"alignment", "right"},
                        {"runs", Array{Dictionary{{"text", "a"},
                                                  {"color", "#ffff00"},
                                                  {"background", "#0000ff"},
                                                  {"bold", true},
                                                  {"italic", true},
                                                  {"underline", true},
                                                  {"flash", true},
                                                  {"from", timeValue(3, 2, 1.5)},
                                                  {"properties", Array{Dictionary{{"name", "vtt.v"}, {"value", "Mary"}},
                                                                       Dictionary{{"name", "vtt.v"}, {"value", ""}}}}},
                                       Dictionary{{"text", "b"}, {"color", "#ffffff"}}}}},
             Dictionary{{"alignment", "center"}, {"runs", Array{}}}}},
    };
    EXPECT_EQ(Value(modelOf(cue)).description(), Value(expected).description());
    EXPECT_TRUE(modelOf(cue) == expected);
    Findings findings;
    const auto again = cueOfModel(expected, &findings);
    ASSERT_TRUE(again);
    EXPECT_EQ(*again, cue);
    EXPECT_TRUE(findings.empty());
    EXPECT_TRUE(isModel(expected));
    EXPECT_FALSE(isModel(dictionaryOf(cue)));
}

class RandomCues {
public:
    explicit RandomCues(std::uint32_t seed) : _random(seed) {}

    Cue next() {
        Cue cue;
        cue.number = below(3) == 0 ? _random() : below(10);
        cue.start = MediaTime::make(static_cast<std::int64_t>(below(1'000'000)) - 1000, scale());
        cue.end = MediaTime::make(cue.start.value + static_cast<std::int64_t>(below(5000)), cue.start.timescale);
        cue.screenRows = static_cast<std::uint16_t>(below(65'536));
        cue.screenColumns = static_cast<std::uint16_t>(below(50));
        cue.identifier = text();
        cue.language = text();
        cue.region = text();
        cue.properties = properties();
        if (flag()) {
            cue.box = Box{static_cast<double>(below(1000)) / 8, -static_cast<double>(below(100)) / 3,
                          static_cast<double>(below(100)), 100, static_cast<BoxEdge>(below(3))};
        }
        for (std::uint64_t rows = below(4); rows > 0; --rows) {
            Row& row = cue.rows.emplace_back();
            row.number = below(3) == 0 ? _random() : below(25);
            row.anchor = static_cast<std::uint8_t>(below(256));
            row.alignment = static_cast<Alignment>(below(256));
            row.column = static_cast<std::uint16_t>(below(65'536));
            for (std::uint64_t runs = below(4); runs > 0; --runs) {
                Run& run = row.runs.emplace_back();
                run.text = text();
                run.style = {.foreground = color(), .background = std::nullopt, .isBold = flag(), .isItalic = flag()};
                run.style.isUnderlined = flag();
                run.style.isFlashing = flag();
                run.style.background = flag() ? std::optional(color()) : std::nullopt;
                run.from = flag() ? MediaTime::make(static_cast<std::int64_t>(below(10'000)), scale()) : MediaTime{};
                run.properties = properties();
            }
        }
        return cue;
    }

private:
    std::uint64_t below(std::uint64_t count) { return _random() % count; }
    bool flag() { return below(2) == 0; }
    Color color() { return static_cast<Color>(below(64)); }
    std::int32_t scale() {
        static constexpr std::int32_t kScales[] = {1, 25, 1000, 30'000, 90'000, 2'147'483'647};
        return kScales[below(std::size(kScales))];
    }
    std::string text() {
        static constexpr std::string_view kTexts[] = {"", "a", "\u00E9 \u05D0\n", "\"}],", " 1 ", "#ff0000"};
        return std::string(kTexts[below(std::size(kTexts))]);
    }
    Properties properties() {
        Properties all;
        for (std::uint64_t count = below(3); count > 0; --count) {
            all.push_back({text(), text()});
        }
        return all;
    }

    std::mt19937_64 _random;
};

TEST(CueModel, GivesAnyCueBack) {
    RandomCues cues(5);
    for (int count = 0; count < 10'000; ++count) {
        const Cue cue = cues.next();
        Findings findings;
        const auto again = cueOfModel(modelOf(cue), &findings);
        ASSERT_TRUE(again) << Value(modelOf(cue)).description();
        ASSERT_EQ(*again, cue) << Value(modelOf(cue)).description();
        ASSERT_TRUE(findings.empty());
    }
}

TEST(CueModel, SaysWhatItPassesOver) {
    struct Case {
        std::string_view name;
        Value value;
        std::vector<std::string> said;
    };
    const auto times = [](Dictionary more) {
        more.set("start", Dictionary{{"seconds", 1.0}});
        more.set("end", Dictionary{{"value", 5}, {"timescale", 2}});
        return Value(std::move(more));
    };
    const auto ofRun = [&](Dictionary run) {
        return times({{"rows", Array{Dictionary{{"runs", Array{Dictionary{{"text", "a"}}, std::move(run)}}}}}});
    };
    constexpr std::string_view kWrong = ": a value of another kind is passed over";
    constexpr std::string_view kUnknown = ": a key that means nothing is passed over";
    const auto at = [](std::string_view place, std::string_view what) {
        return std::vector{std::string(place) + std::string(what)};
    };
    const Case cases[] = {
        {"nothing", times({}), {}},
        {"a null", times({{"whatever", nullptr}}), {}},
        {"a key", times({{"whatever", 1}}), at("row 0, run 0", kUnknown)},
        {"a negative number", times({{"number", -1}}), at("row 0, run 0", kWrong)},
        {"a fraction", times({{"screenRows", 1.5}}), at("row 0, run 0", kWrong)},
        {"too great", times({{"screenRows", 65'536}}), at("row 0, run 0", kWrong)},
        {"a text", times({{"id", 1}}), at("row 0, run 0", kWrong)},
        {"a box", times({{"box", "left"}}), at("row 0, run 0", kWrong)},
        {"an edge", times({{"box", Dictionary{{"edge", "below"}}}}), at("row 0, run 0", kWrong)},
        {"a width", times({{"box", Dictionary{{"width", "10%"}}}}), at("row 0, run 0", kWrong)},
        {"a key of a box", times({{"box", Dictionary{{"right", 1}}}}), at("row 0, run 0", kUnknown)},
        {"rows", times({{"rows", "a"}}), at("row 0, run 0", kWrong)},
        {"a row", times({{"rows", Array{Dictionary{}, 1}}}), at("row 2, run 0", kWrong)},
        {"runs", times({{"rows", Array{Dictionary{{"runs", 1}}}}}), at("row 1, run 0", kWrong)},
        {"an alignment", times({{"rows", Array{Dictionary{{"alignment", "top"}}}}}), at("row 1, run 0", kWrong)},
        {"a run", times({{"rows", Array{Dictionary{{"runs", Array{nullptr}}}}}}), at("row 1, run 1", kWrong)},
        {"a flag", ofRun({{"bold", "yes"}}), at("row 1, run 2", kWrong)},
        {"a colour", ofRun({{"color", "colourful"}}), at("row 1, run 2", kWrong)},
        {"a time", ofRun({{"from", Dictionary{{"value", 1}, {"timescale", 0}}}}), at("row 1, run 2", kWrong)},
        {"a property", ofRun({{"properties", Array{Dictionary{{"name", "a"}}}}}), at("row 1, run 2", kWrong)},
        {"a style", ofRun({{"blink", true}}), at("row 1, run 2", kUnknown)},
    };
    for (const Case& each : cases) {
        Findings findings;
        const auto cue = cueOfModel(each.value, &findings, 9);
        ASSERT_TRUE(cue) << each.name;
        EXPECT_EQ(cue->start, MediaTime::make(1000, 1000));
        EXPECT_EQ(cue->end, MediaTime::make(5, 2));
        std::vector<std::string> said;
        for (const qlx::Finding& finding : findings) {
            EXPECT_EQ(finding.offset, 9U);
            said.push_back(finding.text());
        }
        EXPECT_EQ(said, each.said) << each.name;
    }
    const auto rounded = cueOfModel(ofRun({{"color", "#ff8000"}}));
    ASSERT_TRUE(rounded);
    EXPECT_EQ(valueOf(rounded->rows[0].runs[1].properties, properties::kColor) != nullptr, true);
}

TEST(CueModel, RefusesWhatHasNoTimes) {
    const Dictionary time{{"value", 1}, {"timescale", 1}};
    const Dictionary earlier{{"value", 0}, {"timescale", 1}};
    EXPECT_EQ(cueOfModel(Value(1)).error().code, FindingCode::SubtitleValueNotDictionary);
    EXPECT_EQ(cueOfModel(Dictionary{{"end", time}}).error().first, 1);
    EXPECT_EQ(cueOfModel(Dictionary{{"start", time}}).error().first, 2);
    EXPECT_EQ(cueOfModel(Dictionary{{"start", time}}).error().code, FindingCode::SubtitleValueTimeMissing);
    EXPECT_EQ(cueOfModel(Dictionary{{"start", time}, {"end", earlier}}).error().code,
              FindingCode::SubtitleValueEndNotLater);
    EXPECT_TRUE(cueOfModel(Dictionary{{"start", time}, {"end", time}}));
}

}  // namespace
}  // namespace cue_model_tests
