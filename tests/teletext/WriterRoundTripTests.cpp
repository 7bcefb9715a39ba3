// Random texts of pages as packets in subtitling distribution packets, and what receivers show of them.
#include "Sanitized.h"

#include <qlx/teletext/page.h>
#include <qlx/teletext/row_encoder.h>
#include <qlx/teletext/sdp_stream.h>
#include <qlx/teletext/sets.h>
#include <qlx/teletext/writer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qlx::teletext;
using qlx::FindingCode;
using qlx::FrameRate;
using qlx::screen::Cell;
using qlx::screen::CellPart;
using qlx::screen::Color;

using Random = std::mt19937;

constexpr std::size_t kMany = qlxtest::kIsSanitized ? 200 : 2000;
constexpr int kAnyRows = qlxtest::kIsSanitized ? 1000 : 10'000;

std::uint32_t below(Random& random, std::uint32_t count) {
    return static_cast<std::uint32_t>(random() % count);
}

constexpr std::array<Color, 7> kLetterColors{Color::Red,     Color::Green, Color::Yellow, Color::Blue,
                                             Color::Magenta, Color::Cyan,  Color::White};

/// What is compared of a cell; of a blank one whether it is in a box.
struct Seen {
    char32_t character = U' ';
    Color color = Color::White;
    CellPart part = CellPart::Whole;
    bool isBoxed = false;
    Color background = Color::Black;
    bool isFlashing = false;

    friend bool operator==(const Seen&, const Seen&) = default;
};
using SeenRow = std::array<Seen, kDataBytes>;
using SeenPage = std::map<std::size_t, SeenRow>;

SeenPage seenOf(const qlx::screen::Screen& screen) {
    SeenPage page;
    for (std::size_t row = 0; row < screen.rows(); ++row) {
        SeenRow seen;
        bool isVisible = false;
        for (std::size_t column = 0; column < kDataBytes; ++column) {
            const Cell& cell = screen.row(row)[column];
            if (cell.isVisible && cell.part != CellPart::LowerHalf) {
                const bool isLetter = cell.character != U' ';
                seen[column] = {
                    cell.character, isLetter ? cell.foreground : Color::White, isLetter ? cell.part : CellPart::Whole,
                    true,           isLetter ? cell.background : Color::Black, isLetter && cell.isFlashing};
                isVisible = isVisible || isLetter;
            }
        }
        if (isVisible) {
            page[row] = seen;
        }
    }
    return page;
}

/// Letters that the rows of a set have, and one in eight times those that X/26 puts over others.
char32_t letterOf(Random& random, std::uint8_t designation) {
    constexpr std::u32string_view kOthers = U"\u00C0\u00C9\u00D1\u00D5\u010D\u017D\u0151\u00E7\u00BF";
    const CharacterSet set = *characterSetOf(designation);
    while (true) {
        const char32_t letter = below(random, 8) == 0 ? kOthers[below(random, kOthers.size())]
                                                      : g0Characters(set)[1 + below(random, kSetCharacters - 2)];
        if (letter > U' ' && encodeCharacter(letter, set).fit == CellCode::Fit::Exact) {
            return letter;
        }
    }
}

/// A row that fits: words in colours, and boxes apart.
PageRow fittingRow(Random& random, std::uint8_t designation, bool isDoubleHeight) {
    PageRow row;
    row.isDoubleHeight = isDoubleHeight;
    Color color = kLetterColors[below(random, 7)];
    const std::size_t size = 1 + below(random, 36);
    while (row.cells.size() < size) {
        Cell cell{.character = letterOf(random, designation), .foreground = color, .isVisible = true};
        const bool isFirst = row.cells.empty();
        const std::uint32_t kind = below(random, 20);
        if (!isFirst && kind == 0 && size - row.cells.size() > 7) {
            row.cells.insert(row.cells.end(), 5 + below(random, 2), Cell());
            color = kLetterColors[below(random, 7)];
            cell.foreground = color;
        } else if (!isFirst && kind < 5 && row.cells.size() + 1 < size) {
            row.cells.push_back({.character = U' ', .foreground = color, .isVisible = true});
            color = kind < 3 ? kLetterColors[below(random, 7)] : color;
            cell.foreground = color;
        }
        row.cells.push_back(cell);
    }
    const std::size_t lead = leadingCodes(isDoubleHeight, row.cells.front().foreground);
    row.column =
        static_cast<std::uint8_t>(lead + below(random, static_cast<std::uint32_t>(41 - lead - row.cells.size())));
    return row;
}

