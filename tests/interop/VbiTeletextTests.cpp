// OP-47 teletext of the subtitles packetizer, decoded by libzvbi as a receiver does: page 888, its rows, their places,
// colours and letters.
//
// The packetizer addresses its rows so that a receiver shows row n at 2n, in double height.
#include <gtest/gtest.h>

#ifndef QLX_HAVE_LIBZVBI

TEST(VbiTeletext, NeedsLibzvbi) {
    GTEST_SKIP() << "libzvbi was not found when the tests were configured: the package is libzvbi-dev";
}

#else

#include "Places.h"

#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <libzvbi.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

namespace {

constexpr std::int32_t kFramesPerSecond = 25;
constexpr int kPage = 0x888;

/// A row of a page as it is seen.
struct ShownRow {
    int row = 0;
    int column = 0;  ///< Of the first character.
    int color = 0;
    std::u16string text;

    friend bool operator==(const ShownRow&, const ShownRow&) = default;
};

/// A page as it comes in.
struct ShownPage {
    std::int64_t frame = 0;
    std::vector<ShownRow> rows;

    friend bool operator==(const ShownPage&, const ShownPage&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const ShownPage& page) {
        stream << "frame " << page.frame;
        for (const ShownRow& row : page.rows) {
            stream << "\n  row " << row.row << " column " << row.column << " colour " << row.color << " \"";
            for (const char16_t character : row.text) {
                if (character < 0x80) {
                    stream << static_cast<char>(character);
                } else {
                    stream << "<" << std::hex << static_cast<unsigned>(character) << std::dec << ">";
                }
            }
            stream << '"';
        }
        return stream;
    }
};

// The receiver

class Receiver {
public:
    Receiver() : _decoder(vbi_decoder_new()) {
        vbi_event_handler_register(_decoder.get(), VBI_EVENT_TTX_PAGE, &Receiver::handle, this);
    }

    /// The packets of one frame: of each block three, 45 bytes behind the nine of its header, the first three of which
    /// are run-in and framing code.
    void take(std::int64_t frame, const std::vector<std::shared_ptr<QLXVANCPacket>>& blocks) {
        constexpr std::size_t kHeader = 9;
        constexpr std::size_t kPacket = 45;
        constexpr std::size_t kRunIn = 3;
        _frame = frame;
        std::vector<vbi_sliced> lines;
        for (const auto& block : blocks) {
            const qlx::Data bytes = block->packetData();
            ASSERT_EQ(bytes.size(), 148U);
            for (std::size_t packet = 0; packet < 3; ++packet) {
                vbi_sliced line{};
                line.id = VBI_SLICED_TELETEXT_B;
                line.line = static_cast<std::uint32_t>(7 + lines.size());
                std::copy_n(bytes.begin() + kHeader + packet * kPacket + kRunIn, kPacket - kRunIn, line.data);
                lines.push_back(line);
            }
        }
        vbi_decode(_decoder.get(), lines.data(), static_cast<int>(lines.size()),
                   static_cast<double>(frame) / kFramesPerSecond);
    }

    [[nodiscard]] const std::vector<ShownPage>& pages() const { return _pages; }

private:
    static void handle(vbi_event* event, void* receiver) {
        if (event->type == VBI_EVENT_TTX_PAGE && event->ev.ttx_page.pgno == kPage) {
            static_cast<Receiver*>(receiver)->fetch();
        }
    }

    void fetch() {
        vbi_page page;
        ASSERT_TRUE(vbi_fetch_vt_page(_decoder.get(), &page, kPage, VBI_ANY_SUBNO, VBI_WST_LEVEL_1, 25, FALSE));
        ShownPage shown{_frame, {}};
        for (int row = 1; row < page.rows; ++row) {
            if (ShownRow shownRow = rowOf(page, row); !shownRow.text.empty()) {
                shown.rows.push_back(std::move(shownRow));
            }
        }
        _pages.push_back(std::move(shown));
        vbi_unref_page(&page);
    }

