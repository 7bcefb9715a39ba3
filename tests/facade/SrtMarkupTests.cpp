// The markup of SRT lines, seen through the line that it makes.
#include "SubtitleStates.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using qlxtest::LineState;

LineState parsed(std::string_view line) {
    return qlxtest::stateOf(*QLXSubtitleTextLine::initWithSRTLine(line));
}

std::string repeated(std::string_view piece, std::size_t count) {
    std::string text;
    text.reserve(piece.size() * count);
    for (std::size_t index = 0; index < count; ++index) {
        text += piece;
    }
    return text;
}

TEST(SRTMarkup, KeepsPlainText) {
    EXPECT_EQ(parsed("Hello, world"), (LineState{.text = "Hello, world"}));
    EXPECT_EQ(parsed("1 > 0 \" \\an8 }"), (LineState{.text = "1 > 0 \" \\an8 }"}));
    EXPECT_EQ(parsed("a < b { c"), (LineState{.text = "a < b { c"}));
    EXPECT_EQ(parsed(""), (LineState{.text = ""}));
}

TEST(SRTMarkup, TrimsBlanksAndTabsBeforeItLooksForTags) {
    EXPECT_EQ(parsed(" \t Hello \t world\t "), (LineState{.text = "Hello \t world"}));
    EXPECT_EQ(parsed(" \t "), (LineState{.text = ""}));
    EXPECT_EQ(parsed("  <b> x </b>  "), (LineState{.text = " x ", .bold = true}));
    EXPECT_EQ(parsed("x <b></b>"), (LineState{.text = "x ", .bold = true}));
    EXPECT_EQ(parsed("{\\an8} x"), (LineState{.text = " x", .type = 8}));
}

TEST(SRTMarkup, TrimsNoOtherWhiteSpace) {
    EXPECT_EQ(parsed("\xC2\xA0x\xE3\x80\x80"), (LineState{.text = "\xC2\xA0x\xE3\x80\x80"}));
    EXPECT_EQ(parsed("\vx\f"), (LineState{.text = "\vx\f"}));
}

TEST(SRTMarkup, UnderstandsStyles) {
    EXPECT_EQ(parsed("<b>x</b>"), (LineState{.text = "x", .bold = true}));
    EXPECT_EQ(parsed("<i>x</i>"), (LineState{.text = "x", .italic = true}));
    EXPECT_EQ(parsed("<u>x</u>"), (LineState{.text = "x", .underline = true}));
    EXPECT_EQ(parsed("<b><i><u>x</u></i></b>"),
              (LineState{.text = "x", .bold = true, .underline = true, .italic = true}));
    EXPECT_EQ(parsed("a <b>b</b> c <b>d"), (LineState{.text = "a b c d", .bold = true}));
    EXPECT_EQ(parsed("<b>"), (LineState{.text = "", .bold = true}));
}

TEST(SRTMarkup, FindsTheOpeningStyleTagInLowerCaseOnly) {
    EXPECT_EQ(parsed("<B>x</B>"), (LineState{.text = "<B>x</B>"}));
    EXPECT_EQ(parsed("<I>x</I>"), (LineState{.text = "<I>x</I>"}));
    EXPECT_EQ(parsed("<U>x</U>"), (LineState{.text = "<U>x</U>"}));
    EXPECT_EQ(parsed("x</b>"), (LineState{.text = "x</b>"}));
    EXPECT_EQ(parsed("<b>x</B>"), (LineState{.text = "x", .bold = true}));
    EXPECT_EQ(parsed("<B>x</B> <b>y"), (LineState{.text = "x y", .bold = true}));
    EXPECT_EQ(parsed("<i>x</I>"), (LineState{.text = "x", .italic = true}));
    EXPECT_EQ(parsed("<u>x</U>"), (LineState{.text = "x", .underline = true}));
}

