// Types of boxes and samples of ISO files (ISO/IEC 14496-12) and QuickTime files.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <cstdint>

namespace qlx::streams::detail::boxes {

inline constexpr std::uint32_t kIndex = fourCC("moov");
inline constexpr std::uint32_t kMedia = fourCC("mdat");
inline constexpr std::uint32_t kFragment = fourCC("moof");
inline constexpr std::uint32_t kFragmentList = fourCC("mfra");
inline constexpr std::uint32_t kTrack = fourCC("trak");
inline constexpr std::uint32_t kTrackMedia = fourCC("mdia");
inline constexpr std::uint32_t kTrackInformation = fourCC("minf");
inline constexpr std::uint32_t kSampleTable = fourCC("stbl");
inline constexpr std::uint32_t kSampleDescriptions = fourCC("stsd");

inline constexpr std::uint32_t kWebVttSamples = fourCC("wvtt");  ///< ISO/IEC 14496-30.
inline constexpr std::uint32_t kWebVttHead = fourCC("vttC");     ///< Of a description of such samples.
inline constexpr std::uint32_t kXmlSamples = fourCC("stpp");

}  // namespace qlx::streams::detail::boxes
