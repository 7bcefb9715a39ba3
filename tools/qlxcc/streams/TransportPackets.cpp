#include "streams/TransportPackets.h"

#include "streams/TransportRate.h"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace qlx::tool {

streams::TeletextPacketOptions teletextLinesOf(FrameRate rate) noexcept {
    constexpr std::uint8_t kGreatestInterlaced = 30;
    streams::TeletextPacketOptions lines;
    lines.secondLine = nominalFramesPerSecond(rate) <= kGreatestInterlaced ? lines.secondLine : lines.firstLine;
    return lines;
}

TransportPackets::TransportPackets(std::shared_ptr<LeftOut> leftOut, Give give)
    : _leftOut(std::move(leftOut)), _give(std::move(give)) {}

void TransportPackets::take(const Frame& frame) {
    if (_packets && frame.teletext.empty()) {
        _give(frame);
        return;
    }
    _first.push_back(frame);
    if (_packets || _first.size() >= kFramesThatTellRate) {
        finish();
    }
}

void TransportPackets::finish() {
    if (!_packets) {
        _packets.emplace(teletextLinesOf(rateOfTransport(_first).value_or(FrameRate::Fps25)));
    }
    for (Frame& frame : std::exchange(_first, {})) {
        _leftOut->setFrame(frame);
        _packets->put(frame, _leftOut.get());
        _give(frame);
    }
}

}  // namespace qlx::tool
