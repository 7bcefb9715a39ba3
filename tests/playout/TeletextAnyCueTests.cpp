// Random cues of anything as teletext pages and back: equal, or as findings say of it, and nothing else.
#include "TeletextCues.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <qlx/base/utf8.h>
#include <qlx/playout/teletext.h>
#include <qlx/teletext/page.h>
#include <qlx/teletext/row_encoder.h>
#include <qlx/teletext/sets.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace teletext_any_cue_test {

using namespace qlx::teletext;
using qlx::FrameRate;
using qlx::MediaTime;
using qlx::playout::TeletextPlayout;
using qlx::screen::Color;
using qlx::subtitles::Alignment;
using qlx::subtitles::Cue;
using qlxtest::below;
using qlxtest::kCues;
using qlxtest::kFrames;
using qlxtest::kSets;
using qlxtest::Look;
using qlxtest::Random;
using qlxtest::seenOf;
using qlxtest::SeenPage;
using qlxtest::SeenRow;

/// Rows of any length and letters, of which some are in no set.
Cue anyCue(Random& random, std::uint64_t frame) {
    constexpr std::u32string_view kLetters =
        U"abcdefgh  \u00E9\u00DF\u00D1\u0416\u05D0\u0628\u65E5\u2026\u201E\u0301\u20AC([";
    Cue cue;
    cue.start = MediaTime::make(static_cast<std::int64_t>(frame), kFrames);
    cue.end = MediaTime::make(static_cast<std::int64_t>(frame + below(random, 60)), kFrames);
    const bool isStyled = below(random, 4) == 0;
    for (std::size_t rows = below(random, 5); rows > 0; --rows) {
        qlx::subtitles::Row row;
        row.number = below(random, 3) == 0 ? below(random, 14) : 0;
        row.alignment = static_cast<Alignment>(below(random, 4));
        for (std::size_t runs = below(random, 4); runs > 0; --runs) {
            std::string text;
            // Most have letters of every set alone.
            const std::size_t kinds = below(random, 3) == 0 ? kLetters.size() : 10;
            for (std::size_t size = below(random, 20); size > 0; --size) {
                qlx::appendUtf8(text, kLetters[below(random, kinds)]);
            }
            row.runs.push_back({std::move(text), {}});
            row.runs.back().style.isItalic = below(random, 20) == 0;
            row.runs.back().style.foreground = qlx::screen::kBasicColors[below(random, 8)];
            row.runs.back().style.isFlashing = isStyled && below(random, 3) == 0;
            if (isStyled && below(random, 3) == 0) {
                row.runs.back().style.background = qlx::screen::kBasicColors[below(random, 8)];
            }
        }
        cue.rows.push_back(std::move(row));
    }
    return cue;
}

/// A letter as it should be shown.
struct Wanted {
    char32_t letter = U' ';
    Color color = Color::White;
    Color background = Color::Black;
    bool isFlashing = false;
    bool isItalic = false;
};

/// As it is shown where the row has room: what is behind a letter is not of its colour.
Look lookOf(const Wanted& wanted) {
    const Color color = letterColor(wanted.color);
    return {color, wanted.background == color ? Color::Black : wanted.background, wanted.isFlashing};
}
using WantedLine = std::vector<Wanted>;

bool isSpace(const Wanted& one) {
    return one.letter == U' ';
}

/// The letters of a line of the page, and which row of the cue they are of, from 0.
struct WantedText {
    WantedLine letters;
    std::size_t source = 0;
};

/// Findings that explain something, each once.
class Explanations {
public:
    explicit Explanations(const qlx::Findings& findings) {
        for (const qlx::Finding& finding : findings) {
            _left.push_back(finding);
        }
    }

    /// Takes the first one with these numbers, if there is one.
    bool take(qlx::FindingCode code, std::int64_t first, std::int64_t second) {
        const auto found = std::find_if(_left.begin(), _left.end(), [&](const qlx::Finding& finding) {
            return finding.code == code && finding.first == first && finding.second == second;
        });
        if (found == _left.end()) {
            return false;
        }
        _left.erase(found);
        return true;
    }
    /// Takes the first one with that first number, whatever the second is.
    std::optional<std::int64_t> takeOf(qlx::FindingCode code, std::int64_t first) {
        const auto found = std::find_if(_left.begin(), _left.end(), [&](const qlx::Finding& finding) {
            return finding.code == code && finding.first == first;
        });
        if (found == _left.end()) {
            return std::nullopt;
        }
        const std::int64_t second = found->second;
        _left.erase(found);
        return second;
    }
    /// Takes the first one, whatever its numbers are.
    bool takeAny(qlx::FindingCode code) {
        const auto found =
            std::find_if(_left.begin(), _left.end(), [&](const qlx::Finding& finding) { return finding.code == code; });
        if (found == _left.end()) {
            return false;
        }
        _left.erase(found);
        return true;
    }
    [[nodiscard]] std::string rest() const {
        std::string text;
        for (const qlx::Finding& finding : _left) {
            text += finding.text() + "; ";
        }
        return text;
    }

private:
    std::vector<qlx::Finding> _left;
};

