// The operations of a single_operation_message (ANSI/SCTE 104 2023, table 8-3), each as a value: what an automation
// system, an injector and a provisioning system say to each other about their connection.
//
//     const auto message = qlx::scte::parseSingleOperationMessage(bytes, &findings);
//     if (message) {
//         if (const auto* alive = std::get_if<qlx::scte::AliveRequest>(&message->operation)) { use(alive->time); }
//     }
#pragma once

#include <qlx/scte/scte104_operations.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace qlx::scte {

/// A string of a fixed size, closed by 0 (ANSI/SCTE 104, 8.4). What stands behind the 0 has no meaning and is kept.
using SystemName = std::array<std::uint8_t, 32>;

/// time of an alive message (ANSI/SCTE 104, 12.4).
struct SystemTime {
    std::uint32_t seconds = 0;       ///< Seconds since 6 January 1980.
    std::uint32_t microseconds = 0;  ///< Microseconds.

    /// Whether all fields are equal.
    friend bool operator==(const SystemTime&, const SystemTime&) = default;
};

/// general_response_data (ANSI/SCTE 104, table 9-12), which has no fields.
struct GeneralResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0000;

    /// Always true.
    friend bool operator==(const GeneralResponse&, const GeneralResponse&) = default;
};

/// init_request_data (ANSI/SCTE 104, table 9-1), which has no fields.
struct InitRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0001;

    /// Always true.
    friend bool operator==(const InitRequest&, const InitRequest&) = default;
};

/// init_response_data (ANSI/SCTE 104, table 9-2), which has no fields.
struct InitResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0002;

    /// Always true.
    friend bool operator==(const InitResponse&, const InitResponse&) = default;
};

/// alive_request_data (ANSI/SCTE 104, table 9-3).
struct AliveRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0003;

    std::optional<SystemTime> time;  ///< time, which may be absent.

    /// Whether all fields are equal.
    friend bool operator==(const AliveRequest&, const AliveRequest&) = default;
};

/// alive_response_data (ANSI/SCTE 104, table 9-4).
struct AliveResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0004;

    std::optional<SystemTime> time;  ///< time, which may be absent.

    /// Whether all fields are equal.
    friend bool operator==(const AliveResponse&, const AliveResponse&) = default;
};

/// inject_response_data (ANSI/SCTE 104, table 9-14).
struct InjectResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0007;

    std::uint8_t messageNumber = 0;  ///< message_number of the message that is answered.

    /// Whether all fields are equal.
    friend bool operator==(const InjectResponse&, const InjectResponse&) = default;
};

/// injectcomplete_response_data (ANSI/SCTE 104, table 9-16).
struct InjectCompleteResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0008;

    std::uint8_t messageNumber = 0;    ///< message_number of the message that is answered.
    std::uint8_t cueMessageCount = 0;  ///< cue_message_count: sections that were sent.

    /// Whether all fields are equal.
    friend bool operator==(const InjectCompleteResponse&, const InjectCompleteResponse&) = default;
};

/// config_request_data (ANSI/SCTE 104, table 10-1).
struct ConfigRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0009;

    std::uint32_t asIpAddress = 0;                  ///< AS_IP_address
    std::uint16_t asSocketNumber = 0;               ///< AS_socket_number
    std::uint8_t activeFlag = 0;                    ///< activeflag: the primary system.
    std::uint8_t protocolVersion = 0;               ///< protocol_version
    std::uint8_t lastAsIndex = 0;                   ///< last_AS_index
    std::uint16_t lastInjectorCount = 0;            ///< last_injectorcount
    std::uint8_t permanentConnectionRequested = 0;  ///< permanent_connection_requested

    /// Whether all fields are equal.
    friend bool operator==(const ConfigRequest&, const ConfigRequest&) = default;
};

/// config_response_data (ANSI/SCTE 104, table 10-2).
struct ConfigResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x000A;

    std::uint8_t asIndex = 0;                       ///< AS_index
    std::uint8_t permanentConnectionRequested = 0;  ///< permanent_connection_requested

    /// Whether all fields are equal.
    friend bool operator==(const ConfigResponse&, const ConfigResponse&) = default;
};

