#include "FrameOrder.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

namespace qlx::streams::detail {

namespace {

std::size_t bytesOf(const Frame& frame) {
    // What an empty packet takes, roughly.
    constexpr std::size_t kPacketBytes = 256;
    std::size_t bytes = frame.triplets.size();
    for (const auto& packet : frame.packets) {
        bytes += kPacketBytes + packet.userData.size();
    }
    return bytes;
}

}  // namespace

std::optional<std::int64_t> microseconds(const MediaTime& time) {
    const MediaTime result = convertScale(time, 1'000'000, RoundingMethod::RoundHalfAwayFromZero);
    return result.isValid() && std::abs(result.value) <= 1LL << 60U ? std::optional(result.value) : std::nullopt;
}

/// Of the triplets of two streams those of the first one are kept; two samples of one stream follow each other.
void FrameOrder::takeTriplets(Moment& moment, FrameSample& sample) {
    Frame& frame = moment.frame;
    Data& triplets = sample.frame.triplets;
    if (triplets.empty()) {
        return;
    }
    if (!frame.triplets.empty() && sample.stream == moment.tripletStream) {
        moment.further.insert(moment.further.end(), triplets.begin(), triplets.end());
        moment.bytes += triplets.size();
    } else if (frame.triplets.empty() || sample.stream < moment.tripletStream) {
        moment.bytes += triplets.size() - frame.triplets.size() - moment.further.size();
        moment.further.clear();
        frame.triplets = std::move(triplets);
        frame.captionPlace = sample.frame.captionPlace;
        moment.tripletStream = sample.stream;
    }
}

/// Adds what another stream, or another picture of the same one, has for a moment.
void FrameOrder::join(Moment& moment, FrameSample sample) {
    Frame& frame = moment.frame;
    moment.tolerance = std::max(moment.tolerance, sample.tolerance);
    if (std::find(moment.streams.begin(), moment.streams.end(), sample.stream) == moment.streams.end()) {
        moment.streams.push_back(sample.stream);
    }
    moment.bytes += bytesOf(sample.frame) - sample.frame.triplets.size();
    for (std::size_t place = 0; place < sample.frame.packets.size(); ++place) {
        frame.packets.push_back(std::move(sample.frame.packets[place]));
        frame.wrapLast(sample.frame.wrappingOf(place));
    }
    takeTriplets(moment, sample);
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
    stream.tolerance = sample.tolerance;
    const auto place = momentOf(moment, sample);
    if (place == _waiting.end()) {
        const std::size_t bytes = bytesOf(sample.frame);
        _waitingBytes += bytes;
        _waiting.emplace(moment,
                         Moment{std::move(sample.frame), sample.stream, {}, sample.tolerance, {sample.stream}, bytes});
    } else {
        _waitingBytes -= place->second.bytes;
        join(place->second, std::move(sample));
        _waitingBytes += place->second.bytes;
    }
    release(false);
}

/// The moment that a sample belongs to: the one of exactly its time, or the nearest of other streams that differs by
/// rounding alone.
FrameOrder::Moments::iterator FrameOrder::momentOf(std::int64_t time, const FrameSample& sample) {
    const auto exact = _waiting.find(time);
    if (exact != _waiting.end()) {
        return exact;
    }
    auto nearest = _waiting.end();
    std::int64_t least = std::numeric_limits<std::int64_t>::max();
    const auto consider = [&](Moments::iterator place) {
        const auto& [begin, moment] = *place;
        const std::int64_t distance = begin > time ? begin - time : time - begin;
        const bool isOfOthers =
            std::find(moment.streams.begin(), moment.streams.end(), sample.stream) == moment.streams.end();
        if (isOfOthers && distance <= std::max(moment.tolerance, sample.tolerance) && distance < least) {
            nearest = place;
            least = distance;
        }
    };
    const auto behind = _waiting.lower_bound(time);
    if (behind != _waiting.begin()) {
        consider(std::prev(behind));
    }
    if (behind != _waiting.end()) {
        consider(behind);
    }
    return nearest;
}

/// Whether every stream has gone beyond a moment.
bool FrameOrder::isSettled(std::int64_t presentation, std::int64_t tolerance) const {
    return std::all_of(_streams.begin(), _streams.end(), [&](const Stream& stream) {
        return stream.decoding && *stream.decoding > presentation + std::max(tolerance, stream.tolerance);
    });
}

void FrameOrder::release(bool all) {
    while (!_waiting.empty()) {
        const auto first = _waiting.begin();
        const bool isFull = _waiting.size() > kLongestWait || _waitingBytes > kMostBytes;
        if (!all && !isFull && !isSettled(first->first, first->second.tolerance)) {
            break;
        }
        _waitingBytes -= first->second.bytes;
        Frame& frame = first->second.frame;
        if (const std::vector<std::uint8_t>& further = first->second.further; !further.empty()) {
            std::vector<std::uint8_t> both(frame.triplets.begin(), frame.triplets.end());
            both.insert(both.end(), further.begin(), further.end());
            frame.triplets = Data(both);
        }
        _ready.push_back(std::move(frame));
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

}  // namespace qlx::streams::detail
