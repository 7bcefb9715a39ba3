// What the sections of a caption distribution packet hold (SMPTE ST 334-2). The values keep the bytes as they stand on
// the wire, so that reserved bits and impossible digits are not lost between reading and writing.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>

namespace qlx::cc {

/// The first byte of a section. 75h to EFh are future sections: identifier, length, data.
enum class CdpSection : std::uint8_t {
    TimeCode = 0x71,
    CcData = 0x72,
    ServiceInformation = 0x73,
    Footer = 0x74,
    FirstFuture = 0x75,
    LastFuture = 0xEF,
};

/// The fields of a time code.
struct TimeCodeFields {
    std::uint8_t hours = 0;    ///< 0 to 23
    std::uint8_t minutes = 0;  ///< 0 to 59
    std::uint8_t seconds = 0;  ///< 0 to 59
    std::uint8_t frames = 0;   ///< 0 to 29
    bool fieldFlag = false;    ///< tc_field_flag
    bool dropFrame = false;    ///< drop_frame_flag

    /// Whether all fields are equal.
    friend constexpr bool operator==(const TimeCodeFields&, const TimeCodeFields&) noexcept = default;
};

/// The time code of a CDP. For rates above 30 a frame's number counts pairs of frames, and the field flag tells the two
/// apart. A default-made one is 00:00:00:00.
///
///     const auto time = qlx::cc::CdpTimeCode::make({.hours = 10, .minutes = 59, .seconds = 30, .frames = 24});
class CdpTimeCode {
public:
    /// Bytes of it in a packet.
    static constexpr std::size_t kBytes = 4;

    constexpr CdpTimeCode() noexcept = default;
    /// As its bytes stand in a packet.
    constexpr explicit CdpTimeCode(const std::array<std::uint8_t, kBytes>& bytes) noexcept : _bytes(bytes) {}

    /// Each number has two decimal digits on the wire; what does not fit into its bits loses its upper ones.
    [[nodiscard]] static constexpr CdpTimeCode make(const TimeCodeFields& fields) noexcept {
        return CdpTimeCode(
            {static_cast<std::uint8_t>(0xC0U | (digits(fields.hours) & 0x3FU)),
             static_cast<std::uint8_t>(0x80U | (digits(fields.minutes) & 0x7FU)),
             static_cast<std::uint8_t>((fields.fieldFlag ? 0x80U : 0U) | (digits(fields.seconds) & 0x7FU)),
             static_cast<std::uint8_t>((fields.dropFrame ? 0x80U : 0U) | (digits(fields.frames) & 0x3FU))});
    }

    /// The fields as numbers.
    [[nodiscard]] constexpr TimeCodeFields fields() const noexcept {
        return {number(_bytes[0] & 0x3FU), number(_bytes[1] & 0x7FU), number(_bytes[2] & 0x7FU),
                number(_bytes[3] & 0x3FU), (_bytes[2] & 0x80U) != 0,  (_bytes[3] & 0x80U) != 0};
    }

    /// The bytes behind the section's identifier.
    [[nodiscard]] constexpr const std::array<std::uint8_t, kBytes>& bytes() const noexcept { return _bytes; }

    /// Whether all fields are equal.
    friend constexpr bool operator==(const CdpTimeCode&, const CdpTimeCode&) noexcept = default;

private:
    [[nodiscard]] static constexpr unsigned digits(unsigned value) noexcept { return value / 10 << 4U | value % 10; }
    [[nodiscard]] static constexpr std::uint8_t number(unsigned digits) noexcept {
        return static_cast<std::uint8_t>((digits >> 4U) * 10 + (digits & 0x0FU));
    }

    std::array<std::uint8_t, kBytes> _bytes{0xC0, 0x80, 0x00, 0x00};
};

/// What a caption service is besides its number and language.
struct CaptionServiceAttributes {
    bool easyReader = false;       ///< For beginning readers.
    bool wideAspectRatio = false;  ///< For 16:9 pictures.
};

/// A caption service as the service information names it: its number, and its entry of the caption service descriptor
/// (ATSC A/65, table 6.26). A default-made one is CEA-608 on field 1 without a language.
class CaptionService {
public:
    /// Bytes of it in a packet.
    static constexpr std::size_t kBytes = 7;
    /// Greatest service number.
    static constexpr std::uint8_t kGreatestNumber = 63;

