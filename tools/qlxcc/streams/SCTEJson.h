// Messages of SCTE 104 and sections of SCTE 35 as JSON: the standards' names in camelCase, times with their unit, bytes as
// hexadecimal digits. What is read is what was written, of every message and section.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/scte/scte104.h>
#include <qlx/scte/scte35.h>

#include <functional>
#include <stdexcept>

namespace qlx::tool {

/// What is wrong in the JSON of a message or section, and in which member.
class ScteJsonError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// `{"opID":257,"name":"SpliceRequestData","spliceInsertType":1,"spliceEventId":7,"preRollTime":{"value":4000,
/// "timescale":1000,"seconds":4},..}`; an operation that is kept as it is has `"data"`.
[[nodiscard]] Dictionary jsonOf(const scte::Operation& operation);

/// `{"schema":"qlxcc/scte104/1","messageNumber":1,..,"operations":[..]}`, of a single_operation_message
/// `"operation":{..}`.
[[nodiscard]] Dictionary jsonOf(const scte::Message& message);

/// `{"schema":"qlxcc/scte35/1","ptsAdjustment":{..},..,"spliceCommandType":5,"spliceCommand":{..},"descriptors":[..]}`.
[[nodiscard]] Dictionary jsonOf(const scte::SpliceInfoSection& section);

/// @throws ScteJsonError
[[nodiscard]] scte::Operation operationOfJson(const Dictionary& object);

/// @param readOperation What reads the operations of a multiple_operation_message.
/// @throws ScteJsonError
[[nodiscard]] scte::Message messageOfJson(
    const Dictionary& object, const std::function<scte::Operation(const Dictionary&)>& readOperation = operationOfJson);

/// @throws ScteJsonError
[[nodiscard]] scte::SpliceInfoSection sectionOfJson(const Dictionary& object);

}  // namespace qlx::tool
