#include "subtitles/TextEditing.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <system_error>

namespace qlx::subtitles {

namespace {

char lowercased(char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

}  // namespace

bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) noexcept {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(),
                      [](char wanted, char found) { return wanted == lowercased(found); });
}

void removeAllIgnoringCase(std::string& text, std::string_view tag) {
    const std::string_view whole = text;
    std::size_t kept = 0;
    std::size_t position = 0;
    while (position < whole.size()) {
        // Few characters are the tag's first one: for the others that is all that is looked at.
        if (lowercased(whole[position]) == tag.front() && startsWithIgnoringCase(whole.substr(position), tag)) {
            position += tag.size();
        } else {
            text[kept++] = text[position++];
        }
    }
    text.resize(kept);
}

bool isWholeNumber(std::string_view text) noexcept {
    constexpr std::string_view kGreatest = "9223372036854775807";
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
        return false;
    }
    text.remove_prefix(std::min(text.find_first_not_of('0'), text.size()));
    return text.size() < kGreatest.size() || (text.size() == kGreatest.size() && text <= kGreatest);
}

std::string_view takePart(std::string_view& rest, char separator) noexcept {
    const std::string_view part = rest.substr(0, rest.find(separator));
    rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    return part;
}

std::optional<CueDigits> cueDigits(std::string_view text) noexcept {
    if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    CueDigits digits;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), digits.number);
    digits.isTooGreat = result.ec != std::errc{};
    digits.number = digits.isTooGreat ? std::numeric_limits<std::uint64_t>::max() : digits.number;
    digits.isUsual = !digits.isTooGreat && text.front() != '0';
    return digits;
}

std::string_view withoutWrongBytes(std::string_view text, std::string& room, WrongBytes& wrong) {
    const auto first = firstInvalidUTF8Byte(text);
    if (!first) {
        return text;
    }
    wrong.first = static_cast<std::uint8_t>(text[*first]);
    room.clear();
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t before = rest.size();
        const char32_t character = takeCodePoint(rest);
        wrong.count += character == U'\uFFFD' && before - rest.size() == 1 ? 1 : 0;
        appendUtf8(room, character);
    }
    return room;
}

}  // namespace qlx::subtitles