    using Language = std::array<char, 3>;  ///< ISO 639.2/B

    constexpr CaptionService() noexcept = default;
    /// As its bytes stand in a packet.
    constexpr explicit CaptionService(const std::array<std::uint8_t, kBytes>& bytes) noexcept : _bytes(bytes) {}

    /// A digital service, 1 to 63: `CaptionService::digital(1, {'e', 'n', 'g'})`.
    [[nodiscard]] static constexpr CaptionService digital(std::uint8_t number, const Language& language,
                                                          const CaptionServiceAttributes& attributes = {}) noexcept {
        const unsigned low = number & kNumberBits;
        // A number that fits into 5 bits is written with 5: it is what deployed writers do.
        const unsigned front =
            low <= kShortNumberBits ? kReservedFrontShort | kShortNumber | low : kReservedFront | low;
        return make(front, language, kDigital | kReservedDigital | low, attributes);
    }

    /// CEA-608 on field 1 or field 2.
    [[nodiscard]] static constexpr CaptionService line21(bool onField2, const Language& language = {' ', ' ', ' '},
                                                         const CaptionServiceAttributes& attributes = {}) noexcept {
        return make(kReservedFrontShort | kShortNumber, language, kReservedLine21 | (onField2 ? kField2 : 0U),
                    attributes);
    }

    /// csn_size: true where caption_service_number has 5 bits, false where it has 6.
    [[nodiscard]] constexpr bool hasShortNumber() const noexcept { return (_bytes[0] & kShortNumber) != 0; }
    /// The number in front of the descriptor's entry; 0 for CEA-608.
    [[nodiscard]] constexpr std::uint8_t number() const noexcept {
        return static_cast<std::uint8_t>(_bytes[0] & (hasShortNumber() ? kShortNumberBits : kNumberBits));
    }
    /// The number within the descriptor's entry; it has none for CEA-608, and this is 0.
    [[nodiscard]] constexpr std::uint8_t descriptorNumber() const noexcept {
        return isDigital() ? static_cast<std::uint8_t>(_bytes[4] & kNumberBits) : std::uint8_t{0};
    }
    /// ISO 639-2 code of three letters.
    [[nodiscard]] constexpr Language language() const noexcept {
        return {static_cast<char>(_bytes[1]), static_cast<char>(_bytes[2]), static_cast<char>(_bytes[3])};
    }
    /// digital_cc: CEA-708, otherwise CEA-608.
    [[nodiscard]] constexpr bool isDigital() const noexcept { return (_bytes[4] & kDigital) != 0; }
    /// line21_field, which only CEA-608 has.
    [[nodiscard]] constexpr bool isOnField2() const noexcept { return !isDigital() && (_bytes[4] & kField2) != 0; }
    /// Whether the text is for beginning readers.
    [[nodiscard]] constexpr bool easyReader() const noexcept { return (_bytes[5] & kEasyReader) != 0; }
    /// Whether it is made for 16:9 pictures.
    [[nodiscard]] constexpr bool wideAspectRatio() const noexcept { return (_bytes[5] & kWideAspectRatio) != 0; }

    /// The entry as it stands on the wire.
    [[nodiscard]] constexpr const std::array<std::uint8_t, kBytes>& bytes() const noexcept { return _bytes; }

    /// The bits of the entry that are reserved, and should all be 1.
    [[nodiscard]] constexpr std::array<std::uint8_t, kBytes> reservedBits() const noexcept {
        return {hasShortNumber() ? kReservedFrontShort : kReservedFront,
                0,
                0,
                0,
                isDigital() ? kReservedDigital : kReservedLine21,
                kReservedBehind,
                0xFF};
    }
    /// Whether they are.
    [[nodiscard]] constexpr bool hasReservedBits() const noexcept {
        const std::uint8_t front = hasShortNumber() ? kReservedFrontShort : kReservedFront;
        const std::uint8_t type = isDigital() ? kReservedDigital : kReservedLine21;
        return (_bytes[0] & front) == front && (_bytes[4] & type) == type &&
               (_bytes[5] & kReservedBehind) == kReservedBehind && _bytes[6] == 0xFF;
    }

