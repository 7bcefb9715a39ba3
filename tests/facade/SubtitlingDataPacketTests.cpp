#include "ExpectedTeletext.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace qlxtest;
using Packetizer = QLXSubtitlesPacketizer;

std::shared_ptr<Packetizer> makePacketizer() {
    return Packetizer::initWithSubtitleMode_isHD(2, true);
}

std::string hex(const std::string& text) {
    return toHex(fromHex(text));
}

qlx::Data pageHeader(Packetizer& packetizer, std::uint8_t tens, std::uint8_t units, std::uint8_t address,
                     std::uint8_t firstLine, bool oddField, bool erasePage) {
    return packetizer.pageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
        tens, units, address, firstLine, oddField, erasePage);
}

qlx::Data fillerAndPageHeader(Packetizer& packetizer, std::uint8_t tens, std::uint8_t units, std::uint8_t address,
                              std::uint8_t firstLine, bool oddField, bool erasePage) {
    return packetizer.fillerAndPageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
        tens, units, address, firstLine, oddField, erasePage);
}

qlx::Data filling(Packetizer& packetizer, bool oddField, bool withHeader, bool withFooter) {
    return packetizer.teletextFillingHeaderForOddField_beginWithPacketHeader_endWithPacketFooter(oddField, withHeader,
                                                                                                 withFooter);
}

/// Every whole SDP: 148 bytes, identifier, length and format code, sum 0.
void expectWhole(const qlx::Data& block) {
    ASSERT_EQ(block.size(), 148U);
    EXPECT_EQ(block[0], 0x51);
    EXPECT_EQ(block[1], 0x15);
    EXPECT_EQ(block[2], 0x94);
    EXPECT_EQ(block[3], 0x02);
    EXPECT_EQ(sumOf(block), 0U);
}

TEST(SubtitlingDataPacket, WritesTheHeader) {
    EXPECT_EQ(toHex(Packetizer::packetHeaderDataWithPacketsCount_firstLineNumber_oddField(3, 10, true)),
              "511594028a8b8c0000");
    EXPECT_EQ(toHex(Packetizer::packetHeaderDataWithPacketsCount_firstLineNumber_oddField(3, 10, false)),
              "511594020a0b0c0000");
    // Always three descriptors, whatever the count; lines count modulo 32.
    EXPECT_EQ(toHex(Packetizer::packetHeaderDataWithPacketsCount_firstLineNumber_oddField(0, 31, true)),
              "511594029f80810000");
    EXPECT_EQ(toHex(Packetizer::packetHeaderDataWithPacketsCount_firstLineNumber_oddField(5, 255, false)),
              "511594021f00010000");
}

TEST(SubtitlingDataPacket, DescribesVBILines) {
    for (unsigned line = 0; line < 256; ++line) {
        EXPECT_EQ(Packetizer::vbiPacketDescriptorWithLine_oddField(static_cast<std::uint8_t>(line), true),
                  128 + line % 32);
        EXPECT_EQ(Packetizer::vbiPacketDescriptorWithLine_oddField(static_cast<std::uint8_t>(line), false), line % 32);
    }
}

TEST(SubtitlingDataPacket, WritesTheFooter) {
    EXPECT_EQ(toHex(Packetizer::footerDataWithPacketCount(0)), "740000");
    EXPECT_EQ(toHex(Packetizer::footerDataWithPacketCount(0x1234)), "741234");
    EXPECT_EQ(toHex(Packetizer::footerDataWithPacketCount(65535)), "74ffff");
}

TEST(SubtitlingDataPacket, AppendsTheChecksum) {
    std::vector<std::uint8_t> data;
    Packetizer::appendChecksumToMutableData(data);
    EXPECT_EQ(toHex(data), "00");
    data = {0x01};
    Packetizer::appendChecksumToMutableData(data);
    EXPECT_EQ(toHex(data), "01ff");
    data = {0xFF, 0xFF, 0x03};
    Packetizer::appendChecksumToMutableData(data);
    EXPECT_EQ(toHex(data), "ffff03ff");
    data = {0x80, 0x80};
    Packetizer::appendChecksumToMutableData(data);
    EXPECT_EQ(toHex(data), "808000");
}

