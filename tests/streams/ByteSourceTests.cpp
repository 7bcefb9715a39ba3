// Bytes in memory, read as a file is.
#include <qlx/streams/byte_source.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <vector>

namespace {

using qlx::streams::MemorySource;

TEST(MemorySource, IsReadFromFrontToBack) {
    const std::array<std::uint8_t, 5> bytes{1, 2, 3, 4, 5};
    MemorySource source(bytes);
    EXPECT_EQ(source.size(), 5U);
    std::vector<std::uint8_t> read(2);
    EXPECT_EQ(source.read(read), 2U);
    EXPECT_EQ(read, (std::vector<std::uint8_t>{1, 2}));
    const auto next = source.peek(2);
    EXPECT_EQ(std::vector(next.begin(), next.end()), (std::vector<std::uint8_t>{3, 4}));
    EXPECT_EQ(source.offset(), 2U);
    EXPECT_EQ(source.skip(1), 1U);
    read.assign(4, 0);
    EXPECT_EQ(source.read(read), 2U) << "the end";
    EXPECT_EQ(read, (std::vector<std::uint8_t>{4, 5, 0, 0}));
    EXPECT_EQ(source.offset(), 5U);
    EXPECT_EQ(source.read(read), 0U);
    EXPECT_TRUE(source.peek(1).empty());
    EXPECT_EQ(source.skip(std::numeric_limits<std::uint64_t>::max()), 0U);
    EXPECT_EQ(source.error(), std::nullopt);
}

TEST(MemorySource, GoesToAnyPlaceOfItsBytes) {
    const std::array<std::uint8_t, 3> bytes{1, 2, 3};
    MemorySource source(bytes);
    EXPECT_TRUE(source.seek(3));
    EXPECT_FALSE(source.seek(4));
    EXPECT_FALSE(source.seek(std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(source.offset(), 3U) << "where it was";
    EXPECT_TRUE(source.seek(1));
    EXPECT_EQ(source.peek(3).front(), 2);
    EXPECT_EQ(source.skip(9), 2U);
}

}  // namespace
