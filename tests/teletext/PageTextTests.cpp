// Texts of all languages and alphabets through packets and back, and what X/26, X/28 and M/29 do to a page.
#include "TeletextTexts.h"

#include <qlx/teletext/page.h>

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace {

using namespace qlx::teletext;
using qlxtest::pagePackets;
using Row = std::u32string_view;

/// What is read in a row.
std::u32string textOf(const PageReader& page, std::size_t row) {
    std::u32string text;
    const auto screen = page.screen();
    std::size_t end = 0;
    for (const auto& cell : readingOrder(screen.row(row), page.characterSet())) {
        if (!text.empty() || cell.hasText()) {
            text += cell.isVisible ? cell.shownCharacter() : U' ';
            end = cell.hasText() ? text.size() : end;
        }
    }
    text.resize(end);
    return text;
}

void receiveAll(PageReader& page, std::span<const Packet> packets, qlx::FindingSink* findings = nullptr) {
    for (const Packet& packet : packets) {
        (void)page.receive(packet, findings);
    }
}

TEST(TeletextTexts, ComeBackInEveryLanguage) {
    std::set<NationalOption> options;
    std::set<G0Set> sets;
    for (const auto& [language, rows] : qlxtest::languageLetters()) {
        const std::uint8_t designation = *designationOf(language);
        const CharacterSet set = *characterSetOf(designation);
        sets.insert(set.g0);
        if (set.g0 == G0Set::Latin) {
            options.insert(set.option);
        }
        qlx::Findings findings;
        PageReader page;
        receiveAll(page, pagePackets(rows, designation, &findings), &findings);
        EXPECT_TRUE(findings.empty()) << language << ": " << (findings.empty() ? "" : findings[0].text());
        EXPECT_EQ(page.characterSet(), set);
        for (std::size_t row = 0; row < rows.size(); ++row) {
            EXPECT_TRUE(textOf(page, row + 1) == rows[row]) << language << ", row " << row + 1;
        }
    }
    EXPECT_EQ(options.size(), kNationalOptions);
    EXPECT_EQ(sets.size(), 7U);
}

/// Which characters come back as they are in a set, alone in a row.
std::u32string fitting(const CharacterSet& set) {
    std::u32string characters;
    for (char32_t character = 0x21; character < 0x2700; ++character) {
        const auto cells = displayCells(std::u32string_view(&character, 1), set);
        if (cells.size() == 1 && encodeCharacter(cells[0].character, set).fit == CellCode::Fit::Exact) {
            characters += character;
        }
    }
    return characters;
}

TEST(TeletextTexts, ComeBackOrAreNamed) {
    std::mt19937 random(13);
    std::size_t changed = 0;
    std::vector<CharacterSet> seen;
    for (unsigned designation = 0; designation < kDesignations; ++designation) {
        const auto set = characterSetOf(static_cast<std::uint8_t>(designation));
        if (!set || std::find(seen.begin(), seen.end(), *set) != seen.end()) {
            continue;
        }
        seen.push_back(*set);
        const std::u32string letters = fitting(*set);
        ASSERT_GT(letters.size(), 150U) << designation;
        for (int page = 0; page < 9; ++page) {
            std::vector<std::u32string> texts(4);
            for (std::u32string& text : texts) {
                for (std::size_t count = random() % 36 + 1; count > 0; --count) {
                    // A space here and there, and in the later pages characters that may not be there.
                    const bool isAny = page >= 6 && random() % 8 == 0;
                    text += random() % 6 == 0 && !text.empty() && count > 1 ? U' '
                            : isAny ? static_cast<char32_t>(0x21 + random() % 0x2200)
                                    : letters[random() % letters.size()];
                }
            }
            const std::vector<Row> rows(texts.begin(), texts.end());
            qlx::Findings findings;
            PageReader reader;
            receiveAll(reader, pagePackets(rows, static_cast<std::uint8_t>(designation), &findings));
            for (std::size_t row = 0; row < rows.size(); ++row) {
                if (textOf(reader, row + 1) != rows[row]) {
                    ++changed;
                    EXPECT_FALSE(findings.empty()) << "designation " << designation << ", page " << page;
                }
            }
            EXPECT_TRUE(page >= 6 || set->isRightToLeft() || findings.empty()) << designation << findings[0].text();
        }
    }
    EXPECT_GT(changed, 0U);
}

std::vector<Packet> enhanced(std::vector<Triplet> triplets, std::uint8_t designation = 0) {
    TripletPacket packet{.designation = designation};
    packet.triplets.fill(Triplet(0x3FFFF));
    std::copy(triplets.begin(), triplets.end(), packet.triplets.begin());
    return {*packetOf(packet)};
}

const Packet kBegun = *packetOf(PageHeader{.page = 0x888, .subcode = 0});
const Packet kErased = *packetOf(PageHeader{.page = 0x888, .subcode = 0, .erasesPage = true});
constexpr std::array<std::uint8_t, 4> kAbcd{'a', 'b', 'c', 'd'};

TEST(TeletextEnhancedPage, PutsCharactersOverRowsUntilTheyAreErased) {
    PageReader page;
    receiveAll(page, std::vector{kBegun, *rowPacket(8, 1, kAbcd), *rowPacket(8, 24, kAbcd)});
    // A G2 character, a mark on a letter, a letter without one, the commercial at; row 24; behind the terminator nothing.
    EXPECT_TRUE(
        page.receive(enhanced({Triplet::make(41, 4, 0), Triplet::make(0, 0x0F, 0x7B), Triplet::make(1, 0x14, 'n'),
                               Triplet::make(2, 0x10, '['), Triplet::make(3, 0x10, '*'), Triplet::make(40, 4, 0),
                               Triplet::make(0, 0x18, 'u'), Triplet(0x3FFFF), Triplet::make(1, 0x0F, 0x7B)})[0]));
    EXPECT_EQ(textOf(page, 1), U"ßñ[@");
    EXPECT_EQ(textOf(page, 24), U"übcd");
    // A row that comes again is under them.
    EXPECT_TRUE(page.receive(*rowPacket(8, 1, kAbcd)));
    EXPECT_EQ(textOf(page, 1), U"ßñ[@");
    // A header without C4 keeps them; packet 0 replaces all.
    receiveAll(page, std::vector{kBegun});
    EXPECT_EQ(textOf(page, 24), U"übcd");
    EXPECT_TRUE(page.receive(enhanced({Triplet::make(41, 4, 0), Triplet::make(3, 0x10, '~')})[0]));
    EXPECT_EQ(textOf(page, 1), U"abc~");
    EXPECT_EQ(textOf(page, 24), U"abcd");
    receiveAll(page, std::vector{kErased, *rowPacket(8, 1, kAbcd)});
    EXPECT_EQ(textOf(page, 1), U"abcd");
}

TEST(TeletextEnhancedPage, PutsNothingOfAnEarlierTransmissionOverNewRows) {
    PageReader page;
    const auto over = [](unsigned row) {
        return enhanced({Triplet::make(40 + row, 4, 0), Triplet::make(0, 0x0F, 0x7B)})[0];
    };
    receiveAll(page, std::vector{kBegun, over(1), *rowPacket(8, 1, kAbcd), *rowPacket(8, 2, kAbcd)});
    EXPECT_EQ(textOf(page, 1), U"ßbcd");
    // The row comes again behind another header, without C4 and without X/26.
    receiveAll(page, std::vector{kBegun, *rowPacket(8, 2, kAbcd)});
    EXPECT_EQ(textOf(page, 1), U"ßbcd");
    receiveAll(page, std::vector{kBegun, *rowPacket(8, 1, kAbcd)});
    EXPECT_EQ(textOf(page, 1), U"abcd");
    // Of what comes anew the packet in front is lost: those of before are no part of it.
    receiveAll(page, std::vector{kBegun, over(2), *rowPacket(8, 2, kAbcd), kBegun,
                                 enhanced({Triplet::make(41, 4, 0), Triplet::make(3, 0x0F, 0x7B)}, 1)[0],
                                 *rowPacket(8, 1, kAbcd), *rowPacket(8, 2, kAbcd)});
    EXPECT_EQ(textOf(page, 1), U"abcß");
    EXPECT_EQ(textOf(page, 2), U"abcd");
}

TEST(TeletextEnhancedPage, TellsOfMosaicsAndKeepsLinks) {
    PageReader page;
    qlx::Findings findings;
    const auto lines = enhanced({Triplet::make(41, 4, 0), Triplet::make(0, 2, 0x51), Triplet::make(1, 2, 0x52)});
    Packet link = *packetOf(TripletPacket{});
    link.number = kLinks;
    receiveAll(page, std::vector{link, kBegun, lines[0], link, *rowPacket(8, 1, kAbcd)}, &findings);
    EXPECT_EQ(textOf(page, 1), U"abcd");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].text(), "packet X/26 has 2 block mosaics or lines (G3), which are not shown");
    ASSERT_EQ(page.links().size(), 1U);
    EXPECT_EQ(page.links()[0], link);
    receiveAll(page, std::vector{kBegun});
    EXPECT_TRUE(page.links().empty());
    for (int count = 0; count < 20; ++count) {
        receiveAll(page, std::vector{link});
    }
    EXPECT_EQ(page.links().size(), 16U);
}

