// What is known of a file of frames beside its content.
#pragma once

#include "io/InputFile.h"
#include "io/Rates.h"

#include <qlx/anc/row.h>
#include <qlx/cc/triplet.h>
#include <qlx/streams/input_kind.h>
#include <qlx/streams/rows.h>

#include <cstdint>
#include <optional>
#include <string_view>
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
    std::optional<cc::CcType> field;           ///< Scenarist captions: the field of their pairs. None: they tell it.
    std::optional<std::uint16_t> teletextPid;  ///< ts: whose teletext is read. None: the first that has some.
};

/// What a file is: what the options say, or else its content, or else its name.
/// @throws UsageError when none of them tells; Failure when the file is empty, or as checkParameters() of video that the
///   options do not say.
[[nodiscard]] InputKind kindOf(InputFile& source, std::optional<InputKind> given);

/// Whether a file is a stream of coded pictures.
[[nodiscard]] bool isVideo(InputKind kind) noexcept;

/// Refuses a file that has no parameters of pictures in its first 16 MiB, whatever its name and start codes say: other
/// files have start codes as well. Of what has none in front of that as many bytes are held.
/// @param option That says that it is video all the same.
/// @throws Failure
void checkParameters(InputFile& source, std::string_view option);

/// @throws UsageError when there are options for rows and a file of this kind has none.
void checkRowOptions(InputKind kind, const FrameSourceOptions& options);

/// How the rows of a file of this kind lie.
[[nodiscard]] RowLayout rowLayoutOf(InputKind kind, const FrameSourceOptions& options);

}  // namespace qlx::tool
