// The operations of a multiple_operation_message (ANSI/SCTE 104 2023, table 8-4), each as a value.
//
// Names are the standard's. A field of one byte that is a flag holds the byte, because a message may carry any: 0 is
// false, all others are true.
//
//     qlx::scte::MultipleOperationMessage message;
//     qlx::scte::SpliceRequest request;
//     request.eventId = 7;
//     request.preRollMilliseconds = 4000;
//     message.operations.emplace_back().data = request;
//     const qlx::Result<qlx::Data> bytes = qlx::scte::writeMessage(message);
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace qlx::scte {

/// The class of an operation: the Usage column of tables 8-3 and 8-4 (ANSI/SCTE 104, 8.3.1).
enum class OperationUsage : std::uint8_t {
    Unknown,       ///< Reserved, or defined by users.
    Basic,         ///< Of a single_operation_message.
    Normal,        ///< Stands for itself; what follows may add to it.
    Supplemental,  ///< Adds to the normal operation in front of it.
    Control,       ///< Stands for itself; nothing adds to it.
};

/// The class of the operation with an opID, 0000h to FFFFh.
[[nodiscard]] constexpr OperationUsage operationUsage(std::uint16_t opId) noexcept {
    if (opId <= 0x0012) {
        const bool isReserved = opId == 0x0005 || opId == 0x0006 || opId == 0x000D || opId == 0x000E;
        return isReserved ? OperationUsage::Unknown : OperationUsage::Basic;
    }
    if (opId == 0x0112 || opId == 0x0300 || opId == 0x0301) {
        return OperationUsage::Control;
    }
    if (opId < 0x0100 || opId > 0x0113) {
        return OperationUsage::Unknown;
    }
    return opId <= 0x0105 || opId == 0x010C ? OperationUsage::Normal : OperationUsage::Supplemental;
}

/// splice_insert_type of a splice request (ANSI/SCTE 104, table 9-6). A message can hold other numbers.
enum class SpliceInsertType : std::uint8_t {
    StartNormal = 1,     ///< Away from the network after the pre-roll.
    StartImmediate = 2,  ///< Away from the network at once.
    EndNormal = 3,       ///< Back to the network after the pre-roll.
    EndImmediate = 4,    ///< Back to the network at once.
    Cancel = 5,          ///< The event will not take place.
};

/// inject_section_data_request (ANSI/SCTE 104, table 9-25): a splice command as SCTE 35 has it.
struct InjectSectionDataRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0100;

    std::uint8_t protocolVersion = 0;   ///< SCTE35_protocol_version
    std::uint8_t commandType = 0;       ///< SCTE35_command_type
    std::vector<std::uint8_t> command;  ///< SCTE35_command_contents; its length is written in front of it.

    /// Whether all fields are equal.
    friend bool operator==(const InjectSectionDataRequest&, const InjectSectionDataRequest&) = default;
};

/// splice_request_data (ANSI/SCTE 104, table 9-5).
struct SpliceRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0101;

    SpliceInsertType type = SpliceInsertType::StartNormal;  ///< splice_insert_type
    std::uint32_t eventId = 0;                              ///< splice_event_id
    std::uint16_t uniqueProgramId = 0;                      ///< unique_program_id
    std::uint16_t preRollMilliseconds = 0;                  ///< pre_roll_time; normal starts and ends only.
    std::uint16_t breakDurationTenths = 0;       ///< break_duration in tenths of a second; starts only, 0 for none.
    std::uint8_t availNum = 0;                   ///< avail_num
    std::uint8_t availsExpected = 0;             ///< avails_expected
    std::uint8_t autoReturn = 0;                 ///< auto_return_flag; starts with a duration only.
    std::optional<std::uint8_t> notAnEntryFlag;  ///< not_an_entry_flag, which may be absent.

    /// Whether all fields are equal.
    friend bool operator==(const SpliceRequest&, const SpliceRequest&) = default;
};

/// splice_null_request_data (ANSI/SCTE 104, table 9-24), which has no fields.
struct SpliceNullRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0102;

    /// Always true.
    friend bool operator==(const SpliceNullRequest&, const SpliceNullRequest&) = default;
};

/// start_schedule_download_request_data (ANSI/SCTE 104, table 9-18).
struct StartScheduleDownloadRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0103;

    std::vector<std::uint32_t> providerAvailIds;  ///< provider_avail_id, at most 255.

    /// Whether all fields are equal.
    friend bool operator==(const StartScheduleDownloadRequest&, const StartScheduleDownloadRequest&) = default;
};

/// time_signal_request_data (ANSI/SCTE 104, table 9-23).
struct TimeSignalRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0104;

    std::uint16_t preRollMilliseconds = 0;  ///< pre-roll_time

    /// Whether all fields are equal.
    friend bool operator==(const TimeSignalRequest&, const TimeSignalRequest&) = default;
};

/// transmit_schedule_request_data (ANSI/SCTE 104, table 9-22).
struct TransmitScheduleRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0105;

    std::uint8_t cancel = 0;  ///< cancel: what was downloaded is thrown away.

    /// Whether all fields are equal.
    friend bool operator==(const TransmitScheduleRequest&, const TransmitScheduleRequest&) = default;
};