TEST(SubtitlingDataPacket, AppendsFooterAndChecksum) {
    const auto packetizer = makePacketizer();
    std::vector<std::uint8_t> data;
    packetizer->appendFooterWithChecksumToPacket(data);
    EXPECT_EQ(toHex(data), "7400008c");
    data = {0x51, 0x15};
    packetizer->appendFooterWithChecksumToPacket(data);
    // 51 + 15 + 74 + 01 = DB
    EXPECT_EQ(toHex(data), "511574000125");
}

TEST(SubtitlingDataPacket, BuildsPageHeaderAndTwoFillingPackets) {
    const auto packetizer = makePacketizer();
    const qlx::Data block = pageHeader(*packetizer, 8, 8, 0, 10, false, true);
    expectWhole(block);
    // Header 1D, page header 4E (55+55+27 D1, 15+15 2A, D0+D0 A0, 15+D0+15+D0+73+49 86, 86 and 31 spaces 66, less the
    // multiples of 256: D1+2A+A0+86+66 = 287), two filling packets 37 each, footer 74: 1D+87+6E+74 = 186.
    EXPECT_EQ(toHex(block), hex("51159402 0a0b0c 0000"
                                "555527 1515 d0d0 15d015d07349 86" +
                                spaces(31) + "555527 d0ea 6438c7c7c7c7c7c7 86" + spaces(31) +
                                "555527 d0ea 6438c7c7c7c7c7c7 86" + spaces(31) + "740000 7a"));
    // Counter 1, odd field from line 22 on (96 97 98), page tens 1, units 2, not erasing.
    EXPECT_EQ(toHex(pageHeader(*packetizer, 1, 2, 0, 22, true, false)),
              sdp("969798", "555527 1515 0249 151515d07349 86" + spaces(31) + kFilling + kFilling, 1));
    // Packet address 31.
    EXPECT_EQ(toHex(pageHeader(*packetizer, 8, 15, 31, 10, true, true)),
              sdp("8a8b8c", "555527 d0ea d0ea 15d015d07349 86" + spaces(31) + kFilling + kFilling, 2));
}

TEST(SubtitlingDataPacket, BuildsTwoFillingPacketsAndPageHeader) {
    const auto packetizer = makePacketizer();
    const qlx::Data block = fillerAndPageHeader(*packetizer, 8, 15, 0, 10, false, false);
    expectWhole(block);
    // Header 1D, two filling packets 6E, page header (D1, 2A, D0+EA BA, 15+15+15+D0+73+49 CB, 66 = 2E6) E6, footer 74:
    // 1D+6E+E6+74 = 1E5.
    EXPECT_EQ(toHex(block), hex("51159402 0a0b0c 0000"
                                "555527 d0ea 6438c7c7c7c7c7c7 86" +
                                spaces(31) + "555527 d0ea 6438c7c7c7c7c7c7 86" + spaces(31) +
                                "555527 1515 d0ea 151515d07349 86" + spaces(31) + "740000 1b"));
    // The first-line argument is not used: the descriptors are always for line 10.
    EXPECT_EQ(toHex(fillerAndPageHeader(*packetizer, 1, 2, 3, 22, true, true)),
              sdp("8a8b8c", kFilling + kFilling + "555527 155e 0249 15d015d07349 86" + spaces(31), 1));
}

TEST(SubtitlingDataPacket, BuildsRows) {
    const auto packetizer = makePacketizer();
    const qlx::Data block = packetizer->linesPacketWithLines_oddField({makeLine("Bonjour", 11)}, true);
    expectWhole(block);
    // Header FC+8B+8C+8D = 2A0 (A0); row: D1, 15+9B B0, 07+0D+0B+0B 2A, C2+EF+6E+EA+EF+75+F2 = 55F (5F), 8A+8A 14,
    // 27 spaces 60 = 27E (7E); two filling packets 6E; footer 74: A0+7E+6E+74 = 200.
    EXPECT_EQ(toHex(block), hex("51159402 8b8c8d 0000"
                                "555527 159b 070d0b0b c2ef6eeaef75f2 8a8a" +
                                spaces(27) + "555527 d0ea 6438c7c7c7c7c7c7 86" + spaces(31) +
                                "555527 d0ea 6438c7c7c7c7c7c7 86" + spaces(31) + "740000 00"));
}

