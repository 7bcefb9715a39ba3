// Texts of every language, and random ones, as teletext pages in transport streams and back.
#include "Sanitized.h"
#include "TransportTexts.h"

#include <qlx/base/frame_rate.h>
#include <qlx/streams/ts/vbi_reader.h>
#include <qlx/teletext/page.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace transport_text_test {

using namespace qlx::teletext;
using qlx::Findings;
using qlx::FrameRate;
using qlx::screen::Cell;
using qlx::screen::Screen;
using qlxtest::LanguageLetters;

/// What the page shows from the frame of each text on.
std::vector<Screen> screensOf(const std::vector<std::uint8_t>& stream, const std::vector<PageText>& texts,
                              FrameRate rate, std::vector<CharacterSet>& sets, Findings& findings) {
    qlx::streams::ts::VbiReader reader({}, &findings);
    const std::int64_t duration = qlx::frameDuration(rate).value * 90'000 / qlx::frameDuration(rate).timescale;
    PageReader page;
    std::vector<Screen> screens;
    reader.push(stream);
    reader.finish();
    while (const auto* const moment = reader.next()) {
        (void)page.receive(std::span(moment->vbi.teletext), &findings);
        // The text is whole in the frame of its start.
        if (screens.size() < texts.size() &&
            moment->time90k == static_cast<std::int64_t>(texts[screens.size()].start) * duration) {
            screens.push_back(page.screen());
            sets.push_back(page.characterSet());
        }
    }
    return screens;
}

std::u32string trimmed(std::u32string text) {
    const auto isText = [](char32_t character) { return character != U' '; };
    text.erase(std::find_if(text.rbegin(), text.rend(), isText).base(), text.end());
    text.erase(text.begin(), std::find_if(text.begin(), text.end(), isText));
    return text;
}

TEST(TransportTexts, ComeBackInEveryLanguage) {
    std::set<NationalOption> options;
    std::set<G0Set> sets;
    std::size_t languages = 0;
    for (const LanguageLetters& language : qlxtest::languageLetters()) {
        const std::uint8_t designation = *designationOf(language.language);
        const auto texts = qlxtest::textsOfRows(language.rows, designation);
        Findings findings;
        const auto stream =
            qlxtest::streamOfTexts(texts, {.rate = FrameRate::Fps25, .bitrate = 300'000}, 15, &findings);
        std::vector<CharacterSet> shownWith;
        const auto screens = screensOf(stream, texts, FrameRate::Fps25, shownWith, findings);
        ASSERT_EQ(screens.size(), texts.size()) << language.language;
        EXPECT_TRUE(findings.empty()) << language.language << ": " << findings[0].text();
        for (std::size_t index = 0; index < screens.size(); ++index) {
            EXPECT_EQ(shownWith[index], *characterSetOf(designation)) << language.language;
            std::u32string read;
            for (const Cell& cell : readingOrder(screens[index].row(22), shownWith[index])) {
                read += cell.isVisible ? cell.character : U' ';
            }
            EXPECT_TRUE(trimmed(read) == language.rows[index]) << language.language << ", row " << index;
        }
        const CharacterSet set = *characterSetOf(designation);
        sets.insert(set.g0);
        if (set.g0 == G0Set::Latin) {
            options.insert(set.option);
        }
        ++languages;
    }
    EXPECT_GE(languages, 29U);
    EXPECT_EQ(options.size(), kNationalOptions);
    EXPECT_EQ(sets, (std::set<G0Set>{G0Set::Latin, G0Set::Cyrillic1, G0Set::Cyrillic2, G0Set::Cyrillic3, G0Set::Greek,
                                     G0Set::Arabic, G0Set::Hebrew}));
}

/// Text, rows, colours and boxes of 10,000 pages.
TEST(TransportTexts, ComeBackWhateverTheySay) {
    constexpr std::size_t kPages = qlxtest::countFor(10'000U, 200U);
    std::vector<LanguageLetters> languages = qlxtest::languageLetters();
    std::erase_if(languages, [](const LanguageLetters& language) {
        return characterSetOf(*designationOf(language.language))->isRightToLeft();
    });
    std::mt19937 random(31);
    std::size_t seen = 0;
    for (std::size_t index = 0; index < languages.size(); ++index) {
        const FrameRate rate = index % 2 == 0 ? FrameRate::Fps25 : FrameRate::Fps50;
        const std::uint8_t designation = *designationOf(languages[index].language);
        const auto texts = qlxtest::randomTexts(random, languages[index], designation, kPages / languages.size() + 1);
        Findings findings;
        const auto stream = qlxtest::streamOfTexts(texts, {.rate = rate, .bitrate = 400'000}, 15, &findings);
        std::vector<CharacterSet> sets;
        const auto screens = screensOf(stream, texts, rate, sets, findings);
        ASSERT_TRUE(findings.empty()) << languages[index].language << ": " << findings[0].text();
        ASSERT_EQ(screens.size(), texts.size());
        for (std::size_t text = 0; text < texts.size(); ++text, ++seen) {
            std::size_t expected = 0;
            for (const PageRow& row : texts[text].rows) {
                const auto cells = screens[text].row(row.row);
                for (std::size_t column = 0; column < row.cells.size(); ++column) {
                    const Cell& cell = cells[row.column + column];
                    const bool isBlank = row.cells[column].character == U' ';
                    ASSERT_TRUE(cell.isVisible && cell.character == row.cells[column].character &&
                                (isBlank || cell.foreground == row.cells[column].foreground))
                        << languages[index].language << ", page " << text << ", column " << column;
                }
                expected += row.cells.size();
                ASSERT_FALSE(cells[row.column - 2U].isVisible);
                ASSERT_TRUE(row.column + row.cells.size() + 1 >= cells.size() ||
                            !cells[row.column + row.cells.size() + 1].isVisible);
            }
            // Nothing else has letters: rows of double height are there twice.
            std::size_t letters = 0;
            for (std::size_t row = 0; row < screens[text].rows(); ++row) {
                const auto cells = screens[text].row(row);
                letters += static_cast<std::size_t>(std::count_if(cells.begin(), cells.end(), [](const Cell& cell) {
                    return cell.isVisible && cell.part != qlx::screen::CellPart::LowerHalf && cell.character != U' ';
                }));
            }
            ASSERT_LE(letters, expected);
        }
    }
    EXPECT_GE(seen, kPages);
}

}  // namespace transport_text_test
