#include "TtmlColors.h"

#include "TtmlStyles.h"

#include <qlx/subtitles/colors.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace qlx::streams::detail {

namespace {

namespace names = subtitles::properties;
using subtitles::Property;
using subtitles::Run;

constexpr std::uint8_t kAll = 0xFF;

/// The colour of 24 bits that a run says it has.
std::optional<std::uint32_t> exactColor(const Run& run) {
    const std::string* const exact = valueOf(run.properties, names::kColor);
    return exact == nullptr ? std::nullopt : subtitles::colorNamed(*exact);
}

}  // namespace

std::string colorOf(const Run& run) {
    const auto color = exactColor(run);
    const std::uint8_t alpha = alphaOf(run.properties, names::kColorAlpha);
    return !color && alpha == kAll && run.style.foreground == screen::Color::White
               ? std::string()
               : subtitles::hexColorText(color.value_or(subtitles::bitsOf(run.style.foreground)), alpha);
}

const std::string* ownBackground(const Run& run) noexcept {
    const std::string* const own = valueOf(run.properties, "ttml.tts:backgroundColor");
    const auto color = own != nullptr && run.style.background ? subtitles::colorNamed(*own) : std::nullopt;
    return color && subtitles::screenColor(*color) == *run.style.background ? own : nullptr;
}

std::string backgroundOf(const Run& run, const std::string* own, bool isEbu) {
    if (own == nullptr) {
        return subtitles::hexColorText(subtitles::bitsOf(*run.style.background),
                                       alphaOf(run.properties, names::kBackgroundAlpha));
    }
    // EBU-TT-D has hexadecimal digits alone.
    return isEbu && !own->starts_with('#')
               ? subtitles::hexColorText(subtitles::colorNamed(*own).value_or(0), alphaOfColor(*own))
               : *own;
}

bool isOfColors(const Run& run, const Property& property, const std::string* background) noexcept {
    const bool isAlphaBehind = property.name == names::kBackgroundAlpha;
    if (property.name == names::kColorAlpha || isAlphaBehind) {
        const bool isWritten = !isAlphaBehind || (run.style.background && background == nullptr);
        return isWritten && valueOf(run.properties, property.name) == &property.value &&
               alphaOf(run.properties, property.name) != kAll;
    }
    return (property.name == names::kColor && exactColor(run).has_value()) || background == &property.value;
}

}  // namespace qlx::streams::detail
