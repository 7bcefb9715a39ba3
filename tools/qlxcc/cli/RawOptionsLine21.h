// What stands on the command line of line21, before the options have been checked against each other.
#pragma once

#include "commands/line21/Line21.h"

#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

struct RawLine21Write {
    std::optional<std::string> input;
    std::vector<std::string> bytes;
    std::string output;
    PictureOptions pictures;
    std::optional<std::string> preview;
};

struct RawLine21Read {
    std::string file;
    std::optional<std::string> output;
    bool asJson = false;
    PictureOptions pictures;
    std::optional<std::string> preview;
};

// Each gives the options that the subcommand runs with, and throws UsageError when they make no sense together.
[[nodiscard]] Line21WriteOptions checked(const RawLine21Write& raw);
[[nodiscard]] Line21ReadOptions checked(const RawLine21Read& raw);

}  // namespace qlx::tool
