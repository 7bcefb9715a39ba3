// SCTE-104 messages as JSON, both ways.
#include "streams/OperationNames.h"
#include "streams/SCTEJsonFields.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <qlx/scte/scte35_descriptors.h>

namespace qlx::tool {

// Not without a name: what calls the functions finds them by that of its own namespace.
namespace scte_json {

using namespace scte;

template <class Io, class Value>
requires IsA<Value, InjectSectionDataRequest>
void describe(Io& io, Value& value) {
    io.number("scte35ProtocolVersion", value.protocolVersion);
    io.number("scte35CommandType", value.commandType);
    io.bytes("scte35CommandContents", value.command);
}

template <class Io, class Value>
requires IsA<Value, SpliceRequest>
void describe(Io& io, Value& value) {
    io.number("spliceInsertType", value.type);
    io.name("spliceInsertTypeName",
            QLXSCTEOperation::SCTESpliceInsertModeNameWithByte(static_cast<std::uint8_t>(value.type)));
    io.number("spliceEventId", value.eventId);
    io.number("uniqueProgramId", value.uniqueProgramId);
    io.time("preRollTime", value.preRollMilliseconds, 1000);
    io.time("breakDuration", value.breakDurationTenths, 10);
    io.number("availNum", value.availNum);
    io.number("availsExpected", value.availsExpected);
    io.byteFlag("autoReturnFlag", value.autoReturn);
    io.optionalNumber("notAnEntryFlag", value.notAnEntryFlag);
}

template <class Io, class Value>
requires IsA<Value, StartScheduleDownloadRequest> || IsA<Value, InsertAvailDescriptorRequest>
void describe(Io& io, Value& value) {
    io.numbers("providerAvailIds", value.providerAvailIds);
}

template <class Io, class Value>
requires IsA<Value, TimeSignalRequest>
void describe(Io& io, Value& value) {
    io.time("preRollTime", value.preRollMilliseconds, 1000);
}

template <class Io, class Value>
requires IsA<Value, TransmitScheduleRequest>
void describe(Io& io, Value& value) {
    io.byteFlag("cancel", value.cancel);
}

template <class Io, class Value>
requires IsA<Value, ComponentPreRoll>
void describe(Io& io, Value& value) {
    io.number("componentTag", value.componentTag);
    io.time("componentPreroll", value.preRollMilliseconds, 1000);
}

template <class Io, class Value>
requires IsA<Value, ScheduledComponentTime>
void describe(Io& io, Value& value) {
    io.number("componentTag", value.componentTag);
    io.number("gpsSeconds", value.gpsSeconds);
}

template <class Io, class Value>
requires IsA<Value, ComponentModeRequest> || IsA<Value, ScheduleComponentModeRequest>
void describe(Io& io, Value& value) {
    io.list("components", value.components);
}

template <class Io, class Value>
requires IsA<Value, EncryptedDpiRequest>
void describe(Io& io, Value& value) {
    io.number("encryptionAlgorithm", value.encryptionAlgorithm);
    io.number("cwIndex", value.cwIndex);
}

template <class Io, class Value>
requires IsA<Value, DescriptorImage>
void describe(Io& io, Value& value) {
    io.number("descriptorTag", value.tag);
    io.bytes("descriptorData", value.data);
}

template <class Io, class Value>
requires IsA<Value, InsertDescriptorRequest>
void describe(Io& io, Value& value) {
    io.list("descriptorImages", value.descriptors);
}

template <class Io, class Value>
requires IsA<Value, InsertDtmfDescriptorRequest>
void describe(Io& io, Value& value) {
    io.time("preRoll", value.preRollTenths, 10);
    io.bytes("dtmfChars", value.characters);
}

template <class Io, class Value>
requires IsA<Value, SubSegmentRequest>
void describe(Io& io, Value& value) {
    io.byteFlag("insertSubSegmentInfo", value.insert);
    io.number("subSegmentNum", value.subSegmentNum);
    io.number("subSegmentsExpected", value.subSegmentsExpected);
}

template <class Io, class Value>
requires IsA<Value, InsertSegmentationDescriptorRequest>
void describe(Io& io, Value& value) {
    io.number("segmentationEventId", value.eventId);
    io.byteFlag("segmentationEventCancelIndicator", value.cancel);
    io.time("duration", value.durationSeconds, 1);
    io.number("segmentationUpidType", value.upidType);
    io.bytes("segmentationUpid", value.upid);
    io.name("segmentationUpidText",
            Io::kReads ? std::string() : upidText({static_cast<UpidType>(value.upidType), value.upid}));
    io.number("segmentationTypeId", value.typeId);
    io.name("segmentationTypeName", QLXSCTEOperation::SCTESegmentationDescriptorTypeNameWithByte(value.typeId));
    io.number("segmentNum", value.segmentNum);
    io.number("segmentsExpected", value.segmentsExpected);
    io.number("durationExtensionFrames", value.durationExtensionFrames);
    io.byteFlag("deliveryNotRestrictedFlag", value.deliveryNotRestricted);
    io.byteFlag("webDeliveryAllowedFlag", value.webDeliveryAllowed);
    io.byteFlag("noRegionalBlackoutFlag", value.noRegionalBlackout);
    io.byteFlag("archiveAllowedFlag", value.archiveAllowed);
    io.number("deviceRestrictions", value.deviceRestrictions);
    io.optionalObject("subSegments", value.subSegments);
}

template <class Io, class Value>
requires IsA<Value, ProprietaryCommandRequest>
void describe(Io& io, Value& value) {
    io.number("proprietaryId", value.proprietaryId);
    io.number("proprietaryCommand", value.proprietaryCommand);
    io.bytes("proprietaryData", value.data);
}

template <class Io, class Value>
requires IsA<Value, ScheduleDefinition>
void describe(Io& io, Value& value) {
    io.number("spliceScheduleCommand", value.command);
    io.number("spliceEventId", value.eventId);
    io.number("gpsSeconds", value.gpsSeconds);
    io.number("uniqueProgramId", value.uniqueProgramId);
    io.byteFlag("autoReturn", value.autoReturn);
    io.time("breakDuration", value.breakDurationTenths, 10);
    io.number("availNum", value.availNum);
    io.number("availsExpected", value.availsExpected);
}

template <class Io, class Value>
requires IsA<Value, InsertTierRequest>
void describe(Io& io, Value& value) {
    io.number("tierData", value.tier);
}

template <class Io, class Value>
requires IsA<Value, InsertTimeDescriptorRequest>
void describe(Io& io, Value& value) {
    io.number("taiSeconds", value.taiSeconds, (std::uint64_t{1} << 48U) - 1);
    io.number("taiNs", value.taiNanoseconds);
    io.number("utcOffset", value.utcOffset);
}

template <class Io, class Value>
requires IsA<Value, InsertAudioDescriptorRequest>
void describe(Io& io, Value& value) {
    io.bytes("audioDescriptorData", value.data);
}

template <class Io, class Value>
requires IsA<Value, DeleteControlWord>
void describe(Io& io, Value& value) {
    io.number("cwIndex", value.cwIndex);
}

template <class Io, class Value>
requires IsA<Value, UpdateControlWord>
void describe(Io& io, Value& value) {
    io.number("cwIndex", value.cwIndex);
    io.word("cwA", value.controlWords[0]);
    io.word("cwB", value.controlWords[1]);
    io.word("cwC", value.controlWords[2]);
}

template <class Io, class Value>
requires IsA<Value, VerbatimOperation>
void describe(Io& io, Value& value) {
    io.bytes("data", value.data);
}

// The operations of a single_operation_message.

template <class Io, class Value>
requires IsA<Value, SystemTime>
void describe(Io& io, Value& value) {
    io.number("seconds", value.seconds);
    io.number("microseconds", value.microseconds);
}

template <class Io, class Value>
requires IsA<Value, AliveRequest> || IsA<Value, AliveResponse>
void describe(Io& io, Value& value) {
    io.optionalObject("time", value.time);
}

template <class Io, class Value>
requires IsA<Value, InjectResponse>
void describe(Io& io, Value& value) {
    io.number("messageNumber", value.messageNumber);
}

template <class Io, class Value>
requires IsA<Value, InjectCompleteResponse>
void describe(Io& io, Value& value) {
    io.number("messageNumber", value.messageNumber);
    io.number("cueMessageCount", value.cueMessageCount);
}

template <class Io, class Value>
requires IsA<Value, ConfigRequest>
void describe(Io& io, Value& value) {
    io.number("asIpAddress", value.asIpAddress);
    io.number("asSocketNumber", value.asSocketNumber);
    io.byteFlag("activeFlag", value.activeFlag);
    io.number("protocolVersion", value.protocolVersion);
    io.number("lastAsIndex", value.lastAsIndex);
    io.number("lastInjectorCount", value.lastInjectorCount);
    io.byteFlag("permanentConnectionRequested", value.permanentConnectionRequested);
}

template <class Io, class Value>
requires IsA<Value, ConfigResponse>
void describe(Io& io, Value& value) {
    io.number("asIndex", value.asIndex);
    io.byteFlag("permanentConnectionRequested", value.permanentConnectionRequested);
}

template <class Io, class Value>
requires IsA<Value, ProvisionedPid>
void describe(Io& io, Value& value) {
    io.number("dpiPidIndex", value.dpiPidIndex);
    io.byteFlag("sharedPid", value.sharedPid);
    io.byteFlag("eventIdComplianceFlag", value.eventIdComplianceFlag);
}

template <class Io, class Value>
requires IsA<Value, InjectorComponentList>
void describe(Io& io, Value& value) {
    io.number("videoComponentTag", value.videoComponentTag);
    io.bytes("audioComponentTags", value.audioComponentTags);
    io.bytes("dataComponentTags", value.dataComponentTags);
}

template <class Io, class Value>
requires IsA<Value, ProvisionedService>
void describe(Io& io, Value& value) {
    io.number("injectorIpAddress", value.injectorIpAddress);
    io.number("injectorSocketNumber", value.injectorSocketNumber);
    io.bytes("serviceName", value.name);
    io.list("dpiPids", value.dpiPids);
    io.byteFlag("componentMode", value.componentMode);
    if (value.componentMode != 0) {
        io.object("injectorComponentList", value.components);
    }
}

template <class Io, class Value>
requires IsA<Value, ProvisioningRequest>
void describe(Io& io, Value& value) {
    io.list("services", value.services);
}

template <class Io, class Value>
requires IsA<Value, FaultRequest>
void describe(Io& io, Value& value) {
    io.number("injectorIpAddress", value.injectorIpAddress);
    io.number("injectorSocketNumber", value.injectorSocketNumber);
    io.bytes("injectorServiceName", value.injectorServiceName);
    io.number("dpiPidIndex", value.dpiPidIndex);
}

template <class Io, class Value>
requires IsA<Value, UtcTimeStamp>
void describe(Io& io, Value& value) {
    io.number("utcSeconds", value.seconds);
    io.number("utcMicroseconds", value.microseconds);
}

template <class Io, class Value>
requires IsA<Value, VitcTimeStamp>
void describe(Io& io, Value& value) {
    io.number("hours", value.hours);
    io.number("minutes", value.minutes);
    io.number("seconds", value.seconds);
    io.number("frames", value.frames);
}

template <class Io, class Value>
requires IsA<Value, GpiTimeStamp>
void describe(Io& io, Value& value) {
    io.number("gpiNumber", value.number);
    io.number("gpiEdge", value.edge);
}

template <class Io, class Value>
requires IsA<Value, UnknownTimeType>
void describe(Io&, Value&) {}

template <class Io, class Value>
requires IsA<Value, TimeStamp>
void describe(Io& io, Value& value) {
    std::uint8_t type = 0;
    if constexpr (!Io::kReads) {
        type = timeTypeOf(value);
    }
    io.number("timeType", type);
    if constexpr (Io::kReads) {
        switch (type) {
        case 0:
            return;
        case 1:
            value = UtcTimeStamp{};
            break;
        case 2:
            value = VitcTimeStamp{};
            break;
        case 3:
            value = GpiTimeStamp{};
            break;
        default:
            value = UnknownTimeType{type};
        }
    }
    std::visit([&io](auto& stamp) { describe(io, stamp); }, value);
}

/// An operation by its opID; with "data" as it is.
template <class Io, class Variant>
void describeOperation(Io& io, Variant& value, std::uint16_t opId) {
    io.number("opID", opId);
    if constexpr (Io::kReads) {
        value = VerbatimOperation{opId, {}};
        if (!io.has("data")) {
            findAlternative<1>(value, [opId]<class Alternative>() { return Alternative::kOpId == opId; });
        }
    }
    io.name("name", operationName(opId));
    std::visit([&io](auto& data) { describe(io, data); }, value);
}

template <class Io, class Value>
requires IsA<Value, Operation>
void describe(Io& io, Value& value) {
    describeOperation(io, value.data, Io::kReads ? std::uint16_t{0} : value.opId());
    io.unusualBytes("trailing", value.trailing);
    io.optionalNumber("dataLength", value.statedLength);
}

/// The operation of a single_operation_message, in an object of its own.
struct SystemData {
    SystemOperation operation;
    std::vector<std::uint8_t> trailing;
    std::uint16_t opId = 0;
};

template <class Io, class Value>
requires IsA<Value, SystemData>
void describe(Io& io, Value& value) {
    describeOperation(io, value.operation, value.opId);
    io.unusualBytes("trailing", value.trailing);
}

/// What stands in a list of messages beside them.
template <class Io>
void passOver(Io& io) {
    if constexpr (Io::kReads) {
        for (const std::string_view key : {"schema", "frame", "line"}) {
            io.name(key, {});
        }
    }
}

template <class Io, class Value>
requires IsA<Value, MultipleOperationMessage>
void describe(Io& io, Value& value) {
    passOver(io);
    io.number("protocolVersion", value.protocolVersion);
    io.number("asIndex", value.asIndex);
    io.number("messageNumber", value.messageNumber);
    io.number("dpiPidIndex", value.dpiPidIndex);
    if constexpr (Io::kReads) {
        // Versions before 0.2 called it so.
        io.number("dpiPID", value.dpiPidIndex);
    }
    io.number("scte35ProtocolVersion", value.scte35ProtocolVersion);
    io.object("timestamp", value.timeStamp);
    io.unusualBytes("trailing", value.trailing);
    io.optionalNumber("messageSize", value.statedSize);
    io.optionalNumber("numOps", value.statedCount);
}

template <class Io, class Value>
requires IsA<Value, SingleOperationMessage>
void describe(Io& io, Value& value) {
    passOver(io);
    io.number("result", value.result);
    io.number("resultExtension", value.resultExtension);
    io.number("protocolVersion", value.protocolVersion);
    io.number("asIndex", value.asIndex);
    io.number("messageNumber", value.messageNumber);
    io.number("dpiPidIndex", value.dpiPidIndex);
    io.optionalNumber("messageSize", value.statedSize);
}

inline Message singleMessageOf(Dictionary object, const qlx::Value& operation) {
    if (operation.dictionary() == nullptr) {
        throw ScteJsonError("\"operation\" must be an object");
    }
    object.erase("operation");
    SingleOperationMessage message;
    JsonFieldReader::fill(object, message);
    SystemData data;
    JsonFieldReader::fill(*operation.dictionary(), data);
    message.operation = std::move(data.operation);
    message.trailing = std::move(data.trailing);
    return message;
}

}  // namespace scte_json

using scte_json::JsonFieldReader;
using scte_json::JsonFieldWriter;

Dictionary jsonOf(const scte::Operation& operation) {
    return JsonFieldWriter::objectOf(operation);
}

Dictionary jsonOf(const scte::Message& message) {
    const auto* const single = std::get_if<scte::SingleOperationMessage>(&message);
    Dictionary object;
    if (single != nullptr) {
        object = JsonFieldWriter::objectOf(*single);
        const scte_json::SystemData data{single->operation, single->trailing, single->opId()};
        object.set("operation", JsonFieldWriter::objectOf(data));
    } else {
        const auto& multiple = std::get<scte::MultipleOperationMessage>(message);
        object = JsonFieldWriter::objectOf(multiple);
        Array operations;
        for (const scte::Operation& operation : multiple.operations) {
            operations.emplace_back(jsonOf(operation));
        }
        object.set("operations", std::move(operations));
    }
    object.set("schema", "qlxcc/scte104/1");
    return object;
}

scte::Operation operationOfJson(const Dictionary& object) {
    if (!object.contains("opID")) {
        throw ScteJsonError("no \"opID\"");
    }
    scte::Operation operation;
    JsonFieldReader::fill(object, operation);
    return operation;
}

scte::Message messageOfJson(const Dictionary& object,
                            const std::function<scte::Operation(const Dictionary&)>& readOperation) {
    if (const Value* const single = object.find("operation")) {
        return scte_json::singleMessageOf(object, *single);
    }
    const Value* const list = object.find("operations");
    const Array operations = list != nullptr && list->array() != nullptr
                                 ? *list->array()
                                 : throw ScteJsonError("no array \"operations\", and no object \"operation\"");
    Dictionary header = object;
    header.erase("operations");
    scte::MultipleOperationMessage message;
    JsonFieldReader::fill(header, message);
    for (std::size_t index = 0; index < operations.size(); ++index) {
        const std::string place = "operation " + std::to_string(index + 1) + ": ";
        try {
            const Dictionary* const operation = operations[index].dictionary();
            message.operations.push_back(operation != nullptr ? readOperation(*operation)
                                                              : throw ScteJsonError("no object"));
        } catch (const ScteJsonError& error) {
            throw ScteJsonError(place + error.what());
        }
    }
    return message;
}

}  // namespace qlx::tool
