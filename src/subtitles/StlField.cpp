#include "subtitles/StlField.h"

#include <qlx/base/utf8.h>
#include <qlx/screen/screen.h>

#include <algorithm>
#include <utility>

namespace qlx::subtitles {

namespace {

constexpr std::uint8_t kFirstCharacter = 0x20;
constexpr std::uint8_t kFirstColorBits = 8;
constexpr std::uint8_t kFirstMosaic = 0x10;
constexpr char32_t kUnknown = U'\uFFFD';

/// Makes the rows.
class FieldReader {
public:
    FieldReader(const StlFieldForm& form, std::vector<Row>& rows, StlFieldNotes& notes)
        : _form(form), _rows(rows), _first(rows.size()), _notes(notes) {}

    void read(std::span<const std::uint8_t> text) {
        for (const std::uint8_t byte : text) {
            if (byte == kStlNewLine) {
                endRow();
            } else if (byte < kFirstCharacter) {
                takeAttribute(byte);
            } else if (byte >= 0x80 && byte < 0xA0) {
                takeCode(byte);
            } else {
                takeCharacter(byte);
            }
        }
        endRow();
    }

private:
    void pass(std::uint8_t code) { _notes.firstPassed = _notes.passed++ == 0 ? code : _notes.firstPassed; }

    /// A code takes the cell in front of what it changes, or begins with its own.
    void takeAttribute(std::uint8_t code) {
        endMark();
        if (code == kStlNewBackground) {
            _style.background = _style.foreground;
        } else if (code == kStlBlackBackground) {
            _style.background.reset();
        } else if (code == kStlSteady) {
            _style.isFlashing = false;
        }
        if (_hasText) {
            _cellStyles.push_back(_style);
        }
        const std::uint8_t color = code < kFirstMosaic ? code : static_cast<std::uint8_t>(code - kFirstMosaic);
        if (color < kFirstColorBits) {
            _style.foreground = screen::kBasicColors[color];
        }
        if (code == kStlFlash) {
            _style.isFlashing = true;
        } else if (code == kStlDoubleHeight) {
            _isDouble = true;
        }
        const bool isKnown = code < kStlNormalHeight + 2 || code == kStlBlackBackground || code == kStlNewBackground;
        if (!isKnown) {
            pass(code);
        }
    }

    void takeCode(std::uint8_t code) {
        endMark();
        const bool isOn = code % 2 == 0;
        switch (code & 0xFEU) {
        case kStlItalics:
            _style.isItalic = isOn;
            break;
        case kStlUnderline:
            _style.isUnderlined = isOn;
            break;
        case kStlBox:
            _style.background = isOn ? std::optional(screen::Color::Black) : std::nullopt;
            break;
        default:
            pass(code);
        }
    }

    void takeCharacter(std::uint8_t byte) {
        char32_t character = stlCharacter(_form.table, byte);
        if (character == 0) {
            _notes.firstUnknown = _notes.unknown++ == 0 ? byte : _notes.firstUnknown;
            character = kUnknown;
        }
        const char32_t mark = std::exchange(_mark, U'\0');
        if (_form.table == StlTable::Latin && byte >= kFirstStlMark && byte <= kLastStlMark) {
            if (mark != 0) {
                putMarked(U' ', mark);
            }
            _mark = character;
        } else if (mark != 0) {
            putMarked(character, mark);
        } else {
            _hasText = _hasText || character != U' ';
            appendUtf8(begun(), character);
        }
    }

    /// A mark without a letter.
    void endMark() {
        if (_mark != 0) {
            putMarked(U' ', std::exchange(_mark, U'\0'));
        }
    }

    void putMarked(char32_t letter, char32_t mark) {
        _hasText = true;
        appendMarked(begun(), letter, mark);
    }

    /// The text of the run that the next character belongs to.
    std::string& begun() {
        for (const Style& style : std::exchange(_cellStyles, {})) {
            runOf(style) += ' ';
        }
        return runOf(_style);
    }

    std::string& runOf(const Style& style) {
        if (_row.runs.empty() || _row.runs.back().style != style) {
            _row.runs.push_back({{}, style});
        }
        return _row.runs.back().text;
    }

    void endRow() {
        endMark();
        if (!_hasText) {
            _row.runs.clear();
        } else if (_form.alignment != Alignment::Unchanged) {
            trim();
        }
        if (!_row.runs.empty()) {
            place();
        } else if (_isHalf) {
            // The lower half of a row of double height.
            _isHalf = false;
        } else {
            ++_next;
            ++_gap;
        }
        _row = {};
        _cellStyles.clear();
        _hasText = false;
        _isDouble = false;
        endStyle();
    }

    /// Attributes of teletext end with the row; italics and underlines of open subtitling are there up to their own end.
    void endStyle() {
        const Style style = std::exchange(_style, {});
        _style.isItalic = _form.isOpen && style.isItalic;
        _style.isUnderlined = _form.isOpen && style.isUnderlined;
    }

    /// A row of text stands where the line ends in front of it say.
    void place() {
        const std::uint64_t between = _rows.size() == _first ? 0 : _gap / (_wasDouble ? 2 : 1);
        for (std::uint64_t index = 0; index < between; ++index) {
            Row row;
            row.alignment = _form.alignment;
            row.number = _next - _gap + index * (_wasDouble ? 2 : 1);
            _rows.push_back(std::move(row));
        }
        _gap = 0;
        _row.number = _next;
        _row.alignment = _form.alignment;
        _rows.push_back(std::move(_row));
        _next += _isDouble ? 2 : 1;
        _isHalf = _isDouble;
        _wasDouble = _isDouble;
    }

    /// There is something else than spaces.
    void trim() {
        std::vector<Run>& runs = _row.runs;
        while (runs.front().text.find_first_not_of(' ') == std::string::npos) {
            runs.erase(runs.begin());
        }
        runs.front().text.erase(0, runs.front().text.find_first_not_of(' '));
        while (runs.back().text.find_last_not_of(' ') == std::string::npos) {
            runs.pop_back();
        }
        runs.back().text.resize(runs.back().text.find_last_not_of(' ') + 1);
    }

    StlFieldForm _form;
    std::vector<Row>& _rows;
    std::size_t _first;  ///< Of this text.
    StlFieldNotes& _notes;
    Row _row;
    Style _style;
    std::vector<Style> _cellStyles;  ///< Of attributes behind the text so far.
    std::uint64_t _next = 1;         ///< The number of the next row.
    std::uint64_t _gap = 0;          ///< Lines without text behind the last row.
    char32_t _mark = 0;              ///< For the next letter.
    bool _hasText = false;           ///< Of the row: something else than spaces.
    bool _isDouble = false;
    bool _wasDouble = false;  ///< The last row that has text.
    bool _isHalf = false;     ///< The next line without text is its lower half.
};

}  // namespace

void appendStlRows(std::span<const std::uint8_t> text, const StlFieldForm& form, std::vector<Row>& rows,
                   StlFieldNotes& notes) {
    FieldReader(form, rows, notes).read(text);
}

}  // namespace qlx::subtitles
