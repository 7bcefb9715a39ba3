// Pages as packets of fields: which packet goes when, and what receivers show of it.
#include <qlx/teletext/page.h>
#include <qlx/teletext/sdp_stream.h>
#include <qlx/teletext/writer.h>

#include "ScreenLines.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using namespace qlx::teletext;
using qlx::FindingCode;
using qlx::FrameRate;
using qlx::screen::Cell;
using qlx::screen::Color;
using Texts = std::vector<std::string>;

std::vector<Cell> cellsOf(std::u32string_view text, Color color = Color::White) {
    std::vector<Cell> cells;
    for (const char32_t character : text) {
        cells.push_back({.character = character, .foreground = color, .isVisible = true});
    }
    return cells;
}

std::vector<Cell> operator+(std::vector<Cell> left, const std::vector<Cell>& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

PageText textOf(std::uint64_t start, std::uint64_t end, std::vector<std::uint8_t> rows = {22}) {
    PageText text{.start = start, .end = end};
    for (const std::uint8_t row : rows) {
        text.rows.push_back({.row = row, .column = 10, .cells = cellsOf(U"abc")});
    }
    return text;
}

Texts textsOf(const qlx::Findings& findings) {
    Texts texts;
    for (const qlx::Finding& finding : findings) {
        texts.push_back(std::to_string(finding.offset) + ": " + finding.text());
    }
    return texts;
}

/// `0 888 C4 C8`, `22` or `0 8FF`: the number of a packet, and what a header says.
std::string nameOf(const Packet& packet) {
    std::string name = packet.magazine == 8 ? "" : "m" + std::to_string(packet.magazine) + " ";
    name += std::to_string(packet.number);
    if (packet.isHeader()) {
        const auto header = parseHeader(packet);
        EXPECT_TRUE(header);
        name += " " + pageName(header->page);
        if (header->isTimeFilling()) {
            EXPECT_EQ(header->subcode, 0x3F7F);
        }
        EXPECT_EQ(header->isSubtitle, !header->isTimeFilling());
        EXPECT_EQ(header->suppressesHeader, !header->isTimeFilling());
        name += header->erasesPage ? " C4" : "";
        name += header->isUpdate ? " C8" : "";
        name += header->isSerial ? " C11" : "";
    }
    return name;
}

/// `24.2 0 888 C4 C8`: frame and field of each packet.
Texts sent(Writer& writer, qlx::Findings* findings = nullptr, std::uint64_t frames = 1000) {
    Texts texts;
    while (!writer.isDone() && writer.frame() < frames) {
        const FieldPackets field = writer.next(findings);
        for (const Packet& packet : field.packets) {
            texts.push_back(std::to_string(field.frame) + (field.isOdd ? ".1 " : ".2 ") + nameOf(packet));
        }
    }
    return texts;
}

Texts sent(const std::vector<PageText>& texts, const WriterOptions& options = {}, FrameRate rate = FrameRate::Fps25,
           const Texts& said = {}) {
    Writer writer(rate, options);
    qlx::Findings findings;
    for (const PageText& text : texts) {
        EXPECT_TRUE(writer.add(text, &findings));
    }
    const Texts result = sent(writer, &findings);
    EXPECT_EQ(textsOf(findings), said);
    return result;
}

// Codes

/// Codes in words: letters as they are, others as `<0D>`.
std::string codesOf(const PageRow& row, const Texts& said = {}, std::uint8_t designation = 0) {
    qlx::Findings findings;
    const auto coded = codeRow(row, designation, &findings, 7);
    EXPECT_EQ(textsOf(findings), said);
    std::string text;
    if (coded) {
        for (const std::uint8_t code : coded->codes) {
            constexpr char kDigits[] = "0123456789ABCDEF";
            text += code >= 0x20 ? std::string(1, static_cast<char>(code))
                                 : std::string{'<', kDigits[code >> 4U], kDigits[code & 15U], '>'};
        }
        text.resize(text.find_last_not_of(' ') + 1);
    }
    return text;
}

TEST(TeletextRows, StandInABox) {
    EXPECT_EQ(codesOf({.column = 5, .cells = cellsOf(U"ab c")}), "  <0D><0B><0B>ab c<0A><0A>");
    EXPECT_EQ(codesOf({.row = 23, .column = 5, .isDoubleHeight = false, .cells = cellsOf(U"ab", Color::Yellow)}),
              "  <03><0B><0B>ab<0A><0A>");
    EXPECT_EQ(codesOf({.column = 4, .cells = cellsOf(U"a ", Color::Cyan) + cellsOf(U"b", Color::Red)}),
              "<06><0D><0B><0B>a<01>b<0A><0A>");
    EXPECT_EQ(codesOf({.column = 3, .cells = cellsOf(U"\u00A3#\u00BD")}), "<0D><0B><0B>#_\\<0A><0A>");
    EXPECT_EQ(codesOf({.column = 3, .cells = cellsOf(U"\u00E4\u00DF")}, {}, 1), "<0D><0B><0B>{~<0A><0A>");
}

TEST(TeletextRows, HaveAsManyColumnsAsTheirCodesLeave) {
    const auto lettersOf = [](std::size_t count, Color color) { return cellsOf(std::u32string(count, U'x'), color); };
    const std::string text(36, 'x');
    EXPECT_EQ(codesOf({.column = 3, .cells = lettersOf(37, Color::White)}), "<0D><0B><0B>" + text + "x");
    EXPECT_EQ(codesOf({.column = 4, .cells = lettersOf(36, Color::Green)}), "<02><0D><0B><0B>" + text);
    EXPECT_EQ(codesOf({.column = 2, .isDoubleHeight = false, .cells = lettersOf(38, Color::White)}),
              "<0B><0B>" + text + "xx");
    EXPECT_EQ(codesOf({.column = 3, .isDoubleHeight = false, .cells = lettersOf(37, Color::Green)}),
              "<02><0B><0B>" + text + "x");
    EXPECT_EQ(codesOf({.column = 3, .cells = lettersOf(36, Color::White)}), "<0D><0B><0B>" + text + "<0A>");
    EXPECT_EQ(
        codesOf({.column = 3, .cells = lettersOf(39, Color::White)}, {"7: row 22 is cut: 2 columns are left out"}),
        "<0D><0B><0B>" + text + "x");
    EXPECT_EQ(codesOf({.column = 0, .cells = lettersOf(36, Color::Blue)}, {"7: text of row 22 is moved to column 4"}),
              "<04><0D><0B><0B>" + text);
    EXPECT_EQ(codesOf({.column = 39, .cells = lettersOf(2, Color::White)}, {"7: text of row 22 is moved to column 38"}),
              std::string(35, ' ') + "<0D><0B><0B>xx");
}

TEST(TeletextRows, SayWhatHasNoForm) {
    EXPECT_EQ(codesOf({.column = 4, .cells = cellsOf(U"a", Color::Cyan) + cellsOf(U"bc d", Color::Red)},
                      {"7: row 22: the colour does not change at column 5, there is no space in front"}),
              "<06><0D><0B><0B>abc<01>d<0A><0A>");
    auto cells = cellsOf(U"ab c");
    cells[0].isItalic = true;
    cells[1].isUnderlined = true;
    cells[2].isItalic = true;
    cells[3].background = Color::Blue;
    cells[3].foreground = Color::Black;
    EXPECT_EQ(codesOf({.column = 4, .cells = cells},
                      {"7: row 22: the background does not change at column 7, there are too few spaces in front",
                       "7: row 22: 2 letters are not italic or underlined, or have nothing of a colour behind them",
                       "7: row 22: 1 letters have the nearest colour of teletext"}),
              " <0D><0B><0B>ab c<0A><0A>");
    EXPECT_EQ(codesOf({.row = 23, .column = 4, .cells = cellsOf(U"abc")},
                      {"7: 3 columns of row 23 are left out: there is no such row, or it has text already"}),
              "");
    EXPECT_EQ(codesOf({.column = 4, .cells = std::vector<Cell>(3)}), "");
    EXPECT_EQ(codesOf({.column = 4, .cells = cellsOf(U"\u65E5")},
                      {"7: the character set has no character 65e5, 3f stands in its place"}),
              " <0D><0B><0B>?<0A><0A>");
}

// EN 300 706, 12.2: 1/D makes the colour of letters that behind them, 1/C makes that black; 0/8 begins flashing, 0/9
// ends it.
TEST(TeletextRows, HaveBackgroundsAndFlash) {
    const auto of = [](std::u32string_view text, Color color, Color background, bool isFlashing = false) {
        auto cells = cellsOf(text, color);
        for (Cell& cell : cells) {
            cell.background = background;
            cell.isFlashing = isFlashing;
        }
        return cells;
    };
    const auto white = [&of](std::u32string_view text) { return of(text, Color::White, Color::Black); };
    EXPECT_EQ(codesOf({.column = 6, .cells = of(U"ab", Color::White, Color::Blue)}),
              "<04><1D><07><0D><0B><0B>ab<0A><0A>");
    EXPECT_EQ(codesOf({.column = 6, .cells = of(U"ab", Color::Red, Color::White)}), " <1D><01><0D><0B><0B>ab<0A><0A>");
    EXPECT_EQ(codesOf({.column = 7, .cells = of(U"ab", Color::White, Color::Cyan, true)}),
              "<06><1D><07><08><0D><0B><0B>ab<0A><0A>");
    EXPECT_EQ(codesOf({.column = 4, .cells = of(U"a", Color::White, Color::Black, true) + white(U" b")}),
              "<08><0D><0B><0B>a<09>b<0A><0A>");
    EXPECT_EQ(codesOf({.column = 6, .cells = of(U"a", Color::White, Color::Blue) + white(U" b")}),
              "<04><1D><07><0D><0B><0B>a<1C>b<0A><0A>");
    EXPECT_EQ(codesOf({.column = 3, .cells = white(U"a   ") + of(U"b", Color::White, Color::Blue)}),
              "<0D><0B><0B>a<04><1D><07>b<0A><0A>");
    EXPECT_EQ(codesOf({.column = 3, .cells = white(U"a    ") + of(U"b", Color::White, Color::Black, true)}),
              "<0D><0B><0B>a   <08>b<0A><0A>");
    const std::vector<Cell> gap(7);
    EXPECT_EQ(codesOf({.column = 3, .cells = white(U"a") + gap + of(U"b", Color::White, Color::Blue)}),
              "<0D><0B><0B>a<0A><0A><04><1D><07><0B><0B>b<0A><0A>");
    // The colour comes before flashing, and both before what would make letters unreadable.
    EXPECT_EQ(codesOf({.column = 3, .cells = white(U"a ") + of(U"b", Color::Red, Color::Black, true)},
                      {"7: row 22: flashing does not begin or end at column 5, there are too few spaces in front"}),
              "<0D><0B><0B>a<01>b<0A><0A>");
    EXPECT_EQ(
        codesOf({.column = 6, .cells = of(U"a ", Color::White, Color::Blue) + of(U"b", Color::Blue, Color::Black)},
                {"7: row 22: the colour does not change at column 8, there is no space in front"}),
        "<04><1D><07><0D><0B><0B>a<1C>b<0A><0A>");
    EXPECT_EQ(codesOf({.column = 4, .cells = of(U"ab", Color::Blue, Color::Blue)},
                      {"7: row 22: 2 letters are not italic or underlined, or have nothing of a colour behind them"}),
              "<04><0D><0B><0B>ab<0A><0A>");
    // A row that is full has its letters.
    const std::string text(36, 'x');
    EXPECT_EQ(codesOf({.column = 4, .cells = of(std::u32string(36, U'x'), Color::White, Color::Blue, true)},
                      {"7: row 22: the background does not change at column 4, there are too few spaces in front"}),
              "<08><0D><0B><0B>" + text);
}

TEST(TeletextRows, LetThePictureThroughBetweenBoxes) {
    const std::vector<Cell> gap(4);
    EXPECT_EQ(codesOf({.column = 3, .cells = cellsOf(U"a") + gap + cellsOf(U"b")}),
              "<0D><0B><0B>a<0A><0A><0B><0B>b<0A><0A>");
    EXPECT_EQ(codesOf({.column = 3, .cells = cellsOf(U"a") + gap + cellsOf(U"b", Color::Red)},
                      {"7: row 22: the gap at column 4 is too small to show the picture"}),
              "<0D><0B><0B>a   <01>b<0A><0A>");
    EXPECT_EQ(codesOf({.column = 3, .cells = cellsOf(U"a") + gap + std::vector<Cell>(2) + cellsOf(U"b", Color::Red)}),
              "<0D><0B><0B>a<0A><0A> <01><0B><0B>b<0A><0A>");
}

// Times

TEST(TeletextWriter, SendsTheHeaderInTheFieldBeforeTheRows) {
    EXPECT_EQ(sent({textOf(25, 50, {20, 22})}),
              (Texts{"24.2 0 888 C4 C8", "25.1 20", "25.1 22", "25.1 0 8FF", "50.1 0 888 C4 C8", "50.1 0 8FF"}));
    EXPECT_EQ(sent({textOf(25, 50)}, {}, FrameRate::Fps50),
              (Texts{"24.1 0 888 C4 C8", "25.2 22", "25.2 0 8FF", "50.1 0 888 C4 C8", "50.1 0 8FF"}));
    // There is no field in front of the first one.
    EXPECT_EQ(sent({textOf(0, 2)}), (Texts{"0.1 0 888 C4 C8", "0.2 22", "0.2 0 8FF", "2.1 0 888 C4 C8", "2.1 0 8FF"}));
    EXPECT_EQ(sent({textOf(0, 2)}, {.fields = FrameFields::Progressive}, FrameRate::Fps25,
                   {"0: text of frame 0 is complete 1 frame late"}),
              (Texts{"0.1 0 888 C4 C8", "1.2 22", "1.2 0 8FF", "2.1 0 888 C4 C8", "2.1 0 8FF"}));
}

TEST(TeletextWriter, ErasesNothingBetweenTextsThatTouch) {
    auto other = textOf(30, 40);
    other.rows[0].cells = cellsOf(U"xyz");
    EXPECT_EQ(sent({textOf(25, 30), other}), (Texts{"24.2 0 888 C4 C8", "25.1 22", "25.1 0 8FF", "29.2 0 888 C4 C8",
                                                    "30.1 22", "30.1 0 8FF", "40.1 0 888 C4 C8", "40.1 0 8FF"}));
    // What is added comes without C4; what goes on is not sent again.
    EXPECT_EQ(sent({textOf(25, 30), textOf(30, 40, {20, 22})}),
              (Texts{"24.2 0 888 C4 C8", "25.1 22", "25.1 0 8FF", "29.2 0 888 C8", "30.1 20", "30.1 0 8FF",
                     "40.1 0 888 C4 C8", "40.1 0 8FF"}));
    EXPECT_EQ(sent({textOf(25, 30), textOf(30, 40)}),
              (Texts{"24.2 0 888 C4 C8", "25.1 22", "25.1 0 8FF", "40.1 0 888 C4 C8", "40.1 0 8FF"}));
    // The one that begins takes the place of the one before it.
    EXPECT_EQ(sent({textOf(25, 99), other}), (Texts{"24.2 0 888 C4 C8", "25.1 22", "25.1 0 8FF", "29.2 0 888 C4 C8",
                                                    "30.1 22", "30.1 0 8FF", "40.1 0 888 C4 C8", "40.1 0 8FF"}));
    // A header that is due with the erasure erases.
    EXPECT_EQ(sent({textOf(25, 29), textOf(30, 40)}, {}, FrameRate::Fps50),
              (Texts{"24.1 0 888 C4 C8", "25.2 22", "25.2 0 8FF", "29.2 0 888 C4 C8", "30.1 22", "30.1 0 8FF",
                     "40.1 0 888 C4 C8", "40.1 0 8FF"}));
}

TEST(TeletextWriter, SendsPagesOfAMagazineOneAfterTheOther) {
    auto first = textOf(25, 50, {20, 22});
    first.page = 0x801;
    EXPECT_EQ(sent({first, textOf(25, 50)}),
              (Texts{"24.2 0 801 C4 C8", "25.1 20", "25.1 22", "25.1 0 8FF", "25.1 0 888 C4 C8", "25.2 22",
                     "25.2 0 8FF", "50.1 0 801 C4 C8", "50.1 0 8FF", "50.1 0 888 C4 C8", "50.1 0 8FF"}));
    first.page = 0x100;
    EXPECT_EQ(sent({first, textOf(25, 50)}),
              (Texts{"24.2 m1 0 100 C4 C8", "24.2 0 888 C4 C8", "25.1 m1 20", "25.1 m1 22", "25.1 22", "25.1 m1 0 1FF",
                     "25.1 0 8FF", "50.1 m1 0 100 C4 C8", "50.1 0 888 C4 C8", "50.1 m1 0 1FF", "50.1 0 8FF"}));
    EXPECT_EQ(sent({first, textOf(25, 50)}, {.isSerial = true}),
              (Texts{"24.2 m1 0 100 C4 C8 C11", "25.1 m1 20", "25.1 m1 22", "25.1 m1 0 1FF C11", "25.1 0 888 C4 C8 C11",
                     "25.2 22", "25.2 0 8FF C11", "50.1 m1 0 100 C4 C8 C11", "50.1 m1 0 1FF C11",
                     "50.1 0 888 C4 C8 C11", "50.1 0 8FF C11"}));
}

TEST(TeletextWriter, MovesOnWhatDoesNotFit) {
    const std::vector<std::uint8_t> rows{2, 4, 6, 8, 10, 12};
    EXPECT_EQ(sent({textOf(2, 4, rows)}, {.fields = FrameFields::Progressive}, FrameRate::Fps25,
                   {"0: text of frame 2 is complete 1 frame late"}),
              (Texts{"1.2 0 888 C4 C8", "2.1 2", "2.1 4", "2.1 6", "2.1 8", "2.1 10", "3.2 12", "3.2 0 8FF",
                     "4.1 0 888 C4 C8", "4.1 0 8FF"}));
    EXPECT_EQ(sent({textOf(2, 4, rows)}, {.fields = FrameFields::Progressive, .packetsPerField = 10}),
              (Texts{"1.2 0 888 C4 C8", "2.1 2", "2.1 4", "2.1 6", "2.1 8", "2.1 10", "2.1 12", "2.1 0 8FF",
                     "4.1 0 888 C4 C8", "4.1 0 8FF"}));
    EXPECT_EQ(sent({textOf(2, 3, {2, 4, 6}), textOf(3, 4, {8}), textOf(4, 6, {10})},
                   {.fields = FrameFields::Progressive, .packetsPerField = 1}, FrameRate::Fps25,
                   {"0: text of frame 2 is complete 2 frames late",
                    "1: text from frame 3 to 4 is left out: there was no room for it before its end",
                    "2: text from frame 4 to 6 is left out: there was no room for it before its end",
                    "0: text that ends at frame 3 stays 3 frames more"}),
              (Texts{"1.2 0 888 C4 C8", "2.1 2", "3.2 4", "4.1 6", "5.2 0 8FF", "6.1 0 888 C4 C8", "7.2 0 8FF"}));
}

TEST(TeletextWriter, SendsPagesAgain) {
    EXPECT_EQ(sent({textOf(25, 126)}, {.repeatAfter = 2}),
              (Texts{"24.2 0 888 C4 C8", "25.1 22", "25.1 0 8FF", "74.2 0 888", "74.2 22", "74.2 0 8FF",
                     "126.1 0 888 C4 C8", "126.1 0 8FF"}));
    // Half a second in front of what is due, and behind it, nothing is.
    EXPECT_EQ(sent({textOf(25, 88)}, {.repeatAfter = 2}).size(), 8U);
    EXPECT_EQ(sent({textOf(25, 87)}, {.repeatAfter = 2}).size(), 5U);
    // The page's own next text, and that of another page of the magazine.
    auto other = textOf(87, 99);
    other.page = 0x801;
    EXPECT_EQ(sent({textOf(25, 140), other}, {.repeatAfter = 2}),
              (Texts{"24.2 0 888 C4 C8", "25.1 22", "25.1 0 8FF", "86.2 0 801 C4 C8", "87.1 22", "87.1 0 8FF",
                     "99.1 0 801 C4 C8", "99.1 0 8FF", "111.2 0 888", "111.2 22", "111.2 0 8FF", "140.1 0 888 C4 C8",
                     "140.1 0 8FF"}));
}

TEST(TeletextWriter, SaysThatAPageIsNotSentAgain) {
    // A page of another magazine changes every 0.4 s.
    std::vector<PageText> texts{textOf(25, 400)};
    for (std::uint64_t start = 30; start < 380; start += 20) {
        texts.push_back(textOf(start, start + 10));
        texts.back().page = 0x150;
    }
    const Texts packets = sent(texts, {.repeatAfter = 2}, FrameRate::Fps25,
                               {"0: page 888 has not been sent again for 4 seconds: something is due all the time"});
    EXPECT_EQ(std::count_if(packets.begin(), packets.end(),
                            [](const std::string& packet) { return packet.find(" 0 888") != std::string::npos; }),
              2);
}

TEST(TeletextWriter, SaysWhatAnAdditionHasNoRoomFor) {
    // 36 letters of a row are 37 triplets: five rows fill 15 of 16 packets, and a sixth one above takes the room of those
    // at the end.
    PageText text{.start = 25, .end = 50, .rows = {}};
    for (const unsigned row : {12U, 14U, 16U, 18U, 20U}) {
        text.rows.push_back(
            {.row = static_cast<std::uint8_t>(row), .column = 3, .cells = cellsOf(std::u32string(36, U'\u010C'))});
    }
    Writer writer(FrameRate::Fps25, {.packetsPerField = 15});
    qlx::Findings findings;
    EXPECT_TRUE(writer.add(text, &findings));
    text.start = 50;
    text.end = 75;
    text.rows.push_back({.row = 2, .column = 3, .cells = cellsOf(std::u32string(36, U'\u010C'))});
    EXPECT_TRUE(writer.add(text, &findings));
    (void)sent(writer, &findings);
    Texts expected;
    for (unsigned column = 25; column < 39; ++column) {
        expected.push_back("1: no room in packets X/26 for the character of row 20, column " + std::to_string(column));
    }
    Texts said = textsOf(findings);
    std::erase_if(said, [](const std::string& one) { return one.find("X/26") == std::string::npos; });
    EXPECT_EQ(said, expected);
}

TEST(TeletextWriter, SaysWhatIsLeftOut) {
    Writer writer(FrameRate::Fps25);
    qlx::Findings findings;
    auto text = textOf(25, 50);
    for (const unsigned page : {0x000U, 0x088U, 0x8A0U, 0x80AU, 0x8FFU, 0x900U}) {
        text.page = static_cast<std::uint16_t>(page);
        EXPECT_FALSE(writer.add(text));
    }
    text.page = 0x8FF;
    EXPECT_FALSE(writer.add(text, &findings));
    EXPECT_FALSE(writer.add(textOf(25, 25), &findings));
    EXPECT_FALSE(writer.add(textOf(25, 26, {}), &findings));
    EXPECT_TRUE(writer.isDone());
    EXPECT_TRUE(writer.add(textOf(25, 26, {20, 20, 21, 19, 24}), &findings));
    EXPECT_FALSE(writer.add(textOf(25, 26), &findings));
    EXPECT_EQ(
        textsOf(findings),
        (Texts{"6: page 8ff with subcode 00 is left out: viewers cannot call it",
               "7: text from frame 25 to 25 is left out: it has no duration, or does not begin behind the last one",
               "8: text without letters is left out",
               "9: 3 columns of row 20 are left out: there is no such row, or it has text already",
               "9: 3 columns of row 21 are left out: there is no such row, or it has text already",
               "9: 3 columns of row 19 are left out: there is no such row, or it has text already",
               "9: 3 columns of row 24 are left out: there is no such row, or it has text already",
               "10: text from frame 25 to 26 is left out: it has no duration, or does not begin behind the last one"}));
}

}  // namespace
