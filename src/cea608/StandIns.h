// What stands for characters that a receiver, or CEA-608 itself, does not have.
#pragma once

#include <qlx/cea608/characters.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
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

/// Characters that none of the sets has, each followed by the one that is sent in its place.
inline constexpr std::u32string_view kReplacements =
    U"\u2019'\u201A'\u201B'\u201E\"\u201F\"\u2039<\u203A>`'\u00B4'"
    U"\u2010-\u2011-\u2012-\u2013-\u2015-\u2212-\u00AF-\u00AD-\u2026.\u00B7.\u22C5."
    U"\u2669\u266A\u266B\u266A\u266C\u266A\U0001F3B5\u266A\U0001F3B6\u266A"
    U"\u20ACE\u00D7x\u00AAa\u00BA\u00B0\u00B1+\u00B5u\u00A7S\u00B9"
    "1\u00B2"
    "2\u00B3"
    "3"
    U"\u00C6A\u00E6a\u0152O\u0153o\u00D0D\u00F0d\u00DDY\u00FDy\u0178Y\u00FFy\u1E9ES"
    U"\u0100A\u0101a\u0102A\u0103a\u0104A\u0105a\u0106C\u0107c\u010CC\u010Dc\u010ED\u010Fd\u0110D\u0111d"
    U"\u0112E\u0113e\u0118E\u0119e\u011AE\u011Be\u011EG\u011Fg\u012AI\u012Bi\u0130I\u0131i"
    U"\u0139L\u013Al\u013DL\u013El\u0141L\u0142l\u0143N\u0144n\u0147N\u0148n\u0150O\u0151o"
    U"\u0154R\u0155r\u0158R\u0159r\u015AS\u015Bs\u015ES\u015Fs\u0160S\u0161s\u0218S\u0219s"
    U"\u0162T\u0163t\u0164T\u0165t\u021AT\u021Bt\u016AU\u016Bu\u016EU\u016Fu\u0170U\u0171u"
    U"\u0179Z\u017Az\u017BZ\u017Cz\u017DZ\u017Ez";

static_assert(kReplacements.size() % 2 == 0);

/// The character that is sent for one that no set has.
[[nodiscard]] constexpr char32_t replacementOf(char32_t character) noexcept {
    for (std::size_t index = 0; index < kReplacements.size(); index += 2) {
        if (kReplacements[index] == character) {
            return kReplacements[index + 1];
        }
    }
    return U'?';
}

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
