// What a frame duration fixes in a caption distribution packet (SMPTE ST 334-2): triplet count and frame-rate code.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <cstdint>

namespace qlx::captionrate {

/// cc_count: 600 / frames per second, truncated, low 8 bits; 0 for a value or timescale of 0 or a negative quotient.
[[nodiscard]] std::uint8_t ccCount(const MediaTime& frameDuration) noexcept;

/// cdp_frame_rate: 1 (23.976) to 8 (60), 0 for any other rate.
[[nodiscard]] std::uint8_t frameRateCode(const MediaTime& frameDuration) noexcept;

/// The code that deployed hosts expect for a count: 1 where 600 / count is 24, 7 where it is 60, else 4.
[[nodiscard]] std::uint8_t frameRateCodeOfCount(std::uint8_t ccCount) noexcept;

}  // namespace qlx::captionrate
