#include "subtitles/SsaText.h"

#include "subtitles/BraceCodes.h"
#include "subtitles/CueWriting.h"
#include "subtitles/TextEditing.h"

#include <qlx/base/utf8.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/ssa.h>
#include <qlx/subtitles/subrip.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::string_view kNoBreak = "\u00A0";
constexpr std::uint8_t kBelow = 2;

/// Whether a code is `name` with a number, or nothing, behind it.
bool isNumbered(std::string_view code, std::string_view name) noexcept {
    return code.starts_with(name) && code.find_first_not_of("0123456789+-. ", name.size()) == std::string_view::npos;
}

/// Whether runs look alike. Codes in front of the earlier one change nothing behind them.
bool looksAlike(const Run& run, const Run& before) noexcept {
    const bool hasCodes = !before.properties.empty() && before.properties.back().name == properties::kSsaCodes;
    return before.style == run.style &&
           std::equal(before.properties.begin(), before.properties.end() - (hasCodes ? 1 : 0), run.properties.begin(),
                      run.properties.end());
}

}  // namespace

bool SsaText::take(std::string_view text, const SsaStyle& style, const SsaScreen& screen, bool endsSoftly,
                   std::uint64_t mostRows, std::uint64_t line, Cue& cue) {
    _own = style;
    _current = style;
    _kept.clear();
    _line = line;
    _anchor = 0;
    _position.reset();
    _endsSoftly = endsSoftly;
    _isDrawing = false;
    _isChanged = true;
    _hasText = false;
    _hasBraces = true;
    _drawn = _syllables = _comments = 0;
    WrongBytes wrong;
    text = withoutWrongBytes(text, _room, wrong);
    if (wrong.count != 0 && _findings != nullptr) {
        _findings->add({SubtitleTextNotUtf8, Severity::Error, line, wrong.first, wrong.count});
    }
    cue.rows.emplace_back();
    while (!text.empty() && cue.rows.size() <= mostRows) {
        const std::size_t plain = std::min(text.find_first_of("{\\"), text.size());
        append(text.substr(0, plain), cue);
        text.remove_prefix(plain);
        if (!text.empty()) {
            takeMarkup(text, cue);
        }
    }
    finishRow(cue);
    report(SsaDrawing, Severity::Warning, _drawn);
    report(SsaSyllables, Severity::Warning, _syllables);
    report(SsaCommentInText, Severity::Remark, _comments);
    place(screen, cue);
    return cue.rows.size() <= mostRows;
}

/// Takes what begins with a brace or a backslash off the front.
void SsaText::takeMarkup(std::string_view& text, Cue& cue) {
    if (text.front() == '{' && _hasBraces) {
        const std::size_t end = text.find('}');
        _hasBraces = end != std::string_view::npos;
        if (_hasBraces) {
            takeBraces(text.substr(1, end - 1));
            text.remove_prefix(end + 1);
            return;
        }
    }
    const char next = text.front() == '\\' && text.size() > 1 ? text[1] : '\0';
    const bool isEnd = next == 'N' || (next == 'n' && _endsSoftly);
    if (isEnd && !_isDrawing) {
        finishRow(cue);
        cue.rows.emplace_back();
        _isChanged = true;
    } else if (next == 'N' || next == 'n') {
        append(" ", cue);
    } else if (next == 'h') {
        append(kNoBreak, cue);
    } else if (next == '{' || next == '}') {
        append(text.substr(1, 1), cue);
    } else {
        append(text.substr(0, 1), cue);
        text.remove_prefix(1);
        return;
    }
    text.remove_prefix(2);
}

void SsaText::takeBraces(std::string_view inside) {
    const std::size_t first = std::min(inside.find('\\'), inside.size());
    _comments += static_cast<std::int64_t>(first);
    std::string_view codes = inside.substr(std::min(first + 1, inside.size()));
    while (!codes.empty()) {
        takeCode(takeCodeOf(codes));
    }
}

void SsaText::takeCode(std::string_view code) {
    code = trimmed(code);
    if (code.empty() || takeStyleCode(code) || takeColorCode(code) || takePlaceCode(code)) {
        return;
    }
    if (code.front() == 'p' && isNumbered(code, "p")) {
        _isDrawing = ssaNumber(code.substr(1)).value_or(0) > 0;
    } else if (code.front() == 'q' && isNumbered(code, "q")) {
        _endsSoftly = code == "q2";
    } else if (const std::size_t name =
                   code.starts_with("kf") || code.starts_with("ko") || code.starts_with("kt") ? 2 : 1;
               (code.front() == 'k' || code.front() == 'K') && isNumbered(code, code.substr(0, name))) {
        ++_syllables;
    } else {
        _kept += '\\';
        _kept += code;
    }
    _isChanged = true;
}

