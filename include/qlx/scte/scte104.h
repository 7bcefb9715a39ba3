// The messages of ANSI/SCTE 104 2023: read from what is seen in the field, written as the standard says. Clauses and
// tables are those of that edition.
//
//     qlx::Findings findings;
//     const auto message = qlx::scte::parseMultipleOperationMessage(bytes, &findings);
//     if (message) {
//         for (const qlx::scte::Operation& operation : message->operations) {
//             if (const auto* splice = std::get_if<qlx::scte::SpliceRequest>(&operation.data)) { use(*splice); }
//         }
//         const qlx::Result<qlx::Data> same = qlx::scte::writeMessage(*message);
//     }
//
// In ANC packets a message stands behind a payload descriptor (SMPTE ST 2010): scte104_packets.h.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/result.h>
#include <qlx/scte/scte104_operations.h>
#include <qlx/scte/scte104_system.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <variant>
#include <vector>

namespace qlx::scte {

inline constexpr std::uint16_t kMultipleOperationMark = 0xFFFF;  ///< What a multiple_operation_message begins with.
inline constexpr std::size_t kGreatestMessageBytes = 65535;      ///< messageSize has 16 bits.
inline constexpr std::size_t kGreatestOperations = 255;          ///< num_ops has 8 bits.
inline constexpr std::uint16_t kNoResult = 0xFFFF;               ///< result and result_extension of a request.

/// A time stamp of time_type 1: a moment.
struct UtcTimeStamp {
    std::uint32_t seconds = 0;       ///< UTC_seconds: seconds since 6 January 1980.
    std::uint16_t microseconds = 0;  ///< UTC_microseconds as it stands there.

    /// Whether all fields are equal.
    friend bool operator==(const UtcTimeStamp&, const UtcTimeStamp&) = default;
};

/// A time stamp of time_type 2: a time code.
struct VitcTimeStamp {
    std::uint8_t hours = 0;    ///< 0 to 23
    std::uint8_t minutes = 0;  ///< 0 to 59
    std::uint8_t seconds = 0;  ///< 0 to 59
    std::uint8_t frames = 0;   ///< Below the frame rate.

    /// Whether all fields are equal.
    friend bool operator==(const VitcTimeStamp&, const VitcTimeStamp&) = default;
};

/// A time stamp of time_type 3: a contact closure.
struct GpiTimeStamp {
    std::uint8_t number = 0;  ///< GPI_number
    std::uint8_t edge = 0;    ///< GPI_edge: 0 for open to closed, 1 for closed to open.

    /// Whether all fields are equal.
    friend bool operator==(const GpiTimeStamp&, const GpiTimeStamp&) = default;
};

/// A time_type that is not defined; taken for one without a time stamp.
struct UnknownTimeType {
    std::uint8_t timeType = 0;  ///< time_type, 4 to 255.

    /// Whether all fields are equal.
    friend bool operator==(const UnknownTimeType&, const UnknownTimeType&) = default;
};

/// When a message is to be carried out (ANSI/SCTE 104, 12.5). std::monostate, time_type 0: at once.
using TimeStamp = std::variant<std::monostate, UtcTimeStamp, VitcTimeStamp, GpiTimeStamp, UnknownTimeType>;

/// What an operation of a multiple_operation_message says.
using OperationData =
    std::variant<VerbatimOperation, InjectSectionDataRequest, SpliceRequest, SpliceNullRequest,
                 StartScheduleDownloadRequest, TimeSignalRequest, TransmitScheduleRequest, ComponentModeRequest,
                 EncryptedDpiRequest, InsertDescriptorRequest, InsertDtmfDescriptorRequest,
                 InsertAvailDescriptorRequest, InsertSegmentationDescriptorRequest, ProprietaryCommandRequest,
                 ScheduleComponentModeRequest, ScheduleDefinition, InsertTierRequest, InsertTimeDescriptorRequest,
                 InsertAudioDescriptorRequest, DeleteControlWord, UpdateControlWord>;

/// An operation of a message.
struct Operation {
    OperationData data;                         ///< What it says.
    std::vector<std::uint8_t> trailing;         ///< What its data have behind the fields that are known.
    std::optional<std::uint16_t> statedLength;  ///< data_length, where it is not the length of the data.

    /// opID
    [[nodiscard]] QLX_EXPORT std::uint16_t opId() const noexcept;

    /// Whether all fields are equal.
    friend bool operator==(const Operation&, const Operation&) = default;
};

/// A multiple_operation_message (ANSI/SCTE 104, 8.2.3). messageSize, num_ops and data_length are made when it is
/// written; where a message that was read has other ones, they are kept in the members that are called stated...
struct MultipleOperationMessage {
    std::uint8_t protocolVersion = 0;         ///< protocol_version
    std::uint8_t asIndex = 0;                 ///< AS_index
    std::uint8_t messageNumber = 0;           ///< message_number
    std::uint16_t dpiPidIndex = 0;            ///< DPI_PID_index
    std::uint8_t scte35ProtocolVersion = 0;   ///< SCTE35_protocol_version
    TimeStamp timeStamp;                      ///< timestamp
    std::vector<Operation> operations;        ///< In their order.
    std::vector<std::uint8_t> trailing;       ///< What stands behind the last operation.
    std::optional<std::uint16_t> statedSize;  ///< messageSize, where it is not the size.
    std::optional<std::uint8_t> statedCount;  ///< num_ops, where it is not the number of operations.

