// Odd parity, Hamming 8/4 and Hamming 24/18: every code word, every wrong bit, every two wrong bits.
#include "Sanitized.h"

#include <qlx/teletext/coding.h>

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace {

using namespace qlx::teletext;

/// The code word of EN 300 706, clause 8.2: P1 D1 P2 D2 P3 D3 P4 D4 in the order of transmission, first bit lowest.
unsigned statedHamming84(unsigned value) {
    const auto d = [value](unsigned bit) { return value >> (bit - 1) & 1U; };
    const unsigned p1 = 1 ^ d(1) ^ d(3) ^ d(4);
    const unsigned p2 = 1 ^ d(1) ^ d(2) ^ d(4);
    const unsigned p3 = 1 ^ d(1) ^ d(2) ^ d(3);
    const unsigned p4 = 1 ^ p1 ^ d(1) ^ p2 ^ d(2) ^ p3 ^ d(3) ^ d(4);
    return p1 | d(1) << 1 | p2 << 2 | d(2) << 3 | p3 << 4 | d(3) << 5 | p4 << 6 | d(4) << 7;
}

TEST(Hamming84, PutsOneWrongBitRightAndFindsTwo) {
    for (unsigned value = 0; value < 16; ++value) {
        const std::uint8_t code = hamming84(value);
        EXPECT_EQ(code, statedHamming84(value));
        EXPECT_EQ(hamming84(value + 16), code);
        EXPECT_EQ(decodeHamming84(code), (Decoded<std::uint8_t>{static_cast<std::uint8_t>(value), Protection::Right}));
        for (unsigned bit = 0; bit < 8; ++bit) {
            EXPECT_EQ(decodeHamming84(static_cast<std::uint8_t>(code ^ 1U << bit)),
                      (Decoded<std::uint8_t>{static_cast<std::uint8_t>(value), Protection::Corrected}));
            for (unsigned other = bit + 1; other < 8; ++other) {
                EXPECT_FALSE(decodeHamming84(static_cast<std::uint8_t>(code ^ 1U << bit ^ 1U << other)));
            }
        }
    }
}

TEST(Hamming84, KnowsEachByte) {
    // 16 right ones, eight beside each of them, and the rest.
    std::array<unsigned, 3> counts{};
    for (unsigned byte = 0; byte < 256; ++byte) {
        const auto decoded = decodeHamming84(static_cast<std::uint8_t>(byte));
        ++counts[static_cast<std::size_t>(decoded.protection)];
        EXPECT_TRUE(decoded || decoded.value == 0);
    }
    EXPECT_EQ(counts, (std::array<unsigned, 3>{16, 128, 112}));
}

TEST(Hamming2418, IsAsTheStandardStates) {
    // All data bits 0: the five check bits are 1, and five is odd already. All 1: each check bit covers an odd number of
    // them and is 0; 18 ones need the last bit.
    EXPECT_EQ(hamming2418(0), 0x00808BU);
    EXPECT_EQ(hamming2418(0x3FFFF), 0xFF7F74U);
    // The first data bit stands at position 3, the last at 23.
    EXPECT_EQ((hamming2418(0x00001) ^ hamming2418(0)) & 0x4U, 0x4U);
    EXPECT_EQ((hamming2418(0x20000) ^ hamming2418(0)) & 0x400000U, 0x400000U);
    EXPECT_EQ(hamming2418(0xFFFC0001), hamming2418(0x00001));
}

TEST(Hamming2418, PutsEachWrongBitRightAndFindsTwo) {
    for (std::uint32_t data = 0; data < 1U << 18; data += qlxtest::countFor(37U, 997U)) {
        const std::uint32_t coded = hamming2418(data);
        ASSERT_EQ(decodeHamming2418(coded), (Decoded<std::uint32_t>{data, Protection::Right}));
        ASSERT_EQ(decodeHamming2418(coded | 0xFF000000U), (Decoded<std::uint32_t>{data, Protection::Right}));
        for (unsigned bit = 0; bit < 24; ++bit) {
            ASSERT_EQ(decodeHamming2418(coded ^ 1U << bit), (Decoded<std::uint32_t>{data, Protection::Corrected}))
                << data << " bit " << bit;
            for (unsigned other = bit + 1; other < 24; ++other) {
                ASSERT_EQ(decodeHamming2418(coded ^ 1U << bit ^ 1U << other), Decoded<std::uint32_t>())
                    << data << " bits " << bit << " " << other;
            }
        }
    }
}

TEST(Hamming2418, GivesBackEveryValue) {
    for (std::uint32_t data = 0; data < 1U << 18; data += qlxtest::countFor(1U, 7U)) {
        ASSERT_EQ(decodeHamming2418(hamming2418(data)).value, data);
    }
}

TEST(OddParity, IsFoundWrongAndNeverPutRight) {
    EXPECT_EQ(withOddParity('B'), 0xC2);
    EXPECT_EQ(withOddParity(' '), 0x20);
    EXPECT_EQ(withOddParity(0), 0x80);
    for (unsigned code = 0; code < 128; ++code) {
        const std::uint8_t byte = withOddParity(code + 128);
        EXPECT_EQ(withoutParity(byte), (Decoded<std::uint8_t>{static_cast<std::uint8_t>(code), Protection::Right}));
        EXPECT_FALSE(withoutParity(static_cast<std::uint8_t>(byte ^ 0x80U)));
    }
}

TEST(ProtectionCounts, CountWhatWasNotRight) {
    ProtectionCounts counts;
    for (const Protection protection :
         {Protection::Right, Protection::Corrected, Protection::Wrong, Protection::Corrected}) {
        counts.count(protection);
    }
    EXPECT_EQ(counts, (ProtectionCounts{2, 1, 0}));
}

}  // namespace
