#include <qlx/base/ring.h>

#include <gtest/gtest.h>

#include <deque>
#include <random>

namespace {

TEST(Ring, IsAQueue) {
    std::mt19937 random(1);
    qlx::Ring<int> ring;
    std::deque<int> plain;
    for (int number = 0; number < 20'000; ++number) {
        // It grows for a while, then it is emptied, and so on.
        const bool grows = number / 3000 % 2 == 0;
        if (random() % 4 < (grows ? 3U : 1U) || plain.empty()) {
            ring.push(number);
            plain.push_back(number);
            ASSERT_EQ(ring.back(), number);
        } else {
            ASSERT_EQ(ring.pop(), plain.front());
            plain.pop_front();
        }
        ASSERT_EQ(ring.size(), plain.size());
        ASSERT_EQ(ring.empty(), plain.empty());
        if (!plain.empty()) {
            const std::size_t index = random() % plain.size();
            ASSERT_EQ(ring[index], plain[index]);
            ASSERT_EQ(ring.front(), plain.front());
        }
    }
}

TEST(Ring, IsCopiedWithItsItems) {
    qlx::Ring<int> ring;
    for (int number = 0; number < 20; ++number) {
        ring.push(number);
    }
    qlx::Ring<int> other = ring;
    EXPECT_EQ(ring.pop(), 0);
    EXPECT_EQ(other.pop(), 0);
    EXPECT_EQ(other.size(), 19U);
    EXPECT_EQ(other.back(), 19);
}

}  // namespace
