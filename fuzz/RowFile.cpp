// The tool's reader of rows: it gives a frame for each whole one, says what is wrong with its place, and what it finds can
// be printed. Width, format, lines and search are in the first byte.
#include "streams/RowFile.h"
#include "MemorySource.h"
#include "io/Errors.h"
#include "streams/Json.h"

#include "FuzzSupport.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::uint8_t choice = data[0];
    const std::vector<std::uint8_t> bytes(data + 1, data + size);
    qlx::tool::RowLayout layout;
    layout.pixelFormat = (choice & 1U) != 0 ? qlx::kPixelFormatV210 : qlx::kPixelFormat2vuy;
    layout.width = (choice & 2U) != 0 ? 31 : 768;
    layout.lines = (choice & 4U) != 0 ? std::vector<std::uint64_t>{9} : std::vector<std::uint64_t>{9, 572};
    const auto search = (choice & 8U) != 0 ? qlx::tool::RowSearch::NearStart : qlx::tool::RowSearch::WholeRow;
    const std::size_t rowBytes = qlx::anc::rowBytes(layout.format(), layout.width);
    qlxtest::MemorySource source(bytes);
    qlx::tool::RowReader reader(source, layout, search);
    std::uint64_t frames = 0;
    std::vector<std::string> problems;
    const auto requirePlaces = [](const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            require(text.starts_with("frame ") && text.find(", line ") != std::string::npos);
        }
    };
    try {
        for (qlx::tool::Frame frame; reader.next(frame, problems); ++frames) {
            require(frame.number == frames);
            for (const auto& packet : frame.packets) {
                require(packet.line == 9 || packet.line == 572);
                require(packet.horizontalOffset < layout.width * 2 + 2);
            }
            require(!qlx::tool::jsonLine(frame).empty());
            requirePlaces(reader.takeRemarks());
        }
        require(source.offset() == bytes.size());
    } catch (const qlx::tool::Failure& failure) {
        require(std::string_view(failure.what()).starts_with("memory: byte "));
    }
    requirePlaces(problems);
    require(frames == (bytes.size() / rowBytes + layout.lines.size() - 1) / layout.lines.size());
    return 0;
}
