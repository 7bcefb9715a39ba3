#include <qlx/anc/packet.h>
#include <qlx/anc/row.h>

#include "anc/AncWord.h"
#include "anc/PacketKinds.h"
#include "anc/RowKernels.h"
#include "anc/RowWords.h"

#include <algorithm>

namespace qlx::anc {

namespace {

constexpr std::size_t kUserDataOffset = 6;  ///< Words in front of the user data: flag, DID, SDID, data count.

}  // namespace

static_assert(kGreatestPacketWords == kGreatestUserData + kWordsAroundData);

std::string_view kindName(std::uint8_t did, std::uint8_t sdidOrDbn) noexcept {
    return detail::nameOfPacketKind({did, sdidOrDbn});
}

Result<std::size_t> writeWords(const PacketContentView& packet, std::span<std::uint16_t> room) {
    const std::size_t count = packet.userData.size();
    if (count > kGreatestUserData) {
        return Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, 0, static_cast<std::int64_t>(count),
                       static_cast<std::int64_t>(kGreatestUserData)};
    }
    if (packetWords(count) > room.size()) {
        return Finding{FindingCode::OutputTooSmall, Severity::Error, 0,
                       static_cast<std::int64_t>(packetWords(count) * sizeof(std::uint16_t)),
                       static_cast<std::int64_t>(room.size_bytes())};
    }
    std::uint16_t* next = std::copy(kDataFlag.begin(), kDataFlag.end(), room.data());
    std::uint32_t sum = 0;
    const auto put = [&](std::uint8_t byte) {
        *next++ = word(byte);
        sum += word(byte);
    };
    put(packet.did);
    put(packet.sdid);
    put(static_cast<std::uint8_t>(count));
    std::for_each(packet.userData.begin(), packet.userData.end(), put);
    *next = checksumWord(sum);
    return packetWords(count);
}

std::span<std::uint8_t> PacketView::userData(std::span<std::uint8_t> room) const noexcept {
    if (!_row) {
        return {};
    }
    const std::size_t first = _index + kUserDataOffset;
    const std::size_t end = first + std::min<std::size_t>(_dataCount, room.size());
    std::uint8_t* out = room.data();
    detail::withWords(_format, _channel, [&](auto words) {
        const auto take = [&out](std::uint16_t one) { *out++ = static_cast<std::uint8_t>(one); };
        if (_format == RowFormat::V210 && _channel == Channel::Luma) {
            // The luma of whole groups has a loop of its own.
            const std::size_t firstGroup = (first + v210::kLumaOfGroup - 1) / v210::kLumaOfGroup;
            const std::size_t groups = std::max(end / v210::kLumaOfGroup, firstGroup) - firstGroup;
            const std::size_t begin = std::min(firstGroup * v210::kLumaOfGroup, end);
            words.each(_row, first, begin, take);
            rowKernels().reduceV210(_row + firstGroup * v210::kGroupBytes, groups, out);
            out += groups * v210::kLumaOfGroup;
            words.each(_row, begin + groups * v210::kLumaOfGroup, end, take);
        } else {
            words.each(_row, first, end, take);
        }
    });
    return room.first(end - first);
}

std::span<std::uint16_t> PacketView::words(std::span<std::uint16_t> room) const noexcept {
    if (!_row) {
        return {};
    }
    const std::size_t count = std::min(packetWords(_dataCount), room.size());
    detail::withWords(_format, _channel, [&](auto words) {
        std::uint16_t* out = room.data();
        words.each(_row, _index, _index + count, [&out](std::uint16_t one) { *out++ = one; });
    });
    return room.first(count);
}

Packet PacketView::toPacket() const {
    Packet packet{_did, _sdid, std::vector<std::uint8_t>(_dataCount), _line, _index, _channel};
    userData(packet.userData);
    return packet;
}

}  // namespace qlx::anc
