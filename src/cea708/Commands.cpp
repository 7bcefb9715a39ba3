// The codes of a caption service, read and written; the predefined styles.
#include <qlx/cea708/commands.h>

#include <algorithm>
#include <array>
#include <optional>

namespace qlx::cea708 {

namespace {

constexpr std::uint8_t kSetPenAttributes = 0x90;
constexpr std::uint8_t kSetPenColor = 0x91;
constexpr std::uint8_t kSetPenLocation = 0x92;
constexpr std::uint8_t kSetWindowAttributes = 0x97;
constexpr std::uint8_t kFirstDefineWindow = 0x98;
constexpr std::uint8_t kDelay = 0x8D;
constexpr std::uint8_t kFirstC1 = 0x80;
constexpr std::uint8_t kLastC1 = 0x9F;
constexpr std::size_t kGreatestRows = 16;
constexpr std::size_t kGreatestColumns = 64;
constexpr unsigned kLengthBits = 0x1F;

/// Parameters of the codes of C1 from 80h on.
constexpr std::array<std::uint8_t, 32> kC1Parameters{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 0, 0,
                                                     2, 3, 2, 0, 0, 0, 0, 4, 6, 6, 6, 6, 6, 6, 6, 6};

/// Bytes of a code of C0 without EXT1: one, two from 10h on, three from 18h on.
constexpr std::size_t sizeInC0(std::uint8_t code) noexcept {
    return code < 0x10 ? 1 : code < 0x18 ? 2 : 3;
}

/// Bytes of a code behind EXT1, without that.
std::size_t sizeBehindExt1(std::span<const std::uint8_t> bytes) noexcept {
    constexpr std::array<std::uint8_t, 4> kC2{1, 2, 3, 4};
    const std::uint8_t code = bytes[0];
    if (code < 0x20) {
        return kC2[code / 8U];
    }
    if (code < kFirstC1 || code > kLastC1) {
        return 1;
    }
    if (code < 0x88) {
        return 5;
    }
    if (code < 0x90) {
        return 6;
    }
    // Of variable length: the next byte says how many follow it.
    return bytes.size() < 2 ? 2 : std::size_t{2} + (bytes[1] & kLengthBits);
}

struct Tell {
    FindingSink* findings;
    std::uint64_t offset;

