// What libzvbi calls letters of teletext.
#pragma once

#include <qlx/teletext/characters.h>
#include <qlx/teletext/sets.h>

#include <algorithm>
#include <map>
#include <string>

namespace qlxtest {

/// A letter, and what the library calls it.
using DrawnLetters = std::map<char32_t, char32_t>;

/// Letters of an option that the library names after the way in which the standard draws them, where no text of the
/// language has such a letter: a Z with a stroke, the ligature of T and L (in its private range), an A with a caron, an I
/// with an acute accent, an eth, an e with a cedilla.
inline DrawnLetters drawnLetters(qlx::teletext::NationalOption option) {
    switch (option) {
    case qlx::teletext::NationalOption::Polish:
        return {{U'\u017B', U'\u01B5'}};
    case qlx::teletext::NationalOption::Turkish:
        return {{U'\u20BA', U'\uE800'}};
    case qlx::teletext::NationalOption::Rumanian:
        return {{U'\u0102', U'\u01CD'}, {U'\u0103', U'\u01CE'}, {U'\u00CE', U'\u00CD'}};
    case qlx::teletext::NationalOption::SerbianCroatianSlovenian:
        return {{U'\u0110', U'\u00D0'}, {U'\u0111', U'\u00F0'}};
    case qlx::teletext::NationalOption::LettishLithuanian:
        return {{U'\u0119', U'\u0229'}};
    default:
        return {};
    }
}

/// What the library calls letters of a set: because the standard draws them so, because it takes all marks for those of
/// Latin letters, or because it names another sign of the same form (the Greek accent that stands alone).
inline DrawnLetters drawnLetters(const qlx::teletext::CharacterSet& set) {
    switch (set.g0) {
    case qlx::teletext::G0Set::Latin:
        return drawnLetters(set.option);
    case qlx::teletext::G0Set::Greek:
        return {{U'\u0384', U'\u0374'}, {U'\u038C', U'\u00D3'}};
    default:
        return {{U'\u0419', U'\u040D'},
                {U'\u0439', U'\u045D'},
                {U'\u0401', U'\u00CB'},
                {U'\u0451', U'\u00EB'},
                {U'\u0457', U'\u00EF'}};
    }
}

/// Puts the library's letters into a text.
inline void drawLetters(std::u32string& text, const DrawnLetters& letters) {
    for (const auto& [letter, drawn] : letters) {
        std::replace(text.begin(), text.end(), letter, drawn);
    }
}

}  // namespace qlxtest
