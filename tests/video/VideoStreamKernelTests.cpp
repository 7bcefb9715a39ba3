// The fast searches for start codes and identifiers against the same searches written out byte by byte.
#include "ExactBuffer.h"
#include "VideoKernels.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using qlx::videostream::Kernels;
using qlxtest::allVideoKernels;
using qlxtest::ExactBuffer;

namespace {

using Bytes = std::vector<std::uint8_t>;

using Find = std::size_t (*)(const std::uint8_t*, std::size_t, std::size_t);

/// Checks a search for a pattern at every position of a buffer that holds it once.
void checkEveryPlace(Find Kernels::*find, const Bytes& pattern, std::uint8_t filler) {
    constexpr std::size_t kSize = 150;
    const std::size_t last = kSize - pattern.size() + 1;
    for (std::size_t place = 0; place < last; ++place) {
        ExactBuffer bytes = ExactBuffer::filled(kSize, filler);
        std::memcpy(bytes.data() + place, pattern.data(), pattern.size());
        for (const Kernels* kernels : allVideoKernels()) {
            for (const std::size_t begin : {std::size_t{0}, std::size_t{1}, place / 2, place, place + 1, kSize}) {
                for (const std::size_t end : {last, place, place + 1}) {
                    const std::size_t expected = begin <= place && place < end ? place : end;
                    ASSERT_EQ((kernels->*find)(bytes.data(), begin, end), expected) << place << " from " << begin;
                }
            }
        }
    }
}

}  // namespace

TEST(VideoStreamKernels, FindAStartCodeAtEveryPosition) {
    for (const std::uint8_t filler : Bytes{0x40, 0x01, 0x02, 0xFF}) {
        checkEveryPlace(&Kernels::findStartCode, {0x00, 0x00, 0x01}, filler);
    }
}

TEST(VideoStreamKernels, FindAnIdentifierAtEveryPosition) {
    for (const std::uint8_t filler : Bytes{0x00, 'G', 'A', '9', '4'}) {
        checkEveryPlace(&Kernels::findUserIdentifier, {'G', 'A', '9', '4'}, filler);
    }
}

TEST(VideoStreamKernels, FindAlikeAmongNearMisses) {
    std::mt19937 random(3);
    constexpr std::uint8_t kCodeAlphabet[] = {0x00, 0x00, 0x01, 0x02};
    constexpr std::uint8_t kLetterAlphabet[] = {'G', 'A', '9', '4'};
    for (int round = 0; round < 4'000; ++round) {
        const bool code = round % 2 == 0;
        const std::size_t width = code ? 3 : 4;
        Bytes bytes(width + random() % 150);
        for (std::uint8_t& byte : bytes) {
            // Mostly the letter that follows the last one, so that long parts of the identifier occur.
            byte = code ? kCodeAlphabet[random() % 4] : kLetterAlphabet[(random() % 8 ? &byte - bytes.data() : 2) % 4];
        }
        const ExactBuffer exact(bytes);
        const std::size_t end = exact.size() - width + 1;
        const std::size_t begin = random() % (end + 1);
        const char* const pattern = code ? "\0\0\1" : "GA94";
        std::size_t expected = begin;
        while (expected < end && std::memcmp(exact.data() + expected, pattern, width) != 0) {
            ++expected;
        }
        for (const Kernels* kernels : allVideoKernels()) {
            const auto find = code ? kernels->findStartCode : kernels->findUserIdentifier;
            ASSERT_EQ(find(exact.data(), begin, end), expected) << qlxtest::toHex(bytes);
        }
    }
}
