#include "Scan.h"

#include "Frame.h"
#include "FrameLoop.h"
#include "FrameSource.h"
#include "InputFile.h"
#include "Json.h"
#include "OutputFile.h"
#include "ScanList.h"
#include "Terminal.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace qlx::tool {

int scan(const ScanOptions& options) {
    refuseInputAsOutput(options.file, options.output);
    InputFile source(options.file);
    const auto reader = openFrames(source, options.source);
    OutputFile output(options.output);
    std::unique_ptr<FrameWriter> writer;
    ListWriter* list = nullptr;
    if (options.asJson) {
        writer = std::make_unique<JsonlWriter>(output, true);
    } else {
        auto listWriter = std::make_unique<ListWriter>(output, output.isStandardOutput() && useColors());
        list = listWriter.get();
        writer = std::move(listWriter);
    }
    const std::uint64_t problems = readFrames(source, *reader, output, [&](const Frame& frame) {
        writer->write(frame);
        return true;
    });
    if (list != nullptr) {
        list->writeSummary();
    }
    return finishFrames(source, output, problems, "not every packet could be read");
}

}  // namespace qlx::tool