    /// What stands in boxes, without spaces at its ends. The lower half of a row of double height is no row.
    static ShownRow rowOf(const vbi_page& page, int row) {
        ShownRow shown{row, 0, 0, {}};
        std::size_t end = 0;
        for (int column = 0; column < page.columns; ++column) {
            const vbi_char& cell = page.text[row * page.columns + column];
            if (cell.opacity == VBI_TRANSPARENT_SPACE || cell.size != VBI_DOUBLE_HEIGHT) {
                continue;
            }
            if (cell.unicode == u' ' && shown.text.empty()) {
                continue;
            }
            if (shown.text.empty()) {
                shown.column = column;
                shown.color = cell.foreground;
            }
            shown.text += static_cast<char16_t>(cell.unicode);
            if (cell.unicode != u' ') {
                end = shown.text.size();
            }
        }
        shown.text.resize(end);
        return shown;
    }

    struct Delete {
        void operator()(vbi_decoder* decoder) const { vbi_decoder_delete(decoder); }
    };
    std::unique_ptr<vbi_decoder, Delete> _decoder;
    std::int64_t _frame = 0;
    std::vector<ShownPage> _pages;
};

/// What a receiver shows of `frames` frames.
std::vector<ShownPage> pagesShown(QLXSubtitlesPacketizer& packetizer, std::int64_t frames) {
    Receiver receiver;
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        const auto sample = packetizer.copyNextSubtitleSampleBufferAtPTS_frameDuration({frame, kFramesPerSecond, 1, 0},
                                                                                       {1, kFramesPerSecond, 1, 0});
        receiver.take(frame, QLXVANCPacket::VANCPacketsWithCMSampleBuffer(sample));
    }
    return receiver.pages();
}

// What is to be expected

/// The letters of the French national option (EN 300 706, table 36) in the places of the ASCII characters.
constexpr std::array<std::array<char16_t, 2>, 13> kFrenchOption{{{u'#', u'\u00E9'},
                                                                 {u'$', u'\u00EF'},
                                                                 {u'@', u'\u00E0'},
                                                                 {u'[', u'\u00EB'},
                                                                 {u'\\', u'\u00EA'},
                                                                 {u']', u'\u00F9'},
                                                                 {u'^', u'\u00EE'},
                                                                 {u'_', u'#'},
                                                                 {u'`', u'\u00E8'},
                                                                 {u'{', u'\u00E2'},
                                                                 {u'|', u'\u00F4'},
                                                                 {u'}', u'\u00FB'},
                                                                 {u'~', u'\u00E7'}}};

/// What a receiver shows for a letter of a subtitle: the letters that the option has, accented capitals without their
/// accents, and for any other character what stands in the option at its low 7 bits. The option has no square brackets.
char16_t shownLetter(char16_t letter) {
    for (const auto& [ascii, french] : kFrenchOption) {
        if (letter == french) {
            return letter;
        }
    }
    constexpr std::u16string_view kCapitals = u"ÀÁÂÃÄÅÇÈÉÊËÌÍÎÏÑÒÓÔÕÖÙÚÛÜÝ";
    constexpr std::u16string_view kPlain = u"AAAAAACEEEEIIIINOOOOOUUUUY";
    static_assert(kCapitals.size() == kPlain.size());
    if (const std::size_t index = kCapitals.find(letter); index != std::u16string_view::npos) {
        return kPlain[index];
    }
    const char16_t code = letter & 0x7F;
    for (const auto& [ascii, french] : kFrenchOption) {
        if (code == ascii) {
            return french;
        }
    }
    return code;
}

/// A line of a cue, as these tests read it.
struct CueLine {
    std::u16string text;
    int color = 7;
};

struct Cue {
    double start = 0;
    double end = 0;
    bool isOnTop = false;
    std::vector<CueLine> lines;
};

/// The characters of a UTF-8 text of the Basic Multilingual Plane.
std::u16string utf16(const std::string& text) {
    std::u16string result;
    for (const char unit : text) {
        const auto byte = static_cast<unsigned char>(unit);
        if (byte < 0x80) {
            result += static_cast<char16_t>(byte);
        } else if (byte >= 0xC0) {
            result += static_cast<char16_t>(byte & (byte >= 0xE0 ? 0x0FU : 0x1FU));
        } else {
            result.back() = static_cast<char16_t>(static_cast<unsigned>(result.back()) << 6U | (byte & 0x3FU));
        }
    }
    return result;
}