    void operator()(FindingCode code, Severity severity, std::int64_t first, std::int64_t second,
                    std::size_t place = 0) const {
        if (findings != nullptr) {
            findings->add({code, severity, offset + place, first, second});
        }
    }
    /// Says so when bits outside of `used` are set in a byte.
    void reserved(std::uint8_t byte, unsigned used, std::size_t place) const {
        if ((byte & ~used) != 0) {
            (*this)(FindingCode::Cea708ReservedBitsWrong, Severity::Warning, byte, byte & used, place);
        }
    }
    /// Says so when a number is above the last one that is defined.
    void undefined(std::uint8_t command, unsigned number, unsigned last, std::size_t place) const {
        if (number > last) {
            (*this)(FindingCode::Cea708NumberUndefined, Severity::Warning, command, number, place);
        }
    }
};

constexpr unsigned bits(std::uint8_t byte, unsigned shift, unsigned count) noexcept {
    return unsigned{byte} >> shift & ((1U << count) - 1U);
}

template <class Enumeration>
constexpr Enumeration field(std::uint8_t byte, unsigned shift, unsigned count) noexcept {
    return static_cast<Enumeration>(bits(byte, shift, count));
}

PenAttributes parsePenAttributes(std::span<const std::uint8_t> bytes, const Tell& tell) {
    PenAttributes pen;
    pen.tag = field<TextTag>(bytes[1], 4, 4);
    pen.offset = field<screen::Offset>(bytes[1], 2, 2);
    pen.size = field<screen::FontSize>(bytes[1], 0, 2);
    pen.isItalic = bits(bytes[2], 7, 1) != 0;
    pen.isUnderlined = bits(bytes[2], 6, 1) != 0;
    pen.edge = field<screen::Edge>(bytes[2], 3, 3);
    pen.font = field<screen::Font>(bytes[2], 0, 3);
    if (pen.tag != TextTag::NotShown) {
        tell.undefined(bytes[0], static_cast<unsigned>(pen.tag), static_cast<unsigned>(TextTag::Expletive), 1);
    }
    tell.undefined(bytes[0], static_cast<unsigned>(pen.offset), 2, 1);
    tell.undefined(bytes[0], static_cast<unsigned>(pen.size), 2, 1);
    tell.undefined(bytes[0], static_cast<unsigned>(pen.edge), 5, 2);
    return pen;
}

PenColor parsePenColor(std::span<const std::uint8_t> bytes, const Tell& tell) {
    tell.reserved(bytes[3], 0x3F, 3);
    return {field<screen::Color>(bytes[1], 0, 6), field<screen::Opacity>(bytes[1], 6, 2),
            field<screen::Color>(bytes[2], 0, 6), field<screen::Opacity>(bytes[2], 6, 2),
            field<screen::Color>(bytes[3], 0, 6)};
}

PenLocation parsePenLocation(std::span<const std::uint8_t> bytes, const Tell& tell) {
    tell.reserved(bytes[1], 0x0F, 1);
    tell.reserved(bytes[2], 0x3F, 2);
    return {static_cast<std::uint8_t>(bits(bytes[1], 0, 4)), static_cast<std::uint8_t>(bits(bytes[2], 0, 6))};
}

WindowAttributes parseWindowAttributes(std::span<const std::uint8_t> bytes, const Tell& tell) {
    WindowAttributes window;
    window.fillOpacity = field<screen::Opacity>(bytes[1], 6, 2);
    window.fill = field<screen::Color>(bytes[1], 0, 6);
    // The border's type is in three bits: two in front of its colour, the highest one in front of the next byte.
    window.border = static_cast<screen::Edge>(bits(bytes[3], 7, 1) << 2U | bits(bytes[2], 6, 2));
    window.borderColor = field<screen::Color>(bytes[2], 0, 6);
    window.wrapsWords = bits(bytes[3], 6, 1) != 0;
    window.printDirection = field<Direction>(bytes[3], 4, 2);
    window.scrollDirection = field<Direction>(bytes[3], 2, 2);
    window.justification = field<Justification>(bytes[3], 0, 2);
    window.effectSpeed = static_cast<std::uint8_t>(bits(bytes[4], 4, 4));
    window.effectDirection = field<Direction>(bytes[4], 2, 2);
    window.displayEffect = field<DisplayEffect>(bytes[4], 0, 2);
    tell.undefined(bytes[0], static_cast<unsigned>(window.border), 5, 2);
    tell.undefined(bytes[0], static_cast<unsigned>(window.displayEffect), 2, 4);
    return window;
}

DefineWindow parseDefineWindow(std::span<const std::uint8_t> bytes, const Tell& tell) {
    DefineWindow window;
    window.window = static_cast<std::uint8_t>(bytes[0] - kFirstDefineWindow);
    window.isVisible = bits(bytes[1], 5, 1) != 0;
    window.locksRows = bits(bytes[1], 4, 1) != 0;
    window.locksColumns = bits(bytes[1], 3, 1) != 0;
    window.priority = static_cast<std::uint8_t>(bits(bytes[1], 0, 3));
    window.isRelative = bits(bytes[2], 7, 1) != 0;
    window.anchorVertical = static_cast<std::uint8_t>(bits(bytes[2], 0, 7));
    window.anchorHorizontal = bytes[3];
    window.anchorPoint = field<AnchorPoint>(bytes[4], 4, 4);
    window.rows = static_cast<std::uint8_t>(bits(bytes[4], 0, 4) + 1);
    window.columns = static_cast<std::uint8_t>(bits(bytes[5], 0, 6) + 1);
    window.windowStyle = static_cast<std::uint8_t>(bits(bytes[6], 3, 3));
    window.penStyle = static_cast<std::uint8_t>(bits(bytes[6], 0, 3));
    tell.reserved(bytes[1], 0x3F, 1);
    tell.undefined(bytes[0], static_cast<unsigned>(window.anchorPoint), 8, 4);
    tell.reserved(bytes[5], 0x3F, 5);
    tell.reserved(bytes[6], 0x3F, 6);
    return window;
}

Command reservedCommand(std::span<const std::uint8_t> bytes, const Tell& tell) {
    const bool isExtended = bytes[0] == kExt1;
    const int code = isExtended ? 0x1000 + bytes[1] : bytes[0];
    tell(FindingCode::Cea708CommandUnknown, Severity::Error, code, static_cast<std::int64_t>(bytes.size()));
    ReservedCommand reserved;
    // It has room for the longest that there is.
    (void)reserved.bytes.assign(bytes);
    return reserved;
}

constexpr bool isDefined(Control control) noexcept {
    switch (control) {
    case Control::Null:
    case Control::EndOfText:
    case Control::Backspace:
    case Control::FormFeed:
    case Control::CarriageReturn:
    case Control::HorizontalCarriageReturn:
    case Control::DelayCancel:
    case Control::Reset:
        return true;
    }
    return false;
}

constexpr bool isDefined(WindowsAction action) noexcept {
    return action >= WindowsAction::Clear && action <= WindowsAction::Delete;
}

Command parseC0(std::span<const std::uint8_t> bytes, const Tell& tell) {
    const std::uint8_t code = bytes[0];
    if (code == kP16) {
        return WideCharacter{static_cast<std::uint16_t>(unsigned{bytes[1]} << 8U | bytes[2])};
    }
    if (code == kExt1 && isCodeOf(CharacterSet::G2, bytes[1])) {
        return CharacterCode{CharacterSet::G2, bytes[1]};
    }
    if (code == kExt1 && isCodeOf(CharacterSet::G3, bytes[1])) {
        return CharacterCode{CharacterSet::G3, bytes[1]};
    }
    const auto control = static_cast<Control>(code);
    return isDefined(control) ? Command(control) : reservedCommand(bytes, tell);
}

Command parseC1(std::span<const std::uint8_t> bytes, const Tell& tell) {
    const std::uint8_t code = bytes[0];
    if (code < kFirstC1 + kWindows) {
        return SetCurrentWindow{static_cast<std::uint8_t>(code - kFirstC1)};
    }
    if (code < kDelay) {
        return WindowsCommand{static_cast<WindowsAction>(code), bytes[1]};
    }
    if (code >= kFirstDefineWindow) {
        return parseDefineWindow(bytes, tell);
    }
    switch (code) {
    case kDelay:
        return Delay{bytes[1]};
    case static_cast<std::uint8_t>(Control::DelayCancel):
    case static_cast<std::uint8_t>(Control::Reset):
        return static_cast<Control>(code);
    case kSetPenAttributes:
        return parsePenAttributes(bytes, tell);
    case kSetPenColor:
        return parsePenColor(bytes, tell);
    case kSetPenLocation:
        return parsePenLocation(bytes, tell);
    case kSetWindowAttributes:
        return parseWindowAttributes(bytes, tell);
    default:
        return reservedCommand(bytes, tell);
    }
}

/// The bytes of a command that is being written, and whether its numbers fit.
class CommandBytes {
public:
    CommandBytes& byte(std::size_t value) {
        _bytes[_size++] = static_cast<std::uint8_t>(value);
        return *this;
    }
    /// A number that its field can hold; what is too great is kept in mind.
    template <class Number>
    unsigned fitting(Number number, unsigned greatest) {
        const auto value = static_cast<unsigned>(number);
        if (value > greatest && !_error) {
            _error = Finding{FindingCode::Cea708ValueTooGreat, Severity::Error, 0, value, greatest};
        }
        return value;
    }