/// Joins letters with the marks behind them, and leaves those out of which it is said.
WantedLine withoutMarks(const WantedLine& line, Explanations& said) {
    WantedLine joined;
    for (const Wanted& wanted : line) {
        const bool isMark = wanted.letter == U'\u0301';
        const char32_t character = isMark && !joined.empty() ? composed(joined.back().letter, wanted.letter) : U'\0';
        if (character != U'\0') {
            joined.back().letter = character;
        } else if (!isMark || !said.takeOf(qlx::FindingCode::TeletextMarkLeftOut, wanted.letter)) {
            joined.push_back(wanted);
        }
    }
    return joined;
}

/// Columns of a row of double height: its box begins in three of the 40, and its colour takes one more; from the right
/// to the left the first letter on the screen may be any.
std::size_t roomOf(const WantedLine& line, bool isRightToLeft) {
    const auto isColored = [](const Wanted& one) {
        return one.letter != U' ' && letterColor(one.color) != Color::White;
    };
    const auto letter = std::find_if(line.begin(), line.end(), [](const Wanted& one) { return one.letter != U' '; });
    const bool hasCode =
        isRightToLeft ? std::any_of(line.begin(), line.end(), isColored) : letter != line.end() && isColored(*letter);
    return hasCode ? 36 : 37;
}

/// The characters of a row; an ellipsis becomes three points where the set lacks it and there is room.
WantedLine wantedRow(const qlx::subtitles::Row& row, const CharacterSet& set, Explanations& said) {
    WantedLine line;
    for (const qlx::subtitles::Run& run : row.runs) {
        for (std::string_view rest = run.text; !rest.empty();) {
            line.push_back({qlx::takeCodePoint(rest), run.style.foreground, run.style.background.value_or(Color::Black),
                            run.style.isFlashing, run.style.isItalic});
        }
    }
    line = withoutMarks(line, said);
    line.erase(std::find_if_not(line.rbegin(), line.rend(), isSpace).base(), line.end());
    if (row.alignment != Alignment::Unchanged) {
        line.erase(line.begin(), std::find_if_not(line.begin(), line.end(), isSpace));
    }
    constexpr char32_t kEllipsis = U'\u2026';
    const auto count = static_cast<std::size_t>(
        std::count_if(line.begin(), line.end(), [](const Wanted& one) { return one.letter == kEllipsis; }));
    const bool isLacking = encodeCharacter(kEllipsis, set).fit != CellCode::Fit::Exact;
    if (count > 0 && isLacking && line.size() + 2 * count <= roomOf(line, set.isRightToLeft())) {
        EXPECT_TRUE(said.take(qlx::FindingCode::TeletextCharacterReplaced, kEllipsis, U'.'));
        WantedLine spelt;
        for (Wanted wanted : line) {
            const std::size_t points = wanted.letter == kEllipsis ? 3 : 1;
            wanted.letter = wanted.letter == kEllipsis ? U'.' : wanted.letter;
            spelt.insert(spelt.end(), points, wanted);
        }
        line = std::move(spelt);
    }
    return line;
}

/// The lines of a page, as findings say that rows are broken and cut.
std::vector<WantedText> wantedLines(const Cue& cue, const CharacterSet& set, Explanations& said) {
    std::vector<WantedText> lines;
    for (std::size_t index = 0; index < cue.rows.size(); ++index) {
        const auto number = static_cast<std::int64_t>(index + 1);
        WantedLine row = wantedRow(cue.rows[index], set, said);
        std::vector<std::size_t> ends;
        while (const auto broken = said.takeOf(qlx::FindingCode::PlayoutRowBroken, number)) {
            ends.push_back(static_cast<std::size_t>(*broken));
        }
        if (const auto cut = said.takeOf(qlx::FindingCode::PlayoutPageFull, number)) {
            row.resize(row.size() - static_cast<std::size_t>(*cut));
        }
        ends.push_back(row.size());
        std::size_t begin = 0;
        for (const std::size_t end : ends) {
            WantedLine line(row.begin() + static_cast<std::ptrdiff_t>(begin),
                            row.begin() + static_cast<std::ptrdiff_t>(std::min(end, row.size())));
            begin = std::min(end, row.size());
            if (!std::all_of(line.begin(), line.end(), isSpace)) {
                lines.push_back({std::move(line), index});
            }
        }
    }
    return lines;
}

