// The byte pairs of CEA-608 (CTA-608-E; 47 CFR 15.119): what each means, and the pair of each meaning.
//
//     const qlx::cea608::Code code = qlx::cea608::codeOf(0x14, 0x2F);
//     if (code.kind == qlx::cea608::CodeKind::Control && code.control == qlx::cea608::Control::EndOfCaption) {
//         use(code.channel);
//     }
//     const auto pair = qlx::cea608::pairOf(qlx::cea608::preamble(15, 4));
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/parity.h>
#include <qlx/cea608/characters.h>
#include <qlx/screen/screen.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::cea608 {

inline constexpr std::size_t kRows = 15;     ///< Rows of captions, counted from 1.
inline constexpr std::size_t kColumns = 32;  ///< Columns of captions, counted from 0.

using screen::placeOf;  ///< As findings name places in captions and on the screen.

/// Two bytes of a field, with or without parity bits as it is said.
struct Pair {
    std::uint8_t first = 0;   ///< Sent first.
    std::uint8_t second = 0;  ///< Sent behind it.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Pair&, const Pair&) noexcept = default;
};

/// Two nulls, as an idle field sends them.
inline constexpr Pair kNullPair{0x80, 0x80};

/// The pair with odd parity in both bytes.
[[nodiscard]] constexpr Pair withOddParity(const Pair& pair) noexcept {
    return {qlx::withOddParity(pair.first), qlx::withOddParity(pair.second)};
}

/// A caption channel: CC1 and CC2 travel in field 1, CC3 and CC4 in field 2.
struct Channel {
    std::uint8_t field = 1;    ///< 1 or 2.
    std::uint8_t channel = 1;  ///< The data channel in the field: 1 or 2.
    bool isText = false;       ///< Its text (T1 to T4), and not its captions.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Channel&, const Channel&) noexcept = default;
};

inline constexpr Channel kCC1{1, 1};  ///< Field 1, data channel 1.
inline constexpr Channel kCC2{1, 2};  ///< Field 1, data channel 2.
inline constexpr Channel kCC3{2, 1};  ///< Field 2, data channel 1.
inline constexpr Channel kCC4{2, 2};  ///< Field 2, data channel 2.
/// Those of captions in their order.
inline constexpr std::array<Channel, 4> kChannels{kCC1, kCC2, kCC3, kCC4};

inline constexpr Channel kT1{1, 1, true};  ///< Text of field 1, data channel 1.
inline constexpr Channel kT2{1, 2, true};  ///< Text of field 1, data channel 2.
inline constexpr Channel kT3{2, 1, true};  ///< Text of field 2, data channel 1.
inline constexpr Channel kT4{2, 2, true};  ///< Text of field 2, data channel 2.
/// Those of text in their order.
inline constexpr std::array<Channel, 4> kTextChannels{kT1, kT2, kT3, kT4};

/// `CC1`.
[[nodiscard]] QLX_EXPORT std::string_view nameOf(Channel channel) noexcept;

/// The channel called `CC1` to `CC4` or `T1` to `T4`, in capital or small letters; none for any other name.
[[nodiscard]] QLX_EXPORT std::optional<Channel> channelNamed(std::string_view name);

/// What a pair is.
enum class CodeKind : std::uint8_t {
    Unknown,       ///< Nothing that the standard names.
    Null,          ///< Two bytes of 0.
    Text,          ///< One or two characters of the basic set.
    ExtendedData,  ///< 01h to 0Fh: extended data services (XDS) in field 2; in field 1 a first byte without a meaning.
    Control,       ///< Miscellaneous control code.
    Preamble,      ///< Preamble address code (PAC): row, and indent or style.
    MidRow,        ///< Mid-row code: a change of style, shown as a space.
    Background,    ///< Background attribute.
    Foreground,    ///< Black letters.
    Tab,           ///< Tab offset of one to three columns.
    Special,       ///< Special character.
    Extended,      ///< Extended character.
};

