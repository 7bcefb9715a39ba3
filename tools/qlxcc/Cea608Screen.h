// A caption channel of line 21 as a receiver shows it (CTA-608), decoded from its byte pairs.
#pragma once

#include <qlx/screen/screen.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qlx::tool {

inline constexpr std::size_t kCaptionRows = 15;
inline constexpr std::size_t kCaptionColumns = 32;

/// A caption channel: CC1 and CC2 travel in field 1, CC3 and CC4 in field 2.
struct CaptionChannel {
    std::uint8_t field = 1;    ///< 1 or 2.
    std::uint8_t channel = 1;  ///< The data channel in the field: 1 or 2.

    [[nodiscard]] bool operator==(const CaptionChannel&) const = default;
};

/// `CC1`.
[[nodiscard]] std::string_view nameOf(CaptionChannel channel) noexcept;

/// The channel called `CC1` to `CC4`, in capital or small letters.
[[nodiscard]] std::optional<CaptionChannel> captionChannelNamed(std::string_view name);

/// The displayed and the non-displayed memory of one caption channel.
///
/// A control code counts once when it comes twice in a row, also when the first byte of the second one has a parity
/// error. A pair whose control code has one in its second byte is ignored; a printing character with one becomes a solid
/// block. Text mode and extended data services are passed over.
class Cea608Screen {
public:
    explicit Cea608Screen(CaptionChannel channel = {}) : _channel(channel) {}

    /// Takes a byte pair of the channel's field, with parity bits.
    /// @return Whether the screen may look different now.
    bool receive(std::uint8_t first, std::uint8_t second);

    /// The next pair is not the one behind the last pair: frames without a pair stood between them.
    void expectNoRepetition() noexcept { _lastControl = {}; }

    /// What is shown now: 15 rows of 34 columns, as text has a solid space on both sides.
    [[nodiscard]] screen::Screen screen() const;

    [[nodiscard]] CaptionChannel channel() const noexcept { return _channel; }

private:
    enum class Mode : std::uint8_t { None, PopOn, PaintOn, RollUp };

    struct Style {
        screen::Color foreground = screen::Color::White;
        screen::Color background = screen::Color::Black;
        bool isItalic = false;
        bool isUnderlined = false;
        bool isFlashing = false;
    };

    using Row = std::array<screen::Cell, kCaptionColumns>;
    using Memory = std::array<Row, kCaptionRows>;

    bool receiveControl(std::uint8_t first, std::uint8_t second);
    bool receiveCode(std::uint8_t group, std::uint8_t second);
    bool receiveMiscellaneous(std::uint8_t code);
    bool receiveTab(std::uint8_t code);
    bool receivePreamble(std::uint8_t group, std::uint8_t code);
    bool receiveMidRow(std::uint8_t code);
    bool receiveBackground(screen::Color colour);
    bool receiveExtended(std::uint8_t group, std::uint8_t code);
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

    CaptionChannel _channel;
    Mode _mode = Mode::None;
    bool _isText = false;                        ///< Characters are for text mode until captions are resumed.
    std::array<std::uint8_t, 2> _lastControl{};  ///< What is expected to come a second time; zeros for nothing.
    bool _isSelected = false;                    ///< Characters are for this channel.
    bool _isExtendedData = false;                ///< Field 2: an XDS packet is open.
    std::size_t _rollUpRows = 0;
    std::size_t _row = kCaptionRows - 1;
    std::size_t _column = 0;  ///< kCaptionColumns behind the last one: what comes replaces that.
    Style _style;
    Memory _displayed{};
    Memory _loaded{};
};

}  // namespace qlx::tool
