// The tool's readers of JSON lines and Scenarist captions: they end with a message or at the end of the input.
#include "FuzzSupport.h"
#include "MemorySource.h"
#include "io/Errors.h"
#include "streams/Json.h"
#include "streams/JsonlReader.h"
#include "streams/SccReader.h"

#include <string_view>

using qlxfuzz::require;
using namespace qlx::tool;

namespace {

template <typename Reader>
void readAll(const std::vector<std::uint8_t>& bytes) {
    qlxtest::MemorySource source(bytes);
    Reader reader(source);
    std::size_t frames = 0;
    std::vector<std::string> problems;
    try {
        for (Frame frame; reader.next(frame, problems); ++frames) {
            require(!jsonLine(frame).empty());
        }
        require(source.offset() == bytes.size());
    } catch (const Failure& failure) {
        require(std::string_view(failure.what()).starts_with("memory: "));
    }
    require(frames <= bytes.size() && problems.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    readAll<JsonlReader>(bytes);
    readAll<SccReader>(bytes);
    return 0;
}
