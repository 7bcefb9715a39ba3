// Line 21 in rows of all pixel formats: written by the rule, and read by its clock.
#include <qlx/line21/line21.h>

#include "ExactBuffer.h"
#include "LineRows.h"
#include "Pictures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlx::cea608::Pair;
using qlx::line21::readPair;
using qlx::line21::RowLayout;
using qlx::line21::RowView;
using qlx::line21::Sampling;
using qlx::line21::writePair;
using qlxtest::ExactBuffer;
using Bytes = std::vector<std::uint8_t>;

/// A row of a format; its chroma is empty but for 420v.
struct Row {
    Row(std::uint32_t format, std::size_t width, std::uint8_t value)
        : layout{format, width, 486}, samples(ExactBuffer::filled(qlxtest::bytesOfRow(format, width), value)),
          chroma(ExactBuffer::filled(format == qlx::kPixelFormat420v ? (width + 1) / 2 * 2 : 0, value)) {}

    qlx::Result<std::size_t> write(const Pair& pair) {
        return writePair(pair, layout, {samples.span(), chroma.span()});
    }
    [[nodiscard]] RowView view() const { return {samples.span(), chroma.span()}; }
    [[nodiscard]] Bytes bytes() const {
        Bytes all = samples.vector();
        const Bytes behind = chroma.vector();
        all.insert(all.end(), behind.begin(), behind.end());
        return all;
    }

    RowLayout layout;
    ExactBuffer samples;
    ExactBuffer chroma;
};

/// A signal as CTA-608 draws it: bits of 1/32 of a line, of which 858 pixels of 13.5 MHz are one.
struct Signal {
    double start = 19.75;  ///< Of the run-in.
    double cycle = 858.0 / 32;
    double black = 0;
    double one = 127;
    double noise = 0;
    double lead = 7;         ///< Cycles in front of the start bits.
    unsigned startBits = 4;  ///< Least significant first: 0, 0, 1.
};

Bytes levelsOf(const Signal& signal, std::size_t width, const Pair& pair) {
    const unsigned bits =
        signal.startBits | static_cast<unsigned>(pair.first) << 3U | static_cast<unsigned>(pair.second) << 11U;
    std::minstd_rand random(7);
    Bytes levels;
    for (std::size_t pixel = 0; pixel < width; ++pixel) {
        const double place = (static_cast<double>(pixel) - signal.start) / signal.cycle;
        double height = 0;
        if (place >= 0 && place < signal.lead) {
            height = (std::sin(place * 2 * std::acos(-1.0)) + 1) / 2;
        } else if (place >= signal.lead && place < signal.lead + 19) {
            height = bits >> static_cast<unsigned>(place - signal.lead) & 1U;
        }
        const double noise = signal.noise * (static_cast<double>(random() % 2001) / 1000.0 - 1.0);
        levels.push_back(static_cast<std::uint8_t>(
            std::clamp(signal.black + height * (signal.one - signal.black) + noise, 0.0, 255.0)));
    }
    return levels;
}

/// What is read of levels in `420v`, whose luma they are in video range.
qlx::Result<Pair> readLevels(const Bytes& levels, Findings* findings = nullptr) {
    const Bytes bytes = qlxtest::greysAs(qlx::kPixelFormat420v, levels);
    const ExactBuffer luma(std::span<const std::uint8_t>(bytes).first(levels.size()));
    return readPair({luma.span(), {}}, {qlx::kPixelFormat420v, levels.size(), 486}, findings);
}

std::string hexOf(const qlx::Result<Pair>& pair) {
    return pair ? qlxtest::toHex(Bytes{pair->first, pair->second}) : pair.error().text();
}

constexpr Pair kPair{0x94, 0x2C};

}  // namespace

TEST(Line21Writer, DrawsTheLevelsInEveryFormat) {
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        for (const std::size_t width : {720U, 1920U}) {
            Row row(format, width, 0x55);
            const auto size = row.write(kPair);
            ASSERT_TRUE(size);
            EXPECT_EQ(*size, row.samples.size());
            EXPECT_EQ(row.bytes(), qlxtest::greysAs(format, qlxtest::pairLevels(width, 0x94, 0x2C))) << format;
        }
    }
}

