// What reads and writes files of frames, whatever their form.
//
//     qlx::Findings findings;
//     qlx::streams::Frame frame;
//     qlx::Result<bool> more = reader.next(frame, &findings);
//     for (; more && *more; more = reader.next(frame, &findings)) {
//         take(frame);
//     }
//     if (!more) {
//         report(more.error().text());  // The file is broken here; what came before has been given.
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/streams/frame.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::streams {

/// What the offset of a finding counts.
enum class PlaceUnit : std::uint8_t {
    Byte,      ///< Bytes of the file, from 0.
    TextLine,  ///< Lines of a text, from 1.
    Row,       ///< The line number of a row; Frame::number, which is set in front of any finding, says of which frame.
};

/// Reads the frames of a file one after the other.
class FrameReader {
public:
    FrameReader() = default;
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;
    virtual ~FrameReader() = default;

    /// Reads the next frame.
    /// @param findings Gets what could not be read (errors, warnings) and what only needs a look (remarks); may be null.
    /// @return False at the end of the file. A finding when the file is broken here, or its source has failed
    ///   (FindingCode::StreamReadFailed): nothing more can be read; frames before have been given.
    [[nodiscard]] virtual Result<bool> next(Frame& frame, FindingSink* findings) = 0;

    /// What the offsets of this reader's findings count.
    [[nodiscard]] virtual PlaceUnit placeUnit() const noexcept = 0;

    /// What a library that takes the file apart has said in its own words: a text for each finding with
    /// FindingCode::StreamLibraryRemark that has been given since the last call, in their order.
    [[nodiscard]] virtual std::vector<std::string> takeLibraryTexts() { return {}; }
};

/// Writes frames one after the other.
class FrameWriter {
public:
    FrameWriter() = default;
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;
    virtual ~FrameWriter() = default;

    /// Writes the next frame.
    /// @param findings Gets what the form does not carry, though the rest is written; may be null.
    /// @return Why the frame cannot be written; none when it is.
    [[nodiscard]] virtual std::optional<Finding> write(const Frame& frame, FindingSink* findings) = 0;

    /// Called once, behind the last frame.
    [[nodiscard]] virtual std::optional<Finding> finish() { return std::nullopt; }
};

}  // namespace qlx::streams
