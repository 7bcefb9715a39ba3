// What is on air as cues where it comes in pieces: rows that roll up, and captions that are painted, while they are being
// written.
#include "ExactBuffer.h"
#include "ToolRunner.h"
#include "cues/ScreenCues.h"
#include "cues/Subtitles.h"

#include <qlx/base/parity.h>
#include <qlx/streams/on_air.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace screen_cue_tests {
namespace {

using qlxtest::fromHex;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using Lines = std::vector<std::string>;

/// The pairs of letters as a Scenarist file has them.
std::string letters(std::string text) {
    text.resize((text.size() + 1) / 2 * 2, '\0');
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string pairs;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const std::uint8_t byte = qlx::withOddParity(static_cast<unsigned char>(text[index]));
        pairs += index % 2 == 0 && index > 0 ? " " : "";
        pairs += kDigits[byte >> 4U];
        pairs += kDigits[byte & 15U];
    }
    return pairs;
}

std::string line(const std::string& time, const Lines& parts) {
    std::string text = time + "\t";
    for (const std::string& part : parts) {
        text += (text.back() == '\t' ? "" : " ") + part;
    }
    return text + "\n\n";
}

// Codes of channel 1 with odd parity: RU2, RDC, CR, EDM, BS, preambles of the rows 14 and 15.
const std::string kRollUp = "9425";
const std::string kDirect = "9429";
const std::string kReturn = "94ad";
const std::string kErase = "942c";
const std::string kBack = "94a1";
const std::string kRow14 = "94d0";
const std::string kRow15 = "9470";

/// The cues of a Scenarist file as `start end text`.
Lines cuesOf(const std::string& lines) {
    const TemporaryFolder folder;
    const ToolResult cues =
        qlxtest::converted(folder.write("in.scc", "Scenarist_SCC V1.0\n\n" + lines), "srt", {"--quiet"});
    EXPECT_EQ(cues.exitCode, 0) << cues.err;
    Lines texts;
    bool isText = false;
    for (const std::string& each : linesOf(cues.out)) {
        if (each.find(" --> ") != std::string::npos) {
            texts.push_back(each.substr(0, 12) + " " + each.substr(17, 12));
            isText = true;
        } else if (each.empty()) {
            isText = false;
        } else if (isText) {
            texts.back() += " " + each.substr(each.starts_with("{") ? each.find('}') + 1 : 0) + ";";
        }
    }
    return texts;
}

// A second of labels has 30 frames of 1001/30000 s. The letters come behind three codes: in frame 33, at 1101.1 ms. The
// second carriage return is in frame 151, at 5038.4 ms, and frame 270 at 9009 ms.
TEST(ScreenCues, ArePerRowThatRollsUpHoweverLateItsLettersCome) {
    EXPECT_EQ(cuesOf(line("00:00:01:00", {kRollUp, kReturn, kRow15, letters("Hello ")}) +
                     line("00:00:02:00", {letters("there ")}) + line("00:00:03:00", {letters("you")}) +
                     line("00:00:05:00", {kRollUp, kReturn, kRow15, letters("Second ")}) +
                     line("00:00:06:00", {letters("row")}) + line("00:00:09:00", {kErase})),
              (Lines{"00:00:01,101 00:00:05,038 Hello there you;",
                     "00:00:05,038 00:00:09,009 Hello there you; Second row;"}));
}

// Where the carriage return is the last code of a row, it only moves what is shown.
TEST(ScreenCues, GoOnWhereRowsOnlyRollUp) {
    EXPECT_EQ(cuesOf(line("00:00:01:00", {kRollUp, kRow15, letters("One "), kReturn}) +
                     line("00:00:05:00", {letters("Two "), kReturn}) +
                     line("00:00:08:00", {letters("Three "), kReturn}) + line("00:00:12:00", {kErase})),
              (Lines{"00:00:01,068 00:00:05,005 One;", "00:00:05,005 00:00:08,008 One; Two;",
                     "00:00:08,008 00:00:12,012 Two; Three;"}));
}

TEST(ScreenCues, HaveRowsAsTheyStandInTheEnd) {
    // 92 a1 is an E with an acute accent, which takes the place of the letter in front of it.
    EXPECT_EQ(cuesOf(line("00:00:01:00", {kRollUp, kRow15, letters("Helo")}) +
                     line("00:00:02:00", {kBack, letters("lo E"), "92a1"}) + line("00:00:06:00", {kErase})),
              (Lines{"00:00:01,068 00:00:06,006 Hello \u00C9;"}));
    // Another text in the place of the row is another cue.
    EXPECT_EQ(cuesOf(line("00:00:01:00", {kDirect, kRow15, letters("Yellow")}) +
                     line("00:00:03:00", {kRow15, letters("Purple")}) + line("00:00:06:00", {kErase}))
                  .front(),
              "00:00:01,068 00:00:03,036 Yellow;");
}

