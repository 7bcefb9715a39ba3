// What the library finds in files of frames, in the tool's words.
#pragma once

#include "io/Errors.h"

#include <qlx/base/finding.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/input_kind.h>
#include <qlx/video/nal.h>

#include <string>
#include <vector>

namespace qlx::tool {

/// Whether a finding about something that is used is worth a look, and no problem.
[[nodiscard]] bool isRemark(const Finding& finding) noexcept;

/// Puts the findings of a reader into lines.
class FrameFindings {
public:
    /// @param name Of the file.
    /// @param reader Must outlive this.
    /// @param kind What the file is.
    FrameFindings(std::string name, streams::FrameReader& reader, streams::InputKind kind)
        : _name(std::move(name)), _reader(reader), _kind(kind) {}

    /// The line of a finding: where it is, and what. Asked for in the order of the findings, once each.
    [[nodiscard]] std::string line(const Finding& finding);

    /// The words for a finding that ends the reading.
    [[nodiscard]] Failure failure(const Finding& why);

private:
    [[nodiscard]] std::string libraryText(const Finding& finding);

    std::string _name;
    streams::FrameReader& _reader;
    streams::InputKind _kind;
    std::vector<std::string> _texts;  ///< Of a library, that belong to no finding yet.
};

/// The words for a finding that ends the reading of an elementary video stream.
/// @param name Of the file.
/// @param codec What it is taken for.
[[nodiscard]] Failure videoFailure(const std::string& name, video::Codec codec, const Finding& why);

}  // namespace qlx::tool
