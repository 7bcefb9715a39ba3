// Texts as codes and placements, and placements as packets.
#include <qlx/teletext/row_encoder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::teletext;
using Fit = CellCode::Fit;

CharacterSet setOf(std::string_view language) {
    return *characterSetOf(*designationOf(language));
}

std::u32string shown(std::u32string_view text, std::string_view language) {
    std::u32string characters;
    for (const DisplayCell& cell : displayCells(text, setOf(language))) {
        characters += cell.character;
    }
    return characters;
}

TEST(TeletextEncoder, GivesTheCodesOfTheSet) {
    EXPECT_EQ(encodeCharacter(U'ß', setOf("de")), (CellCode{.code = 0x7E, .shown = U'ß'}));
    EXPECT_EQ(encodeCharacter(U'Ж', setOf("ru")), (CellCode{.code = 0x56, .shown = U'Ж'}));
    EXPECT_EQ(encodeCharacter(U'ש', setOf("he")), (CellCode{.code = 0x79, .shown = U'ש'}));
}

TEST(TeletextEncoder, PlacesWhatTheSetLacksOverTheNearestLetter) {
    // E with an acute accent in English: G2's mark 2 on plain E, over E.
    EXPECT_EQ(encodeCharacter(U'É', setOf("en")), (CellCode{'E', 0x12, 'E', U'É'}));
    EXPECT_EQ(encodeCharacter(U'ž', setOf("en")), (CellCode{'z', 0x1F, 'z', U'ž'}));
    // The set's own letter lies under it where it is in the set.
    EXPECT_EQ(encodeCharacter(U'ø', setOf("da")), (CellCode{'o', 0x0F, 0x79, U'ø'}));
    EXPECT_EQ(encodeCharacter(U'æ', setOf("da")), (CellCode{'a', 0x0F, 0x71, U'æ'}));
    EXPECT_EQ(encodeCharacter(U'ß', setOf("fr")), (CellCode{'s', 0x0F, 0x7B, U'ß'}));
    EXPECT_EQ(encodeCharacter(U'♪', setOf("de")), (CellCode{'#', 0x0F, 0x55, U'♪'}));
    EXPECT_EQ(encodeCharacter(U'[', setOf("fr")), (CellCode{'(', 0x10, '[', U'['}));
    EXPECT_EQ(encodeCharacter(U'@', setOf("de")), (CellCode{'a', 0x10, 0x2A, U'@'}));
    EXPECT_EQ(encodeCharacter(U'¿', setOf("de")), (CellCode{'?', 0x0F, 0x3F, U'¿'}));
    // Cyrillic: the mark on the letter of the page; Latin letters over those of the same sound.
    EXPECT_EQ(encodeCharacter(U'ё', setOf("ru")), (CellCode{0x65, 0x18, 0x65, U'ё'}));
    EXPECT_EQ(encodeCharacter(U'D', setOf("ru")), (CellCode{0x44, 0x0F, 0x60, U'D'}));
    EXPECT_EQ(encodeCharacter(U'A', setOf("ru")), (CellCode{0x41, 0x10, 0x41, U'A'}));
    EXPECT_EQ(encodeCharacter(U'Ό', setOf("el")), (CellCode{0x4F, 0x12, 0x4F, U'Ό'}));
    EXPECT_EQ(encodeCharacter(U'Ά', setOf("el")), (CellCode{0x41, 0x0F, 0x6E, U'Ά'}));
    // Hebrew has the capitals.
    EXPECT_EQ(encodeCharacter(U'q', setOf("he")), (CellCode{'Q', 0x0F, 'q', U'q'}));
    EXPECT_EQ(encodeCharacter(U'٣', setOf("ar")), (CellCode{'3', 0x0F, 0x33, U'٣'}));
}

TEST(TeletextEncoder, SaysWhatIsShownForAnother) {
    const auto expect = [](char32_t character, std::string_view language, char32_t shown, Fit fit) {
        const CellCode code = encodeCharacter(character, setOf(language));
        EXPECT_EQ(code.shown, shown) << static_cast<unsigned>(character);
        EXPECT_EQ(code.fit, fit) << static_cast<unsigned>(character);
    };
    expect(U'\u2013', "en", U'-', Fit::Replaced);
    expect(U'\u00A0', "fr", U' ', Fit::Replaced);
    expect(U'ș', "ro", U'ş', Fit::Replaced);
    expect(U'ë', "ru", U'ё', Fit::Replaced);
    expect(U'…', "en", U'.', Fit::Missing);
    expect(U'€', "de", U'E', Fit::Missing);
    expect(U'漢', "de", U'?', Fit::Missing);
    expect(U'Ж', "de", U'?', Fit::Missing);
    expect(U'\n', "de", U'?', Fit::Missing);
    expect(U'ґ', "uk", U'г', Fit::Missing);
}

