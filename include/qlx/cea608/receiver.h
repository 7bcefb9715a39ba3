// A caption channel of line 21 as a receiver shows it (CTA-608-E; 47 CFR 15.119), decoded from its byte pairs.
//
//     qlx::cea608::Receiver receiver(qlx::cea608::kCC1);
//     if (receiver.receive(0x94, 0x2F)) {
//         show(receiver.screen());
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/cea608/codes.h>
#include <qlx/screen/screen.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::cea608 {

/// The displayed and the non-displayed memory of one caption channel.
///
/// A control code counts once when it comes twice in a row, also when the first byte of the second one has a parity
/// error. A pair whose control code has one in its second byte is ignored; a printing character with one becomes a solid
/// block. Text mode and extended data services are passed over.
class Receiver {
public:
    /// Shows nothing yet.
    explicit Receiver(Channel channel = kCC1) noexcept : _channel(channel) {}

    /// Takes a byte pair of the channel's field, with parity bits.
    /// @return Whether the screen may look different now.
    QLX_EXPORT bool receive(std::uint8_t first, std::uint8_t second);

    /// The next pair is not the one behind the last pair: frames without a pair stood between them.
    void expectNoRepetition() noexcept { _lastControl = {}; }

    /// What is shown now: 15 rows, counted from 1, of 34 columns, as text has a solid space on both sides.
    [[nodiscard]] QLX_EXPORT screen::Screen screen() const;

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

    bool receiveControl(std::uint8_t first, std::uint8_t second);
    bool receiveCode(const Code& code);
    bool receiveMiscellaneous(Control control);
    bool receivePreamble(const Code& code);
    bool receiveMidRow(const Code& code);
    bool receiveBackground(const Code& code);
    bool receiveForeground(const Code& code);
    bool receiveExtended(const CharacterCode& character);
    bool receiveText(std::uint8_t code, bool isSound);
    void start(Mode mode);
    bool startRollUp(std::size_t rows);
    bool rollUp();
    void moveWindow(std::size_t row);
    bool put(char32_t character);
    bool erase(Memory& memory);
    bool backspace();
    bool deleteToEndOfRow();
    [[nodiscard]] bool writesDisplayed() const noexcept { return _mode == Mode::PaintOn || _mode == Mode::RollUp; }
    [[nodiscard]] bool writes() const noexcept { return _mode != Mode::None && !_isText; }
    [[nodiscard]] Row& currentRow() noexcept { return (writesDisplayed() ? _displayed : _loaded)[_row]; }

    Channel _channel;
    Mode _mode = Mode::None;
    bool _isText = false;          ///< Characters are for text mode until captions are resumed.
    Pair _lastControl;             ///< What is expected to come a second time; zeros for nothing.
    bool _isSelected = false;      ///< Characters are for this channel.
    bool _isExtendedData = false;  ///< Field 2: an XDS packet is open.
    std::size_t _rollUpRows = 0;
    std::size_t _row = kRows - 1;
    std::size_t _column = 0;  ///< kColumns behind the last one: what comes replaces that.
    Style _style;
    Memory _displayed{};
    Memory _loaded{};
};

}  // namespace qlx::cea608
