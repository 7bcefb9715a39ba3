// A caption channel of line 21 as a receiver shows it (CTA-608-E; 47 CFR 15.119), decoded from its byte pairs.
//
//     qlx::cea608::Receiver receiver(qlx::cea608::kCC1);
//     if (receiver.receive(0x94, 0x2F)) {
//         show(receiver.screen());
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/cea608/codes.h>
#include <qlx/screen/screen.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace qlx::cea608 {

/// How a receiver reads.
struct ReceiverOptions {
    bool ignoresParity = false;  ///< Parity bits are not looked at: of a stream that has none.
};

/// The displayed and the non-displayed memory of one caption channel, or the box of its text (47 CFR 15.119).
///
/// - A control code counts once when it comes twice in a row, also when the first byte of the second one has a parity
///   error. A null pair between the two does not separate them: real streams have one there, in departure from the
///   standard. Two null pairs do, and any other pair.
/// - A pair whose control code has a parity error in its second byte is ignored; a printing character with one becomes a
///   solid block.
/// - A background code takes the place of the space in front of it. Where captures have one in the first column behind a
///   preamble, and then 32 letters, it takes no column, with a finding.
/// - Text behind a preamble with which a stream begins is taken as a caption that is being loaded, with a finding.
/// - What has no column any more takes the place of the last one, with a finding.
/// - Text (T1 to T4) begins at the top with TR, goes on with RTD, and rolls up in 15 rows. Of a preamble its indent and
///   style count there.
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
    void checkParity(std::uint8_t first, std::uint8_t second);
    void reportParity(std::uint8_t first, std::uint8_t second);
    bool freeColumn();
    void report(FindingCode code, std::int64_t first, std::int64_t second = 0);
    void moveWindow(std::size_t row);
    bool put(char32_t character);
    bool erase(Memory& memory);
    bool backspace();
    bool deleteToEndOfRow();
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
    bool _isExtendedData = false;  ///< Field 2: an XDS packet is open.
    bool _isBehindPreamble = false;
    bool _mayFreeColumn = false;  ///< The first column of the row has a background code that came behind its preamble.
    std::uint8_t _pairsWithoutParity = 0;
    bool _hasToldOfParity = false;
    std::size_t _rollUpRows = 0;
    std::size_t _row;
    std::size_t _column = 0;  ///< kColumns behind the last one: what comes replaces that.
    Style _style;
    Memory _displayed{};
    Memory _loaded{};
};

}  // namespace qlx::cea608
