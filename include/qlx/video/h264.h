// Headers of H.264 (ITU-T H.264), as far as the order of pictures needs them.
//
//     for (const qlx::video::UnitView& unit : qlx::video::StartCodeUnits(picture)) {
//         const auto sequence = qlx::video::parseH264Sequence(unit.bytes.subspan(1));
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
    bool hasChroma = true;  ///< Whether ChromaArrayType is not 0: neither monochrome nor of separate planes.

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const H264Sequence&, const H264Sequence&) noexcept = default;
};

/// Reads a sequence parameter set, from the byte behind its NAL unit header on, as it stands in the stream: emulation
/// prevention bytes are passed over. Fails with VideoParametersWrong when it ends too early or makes no sense.
[[nodiscard]] QLX_EXPORT Result<H264Sequence> parseH264Sequence(std::span<const std::uint8_t> payload);

/// The same of a picture parameter set (7.3.2.2).
struct H264Picture {
    std::uint32_t number = 0;         ///< pic_parameter_set_id, 0 to 255.
    std::uint32_t sequence = 0;       ///< seq_parameter_set_id, 0 to 31.
    bool hasBottomDeltas = false;     ///< bottom_field_pic_order_in_frame_present_flag
    std::uint32_t references0 = 1;    ///< num_ref_idx_l0_default_active_minus1 and 1, 1 to 32.
    std::uint32_t references1 = 1;    ///< The same of l1.
    bool hasWeights = false;          ///< weighted_pred_flag
    bool hasWeightsOfTwo = false;     ///< Whether weighted_bipred_idc is 1.
    bool hasRedundantCounts = false;  ///< redundant_pic_cnt_present_flag
    /// Its end is missing, or says more than there may be: what stands behind `hasBottomDeltas` is not known.
    bool isCut = false;

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const H264Picture&, const H264Picture&) noexcept = default;
};

/// Reads a picture parameter set; as parseH264Sequence(). One that is cut behind both numbers is read, and says so.
[[nodiscard]] QLX_EXPORT Result<H264Picture> parseH264Picture(std::span<const std::uint8_t> payload);

}  // namespace qlx::video
