#include "facade/SCTE104Message.h"

#include <qlx/scte/scte104_packets.h>

#include "scte/Scte104Layout.h"

namespace qlx::scte104 {

namespace {

/// The fewest bytes of a message with operations; hosts take a bare header for no message.
constexpr std::size_t kMinMessageBytes = 14;

/// time_type of a message that is carried out at once.
constexpr std::uint8_t kNoTimeStamp = 0;

/// What there is to walk in data that are no message.
scte::MultipleOperationView viewOf(std::span<const std::uint8_t> message) {
    if (message.size() < kMinMessageBytes || message[0] != scte::PayloadDescriptor().byte()) {
        return {};
    }
    const auto view = scte::MultipleOperationView::of(message.subspan(1));
    return view ? *view : scte::MultipleOperationView();
}

}  // namespace

void writeHeader(std::uint8_t* bytes, const Header& header) noexcept {
    scte::MultipleOperationView fields;
    fields.asIndex = header.asIndex;
    fields.messageNumber = header.messageNumber;
    fields.dpiPidIndex = header.dpiPID;
    scte::detail::FieldWriter writer(bytes);
    writer.number(scte::PayloadDescriptor().byte());
    writer.number(scte::kMultipleOperationMark);
    const auto messageSize = static_cast<std::uint16_t>(header.messageSize);
    scte::detail::walkHeader(writer, fields, messageSize);
    writer.number(kNoTimeStamp);
    writer.number(static_cast<std::uint8_t>(header.numberOfOperations));
}

MessageReader::MessageReader(std::span<const std::uint8_t> message) : _view(viewOf(message)) {}

std::optional<Operation> MessageReader::next() noexcept {
    const auto operation = _view.next();
    if (!operation || operation->isCut()) {
        // Nothing is read behind an operation that is cut.
        _view = {};
        return std::nullopt;
    }
    return Operation{operation->opId, operation->data};
}

}  // namespace qlx::scte104
