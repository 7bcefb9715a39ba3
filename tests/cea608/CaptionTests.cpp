// The pairs of captions, worked out by hand from the tables of 47 CFR 15.119 and CTA-608-E.
#include "CaptionRows.h"

#include <qlx/cea608/caption.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace qlx::cea608;
using qlx::Finding;
using qlx::FindingCode;
using qlx::screen::Cell;
using qlx::screen::Color;
using qlx::screen::Opacity;
using qlxtest::cellsOf;
using qlxtest::joined;

using Cells = std::vector<Cell>;

/// A finding without its severity and offset.
struct Found {
    FindingCode code = FindingCode::None;
    std::int64_t first = 0;
    std::int64_t second = 0;

    friend bool operator==(const Found&, const Found&) = default;
    friend void PrintTo(const Found& found, std::ostream* out) {
        *out << Finding{found.code, {}, 0, found.first, found.second}.text();
    }
};

struct Encoded {
    std::string pairs;
    std::vector<Found> findings;
};

Encoded encoded(const Caption& caption, bool doublesCodes = false) {
    std::vector<CodePair> pairs;
    qlx::Findings findings;
    encodeCaption(caption, {.doublesCodes = doublesCodes, .findingsOffset = 7}, pairs, &findings);
    Encoded result{qlxtest::textOf(pairs), {}};
    for (const Finding& finding : findings) {
        EXPECT_EQ(finding.offset, 7U);
        result.findings.push_back({finding.code, finding.first, finding.second});
    }
    return result;
}

/// The pairs of a pop-on caption of one row, each code once, behind RCL and ENM; nothing is found.
std::string rowPairs(std::uint8_t row, std::uint8_t column, Cells cells) {
    const Encoded result = encoded({.rows = {{row, column, std::move(cells)}}});
    EXPECT_EQ(result.findings, std::vector<Found>());
    constexpr std::string_view kBegin = "1420 142e ";
    EXPECT_EQ(result.pairs.substr(0, kBegin.size()), kBegin);
    return result.pairs.substr(std::min(kBegin.size(), result.pairs.size()));
}

/// The same of one for which something is found.
Encoded changed(Cells cells, std::uint8_t column = 0, std::uint8_t row = 15) {
    Encoded result = encoded({.rows = {{row, column, std::move(cells)}}});
    result.pairs = result.pairs.substr(std::min<std::size_t>(10, result.pairs.size()));
    return result;
}

const Cell kRed{.foreground = Color::Red};
const Cell kYellow{.foreground = Color::Yellow};
const Cell kItalic{.isItalic = true};
const Cell kRedItalic{.foreground = Color::Red, .isItalic = true};
const Cell kUnderlined{.isUnderlined = true};
const Cell kOnBlue{.background = Color::Blue};

TEST(CaptionRowPairs, BeginWithAPreamble) {
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"Hi")), "1460 4869");
    EXPECT_EQ(rowPairs(11, 0, cellsOf(U"Hi!")), "1040 4869 2100");
    // Indent 8, two more columns.
    EXPECT_EQ(rowPairs(1, 10, cellsOf(U"Hi")), "1154 1722 4869");
    EXPECT_EQ(rowPairs(10, 31, cellsOf(U"x")), "177e 1723 7800");
    EXPECT_EQ(rowPairs(2, 28, cellsOf(U"x", kUnderlined)), "117f 7800");
    // Colour and italics of its own, up to column 3.
    EXPECT_EQ(rowPairs(14, 0, cellsOf(U"Hi", kRed)), "1448 4869");
    EXPECT_EQ(rowPairs(14, 3, cellsOf(U"Hi", kRed)), "1448 1723 4869");
    EXPECT_EQ(rowPairs(12, 1, cellsOf(U"Hi", kItalic)), "134e 1721 4869");
    EXPECT_EQ(rowPairs(13, 0, cellsOf(U"Hi", {.foreground = Color::Magenta, .isUnderlined = true})), "136d 4869");
}

TEST(CaptionRowPairs, HaveTheColourOfIndentedTextInFrontOfIt) {
    EXPECT_EQ(rowPairs(15, 8, cellsOf(U"Hi", kRed)), "1472 1723 1128 4869");
    EXPECT_EQ(rowPairs(15, 5, cellsOf(U"Hi", kItalic)), "1472 112e 4869");
    EXPECT_EQ(rowPairs(15, 8, cellsOf(U"Hi", kRedItalic)), "1472 1722 1128 112e 4869");
    // A space of the text is taken first.
    EXPECT_EQ(rowPairs(15, 8, cellsOf(U" Hi", kRed)), "1474 1128 4869");
}

