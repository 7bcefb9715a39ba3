// Joins marks with letters, gives Arabic letters their forms, and orders rows for the screen and for the reader.
#include "teletext/Direction.h"

#include "teletext/ArabicForms.h"

#include <algorithm>

namespace qlx::teletext {

namespace {

enum class Kind : std::uint8_t { Left, Right, Digit, BesideDigits, BetweenDigits, Neutral };

constexpr bool isIn(char32_t character, char32_t first, char32_t last) {
    return character >= first && character <= last;
}

constexpr bool isDigit(char32_t character) {
    return isIn(character, U'0', U'9') || isIn(character, 0x660, 0x669);
}

constexpr bool isRightLetter(char32_t character) {
    return isIn(character, 0x5D0, 0x5F2) || isIn(character, 0x620, 0x64A) || isIn(character, 0x66E, 0x6EF) ||
           isIn(character, 0xFB1D, 0xFD3D) || isIn(character, 0xFD40, 0xFDFF) || isIn(character, 0xFE70, 0xFEFC);
}

constexpr bool isLeftLetter(char32_t character) {
    const bool isLatin = isIn(character, U'A', U'Z') || isIn(character, U'a', U'z') || character == U'\u00AA' ||
                         character == U'\u00BA' || character == U'\u00B5';
    const bool isOther = isIn(character, 0xC0, 0x58F) && character != U'\u00D7' && character != U'\u00F7';
    return isLatin || isOther || isIn(character, 0x1E00, 0x1FFF);
}

Kind kindOf(char32_t character) {
    if (isDigit(character)) {
        return Kind::Digit;
    }
    if (isRightLetter(character)) {
        return Kind::Right;
    }
    if (isLeftLetter(character)) {
        return Kind::Left;
    }
    constexpr std::u32string_view kBeside = U"%#$\u00A3\u00A5\u00A2\u00A4\u00B0\u20AC\u20AA\u066A";
    constexpr std::u32string_view kBetween = U".,:/+-\u060C";
    return kBeside.find(character) != std::u32string_view::npos    ? Kind::BesideDigits
           : kBetween.find(character) != std::u32string_view::npos ? Kind::BetweenDigits
                                                                   : Kind::Neutral;
}

char32_t mirrored(char32_t character) {
    constexpr std::u32string_view kPairs = U"()[]{}<>\u00AB\u00BB\u2039\u203A";
    const std::size_t place = kPairs.find(character);
    return place == std::u32string_view::npos ? character : kPairs[place ^ 1U];
}

using Cells = std::span<DisplayCell>;

Cells part(Cells cells, std::size_t begin, std::size_t end) {
    return cells.subspan(begin, end - begin);
}

void reverse(Cells cells) {
    std::reverse(cells.begin(), cells.end());
    for (DisplayCell& cell : cells) {
        cell.character = mirrored(cell.character);
    }
}

/// Calls for each run of cells that are numbers: digits, single separators between them, and signs beside them.
template <class Take>
void forEachNumber(Cells cells, Take take) {
    const auto kind = [&cells](std::size_t place) {
        return place < cells.size() ? kindOf(cells[place].character) : Kind::Neutral;
    };
    const auto belongs = [&kind](std::size_t place) {
        return kind(place) == Kind::Digit || (kind(place) == Kind::BetweenDigits && place > 0 &&
                                              kind(place - 1) == Kind::Digit && kind(place + 1) == Kind::Digit);
    };
    for (std::size_t place = 0; place < cells.size();) {
        std::size_t end = place;
        bool hasDigit = false;
        while (end < cells.size() && (belongs(end) || kind(end) == Kind::BesideDigits)) {
            hasDigit = hasDigit || kind(end) == Kind::Digit;
            ++end;
        }
        if (hasDigit) {
            take(place, end);
        }
        place = std::max(end, place + 1);
    }
}

/// Whether there is a digit, or a sign beside one.
bool isOfNumber(Cells cells, std::size_t place) {
    const auto isDigitAt = [&cells](std::size_t other) {
        return other < cells.size() && isDigit(cells[other].character);
    };
    return isDigitAt(place) || (kindOf(cells[place].character) == Kind::BesideDigits &&
                                (isDigitAt(place + 1) || (place > 0 && isDigitAt(place - 1))));
}

/// Calls for each longest stretch that has letters of this kind and none of the other, without what stands at its ends
/// and is no letter; with digits, these count as letters, and where there are no letters numbers are stretches.
template <class Take>
void forEachStretch(Cells cells, Kind own, bool withDigits, Take take) {
    const Kind other = own == Kind::Left ? Kind::Right : Kind::Left;
    for (std::size_t place = 0; place < cells.size();) {
        std::size_t end = place;
        std::size_t first = cells.size();
        std::size_t last = 0;
        bool hasLetter = false;
        for (; end < cells.size(); ++end) {
            const Kind kind = kindOf(cells[end].character);
            if (kind == other) {
                break;
            }
            hasLetter = hasLetter || kind == own;
            if (kind == own || (withDigits && isOfNumber(cells, end))) {
                first = std::min(first, end);
                last = end + 1;
            }
        }
        if (hasLetter) {
            take(first, last);
        } else if (withDigits) {
            forEachNumber(part(cells, place, end),
                          [&](std::size_t begin, std::size_t stop) { take(place + begin, place + stop); });
        }
        place = end + 1;
    }
}

/// Turns all, and then each run that keeps its order back.
void turnAround(Cells cells) {
    reverse(cells);
    forEachStretch(cells, Kind::Left, true, [&cells](std::size_t begin, std::size_t end) {
        // Its cells stand the wrong way round, and so do the numbers of which it may consist.
        reverse(part(cells, begin, end));
    });
}

// Arabic forms

enum class Joining : std::uint8_t { None, Before, Both };

Joining joiningOf(char32_t character) {
    constexpr char32_t kTatweel = 0x640;
    if (character == kTatweel) {
        return Joining::Both;
    }
    const ArabicLetter* const letter = arabicLetter(character);
    return letter == nullptr || letter->count == 1 ? Joining::None
           : letter->count == 2                    ? Joining::Before
                                                   : Joining::Both;
}

/// Lam and alef become one.
void joinLamAlef(std::vector<DisplayCell>& cells) {
    constexpr char32_t kLam = 0x644;
    constexpr char32_t kAlef = 0x627;
    std::size_t count = 0;
    for (const DisplayCell& cell : cells) {
        if (count > 0 && cells[count - 1].character == kLam && cell.character == kAlef) {
            cells[count - 1].character = kLamAlef;
        } else {
            cells[count++] = cell;
        }
    }
    cells.resize(count);
}

/// Each letter in the form that its neighbours ask for; in reading order.
void shape(std::vector<DisplayCell>& cells) {
    joinLamAlef(cells);
    bool joinsBefore = false;
    for (std::size_t place = 0; place < cells.size(); ++place) {
        const Joining joining = joiningOf(cells[place].character);
        const bool joinsBehind = joining == Joining::Both && place + 1 < cells.size() &&
                                 joiningOf(cells[place + 1].character) != Joining::None;
        if (const ArabicLetter* const letter = arabicLetter(cells[place].character); letter != nullptr) {
            const bool isJoined = joinsBefore && joining != Joining::None;
            cells[place].character = formOf(*letter, isJoined ? joinsBehind ? ArabicForm::Medial : ArabicForm::Final
                                                     : joinsBehind ? ArabicForm::Initial
                                                                   : ArabicForm::Isolated);
        }
        joinsBefore = joinsBehind;
    }
}

std::vector<DisplayCell> joinMarks(std::u32string_view text, FindingSink* findings) {
    std::vector<DisplayCell> cells;
    cells.reserve(text.size());
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char32_t character = text[place];
        if (!isLetterMark(character)) {
            cells.push_back({character, place});
            continue;
        }
        const char32_t joined = cells.empty() ? U'\0' : composed(cells.back().character, character);
        if (joined != U'\0') {
            cells.back().character = joined;
        } else if (findings != nullptr) {
            findings->add(
                {FindingCode::TeletextMarkLeftOut, Severity::Remark, place, static_cast<std::int64_t>(character), 0});
        }
    }
    return cells;
}

/// What receivers draw in place of a letter that the set lacks may be of another direction, or of none.
void tellLostOrder(std::vector<DisplayCell> before, std::vector<DisplayCell> shown, const CharacterSet& set,
                   FindingSink* findings) {
    for (DisplayCell& cell : shown) {
        const auto own =
            std::lower_bound(before.begin(), before.end(), cell.source,
                             [](const DisplayCell& other, std::size_t source) { return other.source < source; });
        const bool isMirrored = own->character != cell.character;
        cell.character = encodeCharacter(cell.character, set).shown;
        own->character = isMirrored ? mirrored(cell.character) : cell.character;
    }
    turnBack(shown);
    const auto isSame = [](const DisplayCell& own, const DisplayCell& read) { return own.character == read.character; };
    const auto [there, read] = std::mismatch(before.begin(), before.end(), shown.begin(), shown.end(), isSame);
    if (there != before.end()) {
        findings->add({FindingCode::TeletextOrderLost, Severity::Warning, there->source, there - before.begin(),
                       static_cast<std::int64_t>(before.size())});
    }
}

}  // namespace

