// The operations of a multiple_operation_message (ANSI/SCTE 104): opID 2 | data_length 2 | data, big-endian.
#pragma once

#include <qlx/scte/scte104_operations.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qlx::scte104 {

inline constexpr std::uint16_t kSpliceRequestID = scte::SpliceRequest::kOpId;
inline constexpr std::uint16_t kSpliceNullID = scte::SpliceNullRequest::kOpId;
inline constexpr std::uint16_t kTimeSignalID = scte::TimeSignalRequest::kOpId;
inline constexpr std::uint16_t kInsertDescriptorID = scte::InsertDescriptorRequest::kOpId;
inline constexpr std::uint16_t kInsertDTMFDescriptorID = scte::InsertDtmfDescriptorRequest::kOpId;
inline constexpr std::uint16_t kInsertSegmentationDescriptorID = scte::InsertSegmentationDescriptorRequest::kOpId;

/// opID and data_length.
inline constexpr std::size_t kOperationHeaderBytes = 4;

// Each write() fills size() bytes, opID and data_length included. Each read() takes the data alone, of which there may
// be more than needed, and gives none when there are too few.

/// splice_request_data, written without not_an_entry_flag:
///
///   splice_insert_type 1 | splice_event_id 4 | unique_program_id 2 | pre_roll_time 2 | break_duration 2 |
///   avail_num 1 | avails_expected 1 | auto_return_flag 1
struct SpliceRequest : scte::SpliceRequest {
    static constexpr std::size_t kDataBytes = 14;

    [[nodiscard]] static constexpr std::size_t size() noexcept { return kOperationHeaderBytes + kDataBytes; }
    void write(std::uint8_t* bytes) const noexcept;
    [[nodiscard]] static std::optional<SpliceRequest> read(std::span<const std::uint8_t> data) noexcept;
};

/// splice_null_request_data, which has no data.
struct SpliceNull {
    [[nodiscard]] static constexpr std::size_t size() noexcept { return kOperationHeaderBytes; }
    static void write(std::uint8_t* bytes) noexcept;
};

/// time_signal_request_data: pre_roll_time 2.
struct TimeSignal {
    static constexpr std::size_t kDataBytes = 2;

    std::uint16_t preRollTime = 0;  ///< Milliseconds.

    [[nodiscard]] static constexpr std::size_t size() noexcept { return kOperationHeaderBytes + kDataBytes; }
    void write(std::uint8_t* bytes) const noexcept;
    [[nodiscard]] static std::optional<TimeSignal> read(std::span<const std::uint8_t> data) noexcept;
};

/// insert_descriptor_request_data, read only: length 1 | bytes.
struct InsertDescriptor {
    std::optional<std::span<const std::uint8_t>> descriptor;  ///< Refers to the data that were read.

    [[nodiscard]] static std::optional<InsertDescriptor> read(std::span<const std::uint8_t> data) noexcept;
};

/// insert_DTMF_descriptor_request_data, read only: pre_roll 1 | length 1 | ... | characters from offset 3.
struct InsertDTMFDescriptor {
    std::uint8_t preRoll = 0;                                 ///< Tenths of a second.
    std::optional<std::span<const std::uint8_t>> characters;  ///< Refers to the data that were read.

    [[nodiscard]] static std::optional<InsertDTMFDescriptor> read(std::span<const std::uint8_t> data) noexcept;
};

/// insert_segmentation_descriptor_request_data:
///
///   segmentation_event_id 4 | cancel 1 | duration 2 | upid_type 1 | upid_length 1 | upid | type_id 1 | segment_num 1 |
///   segments_expected 1 | duration_extension_frames 1 | delivery_not_restricted 1 | web_delivery_allowed 1 |
///   no_regional_blackout 1 | archive_allowed 1 | device_restrictions 1
struct SegmentationDescriptor {
    static constexpr std::size_t kDataBytesWithoutUPID = 18;

    std::uint32_t eventID = 0;
    bool cancel = false;
    std::uint16_t duration = 0;  ///< Seconds.
    std::uint8_t upidType = 0;
    std::string upid;  ///< Its bytes, at most 255.
    std::uint8_t segmentationType = 0;
    std::uint8_t segmentNumber = 0;
    std::uint8_t segmentsExpected = 0;
    std::uint8_t durationExtensionFrames = 0;
    bool deliveryNotRestricted = false;
    bool webDeliveryAllowed = false;
    bool noRegionalBlackout = false;
    bool archiveAllowed = false;
    std::uint8_t deviceRestrictions = 0;

    [[nodiscard]] std::size_t size() const noexcept {
        return kOperationHeaderBytes + kDataBytesWithoutUPID + upid.size();
    }
    void write(std::uint8_t* bytes) const;
    [[nodiscard]] static std::optional<SegmentationDescriptor> read(std::span<const std::uint8_t> data);
};

}  // namespace qlx::scte104
