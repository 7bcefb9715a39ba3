#include "log/Headings.h"
#include "log/LogText.h"

#include <gtest/gtest.h>

namespace {

constexpr qlx::LocalTime kTime{2026, 11, 15, 0, 49, 42, 0};
constexpr qlx::LocalTime kEarly{987, 1, 2, 23, 4, 5, 2};
constexpr std::string_view kStamp = "2026-11-15\t00:49:42\tSunday";

}  // namespace

TEST(LogText, StampsTechnicalLinesWithDateTimeAndWeekday) {
    EXPECT_EQ(qlx::log::technicalStamp(kTime, "Sunday"), kStamp);
    EXPECT_EQ(qlx::log::technicalStamp(kEarly, "mardi"), "987-01-02\t23:04:05\tmardi");
}

TEST(LogText, StampsSimpleLinesWithDateTimeAndTab) {
    EXPECT_EQ(qlx::log::simpleStamp(kTime), "2026-11-15\t00:49:42\t");
}

TEST(LogText, MarksProblems) {
    EXPECT_EQ(qlx::log::messageLine(true, kStamp, "Disk full"), "!\t2026-11-15\t00:49:42\tSunday\t\tDisk full\r\n");
    EXPECT_EQ(qlx::log::messageLine(false, kStamp, "Disk full"), "\t2026-11-15\t00:49:42\tSunday\t\tDisk full\r\n");
}

TEST(LogText, CountsRepeats) {
    EXPECT_EQ(qlx::log::repeatLine(kStamp, 1),
              "\t2026-11-15\t00:49:42\tSunday\t\t--- last message repeated 1 time ---\r\n");
    EXPECT_EQ(qlx::log::repeatLine(kStamp, 2),
              "\t2026-11-15\t00:49:42\tSunday\t\t--- last message repeated 2 times ---\r\n");
}

TEST(LogText, WritesTheHostsHeader) {
    EXPECT_EQ(qlx::log::initialLine(kStamp, "Player 3.1"), "\t2026-11-15\t00:49:42\tSunday\t\tPlayer 3.1\r\n");
}

TEST(LogText, EndsSimpleLinesWithALineFeed) {
    EXPECT_EQ(qlx::log::simpleLine("2026-11-15\t00:49:42\t", "clip.mxf"), "2026-11-15\t00:49:42\t\tclip.mxf\n");
}

TEST(LogText, NamesFilesByPrefixAndDay) {
    EXPECT_EQ(qlx::log::technicalPath("/logs", "Player ", kTime), "/logs/Player 2026-11-15.log");
    EXPECT_EQ(qlx::log::simplePath("/logs", "Player ", kTime, "asrun"), "/logs/Player 2026-11-15_asrun.log");
    EXPECT_EQ(qlx::log::simplePath("/logs//", "", kEarly, "asrun"), "/logs/987-01-02_asrun.log");
}

TEST(LogText, JoinsFolderAndNameWithOneSlash) {
    EXPECT_EQ(qlx::log::pathInFolder("/logs", "a.log"), "/logs/a.log");
    EXPECT_EQ(qlx::log::pathInFolder("/logs//", "a.log"), "/logs/a.log");
    EXPECT_EQ(qlx::log::pathInFolder("/", "a.log"), "/a.log");
}

TEST(LogText, MakesHeadingsAnewForWhatHasChanged) {
    qlx::log::Headings headings;
    EXPECT_EQ(headings.path(kTime), std::nullopt);
    headings.setPlace("", "Player ");
    EXPECT_EQ(headings.folder(), std::nullopt);
    EXPECT_EQ(headings.path(kTime), std::nullopt);

    headings.setPlace("/logs", "Player ");
    EXPECT_EQ(headings.folder(), "/logs");
    EXPECT_EQ(headings.path(kTime), "/logs/Player 2026-11-15.log");
    headings.setPlace("/logs", "Player ");
    EXPECT_EQ(headings.path(kTime), "/logs/Player 2026-11-15.log");
    EXPECT_EQ(headings.path(kEarly), "/logs/Player 987-01-02.log");
    headings.setPlace("/logs", "Server ");
    EXPECT_EQ(headings.path(kEarly), "/logs/Server 987-01-02.log");
    headings.setPlace("/tmp", "Server ");
    EXPECT_EQ(headings.path(kEarly), "/tmp/Server 987-01-02.log");
    headings.setPlace(std::nullopt, "Server ");
    EXPECT_EQ(headings.folder(), std::nullopt);
    EXPECT_EQ(headings.path(kEarly), std::nullopt);

    for (const std::uint32_t second : {42U, 42U, 43U}) {
        qlx::LocalTime time = kTime;
        time.second = second;
        EXPECT_EQ(headings.stamp(time, "Sunday"), qlx::log::technicalStamp(time, "Sunday"));
        EXPECT_EQ(headings.stamp(time, "dimanche"), qlx::log::technicalStamp(time, "dimanche"));
    }
}
