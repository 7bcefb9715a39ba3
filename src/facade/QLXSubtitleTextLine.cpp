#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>

#include "subtitles/CueFields.h"
#include "subtitles/SrtMarkup.h"
#include "subtitles/SubtitleColor.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <cstddef>
#include <utility>

namespace keys = qlx::subtitles::keys;

static_assert(QLXSubtitleTextLineTextKey == keys::kText && QLXSubtitleTextLineColorKey == keys::kColor &&
              QLXSubtitleTextLineAlignmentKey == keys::kAlignment &&
              QLXSubtitleTextLineVerticalPositionKey == keys::kRow);

namespace {

constexpr std::int64_t kParameterError = -50;

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
    auto line = qlx::subtitles::fields::lineIn(dictionary, lineIndex, lineCount);
    if (!line) {
        if (error) {
            *error = missingTextError();
        }
        return nullptr;
    }
    auto result = std::make_shared<QLXSubtitleTextLine>();
    if (line->color) {
        result->_textColor.store(*line->color, std::memory_order_relaxed);
    }
    if (line->alignment) {
        result->_alignment.store(static_cast<std::int32_t>(*line->alignment), std::memory_order_relaxed);
    }
    result->_verticalPosition.store(line->row, std::memory_order_relaxed);
    result->_textString = std::move(line->text);
    return result;
}

qlx::Dictionary QLXSubtitleTextLine::JSONDictionary() const {
    qlx::Dictionary result;
    if (std::optional<std::string> text = textString()) {
        result.set(QLXSubtitleTextLineTextKey, std::move(*text));
    }
    const std::int32_t current = alignment();
    if (current >= 0 && current < static_cast<std::int32_t>(qlx::subtitles::kAlignmentNames.size())) {
        result.set(QLXSubtitleTextLineAlignmentKey, qlx::subtitles::kAlignmentNames[static_cast<std::size_t>(current)]);
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
