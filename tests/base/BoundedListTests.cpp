#include <qlx/base/bounded_list.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace {

using List = qlx::BoundedList<std::uint16_t, 3>;
using Items = std::vector<std::uint16_t>;

Items itemsOf(const List& list) {
    return {list.begin(), list.end()};
}

TEST(BoundedList, TakesItemsUpToItsRoom) {
    List list;
    EXPECT_TRUE(list.empty());
    EXPECT_TRUE(list.append(Items{1, 2}));
    EXPECT_FALSE(list.append(Items{3, 4}));
    EXPECT_EQ(itemsOf(list), (Items{1, 2}));
    EXPECT_TRUE(list.append(Items{3}));
    EXPECT_EQ(itemsOf(list), (Items{1, 2, 3}));
    EXPECT_TRUE(list.append({}));
    EXPECT_FALSE(list.append(Items{4}));
    EXPECT_EQ(list[2], 3);
    EXPECT_EQ(list.size(), List::capacity());
}

TEST(BoundedList, AssignsAllOrNothing) {
    List list;
    EXPECT_TRUE(list.assign(Items{1, 2, 3}));
    EXPECT_FALSE(list.assign(Items{4, 5, 6, 7}));
    EXPECT_EQ(itemsOf(list), (Items{1, 2, 3}));
    EXPECT_TRUE(list.assign(Items{8}));
    EXPECT_EQ(itemsOf(list), Items{8});
    EXPECT_TRUE(list.assign({}));
    EXPECT_TRUE(list.empty());
}

TEST(BoundedList, TakesAndGivesBytes) {
    List list;
    const Items items{0x0102, 0x0304};
    std::array<std::uint8_t, 4> bytes{};
    std::memcpy(bytes.data(), items.data(), bytes.size());
    EXPECT_FALSE(list.appendBytes(std::span(bytes).first(3))) << "half an item";
    EXPECT_TRUE(list.appendBytes(bytes));
    EXPECT_EQ(itemsOf(list), items);
    EXPECT_TRUE(std::equal(list.bytes().begin(), list.bytes().end(), bytes.begin(), bytes.end()));
}

TEST(BoundedList, IsComparedByWhatItHolds) {
    List left;
    List right;
    EXPECT_TRUE(left.assign(Items{1, 2, 3}));
    EXPECT_TRUE(left.assign(Items{7}));
    EXPECT_NE(left, right);
    EXPECT_TRUE(right.assign(Items{7}));
    EXPECT_EQ(left, right);
    EXPECT_TRUE(right.assign(Items{8}));
    EXPECT_NE(left, right);
    left.clear();
    EXPECT_EQ(left, List());
}

}  // namespace
