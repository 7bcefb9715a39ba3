// qlxcc play of the demonstration file at every rate, as qlxcc show reads it.
#include "Places.h"
#include "Sanitized.h"
#include "SubtitleFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <ostream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

using qlxtest::captionArguments;
using qlxtest::linesOf;
using qlxtest::playArgumentsOfMode;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

struct Shown {
    std::uint64_t from = 0;
    std::uint64_t to = 0;
    std::string text;  ///< Of all rows, with a space between.

    friend bool operator==(const Shown&, const Shown&) = default;
    friend void PrintTo(const Shown& shown, std::ostream* out) {
        *out << shown.from << " to " << shown.to << ": " << shown.text;
    }
};

struct RateTerms {
    const char* name;
    std::uint64_t frames;  ///< In so many seconds:
    std::uint64_t seconds;
    bool alternates;       ///< Field 1 has the even frames.
    std::size_t triplets;  ///< Of a frame for DTVCC.

    friend void PrintTo(const RateTerms& rate, std::ostream* out) { *out << rate.name; }
};

/// The first frame at a time or later, to the millisecond, that has a pair of the field.
std::uint64_t slotFrame(std::uint64_t milliseconds, const RateTerms& rate, std::uint64_t field) {
    const std::uint64_t divisor = 1000 * rate.seconds;
    std::uint64_t frame = (milliseconds * rate.frames + divisor - 1) / divisor;
    // The one before, if its own time is as many milliseconds, rounded half up.
    const auto isShownAs = [&](std::uint64_t number) {
        return (2 * number * divisor + rate.frames) / (2 * rate.frames) == milliseconds;
    };
    frame -= frame > 0 && isShownAs(frame - 1) ? 1 : 0;
    return rate.alternates && frame % 2 != field - 1 ? frame + 1 : frame;
}

std::string withoutMarkup(std::string line) {
    const auto remove = [&line](char open, char close) {
        for (std::size_t begin = line.find(open); begin != std::string::npos; begin = line.find(open)) {
            line.erase(begin, line.find(close, begin) + 1 - begin);
        }
    };
    remove('<', '>');
    remove('{', '}');
    return line;
}

/// A cue of an SRT text.
struct WrittenCue {
    std::uint64_t start = 0;  ///< Milliseconds.
    std::uint64_t end = 0;
    std::vector<std::string> lines;  ///< With their markup.
};

std::vector<WrittenCue> writtenCues(const std::string& text) {
    std::vector<WrittenCue> cues;
    bool isOpen = false;
    for (const std::string& line : linesOf(text)) {
        std::array<unsigned, 8> part{};
        if (std::sscanf(line.c_str(), "%u:%u:%u,%u --> %u:%u:%u,%u", part.data(), &part[1], &part[2], &part[3],
                        &part[4], &part[5], &part[6], &part[7]) == 8) {
            const auto time = [&](std::size_t first) {
                return ((part[first] * 60ULL + part[first + 1]) * 60 + part[first + 2]) * 1000 + part[first + 3];
            };
            cues.push_back({time(0), time(4), {}});
            isOpen = true;
        } else if (line.empty()) {
            isOpen = false;
        } else if (isOpen) {
            cues.back().lines.push_back(line);
        }
    }
    return cues;
}

/// The cues of an SRT text, when and as they are to be shown.
std::vector<Shown> expectedOf(const std::string& text, const RateTerms& rate, std::uint64_t field) {
    std::vector<Shown> cues;
    for (const WrittenCue& cue : writtenCues(text)) {
        cues.push_back({slotFrame(cue.start, rate, field), slotFrame(cue.end, rate, field), {}});
        for (const std::string& line : cue.lines) {
            cues.back().text += (cues.back().text.empty() ? "" : " ") + withoutMarkup(line);
        }
    }
    // A caption ends as the next one begins; and no EDM, of two pairs, is sent where that is within its time.
    const std::uint64_t erasing = rate.alternates ? 4 : 2;
    for (std::size_t index = 1; index < cues.size(); ++index) {
        if (cues[index].from < cues[index - 1].to + erasing) {
            cues[index - 1].to = cues[index].from;
        }
    }
    return cues;
}

std::uint64_t numberBehind(const std::string& line, const std::string& key) {
    return std::stoull(line.substr(line.find(key) + key.size()));
}

/// The screens that show --json prints.
std::vector<Shown> screensOf(const std::string& json) {
    std::vector<Shown> screens;
    for (std::string line : linesOf(json)) {
        std::erase(line, '\\');
        Shown shown{numberBehind(line, "\"fromFrame\":"), numberBehind(line, "\"toFrame\":"), {}};
        // The text of a row stands behind those of its runs.
        const std::string key = "],\"text\":\"";
        for (std::size_t place = line.find(key); place != std::string::npos; place = line.find(key, place)) {
            place += key.size();
            // A row ends with the object around it.
            shown.text += (shown.text.empty() ? "" : " ") + line.substr(place, line.find("\"}", place) - place);
        }
        screens.push_back(shown);
    }
    return screens;
}

