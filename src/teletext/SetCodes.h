// The sets by character, for writers.
#pragma once

#include <qlx/teletext/sets.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace qlx::teletext {

/// A character and its code.
struct CharacterCode {
    char32_t character = 0;
    std::uint8_t code = 0;

    [[nodiscard]] friend constexpr bool operator<(const CharacterCode& one, const CharacterCode& other) noexcept {
        return one.character != other.character ? one.character < other.character : one.code < other.code;
    }
};

/// Those of a set in ascending order.
using CodeTable = std::array<CharacterCode, kSetCharacters>;

/// Of a primary set.
[[nodiscard]] const CodeTable& g0Codes(const CharacterSet& set) noexcept;
/// Of a supplementary set.
[[nodiscard]] const CodeTable& g2Codes(G2Set set) noexcept;

/// The number of a mark, as markCharacter() takes it; 16 when it has none.
[[nodiscard]] std::uint8_t markNumber(char32_t mark) noexcept;

/// The lowest code of a character; 0 when the set does not have it.
[[nodiscard]] inline std::uint8_t codeIn(const CodeTable& codes, char32_t character) noexcept {
    const auto* const place = std::lower_bound(codes.begin(), codes.end(), CharacterCode{character, 0});
    return place == codes.end() || place->character != character || character == 0 ? std::uint8_t{0} : place->code;
}

/// Whether a character of a set has its ASCII code there, as most have.
[[nodiscard]] inline bool isAtAscii(const SetCharacters& set, char32_t character) noexcept {
    return character >= kFirstCharacterCode && character < kFirstCharacterCode + kSetCharacters &&
           set[character - kFirstCharacterCode] == character;
}

}  // namespace qlx::teletext
