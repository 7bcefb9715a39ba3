// A teletext page as a receiver of level 1.5 shows it (ETSI EN 300 706): fed with packets, it gives what is on the screen.
//
//     qlx::teletext::PageReader page(0x888);
//     if (page.receive(*sdp, &findings)) {
//         show(page.screen());
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/screen/screen.h>
#include <qlx/teletext/characters.h>
#include <qlx/teletext/enhancement.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sdp.h>
#include <qlx/teletext/sets.h>

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::teletext {

/// The page of subtitles that most broadcasters use.
inline constexpr std::uint16_t kSubtitlePage = 0x888;

/// Spacing attributes: codes below 20h of a row (EN 300 706, table 26). Colours are the codes 0 to 7 for letters and 10h
/// to 17h for mosaics, in the order of screen::kBasicColors.
enum class SpacingAttribute : std::uint8_t {
    FirstAlphaColor = 0x00,
    LastAlphaColor = 0x07,
    Flash = 0x08,
    Steady = 0x09,
    EndBox = 0x0A,
    StartBox = 0x0B,
    NormalSize = 0x0C,
    DoubleHeight = 0x0D,
    DoubleWidth = 0x0E,  ///< Not before level 2.5.
    DoubleSize = 0x0F,   ///< The same.
    FirstMosaicColor = 0x10,
    LastMosaicColor = 0x17,
    Conceal = 0x18,
    ContiguousMosaics = 0x19,
    SeparatedMosaics = 0x1A,
    Escape = 0x1B,
    BlackBackground = 0x1C,
    NewBackground = 0x1D,
    HoldMosaics = 0x1E,
    ReleaseMosaics = 0x1F,
};

/// The code of an attribute in a row.
[[nodiscard]] constexpr std::uint8_t codeOf(SpacingAttribute attribute) noexcept {
    return static_cast<std::uint8_t>(attribute);
}

/// How a row's codes are to be read and shown.
struct RowStyle {
    NationalOption nationalOption = NationalOption::English;  ///< Sub-set of the Latin G0 set.
    bool showsBoxesOnly = false;                              ///< As on a subtitle page or a newsflash.
    bool allowsDoubleHeight = true;                           ///< False in the rows 0, 23 and 24.
    G0Set g0 = G0Set::Latin;  ///< The primary set, nationalOption is one of the Latin's.
};

/// Draws a row: its spacing attributes (EN 300 706, clause 12.2) take effect on the cells. Separated mosaics are shown
/// as contiguous ones.
/// @param codes Seven bits each.
/// @return Whether the row has characters of double height, so that the row below it is hidden.
QLX_EXPORT bool drawRow(std::span<const std::uint8_t, kDataBytes> codes, const RowStyle& style,
                        std::span<screen::Cell, kDataBytes> row);

/// The cells of a row of a screen in the order in which they are read, with plain letters: in a set that is written from
/// the right to the left, what stands between the row's first and last text is put into reading order, forms of Arabic
/// letters become the letters, lam with alef becomes two cells. In the other sets they are the same cells.
[[nodiscard]] QLX_EXPORT std::vector<screen::Cell> readingOrder(std::span<const screen::Cell> row,
                                                                const CharacterSet& set);

/// The memory of one page. Rows are taken from the page's header to the next header of its magazine (in serial mode: of
/// any), and are kept until a header erases them. A byte with wrong parity leaves what stands in its place. Packets X/26
/// put characters over the rows: those of designation 0 replace all that came before, and rows that come anew behind another
/// header show none of an earlier transmission. The sets are those of X/28/0, or else of the last M/29/0 of the magazine,
/// or else of the receiver's region. What is for receivers of higher levels is passed over; the block mosaics and lines of
/// the third set (mode 02h of a column) are not shown (TeletextMosaicLeftOut).
class PageReader {
public:
    /// Rows of a screen: 0 to 24.
    static constexpr std::size_t kRows = std::size_t{kLastRow} + 1;

    /// @param page Magazine, tens and units as hexadecimal digits.
    /// @param region The designation that the receiver has of its own (CharacterSet): only the four high bits count.
    QLX_EXPORT explicit PageReader(std::uint16_t page = kSubtitlePage, std::uint8_t region = 0) noexcept;

    /// Takes the next packet of the stream, of whatever page. Codes that had to be put right, and a header that is lost,
    /// are given to `findings`.
    /// @param packet As parsePacket() gives it.
    /// @param findings May be null.
    /// @param offset Of the packet's first data byte, for the findings.
    /// @return Whether the page may look different now.
    QLX_EXPORT bool receive(const Packet& packet, FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// Takes all teletext packets of a subtitling distribution packet; one that cannot be used is a finding.
    /// @param sdp As parseSdp() gives it.
    /// @param findings May be null.
    /// @return Whether the page may look different now.
    QLX_EXPORT bool receive(const Sdp& sdp, FindingSink* findings = nullptr);

    /// The same with lines that came in another way.
    /// @param lines In the order in which they are sent.
    /// @param findings May be null.
    /// @param offset Of the first line's first byte, for the findings; the others follow it.
    QLX_EXPORT bool receive(std::span<const SdpLine> lines, FindingSink* findings = nullptr, std::uint64_t offset = 0);

    /// What is shown now: 25 rows of 40 columns; nothing is visible before the page's first header.
    [[nodiscard]] QLX_EXPORT screen::Screen screen() const;

    /// The sets with which it is shown now.
    [[nodiscard]] QLX_EXPORT CharacterSet characterSet() const noexcept;

    /// Its number.
    [[nodiscard]] std::uint16_t page() const noexcept { return _page; }
    /// The last header of the page; a default-made one before the first.
    [[nodiscard]] const PageHeader& header() const noexcept { return _header; }
    /// Whether rows of its magazine would be taken now.
    [[nodiscard]] bool isReceiving() const noexcept { return _isReceiving; }

    /// Pages that a viewer can call whose headers have been seen, except this one, ascending.
    [[nodiscard]] QLX_EXPORT std::vector<std::uint16_t> otherPages() const;

    /// The links to other pages (X/27) that came with the last transmission of the page, as they came.
    [[nodiscard]] std::span<const Packet> links() const noexcept { return _links; }

    /// Packet X/25 of the page (EN 300 706, clause 9.3.2), as it came: 40 bytes with odd parity, as a row has them, that
    /// are not on the screen. None before one comes, and when a header has erased the page.
    [[nodiscard]] const std::optional<Packet>& belowRows() const noexcept { return _belowRows; }

    /// What of the page's headers and rows, and of all other headers and addresses, was damaged.
    [[nodiscard]] const ProtectionCounts& counts() const noexcept { return _counts; }

private:
    using Codes = std::array<std::uint8_t, kDataBytes>;
    using Designation = std::optional<std::uint8_t>;

    void erase() noexcept;
    bool receiveHeader(const Packet& packet, FindingSink* findings, std::uint64_t offset);
    bool receiveTriplets(const Packet& packet, FindingSink* findings, std::uint64_t offset);
    bool takeRow(const Packet& packet);
    bool takeEnhancement(const TripletPacket& packet, FindingSink* findings, std::uint64_t offset);
    bool takeDesignation(Designation& place, const TripletPacket& packet);
    void placeCharacters();
    [[nodiscard]] static char32_t characterOf(std::uint8_t mode, std::uint8_t code, const CharacterSet& set) noexcept;
    void drawPlacements(std::size_t row, std::span<screen::Cell> cells, const CharacterSet& set) const;

    std::uint16_t _page;
    std::uint8_t _region;
    bool _isReceiving = false;
    bool _isKnown = false;
    PageHeader _header;
    ProtectionCounts _counts;
    std::array<Codes, kRows> _rows{};
    std::array<TripletPacket, kEnhancementPackets> _enhancements{};
    std::uint16_t _enhancementsThere = 0;  ///< Bit n: that of designation n has come.
    bool _areEnhancementsOld = false;      ///< They are of an earlier transmission of the page.
    /// What they put over the rows, in ascending order.
    std::vector<Placement> _placements;
    Designation _pageDesignation;
    Designation _magazineDesignation;
    std::bitset<0x900> _pages;
    std::vector<Packet> _links;
    std::optional<Packet> _belowRows;
};

}  // namespace qlx::teletext
