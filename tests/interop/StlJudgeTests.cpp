// EBU STL files and a converter that is not ours: it reads the texts, times, colours and places that are written, and
// what it reads of files of others is what convert reads.
#include "STLFiles.h"
#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

namespace stl_judge_tests {
namespace {

using qlxtest::linesOf;
using qlxtest::runTool;
using qlxtest::STLBlock;
using qlxtest::stlFile;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

class StlJudge : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::system("/usr/bin/python3 -c 'import ttconv.tt' 2>/dev/null") != 0) {
            GTEST_SKIP() << "python3-ttconv is not installed: nothing else reads the files here";
        }
    }

    /// What it makes of a file, in the format of that name.
    [[nodiscard]] std::string judged(const std::string& file, const std::string& format) const {
        const std::string result = folder.path("judged." + format);
        const std::string command = "/usr/bin/python3 -m ttconv.tt convert -i '" + file + "' -o '" + result + "'";
        EXPECT_EQ(std::system((command + " >/dev/null 2>&1").c_str()), 0) << command;
        return folder.read("judged." + format);
    }

    TemporaryFolder folder;
};

/// A cue of a SubRip file: milliseconds, and rows with looks in front of what has another one than what is before it.
struct JudgedCue {
    int start = 0;
    int end = 0;
    std::vector<std::string> rows;

    friend bool operator==(const JudgedCue&, const JudgedCue&) = default;
    friend std::ostream& operator<<(std::ostream& out, const JudgedCue& cue) {
        out << cue.start << "-" << cue.end;
        for (const std::string& row : cue.rows) {
            out << "|" << row;
        }
        return out;
    }
};

/// `One [ff0000]two`: a row whose second word is red. Colours of spaces are not looked at.
class LooksReader {
public:
    std::string read(std::string_view row) {
        std::string result;
        std::string last = "ffffff";
        while (!row.empty()) {
            const std::size_t tag = row.front() == '<' ? row.find('>') : std::string_view::npos;
            if (tag != std::string_view::npos) {
                take(row.substr(0, tag + 1));
                row.remove_prefix(tag + 1);
                continue;
            }
            const std::string look = _color + (_isItalic ? "i" : "");
            if (row.front() != ' ' && look != last) {
                result += "[" + look + "]";
                last = look;
            }
            result += row.front();
            row.remove_prefix(1);
        }
        return result;
    }

private:
    void take(std::string_view tag) {
        if (tag.starts_with("<font color=\"#")) {
            _color = tag.substr(14, 6);
        } else if (tag == "</font>") {
            _color = "ffffff";
        } else if (tag == "<i>" || tag == "</i>") {
            _isItalic = tag == "<i>";
        }
    }

    std::string _color = "ffffff";
    bool _isItalic = false;
};

std::vector<JudgedCue> cuesOf(const std::string& subRip) {
    std::vector<JudgedCue> cues;
    LooksReader looks;
    for (std::string line : linesOf(subRip)) {
        int part[8]{};
        if (std::sscanf(line.c_str(), "%d:%d:%d,%d --> %d:%d:%d,%d", part, part + 1, part + 2, part + 3, part + 4,
                        part + 5, part + 6, part + 7) == 8) {
            const auto milliseconds = [](const int* time) {
                return ((time[0] * 60 + time[1]) * 60 + time[2]) * 1000 + time[3];
            };
            cues.push_back({milliseconds(part), milliseconds(part + 4), {}});
        } else if (!cues.empty() && line.find_first_not_of("0123456789") != std::string::npos) {
            line.erase(0, line.starts_with("{\\an") ? 6 : 0);
            cues.back().rows.push_back(looks.read(line));
        }
    }
    return cues;
}

/// Where a paragraph of TTML stands: the row at which its text begins or ends, of 23, as its side says.
struct JudgedPlace {
    std::string alignment;
    bool isAtTop = false;
    int row = 0;

