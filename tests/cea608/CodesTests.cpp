// The codes of CEA-608 both ways, their characters and their names.
#include <qlx/cea608/codes.h>

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace qlx::cea608;
namespace screen = qlx::screen;
using screen::Color;
using screen::Opacity;

std::string bytesOf(const std::optional<Pair>& pair) {
    if (!pair) {
        return "none";
    }
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const unsigned byte : {pair->first, pair->second}) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text;
}

/// Whether the pair has this meaning, and the meaning this pair; with either data channel.
testing::AssertionResult means(unsigned pair, Code code) {
    const auto first = static_cast<std::uint8_t>(pair >> 8U);
    const auto second = static_cast<std::uint8_t>(pair & 0xFFU);
    // Parity bits change nothing.
    const bool isRead = codeOf(first, second) == code && codeOf(first | 0x80U, second | 0x80U) == code;
    const bool isWritten = pairOf(code) == Pair{first, second};
    code.channel = 2;
    const bool isReadInSecond = codeOf(first | 8U, second) == code;
    const bool isWrittenInSecond = pairOf(code) == Pair{static_cast<std::uint8_t>(first | 8U), second};
    if (isRead && isWritten && isReadInSecond && isWrittenInSecond) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << std::hex << pair << ": read " << isRead << isReadInSecond << ", written "
                                       << isWritten << isWrittenInSecond;
}

TEST(Codes, OfControlStandFrom1420On) {
    using enum Control;
    const std::vector<std::pair<unsigned, Control>> controls{{0x20, ResumeCaptionLoading},
                                                             {0x21, Backspace},
                                                             {0x22, AlarmOff},
                                                             {0x23, AlarmOn},
                                                             {0x24, DeleteToEndOfRow},
                                                             {0x25, RollUp2},
                                                             {0x26, RollUp3},
                                                             {0x27, RollUp4},
                                                             {0x28, FlashOn},
                                                             {0x29, ResumeDirectCaptioning},
                                                             {0x2A, TextRestart},
                                                             {0x2B, ResumeTextDisplay},
                                                             {0x2C, EraseDisplayedMemory},
                                                             {0x2D, CarriageReturn},
                                                             {0x2E, EraseNonDisplayedMemory},
                                                             {0x2F, EndOfCaption}};
    for (const auto& [second, control] : controls) {
        EXPECT_TRUE(means(0x1400 | second, controlCode(control)));
        EXPECT_TRUE(means(0x1500 | second, controlCode(control, 1, true)));
    }
}

TEST(Codes, OfPreamblesHaveRowsAndStyles) {
    // 47 CFR 15.119: the two bytes of a white preamble without an indent, of the rows 1 to 15.
    constexpr std::array<unsigned, 15> kRowCodes{0x1140, 0x1160, 0x1240, 0x1260, 0x1540, 0x1560, 0x1640, 0x1660,
                                                 0x1740, 0x1760, 0x1040, 0x1340, 0x1360, 0x1440, 0x1460};
    constexpr std::array<Color, 7> kInOrder{Color::White, Color::Green,  Color::Blue,   Color::Cyan,
                                            Color::Red,   Color::Yellow, Color::Magenta};
    for (std::size_t index = 0; index < kRowCodes.size(); ++index) {
        const auto row = static_cast<std::uint8_t>(index + 1);
        for (unsigned underline = 0; underline < 2; ++underline) {
            Code code{.kind = CodeKind::Preamble, .row = row, .isUnderlined = underline != 0};
            for (unsigned style = 0; style < kInOrder.size(); ++style) {
                code.color = kInOrder[style];
                EXPECT_TRUE(means(kRowCodes[index] | style << 1U | underline, code));
            }
            code.color = Color::White;
            code.isItalic = true;
            EXPECT_TRUE(means(kRowCodes[index] | 0x0EU | underline, code));
            code = preamble(row, 0);
            code.isUnderlined = underline != 0;
            for (unsigned indent = 0; indent < 8; ++indent) {
                code.columns = static_cast<std::uint8_t>(4 * indent);
                EXPECT_TRUE(means(kRowCodes[index] | 0x10U | indent << 1U | underline, code));
            }
        }
    }
}

