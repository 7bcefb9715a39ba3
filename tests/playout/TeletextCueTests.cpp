// Random cues as teletext pages and back: text, rows, columns, colours and boxes of what fits, of several pages at once.
#include "TeletextCues.h"

#include <qlx/base/utf8.h>
#include <qlx/playout/teletext.h>
#include <qlx/teletext/page.h>
#include <qlx/teletext/sets.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace teletext_cue_test {

using namespace qlx::teletext;
using qlx::FrameRate;
using qlx::MediaTime;
using qlx::playout::TeletextPlayout;
using qlx::playout::TeletextPlayoutOptions;
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

/// Letters of a set: those of rows, and some that X/26 brings.
struct Letters {
    std::u32string own;
    std::u32string placed;
};

Letters lettersOf(std::uint8_t designation) {
    const CharacterSet set = *characterSetOf(designation);
    Letters letters;
    if (set.isRightToLeft()) {
        // Alone they are read as they are written.
        letters.own = set.g0 == G0Set::Hebrew ? U"\u05D0\u05D1\u05D2\u05D3\u05D4\u05E9\u05EA\u05DD"
                                              : U"\u0628\u062A\u062D\u062F\u0631\u0633\u0645\u0646\u0648\u064A";
        return letters;
    }
    for (const char32_t letter : g0Characters(set)) {
        const bool isPlain = letter > U' ' && letter != U'\u25A0';
        letters.own += isPlain ? std::u32string(1, letter) : std::u32string();
    }
    for (const char32_t letter :
         std::u32string_view(U"\u00C0\u00C9\u00D1\u00DF\u010C\u017D\u0151\u00E7\u00BF\u00A1\u0142")) {
        const CellCode code = encodeCharacter(letter, set);
        letters.placed += code.isPlaced() && code.fit == CellCode::Fit::Exact ? std::u32string(1, letter) : U"";
    }
    return letters;
}

/// A cue, and how it is to be seen.
struct Made {
    Cue cue;
    SeenPage seen;
    std::uint64_t start = 0;
    std::uint64_t end = 0;
};

/// A row of words; a colour that changes does so between them.
std::vector<std::pair<std::u32string, Color>> anyWords(Random& random, const Letters& letters, bool isRightToLeft) {
    std::vector<std::pair<std::u32string, Color>> words;
    Color color = qlx::screen::kBasicColors[1 + below(random, 7)];
    std::size_t room = 2 + below(random, 36);  // and a space behind each word: at most 36 columns
    while (room > 1) {
        std::u32string word;
        for (std::size_t size = 1 + below(random, std::min<std::size_t>(room - 1, 9)); size > 0; --size) {
            const bool isPlaced = !letters.placed.empty() && below(random, 12) == 0;
            const std::u32string& from = isPlaced ? letters.placed : letters.own;
            word += from[below(random, from.size())];
        }
        room -= std::min(room, word.size() + 1);
        words.emplace_back(std::move(word), color);
        if (!isRightToLeft && below(random, 4) == 0) {
            color = qlx::screen::kBasicColors[1 + below(random, 7)];
        }
    }
    return words;
}

