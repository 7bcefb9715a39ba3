// Writing frames in whichever form.
#pragma once

#include "io/OutputFile.h"
#include "streams/FrameSource.h"
#include "streams/RowWriter.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::tool {

/// A file of frames with packets.
enum class FrameFormat : std::uint8_t { V210, Klv, Jsonl };

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

/// Makes a writer that says, at the end, how much of the frames the format does not carry.
[[nodiscard]] std::unique_ptr<FrameWriter> makeFrameWriter(OutputFile& output, const FrameOutputOptions& options);

}  // namespace qlx::tool