    /// Whether all fields are equal.
    friend bool operator==(const MultipleOperationMessage&, const MultipleOperationMessage&) = default;
};

/// A single_operation_message (ANSI/SCTE 104, 8.2.2).
struct SingleOperationMessage {
    std::uint16_t result = kNoResult;           ///< result; 100 for success.
    std::uint16_t resultExtension = kNoResult;  ///< result_extension
    std::uint8_t protocolVersion = 0;           ///< protocol_version
    std::uint8_t asIndex = 0;                   ///< AS_index
    std::uint8_t messageNumber = 0;             ///< message_number
    std::uint16_t dpiPidIndex = 0;              ///< DPI_PID_index
    SystemOperation operation;                  ///< What it says.
    std::vector<std::uint8_t> trailing;         ///< What the data have behind the fields that are known.
    std::optional<std::uint16_t> statedSize;    ///< messageSize, where it is not the size.

    /// opID
    [[nodiscard]] QLX_EXPORT std::uint16_t opId() const noexcept;

    /// Whether all fields are equal.
    friend bool operator==(const SingleOperationMessage&, const SingleOperationMessage&) = default;
};

/// A message of either form.
using Message = std::variant<MultipleOperationMessage, SingleOperationMessage>;

/// An operation as a place in the bytes of a message.
struct OperationView {
    std::uint16_t opId = 0;              ///< opID
    std::span<const std::uint8_t> data;  ///< Its data; fewer than announced when the message ends in them.
    std::uint16_t statedLength = 0;      ///< data_length
    std::size_t offset = 0;              ///< The byte of the message at which opID stands.

    /// Whether the message ends before the data do.
    [[nodiscard]] bool isCut() const noexcept { return data.size() < statedLength; }
};

/// The header of a multiple_operation_message and the place of its operations, walked without an allocation.
///
///     if (const auto view = qlx::scte::MultipleOperationView::of(bytes)) {
///         for (auto walk = *view; const auto operation = walk.next();) { use(operation->data); }
///     }
class MultipleOperationView {
public:
    /// Looks at a message. ScteMessageMarkWrong or ScteMessageCut when it is none, or ends in its header.
    [[nodiscard]] QLX_EXPORT static Result<MultipleOperationView> of(std::span<const std::uint8_t> message);

    std::uint16_t statedSize = 0;            ///< messageSize
    std::uint8_t protocolVersion = 0;        ///< protocol_version
    std::uint8_t asIndex = 0;                ///< AS_index
    std::uint8_t messageNumber = 0;          ///< message_number
    std::uint16_t dpiPidIndex = 0;           ///< DPI_PID_index
    std::uint8_t scte35ProtocolVersion = 0;  ///< SCTE35_protocol_version
    TimeStamp timeStamp;                     ///< timestamp
    std::uint8_t statedCount = 0;            ///< num_ops

    /// The next operation; none behind the last one that is announced, or when less than its header is left.
    [[nodiscard]] QLX_EXPORT std::optional<OperationView> next() noexcept;

    /// The byte behind the operations that next() has given.
    [[nodiscard]] std::size_t offset() const noexcept { return _offset; }

private:
    std::span<const std::uint8_t> _message;
    std::size_t _offset = 0;
    std::uint8_t _left = 0;
};

/// time_type, 0 to 255.
[[nodiscard]] QLX_EXPORT std::uint8_t timeTypeOf(const TimeStamp& timeStamp) noexcept;

/// Reads a multiple_operation_message, from its first byte FFh on. Fails with ScteMessageMarkWrong or ScteMessageCut
/// when it is none, or ends in its header. What is wrong otherwise is given to `findings`, with its byte offset, and
/// is kept: what is read is written as the same bytes by writeMessage(). That is sizes, numbers that are not defined, and
/// operations that may not stand where they do: one that adds to another without a normal one in front of it
/// (ScteSupplementAlone), and a second one for the same control word (ScteControlWordTwice).
[[nodiscard]] QLX_EXPORT Result<MultipleOperationMessage> parseMultipleOperationMessage(
    std::span<const std::uint8_t> bytes, FindingSink* findings = nullptr);

/// Reads a single_operation_message. Fails with ScteMessageMarkWrong for a multiple one, and with ScteMessageCut when
/// it ends in its header. What is wrong otherwise is given to `findings` and kept.
[[nodiscard]] QLX_EXPORT Result<SingleOperationMessage> parseSingleOperationMessage(std::span<const std::uint8_t> bytes,
                                                                                    FindingSink* findings = nullptr);

/// Reads a message of either form: FFFFh at the beginning marks a multiple one.
[[nodiscard]] QLX_EXPORT Result<Message> parseMessage(std::span<const std::uint8_t> bytes,
                                                      FindingSink* findings = nullptr);

/// Reads one operation from its data. `offset` is added to the offsets of findings.
[[nodiscard]] QLX_EXPORT Operation parseOperation(std::uint16_t opId, std::span<const std::uint8_t> data,
                                                  FindingSink* findings = nullptr, std::uint64_t offset = 0);

/// Writes a message into `room` and gives its bytes. Allocates nothing. ScteValueTooLarge for a number or list that
/// does not fit into its field, ScteTooLong for a message of more than kGreatestMessageBytes, OutputTooSmall for a room
/// that is smaller than the message; what stands in the room then is not defined.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeMessage(const MultipleOperationMessage& message,
                                                          std::span<std::uint8_t> room);
/// The same for a single_operation_message.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeMessage(const SingleOperationMessage& message,
                                                          std::span<std::uint8_t> room);

/// The message as a buffer of its own.
[[nodiscard]] QLX_EXPORT Result<Data> writeMessage(const MultipleOperationMessage& message);
/// The same for a single_operation_message.
[[nodiscard]] QLX_EXPORT Result<Data> writeMessage(const SingleOperationMessage& message);
/// The same for either.
[[nodiscard]] QLX_EXPORT Result<Data> writeMessage(const Message& message);

}  // namespace qlx::scte
