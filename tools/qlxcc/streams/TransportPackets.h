// The teletext of transport streams in packets, on the lines that their frames have.
#pragma once

#include "io/Frame.h"
#include "io/FrameOutput.h"

#include <qlx/base/frame_rate.h>
#include <qlx/streams/teletext_packets.h>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace qlx::tool {

/// The lines of packets in frames of that rate: progressive ones, which those of more than 30 a second are, have one.
[[nodiscard]] streams::TeletextPacketOptions teletextLinesOf(FrameRate rate) noexcept;

/// Puts the teletext of a transport stream into packets. Nobody says whether the frames are progressive but their rate:
/// the first 64 wait until it is known.
class TransportPackets {
public:
    /// Takes a frame that is whole.
    using Give = std::function<void(const Frame& frame)>;

    /// @param leftOut Gets what has no room.
    TransportPackets(std::shared_ptr<LeftOut> leftOut, Give give);

    void take(const Frame& frame);

    /// Gives what waits.
    void finish();

private:
    std::shared_ptr<LeftOut> _leftOut;
    Give _give;
    std::vector<Frame> _first;
    std::optional<streams::TeletextPackets> _packets;
};

}  // namespace qlx::tool
