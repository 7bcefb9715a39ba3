// Writing frames in whichever form.
#pragma once

#include "io/Frame.h"
#include "io/FrameSource.h"
#include "io/OutputFile.h"
#include "io/StreamBytes.h"

#include <qlx/base/finding.h>
#include <qlx/streams/frame_reader.h>
#include <qlx/streams/mcc.h>
#include <qlx/streams/scc.h>
#include <qlx/streams/transport_writer.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace qlx::tool {

/// A file of frames with packets.
enum class FrameFormat : std::uint8_t { V210, Klv, Jsonl, Scc, Mcc, TransportStream };

/// How packets are put into elements and on rows.
enum class RowForm : std::uint8_t {
    Contiguous,  ///< One behind the other (SMPTE ST 291-1), each in its channel.
    AsDeployed,  ///< As the fixed operations do it, all in luma.
};

/// How frames are written.
struct FrameOutputOptions {
    FrameFormat format = FrameFormat::Klv;
    RowForm form = RowForm::Contiguous;
    RowLayout layout;  ///< v210.
    streams::SccOptions scc{};
    streams::MccHeader mcc{};
    streams::TransportWriterOptions transport{};
};

/// Whether a frame of an MCC file stands behind the last timecode of a day, where the first one comes again. Scenarist
/// files end there.
[[nodiscard]] bool isBehindMidnight(std::uint64_t number, const FrameOutputOptions& frames);

/// The format called `v210`, `klv` or `jsonl`.
[[nodiscard]] std::optional<FrameFormat> frameFormatNamed(std::string_view name) noexcept;

/// What of the options for rows is about the input, and what about the output: rows are written as they are read; where
/// there are none to be read, the options are those of the rows that are written.
/// @param source Loses what is not about the input.
/// @param output Gets the layout, when it is `v210`.
/// @throws UsageError when nothing says the lines of the rows that are written.
void settleRows(InputKind input, FrameSourceOptions& source, FrameOutputOptions& output);

/// Counts what a form does not carry of the frames that are written.
class LeftOut final : public FindingSink {
public:
    /// @param name Of the file that is written.
    /// @param saysAll Each is said with its place as it comes, besides.
    explicit LeftOut(std::string name, bool saysAll = false) : _name(std::move(name)), _saysAll(saysAll) {}

    /// The frame that the next findings are of; must live as long as they come.
    void setFrame(const Frame& frame) noexcept { _frame = &frame; }

    void add(const Finding& finding) override;

    /// Counts the wrapping types of a frame that is not written as it is.
    void addWrappings(const Frame& frame);

    /// Whether all has been carried.
    [[nodiscard]] bool isEmpty() const noexcept { return _kinds.empty(); }

    /// Says each kind once, with its count and where the first is.
    void say() const;

private:
    struct Kind {
        std::uint64_t count = 0;
        std::string first;  ///< Where it is: `frame 3, line 9`.
        std::string text;   ///< Of the first one.
    };

    std::string _name;
    bool _saysAll;
    const Frame* _frame = nullptr;
    std::map<FindingCode, Kind> _kinds;
};

/// A file that a writer of the library writes, with what keeps it from that in the tool's words.
class FrameFile final : public FrameWriter {
public:
    /// Makes the writer.
    using Make = std::function<std::unique_ptr<streams::FrameWriter>(streams::ByteSink& sink)>;

    /// @param output Must outlive this.
    /// @param width Of rows in pixels, for messages.
    /// @param leftOut Counts what is not carried, and says it at the end; may be null.
    FrameFile(OutputFile& output, const Make& make, std::size_t width = 0, std::shared_ptr<LeftOut> leftOut = nullptr)
        : _bytes(output), _writer(make(_bytes)), _width(width), _leftOut(std::move(leftOut)) {}

    /// @throws Failure when a packet has no place, or the output cannot be written.
    void write(const Frame& frame) override;
    void finish() override;

private:
    OutputBytes _bytes;
    std::unique_ptr<streams::FrameWriter> _writer;
    std::size_t _width;
    std::shared_ptr<LeftOut> _leftOut;
};

/// Makes a writer of frames.
[[nodiscard]] std::unique_ptr<FrameWriter> makeFrameFile(OutputFile& output, const FrameOutputOptions& options);

/// Makes a writer that says, at the end, how much of the frames the format does not carry.
/// @param leftOut What counts that; null for one of its own.
[[nodiscard]] std::unique_ptr<FrameWriter> makeFrameWriter(OutputFile& output, const FrameOutputOptions& options,
                                                           std::shared_ptr<LeftOut> leftOut = nullptr);

}  // namespace qlx::tool