TEST(Codes, OfStylesAndTabs) {
    for (unsigned underline = 0; underline < 2; ++underline) {
        Code code{.kind = CodeKind::MidRow, .isUnderlined = underline != 0};
        EXPECT_TRUE(means(0x1120 | underline, code));
        code.color = Color::Red;
        EXPECT_TRUE(means(0x1128 | underline, code));
        code.color = Color::White;
        code.isItalic = true;
        EXPECT_TRUE(means(0x112E | underline, code));
        EXPECT_TRUE(means(0x172E | underline,
                          {.kind = CodeKind::Foreground, .color = Color::Black, .isUnderlined = underline != 0}));
    }
    EXPECT_TRUE(means(0x1020, {.kind = CodeKind::Background}));
    EXPECT_TRUE(means(0x1023, {.kind = CodeKind::Background, .color = Color::Green, .opacity = Opacity::Translucent}));
    EXPECT_TRUE(means(0x102E, {.kind = CodeKind::Background, .color = Color::Black}));
    EXPECT_TRUE(means(0x172D, {.kind = CodeKind::Background, .color = Color::Black, .opacity = Opacity::Transparent}));
    for (std::uint8_t columns = 1; columns <= 3; ++columns) {
        EXPECT_TRUE(means(0x1720U + columns, {.kind = CodeKind::Tab, .columns = columns}));
    }
}

TEST(Codes, OfCharacters) {
    EXPECT_TRUE(means(0x1130, {.kind = CodeKind::Special, .character = {CharacterSet::Special, 0x30}}));
    EXPECT_TRUE(means(0x1220, {.kind = CodeKind::Extended, .character = {CharacterSet::SpanishFrench, 0x20}}));
    EXPECT_TRUE(means(0x133F, {.kind = CodeKind::Extended, .character = {CharacterSet::PortugueseGerman, 0x3F}}));
    EXPECT_EQ(codeOf(0x41, 0x42).kind, CodeKind::Text);
    EXPECT_EQ(codeOf(0xC1, 0x80).kind, CodeKind::Text);
    EXPECT_EQ(codeOf(0x80, 0x80).kind, CodeKind::Null);
    EXPECT_EQ(codeOf(0x01, 0x03).kind, CodeKind::ExtendedData);
    EXPECT_EQ(codeOf(0x0F, 0x03).kind, CodeKind::ExtendedData);
    EXPECT_EQ(codeOf(0x00, 0x41).kind, CodeKind::Unknown);
}

TEST(Codes, GoBothWaysWhereverTheyMeanSomething) {
    std::map<CodeKind, unsigned> counts;
    for (unsigned first = 0; first < 128; ++first) {
        for (unsigned second = 0; second < 128; ++second) {
            const Pair pair{static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second)};
            const Code code = codeOf(pair.first, pair.second);
            ++counts[code.kind];
            EXPECT_EQ(pairOf(code), code.kind >= CodeKind::Control ? std::optional(pair) : std::nullopt)
                << first << " " << second;
        }
    }
    // Two channels of: 16 controls of two fields, 15 rows of 32, 16 mid-row codes, 16 backgrounds and the transparent one.
    EXPECT_EQ(counts[CodeKind::Control], 64U);
    EXPECT_EQ(counts[CodeKind::Preamble], 960U);
    EXPECT_EQ(counts[CodeKind::MidRow], 32U);
    EXPECT_EQ(counts[CodeKind::Background], 34U);
    EXPECT_EQ(counts[CodeKind::Foreground], 4U);
    EXPECT_EQ(counts[CodeKind::Tab], 6U);
    EXPECT_EQ(counts[CodeKind::Special], 32U);
    EXPECT_EQ(counts[CodeKind::Extended], 128U);
}

