// Captions and texts of all channels as the writer sends them, read by a decoder that is not from here: libzvbi.
//
// It is not asked for what it cannot judge: extended sets, which it does not have, background codes, and italics of
// another colour than white. Its Flash On takes no column, as a spacing attribute does (47 CFR 79.101 (h)): it gets a space
// behind each. In field 2 it takes both of a code that is sent twice: those are sent once here, and no
// special character stands beside its like, which must be sent twice in any case.
#include <gtest/gtest.h>

#ifdef QLX_HAVE_LIBZVBI

#include "CaptionRows.h"
#include "DemoCues.h"

#include <qlx/base/utf8.h>
#include <qlx/cea608/writer.h>
#include <qlx/playout/captions.h>

#include <libzvbi.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace qlx::cea608;
using qlx::screen::Cell;
using qlx::screen::Color;

struct DeleteDecoder {
    void operator()(vbi_decoder* decoder) const { vbi_decoder_delete(decoder); }
};

/// The colours of both are in one order. A line a row: what is read, and behind it the colour and style of each letter.
std::string lineOf(std::size_t row, const std::vector<Cell>& cells, std::size_t column) {
    std::string text;
    std::string styles;
    for (const Cell& cell : cells) {
        qlx::appendUtf8(text, cell.hasText() ? cell.character : U' ');
        styles += cell.hasText() ? static_cast<char>('0' + qlx::screen::basicIndex(cell.foreground)) : ' ';
        styles += !cell.hasText() ? "" : cell.isItalic ? "i" : "";
        styles += !cell.hasText() ? "" : cell.isUnderlined ? "u" : "";
        styles += !cell.hasText() ? "" : cell.isFlashing ? "f" : "";
    }
    const std::size_t end = text.find_last_not_of(' ');
    if (end == std::string::npos) {
        return {};
    }
    return std::to_string(row) + ": " + std::string(column, ' ') + text.substr(0, end + 1) + " | " +
           std::string(column, ' ') + styles.substr(0, styles.find_last_not_of(' ') + 1) + "\n";
}

std::string linesOf(const Caption& caption) {
    std::string lines;
    for (const CaptionRow& row : caption.rows) {
        lines += lineOf(row.row, row.cells, row.column);
    }
    return lines;
}

class Judge {
public:
    explicit Judge(Channel channel) : _channel(channel) {}

    void take(const FramePairs& pairs) {
        decode(pairs);
        const std::optional<Pair>& sent = _channel.field == 1 ? pairs.field1 : pairs.field2;
        if (sent && isFlashOn(*sent) && (_channel.field == 2 || ++_flashes % 2 == 0)) {
            FramePairs space;
            (_channel.field == 1 ? space.field1 : space.field2) = kSpace;
            decode(space);
        }
    }

    [[nodiscard]] std::string lines() {
        vbi_page page{};
        const int number = (_channel.isText ? 4 : 0) + (_channel.field - 1) * 2 + _channel.channel;
        if (!vbi_fetch_cc_page(_decoder.get(), &page, number, TRUE)) {
            return "no page\n";
        }
        std::string lines;
        for (int row = 0; row < page.rows; ++row) {
            std::vector<Cell> cells;
            for (int column = 1; column < page.columns; ++column) {
                const vbi_char& from = page.text[row * page.columns + column];
                Cell cell;
                cell.isVisible = from.opacity != VBI_TRANSPARENT_SPACE && from.unicode > 0x20;
                cell.character = from.unicode;
                cell.foreground = qlx::screen::kBasicColors[from.foreground & 7U];
                cell.isItalic = from.italic != 0;
                cell.isUnderlined = from.underline != 0;
                cell.isFlashing = from.flash != 0;
                cells.push_back(cell);
            }
            lines += lineOf(static_cast<std::size_t>(row) + 1, cells, 0);
        }
        return lines;
    }

private:
    static constexpr Pair kSpace{0x20, 0x80};

    static bool isFlashOn(const Pair& pair) {
        const Code code = codeOf(pair.first, pair.second);
        return code.kind == CodeKind::Control && code.control == Control::FlashOn;
    }

