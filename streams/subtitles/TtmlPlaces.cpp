#include "TtmlPlaces.h"

#include <qlx/streams/ttml.h>
#include <qlx/subtitles/box.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

namespace {

using subtitles::Alignment;
using subtitles::Box;
using subtitles::BoxEdge;
using subtitles::Cue;
using subtitles::Row;

constexpr double kMargin = subtitles::kSafeBox.left;
constexpr double kInner = subtitles::kSafeBox.width;
constexpr double kWhole = 100;
/// A region that says nothing of its place.
constexpr subtitles::Box kWholeScreen{0, 0, kWhole, kWhole, subtitles::BoxEdge::Top};

enum class Axis : std::uint8_t { Horizontal, Vertical };

std::vector<std::string_view> wordsOf(std::string_view text) {
    constexpr std::string_view kSpaces = " \t\r\n";
    constexpr std::size_t kMost = 4;
    std::vector<std::string_view> words;
    while (words.size() <= kMost) {
        const std::size_t start = text.find_first_not_of(kSpaces);
        if (start == std::string_view::npos) {
            break;
        }
        text.remove_prefix(start);
        const std::size_t size = std::min(text.find_first_of(kSpaces), text.size());
        words.push_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return words;
}

/// A length in per cent of the screen.
std::optional<double> lengthOf(std::string_view text, Axis axis, const ScreenMeasures& measures) {
    double number = 0;
    const char* const end = text.data() + text.size();
    const char* const first = !text.empty() && text.front() == '+' ? text.data() + 1 : text.data();
    const auto [behind, error] = std::from_chars(first, end, number, std::chars_format::fixed);
    constexpr double kGreatest = 1e6;
    if (error != std::errc() || !(std::abs(number) <= kGreatest)) {
        return std::nullopt;
    }
    const std::string_view unit(behind, static_cast<std::size_t>(end - behind));
    const bool isAcross = axis == Axis::Horizontal;
    if (unit == "%" || unit == (isAcross ? "rw" : "rh")) {
        return number;
    }
    if (unit == "c") {
        return number * kWhole / (isAcross ? measures.cellColumns : measures.cellRows);
    }
    const std::optional<double>& pixels = isAcross ? measures.width : measures.height;
    if (unit == "px" && pixels && *pixels > 0) {
        return number * kWhole / *pixels;
    }
    return std::nullopt;
}

/// Two lengths.
std::optional<std::array<double, 2>> pairOf(std::string_view text, const ScreenMeasures& measures) {
    const auto words = wordsOf(text);
    if (words.size() != 2) {
        return std::nullopt;
    }
    const auto first = lengthOf(words[0], Axis::Horizontal, measures);
    const auto second = lengthOf(words[1], Axis::Vertical, measures);
    return first && second ? std::optional(std::array{*first, *second}) : std::nullopt;
}

/// What a word of `tts:position` gives: a percentage of what an extent leaves free, or a length.
std::optional<double> positionOf(std::string_view word, Axis axis, double extent, const ScreenMeasures& measures) {
    const bool isAcross = axis == Axis::Horizontal;
    const double free = kWhole - extent;
    if (word == "center") {
        return free / 2;
    }
    if (word == (isAcross ? "left" : "top")) {
        return 0;
    }
    if (word == (isAcross ? "right" : "bottom")) {
        return free;
    }
    const auto length = lengthOf(word, axis, measures);
    return length && word.ends_with('%') ? std::optional(free * *length / kWhole) : length;
}

/// Both words of `tts:position` (TTML2, 10.2.30); forms of three and four words are not read.
std::optional<std::array<double, 2>> positionsOf(std::string_view text, const Box& place,
                                                 const ScreenMeasures& measures) {
    auto words = wordsOf(text);
    if (words.empty() || words.size() > 2) {
        return std::nullopt;
    }
    const auto isDown = [](std::string_view word) { return word == "top" || word == "bottom"; };
    if (words.size() == 1) {
        words.push_back("center");
        if (isDown(words[0])) {
            std::swap(words[0], words[1]);
        }
    } else if (isDown(words[0]) || words[1] == "left" || words[1] == "right") {
        std::swap(words[0], words[1]);
    }
    const auto first = positionOf(words[0], Axis::Horizontal, place.width, measures);
    const auto second = positionOf(words[1], Axis::Vertical, place.height, measures);
    return first && second ? std::optional(std::array{*first, *second}) : std::nullopt;
}

}  // namespace

std::optional<Box> placeOf(const RegionTexts& texts, const ScreenMeasures& measures, bool& areAllRead) {
    Box place = kWholeScreen;
    areAllRead = true;
    // At its lower edge the whole screen is where text stands that nothing places.
    const bool isAside = texts.displayAlign == "before" || texts.displayAlign == "center";
    bool isKnown = isAside || !texts.origin.empty() || !texts.position.empty() || !texts.extent.empty();
    if (texts.displayAlign == "after") {
        place.edge = BoxEdge::Bottom;
    } else if (texts.displayAlign == "center") {
        place.edge = BoxEdge::Middle;
    } else if (!texts.displayAlign.empty() && texts.displayAlign != "before" && texts.displayAlign != "justify") {
        areAllRead = false;
    }
    const auto take = [&](std::string_view text, const auto& read, double& first, double& second) {
        if (text.empty() || text == "auto") {
            return;
        }
        const auto both = read(text);
        if (both) {
            first = (*both)[0];
            second = (*both)[1];
        } else {
            areAllRead = false;
            isKnown = false;
        }
    };
    const auto pair = [&](std::string_view text) { return pairOf(text, measures); };
    take(texts.extent, pair, place.width, place.height);
    take(texts.origin, pair, place.left, place.top);
    take(
        texts.position, [&](std::string_view text) { return positionsOf(text, place, measures); }, place.left,
        place.top);
    return isKnown ? std::optional(place) : std::nullopt;
}

namespace {

/// How many rows one of text takes: on pages two, as is usual there, unless the cue's next row or the end of the page is
/// nearer.
std::uint64_t heightOnPage(const Cue& cue) {
    const auto first = subtitles::teletextRowOf(cue.screenRows, cue.rows.front().number);
    if (!first) {
        return 1;
    }
    const bool isTall =
        cue.rows.size() > 1 ? cue.rows[1].number == cue.rows.front().number + 2 : *first < subtitles::kTeletextRows;
    return isTall ? 2 : 1;
}

}  // namespace

Box boxFor(const Cue& cue, bool& isLost) {
    isLost = false;
    if (cue.box) {
        isLost = std::any_of(cue.rows.begin(), cue.rows.end(),
                             [&cue](const Row& row) { return row.alignment != cue.rows.front().alignment; });
        return *cue.box;
    }
    Box place = subtitles::kSafeBox;
    if (cue.rows.empty()) {
        return place;
    }
    const Row& firstRow = cue.rows.front();
    const std::uint64_t height = heightOnPage(cue);
    const auto isLike = [&](const Row& row) {
        const auto index = static_cast<std::uint64_t>(&row - cue.rows.data()) * height;
        return row.anchor == firstRow.anchor && row.alignment == firstRow.alignment && row.column == firstRow.column &&
               (firstRow.number == 0 ? row.number == 0 : row.number == firstRow.number + index);
    };
    isLost = !std::all_of(cue.rows.begin(), cue.rows.end(), isLike);
    const std::uint8_t anchor = firstRow.anchor <= 9 ? firstRow.anchor : 0;
    place.edge = subtitles::edgeOf(anchor);
    const double rows = cue.screenRows == 0 ? subtitles::kTallTeletextRows : cue.screenRows;
    const auto number = static_cast<double>(std::min<std::uint64_t>(firstRow.number, UINT16_MAX));
    if (firstRow.number != 0 && number <= rows) {
        const double last = std::min(rows, number + static_cast<double>(cue.rows.size() * height - 1));
        const double top = kMargin + (number - 1) * kInner / rows;
        const double bottom = kMargin + last * kInner / rows;
        place.edge = anchor != 0 ? place.edge : subtitles::thirdOf((number + last) / 2, rows);
        place.top = place.edge == BoxEdge::Bottom ? kMargin : top;
        place.height = (place.edge == BoxEdge::Top ? kMargin + kInner : bottom) - place.top;
    } else {
        isLost = isLost || firstRow.number != 0;
    }
    if (firstRow.column > 1 && cue.screenColumns >= firstRow.column && firstRow.alignment != Alignment::Right &&
        firstRow.alignment != Alignment::Center) {
        const subtitles::ScreenColumn at = subtitles::withoutFrame(firstRow.column, cue.screenColumns);
        const double shift = (at.column - 1) * kInner / at.columns;
        place.left += shift;
        place.width -= shift;
    }
    return place;
}

bool hasUnit(std::string_view value, std::string_view unit) noexcept {
    constexpr std::string_view kBetween = " \t\r\n,()";
    while (!value.empty()) {
        const std::string_view word = value.substr(0, value.find_first_of(kBetween));
        const std::size_t number = word.find_first_not_of("+-.0123456789");
        if (number != 0 && number != std::string_view::npos && word.substr(number) == unit) {
            return true;
        }
        value.remove_prefix(std::min(word.size() + 1, value.size()));
    }
    return false;
}

void completePlace(subtitles::Properties& attributes, const ScreenMeasures& measures, bool isEbu) {
    constexpr std::string_view kOrigin = "tts:origin";
    constexpr std::string_view kPosition = "tts:position";
    constexpr std::string_view kExtent = "tts:extent";
    const auto textOf = [&attributes](std::string_view name) {
        const std::string* const text = valueOf(attributes, name);
        return text == nullptr ? std::string_view() : std::string_view(*text);
    };
    const auto isSaid = [isEbu](std::string_view text) {
        constexpr std::string_view kOfEbu[] = {"rw", "rh", "em"};
        const bool isOther = isEbu && std::any_of(std::begin(kOfEbu), std::end(kOfEbu),
                                                  [text](std::string_view unit) { return hasUnit(text, unit); });
        return !text.empty() && text != "auto" && !isOther && !hasUnit(text, "c") && !hasUnit(text, "px");
    };
    const RegionTexts texts{textOf(kOrigin), textOf(kPosition), textOf(kExtent), {}};
    const bool isPlaced = isSaid(texts.origin) || (!isEbu && (texts.origin.empty() || texts.origin == "auto"));
    const bool isPositioned = texts.position.empty() || (!isEbu && isSaid(texts.position));
    if (isSaid(texts.extent) && isPlaced && isPositioned) {
        return;
    }
    bool areAllRead = false;
    Box place = placeOf(texts, measures, areAllRead).value_or(kWholeScreen);
    // Nothing is wider than the screen.
    place.width = std::min(place.width, kWhole - std::clamp(place.left, 0.0, kWhole));
    place.height = std::min(place.height, kWhole - std::clamp(place.top, 0.0, kWhole));
    for (const std::string_view name : {kOrigin, kPosition, kExtent}) {
        const auto found = std::find_if(attributes.begin(), attributes.end(),
                                        [name](const subtitles::Property& property) { return property.name == name; });
        if (areAllRead && found != attributes.end()) {
            attributes.erase(found);
        }
    }
    // In the order in which a reader gives them, in front of what is there once more.
    attributes.insert(attributes.begin(), {{std::string(kExtent), percentages(place.width, place.height)},
                                           {std::string(kOrigin), percentages(place.left, place.top)}});
    std::stable_sort(attributes.begin(), attributes.end(),
                     [](const auto& left, const auto& right) { return left.name < right.name; });
}

std::string percentages(double first, double second) {
    std::string text;
    for (const double number : {first, second}) {
        constexpr int kDecimals = 3;
        std::array<char, 32> digits{};
        const auto [end, error] =
            std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::fixed, kDecimals);
        std::string_view shown(digits.data(), static_cast<std::size_t>(end - digits.data()));
        while (shown.ends_with('0')) {
            shown.remove_suffix(1);
        }
        shown.remove_suffix(shown.ends_with('.') ? 1 : 0);
        text += text.empty() ? "" : " ";
        text += shown;
        text += '%';
    }
    return text;
}

}  // namespace qlx::streams::detail

namespace qlx::streams {

TtmlRegion regionOf(std::string name, const subtitles::Box& box) {
    constexpr double kWhole = 100;
    const auto inside = [&](double place) { return std::clamp(place, 0.0, kWhole); };
    subtitles::Box seen = box;
    seen.left = inside(box.left);
    seen.top = inside(box.top);
    seen.width = inside(box.left + box.width) - seen.left;
    seen.height = inside(box.top + box.height) - seen.top;
    seen = seen.width > 0 && seen.height > 0 ? seen : subtitles::kSafeBox;
    const std::string_view edge = seen.edge == subtitles::BoxEdge::Top      ? "before"
                                  : seen.edge == subtitles::BoxEdge::Bottom ? "after"
                                                                            : "center";
    // In the order in which a reader gives them: writing what has been read changes nothing.
    return {std::move(name),
            {{"tts:displayAlign", std::string(edge)},
             {"tts:extent", detail::percentages(seen.width, seen.height)},
             {"tts:origin", detail::percentages(seen.left, seen.top)}}};
}

}  // namespace qlx::streams
