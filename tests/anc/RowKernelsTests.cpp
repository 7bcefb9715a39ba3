#include "anc/RowKernels.h"

#include "ExactBuffer.h"
#include "v210/V210.h"

#include <gtest/gtest.h>

#include <random>

using qlxtest::ExactBuffer;

namespace {

std::vector<std::uint8_t> randomBytes(std::mt19937& random, std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

/// Both sets on this machine; only the plain one where there is no AVX2.
std::vector<const qlx::anc::RowKernels*> allKernels() {
    std::vector<const qlx::anc::RowKernels*> all{&qlx::anc::scalarRowKernels()};
    if (qlx::anc::avx2RowKernels()) {
        all.push_back(qlx::anc::avx2RowKernels());
    }
    return all;
}

}  // namespace

TEST(RowKernels, ReduceAGroupToItsSixLumaSamples) {
    // Luma samples 0x301, 0x102, 0x203, 0x304, 0x105, 0x206; chroma all ones.
    ExactBuffer group = ExactBuffer::filled(16, 0);
    qlx::storeLittle32(group.data(), 0x3FFU | 0x301U << 10U | 0x3FFU << 20U | 3U << 30U);
    qlx::storeLittle32(group.data() + 4, 0x102U | 0x3FFU << 10U | 0x203U << 20U | 3U << 30U);
    qlx::storeLittle32(group.data() + 8, 0x3FFU | 0x304U << 10U | 0x3FFU << 20U);
    qlx::storeLittle32(group.data() + 12, 0x105U | 0x3FFU << 10U | 0x206U << 20U);
    for (const auto* kernels : allKernels()) {
        ExactBuffer luma = ExactBuffer::filled(6, 0xEE);
        kernels->reduceV210(group.data(), 1, luma.data());
        EXPECT_EQ(qlxtest::toHex(luma.span()), "010203040506");
    }
}

TEST(RowKernels, ReduceAlikeForEveryLength) {
    std::mt19937 random(1);
    for (std::size_t groups = 0; groups <= 70; ++groups) {
        const ExactBuffer row(randomBytes(random, groups * qlx::v210::kGroupBytes));
        std::vector<std::uint8_t> expected;
        for (std::size_t group = 0; group < groups; ++group) {
            for (const std::uint16_t sample : qlx::v210::lumaOfGroup(row.data() + group * qlx::v210::kGroupBytes)) {
                expected.push_back(static_cast<std::uint8_t>(sample));
            }
        }
        for (const auto* kernels : allKernels()) {
            ExactBuffer luma = ExactBuffer::filled(groups * 6, 0xEE);
            kernels->reduceV210(row.data(), groups, luma.data());
            ASSERT_EQ(luma.vector(), expected) << groups << " groups";
        }
    }
}

TEST(RowKernels, FindAFlagAtEveryPosition) {
    constexpr std::size_t kSize = 150;
    for (std::size_t place = 0; place + 2 < kSize; ++place) {
        ExactBuffer luma = ExactBuffer::filled(kSize, 0x40);
        luma[place] = 0x00;
        luma[place + 1] = 0xFF;
        luma[place + 2] = 0xFF;
        for (const auto* kernels : allKernels()) {
            for (const std::size_t begin : {std::size_t{0}, std::size_t{1}, place / 2, place, place + 1}) {
                for (const std::size_t end : {kSize - 2, place, place + 1}) {
                    if (begin <= end) {
                        const std::size_t expected = begin <= place && place < end ? place : end;
                        ASSERT_EQ(kernels->findDataFlag(luma.data(), begin, end), expected)
                            << place << " from " << begin;
                    }
                }
            }
        }
    }
}

TEST(RowKernels, FindAlikeAmongNearMisses) {
    std::mt19937 random(2);
    constexpr std::uint8_t kAlphabet[] = {0x00, 0xFF, 0xFF, 0x01, 0x80};
    for (int round = 0; round < 2'000; ++round) {
        std::vector<std::uint8_t> bytes(3 + random() % 120);
        for (std::uint8_t& byte : bytes) {
            byte = kAlphabet[random() % std::size(kAlphabet)];
        }
        const ExactBuffer luma(bytes);
        const std::size_t end = luma.size() - 2;
        const std::size_t begin = random() % (end + 1);
        std::size_t expected = begin;
        while (expected < end && !(luma[expected] == 0 && luma[expected + 1] == 0xFF && luma[expected + 2] == 0xFF)) {
            ++expected;
        }
        for (const auto* kernels : allKernels()) {
            ASSERT_EQ(kernels->findDataFlag(luma.data(), begin, end), expected);
        }
    }
}
