// Headers of H.265 (ITU-T H.265), as far as the order of pictures needs them.
//
//     for (const qlx::video::UnitView& unit : qlx::video::StartCodeUnits(picture)) {
//         const auto sequence = qlx::video::parseH265Sequence(unit.bytes.subspan(2));
//         if (sequence) { use(sequence->orderBits); }
//     }
#pragma once

#include <qlx/base/result.h>
#include <qlx/video/nal.h>

#include <cstdint>
#include <span>

namespace qlx::video {

/// What of a sequence parameter set (7.3.2.2.1) is needed to read a slice's place in the order.
struct H265Sequence {
    std::uint32_t number = 0;      ///< sps_seq_parameter_set_id, 0 to 15.
    bool hasColourPlanes = false;  ///< separate_colour_plane_flag
    std::uint32_t orderBits = 4;   ///< log2_max_pic_order_cnt_lsb, 4 to 16.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const H265Sequence&, const H265Sequence&) noexcept = default;
};

/// Reads a sequence parameter set, from the byte behind its NAL unit header of two bytes on; emulation prevention bytes may
/// be in it. Fails with VideoParametersWrong when it ends too early or makes no sense.
[[nodiscard]] QLX_EXPORT Result<H265Sequence> parseH265Sequence(std::span<const std::uint8_t> payload);

/// The same of a picture parameter set (7.3.2.3.1).
struct H265Picture {
    std::uint32_t number = 0;           ///< pps_pic_parameter_set_id, 0 to 63.
    std::uint32_t sequence = 0;         ///< pps_seq_parameter_set_id
    bool hasOutputFlag = false;         ///< output_flag_present_flag
    std::uint32_t extraHeaderBits = 0;  ///< num_extra_slice_header_bits, 0 to 7.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const H265Picture&, const H265Picture&) noexcept = default;
};

/// Reads a picture parameter set; as parseH265Sequence().
[[nodiscard]] QLX_EXPORT Result<H265Picture> parseH265Picture(std::span<const std::uint8_t> payload);

}  // namespace qlx::video
