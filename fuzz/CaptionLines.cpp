// Arbitrary SDI lines of both formats: what is found has the size that its packet states.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlxfuzz::require;

// Format, bytes of a row (255: all that follows is one row), then the lines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const bool is8Bit = input.takeByte() % 2 == 0;
    const std::uint64_t row = input.takeByte();
    const std::vector<std::uint8_t> lines = input.rest();
    const std::uint64_t bytesPerRow = row == 255 ? lines.size() : row;
    const auto sample = QLXCCUtilities::createCEA708SampleBufferFromDataBuffer_size_bytesPerRow_bufferFormat_timingInfo(
        lines.data(), lines.size(), bytesPerRow, is8Bit ? qlx::kPixelFormat2vuy : qlx::kPixelFormatV210, {});
    if (!sample) {
        return 0;
    }
    require(bytesPerRow != 0 && bytesPerRow <= lines.size());
    const std::uint8_t* const bytes = sample->dataBuffer->data();
    const std::size_t found = sample->dataBuffer->size();
    require(sample->sampleSize == found);
    if (sample->formatDescription->mediaSubType == qlx::fourCC("c708")) {
        constexpr std::uint8_t kType[] = {'c', 'c', 'd', 'p'};
        require(found >= 8 && found <= 263 && bytes[3] == found % 256 && std::equal(bytes + 4, bytes + 8, kType));
        // In an 8-bit line the packet's third byte is its length.
        require(!is8Bit || found < 11 || bytes[10] == found - 8);
    } else if (is8Bit) {
        require(found <= 255 && (found < 3 || bytes[2] == found));
    } else {
        require(found >= 19 && found <= 274 && bytes[16] == 0x43 && bytes[17] == 0x02 && bytes[18] == found - 19);
    }
    return 0;
}