    /// Whether all fields are equal.
    friend constexpr bool operator==(const CaptionService&, const CaptionService&) noexcept = default;

private:
    static constexpr std::uint8_t kReservedFront = 0x80;
    static constexpr std::uint8_t kShortNumber = 0x40;
    static constexpr std::uint8_t kReservedFrontShort = 0xA0;
    static constexpr std::uint8_t kShortNumberBits = 0x1F;
    static constexpr std::uint8_t kNumberBits = 0x3F;
    static constexpr std::uint8_t kDigital = 0x80;
    static constexpr std::uint8_t kReservedDigital = 0x40;
    static constexpr std::uint8_t kReservedLine21 = 0x7E;
    static constexpr std::uint8_t kField2 = 0x01;
    static constexpr std::uint8_t kEasyReader = 0x80;
    static constexpr std::uint8_t kWideAspectRatio = 0x40;
    static constexpr std::uint8_t kReservedBehind = 0x3F;

    [[nodiscard]] static constexpr CaptionService make(unsigned front, const Language& language, unsigned type,
                                                       const CaptionServiceAttributes& attributes) noexcept {
        const unsigned flags = (attributes.easyReader ? kEasyReader : 0U) |
                               (attributes.wideAspectRatio ? kWideAspectRatio : 0U) | kReservedBehind;
        return CaptionService({static_cast<std::uint8_t>(front), static_cast<std::uint8_t>(language[0]),
                               static_cast<std::uint8_t>(language[1]), static_cast<std::uint8_t>(language[2]),
                               static_cast<std::uint8_t>(type), static_cast<std::uint8_t>(flags), 0xFF});
    }

    std::array<std::uint8_t, kBytes> _bytes{0xE0, 0x20, 0x20, 0x20, 0x7E, 0x3F, 0xFF};
};

/// How the service information of this packet stands to that of the packets around it.
struct ServiceInformationFlags {
    bool start = true;     ///< svc_info_start: the services begin in this packet.
    bool change = false;   ///< svc_info_change: they differ from what was sent before.
    bool complete = true;  ///< svc_info_complete: they end in this packet.

    /// Whether all fields are equal.
    friend constexpr bool operator==(const ServiceInformationFlags&, const ServiceInformationFlags&) noexcept = default;
};

/// A section of a kind that the standard keeps for the future; it points into the packet's value.
struct FutureSectionView {
    std::uint8_t id = 0;                 ///< 75h to EFh
    std::span<const std::uint8_t> data;  ///< Behind identifier and length.
};

/// The future sections of a packet, one behind the other.
class FutureSectionsView {
public:
    /// Walks the parts in their order.
    class iterator {
    public:
        /// As every iterator has it.
        using iterator_category = std::input_iterator_tag;
        /// The same.
        using value_type = FutureSectionView;
        /// The same.
        using difference_type = std::ptrdiff_t;
        /// The same.
        using pointer = void;
        /// The same.
        using reference = FutureSectionView;

        constexpr iterator() noexcept = default;
        /// Begins there.
        constexpr explicit iterator(const std::uint8_t* next) noexcept : _next(next) {}

        /// The part.
        [[nodiscard]] constexpr FutureSectionView operator*() const noexcept {
            return {_next[0], {_next + 2, _next[1]}};
        }
        /// Goes to the next one.
        constexpr iterator& operator++() noexcept {
            _next += std::size_t{2} + _next[1];
            return *this;
        }
        /// The same.
        constexpr iterator operator++(int) noexcept {
            const iterator before = *this;
            ++*this;
            return before;
        }
        /// Whether all fields are equal.
        friend constexpr bool operator==(const iterator&, const iterator&) noexcept = default;

    private:
        const std::uint8_t* _next = nullptr;
    };

    /// Whole sections.
    constexpr explicit FutureSectionsView(std::span<const std::uint8_t> bytes) noexcept : _bytes(bytes) {}

    /// The first section.
    [[nodiscard]] constexpr iterator begin() const noexcept { return iterator(_bytes.data()); }
    /// Behind the last section.
    [[nodiscard]] constexpr iterator end() const noexcept { return iterator(_bytes.data() + _bytes.size()); }
    /// Whether there is none.
    [[nodiscard]] constexpr bool empty() const noexcept { return _bytes.empty(); }
    /// All of them as they stand on the wire.
    [[nodiscard]] constexpr std::span<const std::uint8_t> bytes() const noexcept { return _bytes; }

private:
    std::span<const std::uint8_t> _bytes;
};

}  // namespace qlx::cc
