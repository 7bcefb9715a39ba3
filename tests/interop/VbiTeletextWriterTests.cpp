// Pages of the writer, decoded by libzvbi: rows, columns, colours and letters of level 1.5, in the frames that they are
// due in.
#include <gtest/gtest.h>

#ifndef QLX_HAVE_LIBZVBI

TEST(VbiTeletextWriter, NeedsLibzvbi) {
    GTEST_SKIP() << "libzvbi was not found when the tests were configured: the package is libzvbi-dev";
}

#else

#include "VbiLetters.h"

#include <qlx/teletext/page_text.h>
#include <qlx/teletext/row_encoder.h>
#include <qlx/teletext/sets.h>
#include <qlx/teletext/writer.h>

#include <libzvbi.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace writer_test {

using namespace qlx::teletext;

/// What is to be seen of a page from a frame on: rows as `22 4 7 ` (row, column, colour), their letters, and behind a bar
/// of each letter the colour behind it and whether it flashes.
struct Shown {
    std::uint64_t frame = 0;
    std::vector<std::u32string> rows;

    friend bool operator==(const Shown&, const Shown&) = default;
};

std::u32string placeOf(int row, int column, int color) {
    std::u32string place;
    for (const int number : {row, column, color}) {
        for (const char digit : std::to_string(number)) {
            place += static_cast<char32_t>(digit);
        }
        place += U' ';
    }
    return place;
}

std::u32string styleOf(int background, bool isFlashing) {
    return {U'0' + static_cast<char32_t>(background), isFlashing ? U'f' : U' '};
}

class VbiPages {
public:
    explicit VbiPages(int page) : _decoder(vbi_decoder_new()), _page(page) {
        vbi_teletext_set_default_region(_decoder.get(), 0);
        vbi_event_handler_register(_decoder.get(), VBI_EVENT_TTX_PAGE, &VbiPages::handle, this);
    }

    /// The fields of one frame. libzvbi takes a frame at a time: a call whose time is not 1/30 to 1/25 second after that
    /// of the call before is a lost frame to it, and some forty frames later it forgets the page that is being sent.
    void take(const FieldPackets& first, const FieldPackets& second) {
        ASSERT_TRUE(first.isOdd && !second.isOdd && first.frame == second.frame);
        std::vector<vbi_sliced> lines;
        for (const FieldPackets* const field : {&first, &second}) {
            std::uint32_t number = field->isOdd ? 7 : 320;
            for (const Packet& packet : field->packets) {
                vbi_sliced line{};
                line.id = VBI_SLICED_TELETEXT_B;
                line.line = number++;
                const auto bytes = writePacket(packet, PacketForm::Address);
                std::copy(bytes->begin(), bytes->end(), line.data);
                lines.push_back(line);
            }
        }
        _frame = first.frame;
        vbi_decode(_decoder.get(), lines.data(), static_cast<int>(lines.size()), static_cast<double>(_frame) / 25);
    }

    [[nodiscard]] const std::vector<Shown>& pages() const { return _pages; }

private:
    static void handle(vbi_event* event, void* self) {
        auto* const pages = static_cast<VbiPages*>(self);
        if (event->type == VBI_EVENT_TTX_PAGE && event->ev.ttx_page.pgno == pages->_page) {
            pages->fetch();
        }
    }

    void fetch() {
        vbi_page page;
        ASSERT_TRUE(vbi_fetch_vt_page(_decoder.get(), &page, _page, VBI_ANY_SUBNO, VBI_WST_LEVEL_1p5, 25, FALSE));
        Shown shown{_frame, {}};
        for (int row = 1; row < page.rows; ++row) {
            std::u32string text;
            std::u32string styles = U"|";
            std::size_t end = 0;
            for (int column = 0; column < page.columns; ++column) {
                const vbi_char& cell = page.text[row * page.columns + column];
                const bool isText = cell.opacity != VBI_TRANSPARENT_SPACE && cell.size != VBI_DOUBLE_SIZE2 &&
                                    cell.size != VBI_DOUBLE_HEIGHT2 && cell.unicode != U' ';
                if (text.empty() && isText) {
                    text = placeOf(row, column, cell.foreground);
                }
                if (isText) {
                    styles += styleOf(cell.background, cell.flash != 0);
                }
                if (!text.empty()) {
                    text += cell.opacity == VBI_TRANSPARENT_SPACE ? U' ' : static_cast<char32_t>(cell.unicode);
                    end = isText ? text.size() : end;
                }
            }
            text.resize(end);
            if (!text.empty()) {
                shown.rows.push_back(text + styles);
            }
        }
        _pages.push_back(std::move(shown));
        vbi_unref_page(&page);
    }

