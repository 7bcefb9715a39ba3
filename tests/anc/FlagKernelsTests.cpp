#include "anc/FlagKernels.h"

#include "ExactBuffer.h"
#include "base/Bytes.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace qlx::anc::detail;
using qlxtest::ExactBuffer;

/// Both searches on this machine; only the plain one where there is no AVX2.
std::vector<FindOuterOnes> allKernels() {
    std::vector<FindOuterOnes> all{findOuterOnesScalar};
    if (findOuterOnesAVX2()) {
        all.push_back(findOuterOnesAVX2());
    }
    return all;
}

constexpr std::size_t kWords = 150;

/// Words of 3FE in both outer samples, 3FF in the middle and ones in the bits that no sample has.
ExactBuffer almostOnes() {
    ExactBuffer row = ExactBuffer::filled(kWords * 4, 0);
    for (std::size_t word = 0; word < kWords; ++word) {
        qlx::storeLittle32(row.data() + 4 * word, 0x3FEU | 0x3FFU << 10U | 0x3FEU << 20U | 3U << 30U);
    }
    return row;
}

}  // namespace

TEST(FlagKernels, FindTheFirstOuterSampleOfOnes) {
    for (const std::uint32_t sample : {0x3FFU, 0x3FFU << 20U}) {
        for (std::size_t place = 0; place < kWords; ++place) {
            ExactBuffer row = almostOnes();
            qlx::storeLittle32(row.data() + 4 * place, sample);
            for (const FindOuterOnes find : allKernels()) {
                for (const std::size_t first : {std::size_t{0}, std::size_t{1}, place / 2, place, place + 1}) {
                    for (const std::size_t end : {kWords, place, place + 1}) {
                        if (first <= end) {
                            const std::size_t expected = first <= place && place < end ? place : end;
                            ASSERT_EQ(find(row.data(), first, end, kAroundOuterSamples), expected);
                        }
                    }
                }
            }
        }
    }
}

TEST(FlagKernels, TakeProtectedCodesForOnes) {
    for (std::uint32_t value = 0; value < 0x400; ++value) {
        for (const unsigned shift : {0U, 20U}) {
            ExactBuffer row = ExactBuffer::filled(64 * 4, 0);
            qlx::storeLittle32(row.data() + 4 * 30, value << shift);
            for (const FindOuterOnes find : allKernels()) {
                ASSERT_EQ(find(row.data(), 0, 64, kAroundProtectedSamples), value >= 0x3FC ? 30U : 64U) << value;
                ASSERT_EQ(find(row.data(), 0, 64, kAroundOuterSamples), value == 0x3FF ? 30U : 64U) << value;
            }
        }
    }
}

TEST(FlagKernels, FindAlikeInRandomRows) {
    std::mt19937 random(4);
    for (int round = 0; round < 3'000; ++round) {
        const std::size_t words = random() % 200;
        ExactBuffer row = ExactBuffer::filled(words * 4, 0);
        for (std::size_t word = 0; word < words; ++word) {
            qlx::storeLittle32(row.data() + 4 * word, static_cast<std::uint32_t>(random()));
        }
        const std::size_t first = random() % (words + 1);
        const std::size_t end = first + random() % (words - first + 1);
        for (const std::uint32_t around : {kAroundOuterSamples, kAroundProtectedSamples}) {
            std::size_t expected = first;
            const unsigned least = around == kAroundOuterSamples ? 0x3FF : 0x3FC;
            while (expected < end) {
                const std::uint32_t word = qlx::loadLittle32(row.data() + 4 * expected);
                if ((word & 0x3FFU) >= least || (word >> 20U & 0x3FFU) >= least) {
                    break;
                }
                ++expected;
            }
            for (const FindOuterOnes find : allKernels()) {
                ASSERT_EQ(find(row.data(), first, end, around), expected);
            }
        }
    }
}
