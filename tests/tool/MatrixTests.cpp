// Any format of cues into any other: of 200 cues with every style, what the target carries by the table arrives, and what
// does not arrive is reported.
#include "ToolRunner.h"
#include "cues/CueFeatures.h"
#include "cues/CueInput.h"
#include "io/Rates.h"

#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace matrix_tests {
namespace {

using namespace qlx::tool;
using qlx::screen::Color;
using qlx::subtitles::Alignment;
using qlx::subtitles::Cue;
using qlx::subtitles::Row;
using qlx::subtitles::Run;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;

using Arguments = std::vector<std::string>;

constexpr std::uint64_t kCues = 200;

/// Words that look otherwise stand apart, as formats need it whose codes take places.
Run runOf(std::string text, std::uint64_t kind) {
    Run run;
    run.text = std::move(text);
    run.style.isBold = kind == 1;
    run.style.isItalic = kind == 2 || kind == 8;
    run.style.isUnderlined = kind == 3 || kind == 8;
    run.style.isFlashing = kind == 4;
    run.style.foreground = kind == 5   ? Color::Yellow
                           : kind == 6 ? qlx::screen::colorOf(3, 2, 0)
                           : kind == 8 ? Color::Cyan
                                       : Color::White;
    if (kind == 6) {
        run.properties.push_back({"color", "#ffa500"});
    }
    if (kind == 7 || kind == 8) {
        run.style.background = Color::Blue;
    }
    if (kind == 9) {
        run.properties.push_back({"strikeout", ""});
    }
    return run;
}

/// Every style alone and some together, in all nine places.
std::vector<Cue> cuesOfEveryStyle() {
    constexpr std::int64_t kEvery = 2000;
    std::vector<Cue> cues;
    for (std::uint64_t number = 1; number <= kCues; ++number) {
        Cue cue;
        cue.number = number;
        cue.start = qlx::MediaTime::make(static_cast<std::int64_t>(number) * kEvery + 2000, 1000);
        cue.end = qlx::MediaTime::make(static_cast<std::int64_t>(number) * kEvery + 3200, 1000);
        const auto anchor = static_cast<std::uint8_t>(number % 10);
        constexpr Alignment kSides[] = {Alignment::Right, Alignment::Left, Alignment::Center};
        for (std::uint64_t rows = 1 + number % 2; rows > 0; --rows) {
            Row row;
            row.anchor = anchor == 2 ? std::uint8_t{0} : anchor;
            row.alignment = anchor == 0 ? Alignment::Center : kSides[anchor % 3];
            row.runs.push_back(runOf("Cue ", number / 10 % 10));
            row.runs.push_back(runOf(std::to_string(number) + (rows == 2 ? "a" : "b"), number % 11));
            cue.rows.push_back(std::move(row));
        }
        cues.push_back(std::move(cue));
    }
    return cues;
}

std::string subRipOf(const std::vector<Cue>& cues) {
    std::string text;
    qlx::subtitles::SubRipWriter writer;
    for (const Cue& cue : cues) {
        (void)writer.write(cue, text);
    }
    return text;
}

std::string webVttOf(std::vector<Cue> cues) {
    qlx::subtitles::WebVttFile file;
    file.blocks = {"REGION\nid:r\nlines:2"};
    std::string text;
    qlx::subtitles::WebVttWriter writer;
    writer.begin(file, text);
    for (Cue& cue : cues) {
        if (cue.number % 20 == 0) {
            cue.region = "r";
            cue.identifier = "intro" + std::to_string(cue.number);
        } else if (cue.number % 20 == 1) {
            cue.rows[0].runs[1].from = qlx::MediaTime::make(cue.start.value + 500, 1000);
        } else if (cue.number % 20 == 3) {
            cue.rows[0].runs[1].properties = {{"vtt.v", "Mary"}};
        } else if (cue.number % 20 == 7) {
            cue.rows[0].runs[1].properties = {{"vtt.ruby", ""}};
        }
        (void)writer.write(cue, text);
    }
    return text;
}

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

class NoNotes final : public CueInputNotes {
public:
    void found(const std::string&, const qlx::Finding&) override {}
    void say(const std::string& text, bool isDamage) override { EXPECT_FALSE(isDamage) << text; }
};

struct Target {
    std::string name;  ///< Of the file.
    Arguments more;    ///< Of convert.
    CueTarget target;
    bool isSent;        ///< As captions or teletext.
    std::int64_t late;  ///< Milliseconds that times may be off by.
};

const Target kTargets[] = {
    {"out.srt", {}, CueTarget::SubRip, false, 0},
    {"out.vtt", {}, CueTarget::WebVtt, false, 0},
    {"out.stl", {"--to-rate", "25"}, CueTarget::Stl, false, 20},
    {"out.ttml", {}, CueTarget::Imsc, false, 0},
    {"ebu.ttml", {"--to-format", "ebu-tt-d"}, CueTarget::EbuTtD, false, 0},
    {"out.json", {}, CueTarget::Json, false, 0},
    {"out.scc", {}, CueTarget::Cea608, true, 100},
    {"out.mcc", {"--to-rate", "29.97", "--channel", "CC1"}, CueTarget::Cea608, true, 100},
    {"service.mcc", {"--to-rate", "29.97", "--service", "1"}, CueTarget::Cea708, true, 100},
    {"page.klv", {"--to-rate", "25", "--page", "888"}, CueTarget::Teletext, true, 100},
};

/// All cues of a file.
std::vector<Cue> read(const std::string& path) {
    CueRequest request;
    request.path = path;
    if (path.ends_with("page.klv")) {
        request.page = 0x888;
        request.source.rate = rateNamed("25");
    }
    if (path.ends_with("service.mcc")) {
        request.service = 1;
    }
    NoNotes notes;
    std::vector<Cue> cues;
    (void)readCues(request, notes, [&cues](Cue cue, const CueInput&) { cues.push_back(std::move(cue)); });
    return cues;
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

class Matrix : public testing::TestWithParam<std::string> {};

TEST_P(Matrix, CarriesWhatTheTableSays) {
    const TemporaryFolder folder;
    const std::vector<Cue> cues = cuesOfEveryStyle();
    const std::string& source = GetParam();
    std::string file;
    if (source == "in.srt") {
        file = folder.write(source, subRipOf(cues));
    } else if (source == "in.ass") {
        file = folder.write(source, subStationOf(cues));
    } else if (source == "in.vtt") {
        file = folder.write(source, webVttOf(cues));
    } else {
        const std::string vtt = folder.write("first.vtt", webVttOf(cues));
        file = folder.path(source);
        if (source == "in.json") {
            ASSERT_EQ(runTool({"subs", vtt, "--json", "-o", file}).exitCode, 0);
        } else if (source == "in.ttml") {
            ASSERT_EQ(runTool({"convert", vtt, "-o", file}).exitCode, 0);
        } else {
            ASSERT_EQ(runTool({"convert", vtt, "-o", file, "--to-rate", source == "in.stl" ? "25" : "29.97"}).exitCode,
                      0);
        }
    }
    const std::vector<Cue> from = read(file);
    for (const Target& target : kTargets) {
        SCOPED_TRACE(source + " to " + target.name);
        const bool isCarrier = source == "in.scc" || source == "in.mcc";
        if (isCarrier && (target.target == CueTarget::Teletext || target.target == CueTarget::Cea708)) {
            continue;  // Packets are not made into others.
        }
        Arguments arguments{"convert", file, "-o", folder.path(target.name)};
        if (!(isCarrier && target.isSent)) {
            arguments.emplace_back("--report");
            arguments.insert(arguments.end(), target.more.begin(), target.more.end());
        }
        const ToolResult result = runTool(arguments);
        ASSERT_EQ(result.exitCode, 0) << result.err;
        compare(from, read(folder.path(target.name)), target, reported(result.err));
    }
}

INSTANTIATE_TEST_SUITE_P(Sources, Matrix,
                         testing::Values("in.srt", "in.vtt", "in.ass", "in.stl", "in.ttml", "in.json", "in.scc",
                                         "in.mcc"),
                         [](const auto& source) { return source.param.substr(3); });

}  // namespace
}  // namespace matrix_tests
