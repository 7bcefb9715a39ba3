// The operations of scte104 build on the command line, and the options that give their parameters.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tool {

// The operations that take a parameter, as bits.
inline constexpr unsigned kForSplice = 1;
inline constexpr unsigned kForTimeSignal = 2;
inline constexpr unsigned kForSegmentation = 4;

/// What the text of an option is for the parameter that it gives.
enum class ParameterKind : std::uint8_t { Flag, Number, Text, Type };

/// The parameter of an operation that an option gives.
struct ParameterOption {
    std::string_view name;  ///< The option's, as in the table of options.
    ParameterKind kind;
    std::string_view key;  ///< The parameter.
    unsigned operations;
};

inline constexpr std::array<ParameterOption, 17> kParameterOptions{{
    {"--event-id", ParameterKind::Number, "eventID", kForSplice | kForSegmentation},
    {"--program-id", ParameterKind::Number, "programUniqueID", kForSplice},
    {"--pre-roll", ParameterKind::Number, "preRoll", kForSplice | kForTimeSignal},
    {"--duration", ParameterKind::Number, "duration", kForSplice | kForSegmentation},
    {"--auto-return", ParameterKind::Flag, "autoReturn", kForSplice},
    {"--segmentation-type", ParameterKind::Type, "segmentationType", kForSegmentation},
    {"--upid", ParameterKind::Text, "UPID", kForSegmentation},
    {"--upid-type", ParameterKind::Type, "UPIDType", kForSegmentation},
    {"--segment", ParameterKind::Number, "segmentNumber", kForSegmentation},
    {"--segments", ParameterKind::Number, "segmentsExpected", kForSegmentation},
    {"--extension-frames", ParameterKind::Number, "durationExtensionFrames", kForSegmentation},
    {"--cancel", ParameterKind::Flag, "cancel", kForSegmentation},
    {"--delivery-not-restricted", ParameterKind::Flag, "deliveryNotRestricted", kForSegmentation},
    {"--web-delivery-allowed", ParameterKind::Flag, "webDeliveryAllowed", kForSegmentation},
    {"--no-regional-blackout", ParameterKind::Flag, "noRegionalBlackout", kForSegmentation},
    {"--archive-allowed", ParameterKind::Flag, "archiveAllowed", kForSegmentation},
    {"--device-restrictions", ParameterKind::Number, "deviceRestrictions", kForSegmentation},
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

/// The names that stand for the numbers of a segmentation type, and of a kind of UPID.
[[nodiscard]] std::vector<std::string> segmentationTypeNames();
[[nodiscard]] std::vector<std::string> upidTypeNames();

}  // namespace qlx::tool
