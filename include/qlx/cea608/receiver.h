// A caption channel of line 21 as a receiver shows it (CTA-608-E; 47 CFR 15.119, which 47 CFR 79.101 has taken over with
// its paragraphs), decoded from its byte pairs.
//
//     qlx::cea608::Receiver receiver(qlx::cea608::kCC1);
//     if (receiver.receive(0x94, 0x2F)) {
//         show(receiver.screen());
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/cea608/codes.h>
#include <qlx/cea608/parity.h>
#include <qlx/screen/screen.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace qlx::cea608 {

/// How a receiver reads.
struct ReceiverOptions {
    bool ignoresParity = false;  ///< Parity bits are not looked at: of a stream that has none.
};

/// The displayed and the non-displayed memory of one caption channel, or the box of its text. Paragraphs are those of
/// 47 CFR 15.119, clauses those of CTA-608-E.
///
/// - 15 rows of 32 columns: (d). White, on black, without other attributes until a code says so: (h)(1), C.14.
/// - A control code counts once when it comes twice in a row, also when the first byte of the second one has a parity
///   error: (i)(4). A null pair between the two does not separate them: real streams have one there, in departure from
///   the standard. Two null pairs do, and any other pair.
/// - A control code decides which data channel of the field the letters behind it are for: (i)(5).
/// - A pair whose control code has a parity error in its second byte is ignored: (i)(2); a printing character with one
///   becomes a solid block, and so does the first byte of a control code, in front of whatever its second one is: (i), (j).
///   A code without a meaning is passed over, with a finding; of a pair whose first byte is 01 to 0F, which in field 2
///   is one of extended data, that byte alone: (i)(1), (j).
/// - A preamble places the cursor, (e)(1)(i), a tab offset moves it by at most three columns, (e)(1)(ii), and never beyond
///   column 32: C.7, C.13.
/// - Roll-up: the cursor stays on the base row, (f)(1)(i); a preamble moves the window to its row, (f)(1)(ii), and where
///   the window is higher than that, its number of rows counts: C.4; CR moves the rows up, (f)(1)(iii). Fewer rows erase
///   the upper ones: (f)(1)(iv). What another style has shown or loaded is erased: (f)(1)(x), C.10.
/// - Pop-on: letters go to the non-displayed memory, which EOC exchanges with the displayed one: (f)(2), C.10, C.11.
/// - Paint-on: letters go to the displayed memory: (f)(3). RCL and RDC leave both memories as they are: (f)(1)(x), C.10.
/// - EDM and ENM erase their memory in any style, and while text is received; they change no mode: C.16.
/// - What has no column any more takes the place of the last one, with a finding: (f)(1)(v), (f)(2)(ii), (f)(3)(i).
///   A backspace goes one column back and erases it, in column 1 nothing: (f)(1)(vi); behind column 32 it erases that one,
///   so that an extended character may stand there (C.13 erases column 31). DER erases from the cursor on: (f)(1)(vii),
///   (f)(2)(iii), (f)(3)(ii).
/// - A mid-row code takes a column as a space, (h)(1)(i); a colour ends italics, and italics keep the colour: (h)(1)(ii);
///   both end flashing: (h)(1)(iii). A flash code takes a column as well.
/// - An extended character takes the place of the letter in front of it: 6.4.2.
/// - A background code, and black letters, take the place of the space in front of them: 6.2. Where captures have a
///   background code in the first column behind a preamble, and then 32 letters, it takes no column, with a finding.
/// - Text behind a preamble with which a stream begins is taken as a caption that is being loaded, with a finding. Text in
///   front of any code is passed over, as it says neither its channel nor what it is for: one finding, a remark.
/// - Text (T1 to T4) begins at the top with TR, goes on with RTD, and rolls up in 15 rows; of a preamble its indent and
///   style count there: 7.4.
/// - A solid space stands on both sides of what is shown: C.8.
/// - Extended data services are passed over: XdsReader takes them.
class Receiver {
public:
    /// Shows nothing yet.
    explicit Receiver(Channel channel = kCC1, const ReceiverOptions& options = {}) noexcept
        : _channel(channel), _options(options), _row(channel.isText ? 0 : kRows - 1) {}