CueLine cueLine(const std::string& text) {
    static const std::regex kMarkup("</?(font|b|i|u)( [^>]*)?>|\\{\\\\an[0-9]\\}");
    static const std::regex kColor("<font color=\"#([0-9A-F]{2})([0-9A-F]{2})([0-9A-F]{2})\">");
    CueLine line{utf16(std::regex_replace(text, kMarkup, "")), 7};
    std::smatch parts;
    if (std::regex_search(text, parts, kColor)) {
        // Red, green and blue are the bits 0, 1 and 2 of a teletext colour.
        line.color = (parts[1] == "FF" ? 1 : 0) + (parts[2] == "FF" ? 2 : 0) + (parts[3] == "FF" ? 4 : 0);
    }
    return line;
}

std::vector<Cue> readCues(const std::string& path) {
    std::ifstream file(path);
    std::vector<Cue> cues;
    bool isOpen = false;
    for (std::string line; std::getline(file, line);) {
        unsigned time[8] = {};
        if (std::sscanf(line.c_str(), "%u:%u:%u,%u --> %u:%u:%u,%u", &time[0], &time[1], &time[2], &time[3], &time[4],
                        &time[5], &time[6], &time[7]) == 8) {
            const auto seconds = [](const unsigned* part) {
                return part[0] * 3600 + part[1] * 60 + part[2] + part[3] / 1000.0;
            };
            cues.push_back({seconds(time), seconds(time + 4), false, {}});
            isOpen = true;
        } else if (line.empty()) {
            isOpen = false;
        } else if (isOpen) {
            cues.back().isOnTop = cues.back().isOnTop || line.find("{\\an8}") != std::string::npos;
            cues.back().lines.push_back(cueLine(line));
        }
    }
    return cues;
}

/// A centred line at row `row` of 12: at most 34 characters, behind their spaces and four codes.
ShownRow shownRow(const CueLine& line, std::size_t row) {
    constexpr std::size_t kRoom = 34;
    constexpr std::size_t kCodes = 4;
    std::u16string text = line.text.substr(0, kRoom);
    const std::size_t column = (kRoom - text.size()) / 2 + kCodes;
    std::transform(text.begin(), text.end(), text.begin(), shownLetter);
    text.resize(text.find_last_not_of(u' ') + 1);
    return {static_cast<int>(2 * row), static_cast<int>(column), line.color, text};
}

std::vector<ShownRow> shownRows(const Cue& cue) {
    std::vector<ShownRow> rows;
    for (std::size_t index = 0; index < std::min<std::size_t>(cue.lines.size(), 3); ++index) {
        rows.push_back(shownRow(cue.lines[index], cue.isOnTop ? index + 1 : 12 - cue.lines.size() + index));
    }
    return rows;
}

/// The pages that the timeline leaves: a cue lasts to its end, the next one is entered behind its start, the first one
/// stands from the beginning; the frame that finds a change erases the page, the next one brings the rows.
std::vector<ShownPage> expectedPages(const std::vector<Cue>& cues, std::int64_t frames) {
    std::vector<ShownPage> pages;
    std::size_t current = 0;
    const Cue* shown = nullptr;
    bool rowsAreDue = false;
    for (std::int64_t frame = 0; frame < frames; ++frame) {
        const double time = static_cast<double>(frame) / kFramesPerSecond;
        const Cue* due = nullptr;
        if (cues[current].end > time) {
            due = &cues[current];
        } else if (current + 1 < cues.size() && cues[current + 1].start < time) {
            due = &cues[++current];
        }
        if (rowsAreDue) {
            pages.push_back({frame, shown ? shownRows(*shown) : std::vector<ShownRow>()});
            rowsAreDue = false;
        } else if (due != shown) {
            shown = due;
            rowsAreDue = true;
        }
    }
    return pages;
}

