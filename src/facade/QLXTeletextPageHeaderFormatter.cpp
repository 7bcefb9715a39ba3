#include <QLXClosedCaptionsUtilities/QLXTeletextPageHeaderFormatter.h>

#include "base/Hex.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

constexpr std::size_t kControlBytes = 6;

}  // namespace

std::optional<std::string> QLXTeletextPageHeaderFormatter::stringForObjectValue(const qlx::Value& object) const {
    const qlx::Data* const bytes = object.data();
    if (!bytes || bytes->size() != kControlBytes) {
        return std::nullopt;
    }
    std::string text;
    for (const std::uint8_t byte : *bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        qlx::appendHexByte(text, byte);
    }
    return text;
}

bool QLXTeletextPageHeaderFormatter::getObjectValue_forString_errorDescription(
    qlx::Value* object, std::string_view string, std::optional<std::string>* /*errorDescription*/) const {
    if (object) {
        *object = dataFromHex(string);
    }
    return true;
}

qlx::Data QLXTeletextPageHeaderFormatter::dataFromHex(std::string_view string) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(string.size() / 2);
    bool isLow = false;
    std::uint8_t high = 0;
    qlx::forEachHexDigit(string, false, [&](std::uint8_t digit) {
        if (isLow) {
            bytes.push_back(static_cast<std::uint8_t>(high << 4U | digit));
        }
        high = digit;
        isLow = !isLow;
    });
    return bytes;
}
