// Ancillary packets on the rows of a picture (SMPTE ST 291-1): finding them and putting them there.
#pragma once

#include <qlx/anc/packet.h>
#include <qlx/base/finding.h>
#include <qlx/base/result.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <vector>

namespace qlx::anc {

/// How the samples of a 4:2:2 row are packed.
enum class RowFormat : std::uint8_t {
    V210,    ///< 10 bits, three samples in each little-endian 32-bit word; a word of a packet is a sample.
    TwoVuy,  ///< `2vuy`: 8 bits, Cb Y Cr Y; of each word of a packet the low eight bits.
};

/// What of a row is searched.
enum class Channels : std::uint8_t {
    Luma,
    Chroma,
    Both,         ///< Luma and chroma, each as a stream of its own (high definition).
    SdMultiplex,  ///< All samples as one stream (standard definition).
};

/// How far a row is searched.
enum class Extent : std::uint8_t {
    WholeRow,
    Beginning,  ///< A packet begins among the first kNearWords words of its channel, or as near behind another one.
};

/// How far a packet may be from the beginning, or from the packet before it, with Extent::Beginning.
inline constexpr std::size_t kNearWords = 8;

/// How rows are read.
struct RowOptions {
    RowFormat format = RowFormat::V210;  ///< How the samples are packed.
    std::uint32_t line = 0;              ///< Line number of the first row; each row counts one more.
    Channels channels = Channels::Both;  ///< What is searched.
    Extent extent = Extent::WholeRow;    ///< How far.
    /// Takes 000-003 and 3FC-3FF for the words of a flag, not 000 and 3FF only: equipment of 8 bits leaves the two low
    /// bits as they come. `v210` only, a `2vuy` row has the other eight bits.
    bool protectedFlags = false;
    std::size_t width = 0;  ///< Pixels of a row, an odd one counted up; 0: as many as its bytes hold, padding included.
};

/// A packet's place on a row. Small and copyable; the row's bytes are somebody else's and must live as long.
class PacketView {
public:
    PacketView() = default;

    /// The stream of words that it stands in.
    [[nodiscard]] Channel channel() const noexcept { return _channel; }
    /// The line number of its row.
    [[nodiscard]] std::uint32_t line() const noexcept { return _line; }

    /// Words of the channel between the beginning of the row and the flag.
    [[nodiscard]] std::uint32_t horizontalOffset() const noexcept { return _index; }

    /// The data identifier.
    [[nodiscard]] std::uint8_t did() const noexcept { return _did; }
    /// SDID; the data block number of a type 1 packet.
    [[nodiscard]] std::uint8_t sdid() const noexcept { return _sdid; }
    /// What the packet is.
    [[nodiscard]] PacketId id() const noexcept { return packetId(_did, _sdid); }

    /// User data words, 0 to 255.
    [[nodiscard]] std::size_t dataCount() const noexcept { return _dataCount; }

    /// Whether the checksum is right.
    [[nodiscard]] Status checksum() const noexcept { return _checksum; }
    /// Of DID, SDID (or DBN) and data count together.
    [[nodiscard]] Status parity() const noexcept { return _parity; }

    /// Writes the low eight bits of the user data words into `room` and gives what it filled: all of them, or as many
    /// as fit. kGreatestUserData bytes are always enough.
    QLX_EXPORT std::span<std::uint8_t> userData(std::span<std::uint8_t> room) const noexcept;

    /// Writes the packet's words from flag to checksum, as they stand on the row (8 bits each of a `2vuy` row), into
    /// `room` and gives what it filled: all of them, or as many as fit. kGreatestPacketWords are always enough.
    QLX_EXPORT std::span<std::uint16_t> words(std::span<std::uint16_t> room) const noexcept;

    /// A copy that owns its user data.
    [[nodiscard]] QLX_EXPORT Packet toPacket() const;

private:
    friend class PacketIterator;

    const std::uint8_t* _row = nullptr;
    std::uint32_t _line = 0;
    std::uint32_t _index = 0;
    RowFormat _format = RowFormat::V210;
    Channel _channel = Channel::Luma;
    std::uint8_t _did = 0;
    std::uint8_t _sdid = 0;
    std::uint8_t _dataCount = 0;
    Status _checksum = Status::Right;
    Status _parity = Status::Right;
};

/// Walks the packets of rows in the order in which they begin. A search that reads the rows once and allocates nothing.
class PacketIterator {
public:
    /// An input iterator: there is one place at a time.
    using iterator_category = std::input_iterator_tag;
    /// A packet's place.
    using value_type = PacketView;
    /// As every iterator has it.
    using difference_type = std::ptrdiff_t;
    /// The packet is the iterator's own.
    using pointer = const PacketView*;
    /// The same.
    using reference = const PacketView&;

