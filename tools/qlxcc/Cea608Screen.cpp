#include "Cea608Screen.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <bit>
#include <span>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::uint8_t kFirstControl = 0x10;
constexpr std::uint8_t kFirstCharacter = 0x20;
constexpr std::uint8_t kSolidBlock = 0x7F;
constexpr std::uint8_t kChannelBit = 0x08;

// Second bytes of the miscellaneous control codes.
enum Miscellaneous : std::uint8_t {
    kResumeCaptionLoading = 0x20,
    kBackspace = 0x21,
    kDeleteToEndOfRow = 0x24,
    kRollUp2 = 0x25,
    kRollUp4 = 0x27,
    kFlashOn = 0x28,
    kResumeDirectCaptioning = 0x29,
    kTextRestart = 0x2A,
    kResumeTextDisplay = 0x2B,
    kEraseDisplayedMemory = 0x2C,
    kCarriageReturn = 0x2D,
    kEraseNonDisplayedMemory = 0x2E,
    kEndOfCaption = 0x2F,
};

// By three bits of preamble, mid-row and background codes.
constexpr std::array<screen::Color, 8> kColours{screen::Color::White,   screen::Color::Green, screen::Color::Blue,
                                                screen::Color::Cyan,    screen::Color::Red,   screen::Color::Yellow,
                                                screen::Color::Magenta, screen::Color::Black};
constexpr unsigned kItalicsStyle = 7;

// The upper row (counted from 0) of each first byte's two; the row code 0 has only one row.
constexpr std::array<std::uint8_t, 8> kPreambleRows{10, 0, 2, 11, 13, 4, 6, 8};

bool hasOddParity(std::uint8_t byte) {
    return std::popcount(byte) % 2 == 1;
}

/// The first character of what the library says for a code.
char32_t characterOf(const Data& utf8) {
    std::string_view text(reinterpret_cast<const char*>(utf8.data()), utf8.size());
    return text.empty() ? U' ' : takeCodePoint(text);
}

struct StandardCharacter {
    std::uint8_t group;  ///< The low three bits of the first byte.
    std::uint8_t code;
    char32_t character;
};

/// What a screen shows where the library's tables have another character, or none, for their hosts: the note, the
/// opening and double quotation marks, the long dash, the currency sign and the corners.
constexpr std::array<StandardCharacter, 10> kStandardCharacters{{{1, 0x37, U'\u266A'},
                                                                 {2, 0x26, U'\u2018'},
                                                                 {2, 0x2A, U'\u2014'},
                                                                 {2, 0x2E, U'\u201C'},
                                                                 {2, 0x2F, U'\u201D'},
                                                                 {3, 0x36, U'\u00A4'},
                                                                 {3, 0x3C, U'\u250C'},
                                                                 {3, 0x3D, U'\u2510'},
                                                                 {3, 0x3E, U'\u2514'},
                                                                 {3, 0x3F, U'\u2518'}}};

/// The special (group 1) or extended (groups 2 and 3) character of a code from 0x20 or 0x30 to 0x3F.
char32_t characterOf(std::uint8_t group, std::uint8_t code) {
    const auto* const standard =
        std::find_if(kStandardCharacters.begin(), kStandardCharacters.end(),
                     [=](const StandardCharacter& entry) { return entry.group == group && entry.code == code; });
    if (standard != kStandardCharacters.end()) {
        return standard->character;
    }
    return characterOf(group == 1   ? QLXCCUtilities::dataWith608SpecialCharacter(code)
                       : group == 2 ? QLXCCUtilities::dataWith608ExtSpanishFrenchCharacter(code)
                                    : QLXCCUtilities::dataWith608ExtPortugueseGermanDanishCharacter(code));
}

}  // namespace

std::string_view nameOf(CaptionChannel channel) noexcept {
    constexpr std::array<std::string_view, 4> kNames{"CC1", "CC2", "CC3", "CC4"};
    return kNames[(channel.field == 2 ? 2U : 0U) + (channel.channel == 2 ? 1U : 0U)];
}

std::optional<CaptionChannel> captionChannelNamed(std::string_view name) {
    for (const CaptionChannel channel : {CaptionChannel{1, 1}, {1, 2}, {2, 1}, {2, 2}}) {
        if (asciiLowercased(name) == asciiLowercased(nameOf(channel))) {
            return channel;
        }
    }
    return std::nullopt;
}

