#include "subtitles/SubtitleColor.h"

#include "subtitles/TextEditing.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

namespace qlx::subtitles {

namespace {

/// The constants are the teletext alphanumeric colour codes; a component is high from here on.
constexpr std::int64_t kHighComponent = 128;

/// By (red high) + 2 x (green high) + 4 x (blue high).
constexpr std::array<std::int32_t, 8> kConstantOfHighComponents{kWhite, 1, 2, 3, 4, 5, 6, kWhite};

constexpr std::array<Color, 7> kDisplayColors{{
    {1, 1, 0, 0},  // red
    {2, 0, 1, 0},  // green
    {3, 1, 1, 0},  // yellow
    {4, 0, 0, 1},  // blue
    {5, 1, 0, 1},  // magenta
    {6, 0, 1, 1},  // cyan
    {7, 1, 1, 1},  // white
}};

std::int32_t classified(std::int64_t red, std::int64_t green, std::int64_t blue) {
    const std::size_t place =
        (red >= kHighComponent ? 1U : 0U) + (green >= kHighComponent ? 2U : 0U) + (blue >= kHighComponent ? 4U : 0U);
    return kConstantOfHighComponents[place];
}

/// The first characters of a text (UTF-16 code units) as hexadecimal digits, 0 for a character that is no digit.
class HexCharacters {
public:
    static constexpr std::size_t kMaxCount = 7;

    explicit HexCharacters(std::string_view text) noexcept {
        while (!text.empty() && _count < kMaxCount) {
            const char32_t codePoint = takeCodePoint(text);
            append(digitOf(codePoint));
            if (codePoint > 0xFFFF) {
                append(0);
            }
        }
    }

    /// The number of characters, at most kMaxCount.
    [[nodiscard]] std::size_t count() const noexcept { return _count; }

    [[nodiscard]] std::int32_t byteAt(std::size_t index) const noexcept {
        return _digits[index] * 16 + _digits[index + 1];
    }

    /// The colour of the three bytes from `index` on.
    [[nodiscard]] std::int32_t colorAt(std::size_t index) const noexcept {
        return classified(byteAt(index), byteAt(index + 2), byteAt(index + 4));
    }

private:
    static std::int32_t digitOf(char32_t codePoint) noexcept {
        if (codePoint >= U'0' && codePoint <= U'9') {
            return static_cast<std::int32_t>(codePoint - U'0');
        }
        if (codePoint >= U'a' && codePoint <= U'f') {
            return static_cast<std::int32_t>(codePoint - U'a') + 10;
        }
        return 0;
    }

    void append(std::int32_t digit) noexcept {
        if (_count < kMaxCount) {
            _digits[_count++] = digit;
        }
    }

    std::array<std::int32_t, kMaxCount> _digits{};
    std::size_t _count = 0;
};

/// The colour of `rgb(...)` or `rgba(...)` with exactly `partCount` parts; alpha does not matter.
std::int32_t colorOfFunction(std::string value, std::string_view opening, std::ptrdiff_t partCount) {
    removeAllIgnoringCase(value, opening);
    removeAllIgnoringCase(value, ")");
    if (std::count(value.begin(), value.end(), ',') + 1 != partCount) {
        return kWhite;
    }
    std::string_view rest = value;
    std::array<std::int64_t, 3> components{};
    for (std::int64_t& component : components) {
        component = integerValue(takePart(rest, ','));
    }
    return classified(components[0], components[1], components[2]);
}

}  // namespace

std::int32_t hexByte(std::string_view text) noexcept {
    const HexCharacters characters(text);
    return characters.count() == 2 ? characters.byteAt(0) : 0;
}

std::int32_t colorFromText(std::string_view text) {
    std::string value = asciiLowercased(text);
    if (value.starts_with('#')) {
        const HexCharacters characters(value);
        return characters.count() == HexCharacters::kMaxCount ? characters.colorAt(1) : kWhite;
    }
    if (value.starts_with("rgba(")) {
        return colorOfFunction(std::move(value), "rgba(", 4);
    }
    if (value.starts_with("rgb(")) {
        return colorOfFunction(std::move(value), "rgb(", 3);
    }
    // Six characters are hexadecimal whatever they are: files carry bare values, and a wrong digit counts as 0.
    const HexCharacters characters(value);
    return characters.count() == 6 ? characters.colorAt(0) : kWhite;
}

bool isColorText(std::string_view text) {
    constexpr std::size_t kHexDigits = 6;
    constexpr std::size_t kComponents = 3;
    constexpr std::int64_t kGreatestComponent = 255;
    const std::string value = asciiLowercased(text);
    std::string_view rest = value;
    if (!rest.starts_with("rgb")) {
        rest.remove_prefix(rest.starts_with('#') ? 1 : 0);
        return rest.size() == kHexDigits && rest.find_first_not_of("0123456789abcdef") == std::string_view::npos;
    }
    const bool hasAlpha = rest.starts_with("rgba(");
    if ((!hasAlpha && !rest.starts_with("rgb(")) || !rest.ends_with(')')) {
        return false;
    }
    rest = rest.substr(rest.find('(') + 1);
    rest.remove_suffix(1);
    if (std::count(rest.begin(), rest.end(), ',') != (hasAlpha ? 3 : 2)) {
        return false;
    }
    for (std::size_t index = 0; index < kComponents; ++index) {
        const std::string_view component = trimmed(takePart(rest, ','));
        if (!isWholeNumber(component) || integerValue(component) > kGreatestComponent) {
            return false;
        }
    }
    return true;
}

Color displayColor(std::int32_t constant) noexcept {
    return constant >= 1 && constant <= kWhite ? kDisplayColors[static_cast<std::size_t>(constant) - 1]
                                               : kDisplayColors.back();
}

}  // namespace qlx::subtitles
