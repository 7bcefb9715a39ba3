#include "subtitles/WebVttColors.h"

#include <qlx/screen/screen.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace qlx::subtitles {

namespace {

constexpr std::string_view kOwn = "rgb";
constexpr std::string_view kStyle = "STYLE";

constexpr std::array<std::pair<std::string_view, screen::Color>, 8> kKnown{{
    {"white", screen::Color::White},
    {"lime", screen::Color::Green},
    {"cyan", screen::Color::Cyan},
    {"red", screen::Color::Red},
    {"yellow", screen::Color::Yellow},
    {"magenta", screen::Color::Magenta},
    {"blue", screen::Color::Blue},
    {"black", screen::Color::Black},
}};

/// The colour of `rgbffa500`.
std::optional<std::uint32_t> colorOfOwnClass(std::string_view name) noexcept {
    constexpr std::size_t kDigits = 6;
    constexpr int kBase = 16;
    if (name.size() != kOwn.size() + kDigits || !name.starts_with(kOwn) ||
        name.find_first_not_of("0123456789abcdef", kOwn.size()) != std::string_view::npos) {
        return std::nullopt;
    }
    std::uint32_t color = 0;
    std::from_chars(name.data() + kOwn.size(), name.data() + name.size(), color, kBase);
    return color;
}

void appendRules(std::uint32_t color, std::string& text) {
    const std::string value = hexColorText(color);
    const std::string name = ownWebVttClassOf(color);
    text += "\n::cue(." + name + ") {color: " + value + "}";
    if (isWebVttBackground(color)) {
        text += "\n::cue(." + std::string(kWebVttBackground) + name + ") {background-color: " + value + "}";
    }
}

/// The colours that a style sheet defines, if it is one of webVttStyleOf(); none else.
std::optional<std::vector<std::uint32_t>> colorsOfWebVttStyle(std::string_view block) {
    constexpr std::string_view kSelector = "\n::cue(.";
    std::vector<std::uint32_t> colors;
    if (!block.starts_with(kStyle)) {
        return std::nullopt;
    }
    block.remove_prefix(kStyle.size());
    while (!block.empty() && block != "\n") {
        const std::size_t begin = std::min(kSelector.size(), block.size());
        const auto color = colorOfOwnClass(block.substr(begin, std::min(block.find(')'), block.size()) - begin));
        std::string rules;
        if (color) {
            appendRules(*color, rules);
        }
        if (!color || !block.starts_with(rules)) {
            return std::nullopt;
        }
        colors.push_back(*color);
        block.remove_prefix(rules.size());
    }
    return colors.empty() ? std::nullopt : std::optional(std::move(colors));
}

}  // namespace

std::optional<std::uint32_t> colorOfWebVttClass(std::string_view name,
                                                std::span<const std::uint32_t> defined) noexcept {
    const auto* const known =
        std::find_if(kKnown.begin(), kKnown.end(), [name](const auto& each) { return each.first == name; });
    if (known != kKnown.end()) {
        return bitsOf(known->second);
    }
    const auto own = colorOfOwnClass(name);
    return own && std::binary_search(defined.begin(), defined.end(), *own) ? own : std::nullopt;
}

bool isWebVttBackground(std::uint32_t color) noexcept {
    return bitsOf(screenColor(color)) == color;
}

std::string ownWebVttClassOf(std::uint32_t color) {
    return std::string(kOwn) + hexColorText(color).substr(1);
}

bool isWebVttColor(std::uint32_t color) noexcept {
    return std::any_of(kKnown.begin(), kKnown.end(),
                       [color](const auto& each) { return bitsOf(each.second) == color; });
}

std::string webVttClassOf(std::uint32_t color, std::span<const std::uint32_t> defined) {
    if (std::binary_search(defined.begin(), defined.end(), color)) {
        return ownWebVttClassOf(color);
    }
    const screen::Color nearest = screen::kBasicColors[screen::basicIndex(screenColor(color))];
    const auto* const known =
        std::find_if(kKnown.begin(), kKnown.end(), [nearest](const auto& each) { return each.second == nearest; });
    return std::string(known->first);
}

std::string webVttStyleOf(std::span<const std::uint32_t> colors) {
    std::string text(kStyle);
    for (const std::uint32_t color : colors) {
        appendRules(color, text);
    }
    return text;
}

bool isColorSheet(std::string_view block) {
    return colorsOfWebVttStyle(block).has_value();
}

void addWebVttColors(std::string_view block, std::vector<std::uint32_t>& colors) {
    if (const auto more = colorsOfWebVttStyle(block)) {
        colors.insert(colors.end(), more->begin(), more->end());
        sortWebVttColors(colors);
    }
}

void sortWebVttColors(std::vector<std::uint32_t>& colors) {
    std::sort(colors.begin(), colors.end());
    colors.erase(std::unique(colors.begin(), colors.end()), colors.end());
}

}  // namespace qlx::subtitles