TEST(Line21Writer, EndsWithTheLastPixel) {
    for (std::size_t width = 706; width < 730; ++width) {
        Row row(qlx::kPixelFormatBGRA, width, 0x55);
        ASSERT_TRUE(row.write(kPair));
        EXPECT_EQ(row.bytes(), qlxtest::greysAsBGRA(qlxtest::pairLevels(width, 0x94, 0x2C))) << width;
    }
    // The last column of an odd row has no neighbour: that byte stays.
    Row row(qlx::kPixelFormat2vuy, 707, 0x55);
    ASSERT_TRUE(row.write(kPair));
    EXPECT_EQ(Bytes(row.samples.data() + 706 * 2, row.samples.data() + 708 * 2), (Bytes{128, 16, 128, 0x55}));
    // Luma alone, and no byte behind the row's own.
    Row luma(qlx::kPixelFormat420v, 720, 0x55);
    ExactBuffer room = ExactBuffer::filled(722, 0x55);
    ASSERT_TRUE(writePair(kPair, luma.layout, {room.span(), {}}));
    EXPECT_EQ((Bytes{room[719], room[720], room[721]}), (Bytes{16, 0x55, 0x55}));
}

TEST(Line21Writer, RefusesWhatDoesNotFit) {
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        Row narrow(format, 705, 0x55);
        const auto refused = narrow.write(kPair);
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error(), (Finding{FindingCode::Line21RowTooNarrow, Severity::Error, 0, 706, 705}));
        Row row(format, 720, 0x55);
        for (std::size_t size = 0; size < row.samples.size(); size += 7) {
            ExactBuffer room = ExactBuffer::filled(size, 0x55);
            const auto written = writePair(kPair, row.layout, {room.span(), row.chroma.span()});
            ASSERT_FALSE(written);
            EXPECT_EQ(written.error().code, FindingCode::OutputTooSmall);
            EXPECT_EQ(room.vector(), Bytes(size, 0x55));
        }
    }
    Row row(qlx::kPixelFormat420v, 720, 0x55);
    const auto small = writePair(kPair, row.layout, {row.samples.span(), row.chroma.span().first(719)});
    ASSERT_FALSE(small);
    EXPECT_EQ(small.error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 720, 719}));
    row.layout.pixelFormat = 0x12345678;
    const auto unknown = row.write(kPair);
    ASSERT_FALSE(unknown);
    EXPECT_EQ(unknown.error(), (Finding{FindingCode::Line21FormatUnknown, Severity::Error, 0, 0x12345678, 0}));
    EXPECT_EQ(row.bytes(), Bytes(1440, 0x55));
    row.layout = {qlx::kPixelFormatBGRA, SIZE_MAX / 2, 486};
    EXPECT_EQ(row.write(kPair).error().code, FindingCode::OutputTooSmall);
    EXPECT_EQ(readPair(row.view(), row.layout).error().code, FindingCode::Line21RowTooShort);
}

TEST(Line21, IsReadBackInEveryFormat) {
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        for (const std::size_t width : {706U, 711U, 720U, 1280U, 1920U, 3840U}) {
            for (unsigned index = 0; index < 64; ++index) {
                const Pair pair{static_cast<std::uint8_t>(index * 37), static_cast<std::uint8_t>(255 - index * 91)};
                Row row(format, width, 0xFF);
                ASSERT_TRUE(row.write(pair));
                ASSERT_EQ(hexOf(readPair(row.view(), row.layout)), hexOf(pair)) << format << " " << width;
                ASSERT_EQ(hexOf(readPair(row.view(), row.layout, nullptr, {.sampling = Sampling::Fixed})), hexOf(pair));
            }
        }
    }
}

