// Whether the index of a container is there, which stands at its end or in front of what it tells the places of: a file
// that is cut short, or still being recorded, has none.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/byte_source.h>

#include <cstdint>
#include <optional>
#include <span>

namespace qlx::streams::detail {

/// What the header of an MXF file says of its footer (SMPTE ST 377-1), in which the index is.
struct MxfFooter {
    std::uint64_t place = 0;    ///< The byte at which it begins; 0 when the header does not say.
    bool isHeaderOpen = false;  ///< The header was written before the file was complete, and has stayed as it was.
};

/// @param first The file's first bytes, with a run-in when it has one.
/// @return None when the header is not in them.
[[nodiscard]] std::optional<MxfFooter> mxfFooter(std::span<const std::uint8_t> first) noexcept;

/// @param end The bytes of the file.
/// @return What is wrong when the file ends in front of its footer; none when it does not.
[[nodiscard]] std::optional<Finding> missingFooter(const MxfFooter& footer, std::uint64_t end);

/// Looks for the footer of an MXF file where the header says it is.
/// @param source At its beginning, where it stands afterwards as well.
/// @return What is wrong when it is not there; none when it is, or nobody can tell, as of a pipe.
[[nodiscard]] std::optional<Finding> lookForFooter(ByteSource& source);

/// Whether a QuickTime or MP4 file (ISO/IEC 14496-12) has its media data in front of its index, which must be known first.
/// @param first The file's first bytes; an index that is wholly in them counts as known.
[[nodiscard]] bool isIndexBehindMedia(std::span<const std::uint8_t> first) noexcept;

/// Follows the atoms of a QuickTime or MP4 file.
class AtomWalk {
public:
    /// @param header The first bytes of an atom, at most 16 are looked at.
    /// @return The atom's size; 0 when more of its bytes are needed; none when there is none, or the file is followed no
    ///   further.
    std::optional<std::uint64_t> add(std::uint64_t place, std::span<const std::uint8_t> header);

    /// @param end The bytes of the file.
    /// @return What is missing or damaged; none when the file is whole, or nobody can tell.
    [[nodiscard]] std::optional<Finding> obstacle(std::uint64_t end) const;

private:
    bool _hasIndex = false;
    bool _hasFragments = false;
    std::optional<std::uint64_t> _damagedAt;
    std::uint64_t _place = 0;              ///< Of the last atom.
    std::uint64_t _size = 0;               ///< 0: up to the end.
    FindingCode _cut = FindingCode::None;  ///< What is to be said when it is cut, where it is surely an atom.
};

/// The same of a whole file.
/// @param source Stands anywhere afterwards.
/// @return What is missing; none when the file is whole, or nobody can tell, as of a pipe.
[[nodiscard]] std::optional<Finding> lookAtAtoms(ByteSource& source);

}  // namespace qlx::streams::detail
