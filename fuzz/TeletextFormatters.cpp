// The formatters of teletext rows and page headers on arbitrary text.
#include <QLXClosedCaptionsUtilities/QLXTeletextLineFormatter.h>
#include <QLXClosedCaptionsUtilities/QLXTeletextPageHeaderFormatter.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <string>

using qlxfuzz::require;

namespace {

bool hasControlCharacter(const std::string& text) {
    return std::any_of(text.begin(), text.end(),
                       [](char character) { return static_cast<unsigned char>(character) < 0x20; });
}

void checkLine(const std::string& text) {
    const QLXTeletextLineFormatter formatter;
    const auto shown = formatter.stringForObjectValue(text);
    require(shown && !hasControlCharacter(*shown));
    require(hasControlCharacter(text) || *shown == text);

    qlx::Value row;
    std::optional<std::string> error;
    const bool accepted = formatter.getObjectValue_forString_errorDescription(&row, text, &error);
    require(accepted == !error.has_value() && accepted == !row.isNull());
    if (accepted) {
        require(row.text() && qlx::utf16Length(*row.text()) <= 39);
        // What was read is shown and read again as the same row, unless text that looked like a code comes together.
        const auto again = formatter.stringForObjectValue(row);
        require(again && !hasControlCharacter(*again));
    } else {
        require(qlx::utf16Length(text) > 39);
    }
    if (text.find("0x") == std::string::npos) {
        require(accepted == (qlx::utf16Length(text) <= 39) && (!accepted || *row.text() == text));
        qlx::Value back;
        if (accepted && formatter.getObjectValue_forString_errorDescription(&back, *shown)) {
            require(text.find('0') != std::string::npos || back == row);
        }
    }
}

void checkHeader(const std::string& text) {
    const QLXTeletextPageHeaderFormatter formatter;
    qlx::Value object;
    std::optional<std::string> error;
    require(formatter.getObjectValue_forString_errorDescription(&object, text, &error) && !error);
    const qlx::Data* const bytes = object.data();
    require(bytes && *bytes && *bytes == QLXTeletextPageHeaderFormatter::dataFromHex(text));
    require(bytes->size() <= text.size() / 2);
    const auto shown = formatter.stringForObjectValue(object);
    require(shown.has_value() == (bytes->size() == 6));
    if (shown) {
        require(QLXTeletextPageHeaderFormatter::dataFromHex(*shown) == *bytes);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    checkLine(text);
    checkHeader(text);
    return 0;
}
