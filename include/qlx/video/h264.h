// Headers of H.264 (ITU-T H.264), as far as the order of pictures needs them.
//
//     for (const qlx::video::UnitView& unit : qlx::video::StartCodeUnits(picture)) {
//         std::vector<std::uint8_t> room(unit.bytes.size());
//         const auto payload = qlx::video::withoutEmulationPrevention(unit.bytes, room);
//         const auto sequence = qlx::video::parseH264Sequence(payload.subspan(1));
//         if (sequence) { use(sequence->orderType); }
//     }
#pragma once

#include <qlx/base/bounded_list.h>
#include <qlx/base/result.h>
#include <qlx/video/nal.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// Reference frames of a cycle of type 1, at most (7.4.2.1.1).
inline constexpr std::size_t kMostOrderOffsets = 255;

/// What of a sequence parameter set (7.3.2.1.1) is needed to read a slice's place in the order.
struct H264Sequence {
    std::uint32_t number = 0;             ///< seq_parameter_set_id
    bool hasColourPlanes = false;         ///< separate_colour_plane_flag
    std::uint32_t frameNumberBits = 0;    ///< log2_max_frame_num
    std::uint32_t orderType = 0;          ///< pic_order_cnt_type
    std::uint32_t orderBits = 0;          ///< log2_max_pic_order_cnt_lsb; 0 unless the type is 0.
    bool hasFramesOnly = false;           ///< frame_mbs_only_flag
    bool hasNoOrderDeltas = false;        ///< delta_pic_order_always_zero_flag; of type 1, as what follows.
    std::int64_t nonReferenceOffset = 0;  ///< offset_for_non_ref_pic
    std::int64_t bottomOffset = 0;        ///< offset_for_top_to_bottom_field
    BoundedList<std::int64_t, kMostOrderOffsets> cycleOffsets;  ///< offset_for_ref_frame

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const H264Sequence&, const H264Sequence&) noexcept = default;
};

/// Reads a sequence parameter set, from the byte behind its NAL unit header on. Fails with VideoParametersWrong when it
/// ends too early or makes no sense.
[[nodiscard]] QLX_EXPORT Result<H264Sequence> parseH264Sequence(std::span<const std::uint8_t> payload);

}  // namespace qlx::video
