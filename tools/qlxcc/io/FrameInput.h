// Reading a file of frames, with what is found in it in the tool's words.
#pragma once

#include "io/Frame.h"
#include "io/FrameFindings.h"
#include "io/InputFile.h"
#include "io/StreamBytes.h"

#include <qlx/base/finding.h>
#include <qlx/cc/time_code.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/input_kind.h>
#include <qlx/streams/ts/tables.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Something of a frame that could not be read, or was used though it is wrong.
struct FrameProblem {
    std::string text;  ///< In words, with its place.
    FindingCode kind;  ///< What it is.
};

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

    /// Says who knows the teletext pages that the file names; it is asked as long as there is the reader.
    void setPages(std::function<std::vector<streams::ts::TeletextPage>()> pages) { _pages = std::move(pages); }

    /// The teletext pages that the file names, as far as it has been read; most files name none.
    [[nodiscard]] std::vector<streams::ts::TeletextPage> teletextPages() const {
        return _pages ? _pages() : std::vector<streams::ts::TeletextPage>();
    }

    /// How the file's timecodes count, as far as it has been read; none where it has none.
    [[nodiscard]] std::optional<cc::TimeCodeCounting> counting() const { return _reader->counting(); }

    /// Reads the next frame.
    /// @param problems Gets one for everything in the frame that could not be read.
    /// @return False at the end of the file, and in the midst of a frame that its end cuts, which is a problem.
    /// @throws Failure when the file is broken here, or has no whole frame in front of a cut one.
    bool next(Frame& frame, std::vector<FrameProblem>& problems);

    /// What needs a look in the frames given since the last call, though all of it could be read; a line each.
    [[nodiscard]] std::vector<std::string> takeRemarks() { return std::exchange(_remarks, {}); }

    /// How many lines of problems there have been so far.
    [[nodiscard]] std::uint64_t problems() const noexcept { return _problems; }

    /// How many of them say that something was left out. What is wrong in a KLV file or on rows and was used all the same
    /// is a problem, but no loss.
    [[nodiscard]] std::uint64_t losses() const noexcept { return _losses; }

    /// Throws what ends the reading: what the file has thrown, else a finding in words.
    [[noreturn]] void fail(const Finding& why);

private:
    /// Keeps what one call gives: as many findings as anybody reads, and how many more there are.
    class CallFindings final : public FindingSink {
    public:
        static constexpr std::size_t kMost = 10'000;

        void add(const Finding& finding) override {
            if (found.size() < kMost) {
                found.push_back(finding);
            } else {
                rest.add(finding);
            }
        }
        void clear() {
            found.clear();
            rest = {};
        }

        /// Those that are not kept.
        struct Rest {
            void add(const Finding& finding) {
                count += 1;
                worst = isRemark(finding) ? worst : std::max(worst, finding.severity);
            }
            std::uint64_t count = 0;
            Severity worst = Severity::Remark;
        };

        std::vector<Finding> found;
        Rest rest;
    };

    void sayFindings(std::vector<FrameProblem>& problems);
    void sayRest(std::vector<FrameProblem>& problems);
    [[nodiscard]] bool isUsed(Severity severity) const noexcept;

    std::string _name;
    InputBytes _bytes;
    std::unique_ptr<streams::FrameReader> _reader;
    std::function<std::vector<streams::ts::TeletextPage>()> _pages;
    std::optional<FrameFindings> _words;  ///< Once there is a reader.
    CallFindings _findings;
    std::vector<std::string> _remarks;
    streams::InputKind _kind = streams::InputKind::Klv;
    std::uint64_t _problems = 0;
    std::uint64_t _losses = 0;
    bool _hasGivenFrames = false;
    bool _isCut = false;
};

}  // namespace qlx::tool
