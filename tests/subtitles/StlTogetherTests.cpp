// Cues of EBU STL files that are shown at the same time: which rows they stand on.
#include "StlWritten.h"
#include "TextCues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace stl_together_tests {
namespace {

using namespace qlx::subtitles;
using enum qlx::FindingCode;
using qlx::Finding;
using qlxtest::openSubtitling;
using qlxtest::readStlBack;
using qlxtest::StlWritten;
using qlxtest::usualStl;
using qlxtest::writeStl;

/// Times in seconds.
Cue cueOf(std::int64_t start, std::int64_t end, std::size_t rows = 1, std::uint8_t anchor = 0) {
    Cue cue;
    cue.start = qlx::MediaTime::make(start, 1);
    cue.end = qlx::MediaTime::make(end, 1);
    for (std::size_t row = 0; row < rows; ++row) {
        cue.rows.push_back(qlxtest::rowOf("a" + std::to_string(row)));
        cue.rows.back().anchor = anchor;
    }
    return cue;
}

/// On the 11 rows of a page.
Cue numbered(std::int64_t start, std::int64_t end, std::uint64_t number) {
    Cue cue = cueOf(start, end);
    cue.rows.front().number = number;
    return cue;
}

std::vector<Cue> inOrder(std::vector<Cue> cues) {
    for (std::size_t index = 0; index < cues.size(); ++index) {
        cues[index].number = index + 1;
    }
    return cues;
}

struct Case {
    std::vector<Cue> cues;
    std::vector<int> positions;
    std::vector<Finding> findings{};
};

void expectPlaces(const Case& each, const StlWriterOptions& options) {
    const std::vector<Cue> cues = inOrder(each.cues);
    const StlWritten written = writeStl(cues, options);
    ASSERT_EQ(written.blocks.size(), cues.size() * kTtiBytes);
    std::vector<int> positions;
    for (std::size_t index = 0; index < cues.size(); ++index) {
        positions.push_back(written.block(index).verticalPosition);
    }
    EXPECT_EQ(positions, each.positions);
    EXPECT_EQ(written.findings, each.findings) << positions.back();
    const std::vector<Cue> back = readStlBack(written);
    ASSERT_EQ(back.size(), cues.size());
    for (std::size_t index = 0; index < cues.size(); ++index) {
        EXPECT_EQ(qlx::secondsFrom(back[index].start), qlx::secondsFrom(cues[index].start));
        EXPECT_EQ(qlx::secondsFrom(back[index].end), qlx::secondsFrom(cues[index].end));
        ASSERT_EQ(back[index].rows.size(), cues[index].rows.size());
        EXPECT_EQ(back[index].rows.front().number, static_cast<std::uint64_t>(positions[index]));
        EXPECT_EQ(back[index].rows.back().text(), cues[index].rows.back().text());
    }
}

/// Frames of 25 a second.
Finding overlap(std::uint64_t cue, std::int64_t start, std::int64_t end) {
    return {StlCuesOverlap, qlx::Severity::Warning, cue, 25 * start, 25 * end};
}

Finding covered(std::uint64_t cue, std::int64_t row, std::int64_t end) {
    return {StlRowsCovered, qlx::Severity::Warning, cue, row, 25 * end};
}

/// Both name the row themselves.
Finding meant(std::uint64_t cue, std::int64_t row, std::int64_t end) {
    return {StlRowsCovered, qlx::Severity::Remark, cue, row, 25 * end};
}

TEST(StlTogether, CuesWithoutNumbersStandOnFreeRows) {
    const Case cases[] = {
        // One behind the other, and sets that add up (CS 1 to 3).
        {{cueOf(1, 2), cueOf(2, 3), cueOf(3, 4)}, {22, 22, 22}},
        {{cueOf(1, 3), cueOf(1, 3)}, {22, 20}},
        {{cueOf(1, 4), cueOf(2, 4), cueOf(3, 4), cueOf(4, 5)}, {22, 20, 18, 22}},
        {{cueOf(1, 3, 2), cueOf(2, 3)}, {20, 18}},
        {{cueOf(1, 3), cueOf(2, 3, 2)}, {22, 18}},
        // The rows of one that is over are free.
        {{cueOf(1, 3), cueOf(2, 5), cueOf(3, 6), cueOf(5, 7)},
         {22, 20, 22, 20},
         {overlap(2, 2, 3), overlap(3, 3, 5), overlap(4, 5, 6)}},
        // From the top down, and in the middle up; other anchors are in nobody's way.
        {{cueOf(1, 3, 1, 8), cueOf(1, 3, 2, 9), cueOf(2, 3, 1, 7)}, {1, 3, 7}},
        {{cueOf(1, 3, 1, 5), cueOf(1, 3, 1, 4)}, {11, 9}},
        {{cueOf(1, 3, 1, 2), cueOf(1, 3, 1, 8), cueOf(1, 3, 1, 5)}, {22, 1, 11}},
        // Left and right of one another there is one row of a page all the same.
        {{cueOf(1, 3, 1, 1), cueOf(1, 3, 1, 3)}, {22, 20}},
        // Not in order, and not at the same time.
        {{cueOf(10, 12), cueOf(1, 3)}, {22, 22}, {overlap(2, 1, 12)}},
    };
    for (const Case& each : cases) {
        expectPlaces(each, usualStl());
    }
}

/// One whose rows have these anchors.
Cue atEdges(std::int64_t start, std::int64_t end, const std::vector<std::uint8_t>& anchors) {
    Cue cue = cueOf(start, end, anchors.size());
    for (std::size_t row = 0; row < anchors.size(); ++row) {
        cue.rows[row].anchor = anchors[row];
    }
    return cue;
}

TEST(StlTogether, RowsOfOneCueStandAtSeveralEdges) {
    const auto expectRows = [](const Cue& cue, const std::vector<std::uint64_t>& expected,
                               const std::vector<Finding>& findings = {}) {
        const StlWritten written = writeStl(inOrder({cue}), usualStl());
        EXPECT_EQ(written.findings, findings);
        const std::vector<Cue> back = readStlBack(written);
        ASSERT_EQ(back.size(), 1U);
        std::vector<std::uint64_t> rows;
        for (const Row& row : back.front().rows) {
            if (!row.text().empty()) {
                rows.push_back(row.number);
            }
        }
        EXPECT_EQ(rows, expected);
    };
    // Text of double height on 23 rows: at the bottom is 22, and 11 in the middle.
    expectRows(atEdges(1, 2, {8, 2}), {1, 22});
    expectRows(atEdges(1, 2, {9, 7, 5, 0, 1}), {1, 3, 11, 20, 22});
    expectRows(atEdges(1, 2, {5, 3, 3}), {11, 20, 22});
    // Six at the top take what the middle would; five at the bottom push up what stands there.
    expectRows(atEdges(1, 2, {8, 8, 8, 8, 8, 8, 5, 5, 2, 2, 2}), {1, 3, 5, 7, 9, 11, 13, 15, 18, 20, 22});
    expectRows(atEdges(1, 2, {8, 5, 5, 5, 5, 5, 2, 2, 2, 2, 2}), {1, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22});
    // Those of a cue stay together where an upper one is below a lower one.
    expectRows(atEdges(1, 2, {2, 8}), {20, 22}, {{SubtitlePlaceLost, qlx::Severity::Warning, 1, 0}});
    // Between them another cue has room.
    const StlWritten written = writeStl(inOrder({atEdges(1, 3, {8, 2}), cueOf(1, 3, 1, 5), cueOf(1, 3)}), usualStl());
    EXPECT_EQ(written.findings, std::vector<Finding>());
    EXPECT_EQ(written.block(1).verticalPosition, 11);
    EXPECT_EQ(written.block(2).verticalPosition, 20);
}

TEST(StlTogether, RowsHaveTheHeightOfTheirText) {
    StlWriterOptions single = usualStl();
    single.isDoubleHeight = false;
    const Case onPage{{cueOf(1, 3, 2), cueOf(1, 3), cueOf(1, 3, 1, 8), cueOf(2, 3, 1, 8)}, {22, 21, 1, 2}};
    expectPlaces(onPage, single);
    expectPlaces({{cueOf(1, 3, 2), cueOf(1, 3), cueOf(1, 3, 1, 8), cueOf(2, 3, 1, 8)}, {29, 28, 1, 2}},
                 openSubtitling("30"));
}

TEST(StlTogether, WhatHasNoRoomCoversAndIsSaid) {
    // The 22 rows of eleven cues.
    Case full;
    for (int position = 22; position >= 2; position -= 2) {
        full.cues.push_back(cueOf(1, 3));
        full.positions.push_back(position);
    }
    full.cues.push_back(cueOf(1, 3));
    full.positions.push_back(22);
    full.findings = {covered(12, 22, 3)};
    const Case cases[] = {
        full,
        // Numbers of their own are not changed.
        {{numbered(1, 3, 11), numbered(1, 3, 10)}, {22, 20}},
        {{numbered(1, 3, 11), numbered(2, 3, 11)}, {22, 22}, {meant(2, 22, 3)}},
        {{numbered(1, 3, 11), cueOf(1, 3)}, {22, 20}},
        {{cueOf(1, 3), numbered(1, 3, 11)}, {22, 22}, {covered(2, 22, 3)}},
        {{cueOf(1, 3, 11), cueOf(1, 3)}, {2, 22}, {covered(2, 22, 3)}},
        {{cueOf(1, 2, 11), cueOf(2, 3, 11)}, {2, 2}},
    };
    for (const Case& each : cases) {
        expectPlaces(each, usualStl());
    }
}

TEST(StlTogether, RowsOfAnotherScreenGoToFreeOnesToo) {
    // Of 15 rows: the last, the first, and what is no more than near another one.
    const auto on15 = [](std::uint64_t row) {
        Cue cue = numbered(1, 3, row);
        cue.screenRows = 15;
        return cue;
    };
    const auto positions = [](const std::vector<Cue>& cues) {
        const StlWritten written = writeStl(cues);
        std::vector<int> result;
        for (std::size_t index = 0; index < cues.size(); ++index) {
            result.push_back(written.block(index).verticalPosition);
        }
        return result;
    };
    const int low = positions({on15(14)}).front();
    EXPECT_EQ(positions({on15(14), on15(14)}), (std::vector<int>{low, low - 2}));
    EXPECT_EQ(positions({on15(2), on15(2)}), (std::vector<int>{2, 4}));
    const StlWritten moved = writeStl({on15(14), on15(14)});
    EXPECT_TRUE(std::any_of(moved.findings.begin(), moved.findings.end(), [](const Finding& finding) {
        return finding.code == qlx::FindingCode::SubtitlePlaceLost && finding.offset == 2;
    }));
}

TEST(StlTogether, CuesThatTouchForTwoFramesStayWhereTheyAre) {
    const auto shown = [](std::int64_t start, std::int64_t end) {
        Cue cue = cueOf(1, 2);
        cue.start = qlx::MediaTime::make(start, 25);
        cue.end = qlx::MediaTime::make(end, 25);
        return cue;
    };
    const struct {
        std::int64_t start;
        int position;
    } cases[] = {{50, 22}, {49, 22}, {48, 22}, {47, 20}};
    for (const auto& each : cases) {
        const StlWritten written = writeStl({shown(25, 50), shown(each.start, 75)});
        EXPECT_EQ(written.block(1).verticalPosition, each.position) << each.start;
    }
}

TEST(StlTogether, NoCueStandsBetweenTheRowsOfAnother) {
    Cue around = cueOf(1, 3, 3);
    around.rows[1].runs.front().text = " ";
    const StlWritten written = writeStl({around, cueOf(1, 3)});
    EXPECT_EQ(written.block(0).verticalPosition, 18);
    EXPECT_EQ(written.block(1).verticalPosition, 16);
}

TEST(StlTogether, RandomCuesCoverNothingThatIsNotSaid) {
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        std::vector<Cue> cues;
        std::int64_t start = 0;
        for (std::size_t count = 2 + random() % 12; count > 0; --count) {
            start += static_cast<std::int64_t>(random() % 3);
            cues.push_back(cueOf(start, start + 1 + static_cast<std::int64_t>(random() % 6), 1 + random() % 3,
                                 static_cast<std::uint8_t>(random() % 10)));
            if (random() % 4 == 0) {
                cues.back() = numbered(start, start + 2, 1 + random() % 11);
            }
        }
        cues = inOrder(cues);
        const StlWritten written = writeStl(cues);
        const std::vector<Cue> back = readStlBack(written);
        ASSERT_EQ(back.size(), cues.size());
        const auto saysCovered = [&](std::size_t index) {
            return std::any_of(written.findings.begin(), written.findings.end(), [&](const Finding& finding) {
                return finding.code == StlRowsCovered && finding.offset == index + 1;
            });
        };
        for (std::size_t later = 0; later < back.size(); ++later) {
            const Row& first = back[later].rows.front();
            bool isAlone = true;
            bool isCovering = false;
            for (std::size_t other = 0; other < later; ++other) {
                const bool isTogether = qlx::secondsFrom(back[other].end) > qlx::secondsFrom(back[later].start);
                const std::uint64_t end = back[other].rows.back().number + 1;
                isAlone = isAlone && !isTogether;
                isCovering = isCovering || (isTogether && first.number <= end &&
                                            back[other].rows.front().number <= back[later].rows.back().number + 1);
            }
            ASSERT_EQ(isCovering, saysCovered(later)) << round << " " << later;
            if (isAlone) {
                ASSERT_EQ(first.number, writeStl({cues[later]}).block(0).verticalPosition);
            }
        }
    }
}

}  // namespace
}  // namespace stl_together_tests
