// CEA-608 captions of `qlxcc play --format scc`, read by FFmpeg's caption decoder.
//
// That decoder takes all pairs of a Scenarist line at the line's time, so that a cue begins for it when its pairs begin
// to be sent; the frame in which the caption appears on a receiver is tested with the tool.
#include "Places.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>

namespace {

using qlxtest::deployedCaptionArguments;
using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Lines = std::vector<std::string>;

struct TimedText {
    double start = 0.0;
    double end = 0.0;
    Lines lines;
};

/// A line without markup, without control characters (the decoder gives them on, and ends lines with two), and without
/// spaces at its ends, which are no text on a screen.
std::string plain(const std::string& line) {
    static const std::regex kMarkup("</?(font|b|i|u)( [^>]*)?>|\\{\\\\an[0-9]\\}|[\\x01-\\x1f]");
    static const std::regex kEnds("^ +| +$");
    return std::regex_replace(std::regex_replace(line, kMarkup, ""), kEnds, "");
}

/// The cues of an SRT text, read by these tests themselves.
std::vector<TimedText> readSrt(const std::string& text) {
    std::vector<TimedText> cues;
    bool isOpen = false;
    for (const std::string& line : linesOf(text)) {
        unsigned time[8] = {};
        if (std::sscanf(line.c_str(), "%u:%u:%u,%u --> %u:%u:%u,%u", &time[0], &time[1], &time[2], &time[3], &time[4],
                        &time[5], &time[6], &time[7]) == 8) {
            const auto seconds = [](const unsigned* part) {
                return part[0] * 3600 + part[1] * 60 + part[2] + part[3] / 1000.0;
            };
            cues.push_back({seconds(time), seconds(time + 4), {}});
            isOpen = true;
        } else if (line.empty()) {
            isOpen = false;
        } else if (isOpen) {
            cues.back().lines.push_back(plain(line));
        }
    }
    return cues;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

bool hasDecoder() {
    return std::system("command -v ffmpeg >/dev/null 2>&1") == 0;
}

/// What the decoder makes of an SCC file.
std::vector<TimedText> decodedScc(const TemporaryFolder& folder, const std::string& path) {
    const std::string command = "ffmpeg -nostdin -v error -f scc -i '" + path + "' -f srt -y '" + folder.path("b.srt") +
                                "' >'" + folder.path("log") + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << folder.read("log");
    return readSrt(folder.read("b.srt"));
}

/// Plays an SRT file as SCC and gives what the decoder makes of it.
std::vector<TimedText> decoded(const std::string& srtPath) {
    const TemporaryFolder folder;
    const ToolResult played = runTool(deployedCaptionArguments(srtPath, "29.97", {"-o", folder.path("a.scc")}));
    EXPECT_EQ(played.exitCode, 0) << played.err;
    return decodedScc(folder, folder.path("a.scc"));
}

// The characters that are not where ASCII has them, and those of two bytes (CTA-608). The apostrophe is a typographic
// one there.
const std::map<int, std::string> kBasicSet{{0x27, "\u2019"}, {0x2A, "á"}, {0x5C, "é"}, {0x5E, "í"},
                                           {0x5F, "ó"},      {0x60, "ú"}, {0x7B, "ç"}, {0x7C, "÷"},
                                           {0x7D, "Ñ"},      {0x7E, "ñ"}, {0x7F, "█"}};
const std::map<int, std::string> kSpecialSet{
    {0x30, "®"}, {0x31, "°"}, {0x32, "½"}, {0x33, "¿"}, {0x34, "™"}, {0x35, "¢"}, {0x36, "£"}, {0x37, "♪"},
    {0x38, "à"}, {0x39, " "}, {0x3A, "è"}, {0x3B, "â"}, {0x3C, "ê"}, {0x3D, "î"}, {0x3E, "ô"}, {0x3F, "û"}};

// What the sender makes of characters behind ASCII: one byte, or 11 and a second one. All others become spaces.
const std::map<char32_t, std::vector<int>> kSentAs{
    {U'¢', {0x11, 0x35}}, {U'£', {0x11, 0x36}}, {U'®', {0x11, 0x30}}, {U'°', {0x11, 0x31}}, {U'½', {0x11, 0x32}},
    {U'¿', {0x11, 0x33}}, {U'Ç', {0x7B}},       {U'É', {0x5C}},       {U'Í', {0x5E}},       {U'Ñ', {0x7D}},
    {U'Ò', {0x5F}},       {U'Ú', {0x60}},       {U'à', {0x11, 0x38}}, {U'á', {0x2A}},       {U'â', {0x11, 0x3B}},
    {U'è', {0x11, 0x3A}}, {U'é', {0x5C}},       {U'ê', {0x11, 0x3C}}, {U'í', {0x5E}},       {U'î', {0x11, 0x3D}},
    {U'ñ', {0x7E}},       {U'ó', {0x5F}},       {U'ô', {0x11, 0x3E}}, {U'÷', {0x7C}},       {U'ú', {0x60}},
    {U'û', {0x11, 0x3F}}, {U'█', {0x7F}},       {U'🎵', {0x11, 0x37}}};

std::string shownCharacter(int code) {
    const auto found = kBasicSet.find(code);
    return found != kBasicSet.end() ? found->second : std::string(1, static_cast<char>(code));
}

/// What the decoder shows of a line: its first 31 characters, sent two bytes at a time. A special character whose bytes
/// stand in two pairs is none: its second byte is a basic character, and its first one a place without a character, of
/// which a row has 32 in all. A special character that follows itself in the next pair is taken for a repetition of the
/// same code.
std::string shownLine(std::string_view text) {
    std::vector<int> bytes;
    for (int count = 0; count < 31 && !text.empty(); ++count) {
        const char32_t character = qlx::takeCodePoint(text);
        const auto found = kSentAs.find(character);
        if (character < 0x80) {
            bytes.push_back(static_cast<int>(character));
        } else if (found == kSentAs.end()) {
            bytes.push_back(' ');
        } else {
            bytes.insert(bytes.end(), found->second.begin(), found->second.end());
        }
    }
    if (bytes.size() % 2 != 0) {
        bytes.push_back(0);
    }
    Lines places;
    int lastSpecial = 0;
    for (std::size_t index = 0; index < bytes.size(); index += 2) {
        const int first = bytes[index];
        const int second = bytes[index + 1];
        if (first != 0x11) {
            places.push_back(shownCharacter(first));
            if (second != 0) {
                places.push_back(second < 0x20 ? "" : shownCharacter(second));
            }
            lastSpecial = 0;
        } else if (second == lastSpecial) {
            lastSpecial = 0;
        } else {
            places.push_back(kSpecialSet.at(second));
            lastSpecial = second;
        }
    }
    std::string shown;
    for (std::size_t place = 0; place < std::min<std::size_t>(places.size(), 32); ++place) {
        shown += places[place];
    }
    return plain(shown);
}

Lines shownLines(const Lines& source) {
    Lines lines;
    for (std::size_t index = 0; index < std::min<std::size_t>(source.size(), 2); ++index) {
        lines.push_back(shownLine(source[index]));
    }
    return lines;
}

constexpr double kFrame = 1001.0 / 30000.0;

/// Seconds that the pairs of a cue take, as it is started early by: two bytes a line, four more, and the characters.
double sendingTime(const Lines& lines) {
    std::uint64_t bytes = 4;
    for (const std::string& line : lines) {
        bytes += qlx::utf16Length(line) + 2;
    }
    return static_cast<double>(bytes / 2) * kFrame;
}

TEST(CaptionDecoder, ReadsTheTextOfEveryCue) {
    if (!hasDecoder()) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was decoded";
    }
    const std::vector<TimedText> source = readSrt(contentOf(qlxtest::demoSubtitles()));
    ASSERT_GE(source.size(), 40U);
    const std::vector<TimedText> cues = decoded(qlxtest::demoSubtitles());
    ASSERT_EQ(cues.size(), source.size());
    double endOfLast = 0.0;
    for (std::size_t index = 0; index < source.size(); ++index) {
        SCOPED_TRACE("cue " + std::to_string(index + 1));
        EXPECT_EQ(cues[index].lines, shownLines(source[index].lines));
        // It is sent ahead of its start, but only behind the cue before it. Where the five pairs that clear that one
        // are not through by then, both are one line, whose time is that of the first pair. Timecodes run behind by up
        // to two frames, and the decoder takes 33 ms for a frame.
        const double clearing = endOfLast - kFrame;
        const double earliest = source[index].start - sendingTime(source[index].lines);
        EXPECT_NEAR(cues[index].start, earliest < clearing + 5 * kFrame ? clearing : earliest, 0.1);
        // It ends a frame early, with the next cue or with what clears it.
        EXPECT_NEAR(cues[index].end, source[index].end - kFrame, 0.1);
        endOfLast = source[index].end;
    }
}

/// Plays each text as a cue of its own and gives the lines of each that are shown.
std::vector<Lines> shownTexts(const Lines& texts) {
    std::string file;
    for (std::size_t index = 0; index < texts.size(); ++index) {
        char timing[64];
        const auto second = static_cast<unsigned>(5 * index + 3);
        std::snprintf(timing, sizeof timing, "00:%02u:%02u,000 --> 00:%02u:%02u,000", second / 60, second % 60,
                      (second + 2) / 60, (second + 2) % 60);
        file += std::to_string(index + 1) + "\n" + timing + "\n" + texts[index] + "\n\n";
    }
    const TemporaryFolder folder;
    std::vector<Lines> shown;
    for (const TimedText& cue : decoded(folder.write("in.srt", file))) {
        shown.push_back(cue.lines);
    }
    return shown;
}

TEST(CaptionDecoder, SeesTheLimitsOfACaption) {
    if (!hasDecoder()) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was decoded";
    }
    const std::vector<std::pair<std::string, Lines>> all{
        // 31 characters, two lines.
        {"0123456789012345678901234567890123456789\nSecond line that is longer than thirty-one\nThird line",
         {"0123456789012345678901234567890", "Second line that is longer than"}},
        {"One line", {"One line"}},
        {"<font color=\"#FFFF00\">{\\an8}Yellow</font>\n<i>and at the top</i>", {"Yellow", "and at the top"}},
        // The basic set beyond ASCII, and capitals that have only their small letters there. Of the cedillas only the
        // capital has a code.
        {"áéíóúÑñ÷█", {"áéíóúÑñ÷█"}},
        {"ÇÉÍÒÚ", {"çéíóú"}},
        {"façade", {"fa ade"}},
        // Characters of two bytes.
        {"®°½¿¢£🎵àèâêîôû", {"®°½¿¢£♪àèâêîôû"}},
        // Characters that are sent as spaces.
        {"aëbÓcÀd™e♪f", {"a b c d e f"}},
        // Codes of ASCII that stand for other characters.
        {"a{b|c}d~e", {"açb÷cÑdñe"}},
        {"a^b_c`d\\e*f'g", {"aíbócúdéeáf\u2019g"}},
        // A character of two bytes at an odd place falls apart.
        {"xà", {"x8"}},
        {"un été à la mer", {"un été 8 la mer"}},
        // ... and the decoder keeps a place for its lost half: 31 characters and two halves are one more than a row
        // has.
        {"Pas ici. Là-haut, à la lumière.", {"Pas ici. Là-haut, 8 la lumi:re"}},
        // The same character of two bytes twice is taken for one code sent twice.
        {"àà!", {"à!"}},
        {"nonono bebe", {"nonono bebe"}},
    };
    Lines texts;
    std::vector<Lines> expected;
    for (const auto& [text, lines] : all) {
        texts.push_back(text);
        expected.push_back(lines);
    }
    const std::vector<Lines> shown = shownTexts(texts);
    ASSERT_EQ(shown.size(), expected.size());
    for (std::size_t index = 0; index < shown.size(); ++index) {
        EXPECT_EQ(shown[index], expected[index]) << texts[index];
    }
}

