#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include "subtitles/CueFields.h"
#include "subtitles/LinePlacement.h"
#include "subtitles/SrtTimecode.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <atomic>
#include <utility>

namespace fields = qlx::subtitles::fields;
namespace keys = qlx::subtitles::keys;

static_assert(QLXSubtitleRecordStartTimeInSecondsKey == keys::kStartSeconds &&
              QLXSubtitleRecordStartTimecodeKey == keys::kStartTimecode &&
              QLXSubtitleRecordEndTimeInSecondsKey == keys::kEndSeconds &&
              QLXSubtitleRecordEndTimecodeKey == keys::kEndTimecode && QLXSubtitleRecordTextLinesKey == keys::kLines);

namespace {

constinit std::atomic<std::uint64_t> changesOfStartTimes{0};

/// The lines of a JSON array: what is no dictionary, or has no text, is left out.
std::vector<std::shared_ptr<QLXSubtitleTextLine>> linesFrom(const qlx::Array& array) {
    std::vector<std::shared_ptr<QLXSubtitleTextLine>> lines;
    lines.reserve(array.size());
    std::uint64_t index = 0;
    for (const qlx::Value& entry : array) {
        const qlx::Dictionary* const dictionary = entry.dictionary();
        if (!dictionary) {
            continue;
        }
        // Lines without text keep their place: the others stand where they would stand beside them.
        auto line =
            QLXSubtitleTextLine::initWithJSONDictionary_lineIndex_lineCount_error(*dictionary, index++, array.size());
        if (line) {
            lines.push_back(std::move(line));
        }
    }
    return lines;
}

}  // namespace

std::shared_ptr<QLXSubtitleRecord> QLXSubtitleRecord::initWithSubtitleMode(std::int32_t subtitleMode) {
    auto result = std::make_shared<QLXSubtitleRecord>();
    result->_subtitleMode.store(subtitleMode, std::memory_order_relaxed);
    return result;
}

std::shared_ptr<QLXSubtitleRecord> QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(
    const qlx::Dictionary& dictionary, std::int32_t subtitleMode, std::optional<qlx::Error>* /*error*/) {
    const qlx::Array* const array = fields::linesIn(dictionary);
    if (!array) {
        return nullptr;
    }
    auto result = initWithSubtitleMode(subtitleMode);
    result->_startTimeInSeconds.store(fields::secondsIn(dictionary, fields::kStart), std::memory_order_relaxed);
    result->_endTimeInSeconds.store(fields::secondsIn(dictionary, fields::kEnd), std::memory_order_relaxed);
    result->_subtitleLines = linesFrom(*array);
    return result;
}

double QLXSubtitleRecord::secondsFromSRTTimecode(std::string_view timecode) noexcept {
    return qlx::srt::secondsFromTimecode(timecode);
}

std::string QLXSubtitleRecord::SRTTimecodeFromSeconds(double seconds) {
    return qlx::srt::timecodeFromSeconds(seconds);
}

qlx::Dictionary QLXSubtitleRecord::JSONDictionary() const {
    qlx::Array lines;
    for (const auto& line : subtitleLines()) {
        lines.emplace_back(line->JSONDictionary());
    }
    const double start = startTimeInSeconds();
    const double end = endTimeInSeconds();
    return {{std::string(QLXSubtitleRecordStartTimecodeKey), SRTTimecodeFromSeconds(start)},
            {std::string(QLXSubtitleRecordEndTimeInSecondsKey), end},
            {std::string(QLXSubtitleRecordEndTimecodeKey), SRTTimecodeFromSeconds(end)},
            {std::string(QLXSubtitleRecordTextLinesKey), std::move(lines)}};
}

void QLXSubtitleRecord::noteStartTimeChange() noexcept {
    changesOfStartTimes.fetch_add(1);
}

std::uint64_t QLXSubtitleRecord::startTimeChanges() noexcept {
    return changesOfStartTimes.load();
}

void QLXSubtitleRecord::enterList() noexcept {
    _isListed.store(true);
    // What is read from now on is the time of before this, or a change that has been counted.
    static_cast<void>(_startTimeInSeconds.load());
}

std::shared_ptr<QLXSubtitleRecord> QLXSubtitleRecord::copyWithZone() const {
    return initWithJSONDictionary_subtitleMode_error(JSONDictionary(), subtitleMode());
}

std::string QLXSubtitleRecord::description() const {
    std::string text;
    for (const auto& line : subtitleLines()) {
        text += '\n';
        text += line->textString().value_or(std::string());
    }
    return qlx::formatted("%@\n%f - %f", text, startTimeInSeconds(), endTimeInSeconds());
}

int QLXSubtitleRecord::compareStartTime(const QLXSubtitleRecord& other) const noexcept {
    const double own = startTimeInSeconds();
    const double others = other.startTimeInSeconds();
    if (others > own) {
        return -1;
    }
    return others == own ? 0 : 1;
}

qlx::AttributedString QLXSubtitleRecord::attributedString() const {
    const qlx::AttributedString newLine("\n", {});
    qlx::AttributedString result;
    for (const auto& line : subtitleLines()) {
        if (!result.runs().empty()) {
            result.append(newLine);
        }
        result.append(line->attributedString());
    }
    return result;
}

void QLXSubtitleRecord::placeLines(const Lines& lines, std::int32_t subtitleMode) {
    namespace placement = qlx::subtitles;
    std::uint64_t index = 0;
    for (const auto& line : lines) {
        const std::int32_t type = line->_positioningType.load(std::memory_order_relaxed);
        if (placement::isPositioningType(type)) {
            if (line->_verticalPosition.load(std::memory_order_relaxed) == 0) {
                line->_verticalPosition.store(placement::rowOfLine(type, index, lines.size(), subtitleMode),
                                              std::memory_order_relaxed);
            }
            line->_alignment.store(placement::alignmentOfPositioningType(type), std::memory_order_relaxed);
        }
        ++index;
    }
}

void QLXSubtitleRecord::updatePositioningForSubtitleMode(std::int32_t subtitleMode) {
    placeLines(subtitleLines(), subtitleMode);
}

std::uint64_t QLXSubtitleRecord::numberOfCEA608Packets() const {
    // Each line takes a two-byte address besides its characters; the caption two codes of two bytes around it.
    std::uint64_t byteCount = 4;
    for (const auto& line : subtitleLines()) {
        byteCount += qlx::utf16Length(line->textString().value_or(std::string())) + 2;
    }
    return byteCount / 2;
}
