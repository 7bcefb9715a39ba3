#include <QLXClosedCaptionsUtilities/QLXTeletextLineFormatter.h>

#include "base/Hex.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

constexpr std::uint8_t kControlCharacters = 0x20;
constexpr std::uint64_t kMaximumLength = 39;
constexpr std::string_view kTooLong = "String too long (max. 39 characters)";

std::string printableForm(std::uint8_t code) {
    std::string text = "0x";
    qlx::appendHexByte(text, code);
    return text;
}

/// `text` with every occurrence of `part`, from the front on, replaced by `character`.
std::string replaced(const std::string& text, std::string_view part, char character) {
    std::string result;
    std::size_t position = 0;
    for (std::size_t found = text.find(part); found != std::string::npos; found = text.find(part, position)) {
        result.append(text, position, found - position);
        result += character;
        position = found + part.size();
    }
    return result.append(text, position);
}

}  // namespace

std::optional<std::string> QLXTeletextLineFormatter::stringForObjectValue(const qlx::Value& object) const {
    const std::string* const row = object.text();
    if (!row) {
        return std::nullopt;
    }
    std::string text;
    text.reserve(row->size());
    for (const char character : *row) {
        const auto code = static_cast<std::uint8_t>(character);
        if (code < kControlCharacters) {
            text += printableForm(code);
        } else {
            text += character;
        }
    }
    return text;
}

bool QLXTeletextLineFormatter::getObjectValue_forString_errorDescription(
    qlx::Value* object, std::string_view string, std::optional<std::string>* errorDescription) const {
    // One code after the other: in "0x10x01", where two forms share a digit, the lower code is the one that is meant.
    std::string row(string);
    for (std::uint8_t code = 0; code < kControlCharacters; ++code) {
        row = replaced(row, printableForm(code), static_cast<char>(code));
    }
    if (qlx::utf16Length(row) > kMaximumLength) {
        if (errorDescription) {
            *errorDescription = std::string(kTooLong);
        }
        return false;
    }
    if (object) {
        *object = std::move(row);
    }
    return true;
}
