// The teletext packet (ETSI EN 300 706, clause 7): page headers, rows and packets of coded triplets, read and written.
//
//     const qlx::Result<qlx::teletext::Packet> packet = qlx::teletext::parsePacket(bytes, &findings);
//     if (packet && packet->isHeader()) {
//         const auto header = qlx::teletext::parseHeader(*packet, &findings);
//         if (header && header->page == 0x888 && header->isSubtitle) { use(*header); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/result.h>
#include <qlx/teletext/coding.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace qlx::teletext {

/// Clock run-in and framing code, as bytes whose lowest bit is transmitted first.
inline constexpr std::array<std::uint8_t, 3> kRunInAndFramingCode{0x55, 0x55, 0x27};

inline constexpr std::size_t kAddressBytes = 2;  ///< Magazine and packet number.
inline constexpr std::size_t kDataBytes = 40;    ///< Behind them.
/// Bytes of a packet without run-in and framing code.
inline constexpr std::size_t kPacketBytes = kAddressBytes + kDataBytes;
/// Bytes of a packet with them.
inline constexpr std::size_t kLineBytes = kRunInAndFramingCode.size() + kPacketBytes;

inline constexpr std::uint8_t kGreatestMagazine = 8;      ///< Sent as 0.
inline constexpr std::uint8_t kGreatestNumber = 31;       ///< Packet numbers have five bits.
inline constexpr std::uint8_t kLastRow = 24;              ///< Packets 1 to 24 are rows of the page.
inline constexpr std::uint8_t kBelowRows = 25;            ///< X/25: a row of the page that screens have no place for.
inline constexpr std::uint8_t kEnhancement = 26;          ///< X/26: characters and attributes that are put over rows.
inline constexpr std::uint8_t kLinks = 27;                ///< X/27: links to other pages.
inline constexpr std::uint8_t kPageDesignation = 28;      ///< X/28: sets and colours of a page.
inline constexpr std::uint8_t kMagazineDesignation = 29;  ///< M/29: the same of a magazine.
inline constexpr std::uint8_t kServiceData = 30;          ///< 8/30: about the service.
inline constexpr std::uint8_t kIndependentData = 31;      ///< 31: other data, or nothing.

/// A packet. Its data are kept as they were sent, with their protection.
struct Packet {
    std::uint8_t magazine = kGreatestMagazine;    ///< 1 to 8.
    std::uint8_t number = kIndependentData;       ///< 0 to 31: 0 is a page's header, 1 to 24 are its rows.
    std::array<std::uint8_t, kDataBytes> data{};  ///< As sent, lowest bit first.

    /// Whether it begins a page.
    [[nodiscard]] constexpr bool isHeader() const noexcept { return number == 0; }
    /// Whether it is a row of the page that its magazine's last header began.
    [[nodiscard]] constexpr bool isRow() const noexcept { return number > 0 && number <= kLastRow; }
    /// Whether its first byte is a designation code (EN 300 706, clause 9.4 to 9.8).
    [[nodiscard]] constexpr bool hasDesignation() const noexcept {
        return number >= kEnhancement && number <= kServiceData;
    }
    /// Whether it only fills its place, as subtitling distribution packets are filled: packet 31 of magazine 8.
    [[nodiscard]] constexpr bool isFilling() const noexcept {
        return magazine == kGreatestMagazine && number == kIndependentData;
    }

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Packet&, const Packet&) noexcept = default;
};

/// What of a packet is written.
enum class PacketForm : std::uint8_t {
    Line,     ///< kLineBytes: with clock run-in and framing code.
    Address,  ///< kPacketBytes: from the address on.
};

/// Bytes of a form.
[[nodiscard]] constexpr std::size_t sizeOf(PacketForm form) noexcept {
    return form == PacketForm::Line ? kLineBytes : kPacketBytes;
}

/// The two coded bytes of an address (EN 300 706, clause 7.1.2). Of the magazine the low three bits count, of the number
/// the low five.
[[nodiscard]] constexpr std::array<std::uint8_t, kAddressBytes> addressBytes(unsigned magazine,
                                                                             unsigned number) noexcept {
    return {hamming84((magazine & 7U) | (number & 1U) << 3U), hamming84(number >> 1U)};
}