/// The rows of a page for these lines: row n of the cue is row 2n, and its rows keep their distance from one another, where
/// no line of them stands between. The last one has its own row, or the last of the page when it has no number, and all
/// are below the page's first row.
std::vector<std::size_t> wantedRows(const Cue& cue, const std::vector<WantedText>& lines) {
    constexpr std::size_t kTallRows = 11;
    const auto numberOf = [&](const WantedText& line) {
        return static_cast<std::size_t>(cue.rows[line.source].number);
    };
    std::vector<std::size_t> distances{0};
    for (std::size_t index = 1; index < lines.size(); ++index) {
        const std::size_t upper = numberOf(lines[index - 1]);
        const std::size_t lower = numberOf(lines[index]);
        const bool areNumbered = upper > 0 && lower > 0;
        // Rows of the cue without text count; what a row is broken into stands below it.
        const std::size_t between = lines[index].source - lines[index - 1].source;
        const std::size_t distance = !areNumbered ? between : lower > upper ? lower - upper : 1;
        distances.push_back(distances.back() + std::max<std::size_t>(distance, 1));
    }
    if (distances.back() >= kTallRows) {
        for (std::size_t index = 0; index < distances.size(); ++index) {
            distances[index] = index;
        }
    }
    const std::size_t named = numberOf(lines.back());
    const std::size_t last = std::max(named == 0 ? kTallRows : std::min(named, kTallRows), distances.back() + 1);
    std::vector<std::size_t> rows;
    for (const std::size_t distance : distances) {
        rows.push_back(2 * (last - distances.back() + distance));
    }
    return rows;
}

/// Columns in front of a letter that begins the row: three begin the box and the height, and there are those of its look.
std::size_t columnsBefore(const Look& look) {
    const bool isBehind = look.background != Color::Black;
    const bool hasColor = look.color != (isBehind ? look.background : Color::White);
    const std::size_t background = !isBehind ? 0U : look.background == Color::White ? 1U : 2U;
    return 3 + background + (hasColor ? 1U : 0U) + (look.isFlashing ? 1U : 0U);
}

/// A line stands in the column that its alignment says, and its box around it: from the fourth one on, in the middle of
/// the 40, or in front of the two that end the box; unchanged ones keep their spaces. In front of it begin the box and
/// the look of its first letter on the screen.
void expectColumns(const WantedText& line, Alignment alignment, const SeenRow& seen) {
    constexpr std::size_t kColumns = 40;
    const auto first = std::find_if_not(line.letters.begin(), line.letters.end(), isSpace);
    const auto end = std::find_if_not(line.letters.rbegin(), line.letters.rend(), isSpace).base();
    const auto size = static_cast<std::size_t>(end - first);
    const std::size_t spaces =
        alignment == Alignment::Unchanged ? static_cast<std::size_t>(first - line.letters.begin()) : 0;
    const std::size_t lead = columnsBefore(seen.looks.front());
    const std::size_t wanted = alignment == Alignment::Center ? (kColumns - size) / 2
                               : alignment == Alignment::Right
                                   ? kColumns - size - std::min<std::size_t>(2, kColumns - size)
                                   : std::max<std::size_t>(lead, 4) + spaces;
    EXPECT_EQ(seen.column, std::clamp(wanted, lead, std::max(lead, kColumns - size)));
    EXPECT_EQ(seen.firstVisible, seen.column - 1);
    EXPECT_EQ(seen.lastVisible, std::min(seen.column + size, kColumns - 1));
}

/// The other one of a pair of brackets.
char32_t mirrored(char32_t character) {
    constexpr std::u32string_view kPairs = U"()[]{}<>\u00AB\u00BB";
    const std::size_t place = kPairs.find(character);
    return place == std::u32string_view::npos ? character : kPairs[place ^ 1U];
}

