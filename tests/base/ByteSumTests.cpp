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
    // Lanes are added up after 32 words, 256 bytes; 42 words are the most that would not overflow.
    for (const std::size_t size : {248U, 255U, 256U, 257U, 264U, 336U, 344U, 512U, 1024U, 2048U, 100'003U}) {
        const ExactBuffer buffer = ExactBuffer::filled(size, 0xFF);
        EXPECT_EQ(qlx::byteSum(buffer.span()), size * 255 % 256) << size;
    }
}