    void operator()(Control control) { byte(defined(static_cast<unsigned>(control), isDefined(control))); }
    void operator()(CharacterCode character) {
        (void)defined(character.code, isCodeOf(character.set, character.code));
        if (character.set == CharacterSet::G2 || character.set == CharacterSet::G3) {
            byte(kExt1);
        }
        byte(character.code);
    }
    void operator()(WideCharacter character) { byte(kP16).byte(character.code >> 8U).byte(character.code & 0xFFU); }
    void operator()(SetCurrentWindow current) { byte(kFirstC1 + fitting(current.window, kWindows - 1)); }
    void operator()(WindowsCommand command) {
        byte(defined(static_cast<unsigned>(command.action), isDefined(command.action))).byte(command.windows);
    }
    void operator()(Delay delay) { byte(kDelay).byte(delay.tenths); }
    void operator()(const PenAttributes& pen) {
        byte(kSetPenAttributes);
        byte(fitting(pen.tag, 15) << 4U | fitting(pen.offset, 3) << 2U | fitting(pen.size, 3));
        byte((pen.isItalic ? 0x80U : 0U) | (pen.isUnderlined ? 0x40U : 0U) | fitting(pen.edge, 7) << 3U |
             fitting(pen.font, 7));
    }
    void operator()(const PenColor& color) {
        byte(kSetPenColor);
        byte(fitting(color.foregroundOpacity, 3) << 6U | fitting(color.foreground, 63));
        byte(fitting(color.backgroundOpacity, 3) << 6U | fitting(color.background, 63));
        byte(fitting(color.edge, 63));
    }
    void operator()(PenLocation location) {
        byte(kSetPenLocation).byte(fitting(location.row, 15)).byte(fitting(location.column, 63));
    }
    void operator()(const WindowAttributes& window) {
        const unsigned border = fitting(window.border, 7);
        byte(kSetWindowAttributes);
        byte(fitting(window.fillOpacity, 3) << 6U | fitting(window.fill, 63));
        byte((border & 3U) << 6U | fitting(window.borderColor, 63));
        byte(border >> 2U << 7U | (window.wrapsWords ? 0x40U : 0U) | fitting(window.printDirection, 3) << 4U |
             fitting(window.scrollDirection, 3) << 2U | fitting(window.justification, 3));
        byte(fitting(window.effectSpeed, 15) << 4U | fitting(window.effectDirection, 3) << 2U |
             fitting(window.displayEffect, 3));
    }
    void operator()(const DefineWindow& window) {
        byte(kFirstDefineWindow + fitting(window.window, kWindows - 1));
        byte((window.isVisible ? 0x20U : 0U) | (window.locksRows ? 0x10U : 0U) | (window.locksColumns ? 0x08U : 0U) |
             fitting(window.priority, 7));
        byte((window.isRelative ? 0x80U : 0U) | fitting(window.anchorVertical, 127));
        byte(window.anchorHorizontal);
        byte(fitting(window.anchorPoint, 15) << 4U | countField(window.rows, kGreatestRows));
        byte(countField(window.columns, kGreatestColumns));
        byte(fitting(window.windowStyle, 7) << 3U | fitting(window.penStyle, 7));
    }
    void operator()(const ReservedCommand& reserved) {
        const std::span<const std::uint8_t> bytes = reserved.bytes.items();
        (void)fitting(bytes.size() == sizeOfCommand(bytes) && !bytes.empty() ? 0U : 1U, 0);
        std::copy(bytes.begin(), bytes.end(), _bytes.begin());
        _size = bytes.size();
    }

