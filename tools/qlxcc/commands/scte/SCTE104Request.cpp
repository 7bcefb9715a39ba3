#include "commands/scte/SCTE104Request.h"

#include "commands/scte/SCTE104Input.h"
#include "io/Errors.h"
#include "io/InputFile.h"
#include "io/Text.h"
#include "streams/InputKind.h"
#include "streams/Json.h"
#include "streams/SCTE104Message.h"
#include "streams/SCTEJson.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <span>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::size_t kLongestUpid = 64;

enum class ParameterKind { Number, Flag, Text, SpliceType, SegmentationType, UpidType };

/// A parameter of an operation: the key that the library builds with, and the one under which it gives the field back.
struct Parameter {
    std::string_view key;
    std::string_view parsedKey;
    ParameterKind kind;
    std::uint64_t greatest;
};

constexpr std::array<Parameter, 8> kSpliceParameters{
    {{"spliceType", "spliceInsertType", ParameterKind::SpliceType, 0xFF},
     {"eventID", "spliceEventID", ParameterKind::Number, 0xFFFFFFFF},
     {"programUniqueID", "uniqueProgramID", ParameterKind::Number, 0xFFFF},
     {"preRoll", "preRollTime", ParameterKind::Number, 0xFFFF},
     {"duration", "breakDuration", ParameterKind::Number, 0xFFFF},
     {"autoReturn", "autoReturn", ParameterKind::Flag, 1},
     // Always written as 0.
     {"availNum", "availNum", ParameterKind::Number, 0},
     {"availsExpected", "availsExpected", ParameterKind::Number, 0}}};

constexpr std::array<Parameter, 1> kTimeSignalParameters{{{"preRollTime", "preRoll", ParameterKind::Number, 0xFFFF}}};

constexpr std::array<Parameter, 14> kSegmentationParameters{
    {{"eventID", "eventID", ParameterKind::Number, 0xFFFFFFFF},
     {"cancel", "cancel", ParameterKind::Flag, 1},
     {"duration", "duration", ParameterKind::Number, 0xFFFF},
     {"UPIDType", "UPIDType", ParameterKind::UpidType, 0xFF},
     {"UPID", "UPID", ParameterKind::Text, 0},
     {"segmentationType", "segmentationType", ParameterKind::SegmentationType, 0xFF},
     {"segmentNumber", "segmentNumber", ParameterKind::Number, 0xFF},
     {"segmentsExpected", "segmentsExpected", ParameterKind::Number, 0xFF},
     {"durationExtensionFrames", "durationExtensionFrames", ParameterKind::Number, 0xFF},
     {"deliveryNotRestricted", "deliveryNotRestricted", ParameterKind::Flag, 1},
     {"webDeliveryAllowed", "webDeliveryAllowed", ParameterKind::Flag, 1},
     {"noRegionalBlackout", "noRegionalBlackout", ParameterKind::Flag, 1},
     {"archiveAllowed", "archiveAllowed", ParameterKind::Flag, 1},
     {"deviceRestrictions", "deviceRestrictions", ParameterKind::Number, 0xFF}}};

// What stands in parsed operations beside their fields.
constexpr std::array<std::string_view, 8> kPassedOver{"opID",         "operationID",         "asIndex",
                                                      "dpiPID",       "messageNumber",       "spliceInsertTypeName",
                                                      "UPIDTypeName", "segmentationTypeName"};

constexpr std::array<std::uint16_t, 4> kBuiltOperations{kSpliceRequest, kSpliceNullRequest, kTimeSignalRequest,
                                                        kSegmentationDescriptorRequest};

std::span<const Parameter> parametersOf(std::uint16_t operationID) {
    switch (operationID) {
    case kSpliceRequest:
        return kSpliceParameters;
    case kTimeSignalRequest:
        return kTimeSignalParameters;
    case kSegmentationDescriptorRequest:
        return kSegmentationParameters;
    default:
        return {};
    }
}

std::string inQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

