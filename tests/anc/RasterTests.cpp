#include <qlx/anc/raster.h>

#include <gtest/gtest.h>

#include <set>
#include <utility>

namespace {

using namespace qlx::anc;

constexpr Raster kRasters[] = {Raster::Sd525i, Raster::Sd625i, Raster::Hd720p, Raster::Hd1080i, Raster::Hd1080p};

}  // namespace

TEST(Raster, HasTheLinesOfItsStandard) {
    EXPECT_EQ(totalLines(Raster::Sd525i), 525);
    EXPECT_EQ(totalLines(Raster::Sd625i), 625);
    EXPECT_EQ(totalLines(Raster::Hd720p), 750);
    EXPECT_EQ(totalLines(Raster::Hd1080i), 1125);
    EXPECT_EQ(totalLines(Raster::Hd1080p), 1125);
    EXPECT_EQ(activeLines(Raster::Sd525i, 1), (LineRange{20, 263}));
    EXPECT_EQ(activeLines(Raster::Sd525i, 2), (LineRange{283, 525}));
    EXPECT_EQ(activeLines(Raster::Sd625i, 1), (LineRange{23, 310}));
    EXPECT_EQ(activeLines(Raster::Sd625i, 2), (LineRange{336, 623}));
    EXPECT_EQ(activeLines(Raster::Hd720p, 1), (LineRange{26, 745}));
    EXPECT_EQ(activeLines(Raster::Hd1080i, 1), (LineRange{21, 560}));
    EXPECT_EQ(activeLines(Raster::Hd1080i, 2), (LineRange{584, 1123}));
    EXPECT_EQ(activeLines(Raster::Hd1080p, 1), (LineRange{42, 1121}));
    EXPECT_EQ(activeLines(Raster::Hd1080p, 2), std::nullopt);
    EXPECT_EQ(activeLines(Raster::Sd525i, 0), std::nullopt);
    EXPECT_EQ(activeLines(Raster::Sd525i, 3), std::nullopt);
}

TEST(Raster, CountsTheLinesOfItsBlanking) {
    EXPECT_EQ(blankingPlace(Raster::Sd525i, 1), (BlankingPlace{1, 0}));
    EXPECT_EQ(blankingPlace(Raster::Sd525i, 19), (BlankingPlace{1, 18}));
    EXPECT_EQ(blankingPlace(Raster::Sd525i, 20), std::nullopt);
    EXPECT_EQ(blankingPlace(Raster::Sd525i, 264), (BlankingPlace{2, 0}));
    EXPECT_EQ(blankingPlace(Raster::Sd625i, 624), (BlankingPlace{1, 0}));
    EXPECT_EQ(blankingPlace(Raster::Sd625i, 22), (BlankingPlace{1, 23}));
    EXPECT_EQ(blankingPlace(Raster::Sd625i, 335), (BlankingPlace{2, 24}));
    EXPECT_EQ(blankingPlace(Raster::Hd720p, 746), (BlankingPlace{1, 0}));
    EXPECT_EQ(blankingPlace(Raster::Hd720p, 25), (BlankingPlace{1, 29}));
    EXPECT_EQ(blankingPlace(Raster::Hd1080i, 1124), (BlankingPlace{1, 0}));
    EXPECT_EQ(blankingPlace(Raster::Hd1080i, 1), (BlankingPlace{1, 2}));
    EXPECT_EQ(blankingPlace(Raster::Hd1080i, 571), (BlankingPlace{2, 10}));
    EXPECT_EQ(blankingPlace(Raster::Hd1080i, 583), (BlankingPlace{2, 22}));
    EXPECT_EQ(blankingPlace(Raster::Hd1080p, 41), (BlankingPlace{1, 44}));
    EXPECT_EQ(blankingPlace(Raster::Hd1080p, 0), std::nullopt);
    EXPECT_EQ(blankingPlace(Raster::Hd1080p, 1126), std::nullopt);
    EXPECT_EQ(blankingLine(Raster::Hd1080i, {1, 2}), 1);
    EXPECT_EQ(blankingLine(Raster::Hd1080i, {1, 22}), std::nullopt);
    EXPECT_EQ(blankingLine(Raster::Hd720p, {2, 0}), std::nullopt);
    EXPECT_EQ(blankingLine(Raster::Hd720p, {0, 0}), std::nullopt);
}

TEST(Raster, HasEachLineOnce) {
    for (const Raster raster : kRasters) {
        unsigned active = 0;
        unsigned blanked = 0;
        for (std::uint8_t field = 1; field <= fieldCount(raster); ++field) {
            active += activeLines(raster, field)->last - activeLines(raster, field)->first + 1U;
            blanked += blankingLines(raster, field);
        }
        EXPECT_EQ(active + blanked, totalLines(raster));
        std::set<std::pair<unsigned, unsigned>> places;
        for (std::uint32_t line = 1; line <= totalLines(raster); ++line) {
            bool isActive = false;
            for (std::uint8_t field = 1; field <= fieldCount(raster); ++field) {
                const LineRange lines = *activeLines(raster, field);
                isActive = isActive || (line >= lines.first && line <= lines.last);
            }
            const auto place = blankingPlace(raster, line);
            ASSERT_NE(place.has_value(), isActive) << line;
            if (place) {
                EXPECT_EQ(blankingLine(raster, *place), line);
                places.insert({place->field, place->index});
            }
        }
        EXPECT_EQ(places.size(), blanked);
    }
}
