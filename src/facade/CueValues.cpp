#include <qlx/facade/cue.h>

#include "base/Seconds.h"
#include "subtitles/SubtitleColor.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/subtitles/value.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace qlx::facade {

namespace {

subtitles::Row rowOf(const QLXSubtitleTextLine& line) {
    const std::int32_t color = line.textColor();
    const std::int32_t alignment = line.alignment();
    const std::int32_t place = line.positioningType();
    const bool isColor = color >= 0 && static_cast<std::size_t>(color) < screen::kBasicColors.size();
    const bool isAlignment = alignment >= 0 && static_cast<std::size_t>(alignment) < subtitles::kAlignmentNames.size();
    subtitles::Row row;
    row.number = line.verticalPosition();
    row.anchor = place >= 0 && place <= 9 ? static_cast<std::uint8_t>(place) : std::uint8_t{0};
    row.alignment = isAlignment ? static_cast<subtitles::Alignment>(alignment) : subtitles::Alignment::Unchanged;
    subtitles::Run run;
    run.text = line.textString().value_or(std::string());
    run.style.foreground = screen::kBasicColors[static_cast<std::size_t>(isColor ? color : subtitles::kWhite)];
    run.style.isBold = line.bold();
    run.style.isItalic = line.italic();
    run.style.isUnderlined = line.underline();
    row.runs.push_back(std::move(run));
    return row;
}

std::shared_ptr<QLXSubtitleTextLine> lineOf(const subtitles::Row& row) {
    auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setTextString(row.text());
    line->setAlignment(static_cast<std::int32_t>(row.alignment));
    line->setPositioningType(row.anchor);
    line->setVerticalPosition(row.number);
    if (!row.runs.empty()) {
        const subtitles::Style& style = row.runs.front().style;
        line->setTextColor(static_cast<std::int32_t>(screen::basicIndex(style.foreground)));
        line->setBold(style.isBold);
        line->setItalic(style.isItalic);
        line->setUnderline(style.isUnderlined);
    }
    return line;
}

/// The whole seconds and the rest are added up, as they are where the fixed operations read time codes.
double recordSeconds(const MediaTime& time) noexcept {
    if (!time.isValid() || time.timescale <= 0) {
        return std::numeric_limits<double>::quiet_NaN();
    }
    const std::int64_t whole = time.value / time.timescale;
    return static_cast<double>(time.value % time.timescale) / time.timescale + static_cast<double>(whole);
}

}  // namespace

subtitles::Cue toCue(const QLXSubtitleRecord& record) {
    subtitles::Cue cue;
    cue.number = record.index();
    cue.start = timeOfSeconds(record.startTimeInSeconds());
    cue.end = timeOfSeconds(record.endTimeInSeconds());
    const auto lines = record.subtitleLines();
    cue.rows.reserve(lines.size());
    std::transform(lines.begin(), lines.end(), std::back_inserter(cue.rows),
                   [](const std::shared_ptr<QLXSubtitleTextLine>& line) { return rowOf(*line); });
    return cue;
}

std::shared_ptr<QLXSubtitleRecord> toRecord(const subtitles::Cue& cue) {
    auto record = std::make_shared<QLXSubtitleRecord>();
    record->setIndex(cue.number);
    record->setIsValid(true);
    record->setStartTimeInSeconds(recordSeconds(cue.start));
    record->setEndTimeInSeconds(recordSeconds(cue.end));
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
    lines.reserve(cue.rows.size());
    std::transform(cue.rows.begin(), cue.rows.end(), std::back_inserter(lines), &lineOf);
    record->setSubtitleLines(std::move(lines));
    return record;
}

}  // namespace qlx::facade