/// @param frame It starts then.
Made fittingCue(Random& random, std::uint8_t designation, const Letters& letters, std::uint64_t frame) {
    const bool isRightToLeft = characterSetOf(designation)->isRightToLeft();
    Made made;
    made.start = frame;
    made.end = frame + 2 + below(random, 20);
    // A header stands in front of the end when something touches it.
    made.cue.start = MediaTime::make(static_cast<std::int64_t>(made.start), kFrames);
    made.cue.end = MediaTime::make(static_cast<std::int64_t>(made.end), kFrames);
    const std::size_t rows = 1 + below(random, 3);
    const std::size_t last = below(random, 3) == 0 ? rows + below(random, 12 - rows) : 0;
    // Or on rows of the page, odd and even ones, each two below the one in front of it or more.
    const bool isNamed = last == 0 && below(random, 2) == 0;
    made.cue.screenRows = isNamed ? 23 : 0;
    std::size_t named = 1 + below(random, 23 - 2 * rows);
    for (std::size_t index = 0; index < rows; ++index) {
        qlx::subtitles::Row row;
        row.number = isNamed ? named : last == 0 ? 0 : last - (rows - 1 - index);
        const std::size_t alignment = below(random, 3);
        row.alignment = alignment == 0 ? Alignment::Left : alignment == 1 ? Alignment::Center : Alignment::Right;
        SeenRow seen;
        const auto words = anyWords(random, letters, isRightToLeft);
        // What is behind them, and flashing, begins with the row; black is all that one space has room for.
        std::size_t length = words.size() - 1;
        for (const auto& [word, color] : words) {
            length += word.size();
        }
        Look look{.color = words.front().second};
        const bool isShort = length <= 40 - 7;
        look.background = isShort && below(random, 4) == 0 ? qlx::screen::kBasicColors[below(random, 8)] : Color::Black;
        look.background = look.background == look.color ? Color::Black : look.background;
        look.isFlashing = isShort && below(random, 4) == 0;
        const Look first = look;
        for (const auto& [word, color] : words) {
            const bool isSame = color == look.color;
            look.color = color;
            if (isSame && !isRightToLeft && !seen.looks.empty() && below(random, 6) == 0) {
                look.isFlashing = !look.isFlashing;
            } else if ((isSame && !isRightToLeft && !seen.looks.empty() && below(random, 6) == 0) ||
                       look.background == color) {
                // A colour that was behind the letters comes with black in two codes: not here.
                look.background = isSame ? Color::Black : look.background;
                look.color = isSame ? color : seen.looks.back().color;
            }
            std::string text = row.runs.empty() ? "" : " ";
            seen.text += row.runs.empty() ? U"" : U" ";
            for (const char32_t letter : word) {
                qlx::appendUtf8(text, letter);
                seen.text += letter;
                seen.looks.push_back(look);
            }
            row.runs.push_back({std::move(text), {}});
            row.runs.back().style.foreground = look.color;
            row.runs.back().style.isFlashing = look.isFlashing;
            if (look.background != Color::Black) {
                row.runs.back().style.background = look.background;
            }
        }
        const std::size_t size = seen.text.size();
        // Two codes of the box and one of the height; then those of the looks.
        const bool isBehind = first.background != Color::Black;
        const bool isOther = first.color != (isBehind ? first.background : Color::White);
        const std::size_t lead = 3U + (isBehind ? first.background == Color::White ? 1U : 2U : 0U) +
                                 (isOther ? 1U : 0U) + (first.isFlashing ? 1U : 0U);
        const std::size_t wanted = alignment == 0 ? 4 : alignment == 1 ? (40 - size) / 2 : 38 - size;
        seen.column = std::max(wanted, lead);
        seen.firstVisible = seen.column - 1;
        seen.lastVisible = std::min<std::size_t>(seen.column + size, 39);
        const std::size_t place = last == 0 ? 22 - 2 * (rows - 1 - index) : 2 * static_cast<std::size_t>(row.number);
        made.seen[isNamed ? named : place] = std::move(seen);
        named += 2 + below(random, std::max<std::size_t>(1, 23 - named - 2 * (rows - 1 - index)));
        made.cue.rows.push_back(std::move(row));
    }
    return made;
}

struct PlayedPage {
    std::uint16_t number = 0x888;
    std::uint8_t designation = 0;
    std::vector<Made> cues;
};

