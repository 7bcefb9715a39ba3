#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <array>
#include <cstring>

namespace qlx::tool {

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const std::string_view rest = text;
        const char32_t character = takeCodePoint(text);
        // C0 and C1 controls, delete, and the separators that some terminals and logs break a line at.
        const bool isControl =
            character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x2028 || character == 0x2029;
        if (isControl) {
            result += ' ';
        } else {
            result += rest.substr(0, rest.size() - text.size());
        }
    }
    return result;
}

std::string hex(std::span<const std::uint8_t> bytes) {
    std::string result;
    appendHex(result, bytes);
    return result;
}

void appendHex(std::string& text, std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    constexpr auto kPairs = [&kDigits] {
        std::array<std::array<char, 2>, 256> pairs{};
        for (std::size_t byte = 0; byte < pairs.size(); ++byte) {
            pairs[byte] = {kDigits[byte >> 4U], kDigits[byte & 15U]};
        }
        return pairs;
    }();
    const std::size_t before = text.size();
    text.resize(before + bytes.size() * 2);
    char* digits = text.data() + before;
    for (const std::uint8_t byte : bytes) {
        std::memcpy(digits, kPairs[byte].data(), 2);
        digits += 2;
    }
}

std::string base64(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr std::size_t kGroup = 3;
    std::string result;
    for (std::size_t first = 0; first < bytes.size(); first += kGroup) {
        std::uint32_t group = 0;
        for (std::size_t index = first; index < first + kGroup; ++index) {
            group = group << 8U | (index < bytes.size() ? bytes[index] : 0U);
        }
        for (std::size_t digit = 0; digit <= kGroup; ++digit) {
            const bool isThere = first + digit <= bytes.size();
            result += isThere ? kDigits[group >> (18U - 6U * digit) & 63U] : '=';
        }
    }
    return result;
}

std::string extensionOf(std::string_view path) {
    const std::size_t dot = path.find_last_of("./");
    return dot == std::string_view::npos || path[dot] == '/' ? std::string() : asciiLowercased(path.substr(dot + 1));
}

std::vector<std::string_view> itemsOf(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> items;
    for (std::size_t end = 0; (end = text.find_first_of(separators)) != std::string_view::npos;) {
        items.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    items.push_back(text);
    return items;
}

std::string counted(std::uint64_t count, std::string_view noun) {
    std::string result = std::to_string(count);
    result += ' ';
    result += noun;
    if (count != 1) {
        result += 's';
    }
    return result;
}

std::string padded(std::string text, std::size_t width) {
    std::size_t characters = 0;
    for (std::string_view rest = text; !rest.empty(); ++characters) {
        (void)takeCodePoint(rest);
    }
    if (characters < width) {
        text.append(width - characters, ' ');
    }
    return text;
}

std::string rightAligned(std::uint64_t number, std::size_t width) {
    std::string digits = std::to_string(number);
    if (digits.size() < width) {
        digits.insert(0, width - digits.size(), ' ');
    }
    return digits;
}

}  // namespace qlx::tool
