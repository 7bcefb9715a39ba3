#include "base/Bytes.h"

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <array>

using qlxtest::ExactBuffer;

TEST(BigEndian, LoadsAndStoresEveryWidth) {
    std::array<std::uint8_t, 8> bytes{};
    qlx::storeBig(bytes.data(), std::uint64_t{0x0123456789ABCDEF});
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 8>{0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}));
    EXPECT_EQ(qlx::loadBig<std::uint64_t>(bytes.data()), 0x0123456789ABCDEFU);
    EXPECT_EQ(qlx::loadBig<std::uint32_t>(bytes.data()), 0x01234567U);
    EXPECT_EQ(qlx::loadBig<std::uint16_t>(bytes.data()), 0x0123U);
    EXPECT_EQ(qlx::loadBig<std::uint8_t>(bytes.data()), 0x01U);
    qlx::storeBig(bytes.data(), std::uint16_t{0xFEDC});
    EXPECT_EQ(bytes[0], 0xFE);
    EXPECT_EQ(bytes[1], 0xDC);
    EXPECT_EQ(bytes[2], 0x45);
}

TEST(LittleEndian, LoadsAndStoresWords) {
    std::array<std::uint8_t, 4> bytes{};
    qlx::storeLittle32(bytes.data(), 0x80FF0201U);
    EXPECT_EQ(bytes, (std::array<std::uint8_t, 4>{0x01, 0x02, 0xFF, 0x80}));
    EXPECT_EQ(qlx::loadLittle32(bytes.data()), 0x80FF0201U);
}

TEST(ByteReader, ReadsFieldsInOrder) {
    const ExactBuffer buffer{0x12, 0x34, 0x56, 0xAA, 0xBB, 0xCC};
    qlx::ByteReader reader(buffer.span());
    EXPECT_EQ(reader.take<std::uint16_t>(), 0x1234);
    reader.skip(1);
    const auto rest = reader.takeBytes(2);
    EXPECT_EQ(qlxtest::toHex(rest), "aabb");
    EXPECT_EQ(reader.remaining(), 1U);
    EXPECT_FALSE(reader.failed());
}

TEST(ByteReader, StaysFailedAfterTheEnd) {
    const ExactBuffer buffer{0x12, 0x34, 0x56};
    qlx::ByteReader reader(buffer.span());
    EXPECT_EQ(reader.take<std::uint32_t>(), 0U);
    EXPECT_TRUE(reader.failed());
    EXPECT_EQ(reader.remaining(), 0U);
    EXPECT_EQ(reader.take<std::uint8_t>(), 0U);
    EXPECT_TRUE(reader.takeBytes(0).empty());
    EXPECT_TRUE(reader.failed());
}

TEST(ByteReader, RefusesACountThatWouldWrap) {
    const ExactBuffer buffer{0x12};
    qlx::ByteReader reader(buffer.span());
    EXPECT_TRUE(reader.takeBytes(UINT64_MAX).empty());
    EXPECT_TRUE(reader.failed());
}

TEST(HasZeroByte, FindsItAtEveryPlace) {
    for (const std::uint64_t word :
         {0x0101010101010101U, 0x7F7F7F7F7F7F7F7FU, 0x8080808080808080U, 0xFFFFFFFFFFFFFFFFU, 0x0180010180800180U}) {
        EXPECT_FALSE(qlx::hasZeroByte(word));
        for (unsigned place = 0; place < 64; place += 8) {
            EXPECT_TRUE(qlx::hasZeroByte(word & ~(std::uint64_t{0xFF} << place))) << place;
        }
    }
}