TEST(TeletextEnhancedPage, PassesOnWhatStandsBelowItsRows) {
    PageReader page;
    Packet below = *rowPacket(8, 1, kAbcd);
    below.number = kBelowRows;
    Packet other = below;
    other.magazine = 7;
    // Neither of no page, nor of another magazine.
    receiveAll(page, std::vector{below, kBegun, other});
    EXPECT_FALSE(page.belowRows());
    EXPECT_FALSE(page.receive(below));
    ASSERT_TRUE(page.belowRows());
    EXPECT_EQ(*page.belowRows(), below);
    for (std::size_t row = 1; row < PageReader::kRows; ++row) {
        EXPECT_EQ(textOf(page, row), U"");
    }
    // It stays as rows do, up to a header that erases the page.
    PageHeader again = *parseHeader(kBegun);
    again.erasesPage = false;
    receiveAll(page, std::vector{*packetOf(again)});
    EXPECT_TRUE(page.belowRows());
    again.erasesPage = true;
    receiveAll(page, std::vector{*packetOf(again)});
    EXPECT_FALSE(page.belowRows());
}

TEST(TeletextEnhancedPage, TakesWhatIsItsOwn) {
    PageReader page;
    const auto some = enhanced({Triplet::make(41, 4, 0), Triplet::make(0, 0x0F, 0x7B)});
    Packet other = some[0];
    other.magazine = 7;
    // In front of its header, of another magazine, behind a closing header.
    EXPECT_FALSE(page.receive(some[0]));
    receiveAll(page, std::vector{kBegun, *rowPacket(8, 1, kAbcd), other, *packetOf(PageHeader{}), some[0],
                                 *designationPacket(8, 0x24)});
    EXPECT_EQ(textOf(page, 1), U"abcd");
    EXPECT_EQ(page.characterSet(), CharacterSet{});
}

