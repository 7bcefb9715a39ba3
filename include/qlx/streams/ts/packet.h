// The packets of an MPEG-2 transport stream (ISO/IEC 13818-1, clause 2.4.3): bare ones of 188 bytes, with a time in front
// (192) or with parity behind (204). Read in pieces, as they come.
//
//     qlx::streams::ts::PacketReader reader(&findings);
//     qlx::streams::ts::ContinuityCheck continuity;
//     while (more(piece)) {
//         reader.push(piece);
//         while (const auto packet = reader.next()) {
//             if (packet->pid == 0x0100 && continuity.receive(*packet, &findings)) { take(packet->payload); }
//         }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/limits.h>
#include <qlx/base/result.h>
#include <qlx/streams/export.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::ts {

inline constexpr std::size_t kPacketBytes = 188;                     ///< From one sync byte on.
inline constexpr std::size_t kHeaderBytes = 4;                       ///< In front of adaptation field and payload.
inline constexpr std::uint8_t kSyncByte = 0x47;                      ///< With it every packet begins.
inline constexpr std::uint16_t kGreatestPid = 0x1FFF;                ///< Packet identifiers have 13 bits.
inline constexpr std::uint16_t kNullPid = 0x1FFF;                    ///< Of packets that only fill the stream.
inline constexpr std::uint64_t kPcrPerSecond = 27'000'000;           ///< Ticks of the program clock reference.
inline constexpr std::uint64_t kTicksPerPcr = 300;                   ///< A tick of 90 kHz is as many of 27 MHz.
inline constexpr std::uint64_t kTimeBits = std::uint64_t{1} << 33U;  ///< Times of 90 kHz begin anew there.
inline constexpr std::uint64_t kPcrWrap = kTimeBits * kTicksPerPcr;  ///< Program clock references do so there.

/// A packet as it is sent.
using PacketBytes = std::array<std::uint8_t, kPacketBytes>;

/// A packet that was read. What it points into is the caller's, or the reader's until its next call.
struct PacketView {
    std::uint64_t offset = 0;               ///< Byte of the stream at which its sync byte stands.
    std::uint16_t pid = kNullPid;           ///< 0 to 1FFFh.
    std::uint8_t continuity = 0;            ///< Continuity counter, 0 to 15.
    std::uint8_t scrambling = 0;            ///< Transport scrambling control: 0 for none.
    bool hasError = false;                  ///< Transport error indicator: something of it is wrong.
    bool startsUnit = false;                ///< Payload unit start indicator: a section or PES packet begins in it.
    bool hasPriority = false;               ///< Transport priority.
    bool hasPayload = false;                ///< Whether it has data, and so counts.
    bool isDiscontinuous = false;           ///< Discontinuity indicator: the counter, or the clock, may jump here.
    bool isRandomAccess = false;            ///< Random access indicator.
    std::optional<std::uint64_t> pcr;       ///< Program clock reference in 27 MHz, below kPcrWrap.
    std::span<const std::uint8_t> payload;  ///< Behind the adaptation field.
};

/// Reads a packet. Fails with TsPacketWrong for fewer than 188 bytes, no sync byte, or neither
/// adaptation field nor payload. An adaptation field that is longer than the packet is a finding (TsAdaptationWrong): the
/// packet has no payload then.
/// @param bytes The first 188 are looked at.
/// @param offset Of the sync byte, for the findings.
[[nodiscard]] QLX_STREAMS_EXPORT Result<PacketView> parsePacket(std::span<const std::uint8_t> bytes,
                                                                FindingSink* findings = nullptr,
                                                                std::uint64_t offset = 0);

/// What is written of a packet beside its payload.
struct PacketHeader {
    std::uint16_t pid = kNullPid;        ///< 0 to 1FFFh; of a greater one the low 13 bits.
    std::uint8_t continuity = 0;         ///< The low four bits count.
    bool startsUnit = false;             ///< A section or PES packet begins in it.
    bool isDiscontinuous = false;        ///< Discontinuity indicator; needs an adaptation field.
    std::optional<std::uint64_t> pcr{};  ///< Program clock reference in 27 MHz, modulo kPcrWrap.

    /// Bytes that a payload can have beside this.
    [[nodiscard]] QLX_STREAMS_EXPORT std::size_t room() const noexcept;
};

/// Writes a packet. A payload that does not fill it follows an adaptation field with stuffing bytes; an empty one makes a
/// packet without payload, which has the counter of the packet before it. What is more than PacketHeader::room() is left
/// out.
/// @return Bytes of the payload that are in it.
QLX_STREAMS_EXPORT std::size_t writePacket(const PacketHeader& header, std::span<const std::uint8_t> payload,
                                           PacketBytes& packet) noexcept;

/// A packet that fills the stream.
[[nodiscard]] QLX_STREAMS_EXPORT PacketBytes nullPacket() noexcept;

/// Finds the packets of a stream that comes in pieces. It holds what is pushed and not read yet, and at most a few
/// packets more.
///
/// Findings: TsSyncLost where something stands that is no packet, TsPacketWrong, TsAdaptationWrong, at the end
/// ContainerPacketCut for a last packet that is not whole, and LimitOfBytesReached or LimitOfItemsReached.
class PacketReader {
public:
    /// @param findings Gets what is wrong, with the byte of the stream; may be null, else it must outlive this.
    /// @param limits Of the stream; the items are packets.
    explicit PacketReader(FindingSink* findings = nullptr, const ReadLimits& limits = {}) noexcept
        : _findings(findings), _budget(limits) {}

    /// Takes the next bytes of the stream. Packets that were given before are no longer valid.
    QLX_STREAMS_EXPORT void push(std::span<const std::uint8_t> bytes);

