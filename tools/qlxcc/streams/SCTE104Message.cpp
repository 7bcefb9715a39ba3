#include "streams/SCTE104Message.h"

#include "io/Text.h"
#include "streams/OperationNames.h"
#include "streams/SCTEJson.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <qlx/scte/scte104_packets.h>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

namespace qlx::tool {

namespace {

/// The payload descriptor stands in front of the message.
constexpr std::size_t kDescriptorBytes = 1;

std::string twoDigits(std::uint8_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
}

/// `0x010b`
std::string hexNumber(std::uint64_t number, std::size_t bytes) {
    std::vector<std::uint8_t> digits(bytes);
    for (std::size_t index = bytes; index-- > 0; number >>= 8U) {
        digits[index] = static_cast<std::uint8_t>(number);
    }
    return "0x" + hex(digits);
}

std::uint64_t numberOf(const Dictionary& parameters, std::string_view key) {
    const Value* const value = parameters.find(key);
    return value ? value->unsignedValue() : 0;
}

std::string textOf(const Dictionary& parameters, std::string_view key) {
    const Value* const value = parameters.find(key);
    return value ? value->stringValue().value_or("") : "";
}

bool isSet(const Dictionary& parameters, std::string_view key) {
    const Value* const value = parameters.find(key);
    return value != nullptr && value->boolValue();
}

/// Why the data cannot be a message; none when they can.
std::optional<Scte104Problem> refusalOf(std::span<const std::uint8_t> data) {
    constexpr std::array<std::uint8_t, 2> kReserved{0xFF, 0xFF};
    if (data.empty()) {
        return Scte104Problem{0, "no SCTE-104 message: there are no data"};
    }
    if (data.size() >= 2 && data[0] == 0xFF && data[1] == 0xFF) {
        return Scte104Problem{0, "no SCTE-104 message: the payload descriptor 08 (SMPTE ST 2010) is missing in front"};
    }
    if (data[0] != scte::PayloadDescriptor().byte()) {
        return Scte104Problem{0, "no SCTE-104 message: it begins with " + hex(data.first(1)) +
                                     " and not with the payload descriptor 08"};
    }
    const auto reserved = data.subspan(1, std::min<std::size_t>(2, data.size() - 1));
    if (!std::equal(reserved.begin(), reserved.end(), kReserved.begin())) {
        return Scte104Problem{1, "no multiple_operation_message: " + hex(reserved) +
                                     " where ffff marks one (single-operation messages have no place in ANC packets)"};
    }
    return std::nullopt;
}

Scte104Message refused(std::size_t size, Scte104Problem problem) {
    Scte104Message message;
    message.size = size;
    message.refusal = std::move(problem);
    return message;
}

void readOperations(Scte104Message& message, scte::MultipleOperationView& view) {
    for (unsigned number = 1; number <= message.announced; ++number) {
        const std::string name = "operation " + std::to_string(number) + " of " + std::to_string(message.announced);
        const auto operation = view.next();
        if (!operation) {
            message.problems.push_back({kDescriptorBytes + view.offset(), name + " is missing: the message ends here"});
            return;
        }
        const std::size_t offset = kDescriptorBytes + operation->offset;
        if (operation->isCut()) {
            message.problems.push_back({offset, name + " is cut short: " + std::to_string(operation->data.size()) +
                                                    " of " + counted(operation->statedLength, "byte") + " of data"});
            return;
        }
        Data contents(operation->data);
        auto parameters = QLXSCTEOperation::parametersOfSCTEOperationWithID_data(operation->opId, contents);
        if (!parameters) {
            message.problems.push_back({offset, name + ": " + counted(contents.size(), "byte") +
                                                    " of data are too few for " + operationName(operation->opId)});
        }
        message.operations.push_back({operation->opId, std::move(contents), std::move(parameters)});
    }
}

std::string spliceInWords(const Dictionary& parameters) {
    const std::uint64_t duration = numberOf(parameters, "breakDuration");
    std::string text = textOf(parameters, "spliceInsertTypeName");
    if (const std::uint64_t type = numberOf(parameters, "spliceInsertType"); type == 0 || type > 5) {
        text += " (" + std::to_string(type) + ")";
    }
    text += ", event " + std::to_string(numberOf(parameters, "spliceEventID")) + ", program " +
            std::to_string(numberOf(parameters, "uniqueProgramID")) + ", pre-roll " +
            std::to_string(numberOf(parameters, "preRollTime")) + " ms, break " + std::to_string(duration / 10) + "." +
            std::to_string(duration % 10) + " s";
    if (const std::uint64_t expected = numberOf(parameters, "availsExpected"),
        number = numberOf(parameters, "availNum");
        expected != 0 || number != 0) {
        text += ", avail " + std::to_string(number) + " of " + std::to_string(expected);
    }
    return isSet(parameters, "autoReturn") ? text + ", auto return" : text;
}

std::string upidInWords(const Dictionary& parameters) {
    const std::string name = textOf(parameters, "UPIDTypeName");
    if (!parameters.contains("UPID")) {
        return "UPID " + name + " (not ASCII)";
    }
    return "UPID " + name + " \"" + printable(textOf(parameters, "UPID")) + "\"";
}

std::string segmentationInWords(const Dictionary& parameters) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 5> kFlags{
        {{"cancel", "cancel"},
         {"deliveryNotRestricted", "delivery not restricted"},
         {"webDeliveryAllowed", "web delivery allowed"},
         {"noRegionalBlackout", "no regional blackout"},
         {"archiveAllowed", "archive allowed"}}};
    std::string text = textOf(parameters, "segmentationTypeName") + " (" +
                       hexNumber(numberOf(parameters, "segmentationType"), 1) + "), event " +
                       std::to_string(numberOf(parameters, "eventID")) + ", duration " +
                       std::to_string(numberOf(parameters, "duration")) + " s, " + upidInWords(parameters) +
                       ", segment " + std::to_string(numberOf(parameters, "segmentNumber")) + " of " +
                       std::to_string(numberOf(parameters, "segmentsExpected"));
    if (const std::uint64_t frames = numberOf(parameters, "durationExtensionFrames"); frames != 0) {
        text += ", " + counted(frames, "extension frame");
    }
    for (const auto& [key, words] : kFlags) {
        if (isSet(parameters, key)) {
            text += ", ";
            text += words;
        }
    }
    return text + ", device restrictions " + std::to_string(numberOf(parameters, "deviceRestrictions"));
}

bool hasFields(const Scte104Operation& operation) {
    return operation.parameters && operation.parameters->size() > 1;
}

/// `, UTC 1295788826 s and 500 us`; nothing for a message that is carried out at once.
struct TimeStampWords {
    std::string operator()(const std::monostate&) const { return {}; }
    std::string operator()(const scte::UtcTimeStamp& stamp) const {
        return ", UTC " + std::to_string(stamp.seconds) + " s and " + std::to_string(stamp.microseconds) + " us";
    }
    std::string operator()(const scte::VitcTimeStamp& stamp) const {
        return ", VITC " + twoDigits(stamp.hours) + ":" + twoDigits(stamp.minutes) + ":" + twoDigits(stamp.seconds) +
               ":" + twoDigits(stamp.frames);
    }
    std::string operator()(const scte::GpiTimeStamp& stamp) const {
        return ", GPI " + std::to_string(stamp.number) + " edge " + std::to_string(stamp.edge);
    }
    std::string operator()(const scte::UnknownTimeType& stamp) const {
        return ", time type " + std::to_string(stamp.timeType);
    }
};

}  // namespace

