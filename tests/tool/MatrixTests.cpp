// Any format of cues into any other: of 200 cues with every style, what the target carries by the table arrives, and what
// does not arrive is reported. Video and containers of it, which other programs write, are in the interop tests
// (CueStreamTests.cpp): their cues are those of the packets here.
//
// Here each format is read by its own reader. Other programs read some of it, in the interop tests and beside those of the
// formats: FFmpeg the text and times of SubRip, WebVTT, SubStation Alpha and SCC, and the triplets of MCC; ttconv SCC,
// IMSC, EBU-TT-D and STL with colours; GStreamer the text of IMSC; xmllint both profiles of TTML; libzvbi the pages of
// teletext and captions of CEA-608. No other program is there for: settings, regions and spans of WebVTT; codes in braces
// of SubRip; lines, fields and packets that are no captions in MCC (lines made by hand); times within cues and ruby of
// TTML; the character code tables of STL but Latin, and its extension blocks; captions of CEA-708; JSON, which its schema
// judges; the samples of tx3g and wvtt (made by hand).
#include "MatrixSources.h"
#include "ToolRunner.h"
#include "cues/CueFeatures.h"

#include <qlx/subtitles/cue.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace matrix_tests {
namespace {

using namespace qlx::tool;
using namespace qlxtest::carried;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

bool isSpace(char character) {
    return character == ' ';
}

/// What each character but spaces has.
template <class Of>
std::string ofCharacters(const Cue& cue, const Of& of) {
    std::string text;
    for (const Row& row : cue.rows) {
        for (const Run& run : row.runs) {
            const auto count =
                run.text.size() - static_cast<std::size_t>(std::count_if(run.text.begin(), run.text.end(), isSpace));
            text += of(run, count);
        }
    }
    return text;
}

std::uint64_t bandOf(const Cue& cue) {
    const Row& row = cue.rows.front();
    const std::uint64_t rows = cue.screenRows == 0 ? 11 : cue.screenRows;
    if (row.number == 0) {
        return row.anchor == 0 ? 0 : (row.anchor - 1U) / 3;
    }
    return row.number * 3 <= rows ? 2 : row.number * 3 <= rows * 2 ? 1 : 0;
}

std::string sideOf(const Cue& cue) {
    const Row& row = cue.rows.front();
    const auto text = row.text();
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    const std::size_t size = text.find_last_not_of(' ') + 1 - begin;
    const bool isFixed = row.alignment == Alignment::Unchanged || row.column != 0;
    if (!isFixed || cue.screenColumns == 0) {
        return row.alignment == Alignment::Left ? "left" : row.alignment == Alignment::Right ? "right" : "centre";
    }
    const std::size_t column = (row.column == 0 ? 0 : row.column - 1U) + begin;
    const double middle = (static_cast<double>(column) + static_cast<double>(size) / 2) / cue.screenColumns;
    constexpr double kLeft = 0.4;
    return middle < kLeft ? "left" : middle > 1 - kLeft ? "right" : "centre";
}

double millisecondsOf(const qlx::MediaTime& time) {
    return 1000.0 * static_cast<double>(time.value) / time.timescale;
}

/// When each character appears: a run without a time does with what is in front of it.
std::string appearancesOf(const Cue& cue) {
    qlx::MediaTime from = cue.start;
    return ofCharacters(cue, [&from](const Run& run, std::size_t count) {
        from = run.from.isValid() ? run.from : from;
        std::string text;
        for (; count > 0; --count) {
            text += std::to_string(std::llround(millisecondsOf(from))) + ".";
        }
        return text;
    });
}

/// What a cue has of a feature.
std::string saidOf(const Cue& cue, CueFeature feature) {
    const auto flag = [&cue](bool qlx::subtitles::Style::*member) {
        return ofCharacters(cue, [member](const Run& run, std::size_t count) {
            return std::string(count, run.style.*member ? '1' : '0');
        });
    };
    const auto property = [&cue](std::string_view name) {
        return ofCharacters(cue, [name](const Run& run, std::size_t count) {
            const std::string* const value = valueOf(run.properties, name);
            return value == nullptr ? std::string(count, '0') : std::string(count, '1') + *value;
        });
    };
    const auto color = [](Color of) { return static_cast<char>('0' + qlx::screen::basicIndex(of)); };
    switch (feature) {
    case CueFeature::Bold:
        return flag(&qlx::subtitles::Style::isBold);
    case CueFeature::Italic:
        return flag(&qlx::subtitles::Style::isItalic);
    case CueFeature::Underline:
        return flag(&qlx::subtitles::Style::isUnderlined);
    case CueFeature::Flash:
        return flag(&qlx::subtitles::Style::isFlashing);
    case CueFeature::StrikeOut:
        return property("strikeout");
    case CueFeature::MoreColors:
        return ofCharacters(cue, [](const Run& run, std::size_t count) {
            std::string text;
            for (; count > 0; --count) {
                text += std::to_string(static_cast<unsigned>(run.style.foreground)) + ".";
            }
            return text;
        });
    case CueFeature::Voices:
        return property("vtt.v");
    case CueFeature::Ruby:
        return property("vtt.ruby");
    case CueFeature::Colors:
        return ofCharacters(
            cue, [&](const Run& run, std::size_t count) { return std::string(count, color(run.style.foreground)); });
    case CueFeature::Background:
        return ofCharacters(cue, [&](const Run& run, std::size_t count) {
            return std::string(count, color(run.style.background.value_or(Color::Black)));
        });
    case CueFeature::InnerTimes:
        return appearancesOf(cue);
    case CueFeature::Rows:
        return std::to_string(bandOf(cue));
    case CueFeature::Sides:
        return sideOf(cue);
    case CueFeature::Region:
        return cue.region;
    case CueFeature::Name:
        return cue.identifier;
    default:
        return {};
    }
}

std::string lettersOf(const Cue& cue) {
    std::string text;
    for (const Row& row : cue.rows) {
        text += row.text();
    }
    std::erase_if(text, isSpace);
    return text;
}

/// In lines of those who send captions, of looks for which there is no place.
constexpr std::string_view kOfCodes = " columns from row ";
/// The same of teletext.
constexpr std::string_view kOfSpaces = " spaces in front";
/// In those of who writes a file, of a region whose name has no place there.
constexpr std::string_view kOfRegions = "the name of a region";

/// The lines of a report, by cues.
std::map<std::uint64_t, std::string> reported(const std::string& text) {
    std::map<std::uint64_t, std::string> lines;
    constexpr std::string_view kCue = ": cue ";
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        const std::size_t cue = line.find(kCue);
        if (cue != std::string::npos) {
            lines[std::stoull(line.substr(cue + kCue.size()))] += line + "; ";
        }
        begin = end + 1;
    }
    return lines;
}