/// What stands for a letter, as is said of it; brackets that are read from the right are said of as they are drawn.
std::optional<char32_t> shownFor(char32_t letter, bool isRightToLeft, Explanations& said) {
    for (const bool isMirrored : {false, true}) {
        const char32_t drawn = isMirrored ? mirrored(letter) : letter;
        for (const auto code :
             {qlx::FindingCode::TeletextCharacterReplaced, qlx::FindingCode::TeletextCharacterMissing}) {
            if (const auto shown = said.takeOf(code, drawn)) {
                const auto character = static_cast<char32_t>(*shown);
                return isMirrored ? mirrored(character) : character;
            }
        }
        if (!isRightToLeft) {
            break;
        }
    }
    return std::nullopt;
}

/// Each letter is there, or what is said to stand for it; in their order, unless it is said to be lost.
/// @param areSpacesThere They stand between the same letters.
void expectLetters(const WantedLine& asked, const std::u32string& letters, bool areSpacesThere, bool isRightToLeft,
                   Explanations& said) {
    std::u32string rest = letters;
    bool isInOrder = areSpacesThere;
    const auto take = [&](char32_t letter) {
        std::size_t place = rest.front() == letter ? 0 : isRightToLeft ? rest.find(letter) : std::u32string::npos;
        if (place == std::u32string::npos && isRightToLeft) {
            // In a run of the other direction.
            place = rest.find(mirrored(letter));
            isInOrder = isInOrder && place == std::u32string::npos;
        }
        if (place == std::u32string::npos) {
            return false;
        }
        isInOrder = isInOrder && place == 0;
        rest.erase(place, 1);
        return true;
    };
    for (const Wanted& wanted : asked) {
        if (take(wanted.letter)) {
            continue;
        }
        const auto shown = shownFor(wanted.letter, isRightToLeft, said);
        ASSERT_TRUE(shown) << "letter " << std::hex << static_cast<std::uint32_t>(wanted.letter);
        ASSERT_TRUE(take(*shown)) << "letter " << std::hex << static_cast<std::uint32_t>(*shown);
    }
    EXPECT_TRUE(isInOrder || said.takeAny(qlx::FindingCode::TeletextOrderLost));
}

/// Whether a line is shown as it should be, or as findings say.
void expectLine(const WantedLine& wanted, std::size_t number, const SeenRow& seen, bool isRightToLeft,
                Explanations& said) {
    const auto row = static_cast<std::int64_t>(number);
    std::u32string letters;
    std::vector<std::size_t> columns;
    for (std::size_t place = 0; place < seen.text.size(); ++place) {
        if (seen.text[place] != U' ') {
            letters += seen.text[place];
            columns.push_back(seen.column + place);
        }
    }
    std::vector<Wanted> asked;
    std::vector<bool> areFirst;  ///< Of a word.
    for (std::size_t place = 0; place < wanted.size(); ++place) {
        if (wanted[place].letter != U' ') {
            asked.push_back(wanted[place]);
            areFirst.push_back(place == 0 || wanted[place - 1].letter == U' ');
        }
    }
    ASSERT_EQ(letters.size(), asked.size()) << number;
    const auto isBlack = [](const Wanted& one) { return one.color == Color::Black; };
    const auto black = std::count_if(asked.begin(), asked.end(), isBlack);
    EXPECT_TRUE(black == 0 || said.take(qlx::FindingCode::TeletextColorChanged, row, black)) << black;
    const auto lost = std::count_if(asked.begin(), asked.end(), [](const Wanted& one) {
        return one.isItalic || one.background != lookOf(one).background;
    });
    EXPECT_TRUE(lost == 0 || said.take(qlx::FindingCode::TeletextStyleLeftOut, row, lost)) << lost;
    const auto first = std::find_if_not(wanted.begin(), wanted.end(), isSpace);
    const auto last = std::find_if_not(wanted.rbegin(), wanted.rend(), isSpace).base();
    const bool areSpacesThere =
        std::equal(first, last, seen.text.begin(), seen.text.end(),
                   [](const Wanted& one, char32_t character) { return isSpace(one) == (character == U' '); });
    expectLetters(asked, letters, areSpacesThere, isRightToLeft, said);
    constexpr qlx::FindingCode kKept[] = {qlx::FindingCode::TeletextColorKept, qlx::FindingCode::TeletextBackgroundKept,
                                          qlx::FindingCode::TeletextFlashKept};
    // Where letters stand in another order their looks are not followed.
    for (const qlx::FindingCode code : kKept) {
        while (isRightToLeft && said.takeOf(code, row)) {
        }
    }
    // A part of a look is that of the letter in front, from one on of which it is said.
    const auto expectPart = [&](std::size_t index, qlx::FindingCode code, const auto& partOf) {
        const auto part = partOf(lookOf(asked[index]));
        if (partOf(seen.looks[index]) == part) {
            return;
        }
        EXPECT_EQ(partOf(seen.looks[index]), partOf(index == 0 ? Look{} : seen.looks[index - 1]));
        const bool isBegun = index == 0 || areFirst[index] || partOf(lookOf(asked[index - 1])) != part;
        EXPECT_TRUE(!isBegun || said.take(code, row, static_cast<std::int64_t>(columns[index])))
            << "column " << columns[index];
    };
    for (std::size_t index = 0; index < asked.size() && !isRightToLeft; ++index) {
        expectPart(index, kKept[0], [](const Look& look) { return look.color; });
        expectPart(index, kKept[1], [](const Look& look) { return look.background; });
        expectPart(index, kKept[2], [](const Look& look) { return look.isFlashing; });
        EXPECT_NE(seen.looks[index].color, seen.looks[index].background);
    }
}

