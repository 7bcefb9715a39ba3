// Opening whatever has frames.
#pragma once

#include "io/FrameInput.h"
#include "io/InputFile.h"
#include "io/Rates.h"

#include <qlx/anc/row.h>
#include <qlx/streams/input_kind.h>
#include <qlx/streams/rows.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace qlx::tool {

using streams::InputKind;
using streams::kUsualRowWidth;
using streams::RowLayout;

/// What is known of a file of frames beside its content.
struct FrameSourceOptions {
    std::optional<InputKind> kind;                    ///< None: the content tells, or else the name.
    std::optional<std::uint32_t> width;               ///< v210, 2vuy: pixels of a row. None: 1920.
    std::optional<std::vector<std::uint64_t>> lines;  ///< v210, 2vuy: the line of each row of a frame. None: one, 0.
    bool nearStart = false;                           ///< v210, 2vuy: search as the fixed operation does.
    std::optional<Rate> rate;                         ///< Gives frames without a time of their own one, from 0.
};

/// What a file is: what the options say, or else its content, or else its name.
/// @throws UsageError when none of them tells; Failure when the file is empty.
[[nodiscard]] InputKind kindOf(InputFile& source, std::optional<InputKind> given);

/// @throws UsageError when there are options for rows and a file of this kind has none.
void checkRowOptions(InputKind kind, const FrameSourceOptions& options);

/// How the rows of a file of this kind lie.
[[nodiscard]] RowLayout rowLayoutOf(InputKind kind, const FrameSourceOptions& options);

/// Opens a file for reading its frames: packets, the captions that came with the picture, or both.
/// @param source Read from where it stands; must outlive the reader.
/// @throws UsageError when the kind is unknown, has no frames or does not go with the options; Failure when the file is
///   broken at its beginning.
[[nodiscard]] std::unique_ptr<FrameInput> openFrames(InputFile& source, const FrameSourceOptions& options);

}  // namespace qlx::tool
