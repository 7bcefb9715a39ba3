// Rates, times, texts and rows.
#include "TeletextBytes.h"
#include "cues/Teletext.h"
#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/Progress.h"
#include "io/Rates.h"
#include "io/Text.h"
#include "io/Times.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using namespace qlx::tool;
using qlxtest::fromHex;
using qlxtest::toHex;

TEST(Rates, FindsTheFirstFrameAtATime) {
    const Rate rate25 = rateNamed("25").value();
    EXPECT_EQ(firstFrameAtOrAfter(rate25, 0.0), 0U);
    EXPECT_EQ(firstFrameAtOrAfter(rate25, -1.0), 0U);
    EXPECT_EQ(firstFrameAtOrAfter(rate25, 0.001), 1U);
    EXPECT_EQ(firstFrameAtOrAfter(rate25, 0.04), 1U);
    EXPECT_EQ(firstFrameAtOrAfter(rate25, 0.041), 2U);
    const Rate rate2997 = rateNamed("29.97").value();
    // Frame 30 is at 1.001 s.
    EXPECT_EQ(firstFrameAtOrAfter(rate2997, 1.0), 30U);
    EXPECT_EQ(firstFrameAtOrAfter(rate2997, 1.001), 30U);
    EXPECT_EQ(firstFrameAtOrAfter(rate2997, 1.002), 31U);
    EXPECT_FALSE(rateNamed("29.970"));
    EXPECT_FALSE(rateNamed(""));
}

TEST(Rates, HaveSeveralNames) {
    const auto name = [](std::string_view text) {
        const auto rate = rateNamed(text);
        return rate ? rate->name : "none";
    };
    EXPECT_EQ(name("23.98"), "23.976");
    EXPECT_EQ(name("24000/1001"), "23.976");
    EXPECT_EQ(name("30000/1001"), "29.97");
    EXPECT_EQ(name("60000/1001"), "59.94");
    EXPECT_EQ(name("120000/2002"), "59.94");
    EXPECT_EQ(name("25/1"), "25");
    EXPECT_EQ(name("50/2"), "25");
    for (const std::string_view text : {"", "/", "25/", "/1", "0/0", "25/0", "0/1", "-25/1", "25/-1", "2997/100", "26",
                                        "25 ", "25/1 ", "99999999999999999999/1", "25/1/1"}) {
        EXPECT_EQ(name(text), "none") << text;
    }
}

TEST(Rates, LeadAFramesOwnTimeBackToIt) {
    for (const Rate& rate : kRates) {
        for (std::uint64_t frame = 0;; frame = frame * 3 / 2 + 1) {
            const double seconds = qlx::secondsFrom(rate.timeOfFrame(frame));
            if (seconds > kLongestTimeInSeconds) {
                EXPECT_GT(frame, 80000000U);
                break;
            }
            EXPECT_EQ(firstFrameAtOrAfter(rate, seconds), frame) << rate.name;
            // Both when the time is rounded up and when it is rounded down.
            const double listed = parseTime(timecode(rate.timeOfFrame(frame))).value();
            EXPECT_EQ(firstFrameFrom(rate, seconds), frame) << rate.name;
            EXPECT_EQ(firstFrameFrom(rate, listed), frame) << rate.name;
            EXPECT_TRUE(isReached(listed, rate.timeOfFrame(frame))) << rate.name;
            EXPECT_TRUE(isReached(seconds, rate.timeOfFrame(frame))) << rate.name;
            EXPECT_FALSE(isReached(listed, rate.timeOfFrame(frame + 1))) << rate.name;
        }
    }
}

TEST(Times, ReadsSecondsAndTimecodes) {
    EXPECT_EQ(parseTime("0"), 0.0);
    EXPECT_EQ(parseTime("10"), 10.0);
    EXPECT_EQ(parseTime("10.5"), 10.5);
    EXPECT_EQ(parseTime(".5"), 0.5);
    EXPECT_EQ(parseTime("10."), 10.0);
    EXPECT_EQ(parseTime("10.04"), 10.04);
    EXPECT_EQ(parseTime("00:00:10,500"), 10.5);
    EXPECT_EQ(parseTime("00:00:10,040"), 10.04);
    EXPECT_EQ(parseTime("00:00:10.500"), 10.5);
    EXPECT_EQ(parseTime("00:00:10"), 10.0);
    EXPECT_EQ(parseTime("1:02:03,004"), 3723.004);
    EXPECT_EQ(parseTime("100:00:00"), 360000.0);
    EXPECT_EQ(parseTime("1000:00:00,000"), 3600000.0);
    EXPECT_EQ(parseTime("3600000"), 3600000.0);
}

