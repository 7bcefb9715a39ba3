// All value types and service interfaces that the public signatures use.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/AttributedString.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Dispatch.h>
#include <QLXClosedCaptionsUtilities/platform/Error.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Guarded.h>
#include <QLXClosedCaptionsUtilities/platform/LogFiles.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <QLXClosedCaptionsUtilities/platform/NotificationCenter.h>
#include <QLXClosedCaptionsUtilities/platform/PixelBuffers.h>
#include <QLXClosedCaptionsUtilities/platform/Range.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <QLXClosedCaptionsUtilities/platform/TextEncoding.h>
#include <QLXClosedCaptionsUtilities/platform/TimeZone.h>
#include <QLXClosedCaptionsUtilities/platform/UserDefaults.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>
