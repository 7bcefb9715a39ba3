#include "media/PixelRows.h"

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "v210/V210Group.h"

#include <algorithm>
#include <cstring>

namespace qlx::pixels {

namespace {

constexpr std::size_t roundedUp(std::size_t count, std::size_t unit) {
    return (count + unit - 1) / unit;
}

std::size_t bytesOfRGB(std::size_t width) {
    return width * kBGRABytes;
}

std::size_t bytesOf422(std::size_t width) {
    constexpr std::size_t kPairBytes = 4;
    return roundedUp(width, 2) * kPairBytes;
}

std::size_t bytesOfV210(std::size_t width) {
    return roundedUp(width, v210::kLumaOfGroup) * v210::kGroupBytes;
}

/// Deployed v210 files and devices align rows to eight groups.
std::size_t alignedBytesOfV210(std::size_t width) {
    constexpr std::size_t kAlignedPixels = 48;
    constexpr std::size_t kAlignedBytes = 128;
    return roundedUp(width, kAlignedPixels) * kAlignedBytes;
}

std::size_t bytesOfLuma(std::size_t width) {
    return width;
}

void copyToBGRA(const SourceRow& row, std::size_t width, const ColorMatrix& /*matrix*/, std::uint8_t* bgra) {
    std::memcpy(bgra, row.first, width * kBGRABytes);
}

void copyFromBGRA(const std::uint8_t* bgra, std::size_t width, const ColorMatrix& /*matrix*/,
                  const DestinationRow& row) {
    std::memcpy(row.first, bgra, width * kBGRABytes);
}

constexpr Format kFormats[] = {
    {kPixelFormatBGRA, false, bytesOfRGB, bytesOfRGB, copyToBGRA, copyFromBGRA},
    {kPixelFormatARGB, false, bytesOfRGB, bytesOfRGB, argbToBGRA, argbFromBGRA},
    {kPixelFormatV210, false, bytesOfV210, alignedBytesOfV210, v210ToBGRA, v210FromBGRA},
    {kPixelFormat2vuy, false, bytesOf422, bytesOf422, cbyCryToBGRA, cbyCryFromBGRA},
    {kPixelFormatYuvs, false, bytesOf422, bytesOf422, ycbYcrToBGRA, ycbYcrFromBGRA},
    {kPixelFormat420v, true, bytesOfLuma, bytesOfLuma, planar420ToBGRA, planar420FromBGRA},
};

}  // namespace

const Format* formatOf(std::uint32_t code) noexcept {
    const auto* const found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                           [code](const Format& format) { return format.code == code; });
    return found == std::end(kFormats) ? nullptr : found;
}

}  // namespace qlx::pixels
