// The receiver of a service: windows and their places, pens, directions, characters.
#include "FedReceiver.h"

#include <qlx/cea708/receiver.h>

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

using namespace qlx::cea708;
namespace screen = qlx::screen;
using qlx::Finding;
using qlx::Severity;
using qlxtest::Fed;
using qlxtest::kHidden;
using qlxtest::kShown;
using qlxtest::Lines;
using qlxtest::Parts;
using enum qlx::FindingCode;

TEST(CaptionService, PopsOnByTwoWindowsInTurn) {
    Fed fed;
    fed.feed({kHidden, "'First", "0d", "'Second", "03"});
    EXPECT_FALSE(fed.wasChanged);
    EXPECT_EQ(fed.lines(), Lines());
    fed.feed({"8901"});
    EXPECT_TRUE(fed.wasChanged);
    EXPECT_EQ(fed.lines(), (Lines{"  14  First", "  15  Second"}));
    // Window 1, the same; both are toggled at once.
    fed.feed({"99184100011f09", "'Third", "03"});
    EXPECT_FALSE(fed.wasChanged);
    fed.feed({"8b03"});
    EXPECT_EQ(fed.lines(), Lines{"  14  Third"});
    fed.feed({"8aff"});
    EXPECT_TRUE(fed.wasChanged);
    EXPECT_EQ(fed.lines(), Lines());
    // Hidden ones keep their text; clearing and deleting takes it.
    EXPECT_EQ(fed.feed({"8901"}).lines(), (Lines{"  14  First", "  15  Second"}));
    EXPECT_EQ(fed.feed({"8801"}).lines(), Lines());
    EXPECT_TRUE(fed.receiver.window(0).isVisible());
    EXPECT_TRUE(fed.feed({"8c01"}).wasChanged);
    EXPECT_FALSE(fed.receiver.window(0).isDefined());
    EXPECT_EQ(fed.feed({"8902"}).lines(), Lines{"  14  Third"});
    EXPECT_TRUE(fed.feed({"8f"}).wasChanged);
    EXPECT_FALSE(fed.receiver.window(1).isDefined());
    EXPECT_TRUE(fed.findings.empty());
}

TEST(CaptionService, RollsUpAndDown) {
    Fed fed;
    // Anchored with its lower left at line 74, 2 rows, style 4.
    fed.feed({"98384a00611f21", "'one", "0d", "'two"});
    EXPECT_EQ(fed.lines(), (Lines{"  14  one", "  15  two"}));
    EXPECT_EQ(fed.feed({"0d", "'three"}).lines(), (Lines{"  14  two", "  15  three"}));
    // Where it scrolls down, the next row is above.
    fed.feed({"0c", "9700000800", "'one", "0d", "'two", "0d", "'three"});
    EXPECT_EQ(fed.lines(), (Lines{"  14  three", "  15  two"}));
    EXPECT_TRUE(fed.findings.empty());
}

TEST(CaptionService, PrintsInAllDirections) {
    const auto linesOf = [](const std::string& direction, const Parts& text) {
        Fed fed;
        // 2 rows of 3 columns.
        fed.feed({"98380000010209", "970000" + direction + "00"}).feed(text);
        return fed.lines();
    };
    EXPECT_EQ(linesOf("10", {"'ab", "0d", "'cde"}), (Lines{"   1   ba", "   2  edc"}));
    // A backspace and a row erased, from the right.
    EXPECT_EQ(linesOf("10", {"'abc", "08", "'d", "0d", "'xy", "0e", "'z"}), (Lines{"   1  dba", "   2    z"}));
    const Parts columns{"'ab", "0d", "'cd", "0d", "'ef", "0d", "'gh"};
    EXPECT_EQ(linesOf("24", columns), (Lines{"   1  ceg", "   2  dfh"}));
    EXPECT_EQ(linesOf("34", columns), (Lines{"   1  dfh", "   2  ceg"}));
    // Scrolled to the right, the next column is on the left.
    EXPECT_EQ(linesOf("20", {"'ab", "0d", "'cd"}), (Lines{"   1  ca", "   2  db"}));
    EXPECT_EQ(linesOf("24", {"'ab", "08", "'c", "0d", "'de", "0e", "'f"}), (Lines{"   1  af", "   2  c"}));
}

