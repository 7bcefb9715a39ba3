// The atoms of QuickTime files, which are the boxes of ISO/IEC 14496-12 (4.2): a size, a type, and what they hold.
//
//     while (!bytes.empty()) {
//         const qlx::Result<qlx::anc::AtomHeader> atom = qlx::anc::parseAtomHeader(bytes);
//         if (!atom || atom->size > bytes.size()) { break; }
//         use(atom->type, bytes.first(atom->size).subspan(atom->headerBytes));
//         bytes = bytes.subspan(atom->size);
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/result.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::anc {

/// Bytes of an atom's header, and of one with a size of 64 bits.
inline constexpr std::size_t kAtomHeaderBytes = 8;
/// The same of an atom whose size has 64 bits.
inline constexpr std::size_t kLongAtomHeaderBytes = 16;

/// What stands in front of what an atom holds.
struct AtomHeader {
    std::uint64_t size = 0;                      ///< Bytes of the atom with its header; 0: up to the end of the file.
    std::uint32_t type = 0;                      ///< Four characters, as qlx::fourCC() has them.
    std::size_t headerBytes = kAtomHeaderBytes;  ///< Bytes of the header itself.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const AtomHeader&, const AtomHeader&) noexcept = default;
};

/// Reads the header of the atom at the beginning of `bytes`; what it holds need not be there. Fails with AtomCut when
/// more bytes are needed, and with AtomSizeWrong for a size that does not hold the header.
[[nodiscard]] QLX_EXPORT Result<AtomHeader> parseAtomHeader(std::span<const std::uint8_t> bytes);

}  // namespace qlx::anc
