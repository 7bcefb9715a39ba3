// Messages of ANSI/SCTE 104 in packets (SMPTE ST 2010), both ways.
#include <qlx/scte/scte104.h>
#include <qlx/scte/scte104_packets.h>

#include "base/Bytes.h"
#include "scte/FieldIo.h"

#include <algorithm>
#include <utility>

namespace qlx::scte {

PayloadDescriptor MessagePieces::descriptor(std::size_t index) const noexcept {
    const unsigned bits =
        PayloadDescriptor::kKnownVersion | (index + 1 < count() ? PayloadDescriptor::kContinuedBit : 0U) |
        (index > 0 ? PayloadDescriptor::kFollowingBit : 0U) | (_isDuplicate ? PayloadDescriptor::kDuplicateBit : 0U);
    return PayloadDescriptor(static_cast<std::uint8_t>(bits));
}

std::span<const std::uint8_t> MessagePieces::piece(std::size_t index) const noexcept {
    const auto rest = _message.subspan(std::min(index * kGreatestPieceBytes, _message.size()));
    return rest.first(std::min(kGreatestPieceBytes, rest.size()));
}

Result<std::size_t> MessagePieces::write(std::size_t index, std::span<std::uint8_t> room) const {
    const auto bytes = piece(index);
    const std::size_t size = 1 + bytes.size();
    if (room.size() < size) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0, static_cast<std::int64_t>(size),
                       static_cast<std::int64_t>(room.size())};
    }
    room[0] = descriptor(index).byte();
    std::copy(bytes.begin(), bytes.end(), room.begin() + 1);
    return size;
}

std::optional<JoinedMessage> MessageJoiner::push(std::span<const std::uint8_t> userData, FindingSink* findings,
                                                 std::uint64_t offset) {
    const detail::Report report{findings, offset};
    if (userData.empty()) {
        report.add(FindingCode::SctePacketEmpty, Severity::Error, 0);
        return std::nullopt;
    }
    const PayloadDescriptor descriptor(userData[0]);
    const auto piece = userData.subspan(1);
    if (!descriptor.hasKnownVersion()) {
        report.add(FindingCode::SctePacketVersionUnknown, Severity::Error, 0, descriptor.byte(),
                   (descriptor.byte() & ~PayloadDescriptor::kVersionBits & 0xFFU) | PayloadDescriptor::kKnownVersion);
        return std::nullopt;
    }
    if ((descriptor.byte() & PayloadDescriptor::kReservedBits) != 0) {
        report.add(FindingCode::SctePacketDescriptorReserved, Severity::Remark, 0, descriptor.byte(),
                   descriptor.byte() & ~PayloadDescriptor::kReservedBits & 0xFFU);
    }
    if (descriptor.isFollowing() && _packets == 0) {
        report.add(FindingCode::SctePieceMissing, Severity::Error, 0, descriptor.byte(), piece.size());
        return std::nullopt;
    }
    if (!descriptor.isFollowing()) {
        leaveOut(findings, offset, descriptor.byte());
        _bytes.clear();
        _isDuplicate = descriptor.isDuplicate();
    }
    if (piece.size() > kGreatestMessageBytes - _bytes.size()) {
        report.add(FindingCode::ScteTooLong, Severity::Error, 0, _bytes.size() + piece.size(), kGreatestMessageBytes);
        _packets = 0;
        return std::nullopt;
    }
    _bytes.insert(_bytes.end(), piece.begin(), piece.end());
    ++_packets;
    if (descriptor.isContinued()) {
        return std::nullopt;
    }
    // The size stands in the same place in both forms of a message.
    constexpr std::size_t kSizeOffset = 2;
    if (_bytes.size() >= kSizeOffset + 2 && loadBig<std::uint16_t>(&_bytes[kSizeOffset]) != _bytes.size()) {
        report.add(FindingCode::ScteMessageSizeWrong, Severity::Warning, 0,
                   loadBig<std::uint16_t>(&_bytes[kSizeOffset]), _bytes.size());
    }
    _duplicates += _isDuplicate ? 1U : 0U;
    return JoinedMessage{_bytes, _isDuplicate, std::exchange(_packets, 0)};
}

void MessageJoiner::endFrame(FindingSink* findings, std::uint64_t offset) {
    leaveOut(findings, offset, 0);
}

void MessageJoiner::leaveOut(FindingSink* findings, std::uint64_t offset, std::uint8_t descriptor) {
    if (std::exchange(_packets, 0) > 0) {
        detail::Report{findings, offset}.add(FindingCode::SctePieceMissing, Severity::Error, 0, descriptor,
                                             _bytes.size());
    }
}

}  // namespace qlx::scte
