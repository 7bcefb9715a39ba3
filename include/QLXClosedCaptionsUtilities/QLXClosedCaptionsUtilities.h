// Everything public: captions, subtitles and ancillary data for broadcast video software.
#pragma once

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>
#include <QLXClosedCaptionsUtilities/QLXCEA608To708Converter.h>
#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSTLFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/QLXTeletextLineFormatter.h>
#include <QLXClosedCaptionsUtilities/QLXTeletextPageHeaderFormatter.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/Version.h>
#include <QLXClosedCaptionsUtilities/platform/Platform.h>

#include <string_view>

/// The library's version as a number: major and minor, such as 0.2.
inline constexpr double QLXClosedCaptionsUtilitiesVersionNumber = QLX_VERSION_NUMBER;

/// The library's whole version, such as "0.2.0".
inline constexpr std::string_view QLXClosedCaptionsUtilitiesVersionString = QLX_VERSION_STRING;
