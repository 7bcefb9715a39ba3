// Start codes of coded video: the bytes 00 00 01 (ISO/IEC 13818-2; ITU-T H.264 and H.265, Annex B).
//
//     for (const qlx::video::UnitView& unit : qlx::video::StartCodeUnits(stream)) { use(unit.offset, unit.bytes); }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/walk.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// Bytes of a start code prefix.
inline constexpr std::size_t kStartCodeBytes = 3;

/// The place of the first start code prefix that begins at `from` or behind it; `bytes.size()` when none is there whole.
[[nodiscard]] QLX_EXPORT std::size_t findStartCode(std::span<const std::uint8_t> bytes, std::size_t from = 0) noexcept;

/// A unit of a stream. A view: the bytes are the caller's.
struct UnitView {
    std::size_t offset = 0;               ///< Of the unit in the bytes that are walked through.
    std::span<const std::uint8_t> bytes;  ///< From the byte behind the start code or length on, which says what it is.
};

/// The bytes without zeros at their end: those in front of the next start code, which no NAL unit ends with. (In MPEG-2
/// video they may belong to what stands in front of them.)
[[nodiscard]] constexpr std::span<const std::uint8_t> withoutTrailingZeros(
    std::span<const std::uint8_t> bytes) noexcept {
    while (!bytes.empty() && bytes.back() == 0) {
        bytes = bytes.first(bytes.size() - 1);
    }
    return bytes;
}

/// Gives the units between start codes, each with all bytes up to the next one. What stands in front of the first start
/// code is passed over, and so is a start code with nothing behind it.
class StartCodeWalker {
public:
    using Value = UnitView;  ///< What it gives.

    /// Gives nothing.
    StartCodeWalker() = default;
    /// Walks through `bytes`, which must outlive this.
    explicit StartCodeWalker(std::span<const std::uint8_t> bytes) noexcept
        : _bytes(bytes), _next(findStartCode(bytes)) {}

    /// Sets the next unit; false, and nothing is set, when there is none.
    [[nodiscard]] QLX_EXPORT bool next(UnitView& unit) noexcept;

private:
    std::span<const std::uint8_t> _bytes;
    std::size_t _next = 0;
};

/// The same as a range.
using StartCodeUnits = Walk<StartCodeWalker>;

}  // namespace qlx::video
