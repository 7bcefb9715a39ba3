// The row readers on arbitrary rows of both formats; what they find must fit the row.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlxfuzz::SilentConsole console;
    qlxfuzz::Input input(data, size);
    const std::uint32_t format = input.takeByte() % 2 == 0 ? qlx::kPixelFormatV210 : qlx::kPixelFormat2vuy;
    const std::uint64_t bytesPerRow = input.takeByte() * 4U;
    const auto rows = input.rest();

    std::optional<std::string> error;
    const auto oneRow = QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
        rows.data(), rows.size(), format, 9, &error);
    std::size_t dataBytes = 0;
    for (const auto& packet : oneRow) {
        require(packet->lineNumber() == 9 && packet->packetDID() < 256 && packet->packetSDID() < 256);
        dataBytes += packet->packetData().size() + 6;
    }
    require(dataBytes <= rows.size() / 2);

    const auto all = QLXVANCPacket::VANCPacketsWithMultilineSDIBuffer_size_bytesPerRow_bufferFormat_errorString(
        rows.data(), rows.size(), bytesPerRow, format, &error);
    for (const auto& packet : all) {
        require(bytesPerRow != 0 && packet->lineNumber() < rows.size() / bytesPerRow);
    }
    return 0;
}