TEST(Times, RefusesEverythingElse) {
    for (const std::string_view text : {"",
                                        " ",
                                        ".",
                                        "-1",
                                        "+1",
                                        "1 ",
                                        " 1",
                                        "1e3",
                                        "0x10",
                                        "nan",
                                        "inf",
                                        "1,5",
                                        "1.2.3",
                                        "ten",
                                        "3600000.1",
                                        "1000:00:00,001",
                                        "99999:00:00",
                                        "00:10",
                                        "00:00:10:05",
                                        "00:60:00",
                                        "00:00:60",
                                        "00:0:10",
                                        "00:00:1",
                                        "::",
                                        "00:00:10,5",
                                        "00:00:10,5000",
                                        "00:00:10.5",
                                        "00:00:10,",
                                        "-00:00:10",
                                        "00:00:10,500x",
                                        "99999999999999999999999999999999999999"}) {
        EXPECT_FALSE(parseTime(text)) << text;
    }
}

/// What timeInSeconds() says of a text that it refuses.
std::string timeRefusal(std::string_view text, const char* rate) {
    const Rate known = rateNamed(rate).value_or(Rate{});
    try {
        return std::to_string(timeInSeconds(text, known.timescale == 0 ? nullptr : &known));
    } catch (const UsageError& error) {
        return error.what();
    }
}

TEST(Times, NameAFrame) {
    const auto seconds = [](std::string_view text, std::string_view rate) {
        const Rate known = rateNamed(rate).value();
        return timeInSeconds(text, &known);
    };
    EXPECT_EQ(seconds("00:00:10:12", "25"), 262.0 / 25.0);
    EXPECT_EQ(seconds("100:00:00:24", "25"), 9000024.0 / 25.0);
    EXPECT_EQ(seconds("00:00:10:49", "50"), 549.0 / 50.0);
    // Non-drop-frame counting takes 30 frames a second, each of 1001/30000 s.
    EXPECT_EQ(seconds("00:00:01:00", "29.97"), 30.0 * 1001.0 / 30000.0);
    EXPECT_EQ(seconds("00:00:01:23", "23.976"), 47.0 * 1001.0 / 24000.0);
    // Two numbers are left out a minute, but not of each tenth: an hour has 108000 - 54 x 2 frames.
    EXPECT_EQ(seconds("00:00:59;29", "29.97"), 1799.0 * 1001.0 / 30000.0);
    EXPECT_EQ(seconds("00:01:00;02", "29.97"), 1800.0 * 1001.0 / 30000.0);
    EXPECT_EQ(seconds("00:10:00;00", "29.97"), 17982.0 * 1001.0 / 30000.0);
    EXPECT_EQ(seconds("01:00:00;00", "29.97"), 107892.0 * 1001.0 / 30000.0);
    EXPECT_EQ(seconds("00:01:00;04", "59.94"), 3600.0 * 1001.0 / 60000.0);
    // The other forms do not need a rate.
    EXPECT_EQ(timeInSeconds("00:00:10,500", nullptr), 10.5);
    EXPECT_EQ(timeInSeconds("7", nullptr), 7.0);
}

TEST(Times, SayWhyATimecodeNamesNoFrame) {
    EXPECT_EQ(timeRefusal("00:00:10:25", "25"),
              "\"00:00:10:25\" is no TIME: at 25 frames/s the frames of a second are 0 to 24");
    EXPECT_EQ(timeRefusal("00:00:10:30", "29.97"),
              "\"00:00:10:30\" is no TIME: at 29.97 frames/s the frames of a second are 0 to 29");
    for (const char* text : {"00:01:00;00", "00:01:00;01", "00:59:00;01"}) {
        EXPECT_EQ(timeRefusal(text, "29.97"),
                  "\"" + std::string(text) + "\" is no TIME: drop-frame timecodes leave this number out");
    }
    EXPECT_EQ(timeRefusal("00:01:00;03", "59.94"),
              "\"00:01:00;03\" is no TIME: drop-frame timecodes leave this number out");
    EXPECT_EQ(timeRefusal("00:01:00;10", "30"),
              "\"00:01:00;10\" is a drop-frame timecode, which counts frames at 29.97 and 59.94 only");
    EXPECT_EQ(timeRefusal("00:00:10:12", ""),
              "\"00:00:10:12\" counts frames: --rate is needed, which says how many a second has");
    for (const char* text : {"", "00:00:10:1", "00:00:10:123", "00:60:10:12", "00:10", "9999:00:00:00", "soon"}) {
        EXPECT_EQ(timeRefusal(text, "25"), "\"" + std::string(text) +
                                               "\" is not a TIME (10.5, 00:00:10,500 or 00:00:10:12; at most 1000 "
                                               "hours)");
    }
}

