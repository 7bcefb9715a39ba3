// The converter from CEA-608 byte pairs to CEA-708 samples that older hosts construct.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Deprecated.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <cstdint>
#include <memory>

/// Kept for hosts that hold one; conversion itself is `createCEA708SampleBufferWithSampleTimingInfo:...:cea608Data:` of
/// QLXCCUtilities. May be used from any thread.
class QLX_EXPORT QLXCEA608To708Converter {
public:
    QLXCEA608To708Converter() noexcept = default;
    QLXCEA608To708Converter(const QLXCEA608To708Converter&) = delete;
    QLXCEA608To708Converter& operator=(const QLXCEA608To708Converter&) = delete;

    /// Null, whatever the input: hosts expect no sample from here.
    /// @deprecated Always gives null: see docs/COMPATIBILITY.md.
    QLX_DEPRECATED_OPERATION("Always gives null: see docs/COMPATIBILITY.md")
    [[nodiscard]] std::shared_ptr<qlx::SampleBuffer>
    cea708SampleBufferWithPTS_frameDuration_sequenceCounter_fromCEA608Bytes(const qlx::MediaTime& pts,
                                                                            const qlx::MediaTime& frameDuration,
                                                                            std::uint16_t sequenceCounter,
                                                                            const qlx::Data& cea608Bytes);
};
