// What stands on the command line, before the options have been checked against each other.
#pragma once

#include "commands/extract/Extract.h"
#include "commands/play/Play.h"
#include "commands/rate/RateChange.h"
#include "commands/scan/Scan.h"
#include "commands/subs/Subs.h"
#include "streams/FrameSource.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

inline constexpr std::uint64_t kGreatestLine = 65535;

struct RawPlay {
    std::string subtitles;
    std::string encoding;
    std::string mode;
    std::string rate;
    bool isSD = false;
    std::string from;
    std::string duration;
    std::optional<std::string> output;
    std::optional<std::string> format;
    std::optional<std::uint32_t> width;
    bool leavesFramesEmpty = false;
    bool isNonDrop = false;
    bool asDeployed = false;
};

struct RawSubs {
    std::string file;
    std::string encoding;
    std::string mode;
    std::string rate;
    std::optional<std::string> output;
    bool asJson = false;
};

/// How the rows of a file lie and are searched, as the options --width, --lines, --rows and --near-start say.
struct RawRows {
    std::optional<std::uint32_t> width;
    std::optional<std::string> lines;
    std::optional<std::uint64_t> rows;
    bool nearStart = false;
};

struct RawScan {
    std::string file;
    std::optional<std::string> format;
    RawRows rows;
    std::optional<std::string> output;
    std::optional<std::string> toFormat;
    bool asDeployed = false;
    bool asJson = false;
};

struct RawExtract {
    std::string file;
    std::optional<std::string> fromFormat;
    RawRows rows;
    std::string codec = "auto";
    std::string format = "triplets";
    std::optional<std::string> output;
    bool asJson = false;
};

struct RawRateChange {
    std::string file;
    std::optional<std::string> fromFormat;
    RawRows rows;
    std::string from;
    std::string to;
    std::string output;
    std::optional<std::string> toFormat;
    bool asDeployed = false;
};

/// The format that was given, or else the extension of the file's name (`-`: a pipe).
/// @throws UsageError when that is none of the known ones.
[[nodiscard]] std::string formatName(const std::optional<std::string>& format, const std::string& file,
                                     const std::vector<std::string_view>& known);

/// How a file of frames is opened.
/// @param isForRowsWritten Whether the options may be about rows that are written.
/// @throws UsageError when options contradict each other, or the format or name of the file.
[[nodiscard]] FrameSourceOptions frameSourceOptions(const std::string& file, const std::optional<std::string>& format,
                                                    const RawRows& rows, bool isForRowsWritten = false);

/// The seconds of an option's TIME.
/// @param rate Of the command; null where it has none.
/// @throws UsageError that names the option.
[[nodiscard]] double timeOption(const std::string& option, const std::string& text, const Rate* rate);

// Each gives the options that the subcommand runs with, and throws UsageError when they make no sense together.
[[nodiscard]] PlayOptions checked(const RawPlay& raw);
[[nodiscard]] SubsOptions checked(const RawSubs& raw);
[[nodiscard]] ScanOptions checked(const RawScan& raw);
[[nodiscard]] ExtractOptions checked(const RawExtract& raw);
[[nodiscard]] RateChangeOptions checked(const RawRateChange& raw);

}  // namespace qlx::tool
