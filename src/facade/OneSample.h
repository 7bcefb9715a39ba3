// The one way in which this library makes a media sample, and the one way in which it opens one.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace qlx {

/// The step at which making a sample failed.
enum class SampleStage { None, BlockBuffer, DataPointer, FormatDescription, SampleBuffer };

/// A sample, or the step that failed and its status. A platform may hand out a sample although the last step failed.
struct OneSample {
    std::shared_ptr<SampleBuffer> sample;
    SampleStage failedStage = SampleStage::None;
    MediaStatus status = 0;
};

/// A ready sample of one format (without extensions) that holds a copy of `bytes`, with one timing and one size entry.
[[nodiscard]] OneSample makeOneSample(std::uint32_t mediaType, std::uint32_t mediaSubType,
                                      std::span<const std::uint8_t> bytes, const SampleTimingInfo& timingInfo);

/// The same for a format description that is there already.
[[nodiscard]] OneSample makeOneSample(std::shared_ptr<const FormatDescription> format,
                                      std::span<const std::uint8_t> bytes, const SampleTimingInfo& timingInfo);

/// The whole data of `sample`, valid while the sample lives; none when it has none or they cannot be reached.
[[nodiscard]] std::optional<std::span<const std::uint8_t>> dataOfSample(const SampleBuffer& sample);

}  // namespace qlx
