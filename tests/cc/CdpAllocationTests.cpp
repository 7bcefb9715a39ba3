// A caption distribution packet asks for no memory, whatever it holds.
#include <qlx/cc/cdp.h>

#include "Allocations.h"

#include <gtest/gtest.h>

#include <array>
#include <span>
#include <vector>

namespace {

using qlx::cc::CaptionService;
using qlx::cc::Cdp;
using qlx::cc::Triplet;
using qlxtest::allocationsOf;

TEST(CdpAllocations, AreNone) {
#ifdef QLX_SANITIZED
    GTEST_SKIP() << "the sanitizers count none";
#endif
    EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(1)); }), 1U);
    const std::vector<Triplet> triplets(qlx::cc::kGreatestTriplets, Triplet::make(qlx::cc::CcType::DtvccData, 1, 2));
    const std::array services{CaptionService::line21(false), CaptionService::digital(1, {'e', 'n', 'g'})};
    const std::array<std::uint8_t, 3> future{1, 2, 3};
    std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
    Cdp cdp;
    std::size_t size = 0;
    EXPECT_EQ(allocationsOf([&] {
                  cdp.setFrameRate(qlx::FrameRate::Fps24);
                  cdp.setTimeCode(qlx::cc::CdpTimeCode::make({.hours = 1}));
                  EXPECT_TRUE(cdp.setTriplets(triplets));
                  EXPECT_TRUE(cdp.setServices(services));
                  EXPECT_TRUE(cdp.addFutureSection(0x75, future));
                  size = *writeCdp(cdp, room);
              }),
              0U);
    EXPECT_GT(size, 3 * triplets.size());
    bool isSame = false;
    EXPECT_EQ(allocationsOf([&] {
                  const auto back = qlx::cc::parseCdp(std::span(room).first(size));
                  isSame = back && *back == cdp;
              }),
              0U);
    EXPECT_TRUE(isSame);
    // A finding needs none either, as long as nobody keeps it.
    room[size - 1] ^= 1U;
    EXPECT_EQ(allocationsOf([&] { isSame = qlx::cc::parseCdp(std::span(room).first(size)).hasValue(); }), 0U);
    EXPECT_TRUE(isSame);
}

}  // namespace