TEST(Times, LeadTheTimecodeOfAFrameBackToIt) {
    for (const Rate& rate : kRates) {
        for (const bool isDropFrame : {false, true}) {
            for (std::uint64_t frame = 0; frame < 250000 && (!isDropFrame || hasDropFrame(rate)); frame += 7) {
                const double seconds = timeInSeconds(timecodeOfFrame(frame, rate, isDropFrame), &rate);
                ASSERT_EQ(firstFrameAtOrAfter(rate, seconds), frame) << rate.name;
            }
        }
    }
}

TEST(Times, PrintsTimecodesWithRoundedMilliseconds) {
    EXPECT_EQ(timecode(qlx::MediaTime::make(0, 25)), "00:00:00,000");
    EXPECT_EQ(timecode(qlx::MediaTime::make(1, 24)), "00:00:00,042");
    EXPECT_EQ(timecode(qlx::MediaTime::make(2 * 1001, 30000)), "00:00:00,067");
    // Half a millisecond goes up.
    EXPECT_EQ(timecode(qlx::MediaTime::make(255 * 1001, 30000)), "00:00:08,509");
    EXPECT_EQ(timecode(qlx::MediaTime::make(119999, 2000)), "00:01:00,000");
    EXPECT_EQ(timecode(qlx::MediaTime::make(29 * 1001, 30000)), "00:00:00,968");
    EXPECT_EQ(timecode(qlx::MediaTime::make(90061 * 25 + 24, 25)), "25:01:01,960");
    EXPECT_EQ(timecode(qlx::MediaTime::make(3600 * 1000, 1)), "1000:00:00,000");
    EXPECT_EQ(timecode(qlx::MediaTime{}), "--:--:--,---");
}

TEST(Times, HaveASignInFrontOfZero) {
    EXPECT_EQ(timecode(qlx::MediaTime::make(-150150, 30000)), "-00:00:05,005");
    EXPECT_EQ(timecode(qlx::MediaTime::make(-1001, 30000)), "-00:00:00,033");
    EXPECT_EQ(timecode(qlx::MediaTime::make(-1, 90000)), "00:00:00,000");
    // Half a millisecond goes to the later one.
    EXPECT_EQ(timecode(qlx::MediaTime::make(-3, 2000)), "-00:00:00,001");
    EXPECT_EQ(timecode(qlx::MediaTime::make(-1, 2000)), "00:00:00,000");
    EXPECT_EQ(timecode(qlx::MediaTime::make(-89999, 90000)), "-00:00:01,000");
    EXPECT_EQ(timecode(qlx::MediaTime::make(-3600 * 25, 25)), "-01:00:00,000");
    EXPECT_EQ(timecode(qlx::MediaTime::make(std::numeric_limits<std::int64_t>::min(), 1)),
              "-2562047788015215:30:08,000");
    EXPECT_EQ(timecodeColumn(qlx::MediaTime::make(-1001, 30000)), "-00:00:00,033");
    EXPECT_EQ(timecodeColumn(qlx::MediaTime::make(1001, 30000)), " 00:00:00,033");
    EXPECT_EQ(timecodeColumn(std::nullopt), " --:--:--,---");
    EXPECT_EQ(signedTimeInSeconds("-00:00:05,005", nullptr), -5.005);
    EXPECT_EQ(signedTimeInSeconds("-1.5", nullptr), -1.5);
    EXPECT_EQ(signedTimeInSeconds("1.5", nullptr), 1.5);
    const Rate rate = rateNamed("25").value();
    EXPECT_EQ(signedTimeInSeconds("-00:00:01:05", &rate), -1.2);
    EXPECT_THROW((void)signedTimeInSeconds("--1", nullptr), UsageError);
    EXPECT_THROW((void)signedTimeInSeconds("-", nullptr), UsageError);
}

TEST(Texts, TakeOutWhatSteersATerminal) {
    EXPECT_EQ(printable("d\xC3\xA9j\xC3\xA0 \xE2\x82\xAC \xF0\x9F\x8E\xAC"),
              "d\xC3\xA9j\xC3\xA0 \xE2\x82\xAC \xF0\x9F\x8E\xAC");
    EXPECT_EQ(printable("a\nb\tc\x1b[0m\x7F\xC2\x85z"), "a b c [0m  z");
    EXPECT_EQ(printable("a\xE2\x80\xA8z"), "a z");
    // A byte that is no UTF-8 (file names may have it) is kept.
    EXPECT_EQ(printable("a\xFFz"), "a\xFFz");
    EXPECT_EQ(padded("\xC3\xA9", 3), "\xC3\xA9  ");
    EXPECT_EQ(padded("long", 3), "long");
    EXPECT_EQ(rightAligned(7, 3), "  7");
    EXPECT_EQ(rightAligned(1234, 3), "1234");
    EXPECT_EQ(counted(0, "row"), "0 rows");
    EXPECT_EQ(counted(1, "row"), "1 row");
    EXPECT_EQ(hex(fromHex("00ff4d")), "00ff4d");
}

