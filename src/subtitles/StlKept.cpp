#include "subtitles/StlKept.h"

#include "base/Hex.h"

#include <qlx/subtitles/stl.h>
#include <qlx/subtitles/stl_reader.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace qlx::subtitles {

namespace {

constexpr std::string_view kBefore = "before";
constexpr std::string_view kBehind = "behind";

/// The text up to the next space, off the front.
std::string_view takeWord(std::string_view& text) noexcept {
    const std::size_t size = std::min(text.find(' '), text.size());
    const std::string_view word = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    return word;
}

template <class Number>
bool takeNumber(std::string_view& text, Number& number) noexcept {
    const std::string_view word = takeWord(text);
    const char* const end = word.data() + word.size();
    const auto result = std::from_chars(word.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

/// Whole blocks of hexadecimal digits; none where they are something else.
std::vector<std::uint8_t> blocksOf(std::string_view digits) {
    constexpr std::size_t kMost = (Tti::kMostExtensions + std::size_t{2}) * kTtiBytes;
    const std::size_t size = digits.size() / 2;
    std::vector<std::uint8_t> bytes;
    if (digits.size() % 2 != 0 || size == 0 || size % kTtiBytes != 0 || size > kMost ||
        digits.find_first_not_of("0123456789abcdefABCDEF") != std::string_view::npos) {
        return bytes;
    }
    for (std::size_t index = 0; index < size; ++index) {
        bytes.push_back(static_cast<std::uint8_t>(hexDigitValue(static_cast<unsigned char>(digits[2 * index])) << 4U |
                                                  hexDigitValue(static_cast<unsigned char>(digits[2 * index + 1]))));
    }
    return bytes;
}

}  // namespace

Property propertyOf(const StlKept& kept) {
    std::string value(kept.isBehind ? kBehind : kBefore);
    if (kept.isComment) {
        value += ' ' + std::to_string(int{kept.table}) + ' ' + std::to_string(kept.in) + ' ' + std::to_string(kept.out);
    }
    value += ' ';
    for (const std::uint8_t byte : kept.bytes) {
        appendHexByte(value, byte);
    }
    return {std::string(kept.isComment ? properties::kStlComment : properties::kStlUserData), std::move(value)};
}

Property propertyOfGroup(std::uint8_t group) {
    return {std::string(properties::kStlGroup), std::to_string(int{group})};
}

std::optional<std::uint8_t> stlGroupOf(const Property& property) noexcept {
    std::string_view value = property.value;
    std::uint8_t group = 0;
    const bool isGroup = property.name == properties::kStlGroup && takeNumber(value, group) &&
                         property.value.find(' ') == std::string::npos;
    return isGroup ? std::optional(group) : std::nullopt;
}

std::optional<StlKept> stlKeptOf(const Property& property) {
    StlKept kept;
    kept.isComment = property.name == properties::kStlComment;
    if (!kept.isComment && property.name != properties::kStlUserData) {
        return std::nullopt;
    }
    std::string_view value = property.value;
    const std::string_view place = takeWord(value);
    kept.isBehind = place == kBehind;
    // Farther away than two days there is no time code.
    constexpr std::int64_t kFarthest = std::int64_t{2} * 24 * 3600 * 1000;
    const auto isNear = [](std::int64_t time) { return time >= -kFarthest && time <= kFarthest; };
    const bool isRead = !kept.isComment || (takeNumber(value, kept.table) && takeNumber(value, kept.in) &&
                                            takeNumber(value, kept.out) && isNear(kept.in) && isNear(kept.out));
    kept.bytes = isRead && (kept.isBehind || place == kBefore) ? blocksOf(value) : std::vector<std::uint8_t>();
    return kept.bytes.empty() ? std::nullopt : std::optional(std::move(kept));
}

}  // namespace qlx::subtitles
