// Types of boxes and samples of ISO files (ISO/IEC 14496-12) and QuickTime files.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <cstdint>

namespace qlx::streams::detail::boxes {

inline constexpr std::uint32_t kIndex = fourCC("moov");
inline constexpr std::uint32_t kMedia = fourCC("mdat");
inline constexpr std::uint32_t kFragment = fourCC("moof");
inline constexpr std::uint32_t kFragmentList = fourCC("mfra");
inline constexpr std::uint32_t kIndexHead = fourCC("mvhd");
inline constexpr std::uint32_t kTrack = fourCC("trak");
inline constexpr std::uint32_t kTrackHead = fourCC("tkhd");
inline constexpr std::uint32_t kTrackEdits = fourCC("edts");
inline constexpr std::uint32_t kEditList = fourCC("elst");
inline constexpr std::uint32_t kTrackMedia = fourCC("mdia");
inline constexpr std::uint32_t kTrackInformation = fourCC("minf");
inline constexpr std::uint32_t kSampleTable = fourCC("stbl");
inline constexpr std::uint32_t kSampleDescriptions = fourCC("stsd");
inline constexpr std::uint32_t kSampleTimes = fourCC("stts");
inline constexpr std::uint32_t kIndexExtends = fourCC("mvex");
inline constexpr std::uint32_t kTrackExtends = fourCC("trex");
inline constexpr std::uint32_t kTrackFragment = fourCC("traf");
inline constexpr std::uint32_t kTrackFragmentHead = fourCC("tfhd");
inline constexpr std::uint32_t kTrackRun = fourCC("trun");

inline constexpr std::uint32_t kWebVttSamples = fourCC("wvtt");  ///< ISO/IEC 14496-30.
inline constexpr std::uint32_t kWebVttHead = fourCC("vttC");     ///< Of a description of such samples.
inline constexpr std::uint32_t kXmlSamples = fourCC("stpp");

// In samples of timed text (3GPP TS 26.245, 5.17.1).
inline constexpr std::uint32_t kTextStyles = fourCC("styl");
inline constexpr std::uint32_t kBlinkingText = fourCC("blnk");

// In samples of WebVTT (ISO/IEC 14496-30).
inline constexpr std::uint32_t kCue = fourCC("vttc");
inline constexpr std::uint32_t kNoCue = fourCC("vtte");
inline constexpr std::uint32_t kCueText = fourCC("payl");
inline constexpr std::uint32_t kCueName = fourCC("iden");
inline constexpr std::uint32_t kCueSettings = fourCC("sttg");
inline constexpr std::uint32_t kCueSource = fourCC("vsid");
inline constexpr std::uint32_t kCueTime = fourCC("ctim");

}  // namespace qlx::streams::detail::boxes