    /// Says that the stream has ended: nothing is pushed any more.
    void finish() noexcept { _isFinished = true; }

    /// The next packet; none when more bytes are needed, or at the end.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<PacketView> next();

    /// Where findings go from now on.
    void setFindings(FindingSink* findings) noexcept { _findings = findings; }

    /// Bytes from one sync byte to the next: 188, 192 or 204; 0 before the first packet.
    [[nodiscard]] std::size_t packetSize() const noexcept { return _size; }

    /// Whether the stream has ended, and next() gives nothing more.
    [[nodiscard]] bool isAtEnd() const noexcept {
        return _isFinished && (_begin == _buffer.size() || _budget.hasEnded());
    }

    /// Whether the limit of bytes was reached: what has begun in front of it may go on behind it.
    [[nodiscard]] bool isCut() const noexcept { return _budget.isCut(); }

    /// Bytes of the stream in front of what is read next.
    [[nodiscard]] std::uint64_t offset() const noexcept { return _offset; }

private:
    [[nodiscard]] std::span<const std::uint8_t> rest() const noexcept {
        return std::span<const std::uint8_t>(_buffer).subspan(_begin);
    }
    void drop(std::size_t count) noexcept;
    bool search();
    void endSearch();
    void reportEnd();
    std::optional<PacketView> nextPacket();

    FindingSink* _findings;
    ReadBudget _budget;
    std::vector<std::uint8_t> _buffer;
    std::size_t _begin = 0;     ///< Of what is read next in the buffer.
    std::uint64_t _offset = 0;  ///< The same in the stream.
    std::size_t _size = 0;      ///< Bytes of a packet.
    std::uint64_t _lostAt = 0;  ///< Where the search began.
    bool _isSynchronous = false;
    bool _isFinished = false;
    bool _isEndSaid = false;
};

/// Follows the continuity counters of the packets of one PID (ISO/IEC 13818-1, clause 2.4.3.3).
class ContinuityCheck {
public:
    /// Takes the next packet of the PID.
    /// @return Whether its payload is to be used: not that of a packet without one, or of one that is sent twice. What has
    ///   been lost in front of it is a finding (TsContinuityLost), unless the packet says that the counter jumps.
    QLX_STREAMS_EXPORT bool receive(const PacketView& packet, FindingSink* findings = nullptr);

    /// Whether something was lost, or has jumped, in front of the last packet: what was begun before has no end.
    [[nodiscard]] bool isBroken() const noexcept { return _isBroken; }

    /// Takes any counter next.
    void reset() noexcept { *this = {}; }

private:
    std::array<std::uint8_t, kPacketBytes> _last{};  ///< Payload of the last packet.
    std::size_t _lastSize = 0;
    std::uint8_t _counter = 0;
    bool _hasCounter = false;
    bool _isRepeated = false;  ///< The last packet was sent twice.
    bool _isBroken = false;
};

/// Tells of packets of one PID that cannot be used: of the first of a run at once, of the others by their number.
class UnusablePackets {
public:
    /// Takes one.
    /// @param offset Where it stands.
    /// @param pid Its PID.
    /// @param code TsPacketScrambled or TsPacketDamaged, an Error, of the first one.
    /// @param findings May be null.
    QLX_STREAMS_EXPORT void add(std::uint64_t offset, std::uint16_t pid, FindingCode code, FindingSink* findings);

    /// One that can be used has come, or the end: says how many there were behind the first (TsMorePacketsLeftOut).
    void end(FindingSink* findings) {
        if (_isInside) {
            tell(findings);
        }
    }

private:
    QLX_STREAMS_EXPORT void tell(FindingSink* findings);

    std::uint64_t _more = 0;    ///< Behind the first one.
    std::uint64_t _offset = 0;  ///< Of the first one.
    std::uint16_t _pid = 0;
    bool _isInside = false;
};

/// The program clock at any place of a stream: that of the last reference, and the time that the bytes from there take at
/// the rate between the last two (ISO/IEC 13818-1, clause 2.4.2.2).
class ClockByPlace {
public:
    /// Takes the next packet of the PID that has the references. One without a reference changes nothing.
    QLX_STREAMS_EXPORT void receive(const PacketView& packet) noexcept;

    /// The clock in 90 kHz, modulo 2^33, at a byte of the stream; none before the first reference. What is farther than a
    /// second from the last reference has the time that is a second from it.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<std::uint64_t> at(std::uint64_t offset) const noexcept;

    /// Forgets all references.
    void reset() noexcept { *this = {}; }

private:
    std::optional<std::uint64_t> _pcr;  ///< The last one, in 27 MHz.
    std::uint64_t _offset = 0;          ///< Of its packet.
    std::uint64_t _ticks = 0;           ///< From the one before it.
    std::uint64_t _bytes = 0;           ///< The same; 0 where the rate is not known.
};

/// Makes times of a stream that begin anew every 2^33 ticks (26.5 hours) continuous: each is the one nearest to the one
/// before it.
class ContinuousTime {
public:
    /// Takes the next time.
    /// @param ticks90k Of 90 kHz; the low 33 bits count.
    /// @return Ticks from the first time's own zero on; below 0 for what is before that.
    QLX_STREAMS_EXPORT std::int64_t take(std::uint64_t ticks90k) noexcept;

    /// The time that `ticks90k` is near to the last one, without taking it.
    [[nodiscard]] QLX_STREAMS_EXPORT std::int64_t near(std::uint64_t ticks90k) const noexcept;

    /// The last time that was taken.
    [[nodiscard]] std::optional<std::int64_t> last() const noexcept { return _last; }

    /// Takes any time next.
    void reset() noexcept { _last.reset(); }

private:
    std::optional<std::int64_t> _last;
};

}  // namespace qlx::streams::ts
