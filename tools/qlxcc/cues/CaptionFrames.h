// The CEA-608 captions of a playout: their packets, and the readable schedule.
#pragma once

#include "io/Frame.h"
#include "io/OutputFile.h"

#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qlx::tool {

/// The video line that carries caption packets.
inline constexpr std::uint64_t kCaptionLine = 9;

/// The screen rows that the lines of a cue are sent to.
inline constexpr std::size_t kFirstSentCaptionRow = 12;
inline constexpr std::size_t kSentCaptionRows = 2;

/// The CDP of a caption sample as a CEA-708 packet on kCaptionLine; nothing for a null sample.
[[nodiscard]] std::vector<anc::Packet> captionPackets(const std::shared_ptr<SampleBuffer>& sample);

/// Writes a line a caption: the time and the frames in which its byte pairs travel, how many they are, and the time and
/// frame of the last one, with which it appears.
class CaptionScheduleWriter final : public FrameWriter {
public:
    explicit CaptionScheduleWriter(OutputFile& output) : _output(output) {}

    /// What is played, and the titles of the columns.
    void writeTitles(const std::string& summary);

    void write(const Frame& frame) override;
    void finish() override;

private:
    void writeCaption(const Frame* shown);

    OutputFile& _output;
    bool _isSending = false;
    std::shared_ptr<const std::string> _subtitle;
    MediaTime _firstTime;
    std::uint64_t _firstFrame = 0;
    std::uint64_t _lastFrame = 0;
};

/// Writes a line a frame with its triplets in an A/53 cc_data structure, in hexadecimal digits, as extract prints it.
class A53Writer final : public FrameWriter {
public:
    explicit A53Writer(OutputFile& output) : _output(output) {}

    void write(const Frame& frame) override;

private:
    OutputFile& _output;
};

}  // namespace qlx::tool
