// Decodes the byte pairs of a caption channel. In brackets: paragraphs of 47 CFR 15.119, or clauses of CTA-608-E.
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/cea608/receiver.h>

#include "cea608/ByteKinds.h"

#include <algorithm>
#include <span>
#include <utility>

namespace qlx::cea608 {

namespace {

constexpr std::uint8_t kSolidBlock = 0x7F;
constexpr std::uint8_t kChannelBit = 0x08;

}  // namespace

bool Receiver::receive(std::uint8_t first, std::uint8_t second, FindingSink* findings, std::uint64_t place) {
    _findings = findings;
    _place = place;
    if (_options.ignoresParity) {
        first = qlx::withOddParity(first & 0x7FU);
        second = qlx::withOddParity(second & 0x7FU);
    } else {
        _parity.take(first, second);
        if (_parity.tell()) {
            report(FindingCode::Cea608NoParity, ParityWatch::kPairs);
        }
    }
    const bool isChanged = receiveSound(first, second);
    _findings = nullptr;
    return isChanged;
}

void Receiver::report(FindingCode code, std::int64_t first, std::int64_t second, Severity severity) {
    if (_findings != nullptr) {
        _findings->add({code, severity, _place, first, second});
    }
}

/// Of a stream that has no parity bits that is said once.
void Receiver::reportParity(std::uint8_t first, std::uint8_t second) {
    if (!_parity.hasNone()) {
        report(FindingCode::Cea608ParityWrong, first << 8U | second);
    }
}

/// Damage, and what is no control code [(i), (j)]. A first byte of 01 to 0F is passed over alone [(i)(1)]; in field 2 it
/// is one of extended data.
bool Receiver::receiveSound(std::uint8_t first, std::uint8_t second) {
    const auto firstCode = static_cast<std::uint8_t>(first & 0x7FU);
    const bool isFirstSound = hasOddParity(first);
    if (isFirstSound && firstCode >= kFirstControl && firstCode < kFirstCharacter) {
        return receiveControl(first, second);
    }
    const bool isNull = Pair{first, second} == kNullPair || (first == 0 && second == 0);
    if (isNull) {
        if (_isBehindNull) {
            expectNoRepetition();
        }
        _isBehindNull = true;
        return false;
    }
    const bool isDamagedRepetition = !isFirstSound && second == _lastControl.second && second != 0;
    expectNoRepetition();
    if (isDamagedRepetition) {
        return false;
    }
    if (_channel.field == 2 && isFirstSound && firstCode > 0 && firstCode < kFirstControl) {
        // 0x0F ends a packet, the others begin or continue one.
        _isExtendedData = firstCode != kEndOfExtendedData;
        return false;
    }
    const auto secondCode = static_cast<std::uint8_t>(second & 0x7FU);
    if (_isExtendedData || !_isSelected || !writes()) {
        reportTextInFront(first, second);
        return false;
    }
    _isBehindPreamble = false;
    const bool isSound = (isFirstSound || first == 0) && (hasOddParity(second) || second == 0);
    const auto hasNoMeaning = [](std::uint8_t code) { return code > 0 && code < kFirstCharacter; };
    if (!isSound) {
        reportParity(first, second);
    } else if (hasNoMeaning(firstCode) || hasNoMeaning(secondCode)) {
        report(FindingCode::Cea608CodeUnknown, firstCode << 8U | secondCode);
    }
    const bool isFirstShown = receiveText(firstCode, isFirstSound || first == 0);
    const bool isSecondShown = receiveText(secondCode, hasOddParity(second) || second == 0);
    return isFirstShown || isSecondShown;
}

/// Of letters in front of the first code of the field, or of the first one that says what letters of the channel are for,
/// that is said once.
void Receiver::reportTextInFront(std::uint8_t first, std::uint8_t second) {
    const bool isForNothing = !_hasCode || (_isSelected && !_channel.isText && _mode == Mode::None && !_isText);
    const auto isLetter = [](std::uint8_t byte) { return (byte & 0x7FU) >= kFirstCharacter && hasOddParity(byte); };
    const bool areLetters = isLetter(first) && (isLetter(second) || (second & 0x7FU) == 0);
    if (isForNothing && areLetters && !_isExtendedData && !std::exchange(_hasToldOfFront, true)) {
        report(FindingCode::Cea608TextInFront, first << 8U | second);
    }
}

/// Null, and codes without a meaning, show nothing; a byte of two zeros carries nothing even without its parity bit. One
/// with wrong parity is a solid block [(g), (j)].
bool Receiver::receiveText(std::uint8_t code, bool isSound) {
    if (!isSound) {
        code = kSolidBlock;
    }
    const auto character = characterOf(CharacterSet::Basic, code);
    return character && put(*character);
}

/// The parity of the second byte decides [(i)(2)], the repetition counts for nothing [(i)(4)], and the code says which data
/// channel follows [(i)(5)].
bool Receiver::receiveControl(std::uint8_t first, std::uint8_t second) {
    const Pair pair{first, second};
    const auto code = static_cast<std::uint8_t>(second & 0x7FU);
    const bool isSelected = (first & kChannelBit) == (_channel.channel == 2 ? kChannelBit : 0U);
    if (!hasOddParity(second) || code < kFirstCharacter) {
        _lastControl = {};
        if (isSelected && !hasOddParity(second)) {
            reportParity(first, second);
        } else if (isSelected) {
            report(FindingCode::Cea608CodeUnknown, (first & 0x7F) << 8U | code);
        }
        return false;
    }
    // Captions of either channel end what extended data stood between them.
    _isExtendedData = false;
    _hasCode = true;
    _isSelected = isSelected;
    if (pair == _lastControl) {
        _lastControl = {};
        return false;
    }
    _lastControl = pair;
    _isBehindNull = false;
    return _isSelected && receiveCode(codeOf(first, second));
}

/// A code without a meaning is passed over [(i)(1), (j)]; a tab offset stops at column 32 [(e)(1)(ii), C.7, C.13].
bool Receiver::receiveCode(const Code& code) {
    const bool isBehindPreamble = std::exchange(_isBehindPreamble, false);
    if (code.kind == CodeKind::Control) {
        return receiveMiscellaneous(code.control);
    }
    if (code.kind == CodeKind::Unknown) {
        report(FindingCode::Cea608CodeUnknown, (_lastControl.first & 0x7F) << 8U | (_lastControl.second & 0x7F));
        return false;
    }
    if (code.kind == CodeKind::Preamble && !_channel.isText && !_isText && _mode == Mode::None) {
        start(Mode::PopOn);
        _isModeAssumed = true;
    }
    if (!writes()) {
        return false;
    }
    switch (code.kind) {
    case CodeKind::Preamble:
        return receivePreamble(code);
    case CodeKind::MidRow:
        return receiveMidRow(code);
    case CodeKind::Background:
        _mayFreeColumn = isBehindPreamble && _column == 0;
        return receiveBackground(code);
    case CodeKind::Foreground:
        return receiveForeground(code);
    case CodeKind::Tab:
        _isBehindPreamble = isBehindPreamble;
        _column = std::min<std::size_t>(_column + code.columns, kColumns - 1);
        return false;
    case CodeKind::Special:
        return put(characterOf(code.character.set, code.character.code).value_or(U' '));
    case CodeKind::Extended:
        return receiveExtended(code.character);
    default:
        return false;
    }
}

/// EDM and ENM erase their memory whatever is received, and change no mode [C.16]; a flash code takes a column [C.8]; what
/// was an alarm is reserved [3.2.1].
bool Receiver::receiveMiscellaneous(Control control) {
    switch (control) {
    case Control::Backspace:
        return writes() && backspace();
    case Control::DeleteToEndOfRow:
        return writes() && deleteToEndOfRow();
    case Control::FlashOn:
        if (!writes()) {
            return false;
        }
        _style.isFlashing = true;
        return put(U' ');
    case Control::CarriageReturn:
        if (!writes()) {
            return false;
        }
        return _channel.isText ? rollText() : _mode == Mode::RollUp && rollUp();
    case Control::EraseDisplayedMemory:
        return !_channel.isText && erase(_displayed);
    case Control::EraseNonDisplayedMemory:
        (void)erase(_loaded);
        return false;
    case Control::AlarmOff:
    case Control::AlarmOn:
        return false;
    default:
        return receiveMode(control);
    }
}

/// Codes that say what the letters behind them are for: RCL and RDC change no memory [(f)(1)(x), C.10], EOC
/// exchanges both [(f)(2), C.10, C.11], TR erases text and begins at the top [7.4].
bool Receiver::receiveMode(Control control) {
    _isText = control == Control::TextRestart || control == Control::ResumeTextDisplay;
    if (_isText || _channel.isText) {
        const bool isBegun = _channel.isText && control == Control::TextRestart;
        if (isBegun) {
            (void)erase(_displayed);
            _row = 0;
            _column = 0;
            _style = {};
        }
        return isBegun;
    }
    switch (control) {
    case Control::ResumeCaptionLoading:
        start(Mode::PopOn);
        return false;
    case Control::ResumeDirectCaptioning:
        start(Mode::PaintOn);
        return false;
    case Control::EndOfCaption:
        start(Mode::PopOn);
        std::swap(_displayed, _loaded);
        _change.isReplaced = true;
        return true;
    default:
        return startRollUp(static_cast<std::size_t>(control) - static_cast<std::size_t>(Control::RollUp2) + 2);
    }
}

void Receiver::start(Mode mode) {
    _mode = mode;
    _isText = false;
    _isModeAssumed = false;
}

/// The first code of a roll-up caption erases what was there of another kind [(f)(1)(x), C.10], and begins in row 15
/// [(f)(1)(ii)]; later ones change the number of rows [(f)(1)(iv)].
bool Receiver::startRollUp(std::size_t rows) {
    const bool wasRollUp = _mode == Mode::RollUp;
    start(Mode::RollUp);
    _rollUpRows = rows;
    if (!wasRollUp) {
        (void)erase(_displayed);
        (void)erase(_loaded);
        _row = kRows - 1;
        _column = 0;
        _style = {};
        return true;
    }
    // The rows of a window that is too near to the upper edge move down together [C.4].
    moveWindow(_row);
    for (std::size_t row = 0; row + rows <= _row; ++row) {
        _change.isReplaced = _change.isReplaced || _displayed[row] != Row{};
        _displayed[row] = {};
    }
    return true;
}

/// The upper row goes, the others move up [(f)(1)(iii)].
bool Receiver::rollUp() {
    const std::size_t top = _row + 1 - std::min(_rollUpRows, _row + 1);
    for (std::size_t row = top; row < _row; ++row) {
        _displayed[row] = _displayed[row + 1];
    }
    _displayed[_row] = {};
    _change.isRolled = true;
    _column = 0;
    _style = {};
    _mayFreeColumn = false;
    return true;
}

/// To the next row of text; the last one moves up for it [7.4].
bool Receiver::rollText() {
    const bool isLast = _row + 1 == kRows;
    if (isLast) {
        std::rotate(_displayed.begin(), _displayed.begin() + 1, _displayed.end());
        _displayed.back() = {};
        _change.isRolled = true;
    } else {
        ++_row;
    }
    _column = 0;
    _style = {};
    _mayFreeColumn = false;
    return isLast;
}

/// Moves the rows of a roll-up caption, so that the lowest one stands in `row` [(f)(1)(ii)], and no row above the first
/// [C.4].
void Receiver::moveWindow(std::size_t row) {
    row = std::max(row, _rollUpRows - 1);
    if (row == _row) {
        return;
    }
    Memory moved{};
    for (std::size_t line = 0; line < _rollUpRows && line <= _row; ++line) {
        moved[row - line] = _displayed[_row - line];
    }
    _displayed = moved;
    _change.isRolled = true;
    _row = row;
}

/// Row, indent and style [(e)(1)(i), C.7]; of text the row does not count [7.4]. In a roll-up caption the window moves at
/// once.
bool Receiver::receivePreamble(const Code& code) {
    _style = {};
    _style.foreground = code.color;
    _style.isItalic = code.isItalic;
    _style.isUnderlined = code.isUnderlined;
    _column = code.columns;
    _isBehindPreamble = true;
    _mayFreeColumn = false;
    if (_channel.isText) {
        return false;
    }
    const std::size_t row = code.row - std::size_t{1};
    if (_mode == Mode::RollUp) {
        moveWindow(row);
        return true;
    }
    _row = row;
    return false;
}

/// A mid-row code shows as a space [(h)(1)(i)]; a colour ends italics, italics keep the colour [(h)(1)(ii)], and both end
/// flashing [(h)(1)(iii)].
bool Receiver::receiveMidRow(const Code& code) {
    _style.isItalic = code.isItalic;
    if (!code.isItalic) {
        _style.foreground = code.color;
    }
    _style.isUnderlined = code.isUnderlined;
    _style.isFlashing = false;
    return put(U' ');
}

/// A background code takes the place of the space that is sent before it for receivers that do not know it [6.2].
bool Receiver::receiveBackground(const Code& code) {
    (void)backspace();
    _style.background = code.color;
    _style.backgroundOpacity = code.opacity;
    return put(U' ');
}

/// So does black, which ends italics and flashing [6.2].
bool Receiver::receiveForeground(const Code& code) {
    (void)backspace();
    _style.foreground = code.color;
    _style.isItalic = false;
    _style.isFlashing = false;
    _style.isUnderlined = code.isUnderlined;
    return put(U' ');
}

/// An extended character takes the place of the one that is sent before it for receivers that do not know it [6.4.2].
bool Receiver::receiveExtended(const CharacterCode& character) {
    (void)backspace();
    return put(characterOf(character.set, character.code).value_or(U' '));
}

/// Writes at the cursor, and in column 32 again and again [(f)(1)(v), (f)(2)(ii), (f)(3)(i), C.13]; a transparent space
/// shows the picture.
bool Receiver::put(char32_t character) {
    screen::Cell cell;
    if (character != kTransparentSpace) {
        cell.character = character;
        cell.foreground = _style.foreground;
        cell.background = _style.background;
        cell.backgroundOpacity = _style.backgroundOpacity;
        cell.isVisible = true;
        cell.isItalic = _style.isItalic;
        cell.isUnderlined = _style.isUnderlined;
        cell.isFlashing = _style.isFlashing;
    }
    if (std::exchange(_isModeAssumed, false)) {
        report(FindingCode::Cea608BegunInside, placeOf(_row + 1, _column));
    }
    if (_column == kColumns && !freeColumn()) {
        report(FindingCode::Cea608ColumnFull, placeOf(_row + 1, kColumns - 1),
               static_cast<std::int64_t>(currentRow().back().character));
    }
    const std::size_t column = std::min(_column, kColumns - 1);
    currentRow()[column] = cell;
    _column = column + 1;
    return changeText();
}

/// A background code behind a preamble gives its column to a row of 32 letters.
bool Receiver::freeColumn() {
    if (!std::exchange(_mayFreeColumn, false)) {
        return false;
    }
    Row& row = currentRow();
    std::rotate(row.begin(), row.begin() + 1, row.end());
    report(FindingCode::Cea608BackgroundMoved, placeOf(_row + 1, 0));
    return true;
}

bool Receiver::erase(Memory& memory) {
    memory = {};
    _change.isReplaced = _change.isReplaced || &memory == &_displayed;
    // The row that is being written keeps its background where the other memory is erased.
    _mayFreeColumn = _mayFreeColumn && &memory != (writesDisplayed() ? &_displayed : &_loaded);
    return &memory == &_displayed;
}

/// Not beyond column 1 [(f)(1)(vi)].
bool Receiver::backspace() {
    if (_column == 0) {
        return false;
    }
    currentRow()[--_column] = {};
    return changeText();
}

/// From the cursor on [(f)(1)(vii), (f)(2)(iii), (f)(3)(ii)].
bool Receiver::deleteToEndOfRow() {
    Row& row = currentRow();
    std::fill(row.begin() + static_cast<std::ptrdiff_t>(std::min(_column, kColumns - 1)), row.end(), screen::Cell{});
    return changeText();
}

/// Characters of the current row have changed: whether they are shown.
bool Receiver::changeText() noexcept {
    const bool isShown = writesDisplayed();
    _change.isWritten = _change.isWritten || isShown;
    return isShown;
}

/// With a solid space on both sides of what is shown [C.8].
screen::Screen Receiver::screen() const {
    constexpr std::size_t kMargin = 1;
    screen::Screen screen = screen::Screen::blank(screen::System::Cea608, kRows, kColumns + 2 * kMargin, 1);
    for (std::size_t index = 0; index < kRows; ++index) {
        const std::span<screen::Cell> row = screen.row(index);
        const Row& from = _displayed[index];
        std::copy(from.begin(), from.end(), row.begin() + kMargin);
        if (std::none_of(from.begin(), from.end(), [](const screen::Cell& cell) { return cell.isVisible; })) {
            continue;
        }
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

}  // namespace qlx::cea608
