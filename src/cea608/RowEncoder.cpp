// Encodes the rows of captions: where codes that change a style find their columns.
#include "RowEncoder.h"

#include "StandIns.h"
#include "base/StandIns.h"

#include <algorithm>
#include <bit>

namespace qlx::cea608 {

namespace {

/// Behind these columns only a white preamble brings the cursor without many tab offsets.
constexpr std::size_t kGreatestTab = 3;

enum RunKind : std::size_t {
    kColorRun,
    kItalicsRun,
    kUnderlineRun,
    kBackgroundRun,
    kFlashRun,
    kFlashingBackgroundRun,
    kOpacityRun,
    kTextRun
};

/// The codes that lead from one colour of letters to another, also to the same; their number is given back.
std::size_t letterCodes(const Look& from, const Look& to, std::array<Code, kForegroundCodes>& codes) {
    const bool isBlack = to.foreground == screen::Color::Black;
    const Code color{.kind = isBlack ? CodeKind::Foreground : CodeKind::MidRow,
                     .color = to.foreground,
                     .isUnderlined = to.isUnderlined};
    const Code italics{.kind = CodeKind::MidRow, .isItalic = true, .isUnderlined = to.isUnderlined};
    if (!to.isItalic) {
        codes[0] = color;
        return 1;
    }
    if (from.foreground == to.foreground) {
        codes[0] = italics;
        return 1;
    }
    codes = {color, italics};
    return 2;
}

/// The codes that lead from one foreground to another; their number is given back. Those of colours and italics end
/// flashing.
std::size_t foregroundCodes(const Look& from, const Look& to, std::array<Code, kForegroundCodes>& codes) {
    const bool changesLetters = !from.hasLettersOf(to) || (from.isFlashing && !to.isFlashing);
    std::size_t count = changesLetters ? letterCodes(from, to, codes) : 0;
    if (to.isFlashing && (changesLetters || !from.isFlashing)) {
        codes[count++] = controlCode(Control::FlashOn);
    }
    return count;
}

bool isFlashing(const screen::Cell& cell) noexcept {
    return cell.isFlashing || cell.foregroundOpacity == screen::Opacity::Flash;
}

bool isUnreadable(const Look& look) noexcept {
    return look.foreground == look.background && look.opacity != screen::Opacity::Transparent;
}

}  // namespace

void PairBuilder::finishPair() {
    _isHalf = false;
}

void PairBuilder::basic(std::uint8_t code) {
    if (_isHalf) {
        _pairs.back().pair.second = code;
    } else {
        _pairs.push_back({{code, 0}, false});
    }
    _isHalf = !_isHalf;
}

void PairBuilder::code(Code code, bool isJoined) {
    finishPair();
    code.channel = _channel.channel;
    code.isOfField2 = code.kind == CodeKind::Control && _channel.field == 2;
    const Pair pair = pairOf(code).value_or(Pair{});
    if (_doublesCodes) {
        _pairs.push_back({pair, isJoined});
        _pairs.push_back({pair, true});
        return;
    }
    // Beside its like a code would be taken for a repetition.
    const std::size_t count = _pairs.size();
    const bool isBesideItsLike = count > 0 && _pairs[count - 1].pair == pair;
    const bool isThatDoubled = count > 1 && _pairs[count - 1].isJoined && _pairs[count - 2].pair == pair;
    if (isBesideItsLike && !isThatDoubled) {
        _pairs.push_back({pair, true});
    }
    _pairs.push_back({pair, isJoined});
    if (isBesideItsLike) {
        _pairs.push_back({pair, true});
    }
}

void PairBuilder::character(const CharacterCode& character) {
    switch (character.set) {
    case CharacterSet::Basic:
        basic(character.code);
        break;
    case CharacterSet::Special:
        code({.kind = CodeKind::Special, .character = character});
        break;
    case CharacterSet::SpanishFrench:
    case CharacterSet::PortugueseGerman: {
        const auto set = static_cast<std::size_t>(character.set);
        const std::string_view standIns = kStandIns[set - static_cast<std::size_t>(CharacterSet::SpanishFrench)];
        basic(static_cast<std::uint8_t>(standIns[character.code - std::size_t{kFirstCharacterCodes[set]}]));
        code({.kind = CodeKind::Extended, .character = character}, true);
        break;
    }
    }
}

/// What is asked for, as far as there are codes for it.
Look RowEncoder::lookAt(std::size_t column) const noexcept {
    const screen::Cell& from = cell(column);
    const bool isTransparent = from.backgroundOpacity == screen::Opacity::Transparent;
    Look look;
    look.foreground = basicColor(from.foreground);
    look.background = isTransparent ? screen::Color::Black : basicColor(from.background);
    look.opacity = from.backgroundOpacity == screen::Opacity::Flash ? screen::Opacity::Solid : from.backgroundOpacity;
    look.isItalic = from.isItalic;
    look.isUnderlined = from.isUnderlined;
    look.isFlashing = isFlashing(from);
    return look;
}

void RowEncoder::encode(const Piece& piece) {
    _piece = piece;
    _runs = {};
    const std::size_t end = piece.column + piece.cells.size();
    std::size_t behindText = 0;
    for (std::size_t column = piece.column; column < end;) {
        std::size_t behind = column;
        while (behind < end && isShown(cell(behind))) {
            ++behind;
        }
        if (behind > column) {
            encodeText(column, behind, column - behindText);
            behindText = behind;
        }
        column = behind + 1;
    }
    for (Run& run : _runs) {
        flush(run);
    }
    _out.finishPair();
}

/// Columns without a gap. `free` ones are in front of them.
void RowEncoder::encodeText(std::size_t begin, std::size_t end, std::size_t free) {
    _look = {};
    for (Word word{.first = begin, .free = free}; word.first < end; word.first = word.letter + 1, word.free = 0) {
        word.letter = word.first;
        while (word.letter < end && !cell(word.letter).hasText()) {
            ++word.letter;
        }
        word.hasLetter = word.letter < end;
        const bool isFirst = word.first == begin;
        if (isFirst && word.hasLetter) {
            const Look wanted = lookAt(word.letter);
            _look.isUnderlined = wanted.isUnderlined;
            if (begin <= kGreatestTab && wanted.foreground != screen::Color::Black) {
                _look.foreground = wanted.foreground;
                _look.isItalic = wanted.isItalic && wanted.foreground == screen::Color::White;
            }
        }
        const Plan plan = planOf(word);
        if (isFirst) {
            putPreamble(begin, plan.start);
        }
        putSpaces(word, plan);
        if (word.hasLetter) {
            putLetter(word.letter);
        }
    }
}

void RowEncoder::putPreamble(std::size_t begin, std::size_t start) {
    constexpr std::size_t kIndent = 4;
    Code code = preamble(_piece.row, static_cast<std::uint8_t>(start / kIndent * kIndent));
    code.isUnderlined = _look.isUnderlined;
    if (begin <= kGreatestTab) {
        code.hasIndent = false;
        code.color = _look.foreground;
        code.isItalic = _look.isItalic;
    }
    _out.code(code);
    if (start % kIndent != 0) {
        _out.code({.kind = CodeKind::Tab, .columns = static_cast<std::uint8_t>(start % kIndent)});
    }
}

/// The best that the columns have room for.
RowEncoder::Plan RowEncoder::planOf(const Word& word) const {
    struct Choice {
        bool hasForeground;
        bool hasBackground;
        bool hasItalics;
        bool isExact;
    };
    constexpr std::array<Choice, 9> kChoices{{{true, true, true, true},
                                              {true, true, true, false},
                                              {true, true, false, true},
                                              {true, true, false, false},
                                              {true, false, true, false},
                                              {true, false, false, false},
                                              {false, true, false, true},
                                              {false, true, false, false},
                                              {false, false, false, false}}};
    if (!word.hasLetter) {
        // There are as many columns as backgrounds.
        return tryPlan(word, _look, true).value_or(Plan{});
    }
    const Look asked = lookAt(word.letter);
    for (const Choice& choice : kChoices) {
        Look wanted = _look;
        if (choice.hasForeground) {
            wanted.foreground = asked.foreground;
            wanted.isUnderlined = asked.isUnderlined;
            wanted.isItalic = choice.hasItalics && asked.isItalic;
        }
        if (choice.hasBackground) {
            wanted.background = asked.background;
            wanted.opacity = asked.opacity;
        }
        // Flashing gives way first. What changes the letters ends it.
        const bool isNothing = !choice.hasForeground && !choice.hasBackground;
        for (const bool flashes : {asked.isFlashing, _look.isFlashing && _look.hasLettersOf(wanted)}) {
            wanted.isFlashing = flashes;
            const auto plan = tryPlan(word, wanted, choice.isExact);
            if (plan && (isNothing || !isUnreadable(wanted) || isUnreadable(asked))) {
                return *plan;
            }
        }
    }
    return {};
}

/// None when there are too few columns.
std::optional<RowEncoder::Plan> RowEncoder::tryPlan(const Word& word, const Look& wanted, bool isExact) const {
    Plan plan{.look = wanted, .isExact = isExact};
    plan.codeCount = foregroundCodes(_look, wanted, plan.codes);
    const std::size_t last = word.letter - 1;
    if (isExact) {
        Look before = _look;
        for (std::size_t column = word.first; column < word.letter; ++column) {
            const Look look = word.hasLetter && column == last ? wanted : lookAt(column);
            if (!look.hasBackgroundOf(before)) {
                plan.backgrounds |= 1U << column;
            }
            before = look;
        }
    }
    if (!wanted.hasBackgroundOf(_look) && (!isExact || word.first == word.letter)) {
        std::size_t column = last;
        while (!isExact && column > word.first && column < word.letter && lookAt(column).hasBackgroundOf(wanted) &&
               lookAt(column - 1).hasBackgroundOf(wanted)) {
            --column;
        }
        if (column >= kColumns) {
            return std::nullopt;
        }
        plan.backgrounds |= 1U << column;
    }
    const auto needed = static_cast<std::size_t>(std::popcount(plan.backgrounds)) + plan.codeCount;
    const std::size_t spaces = word.letter - word.first;
    if (needed > spaces + word.free) {
        return std::nullopt;
    }
    plan.start = word.first - (std::max(needed, spaces) - spaces);
    return plan;
}

void RowEncoder::putSpaces(const Word& word, const Plan& plan) {
    std::size_t plain =
        word.letter - plan.start - static_cast<std::size_t>(std::popcount(plan.backgrounds)) - plan.codeCount;
    std::size_t code = 0;
    for (std::size_t column = plan.start; column < word.letter; ++column) {
        const Look before = _look;
        const Look asked = column < word.first ? Look{} : lookAt(column);
        if ((plan.backgrounds >> column & 1U) != 0) {
            const bool isOwn = plan.isExact && !(word.hasLetter && column + 1 == word.letter);
            const Look& look = isOwn ? asked : plan.look;
            _look.background = look.background;
            _look.opacity = look.opacity;
            _out.basic(U' ');
            _out.code({.kind = CodeKind::Background, .color = look.background, .opacity = look.opacity}, true);
        } else if (plain > 0) {
            --plain;
            _out.basic(U' ');
        } else {
            const bool replacesSpace = plan.codes[code].kind == CodeKind::Foreground;
            if (replacesSpace) {
                _out.basic(U' ');
            }
            _out.code(plan.codes[code++], replacesSpace);
        }
        if (column >= word.first) {
            reportColors(column);
        }
        reportSpace(column, asked, before);
    }
    _look = word.hasLetter ? plan.look : _look;
}

void RowEncoder::putLetter(std::size_t column) {
    const char32_t asked = cell(column).character;
    auto code = characterCode(asked);
    if (!code) {
        const char32_t replacement = replacementOf(asked);
        add(FindingCode::Cea608CharacterReplaced, static_cast<std::int64_t>(asked),
            static_cast<std::int64_t>(replacement));
        code = characterCode(replacement);
    }
    _out.character(code.value_or(CharacterCode{}));
    reportColors(column);
    reportLetter(column, lookAt(column));
}

void RowEncoder::reportColors(std::size_t column) {
    const screen::Cell& from = cell(column);
    const auto replaced = [this](screen::Color color) {
        if (color != basicColor(color)) {
            add(FindingCode::Cea608ColorReplaced, static_cast<std::int64_t>(color),
                static_cast<std::int64_t>(basicColor(color)));
        }
    };
    if (from.hasText()) {
        replaced(from.foreground);
    }
    if (from.backgroundOpacity != screen::Opacity::Transparent) {
        replaced(from.background);
    }
    if (from.backgroundOpacity == screen::Opacity::Flash) {
        report(kFlashingBackgroundRun, FindingCode::Cea608FlashLeftOut, column);
    }
    if (from.hasText() && from.foregroundOpacity >= screen::Opacity::Translucent) {
        report(kOpacityRun, FindingCode::Cea608OpacityLeftOut, column);
    }
    if (!from.hasText() && from.character != U' ' && from.character != U'\u00A0') {
        report(kTextRun, FindingCode::Cea608TextLeftOut, column);
    }
}

void RowEncoder::reportSpace(std::size_t column, const Look& wanted, const Look& before) {
    if (!_look.hasBackgroundOf(wanted)) {
        const bool isLate = _look.hasBackgroundOf(before);
        report(kBackgroundRun, isLate ? FindingCode::Cea608BackgroundLate : FindingCode::Cea608BackgroundEarly, column);
    }
}

void RowEncoder::reportLetter(std::size_t column, const Look& wanted) {
    if (_look.foreground != wanted.foreground) {
        report(kColorRun, FindingCode::Cea608ColorLate, column);
    }
    if (_look.isItalic != wanted.isItalic) {
        report(kItalicsRun, FindingCode::Cea608ItalicsLate, column);
    }
    if (_look.isUnderlined != wanted.isUnderlined) {
        report(kUnderlineRun, FindingCode::Cea608UnderlineLate, column);
    }
    if (_look.isFlashing != wanted.isFlashing) {
        report(kFlashRun, FindingCode::Cea608FlashLate, column);
    }
    if (!_look.hasBackgroundOf(wanted)) {
        report(kBackgroundRun, FindingCode::Cea608BackgroundLate, column);
    }
}

/// Columns side by side are one finding.
void RowEncoder::report(std::size_t run, FindingCode code, std::size_t column) {
    Run& current = _runs[run];
    if (current.code != code || current.end != column) {
        flush(current);
        current = {code, column, column};
    }
    current.end = column + 1;
}

void RowEncoder::flush(Run& run) {
    if (run.code != FindingCode::None) {
        const std::size_t column = run.begin + (_piece.namedColumn - _piece.column);
        add(run.code, placeOf(_piece.namedRow, column), static_cast<std::int64_t>(run.end - run.begin));
    }
    run = {};
}

void RowEncoder::add(FindingCode code, std::int64_t first, std::int64_t second) const {
    if (_findings != nullptr) {
        _findings->add({code, Severity::Warning, _offset, first, second});
    }
}

}  // namespace qlx::cea608
