// The messages of SCTE 104 in the packets of frames.
#pragma once

#include "io/Frame.h"
#include "io/FrameInput.h"

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/finding.h>
#include <qlx/scte/scte104_packets.h>

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Takes frames one after the other. What came in one packet is handed on as it is; what came in several ones is joined,
/// behind the payload descriptor of a whole message.
class FrameMessages {
public:
    /// Gets the number of a frame, a line and the data of a packet.
    using Take = std::function<void(std::uint64_t frame, std::uint64_t line, const Data& data)>;

    explicit FrameMessages(Take take) : _take(std::move(take)) {}

    /// @param problems Gets a line, with its place, for pieces that are missing or do not fit.
    void read(const Frame& frame, std::vector<FrameProblem>& problems);

private:
    void readPacket(std::uint64_t frame, std::uint64_t line, const Data& data, qlx::Findings& findings);

    Take _take;
    scte::MessageJoiner _joiner;
};

}  // namespace qlx::tool
