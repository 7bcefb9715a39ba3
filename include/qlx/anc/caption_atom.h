// The caption atoms of QuickTime samples (QuickTime File Format, closed captioning media): in a `c608` sample byte pairs
// of CEA-608, `cdat` those of field 1 and `cdt2` those of field 2, in a `c708` sample a caption distribution packet
// (SMPTE ST 334-2), `ccdp`.
//
//     for (const qlx::anc::CaptionAtomView& atom : qlx::anc::captionAtoms(sample, &findings)) {
//         if (atom.type == qlx::anc::kCdpAtom) {
//             showPacket(qlx::cc::parseCdp(atom.content, &findings));
//         } else {
//             showPairs(atom.content, atom.type == qlx::anc::kFieldTwoAtom);
//         }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/base/walk.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qlx::anc {

/// The media type of QuickTime tracks and samples with captions.
inline constexpr std::uint32_t kCaptionMedia = fourCC("clcp");
/// The format of samples with byte pairs of CEA-608: `cdat` and `cdt2` atoms.
inline constexpr std::uint32_t kCea608Samples = fourCC("c608");
/// The format of samples with caption distribution packets: `ccdp` atoms.
inline constexpr std::uint32_t kCea708Samples = fourCC("c708");

/// The type of an atom with byte pairs of field 1.
inline constexpr std::uint32_t kFieldOneAtom = fourCC("cdat");
/// The type of an atom with byte pairs of field 2.
inline constexpr std::uint32_t kFieldTwoAtom = fourCC("cdt2");
/// The type of an atom with a caption distribution packet.
inline constexpr std::uint32_t kCdpAtom = fourCC("ccdp");

/// An atom of a sample. It lives as long as the sample's bytes.
struct CaptionAtomView {
    std::uint32_t type = 0;                 ///< One of the three.
    std::size_t offset = 0;                 ///< Byte of the sample at which its header begins.
    std::span<const std::uint8_t> content;  ///< Whole byte pairs, or a packet; cut where the sample ends in it.
};

/// Goes through the atoms of a sample.
class CaptionAtomReader {
public:
    /// What it gives.
    using Value = CaptionAtomView;

    CaptionAtomReader() = default;
    /// Begins with the first atom of `sample`.
    explicit CaptionAtomReader(std::span<const std::uint8_t> sample, FindingSink* findings = nullptr) noexcept
        : _sample(sample), _findings(findings) {}

    /// Sets the next caption atom; false behind the last one. Findings, with the atom's byte: a header that is cut
    /// (AtomCut) or that the size does not hold (AtomSizeWrong), behind which nothing is read; a sample that ends in the
    /// atom, whose content is given as far as it is there (AtomContentCut); half a pair, which is left out (AtomPairHalf);
    /// an atom of another type, which is passed over (AtomTypeUnknown), but for `free` and `skip`, which hold nothing.
    [[nodiscard]] QLX_EXPORT bool next(CaptionAtomView& atom);

private:
    std::span<const std::uint8_t> _sample;
    std::size_t _offset = 0;
    FindingSink* _findings = nullptr;
};

/// The caption atoms of a sample, as CaptionAtomReader finds them each time that they are gone through.
[[nodiscard]] inline Walk<CaptionAtomReader> captionAtoms(std::span<const std::uint8_t> sample,
                                                          FindingSink* findings = nullptr) {
    return Walk<CaptionAtomReader>(sample, findings);
}

/// Writes an atom into `room` and gives the bytes used, 8 and those of the content. A Finding says that the type is none
/// of the three (AtomTypeUnknown), that the content is no whole pairs where they are wanted (AtomPairHalf), or that
/// `room` is too small (OutputTooSmall).
/// @param content At most FFFFFFF7h bytes (AtomSizeWrong).
[[nodiscard]] QLX_EXPORT Result<std::size_t> writeCaptionAtom(std::uint32_t type, std::span<const std::uint8_t> content,
                                                              std::span<std::uint8_t> room);
/// The same as bytes of their own.
[[nodiscard]] QLX_EXPORT Result<Data> writeCaptionAtom(std::uint32_t type, std::span<const std::uint8_t> content);

}  // namespace qlx::anc
