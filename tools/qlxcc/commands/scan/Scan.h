// qlxcc scan: the ancillary packets and captions of a file's frames.
#pragma once

#include "io/FrameOutput.h"
#include "io/FrameSource.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

struct ScanOptions {
    std::string file;  ///< `-` is standard input.
    FrameSourceOptions source;
    std::optional<std::string> output;  ///< None: standard output.
    bool asJson = false;
    std::optional<std::uint16_t> splicePid;    ///< Of a transport stream, beside those that its tables name.
    bool isOfChanges = false;                  ///< Lists splice points in place of packets.
    bool listsContents = false;                ///< What is in the file, in place of its packets.
    bool ignoresParity = false;                ///< Parity bits of CEA-608 are not looked at.
    std::string wideEncoding = "utf-16";       ///< Of the 16-bit characters of caption services.
    std::uint8_t region = 0;                   ///< Of teletext receivers, as teletext::PageReader takes it.
    std::optional<FrameOutputOptions> frames;  ///< Writes frames in place of the list.
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int scan(const ScanOptions& options);

}  // namespace qlx::tool
