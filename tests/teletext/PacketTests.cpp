// Teletext packets: addresses, headers with every control bit, rows, triplets; damage, truncation, random round trips.
#include "ExactBuffer.h"
#include "Sanitized.h"

#include <qlx/teletext/packet.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

namespace {

using namespace qlx::teletext;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::fromHex;
using Bytes = std::vector<std::uint8_t>;

std::string spaces(int count) {
    std::string text;
    while (count-- > 0) {
        text += "20";
    }
    return text;
}

/// Page 888, subcode 0, C4, C6, C7, French: units and tens 8 (d0), S1 0 (15), S2 0 with C4 (8, d0), S3 0 (15), S4 0 with
/// C6 (8, d0), C7 (1, 02), C12 (2, 49).
const std::string kHeader = "d0d0"
                            "15d015d0"
                            "02"
                            "49";

Bytes bytesOf(const Packet& packet, PacketForm form = PacketForm::Line) {
    Bytes bytes(sizeOf(form));
    const auto size = writePacket(packet, bytes, form);
    EXPECT_TRUE(size && *size == bytes.size());
    return bytes;
}

TEST(TeletextPacket, HasMagazineAndNumber) {
    // Row 20 of magazine 8: 0 and the lowest bit 0 of 20, then 10 (8c). Row 1 of magazine 3: 3 and 8 (9b), then 0.
    const Bytes row20 = fromHex("555527"
                                "158c" +
                                spaces(40));
    const auto packet = parsePacket(row20);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->magazine, 8);
    EXPECT_EQ(packet->number, 20);
    EXPECT_TRUE(packet->isRow());
    EXPECT_FALSE(packet->isHeader() || packet->isFilling() || packet->hasDesignation());
    EXPECT_EQ(packet->data.front(), 0x20);
    EXPECT_EQ(bytesOf(*packet), row20);
    const auto bare = parsePacket(fromHex("9b15" + spaces(40)));
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->magazine, 3);
    EXPECT_EQ(bare->number, 1);
    EXPECT_EQ(bytesOf(*bare, PacketForm::Address), fromHex("9b15" + spaces(40)));
    const auto filling = parsePacket(fromHex("d0ea" + spaces(40)));
    ASSERT_TRUE(filling);
    EXPECT_TRUE(filling->isFilling());
    for (unsigned magazine = 1; magazine <= 8; ++magazine) {
        for (unsigned number = 0; number < 32; ++number) {
            Packet one;
            one.magazine = static_cast<std::uint8_t>(magazine);
            one.number = static_cast<std::uint8_t>(number);
            const auto back = parsePacket(bytesOf(one));
            ASSERT_TRUE(back);
            EXPECT_EQ(*back, one);
        }
    }
}

TEST(TeletextPacket, SaysWhatIsWrongWithItsBytes) {
    Bytes bytes = fromHex("555527"
                          "158c" +
                          spaces(40));
    Findings findings;
    EXPECT_TRUE(parsePacket(bytes, &findings));
    EXPECT_TRUE(findings.empty());
    bytes[1] = 0x54;
    bytes[3] = 0x14;
    EXPECT_EQ(parsePacket(bytes, &findings, 100)->magazine, 8);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::TeletextRunInWrong, Severity::Remark, 101, 0x54, 0x55}));
    EXPECT_EQ(findings[1], (Finding{FindingCode::TeletextByteCorrected, Severity::Warning, 103, 0x14, 0x15}));
    bytes[3] = 0x15 ^ 0x03;
    EXPECT_EQ(parsePacket(bytes, nullptr, 100).error(),
              (Finding{FindingCode::TeletextByteWrong, Severity::Error, 103, 0x16, 0}));
    bytes[2] = 0x26;
    EXPECT_EQ(parsePacket(bytes, nullptr, 100).error(),
              (Finding{FindingCode::TeletextFramingCodeWrong, Severity::Error, 102, 0x26, 0x27}));
}