/// Reads a packet of kLineBytes or kPacketBytes. Fails with TeletextPacketSizeWrong for any other size,
/// TeletextFramingCodeWrong, or TeletextByteWrong when the address cannot be put right. A run-in that is not as it
/// should be and an address that has been put right are findings (Remark, Warning). What is read without a finding is
/// written as the same bytes.
/// @param offset Of the first byte, for the findings.
[[nodiscard]] QLX_EXPORT Result<Packet> parsePacket(std::span<const std::uint8_t> bytes,
                                                    FindingSink* findings = nullptr, std::uint64_t offset = 0);

/// Writes a packet into `room` and gives its bytes. OutputTooSmall for a room that is smaller; TeletextFieldTooGreat for
/// a magazine that is not 1 to 8 or a number above 31; nothing is written then.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writePacket(const Packet& packet, std::span<std::uint8_t> room,
                                                         PacketForm form = PacketForm::Line);
/// The same as a buffer of its own.
[[nodiscard]] QLX_EXPORT Result<Data> writePacket(const Packet& packet, PacketForm form = PacketForm::Line);

/// A page's header (EN 300 706, clause 9.3.1).
struct PageHeader {
    /// Bytes behind the coded ones.
    static constexpr std::size_t kTextBytes = 32;
    /// Bits that a subcode can have.
    static constexpr std::uint16_t kSubcodeBits = 0x3F7F;

    std::uint16_t page = 0x8FF;            ///< Magazine, tens and units as hexadecimal digits: 0x888. FF are no page.
    std::uint16_t subcode = kSubcodeBits;  ///< S4, S3, S2 and S1 as hexadecimal digits: 0x0000 to 0x3F7F.
    bool erasesPage = false;               ///< C4
    bool isNewsflash = false;              ///< C5: only what is boxed is shown.
    bool isSubtitle = false;               ///< C6: only what is boxed is shown.
    bool suppressesHeader = false;         ///< C7: row 0 is not shown.
    bool isUpdate = false;                 ///< C8: the page has changed.
    bool isInterrupted = false;            ///< C9: not in the order of the pages.
    bool inhibitsDisplay = false;          ///< C10: the rows 1 to 24 are not shown.
    bool isSerial = false;                 ///< C11: a header of any magazine ends the page.
    std::uint8_t nationalOption = 0;       ///< C12, C13, C14: 0 to 7, C12 highest.
    std::array<std::uint8_t, kTextBytes> text = spaces();  ///< As sent, with parity.

    /// The magazine, 1 to 8.
    [[nodiscard]] constexpr std::uint8_t magazine() const noexcept { return static_cast<std::uint8_t>(page >> 8U); }
    /// Whether a viewer can call the page: both digits are 0 to 9.
    [[nodiscard]] constexpr bool isCallable() const noexcept { return (page & 0xFU) <= 9 && (page >> 4U & 0xFU) <= 9; }
    /// Whether it belongs to no page and only ends the one before it: FF.
    [[nodiscard]] constexpr bool isTimeFilling() const noexcept { return (page & 0xFFU) == 0xFF; }

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const PageHeader&, const PageHeader&) noexcept = default;

private:
    [[nodiscard]] static constexpr std::array<std::uint8_t, kTextBytes> spaces() noexcept {
        std::array<std::uint8_t, kTextBytes> text{};
        for (std::uint8_t& byte : text) {
            byte = 0x20;
        }
        return text;
    }
};

/// `888`: the digits of a page number.
[[nodiscard]] QLX_EXPORT std::string pageName(std::uint16_t page);

/// Reads a packet with number 0. Fails with TeletextNotThatPacket for another, with TeletextByteWrong when one of its
/// eight coded bytes cannot be put right. One that has been put right is a finding.
/// @param offset Of the packet's first data byte, for the findings.
[[nodiscard]] QLX_EXPORT Result<PageHeader> parseHeader(const Packet& packet, FindingSink* findings = nullptr,
                                                        std::uint64_t offset = 0);

/// The packet of a header: TeletextFieldTooGreat when page, subcode or national option are out of range.
[[nodiscard]] QLX_EXPORT Result<Packet> packetOf(const PageHeader& header);