void compare(const std::vector<Cue>& from, const std::vector<Cue>& to, const Target& target,
             const std::map<std::uint64_t, std::string>& report) {
    ASSERT_EQ(from.size(), kCues);
    ASSERT_EQ(to.size(), kCues);
    for (std::size_t index = 0; index < kCues; ++index) {
        EXPECT_EQ(lettersOf(from[index]), lettersOf(to[index]));
        // Half a millisecond: both are rounded.
        EXPECT_NEAR(millisecondsOf(from[index].start), millisecondsOf(to[index].start),
                    0.5 + static_cast<double>(target.late))
            << index + 1;
        EXPECT_NEAR(millisecondsOf(from[index].end), millisecondsOf(to[index].end),
                    0.5 + static_cast<double>(target.late))
            << index + 1;
        const CueFeatures has = featuresOf(from[index], target.target);
        for (const CarriedRow& row : kCarriedTable) {
            if (!has.test(static_cast<std::size_t>(row.feature))) {
                continue;
            }
            const std::string wanted = saidOf(from[index], row.feature);
            const std::string got = saidOf(to[index], row.feature);
            const auto line = report.find(index + 1);
            // Codes take places of a row: what finds none is reported by who sends it. So is a region of TTML that is
            // not in the head of the file.
            const bool isRegion = row.feature == CueFeature::Region && !target.isSent;
            const bool isSaid = (target.isSent || isRegion) && line != report.end() &&
                                (line->second.find(isRegion ? kOfRegions : kOfCodes) != std::string::npos ||
                                 (!isRegion && line->second.find(kOfSpaces) != std::string::npos));
            if (isCarried(row, target.target) && !isSaid) {
                EXPECT_EQ(wanted, got) << "cue " << index + 1 << ": " << row.name;
            } else if (wanted != got) {
                EXPECT_TRUE(isSaid || (line != report.end() && line->second.find(row.name) != std::string::npos))
                    << "cue " << index + 1 << ": " << row.name << " is lost and not reported";
            }
        }
    }
}

