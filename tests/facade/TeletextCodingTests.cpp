#include "ExactBuffer.h"
#include "Sanitized.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <new>
#include <string>
#include <vector>

namespace {

using Packetizer = QLXSubtitlesPacketizer;
using qlxtest::toHex;

TEST(TeletextCoding, CodesHamming84) {
    // The bits of EN 300 706, clause 8.2: P1 D1 P2 D2 P3 D3 P4 D4 in the order of transmission, first bit lowest.
    constexpr std::array<std::uint8_t, 16> kCodeWords = {0x15, 0x02, 0x49, 0x5E, 0x64, 0x73, 0x38, 0x2F,
                                                         0xD0, 0xC7, 0x8C, 0x9B, 0xA1, 0xB6, 0xFD, 0xEA};
    for (unsigned value = 0; value < 16; ++value) {
        const unsigned code = Packetizer::hamming84ForByte(static_cast<std::uint8_t>(value));
        EXPECT_EQ(code, kCodeWords[value]) << value;
        const auto d = [value](unsigned bit) { return value >> (bit - 1) & 1U; };
        const unsigned p1 = 1 ^ d(1) ^ d(3) ^ d(4);
        const unsigned p2 = 1 ^ d(1) ^ d(2) ^ d(4);
        const unsigned p3 = 1 ^ d(1) ^ d(2) ^ d(3);
        const unsigned p4 = 1 ^ p1 ^ d(1) ^ p2 ^ d(2) ^ p3 ^ d(3) ^ d(4);
        EXPECT_EQ(code, p1 | d(1) << 1 | p2 << 2 | d(2) << 3 | p3 << 4 | d(3) << 5 | p4 << 6 | d(4) << 7) << value;
    }
}

TEST(TeletextCoding, CodesOnlyTheLowFourBitsWithHamming84) {
    for (unsigned value = 0; value < 256; ++value) {
        EXPECT_EQ(Packetizer::hamming84ForByte(static_cast<std::uint8_t>(value)),
                  Packetizer::hamming84ForByte(static_cast<std::uint8_t>(value % 16)));
    }
}

TEST(TeletextCoding, MakesEveryByteOdd) {
    for (unsigned value = 0; value < 256; ++value) {
        const unsigned coded = Packetizer::byteWithParity(static_cast<std::uint8_t>(value));
        EXPECT_EQ(coded % 128, value % 128);
        unsigned ones = 0;
        for (unsigned rest = coded; rest != 0; rest /= 2) {
            ones += rest % 2;
        }
        EXPECT_EQ(ones % 2, 1U) << value;
    }
    EXPECT_EQ(Packetizer::byteWithParity(0x00), 0x80);
    EXPECT_EQ(Packetizer::byteWithParity(0x20), 0x20);
    EXPECT_EQ(Packetizer::byteWithParity(0x0A), 0x8A);
}

/// A triplet coded as EN 300 706, clause 8.3 states it: each check bit as the sum of the data bits that it protects.
std::uint32_t referenceHamming2418(std::uint32_t data) {
    const auto d = [data](unsigned bit) { return data >> (bit - 1) & 1U; };
    const auto sum = [&d](const std::vector<unsigned>& bits) {
        std::uint32_t result = 1;
        for (const unsigned bit : bits) {
            result ^= d(bit);
        }
        return result;
    };
    const std::uint32_t p1 = sum({1, 2, 4, 5, 7, 9, 11, 12, 14, 16, 18});
    const std::uint32_t p2 = sum({1, 3, 4, 6, 7, 10, 11, 13, 14, 17, 18});
    const std::uint32_t p3 = sum({2, 3, 4, 8, 9, 10, 11, 15, 16, 17, 18});
    const std::uint32_t p4 = sum({5, 6, 7, 8, 9, 10, 11});
    const std::uint32_t p5 = sum({12, 13, 14, 15, 16, 17, 18});
    const std::array<std::uint32_t, 23> sent = {p1,    p2,    d(1),  p3,    d(2),  d(3),  d(4),  p4,
                                                d(5),  d(6),  d(7),  d(8),  d(9),  d(10), d(11), p5,
                                                d(12), d(13), d(14), d(15), d(16), d(17), d(18)};
    std::uint32_t coded = 0;
    std::uint32_t p6 = 1;
    for (unsigned index = 0; index < sent.size(); ++index) {
        coded |= sent[index] << index;
        p6 ^= sent[index];
    }
    return coded | p6 << 23;
}

std::vector<std::uint8_t> hamming2418(std::vector<std::uint8_t> triplet) {
    qlxtest::ExactBuffer buffer(triplet);
    Packetizer::hamming2418ForTriplet(buffer.data());
    return buffer.vector();
}

TEST(TeletextCoding, CodesHamming2418) {
    // All data bits 0: the five check bits are 1, and five is odd already.
    EXPECT_EQ(toHex(hamming2418({0x00, 0x00, 0x00})), "8b8000");
    // All data bits 1: each check bit protects an odd number of them and is 0; 18 ones need the last bit.
    EXPECT_EQ(toHex(hamming2418({0xFF, 0xFF, 0x03})), "747fff");
}

TEST(TeletextCoding, IgnoresTheHighSixBitsOfATriplet) {
    EXPECT_EQ(toHex(hamming2418({0xFF, 0xFF, 0xFF})), "747fff");
    EXPECT_EQ(toHex(hamming2418({0x00, 0x00, 0xFC})), "8b8000");
}

TEST(TeletextCoding, CodesEveryTripletAsTheStandardStates) {
    std::uint8_t triplet[3];
    // Under the sanitizers each few bits still have all their states.
    for (std::uint32_t data = 0; data < 1U << 18; data += qlxtest::countFor(1U, 7U)) {
        for (unsigned index = 0; index < 3; ++index) {
            triplet[index] = static_cast<std::uint8_t>(data >> 8 * index & 0xFF);
        }
        Packetizer::hamming2418ForTriplet(triplet);
        ASSERT_EQ(triplet[0] + 256U * triplet[1] + 65536U * triplet[2], referenceHamming2418(data)) << data;
    }
}

TEST(TeletextCoding, PassesOverANullTriplet) {
    Packetizer::hamming2418ForTriplet(nullptr);
    // Still alive, and other triplets are not affected.
    EXPECT_EQ(toHex(hamming2418({0x00, 0x00, 0x00})), "8b8000");
}

TEST(TeletextCoding, ConvertsFrenchCharacters) {
    std::map<unsigned, unsigned> expected;
    for (unsigned character = 0; character < 256; ++character) {
        expected[character] = character % 128;
    }
    expected['#'] = 0x5F;
    expected[0xE0] = 0x40;  // à
    expected[0xE2] = 0x7B;  // â
    expected[0xE7] = 0x7E;  // ç
    expected[0xE8] = 0x60;  // è
    expected[0xE9] = 0x23;  // é
    expected[0xEA] = 0x5C;  // ê
    expected[0xEB] = 0x5B;  // ë
    expected[0xEE] = 0x5E;  // î
    expected[0xEF] = 0x24;  // ï
    expected[0xF4] = 0x7C;  // ô
    expected[0xF9] = 0x5D;  // ù
    expected[0xFB] = 0x7D;  // û
    for (const unsigned capital : {0xC0U, 0xC1U, 0xC2U, 0xC3U, 0xC4U, 0xC5U}) {
        expected[capital] = 'A';
    }
    expected[0xC7] = 'C';
    for (const unsigned capital : {0xC8U, 0xC9U, 0xCAU, 0xCBU}) {
        expected[capital] = 'E';
    }
    for (const unsigned capital : {0xCCU, 0xCDU, 0xCEU, 0xCFU}) {
        expected[capital] = 'I';
    }
    expected[0xD1] = 'N';
    for (const unsigned capital : {0xD2U, 0xD3U, 0xD4U, 0xD5U, 0xD6U}) {
        expected[capital] = 'O';
    }
    for (const unsigned capital : {0xD9U, 0xDAU, 0xDBU, 0xDCU}) {
        expected[capital] = 'U';
    }
    expected[0xDD] = 'Y';
    const auto packetizer = Packetizer::initWithSubtitleMode_isHD(2, true);
    for (unsigned character = 0; character < 256; ++character) {
        EXPECT_EQ(packetizer->convertedFrenchCharacter(static_cast<std::uint8_t>(character)), expected[character])
            << character;
    }
    // Letters that are not listed become unrelated ASCII: á, ñ, Æ, ×, ß.
    EXPECT_EQ(packetizer->convertedFrenchCharacter(0xE1), 'a');
    EXPECT_EQ(packetizer->convertedFrenchCharacter(0xF1), 'q');
    EXPECT_EQ(packetizer->convertedFrenchCharacter(0xC6), 'F');
    EXPECT_EQ(packetizer->convertedFrenchCharacter(0xD7), 'W');
    EXPECT_EQ(packetizer->convertedFrenchCharacter(0xDF), '_');
}

TEST(TeletextCoding, AddressesMagazineAndPacket) {
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(0, 0)), "1515");
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(0, 11)), "159b");
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(0, 31)), "d0ea");
    // The fifth bit stands beside the magazine, the low four together: 16 is 8 and 0, 20 is 8 and 4.
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(0, 16)), "d015");
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(0, 20)), "d064");
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(3, 1)), "5e02");
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(7, 24)), "ead0");
    // Magazines count modulo 8, packet addresses modulo 32.
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(8, 32)), "1515");
    EXPECT_EQ(toHex(Packetizer::dataWithMagazine_packetAddress(255, 255)), "eaea");
}