/// The number that a name stands for: first the name that listings show, then the library's other names.
std::optional<std::uint64_t> codeOf(ParameterKind kind, const std::string& name) {
    for (unsigned code = 0; code <= 0xFF; ++code) {
        const auto byte = static_cast<std::uint8_t>(code);
        std::string shown;
        if (kind == ParameterKind::SpliceType) {
            shown = QLXSCTEOperation::SCTESpliceInsertModeNameWithByte(byte);
        } else if (kind == ParameterKind::SegmentationType) {
            shown = QLXSCTEOperation::SCTESegmentationDescriptorTypeNameWithByte(byte);
        } else if (code <= 15) {
            shown = QLXSCTEOperation::SCTE35UPIDTypeNameWithByte(byte);
        }
        if (shown == name && name != "unknown" && name != "Unknown") {
            return code;
        }
    }
    if (kind == ParameterKind::SegmentationType) {
        if (const std::int32_t type = QLXSCTEOperation::segmentationDescriptorTypeWithName(name); type > 0) {
            return static_cast<std::uint64_t>(type);
        }
    }
    return std::nullopt;
}

Value checkedNumber(const Parameter& parameter, std::string_view key, const Value& value) {
    std::optional<std::uint64_t> number;
    if (const std::uint64_t* const unsignedNumber = value.unsignedInteger()) {
        number = *unsignedNumber;
    } else if (const std::int64_t* const signedNumber = value.signedInteger(); signedNumber && *signedNumber >= 0) {
        number = static_cast<std::uint64_t>(*signedNumber);
    }
    if (number && *number <= parameter.greatest) {
        return *number;
    }
    throw ParameterError(
        inQuotes(key) + " must be " +
        (parameter.greatest == 0 ? "0" : "a whole number from 0 to " + std::to_string(parameter.greatest)));
}

Value checkedText(std::string_view key, const Value& value) {
    const std::string* const text = value.text();
    if (text == nullptr) {
        throw ParameterError(inQuotes(key) + " must be a text");
    }
    const bool isAscii = std::all_of(text->begin(), text->end(),
                                     [](char character) { return static_cast<unsigned char>(character) < 0x80; });
    if (!isAscii || text->size() > kLongestUpid) {
        throw ParameterError(inQuotes(key) + " must be ASCII, at most " + std::to_string(kLongestUpid) + " characters");
    }
    return *text;
}

Value checkedValue(const Parameter& parameter, std::string_view key, const Value& value) {
    if (parameter.kind == ParameterKind::Text) {
        return checkedText(key, value);
    }
    if (parameter.kind == ParameterKind::Flag) {
        if (!value.isBool()) {
            throw ParameterError(inQuotes(key) + " must be true or false");
        }
        return value;
    }
    if (parameter.kind != ParameterKind::Number && value.text() != nullptr) {
        if (const auto code = codeOf(parameter.kind, *value.text())) {
            return *code;
        }
        throw ParameterError(inQuotes(key) + ": " + inQuotes(*value.text()) + " is no name of such a type");
    }
    return checkedNumber(parameter, key, value);
}

std::uint16_t operationIDOf(const Dictionary& operation) {
    const Value* const value = operation.find("operationID");
    std::string names;
    for (const std::uint16_t known : kBuiltOperations) {
        const std::string name = QLXSCTEOperation::SCTEOperationNameWithID(known);
        if (value != nullptr && (*value == Value(known) || *value == Value(name))) {
            return known;
        }
        names += (names.empty() ? "" : ", ") + name;
    }
    const std::string what = value == nullptr ? "no \"operationID\"" : "this \"operationID\" cannot be built";
    throw ParameterError(what + " (possible: " + names + ")");
}

/// An operation as versions before 0.2 have it, or of today.
scte::Operation operationOf(const Dictionary& object) {
    if (!object.contains("operationID") && object.contains("opID")) {
        return operationOfJson(object);
    }
    try {
        return operationOfBytes(operationData(operationIDOf(object), object));
    } catch (const ParameterError& error) {
        throw ScteJsonError(error.what());
    }
}

/// Whether a value is an object that has one of two members.
bool hasEither(const Value& value, std::string_view one, std::string_view other) {
    const Dictionary* const object = value.dictionary();
    return object != nullptr && (object->contains(one) || object->contains(other));
}

bool isMessage(const Value& value) {
    return hasEither(value, "operations", "operation");
}

bool isOperation(const Value& value) {
    return !isMessage(value) && hasEither(value, "opID", "operationID");
}

