// The reader of MXF ANC data elements: what it finds is written and read back to the same.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> element(data, data + size);
    const auto packets = QLXVANCPacket::VANCPacketsWithMXFBuffer_size_bufferFormat(element.data(), element.size(),
                                                                                   qlx::kPixelFormat2vuy);
    require(packets.size() <= size / 14);
    for (const auto& packet : packets) {
        require(!packet->packetData().empty() && packet->packetData().size() < 256 && packet->lineNumber() < 65'536);
    }
    const qlx::Data written = QLXVANCPacket::MXFDataPacketWithVANCPackets(packets);
    const auto again = QLXVANCPacket::VANCPacketsWithMXFData_bufferFormat(written, qlx::kPixelFormat2vuy);
    require(again.size() == packets.size());
    for (std::size_t index = 0; index < packets.size(); ++index) {
        require(again[index]->packetData() == packets[index]->packetData());
        require(again[index]->lineNumber() == packets[index]->lineNumber());
        require(again[index]->packetType() == packets[index]->packetType());
    }
    require(!QLXVANCPacket::MXFDataPacketWithVANCPacketsOld(packets).empty());
    return 0;
}