/// What a row that fits looks like: its cells, and a blank one of the box on each side.
SeenRow seenOf(const PageRow& row) {
    SeenRow seen;
    const auto part = row.isDoubleHeight ? CellPart::UpperHalf : CellPart::Whole;
    for (std::size_t index = 0; index < row.cells.size(); ++index) {
        const Cell& cell = row.cells[index];
        const std::size_t column = row.column + index;
        if (!cell.isVisible) {
            continue;
        }
        const bool isLetter = cell.character != U' ';
        seen[column] = {cell.character, isLetter ? cell.foreground : Color::White, isLetter ? part : CellPart::Whole,
                        true,           isLetter ? cell.background : Color::Black, isLetter && cell.isFlashing};
        for (const std::size_t beside : {column - 1, column + 1}) {
            if (beside < kDataBytes) {
                seen[beside].isBoxed = true;
            }
        }
    }
    return seen;
}

std::vector<PageText> fittingTexts(Random& random, std::uint16_t page, std::size_t count, std::uint64_t least) {
    std::vector<PageText> texts;
    std::uint64_t start = 1 + below(random, 30);
    // Seven that receivers have of themselves, Polish, Serbian and Rumanian, Russian, Greek.
    constexpr std::array<std::uint8_t, 12> kSent{0, 1, 2, 3, 4, 5, 6, 0x08, 0x1D, 0x1F, 0x24, 0x37};
    while (texts.size() < count) {
        PageText text{.page = page, .start = start, .end = start + least + below(random, 20)};
        text.designation = kSent[below(random, kSent.size())];
        const bool isDoubleHeight = below(random, 3) != 0;
        const std::uint8_t step = isDoubleHeight ? 2 : 1;
        auto number = static_cast<std::uint8_t>(1 + below(random, 22 - 2 * step));
        for (std::uint32_t rows = 1 + below(random, 3); rows > 0;
             --rows, number = static_cast<std::uint8_t>(number + step)) {
            text.rows.push_back(fittingRow(random, text.designation, isDoubleHeight));
            text.rows.back().row = number;
        }
        start = text.end + (below(random, 2) == 0 ? 0 : least + below(random, 10));
        texts.push_back(std::move(text));
    }
    return texts;
}

SeenPage seenOf(const PageText& text) {
    SeenPage page;
    for (const PageRow& row : text.rows) {
        page[row.row] = seenOf(row);
    }
    return page;
}

/// Takes a stream apart again, and watches pages.
class Receiver {
public:
    explicit Receiver(const std::vector<std::uint16_t>& pages) {
        for (const std::uint16_t page : pages) {
            _pages.emplace(page, PageReader(page));
        }
    }

    void receive(const FieldSdps& sdps, bool isOdd) {
        int line = kFirstVbiLine - 1;
        for (const Sdp& sent : sdps) {
            const auto bytes = writeSdp(sent);
            ASSERT_TRUE(bytes);
            qlx::Findings findings;
            const auto sdp = parseSdp(*bytes, &findings);
            ASSERT_TRUE(sdp && findings.empty());
            EXPECT_TRUE(_counters.receive(sdp->counter));
            for (const SdpLine& one : sdp->lines) {
                EXPECT_GT(one.line(), line);
                line = one.line();
                EXPECT_EQ(one.isOddField(), isOdd);
            }
            for (auto& [number, page] : _pages) {
                (void)page.receive(*sdp, &findings);
            }
            EXPECT_TRUE(findings.empty());
        }
        EXPECT_LE(line, kLastVbiLine);
    }

    [[nodiscard]] SeenPage seen(std::uint16_t page) const { return seenOf(_pages.at(page).screen()); }

private:
    std::map<std::uint16_t, PageReader> _pages;
    SdpCounterCheck _counters;
};

using PageTexts = std::map<std::uint16_t, std::vector<PageText>>;

