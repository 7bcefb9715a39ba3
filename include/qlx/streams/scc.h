// Scenarist caption files: timecodes of 29.97 frames a second, and the byte pairs that begin to be sent with them.
//
//     qlx::streams::MemorySource source(bytes);
//     qlx::streams::SccReader reader(source);
//     qlx::streams::Frame frame;
//     for (auto more = reader.next(frame, nullptr); more && *more; more = reader.next(frame, nullptr)) {
//         take(frame.pts, frame.triplets);
//     }
#pragma once

#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame_reader.h>

#include <cstdint>
#include <memory>

namespace qlx::streams {

/// Reads the frames that carry a pair, a pair a frame, as field 1 triplets with the time at 29.97 frames a second. The
/// pairs of a line that is due before those of the lines before it have all been sent follow them; a remark says so.
class QLX_STREAMS_EXPORT SccReader final : public FrameReader {
public:
    /// @param source Read from where it stands; must outlive the reader.
    explicit SccReader(ByteSource& source);
    ~SccReader() override;

    Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::TextLine; }

private:
    class Lines;
    std::unique_ptr<Lines> _lines;
};

}  // namespace qlx::streams
