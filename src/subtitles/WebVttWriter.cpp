#include <qlx/subtitles/webvtt.h>

#include "subtitles/CueWriting.h"
#include "subtitles/TextTime.h"
#include "subtitles/WebVttSettings.h"
#include "subtitles/WebVttText.h"

#include <algorithm>
#include <iterator>

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

/// Classes stand in a tag as they are; what would end them is left out.
void appendClasses(std::string& tag, std::string_view classes) {
    constexpr std::string_view kEnds = "> \t\r\n";
    std::copy_if(classes.begin(), classes.end(), std::back_inserter(tag),
                 [&kEnds](char character) { return kEnds.find(character) == std::string_view::npos; });
}

std::string_view classOf(screen::Color color) noexcept {
    const screen::Color nearest = screen::kBasicColors[screen::basicIndex(color)];
    const auto* const found = std::find_if(kWebVttColors.begin(), kWebVttColors.end(),
                                           [nearest](const auto& named) { return named.second == nearest; });
    return found->first;
}

/// The spans in which a run stands, from the outermost on.
std::vector<OpenSpan> spansOf(const Run& run) {
    std::vector<OpenSpan> spans;
    for (const Property& property : run.properties) {
        const auto* const span = std::find_if(std::begin(kSpansOfProperties), std::end(kSpansOfProperties),
                                              [&](const auto& known) { return known.first == property.name; });
        if (span == std::end(kSpansOfProperties)) {
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
    if (run.style.foreground != screen::Color::White) {
        colors += "." + std::string(classOf(run.style.foreground));
    }
    if (run.style.background) {
        colors += "." + std::string(kWebVttBackground) + std::string(classOf(*run.style.background));
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

/// Whether a colour is one of the eight.
bool isBasic(const std::optional<screen::Color>& color) noexcept {
    return !color || screen::kBasicColors[screen::basicIndex(*color)] == *color;
}

void countLosses(const Run& run, RowLosses& losses) {
    losses.styles += run.style.isFlashing ? 1 : 0;
    losses.colors += isBasic(run.style.foreground) && isBasic(run.style.background) ? 0 : 1;
    losses.properties += std::count_if(run.properties.begin(), run.properties.end(), [](const Property& property) {
        return std::none_of(std::begin(kSpansOfProperties), std::end(kSpansOfProperties),
                            [&](const auto& span) { return span.first == property.name; });
    });
}

/// Appends a row, with the spans closed at its end.
void appendRow(const Row& row, MediaTime& from, RowLosses& losses, std::string& text) {
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
        countLosses(run, losses);
        std::vector<OpenSpan> spans = isPlain(run) ? std::vector<OpenSpan>() : spansOf(run);
        const auto different = std::mismatch(open.begin(), open.end(), spans.begin(), spans.end());
        closeDownTo(static_cast<std::size_t>(different.first - open.begin()));
        for (auto span = different.second; span != spans.end(); ++span) {
            text += '<';
            text += span->tag;
            text += '>';
            open.push_back(*span);
        }
        if (run.from.isValid() && run.from != from) {
            from = run.from;
            text += '<';
            appendTextTime(text, std::max<std::int64_t>(0, unitsOf(run.from, 1000)), '.');
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

/// Appends text without its empty lines and with no arrow in it, of which one would end a block and the other be times.
void appendBlock(std::string& text, std::string_view block) {
    while (!block.empty()) {
        const std::size_t end = std::min(block.find_first_of("\r\n"), block.size());
        for (std::string_view line = block.substr(0, end); !line.empty();) {
            const std::size_t arrow = line.find("-->");
            text += line.substr(0, arrow);
            text += arrow == std::string_view::npos ? "" : "-- >";
            line.remove_prefix(arrow == std::string_view::npos ? line.size() : arrow + 3);
        }
        text += end == 0 ? "" : "\n";
        block.remove_prefix(std::min(end + 1, block.size()));
    }
    text += '\n';
}

/// Appends a line of the head.
void appendHead(std::string& text, std::string_view line) {
    std::string row;
    appendWithoutLineEnds(row, line);
    for (std::size_t arrow = row.find("-->"); arrow != std::string::npos; arrow = row.find("-->", arrow)) {
        row.replace(arrow, 3, "-- >");
    }
    text += row;
    text += '\n';
}

}  // namespace

void WebVttWriter::begin(const WebVttFile& file, std::string& text) {
    text += "WEBVTT";
    text += file.title.empty() ? "" : " ";
    appendHead(text, file.title);
    for (const std::string& line : file.header) {
        appendHead(text, line);
    }
    text += '\n';
    for (const std::string& block : file.blocks) {
        appendBlock(text, block);
    }
}

bool WebVttWriter::write(const Cue& cue, std::string& text) {
    const CueReport report(_findings, ++_cues);
    const auto span = writtenSpan(cue, report);
    if (!span) {
        return false;
    }
    std::int64_t lost = 0;
    for (const Property& property : cue.properties) {
        if (property.name == properties::kWebVttNote) {
            appendBlock(text, property.value);
        }
        const bool isKnown =
            std::find(std::begin(kCueProperties), std::end(kCueProperties), property.name) != std::end(kCueProperties);
        const bool isWritten = isKnown && (property.name == properties::kWebVttNote || isSettingValue(property.value));
        lost += isWritten ? 0 : 1;
    }
    report.add(SubtitlePropertiesLost, lost != 0, 0, lost);
    report.add(SubtitleNameLost, !cue.language.empty(), static_cast<std::int64_t>(cue.language.size()));
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
    MediaTime from;
    std::int64_t number = 0;
    for (const Row& row : cue.rows) {
        RowLosses losses;
        appendRow(row, from, losses, text);
        const Row& first = cue.rows.front();
        losses.isPlaceLost = anchorOf(cue, row) != anchorOf(cue, first) || row.column != first.column ||
                             !isBehind(row, first, static_cast<std::uint64_t>(number));
        losses.say(report, ++number);
    }
    text += '\n';
    return true;
}

void WebVttWriter::finish(const WebVttFile& file, std::string& text) {
    for (const std::string& note : file.notes) {
        appendBlock(text, note);
    }
}

}  // namespace qlx::subtitles
