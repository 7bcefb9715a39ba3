#include "subtitles/SubRipMarkup.h"

#include "subtitles/BraceCodes.h"
#include "subtitles/CueWriting.h"
#include "subtitles/Entities.h"
#include "subtitles/TextEditing.h"
#include "subtitles/TextTime.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/subtitles/colors.h>
#include <qlx/subtitles/subrip.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
constexpr std::string_view kDecimalDigits = "0123456789";

/// Of the bytes of a font's name or size.
constexpr std::size_t kLongestName = 100;

/// Of a cue that has ends of rows in its lines.
constexpr std::size_t kMostRows = 10'000;

/// More tags than these are not open at once: they stay in the text.
constexpr std::size_t kDeepest = 64;

/// The value of an attribute, quoted or not, off the front of `text`.
std::string_view takeValue(std::string_view& text) {
    if (text.starts_with('"') || text.starts_with('\'')) {
        const char quote = text.front();
        text.remove_prefix(1);
        return takePart(text, quote);
    }
    const std::size_t size = std::min(text.find_first_of(" \t"), text.size());
    const std::string_view value = text.substr(0, size);
    text.remove_prefix(size);
    return value;
}

/// The size of the codes in braces with which `text` begins; 0 for other text.
std::size_t sizeOfCodes(std::string_view text) noexcept {
    const std::size_t end = text.starts_with("{\\") ? text.find('}') : std::string_view::npos;
    return end == std::string_view::npos ? 0 : end + 1;
}

/// Whether a run without codes looks like the one in front of it, which may have some.
bool looksLike(const Run& run, const Run& before) noexcept {
    const bool hasCodes = !before.properties.empty() && before.properties.back().name == properties::kSubRipCodes;
    const auto end = before.properties.end() - (hasCodes ? 1 : 0);
    return before.style == run.style &&
           std::equal(before.properties.begin(), end, run.properties.begin(), run.properties.end());
}

bool isEmptyRow(std::string_view text) noexcept {
    return text == kEmptyRowText || text.find_first_not_of(" \t") == std::string_view::npos;
}

}  // namespace

bool looksLikeSubRipMarkup(std::string_view text, bool hasTags) noexcept {
    // A tag has an end.
    const std::size_t last = hasTags ? text.size() : text.find_last_of('>') + 1;
    for (std::size_t place = placeOfAny<'<', '{', '&'>(text); place != std::string_view::npos;
         place = placeOfAny<'<', '{', '&'>(text, place + 1)) {
        const std::string_view rest = text.substr(place);
        const bool isTag =
            place < last && rest.size() > 1 && rest[0] == '<' &&
            (rest[1] == '/' || rest[1] == ' ' || rest[1] == '\t' || kLetters.find(rest[1]) != std::string_view::npos);
        if (isTag || rest.starts_with("{\\") || entityIn(rest)) {
            return true;
        }
    }
    return text == kEmptyRowText || placeOfAny<'\r', '\n'>(text) != std::string_view::npos;
}

void SubRipMarkup::begin() {
    _open.clear();
    _codes = {};
    _kept.clear();
    _isChanged = false;
    _anchor = 0;
    _position.reset();
}

void SubRipMarkup::takeRow(std::string_view text, std::uint64_t line, Cue& cue) {
    _line = line;
    _entities = 0;
    cue.rows.emplace_back();
    _isChanged = true;
    // Braces that nothing ends would each be looked for up to the end.
    const std::size_t behindBraces = text.size() - (text.find_last_of('}') + 1);
    while (!text.empty()) {
        const std::size_t plain = std::min(placeOfAny<'<', '{', '&'>(text), text.size());
        append(text.substr(0, plain), cue);
        text.remove_prefix(plain);
        if (text.empty()) {
            break;
        }
        std::size_t size = text.front() == '<'   ? takeTag(text, cue)
                           : text.front() == '{' ? (text.size() > behindBraces ? takeCodes(text) : 0)
                                                 : takeEntity(text, cue);
        if (size == 0) {
            append(text.substr(0, 1), cue);
            size = 1;
        }
        text.remove_prefix(size);
    }
    finishRow(cue);
    if (_entities != 0) {
        report(SubRipEntities, Severity::Remark, _entities);
    }
}

void SubRipMarkup::end(std::uint64_t line, Cue& cue) {
    _line = line;
    if (!_open.empty()) {
        report(SubRipTagUnclosed, Severity::Remark, static_cast<std::int64_t>(_open.size()));
    }
    if (_position) {
        // What receivers take the screen of such coordinates for.
        constexpr double kWidth = 384;
        constexpr double kHeight = 288;
        constexpr std::uint8_t kBottomCenter = 2;
        cue.box =
            boxAt({100 * _position->x / kWidth, 100 * _position->y / kHeight}, _anchor == 0 ? kBottomCenter : _anchor);
    }
    if (_anchor == 0) {
        return;
    }
    constexpr Alignment kAlignments[] = {Alignment::Left, Alignment::Center, Alignment::Right};
    for (Row& row : cue.rows) {
        row.anchor = _anchor;
        row.alignment = kAlignments[(_anchor - 1U) % 3U];
    }
}

