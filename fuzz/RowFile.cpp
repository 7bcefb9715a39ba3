// The reader of files of rows: it gives a frame for each whole one, and says what is wrong with its place. Width, format
// and lines are in the first byte.
#include "FrameFiles.h"
#include "FuzzSupport.h"

#include <qlx/streams/rows.h>

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::uint8_t choice = data[0];
    const std::vector<std::uint8_t> bytes(data + 1, data + size);
    qlx::streams::RowLayout layout;
    layout.format = (choice & 1U) != 0 ? qlx::anc::RowFormat::V210 : qlx::anc::RowFormat::TwoVuy;
    layout.width = (choice & 2U) != 0 ? 31 : 768;
    layout.lines = (choice & 4U) != 0 ? std::vector<std::uint64_t>{9} : std::vector<std::uint64_t>{9, 572};
    const std::size_t rowBytes = qlx::anc::rowBytes(layout.format, layout.width);
    qlx::streams::MemorySource source(bytes);
    qlx::streams::RowReader reader(source, layout);
    const qlxtest::FrameReading reading = qlxtest::readAll(reader);
    for (const auto* texts : {&reading.problems, &reading.remarks}) {
        for (const std::string& text : *texts) {
            require(text.starts_with("frame ") && text.find(", line ") != std::string::npos);
        }
    }
    std::uint64_t number = 0;
    for (const qlx::streams::Frame& frame : reading.frames) {
        require(frame.number == number++);
        for (const auto& packet : frame.packets) {
            require(packet.line == 9 || packet.line == 572);
            require(packet.horizontalOffset < layout.width * 2 + 2);
        }
    }
    require(source.offset() == bytes.size());
    require(reading.failure.empty() || reading.failure.starts_with("byte "));
    require(number == (bytes.size() / rowBytes + layout.lines.size() - 1) / layout.lines.size());
    return 0;
}
