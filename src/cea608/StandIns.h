// What stands for characters that a receiver does not have.
#pragma once

#include "base/StandIns.h"

#include <qlx/cea608/characters.h>

#include <array>
#include <string_view>

namespace qlx::cea608 {

/// Codes of the basic set that are sent in front of the characters of the two extended sets, in their order.
inline constexpr std::array<std::string_view, 2> kStandIns{"AEOUUu'!+'-cs.\"\"AACEEEeIIiOUuU\"\"",
                                                           "AaIIiOoOo()/!-!-AaOosY$!AaOo++++"};

static_assert(kStandIns[0].size() == kCharacters[2].size() && kStandIns[1].size() == kCharacters[3].size());

/// What stands for the characters of the special set where there are codes of the basic set alone, in their order.
inline constexpr std::array<std::string_view, 16> kSpecialStandIns{"R", "o", "1/2", "?", "TM", "c", "L", "#",
                                                                   "a", " ", "e",   "a", "e",  "i", "o", "u"};

static_assert(kSpecialStandIns.size() == kCharacters[1].size());

/// The codes of the basic set that are sent for a character where there is no other set; never empty.
[[nodiscard]] inline std::string_view basicCodesOf(char32_t character, std::array<char, 1>& room) noexcept {
    auto code = characterCode(character);
    if (!code) {
        code = characterCode(replacementOf(character));
    }
    if (!code) {
        return "?";
    }
    switch (code->set) {
    case CharacterSet::Special:
        return kSpecialStandIns[code->code - std::size_t{0x30}];
    case CharacterSet::SpanishFrench:
        return kStandIns[0].substr(code->code - std::size_t{0x20}, 1);
    case CharacterSet::PortugueseGerman:
        return kStandIns[1].substr(code->code - std::size_t{0x20}, 1);
    default:
        room[0] = static_cast<char>(code->code);
        return {room.data(), 1};
    }
}

}  // namespace qlx::cea608
