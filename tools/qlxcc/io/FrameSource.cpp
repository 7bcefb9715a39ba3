#include "io/FrameSource.h"

#include "io/Errors.h"

#include <string>

namespace qlx::tool {

InputKind kindOf(InputFile& source, std::optional<InputKind> given) {
    if (given) {
        return *given;
    }
    const auto first = source.peek(streams::kBytesThatTellKind);
    const std::optional<InputKind> kind = streams::inputKind(first, source.name());
    if (kind) {
        return *kind;
    }
    if (first.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    throw UsageError("--from-format is needed: neither the content nor the name of " + source.name() +
                     " tells the format");
}

void checkRowOptions(InputKind kind, const FrameSourceOptions& options) {
    if (!streams::hasRows(kind) && (options.width || options.lines)) {
        throw UsageError("--width, --lines and --rows are for the formats v210 and 2vuy: a " +
                         std::string(streams::nameOf(kind)) + " file says its lines");
    }
    if (!streams::hasRows(kind) && options.nearStart) {
        throw UsageError("--near-start is for the formats v210 and 2vuy: a " + std::string(streams::nameOf(kind)) +
                         " file has no rows to search");
    }
}

RowLayout rowLayoutOf(InputKind kind, const FrameSourceOptions& options) {
    return {.format = kind == InputKind::V210 ? anc::RowFormat::V210 : anc::RowFormat::TwoVuy,
            .width = options.width.value_or(kUsualRowWidth),
            .lines = options.lines.value_or(std::vector<std::uint64_t>{0})};
}

}  // namespace qlx::tool
