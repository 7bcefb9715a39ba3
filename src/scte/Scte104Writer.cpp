// Writes messages of ANSI/SCTE 104.
#include <qlx/scte/scte104.h>

#include "scte/Scte104Layout.h"

#include <limits>

namespace qlx::scte {

namespace detail {

namespace {

template <class Data>
[[nodiscard]] std::uint16_t opIdOf(const Data& data) noexcept {
    return std::visit(
        [](const auto& value) -> std::uint16_t {
            if constexpr (Is<std::remove_cvref_t<decltype(value)>, VerbatimOperation>) {
                return value.opId;
            } else {
                return value.kOpId;
            }
        },
        data);
}

template <class Io, class Data>
void walkData(Io& io, const Data& data) {
    std::visit([&io](const auto& value) { walk(io, value); }, data);
}

/// What walkData() writes.
template <class Data>
[[nodiscard]] std::size_t dataSize(const Data& data) noexcept {
    FieldMeasure measure;
    walkData(measure, data);
    return measure.size();
}

template <class Io>
void walkTimeStamp(Io& io, const TimeStamp& timeStamp) {
    const std::uint8_t timeType = timeTypeOf(timeStamp);
    io.number(timeType);
    std::visit(
        [&io](const auto& value) {
            using Value = std::remove_cvref_t<decltype(value)>;
            if constexpr (!Is<Value, std::monostate> && !Is<Value, UnknownTimeType>) {
                walk(io, value);
            }
        },
        timeStamp);
}

/// Walks the message; `size` is what it comes to, which the measuring walk does not know yet.
template <class Io>
void walkMessage(Io& io, const MultipleOperationMessage& message, std::size_t size) {
    const auto messageSize = message.statedSize.value_or(static_cast<std::uint16_t>(size));
    io.number(kMultipleOperationMark);
    walkHeader(io, message, messageSize);
    walkTimeStamp(io, message.timeStamp);
    const std::size_t count = message.statedCount ? *message.statedCount : message.operations.size();
    io.template pack<1>(bits(count, 8));
    for (const Operation& operation : message.operations) {
        const std::uint16_t opId = operation.opId();
        const std::size_t length =
            operation.statedLength ? *operation.statedLength : dataSize(operation.data) + operation.trailing.size();
        io.number(opId);
        io.template pack<2>(bits(length, 16));
        walkData(io, operation.data);
        io.rest(operation.trailing);
    }
    io.rest(message.trailing);
}

template <class Io>
void walkMessage(Io& io, const SingleOperationMessage& message, std::size_t size) {
    const std::uint16_t opId = message.opId();
    const auto messageSize = message.statedSize.value_or(static_cast<std::uint16_t>(size));
    io.number(opId);
    io.number(messageSize);
    io.number(message.result);
    io.number(message.resultExtension);
    io.number(message.protocolVersion);
    io.number(message.asIndex);
    io.number(message.messageNumber);
    io.number(message.dpiPidIndex);
    walkData(io, message.operation);
    io.rest(message.trailing);
}

/// The size of the message, or why it cannot be written.
template <class Any>
[[nodiscard]] Result<std::size_t> sizeOf(const Any& message) {
    FieldMeasure measure;
    walkMessage(measure, message, 0);
    if (measure.wrong().code != FindingCode::None) {
        return measure.wrong();
    }
    // A size that is stated is no limit: it was read from a message that is longer.
    if (measure.size() > kGreatestMessageBytes && !message.statedSize) {
        return Finding{FindingCode::ScteTooLong, Severity::Error, 0, static_cast<std::int64_t>(measure.size()),
                       static_cast<std::int64_t>(kGreatestMessageBytes)};
    }
    return measure.size();
}

template <class Any>
[[nodiscard]] Result<std::size_t> writeInto(const Any& message, std::span<std::uint8_t> room) {
    const auto size = sizeOf(message);
    if (size && *size > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(*size),
                       static_cast<std::int64_t>(room.size())};
    }
    if (size) {
        FieldWriter writer(room.data());
        walkMessage(writer, message, *size);
    }
    return size;
}

template <class Any>
[[nodiscard]] Result<Data> writeWhole(const Any& message) {
    const auto size = sizeOf(message);
    if (!size) {
        return size.error();
    }
    return Data::make(*size, [&](std::uint8_t* bytes) {
        FieldWriter writer(bytes);
        walkMessage(writer, message, *size);
    });
}

}  // namespace

}  // namespace detail

std::uint16_t Operation::opId() const noexcept {
    return detail::opIdOf(data);
}

std::uint16_t SingleOperationMessage::opId() const noexcept {
    return detail::opIdOf(operation);
}

Result<std::size_t> writeMessage(const MultipleOperationMessage& message, std::span<std::uint8_t> room) {
    return detail::writeInto(message, room);
}

Result<std::size_t> writeMessage(const SingleOperationMessage& message, std::span<std::uint8_t> room) {
    return detail::writeInto(message, room);
}

Result<Data> writeMessage(const MultipleOperationMessage& message) {
    return detail::writeWhole(message);
}

Result<Data> writeMessage(const SingleOperationMessage& message) {
    return detail::writeWhole(message);
}

Result<Data> writeMessage(const Message& message) {
    return std::visit([](const auto& one) { return detail::writeWhole(one); }, message);
}

}  // namespace qlx::scte
