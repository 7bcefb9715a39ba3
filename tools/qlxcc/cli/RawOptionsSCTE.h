// What stands on the command line of scte104 and scte35, before the options have been checked against each other.
#pragma once

#include "cli/RawOptions.h"
#include "commands/scte/SCTE104Build.h"
#include "commands/scte/SCTE104Parse.h"
#include "commands/scte/SCTE35.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

// The operations that take a parameter, as bits.
inline constexpr unsigned kForSplice = 1;
inline constexpr unsigned kForTimeSignal = 2;
inline constexpr unsigned kForSegmentation = 4;

/// An option that gives a parameter of an operation.
struct ParameterOption {
    std::string_view name;
    std::string_view type;  ///< What stands for its value; empty for a flag.
    std::string_view key;   ///< The parameter.
    unsigned operations;
    std::string_view description;
};

inline constexpr std::array<ParameterOption, 17> kParameterOptions{{
    {"--event-id", "N", "eventID", kForSplice | kForSegmentation, "The event's number; every event needs one"},
    {"--program-id", "N", "programUniqueID", kForSplice, "unique_program_id (default: 0)"},
    {"--pre-roll", "MS", "preRoll", kForSplice | kForTimeSignal, "Milliseconds ahead of the event (default: 0)"},
    {"--duration", "S", "duration", kForSplice | kForSegmentation,
     "Seconds, in steps of 0.1; segmentation: whole ones (default: 0)"},
    {"--auto-return", "", "autoReturn", kForSplice, "Return to the network when the duration is over"},
    {"--segmentation-type", "TYPE", "segmentationType", kForSegmentation,
     "A number, or a name such as ProviderAdvertisementStart"},
    {"--upid", "TEXT", "UPID", kForSegmentation, "At most 64 ASCII characters (default: none)"},
    {"--upid-type", "TYPE", "UPIDType", kForSegmentation, "A number, or a name such as Ad-ID (default: 0)"},
    {"--segment", "N", "segmentNumber", kForSegmentation, "Number of the segment (default: 0)"},
    {"--segments", "N", "segmentsExpected", kForSegmentation, "Segments expected (default: 0)"},
    {"--extension-frames", "N", "durationExtensionFrames", kForSegmentation,
     "Frames that are added to the duration (default: 0)"},
    {"--cancel", "", "cancel", kForSegmentation, "Cancel the event"},
    {"--delivery-not-restricted", "", "deliveryNotRestricted", kForSegmentation, "delivery_not_restricted_flag"},
    {"--web-delivery-allowed", "", "webDeliveryAllowed", kForSegmentation, "web_delivery_allowed_flag"},
    {"--no-regional-blackout", "", "noRegionalBlackout", kForSegmentation, "no_regional_blackout_flag"},
    {"--archive-allowed", "", "archiveAllowed", kForSegmentation, "archive_allowed_flag"},
    {"--device-restrictions", "N", "deviceRestrictions", kForSegmentation, "device_restrictions (default: 3, none)"},
}};

/// An operation by its name on the command line.
struct OperationName {
    std::string_view name;
    std::uint16_t operationID;
    std::uint8_t spliceType;  ///< 0 for other operations.
    unsigned bit;             ///< Which options it takes.
};

inline constexpr std::array<OperationName, 8> kOperationNames{{{"splice-start", 0x0101, 1, kForSplice},
                                                               {"splice-start-immediate", 0x0101, 2, kForSplice},
                                                               {"splice-end", 0x0101, 3, kForSplice},
                                                               {"splice-end-immediate", 0x0101, 4, kForSplice},
                                                               {"splice-cancel", 0x0101, 5, kForSplice},
                                                               {"splice-null", 0x0102, 0, 0},
                                                               {"time-signal", 0x0104, 0, kForTimeSignal},
                                                               {"segmentation", 0x010B, 0, kForSegmentation}}};

struct RawScte104Build {
    std::vector<std::string> operations;
    std::map<std::string_view, std::string> values;  ///< By the option's name; flags have an empty text.
    std::optional<std::string> jsonFile;
    std::optional<std::string> messageNumber;
    std::optional<std::string> asIndex;
    std::optional<std::string> dpiPID;
    std::optional<std::string> format;
    std::optional<std::uint64_t> line;
    std::optional<std::uint32_t> width;
    std::optional<std::string> output;
};

/// Where messages are looked for.
struct RawScte104Source {
    std::string input;
    std::optional<std::string> format;
    RawRows rows;
};

struct RawScte104Parse {
    RawScte104Source source;
    std::optional<std::string> output;
    bool asJson = false;
};

struct RawScte35 {
    RawScte104Source source;
    std::string pts;
    std::optional<std::string> format;
    std::optional<std::string> output;
};

/// The names that stand for the numbers of an option's TYPE; none for any other option.
[[nodiscard]] std::vector<std::string> typeNames(std::string_view option);

// Each gives the options that the subcommand runs with, and throws UsageError when they make no sense together.
[[nodiscard]] Scte104BuildOptions checked(const RawScte104Build& raw);
[[nodiscard]] Scte104ParseOptions checked(const RawScte104Parse& raw);
[[nodiscard]] Scte35Options checked(const RawScte35& raw);

}  // namespace qlx::tool
