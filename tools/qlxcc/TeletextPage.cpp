#include "TeletextPage.h"

#include <algorithm>

namespace qlx::tool {

namespace {

constexpr std::uint8_t kSpace = 0x20;
constexpr std::size_t kHeaderTextStart = 8;

// Double height is for rows that have one below them which is no service row.
constexpr std::size_t kLastDoubleHeightRow = 22;

// Spacing attributes (EN 300 706, table 26).
enum Attribute : std::uint8_t {
    kLastAlphaColour = 0x07,
    kFlash = 0x08,
    kSteady = 0x09,
    kEndBox = 0x0A,
    kStartBox = 0x0B,
    kNormalSize = 0x0C,
    kDoubleHeight = 0x0D,
    kFirstMosaicColour = 0x10,
    kLastMosaicColour = 0x17,
    kConceal = 0x18,
    kBlackBackground = 0x1C,
    kNewBackground = 0x1D,
    kHoldMosaics = 0x1E,
    kReleaseMosaics = 0x1F,
};

screen::Color colourOf(std::uint8_t code) {
    return screen::kBasicColors[code & 7U];
}

/// The state of a receiver that goes along a row.
class RowPainter {
public:
    RowPainter(TeletextBytes codes, const TeletextRowStyle& style) : _codes(codes), _style(style) {}

    screen::Cell paint(std::size_t column) {
        const std::uint8_t code = _codes[column];
        applyAtOnce(code);
        screen::Cell cell;
        cell.foreground = _foreground;
        cell.background = _background;
        cell.part = _isDouble ? screen::CellPart::UpperHalf : screen::CellPart::Whole;
        cell.isVisible = _isBoxed || !_style.showsBoxesOnly;
        cell.isFlashing = _isFlashing;
        cell.isConcealed = _isConcealed;
        cell.character = characterOf(code);
        applyBehind(code, column);
        return cell;
    }

    [[nodiscard]] bool hasDoubleHeight() const { return _hasDouble; }

private:
    char32_t characterOf(std::uint8_t code) {
        char32_t character = U' ';
        if (code < kSpace) {
            character = _isMosaic && _isHolding ? _held : U' ';
        } else if (_isMosaic && (code & 0x20U) != 0) {
            _held = teletextMosaic(code);
            character = _held;
        } else {
            character = teletextCharacter(code, _style.nationalOption);
        }
        return character;
    }

    /// Attributes that already count for their own cell.
    void applyAtOnce(std::uint8_t code) {
        switch (code) {
        case kSteady:
            _isFlashing = false;
            break;
        case kNormalSize:
            setDouble(false);
            break;
        case kConceal:
            _isConcealed = true;
            break;
        case kBlackBackground:
            _background = screen::Color::Black;
            break;
        case kNewBackground:
            _background = _foreground;
            break;
        case kHoldMosaics:
            _isHolding = true;
            break;
        default:
            break;
        }
    }

    /// Attributes that count from the next cell on.
    void applyBehind(std::uint8_t code, std::size_t column) {
        if (code <= kLastMosaicColour && (code <= kLastAlphaColour || code >= kFirstMosaicColour)) {
            setMosaic(code >= kFirstMosaicColour);
            _foreground = colourOf(code);
            _isConcealed = false;
        }
        // A box begins and ends between two equal codes, so that one wrong byte cannot do it.
        const bool isPair = column + 1 < _codes.size() && _codes[column + 1] == code;
        switch (code) {
        case kFlash:
            _isFlashing = true;
            break;
        case kEndBox:
            _isBoxed = _isBoxed && !isPair;
            break;
        case kStartBox:
            _isBoxed = _isBoxed || isPair;
            break;
        case kDoubleHeight:
            setDouble(_style.allowsDoubleHeight);
            break;
        case kReleaseMosaics:
            _isHolding = false;
            break;
        default:
            break;
        }
    }

    void setDouble(bool isDouble) {
        _held = isDouble == _isDouble ? _held : U' ';
        _isDouble = isDouble;
        _hasDouble = _hasDouble || isDouble;
    }

    void setMosaic(bool isMosaic) {
        _held = isMosaic == _isMosaic ? _held : U' ';
        _isMosaic = isMosaic;
    }

