// The layouts of the operations of ANSI/SCTE 104, each once, for reading and writing.
#pragma once

#include <qlx/scte/scte104.h>

#include "scte/FieldIo.h"

namespace qlx::scte::detail {

template <class Io, Is<InjectSectionDataRequest> Value>
void walk(Io& io, Value& value) {
    // The length stands in front of two fields that it does not count.
    if constexpr (Io::kReads) {
        std::uint16_t length = 0;
        io.number(length);
        io.number(value.protocolVersion);
        io.number(value.commandType);
        io.bytes(value.command, length);
    } else {
        const std::size_t length = value.command.size();
        io.template pack<2>(bits(length, 16));
        io.number(value.protocolVersion);
        io.number(value.commandType);
        io.bytes(value.command, length);
    }
}

template <class Io, Is<SpliceRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.type);
    io.number(value.eventId);
    io.number(value.uniqueProgramId);
    io.number(value.preRollMilliseconds);
    io.number(value.breakDurationTenths);
    io.number(value.availNum);
    io.number(value.availsExpected);
    io.number(value.autoReturn);
    io.ifLeft(value.notAnEntryFlag, 1, [&io](auto& entry) { io.number(entry); });
}

template <class Io, class Value>
requires Is<Value, StartScheduleDownloadRequest> || Is<Value, InsertAvailDescriptorRequest>
void walk(Io& io, Value& value) {
    io.template list<std::uint8_t>(value.providerAvailIds, [&io](auto& id) { io.number(id); });
}

template <class Io, Is<TimeSignalRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.preRollMilliseconds);
}

template <class Io, Is<TransmitScheduleRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.cancel);
}

template <class Io, Is<ComponentModeRequest> Value>
void walk(Io& io, Value& value) {
    io.itemsToEnd(value.components, 3, [&io](auto& component) {
        io.number(component.componentTag);
        io.number(component.preRollMilliseconds);
    });
}

template <class Io, Is<EncryptedDpiRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.encryptionAlgorithm);
    io.number(value.cwIndex);
}

template <class Io, Is<InsertDescriptorRequest> Value>
void walk(Io& io, Value& value) {
    io.template list<std::uint8_t>(value.descriptors, [&io](auto& descriptor) {
        io.number(descriptor.tag);
        countedBytes<std::uint8_t>(io, descriptor.data);
    });
}

template <class Io, Is<InsertDtmfDescriptorRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.preRollTenths);
    countedBytes<std::uint8_t>(io, value.characters);
}

template <class Io, Is<InsertSegmentationDescriptorRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.eventId);
    io.number(value.cancel);
    io.number(value.durationSeconds);
    io.number(value.upidType);
    countedBytes<std::uint8_t>(io, value.upid);
    io.number(value.typeId);
    io.number(value.segmentNum);
    io.number(value.segmentsExpected);
    io.number(value.durationExtensionFrames);
    io.number(value.deliveryNotRestricted);
    io.number(value.webDeliveryAllowed);
    io.number(value.noRegionalBlackout);
    io.number(value.archiveAllowed);
    io.number(value.deviceRestrictions);
    io.ifLeft(value.subSegments, 3, [&io](auto& subSegments) {
        io.number(subSegments.insert);
        io.number(subSegments.subSegmentNum);
        io.number(subSegments.subSegmentsExpected);
    });
}

template <class Io, Is<ProprietaryCommandRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.proprietaryId);
    io.number(value.proprietaryCommand);
    io.rest(value.data);
}

template <class Io, Is<ScheduleComponentModeRequest> Value>
void walk(Io& io, Value& value) {
    io.itemsToEnd(value.components, 5, [&io](auto& component) {
        io.number(component.componentTag);
        io.number(component.gpsSeconds);
    });
}

template <class Io, Is<ScheduleDefinition> Value>
void walk(Io& io, Value& value) {
    io.number(value.command);
    io.number(value.eventId);
    io.number(value.gpsSeconds);
    io.number(value.uniqueProgramId);
    io.number(value.autoReturn);
    io.number(value.breakDurationTenths);
    io.number(value.availNum);
    io.number(value.availsExpected);
}

