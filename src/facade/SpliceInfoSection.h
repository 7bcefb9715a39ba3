// A splice_info_section (ANSI/SCTE 35) with one splice_insert() and one segmentation_descriptor(), and its pieces. All
// fields are big-endian.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <cstddef>
#include <cstdint>

namespace qlx::scte35 {

// Each write() fills size() bytes and gives the place behind them.

/// splice_time(): flag, reserved and 33 bits of time, or one byte without a time.
struct SpliceTime {
    std::uint64_t pts = 0;  ///< 90 kHz ticks; the low 33 bits are written.
    bool timeSpecified = false;

    [[nodiscard]] std::size_t size() const noexcept { return timeSpecified ? 5 : 1; }
    std::uint8_t* write(std::uint8_t* bytes) const noexcept;
};

/// break_duration(): auto_return, reserved and 33 bits of duration.
struct BreakDuration {
    std::uint64_t duration = 0;  ///< 90 kHz ticks; the low 33 bits are written.
    bool autoReturn = false;

    [[nodiscard]] static constexpr std::size_t size() noexcept { return 5; }
    std::uint8_t* write(std::uint8_t* bytes) const noexcept;
};

/// splice_insert() for a splice_insert_type of SCTE-104; program-wide, without components.
struct SpliceInsert {
    std::int32_t spliceType = 0;
    std::uint32_t eventID = 0;
    std::uint16_t programUID = 0;
    std::uint16_t duration = 0;
    std::uint64_t pts = 0;

    [[nodiscard]] std::size_t size() const noexcept;
    std::uint8_t* write(std::uint8_t* bytes) const noexcept;
};

/// segmentation_descriptor() of content identification, without UPID and duration.
struct SegmentationDescriptor {
    std::uint8_t eventID = 0;  ///< The lowest byte of segmentation_event_id.
    bool cancel = false;

    [[nodiscard]] std::size_t size() const noexcept { return cancel ? 11 : 17; }
    std::uint8_t* write(std::uint8_t* bytes) const noexcept;
};

/// The whole section, CRC included.
[[nodiscard]] Data section(const SpliceInsert& command, const SegmentationDescriptor& descriptor);

}  // namespace qlx::scte35