TEST(CaptionRowPairs, ChangeTheStyleInPlaceOfASpace) {
    EXPECT_EQ(rowPairs(15, 0, joined({cellsOf(U"a "), cellsOf(U"b", kYellow)})), "1460 6100 112a 6200");
    EXPECT_EQ(rowPairs(15, 0, joined({cellsOf(U"a"), cellsOf(U"  b", kYellow)})), "1460 6120 112a 6200");
    EXPECT_EQ(rowPairs(15, 0, joined({cellsOf(U"a "), cellsOf(U"b", kUnderlined), cellsOf(U" c")})),
              "1460 6100 1121 6200 1120 6300");
    // Italics leave the colour as it is, a colour ends them.
    EXPECT_EQ(rowPairs(15, 0, joined({cellsOf(U"a", kRed), cellsOf(U" b ", kRedItalic), cellsOf(U"c", kRed)})),
              "1468 6100 112e 6200 1128 6300");
    EXPECT_EQ(rowPairs(15, 0, joined({cellsOf(U"a  "), cellsOf(U"b", kRedItalic)})), "1460 6100 1128 112e 6200");
    // Places without a cell between texts.
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"a~~b")), "1460 6100 1460 1723 6200");
    EXPECT_EQ(rowPairs(15, 0, joined({cellsOf(U"a~~~~"), cellsOf(U"b", kRed)})), "1460 6100 1472 1128 6200");
}

TEST(CaptionRowPairs, ChangeTheBackgroundInPlaceOfASpace) {
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U" a", kOnBlue)), "1460 2000+1024 6100");
    EXPECT_EQ(rowPairs(15, 0, joined({cellsOf(U"a"), cellsOf(U" b", kOnBlue), cellsOf(U" c")})),
              "1460 6120+1024 6220+102e 6300");
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U" a", {.backgroundOpacity = Opacity::Transparent})), "1460 2000+172d 6100");
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U" a", {.background = Color::Green, .backgroundOpacity = Opacity::Translucent})),
              "1460 2000+1023 6100");
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"  a", {.foreground = Color::Black, .background = Color::White})),
              "1460 2000+1020 2000+172e 6100");
    EXPECT_EQ(rowPairs(15, 0,
                       joined({cellsOf(U" a ", kOnBlue),
                               cellsOf(U"b", {.foreground = Color::Red, .background = Color::Blue})})),
              "1460 2000+1024 6100 1128 6200");
}

TEST(CaptionRowPairs, HaveCharactersOfAllSets) {
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"é")), "1460 5c00");
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"x♪y")), "1460 7800 1137 7900");
    // Behind a stand-in; the pair in front of the code holds it.
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"Àx")), "1460 4100+1230 7800");
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"xß")), "1460 7873+1334");
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"\u201CÅ\u201D")), "1460 2200+122e 4100+1338 2200+122f");
    // Side by side they are sent twice each, or they would be taken for repetitions.
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"♪♪♪x")), "1460 1137+1137 1137+1137 1137+1137 7800");
    EXPECT_EQ(rowPairs(15, 0, cellsOf(U"♪à♪")), "1460 1137 1138 1137");
}

TEST(CaptionPairs, AreDoubledButForText) {
    const Caption caption{.rows = {{14, 4, joined({cellsOf(U"À "), cellsOf(U"b", kRed)})}, {15, 0, cellsOf(U"♪")}}};
    EXPECT_EQ(encoded(caption, true).pairs, "1420+1420 142e+142e 1452+1452 4100+1230+1230 1128+1128 6200 "
                                            "1460+1460 1137+1137");
}

TEST(CaptionPairs, BelongToAChannel) {
    const auto pairs = [](Channel channel) {
        return encoded({.channel = channel, .rows = {{15, 4, cellsOf(U"É", kItalic)}}}).pairs;
    };
    EXPECT_EQ(pairs(kCC1), "1420 142e 1470 1723 112e 4500+1221");
    EXPECT_EQ(pairs(kCC2), "1c20 1c2e 1c70 1f23 192e 4500+1a21");
    EXPECT_EQ(pairs(kCC3), "1520 152e 1470 1723 112e 4500+1221");
    EXPECT_EQ(pairs(kCC4), "1d20 1d2e 1c70 1f23 192e 4500+1a21");
}

TEST(CaptionPairs, FollowTheStyle) {
    Caption caption{.style = CaptionStyle::PaintOn, .rows = {{14, 0, cellsOf(U"Hi")}, {15, 0, cellsOf(U"yo")}}};
    EXPECT_EQ(encoded(caption).pairs, "1429 1440 4869 1460 796f");
    caption.style = CaptionStyle::RollUp;
    caption.rollUpRows = 3;
    EXPECT_EQ(encoded(caption).pairs, "1426 142d 1460 4869 142d 1460 796f");
    EXPECT_TRUE(encoded(caption).findings.empty());
    // The lowest row is not above its number of rows.
    caption.rows = {{1, 0, cellsOf(U"Hi")}, {2, 0, cellsOf(U"yo")}};
    EXPECT_EQ(encoded(caption).pairs, "1426 142d 1240 4869 142d 1240 796f");
    EXPECT_EQ(encoded(caption).findings, (std::vector<Found>{{FindingCode::Cea608RowMoved, 2000, 3000}}));
    caption.rollUpRows = 9;
    EXPECT_EQ(encoded(caption).pairs.substr(0, 14), "1427 142d 1260");
    EXPECT_EQ(encoded({.rows = {{15, 0, cellsOf(U"~~")}, {}}}).pairs, "");
}

