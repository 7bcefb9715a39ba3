// Ancillary packets as MXF files carry them: the ANC frame element of SMPTE ST 436-1, read and written.
//
//   packet count 2 | for each packet:
//   line 2 | wrapping 1 | sample coding 1 | sample count 2 | array count 4 | array element length 4 | array
//
// The array holds the samples of the packet from DID on, and padding.
#pragma once

#include <qlx/anc/packet.h>
#include <qlx/base/finding.h>
#include <qlx/base/result.h>

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <vector>

namespace qlx::anc {

/// What a packet was taken from, and where it goes again. A number that is none of these is kept as it is.
enum class Wrapping : std::uint8_t {
    VancFrame = 0x01,  ///< Vertical ancillary data of an interlaced or segmented frame; lines of the whole frame.
    VancField1 = 0x02,
    VancField2 = 0x03,
    VancProgressiveFrame = 0x04,
    HancFrame = 0x11,  ///< Horizontal ancillary data of an interlaced or segmented frame.
    HancField1 = 0x12,
    HancField2 = 0x13,
    HancProgressiveFrame = 0x14,
};

/// Whether the standard names it.
[[nodiscard]] constexpr bool isKnown(Wrapping wrapping) noexcept {
    const auto number = static_cast<unsigned>(wrapping) & 0xEFU;
    return number >= 1 && number <= 4;
}

/// How the samples of a packet are coded. The 1-bit codings 1 to 3 are for lines, not for packets.
enum class SampleCoding : std::uint8_t {
    Luma8 = 4,              ///< 8-bit luma samples: DID, SDID, data count, user data; no checksum.
    Chroma8 = 5,            ///< The same of colour difference samples.
    Both8 = 6,              ///< The same of luma and colour difference samples, as one stream.
    Luma10 = 7,             ///< 10-bit luma samples: DID, SDID, data count, user data, checksum.
    Chroma10 = 8,           ///< The same of colour difference samples.
    Both10 = 9,             ///< The same of luma and colour difference samples, as one stream.
    Luma8ParityError = 10,  ///< As Luma8, of a packet in which a word had the wrong parity.
    Chroma8ParityError = 11,
    Both8ParityError = 12,
};

/// Whether the standard has it for packets.
[[nodiscard]] constexpr bool isKnown(SampleCoding coding) noexcept {
    return coding >= SampleCoding::Luma8 && coding <= SampleCoding::Both8ParityError;
}

/// Whether its samples have ten bits.
[[nodiscard]] constexpr bool isTenBit(SampleCoding coding) noexcept {
    return coding >= SampleCoding::Luma10 && coding <= SampleCoding::Both10;
}

/// Whether it says that a word had the wrong parity.
[[nodiscard]] constexpr bool hasParityError(SampleCoding coding) noexcept {
    return coding >= SampleCoding::Luma8ParityError && coding <= SampleCoding::Both8ParityError;
}

/// The stream of words that a packet of this coding stands in; one of the known codings.
[[nodiscard]] constexpr Channel channelOf(SampleCoding coding) noexcept {
    constexpr std::array kChannels{Channel::Luma, Channel::Chroma, Channel::SdMultiplex};
    return kChannels[(static_cast<unsigned>(coding) - static_cast<unsigned>(SampleCoding::Luma8)) % kChannels.size()];
}

/// The coding of 8 or 10 bits for packets of a stream of words.
[[nodiscard]] constexpr SampleCoding sampleCoding(Channel channel, bool isTenBits = false) noexcept {
    return static_cast<SampleCoding>(static_cast<unsigned>(isTenBits ? SampleCoding::Luma10 : SampleCoding::Luma8) +
                                     static_cast<unsigned>(channel));
}

/// Most packets of an element: their count has 16 bits.
inline constexpr std::size_t kGreatestElementPackets = 65'535;

/// Most samples of a packet in an element: DID, SDID, data count, user data and checksum.
inline constexpr std::size_t kGreatestElementSamples = 3 + kGreatestUserData + 1;

/// A packet with what an element says of it; owns its bytes.
struct ElementPacket {
    Packet packet;  ///< What it says. Its channel is that of the coding; an element has no horizontal offsets.
    Wrapping wrapping = Wrapping::VancFrame;    ///< Where it belongs.
    SampleCoding coding = SampleCoding::Luma8;  ///< How its samples are coded.
    /// Of a 10-bit coding: the words from DID to checksum, where they are not those that `packet` would have, as with
    /// ten bits of data a word or wrong parity. Empty: bits 8 and 9 and the checksum are made right.
    std::vector<std::uint16_t> words;
    /// What stands behind the samples; none: zeros up to a multiple of four bytes.
    std::optional<std::vector<std::uint8_t>> padding;

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const ElementPacket&, const ElementPacket&) = default;
};

/// A packet's place in an element. Small and copyable; the element's bytes are somebody else's and must live as long.
class ElementPacketView {
public:
    ElementPacketView() = default;

