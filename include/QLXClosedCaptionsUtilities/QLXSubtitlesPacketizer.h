// Turns a list of subtitles into the ancillary data of each frame.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Guarded.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

class QLXSubtitleRecord;
class QLXSubtitleTextLine;
class QLXVANCPacket;

namespace qlx::facade {
class PacketizerFrames;
}

/// Plays a timeline of subtitles frame by frame: called once a frame with its presentation time, it gives the sample to
/// attach to that frame. Mode 1 makes CEA-608 pop-on captions in CDPs (CTA-608, SMPTE ST 334-2), mode 2 OP-47 teletext
/// packets (SMPTE RDD 8, ETSI EN 300 706) for both fields.
///
/// Records may be added or replaced from any thread while frames are being made; frames are asked for by one thread at
/// a time. A host that starts again from the beginning makes a new packetizer.
class QLX_EXPORT QLXSubtitlesPacketizer {
public:
    QLXSubtitlesPacketizer(const QLXSubtitlesPacketizer&) = delete;
    QLXSubtitlesPacketizer& operator=(const QLXSubtitlesPacketizer&) = delete;
    ~QLXSubtitlesPacketizer();

    /// A packetizer without records.
    /// @param subtitleMode 1: CEA-608 captions, 2: OP-47 teletext; any other mode gives no output.
    /// @param isHD OP-47 packets go to lines 12 and 575 (true) or 21 and 334 (false).
    [[nodiscard]] static std::shared_ptr<QLXSubtitlesPacketizer> initWithSubtitleMode_isHD(std::int32_t subtitleMode,
                                                                                           bool isHD);

    // The timeline. None of these operations changes the position in it or output that is pending.

    /// A copy of the list, sorted by start time.
    [[nodiscard]] std::vector<std::shared_ptr<QLXSubtitleRecord>> subtitleRecords() const;
    /// Replaces the list. Null entries are left out.
    void setSubtitleRecords(const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records);
    /// Adds to the list, which is then sorted by start time; equal starts keep the order in which they were added.
    /// Records that come in order, one at a time, do not make the list be sorted again.
    void addSubtitleRecords(const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records);
    /// Empties the list.
    void deleteSubtitleRecords();
    /// The record at the 0-based `index`, or null behind the end.
    [[nodiscard]] std::shared_ptr<QLXSubtitleRecord> subtitleAtIndex(std::uint64_t index) const;
    /// The record due at `seconds`, or null in a gap. Moves at most one record on a call and never back. The first
    /// record is due from the beginning, whatever its start; a later one from the frame after its start.
    /// See docs/COMPATIBILITY.md.
    [[nodiscard]] std::shared_ptr<QLXSubtitleRecord> subtitleForTime(double seconds);

    // Properties

    /// When set, it is shown in place of the timeline, which then stands still.
    [[nodiscard]] std::shared_ptr<QLXSubtitleRecord> liveSubtitleRecordToDisplay() const {
        return _guard.load(_liveSubtitleRecordToDisplay);
    }
    /// Sets liveSubtitleRecordToDisplay().
    void setLiveSubtitleRecordToDisplay(std::shared_ptr<QLXSubtitleRecord> value) {
        _guard.store(_liveSubtitleRecordToDisplay, std::move(value));
    }

    /// The record (or none) whose output was last started.
    [[nodiscard]] std::shared_ptr<QLXSubtitleRecord> lastSubtitleRecord() const {
        return _guard.load(_lastSubtitleRecord);
    }
    /// Sets lastSubtitleRecord().
    void setLastSubtitleRecord(std::shared_ptr<QLXSubtitleRecord> value) {
        _guard.store(_lastSubtitleRecord, std::move(value));
    }

    /// Set by every teletext frame.
    [[nodiscard]] bool isSubtitleDisplayed() const noexcept {
        return _isSubtitleDisplayed.load(std::memory_order_relaxed);
    }
    /// Sets isSubtitleDisplayed().
    void setIsSubtitleDisplayed(bool value) noexcept { _isSubtitleDisplayed.store(value, std::memory_order_relaxed); }

    /// 1 CEA-608, 2 OP-47 teletext; a change takes effect with the next frame.
    [[nodiscard]] std::int32_t subtitleMode() const noexcept { return _subtitleMode.load(std::memory_order_relaxed); }
    /// Sets subtitleMode().
    void setSubtitleMode(std::int32_t value) noexcept { _subtitleMode.store(value, std::memory_order_relaxed); }

    /// Selects the video lines of OP-47 packets; a change takes effect with the next frame.
    [[nodiscard]] bool isHD() const noexcept { return _isHD.load(std::memory_order_relaxed); }
    /// Sets isHD().
    void setIsHD(bool value) noexcept { _isHD.store(value, std::memory_order_relaxed); }

    // Frames

