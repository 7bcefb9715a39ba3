// The reader of Scenarist captions in every field and rate: it ends with a finding or at the end of the input, and what it
// gives is written and read again.
#include "FrameFiles.h"
#include "FuzzSupport.h"

#include <qlx/streams/scc.h>

#include <cstring>

using qlxfuzz::require;
using namespace qlx::streams;

namespace {

qlxtest::FrameReading readScc(const std::vector<std::uint8_t>& bytes, const SccOptions& options) {
    MemorySource source(bytes);
    SccReader reader(source, options);
    return qlxtest::readAll(reader);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    SccOptions options;
    options.rate = qlx::kFrameRates[data[0] % qlx::kFrameRates.size()];
    options.field = (data[0] & 0x80U) != 0 ? qlx::cc::CcType::Field2 : qlx::cc::CcType::Field1;
    options.dropsFrames = (data[0] & 0x40U) != 0;
    const qlxtest::FrameReading reading = readScc({data + 1, data + size}, options);
    SccOptions untold = options;
    untold.field.reset();
    require(readScc({data + 1, data + size}, untold).frames.size() == reading.frames.size());
    std::vector<Frame> frames;
    std::uint64_t next = 0;
    for (const Frame& frame : reading.frames) {
        require(frame.number >= next && frame.pts.has_value() && frame.triplets.size() == 3);
        next = frame.number + 1;
        const bool isNull = ((frame.triplets[1] | frame.triplets[2]) & 0x7FU) == 0;
        if (!isNull) {
            frames.push_back(frame);
        }
    }
    qlxtest::MemorySink sink;
    SccWriter writer(sink, options);
    qlx::Findings findings(10);
    for (const Frame& frame : frames) {
        if (const auto failure = writer.write(frame, &findings)) {
            require(failure->code == qlx::FindingCode::SccBehindMidnight);
            return 0;
        }
    }
    require(!writer.finish() && findings.size() == 0);
    const qlxtest::FrameReading again = readScc(sink.bytes, options);
    require(again.failure.empty() && again.frames == frames);
    return 0;
}