/// Codes behind the last text of a row stand in front of a run without text. An empty row is written with a space; one of
/// blanks alone is empty too.
void SubRipMarkup::finishRow(Cue& cue) {
    Row& row = cue.rows.back();
    if (!_kept.empty()) {
        // Without text there is nothing that could look otherwise.
        row.runs.push_back({{}, {}, {}, {{std::string(properties::kSubRipCodes), std::exchange(_kept, {})}}});
    }
    const bool isPlain = row.runs.size() == 1 && row.runs.front() == Run{row.runs.front().text, {}, {}, {}};
    if (isPlain && isEmptyRow(row.runs.front().text)) {
        row.runs.clear();
    }
}

/// @return The bytes of the tag; 0 when it is none.
std::size_t SubRipMarkup::takeTag(std::string_view text, Cue& cue) {
    constexpr std::size_t kLongest = 512;
    const std::size_t end = text.substr(0, kLongest).find('>');
    if (end == std::string_view::npos) {
        return 0;
    }
    std::string_view inside = trimmed(text.substr(1, end - 1));
    const bool isEnd = inside.starts_with('/');
    inside = isEnd ? trimmed(inside.substr(1)) : inside;
    const std::size_t nameSize = std::min(inside.find_first_not_of(kLetters), inside.size());
    const std::string name = asciiLowercased(inside.substr(0, nameSize));
    const std::string_view attributes = trimmed(inside.substr(nameSize));
    if (name == "br" && (attributes.empty() || attributes == "/") && cue.rows.size() < kMostRows) {
        finishRow(cue);
        cue.rows.emplace_back();
        _isChanged = true;
        return end + 1;
    }
    constexpr std::pair<std::string_view, Kind> kKinds[] = {
        {"b", Kind::Bold}, {"i", Kind::Italic}, {"u", Kind::Underline}, {"s", Kind::StrikeOut}, {"font", Kind::Font}};
    for (const auto& [known, kind] : kKinds) {
        if (name == known && isEnd) {
            closeTag(kind, end + 1);
            return end + 1;
        }
    }
    if (!isEnd && openTag(name, attributes, end + 1)) {
        return end + 1;
    }
    if (!name.empty()) {
        report(SubRipTagUnknown, Severity::Remark, static_cast<std::int64_t>(end + 1));
    }
    return 0;
}

bool SubRipMarkup::openTag(std::string_view name, std::string_view attributes, std::size_t size) {
    if (_open.size() >= kDeepest) {
        return false;
    }
    Tag tag;
    if (name == "font") {
        tag.kind = Kind::Font;
        takeFont(attributes, tag);
    } else if (name.size() == 1 && attributes.empty()) {
        constexpr std::string_view kNames = "bius";
        constexpr Kind kKinds[] = {Kind::Bold, Kind::Italic, Kind::Underline, Kind::StrikeOut};
        const std::size_t place = kNames.find(name.front());
        if (place == std::string_view::npos) {
            return false;
        }
        tag.kind = kKinds[place];
    } else {
        return false;
    }
    _open.push_back(std::move(tag));
    _isChanged = _isChanged || size != 0;
    return true;
}

void SubRipMarkup::closeTag(Kind kind, std::size_t size) {
    const auto found = std::find_if(_open.rbegin(), _open.rend(), [kind](const Tag& tag) { return tag.kind == kind; });
    if (found == _open.rend()) {
        report(SubRipTagWithoutStart, Severity::Remark, static_cast<std::int64_t>(size));
        return;
    }
    _open.erase(std::next(found).base());
    _isChanged = true;
}

void SubRipMarkup::takeFont(std::string_view attributes, Tag& tag) {
    while (!attributes.empty()) {
        const std::string name = asciiLowercased(trimmed(takePart(attributes, '=')));
        attributes = attributes.substr(std::min(attributes.find_first_not_of(" \t"), attributes.size()));
        const std::string_view value = trimmed(takeValue(attributes));
        // Longer ones, and those that cannot be quoted, are no names.
        const bool isName = value.size() <= kLongestName && value.find('"') == std::string_view::npos;
        if (name == "color") {
            tag.color = colorNamed(value);
            if (!tag.color) {
                constexpr std::int64_t kReadAsWhite = 7;
                report(SrtColorUnknown, Severity::Warning, kReadAsWhite, static_cast<std::int64_t>(value.size()));
            }
        } else if (name == "face" && isName) {
            tag.face = value;
        } else if (name == "size" && isName) {
            tag.size = value;
        } else {
            report(SubRipAttributePassed, Severity::Warning, static_cast<std::int64_t>(name.size() + value.size()));
        }
    }
}

/// @return The bytes of the codes; 0 when they are none.
std::size_t SubRipMarkup::takeCodes(std::string_view text) {
    const std::size_t size = sizeOfCodes(text);
    if (size == 0) {
        return 0;
    }
    std::string_view codes = text.substr(2, size - 3);
    while (!codes.empty()) {
        takeCode(takeCodeOf(codes));
    }
    return size;
}

