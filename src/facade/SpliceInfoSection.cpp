#include "facade/SpliceInfoSection.h"

#include <qlx/base/section_crc.h>

#include "base/Bytes.h"
#include "scte/Scte35Layout.h"

#include <span>

namespace qlx::scte35 {

namespace {

using scte::detail::FieldMeasure;
using scte::detail::FieldWriter;

/// Bytes up to and with section_length, which counts what follows them.
constexpr std::size_t kUncountedBytes = 3;

/// Bytes in front of the command, and those that stand between command and descriptors.
constexpr std::size_t kBytesBeforeCommand = 14;
constexpr std::size_t kLoopLengthBytes = 2;
constexpr std::size_t kCRCBytes = 4;

// The layouts are those of the core. What is put into them is what hosts expect.

/// The low 33 bits, which is what a field of time holds.
[[nodiscard]] std::uint64_t ticksOf(std::uint64_t time) noexcept {
    return time & scte::kGreatestTicks;
}

[[nodiscard]] scte::SpliceTime valueOf(const SpliceTime& time) noexcept {
    scte::SpliceTime value;
    if (time.timeSpecified) {
        value.ticks90k = ticksOf(time.pts);
    }
    return value;
}

[[nodiscard]] scte::BreakDuration valueOf(const BreakDuration& duration) noexcept {
    scte::BreakDuration value;
    value.autoReturn = duration.autoReturn;
    value.ticks90k = ticksOf(duration.duration);
    return value;
}

[[nodiscard]] scte::SpliceInsert valueOf(const SpliceInsert& insert) noexcept {
    scte::SpliceInsert value;
    value.eventId = insert.eventID;
    value.cancel = insert.spliceType == 5;
    if (value.cancel) {
        // Its reserved bits are set, as all of the standard's are.
        return value;
    }
    value.outOfNetwork = insert.spliceType == 1 || insert.spliceType == 2;
    value.immediate = insert.spliceType == 2 || insert.spliceType == 4;
    value.time = valueOf(SpliceTime{insert.pts, true});
    if (insert.duration != 0) {
        // The number of SCTE-104 as it is, not in 90 kHz ticks, and without auto_return: hosts adjust it themselves.
        value.breakDuration = valueOf(BreakDuration{insert.duration, false});
    }
    value.uniqueProgramId = insert.programUID;
    return value;
}

[[nodiscard]] scte::SegmentationDescriptor valueOf(const SegmentationDescriptor& descriptor) noexcept {
    scte::SegmentationDescriptor value;
    value.eventId = descriptor.eventID;
    value.cancel = descriptor.cancel;
    if (!value.cancel) {
        // Content identification, 0 of 0: program-wide, web delivery, no blackout, archive and every device allowed.
        value.restrictions.emplace();
        value.typeId = 0x01;
    }
    return value;
}

template <class Value>
[[nodiscard]] std::size_t sizeOf(const Value& value) noexcept {
    FieldMeasure measure;
    walk(measure, value);
    return measure.size();
}

template <class Value>
std::uint8_t* writeValue(const Value& value, std::uint8_t* bytes) noexcept {
    FieldWriter writer(bytes);
    walk(writer, value);
    return writer.next();
}

}  // namespace

std::uint8_t* SpliceTime::write(std::uint8_t* bytes) const noexcept {
    return writeValue(valueOf(*this), bytes);
}

std::uint8_t* BreakDuration::write(std::uint8_t* bytes) const noexcept {
    return writeValue(valueOf(*this), bytes);
}

std::size_t SpliceInsert::size() const noexcept {
    return sizeOf(valueOf(*this));
}

std::uint8_t* SpliceInsert::write(std::uint8_t* bytes) const noexcept {
    return writeValue(valueOf(*this), bytes);
}

std::uint8_t* SegmentationDescriptor::write(std::uint8_t* bytes) const noexcept {
    const scte::SegmentationDescriptor value = valueOf(*this);
    FieldWriter writer(bytes);
    writer.number(scte::SegmentationDescriptor::kTag);
    writer.number(static_cast<std::uint8_t>(size() - scte::detail::kDescriptorHeadBytes));
    writer.number(scte::kCueIdentifier);
    walk(writer, value);
    return writer.next();
}

Data section(const SpliceInsert& command, const SegmentationDescriptor& descriptor) {
    const scte::SpliceInsert insert = valueOf(command);
    const std::size_t commandBytes = sizeOf(insert);
    const std::size_t sectionBytes =
        kBytesBeforeCommand + commandBytes + kLoopLengthBytes + descriptor.size() + kCRCBytes;
    return Data::make(sectionBytes, [&](std::uint8_t* bytes) {
        const scte::SpliceInfoSection header;
        const scte::detail::SectionLengths lengths{false, static_cast<std::uint16_t>(sectionBytes - kUncountedBytes),
                                                   static_cast<std::uint16_t>(commandBytes)};
        FieldWriter writer(bytes);
        walkHeader(writer, header, lengths);
        writer.number(scte::SpliceInsert::kCommandType);
        walk(writer, insert);
        writer.number(static_cast<std::uint16_t>(descriptor.size()));
        std::uint8_t* const end = descriptor.write(writer.next());
        storeBig(end, sectionCRC32(std::span<const std::uint8_t>(bytes, end)));
    });
}

}  // namespace qlx::scte35
