// A teletext page as a receiver of level 1 shows it (ETSI EN 300 706), decoded from OP-47 packets.
#pragma once

#include "TeletextPacket.h"

#include <qlx/screen/screen.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::tool {

inline constexpr std::uint16_t kSubtitlePage = 0x888;

/// How a row's characters are to be read and shown.
struct TeletextRowStyle {
    std::uint8_t nationalOption = 0;
    bool showsBoxesOnly = false;  ///< As on a subtitle page.
    bool allowsDoubleHeight = true;
};

/// Draws a row: its spacing attributes (EN 300 706, clause 12.2) take effect on the cells.
/// @param codes Seven bits each.
/// @return Whether the row has characters of double height, so that the row below it is hidden.
bool drawTeletextRow(TeletextBytes codes, const TeletextRowStyle& style,
                     std::span<screen::Cell, kTeletextDataSize> row);

/// The codes of a row's packet; a byte with a parity error leaves what stands there.
void takeTeletextCodes(std::span<const std::uint8_t> data, std::span<std::uint8_t, kTeletextDataSize> codes);

/// The memory of one page. Rows are taken from the page's header to the next header of its magazine, and are kept until
/// a header erases them.
class TeletextPage {
public:
    explicit TeletextPage(std::uint16_t page = kSubtitlePage) : _page(page) { erase(); }

    /// Takes a subtitling data packet; anything else is passed over.
    /// @return Whether the page may look different now.
    bool receive(std::span<const std::uint8_t> subtitlingPacket);

    /// Takes one teletext packet.
    bool receive(const TeletextPacket& packet);

    /// What is shown now: 25 rows of 40 columns; nothing is visible before the page's first header.
    [[nodiscard]] screen::Screen screen() const;

    /// Pages that receivers can show whose headers have been seen, except this one, ascending.
    [[nodiscard]] std::vector<std::uint16_t> otherPages() const;

private:
    using Codes = std::array<std::uint8_t, kTeletextDataSize>;

    void erase();
    bool receiveHeader(const TeletextPacket& packet);

    std::uint16_t _page;
    bool _isReceiving = false;
    bool _isKnown = false;
    TeletextHeader _header;
    std::array<Codes, kHighestTeletextRow + 1> _rows{};
    std::bitset<0x900> _pages;
};

}  // namespace qlx::tool
