// The caption triplets of a frame as values, and the time between frames as the receivers of captions count it.
#pragma once

#include <qlx/anc/packet.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/cc/triplet.h>
#include <qlx/streams/captions.h>
#include <qlx/streams/frame.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::detail {

/// What captionTriplets() gives of a frame.
class FrameCaptions {
public:
    FrameCaptions(const Frame& frame, FindingSink* findings) : _line(lineOf(frame)) {
        const Data bytes = captionTriplets(frame, findings);
        _triplets.reserve(bytes.size() / sizeof(cc::Triplet));
        for (std::size_t place = 0; place + sizeof(cc::Triplet) <= bytes.size(); place += sizeof(cc::Triplet)) {
            _triplets.push_back({bytes[place], bytes[place + 1], bytes[place + 2]});
        }
    }

    [[nodiscard]] std::span<const cc::Triplet> triplets() const noexcept { return _triplets; }

    /// The line of the first caption packet; 0 without one.
    [[nodiscard]] std::uint32_t line() const noexcept { return _line; }

private:
    static std::uint32_t lineOf(const Frame& frame) noexcept {
        const auto isOfCaptions = [](const anc::Packet& packet) {
            return packet.id() == anc::ids::kCdp || packet.id() == anc::ids::kCea608;
        };
        const auto found = std::find_if(frame.packets.begin(), frame.packets.end(), isOfCaptions);
        return found == frame.packets.end() || !frame.triplets.empty() ? 0 : found->line;
    }

    std::vector<cc::Triplet> _triplets;
    std::uint32_t _line;
};

/// Whether slots without a pair stood between two pairs of a field; one does not count, as a null pair there.
class FieldGap {
public:
    /// Called with the frame of each pair. Where its time and that of the one before tell 50 frames a second or more, a
    /// field has a slot in every other frame; without times it has one in every frame.
    [[nodiscard]] bool isLongBefore(const Frame& frame) noexcept {
        const std::uint64_t frames = _last && frame.number > *_last ? frame.number - *_last : 0;
        const bool isAlternating =
            frames > 0 && frame.pts && _time &&
            secondsFrom(*frame.pts) - secondsFrom(*_time) < static_cast<double>(frames) / kLeastOfAlternating;
        const bool isBack = _last && frame.number < *_last;
        _last = frame.number;
        _time = frame.pts;
        constexpr std::uint64_t kLongestStep = 2;
        return isBack || (isAlternating ? frames / 2 : frames) > kLongestStep;
    }

private:
    static constexpr double kLeastOfAlternating = 40.0;  ///< Frames a second, between 30 and 50.

    std::optional<std::uint64_t> _last;
    std::optional<MediaTime> _time;
};

/// The time between frames in steps of a sixtieth of a second.
class DelayClock {
public:
    static constexpr FrameRate kTick = FrameRate::Fps60;

    /// The steps that are over since the frame before; none for the first one. What is left of a step counts with the next
    /// ones. Where the times do not rise nothing is over; where one of the two has none, a frame of 29.97 a second.
    [[nodiscard]] std::uint64_t ticksBefore(const Frame& frame) noexcept {
        constexpr double kTicks = 60.0;
        constexpr double kWithoutTimes = kTicks * 1001.0 / 30000.0;
        // No delay is longer: 25.5 s.
        constexpr double kLongest = 26.0 * kTicks;
        const bool isFirst = _isFirst;
        const std::optional<MediaTime> before = _before;
        _isFirst = false;
        _before = frame.pts;
        if (isFirst) {
            return 0;
        }
        const double over =
            before && frame.pts ? (secondsFrom(*frame.pts) - secondsFrom(*before)) * kTicks : kWithoutTimes;
        _rest += std::clamp(over, 0.0, kLongest);
        // The sum of thirds and the like is a whole number within this.
        constexpr double kExact = 1e-6;
        const auto ticks = static_cast<std::uint64_t>(_rest + kExact);
        _rest = std::max(0.0, _rest - static_cast<double>(ticks));
        return ticks;
    }

private:
    bool _isFirst = true;
    std::optional<MediaTime> _before;
    double _rest = 0.0;
};

}  // namespace qlx::streams::detail