TEST(CaptionService, MovesThePen) {
    Fed fed;
    fed.feed({kShown, "920105", "'b", "920002", "'a", "08", "'c", "00", "'d"});
    EXPECT_EQ(fed.lines(), (Lines{"  14    cd", "  15       b"}));
    EXPECT_EQ(fed.feed({"0e", "'x", "03"}).lines(), (Lines{"  14  x", "  15       b"}));
    EXPECT_EQ(fed.feed({"0c", "'y"}).lines(), Lines{"  14  y"});
    // A backspace at the beginning does nothing; a clear leaves the pen.
    EXPECT_EQ(fed.feed({"08", "08", "8801", "'z"}).lines(), Lines{"  14  z"});
    EXPECT_TRUE(fed.findings.empty());
    fed.feed({"920f2a", "'q"});
    EXPECT_EQ(fed.lines(), (Lines{"  14  z", "  15  " + std::string(31, ' ') + "q"}));
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708LocationOutside, Severity::Warning, 0, 15, 1},
                                                 {Cea708LocationOutside, Severity::Warning, 0, 42, 31}}));
}

TEST(CaptionService, StaysInItsRows) {
    Fed fed;
    // One row of 3 columns without word wrap.
    fed.feed({"98380000000209", "'abcde", "08", "'f"});
    EXPECT_EQ(fed.lines(), Lines{"   1  abf"});
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708RowFull, Severity::Error, 0, 'd', 3},
                                                 {Cea708RowFull, Severity::Error, 0, 'e', 3}}));
    const auto wrapped = [](const std::string& text) {
        Fed wrapping;
        // 3 rows of 10 columns, style 4.
        return wrapping.feed({"98380000020921", "'" + text}).lines();
    };
    EXPECT_EQ(wrapped("abc defghijk"), (Lines{"   1  abc", "   2  defghijk"}));
    EXPECT_EQ(wrapped("abcdefghijkl mn"), (Lines{"   1  abcdefghij", "   2  kl mn"}));
    EXPECT_EQ(wrapped("abcdefghij kl"), (Lines{"   1  abcdefghij", "   2  kl"}));
    EXPECT_EQ(wrapped("aaa bbbbb ccccccc ddd eeeeeeeee"), (Lines{"   1  ccccccc", "   2  ddd", "   3  eeeeeeeee"}));
}

TEST(CaptionService, JustifiesRows) {
    const auto justified = [](const std::string& justification) {
        Fed fed;
        // 2 rows of 10 columns.
        return fed.feed({"98180000010909", "970000" + justification + "00", "'ab cd", "0d", "920103", "'xyz", "8901"})
            .lines();
    };
    EXPECT_EQ(justified("0c"), (Lines{"   1  ab cd", "   2     xyz"}));
    EXPECT_EQ(justified("0d"), (Lines{"   1       ab cd", "   2         xyz"}));
    EXPECT_EQ(justified("0e"), (Lines{"   1    ab cd", "   2     xyz"}));
    // Full justification is not needed of a receiver.
    EXPECT_EQ(justified("0f"), (Lines{"   1  ab cd", "   2     xyz"}));
}

TEST(CaptionService, BeginsAJustifiedRowAnew) {
    Fed fed;
    // Visible, centred; a pen, and a place in the row do not end a row, ETX does.
    fed.feed({"98380000010919", "'ab", "9005 00", "9200 02", "'cd"});
    EXPECT_EQ(fed.lines(), Lines{"   1     abcd"});
    EXPECT_EQ(fed.feed({"03", "'ef"}).lines(), Lines{"   1      ef"});
    // Another justification takes the text away; the same does not.
    EXPECT_EQ(fed.feed({"970000 0a 00"}).lines(), Lines{"   1      ef"});
    EXPECT_EQ(fed.feed({"970000 08 00"}).lines(), Lines());
    EXPECT_EQ(fed.feed({"0c", "'gh", "03", "'ij"}).lines(), Lines{"   1  ghij"});
}