    struct Delete {
        void operator()(vbi_decoder* decoder) const { vbi_decoder_delete(decoder); }
    };
    std::unique_ptr<vbi_decoder, Delete> _decoder;
    int _page;
    std::uint64_t _frame = 0;
    std::vector<Shown> _pages;
};

/// Letters that rows and X/26 have in a set.
std::u32string lettersOf(std::uint8_t designation) {
    const CharacterSet set = *characterSetOf(designation);
    std::u32string letters;
    for (const char32_t letter : g0Characters(set).first<kSetCharacters - 1>()) {
        letters += letter > U' ' ? std::u32string(1, letter) : std::u32string();
    }
    for (const char32_t letter : std::u32string_view(U"\u00C0\u00C9\u00D1\u00D5\u010D\u017D\u0151\u00E7\u00BF")) {
        letters += encodeCharacter(letter, set).fit == CellCode::Fit::Exact ? std::u32string(1, letter) : U"";
    }
    return letters;
}

TEST(VbiTeletextWriter, ShowsTexts) {
    std::mt19937 random(5);
    const auto below = [&random](std::size_t count) { return static_cast<std::size_t>(random()) % count; };
    constexpr std::uint8_t kDesignationsSent[] = {0, 1, 2, 3, 4, 5, 6, 0x08, 0x1D, 0x1F, 0x24, 0x37};
    for (const std::uint8_t designation : kDesignationsSent) {
        const std::u32string letters = lettersOf(designation);
        const qlxtest::DrawnLetters drawn = qlxtest::drawnLetters(*characterSetOf(designation));
        Writer writer(qlx::FrameRate::Fps25);
        qlx::Findings findings;
        std::vector<Shown> expected;
        std::uint64_t start = 5;
        for (int number = 0; number < 20; ++number) {
            PageText text{.page = 0x777, .start = start, .end = start + 4, .designation = designation};
            Shown shown{start, {}};
            for (std::uint8_t row = 18; row <= 22; row = static_cast<std::uint8_t>(row + 2)) {
                // Behind three codes of the box and up to four of the look.
                PageRow line{.row = row, .column = static_cast<std::uint8_t>(7 + below(10))};
                const std::size_t color = 1 + below(7);
                const std::size_t background = below(2) == 0 ? 0 : (color + 1 + below(7)) % 8;
                bool isFlashing = below(3) == 0;
                std::u32string styles = U"|";
                std::u32string words;
                for (std::size_t size = 2 + below(6); size > 0; --size) {
                    words += letters[below(letters.size())];
                }
                words.insert(1, U" ");
                for (const char32_t letter : words) {
                    line.cells.push_back({.character = letter,
                                          .foreground = qlx::screen::kBasicColors[color],
                                          .background = qlx::screen::kBasicColors[background],
                                          .isVisible = true,
                                          .isFlashing = isFlashing});
                    // It ends or begins between words.
                    isFlashing = letter == U' ' && below(2) == 0 ? !isFlashing : isFlashing;
                    styles += letter == U' ' ? U"" : styleOf(static_cast<int>(background), isFlashing);
                }
                qlxtest::drawLetters(words, drawn);
                shown.rows.push_back(placeOf(row, line.column, static_cast<int>(color)) + words + styles);
                text.rows.push_back(std::move(line));
            }
            ASSERT_TRUE(writer.add(text, &findings));
            expected.push_back(std::move(shown));
            start = text.end + below(2) * 3;
            if (start > text.end) {
                expected.push_back({text.end, {}});
            }
        }
        VbiPages pages(0x777);
        while (!writer.isDone()) {
            const FieldPackets first = writer.next(&findings);
            pages.take(first, writer.next(&findings));
        }
        if (!expected.back().rows.empty()) {
            expected.push_back({start, {}});
        }
        EXPECT_EQ(findings.size(), 0U) << findings[0].text();
        ASSERT_EQ(pages.pages().size(), expected.size()) << "designation " << int{designation};
        for (std::size_t index = 0; index < expected.size(); ++index) {
            EXPECT_EQ(pages.pages()[index].frame, expected[index].frame);
            EXPECT_TRUE(pages.pages()[index].rows == expected[index].rows)
                << "designation " << int{designation} << ", page " << index;
        }
    }
}

}  // namespace writer_test

#endif
