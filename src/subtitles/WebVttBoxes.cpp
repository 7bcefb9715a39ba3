// Regions and settings of place as boxes of the picture (W3C WebVTT, 7.2), and boxes as settings.
#include "subtitles/TextEditing.h"
#include "subtitles/WebVttSettings.h"

#include <qlx/subtitles/box.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace qlx::subtitles {

namespace {

constexpr double kWhole = 100;
constexpr double kMiddle = 50;
/// Of a line, in per cent of the picture.
constexpr double kLineHeight = 6;

struct Point {
    double x = 0;
    double y = 0;
};

/// `10%,90%`
std::optional<Point> pointIn(std::string_view text) {
    const std::string_view first = takePart(text, ',');
    const auto x = percentIn(first);
    const auto y = percentIn(text);
    return x && y ? std::optional(Point{*x, *y}) : std::nullopt;
}

template <class Number>
std::optional<Number> numberIn(std::string_view text) noexcept {
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::string_view textOf(const Cue& cue, std::string_view name) noexcept {
    const std::string* const value = valueOf(cue.properties, name);
    return value == nullptr ? std::string_view() : std::string_view(*value);
}

/// Which of its points a box has at a position: 0 the left one, 1 the middle, 2 the right one.
int sideOf(std::string_view name, Alignment alignment) noexcept {
    return name == "line-left"             ? 0
           : name == "center"              ? 1
           : name == "line-right"          ? 2
           : alignment == Alignment::Left  ? 0
           : alignment == Alignment::Right ? 2
                                           : 1;
}

/// Where a cue is from left to right: a position, and which point of the cue is there.
struct Position {
    double place = 0;
    int side = 1;
};

/// The computed position and its alignment.
Position positionOf(const Cue& cue, Alignment alignment) {
    std::string_view text = textOf(cue, properties::kWebVttPosition);
    const auto place = percentIn(takePart(text, ','));
    const double usual = alignment == Alignment::Left ? 0 : alignment == Alignment::Right ? kWhole : kMiddle;
    return {place.value_or(usual), sideOf(text, alignment)};
}

/// A cue in a region is as wide as that, and moved along it; what is beyond it is not seen.
Box boxInRegion(const Cue& cue, Alignment alignment, Box region) {
    const Position position = positionOf(cue, alignment);
    const double shift = region.width * (position.place / kWhole - position.side * 0.5);
    region.left += std::max(shift, 0.0);
    region.width -= std::abs(shift);
    return region;
}

/// From top to bottom, of a setting `line`.
void takeLine(std::string_view text, Box& box) {
    const std::string_view number = takePart(text, ',');
    if (const auto percent = percentIn(number)) {
        if (text == "center") {
            box.height = 2 * std::min(*percent, kWhole - *percent);
            box.top = *percent - box.height / 2;
            box.edge = BoxEdge::Middle;
        } else if (text == "end") {
            box.top = 0;
            box.height = *percent;
            box.edge = BoxEdge::Bottom;
        } else {
            box.top = *percent;
            box.height = kWhole - *percent;
            box.edge = BoxEdge::Top;
        }
    } else if (const auto line = numberIn<int>(number)) {
        // Counted from above, and those below 0 from below; a line that the picture has not is its last one.
        const bool isFromAbove = *line >= 0;
        const double beyond = std::min((isFromAbove ? 1.0 * *line : -1.0 - *line) * kLineHeight, kWhole - kLineHeight);
        box.top = isFromAbove ? beyond : 0;
        box.height = kWhole - beyond;
        box.edge = isFromAbove ? BoxEdge::Top : BoxEdge::Bottom;
    }
}

/// Appends `name:12.5%`.
void appendPercent(std::string& text, std::string_view name, double number) {
    constexpr int kDecimals = 3;
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(),
                                            std::clamp(number, 0.0, kWhole), std::chars_format::fixed, kDecimals);
    std::string_view shown(digits.data(), static_cast<std::size_t>(end - digits.data()));
    shown = shown.substr(0, shown.find_last_not_of('0') + 1);
    shown.remove_suffix(shown.ends_with('.') ? 1 : 0);
    text += ' ';
    text += name;
    text += ':';
    text += shown;
    text += '%';
}

}  // namespace