TEST(SubtitlingDataPacket, BuildsUpToThreeRows) {
    const auto packetizer = makePacketizer();
    const auto one = makeLine("A", 9);
    const auto two = makeLine("B", 10, 3, 1);
    const auto three = makeLine("C", 11, 2);
    const std::string rowOne = "555527 15c7 070d0b0b c1 8a8a" + spaces(33);
    const std::string rowTwo = "555527 158c" + spaces(33) + "010d0b0b c2 8a8a";
    const std::string rowThree = "555527 159b" + spaces(16) + "070d0b0b 43 8a8a" + spaces(17);
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({one, two}, false)),
              sdp("090a0b", rowOne + rowTwo + kFilling, 0));
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({one, two, three}, true)),
              sdp("898a8b", rowOne + rowTwo + rowThree, 1));
    // A fourth and later lines are dropped.
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({one, two, three, one, two}, true)),
              sdp("898a8b", rowOne + rowTwo + rowThree, 2));
    // The descriptors follow the first line, not the topmost.
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({three, one}, true)),
              sdp("8b8c8d", rowThree + rowOne + kFilling, 3));
}

TEST(SubtitlingDataPacket, TakesTheLowEightBitsOfTheFirstRow) {
    const auto packetizer = makePacketizer();
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({makeLine("Bonjour", 256 * 5 + 11)}, true)),
              oddBonjour(0));
    // Row 255: lines 31, 0, 1; address 31.
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({makeLine("A", 255)}, true)),
              sdp("9f8081", "555527 d0ea 070d0b0b c1 8a8a" + spaces(33) + kFilling + kFilling, 1));
}

TEST(SubtitlingDataPacket, BuildsFillingPacketsWithoutLines) {
    const auto packetizer = makePacketizer();
    const qlx::Data block = packetizer->linesPacketWithLines_oddField({}, true);
    expectWhole(block);
    EXPECT_EQ(toHex(block), sdp("808182", kFilling + kFilling + kFilling, 0));
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({}, false)),
              sdp("000102", kFilling + kFilling + kFilling, 1));
}

TEST(SubtitlingDataPacket, PassesOverNullLines) {
    const auto packetizer = makePacketizer();
    const auto line = makeLine("Bonjour", 11);
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({nullptr, line, nullptr}, true)), oddBonjour(0));
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({nullptr, nullptr, nullptr, line}, true)), oddBonjour(1));
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({nullptr}, true)),
              sdp("808182", kFilling + kFilling + kFilling, 2));
}

TEST(SubtitlingDataPacket, BuildsFillingPiecesThatMakeAnSDP) {
    const auto packetizer = makePacketizer();
    // Odd field: header 9D, three filling packets A5, footer 74 = 1B6.
    std::string whole = toHex(filling(*packetizer, true, true, false));
    EXPECT_EQ(whole, hex("51159402 8a8b8c 0000" + kFilling));
    whole += toHex(filling(*packetizer, true, false, false));
    whole += toHex(filling(*packetizer, true, false, true));
    EXPECT_EQ(whole, hex("51159402 8a8b8c 0000" + kFilling + kFilling + kFilling + "740000 4a"));
    EXPECT_EQ(sumOf(fromHex(whole)), 0U);
    // Even field, counter 1: header 1D, A5, 75 = 137.
    whole = toHex(filling(*packetizer, false, true, false));
    EXPECT_EQ(whole, hex("51159402 0a0b0c 0000" + kFilling));
    whole += toHex(filling(*packetizer, false, false, false));
    whole += toHex(filling(*packetizer, false, false, true));
    EXPECT_EQ(whole, hex("51159402 0a0b0c 0000" + kFilling + kFilling + kFilling + "740001 c9"));
    EXPECT_EQ(sumOf(fromHex(whole)), 0U);
}