/// The values of a text as one for each message: operations that stand behind each other are those of one message, and
/// an array may have messages.
Array messageValues(std::vector<JsonValue> values) {
    Array list;
    for (JsonValue& one : values) {
        list.push_back(std::move(one.value));
    }
    if (list.size() == 1 && list[0].array() != nullptr && !list[0].array()->empty() &&
        std::all_of(list[0].array()->begin(), list[0].array()->end(), isMessage)) {
        return Array(*list[0].array());
    }
    if (!list.empty() && std::all_of(list.begin(), list.end(), isOperation)) {
        Array one;
        one.emplace_back(std::move(list));
        return one;
    }
    return list;
}

/// Of an object with operations, or of an array of these.
scte::Message messageOfValue(const std::string& place, const Value& value) {
    constexpr std::uint8_t kUsualNumber = 1;
    Dictionary object;
    if (value.array() != nullptr) {
        if (value.array()->empty()) {
            throw failureIn(place, "the JSON has no operation");
        }
        object.set("operations", value);
    } else if (value.dictionary() != nullptr) {
        object = *value.dictionary();
    }
    const Value* const list = object.find("operations");
    if (!object.contains("operation") && (list == nullptr || list->array() == nullptr)) {
        throw failureIn(place, "the JSON is no array of operations, and has no array \"operations\"");
    }
    if (!object.contains("messageNumber")) {
        object.set("messageNumber", kUsualNumber);
    }
    try {
        return messageOfJson(object, operationOf);
    } catch (const ScteJsonError& error) {
        throw failureIn(place, error.what());
    }
}

std::string readText(const std::string& path, std::string& name) {
    InputFile file(path);
    name = file.name();
    refuseOtherKinds(
        file.peek(kBytesThatTellKind), name,
        [](InputKind kind) { return kind == InputKind::Json || kind == InputKind::Jsonl; }, "which holds no messages");
    std::string text(kLongestScte104Input + 1, '\0');
    text.resize(file.read(std::span(reinterpret_cast<std::uint8_t*>(text.data()), text.size())));
    if (text.size() > kLongestScte104Input) {
        throw failureIn(name, "too long for the operations of a message");
    }
    if (text.empty()) {
        throw failureAtByte(name, 0, "the file is empty");
    }
    return text;
}

}  // namespace

Data operationData(std::uint16_t operationID, const Dictionary& parameters) {
    const std::span<const Parameter> known = parametersOf(operationID);
    Dictionary checked;
    for (const auto& [key, value] : parameters) {
        const auto found = std::find_if(known.begin(), known.end(), [&key = key](const Parameter& parameter) {
            return parameter.key == key || parameter.parsedKey == key;
        });
        if (found == known.end()) {
            if (std::find(kPassedOver.begin(), kPassedOver.end(), key) == kPassedOver.end()) {
                throw ParameterError("unknown parameter " + inQuotes(key));
            }
        } else if (checked.contains(found->key)) {
            throw ParameterError(inQuotes(found->key) + " and " + inQuotes(found->parsedKey) + " are the same");
        } else {
            checked.set(found->key, checkedValue(*found, key, value));
        }
    }
    std::optional<std::string> error;
    Data data =
        QLXSCTEOperation::SCTEOperationDataWithOperationType_parameters_errorDescription(operationID, checked, &error);
    if (!data) {
        throw ParameterError(error.value_or("the operation cannot be built"));
    }
    return data;
}

scte::Operation operationOfBytes(const Data& bytes) {
    constexpr std::size_t kHeaderBytes = 4;
    const auto opId = static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
    return scte::parseOperation(opId, std::span<const std::uint8_t>(bytes).subspan(kHeaderBytes));
}

std::vector<scte::Message> loadScte104Json(const std::string& path) {
    std::string name;
    const std::string text = readText(path, name);
    return readScte104Json(name, text);
}

std::vector<scte::Message> readScte104Json(const std::string& name, std::string_view text) {
    const Array values = messageValues(parseJsonValues(name, text));
    if (values.empty()) {
        throw failureIn(name, "the JSON has no operation");
    }
    std::vector<scte::Message> messages;
    for (const Value& value : values) {
        const std::string which = values.size() == 1 ? "" : ": message " + std::to_string(messages.size() + 1);
        messages.push_back(messageOfValue(name + which, value));
    }
    return messages;
}

std::optional<std::uint64_t> parseNumber(std::string_view text, std::uint64_t greatest) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc{} || end != text.data() + text.size() || number > greatest) {
        return std::nullopt;
    }
    return number;
}

}  // namespace qlx::tool
