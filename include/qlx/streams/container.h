// The frames of a container: MXF, QuickTime and MP4, MPEG transport and program streams. The captions of its pictures, of
// its caption tracks, and the packets of its ANC track are brought together by their times.
//
//     qlx::streams::ContainerReader reader(source, qlx::streams::InputKind::Mxf);
//     qlx::Findings findings;
//     qlx::streams::Frame frame;
//     qlx::Result<bool> more = reader.next(frame, &findings);
//     for (; more && *more; more = reader.next(frame, &findings)) {
//         take(frame);
//     }
//     if (!more && more.error().code == qlx::FindingCode::ContainerLibraryMissing) {
//         report(reader.takeLibraryTexts().front());  // Which library is missing.
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/input_kind.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qlx::streams {

/// Why no container can be read here: FFmpeg's libraries are loaded when one is opened first, by a module of this library
/// that an installation may lack. None when they can be. All else of this library works without them.
[[nodiscard]] QLX_STREAMS_EXPORT std::optional<std::string> containerObstacle();

/// How a container is read.
struct ContainerOptions {
    /// While containers are open, FFmpeg's limit of memory and its log, of which a process has one each, are the library's:
    /// damage takes no more memory than a file needs, and what FFmpeg would print about it becomes findings. Afterwards they
    /// are as FFmpeg begins with. A host that uses FFmpeg itself in this process and has set them says false: they are left
    /// alone then, and some damage is passed over without a word.
    bool ownsLibrarySettings = true;
};

/// Reads the frames of a container, one for each moment at which a stream of it has something, in the order of
/// presentation. Memory holds what has to wait for that, and never a whole file.
///
/// Findings: those of the pictures' structure, of ANC elements (SMPTE ST 436-1, with the offset of the element), and those
/// called Container..., Mxf... and Mov...; takeLibraryTexts() has words of FFmpeg's for those that hasLibraryText().
class QLX_STREAMS_EXPORT ContainerReader final : public FrameReader {
public:
    /// @param source At the beginning of the file; must outlive the reader. One that knows its size is read where it takes
    ///   that; a pipe from front to back.
    /// @param kind One that isContainer().
    /// @param options How it is read.
    ContainerReader(ByteSource& source, InputKind kind, const ContainerOptions& options = {});
    ~ContainerReader() override;

    /// Reads what is in front of the frames. next() calls it when nobody has.
    /// @return Why there is nothing to be read; none when there may be. The same when it is called again.
    [[nodiscard]] std::optional<Finding> open();

    [[nodiscard]] Result<bool> next(Frame& frame, FindingSink* findings) override;
    [[nodiscard]] PlaceUnit placeUnit() const noexcept override { return PlaceUnit::Byte; }
    /// No byte where a finding is about the file as a whole.
    [[nodiscard]] Place placeOf(const Finding& finding) const override;
    [[nodiscard]] std::vector<std::string> takeLibraryTexts() override;

private:
    class Reading;

    std::unique_ptr<Reading> _reading;
};

}  // namespace qlx::streams