TEST(CaptionService, StylesItsText) {
    Fed fed;
    using enum screen::Opacity;
    fed.feed({kShown, "'a", "908ade", "917c833f", "'b", "90051f", "'c", "9103c000", "'d"});
    screen::Cell expected;
    expected.isVisible = true;
    expected.character = U'a';
    expected.foreground = screen::colorOf(2, 2, 2);
    EXPECT_EQ(fed.cell(13, 0), expected);
    // Large, superscript, italic, underlined, uniform white edge, cursive; flashing yellow on translucent blue.
    expected = {U'b', screen::Color::Yellow, screen::Color::Blue, Translucent};
    expected.isVisible = expected.isItalic = expected.isUnderlined = expected.isFlashing = true;
    expected.foregroundOpacity = Flash;
    expected.edge = screen::Edge::Uniform;
    expected.edgeColor = screen::Color::White;
    expected.font = screen::Font::Cursive;
    expected.size = screen::FontSize::Large;
    expected.offset = screen::Offset::Superscript;
    EXPECT_EQ(fed.cell(13, 1), expected);
    EXPECT_EQ(fed.cell(13, 2).edge, screen::Edge::Uniform);
    EXPECT_EQ(fed.cell(13, 2).font, screen::Font::SmallCapitals);
    EXPECT_EQ(fed.cell(13, 2).foreground, screen::Color::Yellow);
    // Without a background the window's fill is behind the character.
    EXPECT_EQ(fed.cell(13, 3).foreground, screen::Color::Blue);
    EXPECT_EQ(fed.cell(13, 3).background, screen::Color::Black);
    EXPECT_EQ(fed.cell(13, 3).backgroundOpacity, Solid);
    // Text that is not to be shown.
    EXPECT_EQ(fed.feed({"90f500", "'hidden"}).lines(), Lines{"  14  abcd"});
    EXPECT_TRUE(fed.findings.empty());
}

TEST(CaptionService, FillsItsWindows) {
    Fed fed;
    // 1 row of 4 columns in translucent red; a transparent space shows the fill.
    fed.feed({"98380000000309", "97b0000000", "'a", "1020", "'b"});
    for (std::size_t column = 0; column < 4; ++column) {
        const screen::Cell cell = fed.cell(0, column);
        EXPECT_TRUE(cell.isVisible);
        EXPECT_EQ(cell.background, column % 2 == 0 ? screen::Color::Black : screen::Color::Red);
        EXPECT_EQ(cell.backgroundOpacity, column % 2 == 0 ? screen::Opacity::Solid : screen::Opacity::Translucent);
    }
    EXPECT_FALSE(fed.cell(0, 4).isVisible);
    // Without a fill only the characters are there.
    fed.feed({"97c0000000"});
    EXPECT_TRUE(fed.cell(0, 0).isVisible && fed.cell(0, 2).isVisible);
    EXPECT_FALSE(fed.cell(0, 1).isVisible || fed.cell(0, 3).isVisible);
    EXPECT_EQ(fed.lines(), Lines{"   1  a b"});
}

TEST(CaptionService, DrawsByPriority) {
    Fed fed;
    // Window 0 with priority 2, window 1 with 1 over its columns 2 and 3, window 2 with 1 too.
    fed.feed({"983a0000000709", "'abcdefgh", "9939000a000109", "'XY", "9a39000f000109", "'12"});
    EXPECT_EQ(fed.lines(), Lines{"   1  abXY2fgh"});
    // A transparent fill lets through what is behind.
    EXPECT_EQ(fed.feed({"81", "0c", "97c0000000", "'Z"}).lines(), Lines{"   1  abZ12fgh"});
}

TEST(CaptionService, KeepsItsTextWhenItIsDefinedAgain) {
    Fed fed;
    fed.feed({kShown, "'abcdef", "0d", "'gh", "91300000"});
    // The same again changes nothing, nor does another place; a smaller size cuts.
    fed.feed({kShown, "'i"});
    EXPECT_EQ(fed.lines(), (Lines{"  14  abcdef", "  15  ghi"}));
    EXPECT_EQ(fed.cell(14, 2).foreground, screen::Color::Red);
    fed.feed({"98380000010400", "'j"});
    EXPECT_EQ(fed.lines(), (Lines{"   1  abcde", "   2  ghij"}));
    fed.feed({"98380000000200"});
    EXPECT_EQ(fed.lines(), Lines{"   1  abc"});
    // Styles that are named are taken.
    fed.feed({"98380000000212", "920000", "'x"});
    EXPECT_EQ(fed.cell(0, 0).font, screen::Font::MonospacedSerif);
    EXPECT_EQ(fed.receiver.window(0).attributes(), predefinedWindow(2));
    EXPECT_TRUE(fed.findings.empty());
}

