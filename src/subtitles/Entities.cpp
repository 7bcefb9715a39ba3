#include "subtitles/Entities.h"

#include "subtitles/NamedCharacters.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>

namespace qlx::subtitles {

namespace {

constexpr std::size_t kLongestCharacterName = 8;
constexpr std::size_t kLongestEntity = 12;

/// What HTML takes the codes 80 to 9F for: those of windows-1252, as so many files have them.
constexpr char32_t kInPlaceOfControls[] = {
    U'\u20AC', U' ',      U'\u201A', U'\u0192', U'\u201E', U'\u2026', U'\u2020', U'\u2021',
    U'\u02C6', U'\u2030', U'\u0160', U'\u2039', U'\u0152', U' ',      U'\u017D', U' ',
    U' ',      U'\u2018', U'\u2019', U'\u201C', U'\u201D', U'\u2022', U'\u2013', U'\u2014',
    U'\u02DC', U'\u2122', U'\u0161', U'\u203A', U'\u0153', U' ',      U'\u017E', U'\u0178',
};

std::optional<char32_t> characterNumbered(std::string_view digits) noexcept {
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
    constexpr std::uint32_t kFirstInPlace = 0x80;
    if (number >= kFirstInPlace && number - kFirstInPlace < std::size(kInPlaceOfControls)) {
        return kInPlaceOfControls[number - kFirstInPlace];
    }
    return number < 0x20 || number == 0x7F ? U' ' : static_cast<char32_t>(number);
}

std::optional<char32_t> characterNamed(std::string_view name) noexcept {
    const auto* const found = std::lower_bound(
        std::begin(kNamedCharacters), std::end(kNamedCharacters), name,
        [](const NamedCharacter& character, std::string_view other) { return character.name < other; });
    return found != std::end(kNamedCharacters) && found->name == name ? std::optional(found->character) : std::nullopt;
}

/// The longest of the names that HTML has known from the beginning: those of Latin-1 and of its own marks. Numbers
/// end with their digits; a semicolon may stand too far off for the others.
std::optional<Entity> withoutEnd(std::string_view text) noexcept {
    if (text.starts_with('#')) {
        const bool isHexadecimal = text.substr(1, 1) == "x" || text.substr(1, 1) == "X";
        const std::size_t end = std::min(
            text.find_first_not_of(isHexadecimal ? "0123456789abcdefABCDEF" : "0123456789", isHexadecimal ? 2 : 1),
            text.size());
        const auto character = characterNumbered(text.substr(1, end - 1));
        const std::size_t size = 1 + end + (text.substr(end).starts_with(';') ? 1 : 0);
        return character ? std::optional(Entity{*character, size}) : std::nullopt;
    }
    for (std::size_t size = std::min(kLongestCharacterName, text.size()); size > 1; --size) {
        const std::string_view name = text.substr(0, size);
        const auto character = characterNamed(name);
        constexpr char32_t kLastOfLatin1 = 0xFF;
        if (character && *character <= kLastOfLatin1 && name != "apos") {
            return Entity{*character, size + 1};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<Entity> entityIn(std::string_view text, EntityEnd ends) noexcept {
    if (!text.starts_with('&')) {
        return std::nullopt;
    }
    if (const std::size_t end = text.substr(0, kLongestEntity).find(';'); end != std::string_view::npos) {
        const std::string_view name = text.substr(1, end - 1);
        if (const auto character = name.starts_with('#') ? characterNumbered(name.substr(1)) : characterNamed(name)) {
            return Entity{*character, end + 1};
        }
    }
    return ends == EntityEnd::MayBeMissing ? withoutEnd(text.substr(1)) : std::nullopt;
}

}  // namespace qlx::subtitles
