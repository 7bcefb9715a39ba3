#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "facade/CaptionSample.h"
#include "facade/OP47Search.h"
#include "facade/OneSample.h"

#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

namespace {

constexpr std::uint64_t kMinimumSize10Bit = 12;
constexpr std::uint64_t kMinimumSize8Bit = 18;

/// The wording is the one that hosts know, although it speaks of captions.
constexpr std::string_view kRefused = "Invalid could not create CEA708 sample buffer description (Error = %i\n";

}  // namespace

qlx::Data QLXCCUtilities::op47PacketFromBuffer_size_bufferFormat_bytesPerRow_lineNumber(const std::uint8_t* buffer,
                                                                                        std::uint64_t size,
                                                                                        std::uint32_t bufferFormat,
                                                                                        std::uint64_t bytesPerRow,
                                                                                        std::int32_t lineNumber) {
    if (buffer == nullptr || bytesPerRow == 0 || bytesPerRow > size) {
        return {};
    }
    const std::span<const std::uint8_t> lines(buffer, static_cast<std::size_t>(size));
    if (bufferFormat == qlx::kPixelFormatV210 && size >= kMinimumSize10Bit) {
        return qlx::op47::find10Bit(lines, bytesPerRow, lineNumber);
    }
    if (bufferFormat == qlx::kPixelFormat2vuy && size >= kMinimumSize8Bit) {
        return qlx::op47::find8Bit(lines, bytesPerRow);
    }
    return {};
}

std::shared_ptr<qlx::SampleBuffer> QLXCCUtilities::createOP47SampleBufferFromDataBuffers_timingInfo(
    const std::vector<qlx::Data>& dataBuffers, const qlx::SampleTimingInfo& timingInfo) {
    std::vector<std::uint8_t> bytes;
    for (const qlx::Data& data : dataBuffers) {
        bytes.insert(bytes.end(), data.begin(), data.end());
    }
    if (bytes.empty()) {
        return nullptr;
    }
    qlx::OneSample result =
        qlx::makeOneSample(qlx::captionsample::kSubtitleMediaType, qlx::captionsample::kSubTypeOP47, bytes, timingInfo);
    if (result.failedStage == qlx::SampleStage::SampleBuffer) {
        qlx::services().get<qlx::Console>().print(qlx::formatted(kRefused, result.status));
    }
    return std::move(result.sample);
}