TEST(CaptionService, SaysWhatHasNoWindow) {
    Fed fed;
    // Text is told once; CW3 does not choose a window that is not there.
    fed.feed({"'abc", "0d", "83", kShown, "'x", "8c01", "'yz", "920000"});
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708NoCurrentWindow, Severity::Error, 0, 'a', 0},
                                                 {Cea708NoCurrentWindow, Severity::Error, 0, 0x0D, 0},
                                                 {Cea708WindowUndefined, Severity::Error, 0, 3, 0},
                                                 {Cea708NoCurrentWindow, Severity::Error, 0, 'y', 0},
                                                 {Cea708NoCurrentWindow, Severity::Error, 0, 0x92, 0}}));
    EXPECT_FALSE(fed.receiver.currentWindow());
    EXPECT_EQ(fed.lines(), Lines());
}

// SPC with bits that are reserved, SPL in a column that no window has: whoever feeds it knows the line, not the byte.
TEST(CaptionService, FindsAllAtThePlaceOfItsPacket) {
    qlx::cea708::Receiver receiver;
    qlx::Findings findings;
    const std::vector<std::uint8_t> bytes = qlxtest::bytesOf({kShown, "'text", "913f00c0", "92f1c2"});
    receiver.receive(std::span<const std::uint8_t>(bytes), &findings, 9);
    ASSERT_GE(findings.size(), 2U);
    for (const qlx::Finding& finding : findings) {
        EXPECT_EQ(finding.offset, 9U) << finding.text();
    }
}

TEST(CaptionService, ShowsCharactersOfAllSets) {
    Fed fed;
    fed.feed({kShown, "7f", "e9", "1039", "10a0", "1040", "10ff", "18ac00", "18d83d18de00"});
    EXPECT_EQ(fed.lines(), Lines{"  14  ♪é™㏄__가😀"});
    // Halves of a pair that stand alone.
    fed.feed({"0c", "18d83d", "18ac00", "18de00", "18d83d", "'a"});
    EXPECT_EQ(fed.lines(), Lines{"  14  _가__a"});
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708CharacterUnknown, Severity::Warning, 0, 0x1040, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 0, 0x10FF, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 0, 0xD83D, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 0, 0xDE00, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 0, 0xD83D, 0}}));
    ReceiverOptions options;
    options.wideCharacter = [](std::uint16_t code) { return code == 0xB0A1 ? U'\uAC00' : U'\0'; };
    Fed korean(options);
    EXPECT_EQ(korean.feed({kShown, "18b0a1", "180001"}).lines(), Lines{"  14  가_"});
    EXPECT_EQ(korean.found(), (std::vector<Finding>{{Cea708CharacterUnknown, Severity::Warning, 0, 1, 0}}));
}

TEST(CaptionService, ShowsNoControls) {
    const auto unknown = [](std::initializer_list<int> codes) {
        std::vector<Finding> findings;
        for (const int code : codes) {
            findings.push_back({Cea708CharacterUnknown, Severity::Warning, 0, code, 0});
        }
        return findings;
    };
    Fed fed;
    fed.feed(
        {kShown, "180007", "18001b", "18001f", "18007f", "180080", "18009f", "18fdd0", "18feff", "18fffe", "18ffff"});
    // 1FFFE.
    fed.feed({"18d83f", "18dffe"});
    // What stands beside them is shown.
    fed.feed({"18007e", "1800a1", "18fdcf", "18fdf0", "18ff00", "18fffd"});
    EXPECT_EQ(fed.lines(), Lines{"  14  ___________~\u00A1\uFDCF\uFDF0\uFF00\uFFFD"});
    EXPECT_EQ(fed.found(), unknown({0x07, 0x1B, 0x1F, 0x7F, 0x80, 0x9F, 0xFDD0, 0xFEFF, 0xFFFE, 0xFFFF, 0xDFFE}));
    ReceiverOptions options;
    options.wideCharacter = [](std::uint16_t code) {
        constexpr std::array<char32_t, 8> kCharacters{0, 0x1B, 0x9B, 0xD800, 0xDFFF, 0xFEFF, 0x110000, 0x10FFFD};
        return kCharacters[code];
    };
    Fed turned(options);
    turned.feed({kShown, "180000", "180001", "180002", "180003", "180004", "180005", "180006", "180007"});
    EXPECT_EQ(turned.lines(), Lines{"  14  _______\U0010FFFD"});
    EXPECT_EQ(turned.found(), unknown({0, 1, 2, 3, 4, 5, 6}));
}

