#include "cues/Schedule.h"

#include "cues/Teletext.h"
#include "io/Text.h"
#include "io/Times.h"

#include <utility>

namespace qlx::tool {

namespace {

constexpr std::size_t kFieldWidth = 16;

/// `F1 line 12`
std::string fieldTitle(int field, std::uint64_t line) {
    return "F" + std::to_string(field) + " line " + std::to_string(line);
}

}  // namespace

void ScheduleWriter::writeTitles(const std::string& summary) {
    _output.write(printable(summary) + "\n\n");
    _output.write(padded("time", kTimeWidth) + "     frame  " + padded(fieldTitle(1, _lines[0]), kFieldWidth) + "  " +
                  padded(fieldTitle(2, _lines[1]), kFieldWidth) + "  subtitle\n");
}

std::string ScheduleWriter::fieldText(const Frame& frame, std::uint64_t line) const {
    for (const auto& packet : frame.packets) {
        if (packet.line == line) {
            return teletextInWords(packet.userData);
        }
    }
    return "nothing";
}

void ScheduleWriter::write(const Frame& frame) {
    std::array<std::string, 2> fields{fieldText(frame, _lines[0]), fieldText(frame, _lines[1])};
    if (!_isFirst && fields == _fields && frame.subtitle == _subtitle) {
        return;
    }
    if (_isFirst || frame.subtitle != _subtitle) {
        _subtitleText = frame.subtitle ? printable(*frame.subtitle) : "-";
    }
    _isFirst = false;
    _fields = std::move(fields);
    _subtitle = frame.subtitle;
    _output.write(timecode(frame.pts.value_or(MediaTime{})) + "  " + rightAligned(frame.number, kFrameWidth) + "  " +
                  padded(_fields[0], kFieldWidth) + "  " + padded(_fields[1], kFieldWidth) + "  " + _subtitleText +
                  "\n");
}

}  // namespace qlx::tool
