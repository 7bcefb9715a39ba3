// SCTE-35 sections as JSON, both ways.
#include "streams/SCTEJsonFields.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>

namespace qlx::tool {

// Not without a name: what calls the functions finds them by that of its own namespace.
namespace scte_json {

using namespace scte;

constexpr std::uint64_t kTicks = 90000;
constexpr std::uint64_t kGreatestSegment = (std::uint64_t{1} << 40U) - 1;

template <class Io, class Value>
requires IsA<Value, SpliceTime>
void describe(Io& io, Value& value) {
    io.optionalTime("ptsTime", value.ticks90k, kTicks, kGreatestTicks);
    io.unusual("reserved", value.reserved, std::uint8_t{0x7F}, 0x7F);
}

template <class Io, class Value>
requires IsA<Value, BreakDuration>
void describe(Io& io, Value& value) {
    io.flag("autoReturn", value.autoReturn);
    io.time("duration", value.ticks90k, kTicks, kGreatestTicks);
    io.unusual("reserved", value.reserved, std::uint8_t{0x3F}, 0x3F);
}

template <class Io, class Value>
requires IsA<Value, ScheduledComponent>
void describe(Io& io, Value& value) {
    io.number("componentTag", value.componentTag);
    io.number("gpsSeconds", value.gpsSeconds);
}

template <class Io, class Value>
requires IsA<Value, SpliceComponent>
void describe(Io& io, Value& value) {
    io.number("componentTag", value.componentTag);
    io.object("spliceTime", value.time);
}

template <class Io, class Value>
requires IsA<Value, ScheduledSplice>
void describe(Io& io, Value& value) {
    io.number("spliceEventId", value.eventId);
    io.flag("spliceEventCancelIndicator", value.cancel);
    io.unusualFlag("eventIdComplianceFlag", value.eventIdCompliance, true);
    io.unusual("reserved", value.reserved, std::uint8_t{0x3F}, 0x3F);
    if (value.cancel) {
        return;
    }
    io.flag("outOfNetworkIndicator", value.outOfNetwork);
    io.flag("programSpliceFlag", value.programSplice);
    io.unusual("reservedFlags", value.reservedFlags, std::uint8_t{0x1F}, 0x1F);
    if (value.programSplice) {
        io.number("gpsSeconds", value.gpsSeconds);
    } else {
        io.list("components", value.components);
    }
    io.optionalObject("breakDuration", value.breakDuration);
    io.number("uniqueProgramId", value.uniqueProgramId);
    io.number("availNum", value.availNum);
    io.number("availsExpected", value.availsExpected);
}

template <class Io, class Value>
requires IsA<Value, SpliceSchedule>
void describe(Io& io, Value& value) {
    io.list("events", value.events);
}

template <class Io, class Value>
requires IsA<Value, SpliceInsert>
void describe(Io& io, Value& value) {
    io.number("spliceEventId", value.eventId);
    io.flag("spliceEventCancelIndicator", value.cancel);
    io.unusual("reserved", value.reserved, std::uint8_t{0x7F}, 0x7F);
    if (value.cancel) {
        return;
    }
    io.flag("outOfNetworkIndicator", value.outOfNetwork);
    io.flag("programSpliceFlag", value.programSplice);
    io.flag("spliceImmediateFlag", value.immediate);
    io.unusualFlag("eventIdComplianceFlag", value.eventIdCompliance, true);
    io.unusual("reservedFlags", value.reservedFlags, std::uint8_t{0x07}, 0x07);
    if (!value.programSplice) {
        io.list("components", value.components);
    } else if (!value.immediate) {
        io.object("spliceTime", value.time);
    }
    io.optionalObject("breakDuration", value.breakDuration);
    io.number("uniqueProgramId", value.uniqueProgramId);
    io.number("availNum", value.availNum);
    io.number("availsExpected", value.availsExpected);
}

template <class Io, class Value>
requires IsA<Value, TimeSignal>
void describe(Io& io, Value& value) {
    io.object("spliceTime", value.time);
}

template <class Io, class Value>
requires IsA<Value, PrivateCommand>
void describe(Io& io, Value& value) {
    io.number("identifier", value.identifier);
    io.bytes("privateBytes", value.data);
}

template <class Io, class Value>
requires IsA<Value, VerbatimCommand> || IsA<Value, VerbatimDescriptor>
void describe(Io& io, Value& value) {
    io.bytes("data", value.data);
}

template <class Io, class Value>
requires IsA<Value, EncryptedContent>
void describe(Io& io, Value& value) {
    io.number("spliceCommandLength", value.commandLength, kCommandLengthNotGiven);
    io.bytes("encryptedBytes", value.data);
}

// The descriptors.

template <class Io, class Value>
requires IsA<Value, AvailDescriptor>
void describe(Io& io, Value& value) {
    io.number("providerAvailId", value.providerAvailId);
}

template <class Io, class Value>
requires IsA<Value, DtmfDescriptor>
void describe(Io& io, Value& value) {
    io.time("preroll", value.preRollTenths, 10);
    io.unusual("reserved", value.reserved, std::uint8_t{0x1F}, 0x1F);
    io.bytes("dtmfChars", value.characters);
}

template <class Io, class Value>
requires IsA<Value, DeliveryRestrictions>
void describe(Io& io, Value& value) {
    io.flag("webDeliveryAllowedFlag", value.webDeliveryAllowed);
    io.flag("noRegionalBlackoutFlag", value.noRegionalBlackout);
    io.flag("archiveAllowedFlag", value.archiveAllowed);
    io.number("deviceRestrictions", value.deviceRestrictions, 3);
}

template <class Io, class Value>
requires IsA<Value, SegmentationComponent>
void describe(Io& io, Value& value) {
    io.number("componentTag", value.componentTag);
    io.unusual("reserved", value.reserved, std::uint8_t{0x7F}, 0x7F);
    io.time("ptsOffset", value.ptsOffset90k, kTicks, kGreatestTicks);
}

template <class Io, class Value>
requires IsA<Value, SubSegment>
void describe(Io& io, Value& value) {
    io.number("subSegmentNum", value.number);
    io.number("subSegmentsExpected", value.expected);
}

template <class Io, class Value>
requires IsA<Value, SegmentationDescriptor>
void describe(Io& io, Value& value) {
    io.number("segmentationEventId", value.eventId);
    io.flag("segmentationEventCancelIndicator", value.cancel);
    io.unusualFlag("segmentationEventIdComplianceIndicator", value.eventIdCompliance, true);
    io.unusual("reserved", value.reserved, std::uint8_t{0x3F}, 0x3F);
    if (value.cancel) {
        return;
    }
    io.flag("programSegmentationFlag", value.programSegmentation);
    io.optionalObject("deliveryRestrictions", value.restrictions);
    io.unusual("reservedRestrictions", value.reservedRestrictions, std::uint8_t{0x1F}, 0x1F);
    if (!value.programSegmentation) {
        io.list("components", value.components);
    }
    io.optionalTime("segmentationDuration", value.duration90k, kTicks, kGreatestSegment);
    io.number("segmentationUpidType", value.upid.type);
    io.bytes("segmentationUpid", value.upid.bytes);
    io.name("segmentationUpidText", Io::kReads ? std::string() : upidText(value.upid));
    io.number("segmentationTypeId", value.typeId);
    io.name("segmentationTypeName", QLXSCTEOperation::SCTESegmentationDescriptorTypeNameWithByte(value.typeId));
    io.number("segmentNum", value.segmentNum);
    io.number("segmentsExpected", value.segmentsExpected);
    io.optionalObject("subSegment", value.subSegment);
}

template <class Io, class Value>
requires IsA<Value, TimeDescriptor>
void describe(Io& io, Value& value) {
    io.number("taiSeconds", value.taiSeconds, (std::uint64_t{1} << 48U) - 1);
    io.number("taiNs", value.taiNanoseconds);
    io.number("utcOffset", value.utcOffset);
}

template <class Io, class Value>
requires IsA<Value, AudioComponent>
void describe(Io& io, Value& value) {
    io.number("componentTag", value.componentTag);
    io.bytes("isoCode", value.language);
    io.number("bitStreamMode", value.bitStreamMode, 7);
    io.number("numChannels", value.numChannels, 15);
    io.flag("fullSrvcAudio", value.fullService);
}

template <class Io, class Value>
requires IsA<Value, AudioDescriptor>
void describe(Io& io, Value& value) {
    io.unusual("reserved", value.reserved, std::uint8_t{0x0F}, 0x0F);
    io.list("components", value.components);
}

template <class Io, class Value>
requires IsA<Value, SpliceDescriptor>
void describe(Io& io, Value& value) {
    std::uint8_t tag = 0;
    if constexpr (!Io::kReads) {
        tag = value.tag();
    }
    io.number("spliceDescriptorTag", tag);
    if constexpr (Io::kReads) {
        value.data = VerbatimDescriptor{tag, {}};
        if (!io.has("data")) {
            findAlternative<0>(value.data, [tag]<class Alternative>() {
                if constexpr (std::same_as<Alternative, VerbatimDescriptor>) {
                    return false;
                } else {
                    return Alternative::kTag == tag;
                }
            });
        }
    }
    std::visit([&io](auto& data) { describe(io, data); }, value.data);
    io.unusualBytes("trailing", value.trailing);
}

/// The command in an object of its own.
struct CommandData {
    SpliceCommand command;
    std::uint8_t type = 0;
};

template <class Io, class Value>
requires IsA<Value, CommandData>
void describe(Io& io, Value& value) {
    if constexpr (Io::kReads) {
        value.command = VerbatimCommand{value.type, {}};
        if (io.has("encryptedBytes")) {
            value.command = EncryptedContent{};
        } else if (!io.has("data")) {
            findAlternative<0>(value.command, [&value]<class Alternative>() {
                if constexpr (std::same_as<Alternative, VerbatimCommand> ||
                              std::same_as<Alternative, EncryptedContent>) {
                    return false;
                } else {
                    return Alternative::kCommandType == value.type;
                }
            });
        }
    }
    std::visit([&io](auto& command) { describe(io, command); }, value.command);
}

template <class Io, class Value>
requires IsA<Value, SpliceInfoSection>
void describe(Io& io, Value& value) {
    if constexpr (Io::kReads) {
        io.name("schema", {});
    }
    io.unusualFlag("sectionSyntaxIndicator", value.sectionSyntaxIndicator, false);
    io.unusualFlag("privateIndicator", value.privateIndicator, false);
    io.number("sapType", value.sapType, 3);
    io.number("protocolVersion", value.protocolVersion);
    io.number("encryptionAlgorithm", value.encryptionAlgorithm, 63);
    io.time("ptsAdjustment", value.ptsAdjustment90k, kTicks, kGreatestTicks);
    io.number("cwIndex", value.cwIndex);
    io.number("tier", value.tier, kEveryTier);
    CommandData command;
    if constexpr (Io::kReads) {
        io.number("spliceCommandType", command.type);
        io.object("spliceCommand", command);
        value.command = std::move(command.command);
    } else {
        if (const auto type = value.commandType()) {
            io.number("spliceCommandType", *type);
        }
        command.command = value.command;
        io.object("spliceCommand", command);
    }
    io.unusualBytes("commandTrailing", value.commandTrailing);
    if (!value.isEncrypted() || Io::kReads) {
        io.list("descriptors", value.descriptors);
    }
    io.unusualBytes("descriptorTrailing", value.descriptorTrailing);
    io.unusualBytes("alignmentStuffing", value.alignmentStuffing);
    io.optionalNumber("spliceCommandLength", value.statedCommandLength, kCommandLengthNotGiven);
    io.optionalNumber("crc32", value.statedCrc);
}

}  // namespace scte_json

using scte_json::JsonFieldReader;
using scte_json::JsonFieldWriter;

Dictionary jsonOf(const scte::SpliceInfoSection& section) {
    Dictionary object = JsonFieldWriter::objectOf(section);
    object.set("schema", "qlxcc/scte35/1");
    return object;
}

scte::SpliceInfoSection sectionOfJson(const Dictionary& object) {
    if (!object.contains("spliceCommand")) {
        throw ScteJsonError("no \"spliceCommand\"");
    }
    scte::SpliceInfoSection section;
    JsonFieldReader::fill(object, section);
    return section;
}

}  // namespace qlx::tool