    PacketIterator() = default;

    /// Goes to the first packet of the rows of `stride` bytes each.
    PacketIterator(std::span<const std::uint8_t> rows, std::size_t stride, const RowOptions& options,
                   FindingSink* findings)
        : _rows(rows), _stride(stride), _options(options), _findings(findings), _line(options.line - 1), _atEnd(false),
          _hasProgress(isLimited()) {
        advance();
    }

    /// The packet; valid until the next step.
    [[nodiscard]] const PacketView& operator*() const noexcept { return _packet; }
    /// The same.
    [[nodiscard]] const PacketView* operator->() const noexcept { return &_packet; }
    /// Goes to the next packet.
    PacketIterator& operator++() {
        advance();
        return *this;
    }
    /// The same.
    void operator++(int) { advance(); }

    /// Whether there is no packet any more.
    [[nodiscard]] friend bool operator==(const PacketIterator& iterator, std::default_sentinel_t) noexcept {
        return iterator._atEnd;
    }

private:
    /// How far a channel of the row has been read, in its words.
    struct Progress {
        std::size_t next = 0;        ///< The first word at which a packet may begin.
        std::size_t stop = 0;        ///< Behind the last one; Extent::WholeRow has none.
        std::size_t end = 0;         ///< Behind the last packet.
        std::size_t damagedEnd = 0;  ///< Up to here only packets with a right checksum are taken for packets.
    };
    struct Header;

    /// What stands in front of a packet's user data, and its checksum.
    struct Reading;

    QLX_EXPORT void advance();
    bool openRow();
    void beginProgress();
    bool searchRow();
    bool take(std::size_t sample);
    void pass(Progress& progress, std::size_t sample, std::size_t index, const Reading& reading);
    void give(Progress& progress, std::size_t sample, std::size_t index, const Reading& reading);
    void reportPacket(std::size_t sample, std::size_t index, const Progress& progress, const Reading& reading) const;
    [[nodiscard]] std::size_t wordsOfTenBits() const noexcept;
    void reportShortRow(std::size_t bytes) const;
    void report(FindingCode code, Severity severity, std::size_t byte, std::size_t first, std::size_t second) const;
    [[nodiscard]] std::size_t findFlag(std::size_t from) const noexcept;
    [[nodiscard]] std::size_t findFlagOfV210(std::size_t from, std::size_t starts) const noexcept;
    [[nodiscard]] std::size_t findFlagOfTwoVuy(std::size_t from, std::size_t starts) const noexcept;
    [[nodiscard]] std::size_t findOuterOnes(std::size_t from, std::size_t words) const noexcept;
    [[nodiscard]] std::size_t findFlagAround(std::size_t word, std::size_t from, std::size_t starts,
                                             std::size_t words) const noexcept;
    [[nodiscard]] bool isFlag(std::size_t sample) const noexcept;
    [[nodiscard]] Reading read(Channel channel, std::size_t index) const noexcept;
    [[nodiscard]] bool isLimited() const noexcept { return _options.extent != Extent::WholeRow; }
    [[nodiscard]] std::size_t step() const noexcept { return _options.channels == Channels::SdMultiplex ? 1 : 2; }
    [[nodiscard]] const std::uint8_t* row() const noexcept { return _row; }

    std::span<const std::uint8_t> _rows;
    std::size_t _stride = 0;
    RowOptions _options;
    FindingSink* _findings = nullptr;
    const std::uint8_t* _row = nullptr;   ///< The row that is read.
    std::uint32_t _line = 0;              ///< Of the row that is read; one less before the first.
    std::size_t _nextRowOffset = 0;       ///< Of the row behind it, in `_rows`.
    std::size_t _samples = 0;             ///< Of the row, luma and chroma.
    std::size_t _sample = 0;              ///< Where the search goes on.
    std::array<Progress, 2> _progress{};  ///< Of chroma, or the multiplex, and of luma.
    PacketView _packet;
    bool _atEnd = true;
    bool _hasProgress = false;  ///< `_progress` is that of another row, or has stops that are not set yet.
};

/// The packets of rows, to be walked with a `for` loop. Each walk searches anew, and says its findings anew.
class PacketRange {
public:
    /// What packets() and packetsOfRows() make.
    PacketRange(std::span<const std::uint8_t> rows, std::size_t stride, const RowOptions& options,
                FindingSink* findings) noexcept
        : _rows(rows), _stride(stride), _options(options), _findings(findings) {}