TEST(ProgressText, ShowsAPercentageAndTheTimeLeftWhereTheTotalIsKnown) {
    EXPECT_EQ(progressText(1, 50, 200, 0.0), "qlxcc: 1 frame, 25 %");
    EXPECT_EQ(progressText(1200, 600, 1200, 2.0), "qlxcc: 1200 frames, 50 %, 600 frames/s, 00:02 left");
    // 150 of 200 parts are left, of which 50 took 30.1 s: 90.3 s.
    EXPECT_EQ(progressText(301, 50, 200, 30.1), "qlxcc: 301 frames, 25 %, 10 frames/s, 01:31 left");
    EXPECT_EQ(progressText(10, 1, 7201, 1.0), "qlxcc: 10 frames, 0 %, 10 frames/s, 2:00:00 left");
    EXPECT_EQ(progressText(1200, 1200, 1200, 1.0), "qlxcc: 1200 frames, 100 %, 1200 frames/s, 00:00 left");
    EXPECT_EQ(progressText(1200, 1300, 1200, 1.0), "qlxcc: 1200 frames, 108 %, 1200 frames/s, 00:00 left");
    EXPECT_EQ(progressText(3, 10, std::nullopt, 0.0), "qlxcc: 3 frames");
    EXPECT_EQ(progressText(3, 10, 0, 1.5), "qlxcc: 3 frames, 2 frames/s");
}

TEST(Teletext, IsDescribedInWords) {
    using qlxtest::fillingPacketHex;
    using qlxtest::pageHeaderHex;
    const auto words = [](const std::string& packet) { return teletextInWords(fromHex(packet)); };
    EXPECT_EQ(words(qlxtest::fillingHex(qlxtest::kOddLines, 7)), "filling");
    EXPECT_EQ(words(qlxtest::eraseHex(0)), "page 888 erase");
    EXPECT_EQ(words(qlxtest::closeHex(0)), "page 8F8 close");
    EXPECT_EQ(words(qlxtest::bonjourHex(0)), "row 11");
    // 0x02 and 0x5e are Hamming codes of 1 and 3, units in front: page 31 of magazine 8 (ETSI EN 300 706).
    EXPECT_EQ(words(qlxtest::packetHex(
                  "0a0b0c", pageHeaderHex("025e", false) + qlxtest::bonjourRowHex() + qlxtest::bonjourRowHex(), 0)),
              "page 831, rows 11,11");
    // One bit of the address is wrong, which is put right: 159b becomes 149b. Two are too many: 169b.
    std::string damaged = qlxtest::bonjourHex(0);
    ASSERT_EQ(damaged.substr(24, 4), "159b");
    damaged.replace(24, 4, "149b");
    EXPECT_EQ(words(damaged), "row 11");
    damaged.replace(24, 4, "169b");
    EXPECT_EQ(words(damaged), "damaged packet");
    EXPECT_EQ(words(""), "0 bytes");
    EXPECT_EQ(words("5115"), "2 bytes");
    EXPECT_EQ(words(std::string(296, '0')), "148 bytes");
    EXPECT_EQ(words(qlxtest::bonjourHex(0).substr(0, 294)), "147 bytes");
}

TEST(FindingNotes, PrintTenOfAKind) {
    Progress progress(std::nullopt, true);
    FindingNotes notes("a", progress);
    using qlx::FindingCode;
    using qlx::Severity;
    notes.setPlace("byte 7");
    testing::internal::CaptureStderr();
    for (int count = 1; count <= 12; ++count) {
        const qlx::Finding finding{FindingCode::AncElementTooManyPackets, Severity::Warning, 0, count, 1};
        EXPECT_EQ(notes.prints(finding), count <= 10) << count;
        notes.add(finding);
    }
    EXPECT_TRUE(notes.prints({FindingCode::AncElementLineTooGreat, Severity::Warning, 0, 0, 0}));
    EXPECT_FALSE(notes.prints({FindingCode::AncElementLineTooGreat, Severity::Remark, 0, 0, 0}));
    setQuiet(true);
    EXPECT_FALSE(notes.prints({FindingCode::AncElementLineTooGreat, Severity::Warning, 0, 0, 0}));
    setQuiet(false);
    notes.finish();
    std::string expected;
    for (int count = 1; count <= 10; ++count) {
        expected += "qlxcc: warning: a: byte 7: " + std::to_string(count) + " packets, an element has at most 1\n";
    }
    expected += "qlxcc: warning: a: 2 more like \"1 packets, an element has at most 1\"\n";
    EXPECT_EQ(testing::internal::GetCapturedStderr(), expected);
}

}  // namespace
