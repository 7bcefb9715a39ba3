// The NAL units of a sample (ISO/IEC 14496-15), each behind its length.
#pragma once

#include <qlx/video/nal.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::streams::detail {

/// Whether a sample begins with a NAL unit, and the lengths lead to its end. One with start codes (`lengthBytes` 0) does.
[[nodiscard]] bool hasWholeUnits(std::span<const std::uint8_t> sample, std::size_t lengthBytes) noexcept;

/// The bytes of a length in front of the NAL units of a stream, as its parameter record says; 0 for other bytes, which are
/// those of a stream with start codes.
[[nodiscard]] std::size_t lengthBytesOf(std::span<const std::uint8_t> parameters, video::Codec codec) noexcept;

}  // namespace qlx::streams::detail
