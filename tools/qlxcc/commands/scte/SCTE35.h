// qlxcc scte35: the SCTE-35 sections of an SCTE-104 message.
#pragma once

#include "commands/scte/SCTE104Input.h"
#include "io/Rates.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qlx::tool {

/// The largest time of a section: 33 bits of 90 kHz ticks.
inline constexpr std::uint64_t kGreatestPts = (std::uint64_t{1} << 33U) - 1;

enum class Scte35Format { Hex, Base64, Raw, Json, Xml, Ts };

struct Scte35Options {
    Scte104Source source;
    bool areSections = false;                ///< What is read are sections already.
    std::uint64_t pts = 0;                   ///< Of the frame that carries the message.
    std::optional<std::uint64_t> splicePts;  ///< Of the splice, in place of it.
    std::optional<std::uint64_t> atPts;      ///< Of the moment of the time stamp.
    std::optional<Rate> rate;                ///< Of extension frames.
    bool returnsAlone = false;               ///< Every break has auto_return.
    bool asDeployed = false;                 ///< The fixed operation's section; `pts` is the splice then.
    Scte35Format format = Scte35Format::Hex;
    std::optional<std::uint64_t> heartbeat90k;  ///< Between sections of splice_null() in a stream.
    std::optional<std::string> output;          ///< None or `-`: standard output.
};

/// Runs the subcommand; the result is the exit code.
[[nodiscard]] int convertToScte35(const Scte35Options& options);

}  // namespace qlx::tool
