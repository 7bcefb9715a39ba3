#include "scte/SCTE104Message.h"

#include <array>

namespace qlx::scte104 {

namespace {

constexpr std::uint8_t kPayloadDescriptor = 0x08;
constexpr std::uint16_t kReserved = 0xFFFF;

/// The fewest bytes of a message with operations; hosts take a bare header for no message.
constexpr std::size_t kMinMessageBytes = 14;

constexpr std::size_t kTimeTypeOffset = 11;

/// Bytes of time stamp behind each time_type: none, UTC, VITC, GPI. Any other type counts as none.
constexpr std::array<std::size_t, 4> kTimeStampBytes{0, 6, 4, 2};

}  // namespace

void writeHeader(std::uint8_t* bytes, const Header& header) noexcept {
    bytes[0] = kPayloadDescriptor;
    storeBig(bytes + 1, kReserved);
    storeBig(bytes + 3, static_cast<std::uint16_t>(header.messageSize));
    bytes[5] = 0;  // protocol_version
    bytes[6] = header.asIndex;
    bytes[7] = header.messageNumber;
    storeBig(bytes + 8, header.dpiPID);
    bytes[10] = 0;  // SCTE35_protocol_version
    bytes[kTimeTypeOffset] = 0;
    bytes[12] = static_cast<std::uint8_t>(header.numberOfOperations);
}

MessageReader::MessageReader(std::span<const std::uint8_t> message) noexcept {
    if (message.size() < kMinMessageBytes || message[0] != kPayloadDescriptor ||
        loadBig<std::uint16_t>(message.data() + 1) != kReserved) {
        return;
    }
    ByteReader reader(message);
    reader.skip(6);  // payload descriptor, reserved, messageSize, protocol_version
    _asIndex = reader.take<std::uint8_t>();
    _messageNumber = reader.take<std::uint8_t>();
    _dpiPID = reader.take<std::uint16_t>();
    reader.skip(1);  // SCTE35_protocol_version
    const std::uint8_t timeType = reader.take<std::uint8_t>();
    reader.skip(timeType < kTimeStampBytes.size() ? kTimeStampBytes[timeType] : 0);
    _left = reader.take<std::uint8_t>();
    _operations = reader;
}

std::optional<Operation> MessageReader::next() noexcept {
    if (_left == 0) {
        return std::nullopt;
    }
    --_left;
    Operation operation;
    operation.operationID = _operations.take<std::uint16_t>();
    operation.data = _operations.takeBytes(_operations.take<std::uint16_t>());
    if (_operations.failed()) {
        _left = 0;
        return std::nullopt;
    }
    return operation;
}

}  // namespace qlx::scte104
