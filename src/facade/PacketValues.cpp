#include <qlx/facade/packet.h>

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>

namespace qlx::facade {

namespace {

/// Why a number has no place in a value; none when it has.
template <class T>
std::optional<Finding> refusalOf(std::uint64_t number) {
    constexpr auto kGreatest = std::numeric_limits<T>::max();
    if (number <= kGreatest) {
        return std::nullopt;
    }
    constexpr auto kGreatestShown = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return Finding{FindingCode::VancPacketNumberTooGreat, Severity::Error, 0,
                   static_cast<std::int64_t>(std::min(number, kGreatestShown)), std::int64_t{kGreatest}};
}

}  // namespace

Result<anc::Packet> toAncPacket(const QLXVANCPacket& packet) {
    // Each property may be changed by another thread meanwhile: it is read once.
    const std::uint64_t did = packet.packetDID();
    const std::uint64_t sdid = packet.packetSDID();
    const std::uint64_t line = packet.lineNumber();
    const Data data = packet.packetData();
    for (const auto& refusal :
         {refusalOf<std::uint8_t>(did), refusalOf<std::uint8_t>(sdid), refusalOf<std::uint32_t>(line)}) {
        if (refusal) {
            return *refusal;
        }
    }
    if (data.size() > anc::kGreatestUserData) {
        return Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, 0, static_cast<std::int64_t>(data.size()),
                       static_cast<std::int64_t>(anc::kGreatestUserData)};
    }
    anc::Packet value;
    value.did = static_cast<std::uint8_t>(did);
    value.sdid = static_cast<std::uint8_t>(sdid);
    value.line = static_cast<std::uint32_t>(line);
    value.userData.assign(data.begin(), data.end());
    return value;
}

std::vector<anc::Packet> toAncPackets(std::span<const std::shared_ptr<QLXVANCPacket>> packets, FindingSink* findings) {
    std::vector<anc::Packet> values;
    values.reserve(packets.size());
    for (std::size_t index = 0; index < packets.size(); ++index) {
        if (!packets[index]) {
            continue;
        }
        Result<anc::Packet> value = toAncPacket(*packets[index]);
        if (value) {
            values.push_back(*std::move(value));
        } else if (findings != nullptr) {
            Finding why = value.error();
            why.offset = index;
            findings->add(why);
        }
    }
    return values;
}

std::shared_ptr<QLXVANCPacket> toVANCPacket(const anc::Packet& packet) {
    auto made = std::make_shared<QLXVANCPacket>();
    made->setPacketDID(packet.did);
    made->setPacketSDID(packet.sdid);
    made->setPacketType(QLXVANCPacket::packetTypeWithDID_SDID(packet.did, packet.sdid));
    made->setLineNumber(packet.line);
    made->setPacketData(Data(packet.userData));
    return made;
}

std::vector<std::shared_ptr<QLXVANCPacket>> toVANCPackets(std::span<const anc::Packet> packets) {
    std::vector<std::shared_ptr<QLXVANCPacket>> made;
    made.reserve(packets.size());
    std::transform(packets.begin(), packets.end(), std::back_inserter(made), toVANCPacket);
    return made;
}

}  // namespace qlx::facade