TEST(Line21Reader, FollowsTheClockOfAnyWidth) {
    // 720 pixels; 704 of them, cut off on both sides; these as square pixels of 640; and twice or 8/3 as wide.
    const std::pair<std::size_t, Signal> signals[] = {
        {720, {}},
        {704, {.start = 11.75}},
        {640, {.start = 11.75 * 640 / 704, .cycle = 858.0 / 32 * 640 / 704}},
        {1440, {.start = 39.5, .cycle = 858.0 / 16}},
        {1920, {.start = 52.7, .cycle = 858.0 / 12}},
        {7680, {.start = 210.7, .cycle = 858.0 / 3}},
        {352, {.start = 5.9, .cycle = 858.0 / 64}},
        {720, {.start = -8}},
        {720, {.noise = 5, .lead = 6.5}},
        {720, {.black = 20, .one = 110, .noise = 12}},
        {720, {.black = 0, .one = 60}},
        {720, {.black = 40, .one = 250, .noise = 20}},
    };
    for (const auto& [width, signal] : signals) {
        for (const Pair pair :
             {Pair{0x94, 0x2C}, Pair{0x80, 0x80}, Pair{0x15, 0x2A}, Pair{0xFE, 0x7F}, Pair{0xD5, 0xD5}}) {
            Findings findings;
            EXPECT_EQ(hexOf(readLevels(levelsOf(signal, width, pair), &findings)), hexOf(pair)) << width;
            Bytes bright = levelsOf(signal, width, pair);
            bright.front() = 255;
            bright.back() = 255;
            EXPECT_EQ(hexOf(readLevels(bright)), hexOf(pair)) << width << " between bright pixels";
            const bool isWrong = !qlx::hasOddParity(pair.first) || !qlx::hasOddParity(pair.second);
            EXPECT_EQ(findings.empty(), !isWrong) << hexOf(pair);
        }
    }
}

TEST(Line21Reader, IsNotMisledByBrightPixels) {
    // Luma of the signal 16 to 125, of white 235. One white pixel in the quarter of a 0 that is read, of 7 pixels, makes
    // their mean (6 x 16 + 235) / 7 = 47, below the middle of 70.
    const auto readWithWhite = [](std::size_t first, std::size_t count, std::size_t width) {
        Row row(qlx::kPixelFormatBGRA, width, 0);
        EXPECT_TRUE(row.write(kPair));
        std::fill_n(row.samples.data() + first * 4, count * 4, std::uint8_t{255});
        return hexOf(readPair(row.view(), row.layout));
    };
    for (std::size_t pixel = 0; pixel < 720; ++pixel) {
        if (pixel < qlx::line21::kRunInStart || pixel >= qlx::line21::kDataBits) {
            EXPECT_EQ(readWithWhite(pixel, 1, 720), "942c") << pixel;
        }
    }
    EXPECT_EQ(readWithWhite(0, 12, 720), "942c");
    EXPECT_EQ(readWithWhite(706, 14, 720), "942c");
    EXPECT_EQ(readWithWhite(706, 3134, 3840), "942c");
}

TEST(Line21Reader, NeedsChromaOnlyOfFormatsWithTwoPlanes) {
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        Row row(format, 720, 0);
        ASSERT_TRUE(row.write(kPair));
        const ExactBuffer chroma = ExactBuffer::filled(1, 0x80);
        const auto pair = readPair({row.samples.span(), chroma.span()}, row.layout);
        if (format == qlx::kPixelFormat420v) {
            ASSERT_FALSE(pair);
            EXPECT_EQ(pair.error(), (Finding{FindingCode::Line21RowTooShort, Severity::Error, 0, 1440, 721}));
        } else {
            EXPECT_EQ(hexOf(pair), "942c") << format;
            const auto cut = readPair({row.samples.span().first(row.samples.size() - 1), chroma.span()}, row.layout);
            ASSERT_FALSE(cut);
            EXPECT_EQ(cut.error().second, static_cast<std::int64_t>(row.samples.size() - 1));
        }
    }
}