constexpr std::size_t kCues = qlxtest::countFor(46U, 12U);

std::string demoText() {
    std::ifstream file(qlxtest::demoSubtitles(), std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    text.resize(std::min(text.size(), text.find("\n\n" + std::to_string(kCues + 1) + "\n")));
    return text;
}

class DemoCaptions : public ::testing::TestWithParam<RateTerms> {};

// All of them, each from the first slot of its field at or after its start on: in the first frame at its start or
// later, to the millisecond that the file states, above 30 frames/s at most one later.
TEST_P(DemoCaptions, AreOnAirAsWrittenAndOnTime) {
    const RateTerms& rate = GetParam();
    const TemporaryFolder folder;
    const std::string text = demoText();
    const std::string source = folder.write("demo.srt", text);
    for (const std::uint64_t field : {1U, 2U}) {
        const std::string channel = field == 1 ? "CC1" : "CC3";
        const ToolResult result = runTool(captionArguments(
            source, rate.name, {"--channel", channel, "--to-format", "jsonl", "-o", folder.path("a.jsonl")}));
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err.find("late"), std::string::npos) << result.err;
        const ToolResult shown = runTool({"show", folder.path("a.jsonl"), "--channel", channel, "--all", "--json"});
        const std::vector<Shown> expected = expectedOf(text, rate, field);
        ASSERT_EQ(expected.size(), kCues);
        EXPECT_EQ(screensOf(shown.out), expected);
    }
}

// What a cue needs, by the figures of the standards

struct Letter {
    std::string text;
    std::string color;
    bool isItalic = false;

    [[nodiscard]] bool hasStyleOf(const Letter& other) const {
        return color == other.color && isItalic == other.isItalic;
    }
};

/// A line of a cue as it is shown: its text, and the same as runs of one colour in the words of show --json.
struct ShownLine {
    std::string text;
    std::string runs;
    std::size_t columns = 0;
    std::size_t needs = 0;  ///< Bytes of CTA-708, or pairs of CEA-608.
};

/// CTA-708: a place for the row is 3 bytes, attributes of a pen are 3 and its colour 4. Letters of G0 and G1 have one byte, and
/// two in UTF-8 at most; all others have two behind EXT1.
std::size_t bytesOf(std::span<const Letter> letters) {
    std::size_t bytes = 3;
    for (std::size_t index = 0; index < letters.size(); ++index) {
        bytes += index == 0 || !letters[index].hasStyleOf(letters[index - 1]) ? 7 : 0;
        bytes += letters[index].text.size() > 2 ? 2 : 1;
    }
    return bytes;
}

/// CEA-608: codes are sent twice: a preamble, the tab offset to a column that is none of 4, a style that the preamble does not
/// have, or that takes the place of a space. Two of the basic set are a pair, one of the special set is a code, and one of
/// the extended sets a code behind a letter that stands in for it.
std::size_t pairsOf(std::span<const Letter> letters, std::size_t column) {
    constexpr std::array<std::string_view, 8> kBasic{"á", "é", "í", "ó", "ú", "ç", "Ñ", "ñ"};
    constexpr std::array<std::string_view, 7> kSpecial{"à", "è", "â", "ê", "î", "ô", "û"};
    const Letter usual{"", "white", false};
    const bool hasCode = column > 3 && !letters.front().hasStyleOf(usual);
    std::size_t pairs = 2 + ((column - (hasCode ? 1 : 0)) % 4 != 0 ? 2 : 0) + (hasCode ? 2 : 0);
    bool isHalf = false;
    const auto putBasic = [&]() {
        pairs += isHalf ? 0 : 1;
        isHalf = !isHalf;
    };
    for (std::size_t index = 0; index < letters.size(); ++index) {
        const std::string& text = letters[index].text;
        const bool isStyle = index > 0 && !letters[index].hasStyleOf(letters[index - 1]);
        const bool isBasic = text.size() == 1 || std::count(kBasic.begin(), kBasic.end(), text) > 0;
        if (isBasic && !isStyle) {
            putBasic();
            continue;
        }
        if (!isStyle && std::count(kSpecial.begin(), kSpecial.end(), text) == 0) {
            putBasic();
        }
        pairs += 2;
        isHalf = false;
    }
    return pairs;
}