void turn(Cells cells, bool isRightToLeft) {
    if (isRightToLeft) {
        turnAround(cells);
        return;
    }
    forEachStretch(cells, Kind::Right, false,
                   [&cells](std::size_t begin, std::size_t end) { turnAround(part(cells, begin, end)); });
}

bool isLetterMark(char32_t character) noexcept {
    return isIn(character, 0x300, 0x36F) ||
           (isIn(character, 0x591, 0x5C7) && character != 0x5BE && character != 0x5C0 && character != 0x5C3 &&
            character != 0x5C6) ||
           isIn(character, 0x610, 0x61C) || isIn(character, 0x64B, 0x65F) || character == 0x670 ||
           isIn(character, 0x6D6, 0x6DC) || isIn(character, 0x200B, 0x200F) || isIn(character, 0x202A, 0x202E) ||
           isIn(character, 0x2066, 0x2069) || isIn(character, 0x20D0, 0x20FF) || isIn(character, 0xFE20, 0xFE2F) ||
           character == 0xFEFF;
}

bool isRightToLeft(std::span<const DisplayCell> cells) noexcept {
    for (const DisplayCell& cell : cells) {
        const Kind kind = kindOf(cell.character);
        if (kind == Kind::Left || kind == Kind::Right) {
            return kind == Kind::Right;
        }
    }
    return true;
}