    [[nodiscard]] const std::optional<Finding>& error() const { return _error; }
    [[nodiscard]] std::span<const std::uint8_t> bytes() const { return std::span(_bytes).first(_size); }

private:
    /// A code that must be one of some.
    unsigned defined(unsigned code, bool isOne) {
        if (!isOne) {
            (void)fitting(std::max(code, 1U), 0);
        }
        return code;
    }

    /// Rows and columns stand in their fields less one.
    unsigned countField(std::uint8_t count, std::size_t greatest) {
        return fitting((count + 0xFFU) & 0xFFU, static_cast<unsigned>(greatest - 1));
    }

    std::array<std::uint8_t, kGreatestCommandBytes> _bytes{};
    std::size_t _size = 0;
    std::optional<Finding> _error;
};

}  // namespace

std::size_t sizeOfCommand(std::span<const std::uint8_t> bytes) noexcept {
    if (bytes.empty()) {
        return 0;
    }
    const std::uint8_t code = bytes[0];
    if (code == kExt1) {
        return bytes.size() < 2 ? 2 : 1 + sizeBehindExt1(bytes.subspan(1));
    }
    if (code < 0x20) {
        return sizeInC0(code);
    }
    return code < kFirstC1 || code > kLastC1 ? 1 : std::size_t{1} + kC1Parameters[code - kFirstC1];
}

Result<SizedCommand> parseCommand(std::span<const std::uint8_t> bytes, FindingSink* findings, std::uint64_t offset) {
    const std::size_t size = sizeOfCommand(bytes);
    if (size > bytes.size() || bytes.empty()) {
        return Finding{FindingCode::Cea708CommandCut, Severity::Error, offset,
                       static_cast<std::int64_t>(std::max<std::size_t>(size, 1)),
                       static_cast<std::int64_t>(bytes.size())};
    }
    const std::uint8_t code = bytes[0];
    const Tell tell{findings, offset};
    bytes = bytes.first(size);
    if (code < 0x20) {
        return SizedCommand{parseC0(bytes, tell), size};
    }
    if (code >= kFirstC1 && code <= kLastC1) {
        return SizedCommand{parseC1(bytes, tell), size};
    }
    return SizedCommand{CharacterCode{code < kFirstC1 ? CharacterSet::G0 : CharacterSet::G1, code}, size};
}

Result<std::size_t> writeCommand(const Command& command, std::span<std::uint8_t> room) {
    CommandBytes writer;
    std::visit(writer, command);
    if (writer.error()) {
        return *writer.error();
    }
    const std::span<const std::uint8_t> bytes = writer.bytes();
    if (room.size() < bytes.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(bytes.size()),
                       static_cast<std::int64_t>(room.size())};
    }
    std::copy(bytes.begin(), bytes.end(), room.begin());
    return bytes.size();
}