bool Cea608Screen::receive(std::uint8_t first, std::uint8_t second) {
    const auto firstCode = static_cast<std::uint8_t>(first & 0x7FU);
    const bool isFirstSound = hasOddParity(first);
    if (isFirstSound && firstCode >= kFirstControl && firstCode < kFirstCharacter) {
        return receiveControl(first, second);
    }
    const bool isDamagedRepetition = !isFirstSound && second == _lastControl[1] && second != 0;
    expectNoRepetition();
    if (isDamagedRepetition) {
        return false;
    }
    if (isFirstSound && firstCode > 0 && firstCode < kFirstControl) {
        // Field 2: 0x0F ends an extended data packet, the others begin or continue one.
        _isExtendedData = _channel.field == 2 && firstCode != 0x0F;
        return false;
    }
    if (_isExtendedData || !_isSelected || !writes()) {
        return false;
    }
    const bool isFirstShown = receiveText(firstCode, isFirstSound || first == 0);
    const bool isSecondShown =
        receiveText(static_cast<std::uint8_t>(second & 0x7FU), hasOddParity(second) || second == 0);
    return isFirstShown || isSecondShown;
}

/// Null, and codes without a meaning, show nothing; a byte of two zeros carries nothing even without its parity bit.
bool Cea608Screen::receiveText(std::uint8_t code, bool isSound) {
    if (!isSound) {
        code = kSolidBlock;
    }
    return code >= kFirstCharacter && put(characterOf(QLXCCUtilities::dataWith608ASCIICharacter(code)));
}

bool Cea608Screen::receiveControl(std::uint8_t first, std::uint8_t second) {
    const std::array<std::uint8_t, 2> pair{first, second};
    const auto code = static_cast<std::uint8_t>(second & 0x7FU);
    if (!hasOddParity(second) || code < kFirstCharacter) {
        _lastControl = {};
        return false;
    }
    // Captions of either channel end what extended data stood between them.
    _isExtendedData = false;
    _isSelected = (first & kChannelBit) == (_channel.channel == 2 ? kChannelBit : 0U);
    if (pair == _lastControl) {
        _lastControl = {};
        return false;
    }
    _lastControl = pair;
    return _isSelected && receiveCode(static_cast<std::uint8_t>(first & 7U), code);
}

bool Cea608Screen::receiveCode(std::uint8_t group, std::uint8_t code) {
    if (code >= 0x40) {
        return receivePreamble(group, code);
    }
    if ((group == 4 || group == 5) && code < 0x30) {
        return receiveMiscellaneous(code);
    }
    if (!writes()) {
        return false;
    }
    if (group == 0 && code < 0x30) {
        return receiveBackground(kColours[code >> 1U & 7U]);
    }
    if (group == 1) {
        return code < 0x30 ? receiveMidRow(code) : put(code == 0x39 ? U'\0' : characterOf(group, code));
    }
    if (group == 2 || group == 3) {
        return receiveExtended(group, code);
    }
    return group == 7 && receiveTab(code);
}

bool Cea608Screen::receiveMiscellaneous(std::uint8_t code) {
    switch (code) {
    case kResumeCaptionLoading:
        start(Mode::PopOn);
        return false;
    case kBackspace:
        return writes() && backspace();
    case kDeleteToEndOfRow:
        return writes() && deleteToEndOfRow();
    case kFlashOn:
        if (!writes()) {
            return false;
        }
        _style.isFlashing = true;
        return put(U' ');
    case kResumeDirectCaptioning:
        start(Mode::PaintOn);
        return false;
    case kTextRestart:
    case kResumeTextDisplay:
        _isText = true;
        return false;
    case kEraseDisplayedMemory:
        return erase(_displayed);
    case kCarriageReturn:
        return writes() && _mode == Mode::RollUp && rollUp();
    case kEraseNonDisplayedMemory:
        (void)erase(_loaded);
        return false;
    case kEndOfCaption:
        start(Mode::PopOn);
        std::swap(_displayed, _loaded);
        return true;
    default:
        break;
    }
    return code >= kRollUp2 && code <= kRollUp4 && startRollUp(code - kRollUp2 + std::size_t{2});
}

void Cea608Screen::start(Mode mode) {
    _mode = mode;
    _isText = false;
}

/// The first code of a roll-up caption erases what was there of another kind; later ones change the number of rows.
bool Cea608Screen::startRollUp(std::size_t rows) {
    const bool wasRollUp = _mode == Mode::RollUp;
    start(Mode::RollUp);
    _rollUpRows = rows;
    if (!wasRollUp) {
        (void)erase(_displayed);
        (void)erase(_loaded);
        _row = kCaptionRows - 1;
        _column = 0;
        _style = {};
        return true;
    }
    _row = std::max(_row, rows - 1);
    for (std::size_t row = 0; row + rows <= _row; ++row) {
        _displayed[row] = {};
    }
    return true;
}

bool Cea608Screen::rollUp() {
    const std::size_t top = _row + 1 - std::min(_rollUpRows, _row + 1);
    for (std::size_t row = top; row < _row; ++row) {
        _displayed[row] = _displayed[row + 1];
    }
    _displayed[_row] = {};
    _column = 0;
    _style = {};
    return true;
}

/// Moves the rows of a roll-up caption, so that the lowest one stands in `row`.
void Cea608Screen::moveWindow(std::size_t row) {
    row = std::max(row, _rollUpRows - 1);
    if (row == _row) {
        return;
    }
    Memory moved{};
    for (std::size_t line = 0; line < _rollUpRows && line <= _row; ++line) {
        moved[row - line] = _displayed[_row - line];
    }
    _displayed = moved;
    _row = row;
}

