// Reading a file of frames, with what is found in it in the tool's words.
#pragma once

#include "io/Frame.h"
#include "io/InputFile.h"
#include "io/StreamBytes.h"

#include <qlx/base/finding.h>
#include <qlx/streams/frame_reader.h>

#include <memory>
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
    void setReader(std::unique_ptr<streams::FrameReader> reader) { _reader = std::move(reader); }

    /// Reads the next frame.
    /// @param problems Gets a line for everything in the frame that could not be read.
    /// @return False at the end of the file.
    /// @throws Failure when the file is broken here; frames before have been given.
    bool next(Frame& frame, std::vector<std::string>& problems);

    /// What needs a look in the frames given since the last call, though all of it could be read; a line each.
    [[nodiscard]] std::vector<std::string> takeRemarks() { return std::exchange(_remarks, {}); }

private:
    /// Keeps everything that one call gives.
    class AllFindings final : public FindingSink {
    public:
        void add(const Finding& finding) override { found.push_back(finding); }
        std::vector<Finding> found;
    };

    void sayFindings(std::vector<std::string>& problems);
    [[noreturn]] void fail(const Finding& why);

    std::string _name;
    InputBytes _bytes;
    std::unique_ptr<streams::FrameReader> _reader;
    AllFindings _findings;
    std::vector<std::string> _remarks;
};

}  // namespace qlx::tool