    void decode(const FramePairs& pairs) {
        std::array<vbi_sliced, 2> sliced{};
        int count = 0;
        const auto add = [&](const Pair& pair, std::uint32_t service, std::uint32_t line) {
            vbi_sliced& one = sliced[static_cast<std::size_t>(count++)];
            one.id = service;
            one.line = line;
            one.data[0] = pair.first;
            one.data[1] = pair.second;
        };
        // A field of which a frame has no pair is passed over. Times are those of 29.97 at any rate: others are no line 21.
        if (pairs.field1) {
            add(*pairs.field1, VBI_SLICED_CAPTION_525_F1, 21);
        }
        if (pairs.field2) {
            add(*pairs.field2, VBI_SLICED_CAPTION_525_F2, 284);
        }
        vbi_decode(_decoder.get(), sliced.data(), count, static_cast<double>(_frame++) * 1001 / 30000);
    }

    Channel _channel;
    std::unique_ptr<vbi_decoder, DeleteDecoder> _decoder{vbi_decoder_new()};
    std::uint64_t _frame = 0;
    std::uint64_t _flashes = 0;  ///< Codes of field 1, which are there twice each.
};

using Random = std::mt19937;

std::vector<Cell> textOf(Random& random, std::size_t column) {
    constexpr std::u32string_view kLetters = U"ABCXYZabcxyz0189.,!?áéíóúçÑñ®°½¿¢£♪àèâêîôû";
    std::vector<Cell> cells;
    Cell look{.isVisible = true};
    while (column + cells.size() < kColumns && random() % 8 != 0) {
        if (random() % 3 == 0) {
            look.foreground = qlx::screen::kBasicColors[1 + random() % 7];
            look.isItalic = look.foreground == Color::White && random() % 2 != 0;
            look.isUnderlined = random() % 4 == 0;
            look.isFlashing = random() % 4 == 0;
        }
        // A change of style has a space, the two codes that lead to white italics have two, and flashing has one more.
        const std::size_t spaces = cells.empty() && column <= 3 ? 0 : 3;
        look.isFlashing = look.isFlashing && spaces > 0;
        const std::size_t length = spaces + 1 + random() % 5;
        for (std::size_t index = 0; index < length; ++index) {
            const char32_t letter = kLetters[random() % kLetters.size()];
            const bool isBesideItsLike = !cells.empty() && cells.back().character == letter;
            look.character = index < spaces ? U' ' : isBesideItsLike ? U'x' : letter;
            if (column + cells.size() < kColumns) {
                cells.push_back(look);
            }
        }
    }
    return cells;
}

Caption captionOf(Random& random, Channel channel, std::uint64_t start) {
    Caption caption{.start = start, .end = start + 30, .channel = channel};
    for (std::size_t row = 1 + random() % 9; row <= kRows && caption.rows.size() < 4; row += 1 + random() % 5) {
        const std::size_t column = random() % 28;
        std::vector<Cell> cells = textOf(random, column);
        if (!cells.empty()) {
            caption.rows.push_back({static_cast<std::uint8_t>(row), static_cast<std::uint8_t>(column), cells});
        }
    }
    if (caption.rows.empty()) {
        caption.rows.push_back({15, 0, qlxtest::cellsOf(U"x")});
    }
    return caption;
}

/// Plays captions that fit and compares what is shown in front of each start, from there on, and behind each end.
void expectCaptionsToBeRead(Channel channel) {
    constexpr std::uint64_t kPeriod = 600;
    constexpr std::size_t kCount = 60;
    Random random(channel.field * 10U + channel.channel);
    Writer writer(qlx::FrameRate::Fps2997, {.doublesCodes = channel.field == 1});
    Judge judge(channel);
    qlx::Findings findings;
    for (std::size_t index = 1; index <= kCount; ++index) {
        const Caption caption = captionOf(random, channel, index * kPeriod);
        ASSERT_TRUE(writer.add(caption, &findings));
        while (writer.frame() <= caption.end) {
            const std::uint64_t frame = writer.frame();
            judge.take(writer.next(&findings));
            if (frame + 1 == caption.start || frame == caption.end) {
                ASSERT_EQ(judge.lines(), "") << "caption " << index;
            } else if (frame == caption.start || frame + 1 == caption.end) {
                ASSERT_EQ(judge.lines(), linesOf(caption)) << "caption " << index;
            }
        }
    }
    EXPECT_TRUE(findings.empty()) << findings[0].text();
}