std::string colorName(const std::string& code) {
    constexpr std::array<std::array<const char*, 2>, 6> kNames{{{"#FFFF00", "yellow"},
                                                                {"#00FFFF", "cyan"},
                                                                {"#00FF00", "green"},
                                                                {"#FF00FF", "magenta"},
                                                                {"#FF0000", "red"},
                                                                {"#FFFFFF", "white"}}};
    for (const auto& [name, word] : kNames) {
        if (code == name) {
            return word;
        }
    }
    ADD_FAILURE() << code;
    return code;
}

std::vector<Letter> lettersOf(std::string_view text) {
    std::vector<Letter> letters;
    std::string color = "white";
    bool isItalic = false;
    while (!text.empty()) {
        if (text.front() == '<' || text.front() == '{') {
            const std::size_t end = text.find(text.front() == '<' ? '>' : '}');
            const std::string code(text.substr(0, end));
            isItalic = code == "<i" || (isItalic && code != "</i");
            color = code.starts_with("<font") ? colorName(code.substr(13, 7)) : code == "</font" ? "white" : color;
            text.remove_prefix(end + 1);
            continue;
        }
        std::size_t size = 1;
        while (size < text.size() && (static_cast<unsigned char>(text[size]) & 0xC0U) == 0x80U) {
            ++size;
        }
        letters.push_back({std::string(text.substr(0, size)), color, isItalic});
        text.remove_prefix(size);
    }
    return letters;
}

/// Of CEA-608 a style begins with a space, also where it should within a word: that is told (Cea608ColorLate).
std::vector<Letter> withStylesAtSpaces(std::vector<Letter> letters) {
    for (std::size_t index = 1; index < letters.size(); ++index) {
        Letter& before = letters[index - 1];
        if (before.text == " ") {
            before.color = letters[index].color;
            before.isItalic = letters[index].isItalic;
        } else if (letters[index].text != " ") {
            letters[index].color = before.color;
            letters[index].isItalic = before.isItalic;
        }
    }
    return letters;
}

ShownLine shownLine(std::span<const Letter> letters, bool isService) {
    ShownLine line;
    line.columns = letters.size();
    line.needs = isService ? bytesOf(letters) : pairsOf(letters, (32 - letters.size()) / 2);
    for (std::size_t index = 0; index < letters.size(); ++index) {
        const Letter& letter = letters[index];
        if (index == 0 || !letter.hasStyleOf(letters[index - 1])) {
            line.runs += std::string(index == 0 ? "" : "\"},") + R"({"background":"black","color":")" + letter.color +
                         "\"," + (letter.isItalic ? R"("italic":true,)" : "") + R"("text":")";
        }
        line.runs += letter.text == "\"" ? "\\\"" : letter.text;
        line.text += letter.text == "\"" ? "\\\"" : letter.text;
    }
    line.runs += "\"}";
    return line;
}

/// Rows of more than 32 columns are broken at the last space that leaves 32 or fewer in front of it.
void addLines(std::vector<ShownLine>& lines, std::string_view text, bool isService) {
    constexpr std::size_t kColumns = 32;
    const std::vector<Letter> letters = isService ? lettersOf(text) : withStylesAtSpaces(lettersOf(text));
    std::span<const Letter> rest = letters;
    while (rest.size() > kColumns) {
        std::size_t size = kColumns;
        while (rest[size].text != " ") {
            --size;
        }
        lines.push_back(shownLine(rest.first(size), isService));
        rest = rest.subspan(size + 1);
    }
    lines.push_back(shownLine(rest, isService));
}

struct DemoCue {
    std::uint64_t start = 0;  ///< Milliseconds.
    std::uint64_t end = 0;
    bool isAtTop = false;
    std::vector<ShownLine> lines;

    /// CTA-708: the definition of its window is 7 bytes, ETX 1, what deletes the one before and shows it 4. CEA-608: RCL and
    /// ENM, and EDM, which may leave two pairs empty that belong together with the one behind it; all sent twice.
    [[nodiscard]] std::size_t needs(bool isService, bool isBehindGap) const {
        std::size_t all = isService ? 7 + 1 + 4 : 4 + (isBehindGap ? 2 + 2 : 0);
        for (const ShownLine& line : lines) {
            all += line.needs;
        }
        return all;
    }

    /// Where and as what show --json has its rows: each in the middle of the columns, the last one on row 15, or the first on
    /// row 1. Columns of CEA-608 are counted with the one for a margin in front of them.
    [[nodiscard]] std::string rows(bool isService) const {
        std::string text;
        for (std::size_t index = 0; index < lines.size(); ++index) {
            const std::size_t row = isAtTop ? 1 + index : 16 - lines.size() + index;
            // 5 of 42 columns are in front of the 32 in their middle.
            const std::size_t column = (32 - lines[index].columns) / 2 + (isService ? 5 : 1);
            text += std::string(text.empty() ? "" : ",") + "{\"column\":" + std::to_string(column) +
                    ",\"row\":" + std::to_string(row) + ",\"runs\":[" + lines[index].runs + "],\"text\":\"" +
                    lines[index].text + "\"}";
        }
        return "\"rows\":[" + text + "]";
    }
};