TEST(TeletextCues, AreShownAsTheyAreOrAsFindingsSay) {
    Random random(23);
    std::size_t exact = 0;
    std::size_t said = 0;
    for (std::size_t count = 0; count < kCues && !HasFailure(); ++count) {
        SCOPED_TRACE(count);
        // Of each by itself: what is said is said of it.
        const std::uint8_t designation = kSets[below(random, std::size(kSets))];
        const CharacterSet set = *characterSetOf(designation);
        TeletextPlayout playout(FrameRate::Fps25);
        qlx::Findings findings;
        const Cue cue = anyCue(random, 2);
        PageReader reader;
        const bool isTaken = playout.add(cue, {.designation = designation}, &findings);
        SeenPage shown;
        SeenPage last;
        std::uint64_t shownAt = 0;
        std::uint64_t changed = 0;
        while (!playout.isDone()) {
            const std::uint64_t frame = playout.frame();
            bool isReceived = false;
            for (const qlx::anc::Packet& packet : playout.next(&findings)) {
                const auto sdp = parseSdp(packet.userData, &findings);
                ASSERT_TRUE(sdp);
                (void)reader.receive(*sdp, &findings);
                isReceived = true;
            }
            if (!isReceived) {
                continue;
            }
            const SeenPage seen = seenOf(reader);
            // The header that closes the page may come later than its last row.
            if (shown.empty() && seen != last) {
                last = seen;
                changed = frame;
            }
            if (shown.empty() && !seen.empty() && !reader.isReceiving()) {
                shown = seen;
                shownAt = changed;
            }
        }
        ASSERT_TRUE(seenOf(reader).empty());
        (findings.empty() ? exact : said) += 1;
        Explanations why(findings);
        const std::int64_t end = cue.end.value;
        if (end <= 2) {
            EXPECT_FALSE(isTaken);
            EXPECT_TRUE(why.take(qlx::FindingCode::TeletextTimesWrong, 2, end));
            EXPECT_EQ(why.rest(), "");
            continue;
        }
        const std::vector<WantedText> lines = wantedLines(cue, set, why);
        if (lines.empty()) {
            EXPECT_FALSE(isTaken);
            EXPECT_TRUE(why.take(qlx::FindingCode::TeletextPageEmpty, 0, 0)) << why.rest();
            EXPECT_EQ(why.rest(), "");
            continue;
        }
        std::uint64_t due = 2;
        if (const auto late = why.takeOf(qlx::FindingCode::TeletextPageLate, 2)) {
            due += static_cast<std::uint64_t>(*late);
        }
        EXPECT_EQ(shownAt, due);
        ASSERT_EQ(shown.size(), lines.size());
        const std::vector<std::size_t> rows = wantedRows(cue, lines);
        std::size_t index = 0;
        for (const auto& [number, row] : shown) {
            const WantedText& line = lines[index];
            EXPECT_EQ(number, rows[index++]);
            expectColumns(line, cue.rows[line.source].alignment, row);
            expectLine(line.letters, number, row, set.isRightToLeft(), why);
        }
        EXPECT_EQ(why.rest(), "");
    }
    EXPECT_GT(exact, kCues / 20);
    EXPECT_GT(said, kCues / 4);
}

}  // namespace teletext_any_cue_test
