#include "facade/SCTENames.h"

#include <algorithm>
#include <array>
#include <optional>

namespace qlx::scte {

namespace {

constexpr auto kOperations = std::to_array<NamedCode>({
    {0x0000, "unsupported"},
    {0x0100, "InjectSectionDataRequest"},
    {0x0101, "SpliceRequestData"},
    {0x0102, "SpliceNullRequestData"},
    {0x0103, "StartScheduleDownloadRequestData"},
    {0x0104, "TimeSignalRequestData"},
    {0x0105, "TransmitScheduleRequestData"},
    {0x0106, "ComponentModeDPIRequestData"},
    {0x0107, "EncryptedDPIRequestData"},
    {0x0108, "InsertDescriptorRequestData"},
    {0x0109, "InsertDTMFDescriptorRequestData"},
    {0x010A, "InsertAvailDescriptorRequestData"},
    {0x010B, "InsertSegmentationDescriptorRequestData"},
    {0x010C, "ProprietaryCommandRequestData"},
    {0x010D, "ScheduleComponentModeRequestData"},
    {0x010E, "ScheduleDefinitionData"},
    {0x0300, "DeleteControlWordData"},
    {0x0301, "UpdateControlWordData"},
});

constexpr auto kSpliceInsertModes = std::to_array<NamedCode>({
    {1, "spliceStartNormal"},
    {2, "spliceStartImmediate"},
    {3, "spliceEndNormal"},
    {4, "spliceEndImmediate"},
    {5, "spliceCancel"},
});

constexpr auto kSpliceTypes = std::to_array<NamedCode>({
    {1, "Start Normal"},
    {2, "Start Immediate"},
    {3, "End Normal"},
    {4, "End Immediate"},
    {5, "Cancel"},
});

constexpr auto kSegmentationTypes = std::to_array<NamedCode>({
    {0x01, "ContentIdentification"},
    {0x10, "ProgramStart"},
    {0x11, "ProgramEnd"},
    {0x12, "EarlyTermination"},
    {0x13, "ProgramBreakaway"},
    {0x14, "ProgramResumption"},
    {0x15, "ProgramRunoverPlanned"},
    {0x16, "RunoverUnplanned"},
    {0x17, "ProgramOverlapStart"},
    {0x18, "ProgramBlackoutOverride"},
    {0x19, "ProgramStartInProgress"},
    {0x20, "ChapterStart"},
    {0x21, "ChapterEnd"},
    {0x22, "BreakStart"},
    {0x23, "BreakEnd"},
    {0x24, "OpeningCreditStart"},
    {0x25, "OpeningCreditEnd"},
    {0x26, "ClosingCreditStart"},
    {0x27, "ClosingCreditEnd"},
    {0x30, "ProviderAdvertisementStart"},
    {0x31, "ProviderAdvertisementEnd"},
    {0x32, "DistributorAdvertisementStart"},
    {0x33, "DistributorAdvertisementEnd"},
    {0x34, "ProviderPlacementOpportunityStart"},
    {0x35, "ProviderPlacementOpportunityEnd"},
    {0x36, "DistributorPlacementOpportunityStart"},
    {0x37, "DistributorPlacementOpportunityEnd"},
    {0x38, "ProviderOverlayPlacementOpportunityStart"},
    {0x39, "ProviderOverlayPlacementOpportunityEnd"},
    {0x3A, "DistributorOverlayPlacementOpportunityStart"},
    {0x3B, "DistributorOverlayPlacementOpportunityEnd"},
    {0x40, "UnscheduledEventStart"},
    {0x41, "UnscheduledEventEnd"},
    {0x50, "NetworkStart"},
    {0x51, "NetworkEnd"},
});

/// Where a name stands for another type than the one that shows it, or for none (0): hosts have stored presets under
/// these names, so the two directions are kept as they are.
constexpr auto kSegmentationNamesThatDiffer = std::to_array<NamedCode>({
    {0x16, "ProgramRunoverUnplanned"},
    {0x00, "RunoverUnplanned"},
    {0x00, "DistributorPlacementOpportunityStart"},
    {0x00, "DistributorPlacementOpportunityEnd"},
    {0x00, "ProviderOverlayPlacementOpportunityStart"},
    {0x00, "ProviderOverlayPlacementOpportunityEnd"},
    {0x38, "DistributorOverlayPlacementOpportunityStart"},
});

constexpr auto kUPIDTypes = std::to_array<NamedCode>({
    {0, "Undefined"},
    {1, "UserDefined"},
    {2, "ISCI"},
    {3, "Ad-ID"},
    {4, "UMID"},
    {5, "ISAN"},
    {6, "V-ISAN"},
    {7, "TID"},
    {8, "TurnerID"},
    {9, "ADI"},
    {10, "EIDR"},
    {11, "ATSC"},
    {12, "MPU"},
    {13, "MID"},
    {14, "ADS"},
    {15, "URI"},
});

constexpr std::string_view nameIn(std::span<const NamedCode> table, std::int32_t code,
                                  std::string_view otherwise) noexcept {
    const auto row = std::find_if(table.begin(), table.end(), [=](const NamedCode& one) { return one.code == code; });
    return row == table.end() ? otherwise : row->name;
}

constexpr std::optional<std::int32_t> codeIn(std::span<const NamedCode> table, std::string_view name) noexcept {
    const auto row = std::find_if(table.begin(), table.end(), [=](const NamedCode& one) { return one.name == name; });
    return row == table.end() ? std::nullopt : std::optional(row->code);
}

}  // namespace

std::span<const NamedCode> segmentationTypes() noexcept {
    return kSegmentationTypes;
}

std::span<const NamedCode> upidTypes() noexcept {
    return kUPIDTypes;
}

std::string_view operationName(std::uint16_t operationID) noexcept {
    return nameIn(kOperations, operationID, "unknown");
}

std::string_view spliceInsertModeName(std::uint8_t mode) noexcept {
    return nameIn(kSpliceInsertModes, mode, "unknown");
}

std::string_view spliceTypeDisplayName(std::int32_t spliceType) noexcept {
    return nameIn(kSpliceTypes, spliceType, "Unknown");
}

std::string_view segmentationTypeName(std::int32_t type) noexcept {
    return nameIn(kSegmentationTypes, type, "Unknown");
}

std::string_view upidTypeName(std::uint8_t type) noexcept {
    return nameIn(kUPIDTypes, type, "Reserved");
}

std::int32_t segmentationTypeWithName(std::string_view name) noexcept {
    if (const auto differing = codeIn(kSegmentationNamesThatDiffer, name)) {
        return *differing;
    }
    return codeIn(kSegmentationTypes, name).value_or(0);
}

std::uint8_t upidTypeWithName(std::string_view name) noexcept {
    return static_cast<std::uint8_t>(codeIn(kUPIDTypes, name).value_or(0));
}

}  // namespace qlx::scte
