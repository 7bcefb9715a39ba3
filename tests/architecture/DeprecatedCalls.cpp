// A host that calls every deprecated operation once; see compatibility.sh.
#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

int main() {
    QLXCEA608To708Converter converter;
    (void)converter.cea708SampleBufferWithPTS_frameDuration_sequenceCounter_fromCEA608Bytes({}, {}, 0, {});
    (void)QLXVANCPacket::decodedStringFromOP47VANCPacket(nullptr);
    (void)QLXVANCPacket::SCTE104PacketDataWithSCTE35Data({});
    (void)QLXCCUtilities::createCCSampleBufferFromVANCPacket_timingInfo(nullptr, {});
    (void)QLXCCUtilities::conformSampleBufferToCEA608_frameDuration(nullptr, {});
    (void)gCEA708PacketCounter;
}
