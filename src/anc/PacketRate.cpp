#include <qlx/anc/rate.h>

#include <algorithm>
#include <utility>

namespace qlx::anc {

namespace {

/// The row of the table that has the packet, which is one of them.
std::size_t rowOf(PacketId id) noexcept {
    const auto found =
        std::find_if(kRateUses.begin(), kRateUses.end(), [id](const RateUseOfPacket& row) { return row.isOf(id); });
    return static_cast<std::size_t>(found - kRateUses.begin());
}

}  // namespace

PacketRateChange::PacketRateChange(FrameRate from, FrameRate to) : _from(from), _to(to) {}

void PacketRateChange::feed(std::uint64_t frame, Packet packet, FindingSink* findings) {
    _lastInput = std::max(_lastInput, frame);
    const RateUse use = rateUseOf(packet.id());
    const bool isDropped = (use == RateUse::EachCountedFrame && !countAlike(_from, _to)) ||
                           (use == RateUse::EachFrameOfItsRate && _from != _to);
    if (isDropped) {
        if (findings != nullptr) {
            findings->add({FindingCode::AncPacketDropped, Severity::Warning, frame, packet.did, packet.sdid});
        }
        return;
    }
    Ring<Waiting>& queue = use == RateUse::Once ? _once : _describing;
    queue.push({_lastInput, firstFrameAtOrAfter(_from, _lastInput, _to), std::move(packet)});
}

std::vector<Packet> PacketRateChange::packetsOf(std::uint64_t frame) {
    std::vector<Packet> packets;
    while (!_once.empty() && _once.front().firstFrame <= frame) {
        packets.push_back(_once.pop().packet);
    }
    std::erase_if(_current, [this, frame](const Waiting& one) {
        return firstFrameAtOrAfter(_from, one.inputFrame + 1, _to) <= frame;
    });
    takeDescribing(frame);
    for (const Waiting& one : _current) {
        packets.push_back(one.packet);
    }
    return packets;
}

/// Takes what describes the frames up to this one: of each kind of packet, those of the last frame that has any.
void PacketRateChange::takeDescribing(std::uint64_t frame) {
    if (_describing.empty() || _describing.front().firstFrame > frame) {
        return;
    }
    while (!_describing.empty() && _describing.front().firstFrame <= frame) {
        _current.push_back(_describing.pop());
    }
    // The last frame of each row of the table: frames only become later.
    std::array<std::uint64_t, kRateUses.size()> lastFrames{};
    for (const Waiting& one : _current) {
        lastFrames[rowOf(one.packet.id())] = one.inputFrame;
    }
    std::erase_if(_current,
                  [&lastFrames](const Waiting& one) { return one.inputFrame != lastFrames[rowOf(one.packet.id())]; });
}

}  // namespace qlx::anc
