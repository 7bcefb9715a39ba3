// The packets of SMPTE ST 436-1 ANC frame elements in containers.
#pragma once

#include "io/Frame.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qlx::tool {

/// Adds the packets of an ANC frame element's value to a frame; those that cannot be used are passed over.
/// @param place Where the element is, for messages.
/// @param problems Gets a line for everything that is wrong with it.
/// @param remarks Gets a line for what only needs a look; may be null.
void readAncFrameElement(std::span<const std::uint8_t> element, const std::string& place, Frame& frame,
                         std::vector<std::string>& problems, std::vector<std::string>* remarks = nullptr);

}  // namespace qlx::tool
