// qlxcc scte104 build: an SCTE-104 message as digits, bytes, or an ANC packet in an element or a row.
#pragma once

#include "io/Rates.h"

#include <qlx/scte/scte104.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

enum class Scte104BuildFormat { Hex, Raw, Klv, V210 };

struct Scte104BuildOptions {
    std::vector<scte::Operation> operations;  ///< None when there is a file.
    std::optional<std::string> jsonFile;      ///< `-` is standard input.
    std::optional<std::string> sectionFile;   ///< SCTE-35 sections that the message asks for; the same.
    std::uint64_t pts = 0;                    ///< Of the frame that carries the message of sections.
    std::optional<Rate> rate;                 ///< Of extension frames in the message of sections.
    // What replaces the numbers of the file.
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