    /// The sample for the frame at `pts`, by mode; null when there is nothing to send or the mode gives no output.
    /// Departs from CTA-608 and SMPTE RDD 8: see docs/COMPATIBILITY.md.
    /// @param pts Presentation time; also the sample's.
    /// @param frameDuration The sample's duration.
    [[nodiscard]] std::shared_ptr<qlx::SampleBuffer> copyNextSubtitleSampleBufferAtPTS_frameDuration(
        const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration);

    /// The `meta`/`VANC` sample with the OP-47 packets of both fields, field 1 first. Null only when a media object
    /// cannot be made.
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] std::shared_ptr<qlx::SampleBuffer> copyNextTeletextSampleBufferAtPTS_frameDuration(
        const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration);

    /// The `clcp`/`c708` sample with the frame's byte pair of a pop-on caption in field 1 (CTA-608); null when there is
    /// nothing to send, or when a media object cannot be made. A caption of n bytes takes n / 2 frames; a record that
    /// becomes due meanwhile waits.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] std::shared_ptr<qlx::SampleBuffer> copyNextCEA608SampleBufferAtPTS_frameDuration(
        const qlx::MediaTime& pts, const qlx::MediaTime& frameDuration);

    // CEA-608 captions

    /// The bytes of a record's caption, parity included: rows 12 and 13 from the first two lines, at column 0, in
    /// white. Null, or a record without lines, gives the caption that clears the screen.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data cea608PageDataWithSubtitleRecord(const std::shared_ptr<QLXSubtitleRecord>& record);

    /// The characters of a line (UTF-8) with parity, at most 31 of them, padded to an even length.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data cea608DataWithText(std::string_view text);

    /// The code of a Unicode character without parity: high byte 0 for one of the basic set, a space for one that
    /// CEA-608 does not hold.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    /// @param character The code point.
    /// @param highByte, lowByte Written; either may be null.
    static void cea608BytesWithUTF32Character_highByte_lowByte(std::uint32_t character, std::uint8_t* highByte,
                                                               std::uint8_t* lowByte) noexcept;

    /// Bits 0 to 6 of `byte`, with bit 7 set when the number of ones among its eight bits is even.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::uint8_t addOddParity(std::uint8_t byte) noexcept;

    // Subtitling data packets (SDP) of 148 bytes, for one field each. A footer takes the packetizer's running counter.

    /// Page header and two filling packets.
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data pageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
        std::uint8_t pageTens, std::uint8_t pageUnits, std::uint8_t packetAddress, std::uint8_t firstLineNumber,
        bool oddField, bool erasePage);

    /// Two filling packets and a page header. The descriptors are always for line 10: `firstLineNumber` is not used.
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data
    fillerAndPageHeaderPacketForPageTens_pageUnits_packetAddress_firstLineNumber_oddField_erasePage(
        std::uint8_t pageTens, std::uint8_t pageUnits, std::uint8_t packetAddress, std::uint8_t firstLineNumber,
        bool oddField, bool erasePage);

    /// One row packet for each of the first three lines, then filling packets. The descriptors start at the first
    /// line's row, or at line 0 without lines. Null entries are passed over.
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data linesPacketWithLines_oddField(
        const std::vector<std::shared_ptr<QLXSubtitleTextLine>>& lines, bool oddField);

    /// An optional SDP header (lines 10 to 12), one filling packet, and optionally footer and checksum: 45 to 58 bytes.
    /// Called with (header), (neither) and (footer) in this order it makes one whole SDP that sums to 0: the checksum
    /// of a call without header counts the header and the two filling packets that precede it.
    /// Departs from SMPTE RDD 8 when called otherwise: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data teletextFillingHeaderForOddField_beginWithPacketHeader_endWithPacketFooter(
        bool oddField, bool beginWithPacketHeader, bool endWithPacketFooter);

    /// The 42 bytes of a row packet behind its run-in: address and 40 bytes of data. The text, as ISO 8859-1 (what that
    /// lacks becomes a plain neighbour or '?'), is cut to 34 characters and sent in the French national option subset.
    /// None for a null line: a row without a place must not be taken for a page header.
    /// Departs from ETSI EN 300 706: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data teletextLineDataWithSubtitleLine(const std::shared_ptr<QLXSubtitleTextLine>& line) const;

    /// Appends the footer with the running counter (then increased) and the checksum over all of `packet`.
    void appendFooterWithChecksumToPacket(std::vector<std::uint8_t>& packet);

    /// The 7-bit teletext code of an ISO 8859-1 character in the French national option subset (ETSI EN 300 706).
    /// Departs from ETSI EN 300 706: see docs/COMPATIBILITY.md.
    [[nodiscard]] std::uint8_t convertedFrenchCharacter(std::uint8_t character) const noexcept;

    // Test packets for line tests: the SDP header for line 10 of the odd field with the length byte 0x3A, and a single
    // teletext packet; 54 bytes without footer and checksum.

    /// The erasing page header of page 888.
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data op47TestHeaderPacket() const;
    /// A centred white subtitle on row 20: "OP-47 TEST".
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data op47TestSubtitlePacket() const;
    /// A filling packet.
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] qlx::Data op47TestFillingPacket() const;

    // Teletext coding

    /// Magazine (0 stands for 8) and packet address, Hamming 8/4 coded: 2 bytes.
    /// Departs from ETSI EN 300 706: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWithMagazine_packetAddress(std::uint8_t magazine, std::uint8_t packetAddress);
    /// Page tens, then page units, Hamming 8/4 coded: 2 bytes.
    /// Departs from ETSI EN 300 706: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWithPageNumberUnits_pageNumberTens(std::uint8_t units, std::uint8_t tens);
    /// The 6 control bytes of a page header: subcode 0, subtitle, header suppressed, French subset, erase page if
    /// asked.
    /// Departs from ETSI EN 300 706: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data pageHeaderDataWithErasePage(bool erasePage);
    /// 0x86 followed by spaces, `length` bytes in all.
    [[nodiscard]] static qlx::Data fillerDataWithLength(std::uint64_t length);
    /// Run-in and framing code: 55 55 27.
    [[nodiscard]] static qlx::Data runInAndFramingCode();
    /// The 9-byte SDP header with three descriptors from `firstLineNumber` on. The count is not used: a packet of this
    /// system always has three descriptors and the length 0x94.
    /// Departs from SMPTE RDD 8: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data packetHeaderDataWithPacketsCount_firstLineNumber_oddField(
        std::uint64_t packetsCount, std::uint8_t firstLineNumber, bool oddField);
    /// The 3-byte SDP footer.
    [[nodiscard]] static qlx::Data footerDataWithPacketCount(std::uint16_t packetCount);
    /// Appends the byte that makes the sum of all bytes 0 modulo 256.
    static void appendChecksumToMutableData(std::vector<std::uint8_t>& data);
    /// Hamming 8/4 code of the low 4 bits.
    [[nodiscard]] static std::uint8_t hamming84ForByte(std::uint8_t byte) noexcept;
    /// Codes a triplet in place with Hamming 24/18: the 18 data bits are the low 18 bits of the three bytes read
    /// little-endian; the 24 coded bits are left in transmission order, first bit lowest. Null is passed over.
    static void hamming2418ForTriplet(std::uint8_t* triplet) noexcept;
    /// The low 7 bits with bit 7 set where needed to make the number of ones odd.
    [[nodiscard]] static std::uint8_t byteWithParity(std::uint8_t byte) noexcept;
    /// VBI packet descriptor: bit 7 odd (first) field, bits 0 to 4 the line number.
    [[nodiscard]] static std::uint8_t vbiPacketDescriptorWithLine_oddField(std::uint8_t line, bool oddField) noexcept;

