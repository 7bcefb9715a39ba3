// The headers of slices (ITU-T H.264, 7.3.3), as far as the order of pictures needs them.
#pragma once

#include <qlx/video/h264.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::video::detail {

inline constexpr std::uint32_t kH264Sequences = 32;  ///< Numbers of sequence parameter sets are below it.
inline constexpr std::uint32_t kH264Pictures = 256;  ///< The same of picture parameter sets.

/// What a slice says of its picture.
struct H264Slice {
    std::int64_t frameNumber = 0;          ///< frame_num
    bool isReference = false;              ///< nal_ref_idc is not 0.
    bool isField = false;                  ///< field_pic_flag
    bool isBottom = false;                 ///< bottom_field_flag
    std::int64_t orderLow = 0;             ///< pic_order_cnt_lsb
    std::array<std::int64_t, 2> deltas{};  ///< delta_pic_order_cnt; of type 0 the first is delta_pic_order_cnt_bottom.
    bool beginsAnew = false;               ///< A memory management control operation is 5.
};

/// The number of the slice's picture parameter set; one that no set has when the slice ends before it.
/// @param slice With the NAL unit header, as for the next one.
[[nodiscard]] std::uint32_t pictureOfSlice(std::span<const std::uint8_t> slice) noexcept;

/// Reads a slice's header; none when it ends in front of what says its order. Where it ends behind that, or its picture
/// parameter set is cut, no operation is found.
[[nodiscard]] std::optional<H264Slice> parseH264Slice(std::span<const std::uint8_t> slice, const H264Sequence& sequence,
                                                      const H264Picture& picture) noexcept;

}  // namespace qlx::video::detail