void takeRegion(std::string_view block, WebVttRegions& regions) {
    constexpr std::string_view kBlanks = " \t\f\n";
    Box box;
    int lines = 3;
    Point inRegion{0, kWhole};
    Point inPicture{0, kWhole};
    std::vector<std::string_view> names;
    while (!block.empty()) {
        const std::size_t size = std::min(block.find_first_of(kBlanks), block.size());
        std::string_view value = block.substr(0, size);
        const std::string_view name = takePart(value, ':');
        if (name == "id" && size != name.size()) {
            names.push_back(value);
        } else if (name == "width") {
            box.width = percentIn(value).value_or(box.width);
        } else if (name == "lines") {
            constexpr int kMost = 1000;
            lines = std::clamp(numberIn<int>(value).value_or(lines), 0, kMost);
        } else if (name == "regionanchor") {
            inRegion = pointIn(value).value_or(inRegion);
        } else if (name == "viewportanchor") {
            inPicture = pointIn(value).value_or(inPicture);
        }
        block.remove_prefix(std::min(size + 1, block.size()));
    }
    box.height = lines * kLineHeight;
    box.left = inPicture.x - inRegion.x * box.width / kWhole;
    box.top = inPicture.y - inRegion.y * box.height / kWhole;
    for (const std::string_view name : names) {
        regions.insert_or_assign(std::string(name), box);
    }
}

std::optional<Box> boxOfSettings(const Cue& cue, Alignment alignment, const WebVttRegions& regions) {
    if (const auto region = regions.find(cue.region); region != regions.end()) {
        return boxInRegion(cue, alignment, region->second);
    }
    const std::string_view line = textOf(cue, properties::kWebVttLine);
    const std::string_view size = textOf(cue, properties::kWebVttSize);
    const bool isPlaced = !line.empty() || !size.empty() || !textOf(cue, properties::kWebVttPosition).empty();
    if (!isPlaced || !textOf(cue, properties::kWebVttVertical).empty()) {
        return std::nullopt;
    }
    Box box = kSafeBox;
    takeLine(line, box);
    const Position position = positionOf(cue, alignment);
    const double room = position.side == 0   ? kWhole - position.place
                        : position.side == 2 ? position.place
                                             : 2 * std::min(position.place, kWhole - position.place);
    box.width = std::min(percentIn(size).value_or(kWhole), room);
    box.left = position.place - position.side * box.width / 2;
    return box;
}

void takeRowsBelow(Cue& cue) noexcept {
    std::string_view setting = textOf(cue, properties::kWebVttLine);
    const auto line = numberIn<int>(takePart(setting, ','));
    if (cue.region.empty() && cue.box && line && *line < 0 && cue.rows.size() > 1) {
        const double below = static_cast<double>(cue.rows.size() - 1) * kLineHeight;
        cue.box->height = std::min(kWhole, cue.box->height + below);
    }
}

void appendBox(const Box& box, Alignment alignment, std::string& text) {
    const double bottom = box.top + box.height;
    appendPercent(text, "line",
                  box.edge == BoxEdge::Top      ? box.top
                  : box.edge == BoxEdge::Bottom ? bottom
                                                : (box.top + bottom) / 2);
    text += box.edge == BoxEdge::Top ? "" : box.edge == BoxEdge::Bottom ? ",end" : ",center";
    // The point of the box that has the position is the one that the text is aligned at.
    const bool isLeft = alignment == Alignment::Left;
    const bool isRight = alignment == Alignment::Right;
    const double right = box.left + box.width;
    const double place = isLeft ? box.left : isRight ? right : box.left + box.width / 2;
    const double usual = isLeft ? 0 : isRight ? kWhole : kMiddle;
    if (place != usual) {
        appendPercent(text, "position", place);
    }
    if (box.width < kWhole) {
        appendPercent(text, "size", box.width);
    }
    text += isLeft ? " align:left" : isRight ? " align:right" : "";
}

}  // namespace qlx::subtitles
