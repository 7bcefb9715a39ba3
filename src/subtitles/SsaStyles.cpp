#include "subtitles/SsaStyles.h"

#include "subtitles/BraceCodes.h"
#include "subtitles/TextEditing.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <string>
#include <utility>

namespace qlx::subtitles {

namespace {

/// In lower case. What programs wrote otherwise stands beside it.
constexpr std::pair<std::string_view, SsaColumn> kColumnNames[] = {
    {"name", SsaColumn::Name},
    {"actor", SsaColumn::Name},
    {"fontname", SsaColumn::Font},
    {"fontsize", SsaColumn::Size},
    {"primarycolour", SsaColumn::Primary},
    {"primarycolor", SsaColumn::Primary},
    {"outlinecolour", SsaColumn::Outline},
    {"outlinecolor", SsaColumn::Outline},
    {"backcolour", SsaColumn::Back},
    {"backcolor", SsaColumn::Back},
    {"bold", SsaColumn::Bold},
    {"italic", SsaColumn::Italic},
    {"underline", SsaColumn::Underline},
    {"strikeout", SsaColumn::StrikeOut},
    {"borderstyle", SsaColumn::BorderStyle},
    {"alignment", SsaColumn::Alignment},
    {"marginv", SsaColumn::MarginVertical},
    {"layer", SsaColumn::Layer},
    {"start", SsaColumn::Start},
    {"end", SsaColumn::End},
    {"style", SsaColumn::Style},
    {"effect", SsaColumn::Effect},
    {"text", SsaColumn::Text},
};

constexpr std::size_t kMostColumns = 64;

/// The 32 bits of a colour, alpha highest: `&HAABBGGRR`, or the same number in decimal digits, which may be that of 32 bits
/// with a sign.
std::optional<std::uint32_t> numberOf(std::string_view text) noexcept {
    if (const auto number = codeNumber(text)) {
        return number;
    }
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(number));
}

}  // namespace

void SsaFormat::set(std::string_view names) {
    _columns.clear();
    while (!names.empty() && _columns.size() < kMostColumns) {
        const std::string_view name = trimmed(takePart(names, ','));
        const auto* const known =
            std::find_if(std::begin(kColumnNames), std::end(kColumnNames), [name](const auto& each) {
                return name.size() == each.first.size() && startsWithIgnoringCase(name, each.first);
            });
        _columns.push_back(known == std::end(kColumnNames) ? SsaColumn::Other : known->second);
    }
}

bool SsaFormat::has(SsaColumn column) const noexcept {
    return std::find(_columns.begin(), _columns.end(), column) != _columns.end();
}

bool SsaFormat::split(std::string_view line, SsaFields& fields) const noexcept {
    for (std::size_t index = 0; index < _columns.size(); ++index) {
        const bool isLast = index + 1 == _columns.size();
        const std::size_t size = isLast ? line.size() : line.find(',');
        if (size == std::string_view::npos) {
            fields.set(_columns[index], trimmed(line));
            return false;
        }
        const std::string_view field = line.substr(0, size);
        fields.set(_columns[index], _columns[index] == SsaColumn::Text ? field : trimmed(field));
        line.remove_prefix(isLast ? size : size + 1);
    }
    return true;
}

std::optional<std::int32_t> ssaNumber(std::string_view text) noexcept {
    text.remove_prefix(text.starts_with('+') ? 1 : 0);
    std::int32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = !text.empty() && error == std::errc{} && end == text.data() + text.size();
    return isNumber ? std::optional(number) : std::nullopt;
}

SsaStyle ssaStyleOf(const SsaFields& fields, bool isPlus, bool& isRight) noexcept {
    SsaStyle style;
    const auto numberIn = [&](SsaColumn column) -> std::optional<std::int32_t> {
        const std::string_view field = fields[column];
        const auto number = ssaNumber(field);
        isRight = isRight && (number || field.empty());
        return number;
    };
    const auto takeColor = [&](SsaColumn column, std::uint32_t& color, std::uint8_t& alpha) {
        const auto number = numberOf(fields[column]);
        isRight = isRight && (number || fields[column].empty());
        if (number) {
            // 0 hides all that is behind. Those of v4.00 have none.
            constexpr unsigned kAlpha = 24;
            color = colorOfNumber(*number);
            alpha = isPlus ? static_cast<std::uint8_t>(~(*number >> kAlpha)) : alpha;
        }
    };
    style.isBold = isSsaBold(numberIn(SsaColumn::Bold).value_or(0));
    style.isItalic = numberIn(SsaColumn::Italic).value_or(0) != 0;
    style.isUnderlined = numberIn(SsaColumn::Underline).value_or(0) != 0;
    style.isStruckOut = numberIn(SsaColumn::StrikeOut).value_or(0) != 0;
    constexpr std::int32_t kBox = 3;
    style.isBoxed = numberIn(SsaColumn::BorderStyle).value_or(1) == kBox;
    takeColor(SsaColumn::Primary, style.color, style.alpha);
    takeColor(isPlus ? SsaColumn::Outline : SsaColumn::Back, style.box, style.boxAlpha);
    if (const auto number = numberIn(SsaColumn::Alignment)) {
        constexpr std::int32_t kLast = 9;
        const std::uint8_t anchor = *number <= 0      ? std::uint8_t{0}
                                    : !isPlus         ? anchorOfOldNumber(static_cast<unsigned>(*number))
                                    : *number > kLast ? std::uint8_t{0}
                                                      : static_cast<std::uint8_t>(*number);
        isRight = isRight && anchor != 0;
        style.anchor = anchor != 0 ? anchor : style.anchor;
    }
    if (const auto margin = numberIn(SsaColumn::MarginVertical); margin && *margin >= 0) {
        style.margin = *margin;
    }
    return style;
}

}  // namespace qlx::subtitles
