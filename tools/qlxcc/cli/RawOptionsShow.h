// What stands on the command line of show, before the options have been checked against each other.
#pragma once

#include "cli/RawOptions.h"
#include "commands/show/Show.h"

#include <optional>
#include <string>

namespace qlx::tool {

struct RawShow {
    std::string file;
    std::string at;
    bool isAll = false;
    std::optional<std::string> picture;
    std::string rate;
    std::optional<std::string> format;
    RawRows rows;
    std::string channel;
    std::string page;
    std::optional<std::string> output;
    bool asJson = false;
};

/// The options that show runs with.
/// @throws UsageError when they make no sense together.
[[nodiscard]] ShowOptions checked(const RawShow& raw);

}  // namespace qlx::tool