    /// Byte of the element at which it begins, with its line number.
    [[nodiscard]] std::size_t offset() const noexcept { return _offset; }
    /// The line number.
    [[nodiscard]] std::uint16_t line() const noexcept { return _line; }
    /// Where it belongs.
    [[nodiscard]] Wrapping wrapping() const noexcept { return _wrapping; }
    /// How its samples are coded: one of the known codings.
    [[nodiscard]] SampleCoding coding() const noexcept { return _coding; }
    /// The stream of words that it stands in.
    [[nodiscard]] Channel channel() const noexcept { return channelOf(_coding); }
    /// The payload sample count, as it stands there.
    [[nodiscard]] std::uint16_t sampleCount() const noexcept { return _sampleCount; }
    /// The count of the array's elements, as it stands there.
    [[nodiscard]] std::uint32_t arrayCount() const noexcept { return _arrayCount; }
    /// The length of an element of the array, as it stands there: 1.
    [[nodiscard]] std::uint32_t arrayElementLength() const noexcept { return _arrayElementLength; }

    /// The data identifier.
    [[nodiscard]] std::uint8_t did() const noexcept { return _did; }
    /// SDID; the data block number of a type 1 packet.
    [[nodiscard]] std::uint8_t sdid() const noexcept { return _sdid; }
    /// What the packet is.
    [[nodiscard]] PacketId id() const noexcept { return packetId(_did, _sdid); }
    /// User data words, 0 to 255; all of them are there.
    [[nodiscard]] std::size_t dataCount() const noexcept { return _dataCount; }

    /// Whether the checksum is right; 8-bit codings do not carry it.
    [[nodiscard]] Status checksum() const noexcept { return _checksum; }
    /// Of DID, SDID (or DBN) and data count together; of 8-bit codings what the coding says of the packet.
    [[nodiscard]] Status parity() const noexcept { return _parity; }

    /// The array as it stands there, padding included; of a packet that is cut, as much as is there.
    [[nodiscard]] std::span<const std::uint8_t> array() const noexcept { return _array; }
    /// The bytes of the array behind the samples.
    [[nodiscard]] QLX_EXPORT std::span<const std::uint8_t> padding() const noexcept;

    /// Writes the low eight bits of the user data words into `room` and gives what it filled: all of them, or as many
    /// as fit. kGreatestUserData bytes are always enough.
    QLX_EXPORT std::span<std::uint8_t> userData(std::span<std::uint8_t> room) const noexcept;

    /// Writes the samples from DID on, eight or ten bits of each, into `room` and gives what it filled: all of them,
    /// or as many as fit. kGreatestElementSamples are always enough.
    QLX_EXPORT std::span<std::uint16_t> samples(std::span<std::uint16_t> room) const noexcept;

    /// A packet that owns its user data.
    [[nodiscard]] QLX_EXPORT Packet toPacket() const;
    /// A copy that owns all of it.
    [[nodiscard]] QLX_EXPORT ElementPacket toElementPacket() const;

private:
    friend class ElementIterator;

    [[nodiscard]] std::size_t usedSamples() const noexcept { return 3 + _dataCount + std::size_t{_hasChecksum}; }

    std::span<const std::uint8_t> _array;
    std::size_t _offset = 0;
    std::uint32_t _arrayCount = 0;
    std::uint32_t _arrayElementLength = 1;
    std::uint16_t _line = 0;
    std::uint16_t _sampleCount = 0;
    Wrapping _wrapping = Wrapping::VancFrame;
    SampleCoding _coding = SampleCoding::Luma8;
    std::uint8_t _did = 0;
    std::uint8_t _sdid = 0;
    std::uint8_t _dataCount = 0;
    bool _hasChecksum = false;
    Status _checksum = Status::NotCarried;
    Status _parity = Status::NotCarried;
};

/// Walks the packets of an element in their order. It reads the element once and allocates nothing.
class ElementIterator {
public:
    /// An input iterator: there is one place at a time.
    using iterator_category = std::input_iterator_tag;
    /// A packet's place.
    using value_type = ElementPacketView;
    /// As every iterator has it.
    using difference_type = std::ptrdiff_t;
    /// The packet is the iterator's own.
    using pointer = const ElementPacketView*;
    /// The same.
    using reference = const ElementPacketView&;

    ElementIterator() = default;
    /// Goes to the first packet of an element.
    ElementIterator(std::span<const std::uint8_t> element, FindingSink* findings)
        : _element(element), _findings(findings), _atEnd(false) {
        start();
    }

    /// The packet; valid until the next step.
    [[nodiscard]] const ElementPacketView& operator*() const noexcept { return _packet; }
    /// The same.
    [[nodiscard]] const ElementPacketView* operator->() const noexcept { return &_packet; }
    /// Goes to the next packet.
    ElementIterator& operator++() {
        advance();
        return *this;
    }
    /// The same.
    void operator++(int) { advance(); }

