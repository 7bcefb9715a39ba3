// Cues of every style, and the formats that cues are written in, for the tests of what each of them carries.
#pragma once

#include "cues/CarriedTable.h"
#include "cues/CueInput.h"
#include "io/Rates.h"

#include "Sanitized.h"

#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qlxtest::carried {

using namespace qlx::tool;
using qlx::screen::Color;
using qlx::subtitles::Alignment;
using qlx::subtitles::Cue;
using qlx::subtitles::Row;
using qlx::subtitles::Run;

inline constexpr std::uint64_t kCues = qlxtest::countFor(200U, 30U);

/// Words that look otherwise stand apart, as formats need it whose codes take places.
inline Run runOf(std::string text, std::uint64_t kind) {
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
inline std::vector<Cue> cuesOfEveryStyle() {
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

inline std::string subRipOf(const std::vector<Cue>& cues) {
    std::string text;
    qlx::subtitles::SubRipWriter writer;
    for (const Cue& cue : cues) {
        (void)writer.write(cue, text);
    }
    return text;
}

inline std::string webVttOf(std::vector<Cue> cues) {
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

class NoNotes final : public CueInputNotes {
public:
    void found(const std::string&, const qlx::Finding&) override {}
    void say(const std::string& text, bool isDamage) override { EXPECT_FALSE(isDamage) << text; }
};

struct Target {
    std::string name;               ///< Of the file.
    std::vector<std::string> more;  ///< Of convert.
    CueTarget target;
    bool isSent;        ///< As captions or teletext.
    std::int64_t late;  ///< Milliseconds that times may be off by.
};

inline const Target kTargets[] = {
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
inline std::vector<Cue> readWritten(const std::string& path) {
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

}  // namespace qlxtest::carried