TEST(Line21Reader, SaysWhichByteHasWrongParity) {
    Row row(qlx::kPixelFormatV210, 720, 0);
    ASSERT_TRUE(row.write({0x14, 0xAC}));
    Findings findings;
    const auto pair = readPair(row.view(), row.layout, &findings, {.sampling = Sampling::Fixed});
    EXPECT_EQ(hexOf(pair), "14ac");
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::Line21ParityWrong, Severity::Warning, 288, 0x14, 1}));
    EXPECT_EQ(findings[1], (Finding{FindingCode::Line21ParityWrong, Severity::Warning, 504, 0xAC, 2}));
    EXPECT_EQ(findings[1].text(), "byte 2 of the pair with wrong parity: ac");
    findings.clear();
    ASSERT_TRUE(row.write({0x94, 0xAC}));
    EXPECT_EQ(hexOf(readPair(row.view(), row.layout, &findings)), "94ac");
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].second, 2);
}

TEST(Line21Reader, SaysWhatIsMissing) {
    const auto errorOf = [](const Bytes& levels) {
        const auto pair = readLevels(levels);
        return pair ? FindingCode::None : pair.error().code;
    };
    EXPECT_EQ(errorOf({}), FindingCode::Line21RunInMissing);
    EXPECT_EQ(errorOf(Bytes(720, 0)), FindingCode::Line21RunInMissing);
    EXPECT_EQ(errorOf(levelsOf({.one = 12}, 720, kPair)), FindingCode::Line21RunInMissing);
    EXPECT_EQ(errorOf(levelsOf({.startBits = 0}, 720, {0, 0})), FindingCode::Line21StartBitsMissing);
    EXPECT_EQ(errorOf(levelsOf({.startBits = 6}, 720, {0, 0})), FindingCode::Line21StartBitsMissing);
    // The bits begin at 19.75 + 10 x 26.8125 = 287.875, and the last one is read up to an eighth of it behind its
    // middle: 287.875 + 15.625 x 26.8125 = 706.8.
    const Bytes whole = levelsOf({}, 720, kPair);
    for (std::size_t width = 0; width < 720; ++width) {
        const FindingCode found = errorOf(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(width)));
        if (width < 240) {
            EXPECT_NE(found, FindingCode::None) << width;
        } else if (width > 300 && (width < 706 || width > 708)) {
            EXPECT_EQ(found, width > 708 ? FindingCode::None : FindingCode::Line21RowCut) << width;
        }
    }
}

TEST(Line21Reader, StaysInsideEveryRow) {
    for (const std::uint32_t format : qlxtest::kPixelFormats) {
        // The last bit is a 1.
        constexpr Pair kFull{0x94, 0xAD};
        Row row(format, 720, 0);
        ASSERT_TRUE(row.write(kFull));
        qlxtest::forEachTruncation(row.samples.span(), [&](const ExactBuffer& part) {
            const auto pair = readPair({part.span(), row.chroma.span()}, row.layout);
            ASSERT_FALSE(pair);
            EXPECT_EQ(pair.error().code, FindingCode::Line21RowTooShort);
        });
        // As many pixels as the bytes hold.
        for (std::size_t width = 0; width < 720; width += format == qlx::kPixelFormatV210 ? 6 : 2) {
            const ExactBuffer part(row.samples.span().first(qlxtest::bytesOfRow(format, width)));
            const ExactBuffer chroma(row.chroma.span().first(std::min(row.chroma.size(), width)));
            for (const Sampling sampling : {Sampling::Clock, Sampling::Fixed}) {
                const auto pair = readPair({part.span(), chroma.span()}, {format, width, 486}, nullptr, {sampling});
                EXPECT_EQ(pair && *pair == kFull, width >= 694 && (sampling == Sampling::Fixed || width >= 697))
                    << width;
            }
        }
    }
}

TEST(Line21Reader, TakesOnePixelOfABitWithoutTheClock) {
    // 48 is a 0 and 49 a 1; the other pixels, and what is in front, do not count.
    Bytes row(720 * 4, 255);
    for (std::size_t bit = 0; bit < 16; ++bit) {
        row[4 * (288 + 27 * bit)] = bit % 3 == 0 ? 49 : 48;
    }
    const auto pair = readPair({row, {}}, {qlx::kPixelFormatBGRA, 720, 486}, nullptr, {.sampling = Sampling::Fixed});
    EXPECT_EQ(hexOf(pair), "4992");
}