private:
    friend class qlx::facade::PacketizerFrames;

    QLXSubtitlesPacketizer(std::int32_t subtitleMode, bool isHD) noexcept;

    /// One field's block each; none where there is nothing to send.
    struct FieldBlocks {
        qlx::Data field1;
        qlx::Data field2;
    };
    [[nodiscard]] std::uint16_t takePacketCounter() noexcept;
    [[nodiscard]] FieldBlocks takeQueuedBlocks();
    static void enterList(const std::vector<std::shared_ptr<QLXSubtitleRecord>>& records);
    /// Of both fields, field 1 first.
    [[nodiscard]] std::vector<std::shared_ptr<QLXVANCPacket>> nextTeletextPackets(const qlx::MediaTime& pts);
    /// None when there is nothing to send.
    [[nodiscard]] qlx::Data nextCaptionPair(const qlx::MediaTime& pts);
    [[nodiscard]] qlx::Data startTeletextOutput(const std::shared_ptr<QLXSubtitleRecord>& subtitle);

    /// Lets one thread at a time change or copy the list; taken before the other, and never by a frame.
    mutable std::mutex _changesMutex;
    /// Guards the list and the position in it; held for a look or a swap, so that a frame never waits for a sort.
    mutable std::mutex _recordsMutex;
    std::vector<std::shared_ptr<QLXSubtitleRecord>> _subtitleRecords;
    std::uint64_t _sortedAtTimeChange = 0;  ///< With this count of changed start times the list was put in order.
    std::shared_ptr<QLXSubtitleRecord> _liveSubtitleRecordToDisplay;
    std::uint64_t _currentSubtitleRecordIndex = 0;
    std::shared_ptr<QLXSubtitleRecord> _lastSubtitleRecord;
    std::atomic<bool> _isSubtitleDisplayed{false};
    std::atomic<std::uint16_t> _packetCounter{0};
    std::atomic<std::int32_t> _subtitleMode;
    std::atomic<bool> _isHD;
    std::mutex _queuesMutex;  ///< Guards both queues.
    std::vector<qlx::Data> _field1PacketsToSend;
    std::vector<qlx::Data> _field2PacketsToSend;
    std::mutex _captionMutex;  ///< Guards the caption that is being sent.
    qlx::Data _cea608DataToSend;
    std::uint64_t _cea608DataOffset = 0;
    qlx::Guarded _guard;
};