Scte104Message readScte104(const Data& data) {
    const std::span<const std::uint8_t> bytes(data);
    if (auto problem = refusalOf(bytes)) {
        return refused(bytes.size(), std::move(*problem));
    }
    auto view = scte::MultipleOperationView::of(bytes.subspan(kDescriptorBytes));
    if (!view) {
        // It is cut, and its first number is how long the header is: another mark is refused above.
        const auto needed = kDescriptorBytes + static_cast<std::size_t>(view.error().first);
        return refused(bytes.size(), {bytes.size(), "SCTE-104 message cut short: " + std::to_string(bytes.size()) +
                                                        " of the header's " + counted(needed, "byte")});
    }
    Scte104Message message;
    message.size = bytes.size();
    message.asIndex = view->asIndex;
    message.messageNumber = view->messageNumber;
    message.dpiPID = view->dpiPidIndex;
    message.timeStamp = view->timeStamp;
    message.announced = view->statedCount;
    readOperations(message, *view);
    return message;
}

std::string operationInWords(const Scte104Operation& operation) {
    std::string name = operationName(operation.operationID);
    const bool isUnknown = name == "unknown" || name == "unsupported";
    if (isUnknown) {
        name += " (" + hexNumber(operation.operationID, 2) + ")";
    }
    if (!hasFields(operation)) {
        return operation.data.empty() ? name : name + ": data " + hex(operation.data);
    }
    const Dictionary& parameters = *operation.parameters;
    switch (operation.operationID) {
    case kSpliceRequest:
        return name + ": " + spliceInWords(parameters);
    case kTimeSignalRequest:
        return name + ": pre-roll " + std::to_string(numberOf(parameters, "preRollTime")) + " ms";
    case kSegmentationDescriptorRequest:
        return name + ": " + segmentationInWords(parameters);
    default:
        return name + ": data " + hex(operation.data);
    }
}

std::string headerInWords(const Scte104Message& message) {
    return "message " + std::to_string(message.messageNumber) + ", AS index " + std::to_string(message.asIndex) +
           ", DPI PID " + std::to_string(message.dpiPID) + std::visit(TimeStampWords{}, message.timeStamp);
}

std::string scte104InWords(const Data& data) {
    const Scte104Message message = readScte104(data);
    if (message.refusal) {
        return message.refusal->what;
    }
    std::string text = "SCTE-104: " + headerInWords(message);
    for (const Scte104Operation& operation : message.operations) {
        text += "; " + operationInWords(operation);
    }
    for (const Scte104Problem& problem : message.problems) {
        text += "; byte " + std::to_string(problem.offset) + ": " + problem.what;
    }
    return message.announced == 0 ? text + "; no operations" : text;
}

Array scte104Operations(const Scte104Message& message) {
    Array operations;
    for (const Scte104Operation& operation : message.operations) {
        operations.emplace_back(jsonOf(scte::parseOperation(operation.operationID, operation.data)));
    }
    return operations;
}

}  // namespace qlx::tool