/// What a page shows at a frame; `behind` counts the texts that are over.
SeenPage expectedAt(const std::vector<PageText>& texts, std::size_t& behind, std::uint64_t frame) {
    while (behind < texts.size() && texts[behind].end <= frame) {
        ++behind;
    }
    return behind < texts.size() && texts[behind].start <= frame ? seenOf(texts[behind]) : SeenPage();
}

/// The frames at which what is to be seen changes, and those in front of them.
std::set<std::uint64_t> changesOf(const PageTexts& pages) {
    std::set<std::uint64_t> changes;
    for (const auto& [number, texts] : pages) {
        for (const PageText& text : texts) {
            changes.insert({text.start - 1, text.start, text.end});
        }
    }
    return changes;
}

/// In the last field in which nothing of the next frame has begun, a page shows what is on air.
void expectAll(const PageTexts& pages, FrameRate rate, const WriterOptions& options) {
    Writer writer(rate, options);
    SdpStream stream;
    qlx::Findings findings;
    std::vector<std::uint16_t> numbers;
    std::map<std::uint16_t, std::size_t> behind;
    for (const auto& [number, texts] : pages) {
        numbers.push_back(number);
        for (const PageText& text : texts) {
            ASSERT_TRUE(writer.add(text, &findings));
        }
    }
    Receiver receiver(numbers);
    const std::set<std::uint64_t> changes = changesOf(pages);
    bool isNew = true;
    while (!writer.isDone()) {
        const FieldPackets field = writer.next(&findings);
        receiver.receive(stream.next(field.packets.items(), field.isOdd), field.isOdd);
        isNew = isNew || !field.packets.empty() || changes.count(field.frame) != 0;
        if (!isNew || (writer.fieldsPerFrame() == 2 && !field.isOdd)) {
            continue;
        }
        isNew = false;
        for (const auto& [number, texts] : pages) {
            // With one field a frame the next text's header erases a frame before its start.
            const bool isErasedBefore =
                writer.fieldsPerFrame() == 1 && std::any_of(texts.begin(), texts.end(), [&field](const PageText& text) {
                    return text.start == field.frame + 1;
                });
            const SeenPage expected = isErasedBefore ? SeenPage() : expectedAt(texts, behind[number], field.frame);
            const SeenPage seen = receiver.seen(number);
            ASSERT_TRUE(seen == expected || (isErasedBefore && seen == expectedAt(texts, behind[number], field.frame)))
                << "page " << pageName(number) << ", frame " << field.frame << ", rows " << seen.size() << " of "
                << expected.size();
        }
    }
    EXPECT_EQ(findings.size(), 0U) << findings[0].text();
    for (const std::uint16_t number : numbers) {
        EXPECT_TRUE(receiver.seen(number).empty());
    }
}

TEST(TeletextWriterRoundTrip, ShowsWhatFits) {
    Random random(13);
    for (const FrameRate rate : {FrameRate::Fps25, FrameRate::Fps50, FrameRate::Fps2997}) {
        expectAll({{0x888, fittingTexts(random, 0x888, kMany, 2)}}, rate, {});
    }
    expectAll({{0x123, fittingTexts(random, 0x123, kMany, 2)}}, FrameRate::Fps25, {.isSerial = true});
    expectAll({{0x888, fittingTexts(random, 0x888, qlxtest::countFor(1000U, 200U), 40)}}, FrameRate::Fps25,
              {.repeatAfter = 1});
}

TEST(TeletextWriterRoundTrip, ShowsPagesAtOnce) {
    Random random(14);
    // In magazines of their own, with room for each of them.
    for (const std::size_t count : {2U, 4U}) {
        PageTexts pages;
        for (std::size_t index = 0; index < count; ++index) {
            const auto page = static_cast<std::uint16_t>(0x188 + 0x100 * index);
            pages[page] = fittingTexts(random, page, qlxtest::countFor(300U, 80U), 4);
        }
        expectAll(pages, FrameRate::Fps25, {.packetsPerField = 15});
    }
}

// Anything

