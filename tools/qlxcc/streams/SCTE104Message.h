// What an SCTE-104 message (ANSI/SCTE 104, in an ANC packet after SMPTE ST 2010) holds, for listings.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/scte/scte104.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

inline constexpr std::uint16_t kSpliceRequest = scte::SpliceRequest::kOpId;
inline constexpr std::uint16_t kSpliceNullRequest = scte::SpliceNullRequest::kOpId;
inline constexpr std::uint16_t kTimeSignalRequest = scte::TimeSignalRequest::kOpId;
inline constexpr std::uint16_t kSegmentationDescriptorRequest = scte::InsertSegmentationDescriptorRequest::kOpId;

struct Scte104Operation {
    std::uint16_t operationID = 0;
    Data data;                             ///< Without opID and data_length.
    std::optional<Dictionary> parameters;  ///< As the library reads them; none when the data are too short.
};

/// What is wrong in a message, and at which of its bytes.
struct Scte104Problem {
    std::size_t offset = 0;
    std::string what;
};

struct Scte104Message {
    std::size_t size = 0;
    std::uint8_t messageNumber = 0;
    std::uint8_t asIndex = 0;
    std::uint16_t dpiPID = 0;
    scte::TimeStamp timeStamp;
    std::uint8_t announced = 0;  ///< num_ops.
    std::vector<Scte104Operation> operations;
    std::optional<Scte104Problem> refusal;  ///< Why this is no message; then nothing else is set.
    std::vector<Scte104Problem> problems;   ///< Operations that are not all there.
};

/// Reads a packet's data, payload descriptor first. An operation that runs past the data ends the list.
[[nodiscard]] Scte104Message readScte104(const Data& data);

/// `SpliceRequestData: spliceStartNormal, event 16909060, program 1286, pre-roll 4000 ms, break 30.0 s, auto return`
[[nodiscard]] std::string operationInWords(const Scte104Operation& operation);

/// `message 1, AS index 0, DPI PID 4660`, and the time stamp where there is one.
[[nodiscard]] std::string headerInWords(const Scte104Message& message);

/// A line: `SCTE-104: message 1, AS index 0, DPI PID 4660; SpliceNullRequestData`.
[[nodiscard]] std::string scte104InWords(const Data& data);

/// The operations as jsonOf() has them.
[[nodiscard]] Array scte104Operations(const Scte104Message& message);

}  // namespace qlx::tool
