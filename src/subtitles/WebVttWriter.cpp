#include <qlx/subtitles/webvtt.h>

#include "subtitles/CueWriting.h"
#include "subtitles/TextTime.h"
#include "subtitles/WebVttColors.h"
#include "subtitles/WebVttSettings.h"

#include <qlx/subtitles/colors.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

/// The spans that a property of a run is, and their tags.
constexpr std::pair<std::string_view, std::string_view> kSpansOfProperties[] = {
    {properties::kWebVttClass, "c"},   {properties::kWebVttVoice, "v"},     {properties::kWebVttLanguage, "lang"},
    {properties::kWebVttRuby, "ruby"}, {properties::kWebVttRubyText, "rt"},
};

constexpr std::string_view kCueProperties[] = {properties::kWebVttNote, properties::kWebVttVertical,
                                               properties::kWebVttLine, properties::kWebVttPosition,
                                               properties::kWebVttSize, properties::kWebVttAlign};

/// A span that is open: its tag's name and all of the tag.
struct OpenSpan {
    std::string_view name;
    std::string tag;

    friend bool operator==(const OpenSpan&, const OpenSpan&) = default;
};

void appendEscaped(std::string& text, std::string_view more) {
    for (const char character : more) {
        switch (character) {
        case '&':
            text += "&amp;";
            break;
        case '<':
            text += "&lt;";
            break;
        case '>':
            text += "&gt;";
            break;
        case '\r':
        case '\n':
            text += ' ';
            break;
        default:
            text += character;
            break;
        }
    }
}

constexpr std::string_view kEndsOfClasses = "> \t\r\n";

/// Classes stand in a tag as they are; what would end them is left out.
void appendClasses(std::string& tag, std::string_view classes) {
    std::copy_if(classes.begin(), classes.end(), std::back_inserter(tag),
                 [](char character) { return kEndsOfClasses.find(character) == std::string_view::npos; });
}

/// What the text of a cue stands in.
struct Surroundings {
    std::string_view language;              ///< Of the cue, unless it is that of the file.
    std::span<const std::uint32_t> colors;  ///< That the file defines.
};

/// Whether a property of a run is written as it is.
bool isWritten(const Property& property) noexcept {
    const bool isClass = property.name == properties::kWebVttClass;
    return property.value.find_first_of(isClass ? kEndsOfClasses : "\r\n") == std::string::npos &&
           std::any_of(std::begin(kSpansOfProperties), std::end(kSpansOfProperties),
                       [&property](const auto& span) { return span.first == property.name; });
}

/// The spans in which a run stands, from the outermost on.
std::vector<OpenSpan> spansOf(const Run& run, const Surroundings& around) {
    std::vector<OpenSpan> spans;
    const std::string_view language = around.language;
    if (!language.empty() && valueOf(run.properties, properties::kWebVttLanguage) == nullptr) {
        std::string tag = "lang ";
        appendEscaped(tag, language);
        spans.push_back({"lang", std::move(tag)});
    }
    for (auto place = run.properties.begin(); place != run.properties.end(); ++place) {
        const Property& property = *place;
        const auto* const span = std::find_if(std::begin(kSpansOfProperties), std::end(kSpansOfProperties),
                                              [&](const auto& known) { return known.first == property.name; });
        if (span == std::end(kSpansOfProperties)) {
            continue;
        }
        const auto next = std::next(place);
        if (property.name == properties::kWebVttClass && next != run.properties.end() &&
            next->name == properties::kWebVttRubyText) {
            // The text of ruby is none but right within its ruby (W3C WebVTT, 6.4): its tag has its classes.
            std::string tag = "rt.";
            appendClasses(tag, property.value);
            spans.push_back({"rt", std::move(tag)});
            place = next;
            continue;
        }
        std::string tag(span->second);
        if (!property.value.empty()) {
            const bool isClass = property.name == properties::kWebVttClass;
            tag += isClass ? '.' : ' ';
            isClass ? appendClasses(tag, property.value) : appendEscaped(tag, property.value);
        }
        spans.push_back({span->second, std::move(tag)});
    }
    std::string colors;
    constexpr std::string_view kDefault = "white";
    if (const std::string name = webVttClassOf(exactColorOf(run), around.colors); name != kDefault) {
        colors += "." + name;
    }
    if (run.style.background) {
        colors += "." + std::string(kWebVttBackground) + webVttClassOf(bitsOf(*run.style.background), around.colors);
    }
    if (!colors.empty()) {
        spans.push_back({"c", "c" + colors});
    }
    for (const auto& [isSo, name] : {std::pair(run.style.isBold, "b"), std::pair(run.style.isItalic, "i"),
                                     std::pair(run.style.isUnderlined, "u")}) {
        if (isSo) {
            spans.push_back({name, name});
        }
    }
    return spans;
}

bool isPlain(const Run& run) noexcept {
    return run.properties.empty() && run.style == Style{};
}

/// Whether a colour has a class.
bool hasClass(std::uint32_t color, const Surroundings& around) {
    return isWebVttColor(color) || std::binary_search(around.colors.begin(), around.colors.end(), color);
}

void countLosses(const Run& run, const Surroundings& around, RowLosses& losses) {
    losses.styles += run.style.isFlashing ? 1 : 0;
    const bool hasForeground = hasClass(exactColorOf(run), around);
    const bool hasBackground = !run.style.background || hasClass(bitsOf(*run.style.background), around);
    losses.colors += hasForeground && hasBackground ? 0 : 1;
    losses.properties += std::count_if(run.properties.begin(), run.properties.end(), [&](const Property& property) {
        const bool isColor =
            property.name == properties::kColor && hasForeground && property.value == hexColorText(exactColorOf(run));
        return !isColor && !isWritten(property);
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
        std::vector<OpenSpan> spans;
        if (!isPlain(run) || !around.language.empty()) {
            countLosses(run, around, losses);
            spans = spansOf(run, around);
        }
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
    rest.say({_findings, 0});
}

bool WebVttWriter::write(const Cue& cue, std::string& text) {
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
    report.add(SubtitleNameLost, !isSettingValue(cue.region), static_cast<std::int64_t>(cue.region.size()));
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
    const Surroundings around{cue.language == _language ? std::string_view() : cue.language, _colors};
    InnerTimes times(*span);
    std::int64_t number = 0;
    for (const Row& row : cue.rows) {
        RowLosses losses;
        appendRow(row, around, times, losses, text);
        const Row& first = cue.rows.front();
        losses.isPlaceLost = anchorOf(cue, row) != anchorOf(cue, first) || row.column != first.column ||
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
