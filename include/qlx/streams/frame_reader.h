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
#include <qlx/cc/time_code.h>
#include <qlx/streams/frame.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::streams {

/// What the offset of a finding counts.
enum class PlaceUnit : std::uint8_t {
    Byte,      ///< Bytes of the file, from 0.
    TextLine,  ///< Lines of a text, from 1; 0 for the text as a whole.
};

/// Where something is, as people look for it; what is not known, or makes no sense in such a file, is missing.
struct Place {
    std::optional<std::uint64_t> frame;  ///< Number of the frame.
    std::optional<std::uint64_t> line;   ///< Line of a text, from 1; in a file of rows the line number of the row.
    std::optional<std::uint64_t> byte;   ///< Byte of the file, from 0; in a file of rows that of the row.
    bool isNearby = false;               ///< Only near that byte: what takes the file apart reads ahead.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Place&, const Place&) noexcept = default;
};

/// Whether there are words of a library for a finding with this code, in FrameReader::takeLibraryTexts().
[[nodiscard]] constexpr bool hasLibraryText(FindingCode code) noexcept {
    return code == FindingCode::StreamLibraryRemark || code == FindingCode::ContainerLibraryMissing ||
           code == FindingCode::ContainerNotReadable || code == FindingCode::ContainerStreamsUnknown ||
           code == FindingCode::ContainerRestLost;
}

/// Reads the frames of a file one after the other, no further than it is asked to: who has room or time for so many frames
/// asks for no more, and a ByteSource of the host ends the bytes where it likes.
class FrameReader {
public:
    FrameReader() = default;
    FrameReader(const FrameReader&) = delete;
    FrameReader& operator=(const FrameReader&) = delete;
    virtual ~FrameReader() = default;

    /// Reads the next frame.
    /// @param frame Becomes that frame; at the end of the file it may be anything.
    /// @param findings Gets what could not be read (errors, warnings) and what only needs a look (remarks); may be null.
    /// @return False at the end of the file. A finding when the file is broken here, or its source has failed
    ///   (FindingCode::StreamReadFailed): nothing more can be read; frames before have been given.
    [[nodiscard]] virtual Result<bool> next(Frame& frame, FindingSink* findings) = 0;

    /// What the offsets of this reader's findings count.
    [[nodiscard]] virtual PlaceUnit placeUnit() const noexcept = 0;

    /// Where a finding of the last call of next() is, in the words of such a file.
    [[nodiscard]] virtual Place placeOf(const Finding& finding) const {
        if (placeUnit() == PlaceUnit::Byte) {
            return {.frame = {}, .line = {}, .byte = finding.offset};
        }
        return {.frame = {}, .line = finding.offset == 0 ? std::nullopt : std::optional(finding.offset), .byte = {}};
    }

    /// How the file's timecodes count its frames; none where it has none, or the first one has not been read.
    [[nodiscard]] virtual std::optional<cc::TimeCodeCounting> counting() const { return std::nullopt; }

    /// What a library that takes the file apart has said in its own words: a text for each finding that hasLibraryText()
    /// and has been given since the last call, in their order; what ends the reading has its text each time that it is given.
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
    /// @param frame As it is; its number is not written where the form has no numbers.
    /// @param findings Gets what the form does not carry, though the rest is written; may be null. The offset of a finding
    ///   is the number of the packet in the frame, counted from 0, or the number of packets where it is about none.
    /// @return Why the frame cannot be written, the same; none when it is.
    [[nodiscard]] virtual std::optional<Finding> write(const Frame& frame, FindingSink* findings) = 0;

    /// Called once, behind the last frame.
    [[nodiscard]] virtual std::optional<Finding> finish() { return std::nullopt; }
};

}  // namespace qlx::streams
