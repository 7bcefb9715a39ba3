#include "cues/Wrapping.h"

#include "cues/RowBreaks.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/subtitles/box.h>
#include <qlx/subtitles/webvtt.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using subtitles::Row;
using subtitles::Run;

struct CharacterRange {
    char32_t first;
    char32_t last;
};

/// Marks that stand on a character, joiners and selectors.
constexpr CharacterRange kMarks[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},   {0x0E31, 0x0E31},
    {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F},   {0x202A, 0x202E},
    {0x2060, 0x2064}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0x1F3FB, 0x1F3FF}, {0xE0100, 0xE01EF},
};

/// Wide and full-width ones (Unicode Standard Annex 11).
constexpr CharacterRange kWide[] = {
    {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},   {0xA960, 0xA97C}, {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F},
    {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD},
};

template <std::size_t N>
bool isIn(const CharacterRange (&ranges)[N], char32_t character) noexcept {
    return std::any_of(std::begin(ranges), std::end(ranges), [character](const CharacterRange& range) {
        return character >= range.first && character <= range.last;
    });
}

/// A word and the runs that it is made of: what stands between two places where a row may end.
struct Word {
    std::vector<Run> parts;
    std::size_t columns = 0;
    bool hasSpace = true;    ///< In front of it, unless it begins a row.
    bool beginsRow = false;  ///< Of its own.
};

bool hasSpacesOnly(std::string_view text) noexcept {
    return text.find_first_not_of(' ') == std::string_view::npos;
}

/// Whether a row has to begin where it does: somebody else speaks.
bool isOfAnother(const Row& row, const Row& before) {
    const auto voiceOf = [](const Run& run) {
        const std::string* const voice = valueOf(run.properties, subtitles::properties::kWebVttVoice);
        return voice == nullptr ? std::string_view() : std::string_view(*voice);
    };
    if (isOfDialogue(row.text())) {
        return true;
    }
    return !row.runs.empty() && !before.runs.empty() && voiceOf(row.runs.front()) != voiceOf(before.runs.back());
}

/// Takes the words of rows. A blank keeps the look of the word in front of it; what the file says of a run without letters
/// goes to the word behind it, or else in front.
class WordTaker {
public:
    std::vector<Word> take(const subtitles::Cue& cue) {
        for (const Row& row : cue.rows) {
            _isNewRow = &row != cue.rows.data();
            _isOfAnother = _isNewRow && isOfAnother(row, *(&row - 1));
            for (const Run& run : row.runs) {
                takeRun(run);
            }
        }
        for (Run& empty : _waiting) {
            if (!_words.empty()) {
                _words.back().parts.push_back(std::move(empty));
            }
        }
        return std::move(_words);
    }

private:
    void takeRun(const Run& run) {
        if (hasSpacesOnly(run.text) && !run.properties.empty()) {
            _waiting.push_back(run);
            _waiting.back().text.clear();
        }
        std::string_view rest = run.text;
        bool isOpen = false;  // The last part of the last word is of this run.
        while (!rest.empty()) {
            const std::string_view from = rest;
            const char32_t character = takeCodePoint(rest);
            if (character == U' ') {
                _hasSpace = true;
                isOpen = false;
                continue;
            }
            if (beginsWord(character)) {
                Word& word = _words.emplace_back();
                word.beginsRow = std::exchange(_isOfAnother, false);
                word.hasSpace = _hasSpace;
                isOpen = false;
            }
            if (!isOpen) {
                for (Run& empty : std::exchange(_waiting, {})) {
                    _words.back().parts.push_back(std::move(empty));
                }
                _words.back().parts.push_back(run);
                _words.back().parts.back().text.clear();
                isOpen = true;
            }
            _words.back().parts.back().text += from.substr(0, from.size() - rest.size());
            _hasSpace = false;
            _last = character;
        }
    }

    /// Two rows of text without spaces have none between them.
    bool beginsWord(char32_t character) {
        const bool isNewRow = std::exchange(_isNewRow, false);
        if (isNewRow && !_hasSpace) {
            _hasSpace = !isIdeographic(_last) || !isIdeographic(character);
        }
        return _words.empty() || _isOfAnother || _hasSpace || mayEndBetween(_last, character);
    }

