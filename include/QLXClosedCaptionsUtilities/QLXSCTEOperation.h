// Operations of SCTE-104 messages: their bytes, their parameters and the names of their codes.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// One operation of a `multiple_operation_message` (ANSI/SCTE 104), and class operations that build, parse and name
/// operations. An operation is handled as one buffer: opID (2 bytes), data_length (2 bytes) and the data; all fields
/// are big-endian. Class operations keep no state and may be called from any thread.
///
/// Parameters are read leniently: a text gives the number at its start. They are compared as unsigned 64-bit numbers,
/// so that a negative one fails every upper bound. A null value counts as absent.
class QLX_EXPORT QLXSCTEOperation {
public:
    /// An operation with opID 0.
    QLXSCTEOperation() noexcept = default;
    QLXSCTEOperation(const QLXSCTEOperation&) = delete;
    QLXSCTEOperation& operator=(const QLXSCTEOperation&) = delete;

    /// The operation's opID; carried for clients. Read and written whole, from any thread.
    [[nodiscard]] std::uint16_t operationID() const noexcept { return _operationID.load(std::memory_order_relaxed); }
    /// Sets operationID().
    void setOperationID(std::uint16_t value) noexcept { _operationID.store(value, std::memory_order_relaxed); }

    // Building

    /// A splice_request_data operation (opID 0x0101) of 18 bytes, with avail_num and avails_expected 0.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    /// @param spliceType splice_insert_type, 1 to 255: 1 start, 2 start immediately, 3 end, 4 end immediately,
    ///   5 cancel.
    /// @param spliceEventID 0 to 4294967295.
    /// @param programUniqueID 0 to 65535.
    /// @param duration break_duration in tenths of a second.
    /// @param autoReturn auto_return_flag: back to the network when the duration is over.
    /// @param preRoll pre_roll_time in milliseconds.
    /// @return None for a value out of its range.
    [[nodiscard]] static qlx::Data
    spliceRequestDataWithSpliceType_spliceEventID_programUniqueID_duration_autoReturn_preRoll(
        std::int32_t spliceType, std::uint64_t spliceEventID, std::uint64_t programUniqueID, std::uint16_t duration,
        bool autoReturn, std::uint16_t preRoll);

    /// The same from a dictionary.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    /// @param parameters "spliceType" (1 to 255), "eventID" (0 to 4294967295) and "programUniqueID" (0 to 65535) must
    ///   be there; "duration" (tenths of a second) and "preRoll" (milliseconds), of which the low 16 bits are used,
    ///   and "autoReturn" (boolean) are 0 and false when absent.
    /// @param errorDescription Written on failure only: which parameter is invalid or missing.
    /// @return None on failure.
    [[nodiscard]] static qlx::Data spliceRequestDataWithParameters_errorDescription(
        const qlx::Dictionary& parameters, std::optional<std::string>* errorDescription = nullptr);

    /// A splice_null_request_data operation (opID 0x0102): 4 bytes, no data.
    [[nodiscard]] static qlx::Data spliceNullRequestData();

    /// A time_signal_request_data operation (opID 0x0104) of 6 bytes.
    /// @param preRollTime In milliseconds.
    [[nodiscard]] static qlx::Data timeSignalRequestDataWithPreRollTime(std::uint16_t preRollTime);

    /// An insert_segmentation_descriptor_request_data operation (opID 0x010B) of 22 bytes and the UPID.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    /// @param parameters "segmentationType" (its low 8 bits, not 0), "eventID" (1 to 4294967295) and "UPID" (text)
    ///   must be there. "duration" (below 65536, in seconds), "segmentNumber", "segmentsExpected",
    ///   "durationExtensionFrames" and "UPIDType" (below 256) are 0, "deviceRestrictions" (below 256) 3, and "cancel",
    ///   "deliveryNotRestricted", "webDeliveryAllowed", "noRegionalBlackout" and "archiveAllowed" false when absent.
    ///   A UPID of 65 characters (UTF-16 code units) or more is cut to 63; one that is not ASCII is left empty.
    /// @param errorDescription Written on failure only: which parameter is invalid or missing.
    /// @return None on failure.
    [[nodiscard]] static qlx::Data insertSegmentationDescriptorRequestDataWithParameters_errorDescription(
        const qlx::Dictionary& parameters, std::optional<std::string>* errorDescription = nullptr);

    /// An operation of the kind that its opID names: 257 (splice request), 258 (splice null, parameters ignored),
    /// 260 (time signal, with "preRollTime" in milliseconds, its low 16 bits) or 267 (segmentation descriptor).
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    /// @param operationType The opID, compared whole.
    /// @param parameters Those of the operation's own builder above.
    /// @param errorDescription Written on failure only; "Unsupported Operation Type" for any other opID.
    /// @return None on failure.
    [[nodiscard]] static qlx::Data SCTEOperationDataWithOperationType_parameters_errorDescription(
        std::int32_t operationType, const qlx::Dictionary& parameters,
        std::optional<std::string>* errorDescription = nullptr);

    // Parsing

    /// The parameters of an operation. "operationID" is always there and holds the operation's name; 257, 260, 264, 265
    /// and 267 add their fields.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    /// @param operationID The opID; one that is not known gives its name alone, "unknown".
    /// @param data The operation's data, without opID and data_length; more than needed is allowed.
    /// @return None when the data are too short for the operation. A range of 264 or 265 that runs past the data, and
    ///   a text with a byte above 0x7F, give no such key.
    [[nodiscard]] static std::optional<qlx::Dictionary> parametersOfSCTEOperationWithID_data(std::uint16_t operationID,
                                                                                             const qlx::Data& data);

    // Names

    /// The name of an opID, such as "SpliceRequestData"; "unknown" for any other.
    /// Departs from ANSI/SCTE 104: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::string SCTEOperationNameWithID(std::uint16_t operationID);

    /// The name of a splice_insert_type, such as "spliceStartNormal"; "unknown" for any other.
    [[nodiscard]] static std::string SCTESpliceInsertModeNameWithByte(std::uint8_t mode);

    /// The names of the segmentation types, ascending by type (ANSI/SCTE 35), for pick lists.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::vector<std::string> segmentationDescriptorTypeNames();

    /// The names of the UPID types 0 to 15 in order (ANSI/SCTE 35), for pick lists.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::vector<std::string> SCTE35UPIDTypeNames();

    /// The segmentation type that a name stands for, compared exactly; 0 for any other name. Not the inverse of
    /// SCTESegmentationDescriptorTypeNameWithByte() in every row: stored presets rely on the names as they are.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::int32_t segmentationDescriptorTypeWithName(std::string_view name);

    /// The UPID type of a name, compared exactly; 0 for any other name.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::uint8_t SCTE35UPIDTypeWithName(std::string_view name);

    /// The name of a segmentation type; "Unknown" for any other number.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::string SCTESegmentationDescriptorTypeNameWithByte(std::int32_t type);

    /// The name of a UPID type; "Reserved" from 16 on.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::string SCTE35UPIDTypeNameWithByte(std::uint8_t type);

private:
    std::atomic<std::uint16_t> _operationID{0};
};
