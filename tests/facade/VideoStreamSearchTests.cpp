// The fast searches against the same searches written out byte by byte.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "ExactBuffer.h"
#include "LiteralCaptionExtractors.h"
#include "Sanitized.h"
#include "VideoKernels.h"
#include "facade/H264CaptionExtractor.h"
#include "facade/MPEG2CaptionExtractor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using qlx::videostream::Kernels;
using qlxtest::ExactBuffer;
using qlxtest::LiteralTriplets;

namespace {

using Bytes = std::vector<std::uint8_t>;

LiteralTriplets literally(const qlx::Data& data) {
    return data ? LiteralTriplets(Bytes(data.begin(), data.end())) : std::nullopt;
}

/// Checks all the searches on one input and gives the number of them that found something.
int checkSearches(const Bytes& bytes) {
    const ExactBuffer exact(bytes);
    const LiteralTriplets annexB = qlxtest::literalAnnexB(exact.span());
    const LiteralTriplets lengthPrefixed = qlxtest::literalLengthPrefixed(exact.span());
    const LiteralTriplets mpeg2 = qlxtest::literalMPEG2(exact.span());
    for (const Kernels* kernels : qlxtest::allVideoKernels()) {
        EXPECT_EQ(literally(qlx::h264::tripletsInAnnexB(exact.span(), *kernels)), annexB);
        EXPECT_EQ(literally(qlx::h264::tripletsInLengthPrefixed(exact.span(), *kernels)), lengthPrefixed);
        EXPECT_EQ(literally(qlx::mpeg2::captionTriplets(exact.span(), *kernels)), mpeg2);
    }
    EXPECT_EQ(literally(QLXCCUtilities::extractCCDataFromH264Packet(bytes)), qlxtest::literalH264(exact.span()));
    if (testing::Test::HasFailure()) {
        ADD_FAILURE() << qlxtest::toHex(bytes);
    }
    return (annexB ? 1 : 0) + (lengthPrefixed ? 1 : 0) + (mpeg2 ? 1 : 0);
}

void append(Bytes& bytes, const Bytes& more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}

Bytes randomFragments(std::mt19937& random) {
    static const Bytes kFragments[] = {
        {0x00},
        {0x01},
        {0x06},
        {0x26},
        {0x65},
        {0xFF},
        {'G'},
        {'4'},
        {0x40},
        {0x03},
        {0x00, 0x00, 0x01},
        {0x00, 0x00, 0x01, 0x06},
        {0x00, 0x00, 0x00, 0x01, 0x26},
        {0x00, 0x00, 0x01, 0x65},
        {'G', 'A', '9'},
        {'G', 'A', '9', '4'},
        {'G', 'A', '9', '4', 0x03, 0x42},
        {'G', 'A', '9', '4', 0x03, 0xC1, 0xFF},
        {'G', 'A', '9', '4', 0x03, 0x80},
        {'G', 'A', '9', '4', 0x04, 0xC1},
        {0x06, 0x04, 0x11, 0xB5, 0x00, 0x31},
    };
    Bytes bytes = random() % 2 == 0 ? Bytes{0x00, 0x00, 0x00, 0x01} : Bytes();
    if (random() % 4 != 0) {
        bytes.push_back(0x06);
    }
    for (std::size_t count = random() % 14; count > 0; --count) {
        append(bytes, kFragments[random() % std::size(kFragments)]);
        if (random() % 4 == 0) {
            bytes.resize(bytes.size() + random() % 80, static_cast<std::uint8_t>(random()));
        }
    }
    return bytes;
}

/// Units behind lengths that are mostly right.
Bytes randomLengthPrefixed(std::mt19937& random) {
    Bytes bytes;
    for (std::size_t count = 1 + random() % 4; count > 0; --count) {
        Bytes unit = randomFragments(random);
        if (random() % 2 == 0) {
            unit.insert(unit.begin(), 0x06);
        }
        const std::size_t error = random() % 8 == 0 ? random() % 5 : 2;
        const auto length = static_cast<std::uint32_t>(unit.size() + error - 2);
        append(bytes, {static_cast<std::uint8_t>(length >> 24U), static_cast<std::uint8_t>(length >> 16U),
                       static_cast<std::uint8_t>(length >> 8U), static_cast<std::uint8_t>(length)});
        append(bytes, unit);
    }
    return bytes;
}

/// Random inputs for each of the differential tests; one in ten holds captions.
constexpr int kRounds = qlxtest::countFor(40'000, 8'000);

/// `pattern` again and again, behind `begin`: far longer than whatever a search looks at in one step.
Bytes repeated(Bytes begin, const Bytes& pattern) {
    constexpr std::size_t kSize = qlxtest::countFor(std::size_t{1} << 20U, std::size_t{1} << 16U);
    while (begin.size() < kSize) {
        append(begin, pattern);
    }
    return begin;
}

}  // namespace

TEST(VideoStreamSearches, EqualTheLiteralOnesOnFragments) {
    std::mt19937 random(4);
    int found = 0;
    for (int round = 0; round < kRounds && !HasFailure(); ++round) {
        found += checkSearches(randomFragments(random));
    }
    EXPECT_GT(found, kRounds / 10);
}

TEST(VideoStreamSearches, EqualTheLiteralOnesOnUnitsBehindLengths) {
    std::mt19937 random(5);
    int found = 0;
    for (int round = 0; round < kRounds && !HasFailure(); ++round) {
        found += checkSearches(randomLengthPrefixed(random));
    }
    EXPECT_GT(found, kRounds / 10);
}

TEST(VideoStreamSearches, EqualTheLiteralOnesOnRandomBytes) {
    std::mt19937 random(6);
    for (std::size_t size = 0; size < 600 && !HasFailure(); ++size) {
        Bytes bytes(size);
        for (std::uint8_t& byte : bytes) {
            byte = static_cast<std::uint8_t>(random());
        }
        checkSearches(bytes);
        if (size >= 4) {
            std::memcpy(bytes.data(), "\0\0\0\1", 4);
            checkSearches(bytes);
        }
    }
}

TEST(VideoStreamSearches, TakeLinearTimeOnInputsMadeToSlowThem) {
    // A search that began again at each start code, or at each identifier, would take hours here.
    const Bytes startCode{0x00, 0x00, 0x00, 0x01};
    EXPECT_EQ(checkSearches(repeated(startCode, {0x00, 0x00, 0x01})), 0);
    EXPECT_EQ(checkSearches(repeated(startCode, {0x06, 0x00, 0x00, 0x01})), 0);
    EXPECT_EQ(checkSearches(repeated({0x00, 0x00, 0x00, 0x01, 0x06}, {0x00})), 0);
    EXPECT_EQ(checkSearches(repeated({0x00, 0x00, 0x00, 0x01, 0x06}, {'G'})), 0);
    EXPECT_EQ(checkSearches(repeated({0x00, 0x00, 0x00, 0x01, 0x06}, {'G', 'A', '9', '4', 0x03, 0x3F})), 0);
    EXPECT_EQ(checkSearches(repeated({0x06, 0x00, 0x00, 0x00, 0x06}, {'G', 'A', '9', '4', 0x03, 0x3F})), 0);
    EXPECT_EQ(checkSearches(repeated({}, {0x00})), 0);
}