TEST(TeletextPacket, IsOfTwoSizesOnly) {
    const Bytes whole = fromHex("555527"
                                "158c" +
                                spaces(41));
    qlxtest::forEachTruncation(whole, [](const qlxtest::ExactBuffer& bytes) {
        const auto packet = parsePacket(bytes.span());
        if (bytes.size() == 45) {
            EXPECT_TRUE(packet);
        } else if (bytes.size() != 42) {
            ASSERT_FALSE(packet);
            EXPECT_EQ(packet.error().code, FindingCode::TeletextPacketSizeWrong);
        } else {
            // From the run-in on: 55 is one bit from 15, 55 too.
            EXPECT_TRUE(packet);
        }
    });
}

TEST(TeletextPacket, IsWrittenIntoRoomThatHoldsIt) {
    const Packet packet;
    const auto whole = writePacket(packet);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->size(), 45U);
    EXPECT_EQ(writePacket(packet, PacketForm::Address)->size(), 42U);
    for (std::size_t size = 0; size < 45; ++size) {
        qlxtest::ExactBuffer room = qlxtest::ExactBuffer::filled(size, 0xA5);
        const auto written = writePacket(packet, room.span());
        ASSERT_FALSE(written);
        EXPECT_EQ(written.error(),
                  (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 45, static_cast<std::int64_t>(size)}));
        EXPECT_EQ(room.vector(), Bytes(size, 0xA5));
    }
    Packet wrong;
    wrong.magazine = 0;
    EXPECT_EQ(writePacket(wrong).error().code, FindingCode::TeletextFieldTooGreat);
    wrong.magazine = 9;
    Bytes room(45);
    EXPECT_EQ(writePacket(wrong, room).error().code, FindingCode::TeletextFieldTooGreat);
    wrong.magazine = 1;
    wrong.number = 32;
    EXPECT_EQ(writePacket(wrong, room).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(room, Bytes(45));
}

TEST(PageHeader, HasPageSubcodeAndControlBits) {
    const auto packet = parsePacket(fromHex("1515" + kHeader + spaces(32)));
    const auto header = parseHeader(*packet);
    ASSERT_TRUE(header);
    PageHeader expected;
    expected.page = 0x888;
    expected.subcode = 0;
    expected.erasesPage = true;
    expected.isSubtitle = true;
    expected.suppressesHeader = true;
    expected.nationalOption = 4;
    EXPECT_EQ(*header, expected);
    EXPECT_EQ(header->magazine(), 8);
    EXPECT_TRUE(header->isCallable());
    EXPECT_FALSE(header->isTimeFilling());
    EXPECT_EQ(*packetOf(expected), *packet);
    EXPECT_EQ(pageName(header->page), "888");
    // Units A, tens 1, magazine 3; subcode 2D5B: S1 B, S2 5, S3 D, S4 2; all control bits.
    const auto other = parsePacket(fromHex("5e15"
                                           "8c029bb6"
                                           "b6fdeaea" +
                                           spaces(32)));
    const auto full = parseHeader(*other);
    ASSERT_TRUE(full);
    EXPECT_EQ(full->page, 0x31A);
    EXPECT_EQ(full->subcode, 0x2D5B);
    EXPECT_FALSE(full->isCallable());
    EXPECT_TRUE(full->erasesPage && full->isNewsflash && full->isSubtitle && full->suppressesHeader && full->isUpdate &&
                full->isInterrupted && full->inhibitsDisplay && full->isSerial);
    EXPECT_EQ(full->nationalOption, 7);
    EXPECT_TRUE(PageHeader().isTimeFilling());
}