    /// Takes a byte pair of the channel's field, with parity bits. Frames that have no slot of the field do not count.
    /// @param first Its first byte.
    /// @param second Its second byte.
    /// @param findings Damage, codes without a meaning, and what is taken in another way than the standard says.
    /// @param place The offset of findings.
    /// @return Whether the screen may look different now.
    QLX_EXPORT bool receive(std::uint8_t first, std::uint8_t second, FindingSink* findings = nullptr,
                            std::uint64_t place = 0);

    /// The next pair is not the one behind the last pair: slots without a pair stood between them.
    void expectNoRepetition() noexcept { _lastControl = {}; }

    /// What is shown now: 15 rows, counted from 1, of 34 columns, as text has a solid space on both sides.
    [[nodiscard]] QLX_EXPORT screen::Screen screen() const;

    /// In which ways what is shown may have changed since the last call of this.
    [[nodiscard]] screen::Change takeChange() noexcept { return std::exchange(_change, {}); }

    /// The channel that it was made for.
    [[nodiscard]] Channel channel() const noexcept { return _channel; }

private:
    enum class Mode : std::uint8_t { None, PopOn, PaintOn, RollUp };

    struct Style {
        screen::Color foreground = screen::Color::White;
        screen::Color background = screen::Color::Black;
        screen::Opacity backgroundOpacity = screen::Opacity::Solid;
        bool isItalic = false;
        bool isUnderlined = false;
        bool isFlashing = false;
    };

    using Row = std::array<screen::Cell, kColumns>;
    using Memory = std::array<Row, kRows>;

    bool receiveSound(std::uint8_t first, std::uint8_t second);
    bool receiveControl(std::uint8_t first, std::uint8_t second);
    bool receiveCode(const Code& code);
    bool receiveMiscellaneous(Control control);
    bool receiveMode(Control control);
    bool receivePreamble(const Code& code);
    bool receiveMidRow(const Code& code);
    bool receiveBackground(const Code& code);
    bool receiveForeground(const Code& code);
    bool receiveExtended(const CharacterCode& character);
    bool receiveText(std::uint8_t code, bool isSound);
    void start(Mode mode);
    bool startRollUp(std::size_t rows);
    bool rollUp();
    bool rollText();
    void reportParity(std::uint8_t first, std::uint8_t second);
    bool freeColumn();
    void reportTextInFront(std::uint8_t first, std::uint8_t second);
    void report(FindingCode code, std::int64_t first, std::int64_t second = 0, Severity severity = Severity::Warning);
    void moveWindow(std::size_t row);
    bool put(char32_t character);
    bool erase(Memory& memory);
    bool backspace();
    bool deleteToEndOfRow();
    bool changeText() noexcept;
    [[nodiscard]] bool writesDisplayed() const noexcept {
        return _channel.isText || _mode == Mode::PaintOn || _mode == Mode::RollUp;
    }
    [[nodiscard]] bool writes() const noexcept { return _channel.isText ? _isText : _mode != Mode::None && !_isText; }
    [[nodiscard]] Row& currentRow() noexcept { return (writesDisplayed() ? _displayed : _loaded)[_row]; }

    Channel _channel;
    ReceiverOptions _options;
    FindingSink* _findings = nullptr;  ///< While a pair is taken.
    std::uint64_t _place = 0;
    Mode _mode = Mode::None;
    bool _isText = false;          ///< Characters are for text mode until captions are resumed.
    bool _isModeAssumed = false;   ///< No code has said it, and no letter has come.
    Pair _lastControl;             ///< What is expected to come a second time; zeros for nothing.
    bool _isBehindNull = false;    ///< One null pair came behind it.
    bool _isSelected = false;      ///< Characters are for this channel.
    bool _hasCode = false;         ///< A control code of the field has come.
    bool _hasToldOfFront = false;  ///< Of text that came before that, or before one that says what it is for.
    bool _isExtendedData = false;  ///< Field 2: an XDS packet is open.
    bool _isBehindPreamble = false;
    bool _mayFreeColumn = false;  ///< The first column of the row has a background code that came behind its preamble.
    ParityWatch _parity;
    std::size_t _rollUpRows = 0;
    std::size_t _row;
    std::size_t _column = 0;  ///< kColumns behind the last one: what comes replaces that.
    Style _style;
    Memory _displayed{};
    Memory _loaded{};
    screen::Change _change;
};

}  // namespace qlx::cea608
