// Opening whatever has frames.
//
//     const auto kind = qlx::streams::inputKind(source.peek(qlx::streams::kBytesThatTellKind), "film.jsonl");
//     auto reader = qlx::streams::openFrames(source, kind.value_or(qlx::streams::InputKind::Klv));
//     if (!reader) {
//         report(reader.error().text());
//     }
#pragma once

#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/cc/triplet.h>
#include <qlx/streams/byte_source.h>
#include <qlx/streams/container.h>
#include <qlx/streams/export.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/input_kind.h>
#include <qlx/streams/rows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace qlx::streams {

/// What is known of a file of frames beside its content.
struct OpenOptions {
    std::uint32_t width = kUsualRowWidth;    ///< v210, 2vuy: pixels of a row.
    std::vector<std::uint64_t> lines = {0};  ///< v210, 2vuy: the line number of each row of a frame, ascending.
    /// Gives frames without a time of their own one, from 0. Of files with timecodes: the frames that those count; none:
    /// 29.97.
    std::optional<FrameRate> rate;
    ContainerOptions container{};  ///< How a container is read.
    /// MPEG-TS: the PID whose teletext is read; none for the first one that has some.
    std::optional<std::uint16_t> teletextPid{};
    std::optional<cc::CcType> field{};  ///< Scenarist captions: the field of their pairs, as SccOptions has it.
};

/// Opens a file for reading its frames: packets, captions that are in no packet, or both.
/// @param source Read from where it stands, but a container, which must stand at its beginning; must outlive the reader.
/// @return The reader; StreamKindWithoutFrames for kinds of files that have none, RowLayoutWrong for rows of no width or of
///   no line.
[[nodiscard]] QLX_STREAMS_EXPORT Result<std::unique_ptr<FrameReader>> openFrames(ByteSource& source, InputKind kind,
                                                                                 const OpenOptions& options = {});

/// Gives the frames of a reader that have no time those of a rate, from 0 for frame 0 on.
[[nodiscard]] QLX_STREAMS_EXPORT std::unique_ptr<FrameReader> withTimes(std::unique_ptr<FrameReader> reader,
                                                                        FrameRate rate);

}  // namespace qlx::streams
