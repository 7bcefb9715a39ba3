#include <QLXClosedCaptionsUtilities/QLXCEA608To708Converter.h>

std::shared_ptr<qlx::SampleBuffer>
QLXCEA608To708Converter::cea708SampleBufferWithPTS_frameDuration_sequenceCounter_fromCEA608Bytes(
    const qlx::MediaTime& /*pts*/, const qlx::MediaTime& /*frameDuration*/, std::uint16_t /*sequenceCounter*/,
    const qlx::Data& /*cea608Bytes*/) {
    return nullptr;
}