// What is painted over a row that was not in hand, or over all of one, is another caption, however short it is.
TEST(ScreenCues, EndWhereAnotherRowIsPaintedOver) {
    // Frames of 1001/30000 s: 30 + 6, 60 (the return), 120 + 3 (the first letters that are others).
    EXPECT_EQ(cuesOf(line("00:00:01:00", {kRollUp, kRollUp, kReturn, kReturn, kRow15, kRow15, letters("ABab")}) +
                     line("00:00:02:00", {kReturn, kReturn, kRow15, kRow15, letters("CC DD")}) +
                     line("00:00:04:00", {kDirect, kRow14, letters("ABcdef")}) + line("00:00:06:00", {kErase})),
              (Lines{"00:00:01,201 00:00:02,002 ABab;", "00:00:02,002 00:00:04,104 ABab; CC DD;",
                     "00:00:04,104 00:00:06,006 ABcdef; CC DD;"}));
    EXPECT_EQ(cuesOf(line("00:00:01:00", {kDirect, kRow15, letters("No")}) +
                     line("00:00:03:00", {kRow15, letters("Go")}) + line("00:00:06:00", {kErase})),
              (Lines{"00:00:01,068 00:00:03,036 No;", "00:00:03,036 00:00:06,006 Go;"}));
}

TEST(ScreenCues, ArePaintedRowByRow) {
    EXPECT_EQ(cuesOf(line("00:00:01:00", {kDirect, kRow14, letters("Hel")}) + line("00:00:02:00", {letters("lo")}) +
                     line("00:00:04:00", {kDirect, kRow15, letters("you")}) + line("00:00:06:00", {kErase})),
              (Lines{"00:00:01,068 00:00:04,071 Hello;", "00:00:04,071 00:00:06,006 Hello; you;"}));
}

/// A frame with a packet of one service block (CTA-708, 5 and 6.2).
qlx::streams::Frame withBlock(std::uint64_t number, const std::string& data) {
    std::vector<std::uint8_t> packet{0, static_cast<std::uint8_t>(1U << 5U | data.size())};
    packet.insert(packet.end(), data.begin(), data.end());
    packet.resize((packet.size() + 1) / 2 * 2);
    packet[0] = static_cast<std::uint8_t>((number % 4) << 6U | packet.size() / 2);
    std::vector<std::uint8_t> triplets;
    for (std::size_t index = 0; index < packet.size(); index += 2) {
        triplets.insert(triplets.end(),
                        {static_cast<std::uint8_t>(index == 0 ? 0xFF : 0xFE), packet[index], packet[index + 1]});
    }
    qlx::streams::Frame frame;
    frame.number = number;
    frame.triplets = qlx::Data(triplets);
    return frame;
}

TEST(ScreenCues, OfServicesArePerRowToo) {
    Lines cues;
    qlx::tool::ScreenCues screens(qlx::streams::serviceOnAir(1), [&cues](const qlx::subtitles::Cue& cue) {
        cues.push_back(std::to_string(cue.start.value) + " " + std::to_string(cue.end.value) + " " +
                       qlx::tool::subtitleText(cue));
    });
    // Window 0, shown: two rows of 32 columns at row 13; letters; CR (0d); DLW (8c) of it. A frame is a second.
    const auto bytes = fromHex("98384100011f09");
    const Lines blocks{
        std::string(bytes.begin(), bytes.end()) + "One", " row", "\rSecond", " row\r", "Third", "\x8C\x01"};
    std::uint64_t number = 0;
    for (const std::string& block : blocks) {
        qlx::tool::Frame frame;
        static_cast<qlx::streams::Frame&>(frame) = withBlock(number, block);
        frame.pts = qlx::MediaTime::make(static_cast<std::int64_t>(number), 1);
        screens.receive(frame, nullptr);
        ++number;
    }
    EXPECT_FALSE(screens.finish(nullptr));
    // The second row is below the first one, which nothing has moved; the third one comes behind a return.
    EXPECT_EQ(cues, (Lines{"0 2 One row", "2 4 One row / Second row", "4 5 Second row / Third"}));
}

TEST(ScreenCues, SayWhatIsSeenThrough) {
    using namespace qlx::screen;
    struct Look {
        Opacity foreground = Opacity::Solid;
        Opacity background = Opacity::Solid;
        Color color = Color::Black;
        qlx::subtitles::Properties expected{};
    };
    const Look looks[] = {
        {},
        {Opacity::Flash, Opacity::Flash, Color::Blue},
        {Opacity::Translucent, Opacity::Solid, Color::Blue, {{"color.alpha", "80"}}},
        {Opacity::Transparent, Opacity::Translucent, Color::Blue, {{"color.alpha", "00"}, {"background.alpha", "80"}}},
        {Opacity::Solid, Opacity::Translucent, Color::Blue, {{"background.alpha", "80"}}},
        // Nothing is behind them, or what receivers put there.
        {Opacity::Solid, Opacity::Transparent, Color::Blue},
        {Opacity::Solid, Opacity::Translucent, Color::Black},
    };
    Screen screen = Screen::blank(System::Cea708, 15, std::size(looks), 1);
    for (std::size_t index = 0; index < std::size(looks); ++index) {
        Cell& cell = screen.row(0)[index];
        cell.character = U'a' + static_cast<char32_t>(index);
        cell.isVisible = true;
        cell.foregroundOpacity = looks[index].foreground;
        cell.backgroundOpacity = looks[index].background;
        cell.background = looks[index].color;
    }
    const qlx::subtitles::Cue cue = qlx::tool::cueOfScreen(screen, {});
    ASSERT_EQ(cue.rows.size(), 1U);
    std::size_t index = 0;
    for (const qlx::subtitles::Run& run : cue.rows[0].runs) {
        for (std::size_t count = 0; count < run.text.size(); ++count, ++index) {
            EXPECT_EQ(run.properties, looks[index].expected) << index;
        }
    }
    EXPECT_EQ(index, std::size(looks));
}

}  // namespace
}  // namespace screen_cue_tests