/// A stream of component_mode_DPI_request_data.
struct ComponentPreRoll {
    std::uint8_t componentTag = 0;          ///< component_tag
    std::uint16_t preRollMilliseconds = 0;  ///< component_preroll

    /// Whether all fields are equal.
    friend bool operator==(const ComponentPreRoll&, const ComponentPreRoll&) = default;
};

/// component_mode_DPI_request_data (ANSI/SCTE 104, table 9-11).
struct ComponentModeRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0106;

    std::vector<ComponentPreRoll> components;  ///< As many as the operation's data have.

    /// Whether all fields are equal.
    friend bool operator==(const ComponentModeRequest&, const ComponentModeRequest&) = default;
};

/// encrypted_DPI_request_data (ANSI/SCTE 104, table 9-8). Stands behind the operation that it is for, but in front of a
/// schedule (9.7.1).
struct EncryptedDpiRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0107;

    std::uint8_t encryptionAlgorithm = 0;  ///< encryption_algorithm, 0 to 63.
    std::uint8_t cwIndex = 0;              ///< CW_index

    /// Whether all fields are equal.
    friend bool operator==(const EncryptedDpiRequest&, const EncryptedDpiRequest&) = default;
};

/// A descriptor as its bytes stand in an SCTE 35 section; its length is written between tag and data.
struct DescriptorImage {
    std::uint8_t tag = 0;            ///< descriptor_tag
    std::vector<std::uint8_t> data;  ///< What stands behind the length, at most 255 bytes.

    /// Whether all fields are equal.
    friend bool operator==(const DescriptorImage&, const DescriptorImage&) = default;
};

/// insert_descriptor_request_data (ANSI/SCTE 104, table 9-27).
struct InsertDescriptorRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0108;

    std::vector<DescriptorImage> descriptors;  ///< descriptor_image, at most 255.

    /// Whether all fields are equal.
    friend bool operator==(const InsertDescriptorRequest&, const InsertDescriptorRequest&) = default;
};

/// insert_DTMF_descriptor_request_data (ANSI/SCTE 104, table 9-28).
struct InsertDtmfDescriptorRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0109;

    std::uint8_t preRollTenths = 0;        ///< pre-roll in tenths of a second.
    std::vector<std::uint8_t> characters;  ///< DTMF_char: '0' to '9', '*', '#', 'A' to 'D'; at most 255.

    /// Whether all fields are equal.
    friend bool operator==(const InsertDtmfDescriptorRequest&, const InsertDtmfDescriptorRequest&) = default;
};

/// insert_avail_descriptor_request_data (ANSI/SCTE 104, table 9-26).
struct InsertAvailDescriptorRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x010A;

    std::vector<std::uint32_t> providerAvailIds;  ///< provider_avail_id, at most 255.

    /// Whether all fields are equal.
    friend bool operator==(const InsertAvailDescriptorRequest&, const InsertAvailDescriptorRequest&) = default;
};

/// The last three bytes of a segmentation request.
struct SubSegmentRequest {
    std::uint8_t insert = 0;               ///< insert_sub_segment_info
    std::uint8_t subSegmentNum = 0;        ///< sub_segment_num
    std::uint8_t subSegmentsExpected = 0;  ///< sub_segments_expected

    /// Whether all fields are equal.
    friend bool operator==(const SubSegmentRequest&, const SubSegmentRequest&) = default;
};

/// insert_segmentation_descriptor_request_data (ANSI/SCTE 104, table 9-29).
struct InsertSegmentationDescriptorRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x010B;

    std::uint32_t eventId = 0;          ///< segmentation_event_id
    std::uint8_t cancel = 0;            ///< segmentation_event_cancel_indicator
    std::uint16_t durationSeconds = 0;  ///< duration; 0 for none.
    std::uint8_t upidType = 0;          ///< segmentation_upid_type
    std::vector<std::uint8_t> upid;     ///< segmentation_upid, at most 255 bytes.
    std::uint8_t typeId = 0;            ///< segmentation_type_id
    std::uint8_t segmentNum = 0;        ///< segment_num
    std::uint8_t segmentsExpected = 0;  ///< segments_expected
    /// duration_extension_frames, below the frame rate; only with a duration.
    std::uint8_t durationExtensionFrames = 0;
    std::uint8_t deliveryNotRestricted = 0;        ///< delivery_not_restricted_flag
    std::uint8_t webDeliveryAllowed = 0;           ///< web_delivery_allowed_flag
    std::uint8_t noRegionalBlackout = 0;           ///< no_regional_blackout_flag
    std::uint8_t archiveAllowed = 0;               ///< archive_allowed_flag
    std::uint8_t deviceRestrictions = 0;           ///< device_restrictions, 0 to 3.
    std::optional<SubSegmentRequest> subSegments;  ///< May be absent: the operation's length tells.

    /// Whether all fields are equal.
    friend bool operator==(const InsertSegmentationDescriptorRequest&,
                           const InsertSegmentationDescriptorRequest&) = default;
};

