// NAL units of H.264 (ITU-T H.264, 7.3.1) and H.265 (ITU-T H.265, 7.3.1): in a byte stream, or each behind its length.
//
//     std::vector<std::uint8_t> room(unit.bytes.size());
//     const auto payload = qlx::video::withoutEmulationPrevention(unit.bytes, room);
#pragma once

#include <qlx/base/result.h>
#include <qlx/video/start_code.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::video {

/// How pictures are coded.
enum class Codec : std::uint8_t {
    H264,   ///< ITU-T H.264.
    Mpeg2,  ///< ISO/IEC 13818-2.
    H265,   ///< ITU-T H.265.
};

/// How the units of a stream stand one behind the other.
struct StreamForm {
    Codec codec = Codec::H264;    ///< What they are units of.
    std::size_t lengthBytes = 0;  ///< Bytes of the length in front of each; 0: start codes.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const StreamForm&, const StreamForm&) noexcept = default;
};

// nal_unit_type of H.264 (Table 7-1).
inline constexpr unsigned kH264Slice = 1;                ///< Of a picture that is no IDR picture.
inline constexpr unsigned kH264PartitionA = 2;           ///< The first part of a slice.
inline constexpr unsigned kH264IdrSlice = 5;             ///< Of an IDR picture.
inline constexpr unsigned kH264Sei = 6;                  ///< Supplemental enhancement information.
inline constexpr unsigned kH264SequenceParameters = 7;   ///< Sequence parameter set.
inline constexpr unsigned kH264PictureParameters = 8;    ///< Picture parameter set.
inline constexpr unsigned kH264AccessUnitDelimiter = 9;  ///< Begins an access unit.

// nal_unit_type of H.265 (Table 7-1).
inline constexpr unsigned kH265LastSlice = 31;            ///< Types up to this one are those of slices.
inline constexpr unsigned kH265VideoParameters = 32;      ///< Video parameter set.
inline constexpr unsigned kH265SequenceParameters = 33;   ///< Sequence parameter set.
inline constexpr unsigned kH265PictureParameters = 34;    ///< Picture parameter set.
inline constexpr unsigned kH265AccessUnitDelimiter = 35;  ///< Begins an access unit.
inline constexpr unsigned kH265EndOfSequence = 36;        ///< The next picture begins a sequence.
inline constexpr unsigned kH265EndOfBitstream = 37;       ///< The same.
inline constexpr unsigned kH265PrefixSei = 39;            ///< SEI in front of the slices.
inline constexpr unsigned kH265SuffixSei = 40;            ///< SEI behind them.

/// Bytes of the header of a NAL unit.
[[nodiscard]] constexpr std::size_t nalHeaderBytes(Codec codec) noexcept {
    return codec == Codec::H265 ? 2 : 1;
}

/// nal_unit_type, from the first byte.
[[nodiscard]] constexpr unsigned nalUnitType(std::uint8_t header, Codec codec) noexcept {
    return codec == Codec::H265 ? header >> 1U & 0x3FU : header & 0x1FU;
}

/// nal_ref_idc of H.264, from the first byte; H.265 has none.
[[nodiscard]] constexpr unsigned nalRefIdc(std::uint8_t header) noexcept {
    return header >> 5U & 3U;
}

/// Whether a NAL unit of that type holds SEI messages.
[[nodiscard]] constexpr bool isSei(unsigned nalUnitType, Codec codec) noexcept {
    return codec == Codec::H265 ? nalUnitType == kH265PrefixSei || nalUnitType == kH265SuffixSei
                                : codec == Codec::H264 && nalUnitType == kH264Sei;
}

/// Takes the emulation prevention bytes (03 behind 00 00; 7.4.1) out of as much of a NAL unit as fits into `room`, and
/// gives the part of `room` that holds it. `room` may be the unit's own bytes.
[[nodiscard]] QLX_EXPORT std::span<std::uint8_t> withoutEmulationPrevention(std::span<const std::uint8_t> unit,
                                                                            std::span<std::uint8_t> room) noexcept;

/// The bytes of a length in front of the NAL units of a track, 1 to 4, as its configuration record (ISO/IEC 14496-15:
/// avcC or hvcC) says. Fails with VideoUnitTooShort, or VideoConfigurationWrong where its version is another one: such
/// bytes are parameter sets behind start codes.
[[nodiscard]] QLX_EXPORT Result<std::size_t> parseLengthBytes(std::span<const std::uint8_t> configuration, Codec codec);

/// Gives units each of which stands behind its length (ISO/IEC 14496-15). Findings, each told when it is come to:
/// VideoUnitEmpty (the unit is given), VideoUnitCut (what is there of the last one is given) and VideoLengthCut (bytes at
/// the end that are no unit).
class LengthPrefixedWalker {
public:
    using Value = UnitView;  ///< What it gives.

    /// Gives nothing.
    LengthPrefixedWalker() = default;
    /// Walks through `bytes`, which must outlive this, as must `findings`, which may be null. Each length has
    /// `lengthBytes` bytes, limited to 1 to 4.
    LengthPrefixedWalker(std::span<const std::uint8_t> bytes, std::size_t lengthBytes,
                         FindingSink* findings = nullptr) noexcept
        : _bytes(bytes), _lengthBytes(std::clamp<std::size_t>(lengthBytes, 1, 4)), _findings(findings) {}

    /// Sets the next unit; false, and nothing is set, when there is none.
    [[nodiscard]] QLX_EXPORT bool next(UnitView& unit);

private:
    std::span<const std::uint8_t> _bytes;
    std::size_t _lengthBytes = 1;
    FindingSink* _findings = nullptr;
    std::size_t _next = 0;
};

/// The same as a range.
using LengthPrefixedUnits = Walk<LengthPrefixedWalker>;

}  // namespace qlx::video
