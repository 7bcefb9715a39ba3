// The reader of KLV files: it ends with a finding or at the end of the input, and what it finds is written and read again.
#include "FrameFiles.h"
#include "FuzzSupport.h"

#include <qlx/streams/klv.h>

using qlxfuzz::require;
using namespace qlx::streams;

namespace {

qlxtest::FrameReading readAll(const std::vector<std::uint8_t>& bytes) {
    MemorySource source(bytes);
    KlvReader reader(source);
    qlxtest::FrameReading reading = qlxtest::readAll(reader);
    require(reading.failure.empty() ? source.offset() == bytes.size() : reading.failure.starts_with("byte "));
    return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlxtest::FrameReading reading = readAll({data, data + size});
    qlxtest::MemorySink sink;
    KlvWriter writer(sink);
    std::uint64_t number = 0;
    for (const Frame& frame : reading.frames) {
        require(frame.number == number++);
        // A packet takes at least its 14-byte header.
        require(frame.packets.size() * 14 <= size);
        require(!writer.write(frame, nullptr));
    }
    // A triplet takes at least a key and a length.
    require(number * 17 <= size && reading.problems.size() <= 2 * size);
    if (number > 0) {
        require(readAll(sink.bytes).frames == reading.frames);
    }
    return 0;
}
