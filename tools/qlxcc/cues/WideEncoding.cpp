#include "cues/WideEncoding.h"

#include "cues/Encoding.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <array>
#include <memory>
#include <string>
#include <unordered_map>

namespace qlx::tool {

namespace {

/// The characters of an encoding of two bytes, read once.
class WideTable {
public:
    explicit WideTable(const std::string& encoding) {
        TextDecoder decoder(encoding);
        // Both bytes of a character have their upper bit.
        constexpr unsigned kFirst = 0xA1;
        constexpr unsigned kLast = 0xFE;
        for (unsigned lead = kFirst; lead <= kLast; ++lead) {
            for (unsigned trail = kFirst; trail <= kLast; ++trail) {
                const std::array bytes{static_cast<char>(lead), static_cast<char>(trail)};
                std::string text;
                bool isBad = false;
                decoder.take({bytes.data(), bytes.size()}, true, text, [&](auto, auto) { isBad = true; });
                std::string_view rest = text;
                const char32_t character = isBad || text.empty() ? 0 : takeCodePoint(rest);
                if (character != 0 && rest.empty()) {
                    const auto code = static_cast<std::uint16_t>(lead << 8U | trail);
                    _characters.emplace(code, character);
                    _codes.emplace(character, code);
                }
            }
        }
    }

    [[nodiscard]] char32_t characterOf(std::uint16_t code) const {
        const auto found = _characters.find(code);
        return found == _characters.end() ? 0 : found->second;
    }

    [[nodiscard]] std::optional<std::uint16_t> codeOf(char32_t character) const {
        const auto found = _codes.find(character);
        return found == _codes.end() ? std::nullopt : std::optional(found->second);
    }

private:
    std::unordered_map<std::uint16_t, char32_t> _characters;
    std::unordered_map<char32_t, std::uint16_t> _codes;
};

std::shared_ptr<const WideTable> tableOf(std::string_view name) {
    return name == "utf-16" ? nullptr : std::make_shared<const WideTable>(std::string(name));
}

}  // namespace

std::function<char32_t(std::uint16_t)> wideCharactersOf(std::string_view name) {
    const auto table = tableOf(name);
    if (!table) {
        return {};
    }
    return [table](std::uint16_t code) { return table->characterOf(code); };
}

std::function<std::optional<std::uint16_t>(char32_t)> wideCodesOf(std::string_view name) {
    const auto table = tableOf(name);
    if (!table) {
        return {};
    }
    return [table](char32_t character) { return table->codeOf(character); };
}

}  // namespace qlx::tool
