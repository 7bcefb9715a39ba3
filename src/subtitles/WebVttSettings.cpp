#include "subtitles/WebVttSettings.h"

#include "subtitles/CueWriting.h"
#include "subtitles/TextEditing.h"
#include "subtitles/TextTime.h"

#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <optional>

namespace qlx::subtitles {

namespace {

// What is written for a place, and read as that place without a property.
constexpr std::string_view kTopLine = "0";
constexpr std::string_view kMiddleLine = "50%,center";

std::optional<int> lineIn(std::string_view text) noexcept {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

template <std::size_t N>
bool isOneOf(std::string_view text, const std::array<std::string_view, N>& words) noexcept {
    return std::find(words.begin(), words.end(), text) != words.end();
}

constexpr std::array<std::string_view, 2> kVerticals{"rl", "lr"};
constexpr std::array<std::string_view, 3> kLineSides{"start", "center", "end"};
constexpr std::array<std::string_view, 3> kPositionSides{"line-left", "center", "line-right"};
constexpr std::array<std::string_view, 5> kAligns{"start", "center", "end", "left", "right"};

/// A number, and perhaps a comma and a word.
template <class IsNumber, std::size_t N>
bool isPlace(std::string_view value, const IsNumber& isNumber, const std::array<std::string_view, N>& sides) {
    const std::size_t comma = value.find(',');
    return isNumber(value.substr(0, comma)) &&
           (comma == std::string_view::npos || isOneOf(value.substr(comma + 1), sides));
}

bool isRight(std::string_view name, std::string_view value) {
    const auto isPercent = [](std::string_view text) { return percentIn(text).has_value(); };
    const auto isLine = [](std::string_view text) { return percentIn(text) || lineIn(text); };
    return name == "vertical"   ? isOneOf(value, kVerticals)
           : name == "line"     ? isPlace(value, isLine, kLineSides)
           : name == "position" ? isPlace(value, isPercent, kPositionSides)
           : name == "size"     ? isPercent(value)
           : name == "align"    ? isOneOf(value, kAligns)
                                : name == "region" && !value.empty();
}

/// The place of a line: 7 above, 4 in the middle, 1 below.
std::uint8_t bandOf(std::string_view line) noexcept {
    const std::string_view number = line.substr(0, line.find(','));
    constexpr double kThird = 100.0 / 3;
    if (const auto percent = percentIn(number)) {
        return *percent < kThird ? 7 : *percent < kThird * 2 ? 4 : 1;
    }
    // Lines are counted from above, those below 0 from below.
    constexpr int kUpperLines = 6;
    const int count = lineIn(number).value_or(-1);
    return count >= 0 && count < kUpperLines ? 7 : count >= 0 && count < 2 * kUpperLines ? 4 : 1;
}

Alignment alignmentNamed(std::string_view align) noexcept {
    return align == "start" || align == "left"  ? Alignment::Left
           : align == "end" || align == "right" ? Alignment::Right
                                                : Alignment::Center;
}

/// Keeps a setting, and none of the same name that stands in front of it: the last one counts.
/// @param first The place of the first setting among the properties.
void keep(Cue& cue, std::size_t first, std::string_view name, std::string_view value) {
    const std::string property = "vtt." + std::string(name);
    const auto settings = cue.properties.begin() + static_cast<std::ptrdiff_t>(first);
    const auto earlier = std::find_if(settings, cue.properties.end(),
                                      [&property](const Property& other) { return other.name == property; });
    if (earlier != cue.properties.end()) {
        cue.properties.erase(earlier);
    }
    if (!value.empty()) {
        cue.properties.push_back({property, std::string(value)});
    }
}

/// The settings of a place of CEA-608 or teletext: the safe area is 80 % of the picture.
void appendScreenPlace(const Cue& cue, const Row& row, std::string& text) {
    constexpr std::uint64_t kSafe = 8000;
    constexpr std::uint64_t kEdge = 1000;
    const auto percent = [&text](std::uint64_t hundredths) {
        appendNumber(text, hundredths / 100);
        if (hundredths % 100 != 0) {
            text += '.';
            text += static_cast<char>('0' + hundredths / 10 % 10);
            text += static_cast<char>('0' + hundredths % 10);
        }
        text += '%';
    };
    text += " line:";
    const std::uint64_t rows = screenRowsOf(cue);
    percent(kEdge + std::min<std::uint64_t>(row.number - 1, rows) * kSafe / rows);
    if (row.column != 0 && cue.screenColumns != 0) {
        const ScreenColumn place = withoutFrame(row.column, cue.screenColumns);
        text += " position:";
        percent(kEdge + std::min<std::uint64_t>(place.column - 1U, place.columns) * kSafe / place.columns);
        text += ",line-left align:left";
    } else if (row.alignment == Alignment::Left || row.alignment == Alignment::Right) {
        text += row.alignment == Alignment::Left ? " align:left" : " align:right";
    }
}

}  // namespace

std::optional<double> percentIn(std::string_view text) noexcept {
    if (!text.ends_with('%')) {
        return std::nullopt;
    }
    text.remove_suffix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    const bool isPercent = error == std::errc{} && end == text.data() + text.size() && value >= 0 && value <= 100;
    return isPercent ? std::optional(value) : std::nullopt;
}

PlaceOfSettings takeSettings(std::string_view settings, const WebVttRegions& regions, Cue& cue,
                             const std::function<void(FindingCode, std::int64_t)>& report) {
    PlaceOfSettings place;
    std::uint8_t band = 0;
    const std::size_t first = cue.properties.size();
    while (!(settings = trimmed(settings, kWebVttBlanks)).empty()) {
        const std::string_view setting = settings.substr(0, settings.find_first_of(kWebVttBlanks));
        settings.remove_prefix(setting.size());
        const std::size_t colon = std::min(setting.find(':'), setting.size());
        const std::string_view name = setting.substr(0, colon);
        const std::string_view value = setting.substr(std::min(colon + 1, setting.size()));
        if (!isRight(name, value)) {
            report(FindingCode::WebVttSettingWrong, static_cast<std::int64_t>(setting.size()));
        } else if (name == "region") {
            cue.region = value;
            if (!regions.contains(value)) {
                report(FindingCode::WebVttRegionUnknown, static_cast<std::int64_t>(value.size()));
            }
        } else if (name == "align") {
            place.alignment = alignmentNamed(value);
            keep(cue, first, name, value == "start" || value == "end" ? value : std::string_view());
        } else {
            keep(cue, first, name, value);
            band = name == "line" ? bandOf(value) : band;
        }
    }
    // A name that no region has puts the cue in none (WebVTT, 4.4).
    if (regions.contains(cue.region)) {
        std::erase_if(cue.properties, [&report](const Property& property) {
            const bool isLost = property.name == properties::kWebVttLine || property.name == properties::kWebVttSize ||
                                property.name == properties::kWebVttVertical;
            if (isLost) {
                report(FindingCode::WebVttSettingInRegion, static_cast<std::int64_t>(property.value.size()));
            }
            return isLost;
        });
        cue.box = boxOfSettings(cue, place.alignment, regions);
        return place;
    }
    cue.box = boxOfSettings(cue, place.alignment, regions);
    if (band != 0) {
        const std::uint8_t side = place.alignment == Alignment::Left ? 0 : place.alignment == Alignment::Right ? 2 : 1;
        place.anchor = static_cast<std::uint8_t>(band + side);
        const auto erased = std::erase_if(cue.properties, [](const Property& property) {
            return property.name == properties::kWebVttLine &&
                   (property.value == kTopLine || property.value == kMiddleLine);
        });
        // What the anchor says alone is no box.
        const bool isPlaced = valueOf(cue.properties, properties::kWebVttPosition) != nullptr ||
                              valueOf(cue.properties, properties::kWebVttSize) != nullptr;
        cue.box = erased == 0 || isPlaced ? cue.box : std::nullopt;
    }
    return place;
}

std::string_view languageOfHead(std::string_view line) noexcept {
    constexpr std::string_view kName = "Language:";
    return line.starts_with(kName) ? trimmed(line.substr(kName.size())) : std::string_view();
}

bool isSettingValue(std::string_view text) noexcept {
    return text.find_first_of(" \t\r\n\f") == std::string_view::npos && text.find("-->") == std::string_view::npos;
}

void appendSettings(const Cue& cue, std::string& text) {
    constexpr std::string_view kSettingNames[] = {"vertical", "line", "position", "size", "align"};
    const auto property = [&cue](std::string_view name) {
        const std::string* const value = valueOf(cue.properties, "vtt." + std::string(name));
        return value != nullptr && isSettingValue(*value) ? value : nullptr;
    };
    const bool hasRegion = !cue.region.empty() && isSettingValue(cue.region);
    const Row* const row = cue.rows.empty() ? nullptr : &cue.rows.front();
    const bool isOfScreen = row != nullptr && row->anchor == 0 && row->number != 0;
    const bool hasPlace = std::any_of(cue.properties.begin(), cue.properties.end(), [](const Property& each) {
        return (each.name == properties::kWebVttLine || each.name == properties::kWebVttPosition ||
                each.name == properties::kWebVttSize || each.name == properties::kWebVttVertical) &&
               isSettingValue(each.value);
    });
    if (hasRegion) {
        text += " region:" + cue.region;
    } else if (cue.box && !hasPlace) {
        appendBox(*cue.box, row == nullptr ? Alignment::Center : row->alignment, text);
        return;
    } else if (isOfScreen && !hasPlace) {
        appendScreenPlace(cue, *row, text);
        return;
    }
    const std::uint8_t anchor = row == nullptr ? 0 : Anchors(cue).of(*row);
    for (const std::string_view name : kSettingNames) {
        if (const std::string* const value = property(name)) {
            text += " " + std::string(name) + ":" + *value;
        } else if (name == "line" && !hasRegion && anchor > 3) {
            text += " line:" + std::string(anchor > 6 ? kTopLine : kMiddleLine);
        } else if (name == "align" && anchor != 0 && anchor % 3 != 2) {
            text += anchor % 3 == 1 ? " align:left" : " align:right";
        }
    }
}

}  // namespace qlx::subtitles