/// What is converted: made of the WebVTT file of all cues where nothing else makes it.
struct Source {
    std::string name;
    Arguments making = {};
    std::string_view ffmpeg = {};           ///< What FFmpeg is to make of `first.srt`.
    Arguments frames = {};                  ///< What is to be said of its frames.
    Arguments choice = {};                  ///< What is on air in it.
    std::optional<CueTarget> carries = {};  ///< Of a file of frames: as what they carry the cues.
};

const Source kSources[] = {
    {.name = "in.srt"},
    {.name = "in.vtt"},
    {.name = "in.ass"},
    {.name = "in.stl", .making = {"--to-rate", "25"}},
    {.name = "in.ttml"},
    {.name = "smpte.ttml"},
    {.name = "old.dfxp"},
    {.name = "ebu.ttml", .making = {"--to-format", "ebu-tt-d"}},
    {.name = "in.json"},
    {.name = "all.json"},
    {.name = "tx3g.mp4", .ffmpeg = "-i first.srt -c:s mov_text"},
    {.name = "wvtt.mp4"},
    {.name = "stpp.mp4"},
    {.name = "srt.mkv", .ffmpeg = "-i first.srt -c:s copy"},
    {.name = "vtt.mkv"},
    {.name = "ass.mkv"},
    {.name = "in.scc", .making = {"--to-rate", "29.97"}, .carries = CueTarget::Cea608},
    {.name = "in.mcc", .making = {"--to-rate", "29.97"}, .carries = CueTarget::Cea608},
    {.name = "version2.mcc", .making = {"--to-rate", "29.97", "--mcc-version", "2"}, .carries = CueTarget::Cea608},
    {.name = "in.klv",
     .making = {"--to-rate", "29.97"},
     .frames = {"--from-rate", "29.97"},
     .carries = CueTarget::Cea608},
    {.name = "in.jsonl", .making = {"--to-rate", "29.97"}, .carries = CueTarget::Cea608},
    {.name = "in.v210",
     .making = {"--to-rate", "29.97", "--width", "720", "--lines", "9"},
     .frames = {"--from-rate", "29.97", "--width", "720", "--lines", "9"},
     .carries = CueTarget::Cea608},
    {.name = "in.2vuy",
     .frames = {"--from-rate", "29.97", "--width", "720", "--lines", "9"},
     .carries = CueTarget::Cea608},
    {.name = "service.mcc",
     .making = {"--to-rate", "29.97", "--service", "1"},
     .choice = {"--service", "1"},
     .carries = CueTarget::Cea708},
    {.name = "service.klv",
     .making = {"--to-rate", "29.97", "--service", "1"},
     .frames = {"--from-rate", "29.97"},
     .choice = {"--service", "1"},
     .carries = CueTarget::Cea708},
    {.name = "page.klv",
     .making = {"--to-rate", "25", "--page", "888"},
     .frames = {"--from-rate", "25"},
     .choice = {"--page", "888"},
     .carries = CueTarget::Teletext},
    {.name = "page.jsonl",
     .making = {"--to-rate", "25", "--page", "888"},
     .choice = {"--page", "888"},
     .carries = CueTarget::Teletext},
    {.name = "page.ts",
     .making = {"--to-rate", "25", "--page", "888"},
     .choice = {"--page", "888"},
     .carries = CueTarget::Teletext},
};

class Matrix : public testing::TestWithParam<Source> {};

#ifdef QLX_STREAMS_FFMPEG
constexpr bool kReadsContainers = true;
#else
constexpr bool kReadsContainers = false;
#endif

/// What has text tracks, which a module takes apart.
bool isContainer(std::string_view name) {
    return name.ends_with(".mp4") || name.ends_with(".mkv");
}