TEST(Codes, HaveNoPairForWhatCannotBeSaid) {
    EXPECT_EQ(bytesOf(pairOf(preamble(0, 0))), "none");
    EXPECT_EQ(bytesOf(pairOf(preamble(16, 0))), "none");
    EXPECT_EQ(bytesOf(pairOf(preamble(15, 2))), "none");
    EXPECT_EQ(bytesOf(pairOf(preamble(15, 32))), "none");
    EXPECT_EQ(bytesOf(pairOf(preamble(15, 28))), "147e");
    EXPECT_EQ(bytesOf(pairOf(preamble(15, 28, 2))), "1c7e");
    EXPECT_EQ(bytesOf(pairOf(preamble(15, 28, 3))), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::MidRow, .color = Color::Black})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::MidRow, .color = screen::colorOf(1, 1, 1)})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Background, .opacity = Opacity::Flash})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Background, .opacity = Opacity::Transparent})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Tab, .columns = 4})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Tab})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Special})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Extended, .character = {CharacterSet::Special, 0x30}})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Extended, .character = {CharacterSet::SpanishFrench, 0x40}})), "none");
    EXPECT_EQ(bytesOf(pairOf({.kind = CodeKind::Text})), "none");
    EXPECT_EQ(withOddParity(Pair{0x14, 0x2E}), (Pair{0x94, 0xAE}));
    EXPECT_EQ(withOddParity(Pair{}), kNullPair);
}

TEST(CaptionCharacters, HaveFourSets) {
    const auto text = [](CharacterSet set, unsigned first, unsigned last) {
        std::u32string characters;
        for (unsigned code = first; code <= last; ++code) {
            characters += characterOf(set, static_cast<std::uint8_t>(code)).value_or(U'?');
        }
        return characters;
    };
    // CTA-608-E: the basic set is ASCII but for ten places.
    EXPECT_EQ(text(CharacterSet::Basic, 0x20, 0x3F), U" !\"#$%&'()á+,-./0123456789:;<=>?");
    EXPECT_EQ(text(CharacterSet::Basic, 0x40, 0x5F), U"@ABCDEFGHIJKLMNOPQRSTUVWXYZ[é]íó");
    EXPECT_EQ(text(CharacterSet::Basic, 0x60, 0x7F), U"úabcdefghijklmnopqrstuvwxyzç÷Ññ█");
    EXPECT_EQ(text(CharacterSet::Special, 0x30, 0x38), U"®°½¿™¢£♪à");
    EXPECT_EQ(characterOf(CharacterSet::Special, 0x39), kTransparentSpace);
    EXPECT_EQ(text(CharacterSet::Special, 0x3A, 0x3F), U"èâêîôû");
    EXPECT_EQ(text(CharacterSet::SpanishFrench, 0x20, 0x3F), U"ÁÉÓÚÜü‘¡*'—©℠•“”ÀÂÇÈÊËëÎÏïÔÙùÛ«»");
    EXPECT_EQ(text(CharacterSet::PortugueseGerman, 0x20, 0x3F), U"ÃãÍÌìÒòÕõ{}\\^_|~ÄäÖöß¥¤¦ÅåØø┌┐└┘");
    for (const CharacterSet set : {CharacterSet::Basic, CharacterSet::Special, CharacterSet::SpanishFrench}) {
        EXPECT_EQ(characterOf(set, 0x1F), std::nullopt);
        EXPECT_EQ(characterOf(set, 0x80), std::nullopt);
    }
    EXPECT_EQ(characterOf(CharacterSet::Special, 0x2F), std::nullopt);
    EXPECT_EQ(characterOf(CharacterSet::SpanishFrench, 0x40), std::nullopt);
}

TEST(CaptionCharacters, AreFoundInTheFirstSetThatHasThem) {
    std::set<char32_t> seen;
    for (std::size_t index = 0; index < kCharacters.size(); ++index) {
        const auto set = static_cast<CharacterSet>(index);
        for (unsigned code = 0x20; code < 0x80; ++code) {
            const auto character = characterOf(set, static_cast<std::uint8_t>(code));
            if (character && seen.insert(*character).second) {
                EXPECT_EQ(characterCode(*character), (CharacterCode{set, static_cast<std::uint8_t>(code)}));
            }
        }
    }
    // The apostrophe stands in two sets.
    EXPECT_EQ(characterCode(U'\''), (CharacterCode{CharacterSet::Basic, 0x27}));
    EXPECT_EQ(characterCode(U'*'), (CharacterCode{CharacterSet::SpanishFrench, 0x28}));
    EXPECT_EQ(characterCode(U'\u0416'), std::nullopt);
}