bool Cea608Screen::receiveTab(std::uint8_t code) {
    constexpr std::uint8_t kTab1 = 0x21;
    constexpr std::uint8_t kTab3 = 0x23;
    constexpr std::uint8_t kTransparentBackground = 0x2D;
    constexpr std::uint8_t kBlackCharacters = 0x2E;
    if (code >= kTab1 && code <= kTab3) {
        _column = std::min<std::size_t>(_column + code - kTab1 + 1, kCaptionColumns - 1);
    } else if (code == kTransparentBackground) {
        return receiveBackground(screen::Color::Black);
    } else if (code == kBlackCharacters || code == kBlackCharacters + 1) {
        (void)backspace();
        _style.foreground = screen::Color::Black;
        _style.isItalic = false;
        _style.isUnderlined = (code & 1U) != 0;
        return put(U' ');
    }
    return false;
}

bool Cea608Screen::receivePreamble(std::uint8_t group, std::uint8_t code) {
    constexpr std::uint8_t kLowerRow = 0x20;
    if (!writes() || (group == 0 && (code & kLowerRow) != 0)) {
        return false;
    }
    const std::size_t row = kPreambleRows[group] + ((code & kLowerRow) != 0 ? 1U : 0U);
    const unsigned style = code >> 1U & 0xFU;
    _style = {};
    _style.isUnderlined = (code & 1U) != 0;
    _column = 0;
    if (style < kItalicsStyle) {
        _style.foreground = kColours[style];
    } else if (style == kItalicsStyle) {
        _style.isItalic = true;
    } else {
        _column = std::size_t{4} * (style - kItalicsStyle - 1);
    }
    if (_mode == Mode::RollUp) {
        moveWindow(row);
        return true;
    }
    _row = row;
    return false;
}

/// A mid-row code shows as a space.
bool Cea608Screen::receiveMidRow(std::uint8_t code) {
    const unsigned style = code >> 1U & 7U;
    _style.isItalic = style == kItalicsStyle;
    if (!_style.isItalic) {
        _style.foreground = kColours[style];
    }
    _style.isUnderlined = (code & 1U) != 0;
    _style.isFlashing = false;
    return put(U' ');
}

/// A background code takes the place of the space that is sent before it for receivers that do not know it.
bool Cea608Screen::receiveBackground(screen::Color colour) {
    (void)backspace();
    _style.background = colour;
    return put(U' ');
}

/// An extended character takes the place of the one that is sent before it for receivers that do not know it.
bool Cea608Screen::receiveExtended(std::uint8_t group, std::uint8_t code) {
    (void)backspace();
    return put(characterOf(group, code));
}

/// Writes at the cursor; the character 0 is a transparent space.
bool Cea608Screen::put(char32_t character) {
    screen::Cell cell;
    if (character != U'\0') {
        cell.character = character;
        cell.foreground = _style.foreground;
        cell.background = _style.background;
        cell.isVisible = true;
        cell.isItalic = _style.isItalic;
        cell.isUnderlined = _style.isUnderlined;
        cell.isFlashing = _style.isFlashing;
    }
    const std::size_t column = std::min(_column, kCaptionColumns - 1);
    currentRow()[column] = cell;
    _column = column + 1;
    return writesDisplayed();
}

bool Cea608Screen::erase(Memory& memory) {
    memory = {};
    return &memory == &_displayed;
}

bool Cea608Screen::backspace() {
    if (_column == 0) {
        return false;
    }
    currentRow()[--_column] = {};
    return writesDisplayed();
}

bool Cea608Screen::deleteToEndOfRow() {
    Row& row = currentRow();
    std::fill(row.begin() + static_cast<std::ptrdiff_t>(std::min(_column, kCaptionColumns - 1)), row.end(),
              screen::Cell{});
    return writesDisplayed();
}

screen::Screen Cea608Screen::screen() const {
    constexpr std::size_t kMargin = 1;
    screen::Screen screen =
        screen::Screen::blank(screen::System::Cea608, kCaptionRows, kCaptionColumns + 2 * kMargin, 1);
    for (std::size_t index = 0; index < kCaptionRows; ++index) {
        const std::span<screen::Cell> row = screen.row(index);
        const Row& from = _displayed[index];
        std::copy(from.begin(), from.end(), row.begin() + kMargin);
        const auto isShown = [&from](std::size_t column) { return column < from.size() && from[column].isVisible; };
        for (std::size_t column = 0; column < screen.columns; ++column) {
            // Column 0 is the margin: `column` is behind the memory's `column - 1`, and wraps around harmlessly.
            if (!row[column].isVisible && (isShown(column) || isShown(column - 2))) {
                row[column] = {};
                row[column].isVisible = true;
            }
        }
    }
    return screen;
}

}  // namespace qlx::tool