template <class Io, Is<InsertTierRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.tier);
}

template <class Io, Is<InsertTimeDescriptorRequest> Value>
void walk(Io& io, Value& value) {
    io.template pack<6>(bits(value.taiSeconds, 48));
    io.number(value.taiNanoseconds);
    io.number(value.utcOffset);
}

template <class Io, class Value>
requires Is<Value, InsertAudioDescriptorRequest> || Is<Value, VerbatimOperation>
void walk(Io& io, Value& value) {
    io.rest(value.data);
}

template <class Io, Is<DeleteControlWord> Value>
void walk(Io& io, Value& value) {
    io.number(value.cwIndex);
}

template <class Io, Is<UpdateControlWord> Value>
void walk(Io& io, Value& value) {
    io.number(value.cwIndex);
    for (auto& word : value.controlWords) {
        io.number(word);
    }
}

template <class Io, class Value>
requires Is<Value, AliveRequest> || Is<Value, AliveResponse>
void walk(Io& io, Value& value) {
    io.ifLeft(value.time, 8, [&io](auto& time) {
        io.number(time.seconds);
        io.number(time.microseconds);
    });
}

template <class Io, Is<InjectResponse> Value>
void walk(Io& io, Value& value) {
    io.number(value.messageNumber);
}

template <class Io, Is<InjectCompleteResponse> Value>
void walk(Io& io, Value& value) {
    io.number(value.messageNumber);
    io.number(value.cueMessageCount);
}

template <class Io, Is<ConfigRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.asIpAddress);
    io.number(value.asSocketNumber);
    io.number(value.activeFlag);
    io.number(value.protocolVersion);
    io.number(value.lastAsIndex);
    io.number(value.lastInjectorCount);
    io.number(value.permanentConnectionRequested);
}

template <class Io, Is<ConfigResponse> Value>
void walk(Io& io, Value& value) {
    io.number(value.asIndex);
    io.number(value.permanentConnectionRequested);
}

template <class Io, Is<ProvisionedService> Value>
void walk(Io& io, Value& value) {
    io.number(value.injectorIpAddress);
    io.number(value.injectorSocketNumber);
    io.bytes(value.name);
    io.template list<std::uint8_t>(value.dpiPids, [&io](auto& pid) {
        io.number(pid.dpiPidIndex);
        io.number(pid.sharedPid);
        io.number(pid.eventIdComplianceFlag);
    });
    io.number(value.componentMode);
    if (value.componentMode != 0) {
        io.number(value.components.videoComponentTag);
        countedBytes<std::uint8_t>(io, value.components.audioComponentTags);
        countedBytes<std::uint8_t>(io, value.components.dataComponentTags);
    }
}

template <class Io, Is<ProvisioningRequest> Value>
void walk(Io& io, Value& value) {
    io.template list<std::uint8_t>(value.services, [&io](auto& service) { walk(io, service); });
}

template <class Io, Is<FaultRequest> Value>
void walk(Io& io, Value& value) {
    io.number(value.injectorIpAddress);
    io.number(value.injectorSocketNumber);
    io.bytes(value.injectorServiceName);
    io.number(value.dpiPidIndex);
}

template <class Io, Is<UtcTimeStamp> Value>
void walk(Io& io, Value& value) {
    io.number(value.seconds);
    io.number(value.microseconds);
}

template <class Io, Is<VitcTimeStamp> Value>
void walk(Io& io, Value& value) {
    io.number(value.hours);
    io.number(value.minutes);
    io.number(value.seconds);
    io.number(value.frames);
}

template <class Io, Is<GpiTimeStamp> Value>
void walk(Io& io, Value& value) {
    io.number(value.number);
    io.number(value.edge);
}

/// The header of a multiple_operation_message up to its timestamp.
template <class Io, class Value, class Size>
void walkHeader(Io& io, Value& value, Size& messageSize) {
    io.number(messageSize);
    io.number(value.protocolVersion);
    io.number(value.asIndex);
    io.number(value.messageNumber);
    io.number(value.dpiPidIndex);
    io.number(value.scte35ProtocolVersion);
}

}  // namespace qlx::scte::detail
