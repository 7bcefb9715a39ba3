// The SMPTE ST 291-1 ancillary packet record and the operations that find, make and carry such packets.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Deprecated.h>
#include <QLXClosedCaptionsUtilities/platform/Guarded.h>
#include <QLXClosedCaptionsUtilities/platform/MediaObjects.h>
#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// What kind of packet a packet is. Clients store these numbers; a property may hold any number.
using QLXVANCPacketType = std::uint64_t;

inline constexpr QLXVANCPacketType QLXVANCPacketTypeUnknown = 0;          ///< Any other DID/SDID pair.
inline constexpr QLXVANCPacketType QLXVANCPacketTypeCEA608 = 1;           ///< DID 0x61, SDID 0x02 (SMPTE ST 334-1).
inline constexpr QLXVANCPacketType QLXVANCPacketTypeCEA708 = 2;           ///< DID 0x61, SDID 0x01 (SMPTE ST 334-1).
inline constexpr QLXVANCPacketType QLXVANCPacketTypeOP47 = 3;             ///< DID 0x43, SDID 0x02 (SMPTE RDD 8).
inline constexpr QLXVANCPacketType QLXVANCPacketTypeSCTE104 = 4;          ///< DID 0x41, SDID 0x07 (SMPTE ST 2010).
inline constexpr QLXVANCPacketType QLXVANCPacketTypeArriMetadata = 5;     ///< DID 0x44, SDID 0x04.
inline constexpr QLXVANCPacketType QLXVANCPacketTypeCameraStartStop = 6;  ///< DID 0x52, SDID 0x4D.
inline constexpr QLXVANCPacketType QLXVANCPacketTypeTimecode = 7;         ///< DID 0x60, SDID 0x60 (SMPTE ST 12-2).
inline constexpr QLXVANCPacketType QLXVANCPacketTypeAFDBarData = 8;       ///< DID 0x41, SDID 0x05 (SMPTE ST 2016-3).
inline constexpr QLXVANCPacketType QLXVANCPacketTypeSonyMetadata = 9;     ///< DID 0xF4, SDID 0x68.
inline constexpr QLXVANCPacketType QLXVANCPacketTypeAppleMetadata = 10;   ///< DID 0x50, SDID 0x02.

/// An ancillary packet reduced to its identifiers, its user data words as bytes, and the line that carries it.
///
/// Packets have identity and are changed in place; they are held by shared pointer and made with `std::make_shared`.
/// Every property is read and written whole, from any thread; two properties written by one thread may be seen apart
/// by another. Class operations keep no state and may be called from any thread.
class QLX_EXPORT QLXVANCPacket {
public:
    /// Line 0, no data, type Unknown, DID and SDID 0, all times invalid, vertical space, not to be dropped.
    QLXVANCPacket() noexcept = default;
    QLXVANCPacket(const QLXVANCPacket&) = delete;
    QLXVANCPacket& operator=(const QLXVANCPacket&) = delete;

    // Properties

    /// The video line that carries the packet, as its producer states it (a 1-based SDI line, or a 0-based row index).
    [[nodiscard]] std::uint64_t lineNumber() const noexcept { return _lineNumber.load(std::memory_order_relaxed); }
    /// Sets lineNumber().
    void setLineNumber(std::uint64_t value) noexcept { _lineNumber.store(value, std::memory_order_relaxed); }

    /// The user data words (UDW), one byte each (bits b0 to b7); its size is the data count. DID, SDID, DC, parity
    /// bits and checksum are not in it. None when nothing was set.
    [[nodiscard]] qlx::Data packetData() const { return _guard.load(_packetData); }
    /// Sets packetData().
    void setPacketData(qlx::Data value) { _guard.store(_packetData, std::move(value)); }

    /// What kind of packet this is. Never derived by the setters of DID and SDID: whoever fills those sets it too.
    [[nodiscard]] QLXVANCPacketType packetType() const noexcept { return _packetType.load(std::memory_order_relaxed); }
    /// Sets packetType().
    void setPacketType(QLXVANCPacketType value) noexcept { _packetType.store(value, std::memory_order_relaxed); }

    /// The packet's timing in a media timeline; carried for clients.
    [[nodiscard]] qlx::SampleTimingInfo timingInfo() const { return _guard.load(_timingInfo); }
    /// Sets timingInfo().
    void setTimingInfo(const qlx::SampleTimingInfo& value) { _guard.store(_timingInfo, value); }

    /// Data identifier (DID), 0 to 255, without parity bits.
    [[nodiscard]] std::uint64_t packetDID() const noexcept { return _packetDID.load(std::memory_order_relaxed); }
    /// Sets packetDID().
    void setPacketDID(std::uint64_t value) noexcept { _packetDID.store(value, std::memory_order_relaxed); }

