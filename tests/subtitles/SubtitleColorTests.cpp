#include "subtitles/SubtitleColor.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>

#include <gtest/gtest.h>

#include <array>
#include <string>

namespace qlx::subtitles {
namespace {

constexpr std::int32_t kRed = 1;
constexpr std::int32_t kGreen = 2;
constexpr std::int32_t kYellow = 3;
constexpr std::int32_t kBlue = 4;
constexpr std::int32_t kMagenta = 5;
constexpr std::int32_t kCyan = 6;

TEST(SubtitleColor, ReadsBytesOfTwoLowerCaseDigits) {
    EXPECT_EQ(hexByte("00"), 0);
    EXPECT_EQ(hexByte("0a"), 10);
    EXPECT_EQ(hexByte("7f"), 127);
    EXPECT_EQ(hexByte("ff"), 255);
}

TEST(SubtitleColor, CountsAnyOtherCharacterAsDigitZero) {
    EXPECT_EQ(hexByte("zz"), 0);
    EXPECT_EQ(hexByte("1z"), 16);
    EXPECT_EQ(hexByte("z1"), 1);
    EXPECT_EQ(hexByte("FF"), 0);
    EXPECT_EQ(hexByte("/:"), 0);  // the neighbours of '0' and '9'
    EXPECT_EQ(hexByte("`g"), 0);  // the neighbours of 'a' and 'f'
    EXPECT_EQ(hexByte("\xC3\xA9"
                      "1"),
              1);
    EXPECT_EQ(hexByte("1\xC3\xA9"), 16);
}

TEST(SubtitleColor, ReadsNoByteFromAnotherLength) {
    EXPECT_EQ(hexByte(""), 0);
    EXPECT_EQ(hexByte("f"), 0);
    EXPECT_EQ(hexByte("fff"), 0);
    EXPECT_EQ(hexByte("ffffffffffff"), 0);
    EXPECT_EQ(hexByte("\xF0\x9F\x98\x80"
                      "1"),
              0);  // three code units
}

TEST(SubtitleColor, ClassifiesEveryCombinationOfComponents) {
    EXPECT_EQ(colorFromText("#800000"), kRed);
    EXPECT_EQ(colorFromText("#008000"), kGreen);
    EXPECT_EQ(colorFromText("#808000"), kYellow);
    EXPECT_EQ(colorFromText("#000080"), kBlue);
    EXPECT_EQ(colorFromText("#800080"), kMagenta);
    EXPECT_EQ(colorFromText("#008080"), kCyan);
    EXPECT_EQ(colorFromText("#808080"), kWhite);
    EXPECT_EQ(colorFromText("#000000"), kWhite);
}

TEST(SubtitleColor, TakesComponentsFrom128AsHigh) {
    EXPECT_EQ(colorFromText("#7F7F80"), kBlue);
    EXPECT_EQ(colorFromText("#807F7F"), kRed);
    EXPECT_EQ(colorFromText("#7F807F"), kGreen);
    EXPECT_EQ(colorFromText("#7F7F7F"), kWhite);
    EXPECT_EQ(colorFromText("rgb(127,128,127)"), kGreen);
}

TEST(SubtitleColor, ReadsHashForms) {
    EXPECT_EQ(colorFromText("#FF0000"), kRed);
    EXPECT_EQ(colorFromText("#ff0000"), kRed);
    EXPECT_EQ(colorFromText("#00FfFf"), kCyan);
    EXPECT_EQ(colorFromText("#FF0000, and anything behind it"), kRed);
    EXPECT_EQ(colorFromText("#zz00FF"), kBlue);
    EXPECT_EQ(colorFromText("#FF000"), kWhite);
    EXPECT_EQ(colorFromText("#fff"), kWhite);
    EXPECT_EQ(colorFromText("#"), kWhite);
    EXPECT_EQ(colorFromText("##FF000"), kGreen);  // 0f, f0, 00
}

TEST(SubtitleColor, CountsUTF16CodeUnits) {
    // '#', e acute, 0, 0, 0, 8, 0: seven characters in eight bytes; the blue byte is 80.
    EXPECT_EQ(colorFromText("#\xC3\xA9"
                            "00080"),
              kBlue);
    // Six characters in seven bytes.
    EXPECT_EQ(colorFromText("#FF00\xC3\xA9"), kWhite);
    // A character outside the basic plane counts twice.
    EXPECT_EQ(colorFromText("#FF00\xF0\x9F\x98\x80"), kRed);
    EXPECT_EQ(colorFromText("FF0\xF0\x9F\x98\x80"
                            "0"),
              kRed);
    EXPECT_EQ(colorFromText("#FF0\xF0\x9F\x98\x80"), kWhite);
}

TEST(SubtitleColor, ReadsAnySixCharactersAsBareHexadecimal) {
    EXPECT_EQ(colorFromText("00ff00"), kGreen);
    EXPECT_EQ(colorFromText("FF00FF"), kMagenta);
    EXPECT_EQ(colorFromText("yellow"), kWhite);   // 0e, 00, 00
    EXPECT_EQ(colorFromText("fabric"), kYellow);  // fa, b0, 0c
    EXPECT_EQ(colorFromText("ff000"), kWhite);
    EXPECT_EQ(colorFromText("ff00000"), kWhite);
}

TEST(SubtitleColor, ReadsRGB) {
    EXPECT_EQ(colorFromText("rgb(200, 10, 10)"), kRed);
    EXPECT_EQ(colorFromText("RGB(10,200,10)"), kGreen);
    EXPECT_EQ(colorFromText("rgb(10,10,200"), kBlue);
    EXPECT_EQ(colorFromText("rgb( 200x , 200 y, 3)"), kYellow);
    EXPECT_EQ(colorFromText("rgb(200,,200)"), kMagenta);
    EXPECT_EQ(colorFromText("rgb(-200,200,200)"), kCyan);
    EXPECT_EQ(colorFromText("rgb(99999999999999999999,0,0)"), kRed);
    EXPECT_EQ(colorFromText("rgb(rgb(200,0,0))"), kRed);
    EXPECT_EQ(colorFromText("rgb(,,)"), kWhite);
    EXPECT_EQ(colorFromText("rgb(a,b,c)"), kWhite);
}

TEST(SubtitleColor, ReadsRGBAWithoutAlpha) {
    EXPECT_EQ(colorFromText("rgba(0,0,255,0.5)"), kBlue);
    EXPECT_EQ(colorFromText("RGBA(255, 0, 255, 0)"), kMagenta);
    EXPECT_EQ(colorFromText("rgba(200,0,0,200)"), kRed);
}

TEST(SubtitleColor, NeedsTheExactNumberOfComponents) {
    EXPECT_EQ(colorFromText("rgb(200,10)"), kWhite);
    EXPECT_EQ(colorFromText("rgb(200,10,10,1)"), kWhite);
    EXPECT_EQ(colorFromText("rgba(200,10,10)"), kWhite);
    EXPECT_EQ(colorFromText("rgba(200,10,10,1,1)"), kWhite);
    EXPECT_EQ(colorFromText("rgb("), kWhite);
    EXPECT_EQ(colorFromText("rgb ("), kWhite);
}

TEST(SubtitleColor, IsWhiteForAnythingElse) {
    for (const char* text : {"", "red", "black", "#FFF", " #FF0000", "0xff0000", "rgb 200,0,0", "\xFF\xFF"}) {
        EXPECT_EQ(colorFromText(text), kWhite) << text;
    }
    EXPECT_EQ(colorFromText(std::string(1'000'000, 'f')), kWhite);
    EXPECT_EQ(colorFromText("rgb(" + std::string(1'000'000, ',')), kWhite);
}

TEST(SubtitleColor, DisplaysEveryConstant) {
    EXPECT_EQ(displayColor(1), (Color{1, 1, 0, 0}));
    EXPECT_EQ(displayColor(2), (Color{2, 0, 1, 0}));
    EXPECT_EQ(displayColor(3), (Color{3, 1, 1, 0}));
    EXPECT_EQ(displayColor(4), (Color{4, 0, 0, 1}));
    EXPECT_EQ(displayColor(5), (Color{5, 1, 0, 1}));
    EXPECT_EQ(displayColor(6), (Color{6, 0, 1, 1}));
    EXPECT_EQ(displayColor(7), (Color{7, 1, 1, 1}));
}

TEST(SubtitleColor, DisplaysNoConstantAsWhite) {
    const Color white{7, 1, 1, 1};
    EXPECT_EQ(displayColor(0), white);
    EXPECT_EQ(displayColor(8), white);
    EXPECT_EQ(displayColor(-1), white);
}

TEST(SubtitleColor, AnswersThroughTheTextLine) {
    const QLXSubtitleTextLine line;
    EXPECT_EQ(line.intWithHexByteString("1z"), 16);
    EXPECT_EQ(line.colorWithHexRGBValue("rgb(200, 10, 10)"), kRed);
    EXPECT_EQ(line.colorWithConstant(6), (Color{6, 0, 1, 1}));
}

}  // namespace
}  // namespace qlx::subtitles
