// Samples with arbitrary contents, formats and missing parts.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t parts = input.takeByte();
    const std::vector<std::uint8_t> bytes = input.rest();
    const auto sample = std::make_shared<qlx::SampleBuffer>();
    if ((parts & 1U) != 0) {
        sample->dataBuffer = std::make_shared<qlx::BlockBuffer>(bytes.size());
        std::copy(bytes.begin(), bytes.end(), sample->dataBuffer->data());
    }
    const std::uint32_t subType = (parts & 4U) != 0 ? qlx::fourCC("VANC") : qlx::fourCC("c708");
    if ((parts & 2U) != 0) {
        sample->formatDescription =
            std::make_shared<qlx::FormatDescription>(qlx::FormatDescription{qlx::fourCC("meta"), subType, {}});
    }
    const auto packets = QLXVANCPacket::VANCPacketsWithCMSampleBuffer(sample);
    require(packets.empty() || (parts & 7U) == 7U);
    const auto made = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(packets, {});
    require(made && QLXVANCPacket::VANCPacketsWithCMSampleBuffer(made).size() == packets.size());
    return 0;
}
