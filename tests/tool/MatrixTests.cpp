// Any format of cues into any other: of 200 cues with every style, what the target carries by the table arrives, and what
// does not arrive is reported. Video and containers, which other programs write, are in the interop tests
// (CueStreamTests.cpp): their cues are those of the packets here.
//
// Here each format is read by its own reader. Other programs read some of it, in the interop tests and beside those of the
// formats: FFmpeg the text and times of SubRip, WebVTT, SubStation Alpha and SCC, and the triplets of MCC; ttconv SCC,
// IMSC, EBU-TT-D and STL with colours; GStreamer the text of IMSC; xmllint both profiles of TTML; libzvbi the pages of
// teletext and captions of CEA-608. No other program is there for: settings, regions and spans of WebVTT; codes in braces
// of SubRip; lines, fields and packets that are no captions in MCC (lines made by hand); times within cues and ruby of
// TTML; the character code tables of STL but Latin, and its extension blocks; captions of CEA-708; JSON, which its schema
// judges; the samples of tx3g and wvtt (made by hand).
#include "CarriedCues.h"
#include "ToolRunner.h"
#include "cues/CueFeatures.h"

#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
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

/// By hand: nothing here writes this format.
std::string subStationOf(const std::vector<Cue>& cues) {
    std::string text = "[Script Info]\nPlayResX: 640\nPlayResY: 300\n[V4+ Styles]\n"
                       "Format: Name, PrimaryColour, OutlineColour, BorderStyle, Alignment\n"
                       "Style: Default,&H00FFFFFF,&H00000000,1,2\nStyle: Box,&H00FFFFFF,&H00FF0000,3,2\n"
                       "[Events]\nFormat: Start, End, Style, Text\n";
    const auto time = [](const qlx::MediaTime& at) {
        char buffer[32];
        const auto hundredths = static_cast<unsigned>(at.value / 10);
        std::snprintf(buffer, sizeof(buffer), "0:%02u:%02u.%02u", hundredths / 6000, hundredths / 100 % 60,
                      hundredths % 100);
        return std::string(buffer);
    };
    for (const Cue& cue : cues) {
        text += "Dialogue: " + time(cue.start) + "," + time(cue.end) + ",Default,";
        text += cue.rows[0].anchor == 0 ? "" : "{\\an" + std::to_string(cue.rows[0].anchor) + "}";
        for (const Row& row : cue.rows) {
            text += &row == cue.rows.data() ? "" : "\\N";
            for (const Run& run : row.runs) {
                text += run.style.background ? "{\\rBox" : "{\\r";
                text += run.style.isBold ? "\\b1" : "";
                text += run.style.isItalic ? "\\i1" : "";
                text += run.style.isUnderlined ? "\\u1" : "";
                text += run.style.foreground == Color::Yellow  ? "\\c&H00FFFF&"
                        : run.style.foreground == Color::Cyan  ? "\\c&HFFFF00&"
                        : run.style.foreground != Color::White ? "\\c&H00A5FF&"
                                                               : "";
                text += std::any_of(run.properties.begin(), run.properties.end(),
                                    [](const auto& property) { return property.name == "strikeout"; })
                            ? "\\s1}"
                            : "}";
                text += run.text;
            }
        }
        text += "\n";
    }
    return text;
}

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
/// In those of who writes a file, of a name that has no place there.
constexpr std::string_view kOfNames = "a name of ";

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
                                line->second.find(isRegion ? kOfNames : kOfCodes) != std::string::npos;
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
    {.name = "ebu.ttml", .making = {"--to-format", "ebu-tt-d"}},
    {.name = "in.json"},
    {.name = "all.json"},
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

void make(const Source& source, const TemporaryFolder& folder) {
    const std::vector<Cue> cues = cuesOfEveryStyle();
    if (source.name == "in.srt" || source.name == "in.ass") {
        folder.write(source.name, source.name == "in.srt" ? subRipOf(cues) : subStationOf(cues));
        return;
    }
    const std::string vtt = folder.write(source.name == "in.vtt" ? source.name : "first.vtt", webVttOf(cues));
    if (source.name == "in.json") {
        ASSERT_EQ(runTool({"subs", vtt, "--json", "-o", folder.path(source.name)}).exitCode, 0);
    } else if (source.name != "in.vtt") {
        Arguments arguments{"convert", vtt, "-o", folder.path(source.name)};
        arguments.insert(arguments.end(), source.making.begin(), source.making.end());
        const ToolResult made = runTool(arguments);
        ASSERT_EQ(made.exitCode, 0) << made.err;
    }
}

TEST_P(Matrix, CarriesWhatTheTableSays) {
    const TemporaryFolder folder;
    const Source& source = GetParam();
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
