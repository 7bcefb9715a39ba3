// Bringing the samples of several streams, which come in the order of decoding, into the order of presentation.
#pragma once

#include <qlx/streams/frame.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <vector>

namespace qlx::streams::detail {

/// A time in microseconds; none where they are out of range, which only damage is.
[[nodiscard]] std::optional<std::int64_t> microseconds(const MediaTime& time);

/// What one stream has for one moment.
struct FrameSample {
    std::size_t stream = 0;                    ///< Counted from 0.
    std::optional<std::int64_t> presentation;  ///< Microseconds; none: behind the stream's last one.
    std::optional<std::int64_t> decoding;      ///< Microseconds. No later sample of the stream is presented before.
    Frame frame;                               ///< Its number is not used.
    std::int64_t tolerance = 0;                ///< Microseconds by which the clock of its stream may round its time.
};

/// Collects the samples of all streams into frames: one for each moment of presentation, with the packets of all streams
/// and the triplets of the first stream that has some (the same captions may be in the picture and in a track). A frame
/// is given as soon as no stream can have anything earlier, or when too much waits for a stream that is silent. The
/// clocks of two streams may have unequal ticks: times that agree but for their rounding are one moment.
class FrameOrder {
public:
    /// As many frames wait at most.
    static constexpr std::size_t kLongestWait = 512;
    /// As many bytes of packets wait at most, before the frame that goes beyond it.
    static constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;
    /// A stream whose decoding times go back by more than this begins anew: what waits is earlier.
    static constexpr std::int64_t kLongestStepBack = 1'000'000;

    explicit FrameOrder(std::size_t streams) : _streams(streams) {}

    void add(FrameSample sample);

    /// No sample follows.
    void finish() { release(true); }

    /// The next frame, numbered from 0; none as long as it is not known.
    [[nodiscard]] std::optional<Frame> take();

private:
    struct Stream {
        std::optional<std::int64_t> decoding;
        std::optional<std::int64_t> last;  ///< The presentation time of the sample before.
        std::int64_t tolerance = 0;        ///< Of that sample.
    };

    struct Moment {
        Frame frame;
        std::size_t tripletStream = 0;      ///< Where the frame's triplets come from.
        std::vector<std::uint8_t> further;  ///< Triplets of other samples of that stream.
        std::int64_t tolerance = 0;         ///< The greatest of its samples.
        std::vector<std::size_t> streams;   ///< Where its samples come from, each once.
        std::size_t bytes = 0;              ///< Of the frame; thousands of samples may be of one moment.
    };

    using Moments = std::map<std::int64_t, Moment>;

    [[nodiscard]] Moments::iterator momentOf(std::int64_t time, const FrameSample& sample);
    [[nodiscard]] bool isSettled(std::int64_t presentation, std::int64_t tolerance) const;
    void release(bool all);
    static void join(Moment& moment, FrameSample sample);
    static void takeTriplets(Moment& moment, FrameSample& sample);

    std::vector<Stream> _streams;
    Moments _waiting;
    std::size_t _waitingBytes = 0;
    std::deque<Frame> _ready;
    std::uint64_t _frames = 0;
};

}  // namespace qlx::streams::detail
