// The tool's reader of KLV files: it ends with a message or at the end of the input, and what it finds can be printed.
#include "MemorySource.h"
#include "io/Errors.h"
#include "streams/Json.h"
#include "streams/Klv.h"

#include "FuzzSupport.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    qlxtest::MemorySource source(bytes);
    qlx::tool::KlvReader reader(source);
    std::uint64_t frames = 0;
    std::vector<std::string> problems;
    try {
        for (qlx::tool::Frame frame; reader.next(frame, problems); ++frames) {
            require(frame.number == frames);
            // A packet takes at least its 14-byte header.
            require(frame.packets.size() * 14 <= size);
            require(!qlx::tool::jsonLine(frame).empty());
        }
        require(source.offset() == size);
    } catch (const qlx::tool::Failure& failure) {
        require(std::string_view(failure.what()).starts_with("memory: byte "));
    }
    // A triplet takes at least a key and a length.
    require(frames * 17 <= size && problems.size() <= 2 * size);
    return 0;
}