TEST(TeletextEncoder, FillsCellsOfARow) {
    std::array<std::uint8_t, kDataBytes> codes{};
    codes.fill(0x20);
    std::vector<Placement> placements;
    qlx::Findings findings;
    const CharacterSet set = setOf("en");
    const auto cells = displayCells(U"E\u0301te\u0301 漢\u20DD", set, &findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::TeletextMarkLeftOut);
    EXPECT_EQ(findings[0].offset, 7U);
    ASSERT_EQ(cells.size(), 5U);
    EXPECT_EQ(cells[4], (DisplayCell{U'漢', 6}));
    EXPECT_EQ(encodeCells(cells, set, 20, 3, codes, placements, &findings), 5U);
    EXPECT_EQ(std::string(codes.begin(), codes.begin() + 9), "   Ete ? ");
    EXPECT_EQ(placements, (std::vector<Placement>{{20, 3, 0x12, 'E'}, {20, 5, 0x12, 'e'}}));
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[1].code, qlx::FindingCode::TeletextCharacterMissing);
    EXPECT_EQ(findings[1].offset, 6U);
    EXPECT_EQ(findings[1].first, 0x6F22);
    EXPECT_EQ(findings[1].second, U'?');
    // The row ends.
    EXPECT_EQ(encodeCells(cells, set, 20, 38, codes, placements), 2U);
    EXPECT_EQ(encodeCells(cells, set, 20, 40, codes, placements), 0U);
}

TEST(TeletextEncoder, ChoosesTheSetThatNeedsTheFewestPlacements) {
    const auto choose = [](std::vector<std::u32string_view> texts) {
        SetChoice choice;
        for (const std::u32string_view text : texts) {
            choice.add(text);
        }
        return choice.designation();
    };
    EXPECT_EQ(choose({}), 0x00);
    EXPECT_EQ(choose({U"Plain letters"}), 0x00);
    EXPECT_EQ(choose({U"Grüße aus Köln"}), 0x01);
    EXPECT_EQ(choose({U"Älä pelkää, åland"}), 0x02);
    EXPECT_EQ(choose({U"L'été à Noël", U"ça va ?"}), 0x04);
    EXPECT_EQ(choose({U"Příliš žluťoučký kůň"}), 0x06);
    EXPECT_EQ(choose({U"Zażółć gęślą jaźń"}), 0x08);
    EXPECT_EQ(choose({U"Съешь ещё этих"}), 0x24);
    EXPECT_EQ(choose({U"Љубав, ђак"}), 0x20);
    EXPECT_EQ(choose({U"Їжак і єнот"}), 0x25);
    EXPECT_EQ(choose({U"Καλημέρα"}), 0x37);
    EXPECT_EQ(choose({U"שלום"}), 0x55);
    EXPECT_EQ(choose({U"مرحبا"}), 0x47);
}

TEST(TeletextOrder, TurnsHebrewAndArabicRows) {
    EXPECT_EQ(shown(U"שלום עולם", "he"), U"םלוע םולש");
    EXPECT_EQ(shown(U"(שלום) 123 abc!", "he"), U"!123 abc (םולש)");
    EXPECT_EQ(shown(U"ב-12:30, 50% ו-7.", "he"), U".7-ו 50% ,12:30-ב");
    EXPECT_EQ(shown(U"ABC אבג 12", "he"), U"ABC גבא 12");
    EXPECT_EQ(shown(U"- 5?", "he"), U"?5 -");
    // Initial, medial and final forms; lam and alef are one; letters that join only the one before.
    EXPECT_EQ(shown(U"بيت", "ar"), U"\uFE96\uFEF4\uFE91");
    EXPECT_EQ(shown(U"سلام", "ar"), U"\uFEE1\uFEFC\uFEB3");
    EXPECT_EQ(shown(U"دار", "ar"), U"\uFEAD\uFE8D\uFEA9");
    EXPECT_EQ(shown(U"لا", "ar"), U"\uFEFB");
    EXPECT_EQ(shown(U"بَ", "ar"), U"\uFE8F");
    // Letters of Persian: yeh, gaf, alef with wasla, zheh.
    EXPECT_EQ(shown(U"\u06CC\u06CC\u06CC", "ar"), U"\uFBFD\uFBFF\uFBFE");
    EXPECT_EQ(shown(U"\u0628\u0698\u06AF\u0671", "ar"), U"\uFB51\uFB94\uFB8B\uFE91");
    // Sets from the left to the right keep what they do not have.
    EXPECT_EQ(shown(U"a שלום", "de"), U"a שלום");
    // The places that they are from.
    const auto cells = displayCells(U"ab שׁ1", setOf("he"));
    ASSERT_EQ(cells.size(), 5U);
    EXPECT_EQ(cells[3], (DisplayCell{U'ש', 3}));
    EXPECT_EQ(cells[4], (DisplayCell{U'1', 5}));
}