    std::vector<Word> _words;
    std::vector<Run> _waiting;
    char32_t _last = 0;         ///< Character.
    bool _hasSpace = false;     ///< Behind it.
    bool _isNewRow = false;     ///< The next character is the first of its row.
    bool _isOfAnother = false;  ///< And has to be.
};

/// The columns of all words.
void measure(std::vector<Word>& words) {
    for (Word& word : words) {
        std::string text;
        for (const Run& part : word.parts) {
            text += part.text;
        }
        word.columns = columnsOf(text);
    }
}

/// Columns that a word takes behind others.
std::size_t columnsBehind(const Word& word) noexcept {
    return word.columns + (word.hasSpace ? 1 : 0);
}

/// The places of the words with which rows of at most `columns` begin.
std::vector<std::size_t> breaksAt(const std::vector<Word>& words, std::size_t columns) {
    std::vector<std::size_t> breaks;
    std::size_t width = 0;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (index == 0 || words[index].beginsRow || width + columnsBehind(words[index]) > columns) {
            breaks.push_back(index);
            width = words[index].columns;
        } else {
            width += columnsBehind(words[index]);
        }
    }
    return breaks;
}

void append(Row& row, Run part) {
    if (!row.runs.empty() && row.runs.back().style == part.style && row.runs.back().from == part.from &&
        row.runs.back().properties == part.properties) {
        row.runs.back().text += part.text;
    } else {
        row.runs.push_back(std::move(part));
    }
}

}  // namespace

std::size_t columnsOf(char32_t character) noexcept {
    return isIn(kMarks, character) ? 0 : isIn(kWide, character) ? 2 : 1;
}

std::size_t columnsOf(std::string_view text) noexcept {
    constexpr char32_t kJoiner = 0x200D;
    std::size_t columns = 0;
    bool isJoined = false;
    while (!text.empty()) {
        const char32_t character = takeCodePoint(text);
        // What is joined to the character in front of it is one with it.
        columns += isJoined ? 0 : columnsOf(character);
        isJoined = character == kJoiner;
    }
    return columns;
}

bool wrap(subtitles::Cue& cue, std::size_t columns, std::size_t rows) {
    const auto isTooWide = [columns](const Row& row) { return columnsOf(row.text()) > columns; };
    const bool hasTooMany = rows != 0 && cue.rows.size() > rows;
    if (!hasTooMany && std::none_of(cue.rows.begin(), cue.rows.end(), isTooWide)) {
        return true;
    }
    std::vector<Word> words = WordTaker().take(cue);
    measure(words);
    const std::size_t needed = breaksAt(words, columns).size();
    std::size_t least = 0;
    std::size_t most = columns;
    // The narrowest rows of which it takes no more.
    while (least < most) {
        const std::size_t middle = least + (most - least) / 2;
        if (breaksAt(words, middle).size() <= needed) {
            most = middle;
        } else {
            least = middle + 1;
        }
    }
    const std::vector<std::size_t> breaks = breaksAt(words, most);
    Row like = cue.rows.front();
    like.runs.clear();
    std::vector<Row> made;
    for (std::size_t index = 0; index < words.size(); ++index) {
        if (made.size() < breaks.size() && breaks[made.size()] == index) {
            made.push_back(like);
            // The rows stand where those of before began; what row that is depends on how many there are.
            made.back().number = 0;
        } else if (words[index].hasSpace) {
            Run blank = made.back().runs.back();
            blank.text = " ";
            append(made.back(), std::move(blank));
        }
        for (const Run& part : words[index].parts) {
            append(made.back(), part);
        }
    }
    cue.rows = std::move(made);
    if (cue.box) {
        placeRows(cue, *cue.box);
    }
    return (rows == 0 || cue.rows.size() <= rows) && std::none_of(cue.rows.begin(), cue.rows.end(), isTooWide);
}

}  // namespace qlx::tool