TEST(SRTMarkup, TakesOneStyleAfterTheOther) {
    // What comes together by a removal is seen by the later steps, not by the one that removed.
    EXPECT_EQ(parsed("<<b>b>x"), (LineState{.text = "<b>x", .bold = true}));
    EXPECT_EQ(parsed("<<b>/b>x"), (LineState{.text = "x", .bold = true}));
    EXPECT_EQ(parsed("<<b>i>x</i>"), (LineState{.text = "x", .bold = true, .italic = true}));
    EXPECT_EQ(parsed("<i<u>>x"), (LineState{.text = "<i>x", .underline = true}));
    EXPECT_EQ(parsed("{\\a<b>n8}x"), (LineState{.text = "x", .bold = true, .type = 8}));
}

TEST(SRTMarkup, KeepsOtherTags) {
    EXPECT_EQ(parsed("<s>x</s> <bold>y</bold> {\\pos(1,2)}"),
              (LineState{.text = "<s>x</s> <bold>y</bold> {\\pos(1,2)}"}));
    EXPECT_EQ(parsed("< b>x"), (LineState{.text = "< b>x"}));
}

TEST(SRTMarkup, UnderstandsFontColor) {
    EXPECT_EQ(parsed("<font color=\"#FF0000\">Alarm</font>"), (LineState{.text = "Alarm", .color = 1}));
    EXPECT_EQ(parsed("<font color=\"#FF0000\">Alarm"),
              (LineState{.text = "Alarm", .color = 1, .colorStaysOpen = true}));
    EXPECT_EQ(parsed("a <font color=\"rgb(0, 200, 0)\">b</font> c"), (LineState{.text = "a b c", .color = 2}));
    EXPECT_EQ(parsed("<font color=\"red\">x</font>"), (LineState{.text = "x"}));
    EXPECT_EQ(parsed("<font color=\"\">x"), (LineState{.text = "x", .colorStaysOpen = true}));
    EXPECT_EQ(parsed("x</font>"), (LineState{.text = "x"}));
}

TEST(SRTMarkup, ClosesFontInLowerCaseOnly) {
    EXPECT_EQ(parsed("<font color=\"#FF0000\">x</FONT>"),
              (LineState{.text = "x</FONT>", .color = 1, .colorStaysOpen = true}));
    EXPECT_EQ(parsed("<font color=\"#FF0000\">x</FONT>y</font>"), (LineState{.text = "xy", .color = 1}));
}

TEST(SRTMarkup, KeepsFontTagsThatDoNotMatch) {
    EXPECT_EQ(parsed("<FONT COLOR=\"#FF0000\">x</FONT>"), (LineState{.text = "<FONT COLOR=\"#FF0000\">x</FONT>"}));
    EXPECT_EQ(parsed("<font color='#FF0000'>x</font>"), (LineState{.text = "<font color='#FF0000'>x"}));
    EXPECT_EQ(parsed("<font color=\"#FF0000\" >x"), (LineState{.text = "<font color=\"#FF0000\" >x"}));
    EXPECT_EQ(parsed("<font face=\"a\" color=\"#FF0000\">x"),
              (LineState{.text = "<font face=\"a\" color=\"#FF0000\">x"}));
    EXPECT_EQ(parsed("\"><font color=\"#FF0000\""), (LineState{.text = "\"><font color=\"#FF0000\""}));
    EXPECT_EQ(parsed("<font color=\">x"), (LineState{.text = "<font color=\">x"}));
}

TEST(SRTMarkup, CapturesUpToTheLastClosingOfTheLine) {
    // The value is `#FF0000">a</font><font color="#00FF00`.
    EXPECT_EQ(parsed("<font color=\"#FF0000\">a</font><font color=\"#00FF00\">b</font>"),
              (LineState{.text = "b", .color = 1}));
    EXPECT_EQ(parsed("<font color=\"#FF0000\">say \"hi\">"),
              (LineState{.text = "", .color = 1, .colorStaysOpen = true}));
    EXPECT_EQ(parsed("<font color=\"#0000FF\"><line=\"5\">x"),
              (LineState{.text = "x", .color = 4, .colorStaysOpen = true}));
    EXPECT_EQ(parsed("<line=\"5\"><font color=\"#0000FF\">x"),
              (LineState{.text = "x", .color = 4, .row = 5, .colorStaysOpen = true}));
    EXPECT_EQ(parsed("<font color=\"#0000FF\">\">"), (LineState{.text = "", .color = 4, .colorStaysOpen = true}));
}

