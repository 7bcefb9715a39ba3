// The QuickTime caption atom reader, and that of any atom's header, on arbitrary bytes.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <qlx/anc/atom.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> buffer(data, data + size);
    const auto header = qlx::anc::parseAtomHeader(buffer);
    require(header ? header->headerBytes <= size && (header->size == 0 || header->size >= header->headerBytes)
                   : header.error().code == qlx::FindingCode::AtomSizeWrong || size < 16);
    const auto packet =
        QLXVANCPacket::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(buffer.data(), buffer.size(), -5);
    if (packet) {
        require(header && header->size <= size);
        require(size >= 8 && packet->packetData().size() <= size - 8);
        require(packet->packetType() == (size < 10 ? QLXVANCPacketTypeCEA608 : QLXVANCPacketTypeCEA708));
        require(packet->lineNumber() == static_cast<std::uint64_t>(-5));
        require(!packet->description().empty());
    }
    return 0;
}