/// The low 7 bits of each byte of a row; where the parity is wrong, `codes` keeps what it has. Gives the number of such
/// bytes. What is longer is left out.
QLX_EXPORT std::size_t takeCodes(std::span<const std::uint8_t> data,
                                 std::span<std::uint8_t, kDataBytes> codes) noexcept;

/// The packet of a row of the page in this magazine. Each code gets its parity; spaces follow the last one. Codes that a
/// row has no room for, and a row that is not 1 to 24: TeletextFieldTooGreat.
[[nodiscard]] QLX_EXPORT Result<Packet> rowPacket(std::uint8_t magazine, std::uint8_t row,
                                                  std::span<const std::uint8_t> codes);

/// A triplet of packets X/26, X/28, M/29 and some X/27 (EN 300 706, clause 12.3.1): 18 bits.
class Triplet {
public:
    /// All bits 0.
    constexpr Triplet() noexcept = default;
    /// The low 18 bits of the number.
    constexpr explicit Triplet(std::uint32_t bits) noexcept : _bits(bits & 0x3FFFFU) {}
    /// From address (6 bits), mode (5 bits) and data (7 bits).
    [[nodiscard]] static constexpr Triplet make(unsigned address, unsigned mode, unsigned data) noexcept {
        return Triplet((address & 0x3FU) | (mode & 0x1FU) << 6U | (data & 0x7FU) << 11U);
    }

    /// All 18 bits.
    [[nodiscard]] constexpr std::uint32_t bits() const noexcept { return _bits; }
    /// Bits 1 to 6: a column, or a row and more from 40 on.
    [[nodiscard]] constexpr std::uint8_t address() const noexcept { return static_cast<std::uint8_t>(_bits & 0x3FU); }
    /// Bits 7 to 11.
    [[nodiscard]] constexpr std::uint8_t mode() const noexcept {
        return static_cast<std::uint8_t>(_bits >> 6U & 0x1FU);
    }
    /// Bits 12 to 18.
    [[nodiscard]] constexpr std::uint8_t data() const noexcept { return static_cast<std::uint8_t>(_bits >> 11U); }

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Triplet&, const Triplet&) noexcept = default;

private:
    std::uint32_t _bits = 0;
};

/// A packet of a designation code and thirteen triplets.
struct TripletPacket {
    /// Triplets of a packet.
    static constexpr std::size_t kTriplets = 13;

    std::uint8_t magazine = kGreatestMagazine;  ///< 1 to 8.
    std::uint8_t number = kEnhancement;         ///< 26 to 29.
    std::uint8_t designation = 0;               ///< 0 to 15.
    std::array<Triplet, kTriplets> triplets{};  ///< In their order.
    std::uint16_t damaged = 0;                  ///< Bit n: triplet n could not be put right, and is 0.

    /// Whether triplet `index` is as it was sent.
    [[nodiscard]] constexpr bool isSound(std::size_t index) const noexcept { return (damaged >> index & 1U) == 0; }
    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const TripletPacket&, const TripletPacket&) noexcept = default;
};

/// The designation code of a packet 26 to 30; wrong for one that has none.
[[nodiscard]] constexpr Decoded<std::uint8_t> designationOf(const Packet& packet) noexcept {
    return packet.hasDesignation() ? decodeHamming84(packet.data[0]) : Decoded<std::uint8_t>{};
}

/// Reads a packet 26, 28 or 29, or a packet 27 of a designation from 4 on (those below hold no triplets). Fails with
/// TeletextNotThatPacket for another, with TeletextByteWrong when the designation cannot be put right. A triplet that
/// cannot is a finding (TeletextTripletWrong, an Error), one that has been put right is one too.
/// @param offset Of the packet's first data byte, for the findings.
[[nodiscard]] QLX_EXPORT Result<TripletPacket> parseTriplets(const Packet& packet, FindingSink* findings = nullptr,
                                                             std::uint64_t offset = 0);

/// The packet of these triplets; a damaged one is written with the bits that it has. TeletextFieldTooGreat when magazine,
/// number or designation are out of range.
[[nodiscard]] QLX_EXPORT Result<Packet> packetOf(const TripletPacket& triplets);

}  // namespace qlx::teletext
