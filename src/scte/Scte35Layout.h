// The layouts of the commands and descriptors of ANSI/SCTE 35, each once, for reading and writing.
#pragma once

#include <qlx/scte/scte35.h>

#include "scte/FieldIo.h"

namespace qlx::scte::detail {

inline constexpr unsigned kTickBits = 33;

/// Bytes of a section up to and with section_length, which counts what follows them.
inline constexpr std::size_t kUncountedBytes = 3;
inline constexpr std::size_t kCrcBytes = 4;

template <class Io, Is<SpliceTime> Value>
void walk(Io& io, Value& value) {
    bool hasTime = value.ticks90k.has_value();
    // The flag decides how many bytes there are.
    if constexpr (Io::kReads) {
        hasTime = io.nextBit();
        if (hasTime) {
            value.ticks90k.emplace();
        }
    }
    if (hasTime) {
        constexpr std::uint8_t kUpperBit = 0x40;
        auto lowerBits = static_cast<std::uint8_t>(value.reserved & ~kUpperBit);
        io.template pack<5>(flag(hasTime), reserved(lowerBits, 6), bits(*value.ticks90k, kTickBits));
        if constexpr (Io::kReads) {
            value.reserved = static_cast<std::uint8_t>(kUpperBit | lowerBits);
        }
    } else {
        io.template pack<1>(flag(hasTime), reserved(value.reserved, 7));
    }
}

template <class Io, Is<BreakDuration> Value>
void walk(Io& io, Value& value) {
    io.template pack<5>(flag(value.autoReturn), reserved(value.reserved, 6), bits(value.ticks90k, kTickBits));
}

/// What a splice has behind its times.
template <class Io, class Value>
void walkAvail(Io& io, Value& value, bool hasDuration) {
    if (hasDuration) {
        if constexpr (Io::kReads) {
            value.breakDuration.emplace();
        }
        walk(io, *value.breakDuration);
    }
    io.number(value.uniqueProgramId);
    io.number(value.availNum);
    io.number(value.availsExpected);
}

template <class Io, Is<ScheduledSplice> Value>
void walk(Io& io, Value& value) {
    io.number(value.eventId);
    io.template pack<1>(flag(value.cancel), flag(value.eventIdCompliance), reserved(value.reserved, 6));
    if (value.cancel) {
        return;
    }
    bool hasDuration = value.breakDuration.has_value();
    io.template pack<1>(flag(value.outOfNetwork), flag(value.programSplice), flag(hasDuration),
                        reserved(value.reservedFlags, 5));
    if (value.programSplice) {
        io.number(value.gpsSeconds);
    } else {
        io.template list<std::uint8_t>(value.components, [&io](auto& component) {
            io.number(component.componentTag);
            io.number(component.gpsSeconds);
        });
    }
    walkAvail(io, value, hasDuration);
}

template <class Io, Is<SpliceSchedule> Value>
void walk(Io& io, Value& value) {
    io.template list<std::uint8_t>(value.events, [&io](auto& event) { walk(io, event); });
}

template <class Io, Is<SpliceInsert> Value>
void walk(Io& io, Value& value) {
    io.number(value.eventId);
    io.template pack<1>(flag(value.cancel), reserved(value.reserved, 7));
    if (value.cancel) {
        return;
    }
    bool hasDuration = value.breakDuration.has_value();
    io.template pack<1>(flag(value.outOfNetwork), flag(value.programSplice), flag(hasDuration), flag(value.immediate),
                        flag(value.eventIdCompliance), reserved(value.reservedFlags, 3));
    if (!value.programSplice) {
        io.template list<std::uint8_t>(value.components, [&io, &value](auto& component) {
            io.number(component.componentTag);
            if (!value.immediate) {
                walk(io, component.time);
            }
        });
    } else if (!value.immediate) {
        walk(io, value.time);
    }
    walkAvail(io, value, hasDuration);
}

template <class Io, Is<TimeSignal> Value>
void walk(Io& io, Value& value) {
    walk(io, value.time);
}

template <class Io, Is<PrivateCommand> Value>
void walk(Io& io, Value& value) {
    io.number(value.identifier);
    io.rest(value.data);
}

template <class Io, class Value>
requires Is<Value, VerbatimCommand> || Is<Value, EncryptedContent> || Is<Value, VerbatimDescriptor>
void walk(Io& io, Value& value) {
    io.rest(value.data);
}

// The descriptors, behind their identifier.

template <class Io, Is<AvailDescriptor> Value>
void walk(Io& io, Value& value) {
    io.number(value.providerAvailId);
}

template <class Io, Is<DtmfDescriptor> Value>
void walk(Io& io, Value& value) {
    std::size_t count = value.characters.size();
    io.number(value.preRollTenths);
    io.template pack<1>(bits(count, 3), reserved(value.reserved, 5));
    io.bytes(value.characters, count);
}

template <class Io, Is<SegmentationDescriptor> Value>
void walkRestrictions(Io& io, Value& value) {
    bool hasDuration = value.duration90k.has_value();
    bool isNotRestricted = !value.restrictions.has_value();
    if constexpr (Io::kReads) {
        isNotRestricted = io.nextBit(2);
        if (!isNotRestricted) {
            value.restrictions.emplace();
        }
    }
    if (isNotRestricted) {
        io.template pack<1>(flag(value.programSegmentation), flag(hasDuration), flag(isNotRestricted),
                            reserved(value.reservedRestrictions, 5));
    } else {
        auto& restrictions = *value.restrictions;
        io.template pack<1>(flag(value.programSegmentation), flag(hasDuration), flag(isNotRestricted),
                            flag(restrictions.webDeliveryAllowed), flag(restrictions.noRegionalBlackout),
                            flag(restrictions.archiveAllowed), bits(restrictions.deviceRestrictions, 2));
    }
    if (!value.programSegmentation) {
        io.template list<std::uint8_t>(value.components, [&io](auto& component) {
            io.template pack<6>(bits(component.componentTag, 8), reserved(component.reserved, 7),
                                bits(component.ptsOffset90k, kTickBits));
        });
    }
    if (hasDuration) {
        if constexpr (Io::kReads) {
            value.duration90k.emplace();
        }
        io.template pack<5>(bits(*value.duration90k, 40));
    }
}

template <class Io, Is<Upid> Value>
void walk(Io& io, Value& value) {
    io.number(value.type);
    countedBytes<std::uint8_t>(io, value.bytes);
}

template <class Io, Is<SegmentationDescriptor> Value>
void walk(Io& io, Value& value) {
    io.number(value.eventId);
    io.template pack<1>(flag(value.cancel), flag(value.eventIdCompliance), reserved(value.reserved, 6));
    if (value.cancel) {
        return;
    }
    walkRestrictions(io, value);
    walk(io, value.upid);
    io.number(value.typeId);
    io.number(value.segmentNum);
    io.number(value.segmentsExpected);
    io.ifLeft(value.subSegment, 2, [&io](auto& subSegment) {
        io.number(subSegment.number);
        io.number(subSegment.expected);
    });
}

template <class Io, Is<TimeDescriptor> Value>
void walk(Io& io, Value& value) {
    io.template pack<6>(bits(value.taiSeconds, 48));
    io.number(value.taiNanoseconds);
    io.number(value.utcOffset);
}

template <class Io, Is<AudioDescriptor> Value>
void walk(Io& io, Value& value) {
    std::size_t count = value.components.size();
    io.template pack<1>(bits(count, 4), reserved(value.reserved, 4));
    io.items(value.components, count, [&io](auto& component) {
        io.number(component.componentTag);
        io.bytes(component.language);
        io.template pack<1>(bits(component.bitStreamMode, 3), bits(component.numChannels, 4),
                            flag(component.fullService));
    });
}

inline constexpr std::size_t kDescriptorHeadBytes = 2;

/// The lengths that the header of a section has.
struct SectionLengths {
    bool isEncrypted = false;
    std::uint16_t section = 0;
    std::uint16_t command = 0;
};

/// A section up to splice_command_type.
template <class Io, Is<SpliceInfoSection> Value, Is<SectionLengths> Lengths>
void walkHeader(Io& io, Value& value, Lengths& lengths) {
    std::uint8_t tableId = kSpliceInfoTableId;
    io.number(tableId);
    io.template pack<2>(flag(value.sectionSyntaxIndicator), flag(value.privateIndicator), bits(value.sapType, 2),
                        bits(lengths.section, 12));
    io.number(value.protocolVersion);
    io.template pack<5>(flag(lengths.isEncrypted), bits(value.encryptionAlgorithm, 6),
                        bits(value.ptsAdjustment90k, kTickBits));
    io.number(value.cwIndex);
    io.template pack<3>(bits(value.tier, 12), bits(lengths.command, 12));
}

}  // namespace qlx::scte::detail
