// The splice descriptors of ANSI/SCTE 35 (2023r1, 10.3), each as a value.
//
//     for (const qlx::scte::SpliceDescriptor& descriptor : section.descriptors) {
//         if (const auto* segment = std::get_if<qlx::scte::SegmentationDescriptor>(&descriptor.data)) {
//             use(segment->typeId, segment->upid);
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/result.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace qlx::scte {

/// identifier of the standard's own descriptors: "CUEI".
inline constexpr std::uint32_t kCueIdentifier = 0x43554549;

/// avail_descriptor().
struct AvailDescriptor {
    /// splice_descriptor_tag
    static constexpr std::uint8_t kTag = 0x00;

    std::uint32_t providerAvailId = 0;  ///< provider_avail_id

    /// Whether all fields are equal.
    friend bool operator==(const AvailDescriptor&, const AvailDescriptor&) = default;
};

/// DTMF_descriptor().
struct DtmfDescriptor {
    /// splice_descriptor_tag
    static constexpr std::uint8_t kTag = 0x01;

    std::uint8_t preRollTenths = 0;        ///< preroll in tenths of a second.
    std::uint8_t reserved = 0x1F;          ///< 5 bits.
    std::vector<std::uint8_t> characters;  ///< DTMF_char, at most 7.

    /// Whether all fields are equal.
    friend bool operator==(const DtmfDescriptor&, const DtmfDescriptor&) = default;
};

/// segmentation_upid_type (ANSI/SCTE 35, 10.3.3.1). A descriptor can hold other numbers.
enum class UpidType : std::uint8_t {
    NotUsed = 0x00,         ///< No UPID.
    UserDefined = 0x01,     ///< Text of the user's own (deprecated).
    Isci = 0x02,            ///< ISCI, 8 characters (deprecated).
    AdId = 0x03,            ///< Ad-ID, 12 characters.
    Umid = 0x04,            ///< UMID (SMPTE ST 330), 32 bytes.
    IsanDeprecated = 0x05,  ///< ISAN, 8 bytes (deprecated).
    Isan = 0x06,            ///< ISAN with version, 12 bytes.
    Tid = 0x07,             ///< Tribune identifier, 12 characters.
    Ti = 0x08,              ///< Airing identifier, 8 bytes.
    Adi = 0x09,             ///< CableLabs identifier, a text.
    Eidr = 0x0A,            ///< EIDR, 12 bytes.
    AtscContent = 0x0B,     ///< ATSC content identifier.
    Mpu = 0x0C,             ///< Managed private UPID: format identifier and bytes.
    Mid = 0x0D,             ///< Several UPIDs.
    AdsInformation = 0x0E,  ///< Advertising information, a text.
    Uri = 0x0F,             ///< URI, a text.
    Uuid = 0x10,            ///< UUID, 16 bytes.
    Scr = 0x11,             ///< SCTE registered text.
};

/// Bytes that a UPID of this type has (ANSI/SCTE 35, 10.3.3.1); none where there may be any number.
[[nodiscard]] constexpr std::optional<std::size_t> upidBytes(UpidType type) noexcept {
    switch (type) {
    case UpidType::NotUsed:
        return 0;
    case UpidType::Isci:
    case UpidType::IsanDeprecated:
    case UpidType::Ti:
        return 8;
    case UpidType::AdId:
    case UpidType::Isan:
    case UpidType::Tid:
    case UpidType::Eidr:
        return 12;
    case UpidType::Umid:
        return 32;
    case UpidType::Uuid:
        return 16;
    default:
        return std::nullopt;
    }
}

/// A UPID: its type and its bytes.
struct Upid {
    UpidType type = UpidType::NotUsed;  ///< segmentation_upid_type
    std::vector<std::uint8_t> bytes;    ///< segmentation_upid, at most 255 bytes.

    /// Whether all fields are equal.
    friend bool operator==(const Upid&, const Upid&) = default;
};

/// The UPIDs of a MID() in their order. ScteDescriptorTooShort where they do not fill its bytes.
[[nodiscard]] QLX_EXPORT Result<std::vector<Upid>> upidsOfMid(std::span<const std::uint8_t> bytes);

/// The bytes of a MID(). ScteValueTooLarge for a UPID of more than 255 bytes.
[[nodiscard]] QLX_EXPORT Result<std::vector<std::uint8_t>> midOfUpids(std::span<const Upid> upids);

/// A UPID as people write it: the characters of a text, "10.5240/7791-8534-2C23-9030-8610-5" for an EIDR, groups of
/// digits for ISAN and UUID, the UPIDs of a MID in brackets; hexadecimal digits where it is none of these, or not as
/// long as it should be.
[[nodiscard]] QLX_EXPORT std::string upidText(const Upid& upid);

/// The standard's name of the type; empty for one that has none.
[[nodiscard]] QLX_EXPORT std::string_view upidTypeText(UpidType type) noexcept;

/// Where the content may be delivered; there unless delivery_not_restricted_flag is set.
struct DeliveryRestrictions {
    bool webDeliveryAllowed = true;       ///< web_delivery_allowed_flag
    bool noRegionalBlackout = true;       ///< no_regional_blackout_flag
    bool archiveAllowed = true;           ///< archive_allowed_flag
    std::uint8_t deviceRestrictions = 3;  ///< device_restrictions, 0 to 3; 3 for none.

    /// Whether all fields are equal.
    friend bool operator==(const DeliveryRestrictions&, const DeliveryRestrictions&) = default;
};

/// A stream of a segmentation descriptor.
struct SegmentationComponent {
    std::uint8_t componentTag = 0;   ///< component_tag
    std::uint8_t reserved = 0x7F;    ///< 7 bits.
    std::uint64_t ptsOffset90k = 0;  ///< pts_offset

    /// Whether all fields are equal.
    friend bool operator==(const SegmentationComponent&, const SegmentationComponent&) = default;
};

/// sub_segment_num and sub_segments_expected.
struct SubSegment {
    std::uint8_t number = 0;    ///< sub_segment_num
    std::uint8_t expected = 0;  ///< sub_segments_expected

    /// Whether all fields are equal.
    friend bool operator==(const SubSegment&, const SubSegment&) = default;
};

/// segmentation_descriptor(). A cancelled one has an event identifier, and nothing else has a meaning.
struct SegmentationDescriptor {
    /// splice_descriptor_tag
    static constexpr std::uint8_t kTag = 0x02;

    std::uint32_t eventId = 0;                         ///< segmentation_event_id
    bool cancel = false;                               ///< segmentation_event_cancel_indicator
    bool eventIdCompliance = true;                     ///< segmentation_event_id_compliance_indicator; a reserved 1
                                                       ///< before 2022.
    std::uint8_t reserved = 0x3F;                      ///< 6 bits.
    bool programSegmentation = true;                   ///< program_segmentation_flag
    std::optional<DeliveryRestrictions> restrictions;  ///< None where delivery_not_restricted_flag is set.
    std::uint8_t reservedRestrictions = 0x1F;          ///< 5 bits where there are no restrictions.
    std::vector<SegmentationComponent> components;     ///< Where it is not for the program; at most 255.
    std::optional<std::uint64_t> duration90k;          ///< segmentation_duration, 40 bits.
    Upid upid;                                         ///< The UPID.
    std::uint8_t typeId = 0;                           ///< segmentation_type_id
    std::uint8_t segmentNum = 0;                       ///< segment_num
    std::uint8_t segmentsExpected = 0;                 ///< segments_expected
    std::optional<SubSegment> subSegment;              ///< There or not, as the descriptor's length says.

    /// Whether all fields are equal.
    friend bool operator==(const SegmentationDescriptor&, const SegmentationDescriptor&) = default;
};

/// Whether the standard gives sub-segments to a segmentation_type_id: 30, 32, 34, 36, 38, 3A, 44 and 46 (the 2019
/// edition: 34, 36, 38, 3A).
[[nodiscard]] QLX_EXPORT bool hasSubSegments(std::uint8_t segmentationTypeId) noexcept;

/// time_descriptor().
struct TimeDescriptor {
    /// splice_descriptor_tag
    static constexpr std::uint8_t kTag = 0x03;

    std::uint64_t taiSeconds = 0;      ///< TAI_seconds, 48 bits.
    std::uint32_t taiNanoseconds = 0;  ///< TAI_ns
    std::uint16_t utcOffset = 0;       ///< UTC_offset in seconds.

    /// Whether all fields are equal.
    friend bool operator==(const TimeDescriptor&, const TimeDescriptor&) = default;
};

/// A stream of an audio descriptor.
struct AudioComponent {
    std::uint8_t componentTag = 0;           ///< component_tag; FFh where the order in the program map tells.
    std::array<std::uint8_t, 3> language{};  ///< ISO_code: ISO 639-2.
    std::uint8_t bitStreamMode = 0;          ///< Bit_Stream_Mode, 3 bits (ATSC A/52).
    std::uint8_t numChannels = 0;            ///< Num_Channels, 4 bits (ATSC A/52).
    bool fullService = false;                ///< Full_Srvc_Audio

    /// Whether all fields are equal.
    friend bool operator==(const AudioComponent&, const AudioComponent&) = default;
};

/// audio_descriptor().
struct AudioDescriptor {
    /// splice_descriptor_tag
    static constexpr std::uint8_t kTag = 0x04;

    std::uint8_t reserved = 0x0F;            ///< 4 bits.
    std::vector<AudioComponent> components;  ///< At most 15.

    /// Whether all fields are equal.
    friend bool operator==(const AudioDescriptor&, const AudioDescriptor&) = default;
};

/// A descriptor of somebody else, of a tag that is not known, or too short for its tag: kept as it is.
struct VerbatimDescriptor {
    std::uint8_t tag = 0;            ///< splice_descriptor_tag
    std::vector<std::uint8_t> data;  ///< What stands behind descriptor_length, with the identifier; at most 255 bytes.

    /// identifier; none where there are fewer than 4 bytes.
    [[nodiscard]] QLX_EXPORT std::optional<std::uint32_t> identifier() const noexcept;

    /// Whether all fields are equal.
    friend bool operator==(const VerbatimDescriptor&, const VerbatimDescriptor&) = default;
};

/// What a descriptor says.
using SpliceDescriptorData = std::variant<AvailDescriptor, DtmfDescriptor, SegmentationDescriptor, TimeDescriptor,
                                          AudioDescriptor, VerbatimDescriptor>;

/// A descriptor of a section.
struct SpliceDescriptor {
    SpliceDescriptorData data;           ///< What it says.
    std::vector<std::uint8_t> trailing;  ///< What it has behind the fields that are known.

    /// splice_descriptor_tag
    [[nodiscard]] QLX_EXPORT std::uint8_t tag() const noexcept;

    /// Whether all fields are equal.
    friend bool operator==(const SpliceDescriptor&, const SpliceDescriptor&) = default;
};

}  // namespace qlx::scte
