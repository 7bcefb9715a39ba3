// The OP-47 search in captured lines of both formats: bytes 0 and 1 choose the bytes of a row and the line number, the
// rest are the lines.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "ExactBuffer.h"
#include "FuzzSupport.h"

#include <algorithm>

using qlxfuzz::require;

namespace {

qlx::Data find(const qlxtest::ExactBuffer& lines, std::uint32_t format, std::uint64_t bytesPerRow, std::int32_t line) {
    return QLXCCUtilities::op47PacketFromBuffer_size_bufferFormat_bytesPerRow_lineNumber(lines.data(), lines.size(),
                                                                                         format, bytesPerRow, line);
}

/// Rows of any few bytes, those of 720 and 1920 pixels in both formats, or one row of all bytes.
std::uint64_t bytesOfRow(std::uint8_t choice, std::size_t size) {
    switch (choice) {
    case 251:
        return 1440;
    case 252:
        return 1920;
    case 253:
        return 3840;
    case 254:
        return 5120;
    case 255:
        return size;
    default:
        return choice;
    }
}

void checkElement(const qlx::Data& element, std::uint8_t line) {
    require(element.size() >= 19 && element.size() == 19U + element[18]);
    require(element[0] == 0 && element[1] == 2 && element[2] == 0 && element[3] == line);
    require(std::all_of(element.begin() + 4, element.begin() + 16, [](std::uint8_t byte) { return byte == 0; }));
    require(element[16] == 0x43 && element[17] == 0x02);
}

/// The third byte of a result of the 8-bit search says how many were copied, unless fewer than three were; the rest are
/// zeros.
void checkPayload(const qlx::Data& payload, const qlxtest::ExactBuffer& lines) {
    require(payload.size() <= 255 && lines.size() >= 18);
    if (payload.size() > 2) {
        const std::size_t copied = std::clamp<std::size_t>(payload[2], 2, payload.size());
        require(std::all_of(payload.begin() + copied, payload.end(), [](std::uint8_t byte) { return byte == 0; }));
    }
}

void checkSample(const qlx::Data& first, const qlx::Data& second) {
    const auto sample = QLXCCUtilities::createOP47SampleBufferFromDataBuffers_timingInfo({first, second}, {});
    const std::size_t size = first.size() + second.size();
    require((sample == nullptr) == (size == 0));
    require(!sample || sample->sampleSize == size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlxfuzz::SilentConsole console;
    qlxfuzz::Input input(data, size);
    const std::uint8_t rowSize = input.takeByte();
    const std::uint8_t line = input.takeByte();
    const qlxtest::ExactBuffer lines(input.rest());
    const std::uint64_t bytesPerRow = bytesOfRow(rowSize, lines.size());

    const qlx::Data element = find(lines, qlx::kPixelFormatV210, bytesPerRow, line);
    if (element) {
        checkElement(element, line);
    }
    const qlx::Data payload = find(lines, qlx::kPixelFormat2vuy, bytesPerRow, line);
    if (payload) {
        checkPayload(payload, lines);
    }
    if (bytesPerRow == 0 || bytesPerRow > lines.size() || lines.size() < 12) {
        require(!element && !payload);
    }
    require(!find(lines, qlx::kPixelFormatYuvs, bytesPerRow, line));
    checkSample(element, payload);
    require(!QLXVANCPacket::decodedStringFromOP47VANCPacket(
        QLXVANCPacket::OP47VANCPacketWithData_lineNumber(lines.span(), line)));
    return 0;
}