TEST(TeletextOrder, SaysWhatWillBeReadOtherwise) {
    qlx::Findings findings;
    (void)displayCells(U"אבג abc", setOf("he"), &findings);
    EXPECT_TRUE(findings.empty());
    // On the screen nothing says that this one begins with the Latin word.
    (void)displayCells(U"abc אבג", setOf("he"), &findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::TeletextOrderLost);
    // The Arabic letter that it begins with is a question mark there: the row begins with a Latin word.
    (void)displayCells(U"ب abc", setOf("he"), &findings);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[1], (qlx::Finding{qlx::FindingCode::TeletextOrderLost, qlx::Severity::Warning, 0, 0, 5}));
    (void)displayCells(U"ب אבג", setOf("he"), &findings);
    EXPECT_EQ(findings.size(), 2U);
}

TEST(TeletextOrder, EncodesArabicInTheFormsThatTheSetsHave) {
    const CharacterSet set = setOf("ar");
    // The final form of beh is drawn as the isolated one, seen has only one form: letters are kept.
    EXPECT_EQ(encodeCharacter(U'\uFE90', set), (CellCode{.code = 0x43, .shown = U'\uFE8F'}));
    EXPECT_EQ(encodeCharacter(U'\uFEB2', set), (CellCode{.code = 0x53, .shown = U'\uFEB3'}));
    // The yeh of Persian is drawn as the Arabic one with its points, at the end without them; gaf is drawn as kaf.
    EXPECT_EQ(encodeCharacter(U'\uFBFE', set).shown, encodeCharacter(U'\uFEF3', set).shown);
    EXPECT_EQ(encodeCharacter(U'\uFBFF', set).shown, encodeCharacter(U'\uFEF4', set).shown);
    EXPECT_EQ(encodeCharacter(U'\uFBFD', set).shown, encodeCharacter(U'\uFEF0', set).shown);
    EXPECT_EQ(encodeCharacter(U'\uFB94', set).code, encodeCharacter(U'\uFEDB', set).code);
    EXPECT_EQ(encodeCharacter(U'\uFB8B', set).code, encodeCharacter(U'\uFEB0', set).code);
    // Alef with hamza is in G2.
    EXPECT_EQ(encodeCharacter(U'\uFE84', set).mode, 0x0F);
    EXPECT_EQ(encodeCharacter(U'\uFE84', set).placedCode, 0x23);
    EXPECT_EQ(encodeCharacter(U'\uFE84', set).code, 0x47);
    for (char32_t letter = 0x621; letter <= 0x64A; ++letter) {
        if (letter <= 0x63A || letter >= 0x641) {
            EXPECT_EQ(encodeCharacter(letter, set).fit, Fit::Exact) << static_cast<unsigned>(letter);
        }
    }
}

// Packets

std::vector<Triplet> tripletsOf(std::span<const Packet> packets) {
    std::vector<Triplet> triplets;
    for (std::size_t index = 0; index < packets.size(); ++index) {
        const auto packet = parseTriplets(packets[index]);
        EXPECT_TRUE(packet && packet->number == kEnhancement && packet->designation == index && packet->magazine == 8);
        triplets.insert(triplets.end(), packet->triplets.begin(), packet->triplets.end());
    }
    return triplets;
}

TEST(TeletextEnhancement, GoesThroughRowsAndColumnsUpwards) {
    const std::vector<Placement> placements{{22, 7, 0x12, 'e'}, {24, 39, 0x0F, 0x55}, {20, 30, 0x11, 'a'},
                                            {22, 3, 0x10, '['}, {0, 9, 0x0F, 0x24},   {22, 7, 0x13, 'e'}};
    std::array<Packet, kEnhancementPackets> room{};
    qlx::Findings findings;
    ASSERT_EQ(enhancementPackets(placements, 8, room, &findings), 1U);
    EXPECT_TRUE(findings.empty());
    const Triplet end(0x3FFFF);
    const std::vector<Triplet> expected{Triplet::make(63, 0x07, 0),
                                        Triplet::make(9, 0x0F, 0x24),
                                        Triplet::make(60, 0x04, 0),
                                        Triplet::make(30, 0x11, 'a'),
                                        Triplet::make(62, 0x04, 0),
                                        Triplet::make(3, 0x10, '['),
                                        Triplet::make(7, 0x13, 'e'),
                                        Triplet::make(40, 0x04, 0),
                                        Triplet::make(39, 0x0F, 0x55),
                                        end,
                                        end,
                                        end,
                                        end};
    EXPECT_EQ(tripletsOf(std::span(room).first(1)), expected);
    EXPECT_EQ(enhancementPackets({}, 8, room), 0U);
}