    friend bool operator==(const JudgedPlace&, const JudgedPlace&) = default;
    friend std::ostream& operator<<(std::ostream& out, const JudgedPlace& place) {
        return out << place.alignment << (place.isAtTop ? " from row " : " up to row ") << place.row;
    }
};

/// It takes 80 of 100 of the picture's height for the rows, from 10 on.
std::vector<JudgedPlace> placesOf(const std::string& ttml) {
    struct Region {
        bool isAtTop = false;
        int row = 0;
    };
    std::vector<Region> regions;
    constexpr double kRow = 80.0 / 23;
    const std::regex region(R"re(<ttml:region xml:id="r(\d+)" tts:displayAlign="(\w+)" tts:extent="\S+ (\S+)%")re"
                            R"re( tts:origin="\S+ (\S+)%")re");
    for (std::sregex_iterator each(ttml.begin(), ttml.end(), region); each != std::sregex_iterator(); ++each) {
        const bool isAtTop = (*each)[2] == "before";
        const double row = isAtTop ? (std::stod((*each)[4]) - 10) / kRow + 1 : std::stod((*each)[3]) / kRow;
        EXPECT_EQ(std::stoul((*each)[1]), regions.size());
        regions.push_back({isAtTop, static_cast<int>(row + 0.5)});
    }
    std::vector<JudgedPlace> places;
    const std::regex paragraph(R"re(<ttml:p region="r(\d+)"[^>]*tts:textAlign="(\w+)")re");
    for (std::sregex_iterator each(ttml.begin(), ttml.end(), paragraph); each != std::sregex_iterator(); ++each) {
        const Region& one = regions.at(std::stoul((*each)[1]));
        places.push_back({(*each)[2], one.isAtTop, one.row});
    }
    return places;
}

std::string timeOf(int milliseconds) {
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d,%03d", milliseconds / 3'600'000, milliseconds / 60'000 % 60,
                  milliseconds / 1000 % 60, milliseconds % 1000);
    return text;
}

/// Two lists, one after the other: what is different is all that is printed.
template <class Item>
void expectSame(const std::vector<Item>& read, const std::vector<Item>& expected, const std::string& what = {}) {
    ASSERT_EQ(read.size(), expected.size()) << what;
    for (std::size_t index = 0; index < read.size(); ++index) {
        EXPECT_EQ(read[index], expected[index]) << what << ", number " << index;
    }
}

constexpr std::array kColors{"ff0000", "00ff00", "ffff00", "0000ff", "ff00ff", "00ffff", "ffffff"};

/// Cues of one or two rows of words in the letters of some languages, in colours, at all edges.
struct WrittenCues {
    std::string subRip;
    std::vector<JudgedCue> cues;
    std::vector<JudgedPlace> places;
};

WrittenCues randomCues(std::mt19937& random, const std::vector<std::string>& letters, int count) {
    WrittenCues written;
    int frame = 25;
    for (int number = 1; number <= count; ++number) {
        const int start = frame * 40;
        frame += 5 + static_cast<int>(random() % 100);
        JudgedCue cue{start, frame * 40, {}};
        frame += static_cast<int>(random() % 3) * 10;
        const int column = static_cast<int>(random() % 3);
        const bool isAtTop = random() % 3 == 0;
        std::string text = "{\\an" + std::to_string((isAtTop ? 7 : 1) + column) + "}";
        const std::size_t rows = 1 + random() % 2;
        for (std::size_t row = 0; row < rows; ++row) {
            std::string shown;
            std::string last = "ffffff";
            for (std::size_t words = 1 + random() % 4; words > 0; --words) {
                const std::string color = random() % 2 == 0 ? last : kColors[random() % kColors.size()];
                std::string word;
                for (std::size_t size = 1 + random() % 6; size > 0; --size) {
                    word += letters[random() % letters.size()];
                }
                text += color == "ffffff" ? word : "<font color=\"#" + color + "\">" + word + "</font>";
                text += words > 1 ? " " : "\n";
                shown += (color == last ? "" : "[" + color + "]") + word + (words > 1 ? " " : "");
                last = color;
            }
            cue.rows.push_back(shown);
        }
        written.subRip +=
            std::to_string(number) + "\n" + timeOf(cue.start) + " --> " + timeOf(cue.end) + "\n" + text + "\n";
        written.cues.push_back(std::move(cue));
        // Of double height: one row stands on 22 and 23, two on 20 to 23; from the top on they begin on the first.
        written.places.push_back({column == 0 ? "start" : column == 1 ? "center" : "end", isAtTop, isAtTop ? 1 : 23});
    }
    return written;
}

