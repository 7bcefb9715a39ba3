#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <gtest/gtest.h>

#include <cstring>
#include <span>
#include <utility>

using qlx::Data;

TEST(Data, NoneDiffersFromEmpty) {
    const Data none;
    const Data empty(std::vector<std::uint8_t>{});
    EXPECT_FALSE(none);
    EXPECT_TRUE(none.empty());
    EXPECT_EQ(none.data(), nullptr);
    EXPECT_EQ(none.begin(), none.end());
    EXPECT_TRUE(empty);
    EXPECT_TRUE(empty.empty());
    EXPECT_NE(empty.data(), nullptr);
    EXPECT_NE(none, empty);
    EXPECT_EQ(none, Data());
    EXPECT_EQ(empty, Data(nullptr, 0));
    EXPECT_EQ(empty, Data::zeros(0));
}

TEST(Data, HoldsACopyOfItsSource) {
    std::vector<std::uint8_t> source{1, 2, 3};
    const Data data(source);
    source[0] = 9;
    EXPECT_EQ(data, (Data{1, 2, 3}));
    EXPECT_EQ(data[0], 1);
    EXPECT_EQ(data.size(), 3U);
}

TEST(Data, CopiesShareTheirBytes) {
    const Data first{1, 2, 3};
    Data second = first;
    EXPECT_EQ(second.data(), first.data());
    Data third = std::move(second);
    EXPECT_FALSE(second);  // NOLINT: a moved-from buffer is none
    EXPECT_EQ(third.data(), first.data());
    third = Data{4};
    EXPECT_EQ(third, (Data{4}));
    EXPECT_EQ(first, (Data{1, 2, 3}));
}

TEST(Data, AssignsToItself) {
    Data data{1, 2, 3};
    const Data& same = data;
    data = same;
    EXPECT_EQ(data, (Data{1, 2, 3}));
}

TEST(Data, ComparesByContent) {
    EXPECT_EQ((Data{1, 2}), (Data{1, 2}));
    EXPECT_NE((Data{1, 2}), (Data{1, 3}));
    EXPECT_NE((Data{1, 2}), (Data{1, 2, 3}));
}

TEST(Data, ConvertsToASpan) {
    const Data data{7, 8, 9};
    const std::span<const std::uint8_t> span = data;
    EXPECT_EQ(span.data(), data.data());
    EXPECT_EQ(span.size(), 3U);
    EXPECT_EQ(Data(span.subspan(1)), (Data{8, 9}));
}

TEST(Data, IsFilledInPlace) {
    const Data data = Data::make(4, [](std::uint8_t* bytes) { std::memset(bytes, 0x5A, 4); });
    EXPECT_EQ(data, (Data{0x5A, 0x5A, 0x5A, 0x5A}));
    EXPECT_EQ(Data::zeros(3), (Data{0, 0, 0}));
}

TEST(Data, DescribesItselfInGroupsOfFour) {
    EXPECT_EQ((Data{0xFC, 0x94, 0x2C, 0xFA, 0x00, 0x00}).description(), "<fc942cfa 0000>");
    EXPECT_EQ((Data{1, 2, 3, 4, 5, 6, 7, 8}).description(), "<01020304 05060708>");
    EXPECT_EQ((Data{0x0F}).description(), "<0f>");
    EXPECT_EQ(Data::zeros(0).description(), "<>");
    EXPECT_EQ(Data().description(), "(null)");
}
