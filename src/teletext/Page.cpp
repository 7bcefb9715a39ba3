// Draws rows and follows the life of a page.
#include <qlx/teletext/page.h>

#include <algorithm>

namespace qlx::teletext {

namespace {

constexpr std::uint8_t kSpace = 0x20;
constexpr std::uint8_t kLastCharacterCode = 0x7F;
constexpr std::size_t kHeaderTextStart = 8;

// Double height is for rows that have one below them which is no service row.
constexpr std::size_t kLastDoubleHeightRow = 22;

using RowCodes = std::span<const std::uint8_t, kDataBytes>;

screen::Color colourOf(std::uint8_t code) {
    return screen::kBasicColors[code & 7U];
}

/// The state of a receiver that goes along a row.
class RowPainter {
public:
    RowPainter(RowCodes codes, const RowStyle& style)
        : _codes(codes), _style(style), _characters(g0Characters({style.g0, style.nationalOption, G2Set::Latin})) {}

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
            _held = mosaic(code);
            character = _held;
        } else {
            character = code <= kLastCharacterCode ? _characters[code - std::size_t{kFirstCharacterCode}] : U' ';
        }
        return character;
    }

    /// Attributes that already count for their own cell.
    void applyAtOnce(std::uint8_t code) {
        switch (static_cast<SpacingAttribute>(code)) {
        case SpacingAttribute::Steady:
            _isFlashing = false;
            break;
        case SpacingAttribute::NormalSize:
            setDouble(false);
            break;
        case SpacingAttribute::Conceal:
            _isConcealed = true;
            break;
        case SpacingAttribute::BlackBackground:
            _background = screen::Color::Black;
            break;
        case SpacingAttribute::NewBackground:
            _background = _foreground;
            break;
        case SpacingAttribute::HoldMosaics:
            _isHolding = true;
            break;
        default:
            break;
        }
    }

