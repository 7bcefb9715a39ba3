// What gives the frames of a playout, whatever makes its packets.
#pragma once

#include "commands/play/Play.h"
#include "io/Frame.h"
#include "io/OutputFile.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace qlx::tool {

/// The frames that are played: `first` to `end`, without the latter.
struct FrameRange {
    std::uint64_t first = 0;
    std::uint64_t end = 0;
};

/// Cues that have been read, frame after frame as packets. Making one reads them, and says what is wrong with them.
class Playout {
public:
    Playout() = default;
    Playout(const Playout&) = delete;
    Playout& operator=(const Playout&) = delete;
    virtual ~Playout() = default;

    /// What is played.
    [[nodiscard]] virtual FrameRange range() const = 0;

    /// The lines of its packets, ascending.
    [[nodiscard]] virtual std::vector<std::uint64_t> lines() const = 0;

    /// The next frame, from the first one of the range on.
    [[nodiscard]] virtual Frame next(std::uint64_t number, const MediaTime& pts) = 0;

    /// Whether nothing is left that must still be sent behind the range.
    [[nodiscard]] virtual bool isDone() const { return true; }

    /// What prints the frames as a schedule, behind its titles. It may ask this playout, which must outlive it.
    [[nodiscard]] virtual std::unique_ptr<FrameWriter> makeSchedule(OutputFile& output) = 0;

    /// Whether something of the files could not be read.
    [[nodiscard]] virtual bool isDamaged() const { return false; }

    /// Whether something of the files, or of their cues, is changed or lost in what is sent.
    [[nodiscard]] virtual bool isLossy() const { return false; }

    /// Says what was found on the way; called once, behind the last frame.
    virtual void finish() {}
};

/// As QLXSubtitlesPacketizer plays cues out.
[[nodiscard]] std::unique_ptr<Playout> makeDeployedPlayout(const PlayOptions& options);

/// As captions of CEA-608.
[[nodiscard]] std::unique_ptr<Playout> makeCaptionPlayout(const PlayOptions& options);

/// As teletext pages.
[[nodiscard]] std::unique_ptr<Playout> makeTeletextPlayout(const PlayOptions& options);

}  // namespace qlx::tool