TEST(SubtitlingDataPacket, BuildsAFillingPieceAlone) {
    const auto packetizer = makePacketizer();
    EXPECT_EQ(toHex(filling(*packetizer, true, false, false)), hex(kFilling));
    EXPECT_EQ(toHex(filling(*packetizer, false, false, false)), hex(kFilling));
    // With header and footer it is closed by itself: 9D + 37 + 74 = 148; 1D + 37 + 74 + 01 = C9.
    EXPECT_EQ(toHex(filling(*packetizer, true, true, true)), hex("51159402 8a8b8c 0000" + kFilling + "740000 b8"));
    EXPECT_EQ(toHex(filling(*packetizer, false, true, true)), hex("51159402 0a0b0c 0000" + kFilling + "740001 37"));
    // Without header, the checksum counts the header and the two packets before it.
    EXPECT_EQ(toHex(filling(*packetizer, true, false, true)), hex(kFilling + "740002 48"));
}

TEST(SubtitlingDataPacket, CountsEveryFooterOnce) {
    const auto packetizer = makePacketizer();
    const auto line = makeLine("Bonjour", 11);
    EXPECT_EQ(toHex(pageHeader(*packetizer, 8, 8, 0, 10, false, true)), evenErasing(0));
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({line}, true)), oddBonjour(1));
    EXPECT_EQ(toHex(fillerAndPageHeader(*packetizer, 8, 15, 0, 10, false, false)), evenClosing(2));
    // What has no footer takes no number.
    (void)filling(*packetizer, true, true, false);
    (void)filling(*packetizer, true, false, false);
    (void)packetizer->teletextLineDataWithSubtitleLine(line);
    (void)packetizer->op47TestFillingPacket();
    EXPECT_EQ(toHex(filling(*packetizer, true, false, true)).substr(90, 6), "740003");
    EXPECT_EQ(toHex(filling(*packetizer, true, true, true)).substr(108, 6), "740004");
    std::vector<std::uint8_t> data;
    packetizer->appendFooterWithChecksumToPacket(data);
    EXPECT_EQ(toHex(data).substr(0, 6), "740005");
}

TEST(SubtitlingDataPacket, WrapsTheCounter) {
    const auto packetizer = makePacketizer();
    for (unsigned counter = 0; counter < 65535; ++counter) {
        (void)packetizer->linesPacketWithLines_oddField({}, true);
    }
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({makeLine("Bonjour", 11)}, true)), oddBonjour(65535));
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({makeLine("Bonjour", 11)}, true)), oddBonjour(0));
    EXPECT_EQ(toHex(packetizer->linesPacketWithLines_oddField({makeLine("Bonjour", 11)}, true)), oddBonjour(1));
}

TEST(SubtitlingDataPacket, SumsToZeroWithEveryCounter) {
    const auto packetizer = makePacketizer();
    for (unsigned counter = 0; counter < 65536; ++counter) {
        const qlx::Data end = filling(*packetizer, counter % 2 == 0, false, true);
        // Header and two filling packets: 9D or 1D, and 6E.
        ASSERT_EQ((sumOf(end) + (counter % 2 == 0 ? 0x9DU : 0x1DU) + 0x6EU) % 256, 0U) << counter;
    }
}

TEST(SubtitlingDataPacket, EachPacketizerCountsForItself) {
    const auto one = makePacketizer();
    const auto other = makePacketizer();
    EXPECT_EQ(toHex(pageHeader(*one, 8, 8, 0, 10, false, true)), evenErasing(0));
    EXPECT_EQ(toHex(pageHeader(*one, 8, 8, 0, 10, false, true)), evenErasing(1));
    EXPECT_EQ(toHex(pageHeader(*other, 8, 8, 0, 10, false, true)), evenErasing(0));
}

TEST(SubtitlingDataPacket, BuildsTestPackets) {
    const auto packetizer = makePacketizer();
    const std::string header = "51153a02 8a8b8c 0000";
    EXPECT_EQ(toHex(packetizer->op47TestHeaderPacket()), hex(header + kErasingHeader));
    EXPECT_EQ(toHex(packetizer->op47TestFillingPacket()), hex(header + kFilling));
    // "OP-47 TEST" on row 20, centred: O 4F, P D0, - AD, 4 34, 7 37, space, T 54, E 45, S D3, T 54.
    EXPECT_EQ(toHex(packetizer->op47TestSubtitlePacket()),
              hex(header + "555527 d064" + spaces(12) + "070d0b0b 4fd0ad343720 5445d354 8a8a" + spaces(12)));
}

}  // namespace