TEST(PageHeader, HasEachControlBitInItsPlace) {
    // The nibble (by its place behind the address) and its bit for C4 to C14.
    const PageHeader none{.page = 0x100, .subcode = 0};
    const auto nibblesOf = [](const PageHeader& header) {
        std::vector<unsigned> nibbles;
        const auto packet = packetOf(header);
        for (std::size_t index = 0; index < 8; ++index) {
            nibbles.push_back(decodeHamming84(packet->data[index]).value);
        }
        return nibbles;
    };
    EXPECT_EQ(nibblesOf(none), std::vector<unsigned>(8));
    const auto expect = [&](PageHeader header, std::size_t place, unsigned bits) {
        std::vector<unsigned> expected(8);
        expected[place] = bits;
        EXPECT_EQ(nibblesOf(header), expected);
        EXPECT_EQ(*parseHeader(*packetOf(header)), header);
    };
    expect({.page = 0x100, .subcode = 0, .erasesPage = true}, 3, 8);        // C4
    expect({.page = 0x100, .subcode = 0, .isNewsflash = true}, 5, 4);       // C5
    expect({.page = 0x100, .subcode = 0, .isSubtitle = true}, 5, 8);        // C6
    expect({.page = 0x100, .subcode = 0, .suppressesHeader = true}, 6, 1);  // C7
    expect({.page = 0x100, .subcode = 0, .isUpdate = true}, 6, 2);          // C8
    expect({.page = 0x100, .subcode = 0, .isInterrupted = true}, 6, 4);     // C9
    expect({.page = 0x100, .subcode = 0, .inhibitsDisplay = true}, 6, 8);   // C10
    expect({.page = 0x100, .subcode = 0, .isSerial = true}, 7, 1);          // C11
    expect({.page = 0x100, .subcode = 0, .nationalOption = 4}, 7, 2);       // C12
    expect({.page = 0x100, .subcode = 0, .nationalOption = 2}, 7, 4);       // C13
    expect({.page = 0x100, .subcode = 0, .nationalOption = 1}, 7, 8);       // C14
    expect({.page = 0x10F, .subcode = 0}, 0, 15);
    expect({.page = 0x1F0, .subcode = 0}, 1, 15);
    expect({.page = 0x100, .subcode = 0x000F}, 2, 15);
    expect({.page = 0x100, .subcode = 0x0070}, 3, 7);
    expect({.page = 0x100, .subcode = 0x0F00}, 4, 15);
    expect({.page = 0x100, .subcode = 0x3000}, 5, 3);
}

