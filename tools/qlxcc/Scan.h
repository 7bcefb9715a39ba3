// qlxcc scan: the ancillary packets in a file of rows or elements.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qlx::tool {

enum class ScanFormat { V210, Yuv8, Klv };

struct ScanOptions {
    std::string file;  ///< `-` is standard input.
    ScanFormat format = ScanFormat::V210;
    std::uint32_t width = 0;              ///< Pixels of a row.
    std::vector<std::uint64_t> lines{0};  ///< The line number of each row of a frame.
    bool asJson = false;
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int scan(const ScanOptions& options);

}  // namespace qlx::tool