/// Plays pages at once and looks at each in the frames between its cues' starts and ends.
void expectPages(const std::vector<PlayedPage>& pages, const TeletextPlayoutOptions& options = {}) {
    TeletextPlayout playout(FrameRate::Fps25, options);
    qlx::Findings findings;
    std::vector<PageReader> readers;
    std::vector<std::size_t> next(pages.size(), 0);
    for (const PlayedPage& page : pages) {
        readers.emplace_back(page.number, options.region);
        for (const Made& made : page.cues) {
            ASSERT_TRUE(playout.add(made.cue, {.page = page.number, .designation = page.designation}, &findings));
        }
    }
    std::size_t seen = 0;
    while (!playout.isDone()) {
        const std::uint64_t frame = playout.frame();
        for (const qlx::anc::Packet& packet : playout.next(&findings)) {
            const auto sdp = parseSdp(packet.userData, &findings);
            ASSERT_TRUE(sdp);
            for (PageReader& reader : readers) {
                (void)reader.receive(*sdp, &findings);
            }
        }
        for (std::size_t index = 0; index < pages.size(); ++index) {
            const std::vector<Made>& cues = pages[index].cues;
            if (next[index] < cues.size() && frame == cues[next[index]].start) {
                ASSERT_TRUE(seenOf(readers[index]) == cues[next[index]].seen)
                    << pageName(pages[index].number) << ", cue " << next[index];
                ++seen;
            } else if (next[index] < cues.size() && frame == cues[next[index]].end) {
                const bool isTouched =
                    next[index] + 1 < cues.size() && cues[next[index] + 1].start == cues[next[index]].end;
                ++next[index];
                ASSERT_TRUE(seenOf(readers[index]) == (isTouched ? cues[next[index]].seen : SeenPage())) << frame;
                seen += isTouched ? 1 : 0;
            }
        }
    }
    std::size_t count = 0;
    for (const PlayedPage& page : pages) {
        count += page.cues.size();
    }
    EXPECT_EQ(seen, count);
    ASSERT_TRUE(findings.empty()) << findings[0].offset << ": " << findings[0].text();
}

PlayedPage playedPage(Random& random, std::uint16_t number, std::uint8_t designation, std::size_t cues,
                      std::uint64_t first, std::uint64_t gap) {
    PlayedPage page{number, designation, {}};
    const Letters letters = lettersOf(designation);
    std::uint64_t frame = first;
    for (std::size_t count = 0; count < cues; ++count) {
        page.cues.push_back(fittingCue(random, designation, letters, frame));
        // Some touch.
        frame = page.cues.back().end + (gap == 0 && below(random, 3) == 0 ? 0 : 1 + gap + below(random, 10));
    }
    return page;
}

TEST(TeletextCues, ComeBackWhenTheyFit) {
    Random random(21);
    for (const std::uint8_t designation : kSets) {
        expectPages({playedPage(random, 0x888, designation, kCues / std::size(kSets) + 1, 2, 0)});
    }
}

/// Pages of one magazine, which are sent one behind the other: the cues of each stand where the others have none.
std::vector<PlayedPage> pagesInTurn(Random& random, const std::vector<std::uint16_t>& numbers, std::size_t cues) {
    std::vector<PlayedPage> pages;
    std::vector<Letters> letters;
    for (const std::uint16_t number : numbers) {
        pages.push_back({number, kSets[4 * pages.size() + 1], {}});
        letters.push_back(lettersOf(pages.back().designation));
    }
    std::uint64_t frame = 2;
    for (std::size_t count = 0; count < cues; ++count) {
        const std::size_t index = count % pages.size();
        pages[index].cues.push_back(fittingCue(random, pages[index].designation, letters[index], frame));
        frame = pages[index].cues.back().end + 3;
    }
    return pages;
}

/// Pages of magazines of their own, which are sent at once.
std::vector<PlayedPage> pagesAtOnce(Random& random, const std::vector<std::uint16_t>& numbers, std::size_t cues) {
    std::vector<PlayedPage> pages;
    for (const std::uint16_t number : numbers) {
        const std::uint8_t designation = kSets[4 * pages.size() + 1];
        pages.push_back(playedPage(random, number, designation, cues / numbers.size(), 2, 0));
    }
    return pages;
}

TEST(TeletextCues, ComeBackFromPagesOfDifferentMagazinesAtOnce) {
    Random random(22);
    expectPages(pagesAtOnce(random, {0x101, 0x888}, kCues), {.sdps = 3});
    expectPages(pagesAtOnce(random, {0x101, 0x301, 0x501, 0x701}, kCues), {.sdps = 3});
}

TEST(TeletextCues, ComeBackFromPagesOfOneMagazineInTurn) {
    Random random(24);
    expectPages(pagesInTurn(random, {0x801, 0x888}, kCues));
    expectPages(pagesInTurn(random, {0x801, 0x802, 0x850, 0x888}, kCues), {.isSerial = true});
}

}  // namespace teletext_cue_test
