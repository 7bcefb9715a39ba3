// Caption and ancillary data utilities: SDI rows, caption distribution packets, caption samples, captions in compressed
// video, captions across frame rates, character codes.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Deprecated.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class QLXVANCPacket;

/// The sequence counter of the caption samples that the frame-rate splitter and joiner make: its low 16 bits go into
/// each CDP, and it grows by one for each sample. Threads that split and join at the same time may repeat values.
/// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
extern QLX_EXPORT std::uint32_t gSequenceCounter;

/// Kept for clients that link it.
/// @deprecated Always 0, as nothing in the library reads or writes it: see docs/COMPATIBILITY.md.
QLX_DEPRECATED_OPERATION("Always 0: see docs/COMPATIBILITY.md")
extern QLX_EXPORT std::uint32_t gCEA708PacketCounter;

/// The caption triplets of `data` in words: "2 samples: fc942c fa0000". A length that is not a multiple of 3 gives the
/// buffer's plain description.
[[nodiscard]] QLX_EXPORT std::string descriptionForCEA708Triplets(const qlx::Data& data);

/// Class operations on rows of pixels, caption packets and caption samples. They keep no state, with the exception of
/// `gSequenceCounter`, and may be called from any thread.
class QLX_EXPORT QLXCCUtilities {
public:
    QLXCCUtilities() = delete;

    // Rows to luma bytes

    /// The bytes at even offsets of an 8-bit row: `size` / 2 bytes. These are the chroma positions of `2vuy`;
    /// deployed capture hosts look for packets there, and it is kept.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data lumaBufferFrom8BitYUVBuffer_size(const std::uint8_t* buffer, std::uint64_t size);

    /// The low 8 bits of every luma sample of a `v210` row: six bytes for each whole group of 16 bytes.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data YComponentBufferFrom10BitBuffer(const qlx::Data& buffer);

    // Packets into rows

    /// Writes one packet, given as a data buffer whose third byte is its own length (a caption distribution packet),
    /// into the luma of a `v210` row: flag, DID, SDID, byte 2 as data count, all `size` bytes, checksum. The chroma
    /// beside a written middle sample is exchanged, as deployed writers do. Fewer than 6 bytes write nothing.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param data The user data; null only with size 0.
    /// @param size Its bytes, all of which are written.
    /// @param did, sdid Identifiers without parity bits.
    /// @param destination The row, changed in place, at any address; the caller vouches that it is long enough: the
    ///   `size` + 7 luma samples, rounded up to a whole 32-bit word of the row.
    static void fillYComponentIn10BitBuffer_withVANCDataBuffer_size_did_sdid(std::uint8_t* destination,
                                                                             const std::uint8_t* data,
                                                                             std::uint64_t size, std::uint8_t did,
                                                                             std::uint8_t sdid);