TEST(SRTMarkup, EndsACaptureAtEveryLineSeparator) {
    for (const std::string separator : {"\n", "\v", "\f", "\r", "\xC2\x85", "\xE2\x80\xA8", "\xE2\x80\xA9"}) {
        EXPECT_EQ(parsed("<font color=\"#00FF00\">a" + separator + "b\">c"),
                  (LineState{.text = "a" + separator + "b\">c", .color = 2, .colorStaysOpen = true}));
        EXPECT_EQ(parsed("<font color=\"#00FF00" + separator + "\">c"),
                  (LineState{.text = "<font color=\"#00FF00" + separator + "\">c"}));
        EXPECT_EQ(parsed("<line=\"7\">a" + separator + "b\">c"),
                  (LineState{.text = "a" + separator + "b\">c", .row = 7}));
    }
}

TEST(SRTMarkup, CapturesCharactersThatOnlyResembleSeparators) {
    for (const std::string character : {"\t", "\x0E", "\x1C", "\xC2\x84", "\xC3\x85", "\xE2\x80\xA7", "\xE2\x80\xAA",
                                        "\xE2\x81\xA8", "\x85", "\xE2"}) {
        EXPECT_EQ(parsed("<font color=\"#00FF00\">a" + character + "b\">c"),
                  (LineState{.text = "c", .color = 2, .colorStaysOpen = true}));
    }
}

TEST(SRTMarkup, GoesOnToAnOpeningBehindASeparator) {
    EXPECT_EQ(parsed("<font color=\"x\xE2\x80\xA8<font color=\"#0000FF\">y"),
              (LineState{.text = "<font color=\"x\xE2\x80\xA8y", .color = 4, .colorStaysOpen = true}));
    EXPECT_EQ(
        parsed("<font color=\"<font color=\"\f\f<font color=\"\v<font color=\"#0000FF\">y"),
        (LineState{.text = "<font color=\"<font color=\"\f\f<font color=\"\vy", .color = 4, .colorStaysOpen = true}));
    EXPECT_EQ(parsed("<line=\"1\f<line=\"2\">y"), (LineState{.text = "<line=\"1\fy", .row = 2}));
}

