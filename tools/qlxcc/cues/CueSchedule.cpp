#include "cues/CueSchedule.h"

#include "cues/Schedule.h"
#include "io/Text.h"
#include "io/Times.h"

#include <algorithm>

namespace qlx::tool {

namespace {

constexpr std::size_t kCueWidth = 6;
constexpr std::size_t kLateWidth = 4;

}  // namespace

void CueScheduleWriter::writeTitles(const std::string& summary) {
    _output.write(printable(summary) + "\n\n   cue  " + padded("sent from", kTimeWidth) + "  " +
                  padded("due", kTimeWidth) + "  " + padded("on air", kTimeWidth) + "     frame  late  subtitle\n");
}

std::string CueScheduleWriter::timeOf(std::optional<std::uint64_t> frame) const {
    return frame ? timecode(_rate.timeOfFrame(*frame)) : padded("-", kTimeWidth);
}

void CueScheduleWriter::writeCue(const CueCourse& cue) {
    const std::string shown = cue.shown ? rightAligned(*cue.shown, kFrameWidth) + "  " +
                                              rightAligned(*cue.shown - std::min(*cue.shown, cue.due), kLateWidth)
                                        : padded("       -", kFrameWidth) + "  " + padded("   -", kLateWidth);
    _output.write(rightAligned(cue.number, kCueWidth) + "  " + timeOf(cue.sent) + "  " + timeOf(cue.due) + "  " +
                  (cue.shown || cue.isLeftOut ? timeOf(cue.shown) : padded("not yet", kTimeWidth)) + "  " + shown +
                  "  " + printable(cue.text) + "\n");
}

void CueScheduleWriter::write(const Frame&) {
    // Cues appear in their order.
    while (_first < _cues.size() && (_cues[_first].isLeftOut || _cues[_first].shown)) {
        writeCue(_cues[_first++]);
    }
}

void CueScheduleWriter::finish() {
    for (; _first < _cues.size(); ++_first) {
        writeCue(_cues[_first]);
    }
}

}  // namespace qlx::tool