    /// Writes the packets of `lineNumber`, in their order, into the luma of a `v210` row, each beginning at the word
    /// behind the last one's checksum (SMPTE ST 291-1 words with parity and checksum). That word is one of the chroma
    /// where the data count before is a multiple of 3.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param destination The row, changed in place, at any address.
    /// @param packets Those of another line, and null entries, are passed over.
    /// @param destinationBufferSize Bytes of the row: no word behind them is written. 0: the caller vouches for the
    ///   row.
    /// @param lineNumber Widened with its sign and compared with each packet's line.
    static void fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        std::uint8_t* destination, const std::vector<std::shared_ptr<QLXVANCPacket>>& packets,
        std::uint64_t destinationBufferSize, std::int32_t lineNumber);

    /// Writes the packets of `lineNumber` into the luma (odd bytes) of a `2vuy` row: flag, DID, SDID, DC and data, no
    /// checksum. Every packet begins at byte 1, so the last one overwrites the others, as deployed readers expect.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param destination The row, changed in place, at any address.
    /// @param packets Those of another line, and null entries, are passed over.
    /// @param lineNumber Widened with its sign and compared with each packet's line.
    /// @param destinationBufferSize Data byte k is written while 11 + 2k is not greater; the last may therefore land at
    ///   offset `destinationBufferSize` + 2. The row needs that much slack, and at least 12 bytes in any case.
    static void fillYComponentIn8BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        std::uint8_t* destination, const std::vector<std::shared_ptr<QLXVANCPacket>>& packets,
        std::uint64_t destinationBufferSize, std::int32_t lineNumber);

    // Caption distribution packets (CDP, SMPTE ST 334-2). A frame duration's value and timescale alone count.

    /// The cdp_frame_rate code of a frame duration: 1 (23.976) to 8 (60); 0 for any other rate.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::uint8_t cdpFrameRateForFrameDuration(const qlx::MediaTime& frameDuration) noexcept;

    /// Triplets of a CDP at that frame duration: 600 / frames per second, truncated, its low 8 bits; 0 for a value or
    /// timescale of 0 or a negative quotient.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::uint8_t ccCountForFrameDuration(const qlx::MediaTime& frameDuration) noexcept;

    /// The frame-rate code of a triplet count, coarser than the above as deployed hosts expect: 1 (23.976) for 25
    /// triplets, 7 (59.94) for 10, 4 (29.97) for any other count.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::uint8_t cdpFrameRateForCCCount(std::uint8_t ccCount) noexcept;

    /// Bytes of a CEA-708 caption sample at that frame duration: 3 a triplet and 37.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::int32_t closedCaptionMaxSampleSizeForFrameDuration(
        const qlx::MediaTime& frameDuration) noexcept;

    /// A `clcp`/`c708` sample: an atom header and a CDP with the payload `cea608Data`.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    /// @param timingInfo The sample's one timing entry.
    /// @param frameDuration Fixes cdp_frame_rate and cc_count.
    /// @param sequenceCounter cdp_hdr_sequence_cntr.
    /// @param cea608Data None or empty: padding only. 2 or 4 bytes: one or two field-1 pairs. 3 bytes, or another
    ///   multiple of 3: ready triplets, each followed by an empty field-2 one. Any other length: an empty field-1
    ///   triplet.
    /// @return Null when the platform refuses a media object.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_cea608Data(
        const qlx::SampleTimingInfo& timingInfo, const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter,
        const qlx::Data& cea608Data);

    /// The triplets of a CDP without a time code section: 3 bytes each. Empty when the data are no CDP or hold fewer
    /// triplets than they say. Length byte and checksum are not verified.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data extractCEA708TripletDataFromCCData(const qlx::Data& ccData);

    /// Sorts the triplets from `offset` on by kind. The walk stops `offset` bytes before the end, as hosts expect, and
    /// never goes over the data twice.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    /// @param data A CDP, or triplets behind a header of `offset` bytes.
    /// @param offset Bytes in front of the first triplet; 9 in a CDP. Behind the end: everything is empty.
    /// @param cc1Data Written, may be null: the field-1 pairs.
    /// @param cc2Data Written, may be null: the field-2 pairs.
    /// @return The DTVCC triplets.
    [[nodiscard]] static qlx::Data extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(const qlx::Data& data,
                                                                                             std::uint64_t offset,
                                                                                             qlx::Data* cc1Data,
                                                                                             qlx::Data* cc2Data);

    // Caption samples

    /// A `clcp`/`c608` sample of the null pair 80 80. The counter is not used.
    /// Departs from the QuickTime File Format: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createEmptyCEA608SampleBufferWithPTS_frameDuration_sequenceCounter(const qlx::MediaTime& pts,
                                                                       const qlx::MediaTime& frameDuration,
                                                                       std::uint16_t sequenceCounter);

    /// A `clcp`/`c708` sample whose CDP holds padding only.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createEmptyCEA708SampleBufferWithPTS_frameDuration_sequenceCounter(const qlx::MediaTime& pts,
                                                                       const qlx::MediaTime& frameDuration,
                                                                       std::uint16_t sequenceCounter);

    /// A `clcp`/`c708` sample of the packet's data (modulo 256 bytes) followed by 8 zero bytes, without an atom
    /// header: deployed hosts read it so. Null for a duration of 0 or a frame duration without triplets. The counter
    /// is not used.
    /// Departs from the QuickTime File Format: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_VANCPacket(
        const qlx::SampleTimingInfo& timingInfo, const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter,
        const std::shared_ptr<QLXVANCPacket>& packet);

    /// The sample itself.
    /// @deprecated Always gives its input: see docs/COMPATIBILITY.md.
    QLX_DEPRECATED_OPERATION("Always gives its input: see docs/COMPATIBILITY.md")
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer> conformSampleBufferToCEA608_frameDuration(
        const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer, const qlx::MediaTime& frameDuration);

    /// A `c608` sample as a `c708` one (counter 0), null when its timing cannot be read; any other sample itself.
    /// Departs from the QuickTime File Format: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer> conformSampleBufferToCEA708_frameDuration(
        const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer, const qlx::MediaTime& frameDuration);

    /// The first caption or OP-47 packet of SDI lines as a sample: `clcp`/`c708` or `sbtl`/`op47`; null without one.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param data The first line; nothing behind `size` bytes is read.
    /// @param size Bytes in `data`.
    /// @param bytesPerRow Bytes from one line to the next; 0, or more than `size`, gives null.
    /// @param bufferFormat `v210` or `2vuy`.
    /// @param timingInfo The sample's one timing entry.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createCEA708SampleBufferFromDataBuffer_size_bytesPerRow_bufferFormat_timingInfo(
        const std::uint8_t* data, std::uint64_t size, std::uint64_t bytesPerRow, std::uint32_t bufferFormat,
        const qlx::SampleTimingInfo& timingInfo);

    /// The same over a byte buffer.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createCEA708SampleBufferFromData_bytesPerRow_bufferFormat_timingInfo(const qlx::Data& data,
                                                                         std::uint64_t bytesPerRow,
                                                                         std::uint32_t bufferFormat,
                                                                         const qlx::SampleTimingInfo& timingInfo);

    /// Null, whatever the packet.
    /// @deprecated Always gives null: see docs/COMPATIBILITY.md.
    QLX_DEPRECATED_OPERATION("Always gives null: see docs/COMPATIBILITY.md")
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer> createCCSampleBufferFromVANCPacket_timingInfo(
        const std::shared_ptr<QLXVANCPacket>& packet, const qlx::SampleTimingInfo& timingInfo);

    // OP-47 teletext (SMPTE RDD 8)

    /// The first OP-47 packet (DID 0x43, SDID 0x02) of SDI lines; none without one.
    ///
    /// From `v210` lines: 19 + DC bytes, laid out as an MXF ANC data element (SMPTE ST 436-1) of count 2, with the line
    /// number, DID, SDID, DC and the user data words; its other fields are 0. As deployed hosts expect, the user data
    /// words are taken from word 4 of the row, also when other packets stand in front of this one.
    ///
    /// From `2vuy` lines: the user data words alone, the subtitling data packet. As deployed hosts expect, the chroma
    /// byte in front of the flag gives the size of the result, and the packet's third user data word the number of
    /// bytes that are copied into it; the rest is 0. A row without a flag is left at once, and the search goes on at
    /// the same offset of the next one.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param buffer The first line, null gives none; nothing behind `size` bytes is read, they count as 0.
    /// @param size At least 12 (`v210`) or 18 (`2vuy`), else none.
    /// @param bufferFormat `v210` or `2vuy`; any other gives none.
    /// @param bytesPerRow Bytes from one line to the next; 0, or more than `size`, gives none.
    /// @param lineNumber Written into the element of `v210` lines: the low byte of its quotient by 256, and its own.
    [[nodiscard]] static qlx::Data op47PacketFromBuffer_size_bufferFormat_bytesPerRow_lineNumber(
        const std::uint8_t* buffer, std::uint64_t size, std::uint32_t bufferFormat, std::uint64_t bytesPerRow,
        std::int32_t lineNumber);

    /// An `sbtl`/`op47` sample of the buffers' bytes, one behind the other.
    /// @param dataBuffers Subtitling data packets in their order; one that is none adds nothing.
    /// @param timingInfo The sample's timing record, as it is.
    /// @return Null when there is no byte or the platform refuses a media object; when it refuses the sample itself, a
    ///   message with its status is printed on standard output (a sample that comes along all the same is given).
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer> createOP47SampleBufferFromDataBuffers_timingInfo(
        const std::vector<qlx::Data>& dataBuffers, const qlx::SampleTimingInfo& timingInfo);

    // Captions in compressed video (ATSC A/53 Part 4). Triplets as they stand in the stream, or none.

    /// From one H.264 access unit: Annex B when it begins with 00 00 00 01 and has at least 5 bytes, else
    /// length-prefixed.
    /// Departs from ATSC A/53: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data extractCCDataFromH264Packet(const qlx::Data& packet);
    /// From one access unit in Annex B form. Emulation prevention bytes are not removed.
    /// Departs from ATSC A/53: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data extractCCDataFromAnnexBH264Packet(const qlx::Data& packet);
    /// From NAL units each behind a 4-byte big-endian length. A unit that ends with the buffer is not searched, as
    /// deployed hosts expect.
    /// Departs from ATSC A/53: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data extractCCDataFromAVCCH264Packet(const qlx::Data& packet);
    /// From MPEG-2 video data. The presentation time is not used.
    /// Departs from ATSC A/53: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data extractCCDataFromMPEG2Packet_pts(const qlx::Data& packet, const qlx::MediaTime& pts);
    /// The A/53 cc_data structure (type code, flags, em_data, triplets, marker) of a CDP's triplets; none without any.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data a53CCDataFromCCData(const qlx::Data& ccData);

    // Captions across frame rates: one sample to two at the double rate, and back

    /// Spreads triplets over two frames: field 1 and at most `ccCount` - 1 DTVCC triplets to the first, field 2 and
    /// the rest to the second, each padded to `ccCount` triplets. As deployed hosts expect, the length of the field-1
    /// buffer decides how many field-2 pairs are taken. Nothing happens when an out-argument is null.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    static void splitCEA708PacketData_withCC1Data_andCC2Data_toPacketData1_andPacketData2_CCCount(
        const qlx::Data& packetData, const qlx::Data& cc1Data, const qlx::Data& cc2Data, qlx::Data* packetData1,
        qlx::Data* packetData2, std::uint8_t ccCount);

    /// Joins the triplets of two frames, padded to `ccCount` triplets and never cut; none when a triplet buffer is
    /// none.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data concatenatedCEA708PacketDataFromData_andData_withCC1Data_andCC2Data_CCCount(
        const qlx::Data& first, const qlx::Data& second, const qlx::Data& cc1Data, const qlx::Data& cc2Data,
        std::uint8_t ccCount);

    /// Splits a caption sample, or a `meta`/`VANC` sample with caption packets, into two.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    /// @param sampleBuffer The input; it is not changed.
    /// @param first Written: the first sample, or the input itself when a `VANC` sample holds no caption packet. Left
    ///   untouched by a payload of another kind.
    /// @param second Written: the second sample; null beside the input itself. Left untouched by a single byte pair
    ///   and by a payload of another kind.
    /// @param frameDuration The output frame duration.
    /// @return False when an argument is null or the sample has no caption payload.
    static bool splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(
        const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer, std::shared_ptr<qlx::SampleBuffer>* first,
        std::shared_ptr<qlx::SampleBuffer>* second, const qlx::MediaTime& frameDuration);

    /// Joins two caption samples (two CDPs, or two samples of one byte pair); null for anything else.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    /// @param first The earlier sample.
    /// @param second The later sample.
    /// @param frameDuration The output frame duration; the presentation time is the first sample's.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(
        const std::shared_ptr<qlx::SampleBuffer>& first, const std::shared_ptr<qlx::SampleBuffer>& second,
        const qlx::MediaTime& frameDuration);

    /// The payload of a caption sample: a CDP (`c708`), byte pairs (`clcp`, any other subtype) or an MXF ANC data
    /// element (`meta`/`VANC`); none for anything else.
    /// Departs from the QuickTime File Format: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data extractCaptionsDataFromSampleBuffer(
        const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer);

    /// A `clcp`/`c708` sample of ready triplets, neither padded nor cut to the rate. Fewer than 18 bytes (a multiple
    /// of 3) go through the `cea608Data` form. Null for a duration of 0 or a frame duration without triplets.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer>
    createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_a53Data(
        const qlx::SampleTimingInfo& timingInfo, const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter,
        const qlx::Data& a53Data);

    // Characters: the UTF-8 bytes of a character code, empty when the set has none

    /// CEA-608 basic characters, any code: ten stand for other characters, every other is the byte itself.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith608ASCIICharacter(std::uint8_t code);
    /// CEA-608 special characters, by the second byte of the pair: 0x30 to 0x3F.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith608SpecialCharacter(std::uint8_t code);
    /// CEA-608 extended characters, Spanish and French, by the second byte of the pair: 0x20 to 0x3F.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith608ExtSpanishFrenchCharacter(std::uint8_t code);
    /// CEA-608 extended characters, Portuguese, German and Danish, by the second byte of the pair: 0x20 to 0x3B.
    /// Departs from CTA-608: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith608ExtPortugueseGermanDanishCharacter(std::uint8_t code);
    /// CEA-708 G0: 0x20 to 0x7F.
    /// Departs from CTA-708: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith708G0Character(std::uint8_t code);
    /// CEA-708 G1: 0xA0 to 0xFF.
    /// Departs from CTA-708: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith708G1Character(std::uint8_t code);
    /// CEA-708 G2: the codes that have a character.
    /// Departs from CTA-708: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith708G2Character(std::uint8_t code);
    /// CEA-708 G3: 0xA0, the caption icon.
    /// Departs from CTA-708: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data dataWith708G3Character(std::uint8_t code);
};
