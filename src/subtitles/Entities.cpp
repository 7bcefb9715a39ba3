#include "subtitles/Entities.h"

#include <charconv>
#include <cstdint>

namespace qlx::subtitles {

namespace {

struct NamedCharacter {
    std::string_view name;
    char32_t character;
};

constexpr NamedCharacter kNamed[] = {
    {"amp", U'&'},       {"lt", U'<'},       {"gt", U'>'},       {"quot", U'"'},     {"apos", U'\''},
    {"nbsp", U'\u00A0'}, {"lrm", U'\u200E'}, {"rlm", U'\u200F'}, {"shy", U'\u00AD'},
};

std::optional<char32_t> numbered(std::string_view digits) noexcept {
    int base = 10;
    if (digits.starts_with('x') || digits.starts_with('X')) {
        base = 16;
        digits.remove_prefix(1);
    }
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    constexpr std::uint32_t kLast = 0x10FFFF;
    if (error != std::errc{} || end != digits.data() + digits.size() || number > kLast) {
        return std::nullopt;
    }
    return number < 0x20 || (number >= 0x7F && number < 0xA0) ? U' ' : static_cast<char32_t>(number);
}

}  // namespace

std::optional<Entity> entityIn(std::string_view text) noexcept {
    constexpr std::size_t kLongest = 12;
    const std::size_t end = text.substr(0, kLongest).find(';');
    if (!text.starts_with('&') || end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view name = text.substr(1, end - 1);
    if (name.starts_with('#')) {
        const auto character = numbered(name.substr(1));
        return character ? std::optional(Entity{*character, end + 1}) : std::nullopt;
    }
    for (const NamedCharacter& named : kNamed) {
        if (named.name == name) {
            return Entity{named.character, end + 1};
        }
    }
    return std::nullopt;
}

}  // namespace qlx::subtitles