TEST(TeletextCoding, WritesPageTensFirst) {
    EXPECT_EQ(toHex(Packetizer::dataWithPageNumberUnits_pageNumberTens(8, 8)), "d0d0");
    EXPECT_EQ(toHex(Packetizer::dataWithPageNumberUnits_pageNumberTens(15, 8)), "d0ea");
    EXPECT_EQ(toHex(Packetizer::dataWithPageNumberUnits_pageNumberTens(1, 2)), "4902");
    EXPECT_EQ(toHex(Packetizer::dataWithPageNumberUnits_pageNumberTens(0x1F, 0xF8)), "d0ea");
}

TEST(TeletextCoding, WritesPageControl) {
    EXPECT_EQ(toHex(Packetizer::pageHeaderDataWithErasePage(true)), "15d015d07349");
    EXPECT_EQ(toHex(Packetizer::pageHeaderDataWithErasePage(false)), "151515d07349");
}

TEST(TeletextCoding, FillsWithSpacesBehindTheFirstByte) {
    const qlx::Data none = Packetizer::fillerDataWithLength(0);
    EXPECT_TRUE(none);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(toHex(Packetizer::fillerDataWithLength(1)), "86");
    EXPECT_EQ(toHex(Packetizer::fillerDataWithLength(2)), "8620");
    std::string expected = "86";
    for (int index = 0; index < 31; ++index) {
        expected += "20";
    }
    EXPECT_EQ(toHex(Packetizer::fillerDataWithLength(32)), expected);
}

TEST(TeletextCoding, RefusesAFillerThatMemoryCannotHold) {
    EXPECT_THROW((void)Packetizer::fillerDataWithLength(std::numeric_limits<std::uint64_t>::max()), std::bad_alloc);
}

TEST(TeletextCoding, StartsPacketsWithRunInAndFramingCode) {
    EXPECT_EQ(toHex(Packetizer::runInAndFramingCode()), "555527");
}

}  // namespace
