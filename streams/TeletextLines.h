// The teletext lines of a frame in the order in which its fields have them.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/teletext/sdp.h>

#include <cstddef>
#include <vector>

namespace qlx::streams::detail {

/// The first field comes first, and each line of a field once: where they do not ascend, or are not 7 to 22, they are
/// numbered from 7 on.
/// @param lines Those of a field that are more than it has lines are taken out.
/// @param findings StreamTeletextLeftOut for these, with `place` as its offset; may be null.
void orderLines(std::vector<teletext::SdpLine>& lines, std::size_t place, FindingSink* findings);

}  // namespace qlx::streams::detail