    TeletextBytes _codes;
    const TeletextRowStyle& _style;
    screen::Color _foreground = screen::Color::White;
    screen::Color _background = screen::Color::Black;
    char32_t _held = U' ';
    bool _isMosaic = false;
    bool _isHolding = false;
    bool _isBoxed = false;
    bool _isDouble = false;
    bool _hasDouble = false;
    bool _isFlashing = false;
    bool _isConcealed = false;
};

bool isBlank(TeletextBytes codes) {
    return std::all_of(codes.begin(), codes.end(), [](std::uint8_t code) { return code == kSpace; });
}

/// What the row below one of double height shows: the lower halves, and the background elsewhere.
void drawLowerHalf(std::span<const screen::Cell> upper, std::span<screen::Cell> lower) {
    for (std::size_t column = 0; column < lower.size(); ++column) {
        lower[column] = upper[column];
        if (upper[column].part == screen::CellPart::UpperHalf) {
            lower[column].part = screen::CellPart::LowerHalf;
        } else {
            lower[column].character = U' ';
        }
    }
}

}  // namespace

bool drawTeletextRow(TeletextBytes codes, const TeletextRowStyle& style,
                     std::span<screen::Cell, kTeletextDataSize> row) {
    RowPainter painter(codes, style);
    for (std::size_t column = 0; column < row.size(); ++column) {
        row[column] = painter.paint(column);
    }
    return painter.hasDoubleHeight();
}

void takeTeletextCodes(std::span<const std::uint8_t> data, std::span<std::uint8_t, kTeletextDataSize> codes) {
    for (std::size_t column = 0; column < std::min(data.size(), codes.size()); ++column) {
        codes[column] = withoutParity(data[column]).value_or(codes[column]);
    }
}

void TeletextPage::erase() {
    for (Codes& row : _rows) {
        row.fill(kSpace);
    }
}

bool TeletextPage::receive(std::span<const std::uint8_t> subtitlingPacket) {
    const auto read = readSubtitlingPacket(subtitlingPacket);
    bool isChanged = false;
    if (read) {
        for (const auto& packet : read->packets) {
            if (packet && receive(*packet)) {
                isChanged = true;
            }
        }
    }
    return isChanged;
}

bool TeletextPage::receive(const TeletextPacket& packet) {
    if (packet.address == 0) {
        return receiveHeader(packet);
    }
    if (!_isReceiving || packet.magazine != _page >> 8U || packet.address > kHighestTeletextRow) {
        return false;
    }
    takeTeletextCodes(packet.data, _rows[packet.address]);
    return true;
}

bool TeletextPage::receiveHeader(const TeletextPacket& packet) {
    const bool isOwnMagazine = packet.magazine == _page >> 8U;
    const auto header = readTeletextHeader(packet);
    if (!header) {
        // Rows that follow may be another page's.
        _isReceiving = _isReceiving && !isOwnMagazine;
        return false;
    }
    if ((header->page & 0xFU) <= 9 && (header->page >> 4U & 0xFU) <= 9) {
        _pages.set(header->page);
    }
    if (header->page != _page) {
        _isReceiving = _isReceiving && !isOwnMagazine && !header->isSerial;
        return false;
    }
    if (header->erasesPage) {
        erase();
    }
    _header = *header;
    _isReceiving = true;
    _isKnown = true;
    takeTeletextCodes(packet.data, _rows[0]);
    // The first bytes are the protected ones.
    std::fill_n(_rows[0].begin(), kHeaderTextStart, kSpace);
    return true;
}

screen::Screen TeletextPage::screen() const {
    screen::Screen screen = screen::Screen::blank(screen::System::Teletext, _rows.size(), kTeletextDataSize, 0);
    if (!_isKnown || _header.inhibitsDisplay) {
        return screen;
    }
    TeletextRowStyle style{_header.nationalOption, _header.isSubtitle || _header.isNewsflash, false};
    const bool showsHeader = !_header.suppressesHeader && !style.showsBoxesOnly;
    for (std::size_t row = showsHeader ? 0 : 1; row < _rows.size(); ++row) {
        style.allowsDoubleHeight = row > 0 && row <= kLastDoubleHeightRow;
        if (style.showsBoxesOnly && isBlank(_rows[row])) {
            continue;  // without a box, as the cells are already
        }
        const auto cells = screen.row(row).first<kTeletextDataSize>();
        if (drawTeletextRow(_rows[row], style, cells)) {
            ++row;
            drawLowerHalf(cells, screen.row(row));
        }
    }
    return screen;
}

std::vector<std::uint16_t> TeletextPage::otherPages() const {
    std::vector<std::uint16_t> pages;
    for (std::size_t page = 0; page < _pages.size(); ++page) {
        if (_pages.test(page) && page != _page) {
            pages.push_back(static_cast<std::uint16_t>(page));
        }
    }
    return pages;
}

}  // namespace qlx::tool
