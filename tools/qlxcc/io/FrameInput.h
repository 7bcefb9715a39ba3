// Reading a file of frames, with what is found in it in the tool's words.
#pragma once

#include "io/Frame.h"
#include "io/FrameFindings.h"
#include "io/InputFile.h"
#include "io/StreamBytes.h"

#include <qlx/base/finding.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/input_kind.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// A file of frames and what reads it.
class FrameInput {
public:
    /// @param source Must outlive this.
    explicit FrameInput(InputFile& source) : _name(source.name()), _bytes(source) {}

    /// What a reader reads.
    [[nodiscard]] streams::ByteSource& bytes() noexcept { return _bytes; }

    /// Before the first frame is read.
    /// @param kind What the file is.
    void setReader(std::unique_ptr<streams::FrameReader> reader, streams::InputKind kind);

    /// Reads the next frame.
    /// @param problems Gets a line for everything in the frame that could not be read.
    /// @return False at the end of the file.
    /// @throws Failure when the file is broken here; frames before have been given.
    bool next(Frame& frame, std::vector<std::string>& problems);

    /// What needs a look in the frames given since the last call, though all of it could be read; a line each.
    [[nodiscard]] std::vector<std::string> takeRemarks() { return std::exchange(_remarks, {}); }

    /// How many of all problems so far say that something was left out. What is wrong in a KLV file and was used all the
    /// same is a problem, but no loss.
    [[nodiscard]] std::uint64_t losses() const noexcept { return _losses; }

    /// Throws what ends the reading: what the file has thrown, else a finding in words.
    [[noreturn]] void fail(const Finding& why);

private:
    /// Keeps everything that one call gives.
    class AllFindings final : public FindingSink {
    public:
        void add(const Finding& finding) override { found.push_back(finding); }
        std::vector<Finding> found;
    };

    void sayFindings(std::vector<std::string>& problems);

    std::string _name;
    InputBytes _bytes;
    std::unique_ptr<streams::FrameReader> _reader;
    std::optional<FrameFindings> _words;  ///< Once there is a reader.
    AllFindings _findings;
    std::vector<std::string> _remarks;
    streams::InputKind _kind = streams::InputKind::Klv;
    std::uint64_t _losses = 0;
};

}  // namespace qlx::tool