    /// Secondary data identifier (SDID), 0 to 255, without parity bits.
    [[nodiscard]] std::uint64_t packetSDID() const noexcept { return _packetSDID.load(std::memory_order_relaxed); }
    /// Sets packetSDID().
    void setPacketSDID(std::uint64_t value) noexcept { _packetSDID.store(value, std::memory_order_relaxed); }

    /// The packet belongs in horizontal rather than vertical ancillary space; carried for clients.
    [[nodiscard]] bool inHANCSpace() const noexcept { return _inHANCSpace.load(std::memory_order_relaxed); }
    /// Sets inHANCSpace().
    void setInHANCSpace(bool value) noexcept { _inHANCSpace.store(value, std::memory_order_relaxed); }

    /// A consumer under load may drop the packet; carried for clients.
    [[nodiscard]] bool canBeDropped() const noexcept { return _canBeDropped.load(std::memory_order_relaxed); }
    /// Sets canBeDropped().
    void setCanBeDropped(bool value) noexcept { _canBeDropped.store(value, std::memory_order_relaxed); }

    // Text form and encoding

    /// One readable line: `61.01 (CEA708) Packet (line 9) <...>` with DID and SDID in hexadecimal and the data bytes.
    /// For Apple Metadata the UTF-8 text behind the 8-byte header stands in place of the bytes, "(no text)" when the
    /// data have fewer than 10 bytes, "(null)" when the text is not UTF-8.
    [[nodiscard]] std::string description() const;

    /// The data as parity-coded 10-bit ANC words (SMPTE ST 291-1), each stored in two bytes, low byte first; without
    /// DID, SDID, DC, flag and checksum. No data give an empty buffer.
    [[nodiscard]] qlx::Data packetDataWithEncodedBytes() const;

    // Classification

    /// The type of a DID/SDID pair, compared whole (values that carry parity bits match nothing); 0 when unknown.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static QLXVANCPacketType packetTypeWithDID_SDID(std::uint64_t did, std::uint64_t sdid) noexcept;

    /// The name of a packet type, such as "OP-47"; "Unknown" for any other number.
    /// Departs from the SMPTE register of DIDs: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::string nameOfPacketType(QLXVANCPacketType type);

    /// The line numbers of `packets`, each once, ascending. Null entries are passed over.
    [[nodiscard]] static std::set<std::uint64_t> linesInVANCPackets(
        const std::vector<std::shared_ptr<QLXVANCPacket>>& packets);

    // Reading SDI rows

    /// Finds the packets in consecutive rows of a frame's blanking area.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param buffer The first row.
    /// @param size Bytes in `buffer`.
    /// @param bytesPerRow Bytes from one row to the next; a remainder behind the last whole row is not looked at.
    ///   0 or more than `size` gives no packets.
    /// @param bufferFormat `v210` or `2vuy`; any other code gives no packets.
    /// @param errorString Written: null when all went well, else the rows' messages joined by line feeds. A row
    ///   without a flag repeats the message of the row before it.
    /// @return The packets in row order; their line numbers are 0-based row indexes.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXVANCPacket>>
    VANCPacketsWithMultilineSDIBuffer_size_bytesPerRow_bufferFormat_errorString(
        const std::uint8_t* buffer, std::uint64_t size, std::uint64_t bytesPerRow, std::uint32_t bufferFormat,
        std::optional<std::string>* errorString = nullptr);