TEST(CaptionFindings, SayWhereAStyleIsLate) {
    using enum FindingCode;
    // Between two letters: at the next space.
    Encoded result = changed(joined({cellsOf(U"a"), cellsOf(U"bc d", kYellow)}), 4);
    EXPECT_EQ(result.pairs, "1472 6162 6300 112a 6400");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608ColorLate, 15005, 2}}));
    // One column for two codes.
    result = changed(cellsOf(U"Hi", kRedItalic));
    EXPECT_EQ(result.pairs, "1468 4869");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608ItalicsLate, 15000, 2}}));
    result = changed(joined({cellsOf(U"a b ", kItalic), cellsOf(U"c", kRedItalic)}));
    EXPECT_EQ(result.pairs, "146e 6120 6200 1128 6300");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608ItalicsLate, 15004, 1}}));
    result = changed(joined({cellsOf(U"a "), cellsOf(U"b", {.background = Color::Blue, .isItalic = true})}));
    EXPECT_EQ(result.pairs, "1460 6120+1024 6200");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608ItalicsLate, 15002, 1}, {Cea608BackgroundEarly, 15001, 1}}));
    // Nothing becomes black on black.
    result = changed(joined({cellsOf(U"a "), cellsOf(U"b", {.foreground = Color::Black, .background = Color::White})}));
    EXPECT_EQ(result.pairs, "1460 6120 6200");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608ColorLate, 15002, 1}, {Cea608BackgroundLate, 15002, 1}}));
    result = changed(cellsOf(U"ab", kOnBlue));
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608BackgroundLate, 15000, 2}}));
    // A background begins a column early.
    result = changed(cellsOf(U"ab", kOnBlue), 4);
    EXPECT_EQ(result.pairs, "1470 1723 2000+1024 6162");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608BackgroundEarly, 15003, 1}}));
    result = changed(joined({cellsOf(U"a "), cellsOf(U"b", kOnBlue)}));
    EXPECT_EQ(result.pairs, "1460 6120+1024 6200");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608BackgroundEarly, 15001, 1}}));
    // Flash has no column in front of the first one, and gives way to a colour.
    const Cell flashing{.isFlashing = true};
    result = changed(cellsOf(U"a", flashing));
    EXPECT_EQ(result.pairs, "1460 6100");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608FlashLate, 15000, 1}}));
    result = changed(joined({cellsOf(U"a "), cellsOf(U"b", {.foreground = Color::Red, .isFlashing = true})}));
    EXPECT_EQ(result.pairs, "1460 6100 1128 6200");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608FlashLate, 15002, 1}}));
    // Without a space it goes on.
    result = changed(joined({cellsOf(U" a", flashing), cellsOf(U"b c")}));
    EXPECT_EQ(result.pairs, "1460 1428 6162 1120 6300");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608FlashLate, 15002, 1}}));
    result = changed(cellsOf(U"a", {.backgroundOpacity = Opacity::Flash}));
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608FlashLeftOut, 15000, 1}}));
}

// 47 CFR 15.119 (h): the code (14 28) takes a column, and a colour or italics behind it end flashing.
TEST(CaptionStyles, FlashFromASpaceOn) {
    const Cell flashing{.isFlashing = true};
    Encoded result = changed(cellsOf(U"a", flashing), 4);
    EXPECT_EQ(result.pairs, "1470 1723 1428 6100");
    EXPECT_TRUE(result.findings.empty());
    result = changed(joined({cellsOf(U"a "), cellsOf(U"b", flashing), cellsOf(U" c")}));
    EXPECT_EQ(result.pairs, "1460 6100 1428 6200 1120 6300");
    EXPECT_TRUE(result.findings.empty());
    result = changed(joined({cellsOf(U"a  "), cellsOf(U"b", {.isItalic = true, .isFlashing = true}), cellsOf(U" "),
                             cellsOf(U"c", {.isItalic = true})}));
    EXPECT_EQ(result.pairs, "1460 6100 112e 1428 6200 112e 6300");
    EXPECT_TRUE(result.findings.empty());
    // A new colour ends it, so that it is asked for anew.
    result =
        changed(joined({cellsOf(U" a  ", flashing), cellsOf(U"b", {.foreground = Color::Red, .isFlashing = true})}));
    EXPECT_EQ(result.pairs, "1460 1428 6100 1128 1428 6200");
    EXPECT_TRUE(result.findings.empty());
}

