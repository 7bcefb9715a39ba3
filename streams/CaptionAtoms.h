// What a sample of a QuickTime caption track (`c708`) holds.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/frame.h>

#include <cstdint>
#include <span>

namespace qlx::streams::detail {

/// Adds what the atoms of a sample hold to a frame: the CDP of a `ccdp` as a packet, and the pairs of fields 1 and 2, in
/// `cdat` and `cdt2`, as triplets.
/// @return False for a sample with bytes and none of these, of which nothing else is told.
[[nodiscard]] bool readCaptionAtoms(std::span<const std::uint8_t> sample, Frame& frame, FindingSink& findings);

}  // namespace qlx::streams::detail
