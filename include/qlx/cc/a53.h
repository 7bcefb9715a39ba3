// Captions in coded pictures: the user data of ATSC A/53 Part 4, in MPEG-2 video and in the SEI messages of H.264 and
// H.265 (ITU-T T.35).
//
//     qlx::Findings findings;
//     const auto captions = qlx::cc::parseCaptionUserData(payload, qlx::cc::UserDataForm::ItuT35, &findings);
//     if (captions && captions->processCcData) {
//         for (const qlx::cc::Triplet& triplet : captions->triplets) { use(triplet); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/result.h>
#include <qlx/cc/cdp.h>
#include <qlx/cc/triplet.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::cc {

/// What stands in front of the captions.
enum class UserDataForm : std::uint8_t {
    Mpeg2,     ///< "GA94" and the type code: what follows the start code 000001B2 of MPEG-2 video.
    ItuT35,    ///< Country and provider code first: the payload of user_data_registered_itu_t_t35 (SEI payload type 4),
               ///< without emulation prevention bytes.
    TypeCode,  ///< The type code alone: what encoders take that add the rest.
};

/// The captions of a picture. A default-made one has no triplets; its flags are those of every picture with captions.
struct CaptionUserData {
    bool processEmData = true;    ///< process_em_data_flag; in later editions a reserved bit, which is 1.
    bool processCcData = true;    ///< process_cc_data_flag: whether the triplets are meant to be used.
    bool additionalData = false;  ///< additional_data_flag; in later editions a bit that is 0.
    std::uint8_t emData = 0xFF;   ///< em_data; in later editions eight reserved bits, which are 1.
    BoundedList<Triplet, kGreatestTriplets> triplets;  ///< cc_data

    /// True when both are written as the same bytes.
    friend bool operator==(const CaptionUserData&, const CaptionUserData&) noexcept = default;
};

/// Bytes around the triplets in the longest form: country and provider code, "GA94", type code, flags, em_data, marker
/// bits.
inline constexpr std::size_t kCaptionUserDataOverhead = 3 + 4 + 1 + 2 + 1;
/// The longest that is written.
inline constexpr std::size_t kGreatestCaptionUserData = kCaptionUserDataOverhead + kGreatestTriplets * sizeof(Triplet);

/// Reads the captions that begin with the first byte.
///
/// Fails with UserDataTooShort where the flags are cut off, and with UserDataUnlikeCaptions where a code in front of
/// them is another one: user data has other uses. To `findings`, with the byte's offset: marker bits that are not ones,
/// triplets that are announced and not there, bytes behind the captions (a Remark; zeros in front of a start code, or
/// additional data). What is read without a finding is written as the same bytes.
[[nodiscard]] QLX_EXPORT Result<CaptionUserData> parseCaptionUserData(std::span<const std::uint8_t> bytes,
                                                                      UserDataForm form,
                                                                      FindingSink* findings = nullptr);

/// Writes the captions into `room` and gives the bytes. Allocates nothing. OutputTooSmall for a smaller room; nothing is
/// written then.
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeCaptionUserData(const CaptionUserData& captions, UserDataForm form,
                                                                  std::span<std::uint8_t> room);

/// The same as a buffer of its own.
[[nodiscard]] QLX_EXPORT Data writeCaptionUserData(const CaptionUserData& captions, UserDataForm form);

}  // namespace qlx::cc