TEST(WindowPlaces, FollowTheirAnchors) {
    struct Case {
        AnchorPoint point;
        bool isRelative;
        int vertical;
        int horizontal;
        int rows;
        int columns;
        AspectRatio ratio;
        WindowPlace place;
        std::vector<Finding> findings = {};
    };
    using enum AnchorPoint;
    using enum AspectRatio;
    const std::array cases{
        Case{UpperLeft, false, 0, 0, 1, 1, Wide, {0, 0}},
        Case{UpperLeft, false, 74, 209, 1, 1, Wide, {14, 41}},
        Case{UpperLeft, false, 65, 25, 2, 32, Wide, {13, 5}},
        Case{LowerLeft, false, 74, 0, 3, 42, Wide, {12, 0}},
        Case{LowerLeft, false, 70, 0, 3, 42, Wide, {12, 0}},
        // 105 is the middle of 210: 80 to its left are 16 columns.
        Case{LowerCenter, false, 74, 105, 3, 32, Wide, {12, 5}},
        Case{LowerCenter, false, 74, 80, 3, 32, Standard, {12, 0}},
        Case{UpperRight, false, 0, 209, 1, 10, Wide, {0, 32}},
        Case{Center, false, 37, 105, 15, 42, Wide, {0, 0}},
        Case{MiddleLeft, false, 37, 0, 1, 1, Wide, {7, 0}},
        Case{MiddleRight, false, 37, 159, 3, 2, Standard, {6, 30}},
        Case{UpperCenter, true, 0, 50, 1, 2, Wide, {0, 20}},
        Case{Center, true, 50, 50, 1, 2, Wide, {7, 20}},
        Case{LowerRight, true, 99, 99, 2, 3, Wide, {13, 39}},
        Case{LowerRight, true, 99, 99, 2, 3, Standard, {13, 29}},
        Case{UpperLeft, true, 90, 10, 1, 5, Wide, {13, 4}},
        // Moved into the screen, and anchors that are none.
        Case{UpperLeft, false, 74, 0, 3, 42, Wide, {12, 0}, {{Cea708WindowOutside, Severity::Warning, 9, 14, 12}}},
        Case{LowerLeft, false, 4, 0, 3, 1, Wide, {0, 0}, {{Cea708WindowOutside, Severity::Warning, 9, -2, 0}}},
        Case{Center, false, 0, 105, 4, 2, Wide, {0, 20}, {{Cea708WindowOutside, Severity::Warning, 9, -2, 0}}},
        Case{UpperLeft,
             false,
             75,
             160,
             1,
             1,
             Standard,
             {14, 31},
             {{Cea708WindowOutside, Severity::Warning, 9, 75, 74},
              {Cea708WindowOutside, Severity::Warning, 9, 160, 159}}},
    };
    for (const Case& one : cases) {
        DefineWindow definition;
        definition.anchorPoint = one.point;
        definition.isRelative = one.isRelative;
        definition.anchorVertical = static_cast<std::uint8_t>(one.vertical);
        definition.anchorHorizontal = static_cast<std::uint8_t>(one.horizontal);
        definition.rows = static_cast<std::uint8_t>(one.rows);
        definition.columns = static_cast<std::uint8_t>(one.columns);
        qlx::Findings findings;
        const WindowPlace place = placeOf(definition, one.ratio, &findings, 9);
        EXPECT_EQ(place, one.place) << place.row << ' ' << place.column << " of case " << &one - cases.data();
        EXPECT_EQ(std::vector<Finding>(findings.begin(), findings.end()), one.findings) << &one - cases.data();
    }
}

TEST(WindowPlaces, AreForWindowsThatFit) {
    ReceiverOptions options;
    options.aspectRatio = AspectRatio::Standard;
    Fed fed(options);
    // 16 rows of 64 columns.
    fed.feed({"983800000f3f09", "'x"});
    EXPECT_EQ(fed.receiver.window(0).rows(), 15U);
    EXPECT_EQ(fed.receiver.window(0).columns(), 32U);
    EXPECT_EQ(fed.receiver.screen().columns, 32U);
    EXPECT_EQ(fed.receiver.screen().rows(), 15U);
    EXPECT_EQ(fed.receiver.screen().system, screen::System::Cea708);
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708WindowTooLarge, Severity::Warning, 0, 16, 15},
                                                 {Cea708WindowTooLarge, Severity::Warning, 0, 64, 32}}));
}

}  // namespace
