#include "base/ByteSum.h"

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <numeric>
#include <random>

using qlxtest::ExactBuffer;

TEST(ByteSum, EqualsThePlainSumForEverySize) {
    std::mt19937 random(1);
    for (std::size_t size = 0; size < 300; ++size) {
        ExactBuffer buffer = ExactBuffer::filled(size, 0);
        for (std::uint8_t& byte : buffer.span()) {
            byte = static_cast<std::uint8_t>(random());
        }
        const auto plain = std::accumulate(buffer.span().begin(), buffer.span().end(), 0U);
        EXPECT_EQ(qlx::byteSum(buffer.span()), plain % 256) << size;
    }
}

TEST(ByteSum, DoesNotOverflowItsLanes) {
    // 128 words are one lane's room.
    for (const std::size_t size : {1016U, 1024U, 1032U, 2048U, 100'003U}) {
        const ExactBuffer buffer = ExactBuffer::filled(size, 0xFF);
        EXPECT_EQ(qlx::byteSum(buffer.span()), size * 255 % 256) << size;
    }
}
