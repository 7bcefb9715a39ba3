// Rows and alignments, seen through the record that places its lines.
#include "SubtitleStates.h"

#include <gtest/gtest.h>

#include <array>
#include <utility>

namespace {

using Rows = std::vector<std::uint64_t>;

constexpr std::uint64_t kMinusOne = 0xFFFF'FFFF'FFFF'FFFF;

std::shared_ptr<QLXSubtitleTextLine> lineOfType(std::int32_t type, std::uint64_t row = 0) {
    auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setPositioningType(type);
    line->setVerticalPosition(row);
    line->setAlignment(0);
    return line;
}

Rows placed(std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines, std::int32_t mode) {
    QLXSubtitleRecord record;
    record.setSubtitleLines(std::move(lines));
    record.updatePositioningForSubtitleMode(mode);
    Rows rows;
    for (const auto& line : record.subtitleLines()) {
        rows.push_back(line->verticalPosition());
    }
    return rows;
}

Rows rowsOfTwo(std::int32_t type, std::int32_t mode) {
    return placed({lineOfType(type), lineOfType(type)}, mode);
}

TEST(LinePlacement, PutsTheBottomBlockAboveTheLastRow) {
    for (const std::int32_t type : {0, 1, 2, 3}) {
        EXPECT_EQ(rowsOfTwo(type, 1), (Rows{13, 14})) << type;
        EXPECT_EQ(rowsOfTwo(type, 2), (Rows{10, 11})) << type;
        EXPECT_EQ(rowsOfTwo(type, 0), (Rows{13, 14})) << type;
    }
}

TEST(LinePlacement, PutsTheMiddleBlockHalfWayDown) {
    for (const std::int32_t type : {4, 5, 6}) {
        EXPECT_EQ(rowsOfTwo(type, 1), (Rows{7, 8})) << type;
        EXPECT_EQ(rowsOfTwo(type, 2), (Rows{6, 7})) << type;
        EXPECT_EQ(rowsOfTwo(type, 3), (Rows{7, 8})) << type;
    }
}

TEST(LinePlacement, PutsTheTopBlockOnRowOne) {
    for (const std::int32_t type : {7, 8, 9}) {
        EXPECT_EQ(rowsOfTwo(type, 1), (Rows{1, 2})) << type;
        EXPECT_EQ(rowsOfTwo(type, 2), (Rows{1, 2})) << type;
        EXPECT_EQ(rowsOfTwo(type, -1), (Rows{1, 2})) << type;
    }
}

TEST(LinePlacement, AlignsAsOnAKeypad) {
    constexpr std::array<std::pair<std::int32_t, std::int32_t>, 10> kAlignments{
        {{0, 2}, {1, 1}, {2, 2}, {3, 3}, {4, 1}, {5, 2}, {6, 3}, {7, 1}, {8, 2}, {9, 3}}};
    for (const auto& [type, alignment] : kAlignments) {
        for (const std::uint64_t row : {0U, 4U}) {
            const auto line = lineOfType(type, row);
            placed({line}, 2);
            EXPECT_EQ(line->alignment(), alignment) << type;
        }
    }
}

TEST(LinePlacement, PlacesEachLineByItsOwnType) {
    EXPECT_EQ(placed({lineOfType(8), lineOfType(5), lineOfType(2)}, 2), (Rows{1, 7, 11}));
    EXPECT_EQ(placed({lineOfType(8), lineOfType(5), lineOfType(2)}, 1), (Rows{1, 8, 14}));
}

TEST(LinePlacement, KeepsRowsThatAreSet) {
    EXPECT_EQ(placed({lineOfType(8, 20), lineOfType(0), lineOfType(2, kMinusOne)}, 2), (Rows{20, 10, kMinusOne}));
}

TEST(LinePlacement, LeavesUnknownTypesAlone) {
    for (const std::int32_t type : {-1, 10}) {
        const auto line = lineOfType(type);
        EXPECT_EQ(placed({line, lineOfType(0)}, 2), (Rows{0, 11})) << type;
        EXPECT_EQ(line->alignment(), 0) << type;
    }
}

TEST(LinePlacement, PlacesALineOnce) {
    QLXSubtitleRecord record;
    record.setSubtitleLines({lineOfType(0)});
    record.updatePositioningForSubtitleMode(2);
    record.updatePositioningForSubtitleMode(1);
    EXPECT_EQ(record.subtitleLines()[0]->verticalPosition(), 11U);
}

TEST(LinePlacement, WrapsAroundAboveTheFirstRow) {
    const auto rows = [](std::size_t count, std::int32_t mode) {
        std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
        for (std::size_t index = 0; index < count; ++index) {
            lines.push_back(lineOfType(0));
        }
        return placed(std::move(lines), mode);
    };
    EXPECT_EQ(rows(12, 2), (Rows{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(rows(13, 2), (Rows{kMinusOne, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(rows(16, 1), (Rows{kMinusOne, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14}));
}

TEST(LinePlacement, DoesNothingWithoutLines) {
    EXPECT_EQ(placed({}, 2), Rows{});
}

}  // namespace
