// The codes of a caption service (CTA-708) as values: C0, C1 and what is reserved in C2 and C3, and the characters. Each
// is read from the data of service blocks and written.
//
//     while (!data.empty()) {
//         const qlx::Result<qlx::cea708::SizedCommand> next = qlx::cea708::parseCommand(data, &findings);
//         if (!next) break;   // its rest is in the next service block
//         std::visit([](const auto& command) { use(command); }, next->command);
//         data = data.subspan(next->size);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/result.h>
#include <qlx/cea708/characters.h>
#include <qlx/screen/screen.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <variant>

namespace qlx::cea708 {

inline constexpr std::size_t kWindows = 8;                ///< Windows of a service, 0 to 7.
inline constexpr std::uint8_t kExt1 = 0x10;               ///< In front of a code of C2, C3, G2 or G3.
inline constexpr std::uint8_t kP16 = 0x18;                ///< In front of a character of 16 bits.
inline constexpr std::size_t kGreatestCommandBytes = 34;  ///< Of a C3 code of variable length, with EXT1.

/// The codes that have no parameters.
enum class Control : std::uint8_t {
    Null = 0x00,
    EndOfText = 0x03,                 ///< ETX
    Backspace = 0x08,                 ///< BS
    FormFeed = 0x0C,                  ///< FF: the window is cleared, the pen goes to its beginning.
    CarriageReturn = 0x0D,            ///< CR: to the beginning of the next row.
    HorizontalCarriageReturn = 0x0E,  ///< HCR: to the beginning of the row, whose text is erased.
    DelayCancel = 0x8E,               ///< DLC
    Reset = 0x8F,                     ///< RST
};

/// P16: a character of 16 bits.
struct WideCharacter {
    std::uint16_t code = 0;  ///< As it stands in the stream.

    /// Whether all fields are equal.
    friend bool operator==(const WideCharacter&, const WideCharacter&) noexcept = default;
};

/// CW0 to CW7 (80h to 87h): which window is current.
struct SetCurrentWindow {
    std::uint8_t window = 0;  ///< 0 to 7.

    /// Whether all fields are equal.
    friend bool operator==(const SetCurrentWindow&, const SetCurrentWindow&) noexcept = default;
};

/// What is done with windows: a code from 88h on.
enum class WindowsAction : std::uint8_t {
    Clear = 0x88,    ///< CLW
    Display = 0x89,  ///< DSW
    Hide = 0x8A,     ///< HDW
    Toggle = 0x8B,   ///< TGW
    Delete = 0x8C,   ///< DLW
};

/// CLW, DSW, HDW, TGW, DLW.
struct WindowsCommand {
    WindowsAction action = WindowsAction::Clear;  ///< What is done.
    std::uint8_t windows = 0;                     ///< A bit for each window; bit 0 is window 0.

    /// Whether all fields are equal.
    friend bool operator==(const WindowsCommand&, const WindowsCommand&) noexcept = default;
};

/// DLY (8Dh).
struct Delay {
    std::uint8_t tenths = 0;  ///< Tenths of a second.

    /// Whether all fields are equal.
    friend bool operator==(const Delay&, const Delay&) noexcept = default;
};

/// What a text is, for receivers that treat it in a way of its own.
enum class TextTag : std::uint8_t {
    Dialog,
    Speaker,          ///< Source or speaker.
    ElectronicVoice,  ///< Electronically reproduced.
    ForeignDialog,    ///< In another language than the service's.
    Voiceover,
    AudibleTranslation,
    SubtitleTranslation,
    VoiceQuality,  ///< Description of a voice.
    SongLyrics,
    SoundEffect,   ///< Description of one.
    MusicalScore,  ///< Description of music.
    Expletive,
    NotShown = 15,  ///< A text that is not to be displayed.
};

/// SPA (90h). An enumeration can hold a number that is not defined.
struct PenAttributes {
    screen::FontSize size = screen::FontSize::Standard;  ///< Pen size.
    screen::Offset offset = screen::Offset::Normal;      ///< Above or below the line.
    TextTag tag = TextTag::Dialog;                       ///< What the text is.
    screen::Font font = screen::Font::Default;           ///< Font style.
    screen::Edge edge = screen::Edge::None;              ///< Around the characters.
    bool isUnderlined = false;                           ///< With a line below.
    bool isItalic = false;                               ///< Slanted.

    /// Whether all fields are equal.
    friend bool operator==(const PenAttributes&, const PenAttributes&) noexcept = default;
};

/// White as the predefined pen styles have it: two of three parts of each colour.
inline constexpr screen::Color kPenWhite = screen::colorOf(2, 2, 2);

/// SPC (91h).
struct PenColor {
    screen::Color foreground = kPenWhite;                        ///< Of the characters.
    screen::Opacity foregroundOpacity = screen::Opacity::Solid;  ///< The same.
    screen::Color background = screen::Color::Black;             ///< Behind the characters.
    screen::Opacity backgroundOpacity = screen::Opacity::Solid;  ///< The same.
    screen::Color edge = screen::Color::Black;                   ///< Around the characters.

    /// Whether all fields are equal.
    friend bool operator==(const PenColor&, const PenColor&) noexcept = default;
};

/// SPL (92h): where the next character of the current window stands.
struct PenLocation {
    std::uint8_t row = 0;     ///< 0 to 14.
    std::uint8_t column = 0;  ///< 0 to 41.