TEST(VbiTeletext, ShowsEveryCueOfTheDemoFile) {
    constexpr std::int64_t kFrames = 170 * kFramesPerSecond;
    const std::vector<Cue> cues = readCues(qlxtest::demoSubtitles());
    ASSERT_EQ(cues.size(), 46U);
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    packetizer->setSubtitleRecords(QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(
        qlxtest::demoSubtitles(), 2, 0.04));
    const std::vector<ShownPage> expected = expectedPages(cues, kFrames);
    EXPECT_EQ(std::count_if(expected.begin(), expected.end(), [](const ShownPage& page) { return !page.rows.empty(); }),
              46);
    const std::vector<ShownPage> shown = pagesShown(*packetizer, kFrames);
    ASSERT_EQ(shown.size(), expected.size());
    for (std::size_t page = 0; page < shown.size(); ++page) {
        EXPECT_EQ(shown[page], expected[page]);
    }
}

std::shared_ptr<QLXSubtitleTextLine> textLine(const std::string& text, std::int32_t alignment, std::uint64_t row,
                                              std::int32_t color) {
    auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setTextString(text);
    line->setAlignment(alignment);
    line->setVerticalPosition(row);
    line->setTextColor(color);
    return line;
}

/// What a receiver shows of a subtitle that is on the air at once.
std::vector<ShownPage> pagesOf(std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines) {
    auto record = std::make_shared<QLXSubtitleRecord>();
    record->setSubtitleLines(std::move(lines));
    const auto packetizer = QLXSubtitlesPacketizer::initWithSubtitleMode_isHD(2, true);
    packetizer->setLiveSubtitleRecordToDisplay(record);
    return pagesShown(*packetizer, 4);
}

TEST(VbiTeletext, ShowsTheFrenchLetters) {
    EXPECT_EQ(pagesOf({textLine("éèêë àâ ç îï ô ùû #", 1, 9, 7), textLine("ÉÈÊËÀÂÇÎÏÔÙÛÑÝ", 1, 10, 3),
                       textLine("Où l'été brûle, ça gêne Noël.", 1, 11, 1)}),
              (std::vector<ShownPage>{{1,
                                       {{18, 4, 7, u"éèêë àâ ç îï ô ùû #"},
                                        {20, 4, 3, u"EEEEAACIIOUUNY"},
                                        {22, 4, 1, u"Où l'été brûle, ça gêne Noël."}}}}));
}

TEST(VbiTeletext, ShowsWhatTheFrenchOptionHasForTheOtherCharacters) {
    EXPECT_EQ(
        pagesOf({textLine("ABC xyz 0189 !\"%&'()*+,-./:;<=>?", 1, 1, 7), textLine("$@[\\]^_`{|}~", 1, 2, 7)}),
        (std::vector<ShownPage>{{1, {{2, 4, 7, u"ABC xyz 0189 !\"%&'()*+,-./:;<=>?"}, {4, 4, 7, u"ïàëêùî#èâôûç"}}}}));
}

TEST(VbiTeletext, ShowsRowNAtTwiceN) {
    for (std::uint64_t row = 1; row <= 11; ++row) {
        const auto color = static_cast<int>(row % 7 + 1);
        const int shownRow = static_cast<int>(2 * row);
        EXPECT_EQ(pagesOf({textLine("Bonjour", 3, row, color)}),
                  (std::vector<ShownPage>{{1, {{shownRow, 27 + 4, color, u"Bonjour"}}}}));
        EXPECT_EQ(pagesOf({textLine("Bonjour", 2, row, color)}),
                  (std::vector<ShownPage>{{1, {{shownRow, 13 + 4, color, u"Bonjour"}}}}));
    }
}

TEST(VbiTeletext, ShowsThreeLinesOf34Characters) {
    const std::string letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJ";
    EXPECT_EQ(pagesOf({textLine(letters, 2, 8, 7), textLine(letters, 1, 9, 7), textLine(letters, 3, 10, 7),
                       textLine("dropped", 2, 11, 7)}),
              (std::vector<ShownPage>{{1,
                                       {{16, 4, 7, u"abcdefghijklmnopqrstuvwxyzABCDEFGH"},
                                        {18, 4, 7, u"abcdefghijklmnopqrstuvwxyzABCDEFGH"},
                                        {20, 4, 7, u"abcdefghijklmnopqrstuvwxyzABCDEFGH"}}}}));
}

}  // namespace

#endif
