// The tool's cutting of video streams: the units are the stream without a gap, and each begins with a start code.
#include "streams/VideoStream.h"
#include "MemorySource.h"
#include "io/Errors.h"
#include "streams/Cdp.h"

#include "FuzzSupport.h"

#include <algorithm>
#include <optional>

using qlx::tool::VideoCodec;
using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    // The first byte says what the stream is taken for.
    std::optional<VideoCodec> codec;
    if (data[0] % 3 != 0) {
        codec = data[0] % 3 == 1 ? VideoCodec::H264 : VideoCodec::Mpeg2;
    }
    const std::vector<std::uint8_t> stream(data + 1, data + size);
    // Whatever the bytes are, they can be described as a caption packet.
    require(!qlx::tool::cdpInWords(stream).empty());
    qlxtest::MemorySource source(stream);
    qlx::tool::AccessUnitReader reader(source, codec);
    std::uint64_t units = 0;
    std::optional<std::uint64_t> end;
    try {
        for (qlx::tool::AccessUnit unit; reader.next(unit); ++units) {
            require(unit.number == units && (!end || unit.offset == *end));
            require(unit.offset + unit.bytes.size() <= stream.size());
            require(std::equal(unit.bytes.begin(), unit.bytes.end(),
                               stream.begin() + static_cast<std::ptrdiff_t>(unit.offset)));
            const std::size_t zeros = unit.bytes.size() > 2 && unit.bytes[2] == 1 ? 2 : 3;
            require(unit.bytes.size() > zeros && unit.bytes[zeros] == 1);
            require(std::all_of(unit.bytes.begin(), unit.bytes.begin() + static_cast<std::ptrdiff_t>(zeros),
                                [](std::uint8_t byte) { return byte == 0; }));
            end = unit.offset + unit.bytes.size();
        }
        require(units > 0 && *end == stream.size());
    } catch (const qlx::tool::Failure& failure) {
        require(units == 0 && std::string_view(failure.what()).starts_with("memory: byte "));
    }
    return 0;
}
