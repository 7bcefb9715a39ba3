#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>

#include "subtitles/SrtMarkup.h"
#include "subtitles/SubtitleColor.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace {

constexpr std::int64_t kParameterError = -50;

/// JSON lines are placed on rows below this one only.
constexpr std::uint64_t kJSONRowLimit = 12;

/// By alignment constant.
constexpr std::array<std::string_view, 4> kAlignmentNames{"unchanged", "left", "center", "right"};

/// The text under `key`; none when it is missing, null, or something that has no text.
std::optional<std::string> textIn(const qlx::Dictionary& dictionary, std::string_view key) {
    const qlx::Value* const value = dictionary.find(key);
    return value ? value->stringValue() : std::nullopt;
}

/// The alignment constant of a name in either case; none for an unknown name.
std::optional<std::int32_t> alignmentNamed(std::string_view name) {
    const auto place = std::find(kAlignmentNames.begin(), kAlignmentNames.end(), qlx::asciiLowercased(name));
    if (place == kAlignmentNames.end()) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(place - kAlignmentNames.begin());
}

/// The row of a JSON line: the given one if it is on the screen, else none (0); without one the array's last line
/// lands on row 11 and the others above it. An array of more lines than rows wraps around, as unsigned numbers do.
std::uint64_t rowFrom(const qlx::Value* position, std::uint64_t lineIndex, std::uint64_t lineCount) {
    if (position && !position->isNull()) {
        const std::uint64_t row = position->unsignedValue();
        return row < kJSONRowLimit ? row : 0;
    }
    return lineCount < 2 ? kJSONRowLimit - 1 : lineIndex - lineCount + kJSONRowLimit;
}

qlx::Error missingTextError() {
    return {qlx::services().get<qlx::Application>().identifier(),
            kParameterError,
            {{"Description", "SubtitleTextLine Error: Missing text property in the JSON dictionary"}}};
}

}  // namespace

std::shared_ptr<QLXSubtitleTextLine> QLXSubtitleTextLine::initWithSRTLine(std::string_view line) {
    qlx::srt::MarkedLine marked = qlx::srt::parseMarkup(line);
    auto result = std::make_shared<QLXSubtitleTextLine>();
    result->_textString = std::move(marked.text);
    result->_bold.store(marked.bold, std::memory_order_relaxed);
    result->_underline.store(marked.underline, std::memory_order_relaxed);
    result->_italic.store(marked.italic, std::memory_order_relaxed);
    result->_textColor.store(marked.color, std::memory_order_relaxed);
    result->_positioningType.store(marked.positioningType, std::memory_order_relaxed);
    result->_verticalPosition.store(marked.row, std::memory_order_relaxed);
    result->_colorNeedsToBeAppliedToNextLine.store(marked.colorStaysOpen, std::memory_order_relaxed);
    return result;
}

std::shared_ptr<QLXSubtitleTextLine> QLXSubtitleTextLine::initWithJSONDictionary_lineIndex_lineCount_error(
    const qlx::Dictionary& dictionary, std::uint64_t lineIndex, std::uint64_t lineCount,
    std::optional<qlx::Error>* error) {
    std::optional<std::string> text = textIn(dictionary, QLXSubtitleTextLineTextKey);
    if (!text) {
        if (error) {
            *error = missingTextError();
        }
        return nullptr;
    }
    auto result = std::make_shared<QLXSubtitleTextLine>();
    if (const auto color = textIn(dictionary, QLXSubtitleTextLineColorKey)) {
        result->_textColor.store(qlx::subtitles::colorFromText(*color), std::memory_order_relaxed);
    }
    if (const auto name = textIn(dictionary, QLXSubtitleTextLineAlignmentKey)) {
        if (const auto alignment = alignmentNamed(*name)) {
            result->_alignment.store(*alignment, std::memory_order_relaxed);
        }
    }
    const qlx::Value* const position = dictionary.find(QLXSubtitleTextLineVerticalPositionKey);
    result->_verticalPosition.store(rowFrom(position, lineIndex, lineCount), std::memory_order_relaxed);
    result->_textString = std::move(text);
    return result;
}

qlx::Dictionary QLXSubtitleTextLine::JSONDictionary() const {
    qlx::Dictionary result;
    if (std::optional<std::string> text = textString()) {
        result.set(QLXSubtitleTextLineTextKey, std::move(*text));
    }
    const std::int32_t current = alignment();
    if (current >= 0 && current < static_cast<std::int32_t>(kAlignmentNames.size())) {
        result.set(QLXSubtitleTextLineAlignmentKey, kAlignmentNames[static_cast<std::size_t>(current)]);
    }
    return result;
}

qlx::Dictionary QLXSubtitleTextLine::stringAttributes() const {
    const qlx::Color color = colorWithConstant(textColor());
    return {{"foregroundColor",
             qlx::Dictionary{
                 {"constant", color.constant}, {"red", color.red}, {"green", color.green}, {"blue", color.blue}}},
            {"fontName", "Helvetica"},
            {"fontSize", 16.0},
            {"alignment", "center"}};
}

qlx::AttributedString QLXSubtitleTextLine::attributedString() const {
    return {textString().value_or(std::string()), stringAttributes()};
}

std::int32_t QLXSubtitleTextLine::intWithHexByteString(std::string_view text) const noexcept {
    return qlx::subtitles::hexByte(text);
}

std::int32_t QLXSubtitleTextLine::colorWithHexRGBValue(std::string_view text) const {
    return qlx::subtitles::colorFromText(text);
}

qlx::Color QLXSubtitleTextLine::colorWithConstant(std::int32_t constant) const noexcept {
    return qlx::subtitles::displayColor(constant);
}

std::int32_t QLXSubtitleTextLine::positionWithPositioningTag(std::string_view text) const noexcept {
    return static_cast<std::int32_t>(qlx::integerValue(text));
}
