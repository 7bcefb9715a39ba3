#include <qlx/subtitles/webvtt.h>

#include "subtitles/CueWriting.h"
#include "subtitles/TextTime.h"
#include "subtitles/WebVttColors.h"
#include "subtitles/WebVttSettings.h"
#include "subtitles/WebVttSpans.h"
#include "subtitles/WebVttStyles.h"

#include <qlx/subtitles/colors.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::string_view kCueProperties[] = {properties::kWebVttNote, properties::kWebVttVertical,
                                               properties::kWebVttLine, properties::kWebVttPosition,
                                               properties::kWebVttSize, properties::kWebVttAlign};

bool isPlain(const Run& run) noexcept {
    return run.properties.empty() && run.style == Style{};
}

void countLosses(const Run& run, const RunSpans& spans, RowLosses& losses) {
    losses.styles += run.style.isFlashing || spans.isStyleLost ? 1 : 0;
    losses.colors += spans.isColorLost ? 1 : 0;
    losses.properties += std::count_if(run.properties.begin(), run.properties.end(), [&](const Property& property) {
        const bool isColor = property.name == properties::kColor && !spans.isColorLost &&
                             property.value == hexColorText(exactColorOf(run));
        return !isColor && !isWrittenAsSpan(property);
    });
}

/// The times inside of a cue (W3C WebVTT, cue timestamps): within it, each later than the one in front of it.
class InnerTimes {
public:
    explicit InnerTimes(const UnitSpan& span) : _span(span), _last(span.start) {}

    /// The time to be written in front of a run: none where it has none of its own, or none that can be written.
    std::optional<std::int64_t> take(const Run& run, RowLosses& losses) {
        if (!run.from.isValid() || run.from == _from) {
            return std::nullopt;
        }
        _from = run.from;
        const std::int64_t time = unitsOf(run.from, 1000);
        if (time <= _last || time >= _span.end) {
            // What is there from the beginning, or from the time of what is in front of it, needs none.
            losses.runTimes += time == _last || (time < _last && _last == _span.start) ? 0 : 1;
            return std::nullopt;
        }
        _last = time;
        return time;
    }

private:
    UnitSpan _span;
    std::int64_t _last;
    MediaTime _from;
};

/// Appends a row, with the spans closed at its end.
void appendRow(const Row& row, const Surroundings& around, InnerTimes& times, RowLosses& losses, std::string& text) {
    const std::size_t begin = text.size();
    std::vector<OpenSpan> open;
    const auto closeDownTo = [&](std::size_t kept) {
        for (; open.size() > kept; open.pop_back()) {
            text += "</";
            text += open.back().name;
            text += '>';
        }
    };
    for (const Run& run : row.runs) {
        RunSpans found;
        if (!isPlain(run) || !around.language.empty() || around.styles != nullptr) {
            found = spansOf(run, around);
            countLosses(run, found, losses);
        }
        const std::vector<OpenSpan>& spans = found.spans;
        const auto different = std::mismatch(open.begin(), open.end(), spans.begin(), spans.end());
        closeDownTo(static_cast<std::size_t>(different.first - open.begin()));
        for (auto span = different.second; span != spans.end(); ++span) {
            text += '<';
            text += span->tag;
            text += '>';
            open.push_back(*span);
        }
        if (const auto time = times.take(run, losses)) {
            text += '<';
            appendTextTime(text, *time, '.');
            text += '>';
        }
        appendEscaped(text, run.text);
    }
    closeDownTo(0);
    if (text.size() == begin) {
        text += "&nbsp;";
    }
    text += '\n';
}

/// Whether a row stands as many rows below the first one as it comes behind it, each as high as one or two.
bool isBehind(const Row& row, const Row& first, std::uint64_t rows) noexcept {
    constexpr std::uint64_t kDouble = 2;
    return (first.number == 0 && row.number == 0) ||
           (row.number >= first.number + rows && row.number <= first.number + kDouble * rows);
}

/// Whether a row begins where the settings of the first one put it: in its column, or else at the side of its anchor.
bool isBeside(const Cue& cue, const Row& row, std::uint8_t anchor) noexcept {
    const Row& first = cue.rows.front();
    const bool hasColumn = first.anchor == 0 && first.number != 0 && first.column != 0 && cue.screenColumns != 0;
    return hasColumn ? row.column == first.column : standsAtSide(cue, row, anchor == 0 ? 1 : (anchor - 1U) % 3U);
}

/// What stands besides cues: with no arrow in it, which would be times, and no empty line, which would end it.
class RestWriter {
public:
    explicit RestWriter(std::string& text) : _text(text) {}
    RestWriter(const RestWriter&) = delete;
    RestWriter& operator=(const RestWriter&) = delete;

    void appendBlock(std::string_view block) {
        while (!block.empty()) {
            const std::size_t end = std::min(block.find_first_of("\r\n"), block.size());
            appendWithoutArrows(block.substr(0, end));
            _emptyLines += end == 0 ? 1 : 0;
            _text += end == 0 ? "" : "\n";
            block.remove_prefix(std::min(end + (block.substr(end).starts_with("\r\n") ? 2 : 1), block.size()));
        }
        _text += '\n';
    }

    /// Appends a line of the head.
    void appendHead(std::string_view line) {
        std::string row;
        appendWithoutLineEnds(row, line);
        appendWithoutArrows(row);
        _text += '\n';
    }

    /// Says what is written otherwise.
    void say(const CueReport& report) const {
        report.add(SubtitleRestChanged, _arrows + _emptyLines != 0, _arrows, _emptyLines);
    }

private:
    void appendWithoutArrows(std::string_view line) {
        while (!line.empty()) {
            const std::size_t arrow = line.find("-->");
            const bool hasArrow = arrow != std::string_view::npos;
            _text += line.substr(0, arrow);
            _text += hasArrow ? "-- >" : "";
            _arrows += hasArrow ? 1 : 0;
            line.remove_prefix(hasArrow ? arrow + 3 : line.size());
        }
    }