TEST(SRTMarkup, UnderstandsRows) {
    EXPECT_EQ(parsed("<line=\"5\">x"), (LineState{.text = "x", .row = 5}));
    EXPECT_EQ(parsed("x<line=\" 12 of 15\">y"), (LineState{.text = "xy", .row = 12}));
    EXPECT_EQ(parsed("<line=\"\">x"), (LineState{.text = "x"}));
    EXPECT_EQ(parsed("<line=\"5\">x\">y"), (LineState{.text = "y", .row = 5}));
    EXPECT_EQ(parsed("<line=\"-1\">x"), (LineState{.text = "x", .row = 0xFFFF'FFFF'FFFF'FFFF}));
    EXPECT_EQ(parsed("<line=\"99999999999999999999\">x"), (LineState{.text = "x", .row = 0x7FFF'FFFF'FFFF'FFFF}));
}

TEST(SRTMarkup, KeepsRowTagsThatDoNotMatch) {
    for (const char* line : {"<line=5>x", "<LINE=\"5\">x", "<line=\"5\" >x", "<line=\"5", "<line =\"5\">x"}) {
        EXPECT_EQ(parsed(line), (LineState{.text = line}));
    }
}

TEST(SRTMarkup, UnderstandsPositioningInEitherCase) {
    for (std::int32_t digit = 0; digit <= 9; ++digit) {
        const std::string number = std::to_string(digit);
        EXPECT_EQ(parsed("{\\an" + number + "}Top"), (LineState{.text = "Top", .type = digit}));
    }
    EXPECT_EQ(parsed("{\\AN8}Top"), (LineState{.text = "Top", .type = 8}));
    EXPECT_EQ(parsed("{\\aN8}Top"), (LineState{.text = "Top", .type = 8}));
    EXPECT_EQ(parsed("a {\\An3} b"), (LineState{.text = "a  b", .type = 3}));
    EXPECT_EQ(parsed("{{\\an8}}"), (LineState{.text = "{}", .type = 8}));
    EXPECT_EQ(parsed("{\\{\\an4}"), (LineState{.text = "{\\", .type = 4}));
}

TEST(SRTMarkup, HonoursOnePositioningTag) {
    EXPECT_EQ(parsed("{\\an8}{\\an2}x"), (LineState{.text = "{\\an2}x", .type = 8}));
    EXPECT_EQ(parsed("{\\an}{\\an10}{\\an2}x"), (LineState{.text = "{\\an}{\\an10}x", .type = 2}));
}

TEST(SRTMarkup, KeepsPositioningTagsThatDoNotMatch) {
    for (const char* line : {"{\\an}x", "{\\an10}x", "{\\an8", "{\\an", "{\\an8 }x", "{ \\an8}x", "{an8}x", "{\\anx}x",
                             "{\\an|8}x", "{\\aan8}x", "{/an8}x", "{\\an\xD9\xA3}x"}) {
        EXPECT_EQ(parsed(line), (LineState{.text = line}));
    }
}

TEST(SRTMarkup, TakesABarForALetterOnceThereIsAnOpening) {
    // The line must hold `{\an` somewhere, and the tag itself may then have bars in place of its letters.
    for (const char* line : {"{\\a|8}x", "{\\|n8}x", "{\\||8}x"}) {
        EXPECT_EQ(parsed(line), (LineState{.text = line}));
    }
    EXPECT_EQ(parsed("{\\an}{\\a|8}x"), (LineState{.text = "{\\an}x", .type = 8}));
    EXPECT_EQ(parsed("{\\AN}{\\|N9}x"), (LineState{.text = "{\\AN}x", .type = 9}));
    EXPECT_EQ(parsed("{\\||7}x{\\an8}"), (LineState{.text = "x{\\an8}", .type = 7}));
    EXPECT_EQ(parsed("{\\an|}{\\A|1}x"), (LineState{.text = "{\\an|}x", .type = 1}));
}

TEST(SRTMarkup, UnderstandsEverythingTogether) {
    EXPECT_EQ(
        parsed("{\\an9}<line=\"3\"><b><font color=\"#00FFFF\"><i><u>Na\xC3\xAFve</u></i></font></b>"),
        (LineState{
            .text = "Na\xC3\xAFve", .bold = true, .underline = true, .italic = true, .color = 6, .type = 9, .row = 3}));
}

TEST(SRTMarkup, KeepsBytesThatAreNoUTF8) {
    EXPECT_EQ(parsed("\xFF<b>\xC3"), (LineState{.text = "\xFF\xC3", .bold = true}));
    EXPECT_EQ(parsed(std::string_view("a\0<i>b", 6)), (LineState{.text = std::string("a\0b", 3), .italic = true}));
}

// A quadratic step would take minutes on these.
TEST(SRTMarkup, ReadsLongHostileLines) {
    constexpr std::size_t kSize = 1 << 20;
    const auto fill = [](std::string_view piece) { return repeated(piece, kSize / piece.size()); };
    for (const std::string& line :
         {fill("<font color=\""), fill("<font color=\"\f"), fill("<line=\""), fill("<line=\"\xE2\x80\xA8"),
          fill("{\\an"), fill("{\\an8"), fill("{"), fill("<"), fill("{\\an}{\\||"), fill("\">"), fill("<B>")}) {
        EXPECT_TRUE(parsed(line) == (LineState{.text = line})) << line.substr(0, 24);
    }
    EXPECT_TRUE(parsed(fill("<b>")) == (LineState{.text = "", .bold = true}));
    EXPECT_TRUE(parsed(fill("<font color=\"") + "\">") == (LineState{.text = "", .colorStaysOpen = true}));
    EXPECT_TRUE(parsed(fill("{\\an8") + "}") == (LineState{.text = fill("{\\an8").substr(5), .type = 8}));
    EXPECT_TRUE(parsed(fill("</font>")) == (LineState{.text = ""}));
}

}  // namespace
