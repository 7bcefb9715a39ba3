#include "scte/SpliceInfoSection.h"

#include "base/Bytes.h"
#include "base/MPEGCRC32.h"

#include <algorithm>
#include <array>
#include <span>

namespace qlx::scte35 {

namespace {

constexpr std::uint8_t kTableID = 0xFC;
constexpr std::uint8_t kSpliceInsertCommand = 0x05;

/// section_syntax_indicator 0, private_indicator 0, sap_type 3.
constexpr std::uint8_t kSectionFlags = 0x30;

/// Bytes up to and with section_length, which counts what follows them.
constexpr std::size_t kUncountedBytes = 3;

/// Bytes in front of the command, and those that stand between command and descriptors.
constexpr std::size_t kBytesBeforeCommand = 14;
constexpr std::size_t kLoopLengthBytes = 2;
constexpr std::size_t kCRCBytes = 4;

/// splice_event_id, the cancel indicator and, unless cancelled, flags, unique_program_id, avail_num, avails_expected.
constexpr std::size_t kCancelBytes = 5;
constexpr std::size_t kFixedInsertBytes = 10;

constexpr std::uint8_t kCancelled = 0xFF;
constexpr std::uint8_t kNotCancelled = 0x7F;

/// A splice time's or duration's five bytes: flags and reserved bits, then the low 33 bits.
std::uint8_t* writeTime(std::uint8_t* bytes, std::uint8_t flags, std::uint64_t time) noexcept {
    bytes[0] = static_cast<std::uint8_t>(flags | (time >> 32U & 1U));
    storeBig(bytes + 1, static_cast<std::uint32_t>(time));
    return bytes + 5;
}

}  // namespace

std::uint8_t* SpliceTime::write(std::uint8_t* bytes) const noexcept {
    if (timeSpecified) {
        return writeTime(bytes, 0xFE, pts);
    }
    bytes[0] = 0x7F;
    return bytes + 1;
}

std::uint8_t* BreakDuration::write(std::uint8_t* bytes) const noexcept {
    return writeTime(bytes, autoReturn ? 0xFE : 0x7E, duration);
}

bool SpliceInsert::cancels() const noexcept {
    return spliceType == 5;
}

bool SpliceInsert::isImmediate() const noexcept {
    return spliceType == 2 || spliceType == 4;
}

bool SpliceInsert::leavesNetwork() const noexcept {
    return spliceType == 1 || spliceType == 2;
}

std::size_t SpliceInsert::size() const noexcept {
    if (cancels()) {
        return kCancelBytes;
    }
    return kFixedInsertBytes + (isImmediate() ? 0 : SpliceTime{pts, true}.size()) +
           (duration == 0 ? 0 : BreakDuration::size());
}

std::uint8_t* SpliceInsert::write(std::uint8_t* bytes) const noexcept {
    storeBig(bytes, eventID);
    bytes[4] = cancels() ? kCancelled : kNotCancelled;
    if (cancels()) {
        return bytes + kCancelBytes;
    }
    // program_splice_flag and the reserved bits are always set.
    bytes[5] = static_cast<std::uint8_t>((leavesNetwork() ? 0x80U : 0U) | 0x40U | (duration != 0 ? 0x20U : 0U) |
                                         (isImmediate() ? 0x10U : 0U) | 0x0FU);
    std::uint8_t* place = bytes + 6;
    if (!isImmediate()) {
        place = SpliceTime{pts, true}.write(place);
    }
    if (duration != 0) {
        // The number of SCTE-104 as it is, not in 90 kHz ticks, and without auto_return: hosts adjust it themselves.
        place = BreakDuration{duration, false}.write(place);
    }
    storeBig(place, programUID);
    place[2] = 0;  // avail_num
    place[3] = 0;  // avails_expected
    return place + 4;
}

std::uint8_t* SegmentationDescriptor::write(std::uint8_t* bytes) const noexcept {
    constexpr std::array<std::uint8_t, 7> kIdentifierAndUpperEventID{'C', 'U', 'E', 'I', 0, 0, 0};
    // Program-wide, no duration, web delivery, no blackout, archive and every device allowed; no UPID; type 1, 0 of 0.
    constexpr std::array<std::uint8_t, 6> kContentIdentification{0x9F, 0x00, 0x00, 0x01, 0x00, 0x00};
    bytes[0] = 0x02;
    bytes[1] = static_cast<std::uint8_t>(size() - 2);
    std::uint8_t* place = std::copy(kIdentifierAndUpperEventID.begin(), kIdentifierAndUpperEventID.end(), bytes + 2);
    place[0] = eventID;
    place[1] = cancel ? kCancelled : kNotCancelled;
    place += 2;
    return cancel ? place : std::copy(kContentIdentification.begin(), kContentIdentification.end(), place);
}

Data section(const SpliceInsert& command, const SegmentationDescriptor& descriptor) {
    const std::size_t commandBytes = command.size();
    const std::size_t descriptorBytes = descriptor.size();
    const std::size_t sectionBytes =
        kBytesBeforeCommand + commandBytes + kLoopLengthBytes + descriptorBytes + kCRCBytes;
    return Data::make(sectionBytes, [&](std::uint8_t* bytes) {
        const std::size_t sectionLength = sectionBytes - kUncountedBytes;
        bytes[0] = kTableID;
        bytes[1] = static_cast<std::uint8_t>(kSectionFlags | sectionLength >> 8U);
        bytes[2] = static_cast<std::uint8_t>(sectionLength);
        // protocol_version, encryption, pts_adjustment, cw_index
        std::fill(bytes + 3, bytes + 10, std::uint8_t{0});
        // A tier of all ones reaches every receiver.
        bytes[10] = 0xFF;
        bytes[11] = static_cast<std::uint8_t>(0xF0U | commandBytes >> 8U);
        bytes[12] = static_cast<std::uint8_t>(commandBytes);
        bytes[13] = kSpliceInsertCommand;
        std::uint8_t* place = command.write(bytes + kBytesBeforeCommand);
        storeBig(place, static_cast<std::uint16_t>(descriptorBytes));
        place = descriptor.write(place + kLoopLengthBytes);
        storeBig(place, sectionCRC32(std::span<const std::uint8_t>(bytes, place)));
    });
}

}  // namespace qlx::scte35