/// A DPI PID of a provisioned service.
struct ProvisionedPid {
    std::uint16_t dpiPidIndex = 0;           ///< DPI_PID_index
    std::uint8_t sharedPid = 0;              ///< shared_PID
    std::uint8_t eventIdComplianceFlag = 0;  ///< event_id_compliance_flag

    /// Whether all fields are equal.
    friend bool operator==(const ProvisionedPid&, const ProvisionedPid&) = default;
};

/// injector_component_list (ANSI/SCTE 104, table 10-9).
struct InjectorComponentList {
    std::uint8_t videoComponentTag = 0;            ///< video_component_tag
    std::vector<std::uint8_t> audioComponentTags;  ///< audio_component_tag, at most 255.
    std::vector<std::uint8_t> dataComponentTags;   ///< data_component_tag, at most 255.

    /// Whether all fields are equal.
    friend bool operator==(const InjectorComponentList&, const InjectorComponentList&) = default;
};

/// A service of provisioning_request_data.
struct ProvisionedService {
    std::uint32_t injectorIpAddress = 0;     ///< injector_IP_address
    std::uint16_t injectorSocketNumber = 0;  ///< injector_socket_number
    SystemName name{};                       ///< service_name
    std::vector<ProvisionedPid> dpiPids;     ///< The DPI PIDs, at most 255.
    std::uint8_t componentMode = 0;          ///< component_mode: the list of components is there unless it is 0.
    InjectorComponentList components;        ///< injector_component_list; without meaning where componentMode is 0.

    /// Whether all fields are equal.
    friend bool operator==(const ProvisionedService&, const ProvisionedService&) = default;
};

/// provisioning_request_data (ANSI/SCTE 104, table 10-3).
struct ProvisioningRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x000B;

    std::vector<ProvisionedService> services;  ///< At most 255.

    /// Whether all fields are equal.
    friend bool operator==(const ProvisioningRequest&, const ProvisioningRequest&) = default;
};

/// provisioning_response_data (ANSI/SCTE 104, table 10-4), which has no fields.
struct ProvisioningResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x000C;

    /// Always true.
    friend bool operator==(const ProvisioningResponse&, const ProvisioningResponse&) = default;
};

/// fault_request_data (ANSI/SCTE 104, table 10-5).
struct FaultRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x000F;

    std::uint32_t injectorIpAddress = 0;     ///< injector_IP_address
    std::uint16_t injectorSocketNumber = 0;  ///< injector_socket_number
    SystemName injectorServiceName{};        ///< injector_service_name
    std::uint16_t dpiPidIndex = 0;           ///< DPI_PID_index

    /// Whether all fields are equal.
    friend bool operator==(const FaultRequest&, const FaultRequest&) = default;
};

/// fault_response_data (ANSI/SCTE 104, table 10-6), which has no fields.
struct FaultResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0010;

    /// Always true.
    friend bool operator==(const FaultResponse&, const FaultResponse&) = default;
};

/// AS_alive_request_data (ANSI/SCTE 104, table 10-7), which has no fields.
struct AsAliveRequest {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0011;

    /// Always true.
    friend bool operator==(const AsAliveRequest&, const AsAliveRequest&) = default;
};

/// AS_alive_response_data (ANSI/SCTE 104, table 10-8), which has no fields.
struct AsAliveResponse {
    /// opID
    static constexpr std::uint16_t kOpId = 0x0012;

    /// Always true.
    friend bool operator==(const AsAliveResponse&, const AsAliveResponse&) = default;
};

/// What a single_operation_message says.
using SystemOperation =
    std::variant<VerbatimOperation, GeneralResponse, InitRequest, InitResponse, AliveRequest, AliveResponse,
                 InjectResponse, InjectCompleteResponse, ConfigRequest, ConfigResponse, ProvisioningRequest,
                 ProvisioningResponse, FaultRequest, FaultResponse, AsAliveRequest, AsAliveResponse>;

}  // namespace qlx::scte
