#include "facade/Line21Picture.h"

#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>

#include "ExactBuffer.h"
#include "LineRows.h"

#include <gtest/gtest.h>

#include <array>

using qlxtest::ExactBuffer;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes bytesOf(const qlx::Data& data) {
    return {data.begin(), data.end()};
}

/// The result of reading a row of black pixels in which the named cells are grey 127.
std::array<std::uint8_t, 2> readWithCells(std::size_t width, std::initializer_list<std::size_t> cells,
                                          std::array<std::uint8_t, 2> former = {}) {
    ExactBuffer row = ExactBuffer::filled(width * 4, 0);
    for (const std::size_t cell : cells) {
        for (std::size_t pixel = 274 + 27 * cell; pixel < 301 + 27 * cell && pixel < width; ++pixel) {
            row[4 * pixel] = 127;
        }
    }
    ExactBuffer bytes(former);
    qlx::facade::line21::readCells(row.span(), bytes.span());
    return {bytes[0], bytes[1]};
}

using Pair = std::array<std::uint8_t, 2>;

}  // namespace

TEST(Line21Picture, RunInIsClockAndStartBits) {
    const Bytes runIn = bytesOf(QLXCEA608ReaderWriter::generateCEA608RunIn());
    EXPECT_EQ(runIn.size(), 1096U);
    EXPECT_EQ(runIn, qlxtest::greysAsBGRA(qlxtest::runInLevels()));
    // The first pixel of the clock, and its peak, spelled out.
    EXPECT_EQ(Bytes(runIn.begin() + 48, runIn.begin() + 56), (Bytes{0, 0, 0, 255, 63, 63, 63, 255}));
    EXPECT_EQ(runIn[4 * (13 + 6)], 126);
    EXPECT_EQ(runIn[4 * 247], 0);
    EXPECT_EQ(runIn[4 * 248], 127);
    EXPECT_EQ(runIn[4 * 273], 127);
}

TEST(Line21Picture, CellsAreTwentySevenPixels) {
    EXPECT_EQ(bytesOf(QLXCEA608ReaderWriter::generateCEA608BitWithValue(true)), qlxtest::greysAsBGRA(Bytes(27, 127)));
    EXPECT_EQ(bytesOf(QLXCEA608ReaderWriter::generateCEA608BitWithValue(false)), qlxtest::greysAsBGRA(Bytes(27, 0)));
}

TEST(Line21Picture, CellsAreCutAtTheRowsEnd) {
    const Bytes runIn = qlx::facade::line21::runIn();
    const Bytes one = qlx::facade::line21::cell(true);
    const Bytes zero = qlx::facade::line21::cell(false);
    for (std::size_t width = 274; width <= 730; ++width) {
        ExactBuffer row = ExactBuffer::filled(width * 4, 0x55);
        qlx::facade::line21::drawPair(row.span(), {runIn, one, zero}, 0x15, 0xAC);
        ASSERT_EQ(row.vector(), qlxtest::greysAsBGRA(qlxtest::pairLevels(width, 0x15, 0xAC))) << width;
    }
}

TEST(Line21Picture, BlackReachesTheEndOfARowThatIsNotWholePixels) {
    ExactBuffer row = ExactBuffer::filled(7, 0x55);
    qlx::facade::line21::drawBlack(row.span());
    EXPECT_EQ(row.vector(), (Bytes{0, 0, 0, 255, 0, 0, 0}));
}

TEST(Line21Picture, CellsBecomeBitsLeastSignificantFirst) {
    for (std::size_t cell = 0; cell < 16; ++cell) {
        const auto bit = static_cast<std::uint8_t>(1U << cell % 8);
        EXPECT_EQ(readWithCells(720, {cell}), (cell < 8 ? Pair{bit, 0} : Pair{0, bit})) << cell;
    }
    EXPECT_EQ(readWithCells(720, {0, 15}, {0x10, 0x20}), (Pair{0x11, 0xA0})) << "what was there stays";
}

TEST(Line21Picture, OnlyTheBlueInTheMiddleOfACellDecides) {
    for (const auto& [level, bit] : {std::pair{48, 0}, std::pair{49, 1}, std::pair{255, 1}, std::pair{0, 0}}) {
        ExactBuffer row = ExactBuffer::filled(720 * 4, 0);
        row[1152] = static_cast<std::uint8_t>(level);
        ExactBuffer bytes = ExactBuffer::filled(2, 0);
        qlx::facade::line21::readCells(row.span(), bytes.span());
        EXPECT_EQ(bytes.vector(), (Bytes{static_cast<std::uint8_t>(bit), 0})) << level;
    }
    // Everything else at its highest changes nothing: 26 of the 27 pixels, and green, red and alpha of the other one.
    ExactBuffer row = ExactBuffer::filled(720 * 4, 255);
    for (std::size_t cell = 0; cell < 16; ++cell) {
        row[1152 + 108 * cell] = 48;
    }
    ExactBuffer bytes = ExactBuffer::filled(2, 0);
    qlx::facade::line21::readCells(row.span(), bytes.span());
    EXPECT_EQ(bytes.vector(), (Bytes{0, 0}));
}

TEST(Line21Picture, RowsOfAnyLengthAreReadInside) {
    // A row of n bytes of 255 has as many cells as offsets 1152, 1260 ... below n.
    for (std::size_t size = 0; size <= 2900; ++size) {
        ExactBuffer row = ExactBuffer::filled(size, 255);
        ExactBuffer bytes = ExactBuffer::filled(2, 0);
        qlx::facade::line21::readCells(row.span(), bytes.span());
        const std::size_t cells = size > 1152 ? (size - 1152 - 1) / 108 + 1 : 0;
        const unsigned expected = cells >= 16 ? 0xFFFFU : (1U << cells) - 1;
        ASSERT_EQ(bytes[0] | bytes[1] << 8U, expected) << size;
    }
}

TEST(Line21Picture, VeryWideRowsMeetTheSecondByteAgain) {
    // Cells 16 to 39 are dropped, 40 to 47 are bits 0 to 7 of the second byte again, 48 to 71 are dropped, and so on.
    for (std::size_t cell = 16; cell < 120; ++cell) {
        const std::size_t shift = (cell - 8) % 32;
        const auto bit = static_cast<std::uint8_t>(shift < 8 ? 1U << shift : 0U);
        EXPECT_EQ(readWithCells(274 + 27 * 120, {cell}), (Pair{0, bit})) << cell;
    }
    EXPECT_EQ(readWithCells(1920, {40, 47, 41}, {0x01, 0x80}), (Pair{0x01, 0x83}));
    // Cell 40 is read at byte 5472: a row of that length does not hold it, one byte more does.
    for (const auto& [size, expected] : {std::pair{std::size_t{5472}, 0}, std::pair{std::size_t{5473}, 1}}) {
        ExactBuffer row = ExactBuffer::filled(size, 0);
        if (size > 5472) {
            row[5472] = 255;
        }
        ExactBuffer bytes = ExactBuffer::filled(2, 0);
        qlx::facade::line21::readCells(row.span(), bytes.span());
        EXPECT_EQ(bytes.vector(), (Bytes{0, static_cast<std::uint8_t>(expected)}));
    }
}
