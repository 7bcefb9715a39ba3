// Whole SCTE-104 messages, the pieces of SCTE-35 sections, and their CRC.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstdint>
#include <vector>

/// The MPEG-2 CRC-32 of ISO/IEC 13818-1 (polynomial 0x04C11DB7, initial value 0xFFFFFFFF, most significant bit first,
/// no final inversion).
/// @param bytes The bytes; null only with count 0.
/// @param count Their number; 0 gives 0xFFFFFFFF.
[[nodiscard]] QLX_EXPORT std::uint32_t mpegCRC32(const std::uint8_t* bytes, std::uint64_t count) noexcept;

/// Class operations that build and parse SCTE-104 messages and build the pieces of SCTE-35 sections. They keep no state
/// and may be called from any thread.
///
/// A message is the payload of an ANC packet: the payload descriptor 0x08 (SMPTE ST 2010), then a
/// `multiple_operation_message` (ANSI/SCTE 104) without time stamp.
class QLX_EXPORT QLXSCTEUtilities {
public:
    QLXSCTEUtilities() = delete;

    // SCTE-104 messages

    /// The 13 bytes in front of the operations, payload descriptor included.
    /// @param messageSize Bytes from the reserved field on; the low 16 bits are written.
    /// @param messageNumber message_number.
    /// @param numberOfOperations num_ops; the low 8 bits are written.
    /// @param asIndex AS_index.
    /// @param dpiPID DPI_PID_index.
    [[nodiscard]] static qlx::Data SCTEHeaderWithMessageSize_messageNumber_numberOfOperations_asIndex_dpiPID(
        std::uint64_t messageSize, std::uint8_t messageNumber, std::uint64_t numberOfOperations, std::uint8_t asIndex,
        std::uint16_t dpiPID);

    /// A message of one splice null operation, message number 1: 17 bytes. Its messageSize is 4, the operation's
    /// length, as deployed receivers expect.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data SCTE104SpliceNullRequestDataWithASIndex_dpiPID(std::uint8_t asIndex,
                                                                                  std::uint16_t dpiPID);

    /// A message of one splice request, message number 1: 31 bytes. A value out of its range gives the 13-byte header
    /// alone, which still announces the operation.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    /// @param spliceType 1 to 255.
    /// @param asIndex AS_index.
    /// @param dpiPID DPI_PID_index.
    /// @param spliceEventID 0 to 4294967295.
    /// @param programUniqueID 0 to 65535.
    /// @param duration Tenths of a second.
    /// @param autoReturn auto_return_flag.
    /// @param preRoll Milliseconds.
    [[nodiscard]] static qlx::Data
    SCTE104SpliceInsertDataWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll(
        std::int32_t spliceType, std::uint8_t asIndex, std::uint16_t dpiPID, std::uint64_t spliceEventID,
        std::uint64_t programUniqueID, std::uint16_t duration, bool autoReturn, std::uint16_t preRoll);

    /// A message of any operations, each a whole one with opID and data_length. num_ops is at most 255, but all
    /// operations are appended.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
        const std::vector<qlx::Data>& operations, std::uint8_t messageNumber, std::uint8_t asIndex,
        std::uint16_t dpiPID);

    /// The operations of a message, each as its parameters with "asIndex", "dpiPID" and "messageNumber" added. Time
    /// stamps are passed over. Operations that cannot be parsed are left out; one that runs past the buffer ends the
    /// list. messageSize and the protocol versions are not examined.
    /// Departs from ANSI/SCTE 104 and SMPTE ST 2010: see docs/COMPATIBILITY.md.
    /// @param messageData A whole message, payload descriptor first; one without it, or below 14 bytes, gives an empty
    ///   list.
    [[nodiscard]] static std::vector<qlx::Dictionary> operationsWithSCTEMessageData(const qlx::Data& messageData);

    // Pieces of SCTE-35 sections (ANSI/SCTE 35)

    /// A splice_time(): 5 bytes with a time, else 1.
    /// @param pts 90 kHz ticks; the low 33 bits are used.
    /// @param timeSpecified time_specified_flag: whether there is a time.
    [[nodiscard]] static qlx::Data SCTE35SpliceTimeDataWithPTS_timeSpecified(std::uint64_t pts, bool timeSpecified);

    /// A break_duration() of 5 bytes.
    /// @param duration 90 kHz ticks; the low 33 bits are used.
    /// @param autoReturn auto_return.
    [[nodiscard]] static qlx::Data SCTE35BreakDurationDataWithDuration_autoReturn(std::uint64_t duration,
                                                                                  bool autoReturn);

    /// A splice_insert() of 5 (cancel), 10, 15 or 20 bytes.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    /// @param spliceType The splice_insert_type of SCTE-104: 1, 2 start, 3, 4 end (2 and 4 immediately), 5 cancel.
    /// @param eventID splice_event_id.
    /// @param programUID unique_program_id.
    /// @param duration Copied into break_duration() as it is, without auto_return; 0 leaves it out.
    /// @param pts 90 kHz ticks; the low 33 bits are used.
    [[nodiscard]] static qlx::Data SCTE35SpliceInsertDataWithSpliceType_eventID_programUID_duration_pts(
        std::int32_t spliceType, std::uint32_t eventID, std::uint16_t programUID, std::uint16_t duration,
        std::uint64_t pts);

    /// A segmentation_descriptor() of type 1 (content identification) without UPID: 17 bytes, or 11 with `cancel`.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    /// @param eventID The low byte of segmentation_event_id; the others are 0.
    /// @param cancel segmentation_event_cancel_indicator.
    [[nodiscard]] static qlx::Data SCTE35SegmentationDescriptorWithEventID_cancel(std::uint8_t eventID, bool cancel);
};
