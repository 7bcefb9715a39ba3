// What extended data (XDS) of CEA-608 say, in words.
#pragma once

#include <qlx/cea608/xds.h>

#include <string>

namespace qlx::tool {

/// `programme name: "Film"`, `rating: TV-14 V`; of a programme that comes later with `next ` in front; of what is not
/// decoded its class, type and bytes: `reserved class, type 02: 4041`; the same, with ` (none of its type)` behind it, of
/// bytes that do not make a value.
[[nodiscard]] std::string xdsInWords(const cea608::XdsPacket& packet);

}  // namespace qlx::tool
