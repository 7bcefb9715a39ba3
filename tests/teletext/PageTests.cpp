// The receiver of a page: rows, spacing attributes, the life of a page.
#include "ScreenLines.h"
#include "TeletextBytes.h"

#include <qlx/teletext/page.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>

namespace {

using namespace qlx::teletext;
namespace screen = qlx::screen;
using qlxtest::fromHex;
using qlxtest::linesOf;
using Lines = std::vector<std::string>;

// EN 300 706, clause 8.2.
constexpr std::array<std::uint8_t, 16> kHamming{0x15, 0x02, 0x49, 0x5E, 0x64, 0x73, 0x38, 0x2F,
                                                0xD0, 0xC7, 0x8C, 0x9B, 0xA1, 0xB6, 0xFD, 0xEA};

std::uint8_t odd(unsigned code) {
    return static_cast<std::uint8_t>(std::popcount(code) % 2 == 1 ? code : code | 0x80U);
}

/// What a header says beside its page.
struct Control {
    bool erases = false;
    bool isSubtitle = true;
    unsigned c7ToC10 = 1;   ///< C7 suppress header.
    unsigned c11ToC14 = 2;  ///< C12: French.
    unsigned magazine = 0;  ///< 0 is magazine 8.
};

/// Run-in, framing code, address and 40 bytes of data.
std::vector<std::uint8_t> packet(unsigned magazine, unsigned row, const std::vector<std::uint8_t>& data) {
    const std::array<std::uint8_t, 5> head{0x55, 0x55, 0x27, kHamming[magazine | (row & 1U) << 3U],
                                           kHamming[row >> 1U]};
    std::vector<std::uint8_t> bytes(45, 0x20);
    std::copy_n(data.begin(), std::min<std::size_t>(data.size(), 40),
                std::copy(head.begin(), head.end(), bytes.begin()));
    return bytes;
}

std::vector<std::uint8_t> header(unsigned page, const Control& control, std::string_view text = {}) {
    std::vector<std::uint8_t> data{kHamming[page & 15U],
                                   kHamming[page >> 4U],
                                   kHamming[0],
                                   kHamming[control.erases ? 8 : 0],
                                   kHamming[0],
                                   kHamming[control.isSubtitle ? 8 : 0],
                                   kHamming[control.c7ToC10],
                                   kHamming[control.c11ToC14]};
    for (const char character : text) {
        data.push_back(odd(static_cast<unsigned char>(character)));
    }
    return packet(control.magazine, 0, data);
}

std::vector<std::uint8_t> row(unsigned number, std::string_view codes, unsigned magazine = 0) {
    std::vector<std::uint8_t> data;
    for (const char code : codes) {
        data.push_back(odd(static_cast<unsigned char>(code)));
    }
    return packet(magazine, number, data);
}

/// An SDP of one to five packets: a descriptor and 45 bytes for each, then footer, counter and checksum (not looked at).
std::vector<std::uint8_t> sdp(const std::vector<std::vector<std::uint8_t>>& packets) {
    std::vector<std::uint8_t> bytes{0x51, 0x15, 0x00, 0x02, 0, 0, 0, 0, 0};
    for (std::size_t index = 0; index < packets.size(); ++index) {
        bytes[4 + index] = static_cast<std::uint8_t>(0x8A + index);
        bytes.insert(bytes.end(), packets[index].begin(), packets[index].end());
    }
    bytes.insert(bytes.end(), {0x74, 0, 0, 0});
    bytes[2] = static_cast<std::uint8_t>(bytes.size());
    return bytes;
}

/// Page 888, fed with the bytes of SDPs.
class Page : public PageReader {
public:
    using PageReader::PageReader;
    using PageReader::receive;

