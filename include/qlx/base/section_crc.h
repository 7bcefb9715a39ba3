// The CRC-32 with which sections of an MPEG-2 transport stream end (ISO/IEC 13818-1, annex A).
//
//     // Of a section with its CRC it is 0.
//     if (qlx::sectionCRC32(bytes) != 0) { report("damaged"); }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstdint>
#include <span>

namespace qlx {

/// The CRC-32 of bytes: polynomial 04C11DB7, begun with FFFFFFFF, highest bit first, nothing inverted. That of nothing is
/// FFFFFFFF; that of a section with its CRC is 0 when it is right.
[[nodiscard]] QLX_EXPORT std::uint32_t sectionCRC32(std::span<const std::uint8_t> bytes) noexcept;

}  // namespace qlx