TEST(CaptionFindings, SayWhichLettersAreSolid) {
    using enum FindingCode;
    const Encoded result = changed(joined({cellsOf(U"a"), cellsOf(U"bc ", {.foregroundOpacity = Opacity::Transparent}),
                                           cellsOf(U"d", {.foregroundOpacity = Opacity::Translucent}),
                                           cellsOf(U"e", {.foregroundOpacity = Opacity::Flash})}));
    EXPECT_EQ(result.pairs, "1460 6162 6320 6465");
    EXPECT_EQ(result.findings,
              (std::vector<Found>{
                  {Cea608OpacityLeftOut, 15001, 2}, {Cea608FlashLate, 15005, 1}, {Cea608OpacityLeftOut, 15004, 1}}));
}

TEST(CaptionFindings, SayWhatIsSentAsSpaces) {
    using enum FindingCode;
    using enum qlx::screen::CellSide;
    // Letters of double width, then a lower half and a concealed letter.
    const Encoded result = changed(joined({cellsOf(U"H", {.side = LeftHalf}), cellsOf(U"H", {.side = RightHalf}),
                                           cellsOf(U"i", {.side = LeftHalf}), cellsOf(U"i", {.side = RightHalf}),
                                           cellsOf(U"j", {.part = qlx::screen::CellPart::LowerHalf}),
                                           cellsOf(U"k ", {.isConcealed = true}), cellsOf(U"l")}));
    EXPECT_EQ(result.pairs, "1460 4820 6920 2020 206c");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608TextLeftOut, 15001, 1}, {Cea608TextLeftOut, 15003, 3}}));
}

TEST(CaptionFindings, SayWhatIsReplaced) {
    using enum FindingCode;
    Encoded result = changed(cellsOf(U"a\u2019Жe\u0142"));
    EXPECT_EQ(result.pairs, "1460 6127 3f65 6c00");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608CharacterReplaced, 0x2019, '\''},
                                                   {Cea608CharacterReplaced, 0x416, '?'},
                                                   {Cea608CharacterReplaced, 0x142, 'l'}}));
    // Two thirds of red are red, of green one third is none.
    result = changed(cellsOf(U"a", {.foreground = qlx::screen::colorOf(2, 1, 0)}));
    EXPECT_EQ(result.pairs, "1468 6100");
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608ColorReplaced, 0x24, 0x30}}));
}

TEST(CaptionFindings, SayWhereRowsGo) {
    using enum FindingCode;
    const std::u32string word = U"0123456789012345678901234567890123456789";
    // Broken at the last space that leaves 32 columns; both rows move up to stay on the screen.
    Encoded result = changed(cellsOf(word.substr(0, 20) + U"  " + word.substr(0, 12)));
    EXPECT_EQ(result.findings,
              (std::vector<Found>{
                  {Cea608RowBroken, 15021, 1}, {Cea608RowMoved, 15000, 14000}, {Cea608RowMoved, 15022, 15000}}));
    EXPECT_EQ(result.pairs.substr(0, 9), "1440 3031");
    EXPECT_EQ(result.pairs.substr(result.pairs.size() - 35), " 1460 3031 3233 3435 3637 3839 3031");
    // A word that is longer than a row is cut.
    result = changed(cellsOf(word + U" x"));
    EXPECT_EQ(result.findings, (std::vector<Found>{{Cea608RowCut, 15032, 8},
                                                   {Cea608RowBroken, 15040, 1},
                                                   {Cea608RowMoved, 15000, 14000},
                                                   {Cea608RowMoved, 15041, 15000}}));
    // A row moves to the left, and onto the screen.
    EXPECT_EQ(changed(cellsOf(U"Hi"), 31).findings, (std::vector<Found>{{Cea608RowMoved, 15000, 15030}}));
    EXPECT_EQ(changed(cellsOf(U"Hi"), 0, 20).findings, (std::vector<Found>{{Cea608RowMoved, 20000, 15000}}));
    EXPECT_EQ(changed(cellsOf(U"Hi"), 0, 0).findings, (std::vector<Found>{{Cea608RowMoved, 0, 1000}}));
    EXPECT_EQ(changed(cellsOf(U"Hi"), 0, 0).pairs, "1140 4869");
    Caption caption;
    for (std::uint8_t row = 8; row < 13; ++row) {
        caption.rows.push_back({row, 0, cellsOf(U"x")});
    }
    EXPECT_EQ(encoded(caption).findings, (std::vector<Found>{{Cea608RowLeftOut, 12000, 1}}));
    EXPECT_EQ((Finding{Cea608RowMoved, {}, 0, 20000, 15030}).text(),
              "text of row 20, column 0 is shown at row 15, column 30");
}

}  // namespace