PageRow anyRow(Random& random) {
    constexpr std::u32string_view kMissing = U"\u65E5\u0416\u05D0";
    PageRow row{.row = static_cast<std::uint8_t>(below(random, 27)),
                .column = static_cast<std::uint8_t>(below(random, 45))};
    row.isDoubleHeight = below(random, 2) == 0;
    Cell look{.isVisible = true};
    row.cells.resize(below(random, 50));
    for (Cell& cell : row.cells) {
        const std::uint32_t kind = below(random, 60);
        look.foreground = kind < 4 ? static_cast<Color>(below(random, 64)) : look.foreground;
        look.isItalic = kind < 2 ? !look.isItalic : look.isItalic;
        look.background = below(random, 12) == 0 ? static_cast<Color>(below(random, 64)) : look.background;
        look.isFlashing = below(random, 15) == 0 ? !look.isFlashing : look.isFlashing;
        look.isVisible = below(random, 12) == 0 ? !look.isVisible : look.isVisible;
        cell = look;
        cell.character = kind < 20 ? U' '
                         : kind == 59
                             ? kMissing[below(random, 3)]
                             : latinG0(static_cast<std::uint8_t>(0x21 + below(random, 0x5E)), NationalOption::German);
    }
    return row;
}

/// A row after what is said of it: none where it is left out.
std::optional<std::pair<std::size_t, SeenRow>> explained(const PageRow& row, const qlx::Findings& findings) {
    const auto first =
        std::find_if(row.cells.begin(), row.cells.end(), [](const Cell& cell) { return cell.isVisible; });
    const auto last =
        std::find_if(row.cells.rbegin(), row.cells.rend(), [](const Cell& cell) { return cell.isVisible; });
    if (first == row.cells.end()) {
        return std::nullopt;
    }
    PageRow shown = row;
    shown.cells.assign(first, last.base());
    std::size_t column = row.column + static_cast<std::size_t>(first - row.cells.begin());
    std::map<char32_t, char32_t> letters;
    std::set<std::pair<FindingCode, std::size_t>> kept;
    std::set<std::size_t> joined;
    for (const qlx::Finding& finding : findings) {
        const auto second = static_cast<std::size_t>(finding.second);
        switch (finding.code) {
        case FindingCode::TeletextRowLeftOut:
            return std::nullopt;
        case FindingCode::TeletextRowMoved:
            column = second;
            break;
        case FindingCode::TeletextRowCut:
            shown.cells.resize(shown.cells.size() - second);
            break;
        case FindingCode::TeletextCharacterReplaced:
        case FindingCode::TeletextCharacterMissing:
            letters[static_cast<char32_t>(finding.first)] = static_cast<char32_t>(finding.second);
            break;
        case FindingCode::TeletextColorKept:
        case FindingCode::TeletextBackgroundKept:
        case FindingCode::TeletextFlashKept:
            kept.emplace(finding.code, second);
            break;
        case FindingCode::TeletextBoxesJoined:
            joined.insert(second);
            break;
        default:
            EXPECT_TRUE(finding.code == FindingCode::TeletextStyleLeftOut ||
                        finding.code == FindingCode::TeletextColorChanged)
                << finding.text();
            break;
        }
    }
    shown.column = static_cast<std::uint8_t>(column);
    // A part of a look that stays does so up to the next space, or to its own letters.
    std::array<bool, 3> keeps{};
    Cell before;
    bool joins = false;
    for (std::size_t index = 0; index < shown.cells.size(); ++index) {
        Cell& cell = shown.cells[index];
        joins = !cell.isVisible && (joins || joined.count(column + index) != 0);
        if (!cell.isVisible) {
            cell.character = U' ';
            cell.isVisible = joins;
        }
        if (cell.character == U' ') {
            keeps = {};
            continue;
        }
        const auto letter = letters.find(cell.character);
        cell.character = letter == letters.end() ? cell.character : letter->second;
        const auto keepsOf = [&](std::size_t part, FindingCode code) {
            keeps[part] = keeps[part] || kept.count({code, column + index}) != 0;
            return keeps[part];
        };
        // Letters are not black, and nothing of their colour is behind them.
        const std::size_t basic = qlx::screen::basicIndex(cell.foreground);
        const Color asked = basic == 0 ? Color::White : qlx::screen::kBasicColors[basic];
        const Color behind = qlx::screen::kBasicColors[qlx::screen::basicIndex(cell.background)];
        cell.foreground = keepsOf(0, FindingCode::TeletextColorKept) ? before.foreground : asked;
        cell.background = keepsOf(1, FindingCode::TeletextBackgroundKept) ? before.background
                          : behind == asked                               ? Color::Black
                                                                          : behind;
        cell.isFlashing = keepsOf(2, FindingCode::TeletextFlashKept) ? before.isFlashing : cell.isFlashing;
        before = cell;
    }
    return std::pair(std::size_t{shown.row}, seenOf(shown));
}

