// An SCTE-104 message as the payload of an ANC packet (SMPTE ST 2010): the payload descriptor, then a
// multiple_operation_message (ANSI/SCTE 104), big-endian:
//
//   descriptor 1 | reserved 2 | messageSize 2 | protocol_version 1 | AS_index 1 | message_number 1 | DPI_PID_index 2 |
//   SCTE35_protocol_version 1 | time_type 1 | time stamp | num_ops 1 | operations
#pragma once

#include <qlx/scte/scte104.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::scte104 {

/// Bytes in front of the first operation of a message without time stamp; the payload descriptor is one of them.
inline constexpr std::size_t kHeaderBytes = 13;

/// The part of them that messageSize counts.
inline constexpr std::size_t kCountedHeaderBytes = kHeaderBytes - 1;

/// What the header says; the rest of it is fixed.
struct Header {
    std::uint64_t messageSize = 0;  ///< The low 16 bits are written.
    std::uint8_t messageNumber = 0;
    std::uint64_t numberOfOperations = 0;  ///< The low 8 bits are written.
    std::uint8_t asIndex = 0;
    std::uint16_t dpiPID = 0;
};

/// Fills kHeaderBytes bytes.
void writeHeader(std::uint8_t* bytes, const Header& header) noexcept;

/// An operation of a message; the data refer to the message.
struct Operation {
    std::uint16_t operationID = 0;
    std::span<const std::uint8_t> data;
};

/// Walks the operations of a message. Nothing behind its bytes is read.
class MessageReader {
public:
    /// A message that is too short, or does not begin with descriptor and reserved field, has no operations.
    explicit MessageReader(std::span<const std::uint8_t> message);

    /// The next operation; none at the end, or when its header or data run past the message.
    [[nodiscard]] std::optional<Operation> next() noexcept;

    // Valid when next() has given an operation.
    [[nodiscard]] std::uint8_t asIndex() const noexcept { return _view.asIndex; }
    [[nodiscard]] std::uint8_t messageNumber() const noexcept { return _view.messageNumber; }
    [[nodiscard]] std::uint16_t dpiPID() const noexcept { return _view.dpiPidIndex; }

private:
    scte::MultipleOperationView _view;
};

}  // namespace qlx::scte104
