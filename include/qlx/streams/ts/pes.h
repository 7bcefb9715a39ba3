// Packetized elementary streams (ISO/IEC 13818-1, clause 2.4.3.6): read from the packets of a PID, and their headers
// written.
//
//     qlx::streams::ts::PesReader reader({}, &findings);
//     reader.push(packet);  // Of its PID alone.
//     while (const auto pes = reader.next()) {
//         if (pes->header.pts) { use(*pes->header.pts, pes->payload); }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/result.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::ts {

inline constexpr std::uint8_t kPrivateStream1 = 0xBD;  ///< stream_id of teletext and VBI data, among others.
inline constexpr std::size_t kPesStartBytes = 6;       ///< Start code, stream_id and length.
inline constexpr std::size_t kPesHeaderBytes = 9;      ///< With the flags and the length of what they announce.

/// What stands in front of a PES packet's data.
struct PesHeader {
    std::uint8_t streamId = kPrivateStream1;  ///< stream_id.
    std::uint16_t packetLength = 0;           ///< PES_packet_length: bytes behind it; 0 when it is not said.
    std::uint8_t scrambling = 0;              ///< PES_scrambling_control: 0 for none.
    bool isAligned = false;                   ///< data_alignment_indicator.
    std::optional<std::uint64_t> pts;         ///< In 90 kHz, below kTimeBits.
    std::optional<std::uint64_t> dts;         ///< The same.
    std::uint8_t headerLength = 0;            ///< PES_header_data_length: optional fields and stuffing.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const PesHeader&, const PesHeader&) noexcept = default;
};

/// A PES packet that was read; it points into its reader, until the next call of that.
struct PesView {
    std::uint64_t offset = 0;               ///< Byte of the stream at which the packet stands in which it begins.
    std::uint16_t pid = 0;                  ///< Of its packets.
    PesHeader header;                       ///< What stands in front of the data.
    bool isWhole = true;                    ///< False where its end is missing.
    std::span<const std::uint8_t> payload;  ///< Its data.
};

/// Whether packets with this stream_id have flags and times behind their length (table 2-21).
[[nodiscard]] QLX_STREAMS_EXPORT bool hasPesFlags(std::uint8_t streamId) noexcept;

/// Reads what stands in front of a PES packet's data.
/// @param headerBytes Gets the bytes up to the data.
/// @return TsPesWrong for bytes without start code, or whose header is not all there, or has no marker bits.
[[nodiscard]] QLX_STREAMS_EXPORT Result<PesHeader> parsePesHeader(std::span<const std::uint8_t> bytes,
                                                                  std::size_t& headerBytes);

/// Writes it: its times, and stuffing up to headerLength (at least what the times take). packetLength stands there as it
/// is. Nothing is written, and 0 comes back, when the room is smaller, or the stream has no flags.
/// @return The bytes that are written.
QLX_STREAMS_EXPORT std::size_t writePesHeader(const PesHeader& header, std::span<std::uint8_t> room) noexcept;

/// How PES packets are put together.
struct PesReaderOptions {
    /// Bytes of a PES packet at most. What is longer is left out (TsPesTooLong); one whose length is not said needs as much.
    std::size_t greatestSize = 65'542;
    bool givesCutOnes = true;  ///< What is there of a packet whose end is missing.
};

/// Puts PES packets together from the packets of one PID. One whose length is said is given as soon as it is whole, others
/// when the next one begins. It holds one of them.
///
/// Findings: TsContinuityLost, TsPesCut, TsPesTooLong, TsPesWrong; TsPacketScrambled and TsPacketDamaged for the
/// first of a run of such packets, TsMorePacketsLeftOut for the others.
class PesReader {
public:
    /// @param options How.
    /// @param findings Gets what is wrong, with the byte at which the packet stands; may be null, else it must outlive this.
    explicit PesReader(const PesReaderOptions& options = {}, FindingSink* findings = nullptr) noexcept
        : _options(options), _findings(findings) {}

    /// Takes the next packet, of whatever PID the first one was; others are passed over. What was given before is no longer
    /// valid.
    QLX_STREAMS_EXPORT void push(const PacketView& packet);

    /// The next one; none when more packets are needed.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<PesView> next();

    /// Says that there are no more packets: the one that has begun ends here.
    QLX_STREAMS_EXPORT void finish();

    /// Says that packets that follow are not read: nothing is said of a packet that has begun.
    void stop() { _unusable.end(_findings); }

    /// Where findings go from now on.
    void setFindings(FindingSink* findings) noexcept { _findings = findings; }

private:
    void endPacket();
    void take(std::span<const std::uint8_t> bytes);
    [[nodiscard]] std::size_t wholeSize() const noexcept;
    [[nodiscard]] std::optional<PesView> viewOf(std::span<const std::uint8_t> bytes, std::uint64_t offset,
                                                bool isWhole);

    PesReaderOptions _options;
    FindingSink* _findings;
    ContinuityCheck _continuity;
    UnusablePackets _unusable;
    std::optional<std::uint16_t> _pid;
    std::vector<std::uint8_t> _bytes;  ///< Of the one that has begun.
    std::uint64_t _offset = 0;         ///< Of it.
    std::vector<std::uint8_t> _ready;  ///< That has ended.
    std::uint64_t _readyOffset = 0;    ///< Of it.
    bool _isInside = false;
    bool _isReady = false;
    bool _isReadyWhole = true;
};

}  // namespace qlx::streams::ts
