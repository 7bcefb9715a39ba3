#include "subtitles/BraceCodes.h"

#include "subtitles/TextEditing.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <string>

namespace qlx::subtitles {

namespace {

/// The round brackets that are open behind a character.
std::size_t depthBehind(char character, std::size_t depth) noexcept {
    return character == '(' ? depth + 1 : character == ')' && depth > 0 ? depth - 1 : depth;
}

std::optional<double> coordinateOf(std::string_view text) noexcept {
    text = trimmed(text);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    const bool isNumber = !text.empty() && error == std::errc{} && end == text.data() + text.size();
    return isNumber && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

}  // namespace

bool leavesBracketOpen(std::string_view code) noexcept {
    std::size_t depth = 0;
    for (const char character : code) {
        depth = depthBehind(character, depth);
    }
    return depth > 0;
}

std::string_view takeCodeOf(std::string_view& codes) noexcept {
    std::size_t depth = 0;
    std::size_t size = 0;
    for (; size < codes.size() && (codes[size] != '\\' || depth > 0); ++size) {
        depth = depthBehind(codes[size], depth);
    }
    const std::string_view code = codes.substr(0, size);
    codes.remove_prefix(std::min(size + 1, codes.size()));
    return code;
}

std::optional<std::uint32_t> codeNumber(std::string_view text) noexcept {
    if (!text.starts_with("&H") && !text.starts_with("&h")) {
        return std::nullopt;
    }
    text.remove_prefix(2);
    text = text.substr(0, text.find('&'));
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    if (error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

std::optional<std::uint32_t> codeColor(std::string_view text) noexcept {
    const auto number = codeNumber(text);
    return number ? std::optional(colorOfNumber(*number)) : std::nullopt;
}

std::uint8_t anchorOfOldNumber(unsigned number) noexcept {
    constexpr std::uint8_t kAnchors[] = {0, 1, 2, 3, 0, 7, 8, 9, 0, 4, 5, 6};
    return number < std::size(kAnchors) ? kAnchors[number] : std::uint8_t{0};
}

std::optional<CodePosition> positionOfCode(std::string_view code) noexcept {
    constexpr std::string_view kName = "pos(";
    if (!code.starts_with(kName) || !code.ends_with(')')) {
        return std::nullopt;
    }
    std::string_view inside = code.substr(kName.size(), code.size() - kName.size() - 1);
    const auto x = coordinateOf(takePart(inside, ','));
    const auto y = coordinateOf(inside);
    return x && y ? std::optional(CodePosition{*x, *y}) : std::nullopt;
}

Box boxAt(CodePosition place, std::uint8_t anchor) noexcept {
    constexpr double kWhole = 100;
    const double x = std::clamp(place.x, 0.0, kWhole);
    const double y = std::clamp(place.y, 0.0, kWhole);
    const auto around = [](double middle) { return 2 * std::min(middle, kWhole - middle); };
    const unsigned side = (anchor - 1U) % 3U;
    Box box;
    box.edge = anchor > 6 ? BoxEdge::Top : anchor > 3 ? BoxEdge::Middle : BoxEdge::Bottom;
    box.height = box.edge == BoxEdge::Top ? kWhole - y : box.edge == BoxEdge::Bottom ? y : around(y);
    box.top = box.edge == BoxEdge::Top ? y : box.edge == BoxEdge::Bottom ? 0 : y - box.height / 2;
    box.width = side == 0 ? kWhole - x : side == 1 ? around(x) : x;
    box.left = side == 0 ? x : side == 1 ? x - box.width / 2 : 0;
    return box;
}

}  // namespace qlx::subtitles
