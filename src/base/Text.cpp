#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <system_error>

namespace qlx {

namespace {

bool isSpace(char character) {
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Takes leading white space and an optional sign off `text`; true for a minus sign.
bool takeSign(std::string_view& text) {
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    if (text.empty() || (text.front() != '-' && text.front() != '+')) {
        return false;
    }
    const bool negative = text.front() == '-';
    text.remove_prefix(1);
    return negative;
}

/// The digits at the start of `text` as a number, saturating.
std::uint64_t magnitudeOf(std::string_view text) {
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t magnitude = 0;
    for (const char character : text) {
        if (!isDigit(character)) {
            break;
        }
        const auto digit = static_cast<std::uint64_t>(character - '0');
        if (magnitude > (kMax - digit) / 10) {
            return kMax;
        }
        magnitude = magnitude * 10 + digit;
    }
    return magnitude;
}

/// True for a decimal number below 1: too small for a double where it is out of a double's range at all.
bool isBelowOne(std::string_view number) {
    const std::size_t mantissaEnd = std::min(number.find_first_of("eE"), number.size());
    const std::string_view mantissa = number.substr(0, mantissaEnd);
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    const std::size_t firstDigit = std::min(mantissa.find_first_not_of("0."), mantissa.size());
    // The power of ten in front of the first digit that counts.
    const auto distance = static_cast<std::int64_t>(point) - static_cast<std::int64_t>(firstDigit);
    const std::int64_t power = distance > 0 ? distance - 1 : distance;
    constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max() / 2;
    const std::int64_t exponent = mantissaEnd < number.size() ? integerValue(number.substr(mantissaEnd + 1)) : 0;
    return power + std::clamp(exponent, -kLimit, kLimit) < 0;
}

/// A well-formed UTF-8 sequence at the start of a text, or length 0.
struct Sequence {
    char32_t codePoint;
    std::size_t length;
};

/// `text` is not empty.
Sequence sequenceAt(std::string_view text) {
    const auto byteAt = [text](std::size_t index) { return static_cast<std::uint8_t>(text[index]); };
    const std::uint8_t lead = byteAt(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) {
        return {0, 0};
    }
    char32_t codePoint = lead & (0xFFU >> (length + 1));
    for (std::size_t index = 1; index < length; ++index) {
        const std::uint8_t byte = byteAt(index);
        if ((byte & 0xC0U) != 0x80) {
            return {0, 0};
        }
        codePoint = codePoint << 6U | (byte & 0x3FU);
    }
    const bool overlong = (length == 3 && codePoint < 0x800) || (length == 4 && codePoint < 0x10000);
    const bool surrogate = codePoint >= 0xD800 && codePoint < 0xE000;
    if (overlong || surrogate || codePoint > 0x10FFFF) {
        return {0, 0};
    }
    return {codePoint, length};
}

/// The number of ASCII bytes at the start of `text`, counted in whole words.
std::size_t asciiPrefix(std::string_view text) {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    std::size_t count = 0;
    while (count + kWord <= text.size()) {
        std::uint64_t word = 0;
        std::memcpy(&word, text.data() + count, kWord);
        if ((word & 0x8080808080808080U) != 0) {
            break;
        }
        count += kWord;
    }
    return count;
}

}  // namespace

std::int64_t integerValue(std::string_view text) noexcept {
    constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    const bool negative = takeSign(text);
    const std::uint64_t magnitude = magnitudeOf(text);
    if (negative) {
        return magnitude > kMax ? std::numeric_limits<std::int64_t>::min() : -static_cast<std::int64_t>(magnitude);
    }
    return static_cast<std::int64_t>(magnitude > kMax ? kMax : magnitude);
}

std::uint64_t unsignedValue(std::string_view text) noexcept {
    std::string_view rest = text;
    if (takeSign(rest)) {
        return static_cast<std::uint64_t>(integerValue(text));
    }
    return magnitudeOf(rest);
}

double doubleValue(std::string_view text) noexcept {
    const bool negative = takeSign(text);
    if (text.empty() || !(isDigit(text.front()) || text.front() == '.')) {
        return 0.0;
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range) {
        value = isBelowOne({text.data(), end}) ? 0.0 : HUGE_VAL;
    } else if (error != std::errc()) {
        return 0.0;
    }
    return negative ? -value : value;
}

bool boolValue(std::string_view text) noexcept {
    takeSign(text);
    while (!text.empty() && text.front() == '0') {
        text.remove_prefix(1);
    }
    return !text.empty() &&
           (std::string_view("YyTt").find(text.front()) != std::string_view::npos || isDigit(text.front()));
}

std::optional<std::size_t> firstInvalidUTF8Byte(std::string_view text) noexcept {
    std::size_t position = 0;
    while (position < text.size()) {
        const std::string_view rest = text.substr(position);
        if (const std::size_t ascii = asciiPrefix(rest); ascii != 0) {
            position += ascii;
            continue;
        }
        const Sequence sequence = sequenceAt(rest);
        if (sequence.length == 0) {
            return position;
        }
        position += sequence.length;
    }
    return std::nullopt;
}

char32_t takeCodePoint(std::string_view& text) noexcept {
    const Sequence sequence = sequenceAt(text);
    if (sequence.length == 0) {
        text.remove_prefix(1);
        return U'\uFFFD';
    }
    text.remove_prefix(sequence.length);
    return sequence.codePoint;
}

std::uint64_t utf16Length(std::string_view text) noexcept {
    std::uint64_t length = 0;
    while (!text.empty()) {
        if (const std::size_t ascii = asciiPrefix(text); ascii != 0) {
            text.remove_prefix(ascii);
            length += ascii;
            continue;
        }
        length += takeCodePoint(text) > 0xFFFF ? 2 : 1;
    }
    return length;
}

std::string asciiLowercased(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return result;
}

}  // namespace qlx
