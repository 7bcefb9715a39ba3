#include "streams/OpenFrames.h"

#include "io/AsDeployed.h"
#include "io/Errors.h"
#include "io/Text.h"
#include "streams/InputKind.h"

#include <qlx/streams/container.h>
#include <qlx/streams/open.h>
#include <qlx/streams/transport.h>

#include <string>
#include <utility>

namespace qlx::tool {

namespace {

/// Looks at the beginning first, so that a long file of something else is refused before all of it is searched.
void checkBeginning(InputFile& source, InputKind kind) {
    const auto first = source.peek(kLongestPeek);
    if (first.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    if (!hasBeginningOf(kind, first)) {
        throw failureAtByte(source.name(), 0,
                            "nothing of " + std::string(streams::containerName(kind)) + " in the first " +
                                counted(first.size(), "byte"));
    }
}

void openContainer(InputFile& source, InputKind kind, std::optional<FrameRate> rate,
                   std::optional<std::uint16_t> teletextPid, FrameInput& input) {
    checkBeginning(source, kind);
    std::optional<Finding> error;
    std::unique_ptr<streams::FrameReader> reader;
    if (kind == InputKind::TransportStream) {
        auto transport = std::make_unique<streams::TransportReader>(
            input.bytes(), streams::TransportOptions{.container = {}, .teletextPid = teletextPid});
        error = transport->open();
        input.setPages([pages = transport.get()] { return pages->teletextPages(); });
        reader = std::move(transport);
    } else {
        auto container = std::make_unique<streams::ContainerReader>(input.bytes(), kind);
        error = container->open();
        reader = std::move(container);
    }
    if (rate) {
        reader = streams::withTimes(std::move(reader), *rate);
    }
    input.setReader(std::move(reader), kind);
    if (error) {
        input.fail(*error);
    }
}

}  // namespace

std::unique_ptr<FrameInput> openFrames(InputFile& source, const FrameSourceOptions& options) {
    const InputKind kind = kindOf(source, options.kind);
    checkRowOptions(kind, options);
    const auto rate = options.rate ? std::optional(frameRateOf(*options.rate)) : std::nullopt;
    auto input = std::make_unique<FrameInput>(source);
    if (options.teletextPid && kind != InputKind::TransportStream) {
        throw UsageError("--teletext-pid is for the format ts");
    }
    if (isContainer(kind)) {
        openContainer(source, kind, rate, options.teletextPid, *input);
        return input;
    }
    RowLayout layout = rowLayoutOf(kind, options);
    if (options.nearStart) {
        std::unique_ptr<streams::FrameReader> reader =
            std::make_unique<NearStartReader>(input->bytes(), std::move(layout));
        if (rate) {
            reader = streams::withTimes(std::move(reader), *rate);
        }
        input->setReader(std::move(reader), kind);
        return input;
    }
    auto reader = streams::openFrames(
        input->bytes(), kind,
        {.width = layout.width, .lines = layout.lines, .rate = rate, .container = {}, .field = options.field});
    if (!reader) {
        throw otherKind(source.name(), kind, "which has no frames with packets or captions");
    }
    input->setReader(std::move(*reader), kind);
    return input;
}

}  // namespace qlx::tool
