// Random cues written as EBU STL and read back.
#include "StlWritten.h"
#include "TextCues.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace stl_round_trip_tests {
namespace {

namespace subtitles = qlx::subtitles;
using namespace qlx::subtitles;
using qlx::MediaTime;
using qlx::screen::Color;
using qlxtest::openSubtitling;
using qlxtest::readStlBack;
using qlxtest::StlWritten;
using qlxtest::usualStl;
using qlxtest::writeStl;

/// A character and its look; that of a space does not count.
struct SeenCell {
    char32_t character;
    Style style;
    friend bool operator==(const SeenCell&, const SeenCell&) = default;
};

std::vector<SeenCell> cellsOf(const Row& row) {
    std::vector<SeenCell> cells;
    for (const subtitles::Run& run : row.runs) {
        std::string_view rest = run.text;
        while (!rest.empty()) {
            const char32_t character = qlx::takeCodePoint(rest);
            cells.push_back({character, character == U' ' ? Style{} : run.style});
        }
    }
    return cells;
}

constexpr std::string_view kLetters[] = {"aZ\u00E9\u0161\u00DF\u00E6\u201C\u266A7?", "aZ\u0416\u044F\u0451\u0490",
                                         "aZ\u0627\u0628\u0645\u061F", "aZ\u0391\u03C9\u03AC\u03C2",
                                         "aZ\u05D0\u05EA\u05DD"};

std::string randomWord(std::mt19937& random, std::size_t table) {
    std::vector<std::string> letters;
    for (std::string_view rest = kLetters[table]; !rest.empty();) {
        const std::string_view before = rest;
        if (qlx::takeCodePoint(rest) != U'\u0490') {
            letters.emplace_back(before.substr(0, before.size() - rest.size()));
        }
    }
    std::string word;
    for (std::size_t count = 1 + random() % 7; count > 0; --count) {
        word += letters[random() % letters.size()];
    }
    return word;
}

/// What the format can say: looks change behind spaces, of which there are enough for any change.
Row randomRow(std::mt19937& random, std::size_t table, bool isOpen, Alignment alignment) {
    const auto isSo = [&random] { return random() % 4 == 0; };
    Row row;
    row.alignment = alignment;
    std::string spaces = alignment == Alignment::Unchanged ? std::string(random() % 4, ' ') : std::string();
    for (std::size_t runs = 1 + random() % 3; runs > 0; --runs) {
        subtitles::Run run{std::exchange(spaces, "    ") + randomWord(random, table), {}};
        run.style.foreground = isSo() ? qlx::screen::kBasicColors[random() % 8] : Color::White;
        if (isSo()) {
            const Color color = qlx::screen::kBasicColors[1 + random() % 7];
            run.style.background = isOpen && isSo() ? Color::Black : color;
        }
        // Black letters are seen on another background, or on the picture.
        const bool isOnBlack = run.style.background ? run.style.background == Color::Black : !isOpen;
        if (isOnBlack && run.style.foreground == Color::Black) {
            run.style.foreground = Color::White;
        }
        run.style.isFlashing = isSo();
        run.style.isItalic = isSo();
        run.style.isUnderlined = isSo();
        row.runs.push_back(std::move(run));
    }
    return row;
}

TEST(StlRoundTrip, IsReadBackAsItWasWritten) {
    for (std::size_t table = 0; table < 5; ++table) {
        std::mt19937 random(static_cast<unsigned>(table + 1));
        const bool isOpen = table % 2 == 1;
        StlWriterOptions options = isOpen ? openSubtitling("30") : usualStl();
        options.isDoubleHeight = table != 2;
        options.gsi.charactersOfRow = "99";
        options.gsi.characterTable.characters[1] = static_cast<char>('0' + table);
        options.gsi.diskFormatCode = table == 3 ? "STL30.01" : "STL25.01";
        const std::int32_t frames = table == 3 ? 30 : 25;
        const std::uint64_t height = isOpen || table == 2 ? 1 : 2;
        std::vector<Cue> cues;
        std::int64_t frame = 0;
        for (std::uint64_t number = 1; number <= 2000; ++number) {
            Cue cue;
            cue.number = number;
            cue.screenRows = isOpen ? 30 : 23;
            cue.start = MediaTime::make(frame += static_cast<std::int64_t>(random() % 50), frames);
            cue.end = MediaTime::make(frame += 1 + static_cast<std::int64_t>(random() % 50), frames);
            const auto alignment = static_cast<Alignment>(random() % 4);
            std::uint64_t place = 1 + random() % 14;
            for (std::size_t rows = random() % 4; rows > 0; --rows) {
                if (random() % 4 == 0 && !cue.rows.empty()) {
                    cue.rows.push_back({.runs = {}, .number = place, .alignment = alignment});
                    place += height;
                }
                cue.rows.push_back(randomRow(random, table, isOpen, alignment));
                cue.rows.back().number = place;
                place += height;
            }
            cues.push_back(std::move(cue));
        }
        const StlWritten written = writeStl(cues, options);
        EXPECT_TRUE(written.findings.empty()) << written.findings.front().text();
        const std::vector<Cue> back = readStlBack(written);
        ASSERT_EQ(back.size(), cues.size());
        for (std::size_t index = 0; index < cues.size(); ++index) {
            const Cue& cue = cues[index];
            const Cue& other = back[index];
            ASSERT_EQ(other.number, cue.number);
            ASSERT_EQ(other.start, cue.start);
            ASSERT_EQ(other.end, cue.end);
            ASSERT_EQ(other.rows.size(), cue.rows.size()) << index;
            for (std::size_t row = 0; row < cue.rows.size(); ++row) {
                ASSERT_EQ(other.rows[row].number, cue.rows[row].number) << index;
                ASSERT_EQ(other.rows[row].alignment, cue.rows[row].alignment);
                ASSERT_EQ(other.rows[row].text(), cue.rows[row].text()) << index;
                ASSERT_TRUE(cellsOf(other.rows[row]) == cellsOf(cue.rows[row])) << index << cue.rows[row].text();
            }
        }
    }
}

TEST(StlRoundTrip, TellsWhatOfAnythingIsLost) {
    std::mt19937 random(11);
    std::uint64_t equal = 0;
    for (std::uint64_t number = 1; number <= 4000; ++number) {
        Cue cue = qlxtest::randomCue(random, number, qlxtest::CueFormat::WebVtt);
        const StlWritten written = writeStl({cue});
        const std::vector<Cue> back = readStlBack(written);
        ASSERT_EQ(back.size(), 1U);
        if (!written.findings.empty()) {
            continue;
        }
        // Rows without text have a place of their own between others alone.
        std::vector<Row> rows = cue.rows;
        std::erase_if(rows, [](const Row& row) { return row.text().find_first_not_of(' ') == std::string::npos; });
        std::vector<Row> read = back.front().rows;
        std::erase_if(read, [](const Row& row) { return row.text().find_first_not_of(' ') == std::string::npos; });
        ASSERT_EQ(read.size(), rows.size());
        for (std::size_t row = 0; row < rows.size(); ++row) {
            std::string text = rows[row].text();
            text.erase(0, text.find_first_not_of(' '));
            text.erase(text.find_last_not_of(' ') + 1);
            ASSERT_EQ(read[row].text(), text) << number;
        }
        ++equal;
    }
    // Without findings are those of few characters.
    EXPECT_GT(equal, 100U);
}

}  // namespace
}  // namespace stl_round_trip_tests
