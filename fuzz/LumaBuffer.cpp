// The luma parser on arbitrary bytes: it gives the packets that a plain walk of the same bytes gives.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlxfuzz::SilentConsole console;
    const std::vector<std::uint8_t> luma(data, data + size);
    std::optional<std::string> error = "untouched";
    const auto packets =
        QLXVANCPacket::VANCPacketsWithSDILumaBuffer_size_lineNumber_errorString(luma.data(), luma.size(), 7, &error);

    std::size_t found = 0;
    bool overran = false;
    for (std::size_t position = 0; size >= 8 && position + 7 < size;) {
        if (luma[position] != 0x00 || luma[position + 1] != 0xFF || luma[position + 2] != 0xFF) {
            ++position;
            continue;
        }
        const std::size_t count = luma[position + 5];
        if (position + 6 + count > size) {
            overran = true;
        } else {
            require(found < packets.size());
            const QLXVANCPacket& packet = *packets[found++];
            require(packet.packetDID() == luma[position + 3] && packet.packetSDID() == luma[position + 4]);
            require(packet.packetData() == qlx::Data(luma.data() + position + 6, count));
        }
        position += count + 7;
    }
    require(found == packets.size());
    require(error.has_value() == overran);
    return 0;
}
