// The order in which packets of a frame are on air.
#pragma once

#include <qlx/anc/packet.h>
#include <qlx/streams/frame.h>

#include <algorithm>
#include <vector>

namespace qlx::streams::detail {

/// The OP-47 packets of a frame: field 1 comes first, however they are listed.
[[nodiscard]] inline std::vector<const anc::Packet*> teletextPackets(const Frame& frame) {
    std::vector<const anc::Packet*> packets;
    for (const auto& packet : frame.packets) {
        if (packet.id() == anc::ids::kOp47) {
            packets.push_back(&packet);
        }
    }
    std::stable_sort(packets.begin(), packets.end(),
                     [](const anc::Packet* left, const anc::Packet* right) { return left->line < right->line; });
    return packets;
}

}  // namespace qlx::streams::detail