/// @return Whether it was one.
bool SsaText::takeStyleCode(std::string_view code) {
    constexpr std::pair<char, bool SsaStyle::*> kFlags[] = {{'b', &SsaStyle::isBold},
                                                            {'i', &SsaStyle::isItalic},
                                                            {'u', &SsaStyle::isUnderlined},
                                                            {'s', &SsaStyle::isStruckOut}};
    for (const auto& [letter, flag] : kFlags) {
        if (code.front() == letter && isNumbered(code, code.substr(0, 1))) {
            const auto number = ssaNumber(code.substr(1));
            _current.*flag = !number ? _own.*flag : letter == 'b' ? isSsaBold(*number) : *number != 0;
            _isChanged = true;
            return true;
        }
    }
    constexpr std::size_t kLongestName = 100;
    if (code.starts_with("fn") && code.size() <= kLongestName) {
        _current.font = code.substr(2);
    } else if (isNumbered(code, "fs") && code.size() <= kLongestName) {
        _current.size = code.substr(2);
    } else if (code.front() == 'r' && code != "rnd") {
        const SsaStyle* const named = code.size() > 1 ? _styleNamed(code.substr(1)) : &_own;
        if (named == nullptr) {
            report(SsaStyleUnknown, Severity::Warning, static_cast<std::int64_t>(code.size() - 1));
        }
        _current = named != nullptr ? *named : _own;
    } else {
        return false;
    }
    _isChanged = true;
    return true;
}

/// @return Whether it was one.
bool SsaText::takeColorCode(std::string_view code) {
    constexpr std::pair<std::string_view, std::uint32_t SsaStyle::*> kColorCodes[] = {
        {"c", &SsaStyle::color}, {"1c", &SsaStyle::color}, {"3c", &SsaStyle::box}};
    for (const auto& [name, color] : kColorCodes) {
        if (!code.starts_with(name)) {
            continue;
        }
        const auto bits = codeColor(code.substr(name.size()));
        if (bits || code == name) {
            _current.*color = bits.value_or(_own.*color);
            _isChanged = true;
            // The outline of text without a box is a code like others.
            return name != "3c" || _current.isBoxed;
        }
    }
    return false;
}

/// The first of each kind counts.
/// @return Whether it was one.
bool SsaText::takePlaceCode(std::string_view code) {
    const bool isNew = code.starts_with("an");
    if (isNew || (code.front() == 'a' && isNumbered(code, "a"))) {
        constexpr std::int32_t kLast = 9;
        const auto number = ssaNumber(code.substr(isNew ? 2 : 1));
        const bool isNumber = number && *number > 0 && (!isNew || *number <= kLast);
        const std::uint8_t anchor = !isNumber ? std::uint8_t{0}
                                    : isNew   ? static_cast<std::uint8_t>(*number)
                                              : anchorOfOldNumber(static_cast<unsigned>(*number));
        _anchor = _anchor == 0 ? anchor : _anchor;
        return true;
    }
    const auto position = positionOfCode(code);
    if (!position) {
        return false;
    }
    if (!_position) {
        _position = {position->x, position->y};
        std::string_view inside = code.substr(4, code.size() - 5);
        const std::string_view across = takePart(inside, ',');
        _positionText = std::string(trimmed(across)) + "," + std::string(trimmed(inside));
    }
    return true;
}

void SsaText::append(std::string_view text, Cue& cue) {
    if (text.empty()) {
        return;
    }
    if (_isDrawing) {
        _drawn += static_cast<std::int64_t>(text.size());
        return;
    }
    _hasText = true;
    if (std::exchange(_isChanged, false)) {
        beginRun(cue.rows.back());
    }
    cue.rows.back().runs.back().text += text;
}

/// Begins a run, unless the last one looks like it.
void SsaText::beginRun(Row& row) {
    Run run;
    run.style.isBold = _current.isBold;
    run.style.isItalic = _current.isItalic;
    run.style.isUnderlined = _current.isUnderlined;
    setColor(run, _current.color);
    setAlpha(run.properties, properties::kColorAlpha, _current.alpha);
    if (_current.isBoxed) {
        run.style.background = screenColor(_current.box);
        setAlpha(run.properties, properties::kBackgroundAlpha, _current.boxAlpha);
    }
    if (!_current.font.empty()) {
        run.properties.push_back({std::string(properties::kFontFace), std::string(_current.font)});
    }
    if (!_current.size.empty()) {
        run.properties.push_back({std::string(properties::kFontSize), std::string(_current.size)});
    }
    if (_current.isStruckOut) {
        run.properties.push_back({std::string(properties::kStruckOut), {}});
    }
    if (!_kept.empty()) {
        run.properties.push_back({std::string(properties::kSsaCodes), std::exchange(_kept, {})});
    } else if (!row.runs.empty() && looksAlike(run, row.runs.back())) {
        return;
    }
    row.runs.push_back(std::move(run));
}