/// proprietary_command_request_data (ANSI/SCTE 104, table 9-30).
struct ProprietaryCommandRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x010C;

    std::uint32_t proprietaryId = 0;      ///< proprietary_id
    std::uint8_t proprietaryCommand = 0;  ///< proprietary_command
    std::vector<std::uint8_t> data;       ///< proprietary_data

    /// Whether all fields are equal.
    friend bool operator==(const ProprietaryCommandRequest&, const ProprietaryCommandRequest&) = default;
};

/// A stream of schedule_component_mode_request_data.
struct ScheduledComponentTime {
    std::uint8_t componentTag = 0;  ///< component_tag
    std::uint32_t gpsSeconds = 0;   ///< time: seconds since 6 January 1980, leap seconds included.

    /// Whether all fields are equal.
    friend bool operator==(const ScheduledComponentTime&, const ScheduledComponentTime&) = default;
};

/// schedule_component_mode_request_data (ANSI/SCTE 104, table 9-21).
struct ScheduleComponentModeRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x010D;

    std::vector<ScheduledComponentTime> components;  ///< As many as the operation's data have.

    /// Whether all fields are equal.
    friend bool operator==(const ScheduleComponentModeRequest&, const ScheduleComponentModeRequest&) = default;
};

/// splice_schedule_command_type (ANSI/SCTE 104, table 9-20). A message can hold other numbers.
enum class SpliceScheduleCommand : std::uint8_t {
    Insert = 1,  ///< Away from the network.
    Return = 3,  ///< Back to the network.
    Cancel = 5,  ///< The event will not take place.
};

/// schedule_definition_data (ANSI/SCTE 104, table 9-19).
struct ScheduleDefinition {
    /// opID
    static constexpr std::uint16_t kOpId = 0x010E;

    SpliceScheduleCommand command = SpliceScheduleCommand::Insert;  ///< splice_schedule_command
    std::uint32_t eventId = 0;                                      ///< splice_event_id
    std::uint32_t gpsSeconds = 0;           ///< time: seconds since 6 January 1980, leap seconds included.
    std::uint16_t uniqueProgramId = 0;      ///< unique_program_id
    std::uint8_t autoReturn = 0;            ///< auto_return
    std::uint16_t breakDurationTenths = 0;  ///< break_duration in tenths of a second; 0 for none.
    std::uint8_t availNum = 0;              ///< avail_num
    std::uint8_t availsExpected = 0;        ///< avails_expected

    /// Whether all fields are equal.
    friend bool operator==(const ScheduleDefinition&, const ScheduleDefinition&) = default;
};

/// insert_tier_data (ANSI/SCTE 104, table 9-31).
struct InsertTierRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x010F;

    std::uint16_t tier = 0x0FFF;  ///< tier_data: 12 bits, the upper four are 0.

    /// Whether all fields are equal.
    friend bool operator==(const InsertTierRequest&, const InsertTierRequest&) = default;
};

/// insert_time_descriptor (ANSI/SCTE 104, table 9-32).
struct InsertTimeDescriptorRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0110;

    std::uint64_t taiSeconds = 0;      ///< TAI_seconds, 48 bits.
    std::uint32_t taiNanoseconds = 0;  ///< TAI_ns
    std::uint16_t utcOffset = 0;       ///< UTC_offset in seconds.

    /// Whether all fields are equal.
    friend bool operator==(const InsertTimeDescriptorRequest&, const InsertTimeDescriptorRequest&) = default;
};

/// insert_audio_descriptor (ANSI/SCTE 104, 9.8.11). Its fields are not read: the data are kept as they are.
struct InsertAudioDescriptorRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0111;

    std::vector<std::uint8_t> data;  ///< The operation's data.

    /// Whether all fields are equal.
    friend bool operator==(const InsertAudioDescriptorRequest&, const InsertAudioDescriptorRequest&) = default;
};

/// delete_ControlWord_data (ANSI/SCTE 104, table 9-10).
struct DeleteControlWord {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0300;

    std::uint8_t cwIndex = 0;  ///< CW_index

    /// Whether all fields are equal.
    friend bool operator==(const DeleteControlWord&, const DeleteControlWord&) = default;
};

/// update_ControlWord_data (ANSI/SCTE 104, table 9-9).
struct UpdateControlWord {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0301;

    std::uint8_t cwIndex = 0;                     ///< CW_index
    std::array<std::uint64_t, 3> controlWords{};  ///< CW_A, CW_B, CW_C; the last two are 0 unless for Triple DES.

    /// Whether all fields are equal.
    friend bool operator==(const UpdateControlWord&, const UpdateControlWord&) = default;
};

/// An operation whose opID is not known, or whose data are too short for it, or not read (0112h,
/// insert_audio_provisioning, and 0113h, insert_alternate_break_duration): kept as it is.
struct VerbatimOperation {
    std::uint16_t opId = 0;          ///< opID
    std::vector<std::uint8_t> data;  ///< Its data.

    /// Whether all fields are equal.
    friend bool operator==(const VerbatimOperation&, const VerbatimOperation&) = default;
};

}  // namespace qlx::scte