TEST(TeletextEnhancedPage, DoesNotGuessTheRowBehindALostTriplet) {
    PageReader page;
    qlx::Findings findings;
    auto packet = enhanced({Triplet::make(41, 4, 0), Triplet::make(0, 0x0F, 0x7B), Triplet::make(42, 4, 0),
                            Triplet::make(1, 0x0F, 0x7B), Triplet::make(43, 4, 0), Triplet::make(2, 0x0F, 0x7B)});
    // Two wrong bits in the third triplet, one in the sixth.
    packet[0].data[7] ^= 0x06U;
    packet[0].data[16] ^= 0x01U;
    receiveAll(
        page, std::vector{kBegun, *rowPacket(8, 1, kAbcd), *rowPacket(8, 2, kAbcd), *rowPacket(8, 3, kAbcd), packet[0]},
        &findings);
    EXPECT_EQ(textOf(page, 1), U"ßbcd");
    EXPECT_EQ(textOf(page, 2), U"abcd");
    EXPECT_EQ(textOf(page, 3), U"abßd");
    EXPECT_EQ(page.counts(), (ProtectionCounts{1, 1, 0}));
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::TeletextTripletWrong);
    EXPECT_EQ(findings[1].code, qlx::FindingCode::TeletextTripletCorrected);
    // A packet that is missing may have changed the row, too.
    page = PageReader();
    receiveAll(page, std::vector{kBegun, *rowPacket(8, 1, kAbcd), *rowPacket(8, 2, kAbcd),
                                 enhanced({Triplet::make(41, 4, 0), Triplet::make(0, 0x0F, 0x7B)}, 0)[0],
                                 enhanced({Triplet::make(1, 0x0F, 0x7B)}, 2)[0]});
    EXPECT_EQ(textOf(page, 1), U"ßbcd");
}

