#include <qlx/klv/klv.h>

#include "base/Bytes.h"

#include <algorithm>

namespace qlx::klv {

namespace {

/// What the first byte of a length adds to the number of those behind it.
constexpr std::uint8_t kLongForm = 0x80;

Finding finding(FindingCode code, std::size_t offset, std::uint64_t first, std::uint64_t second) noexcept {
    return {code, Severity::Error, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)};
}

bool fits(const Length& length) noexcept {
    return length.bytes >= shortestLengthBytes(length.value) && length.bytes <= kGreatestLengthBytes;
}

/// Why a triplet with such a length cannot be written into so many bytes.
std::optional<Finding> refusal(const Length& length, std::uint64_t size, std::size_t room) noexcept {
    if (!fits(length)) {
        return finding(FindingCode::KlvLengthDoesNotFit, 0, length.value, length.bytes);
    }
    if (size > room) {
        return finding(FindingCode::OutputTooSmall, 0, size, room);
    }
    return std::nullopt;
}

/// Writes a key and a length that fits.
void writeHeader(const TripletHeader& header, std::uint8_t* bytes) noexcept {
    bytes = std::copy(header.key.begin(), header.key.end(), bytes);
    if (header.length.bytes == 1) {
        *bytes = static_cast<std::uint8_t>(header.length.value);
        return;
    }
    const std::size_t count = header.length.bytes - std::size_t{1};
    *bytes++ = static_cast<std::uint8_t>(kLongForm + count);
    for (std::size_t index = 0; index < count; ++index) {
        bytes[index] = static_cast<std::uint8_t>(header.length.value >> 8U * (count - 1 - index));
    }
}

}  // namespace

Result<Length> parseLength(std::span<const std::uint8_t> bytes) {
    if (bytes.empty()) {
        return finding(FindingCode::KlvCut, 0, 1, 0);
    }
    if (bytes[0] < kLongForm) {
        return Length{bytes[0], 1};
    }
    const std::size_t count = bytes[0] - std::size_t{kLongForm};
    if (count == 0) {
        return finding(FindingCode::KlvLengthIndefinite, 0, 0, 0);
    }
    if (count >= kGreatestLengthBytes) {
        return finding(FindingCode::KlvLengthTooLong, 0, count, kGreatestLengthBytes - 1);
    }
    if (bytes.size() <= count) {
        return finding(FindingCode::KlvCut, 0, count + 1, bytes.size());
    }
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes.subspan(1, count)) {
        value = value << 8U | byte;
    }
    return Length{value, static_cast<std::uint8_t>(count + 1)};
}

Result<TripletHeader> parseTripletHeader(std::span<const std::uint8_t> bytes) {
    TripletHeader header;
    if (!beginsLabel(bytes)) {
        std::uint64_t start = 0;
        for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), kLabelStart.size()))) {
            start = start << 8U | byte;
        }
        return finding(FindingCode::KlvKeyWrong, 0, start, 0);
    }
    if (bytes.size() < header.key.size()) {
        return finding(FindingCode::KlvCut, 0, header.key.size() + 1, bytes.size());
    }
    std::copy_n(bytes.begin(), header.key.size(), header.key.begin());
    const Result<Length> length = parseLength(bytes.subspan(header.key.size()));
    if (!length) {
        Finding why = length.error();
        why.offset = header.key.size();
        if (why.code == FindingCode::KlvCut) {
            why = finding(FindingCode::KlvCut, 0, header.key.size() + static_cast<std::uint64_t>(why.first),
                          bytes.size());
        }
        return why;
    }
    header.length = *length;
    return header;
}

Result<std::size_t> writeTripletHeader(const TripletHeader& header, std::span<std::uint8_t> room) {
    if (const auto why = refusal(header.length, header.size(), room.size())) {
        return *why;
    }
    writeHeader(header, room.data());
    return header.size();
}

Result<std::size_t> writeTriplet(const Key& key, std::span<const std::uint8_t> value, std::span<std::uint8_t> room,
                                 std::uint8_t lengthBytes) {
    const TripletHeader header{key, {value.size(), lengthBytes}};
    const std::size_t size = header.size() + value.size();
    if (const auto why = refusal(header.length, size, room.size())) {
        return *why;
    }
    writeHeader(header, room.data());
    std::copy(value.begin(), value.end(), room.begin() + static_cast<std::ptrdiff_t>(header.size()));
    return size;
}

Result<Data> writeTriplet(const Key& key, std::span<const std::uint8_t> value, std::uint8_t lengthBytes) {
    const TripletHeader header{key, {value.size(), lengthBytes}};
    const std::size_t size = header.size() + value.size();
    if (const auto why = refusal(header.length, size, size)) {
        return *why;
    }
    return Data::make(size, [&header, value](std::uint8_t* bytes) {
        writeHeader(header, bytes);
        std::copy(value.begin(), value.end(), bytes + header.size());
    });
}

}  // namespace qlx::klv
