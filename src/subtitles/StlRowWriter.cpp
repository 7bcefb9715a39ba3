#include "subtitles/StlRowWriter.h"

#include "subtitles/StlField.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/teletext/page_text.h>

#include <array>
#include <string_view>
#include <utility>

namespace qlx::subtitles {

namespace {

using enum FindingCode;

/// What a row looks like as far as the codes can say it.
struct Look {
    std::uint8_t foreground = 7;  ///< Teletext's number.
    std::uint8_t background = 0;  ///< The same.
    bool isFlashing = false;
    bool isItalic = false;
    bool isUnderlined = false;
    bool isBoxed = false;  ///< Open subtitling.
};

class RowWriter {
public:
    RowWriter(const StlRowForm& form, std::vector<std::uint8_t>& text) : _form(form), _text(text) {}

    void write(const Row& row) {
        _alignment = row.alignment;
        for (const Run& run : row.runs) {
            const Look look = lookOf(run);
            std::string_view rest = run.text;
            while (!rest.empty()) {
                if (rest.front() == ' ' || rest.front() == '\n' || rest.front() == '\r' || rest.front() == '\t') {
                    rest.remove_prefix(1);
                    ++_spaces;
                    continue;
                }
                put(rest, look);
            }
            _losses.properties += static_cast<std::int64_t>(run.properties.size());
            _losses.runTimes += run.from.isValid() ? 1 : 0;
        }
        finish();
    }

    void say(const CueReport& report, std::int64_t number) const {
        _losses.say(report, number);
        report.add(StlColorNoSpace, _withoutSpace != 0, number, _withoutSpace);
        constexpr std::array<std::pair<FindingCode, StlFit>, 3> kLosses{std::pair(StlCharacterReplaced, StlFit::Plain),
                                                                        std::pair(StlCharacterMissing, StlFit::Missing),
                                                                        std::pair(StlMarkLeftOut, StlFit::LeftOut)};
        for (const auto& [code, fit] : kLosses) {
            const char32_t first = _firstOf[static_cast<std::size_t>(fit)];
            report.add(code, first != 0, number, static_cast<std::int64_t>(first));
        }
        report.add(StlRowTooLong, _form.columns != 0 && _columns > _form.columns, number, _columns);
    }

    /// What the next row finds.
    void leave(StlRowForm& form) const {
        form.isColorLeft = form.isOpen && (_hasText ? _look.foreground != Look{}.foreground : form.isColorLeft);
        form.isBackgroundLeft = form.isOpen && (_hasText ? _look.background != 0 : form.isBackgroundLeft);
    }

private:
    [[nodiscard]] Look lookOf(const Run& run) {
        const Style& style = run.style;
        Look look;
        bool isChanged = false;
        if (style.background) {
            look.background = static_cast<std::uint8_t>(screen::basicIndex(*style.background));
            isChanged = screen::kBasicColors[look.background] != *style.background;
        }
        // Without one there is the box of teletext, or the picture.
        const bool isOnBlack = style.background ? look.background == 0 : !_form.isOpen;
        const screen::Color asked = isOnBlack ? teletext::letterColor(style.foreground) : style.foreground;
        look.foreground = static_cast<std::uint8_t>(screen::basicIndex(asked));
        isChanged = isChanged || screen::kBasicColors[look.foreground] != style.foreground;
        // Two that differ become one only where one of them is changed.
        if (look.background == look.foreground && style.background != style.foreground) {
            look.background = 0;
        }
        look.isBoxed = _form.isOpen && style.background && look.background == 0;
        look.isFlashing = style.isFlashing;
        look.isItalic = style.isItalic;
        look.isUnderlined = style.isUnderlined;
        _losses.styles += style.isBold ? 1 : 0;
        _losses.colors += isChanged ? 1 : 0;
        return look;
    }

    void code(std::uint8_t value) { _text.push_back(value); }