/// Codes behind the last text of a row stand in front of a run without text.
void SsaText::finishRow(Cue& cue) {
    if (!_kept.empty()) {
        cue.rows.back().runs.push_back({{}, {}, {}, {{std::string(properties::kSsaCodes), std::exchange(_kept, {})}}});
    }
}

/// Gives the rows their places: the alignment where nothing else is said, or rows of a screen.
void SsaText::place(const SsaScreen& screen, Cue& cue) const {
    constexpr std::uint16_t kRows = 15;
    constexpr std::uint16_t kColumns = 32;
    constexpr Alignment kAlignments[] = {Alignment::Left, Alignment::Center, Alignment::Right};
    const std::uint8_t anchor = _anchor != 0 ? _anchor : _own.anchor;
    const unsigned side = (anchor - 1U) % 3U;
    const unsigned band = (anchor - 1U) / 3U;
    for (Row& row : cue.rows) {
        row.alignment = kAlignments[side];
        row.anchor = anchor == kBelow ? std::uint8_t{0} : anchor;
    }
    const double height = static_cast<double>(screen.height) / kRows;
    const auto count = static_cast<double>(cue.rows.size());
    double first = band == 0 ? kRows - count : band == 1 ? (kRows - count) / 2 : 0;
    const double usual = first;
    if (_position) {
        first = _position->y / height - count * (2.0 - band) / 2.0;
    } else if (_own.margin >= 0 && band != 1) {
        const double margin = _own.margin / height;
        first = band == 0 ? kRows - margin - count : margin;
    }
    // Less than a row aside, as margins usually are, it stands where it would without them.
    const bool isAside = std::abs(first - usual) >= 1;
    // A row as a screen has them, which all the others still have room below.
    first = std::clamp(std::round(first), 0.0, std::max(0.0, kRows - count));
    const bool hasRows = count <= kRows && isAside;
    const bool hasColumns = _position.has_value();
    if (hasColumns) {
        cue.properties.push_back({std::string(properties::kSsaPosition), _positionText});
    }
    if (!hasRows && !hasColumns) {
        return;
    }
    cue.screenRows = kRows;
    // Around its place, or in front of it, text has the room up to the edge; what needs more begins with its column.
    const Box around =
        _position ? boxAt({100 * _position->x / screen.width, 100 * _position->y / screen.height}, anchor) : Box();
    const bool isAligned = std::all_of(cue.rows.begin(), cue.rows.end(), [&around](const Row& row) {
        return static_cast<double>(widthOf(row)) * 100 <= around.width * kColumns;
    });
    double number = first;
    for (Row& row : cue.rows) {
        number += 1;
        row.number = count <= kRows ? static_cast<std::uint64_t>(number) : 0;
        row.anchor = row.number != 0 ? std::uint8_t{0} : row.anchor;
        if (hasColumns && !row.runs.empty()) {
            const auto width = static_cast<double>(widthOf(row));
            const double x = _position->x * kColumns / screen.width;
            const double begin = std::round(x - width * side / 2.0);
            const double centered = std::round((kColumns - width) / 2.0);
            cue.screenColumns = kColumns;
            if (side == 1 && begin == centered) {
                continue;  // Where the alignment puts it.
            }
            row.column = static_cast<std::uint16_t>(std::clamp(begin, 0.0, kColumns - 1.0) + 1);
            row.alignment = isAligned ? row.alignment : Alignment::Left;
        }
    }
    if (hasColumns) {
        // What has columns begins with the first of them.
        std::uint16_t column = 0;
        for (const Row& row : cue.rows) {
            column = row.column != 0 && (column == 0 || row.column < column) ? row.column : column;
        }
        cue.box = around;
        if (column != 0 && side != 0 && !isAligned) {
            cue.box->left = (column - 1) * 100.0 / kColumns;
            cue.box->width = 100 - cue.box->left;
        }
    }
}

void SsaText::report(FindingCode code, Severity severity, std::int64_t first) const {
    if (first != 0 && _findings != nullptr) {
        _findings->add({code, severity, _line, first, 0});
    }
}

}  // namespace qlx::subtitles
