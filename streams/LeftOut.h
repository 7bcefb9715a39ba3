// What a frame, or a form of one, has no place for.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/frame.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::streams::detail {

/// What of a frame a form carries beside DID, SDID, user data, line and channel of its packets.
struct Carried {
    bool captions = false;           ///< Those that are in no packet.
    bool horizontalOffsets = false;  ///< Wherever a packet stands on its row.
    bool wrappings = false;          ///< Where an element says that a packet belongs.
};

/// Says what of a frame is not carried. A packet that stands right behind the one before it, or at the beginning of its
/// row, loses no offset: the next one that writes rows puts it there again.
/// @param findings May be null; offsets are those that FrameWriter::write() gives.
void tellLeftOut(const Frame& frame, const Carried& carried, FindingSink* findings);

/// What a reader of rows or elements says of a packet, as it is for one that a frame keeps: of a word of ten bits that is
/// the byte alone.
[[nodiscard]] Finding asFramesKeepIt(Finding finding);

}  // namespace qlx::streams::detail
