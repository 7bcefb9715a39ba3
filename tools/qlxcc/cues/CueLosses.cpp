#include "cues/CueLosses.h"

#include "cues/CueTransmission.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::size_t kKnownCharacters = 4096;
constexpr std::size_t kLongestKnownCharacter = 16;  ///< Bytes: with many accents it may be long.
constexpr std::size_t kNamedCharacters = 12;

std::u32string codePoints(std::string_view text) {
    std::u32string characters;
    while (!text.empty()) {
        characters += takeCodePoint(text);
    }
    return characters;
}

/// Whether a character is a space of any width.
bool isBlank(char32_t character) {
    return character == U' ' || character == U'\t' || character == U'\u00A0' ||
           (character >= U'\u2000' && character <= U'\u200A') || character == U'\u202F' || character == U'\u205F' ||
           character == U'\u3000';
}

bool isBlank(std::string_view text) {
    while (!text.empty()) {
        if (!isBlank(takeCodePoint(text))) {
            return false;
        }
    }
    return true;
}

struct Accent {
    char32_t mark;
    std::u32string_view letters;
    std::u32string_view composed;
};

/// The letters with accents that receivers show of teletext rows, as Unicode composes them.
constexpr std::array<Accent, 5> kAccents{{{U'\u0300', U"aeu", U"\u00E0\u00E8\u00F9"},
                                          {U'\u0301', U"e", U"\u00E9"},
                                          {U'\u0302', U"aeiou", U"\u00E2\u00EA\u00EE\u00F4\u00FB"},
                                          {U'\u0308', U"ei", U"\u00EB\u00EF"},
                                          {U'\u0327', U"c", U"\u00E7"}}};

/// A letter and its accent as one character, where receivers show such a one; else the text itself.
std::u32string composed(const std::u32string& text) {
    for (const Accent& accent : kAccents) {
        if (text.size() == 2 && text[1] == accent.mark) {
            const std::size_t place = accent.letters.find(text[0]);
            return place == std::u32string_view::npos ? text : std::u32string(1, accent.composed[place]);
        }
    }
    return text;
}

bool isAsWritten(std::string_view written, const std::u32string& shown) {
    const std::u32string characters = codePoints(written);
    const bool areBlank = characters.size() == 1 && shown.size() == 1 && isBlank(characters[0]) && isBlank(shown[0]);
    return areBlank || composed(characters) == shown;
}

/// Ranges of characters that cannot be seen by themselves: controls, soft hyphen, accents, directions, variants.
struct Range {
    char32_t first;
    char32_t last;
};
constexpr std::array<Range, 9> kUnseen{{{0x0000, 0x001F},
                                        {0x007F, 0x009F},
                                        {0x00AD, 0x00AD},
                                        {0x0300, 0x036F},
                                        {0x200B, 0x200F},
                                        {0x2028, 0x202E},
                                        {0x2060, 0x206F},
                                        {0xFE00, 0xFE0F},
                                        {0xFEFF, 0xFEFF}}};

/// `U+200E`
std::string codePointName(char32_t character) {
    constexpr std::size_t kDigits = 4;
    constexpr std::string_view kHexadecimal = "0123456789ABCDEF";
    std::string digits;
    for (char32_t rest = character; rest != 0 || digits.size() < kDigits; rest >>= 4U) {
        digits.insert(digits.begin(), kHexadecimal[rest & 15U]);
    }
    return "U+" + digits;
}

/// The character itself, or its code point where it could not be read.
std::string nameOf(std::string_view character) {
    std::string_view rest = character;
    const char32_t first = takeCodePoint(rest);
    const bool isUnseen = std::any_of(kUnseen.begin(), kUnseen.end(), [first](const Range& range) {
        return first >= range.first && first <= range.last;
    });
    const bool isLong = character.size() > kLongestKnownCharacter;
    return isUnseen || isLong || isBlank(first) ? codePointName(first) : std::string(character);
}

std::string printableUtf8(std::u32string_view characters) {
    std::string text;
    for (const char32_t character : characters) {
        appendUtf8(text, character);
    }
    return printable(text);
}

std::string shownInWords(const std::u32string& shown) {
    return shown.empty() ? "nothing" : shown == U" " ? "a space" : printableUtf8(shown);
}

/// Characters, each once, with what they are shown as; those with the same one stand together.
class Replacements {
public:
    void add(std::string_view character, const std::u32string& shown) {
        auto group = std::find_if(_groups.begin(), _groups.end(), [&](const Group& one) { return one.shown == shown; });
        if (group == _groups.end()) {
            group = _groups.insert(group, {shown, {}});
        }
        std::string name = nameOf(character);
        if (std::find(group->names.begin(), group->names.end(), name) == group->names.end()) {
            group->names.push_back(std::move(name));
        }
    }

    /// `[ as X`, `@, ~ as ?`; the first kNamedCharacters are named.
    void appendTo(std::vector<std::string>& parts) const {
        std::size_t named = 0;
        std::size_t notNamed = 0;
        for (const Group& group : _groups) {
            std::string names;
            for (const std::string& name : group.names) {
                if (named == kNamedCharacters) {
                    ++notNamed;
                    continue;
                }
                ++named;
                names += (names.empty() ? "" : ", ") + name;
            }
            if (!names.empty()) {
                parts.push_back(names + " as " + shownInWords(group.shown));
            }
        }
        if (notNamed > 0) {
            parts.push_back(counted(notNamed, "more character") + " as others");
        }
    }

private:
    struct Group {
        std::u32string shown;
        std::vector<std::string> names;
    };
    std::vector<Group> _groups;
};

std::string joined(const std::vector<std::string>& parts, std::string_view separator) {
    std::string text;
    for (const std::string& part : parts) {
        text += text.empty() ? "" : separator;
        text += part;
    }
    return text;
}

