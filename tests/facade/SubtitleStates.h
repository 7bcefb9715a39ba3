// Whole states of subtitle objects, to be compared at once.
#pragma once

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace qlxtest {

/// Every property of a line, with the defaults of a new one.
struct LineState {
    std::optional<std::string> text = std::nullopt;
    bool bold = false;
    bool underline = false;
    bool italic = false;
    std::int32_t color = 7;
    std::int32_t alignment = 2;
    std::int32_t type = 0;
    std::uint64_t row = 0;
    bool colorStaysOpen = false;

    friend bool operator==(const LineState&, const LineState&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const LineState& line) {
        return stream << "{text " << (line.text ? '"' + *line.text + '"' : "none") << " bold " << line.bold
                      << " underline " << line.underline << " italic " << line.italic << " color " << line.color
                      << " alignment " << line.alignment << " type " << line.type << " row " << line.row << " open "
                      << line.colorStaysOpen << "}";
    }
};

/// Every property of a record, with the defaults of a new one.
struct RecordState {
    std::uint64_t index = 0;
    std::int32_t mode = 0;
    bool isValid = false;
    double start = 0;
    double end = 0;
    std::vector<LineState> lines = {};

    friend bool operator==(const RecordState&, const RecordState&) = default;
    friend std::ostream& operator<<(std::ostream& stream, const RecordState& record) {
        stream << "{index " << record.index << " mode " << record.mode << " valid " << record.isValid << " from "
               << record.start << " to " << record.end;
        for (const LineState& line : record.lines) {
            stream << "\n  " << line;
        }
        return stream << "}";
    }
};

inline LineState stateOf(const QLXSubtitleTextLine& line) {
    return {line.textString(),
            line.bold(),
            line.underline(),
            line.italic(),
            line.textColor(),
            line.alignment(),
            line.positioningType(),
            line.verticalPosition(),
            line.colorNeedsToBeAppliedToNextLine()};
}

inline RecordState stateOf(const QLXSubtitleRecord& record) {
    RecordState state{record.index(), record.subtitleMode(), record.isValid(), record.startTimeInSeconds(),
                      record.endTimeInSeconds()};
    for (const auto& line : record.subtitleLines()) {
        state.lines.push_back(stateOf(*line));
    }
    return state;
}

inline std::vector<RecordState> statesOf(const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records) {
    std::vector<RecordState> states;
    for (const auto& record : records) {
        states.push_back(stateOf(*record));
    }
    return states;
}

/// A line with a text and nothing else.
inline std::shared_ptr<QLXSubtitleTextLine> lineWithText(std::string text) {
    auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setTextString(std::move(text));
    return line;
}

}  // namespace qlxtest
