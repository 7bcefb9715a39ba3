#include "subtitles/BraceCodes.h"

#include <qlx/subtitles/colors.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>

namespace qlx::subtitles {

std::string_view takeCodeOf(std::string_view& codes) noexcept {
    std::size_t depth = 0;
    std::size_t size = 0;
    for (; size < codes.size() && (codes[size] != '\\' || depth > 0); ++size) {
        depth += codes[size] == '(' ? 1 : 0;
        depth -= codes[size] == ')' && depth > 0 ? 1 : 0;
    }
    const std::string_view code = codes.substr(0, size);
    codes.remove_prefix(std::min(size + 1, codes.size()));
    return code;
}

std::optional<std::uint32_t> codeColor(std::string_view text) noexcept {
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
    return (number & 0xFFU) << 16U | (number & 0xFF00U) | (number >> 16U & 0xFFU);
}

std::uint8_t anchorOfOldNumber(unsigned number) noexcept {
    constexpr std::uint8_t kAnchors[] = {0, 1, 2, 3, 0, 7, 8, 9, 0, 4, 5, 6};
    return number < std::size(kAnchors) ? kAnchors[number] : std::uint8_t{0};
}

void setColor(Run& run, std::uint32_t color) {
    run.style.foreground = screenColor(color);
    if (bitsOf(run.style.foreground) != color) {
        run.properties.push_back({std::string(properties::kColor), hexColorText(color)});
    }
}

}  // namespace qlx::subtitles