Result<Data> writeCommand(const Command& command) {
    std::array<std::uint8_t, kGreatestCommandBytes> room;
    const Result<std::size_t> size = writeCommand(command, room);
    if (!size) {
        return size.error();
    }
    return Data(std::span(room).first(*size));
}

WindowAttributes predefinedWindow(std::uint8_t style) noexcept {
    struct Style {
        Justification justification;
        Direction print;
        Direction scroll;
        bool wrapsWords;
        screen::Opacity fill;
    };
    using enum Direction;
    using enum screen::Opacity;
    constexpr std::array<Style, 7> kStyles{{
        {Justification::Left, LeftToRight, BottomToTop, false, Solid},        // pop-on as CEA-608 has it
        {Justification::Left, LeftToRight, BottomToTop, false, Transparent},  // the same without a box
        {Justification::Center, LeftToRight, BottomToTop, false, Solid},      // pop-on, centred
        {Justification::Left, LeftToRight, BottomToTop, true, Solid},         // roll-up as CEA-608 has it
        {Justification::Left, LeftToRight, BottomToTop, true, Transparent},   // the same without a box
        {Justification::Center, LeftToRight, BottomToTop, true, Solid},       // roll-up, centred
        {Justification::Left, TopToBottom, RightToLeft, false, Solid},        // ticker
    }};
    const Style& one = kStyles[style >= 1 && style <= kStyles.size() ? style - std::size_t{1} : 0];
    WindowAttributes window;
    window.justification = one.justification;
    window.printDirection = one.print;
    window.scrollDirection = one.scroll;
    window.wrapsWords = one.wrapsWords;
    window.fillOpacity = one.fill;
    return window;
}

Pen predefinedPen(std::uint8_t style) noexcept {
    using enum screen::Font;
    constexpr std::array<screen::Font, 7> kFonts{Default,
                                                 MonospacedSerif,
                                                 ProportionalSerif,
                                                 MonospacedSansSerif,
                                                 ProportionalSansSerif,
                                                 MonospacedSansSerif,
                                                 ProportionalSansSerif};
    constexpr std::uint8_t kFirstBordered = 6;
    Pen pen;
    pen.attributes.font = kFonts[style >= 1 && style <= kFonts.size() ? style - std::size_t{1} : 0];
    if (style >= kFirstBordered && style <= kFonts.size()) {
        pen.attributes.edge = screen::Edge::Uniform;
        pen.color.backgroundOpacity = screen::Opacity::Transparent;
    }
    return pen;
}

}  // namespace qlx::cea708