void SubRipMarkup::takeCode(std::string_view code) {
    const std::string_view value = code.substr(std::min<std::size_t>(1, code.size()));
    const bool isNumber = value.find_first_not_of(kDecimalDigits) == std::string_view::npos;
    _isChanged = true;
    const bool isPlace = code.starts_with("an") && code.size() == 3;
    const bool isOldPlace = code.starts_with('a') && isNumber && !value.empty();
    if ((isPlace && takeAnchor(code.substr(2), false)) || (isOldPlace && takeAnchor(value, true))) {
        return;
    }
    if (isNumber && code.size() <= 4 && code.find_first_of("bius") == 0) {
        // Without a number the code ends what an earlier one said. Of a weight more is kept than that it is heavy.
        constexpr int kHeavy = 600;
        int weight = 0;
        (void)std::from_chars(value.data(), value.data() + value.size(), weight);
        const std::optional<bool> isOn =
            value.empty() ? std::nullopt
                          : std::optional(code.front() == 'b' && weight > 1 ? weight >= kHeavy : weight > 0);
        if (code.front() == 'b' && weight > 1) {
            keep(code);
        }
        (code.front() == 'b'   ? _codes.isBold
         : code.front() == 'i' ? _codes.isItalic
         : code.front() == 'u' ? _codes.isUnderlined
                               : _codes.isStruckOut) = isOn;
    } else if (const auto color = codeColor(code.substr(code.find('c') == 0    ? 1
                                                        : code.find("1c") == 0 ? 2
                                                                               : code.size()))) {
        _codes.color = color;
    } else if (code == "c" || code == "1c") {
        _codes.color.reset();
    } else if (code == "r") {
        _codes = {};
    } else if (!code.empty()) {
        _position = _position ? _position : positionOfCode(code);
        keep(code);
    }
}

void SubRipMarkup::keep(std::string_view code) {
    _kept += _kept.empty() || !_isKeptOpen ? "\\" : "}{\\";
    _kept += code;
    _isKeptOpen = leavesBracketOpen(code);
}

/// @return Whether it is the place of the cue: the first one counts, and others are kept as they are.
bool SubRipMarkup::takeAnchor(std::string_view digits, bool isOld) {
    unsigned number = 0;
    (void)std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const unsigned anchor = isOld ? anchorOfOldNumber(number) : number <= 9 ? number : 0;
    _anchor = _anchor == 0 ? static_cast<std::uint8_t>(anchor) : _anchor;
    return anchor != 0 && anchor == _anchor;
}

/// @return The bytes of the entity; 0 when it is none.
std::size_t SubRipMarkup::takeEntity(std::string_view text, Cue& cue) {
    const auto entity = entityIn(text);
    if (!entity) {
        return 0;
    }
    ++_entities;
    std::string character;
    appendUtf8(character, entity->character);
    append(character, cue);
    return entity->size;
}

void SubRipMarkup::append(std::string_view text, Cue& cue) {
    if (text.empty()) {
        return;
    }
    if (std::exchange(_isChanged, false)) {
        beginRun(cue.rows.back());
    }
    cue.rows.back().runs.back().text += text;
}

/// Begins a run, unless the last one looks like it.
void SubRipMarkup::beginRun(Row& row) {
    Run run;
    bool isStruckOut = false;
    std::optional<std::uint32_t> color;
    const std::string* face = nullptr;
    const std::string* size = nullptr;
    for (const Tag& tag : _open) {
        run.style.isBold = run.style.isBold || tag.kind == Kind::Bold;
        run.style.isItalic = run.style.isItalic || tag.kind == Kind::Italic;
        run.style.isUnderlined = run.style.isUnderlined || tag.kind == Kind::Underline;
        isStruckOut = isStruckOut || tag.kind == Kind::StrikeOut;
        color = tag.color ? tag.color : color;
        face = tag.face.empty() ? face : &tag.face;
        size = tag.size.empty() ? size : &tag.size;
    }
    run.style.isBold = _codes.isBold.value_or(run.style.isBold);
    run.style.isItalic = _codes.isItalic.value_or(run.style.isItalic);
    run.style.isUnderlined = _codes.isUnderlined.value_or(run.style.isUnderlined);
    color = _codes.color ? _codes.color : color;
    if (color) {
        setColor(run, *color);
    }
    if (face != nullptr) {
        run.properties.push_back({std::string(properties::kFontFace), *face});
    }
    if (size != nullptr) {
        run.properties.push_back({std::string(properties::kFontSize), *size});
    }
    if (_codes.isStruckOut.value_or(isStruckOut)) {
        run.properties.push_back({std::string(properties::kStruckOut), {}});
    }
    if (!_kept.empty()) {
        run.properties.push_back({std::string(properties::kSubRipCodes), std::exchange(_kept, {})});
    } else if (!row.runs.empty() && looksLike(run, row.runs.back())) {
        return;
    }
    row.runs.push_back(std::move(run));
}

void SubRipMarkup::report(FindingCode code, Severity severity, std::int64_t first, std::int64_t second) {
    if (_findings != nullptr) {
        _findings->add({code, severity, _line, first, second});
    }
}

}  // namespace qlx::subtitles