    /// Finds the packets of one row whose first ancillary data flag stands near its start: at byte offsets 0 to 5
    /// (`2vuy`) or word positions 0 to 5 (`v210`). Parity bits and checksums are not verified (SMPTE ST 291-1).
    /// A `2vuy` row is reduced to its even bytes, the chroma positions, as deployed capture hosts expect.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param buffer The row, at any address; null only with size 0.
    /// @param size Bytes of the row; nothing behind them is read.
    /// @param bufferFormat `v210` or `2vuy`; any other code gives no packets.
    /// @param lineNumber Given to every packet.
    /// @param errorString Written only when a flag was found near the start of a row that holds luma samples: the last
    ///   message, or null.
    /// @return The packets in the order in which they stand.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXVANCPacket>>
    VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
        const std::uint8_t* buffer, std::uint64_t size, std::uint32_t bufferFormat, std::uint64_t lineNumber,
        std::optional<std::string>* errorString = nullptr);

    /// Cuts the packets out of a luma buffer: one byte a sample, the low 8 bits of each 10-bit word. A packet whose
    /// data run past the end is dropped with a message, which also goes to the system log; one whose checksum alone
    /// is missing is kept.
    /// Departs from SMPTE ST 291-1: see docs/COMPATIBILITY.md.
    /// @param buffer The luma bytes; null only with size 0.
    /// @param size Their number; fewer than 8 hold no packet.
    /// @param lineNumber Given to every packet.
    /// @param errorString Written: the last message, or null.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXVANCPacket>>
    VANCPacketsWithSDILumaBuffer_size_lineNumber_errorString(const std::uint8_t* buffer, std::uint64_t size,
                                                             std::uint64_t lineNumber,
                                                             std::optional<std::string>* errorString = nullptr);

    // MXF, QuickTime and samples

    /// The packets of an MXF ANC data element (SMPTE ST 436-1) with 8-bit samples; see the next operation.
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXVANCPacket>> VANCPacketsWithMXFData_bufferFormat(
        const qlx::Data& data, std::uint32_t bufferFormat);

    /// The packets of an MXF ANC data element (SMPTE ST 436-1, without key and length).
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    /// @param buffer The element; null only with size 0.
    /// @param size Its bytes; nothing behind them is read.
    /// @param bufferFormat `2vuy`; see below.
    /// @return The packets in order. The list ends at a packet with a payload coding other than 4, with data count 0,
    ///   or with data that run past
    /// `size`. Fewer than 19 bytes, or a format other than `2vuy`, give no packets.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXVANCPacket>> VANCPacketsWithMXFBuffer_size_bufferFormat(
        const std::uint8_t* buffer, std::uint64_t size, std::uint32_t bufferFormat);

    /// The packet of a QuickTime caption atom: `cdat` (CEA-608 pairs) in a buffer below 10 bytes, `ccdp` (a CEA-708
    /// CDP) in a longer one. Null for any other type, an atom size above `size` or below 8, or a buffer below 8
    /// bytes.
    /// Departs from the QuickTime File Format: see docs/COMPATIBILITY.md.
    /// @param buffer The atom, header included; null only with size 0.
    /// @param size Bytes in `buffer`; the atom may be shorter.
    /// @param lineNumber Given to the packet, widened with its sign.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(
        const std::uint8_t* buffer, std::uint64_t size, std::int32_t lineNumber);

    /// The packets of a `meta`/`VANC` sample; none for any other subtype or a sample without data.
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::vector<std::shared_ptr<QLXVANCPacket>> VANCPacketsWithCMSampleBuffer(
        const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer);

    /// One packet of an MXF ANC data element: 14-byte header, DID, SDID, DC, data, padding. DC is the low 8 bits of
    /// the data's length and fixes the size; data that do not fit it are left out. A null packet gives none.
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data ANCPacketWithVANCPacket(const std::shared_ptr<QLXVANCPacket>& packet);

    /// All packets of `lineNumber` combined into one packet of the element's old form; a 17-byte header when there are
    /// none. Readers of that form expect the packets to overlap as they do here.
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data ANCPacketWithVANCPackets_lineNumber(
        const std::vector<std::shared_ptr<QLXVANCPacket>>& packets, std::uint64_t lineNumber);

    /// The MXF ANC data element (SMPTE ST 436-1) of `packets`, in their order: a 16-bit count and the packets.
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data MXFDataPacketWithVANCPackets(
        const std::vector<std::shared_ptr<QLXVANCPacket>>& packets);

    /// The element in its old form: a 16-bit count of distinct lines and one combined packet a line, ascending.
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] static qlx::Data MXFDataPacketWithVANCPacketsOld(
        const std::vector<std::shared_ptr<QLXVANCPacket>>& packets);

    /// A `meta`/`VANC` sample that carries the element of `packets`, with the attachment "VANCPacketTypes" (the packet
    /// types in order). Null when a media object cannot be made; the last step's failure is also printed.
    /// Departs from SMPTE ST 436-1: see docs/COMPATIBILITY.md.
    /// @param packets In the order in which they shall stand.
    /// @param timingInfo The sample's one timing entry.
    [[nodiscard]] static std::shared_ptr<qlx::SampleBuffer> createSampleBufferWithVANCPackets_timingInfo(
        const std::vector<std::shared_ptr<QLXVANCPacket>>& packets, const qlx::SampleTimingInfo& timingInfo);

    // Factories: a packet of a known kind that shares `data`

    /// A CEA-708 packet (a CDP): type 2, DID 0x61, SDID 0x01.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> CEA708VANCPacketWithData_lineNumber(qlx::Data data,
                                                                                            std::uint64_t lineNumber);
    /// A CEA-608 packet: type 1, DID 0x61, SDID 0x02.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> CEA608VANCPacketWithData_lineNumber(qlx::Data data,
                                                                                            std::uint64_t lineNumber);
    /// An OP-47 packet (a subtitling data packet): type 3, DID 0x43, SDID 0x02.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> OP47VANCPacketWithData_lineNumber(qlx::Data data,
                                                                                          std::uint64_t lineNumber);
    /// An Apple Metadata packet: type 10, DID 0x50, SDID 0x02.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> appleMetadataVANCPacketWithData_lineNumber(
        qlx::Data data, std::uint64_t lineNumber);
    /// A camera start (true) or stop (false) packet: type 6, DID 0x52, SDID 0x4D, line 9, eleven bytes.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> cameraRecordControlPacketWithStart(bool start);

    /// None: a teletext packet has no text form here. Null is allowed.
    /// @deprecated Always gives none: see docs/COMPATIBILITY.md.
    QLX_DEPRECATED_OPERATION("Always gives none: see docs/COMPATIBILITY.md")
    [[nodiscard]] static std::optional<std::string> decodedStringFromOP47VANCPacket(
        const std::shared_ptr<QLXVANCPacket>& packet) noexcept;

    // Ad insertion: SCTE-104 messages (ANSI/SCTE 104) in ANC packets (SMPTE ST 2010), and SCTE-35 sections from them

    /// An SCTE-104 packet: type 4, DID 0x41, SDID 0x07.
    /// Departs from ANSI/SCTE 104 and SMPTE ST 2010: see docs/COMPATIBILITY.md.
    /// @param data The message, payload descriptor first.
    /// @param lineNumber Given to the packet.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> SCTE104PacketDataWithData_lineNumber(qlx::Data data,
                                                                                             std::uint64_t lineNumber);

    /// A packet of one splice request, message number 1. A value out of its range gives a packet with the 13-byte
    /// header alone.
    /// Departs from ANSI/SCTE 104 and SMPTE ST 2010: see docs/COMPATIBILITY.md.
    /// @param spliceType 1 to 255: 1 start, 2 start immediately, 3 end, 4 end immediately, 5 cancel.
    /// @param asIndex AS_index.
    /// @param dpiPID DPI_PID_index.
    /// @param spliceEventID 0 to 4294967295.
    /// @param programUniqueID 0 to 65535.
    /// @param duration Tenths of a second.
    /// @param autoReturn auto_return_flag.
    /// @param preRoll Milliseconds.
    /// @param lineNumber Given to the packet.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket>
    SCTE104VANCPacketWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll_lineNumber(
        std::int32_t spliceType, std::uint8_t asIndex, std::uint16_t dpiPID, std::uint64_t spliceEventID,
        std::uint64_t programUniqueID, std::uint16_t duration, bool autoReturn, std::uint16_t preRoll,
        std::uint64_t lineNumber);

    /// A packet of any operations, each a whole one with opID and data_length.
    /// Departs from ANSI/SCTE 104 and SMPTE ST 2010: see docs/COMPATIBILITY.md.
    /// @param operations Whole operations, each with opID and data_length.
    /// @param messageNumber The low 8 bits are used.
    /// @param asIndex AS_index.
    /// @param dpiPID DPI_PID_index.
    /// @param lineNumber Given to the packet.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket>
    SCTE104VANCPacketWithOperations_messageNumber_asIndex_dpiPID_lineNumber(const std::vector<qlx::Data>& operations,
                                                                            std::int32_t messageNumber,
                                                                            std::uint8_t asIndex, std::uint16_t dpiPID,
                                                                            std::uint64_t lineNumber);

    /// Null: no SCTE-104 message is made of an SCTE-35 section.
    /// @deprecated Always gives null: see docs/COMPATIBILITY.md.
    QLX_DEPRECATED_OPERATION("Always gives null: see docs/COMPATIBILITY.md")
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> SCTE104PacketDataWithSCTE35Data(const qlx::Data& data) noexcept;

    /// A splice_insert_type for display, such as "Start Normal"; "Unknown" for any other number.
    [[nodiscard]] static std::string spliceTypeStringWithSpliceType(std::int32_t spliceType);

    /// The SCTE-35 section (ANSI/SCTE 35, CRC included) of an SCTE-104 packet: a splice_insert() and a segmentation
    /// descriptor. The message is read as one splice request without time stamp, whatever its header says; the break
    /// duration is copied as it is, pre-roll and auto return are not used. Writes one line to the technical log.
    /// Departs from ANSI/SCTE 35: see docs/COMPATIBILITY.md.
    /// @param packet A packet with an SCTE-104 message.
    /// @param intendedPTS When to splice, in 90 kHz ticks; the low 33 bits are used.
    /// @return None when the packet is null, not of type 4, or has fewer than 31 bytes of data.
    [[nodiscard]] static qlx::Data SCTE35PacketDataWithSCTE104VANCPacket_intendedPTS(
        const std::shared_ptr<QLXVANCPacket>& packet, std::uint64_t intendedPTS);

    // Closed captions

    /// The cdp_frame_rate code of a frame duration; the same as QLXCCUtilities'.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::uint8_t cdpFrameRateForFrameDuration(const qlx::MediaTime& frameDuration) noexcept;

    /// Triplets of a CDP at that frame duration; the same as QLXCCUtilities'.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    [[nodiscard]] static std::uint8_t ccCountForFrameDuration(const qlx::MediaTime& frameDuration) noexcept;

    /// A CEA-708 packet whose CDP (SMPTE ST 334-2) carries one field-1 pair and padding. Its length byte is 8 short
    /// and its checksum leaves out the first eight bytes, as deployed receivers of these packets expect.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    /// @param frameDuration Fixes cdp_frame_rate and cc_count.
    /// @param sequenceCounter cdp_hdr_sequence_cntr.
    /// @param lineNumber Widened with its sign.
    /// @param cea608Bytes Two bytes with parity, or null for an empty field-1 triplet.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket>
    emptyCEA708VANCPacketWithFrameDuration_sequenceCounter_lineNumber_cea608Bytes(const qlx::MediaTime& frameDuration,
                                                                                  std::uint16_t sequenceCounter,
                                                                                  std::int32_t lineNumber,
                                                                                  const std::uint8_t* cea608Bytes);

    /// A CDP of ready triplets without service section; its length byte is 11 above the true length, as deployed
    /// receivers expect. None when the triplets are not exactly as many as the frame duration asks for.
    /// Departs from SMPTE ST 334-2: see docs/COMPATIBILITY.md.
    /// @param frameDuration Fixes cdp_frame_rate and cc_count.
    /// @param sequenceCounter cdp_hdr_sequence_cntr.
    /// @param lineNumber Not used.
    /// @param cea708Bytes 3 bytes a triplet.
    [[nodiscard]] static qlx::Data CEA708PacketDataWithFrameDuration_sequenceCounter_lineNumber_CEA708Bytes(
        const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter, std::int32_t lineNumber,
        const qlx::Data& cea708Bytes);

    /// The packet's data as a `clcp` sample: an atom `cdat` (type 1, CEA-608) or `ccdp` (type 2, CEA-708). Null for any
    /// other type, or when the platform refuses a media object.
    /// Departs from SMPTE ST 334-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] std::shared_ptr<qlx::SampleBuffer> createClosedCaptionsSampleBufferWithTimingInfo(
        const qlx::SampleTimingInfo& timingInfo) const;

    /// Makes a CEA-608 packet of a CEA-708 one: the data bytes of its first triplet (the null pair 80 80 when there are
    /// fewer than 12 bytes), type 1, SDID 2, line 2; the DID stays.
    /// Departs from SMPTE ST 334-1: see docs/COMPATIBILITY.md.
    void transformCEA708To608();

    /// transformCEA708To608(), then the sample of the result.
    /// Departs from SMPTE ST 334-1: see docs/COMPATIBILITY.md.
    [[nodiscard]] std::shared_ptr<qlx::SampleBuffer> createCEA608ClosedCaptionsSampleBufferWithTimingInfo(
        const qlx::SampleTimingInfo& timingInfo);

private:
    /// A packet filled at once, as the readers and factories make it.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> make(QLXVANCPacketType type, std::uint64_t did,
                                                             std::uint64_t sdid, std::uint64_t lineNumber,
                                                             qlx::Data data);
    /// The same with the DID and SDID of a type other than QLXVANCPacketTypeUnknown.
    [[nodiscard]] static std::shared_ptr<QLXVANCPacket> make(QLXVANCPacketType type, std::uint64_t lineNumber,
                                                             qlx::Data data);

    std::atomic<std::uint64_t> _lineNumber{0};
    qlx::Data _packetData;
    std::atomic<QLXVANCPacketType> _packetType{QLXVANCPacketTypeUnknown};
    qlx::SampleTimingInfo _timingInfo;
    std::atomic<std::uint64_t> _packetDID{0};
    std::atomic<std::uint64_t> _packetSDID{0};
    std::atomic<bool> _inHANCSpace{false};
    std::atomic<bool> _canBeDropped{false};
    qlx::Guarded _guard;
};
