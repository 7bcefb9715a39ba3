// The names of SCTE-104 operations.
#pragma once

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>

namespace qlx::tool {

/// An operation and its name.
struct NamedOperation {
    std::uint16_t opId;
    std::string_view name;
};

/// Those that the fixed operation has no name for (ANSI/SCTE 104, tables 8-3 and 8-4).
inline constexpr std::array<NamedOperation, 20> kMoreOperations{{
    {0x0000, "GeneralResponseData"},        {0x0001, "InitRequestData"},
    {0x0002, "InitResponseData"},           {0x0003, "AliveRequestData"},
    {0x0004, "AliveResponseData"},          {0x0007, "InjectResponseData"},
    {0x0008, "InjectCompleteResponseData"}, {0x0009, "ConfigRequestData"},
    {0x000A, "ConfigResponseData"},         {0x000B, "ProvisioningRequestData"},
    {0x000C, "ProvisioningResponseData"},   {0x000F, "FaultRequestData"},
    {0x0010, "FaultResponseData"},          {0x0011, "ASAliveRequestData"},
    {0x0012, "ASAliveResponseData"},        {0x010F, "InsertTierData"},
    {0x0110, "InsertTimeDescriptor"},       {0x0111, "InsertAudioDescriptor"},
    {0x0112, "InsertAudioProvisioning"},    {0x0113, "InsertAlternateBreakDuration"},
}};

/// The name of an operation; `unknown` for one that has none.
[[nodiscard]] inline std::string operationName(std::uint16_t opId) {
    const auto* const found = std::find_if(std::begin(kMoreOperations), std::end(kMoreOperations),
                                           [opId](const NamedOperation& one) { return one.opId == opId; });
    return found != std::end(kMoreOperations) ? std::string(found->name)
                                              : QLXSCTEOperation::SCTEOperationNameWithID(opId);
}

}  // namespace qlx::tool
