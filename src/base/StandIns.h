// What is sent in place of characters that a caption system does not have.
#pragma once

#include <cstddef>
#include <string_view>

namespace qlx {

/// Characters that caption systems may not have, each followed by the one that is sent in its place.
inline constexpr std::u32string_view kReplacements =
    U"\u2019'\u201A'\u201B'\u201E\"\u201F\"\u2039<\u203A>`'\u00B4'"
    U"\u2010-\u2011-\u2012-\u2013-\u2014-\u2015-\u2212-\u00AF-\u00AD-\u2026.\u00B7.\u22C5."
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

/// The character that is sent for one that a system does not have.
[[nodiscard]] constexpr char32_t replacementOf(char32_t character) noexcept {
    for (std::size_t index = 0; index < kReplacements.size(); index += 2) {
        if (kReplacements[index] == character) {
            return kReplacements[index + 1];
        }
    }
    return U'?';
}

}  // namespace qlx
