// qlxcc scte104 build: an SCTE-104 message as digits, bytes, or an ANC packet in an element or a row.
#pragma once

#include "commands/scte/SCTE104Request.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

enum class Scte104BuildFormat { Hex, Raw, Klv, V210 };

struct Scte104BuildOptions {
    Scte104Request request;               ///< Without operations when there is a JSON file.
    std::optional<std::string> jsonFile;  ///< `-` is standard input.
    // What replaces the numbers of the request.
    std::optional<std::uint8_t> messageNumber;
    std::optional<std::uint8_t> asIndex;
    std::optional<std::uint16_t> dpiPID;
    Scte104BuildFormat format = Scte104BuildFormat::Hex;
    std::uint64_t line = 0;             ///< The video line of the packet.
    std::uint32_t width = 0;            ///< Pixels of the row.
    std::optional<std::string> output;  ///< None or `-`: standard output.
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int buildScte104(const Scte104BuildOptions& options);

}  // namespace qlx::tool
