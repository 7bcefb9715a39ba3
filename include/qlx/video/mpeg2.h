// Headers and user data of MPEG-2 video (ISO/IEC 13818-2), which stand behind start codes.
//
//     for (const qlx::video::Mpeg2UserDataView& data : qlx::video::Mpeg2UserData(picture)) {
//         const auto captions = qlx::cc::parseCaptionUserData(data.bytes, qlx::cc::UserDataForm::Mpeg2);
//     }
#pragma once

#include <qlx/base/result.h>
#include <qlx/video/start_code.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

// Start codes, by the byte behind 00 00 01 (Table 6-1).
inline constexpr std::uint8_t kMpeg2Picture = 0x00;    ///< picture_start_code
inline constexpr std::uint8_t kMpeg2UserData = 0xB2;   ///< user_data_start_code
inline constexpr std::uint8_t kMpeg2Sequence = 0xB3;   ///< sequence_header_code
inline constexpr std::uint8_t kMpeg2Extension = 0xB5;  ///< extension_start_code
inline constexpr std::uint8_t kMpeg2Group = 0xB8;      ///< group_start_code

/// picture_coding_type (Table 6-12). Other numbers are kept as they are.
enum class Mpeg2PictureType : std::uint8_t {
    I = 1,  ///< Intra-coded.
    P = 2,  ///< Predictive-coded.
    B = 3,  ///< Bidirectionally predictive-coded.
};

/// What a picture header begins with (6.2.3).
struct Mpeg2PictureHeader {
    std::uint16_t temporalReference = 0;          ///< temporal_reference: 0 to 1023, in the order of presentation.
    Mpeg2PictureType type = Mpeg2PictureType::I;  ///< picture_coding_type

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Mpeg2PictureHeader&,
                                                   const Mpeg2PictureHeader&) noexcept = default;
};

/// Reads a picture header from its start code's last byte on. Fails with VideoUnitTooShort.
[[nodiscard]] QLX_EXPORT Result<Mpeg2PictureHeader> parseMpeg2Picture(std::span<const std::uint8_t> unit);

/// picture_structure (Table 6-14).
enum class Mpeg2PictureStructure : std::uint8_t {
    TopField = 1,     ///< A field picture: the upper field.
    BottomField = 2,  ///< The lower one.
    Frame = 3,        ///< Both.
};

/// What of a picture coding extension (6.2.3.1) says in which order fields are displayed. A default-made one is a frame
/// whose upper field is the first.
struct Mpeg2PictureCoding {
    Mpeg2PictureStructure structure = Mpeg2PictureStructure::Frame;  ///< picture_structure; 0 is kept as it is.
    bool isTopFieldFirst = true;                                     ///< top_field_first

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const Mpeg2PictureCoding&,
                                                   const Mpeg2PictureCoding&) noexcept = default;
};

/// Reads an extension from its start code's last byte on. Fails with VideoUnitTooShort, also where it is another extension
/// (extension_start_code_identifier 8 is that of pictures).
[[nodiscard]] QLX_EXPORT Result<Mpeg2PictureCoding> parseMpeg2PictureCoding(std::span<const std::uint8_t> unit);

/// The header that user data belong to.
enum class Mpeg2Level : std::uint8_t {
    Sequence,  ///< A sequence header.
    Group,     ///< A group of pictures header.
    Picture,   ///< A picture header.
};

/// User data. A view: the bytes are the caller's.
struct Mpeg2UserDataView {
    Mpeg2Level level = Mpeg2Level::Picture;  ///< The header in front of them; a picture's where none is.
    std::size_t offset = 0;                  ///< Of the byte behind the start code in what is walked through.
    std::span<const std::uint8_t> bytes;     ///< Up to the next start code, zeros in front of it included.
};

/// Gives the user data of a picture and of the headers in front of it.
class Mpeg2UserDataWalker {
public:
    using Value = Mpeg2UserDataView;  ///< What it gives.

    /// Gives nothing.
    Mpeg2UserDataWalker() = default;
    /// Walks through `bytes`, which must outlive this.
    explicit Mpeg2UserDataWalker(std::span<const std::uint8_t> bytes) noexcept : _units(bytes) {}

    /// Sets the next user data; false, and nothing is set, when there are none.
    [[nodiscard]] QLX_EXPORT bool next(Mpeg2UserDataView& data) noexcept;

private:
    StartCodeWalker _units;
    Mpeg2Level _level = Mpeg2Level::Picture;
};

/// The same as a range.
using Mpeg2UserData = Walk<Mpeg2UserDataWalker>;

}  // namespace qlx::video
