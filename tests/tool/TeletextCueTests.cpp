// Teletext that is played into each file that carries it, as cues again: text, rows, colours and times are those of what was
// played, also of texts from the right to the left.
#include "ExactBuffer.h"
#include "MxfBytes.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace teletext_cue_tests {
namespace {

using qlxtest::MxfFile;
using qlxtest::playArguments;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

/// What the elements of a KLV file (SMPTE ST 336) hold, in hexadecimal digits.
std::vector<std::string> elementsOf(const std::string& klv) {
    constexpr std::size_t kKey = 16;
    std::vector<std::string> elements;
    for (std::size_t place = 0; place + kKey < klv.size();) {
        place += kKey;
        std::size_t size = static_cast<unsigned char>(klv[place++]);
        if (size >= 0x80) {
            const std::size_t bytes = size - 0x80;
            size = 0;
            for (std::size_t index = 0; index < bytes && place < klv.size(); ++index) {
                size = size << 8U | static_cast<unsigned char>(klv[place++]);
            }
        }
        if (size > klv.size() - place) {
            ADD_FAILURE() << "the file is cut";
            break;
        }
        const std::vector<std::uint8_t> bytes(klv.begin() + static_cast<std::ptrdiff_t>(place),
                                              klv.begin() + static_cast<std::ptrdiff_t>(place + size));
        elements.push_back(qlxtest::toHex(bytes));
        place += size;
    }
    return elements;
}

struct Carrier {
    std::string_view extension;
    Arguments read;  ///< Of convert.
};

std::vector<Carrier> carriers() {
    std::vector<Carrier> all{{"klv", {"--from-rate", "25"}},
                             {"jsonl", {}},
                             {"mcc", {}},
                             {"v210", {"--from-rate", "25", "--lines", "12,575"}}};
#ifdef QLX_STREAMS_FFMPEG
    all.push_back({"ts", {}});
    all.push_back({"mxf", {}});
#endif
    return all;
}

struct PlayedText {
    std::string_view name;
    std::string_view played;
    Arguments options;  ///< Of play.
    std::string_view expected;
};

// Rows of double height in the middle of 40 columns, the lowest one on row 22 of rows 0 to 24, in the eleven rows of a page
// the lines 2, 4, ... 22: row 22 is 23/25 down, less one row, of the 80 % in the middle of the picture. The header that
// loads a page takes the one in front of it away, one frame ahead where they touch. Two rows that begin in different
// columns, both in the middle, have the settings of what is centred: none.
const PlayedText kTexts[] = {
    {"places",
     "1\n00:00:01,000 --> 00:00:02,000\nHello\n\n"
     "2\n00:00:02,000 --> 00:00:03,480\n<font color=\"#ffff00\">Yellow and</font>\nwhite\n\n"
     "3\n00:00:04,000 --> 00:00:05,000\n{\\an8}Above <font color=\"#00ffff\">it</font>\n\n",
     {},
     "WEBVTT\n\n1\n00:00:01.000 --> 00:00:01.960 line:80.40% position:44%,line-left align:left\nHello\n\n"
     "2\n00:00:02.000 --> 00:00:03.480 line:74%\n<c.yellow>Yellow and</c>\nwhite\n\n"
     "3\n00:00:04.000 --> 00:00:05.000 line:16.40% position:42%,line-left align:left\nAbove <c.cyan>it</c>\n\n"},
    {"hebrew",
     "1\n00:00:01,000 --> 00:00:02,000\n\u05E9\u05DC\u05D5\u05DD (12:30) \u05E2\u05D5\u05DC\u05DD\n\n",
     {"--language", "he"},
     "1\n00:00:01,000 --> 00:00:02,000\n\u05E9\u05DC\u05D5\u05DD (12:30) \u05E2\u05D5\u05DC\u05DD\n\n"},
    {"arabic",
     "1\n00:00:01,000 --> 00:00:02,000\n\u0635\u0628\u0627\u062D \u0627\u0644\u062E\u064A\u0631\u060C \u064A\u0627\n"
     "\u0623\u0635\u062F\u0642\u0627\u0621\n\n",
     {"--language", "ar"},
     "1\n00:00:01,000 --> 00:00:02,000\n\u0635\u0628\u0627\u062D \u0627\u0644\u062E\u064A\u0631\u060C "
     "\u064A\u0627\n\u0623\u0635\u062F\u0642\u0627\u0621\n\n"},
    {"russian",
     "1\n00:00:01,000 --> 00:00:02,000\n\u041F\u0440\u0438\u0432\u0435\u0442\n\n",
     {"--language", "ru"},
     "1\n00:00:01,000 --> 00:00:02,000\n\u041F\u0440\u0438\u0432\u0435\u0442\n\n"},
};

TEST(TeletextCues, AreThoseThatWerePlayedInEveryCarrier) {
    for (const PlayedText& text : kTexts) {
        const TemporaryFolder folder;
        const std::string cues = folder.write("in.srt", text.played);
        for (const Carrier& carrier : carriers()) {
            SCOPED_TRACE(std::string(text.name) + " in " + std::string(carrier.extension));
            const std::string file = folder.path("a." + std::string(carrier.extension));
            if (carrier.extension == "mxf") {
                folder.write("a.mxf", MxfFile::withAncFrames(elementsOf(folder.read("a.klv"))));
            } else {
                Arguments more{"-o", file};
                more.insert(more.end(), text.options.begin(), text.options.end());
                const ToolResult played = runTool(playArguments(cues, "25", more));
                ASSERT_EQ(played.exitCode, 0) << played.err;
            }
            Arguments arguments{"convert", file,  "-o",          "-",
                                "--page",  "888", "--to-format", text.expected.starts_with("WEBVTT") ? "vtt" : "srt"};
            arguments.insert(arguments.end(), carrier.read.begin(), carrier.read.end());
            const ToolResult result = runTool(arguments);
            EXPECT_EQ(result.exitCode, 0) << result.err;
            EXPECT_EQ(result.out, text.expected) << result.err;
        }
    }
}

}  // namespace
}  // namespace teletext_cue_tests