void turnBack(Cells cells) {
    turn(cells, true);
    if (!isRightToLeft(cells)) {
        turn(cells, true);
        turn(cells, false);
    }
}

std::vector<DisplayCell> plainCells(std::span<const DisplayCell> cells) {
    std::vector<DisplayCell> plain;
    plain.reserve(cells.size());
    for (const DisplayCell& cell : cells) {
        if (const char32_t letter = plainArabic(cell.character); letter == kLamAlef) {
            plain.push_back({U'\u0644', cell.source});
            plain.push_back({U'\u0627', cell.source});
        } else {
            plain.push_back({letter, cell.source});
        }
    }
    return plain;
}

std::vector<DisplayCell> displayCells(std::u32string_view text, const CharacterSet& set, FindingSink* findings) {
    std::vector<DisplayCell> cells = joinMarks(text, findings);
    if (!set.isRightToLeft()) {
        return cells;
    }
    if (set.g0 == G0Set::Arabic) {
        shape(cells);
    }
    const std::vector<DisplayCell> before = findings != nullptr ? cells : std::vector<DisplayCell>();
    turn(cells, isRightToLeft(cells));
    if (findings != nullptr) {
        tellLostOrder(before, cells, set, findings);
    }
    return cells;
}

}  // namespace qlx::teletext
