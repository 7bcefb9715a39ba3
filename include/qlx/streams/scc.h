// Scenarist caption files: timecodes of 29.97 frames a second, and the byte pairs that begin to be sent with them.
//
//     qlx::streams::MemorySource source(bytes);
//     qlx::streams::SccReader reader(source);
//     qlx::streams::SccWriter writer(sink, {.dropsFrames = false});
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, nullptr); more && *more; more = reader.next(frame, nullptr)) {
//         if (const auto failure = writer.write(frame, nullptr)) {
//             report(failure->text());
//         }
//     }
//     const auto failure = writer.finish();
#pragma once

#include <qlx/base/frame_rate.h>
#include <qlx/cc/time_code.h>
#include <qlx/cc/triplet.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame_reader.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace qlx::streams {

/// What such a file does not say of itself.
struct SccOptions {
    FrameRate rate = FrameRate::Fps2997;  ///< The frames that its timecodes count.
    /// Field1 or Field2: a file has the pairs of one field. None: what is read tells it, by the first line with control
    /// codes or extended data that only one field has (CTA-608-E, 8.4); where nothing does, and of what is written, Field1.
    std::optional<cc::CcType> field = std::nullopt;
    bool dropsFrames = true;  ///< Of what is written: timecodes drop numbers where the rate may, and
                              ///< have a semicolon in front of the frames. A file that is read says it.
};

/// Reads the frames that carry a pair, a pair a frame, as triplets of the field with the time at the rate. The pairs of
/// a line that is due before those of the lines before it have all been sent follow them; a remark says so
/// (SccTimecodeEarlier, SccTimecodeOverlaps), and also where the first byte of a line with wrong parity is
/// (SccParityWrong): pairs are given as they stand there. A line that begins with no timecode (SccTimecodeWrong,
/// SccTimecodeOfRateWrong) and a pair that is none (SccPairWrong) are left out with a finding; those behind such a pair
/// keep their frames. Lines end with a line feed, a carriage return or both.
class QLX_STREAMS_EXPORT SccReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    /// @param options What the file does not say.
    explicit SccReader(ByteSource& source, const SccOptions& options = {});
    ~SccReader() override;

    Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::TextLine; }
    [[nodiscard]] std::optional<cc::TimeCodeCounting> counting() const override;

private:
    class Lines;
    std::unique_ptr<Lines> _lines;
};

/// Writes a line for each run of successive frames with a pair of the field, with the timecode of the first one and the
/// pairs as they are, parity included; null pairs are left out.
///
/// Frames count from midnight: the one nearest to their time, where they have one, otherwise their number. What comes
/// too early behind the pair before it, as the second of two pairs in a frame, goes out with the next frame that is
/// free (SccPairLate); up to ten seconds of pairs wait.
class QLX_STREAMS_EXPORT SccWriter final : public FrameWriter {
public:
    /// @param sink Must outlive the writer.
    /// @param options What is written.
    explicit SccWriter(ByteSink& sink, const SccOptions& options = {});

    /// Fails behind the last frame of a day (SccBehindMidnight), and when too many pairs wait (SccTooManyPairs).
    /// @param frame The next one, not earlier than the one before.
    /// @param findings Gets what has no place in such a file as well: other packets (StreamPacketLeftOut), and triplets
    ///   of the other field or of a caption service (SccTripletsLeftOut); and what is wrong with CDPs that are left
    /// out.
    ///   The offset is the packet's place, or that behind the last one for the frame as a whole.
    [[nodiscard]] std::optional<Finding> write(const Frame& frame, FindingSink* findings) override;

    /// Writes what waits, and the end of the last line.
    [[nodiscard]] std::optional<Finding> finish() override;

private:
    struct Waiting {
        std::uint64_t due = 0;  ///< The frame that it came with.
        cc::Triplet pair;
    };

    [[nodiscard]] std::optional<Finding> sendUpTo(std::uint64_t frame, std::uint64_t place);
    void take(const Frame& frame, std::uint64_t number, FindingSink* findings);

    ByteSink& _sink;
    SccOptions _options;
    std::deque<Waiting> _waiting;
    std::string _text;
    std::uint64_t _next = 0;  ///< The first frame that is free.
    bool _isBegun = false;
    bool _isInLine = false;
};

}  // namespace qlx::streams
