#include <qlx/subtitles/box.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/times.h>

#include "subtitles/CueWriting.h"
#include "subtitles/SubRipMarkup.h"
#include "subtitles/TextEditing.h"
#include "subtitles/TextTime.h"

#include <algorithm>
#include <limits>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

/// The value of a property of a run; null where there is none, or one that would end its tag or row.
const std::string* writableValue(const Run& run, std::string_view name, std::string_view ends) noexcept {
    const std::string* const value = valueOf(run.properties, name);
    return value == nullptr || value->find_first_of(ends) != std::string::npos ? nullptr : value;
}

const std::string* faceOf(const Run& run) noexcept {
    return writableValue(run, properties::kFontFace, "\"<>\r\n");
}

const std::string* sizeOf(const Run& run) noexcept {
    return writableValue(run, properties::kFontSize, "\"<>\r\n");
}

/// Codes, those of several pairs of braces with `}{` between them.
const std::string* codesOf(const Run& run) noexcept {
    const std::string* const codes = writableValue(run, properties::kSubRipCodes, "\r\n");
    std::size_t brace = codes == nullptr ? std::string::npos : codes->find('}');
    while (brace != std::string::npos && codes->compare(brace + 1, 2, "{\\") == 0) {
        brace = codes->find('}', brace + 1);
    }
    return brace == std::string::npos ? codes : nullptr;
}

bool isWritten(const Run& run, const Property& property) noexcept {
    return property.name == properties::kColor || property.name == properties::kStruckOut ||
           (property.name == properties::kFontFace && faceOf(run) != nullptr) ||
           (property.name == properties::kFontSize && sizeOf(run) != nullptr) ||
           (property.name == properties::kSubRipCodes && codesOf(run) != nullptr);
}

bool hasColor(const Run& run) noexcept {
    return run.style.foreground != screen::Color::White || valueOf(run.properties, properties::kColor) != nullptr;
}

void openTags(const Run& run, std::string& text) {
    if (const std::string* const codes = codesOf(run)) {
        text += "{" + *codes + "}";
    }
    const std::string* const face = faceOf(run);
    const std::string* const size = sizeOf(run);
    if (hasColor(run) || face != nullptr || size != nullptr) {
        text += "<font";
        text += face != nullptr ? " face=\"" + *face + "\"" : "";
        text += size != nullptr ? " size=\"" + *size + "\"" : "";
        text += hasColor(run) ? " color=\"" + hexColorText(exactColorOf(run)) + "\"" : "";
        text += ">";
    }
    text += run.style.isBold ? "<b>" : "";
    text += run.style.isItalic ? "<i>" : "";
    text += run.style.isUnderlined ? "<u>" : "";
    text += valueOf(run.properties, properties::kStruckOut) != nullptr ? "<s>" : "";
}

void closeTags(const Run& run, std::string& text) {
    text += valueOf(run.properties, properties::kStruckOut) != nullptr ? "</s>" : "";
    text += run.style.isUnderlined ? "</u>" : "";
    text += run.style.isItalic ? "</i>" : "";
    text += run.style.isBold ? "</b>" : "";
    const bool hasFont = hasColor(run) || faceOf(run) != nullptr || sizeOf(run) != nullptr;
    text += hasFont ? "</font>" : "";
}

void writeRow(const Row& row, RowLosses& losses, std::string& text) {
    const std::size_t begin = text.size();
    const bool hasTags =
        row.runs.size() != 1 || row.runs.front().style != Style{} || !row.runs.front().properties.empty();
    for (const Run& run : row.runs) {
        losses.styles += run.style.background || run.style.isFlashing ? 1 : 0;
        losses.runTimes += run.from.isValid() ? 1 : 0;
        losses.properties += std::count_if(run.properties.begin(), run.properties.end(),
                                           [&run](const Property& property) { return !isWritten(run, property); });
        losses.isAmbiguous = losses.isAmbiguous || looksLikeSubRipMarkup(run.text, hasTags);
        openTags(run, text);
        appendWithoutLineEnds(text, run.text);
        closeTags(run, text);
    }
    // One in a code, or of two runs, is one in the row.
    losses.isAmbiguous = losses.isAmbiguous || text.find("-->", begin) != std::string::npos;
    if (text.find_first_not_of(" \t", begin) == std::string::npos) {
        // Blanks alone are an empty row for many readers, which ends the cue.
        text.resize(begin);
        text += kEmptyRowText;
    }
    text += '\n';
}

/// Whether a row stands in the line where receivers put it: below, in the middle or at the top, as the anchor says.
/// @param index Among those of the cue, from 0.
bool standsInLine(const Cue& cue, const Row& row, std::uint64_t index, std::uint8_t anchor) noexcept {
    const std::uint64_t rows = screenRowsOf(cue);
    // One row of the screen for each of the cue, on pages also two.
    const auto stands = [&](std::uint64_t height) {
        const std::uint64_t above = height * index;
        if (row.number <= above) {
            return false;
        }
        const std::uint64_t first = row.number - above;
        const std::uint64_t end = first + height * cue.rows.size();
        // In the middle the room above is that below, or one row more or less.
        const BoxEdge edge = edgeOf(anchor);
        return edge == BoxEdge::Top      ? first == 1
               : edge == BoxEdge::Middle ? first + end + 1 >= rows + 2 && first + end <= rows + 3
                                         : end == rows + 1;
    };
    return row.number == 0 || stands(1) || (cue.screenRows == kTeletextRows && stands(2));
}

}  // namespace

bool SubRipWriter::write(const Cue& cue, std::string& text) {
    const CueReport report(_findings, ++_cues);
    const auto span = writtenSpan(cue, report);
    if (!span) {
        return false;
    }
    const auto digits = cueDigits(cue.identifier);
    const bool isCounted = cue.number == 0 && !digits;
    _number = isCounted                   ? _number + (_number == std::numeric_limits<std::uint64_t>::max() ? 0 : 1)
              : digits && cue.number == 0 ? digits->number
                                          : cue.number;
    if (digits) {
        text += cue.identifier;
    } else {
        appendNumber(text, _number);
    }
    text += '\n';
    appendTextTime(text, span->start, ',');
    text += " --> ";
    appendTextTime(text, span->end, ',');
    std::int64_t lost = 0;
    for (const Property& property : cue.properties) {
        if (property.name == properties::kSubRipCoordinates) {
            text += ' ';
            appendWithoutLineEnds(text, property.value);
        } else {
            ++lost;
        }
    }
    text += '\n';
    report.add(SubtitlePropertiesLost, lost != 0, 0, lost);
    sayNamesLost(cue, digits.has_value(), report);
    std::int64_t number = 0;
    const Anchors anchors(cue);
    const std::uint8_t anchor = cue.rows.empty() ? 0 : anchors.of(cue.rows.front());
    if (anchor != 0) {
        text += "{\\an";
        text += static_cast<char>('0' + anchor);
        text += '}';
    }
    for (const Row& row : cue.rows) {
        RowLosses losses;
        writeRow(row, losses, text);
        losses.isPlaceLost = anchors.of(row) != anchor || row.anchor > kGreatestAnchor ||
                             !standsAtSide(cue, row, anchor == 0 ? 1 : (anchor - 1U) % 3U) ||
                             !standsInLine(cue, row, static_cast<std::uint64_t>(number), anchor);
        losses.say(report, ++number);
    }
    text += '\n';
    return true;
}

}  // namespace qlx::subtitles