/// The rows of each cue; the decoder writes the columns in front of a row as spaces without a break (`\h`).
Lines joined(const std::vector<TimedText>& cues) {
    Lines texts;
    for (const TimedText& cue : cues) {
        texts.emplace_back();
        for (const std::string& line : cue.lines) {
            texts.back() += plain(std::regex_replace(line, std::regex("\\\\h"), " ")) + "/";
        }
    }
    return texts;
}

// Rows that roll up in pieces of seconds, and captions that are painted: as many cues, with the same texts.
TEST(CaptionDecoder, SeesAsManyCuesWhereTextComesInPieces) {
    if (!hasDecoder()) {
        GTEST_SKIP() << "ffmpeg is not installed: nothing was decoded";
    }
    // "One ", "row ", "Two ", "of them"; CR and a preamble of row 15 in front of each row; EDM.
    const std::string inPieces = "Scenarist_SCC V1.0\n\n00:00:01:00\t9425 94ad 9470 4f6e e520\n\n"
                                 "00:00:02:00\tf2ef f720\n\n00:00:05:00\t9425 94ad 9470 54f7 ef20\n\n"
                                 "00:00:06:00\tefe6 20f4 68e5 6d80\n\n00:00:09:00\t942c\n\n";
    const TemporaryFolder folder;
    std::vector<std::string> files{folder.write("pieces.scc", inPieces), folder.path("painted.scc")};
    const ToolResult painted = runTool(qlxtest::captionArguments(qlxtest::demoSubtitles(), "29.97",
                                                                 {"--style", "paint-on", "--quiet", "-o", files[1]}));
    ASSERT_EQ(painted.exitCode, 0) << painted.err;
    const std::size_t counts[] = {2, 46};
    for (std::size_t index = 0; index < files.size(); ++index) {
        const ToolResult read = qlxtest::converted(files[index], "srt", {"--quiet"});
        EXPECT_EQ(read.exitCode, 0) << read.err;
        Lines ours = joined(readSrt(read.out));
        // The decoder has the apostrophe that CTA-608 shows.
        for (std::string& text : ours) {
            text = std::regex_replace(text, std::regex("'"), "\u2019");
        }
        EXPECT_EQ(ours.size(), counts[index]);
        EXPECT_EQ(ours, joined(decodedScc(folder, files[index]))) << files[index];
    }
}

}  // namespace