TEST(TeletextEnhancement, FillsSixteenPacketsAndNamesTheRest) {
    std::vector<Placement> placements;
    for (std::uint8_t row = 1; row <= 8; ++row) {
        for (std::uint8_t column = 0; column < 40; ++column) {
            placements.push_back({row, column, 0x0F, 0x21});
        }
    }
    std::array<Packet, kEnhancementPackets> room{};
    qlx::Findings findings;
    ASSERT_EQ(enhancementPackets(placements, 8, room, &findings), 16U);
    const auto triplets = tripletsOf(room);
    // Six row triplets and 202 characters: five rows and two.
    EXPECT_EQ(triplets.back(), Triplet::make(1, 0x0F, 0x21));
    EXPECT_EQ(findings.size(), 320U - 202U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::TeletextPlacementLeftOut);
    EXPECT_EQ(findings[0].first, 6);
    EXPECT_EQ(findings[0].second, 2);
    // As many as there is room for, and no placement that is none.
    findings.clear();
    EXPECT_EQ(enhancementPackets(placements, 8, std::span(room).first(2), &findings), 2U);
    EXPECT_EQ(findings.size(), 320U - 25U);
    findings.clear();
    const std::vector<Placement> wrong{{25, 0, 0x0F, 0x21}, {1, 40, 0x0F, 0x21}, {1, 0, 0x0E, 0x21},
                                       {1, 0, 0x20, 0x21},  {1, 0, 0x0F, 0x1F},  {1, 0, 0x0F, 0x80}};
    EXPECT_EQ(enhancementPackets(wrong, 8, room, &findings), 0U);
    EXPECT_EQ(findings.size(), wrong.size());
    EXPECT_EQ(enhancementPackets(std::span(placements).first(1), 9, room, &findings), 0U);
    EXPECT_EQ(findings.size(), wrong.size() + 1);
}

TEST(TeletextEnhancement, DesignatesTheSetOfAPageAndOfAMagazine) {
    const auto packet = designationPacket(3, 0x25);
    ASSERT_TRUE(packet);
    const auto triplets = parseTriplets(*packet);
    ASSERT_TRUE(triplets);
    EXPECT_EQ(triplets->magazine, 3);
    EXPECT_EQ(triplets->number, kPageDesignation);
    EXPECT_EQ(triplets->designation, 0);
    // EN 300 706, clause 9.4.2: function 0, coding 0, designation 25h, second set 7Fh up to bit 3 of the next triplet,
    // no side panels; then colours from bit 11 on: red Fh, green 0h, ...
    EXPECT_EQ(triplets->triplets[0].bits(), 0x25U << 7U | 0xFU << 14U);
    EXPECT_EQ(triplets->triplets[1].bits(), 0x7U | 0xFU << 10U | 0x0U << 14U);
    EXPECT_EQ(triplets->triplets[2].bits() & 0xFU, 5U);
    EXPECT_EQ(triplets->triplets[12].bits() >> 4U, 0U);
    EXPECT_EQ(designationIn(*triplets), 0x25);
    const auto magazine = magazineDesignationPacket(8, 0x55);
    ASSERT_TRUE(magazine);
    EXPECT_EQ(magazine->number, kMagazineDesignation);
    EXPECT_EQ(designationIn(*parseTriplets(*magazine)), 0x55);
    EXPECT_FALSE(designationPacket(9, 0));
    EXPECT_FALSE(designationPacket(1, 0x80));
    // Others designate nothing.
    TripletPacket other = *triplets;
    other.designation = 4;
    EXPECT_EQ(designationIn(other), std::nullopt);
    other = *triplets;
    other.damaged = 1;
    EXPECT_EQ(designationIn(other), std::nullopt);
    other = *triplets;
    other.triplets[0] = Triplet(other.triplets[0].bits() | 4U);
    EXPECT_EQ(designationIn(other), std::nullopt);
    EXPECT_EQ(designationIn(TripletPacket{}), std::nullopt);
}

}  // namespace
