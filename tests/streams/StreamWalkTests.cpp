// Following the pieces of a container while it is read: what stands between them, and whether the last one is whole.
#include "ExactBuffer.h"
#include "streams/StreamWalk.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace {

using qlx::streams::detail::CutPiece;
using qlx::streams::detail::Stray;
using qlx::streams::detail::StreamWalk;
using qlxtest::fromHex;
using Bytes = std::vector<std::uint8_t>;

/// Pieces that begin with A5 and their size.
StreamWalk walkOfPieces() {
    constexpr std::uint8_t kStart[] = {0xA5};
    return {[](std::uint64_t /*place*/, std::span<const std::uint8_t> bytes) -> std::optional<std::uint64_t> {
                if (!bytes.empty() && bytes[0] != 0xA5) {
                    return std::nullopt;
                }
                return bytes.size() < 2 ? 0 : bytes[1];
            },
            kStart};
}

void feed(StreamWalk& walk, const Bytes& bytes, std::size_t step) {
    for (std::size_t place = 0; place < bytes.size(); place += step) {
        const qlxtest::ExactBuffer part(
            std::span<const std::uint8_t>(bytes).subspan(place, std::min(step, bytes.size() - place)));
        walk.take(place, part.span());
    }
}

TEST(StreamWalk, FindsWhatIsNoPiece) {
    // Three bytes in front of the first piece, which are passed over, two behind it and one behind the third.
    const Bytes bytes = fromHex("010203 a503ff 0405 a502 a504ffff 06 a502");
    for (std::size_t step = 1; step <= bytes.size(); ++step) {
        StreamWalk walk = walkOfPieces();
        feed(walk, bytes, step);
        EXPECT_EQ(walk.takeStrays(), (std::vector<Stray>{{6, 2}, {14, 1}})) << step;
        EXPECT_EQ(walk.takeStrays(), std::vector<Stray>{});
        EXPECT_FALSE(walk.cutAt(bytes.size()));
        EXPECT_FALSE(walk.strayAt(bytes.size()));
    }
}

TEST(StreamWalk, SeesThatAPieceIsCut) {
    const Bytes bytes = fromHex("a503ff a504ffff 0102");
    // The first piece is one when its size is known.
    const std::vector<std::optional<CutPiece>> expected{
        std::nullopt,      std::nullopt,      CutPiece{0, 2, 3}, std::nullopt, CutPiece{3, 1, 0},
        CutPiece{3, 2, 4}, CutPiece{3, 3, 4}, std::nullopt,      std::nullopt, std::nullopt};
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        for (const std::size_t step : {std::size_t{1}, std::size_t{4}, bytes.size()}) {
            StreamWalk walk = walkOfPieces();
            feed(walk, Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)), step);
            EXPECT_EQ(walk.cutAt(size), expected[size]) << size << " in steps of " << step;
            EXPECT_EQ(walk.strayAt(size), size > 7 ? std::optional(Stray{7, size - 7}) : std::nullopt);
        }
    }
}

TEST(StreamWalk, PassesGapsWhenItIsToldTo) {
    const Bytes bytes = fromHex("a502 a504ffff a502 09 a502 a502");
    const auto part = [&bytes](std::size_t begin, std::size_t size) { return std::span(bytes).subspan(begin, size); };
    // The end is looked at first, and then what is in front of it.
    StreamWalk patient = walkOfPieces();
    patient.take(0, part(0, 2));
    patient.take(9, part(9, 4));
    patient.take(2, part(2, 11));
    EXPECT_EQ(patient.takeStrays(), (std::vector<Stray>{{8, 1}}));
    // What has been taken is passed over.
    patient.take(0, part(0, 13));
    EXPECT_EQ(patient.takeStrays(), std::vector<Stray>{});
    StreamWalk going = walkOfPieces();
    going.passGaps();
    going.take(0, part(0, 4));
    // In the second piece there is nothing to be seen.
    going.take(6, part(6, 3));
    // What is missing here may have been anything.
    going.take(10, part(10, 3));
    EXPECT_EQ(going.takeStrays(), (std::vector<Stray>{{8, 1}}));
    EXPECT_FALSE(going.cutAt(13));
}

TEST(StreamWalk, KeepsTheFirstStraysOnly) {
    StreamWalk walk = walkOfPieces();
    std::uint64_t place = 0;
    for (int index = 0; index < 1000; ++index) {
        const Bytes bytes = fromHex("a502 00");
        walk.take(place, bytes);
        place += bytes.size();
    }
    const std::vector<Stray> strays = walk.takeStrays();
    ASSERT_EQ(strays.size(), StreamWalk::kMostStrays);
    EXPECT_EQ(strays.front(), (Stray{2, 1}));
    EXPECT_EQ(strays.back(), (Stray{StreamWalk::kMostStrays * 3 - 1, 1}));
}

TEST(StreamWalk, EndsWithoutAStartToLookFor) {
    StreamWalk walk(
        [](std::uint64_t place, auto /*bytes*/) { return place == 0 ? std::optional<std::uint64_t>(2) : std::nullopt; },
        {});
    feed(walk, fromHex("00010203"), 1);
    EXPECT_EQ(walk.takeStrays(), std::vector<Stray>{});
    EXPECT_FALSE(walk.cutAt(4));
    EXPECT_FALSE(walk.strayAt(4));
}

}  // namespace