TEST(TeletextEnhancedPage, CopiesThemIntoTheLowerHalvesOfDoubleHeight) {
    PageReader page;
    const std::vector<std::uint8_t> codes{0x0D, 'a', 'b'};
    receiveAll(page, std::vector{kBegun, *rowPacket(8, 5, codes),
                                 enhanced({Triplet::make(45, 4, 0), Triplet::make(2, 0x18, 'o'),
                                           Triplet::make(46, 4, 0), Triplet::make(1, 0x18, 'o')})[0]});
    EXPECT_EQ(textOf(page, 5), U"aö");
    const auto screen = page.screen();
    EXPECT_EQ(screen.row(6)[2].character, U'ö');
    EXPECT_EQ(screen.row(6)[1].character, U'a');
    EXPECT_EQ(screen.row(6)[1].part, qlx::screen::CellPart::LowerHalf);
}

TEST(TeletextEnhancedPage, HasTheSetOfItsOwnPacketOfItsMagazineOrOfTheRegion) {
    const auto header = [](std::uint8_t option) {
        return *packetOf(PageHeader{.page = 0x888, .subcode = 0, .erasesPage = true, .nationalOption = option});
    };
    PageReader page(0x888, 0x08);
    receiveAll(page, std::vector{header(0), *rowPacket(8, 1, kAbcd)});
    EXPECT_EQ(page.characterSet().option, NationalOption::Polish);
    // Of another magazine; of its own, in front of any header or behind a closing one.
    EXPECT_FALSE(page.receive(*magazineDesignationPacket(1, 0x25)));
    EXPECT_EQ(page.characterSet().option, NationalOption::Polish);
    receiveAll(page, std::vector{*packetOf(PageHeader{}), *magazineDesignationPacket(8, 0x25), header(4),
                                 *rowPacket(8, 1, kAbcd)});
    EXPECT_EQ(page.characterSet().g0, G0Set::Cyrillic2);
    EXPECT_EQ(textOf(page, 1), U"абцд");
    // Its own packet is stronger, until the page is erased; the low bits are always those of the header.
    EXPECT_TRUE(page.receive(*designationPacket(8, 0x00)));
    EXPECT_EQ(page.characterSet().option, NationalOption::French);
    receiveAll(page, std::vector{header(5), *rowPacket(8, 1, kAbcd)});
    EXPECT_EQ(page.characterSet().g0, G0Set::Cyrillic3);
    (void)page.receive(*magazineDesignationPacket(8, 0x30));
    receiveAll(page, std::vector{header(7), *rowPacket(8, 1, kAbcd)});
    EXPECT_EQ(textOf(page, 1), U"αβγδ");
}

TEST(TeletextEnhancedPage, EndsWithAnyDamagedHeaderInSerialMode) {
    Packet damaged = *packetOf(PageHeader{.page = 0x100});
    damaged.data[0] ^= 0x03U;
    PageReader page;
    receiveAll(page, std::vector{*packetOf(PageHeader{.page = 0x888, .subcode = 0}), damaged});
    EXPECT_TRUE(page.isReceiving());
    receiveAll(page, std::vector{*packetOf(PageHeader{.page = 0x888, .subcode = 0, .isSerial = true}), damaged});
    EXPECT_FALSE(page.isReceiving());
}

TEST(TeletextReadingOrder, LeavesOtherRowsAlone) {
    const auto screen = PageReader().screen();
    EXPECT_EQ(readingOrder(screen.row(3), CharacterSet{.g0 = G0Set::Hebrew}).size(), 40U);
    PageReader page;
    receiveAll(page, std::vector{kBegun, *rowPacket(8, 1, kAbcd)});
    const auto shown = page.screen();
    const auto row = shown.row(1);
    EXPECT_EQ(readingOrder(row, {}), std::vector<qlx::screen::Cell>(row.begin(), row.end()));
}

}  // namespace