    bool receive(std::span<const std::uint8_t> bytes) {
        const auto sdp = parseSdp(bytes);
        return sdp && receive(*sdp);
    }
};

/// Page 888 with rows, on one page header.
screen::Screen screenWith(const std::vector<std::vector<std::uint8_t>>& rows, const Control& control = {}) {
    Page page;
    (void)page.receive(sdp({header(0x88, control)}));
    for (const auto& packet : rows) {
        (void)page.receive(sdp({packet}));
    }
    return page.screen();
}

TEST(TeletextPage, ReadsNothingBehindTheEndOfItsPackets) {
    const auto whole = sdp({header(0x88, {}),
                            row(20, "\x0B\x0B"
                                    "A\x0A\x0A"),
                            row(22, "\x0B\x0B"
                                    "B\x0A\x0A")});
    qlxtest::forEachTruncation(whole, [](const qlxtest::ExactBuffer& bytes) {
        Page page;
        (void)page.receive(bytes.span());
        const std::size_t packets = bytes.size() < 9 ? 0 : (bytes.size() - 9) / 45;
        EXPECT_EQ(linesOf(page.screen()).size(), packets < 2 ? 0 : std::min<std::size_t>(packets - 1, 2));
    });
}

TEST(TeletextPage, ShowsWhatThisSystemSends) {
    Page page;
    EXPECT_FALSE(page.screen().hasText());
    EXPECT_FALSE(page.receive(fromHex(qlxtest::fillingHex(qlxtest::kOddLines, 0))));
    EXPECT_TRUE(page.receive(fromHex(qlxtest::eraseHex(1))));
    EXPECT_FALSE(page.screen().hasText());
    EXPECT_TRUE(page.receive(fromHex(qlxtest::bonjourHex(2))));
    const screen::Screen screen = page.screen();
    // Row 11 of the subtitle is 22 for a receiver. 13 spaces, four codes of which the last is in the box, the text.
    EXPECT_EQ(linesOf(screen), Lines{"  22  " + std::string(17, ' ') + "Bonjour"});
    const auto upper = screen.row(22);
    const auto lower = screen.row(23);
    for (std::size_t column = 0; column < 40; ++column) {
        const bool isInBox = column >= 16 && column <= 24;
        EXPECT_EQ(upper[column].isVisible, isInBox) << column;
        EXPECT_EQ(lower[column].isVisible, isInBox) << column;
        if (isInBox) {
            EXPECT_EQ(upper[column].part, screen::CellPart::UpperHalf);
            EXPECT_EQ(lower[column].part, screen::CellPart::LowerHalf);
            EXPECT_EQ(lower[column].character, upper[column].character);
            EXPECT_EQ(upper[column].foreground, screen::Color::White);
            EXPECT_EQ(upper[column].background, screen::Color::Black);
        }
    }
    EXPECT_EQ(upper[17].character, U'B');
    // The closing header ends reception, and the page stays.
    EXPECT_FALSE(page.receive(fromHex(qlxtest::closeHex(3))));
    EXPECT_EQ(page.screen(), screen);
    EXPECT_FALSE(page.receive(fromHex(qlxtest::bonjourHex(4))));
    EXPECT_TRUE(page.receive(fromHex(qlxtest::eraseHex(5))));
    EXPECT_FALSE(page.screen().hasText());
}

TEST(TeletextPage, TakesRowsOnlyBehindItsOwnHeader) {
    Page page;
    const auto text = row(20, "\x0B\x0B"
                              "A\x0A\x0A");
    EXPECT_FALSE(page.receive(sdp({text})));
    EXPECT_FALSE(page.receive(sdp({header(0x01, {}), text})));
    EXPECT_TRUE(page.receive(sdp({header(0x88, {}), text})));
    EXPECT_EQ(linesOf(page.screen()), Lines{"  20    A"});
    // A header of another magazine ends nothing in parallel mode, and ends the page in serial mode (C11).
    EXPECT_TRUE(page.receive(sdp({header(0x88, {.magazine = 1}), row(21, "\x0B\x0B"
                                                                         "B\x0A\x0A")})));
    EXPECT_FALSE(page.receive(sdp({header(0x88, {.c11ToC14 = 1, .magazine = 1}), row(22, "\x0B\x0B"
                                                                                         "C\x0A\x0A")})));
    EXPECT_EQ(linesOf(page.screen()), (Lines{"  20    A", "  21    B"}));
    // Rows of another magazine are another page's.
    EXPECT_TRUE(page.receive(sdp({header(0x88, {}), row(22,
                                                        "\x0B\x0B"
                                                        "D\x0A\x0A",
                                                        1)})));
    EXPECT_EQ(linesOf(page.screen()), (Lines{"  20    A", "  21    B"}));
    EXPECT_EQ(page.otherPages(), (std::vector<std::uint16_t>{0x188, 0x801}));
}

TEST(TeletextPage, KeepsRowsUntilAHeaderErasesThem) {
    Page page;
    (void)page.receive(sdp({header(0x88, {}),
                            row(20, "\x0B\x0B"
                                    "A\x0A\x0A"),
                            row(22, "\x0B\x0B"
                                    "B\x0A\x0A")}));
    (void)page.receive(sdp({header(0x88, {}), row(22, "\x0B\x0B"
                                                      "C\x0A\x0A")}));
    EXPECT_EQ(linesOf(page.screen()), (Lines{"  20    A", "  22    C"}));
    (void)page.receive(sdp({header(0x88, {.erases = true}), row(21, "\x0B\x0B"
                                                                    "D\x0A\x0A")}));
    EXPECT_EQ(linesOf(page.screen()), Lines{"  21    D"});
    // C10 inhibits the display.
    (void)page.receive(sdp({header(0x88, {.c7ToC10 = 9})}));
    EXPECT_FALSE(page.screen().hasText());
}

TEST(TeletextPage, KnowsNoOtherMagazinesThanEight) {
    qlx::teletext::PageReader reader(0x888);
    qlx::teletext::Packet packet = *packetOf(qlx::teletext::PageHeader{.page = 0x888});
    for (const std::uint8_t magazine : {std::uint8_t{0}, std::uint8_t{9}, std::uint8_t{200}}) {
        packet.magazine = magazine;
        EXPECT_FALSE(reader.receive(packet)) << int{magazine};
    }
}

TEST(TeletextPage, LivesWithDamage) {
    Page page;
    auto text = row(20, "\x0B\x0B"
                        "ABC\x0A\x0A");
    auto pageHeader = header(0x88, {});
    pageHeader[5] ^= 0x01U;  // one bit of the page number
    text[4] ^= 0x80U;        // and of the address
    EXPECT_TRUE(page.receive(sdp({pageHeader, text})));
    EXPECT_EQ(linesOf(page.screen()), Lines{"  20    ABC"});
    // A character with a wrong bit leaves what stands there.
    auto other = row(20, "\x0B\x0B"
                         "XYZ\x0A\x0A");
    other[8] ^= 0x01U;
    EXPECT_TRUE(page.receive(sdp({header(0x88, {}), other})));
    EXPECT_EQ(linesOf(page.screen()), Lines{"  20    XBZ"});
    // Two bits are too many: of the address, of the page number, of the framing code.
    text[4] ^= 0x40U;
    EXPECT_FALSE(page.receive(sdp({text})));
    text = row(22, "\x0B\x0B"
                   "lost\x0A\x0A");
    text[2] = 0x26;
    EXPECT_FALSE(page.receive(sdp({text})));
    pageHeader[5] ^= 0x02U;
    EXPECT_FALSE(page.receive(sdp({pageHeader, row(22, "\x0B\x0B"
                                                       "lost\x0A\x0A")})));
    EXPECT_EQ(linesOf(page.screen()), Lines{"  20    XBZ"});
}

TEST(TeletextRow, TakesColoursFromTheNextCharacterOn) {
    const screen::Screen screen = screenWith({row(10, "\x0B\x0B\x01r\x02g\x03y\x04"
                                                      "b\x05m\x06"
                                                      "c\x07w\x1D\x04i\x1Cn\x0A\x0A")});
    const auto cells = screen.row(10);
    EXPECT_EQ(linesOf(screen), Lines{"  10     r g y b m c w  i n"});
    const auto expect = [&](std::size_t column, char32_t character, screen::Color foreground,
                            screen::Color background) {
        EXPECT_EQ(cells[column].character, character) << column;
        EXPECT_EQ(cells[column].foreground, foreground) << column;
        EXPECT_EQ(cells[column].background, background) << column;
    };
    using enum screen::Color;
    expect(2, U' ', White, Black);
    expect(3, U'r', Red, Black);
    expect(4, U' ', Red, Black);
    expect(5, U'g', Green, Black);
    expect(7, U'y', Yellow, Black);
    expect(9, U'b', Blue, Black);
    expect(11, U'm', Magenta, Black);
    expect(13, U'c', Cyan, Black);
    expect(15, U'w', White, Black);
    // A new background is that of the characters, at once.
    expect(16, U' ', White, White);
    expect(17, U' ', White, White);
    expect(18, U'i', Blue, White);
    expect(19, U' ', Blue, Black);
    expect(20, U'n', Blue, Black);
}

TEST(TeletextRow, ShowsOnlyTheBoxesOfASubtitlePage) {
    const auto both = row(10, "out\x0B\x0Bin\x0A\x0Aout\x0Bno\x0A\x0B\x0B"
                              "in\x0Ain");
    EXPECT_EQ(linesOf(screenWith({both})), Lines{"  10       in           in in"});
    EXPECT_EQ(linesOf(screenWith({both}, {.isSubtitle = false})), Lines{"  10  out  in  out no   in in"});
}

TEST(TeletextRow, HidesTheRowBelowDoubleHeight) {
    const screen::Screen screen = screenWith({row(10, "\x0B\x0Bsmall\x0D"
                                                      "high\x0Csmall\x0A\x0A"),
                                              row(11, "\x0B\x0Bhidden\x0A\x0A"), row(12, "\x0B\x0Bshown\x0A\x0A")});
    EXPECT_EQ(linesOf(screen), (Lines{"  10    small high small", "  12    shown"}));
    EXPECT_EQ(screen.row(10)[2].part, screen::CellPart::Whole);
    EXPECT_EQ(screen.row(11)[2].character, U' ');
    EXPECT_TRUE(screen.row(11)[2].isVisible);
    EXPECT_EQ(screen.row(11)[8].character, U'h');
    EXPECT_EQ(screen.row(11)[8].part, screen::CellPart::LowerHalf);
    EXPECT_EQ(screen.row(10)[13].part, screen::CellPart::Whole);
    // Rows 23 and 24 have none.
    EXPECT_EQ(linesOf(screenWith({row(23, "\x0B\x0B\x0D"
                                          "A\x0A\x0A"),
                                  row(24, "\x0B\x0B"
                                          "B\x0A\x0A")})),
              (Lines{"  23     A", "  24    B"}));
}

TEST(TeletextRow, ConcealsFlashesAndHoldsMosaics) {
    const screen::Screen screen = screenWith({row(10, "\x0B\x0B"
                                                      "a\x18xx\x07"
                                                      "b\x08"
                                                      "c\x09"
                                                      "d\x0A\x0A"),
                                              row(11, "\x0B\x0B\x11\x7F\x1E\x12\x21\x41\x1F\x13\x0A\x0A")});
    EXPECT_EQ(linesOf(screen), (Lines{"  10    a    b c d", "  11     ███🬀A🬀"}));
    // Both the code that holds mosaics and the colour behind it show the full block again, and so does the release
    // the last mosaic, which the letter in between is not.
    EXPECT_FALSE(screen.row(10)[8].isFlashing);
    EXPECT_TRUE(screen.row(10)[9].isFlashing);
    EXPECT_FALSE(screen.row(10)[10].isFlashing);
    EXPECT_EQ(screen.row(11)[4].foreground, screen::Color::Red);
}

TEST(TeletextPage, ShowsTheHeaderOfAnOrdinaryPage) {
    Page page(0x100);
    const Control control{.isSubtitle = false, .c7ToC10 = 0, .c11ToC14 = 0, .magazine = 1};
    (void)page.receive(sdp({header(0x00, control, "P100"), row(1, "Text #", 1)}));
    EXPECT_EQ(linesOf(page.screen()), (Lines{"   0          P100", "   1  Text £"}));
    // C10 is about the rows below it.
    Control inhibited = control;
    inhibited.c7ToC10 = 8;
    (void)page.receive(sdp({header(0x00, inhibited, "P100")}));
    EXPECT_EQ(linesOf(page.screen()), Lines{"   0          P100"});
    inhibited.c7ToC10 = 9;
    (void)page.receive(sdp({header(0x00, inhibited, "P100")}));
    EXPECT_EQ(linesOf(page.screen()), Lines{});
}

TEST(TeletextPage, ReadsPacketsOneByOneAndCountsDamage) {
    PageReader page(0x123);
    const PageHeader own{.page = 0x123, .isNewsflash = true, .nationalOption = 1};
    const std::vector<std::uint8_t> codes{0x0B, 0x0B, '[', 0x0A, 0x0A};
    Packet damagedHeader = *packetOf(own);
    damagedHeader.data[1] ^= 0x10U;
    qlx::Findings findings;
    EXPECT_TRUE(page.receive(damagedHeader, &findings, 7));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::TeletextByteCorrected);
    EXPECT_EQ(findings[0].offset, 8U);
    EXPECT_TRUE(page.isReceiving());
    EXPECT_EQ(page.header(), own);
    Packet damagedRow = *rowPacket(1, 3, codes);
    damagedRow.data[30] ^= 0x01U;
    EXPECT_TRUE(page.receive(damagedRow));
    EXPECT_EQ(linesOf(page.screen()), Lines{"   3    Ä"});
    EXPECT_EQ(page.counts(), (ProtectionCounts{1, 0, 1}));
    // What is for higher levels changes nothing, and neither does a row of another magazine.
    EXPECT_FALSE(page.receive(*packetOf(TripletPacket{.magazine = 1})));
    EXPECT_FALSE(page.receive(*rowPacket(2, 3, codes)));
    // A lost header ends reception.
    damagedHeader.data[1] ^= 0x20U;
    EXPECT_FALSE(page.receive(damagedHeader, &findings));
    EXPECT_EQ(findings[1].code, qlx::FindingCode::TeletextByteWrong);
    EXPECT_FALSE(page.isReceiving());
    EXPECT_FALSE(page.receive(*rowPacket(1, 3, codes)));
    EXPECT_EQ(page.counts(), (ProtectionCounts{1, 1, 1}));
}

