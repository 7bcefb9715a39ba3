#include "io/FrameSource.h"

#include "io/Errors.h"

#include <qlx/video/access_unit.h>
#include <qlx/video/nal.h>

#include <algorithm>
#include <string>

namespace qlx::tool {

InputKind kindOf(InputFile& source, std::optional<InputKind> given) {
    if (given) {
        return *given;
    }
    const auto first = source.peek(streams::kBytesThatTellKind);
    const std::optional<InputKind> kind = streams::inputKind(first, source.name());
    if (kind) {
        if (isVideo(*kind)) {
            checkParameters(source, "--from-format");
        }
        return *kind;
    }
    if (first.empty()) {
        throw failureAtByte(source.name(), 0, "the file is empty");
    }
    throw UsageError("--from-format is needed: neither the content nor the name of " + source.name() +
                     " tells the format");
}

bool isVideo(InputKind kind) noexcept {
    return kind == InputKind::H264 || kind == InputKind::Mpeg2 || kind == InputKind::H265;
}

void checkParameters(InputFile& source, std::string_view option) {
    constexpr std::size_t kLookedAt = std::size_t{16} * 1024 * 1024;
    constexpr std::uint8_t kFirstOfSystems = 0xB9;
    for (std::size_t wanted = streams::kLongestPeek;; wanted = std::min(2 * wanted, kLookedAt)) {
        const std::span<const std::uint8_t> looked = source.peekFar(wanted);
        // Where there is no start code at all, or one of a multiplex comes first, the reader says so.
        const std::size_t value = video::findStartCode(looked) + video::kStartCodeBytes;
        const bool hasStartCode = value < looked.size();
        if (hasStartCode && (looked[value] >= kFirstOfSystems || video::hasVideoParameters(looked))) {
            return;
        }
        const bool isAtEnd = looked.size() < wanted;
        if (isAtEnd || wanted == kLookedAt) {
            if (!hasStartCode && isAtEnd) {
                return;
            }
            const Finding missing{FindingCode::VideoParametersMissing, Severity::Error, 0,
                                  static_cast<std::int64_t>(looked.size()), kLookedAt};
            throw failureAtByte(source.name(), 0,
                                missing.text() + ": " + std::string(option) + " says that it is video all the same");
        }
    }
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