void makeWithFfmpeg(const Source& source, const TemporaryFolder& folder, const std::vector<Cue>& cues) {
    (void)folder.write("first.srt", subRipOf(cues));
    const std::string command =
        "cd '" + folder.path() + "' && ffmpeg -nostdin -v error " + std::string(source.ffmpeg) + " -y " + source.name;
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

/// Files that are put together here: whether this is one of them.
bool makeByHand(const std::string& name, const TemporaryFolder& folder, const std::vector<Cue>& cues) {
    const std::string text = name == "in.srt"       ? subRipOf(cues)
                             : name == "in.vtt"     ? webVttOf(cues)
                             : name == "in.ass"     ? subStationOf(cues)
                             : name == "smpte.ttml" ? ttmlOf(cues, TtmlForm::Smpte)
                             : name == "old.dfxp"   ? ttmlOf(cues, TtmlForm::Dfxp)
                             : name == "wvtt.mp4"   ? wvttOf(cues)
                             : name == "vtt.mkv"    ? webVttMatroskaOf(cues)
                             : name == "ass.mkv"    ? subStationMatroskaOf(cues)
                                                    : std::string();
    if (!text.empty()) {
        (void)folder.write(name, text);
    }
    return !text.empty();
}

void make(const Source& source, const TemporaryFolder& folder) {
    const std::vector<Cue> cues = cuesOfEveryStyle();
    if (!source.ffmpeg.empty()) {
        makeWithFfmpeg(source, folder, cues);
        return;
    }
    if (makeByHand(source.name, folder, cues)) {
        return;
    }
    const std::string vtt = folder.write("first.vtt", webVttOf(cues));
    const auto convertTo = [&](const std::string& name, const Arguments& more) {
        Arguments arguments{"convert", vtt, "-o", folder.path(name)};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const ToolResult made = runTool(arguments);
        ASSERT_EQ(made.exitCode, 0) << made.err;
    };
    if (source.name == "in.json") {
        ASSERT_EQ(runTool({"subs", vtt, "--json", "-o", folder.path(source.name)}).exitCode, 0);
    } else if (source.name == "stpp.mp4") {
        convertTo("first.ttml", {});
        (void)folder.write(source.name, stppOf(folder.read("first.ttml"), cues));
    } else if (source.name == "in.2vuy") {
        convertTo("first.v210", {"--to-rate", "29.97", "--width", "720", "--lines", "9"});
        (void)folder.write(source.name, twoVuyOf(folder.read("first.v210")));
    } else {
        convertTo(source.name, source.making);
    }
}

/// Whether what was read are the cues that the file was made of, but for how they look.
void expectAll(const std::vector<Cue>& read, std::int64_t late) {
    const std::vector<Cue> cues = cuesOfEveryStyle();
    ASSERT_EQ(read.size(), cues.size());
    for (std::size_t index = 0; index < cues.size(); ++index) {
        EXPECT_EQ(lettersOf(read[index]), lettersOf(cues[index]));
        EXPECT_NEAR(millisecondsOf(read[index].start), millisecondsOf(cues[index].start), static_cast<double>(late));
        EXPECT_NEAR(millisecondsOf(read[index].end), millisecondsOf(cues[index].end), static_cast<double>(late));
    }
}

TEST_P(Matrix, CarriesWhatTheTableSays) {
    const TemporaryFolder folder;
    const Source& source = GetParam();
    if (isContainer(source.name) && !kReadsContainers) {
        GTEST_SKIP() << "qlxcc was built without FFmpeg";
    }
    if (!source.ffmpeg.empty() && std::system("ffmpeg -version >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "ffmpeg is not installed";
    }
    ASSERT_NO_FATAL_FAILURE(make(source, folder));
    const auto convertTo = [&](const std::string& name, std::initializer_list<Arguments> more) {
        Arguments arguments{"convert", folder.path(source.name), "-o", folder.path(name)};
        arguments.insert(arguments.end(), source.frames.begin(), source.frames.end());
        for (const Arguments& each : more) {
            arguments.insert(arguments.end(), each.begin(), each.end());
        }
        return runTool(arguments);
    };
    const ToolResult all = convertTo("read.json", {source.choice});
    ASSERT_EQ(all.exitCode, 0) << all.err;
    const std::vector<Cue> from = readWritten(folder.path("read.json"));
    constexpr std::int64_t kFrames = 100;
    expectAll(from, source.carries ? kFrames : 20);
    for (const Target& target : kTargets) {
        SCOPED_TRACE(source.name + " to " + target.name);
        const bool isPassedOn = target.isSent && source.carries;
        if (isPassedOn && source.carries != target.target) {
            continue;  // Packets are not made into others.
        }
        // In front of the name, so that none is read and written at once.
        const std::string name = "to-" + target.name;
        const ToolResult result =
            isPassedOn ? convertTo(name, {}) : convertTo(name, {source.choice, target.more, {"--report"}});
        ASSERT_EQ(result.exitCode, 0) << result.err;
        compare(from, readWritten(folder.path(name)), target, reported(result.err));
    }
}

INSTANTIATE_TEST_SUITE_P(Sources, Matrix, testing::ValuesIn(kSources), [](const auto& source) {
    std::string name = source.param.name;
    name[name.find('.')] = '_';
    return name;
});

}  // namespace
}  // namespace matrix_tests