TEST(TeletextPage, TellsWhichPacketOfASubtitlingPacketIsLost) {
    PageReader page;
    Sdp packets;
    const std::vector<std::uint8_t> codes{0x0B, 0x0B, 'A', 0x0A, 0x0A};
    ASSERT_TRUE(packets.add(*packetOf(PageHeader{.page = 0x888, .isSubtitle = true}), 10, true));
    ASSERT_TRUE(packets.add(*rowPacket(8, 20, codes), 11, true));
    ASSERT_TRUE(packets.add(*rowPacket(8, 22, codes), 12, true));
    auto bytes = *writeSdp(packets);
    std::vector<std::uint8_t> damaged(bytes.begin(), bytes.end());
    damaged[9 + 45 + 2] = 0x26;  // the framing code of the second packet
    damaged[9 + 90 + 3] ^= 0x01U;
    qlx::Findings findings;
    EXPECT_TRUE(page.receive(*parseSdp(damaged), &findings));
    EXPECT_EQ(linesOf(page.screen()), Lines{"  22    A"});
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::TeletextFramingCodeWrong);
    EXPECT_EQ(findings[0].offset, 56U);
    EXPECT_EQ(findings[1].code, qlx::FindingCode::TeletextByteCorrected);
    EXPECT_EQ(findings[1].offset, 102U);
    EXPECT_EQ(page.counts(), (ProtectionCounts{1, 1, 0}));
}

TEST(TeletextRow, KeepsWhatIsConcealed) {
    const screen::Screen screen = screenWith({row(10, "\x0B\x0B\x18x\x0A\x0A")});
    EXPECT_EQ(screen.row(10)[3].character, U'x');
    EXPECT_TRUE(screen.row(10)[3].isConcealed);
    EXPECT_FALSE(screen.hasText());
}

}  // namespace
