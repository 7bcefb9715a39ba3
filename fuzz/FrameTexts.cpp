// The readers of JSON lines and Scenarist captions: they end with a finding or at the end of the input, and the frames of
// JSON lines are written and read again.
#include "FrameFiles.h"
#include "FuzzSupport.h"

#include <qlx/streams/jsonl.h>
#include <qlx/streams/scc.h>

#include <algorithm>
#include <string>
#include <type_traits>

using qlxfuzz::require;
using namespace qlx::streams;

namespace {

template <typename Reader>
std::vector<Frame> readAll(const std::vector<std::uint8_t>& bytes) {
    MemorySource source(bytes);
    Reader reader(source);
    const qlxtest::FrameReading reading = qlxtest::readAll(reader);
    require(reading.failure.empty() ? source.offset() == bytes.size() : reading.failure.starts_with("line "));
    require(reading.frames.size() <= bytes.size());
    // JSON lines are read as far as they are right; wrong lines and pairs of the other files are passed over.
    require(!std::is_same_v<Reader, JsonlReader> || reading.problems.empty());
    require(std::all_of(reading.problems.begin(), reading.problems.end(),
                        [](const std::string& problem) { return problem.starts_with("line "); }));
    Frame frame;
    const auto again = reader.next(frame, nullptr);
    require(again.hasValue() == reading.failure.empty() && (!again || !*again));
    return reading.frames;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    const std::vector<Frame> frames = readAll<JsonlReader>(bytes);
    qlxtest::MemorySink sink;
    JsonlWriter writer(sink);
    for (const Frame& frame : frames) {
        require(!writer.write(frame, nullptr));
    }
    if (!frames.empty()) {
        require(readAll<JsonlReader>(sink.bytes) == frames);
    }
    for (const Frame& frame : readAll<SccReader>(bytes)) {
        require(frame.triplets.size() == 3 && frame.pts.has_value());
    }
    return 0;
}
