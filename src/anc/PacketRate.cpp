#include <qlx/anc/rate.h>

#include <algorithm>
#include <utility>

namespace qlx::anc {

PacketRateChange::PacketRateChange(FrameRate from, FrameRate to) : _from(from), _to(to) {}

void PacketRateChange::feed(std::uint64_t frame, Packet packet, FindingSink* findings) {
    _lastInput = std::max(_lastInput, frame);
    const RateUse use = rateUseOf(packet.id());
    if (use == RateUse::EachCountedFrame && !countAlike(_from, _to)) {
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
    while (!_describing.empty() && _describing.front().firstFrame <= frame) {
        Waiting next = _describing.pop();
        std::erase_if(_current, [&next](const Waiting& one) {
            return one.inputFrame != next.inputFrame && one.packet.id() == next.packet.id();
        });
        _current.push_back(std::move(next));
    }
    for (const Waiting& one : _current) {
        packets.push_back(one.packet);
    }
    return packets;
}

}  // namespace qlx::anc
