#include "subtitles/SrtMarkup.h"

#include "subtitles/TextEditing.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <cstddef>
#include <optional>

namespace qlx::srt {

namespace {

using subtitles::isWholeNumber;
using subtitles::removeAllIgnoringCase;
using subtitles::startsWithIgnoringCase;
using subtitles::trimmed;

constexpr auto kNotFound = std::string_view::npos;

/// A style tag; only the lower-case opening tag switches the style on and lets both tags be removed, in either case.
bool takeStyle(std::string& text, std::string_view opening, std::string_view closing) {
    if (text.find(opening) == kNotFound) {
        return false;
    }
    removeAllIgnoringCase(text, opening);
    removeAllIgnoringCase(text, closing);
    return true;
}

/// True when `text`, which is not empty, begins with a character that a pattern's `.` does not match: LF, VT, FF, CR,
/// NEL, LINE SEPARATOR, PARAGRAPH SEPARATOR (Unicode Technical Standard #18, RL1.6).
bool startsWithLineSeparator(std::string_view text) {
    const char first = text.front();
    if (first >= '\n' && first <= '\r') {
        return true;
    }
    return (first == '\xC2' && text.starts_with("\xC2\x85")) ||
           (first == '\xE2' && (text.starts_with("\xE2\x80\xA8") || text.starts_with("\xE2\x80\xA9")));
}

/// The place of the first line separator from `position` on; the text's size without one.
std::size_t endOfLine(std::string_view text, std::size_t position) {
    while (position < text.size() && !startsWithLineSeparator(text.substr(position))) {
        ++position;
    }
    return position;
}

/// Where a tag stands, and its value.
struct TagMatch {
    std::size_t position;
    std::size_t length;
    std::string_view value;
};

/// The first match of `opening` followed by `(.*)">`: the value runs to the last `">` of the line.
std::optional<TagMatch> findTag(std::string_view text, std::string_view opening) {
    constexpr std::string_view kClosing = "\">";
    std::size_t position = text.find(opening);
    while (position != kNotFound) {
        const std::size_t start = position + opening.size();
        const std::size_t end = endOfLine(text, start);
        const std::size_t length = text.substr(start, end - start).rfind(kClosing);
        if (length != kNotFound) {
            return TagMatch{position, opening.size() + length + kClosing.size(), text.substr(start, length)};
        }
        // A later opening before this separator has even less behind it.
        position = text.find(opening, end);
    }
    return std::nullopt;
}

void takeColor(MarkedLine& line, WrongValues* wrong) {
    if (const auto match = findTag(line.text, "<font color=\"")) {
        line.color = subtitles::colorFromText(match->value);
        if (wrong != nullptr && !subtitles::isColorText(match->value)) {
            wrong->color = match->value.size();
        }
        line.colorStaysOpen = true;
        line.text.erase(match->position, match->length);
    }
    constexpr std::string_view kClosing = "</font>";
    if (line.text.find(kClosing) != kNotFound) {
        line.colorStaysOpen = false;
        removeAllIgnoringCase(line.text, kClosing);
    }
}

void takeRow(MarkedLine& line, WrongValues* wrong) {
    if (const auto match = findTag(line.text, "<line=\"")) {
        line.row = static_cast<std::uint64_t>(integerValue(match->value));
        if (wrong != nullptr && (line.row == 0 || !isWholeNumber(match->value))) {
            wrong->row = match->value.size();
        }
        line.text.erase(match->position, match->length);
    }
}

/// True when `text` holds `{\an`, letters in either case.
bool hasPositioningOpening(std::string_view text) {
    for (std::size_t place = text.find('{'); place != kNotFound; place = text.find('{', place + 1)) {
        if (startsWithIgnoringCase(text.substr(place), "{\\an")) {
            return true;
        }
    }
    return false;
}

/// True when `text` begins with a match of `\{\\[a|A][n|N][0-9]\}`. The bar counts as a letter in this pattern, which
/// files have come to rely on: it is kept.
bool startsWithPositioningTag(std::string_view text) {
    const auto isOneOf = [](char character, std::string_view set) { return set.find(character) != kNotFound; };
    return text.size() >= 6 && text.starts_with("{\\") && isOneOf(text[2], "a|A") && isOneOf(text[3], "n|N") &&
           text[4] >= '0' && text[4] <= '9' && text[5] == '}';
}

void takePositioning(MarkedLine& line) {
    constexpr std::size_t kTagLength = 6;
    constexpr std::size_t kDigit = 4;
    const std::string_view text = line.text;
    if (!hasPositioningOpening(text)) {
        return;
    }
    for (std::size_t place = text.find('{'); place != kNotFound; place = text.find('{', place + 1)) {
        if (startsWithPositioningTag(text.substr(place))) {
            line.positioningType = text[place + kDigit] - '0';
            line.text.erase(place, kTagLength);
            return;
        }
    }
}

}  // namespace

MarkedLine parseMarkup(std::string_view line, WrongValues* wrong) {
    MarkedLine result{.text = std::string(trimmed(line))};
    if (result.text.find('<') != kNotFound) {
        result.bold = takeStyle(result.text, "<b>", "</b>");
        result.italic = takeStyle(result.text, "<i>", "</i>");
        result.underline = takeStyle(result.text, "<u>", "</u>");
        takeColor(result, wrong);
        takeRow(result, wrong);
    }
    if (result.text.find('{') != kNotFound) {
        takePositioning(result);
    }
    return result;
}

}  // namespace qlx::srt
