// The reader of MCC files: it ends with a finding or at the end of the input, and what it gives is written, in both
// versions, and read again.
#include "FrameFiles.h"
#include "FuzzSupport.h"

#include <qlx/streams/mcc.h>

using qlxfuzz::require;
using namespace qlx::streams;

namespace {

struct Reading {
    qlxtest::FrameReading all;
    MccHeader header;
};

Reading readMcc(const std::vector<std::uint8_t>& bytes, std::optional<qlx::FrameRate> rate) {
    MemorySource source(bytes);
    MccReader reader(source, rate);
    Reading reading{qlxtest::readAll(reader), reader.header()};
    require(reading.all.failure.empty() ? source.offset() == bytes.size() : reading.all.failure.starts_with("line "));
    return reading;
}

void checkFrames(const std::vector<Frame>& frames, std::size_t size) {
    std::uint64_t last = 0;
    for (const Frame& frame : frames) {
        require(frame.pts.has_value() && frame.number >= last && !frame.packets.empty());
        last = frame.number;
    }
    // A packet's line has more characters than that.
    require(frames.size() <= size / 10);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    const Reading first = readMcc(bytes, std::nullopt);
    checkFrames(first.all.frames, size);
    for (const std::uint8_t version : {std::uint8_t{1}, std::uint8_t{2}}) {
        MccHeader header = first.header;
        header.version = version;
        qlxtest::MemorySink sink;
        MccWriter writer(sink, header);
        for (const Frame& frame : first.all.frames) {
            require(!writer.write(frame, nullptr));
        }
        require(!writer.finish());
        const Reading again = readMcc(sink.bytes, header.rate);
        require(again.all.failure.empty());
        // The first CDP decides between rates that a header does not tell apart.
        if (version == 2 && first.header.version == 2 && again.header.rate == first.header.rate &&
            (first.all.frames.empty() || first.all.frames.back().number - first.all.frames.front().number < 1000)) {
            require(again.all.frames.size() == first.all.frames.size());
            for (std::size_t index = 0; index < first.all.frames.size(); ++index) {
                require(again.all.frames[index].packets == first.all.frames[index].packets);
            }
        }
    }
    return 0;
}