    std::string& _text;
    std::int64_t _arrows = 0;
    std::int64_t _emptyLines = 0;
};

void addColor(std::uint32_t color, WebVttFile& file) {
    const auto place = std::lower_bound(file.colors.begin(), file.colors.end(), color);
    const bool isThere = place != file.colors.end() && *place == color;
    if (!isWebVttColor(color) && !isThere && file.colors.size() < kMostWebVttColors) {
        file.colors.insert(place, color);
    }
}

/// The colours of a file that its blocks do not define, and whose classes they do not use otherwise.
/// @param defined Gets those that they define.
std::vector<std::uint32_t> colorsToDefine(const WebVttFile& file, std::vector<std::uint32_t>& defined) {
    defined.clear();
    for (const std::string& block : file.blocks) {
        addWebVttColors(block, defined);
    }
    std::vector<std::uint32_t> colors = file.colors;
    sortWebVttColors(colors);
    std::erase_if(colors, [&file](std::uint32_t color) {
        return std::any_of(file.blocks.begin(), file.blocks.end(), [name = ownWebVttClassOf(color)](const auto& block) {
            return block.find(name) != std::string::npos;
        });
    });
    return colors;
}

}  // namespace

void addColorsOf(const Cue& cue, WebVttFile& file) {
    for (const Row& row : cue.rows) {
        for (const Run& run : row.runs) {
            addColor(exactColorOf(run), file);
            if (run.style.background) {
                addColor(bitsOf(*run.style.background), file);
            }
        }
    }
}

void WebVttWriter::begin(const WebVttFile& file, std::string& text) {
    RestWriter rest(text);
    text += "WEBVTT";
    text += file.title.empty() ? "" : " ";
    rest.appendHead(file.title);
    for (const std::string& line : file.header) {
        _language = _language.empty() ? languageOfHead(line) : _language;
        rest.appendHead(line);
    }
    text += '\n';
    for (const std::string& block : file.blocks) {
        rest.appendBlock(block);
    }
    const std::vector<std::uint32_t> colors = colorsToDefine(file, _colors);
    if (!colors.empty()) {
        rest.appendBlock(webVttStyleOf(colors));
        _colors.insert(_colors.end(), colors.begin(), colors.end());
        sortWebVttColors(_colors);
    }
    auto styles = std::make_shared<WebVttStyles>();
    for (const std::string& block : file.blocks) {
        if (!isColorSheet(block)) {
            (void)styles->add(block);
        }
    }
    _styles = styles->isEmpty() ? nullptr : std::move(styles);
    rest.say({_findings, 0});
}

bool WebVttWriter::write(const Cue& given, std::string& text) {
    // One position is that of all rows, unless they are aligned.
    const auto aligned = given.box ? std::nullopt : alignedAtSide(given);
    const Cue& cue = aligned && aligned->rows.front().alignment != Alignment::Left ? *aligned : given;
    const CueReport report(_findings, ++_cues);
    const auto span = writtenSpan(cue, report);
    if (!span) {
        return false;
    }
    std::int64_t lost = 0;
    RestWriter notes(text);
    for (const Property& property : cue.properties) {
        const bool isNote = property.name == properties::kWebVttNote;
        if (isNote) {
            notes.appendBlock(property.value);
        }
        const bool isKnown =
            std::find(std::begin(kCueProperties), std::end(kCueProperties), property.name) != std::end(kCueProperties);
        lost += isKnown && (isNote || isSettingValue(property.value)) ? 0 : 1;
    }
    notes.say(report);
    report.add(SubtitlePropertiesLost, lost != 0, 0, lost);
    report.add(SubtitleRegionLost, !isSettingValue(cue.region), static_cast<std::int64_t>(cue.region.size()));
    const bool isName = cue.identifier.find("-->") == std::string::npos;
    report.add(SubtitleNameLost, !isName, static_cast<std::int64_t>(cue.identifier.size()));
    if (!cue.identifier.empty() && isName) {
        appendWithoutLineEnds(text, cue.identifier);
        text += '\n';
    } else if (cue.number != 0) {
        appendNumber(text, cue.number);
        text += '\n';
    }
    appendTextTime(text, span->start, '.');
    text += " --> ";
    appendTextTime(text, span->end, '.');
    appendSettings(cue, text);
    text += '\n';
    const std::string name = !isName || cue.identifier.empty() ? std::to_string(cue.number) : cue.identifier;
    const Surroundings around{cue.language == _language ? std::string_view() : cue.language, _colors, _styles.get(),
                              cue.number == 0 && cue.identifier.empty() ? std::string_view() : name};
    const Anchors anchors(cue);
    InnerTimes times(*span);
    std::int64_t number = 0;
    for (const Row& row : cue.rows) {
        RowLosses losses;
        appendRow(row, around, times, losses, text);
        const Row& first = cue.rows.front();
        losses.isPlaceLost = cue.box ? row.alignment != first.alignment
                                     : anchors.of(row) != anchors.of(first) || !isBeside(cue, row, anchors.of(first)) ||
                                           !isBehind(row, first, static_cast<std::uint64_t>(number));
        losses.say(report, ++number);
    }
    text += '\n';
    return true;
}

void WebVttWriter::finish(const WebVttFile& file, std::string& text) {
    RestWriter rest(text);
    for (const std::string& note : file.notes) {
        rest.appendBlock(note);
    }
    rest.say({_findings, _cues});
}

}  // namespace qlx::subtitles