std::vector<DemoCue> demoCuesOf(const std::string& text, bool isService) {
    std::vector<DemoCue> cues;
    for (const WrittenCue& cue : writtenCues(text)) {
        cues.push_back({cue.start, cue.end, false, {}});
        for (const std::string& line : cue.lines) {
            cues.back().isAtTop = cues.back().isAtTop || line.starts_with("{\\an8}");
            addLines(cues.back().lines, line, isService);
        }
    }
    return cues;
}

/// Frames, and rows as show --json has them.
std::vector<Shown> shownRows(const std::string& json) {
    std::vector<Shown> all;
    for (const std::string& line : linesOf(json)) {
        const std::size_t begin = line.find("\"rows\":[");
        // Behind the rows stands what has no brackets.
        all.push_back({numberBehind(line, "\"fromFrame\":"), numberBehind(line, "\"toFrame\":"),
                       line.substr(begin, line.rfind(']') + 1 - begin)});
    }
    return all;
}

/// All cues fit, each with its load between the start of the one before it and its own; and each is on air as it is written.
void expectAsWritten(const std::vector<Shown>& shown, const std::vector<DemoCue>& cues, const RateTerms& rate,
                     bool isService) {
    ASSERT_EQ(cues.size(), kCues);
    ASSERT_EQ(shown.size(), kCues);
    const RateTerms terms{rate.name, rate.frames, rate.seconds, rate.alternates && !isService, rate.triplets};
    // Of the bytes of a frame one is the packet's header, two are those of blocks of 31 bytes at most, and a command that
    // does not fit leaves 6 empty at most.
    const std::size_t bytes = 2 * rate.triplets - 1 - 2 - 6;
    const std::uint64_t step = terms.alternates ? 2 : 1;
    for (std::size_t index = 0; index < cues.size(); ++index) {
        SCOPED_TRACE("cue " + std::to_string(index + 1));
        const std::uint64_t start = slotFrame(cues[index].start, terms, 1);
        // Of a pop-on caption in front of it the two pairs of EOC come first.
        const bool isBehindGap = index > 0 && cues[index - 1].end < cues[index].start;
        const std::uint64_t before =
            index > 0 ? slotFrame(cues[index - 1].start, terms, 1) + (isService ? 0 : 2 * step) : 0;
        const std::size_t needs = cues[index].needs(isService, isBehindGap);
        EXPECT_GE(start, before + (isService ? (needs + bytes - 1) / bytes : needs * step));
        std::uint64_t end = slotFrame(cues[index].end, terms, 1);
        if (index + 1 < cues.size()) {
            // No EDM, of two pairs, is sent where the next one is shown within its time.
            const std::uint64_t next = slotFrame(cues[index + 1].start, terms, 1);
            end = next < end + (isService ? 1 : 2 * step) ? next : end;
        }
        EXPECT_EQ(shown[index], (Shown{start, end, cues[index].rows(isService)}));
    }
}

TEST_P(DemoCaptions, AreInAServiceAsWrittenAndOnTime) {
    const RateTerms& rate = GetParam();
    const TemporaryFolder folder;
    const std::string text = demoText();
    const std::string source = folder.write("demo.srt", text);
    for (const std::string mode : {"cea708", "captions"}) {
        SCOPED_TRACE(mode);
        const std::string file = folder.path(mode + ".jsonl");
        const ToolResult result = runTool(playArgumentsOfMode(mode, source, rate.name, {"-o", file}));
        ASSERT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err.find("late"), std::string::npos) << result.err;
        expectAsWritten(shownRows(runTool({"show", file, "--service", "1", "--all", "--json"}).out),
                        demoCuesOf(text, true), rate, true);
        if (mode == "captions") {
            expectAsWritten(shownRows(runTool({"show", file, "--channel", "CC1", "--all", "--json"}).out),
                            demoCuesOf(text, false), rate, false);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rates, DemoCaptions,
                         ::testing::Values(RateTerms{"23.976", 24000, 1001, false, 22},
                                           RateTerms{"24", 24, 1, false, 22}, RateTerms{"25", 25, 1, false, 22},
                                           RateTerms{"29.97", 30000, 1001, false, 18},
                                           RateTerms{"30", 30, 1, false, 18}, RateTerms{"50", 50, 1, true, 11},
                                           RateTerms{"59.94", 60000, 1001, true, 9}, RateTerms{"60", 60, 1, true, 9}));

}  // namespace