TEST(PageHeader, IsRefusedWhereItDoesNotFit) {
    EXPECT_EQ(packetOf(PageHeader{.page = 0x088}).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(packetOf(PageHeader{.page = 0x900}).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(packetOf(PageHeader{.subcode = 0x0080}).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(packetOf(PageHeader{.subcode = 0x4000}).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(packetOf(PageHeader{.nationalOption = 8}).error().code, FindingCode::TeletextFieldTooGreat);
    Packet row;
    row.number = 5;
    EXPECT_EQ(parseHeader(row).error(), (Finding{FindingCode::TeletextNotThatPacket, Severity::Error, 0, 5, 0}));
}

TEST(PageHeader, LivesWithOneWrongBitAByte) {
    const PageHeader header{.page = 0x456, .subcode = 0x1234, .isUpdate = true, .nationalOption = 5};
    Packet packet = *packetOf(header);
    Findings findings;
    for (std::size_t index = 0; index < 8; ++index) {
        packet.data[index] ^= static_cast<std::uint8_t>(1U << index);
    }
    EXPECT_EQ(*parseHeader(packet, &findings, 10), header);
    ASSERT_EQ(findings.size(), 8U);
    for (std::size_t index = 0; index < 8; ++index) {
        EXPECT_EQ(findings[index].code, FindingCode::TeletextByteCorrected);
        EXPECT_EQ(findings[index].offset, 10 + index);
        EXPECT_EQ(findings[index].second, packetOf(header)->data[index]);
    }
    packet.data[6] ^= 0x01U;
    EXPECT_EQ(parseHeader(packet, nullptr, 10).error().code, FindingCode::TeletextByteWrong);
    EXPECT_EQ(parseHeader(packet, nullptr, 10).error().offset, 16U);
}

TEST(TeletextRowPacket, HasParityAndSpacesBehind) {
    const Bytes codes{0x0B, 'A', 0x20, 0x0A};
    const auto packet = rowPacket(8, 20, codes);
    ASSERT_TRUE(packet);
    EXPECT_EQ(bytesOf(*packet), fromHex("555527"
                                        "158c"
                                        "0bc1208a" +
                                        spaces(36)));
    EXPECT_EQ(rowPacket(8, 0, codes).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(rowPacket(8, 25, codes).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(rowPacket(0, 1, codes).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_EQ(rowPacket(1, 1, Bytes(41)).error().code, FindingCode::TeletextFieldTooGreat);
    EXPECT_TRUE(rowPacket(1, 24, Bytes(40)));
    std::array<std::uint8_t, 40> read{};
    read.fill('x');
    Packet damaged = *packet;
    damaged.data[1] ^= 0x04U;
    EXPECT_EQ(takeCodes(damaged.data, read), 1U);
    EXPECT_EQ(read[0], 0x0B);
    EXPECT_EQ(read[1], 'x');
    EXPECT_EQ(read[3], 0x0A);
    EXPECT_EQ(read[39], 0x20);
    // What is short leaves the rest.
    read.fill('x');
    EXPECT_EQ(takeCodes(std::span(packet->data).first(2), read), 0U);
    EXPECT_EQ(read[1], 'A');
    EXPECT_EQ(read[2], 'x');
}

TEST(TripletPacket, HoldsThirteenTriplets) {
    // X/26/0 of magazine 8: number 26 is 0 and 13 (b6). Set active position: address 60 (row 20), mode 04h; then column 8,
    // mode 12h, data 'e' (an acute accent); terminators (address and mode and data all ones).
    TripletPacket packet;
    packet.triplets.fill(Triplet(0x3FFFF));
    packet.triplets[0] = Triplet::make(60, 0x04, 0);
    packet.triplets[1] = Triplet::make(8, 0x12, 'e');
    const auto coded = packetOf(packet);
    ASSERT_TRUE(coded);
    EXPECT_EQ(coded->number, 26);
    EXPECT_EQ(coded->data[0], 0x15);
    EXPECT_EQ(Bytes(coded->data.end() - 3, coded->data.end()), fromHex("747fff"));
    EXPECT_EQ(designationOf(*coded).value, 0);
    EXPECT_EQ(packet.triplets[0].bits(), 60U | 4U << 6U);
    EXPECT_EQ(packet.triplets[1].address(), 8);
    EXPECT_EQ(packet.triplets[1].mode(), 0x12);
    EXPECT_EQ(packet.triplets[1].data(), 'e');
    const Bytes line = bytesOf(*coded);
    EXPECT_EQ(Bytes(line.begin(), line.begin() + 5), fromHex("55552715b6"));
    EXPECT_EQ(*parseTriplets(*coded), packet);
}

TEST(TripletPacket, SaysWhichTripletIsDamaged) {
    TripletPacket packet;
    packet.number = 28;
    packet.designation = 4;
    packet.triplets.fill(Triplet(0x12345));
    Packet coded = *packetOf(packet);
    coded.data[0] ^= 0x10U;
    coded.data[1] ^= 0x01U;
    coded.data[4] ^= 0x81U;
    Findings findings;
    const auto read = parseTriplets(coded, &findings, 50);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->designation, 4);
    EXPECT_EQ(read->triplets[0], Triplet(0x12345));
    EXPECT_TRUE(read->isSound(0));
    EXPECT_FALSE(read->isSound(1));
    EXPECT_EQ(read->triplets[1], Triplet());
    EXPECT_EQ(read->damaged, 2U);
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0].code, FindingCode::TeletextByteCorrected);
    EXPECT_EQ(findings[1].code, FindingCode::TeletextTripletCorrected);
    EXPECT_EQ(findings[1].offset, 51U);
    EXPECT_EQ(findings[1].second, hamming2418(0x12345));
    EXPECT_EQ(findings[2].code, FindingCode::TeletextTripletWrong);
    EXPECT_EQ(findings[2].severity, Severity::Error);
    EXPECT_EQ(findings[2].offset, 54U);
    coded.data[0] ^= 0x01U;
    EXPECT_EQ(parseTriplets(coded).error().code, FindingCode::TeletextByteWrong);
}

TEST(TripletPacket, IsOfCertainNumbersOnly) {
    for (unsigned number = 0; number < 32; ++number) {
        Packet packet;
        packet.number = static_cast<std::uint8_t>(number);
        packet.data.fill(0x15);
        const bool hasDesignation = number >= 26 && number <= 30;
        EXPECT_EQ(packet.hasDesignation(), hasDesignation);
        EXPECT_EQ(static_cast<bool>(designationOf(packet)), hasDesignation);
        // X/27/0 holds links in Hamming 8/4.
        EXPECT_EQ(static_cast<bool>(parseTriplets(packet)), number == 26 || number == 28 || number == 29) << number;
        packet.data[0] = hamming84(4);
        EXPECT_EQ(static_cast<bool>(parseTriplets(packet)), number >= 26 && number <= 29) << number;
    }
    TripletPacket packet;
    packet.number = 25;
    EXPECT_FALSE(packetOf(packet));
    packet.number = 30;
    EXPECT_FALSE(packetOf(packet));
    packet.number = 26;
    packet.designation = 16;
    EXPECT_FALSE(packetOf(packet));
    packet.designation = 15;
    packet.magazine = 9;
    EXPECT_FALSE(packetOf(packet));
}

TEST(TeletextPacket, ComesBackWhateverItHolds) {
    std::mt19937 random(5);
    const auto upTo = [&random](unsigned greatest) {
        return static_cast<unsigned>(random() % (std::uint64_t{greatest} + 1));
    };
    for (unsigned round = 0; round < qlxtest::countFor(20000U, 2000U); ++round) {
        PageHeader header;
        header.page = static_cast<std::uint16_t>(0x100 + upTo(0x7FF));
        header.subcode = static_cast<std::uint16_t>(random() & PageHeader::kSubcodeBits);
        for (bool* const flag : {&header.erasesPage, &header.isNewsflash, &header.isSubtitle, &header.suppressesHeader,
                                 &header.isUpdate, &header.isInterrupted, &header.inhibitsDisplay, &header.isSerial}) {
            *flag = upTo(1) != 0;
        }
        header.nationalOption = static_cast<std::uint8_t>(upTo(7));
        std::generate(header.text.begin(), header.text.end(), [&] { return static_cast<std::uint8_t>(upTo(255)); });
        Findings findings;
        const auto packet = packetOf(header);
        ASSERT_TRUE(packet);
        ASSERT_EQ(*parseHeader(*parsePacket(bytesOf(*packet), &findings), &findings), header);
        TripletPacket triplets;
        triplets.magazine = static_cast<std::uint8_t>(1 + upTo(7));
        triplets.number = static_cast<std::uint8_t>(26 + upTo(3));
        triplets.designation = static_cast<std::uint8_t>(triplets.number == 27 ? 4 + upTo(11) : upTo(15));
        std::generate(triplets.triplets.begin(), triplets.triplets.end(), [&] { return Triplet(upTo(0x3FFFF)); });
        const auto coded = packetOf(triplets);
        ASSERT_TRUE(coded);
        ASSERT_EQ(*parseTriplets(*parsePacket(bytesOf(*coded, PacketForm::Address), &findings), &findings), triplets);
        ASSERT_TRUE(findings.empty());
    }
}

}  // namespace
