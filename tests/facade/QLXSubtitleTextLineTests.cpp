#include "SubtitleStates.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <gtest/gtest.h>

#include <limits>

namespace {

using qlx::Dictionary;
using qlx::Value;
using qlxtest::LineState;

class NamedApplication final : public qlx::Application {
public:
    std::string identifier() override { return "tv.example.playout"; }
};

std::shared_ptr<QLXSubtitleTextLine> lineFrom(const Dictionary& dictionary, std::uint64_t index = 0,
                                              std::uint64_t count = 1, std::optional<qlx::Error>* error = nullptr) {
    return QLXSubtitleTextLine::initWithJSONDictionary_lineIndex_lineCount_error(dictionary, index, count, error);
}

LineState stateFrom(const Dictionary& dictionary, std::uint64_t index = 0, std::uint64_t count = 1) {
    return qlxtest::stateOf(*lineFrom(dictionary, index, count));
}

TEST(QLXSubtitleTextLine, StartsWithItsDefaults) {
    EXPECT_EQ(qlxtest::stateOf(QLXSubtitleTextLine()),
              (LineState{std::nullopt, false, false, false, 7, 2, 0, 0, false}));
}

TEST(QLXSubtitleTextLine, KeepsEveryProperty) {
    QLXSubtitleTextLine line;
    line.setTextString("text");
    line.setBold(true);
    line.setUnderline(true);
    line.setItalic(true);
    line.setTextColor(-3);
    line.setAlignment(17);
    line.setPositioningType(std::numeric_limits<std::int32_t>::min());
    line.setVerticalPosition(std::numeric_limits<std::uint64_t>::max());
    line.setColorNeedsToBeAppliedToNextLine(true);
    EXPECT_EQ(qlxtest::stateOf(line),
              (LineState{"text", true, true, true, -3, 17, std::numeric_limits<std::int32_t>::min(),
                         std::numeric_limits<std::uint64_t>::max(), true}));
    line.setTextString(std::nullopt);
    EXPECT_EQ(line.textString(), std::nullopt);
}

TEST(QLXSubtitleTextLine, DescribesItselfByItsText) {
    QLXSubtitleTextLine line;
    EXPECT_EQ(line.description(), std::nullopt);
    line.setTextString("Hello");
    EXPECT_EQ(line.description(), "Hello");
}

TEST(QLXSubtitleTextLineFromJSON, TakesTextAlone) {
    EXPECT_EQ(stateFrom({{"text", "Hello"}}), (LineState{.text = "Hello", .row = 11}));
    EXPECT_EQ(stateFrom({{"text", ""}}), (LineState{.text = "", .row = 11}));
}

TEST(QLXSubtitleTextLineFromJSON, KeepsMarkupAndBlanksInTheText) {
    EXPECT_EQ(stateFrom({{"text", " <b>x</b> {\\an8}"}}), (LineState{.text = " <b>x</b> {\\an8}", .row = 11}));
}

TEST(QLXSubtitleTextLineFromJSON, TakesNumbersAsText) {
    EXPECT_EQ(stateFrom({{"text", 42}}), (LineState{.text = "42", .row = 11}));
    EXPECT_EQ(stateFrom({{"text", true}}), (LineState{.text = "1", .row = 11}));
}

TEST(QLXSubtitleTextLineFromJSON, ReportsMissingText) {
    NamedApplication application;
    const qlx::ScopedService<qlx::Application> service(application);
    const qlx::Error expected{
        "tv.example.playout",
        -50,
        {{"Description", "SubtitleTextLine Error: Missing text property in the JSON dictionary"}}};
    for (const Dictionary& dictionary : {Dictionary{}, Dictionary{{"color", "#FF0000"}}, Dictionary{{"text", nullptr}},
                                         Dictionary{{"text", qlx::Array{"Hello"}}}, Dictionary{{"text", Dictionary{}}},
                                         Dictionary{{"text", qlx::Data{0x41}}}, Dictionary{{"Text", "Hello"}}}) {
        std::optional<qlx::Error> error;
        EXPECT_EQ(lineFrom(dictionary, 0, 1, &error), nullptr);
        EXPECT_EQ(error, expected);
        EXPECT_EQ(lineFrom(dictionary), nullptr);
    }
}

TEST(QLXSubtitleTextLineFromJSON, LeavesTheErrorAloneOnSuccess) {
    std::optional<qlx::Error> error;
    ASSERT_NE(lineFrom({{"text", "x"}}, 0, 1, &error), nullptr);
    EXPECT_EQ(error, std::nullopt);
    error = qlx::Error{"before", 1, {}};
    ASSERT_NE(lineFrom({{"text", "x"}}, 0, 1, &error), nullptr);
    EXPECT_EQ(error, (qlx::Error{"before", 1, {}}));
}

TEST(QLXSubtitleTextLineFromJSON, TakesColor) {
    EXPECT_EQ(stateFrom({{"text", "x"}, {"color", "rgb(200, 10, 10)"}}),
              (LineState{.text = "x", .color = 1, .row = 11}));
    EXPECT_EQ(stateFrom({{"text", "x"}, {"color", "green"}}), (LineState{.text = "x", .row = 11}));
    EXPECT_EQ(stateFrom({{"text", "x"}, {"color", 8000}}), (LineState{.text = "x", .row = 11}));
    EXPECT_EQ(stateFrom({{"text", "x"}, {"color", 800080}}), (LineState{.text = "x", .color = 5, .row = 11}));
    EXPECT_EQ(stateFrom({{"text", "x"}, {"color", nullptr}}), (LineState{.text = "x", .row = 11}));
    EXPECT_EQ(stateFrom({{"text", "x"}, {"color", qlx::Array{}}}), (LineState{.text = "x", .row = 11}));
}

TEST(QLXSubtitleTextLineFromJSON, TakesAlignmentInEitherCase) {
    const auto alignment = [](const Value& name) { return stateFrom({{"text", "x"}, {"alignment", name}}).alignment; };
    EXPECT_EQ(alignment("unchanged"), 0);
    EXPECT_EQ(alignment("left"), 1);
    EXPECT_EQ(alignment("center"), 2);
    EXPECT_EQ(alignment("right"), 3);
    EXPECT_EQ(alignment("LEFT"), 1);
    EXPECT_EQ(alignment("Unchanged"), 0);
    EXPECT_EQ(alignment("centre"), 2);
    EXPECT_EQ(alignment(" left"), 2);
    EXPECT_EQ(alignment(""), 2);
    EXPECT_EQ(alignment(1), 2);
    EXPECT_EQ(alignment(nullptr), 2);
}

TEST(QLXSubtitleTextLineFromJSON, TakesRowsBelowTwelve) {
    const auto row = [](const Value& position) {
        return stateFrom({{"text", "x"}, {"vertical_position", position}}).row;
    };
    EXPECT_EQ(row(0), 0U);
    EXPECT_EQ(row(1), 1U);
    EXPECT_EQ(row(11), 11U);
    EXPECT_EQ(row(12), 0U);
    EXPECT_EQ(row(std::numeric_limits<std::uint64_t>::max()), 0U);
    EXPECT_EQ(row(-1), 0U);
    EXPECT_EQ(row(7.9), 7U);
    EXPECT_EQ(row("5 rows"), 5U);
    EXPECT_EQ(row(true), 1U);
    EXPECT_EQ(row(qlx::Array{3}), 0U);
    EXPECT_EQ(row(nullptr), 11U);
}

TEST(QLXSubtitleTextLineFromJSON, PlacesLinesByTheirNumber) {
    const auto row = [](std::uint64_t index, std::uint64_t count) {
        return stateFrom({{"text", "x"}}, index, count).row;
    };
    EXPECT_EQ(row(0, 0), 11U);
    EXPECT_EQ(row(5, 1), 11U);
    EXPECT_EQ(row(0, 2), 10U);
    EXPECT_EQ(row(1, 2), 11U);
    EXPECT_EQ(row(0, 3), 9U);
    EXPECT_EQ(row(2, 3), 11U);
    EXPECT_EQ(row(0, 12), 0U);
    EXPECT_EQ(row(0, 13), 0xFFFF'FFFF'FFFF'FFFFU);
    EXPECT_EQ(row(12, 13), 11U);
}

TEST(QLXSubtitleTextLine, WritesTextAndAlignmentAsJSON) {
    QLXSubtitleTextLine line;
    EXPECT_EQ(line.JSONDictionary(), (Dictionary{{"alignment", "center"}}));
    line.setTextString("Hello");
    line.setTextColor(1);
    line.setBold(true);
    line.setVerticalPosition(5);
    line.setPositioningType(8);
    const auto expected = [](const char* alignment) { return Dictionary{{"text", "Hello"}, {"alignment", alignment}}; };
    line.setAlignment(0);
    EXPECT_EQ(line.JSONDictionary(), expected("unchanged"));
    line.setAlignment(1);
    EXPECT_EQ(line.JSONDictionary(), expected("left"));
    line.setAlignment(2);
    EXPECT_EQ(line.JSONDictionary(), expected("center"));
    line.setAlignment(3);
    EXPECT_EQ(line.JSONDictionary(), expected("right"));
    line.setAlignment(4);
    EXPECT_EQ(line.JSONDictionary(), (Dictionary{{"text", "Hello"}}));
    line.setAlignment(-1);
    EXPECT_EQ(line.JSONDictionary(), (Dictionary{{"text", "Hello"}}));
}

TEST(QLXSubtitleTextLine, NamesItsJSONKeys) {
    EXPECT_EQ(QLXSubtitleTextLineTextKey, "text");
    EXPECT_EQ(QLXSubtitleTextLineColorKey, "color");
    EXPECT_EQ(QLXSubtitleTextLineAlignmentKey, "alignment");
    EXPECT_EQ(QLXSubtitleTextLineVerticalPositionKey, "vertical_position");
}

Dictionary cyanAttributes() {
    return {{"foregroundColor", Dictionary{{"constant", 6}, {"red", 0.0}, {"green", 1.0}, {"blue", 1.0}}},
            {"fontName", "Helvetica"},
            {"fontSize", 16.0},
            {"alignment", "center"}};
}

TEST(QLXSubtitleTextLine, GivesDisplayAttributes) {
    QLXSubtitleTextLine line;
    line.setTextColor(6);
    line.setBold(true);
    line.setItalic(true);
    line.setUnderline(true);
    line.setAlignment(1);
    EXPECT_EQ(line.stringAttributes(), cyanAttributes());
}

TEST(QLXSubtitleTextLine, GivesAnAttributedString) {
    QLXSubtitleTextLine line;
    line.setTextColor(6);
    EXPECT_EQ(line.attributedString(), qlx::AttributedString("", cyanAttributes()));
    line.setTextString("Hello");
    EXPECT_EQ(line.attributedString(), qlx::AttributedString("Hello", cyanAttributes()));
}

TEST(QLXSubtitleTextLine, ReadsThePositioningDigit) {
    const QLXSubtitleTextLine line;
    EXPECT_EQ(line.positionWithPositioningTag("8"), 8);
    EXPECT_EQ(line.positionWithPositioningTag(" 12x"), 12);
    EXPECT_EQ(line.positionWithPositioningTag("-4"), -4);
    EXPECT_EQ(line.positionWithPositioningTag("an8"), 0);
    EXPECT_EQ(line.positionWithPositioningTag(""), 0);
    EXPECT_EQ(line.positionWithPositioningTag("4294967298"), 2);  // the low 32 bits
}

}  // namespace