TEST_F(StlJudge, ReadsTextsTimesColoursAndPlacesThatAreWritten) {
    struct Table {
        std::string number;
        std::vector<std::string> letters;
    };
    const Table tables[] = {
        {"00", {"a", "Z", "\u00E9", "\u00DF", "\u00FC", "\u00C5", "\u0142", "\u010D", "\u00F8", "\u00BF", "!", "-"}},
        {"01", {"\u0430", "\u0416", "\u044F", "\u0451", "\u0457", "q", "."}},
        {"03", {"\u03B1", "\u03A9", "\u03AD", "\u03C2", "x", "?"}},
    };
    std::mt19937 random(41);
    for (const Table& table : tables) {
        const WrittenCues written = randomCues(random, table.letters, 100);
        const std::string file = folder.path("a.stl");
        const ToolResult made = runTool({"convert", folder.write("in.srt", written.subRip), "-o", file, "--to-rate",
                                         "25", "--table", table.number, "--strict"});
        ASSERT_EQ(made.exitCode, 0) << made.err;
        expectSame(cuesOf(judged(file, "srt")), written.cues, table.number);
        expectSame(placesOf(judged(file, "ttml")), written.places, table.number);
    }
}

// Each stands above the one that is on the screen already; in a set it has them in one paragraph.
TEST_F(StlJudge, ReadsCuesThatAreShownTogetherOnRowsOfTheirOwn) {
    const std::string subRip = "1\n00:00:01,000 --> 00:00:04,000\none\n\n"
                               "2\n00:00:02,000 --> 00:00:06,000\ntwo\nrows\n\n"
                               "3\n00:00:05,000 --> 00:00:07,000\nthree\n\n"
                               "4\n00:00:06,000 --> 00:00:08,000\n{\\an8}four\n\n";
    const std::string file = folder.path("a.stl");
    ASSERT_EQ(runTool({"convert", folder.write("in.srt", subRip), "-o", file, "--to-rate", "25"}).exitCode, 0);
    expectSame(placesOf(judged(file, "ttml")),
               {{"center", false, 23}, {"center", false, 21}, {"center", false, 23}, {"center", true, 1}});
}

/// A block of text that begins with a box and has its codes and line ends as they stand.
STLBlock block(std::uint16_t number, std::uint8_t seconds, std::string_view text) {
    STLBlock result{
        .number = number, .in = {0, 0, seconds, 0}, .out = {0, 0, static_cast<std::uint8_t>(seconds + 1), 0}};
    result.text.assign(text.begin(), text.end());
    return result;
}