TEST(PairNames, FollowTheStandard) {
    const std::vector<std::pair<unsigned, std::string>> names{
        {0x8080, "null"},
        {0x0000, "nothing"},
        {0x9420, "resume caption loading"},
        {0x1C2F, "end of caption (channel 2)"},
        {0x152C, "erase displayed memory"},
        {0x9723, "tab offset 3"},
        {0x91A2, "mid-row code"},
        {0x1140, "preamble row 1"},
        {0x1040, "preamble row 11"},
        {0x1470, "preamble row 15"},
        {0x1770, "preamble row 10"},
        {0x1130, "special character \"\u00AE\""},
        {0x1220, "extended character \"\u00C1\""},
        {0x1320, "extended character \"\u00C3\""},
        {0x4869, "text \"Hi\""},
        {0x4880, "text \"H\""},
        {0x2A5C, "text \"\u00E1\u00E9\""},
        {0x0103, "extended data services"},
        {0x1400, "unknown control code"},
        {0x1060, "unknown control code"},
        {0x1137, "special character \"\u266A\""},
        {0x1A2E, "extended character \"\u201C\" (channel 2)"},
        {0x102A, "background colour"},
        {0x172D, "foreground or background attribute"},
        {0x172F, "foreground or background attribute"},
        {0x1724, "unknown control code"},
        {0x8041, "unknown"},
    };
    for (const auto& [pair, name] : names) {
        EXPECT_EQ(nameOfPair(static_cast<std::uint8_t>(pair >> 8U), static_cast<std::uint8_t>(pair)), name)
            << std::hex << pair;
    }
}

// Extended data are in field 2 only (CTA-608-E, B.11.5 and E.9). In field 1 a first byte of 01 to 0F is passed over alone,
// and the second one is read as it would be (47 CFR 15.119 (i)(1)).
TEST(PairNames, KnowExtendedDataOfFieldTwoOnly) {
    const std::vector<std::tuple<unsigned, std::string, std::string>> names{
        {0x0103, "unknown codes", "extended data services"},
        {0x0141, "unknown code, text \"A\"", "extended data services"},
        {0x8F1D, "unknown codes", "extended data services"},
        {0x0F80, "unknown code", "extended data services"},
        {0x0E7F, "unknown code, text \"\u2588\"", "extended data services"},
        {0x1003, "unknown control code", "unknown control code"},
        {0x9420, "resume caption loading", "resume caption loading"},
        {0x8080, "null", "null"},
        {0x4801, "text \"H\"", "text \"H\""},
    };
    for (const auto& [pair, ofField1, ofField2] : names) {
        const auto first = static_cast<std::uint8_t>(pair >> 8U);
        const auto second = static_cast<std::uint8_t>(pair);
        EXPECT_EQ(nameOfPair(first, second, 1), ofField1) << std::hex << pair;
        EXPECT_EQ(nameOfPair(first, second, 2), ofField2) << std::hex << pair;
        EXPECT_EQ(nameOfPair(first, second), ofField2) << std::hex << pair;
    }
}

TEST(PairNames, AreThereForEachPair) {
    std::set<std::string> names;
    for (unsigned pair = 0; pair < 0x10000; ++pair) {
        const std::string name =
            nameOfPair(static_cast<std::uint8_t>(pair >> 8U), static_cast<std::uint8_t>(pair & 0xFFU));
        ASSERT_FALSE(name.empty()) << pair;
        ASSERT_FALSE(
            nameOfPair(static_cast<std::uint8_t>(pair >> 8U), static_cast<std::uint8_t>(pair & 0xFFU), 1).empty())
            << pair;
        names.insert(name);
    }
    EXPECT_EQ(names.count("preamble row 11 (channel 2)"), 1U);
    EXPECT_EQ(names.count("preamble row 16"), 0U);
}

}  // namespace