/// Texts of up to 14 rows, each for a decoder that has seen nothing yet, as TR does not empty the box of this one. A last
/// row that is blank brings a CR, as words are shown there when something ends them. No other is, as two CR side by side
/// are sent twice each.
void expectTextsToBeRead(Channel channel) {
    Random random(channel.field * 20U + channel.channel);
    Writer writer(qlx::FrameRate::Fps2997, {.doublesCodes = channel.field == 1});
    qlx::Findings findings;
    for (std::size_t count = 1; count < kRows; ++count) {
        Judge judge(channel);
        TextMessage text{.start = writer.frame(), .channel = channel, .rows = {}};
        std::string lines;
        while (text.rows.size() < count) {
            const std::size_t column = random() % 28;
            text.rows.push_back({1, static_cast<std::uint8_t>(column), textOf(random, column)});
            if (text.rows.back().cells.empty()) {
                text.rows.back().cells = qlxtest::cellsOf(U"x");
            }
            lines += lineOf(text.rows.size(), text.rows.back().cells, column);
        }
        text.rows.push_back({});
        writer.addText(text, &findings);
        while (!writer.isDone()) {
            judge.take(writer.next(&findings));
        }
        ASSERT_EQ(judge.lines(), lines) << "text " << count;
    }
    EXPECT_TRUE(findings.empty()) << findings[0].text();
}

/// Without the extended sets: the letters that stand in front of theirs.
std::string plainLinesOf(Caption caption) {
    constexpr std::u32string_view kLetters = U"\u00EBe\u00EFi\u00F9u\u00C0A\u00C9E\u00C7C\u00CAE";
    for (CaptionRow& row : caption.rows) {
        for (Cell& cell : row.cells) {
            for (std::size_t index = 0; index < kLetters.size(); index += 2) {
                cell.character = cell.character == kLetters[index] ? kLetters[index + 1] : cell.character;
            }
        }
    }
    return linesOf(caption);
}

/// All 46 cues, in the first frame of their field in which each is due and in the last one in front of its end.
void expectDemoToBeRead(Channel channel, qlx::FrameRate rate) {
    const auto cues = qlxtest::demoCues();
    ASSERT_EQ(cues.size(), 46U);
    Writer writer(rate, {.doublesCodes = channel.field == 1});
    Judge judge(channel);
    std::vector<Caption> captions;
    for (const qlx::subtitles::Cue& cue : cues) {
        const auto caption = qlx::playout::captionOf(cue, rate, {.channel = channel});
        ASSERT_TRUE(caption);
        ASSERT_TRUE(writer.add(*caption));
        captions.push_back(*caption);
    }
    const bool alternates = qlx::nominalFramesPerSecond(rate) > 30;
    for (std::size_t index = 0; index < captions.size(); ++index) {
        const bool isLast = index + 1 == captions.size();
        const std::uint64_t start = captions[index].start;
        const std::uint64_t due = start + (alternates && start % 2 != channel.field - 1U ? 1 : 0);
        const std::uint64_t end =
            isLast ? captions[index].end : std::min(captions[index].end, captions[index + 1].start);
        while (writer.frame() < end) {
            const std::uint64_t frame = writer.frame();
            judge.take(writer.next());
            if (frame == due || frame + 1 == end) {
                ASSERT_EQ(judge.lines(), plainLinesOf(captions[index])) << "cue " << index + 1;
            }
        }
    }
}

}  // namespace

TEST(VbiCaptions, OfTheDemonstrationAreRead) {
    for (const Channel channel : kChannels) {
        SCOPED_TRACE(nameOf(channel));
        for (const qlx::FrameRate rate : qlx::kFrameRates) {
            SCOPED_TRACE(static_cast<int>(rate));
            expectDemoToBeRead(channel, rate);
        }
    }
}

TEST(VbiCaptions, OfTextsAreRead) {
    for (const Channel channel : kTextChannels) {
        SCOPED_TRACE(nameOf(channel));
        expectTextsToBeRead(channel);
    }
}

TEST(VbiCaptions, OfChannel1AreRead) {
    expectCaptionsToBeRead(kCC1);
}

TEST(VbiCaptions, OfChannel2AreRead) {
    expectCaptionsToBeRead(kCC2);
}

TEST(VbiCaptions, OfChannel3AreRead) {
    expectCaptionsToBeRead(kCC3);
}

TEST(VbiCaptions, OfChannel4AreRead) {
    expectCaptionsToBeRead(kCC4);
}

#else

TEST(VbiCaptions, AreRead) {
    GTEST_SKIP() << "libzvbi is missing: install libzvbi-dev and configure again";
}

#endif
