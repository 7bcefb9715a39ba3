#include "FrameOrder.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace qlx::tool {

namespace {

std::size_t bytesOf(const Frame& frame) {
    // What an empty packet takes, roughly.
    constexpr std::size_t kPacketBytes = 256;
    std::size_t bytes = frame.triplets.size();
    for (const auto& packet : frame.packets) {
        bytes += kPacketBytes + packet->packetData().size();
    }
    return bytes;
}

}  // namespace

/// Adds what another stream, or another picture of the same one, has for a moment.
void FrameOrder::join(Moment& moment, FrameSample sample) {
    Frame& frame = moment.frame;
    frame.packets.insert(frame.packets.end(), sample.frame.packets.begin(), sample.frame.packets.end());
    if (!sample.frame.triplets.empty()) {
        if (frame.triplets.empty() || sample.stream < moment.tripletStream) {
            frame.triplets = std::move(sample.frame.triplets);
            moment.tripletStream = sample.stream;
        }
    }
    if (!frame.pts) {
        frame.pts = sample.frame.pts;
    }
}

void FrameOrder::add(FrameSample sample) {
    Stream& stream = _streams.at(sample.stream);
    if (sample.decoding) {
        if (stream.decoding && *sample.decoding < *stream.decoding - kLongestStepBack) {
            release(true);
            std::fill(_streams.begin(), _streams.end(), Stream{});
        }
        stream.decoding = sample.decoding;
    }
    constexpr std::int64_t kFirst = std::numeric_limits<std::int64_t>::min() / 2;
    const std::int64_t moment = sample.presentation.value_or(stream.last ? *stream.last + 1 : kFirst);
    stream.last = moment;
    const auto place = _waiting.find(moment);
    if (place == _waiting.end()) {
        _waitingBytes += bytesOf(sample.frame);
        _waiting.emplace(moment, Moment{std::move(sample.frame), sample.stream});
    } else {
        // What is joined may be less than the sum: of two sets of triplets one is kept.
        _waitingBytes -= bytesOf(place->second.frame);
        join(place->second, std::move(sample));
        _waitingBytes += bytesOf(place->second.frame);
    }
    release(false);
}

/// Whether every stream has gone beyond a moment.
bool FrameOrder::isSettled(std::int64_t presentation) const {
    return std::all_of(_streams.begin(), _streams.end(), [presentation](const Stream& stream) {
        return stream.decoding && *stream.decoding > presentation;
    });
}

void FrameOrder::release(bool all) {
    while (!_waiting.empty()) {
        const auto first = _waiting.begin();
        const bool isFull = _waiting.size() > kLongestWait || _waitingBytes > kMostBytes;
        if (!all && !isFull && !isSettled(first->first)) {
            break;
        }
        _waitingBytes -= bytesOf(first->second.frame);
        _ready.push_back(std::move(first->second.frame));
        _waiting.erase(first);
    }
}

std::optional<Frame> FrameOrder::take() {
    if (_ready.empty()) {
        return std::nullopt;
    }
    Frame frame = std::move(_ready.front());
    _ready.pop_front();
    frame.number = _frames++;
    return frame;
}

}  // namespace qlx::tool