    /// The attributes that lead from the look so far to another one.
    void change(const Look& look) {
        std::array<std::uint8_t, 5> codes{};
        std::size_t count = 0;
        std::uint8_t foreground = _look.foreground;
        if (look.background != _look.background) {
            if (look.background == 0) {
                codes[count++] = kStlBlackBackground;
            } else {
                if (foreground != look.background) {
                    codes[count++] = look.background;
                }
                foreground = look.background;
                codes[count++] = kStlNewBackground;
            }
        } else if (!_hasText && _form.isBackgroundLeft) {
            codes[count++] = kStlBlackBackground;
        }
        if (look.isFlashing != _look.isFlashing) {
            codes[count++] = look.isFlashing ? kStlFlash : kStlSteady;
        }
        if (look.foreground != foreground || (!_hasText && _form.isColorLeft)) {
            codes[count++] = look.foreground;
        }
        if (!_hasText) {
            begin(codes, count);
        } else {
            const std::size_t spaces = _spaces > count ? _spaces - count : 0;
            _withoutSpace += _spaces < count ? 1 : 0;
            _text.insert(_text.end(), spaces, std::uint8_t{' '});
            // The end of a box is that of its background.
            toggle(_look.isBoxed && look.isBoxed, _look.isBoxed, kStlBox);
            _text.insert(_text.end(), codes.begin(), codes.begin() + static_cast<std::ptrdiff_t>(count));
            _columns += static_cast<std::int64_t>(spaces + count);
        }
        _spaces = 0;
        toggle(look.isItalic, _look.isItalic, kStlItalics);
        toggle(look.isUnderlined, _look.isUnderlined, kStlUnderline);
        toggle(look.isBoxed, _look.isBoxed && look.isBoxed, kStlBox);
        _look = look;
    }

    void toggle(bool isOn, bool wasOn, std::uint8_t onCode) {
        if (isOn != wasOn) {
            code(isOn ? onCode : static_cast<std::uint8_t>(onCode + 1U));
        }
    }

    /// What stands in front of the first character takes no cell of the text.
    void begin(const std::array<std::uint8_t, 5>& codes, std::size_t count) {
        if (!_form.isOpen && _form.isDoubleHeight) {
            code(kStlDoubleHeight);
        }
        if (_alignment == Alignment::Unchanged) {
            _text.insert(_text.end(), _spaces, std::uint8_t{' '});
            _columns += static_cast<std::int64_t>(_spaces);
        }
        _text.insert(_text.end(), codes.begin(), codes.begin() + static_cast<std::ptrdiff_t>(count));
        if (!_form.isOpen) {
            code(kStlStartBox);
            code(kStlStartBox);
        }
        _hasText = true;
    }

    void put(std::string_view& rest, const Look& look) {
        std::string_view behind = rest;
        const char32_t character = takeCodePoint(behind);
        const StlBytes bytes = takeStlCharacter(_form.table, rest);
        char32_t& first = _firstOf[static_cast<std::size_t>(bytes.fit)];
        first = first == 0 ? character : first;
        if (bytes.size == 0) {
            return;
        }
        change(look);
        _text.insert(_text.end(), bytes.bytes, bytes.bytes + bytes.size);
        ++_columns;
    }

    void finish() {
        if (!_hasText) {
            return;
        }
        if (_alignment == Alignment::Unchanged) {
            _text.insert(_text.end(), _spaces, std::uint8_t{' '});
            _columns += static_cast<std::int64_t>(_spaces);
        }
        // These are switches, which some readers leave on in the rows that follow.
        toggle(false, _look.isItalic, kStlItalics);
        toggle(false, _look.isUnderlined, kStlUnderline);
        toggle(false, _look.isBoxed, kStlBox);
        if (!_form.isOpen) {
            code(kStlEndBox);
            code(kStlEndBox);
        }
    }

    const StlRowForm& _form;
    std::vector<std::uint8_t>& _text;
    Alignment _alignment = Alignment::Center;
    Look _look;
    RowLosses _losses;
    std::size_t _spaces = 0;  ///< Not written as yet.
    bool _hasText = false;
    std::int64_t _withoutSpace = 0;
    std::array<char32_t, 4> _firstOf{};  ///< The first character of each fit.
    std::int64_t _columns = 0;
};

}  // namespace

void appendStlRow(const Row& row, StlRowForm& form, const CueReport& report, std::int64_t number,
                  std::vector<std::uint8_t>& text) {
    RowWriter writer(form, text);
    writer.write(row);
    writer.say(report, number);
    writer.leave(form);
}

}  // namespace qlx::subtitles
