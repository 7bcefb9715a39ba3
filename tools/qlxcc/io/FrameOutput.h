// Writing frames in whichever form.
#pragma once

#include "io/Frame.h"
#include "io/FrameSource.h"
#include "io/OutputFile.h"
#include "io/StreamBytes.h"

#include <qlx/base/finding.h>
#include <qlx/streams/frame_reader.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace qlx::tool {

/// A file of frames with packets.
enum class FrameFormat : std::uint8_t { V210, Klv, Jsonl };

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
};

/// The format called `v210`, `klv` or `jsonl`.
[[nodiscard]] std::optional<FrameFormat> frameFormatNamed(std::string_view name) noexcept;

/// What of the options for rows is about the input, and what about the output: rows are written as they are read; where
/// there are none to be read, the options are those of the rows that are written.
/// @param source Loses what is not about the input.
/// @param output Gets the layout, when it is `v210`.
/// @throws UsageError when nothing says the lines of the rows that are written.
void settleRows(InputKind input, FrameSourceOptions& source, FrameOutputOptions& output);

/// A file that a writer of the library writes, with what keeps it from that in the tool's words.
class FrameFile final : public FrameWriter {
public:
    /// Makes the writer.
    using Make = std::function<std::unique_ptr<streams::FrameWriter>(streams::ByteSink& sink)>;

    /// @param output Must outlive this.
    /// @param width Of rows in pixels, for messages.
    FrameFile(OutputFile& output, const Make& make, std::size_t width = 0)
        : _bytes(output), _writer(make(_bytes)), _width(width) {}

    /// @throws Failure when a packet has no place, or the output cannot be written.
    void write(const Frame& frame) override;
    void finish() override;

private:
    OutputBytes _bytes;
    std::unique_ptr<streams::FrameWriter> _writer;
    std::size_t _width;
};

/// Makes a writer of frames.
[[nodiscard]] std::unique_ptr<FrameWriter> makeFrameFile(OutputFile& output, const FrameOutputOptions& options);

/// Makes a writer that says, at the end, how much of the frames the format does not carry.
[[nodiscard]] std::unique_ptr<FrameWriter> makeFrameWriter(OutputFile& output, const FrameOutputOptions& options);

}  // namespace qlx::tool
