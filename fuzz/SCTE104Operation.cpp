// Operations out of arbitrary bytes, numbers and texts; what is built from parsed fields gives the same fields again.
#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <string>

using qlxfuzz::require;
using Operation = QLXSCTEOperation;

namespace {

constexpr std::uint16_t kIDs[] = {257, 258, 260, 264, 265, 267};

qlx::Data built(std::int32_t operationID, const qlx::Dictionary& parameters) {
    std::optional<std::string> error;
    const qlx::Data operation =
        Operation::SCTEOperationDataWithOperationType_parameters_errorDescription(operationID, parameters, &error);
    require(operation ? !error : error && !error->empty());
    return operation;
}

qlx::Dictionary requestOf(const qlx::Dictionary& parsed) {
    return {{"spliceType", *parsed.find("spliceInsertType")},     {"eventID", *parsed.find("spliceEventID")},
            {"programUniqueID", *parsed.find("uniqueProgramID")}, {"duration", *parsed.find("breakDuration")},
            {"autoReturn", *parsed.find("autoReturn")},           {"preRoll", *parsed.find("preRollTime")}};
}

/// What the fields of an operation's own length give again when they are built and parsed.
void checkRoundTrip(std::uint16_t operationID, const qlx::Dictionary& parsed) {
    const qlx::Data operation = built(operationID, operationID == 257 ? requestOf(parsed) : parsed);
    if (!operation) {
        return;
    }
    require(operation.size() >= 4 && operation[2] * 256U + operation[3] == operation.size() - 4);
    const auto again = Operation::parametersOfSCTEOperationWithID_data(
        operationID, qlx::Data(operation.data() + 4, operation.size() - 4));
    require(again.has_value());
    for (const auto& entry : parsed) {
        // A builder counts no avails; a long UPID is cut.
        const bool kept = entry.key != "availNum" && entry.key != "availsExpected" &&
                          (entry.key != "UPID" || entry.value.text()->size() <= 64);
        require(!kept || *again->find(entry.key) == entry.value);
    }
}

/// Any number under every key, as a number or as text.
void checkBuilding(qlxfuzz::Input input) {
    constexpr const char* kKeys[] = {
        "spliceType",    "eventID",          "programUniqueID",         "duration",
        "preRoll",       "preRollTime",      "segmentationType",        "UPID",
        "segmentNumber", "segmentsExpected", "durationExtensionFrames", "deviceRestrictions",
        "UPIDType"};
    qlx::Dictionary parameters;
    for (const char* const key : kKeys) {
        const std::uint8_t kind = input.takeByte();
        std::string text;
        for (std::size_t count = kind % 80U; count > 0; --count) {
            text += static_cast<char>(input.takeByte());
        }
        if (kind < 80) {
            parameters.set(key, text);
        } else if (kind < 240) {
            parameters.set(key, static_cast<std::int8_t>(input.takeByte()) * (std::int64_t{1} << kind % 40U));
        }
    }
    for (const std::uint16_t operationID : kIDs) {
        const qlx::Data operation = built(operationID, parameters);
        require(!operation || operation.size() <= 22 + 64);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t choice = input.takeByte();
    if (choice == 0xFF) {
        checkBuilding(input);
        return 0;
    }
    const std::uint16_t operationID = kIDs[choice % std::size(kIDs)];
    const qlx::Data bytes(input.rest());
    const auto parsed = Operation::parametersOfSCTEOperationWithID_data(operationID, bytes);
    if (parsed) {
        require(*parsed->find("operationID") == qlx::Value(Operation::SCTEOperationNameWithID(operationID)));
        checkRoundTrip(operationID, *parsed);
    }
    return 0;
}