TEST(TeletextWriterRoundTrip, ShowsAnyRowAsItIsSaid) {
    Random random(15);
    for (int count = 0; count < kAnyRows; ++count) {
        const PageRow row = anyRow(random);
        qlx::Findings findings;
        const auto coded = codeRow(row, 1, &findings);
        const auto expected = explained(row, findings);
        ASSERT_EQ(coded.has_value(), expected.has_value());
        if (!coded) {
            continue;
        }
        PageReader page(0x888);
        PageHeader header{.page = 0x888};
        header.subcode = 0;
        header.isSubtitle = true;
        header.nationalOption = 1;
        (void)page.receive(*packetOf(header));
        (void)page.receive(*rowPacket(8, coded->row, coded->codes));
        const SeenPage seen = seenOf(page.screen());
        const bool hasLetters = std::any_of(expected->second.begin(), expected->second.end(),
                                            [](const Seen& cell) { return cell.character != U' '; });
        ASSERT_EQ(seen.size(), hasLetters ? 1U : 0U) << "row " << count;
        if (hasLetters) {
            ASSERT_TRUE(*seen.begin() == SeenPage::value_type(*expected)) << "row " << count;
        }
    }
}

/// What is late or left out is, by as much as is said.
TEST(TeletextWriterRoundTrip, ShowsAnyTextsWhenItIsSaid) {
    Random random(16);
    std::size_t late = 0;
    for (int round = 0; round < qlxtest::countFor(20, 8); ++round) {
        // Two pages of one magazine, and no room for what they have to say.
        const PageTexts pages{{0x801, fittingTexts(random, 0x801, 50, 1)}, {0x888, fittingTexts(random, 0x888, 50, 1)}};
        Writer writer(round % 2 == 0 ? FrameRate::Fps50 : FrameRate::Fps25,
                      {.packetsPerField = static_cast<std::uint8_t>(1 + below(random, 5))});
        std::vector<const PageText*> texts;
        for (const auto& [number, list] : pages) {
            for (const PageText& text : list) {
                texts.push_back(&text);
                ASSERT_TRUE(writer.add(text));
            }
        }
        SdpStream stream;
        Receiver receiver({0x801, 0x888});
        qlx::Findings findings(10'000);
        std::map<std::uint64_t, std::map<std::uint16_t, SeenPage>> seen;
        while (!writer.isDone()) {
            const FieldPackets field = writer.next(&findings);
            receiver.receive(stream.next(field.packets.items(), field.isOdd), field.isOdd);
            if (!field.packets.empty()) {
                for (const std::uint16_t page : {std::uint16_t{0x801}, std::uint16_t{0x888}}) {
                    seen[field.frame][page] = receiver.seen(page);
                }
            }
        }
        std::vector<std::uint64_t> delays(texts.size(), 0);
        std::set<std::size_t> leftOut;
        for (const qlx::Finding& finding : findings) {
            const auto number = static_cast<std::size_t>(finding.offset);
            if (finding.code == FindingCode::TeletextPageLate) {
                delays[number] = static_cast<std::uint64_t>(finding.second);
                ++late;
            } else if (finding.code == FindingCode::TeletextPageLeftOut) {
                leftOut.insert(number);
            } else {
                ASSERT_EQ(finding.code, FindingCode::TeletextEraseLate) << finding.text();
            }
        }
        for (std::size_t number = 0; number < texts.size(); ++number) {
            const PageText& text = *texts[number];
            const std::uint64_t frame = text.start + delays[number];
            auto then = seen.upper_bound(frame);
            const bool isShown = then != seen.begin() && (--then)->second.at(text.page) == seenOf(text);
            // In the frame in which it is complete the next one may have erased it.
            if (leftOut.count(number) == 0 && frame + 1 < text.end) {
                ASSERT_TRUE(isShown) << "round " << round << ", text " << number << ", frame " << frame;
            }
        }
    }
    EXPECT_GT(late, qlxtest::countFor(100U, 40U));
}

}  // namespace
