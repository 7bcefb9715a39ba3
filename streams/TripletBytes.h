// Triplets as the bytes of a frame's captions.
#pragma once

#include <qlx/cc/triplet.h>

#include <cstdint>
#include <vector>

namespace qlx::streams::detail {

/// Puts the three bytes of a triplet behind others.
inline void append(std::vector<std::uint8_t>& bytes, const cc::Triplet& triplet) {
    bytes.insert(bytes.end(), {triplet.header, triplet.first, triplet.second});
}

}  // namespace qlx::streams::detail