std::shared_ptr<QLXSubtitleRecord> cueOf(std::string text) {
    constexpr std::uint64_t kRow = 1;
    auto line = std::make_shared<QLXSubtitleTextLine>();
    line->setTextString(std::move(text));
    line->setVerticalPosition(kRow);
    auto cue = std::make_shared<QLXSubtitleRecord>();
    cue->setSubtitleLines({std::move(line)});
    return cue;
}

/// What is shown of a row with this text and no other.
std::u32string shownRow(CueTransmission& transmission, std::string text) {
    const ShownRows rows = transmission.shown(cueOf(std::move(text)));
    return rows.empty() ? std::u32string() : rows.front().value_or(std::u32string());
}

/// How many characters of a row are sent.
std::size_t greatestLength(CueTransmission& transmission) {
    constexpr std::size_t kLongerThanAnyRow = 100;
    return shownRow(transmission, std::string(kLongerThanAnyRow, 'x')).size();
}

}  // namespace

struct CueLosses::Findings {
    std::size_t rowsLeftOut = 0;
    std::size_t charactersLeftOut = 0;
    std::size_t rowsHidden = 0;
    std::vector<std::string> otherRows;  ///< Rows that are shown with another text.
    Replacements replacements;
};

CueLosses::CueLosses(std::int32_t mode) : CueLosses(makeTransmission(mode)) {}

CueLosses::CueLosses(std::unique_ptr<CueTransmission> transmission)
    : _transmission(std::move(transmission)), _greatestLength(greatestLength(*_transmission)) {}

CueLosses::~CueLosses() = default;

std::string CueLosses::of(const std::shared_ptr<QLXSubtitleRecord>& cue) {
    const ShownRows shown = _transmission->shown(cue);
    Findings findings;
    std::size_t number = 0;
    for (const auto& line : cue->subtitleLines()) {
        const std::string text = line->textString().value_or(std::string());
        const std::size_t index = number++;
        if (isBlank(text)) {
            continue;
        }
        if (index >= shown.size()) {
            ++findings.rowsLeftOut;
        } else if (!shown[index]) {
            ++findings.rowsHidden;
        } else {
            compareRow(text, *shown[index], number, findings);
        }
    }
    return inWords(findings);
}

/// A row is what its characters are by themselves, side by side, unless some of them change what others mean.
/// @param number Of the row in its cue, from 1.
void CueLosses::compareRow(std::string_view text, const std::u32string& received, std::size_t number,
                           Findings& findings) {
    std::u32string expected;
    std::size_t count = 0;
    std::string_view rest = text;
    for (std::size_t length = 0; length < _greatestLength && !rest.empty(); ++count) {
        const std::string_view character = _transmission->takeCharacter(rest);
        const std::u32string& shown = shownFor(character);
        if (!isAsWritten(character, shown)) {
            findings.replacements.add(character, shown);
        }
        expected += shown;
        length += _transmission->lengthOf(shown);
    }
    expected.resize(std::min(expected.size(), _greatestLength));
    for (bool isLost = !isBlank(rest); isLost && !rest.empty(); ++findings.charactersLeftOut) {
        (void)_transmission->takeCharacter(rest);
    }
    if (expected == received) {
        return;
    }
    const std::u32string_view shown = std::u32string_view(received).substr(0, received.find_last_not_of(U' ') + 1);
    std::string other = "its row " + std::to_string(number) + " is shown as \"" + printableUtf8(shown) + "\"";
    const std::vector<std::string> torn = _transmission->torn(text, count);
    if (!torn.empty()) {
        other += " (" + joined(torn, ", ") + " split over two pairs)";
    }
    findings.otherRows.push_back(std::move(other));
}

/// What is shown of a character in front of others.
const std::u32string& CueLosses::shownFor(std::string_view character) {
    constexpr std::string_view kOthers = "xx";
    std::string text(character);
    if (const auto known = _shown.find(text); known != _shown.end()) {
        return known->second;
    }
    if (_shown.size() >= kKnownCharacters) {
        _shown.clear();
    }
    std::u32string shown = receivedRow(text + std::string(kOthers));
    shown.resize(shown.size() - std::min(shown.size(), kOthers.size()));
    if (text.size() > kLongestKnownCharacter) {
        text.clear();
    }
    return _shown[text] = std::move(shown);
}

/// What is shown of a row with this text and no other.
const std::u32string& CueLosses::receivedRow(std::string text) {
    if (_received.size() >= kKnownCharacters) {
        _received.clear();
    }
    const auto [row, isNew] = _received.try_emplace(_transmission->bytesOf(text));
    if (isNew) {
        row->second = shownRow(*_transmission, std::move(text));
    }
    return row->second;
}

std::string CueLosses::inWords(const Findings& findings) const {
    std::vector<std::string> left;
    if (findings.rowsLeftOut > 0) {
        left.push_back(counted(findings.rowsLeftOut, "row"));
    }
    if (findings.charactersLeftOut > 0) {
        left.push_back(counted(findings.charactersLeftOut, "character"));
    }
    std::vector<std::string> parts;
    if (!left.empty()) {
        parts.push_back(joined(left, " and ") + " left out: " + std::string(_transmission->name()) + " has " +
                        counted(_transmission->rows(), "row") + " of " + counted(_greatestLength, "character"));
    }
    if (findings.rowsHidden > 0) {
        parts.push_back(counted(findings.rowsHidden, "row") + " not shown: no place on the page");
    }
    parts.insert(parts.end(), findings.otherRows.begin(), findings.otherRows.end());
    findings.replacements.appendTo(parts);
    return joined(parts, "; ");
}

}  // namespace qlx::tool
