#include "subtitles/CueFields.h"

#include "subtitles/SrtTimecode.h"
#include "subtitles/SubtitleColor.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <utility>

namespace qlx::subtitles::fields {

namespace {

/// The text under `key`; none when it is missing, null, or something that has no text.
std::optional<std::string> textIn(const Dictionary& dictionary, std::string_view key) {
    const Value* const value = dictionary.find(key);
    return value != nullptr ? value->stringValue() : std::nullopt;
}

/// The alignment of a name in either case; none for an unknown name.
std::optional<Alignment> alignmentNamed(std::string_view name) {
    const auto* const place = std::find(kAlignmentNames.begin(), kAlignmentNames.end(), asciiLowercased(name));
    if (place == kAlignmentNames.end()) {
        return std::nullopt;
    }
    return static_cast<Alignment>(place - kAlignmentNames.begin());
}

/// The row of a line: the given one if it is on the screen, else none (0); without one the array's last line lands on
/// the last row and the others above it.
std::uint64_t rowFrom(const Value* position, std::uint64_t index, std::uint64_t count) noexcept {
    if (position != nullptr) {
        const std::uint64_t row = position->unsignedValue();
        return row <= kLastValueRow ? row : 0;
    }
    return count < 2 ? kLastValueRow : index - count + kLastValueRow + 1;
}

}  // namespace

const Value* valueIn(const Dictionary& dictionary, std::string_view key) noexcept {
    const Value* const value = dictionary.find(key);
    return value != nullptr && !value->isNull() ? value : nullptr;
}

const Array* linesIn(const Dictionary& dictionary) noexcept {
    const Value* const lines = dictionary.find(keys::kLines);
    const Array* const array = lines != nullptr ? lines->array() : nullptr;
    return array != nullptr && !array->empty() ? array : nullptr;
}

double secondsIn(const Dictionary& dictionary, const TimeKeys& names) {
    if (const Value* const seconds = valueIn(dictionary, names.seconds)) {
        return seconds->doubleValue();
    }
    if (const Value* const timecode = valueIn(dictionary, names.timecode)) {
        return srt::secondsFromTimecode(timecode->stringValue().value_or(std::string()));
    }
    return 0.0;
}

std::optional<Line> lineIn(const Dictionary& dictionary, std::uint64_t index, std::uint64_t count) {
    std::optional<std::string> text = textIn(dictionary, keys::kText);
    if (!text) {
        return std::nullopt;
    }
    Line line;
    line.text = *std::move(text);
    if (const auto color = textIn(dictionary, keys::kColor)) {
        line.color = colorFromText(*color);
    }
    if (const auto name = textIn(dictionary, keys::kAlignment)) {
        line.alignment = alignmentNamed(*name);
    }
    line.row = rowFrom(valueIn(dictionary, keys::kRow), index, count);
    return line;
}

}  // namespace qlx::subtitles::fields