    /// Begins a search.
    [[nodiscard]] PacketIterator begin() const { return {_rows, _stride, _options, _findings}; }
    /// Where every search ends.
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

private:
    std::span<const std::uint8_t> _rows;
    std::size_t _stride;
    RowOptions _options;
    FindingSink* _findings;
};

/// The packets of one row.
///
///     std::array<std::uint8_t, qlx::anc::kGreatestUserData> room;
///     for (const qlx::anc::PacketView packet :
///          qlx::anc::packets(row, {.format = qlx::anc::RowFormat::V210, .line = 9})) {
///         if (packet.id() == qlx::anc::ids::kCdp && packet.checksum() != qlx::anc::Status::Wrong) {
///             use(packet.userData(room));
///         }
///     }
///
/// The search goes on behind a packet with a right checksum (or none). A packet with a wrong one is given as well; as
/// its length is then in doubt, the search goes on inside it, behind its flag, and what is found there is given if its
/// own checksum is right. The same holds for a packet that the row's end cuts, which is not given. `findings` is told
/// what is wrong, with the byte offset from the first row's beginning, and that user data words have other upper bits than
/// parity, which a Packet does not keep (AncUserDataOfTenBits; PacketView::words() gives them); bad input of any kind
/// gives findings, or none.
[[nodiscard]] inline PacketRange packets(std::span<const std::uint8_t> row, const RowOptions& options = {},
                                         FindingSink* findings = nullptr) noexcept {
    return {row, row.size(), options, findings};
}

/// The packets of the rows of a frame, `stride` bytes from the beginning of one to that of the next. The last row may
/// be shorter, as where nothing pads it. Rows that are shorter than their width are read as far as they go, with a
/// finding.
[[nodiscard]] inline PacketRange packetsOfRows(std::span<const std::uint8_t> rows, std::size_t stride,
                                               const RowOptions& options = {},
                                               FindingSink* findings = nullptr) noexcept {
    return {rows, stride, options, findings};
}

/// How packets are put on a row.
struct RowWriteOptions {
    RowFormat format = RowFormat::V210;  ///< How the samples are packed.
    Channel channel = Channel::Luma;     ///< Where the packets go.
    std::size_t width = 0;               ///< As in RowOptions.
    bool protectedFlags = false;         ///< As in RowOptions, for the packets that are there.
};

/// Puts packets on a row, one behind the other and behind the last one that is there in the channel. A damaged packet
/// that is there has the length that its data count says, and one that the row's end cuts leaves no room. Parity and
/// checksum are right (of a `2vuy` row their low eight bits); no other sample changes.
///
/// Gives the horizontal offset of the first one. All are written, or none: a Finding says that one has too many user
/// data words (AncTooManyUserDataWords), that they do not fit (AncPacketDoesNotFit) or that the row is shorter than its
/// width (AncRowTooShort).
[[nodiscard]] QLX_EXPORT Result<std::size_t> appendPackets(std::span<std::uint8_t> row,
                                                           std::span<const PacketContentView> packets,
                                                           const RowWriteOptions& options = {});

/// The same with one packet.
[[nodiscard]] inline Result<std::size_t> appendPacket(std::span<std::uint8_t> row, const PacketContentView& packet,
                                                      const RowWriteOptions& options = {}) {
    return appendPackets(row, {&packet, 1}, options);
}

/// What follows the pixels of a row.
enum class RowPadding : std::uint8_t {
    None,   ///< Nothing: `v210` ends with a whole group of six pixels, `2vuy` with a pair of pixels.
    Usual,  ///< `v210` rows are filled up to a multiple of 128 bytes, `2vuy` rows are not.
};

/// Bytes of a row of `width` pixels.
[[nodiscard]] constexpr std::size_t rowBytes(RowFormat format, std::size_t width,
                                             RowPadding padding = RowPadding::Usual) noexcept {
    if (format == RowFormat::TwoVuy) {
        return (width + 1) / 2 * 4;
    }
    const std::size_t bytes = (width + 5) / 6 * 16;
    return padding == RowPadding::Usual ? (bytes + 127) / 128 * 128 : bytes;
}

/// Makes `row` a blank one of `width` pixels: luma 040h and chroma 200h (10h and 80h), a last group of `v210` as a
/// whole, and 0 behind it. Gives the bytes in front of the padding, or OutputTooSmall.
[[nodiscard]] QLX_EXPORT Result<std::size_t> fillBlank(std::span<std::uint8_t> row, RowFormat format,
                                                       std::size_t width);

/// A blank row, as fillBlank() makes it.
[[nodiscard]] QLX_EXPORT std::vector<std::uint8_t> blankRow(RowFormat format, std::size_t width,
                                                            RowPadding padding = RowPadding::Usual);

}  // namespace qlx::anc
