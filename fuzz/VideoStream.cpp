// Cutting video streams: the units are the stream without a gap, and each begins with a start code; the reader of frames
// gives one for each, or for two that are the fields of one.
#include "FuzzSupport.h"

#include <qlx/streams/video.h>

#include <algorithm>
#include <optional>

using qlx::video::Codec;
using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    // The first byte says what the stream is taken for.
    std::optional<Codec> codec;
    if (data[0] % 3 != 0) {
        codec = data[0] % 3 == 1 ? Codec::H264 : Codec::Mpeg2;
    }
    const std::vector<std::uint8_t> stream(data + 1, data + size);
    qlx::streams::MemorySource source(stream);
    qlx::streams::VideoUnits reader(source, codec);
    std::uint64_t units = 0;
    std::optional<std::uint64_t> end;
    auto next = reader.next();
    for (; next && *next; next = reader.next(), ++units) {
        const qlx::video::AccessUnitView& unit = **next;
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
    require(next ? units > 0 && *end == stream.size() : units == 0);
    (void)source.seek(0);
    qlx::streams::VideoReader pictures(source, codec);
    qlx::Findings findings;
    qlx::streams::Frame frame;
    std::uint64_t frames = 0;
    auto more = pictures.next(frame, &findings);
    for (; more && *more; more = pictures.next(frame, &findings)) {
        require(frame.number == frames++);
    }
    require(frames <= units && 2 * frames >= units && more.hasValue() == next.hasValue());
    for (const qlx::Finding& finding : findings) {
        require(finding.offset <= stream.size() && !finding.text().empty());
    }
    return 0;
}