    /// Whether all fields are equal.
    friend bool operator==(const PenLocation&, const PenLocation&) noexcept = default;
};

/// How the text of a row stands in its window.
enum class Justification : std::uint8_t { Left, Right, Center, Full };

/// A direction in which is printed, scrolled or wiped.
enum class Direction : std::uint8_t { LeftToRight, RightToLeft, TopToBottom, BottomToTop };

/// How a window comes and goes.
enum class DisplayEffect : std::uint8_t { Snap, Fade, Wipe };

/// SWA (97h). An enumeration can hold a number that is not defined.
struct WindowAttributes {
    Justification justification = Justification::Left;     ///< Of the rows.
    Direction printDirection = Direction::LeftToRight;     ///< From a character to the next one.
    Direction scrollDirection = Direction::BottomToTop;    ///< Where rows go when there is no other one.
    bool wrapsWords = false;                               ///< What does not fit into a row goes to the next one.
    DisplayEffect displayEffect = DisplayEffect::Snap;     ///< How it comes and goes.
    Direction effectDirection = Direction::LeftToRight;    ///< Of a wipe.
    std::uint8_t effectSpeed = 0;                          ///< Half seconds, 0 to 15.
    screen::Color fill = screen::Color::Black;             ///< Where there is no text.
    screen::Opacity fillOpacity = screen::Opacity::Solid;  ///< The same.
    screen::Edge border = screen::Edge::None;              ///< Around the window.
    screen::Color borderColor = screen::Color::Black;      ///< The same.

    /// Whether all fields are equal.
    friend bool operator==(const WindowAttributes&, const WindowAttributes&) noexcept = default;
};

/// The point of a window that stands at its anchor: from left to right, and from top to bottom.
enum class AnchorPoint : std::uint8_t {
    UpperLeft,
    UpperCenter,
    UpperRight,
    MiddleLeft,
    Center,
    MiddleRight,
    LowerLeft,
    LowerCenter,
    LowerRight,
};

/// DF0 to DF7 (98h to 9Fh).
struct DefineWindow {
    std::uint8_t window = 0;                           ///< 0 to 7.
    std::uint8_t priority = 0;                         ///< 0 to 7; 0 is in front.
    bool isVisible = false;                            ///< Shown from now on.
    bool locksRows = false;                            ///< The receiver adds no rows.
    bool locksColumns = false;                         ///< The receiver adds no columns.
    bool isRelative = false;                           ///< The anchor is in hundredths of the screen.
    std::uint8_t anchorVertical = 0;                   ///< 0 to 74, or 0 to 99.
    std::uint8_t anchorHorizontal = 0;                 ///< 0 to 209 at 16:9, 0 to 159 at 4:3, or 0 to 99.
    AnchorPoint anchorPoint = AnchorPoint::UpperLeft;  ///< What of the window stands there.
    std::uint8_t rows = 1;                             ///< 1 to 16; as many as there are at most 15 make sense.
    std::uint8_t columns = 1;                          ///< 1 to 64, of which 42 (at 4:3: 32) make sense.
    std::uint8_t windowStyle = 0;                      ///< 1 to 7; 0 leaves it, or is 1 for a new window.
    std::uint8_t penStyle = 0;                         ///< The same.

    /// Whether all fields are equal.
    friend bool operator==(const DefineWindow&, const DefineWindow&) noexcept = default;
};

/// A code that is reserved, kept with all its bytes. What no receiver knows it skips by the length that its code says.
struct ReservedCommand {
    BoundedList<std::uint8_t, kGreatestCommandBytes> bytes;  ///< With its code, and EXT1 in front of that.

    /// Whether all fields are equal.
    friend bool operator==(const ReservedCommand&, const ReservedCommand&) noexcept = default;
};

/// Any of them. A CharacterCode is a character of G0 to G3.
using Command = std::variant<Control, CharacterCode, WideCharacter, SetCurrentWindow, WindowsCommand, Delay,
                             PenAttributes, PenColor, PenLocation, WindowAttributes, DefineWindow, ReservedCommand>;

/// A command, and the bytes that it takes.
struct SizedCommand {
    Command command;       ///< Its value.
    std::size_t size = 0;  ///< Bytes.
};

/// Bytes of the command that begins with these; where they are too few to say so, as many as are known to be needed.
/// None at all for no bytes.
[[nodiscard]] QLX_EXPORT std::size_t sizeOfCommand(std::span<const std::uint8_t> bytes) noexcept;

/// Reads the command that begins with the first byte. Fails with Cea708CommandCut when its rest is not there. Reserved
/// codes, reserved bits and numbers that are not defined are given to `findings`, placed by `offset`. What is read
/// without a finding, or is a ReservedCommand, is written as the same bytes by writeCommand().
[[nodiscard]] QLX_EXPORT Result<SizedCommand> parseCommand(std::span<const std::uint8_t> bytes,
                                                           FindingSink* findings = nullptr, std::uint64_t offset = 0);

/// Writes the command and gives its bytes. Cea708ValueTooGreat for a number that its field cannot hold (a character
/// whose code is none of its set, a Control or WindowsAction that is none, an empty ReservedCommand too), OutputTooSmall
/// for a room that is smaller; nothing is written then. Allocates nothing.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeCommand(const Command& command, std::span<std::uint8_t> room);
/// The same as a buffer of its own.
[[nodiscard]] QLX_EXPORT Result<Data> writeCommand(const Command& command);

/// The window attributes of a predefined style, 1 to 7; those of style 1 for any other number.
[[nodiscard]] QLX_EXPORT WindowAttributes predefinedWindow(std::uint8_t style) noexcept;

/// Attributes and colours of a pen.
struct Pen {
    PenAttributes attributes;  ///< SPA
    PenColor color;            ///< SPC

    /// Whether all fields are equal.
    friend bool operator==(const Pen&, const Pen&) noexcept = default;
};

/// The pen of a predefined style, 1 to 7; that of style 1 for any other number.
[[nodiscard]] QLX_EXPORT Pen predefinedPen(std::uint8_t style) noexcept;

}  // namespace qlx::cea708
