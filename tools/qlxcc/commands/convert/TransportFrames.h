// Transport streams as files of frames: what they have in frames of its own, and what is to be known for writing them.
#pragma once

#include "io/Frame.h"
#include "io/FrameSource.h"

#include <qlx/streams/ts/tables.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Joins the teletext of a transport stream, which is in frames of its own, with what else is of the same frame.
class FrameJoin {
public:
    /// Takes a frame that is whole.
    using Give = std::function<void(Frame& frame)>;

    explicit FrameJoin(Give give) : _give(std::move(give)) {}

    /// @param frame Its number is that in what is written; they do not descend.
    void take(Frame& frame);

    /// Gives the last one.
    void finish();

private:
    Give _give;
    std::optional<Frame> _held;
};

/// The teletext pages with text of a file that can be read twice, with their languages, no more than a descriptor has room
/// for; where it cannot, page 888.
[[nodiscard]] std::vector<streams::ts::TeletextPage> describedPages(const std::string& path,
                                                                    const FrameSourceOptions& source);

}  // namespace qlx::tool
