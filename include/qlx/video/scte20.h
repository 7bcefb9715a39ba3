// Captions as SCTE 20 has them in the user data of MPEG-2 pictures.
//
//     qlx::Findings findings;
//     const auto pairs = qlx::video::parseScte20(userData, &findings);
//     if (pairs) {
//         for (const qlx::video::Scte20Pair& pair : *pairs) {
//             use(qlx::video::scte20Triplet(pair, qlx::video::Mpeg2PictureCoding{}));
//         }
//     }
#pragma once

#include <qlx/base/bounded_list.h>
#include <qlx/base/result.h>
#include <qlx/cc/triplet.h>
#include <qlx/video/mpeg2.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// user_data_type_code of captions by SCTE 20.
inline constexpr std::uint8_t kScte20TypeCode = 0x03;
/// line_offset of line 21.
inline constexpr std::uint8_t kScte20Line21 = 11;
/// Pairs that a picture has at most: cc_count has 5 bits.
inline constexpr std::size_t kGreatestScte20Pairs = 31;

/// A pair of a field of the picture.
struct Scte20Pair {
    std::uint8_t priority = 0;    ///< cc_priority, 0 to 3; 0 is the most important.
    std::uint8_t field = 1;       ///< field_number: 1 to 3 in the order of display; 0 is none.
    std::uint8_t lineOffset = 0;  ///< line_offset, 0 to 31: lines from line 10 of the field on; 11 is line 21.
    std::uint8_t first = 0;       ///< cc_data_1 as CEA-608 has it: its bits come in reverse.
    std::uint8_t second = 0;      ///< cc_data_2, the same.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Scte20Pair&, const Scte20Pair&) noexcept = default;
};

/// The pairs of a picture.
using Scte20Pairs = BoundedList<Scte20Pair, kGreatestScte20Pairs>;

/// Reads user data that begin with the type code. Fails with VideoUserDataUnlikeScte20 where that is another one, the
/// reserved bits behind it are others, or what follows is no whole count: user data have other uses. None where
/// vbi_data_flag is 0. To `findings`, with the byte's offset: VideoScte20Cut for pairs that are announced and not there,
/// VideoScte20FieldWrong for one of field 0, VideoScte20OtherLine (a remark) for the first one that is not of line 21:
/// such pairs are used all the same.
[[nodiscard]] QLX_EXPORT Result<Scte20Pairs> parseScte20(std::span<const std::uint8_t> bytes,
                                                         FindingSink* findings = nullptr);

/// The triplet of a pair: field 1 of line 21 is the upper one, which the first displayed field is where
/// top_field_first or the structure of a field picture says so; the third is displayed like the first.
/// @param pair Its field must not be 0: the triplet is not valid then.
/// @param coding Of its picture.
[[nodiscard]] QLX_EXPORT cc::Triplet scte20Triplet(const Scte20Pair& pair, const Mpeg2PictureCoding& coding) noexcept;

}  // namespace qlx::video