/// The miscellaneous control codes, by their second byte.
enum class Control : std::uint8_t {
    ResumeCaptionLoading = 0x20,     ///< RCL
    Backspace = 0x21,                ///< BS
    AlarmOff = 0x22,                 ///< AOF, reserved.
    AlarmOn = 0x23,                  ///< AON, reserved.
    DeleteToEndOfRow = 0x24,         ///< DER
    RollUp2 = 0x25,                  ///< RU2
    RollUp3 = 0x26,                  ///< RU3
    RollUp4 = 0x27,                  ///< RU4
    FlashOn = 0x28,                  ///< FON
    ResumeDirectCaptioning = 0x29,   ///< RDC
    TextRestart = 0x2A,              ///< TR
    ResumeTextDisplay = 0x2B,        ///< RTD
    EraseDisplayedMemory = 0x2C,     ///< EDM
    CarriageReturn = 0x2D,           ///< CR
    EraseNonDisplayedMemory = 0x2E,  ///< ENM
    EndOfCaption = 0x2F,             ///< EOC
};

/// What a pair means. Which members hold something is said by its kind; all others are as in a default-made one.
struct Code {
    CodeKind kind = CodeKind::Unknown;                 ///< What it is.
    std::uint8_t channel = 1;                          ///< Data channel, 1 or 2: all kinds from Control on.
    Control control = Control::ResumeCaptionLoading;   ///< Control
    bool isOfField2 = false;                           ///< Control: the first byte that field 2 has for them.
    std::uint8_t row = 0;                              ///< Preamble: 1 to 15.
    std::uint8_t columns = 0;                          ///< Preamble: indent, a multiple of 4 to 28. Tab: 1 to 3.
    bool hasIndent = false;                            ///< Preamble: it has an indent and is white.
    screen::Color color = screen::Color::White;        ///< Preamble, MidRow, Background, Foreground.
    screen::Opacity opacity = screen::Opacity::Solid;  ///< Background: Solid, Translucent, or Transparent (and black).
    bool isItalic = false;      ///< Preamble, MidRow; the latter then leaves the colour as it is.
    bool isUnderlined = false;  ///< Preamble, MidRow, Foreground.
    CharacterCode character{};  ///< Special, Extended.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Code&, const Code&) noexcept = default;
};

/// The colours in the order of their three bits in preambles, mid-row codes and background attributes. The last place
/// means italics in the former two.
inline constexpr std::array<screen::Color, 8> kColors{
    screen::Color::White, screen::Color::Green,  screen::Color::Blue,    screen::Color::Cyan,
    screen::Color::Red,   screen::Color::Yellow, screen::Color::Magenta, screen::Color::Black};

/// The upper row of a preamble by the low three bits of its first byte. Bit 5 of the second byte adds one, except for
/// row 11, which stands alone.
inline constexpr std::array<std::uint8_t, 8> kPreambleRows{11, 1, 3, 12, 14, 5, 7, 9};

/// An attribute whose first byte is 17h, beside the tab offsets.
inline constexpr std::uint8_t kTransparentBackground = 0x2D;
inline constexpr std::uint8_t kBlackForeground = 0x2E;  ///< The same; 2Fh with an underline.