    /// Attributes that count from the next cell on.
    void applyBehind(std::uint8_t code, std::size_t column) {
        const bool isMosaicColour = code >= codeOf(SpacingAttribute::FirstMosaicColor);
        if (code <= codeOf(isMosaicColour ? SpacingAttribute::LastMosaicColor : SpacingAttribute::LastAlphaColor)) {
            setMosaic(isMosaicColour);
            _foreground = colourOf(code);
            _isConcealed = false;
        }
        // A box begins and ends between two equal codes, so that one wrong byte cannot do it.
        const bool isPair = column + 1 < _codes.size() && _codes[column + 1] == code;
        switch (static_cast<SpacingAttribute>(code)) {
        case SpacingAttribute::Flash:
            _isFlashing = true;
            break;
        case SpacingAttribute::EndBox:
            _isBoxed = _isBoxed && !isPair;
            break;
        case SpacingAttribute::StartBox:
            _isBoxed = _isBoxed || isPair;
            break;
        case SpacingAttribute::DoubleHeight:
            setDouble(_style.allowsDoubleHeight);
            break;
        case SpacingAttribute::ReleaseMosaics:
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

    RowCodes _codes;
    const RowStyle& _style;
    SetCharacters _characters;
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

/// Packets X/27 of a page: one for each designation.
constexpr std::size_t kGreatestLinks = 16;

bool isBlank(RowCodes codes) {
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

bool drawRow(RowCodes codes, const RowStyle& style, std::span<screen::Cell, kDataBytes> row) {
    RowPainter painter(codes, style);
    for (std::size_t column = 0; column < row.size(); ++column) {
        row[column] = painter.paint(column);
    }
    return painter.hasDoubleHeight();
}

PageReader::PageReader(std::uint16_t page, std::uint8_t region) noexcept : _page(page), _region(region) {
    erase();
}

void PageReader::erase() noexcept {
    for (Codes& row : _rows) {
        row.fill(kSpace);
    }
    _enhancementsThere = 0;
    _placements.clear();
    _areEnhancementsOld = false;
    _pageDesignation.reset();
    _belowRows.reset();
}

bool PageReader::receive(const Sdp& sdp, FindingSink* findings) {
    return receive(sdp.lines.items(), findings, kSdpHeaderBytes);
}

bool PageReader::receive(std::span<const SdpLine> lines, FindingSink* findings, std::uint64_t offset) {
    constexpr std::size_t kAddress = kRunInAndFramingCode.size();
    bool isChanged = false;
    for (const SdpLine& line : lines) {
        const auto packet = parsePacket(line.bytes, findings, offset);
        if (packet) {
            _counts.count(decodeHamming84(line.bytes[kAddress]).protection);
            _counts.count(decodeHamming84(line.bytes[kAddress + 1]).protection);
            isChanged = receive(*packet, findings, offset + kAddress + kAddressBytes) || isChanged;
        } else {
            _counts.count(Protection::Wrong);
            if (findings != nullptr) {
                findings->add(packet.error());
            }
        }
        offset += kLineBytes;
    }
    return isChanged;
}

bool PageReader::receive(const Packet& packet, FindingSink* findings, std::uint64_t offset) {
    if (packet.isHeader()) {
        return receiveHeader(packet, findings, offset);
    }
    if (packet.magazine != _page >> 8U) {
        return false;
    }
    // What is said of a magazine belongs to none of its pages.
    const bool isOfPage = packet.number == kEnhancement || packet.number == kPageDesignation;
    if (packet.number == kMagazineDesignation || (isOfPage && _isReceiving)) {
        return receiveTriplets(packet, findings, offset);
    }
    if (_isReceiving && packet.number == kLinks && _links.size() < kGreatestLinks) {
        _links.push_back(packet);
    }
    if (_isReceiving && packet.number == kBelowRows) {
        _belowRows = packet;
    }
    return _isReceiving && packet.isRow() && takeRow(packet);
}

bool PageReader::takeRow(const Packet& packet) {
    _counts.parityWrong += takeCodes(packet.data, _rows[packet.number]);
    if (_areEnhancementsOld) {
        std::erase_if(_placements, [&packet](const Placement& placement) { return placement.row == packet.number; });
    }
    return true;
}

bool PageReader::receiveHeader(const Packet& packet, FindingSink* findings, std::uint64_t offset) {
    if (packet.magazine == 0 || packet.magazine > kGreatestMagazine) {
        return false;
    }
    const bool isOwnMagazine = packet.magazine == _page >> 8U;
    for (const std::uint8_t byte : std::span(packet.data).first<kHeaderTextStart>()) {
        _counts.count(decodeHamming84(byte).protection);
    }
    const auto header = parseHeader(packet, findings, offset);
    if (!header) {
        // Rows that follow may be another page's.
        _isReceiving = _isReceiving && !isOwnMagazine && !_header.isSerial;
        if (findings != nullptr) {
            findings->add(header.error());
        }
        return false;
    }
    if (header->isCallable()) {
        _pages.set(header->page);
    }
    if (header->page != _page) {
        _isReceiving = _isReceiving && !isOwnMagazine && !header->isSerial;
        return false;
    }
    if (header->erasesPage) {
        erase();
    }
    _areEnhancementsOld = true;
    _links.clear();
    _header = *header;
    _isReceiving = true;
    _isKnown = true;
    // The first bytes are the protected ones, and no characters.
    const auto shown = std::span(packet.data).subspan<kHeaderTextStart>();
    Codes codes = _rows[0];
    std::rotate(codes.begin(), codes.begin() + kHeaderTextStart, codes.end());
    _counts.parityWrong += takeCodes(shown, codes);
    std::rotate(codes.rbegin(), codes.rbegin() + kHeaderTextStart, codes.rend());
    _rows[0] = codes;
    return true;
}

screen::Screen PageReader::screen() const {
    screen::Screen screen = screen::Screen::blank(screen::System::Teletext, kRows, kDataBytes, 0);
    if (!_isKnown) {
        return screen;
    }
    const CharacterSet set = characterSet();
    RowStyle style{set.option, _header.isSubtitle || _header.isNewsflash, false, set.g0};
    const bool showsHeader = !_header.suppressesHeader && !style.showsBoxesOnly;
    // The header is none of the rows that C10 is about (EN 300 706, table 2).
    const std::size_t rows = _header.inhibitsDisplay ? 1 : kRows;
    for (std::size_t row = showsHeader ? 0 : 1; row < rows; ++row) {
        style.allowsDoubleHeight = row > 0 && row <= kLastDoubleHeightRow;
        if (style.showsBoxesOnly && isBlank(_rows[row])) {
            continue;  // without a box, as the cells are already
        }
        const auto cells = screen.row(row).first<kDataBytes>();
        const bool isDouble = drawRow(_rows[row], style, cells);
        drawPlacements(row, cells, set);
        if (isDouble) {
            ++row;
            drawLowerHalf(cells, screen.row(row));
        }
    }
    return screen;
}

std::vector<std::uint16_t> PageReader::otherPages() const {
    std::vector<std::uint16_t> pages;
    for (std::size_t page = 0; page < _pages.size(); ++page) {
        if (_pages.test(page) && page != _page) {
            pages.push_back(static_cast<std::uint16_t>(page));
        }
    }
    return pages;
}

}  // namespace qlx::teletext