    /// Whether there is no packet any more.
    [[nodiscard]] friend bool operator==(const ElementIterator& iterator, std::default_sentinel_t) noexcept {
        return iterator._atEnd;
    }

private:
    QLX_EXPORT void start();
    QLX_EXPORT void advance();
    bool readPacket();
    void readHeader();
    [[nodiscard]] std::uint64_t arrayBytes() const noexcept;
    [[nodiscard]] bool leadsOn(std::uint64_t bytes) const noexcept;
    void passPadding();
    bool readPayload();
    [[nodiscard]] std::uint16_t rightChecksum() const noexcept;
    void checkSampleCount() const;
    void checkPayload(bool isUsable, bool isCut) const;
    [[nodiscard]] std::size_t wordsOfTenBits() const noexcept;
    void checkSpareBits() const;
    void checkEnd();
    void report(FindingCode code, Severity severity, std::size_t offset, std::uint64_t first,
                std::uint64_t second) const;

    std::span<const std::uint8_t> _element;
    FindingSink* _findings = nullptr;
    std::size_t _next = 0;   ///< Where the next packet begins.
    std::size_t _begun = 0;  ///< Packets that have begun.
    std::size_t _count = 0;  ///< Packets that the element announces.
    ElementPacketView _packet;
    bool _atEnd = true;
};

/// The packets of an element, to be walked with a `for` loop. Each walk reads anew, and says its findings anew.
class ElementRange {
public:
    /// What elementPackets() makes.
    ElementRange(std::span<const std::uint8_t> element, FindingSink* findings) noexcept
        : _element(element), _findings(findings) {}

    /// Begins a walk.
    [[nodiscard]] ElementIterator begin() const { return {_element, _findings}; }
    /// Where every walk ends.
    [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

private:
    std::span<const std::uint8_t> _element;
    FindingSink* _findings;
};

/// The packets of an ANC frame element (the value of its triplet).
///
///     std::array<std::uint8_t, qlx::anc::kGreatestUserData> room;
///     qlx::Findings findings;
///     for (const qlx::anc::ElementPacketView packet : qlx::anc::elementPackets(element, &findings)) {
///         use(packet.line(), packet.id(), packet.userData(room));
///     }
///
/// A packet that cannot be used (a coding that packets do not have, user data that are not there) is passed over with a
/// finding, and the next one is read behind its array, and behind zeros that fill the array up to a multiple of four
/// bytes without being counted. `findings` is told what is wrong, with the byte offset in the
/// element, and that user data words have other upper bits than parity, which a Packet does not keep
/// (AncUserDataOfTenBits; ElementPacketView::samples() and ElementPacket have them); bad input of any kind gives
/// findings.
[[nodiscard]] inline ElementRange elementPackets(std::span<const std::uint8_t> element,
                                                 FindingSink* findings = nullptr) noexcept {
    return {element, findings};
}

/// The packets of an element as values. What is read without a finding is written by writeElement() to the same bytes.
[[nodiscard]] QLX_EXPORT std::vector<ElementPacket> parseElement(std::span<const std::uint8_t> element,
                                                                 FindingSink* findings = nullptr);

/// How plain packets go into an element.
struct ElementWriteOptions {
    Wrapping wrapping = Wrapping::VancFrame;  ///< Of all packets.
    bool isTenBits = false;                   ///< 10-bit samples with checksum, not 8-bit ones.
};

/// Bytes of an element with these packets.
[[nodiscard]] QLX_EXPORT std::size_t elementSize(std::span<const ElementPacket> packets) noexcept;
/// The same of plain packets.
[[nodiscard]] QLX_EXPORT std::size_t elementSize(std::span<const Packet> packets,
                                                 const ElementWriteOptions& options = {}) noexcept;

/// Writes an element with these packets into `room` and gives the bytes used. Nothing is written when one cannot be: a
/// Finding, whose offset is the number of the packet from 0 on, says that there are too many packets
/// (AncElementTooManyPackets), that one has too many user data words (AncTooManyUserDataWords), too great a line number
/// (AncElementLineTooGreat) or a coding that packets do not have (AncElementCodingUnknown), or that `room` is too small
/// (OutputTooSmall).
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeElement(std::span<const ElementPacket> packets,
                                                          std::span<std::uint8_t> room);
/// The same of plain packets: each in the coding of its channel; its horizontal offset is not carried.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeElement(std::span<const Packet> packets, std::span<std::uint8_t> room,
                                                          const ElementWriteOptions& options = {});

/// The same as bytes of their own.
[[nodiscard]] QLX_EXPORT Result<Data> writeElement(std::span<const ElementPacket> packets);
/// The same of plain packets.
[[nodiscard]] QLX_EXPORT Result<Data> writeElement(std::span<const Packet> packets,
                                                   const ElementWriteOptions& options = {});

}  // namespace qlx::anc