namespace detail {

inline constexpr unsigned kItalics = 7;
inline constexpr std::uint8_t kFirstTab = 0x21;
inline constexpr std::uint8_t kLastTab = 0x23;

constexpr void readStyle(Code& code, unsigned style) noexcept {
    code.isItalic = style == kItalics;
    code.color = code.isItalic ? screen::Color::White : kColors[style & 7U];
}

constexpr Code readPreamble(Code code, unsigned group, std::uint8_t second) noexcept {
    constexpr unsigned kLowerRow = 0x20;
    const bool isLower = (second & kLowerRow) != 0;
    if (group == 0 && isLower) {
        return {};
    }
    code.kind = CodeKind::Preamble;
    code.row = static_cast<std::uint8_t>(kPreambleRows[group] + (isLower ? 1 : 0));
    code.isUnderlined = (second & 1U) != 0;
    const unsigned style = second >> 1U & 0xFU;
    code.hasIndent = style > kItalics;
    if (code.hasIndent) {
        code.columns = static_cast<std::uint8_t>(4 * (style - kItalics - 1));
    } else {
        readStyle(code, style);
    }
    return code;
}

constexpr Code readAttribute(Code code, unsigned group, std::uint8_t second) noexcept {
    const unsigned style = second >> 1U & 7U;
    if (group == 0) {
        code.kind = CodeKind::Background;
        code.color = kColors[style];
        code.opacity = (second & 1U) != 0 ? screen::Opacity::Translucent : screen::Opacity::Solid;
        return code;
    }
    if (group == 1) {
        code.kind = CodeKind::MidRow;
        code.isUnderlined = (second & 1U) != 0;
        readStyle(code, style);
        return code;
    }
    if (second >= kFirstTab && second <= kLastTab) {
        code.kind = CodeKind::Tab;
        code.columns = static_cast<std::uint8_t>(second - kFirstTab + 1);
    } else if (second == kTransparentBackground) {
        code.kind = CodeKind::Background;
        code.color = screen::Color::Black;
        code.opacity = screen::Opacity::Transparent;
    } else if (second >= kBlackForeground) {
        code.kind = CodeKind::Foreground;
        code.color = screen::Color::Black;
        code.isUnderlined = (second & 1U) != 0;
    } else {
        return {};
    }
    return code;
}

/// `second` is 20h to 7Fh.
constexpr Code readControl(std::uint8_t first, std::uint8_t second) noexcept {
    const unsigned group = first & 7U;
    Code code;
    code.channel = (first & 8U) != 0 ? 2 : 1;
    if (second >= 0x40) {
        return readPreamble(code, group, second);
    }
    const bool isLow = second < 0x30;
    if ((group == 1 && !isLow) || group == 2 || group == 3) {
        code.kind = group == 1 ? CodeKind::Special : CodeKind::Extended;
        code.character = {static_cast<CharacterSet>(group), second};
        return code;
    }
    if ((group == 4 || group == 5) && isLow) {
        code.kind = CodeKind::Control;
        code.control = static_cast<Control>(second);
        code.isOfField2 = group == 5;
        return code;
    }
    return isLow && (group < 2 || group == 7) ? readAttribute(code, group, second) : Code{};
}

/// The low four bits of the second byte of a preamble (with bit 4 for an indent) or mid-row code; none for a colour that
/// they do not have.
constexpr std::optional<unsigned> styleBits(const Code& code) noexcept {
    const unsigned underline = code.isUnderlined ? 1U : 0U;
    if (code.hasIndent) {
        const bool isIndent = code.columns % 4 == 0 && code.columns < kColumns;
        return isIndent ? std::optional((kItalics + 1 + code.columns / 4U) << 1U | underline) : std::nullopt;
    }
    if (code.isItalic) {
        return kItalics << 1U | underline;
    }
    const auto style = static_cast<unsigned>(std::find(kColors.begin(), kColors.end(), code.color) - kColors.begin());
    return style < kItalics ? std::optional(style << 1U | underline) : std::nullopt;
}

constexpr std::optional<Pair> preamblePair(const Code& code) noexcept {
    const auto style = styleBits(code);
    for (unsigned group = 0; group < kPreambleRows.size() && style; ++group) {
        const bool isUpper = kPreambleRows[group] == code.row;
        if (isUpper || (group != 0 && kPreambleRows[group] + 1 == code.row)) {
            return Pair{static_cast<std::uint8_t>(0x10U | group),
                        static_cast<std::uint8_t>((isUpper ? 0x40U : 0x60U) | *style)};
        }
    }
    return std::nullopt;
}

constexpr std::optional<Pair> backgroundPair(const Code& code) noexcept {
    if (code.opacity == screen::Opacity::Transparent) {
        return code.color == screen::Color::Black ? std::optional(Pair{0x17, kTransparentBackground}) : std::nullopt;
    }
    const auto style = static_cast<unsigned>(std::find(kColors.begin(), kColors.end(), code.color) - kColors.begin());
    if (style == kColors.size() || code.opacity == screen::Opacity::Flash) {
        return std::nullopt;
    }
    const unsigned translucent = code.opacity == screen::Opacity::Translucent ? 1U : 0U;
    return Pair{0x10, static_cast<std::uint8_t>(0x20U | style << 1U | translucent)};
}

/// Of data channel 1.
constexpr std::optional<Pair> controlPair(const Code& code) noexcept {
    switch (code.kind) {
    case CodeKind::Control:
        return Pair{static_cast<std::uint8_t>(code.isOfField2 ? 0x15 : 0x14), static_cast<std::uint8_t>(code.control)};
    case CodeKind::Preamble:
        return preamblePair(code);
    case CodeKind::MidRow: {
        const auto style = code.hasIndent ? std::nullopt : styleBits(code);
        return style ? std::optional(Pair{0x11, static_cast<std::uint8_t>(0x20U | *style)}) : std::nullopt;
    }
    case CodeKind::Background:
        return backgroundPair(code);
    case CodeKind::Foreground:
        return Pair{0x17, static_cast<std::uint8_t>(kBlackForeground | (code.isUnderlined ? 1U : 0U))};
    case CodeKind::Tab:
        return code.columns >= 1 && code.columns <= 3
                   ? std::optional(Pair{0x17, static_cast<std::uint8_t>(kFirstTab + code.columns - 1)})
                   : std::nullopt;
    case CodeKind::Special:
    case CodeKind::Extended: {
        const bool isSpecial = code.character.set == CharacterSet::Special;
        const bool isRight = (code.kind == CodeKind::Special) == isSpecial &&
                             code.character.set != CharacterSet::Basic &&
                             characterOf(code.character.set, code.character.code).has_value();
        return isRight
                   ? std::optional(Pair{static_cast<std::uint8_t>(0x10U | static_cast<unsigned>(code.character.set)),
                                        code.character.code})
                   : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

}  // namespace detail

/// What a pair means. Parity bits are not looked at.
[[nodiscard]] constexpr Code codeOf(std::uint8_t first, std::uint8_t second) noexcept {
    first &= 0x7FU;
    second &= 0x7FU;
    if (first >= 0x20) {
        return {.kind = CodeKind::Text};
    }
    if (first >= 0x10) {
        return second >= 0x20 ? detail::readControl(first, second) : Code{};
    }
    if (first != 0) {
        return {.kind = CodeKind::ExtendedData};
    }
    return second == 0 ? Code{.kind = CodeKind::Null} : Code{};
}

/// The pair of a meaning, without parity; none for a kind before Control, and for what cannot be said.
[[nodiscard]] constexpr std::optional<Pair> pairOf(const Code& code) noexcept {
    auto pair = code.channel == 1 || code.channel == 2 ? detail::controlPair(code) : std::nullopt;
    if (pair && code.channel == 2) {
        pair->first |= 8U;
    }
    return pair;
}

/// A miscellaneous control code.
[[nodiscard]] constexpr Code controlCode(Control control, std::uint8_t channel = 1, bool isOfField2 = false) noexcept {
    return {.kind = CodeKind::Control, .channel = channel, .control = control, .isOfField2 = isOfField2};
}

/// A preamble of white letters that begin in a column 0, 4, 8 ... 28.
[[nodiscard]] constexpr Code preamble(std::uint8_t row, std::uint8_t column, std::uint8_t channel = 1) noexcept {
    return {.kind = CodeKind::Preamble, .channel = channel, .row = row, .columns = column, .hasIndent = true};
}

/// The name of a miscellaneous control code: `end of caption`.
[[nodiscard]] QLX_EXPORT std::string_view nameOf(Control control) noexcept;

/// The name of a byte pair, whatever its parity: `null`, `text "ab"`, `end of caption`, `preamble row 15`, and `nothing`
/// for two bytes of 0 without their parity bits. Codes of the second channel of a field are marked with `(channel 2)`.
/// @param field 1 or 2. Field 1 has no extended data services (CTA-608-E, B.11.5): a first byte of 01h to 0Fh is passed
/// over there, and the second one read (47 CFR 15.119 (i)(1)), `unknown code, text "A"`.
[[nodiscard]] QLX_EXPORT std::string nameOfPair(std::uint8_t first, std::uint8_t second, std::uint8_t field);

/// The same of a pair whose field is not known: what only field 2 gives a meaning has it.
[[nodiscard]] QLX_EXPORT std::string nameOfPair(std::uint8_t first, std::uint8_t second);

}  // namespace qlx::cea608
