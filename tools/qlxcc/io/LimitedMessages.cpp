#include "io/LimitedMessages.h"

#include "io/Errors.h"

namespace qlx::tool {

std::string withoutDigits(std::string text) {
    std::erase_if(text, [](char character) { return character >= '0' && character <= '9'; });
    return text;
}

bool LimitedMessages::say(const std::string& kind, const std::string& message) {
    Kind& counted = _kinds[kind];
    if (++counted.count > kShown) {
        _hasMore = true;
        return false;
    }
    if (counted.count == 1) {
        counted.first = message;
    }
    printMessage(message);
    return true;
}

void LimitedMessages::finish() const {
    for (const auto& [name, kind] : _kinds) {
        if (kind.count > kShown) {
            printMessage(std::to_string(kind.count - kShown) + " more like \"" + kind.first + "\"");
        }
    }
}

}  // namespace qlx::tool
