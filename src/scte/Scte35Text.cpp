// Sections as hexadecimal digits and base64.
#include <qlx/scte/scte35_text.h>

#include "base/Hex.h"

#include <algorithm>
#include <optional>

namespace qlx::scte {

namespace {

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view kWhiteSpace = " \t\r\n";
constexpr std::string_view kHexDigits = "0123456789abcdefABCDEF";

bool isSpace(char character) {
    return kWhiteSpace.find(character) != std::string_view::npos;
}

bool isHexDigit(char character) {
    return kHexDigits.find(character) != std::string_view::npos;
}

/// A character that is wrong where it stands, or the end (0).
Finding wrong(std::string_view text, std::size_t offset) {
    const auto character = offset < text.size() ? static_cast<unsigned char>(text[offset]) : 0U;
    return {FindingCode::ScteTextWrong, Severity::Error, offset, character, static_cast<std::int64_t>(text.size())};
}

Result<std::vector<std::uint8_t>> bytesOfHex(std::string_view text, std::size_t from) {
    std::vector<std::uint8_t> bytes;
    std::optional<std::uint8_t> high;
    for (std::size_t offset = from; offset < text.size(); ++offset) {
        const char character = text[offset];
        if (isSpace(character)) {
            continue;
        }
        if (!isHexDigit(character)) {
            return wrong(text, offset);
        }
        const std::uint8_t digit = hexDigitValue(static_cast<unsigned char>(character));
        if (high) {
            bytes.push_back(static_cast<std::uint8_t>(*high << 4U | digit));
            high.reset();
        } else {
            high = digit;
        }
    }
    return high ? Result<std::vector<std::uint8_t>>(wrong(text, text.size())) : bytes;
}

Result<std::vector<std::uint8_t>> bytesOfBase64(std::string_view text) {
    std::vector<std::uint8_t> bytes;
    unsigned group = 0;
    std::size_t characters = 0;
    std::size_t padding = 0;
    for (std::size_t offset = 0; offset < text.size(); ++offset) {
        const char character = text[offset];
        if (isSpace(character)) {
            continue;
        }
        if (character == '=') {
            // Only what closes a group of four, and of no more than two.
            if (++padding + characters % 4 > 4 || characters % 4 < 2) {
                return wrong(text, offset);
            }
            continue;
        }
        const std::size_t value = kBase64.find(character);
        if (value == std::string_view::npos || padding > 0) {
            return wrong(text, offset);
        }
        group = group << 6U | static_cast<unsigned>(value);
        // Bits that come to a byte: with the second, third and fourth character of each four.
        const std::size_t place = characters++ % 4;
        if (place > 0) {
            bytes.push_back(static_cast<std::uint8_t>(group >> (6U - 2U * place)));
        }
    }
    const std::size_t last = characters % 4;
    if (last == 1 || (padding > 0 && last + padding != 4)) {
        return wrong(text, text.size());
    }
    return bytes;
}

}  // namespace

Result<std::vector<std::uint8_t>> spliceInfoBytes(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(kWhiteSpace), text.size());
    const std::string_view rest = text.substr(first);
    if (rest.starts_with("0x") || rest.starts_with("0X")) {
        return bytesOfHex(text, first + 2);
    }
    const bool isHex = std::all_of(rest.begin(), rest.end(),
                                   [](char character) { return isSpace(character) || isHexDigit(character); });
    return isHex || rest.starts_with("FC") || rest.starts_with("fc") ? bytesOfHex(text, first) : bytesOfBase64(text);
}

std::string base64Text(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - at);
        unsigned group = 0;
        for (std::size_t index = 0; index < 3; ++index) {
            group = group << 8U | (index < count ? bytes[at + index] : 0U);
        }
        for (std::size_t index = 0; index < 4; ++index) {
            text += index <= count ? kBase64[group >> (18 - 6 * index) & 63U] : '=';
        }
    }
    return text;
}

std::string hexText(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes) {
        appendHexByte(text, byte);
    }
    return text;
}

}  // namespace qlx::scte