/// Blocks as other programs write them: extension blocks, user data, colours inside of rows, accents, and a row on each
/// of the page, of single or of double height.
/// The dollar sign and that of currencies are left out: editions of ISO 6937 have them the other way round.
std::string foreignStl(bool isTall) {
    const std::string box = isTall ? "\x0D\x0B\x0B" : "\x0B\x0B";
    const std::string end = isTall ? "\x8A\x8A" : "\x8A";
    std::vector<STLBlock> blocks;
    blocks.push_back(block(0, 1, box + "The first part of a long row "));
    blocks.back().extension = 0;
    blocks.push_back(block(0, 1, "goes on here" + end));
    blocks.back().extension = 1;
    blocks.push_back(block(0, 1, box + "\x03in yellow\x0A\x0A"));
    blocks.push_back(block(0, 1, "\x01 of its maker"));
    blocks.back().extension = 0xFE;
    blocks.push_back(block(1, 3, box + "White\x01Red\x06" + "Cyan\x0A\x0A"));
    blocks.push_back(block(2, 5, box + "One\x0A\x0A" + end + box + "\x02" + "Green below\x0A\x0A"));
    blocks.push_back(block(3, 7, box + "\xC8u\xC2" + "e\xC1" + "a\xCF" + "c \xD3\xE1\xF9\xE8 \xA1\xA3\x0A\x0A"));
    for (std::uint8_t row = 1; row <= (isTall ? 22 : 23); ++row) {
        const auto place = static_cast<std::uint8_t>(8 + row);
        blocks.push_back(block(static_cast<std::uint16_t>(3 + row), place, box + "Row\x0A\x0A"));
        blocks.back().row = row;
        blocks.back().justification = static_cast<std::uint8_t>(1 + row % 3);
    }
    return stlFile(blocks);
}

class ForeignStl : public StlJudge, public ::testing::WithParamInterface<bool> {};

TEST_P(ForeignStl, IsReadAsItIsConverted) {
    const std::string file = folder.write("in.stl", foreignStl(GetParam()));
    const ToolResult converted = runTool({"convert", file, "-o", folder.path("out.srt")});
    ASSERT_EQ(converted.exitCode, 0) << converted.err;
    const std::vector<JudgedCue> read = cuesOf(judged(file, "srt"));
    expectSame(cuesOf(folder.read("out.srt")), read);
    ASSERT_GT(read.size(), 4U);
    const JudgedCue extended{1000, 2000, {"The first part of a long row goes on here", "[ffff00]in yellow"}};
    EXPECT_EQ(read[0], extended);
    const JudgedCue colours{3000, 4000, {"White [ff0000]Red [00ffff]Cyan"}};
    EXPECT_EQ(read[1], colours);
}

TEST_P(ForeignStl, IsReadInACopyAsItIsItself) {
    const std::string file = folder.write("in.stl", foreignStl(GetParam()));
    std::vector<std::string> options{"convert", file, "-o", folder.path("out.stl"), "--to-rate", "25"};
    if (!GetParam()) {
        options.emplace_back("--single-height");
    }
    const ToolResult copied = runTool(options);
    ASSERT_EQ(copied.exitCode, 0) << copied.err;
    expectSame(cuesOf(judged(folder.path("out.stl"), "srt")), cuesOf(judged(file, "srt")));
    const std::vector<JudgedPlace> places = placesOf(judged(file, "ttml"));
    ASSERT_GT(places.size(), 4U);
    expectSame(placesOf(judged(folder.path("out.stl"), "ttml")), places);
}

INSTANTIATE_TEST_SUITE_P(Heights, ForeignStl, ::testing::Bool(),
                         [](const auto& isTall) { return isTall.param ? "Double" : "Single"; });

TEST_F(StlJudge, ReadsACumulativeSetAsItIsComposed) {
    std::string file = qlxtest::stlInformation("STL25.01", "00003");
    for (std::uint8_t member = 0; member < 3; ++member) {
        STLBlock one = block(member, static_cast<std::uint8_t>(6 + member), "\x0B\x0BMember\x0A\x0A");
        one.out = {0, 0, 9, 0};
        one.row = static_cast<std::uint8_t>(18 + 2 * member);
        std::string bytes = one.bytes();
        bytes[4] = static_cast<char>(member + 1);
        file += bytes;
    }
    const std::string path = folder.write("in.stl", file);
    const ToolResult composed = runTool({"convert", path, "-o", folder.path("out.srt"), "--overlap", "compose"});
    ASSERT_EQ(composed.exitCode, 0) << composed.err;
    const std::vector<JudgedCue> read = cuesOf(judged(path, "srt"));
    ASSERT_EQ(read.size(), 3U);
    expectSame(cuesOf(folder.read("out.srt")), read);
}

}  // namespace
}  // namespace stl_judge_tests
