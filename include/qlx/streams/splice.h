// Splice information in MPEG-2 transport streams (ANSI/SCTE 35, clause 8: streams of type 86h): read with the time at
// which each section arrives, and written into a stream of its own.
//
//     qlx::streams::SpliceReader reader({}, &findings);
//     while (more(piece)) {
//         reader.push(piece);
//         while (const auto arrival = reader.next()) {
//             if (const auto distance = arrival->distance90k()) { use(arrival->section.commandType(), *distance); }
//         }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/limits.h>
#include <qlx/scte/scte35.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/program_map.h>
#include <qlx/streams/ts/section.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams {

/// A section, and when it came.
struct SpliceArrival {
    std::uint64_t offset = 0;   ///< Byte of the stream at which its first packet stands.
    std::uint16_t pid = 0;      ///< Of its packets.
    std::uint16_t program = 0;  ///< program_number; 0 where there is no map.
    std::optional<std::uint64_t>
        arrival90k;                   ///< The program's clock when its first byte came, 33 bits; none without one.
    std::vector<std::uint8_t> bytes;  ///< As it came.
    scte::SpliceInfoSection section;  ///< What it says.

    /// When it splices: pts_time and pts_adjustment, modulo 2^33; of a splice of components the first that has a time.
    /// None for an immediate one and for commands without a time.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<std::uint64_t> splice90k() const noexcept;
    /// Ticks of 90 kHz from the arrival to the splice; negative for one that is late. None where either is not known.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<std::int64_t> distance90k() const noexcept;
};

/// What is read beside the streams that the maps name.
struct SpliceReaderOptions {
    std::vector<std::uint16_t> pids{};  ///< With sections, whatever the maps say of them.
    ReadLimits limits{};                ///< Of the stream; the items are sections.
};

/// Reads the sections of all streams of type 86h, and of the PIDs that it is given. Sections come in their order in the
/// stream, each as soon as the next time of its program's clock is known: between two of them the time is told by the
/// place (ISO/IEC 13818-1, 2.4.2.2). It holds the sections that wait for that, 4096 of a program and a MiB
/// of all at most; what is more has the time that the last two tell.
///
/// Findings: those of the packets and tables, TsSectionCrcWrong (the section is left out), those of
/// scte::parseSpliceInfoSection() with the byte of the stream, SpliceNotRegistered for a program that has such a stream
/// without a registration descriptor "CUEI", and LimitOfBytesReached or LimitOfItemsReached.
class SpliceReader {
public:
    /// @param options What is read beside the streams that the maps name.
    /// @param findings Gets what is wrong, with the byte of the stream; may be null, else it must outlive this.
    QLX_STREAMS_EXPORT explicit SpliceReader(const SpliceReaderOptions& options = {}, FindingSink* findings = nullptr);

    /// Takes the next bytes of the stream.
    QLX_STREAMS_EXPORT void push(std::span<const std::uint8_t> bytes);
    /// Says that the stream has ended.
    QLX_STREAMS_EXPORT void finish();
    /// The next section; none when more bytes are needed, or at the end.
    [[nodiscard]] QLX_STREAMS_EXPORT std::optional<SpliceArrival> next();
    /// Whether the packets of a PID are read for their sections: what is lost of them may be splice information.
    [[nodiscard]] bool reads(std::uint16_t pid) const { return _sections.contains(pid); }

private:
    /// The clock of a program, and what waits for its next time.
    struct Clock {
        std::uint64_t offset = 0;  ///< Of the last time.
        std::uint64_t pcr = 0;     ///< The last time, in 27 MHz.
        bool isKnown = false;
        double ticksPerByte = 0;  ///< Between the last two times; 0 where there are none.
        std::deque<SpliceArrival> waiting;
    };

    void takePacket(const ts::PacketView& packet);
    void takeMaps(std::uint64_t offset);
    [[nodiscard]] const ts::Pmt* programOf(std::uint16_t pid) const;
    void takeSections(ts::SectionReader& sections);
    void takePcr(Clock& clock, const ts::PacketView& packet);
    void release(Clock& clock);

    SpliceReaderOptions _options;
    FindingSink* _findings;
    ReadBudget _arrivals;  ///< Of the items alone: the bytes are the packets' matter.
    ts::PacketReader _packets;
    ts::ProgramMap _programs;
    std::map<std::uint16_t, ts::SectionReader> _sections;  ///< By PID.
    std::map<std::uint16_t, bool> _isSaid;   ///< By program: whether it is said that it is not registered.
    std::map<std::uint16_t, Clock> _clocks;  ///< By PCR_PID; that of no program is 1FFFh.
    std::size_t _waitingBytes = 0;           ///< Of the sections that wait.
    std::deque<SpliceArrival> _ready;
};

/// A section and when it is to come.
struct TimedSection {
    std::uint64_t arrival90k = 0;     ///< 33 bits.
    std::vector<std::uint8_t> bytes;  ///< A whole section.
};

/// A stream of splice information.
struct SpliceStreamOptions {
    std::uint16_t program = 1;                    ///< program_number
    std::uint16_t mapPid = 0x0100;                ///< Of the program map.
    std::uint16_t pid = 0x0101;                   ///< Of the sections.
    std::uint16_t pcrPid = 0x0102;                ///< Of the clock.
    std::optional<std::uint64_t> heartbeat90k{};  ///< Between sections of splice_null(); none without it.
    std::optional<std::uint64_t> end90k{};        ///< Until when there is a stream at least.
};

/// Writes a stream of 150,400 bit/s with the tables, a clock and the sections, each from its time on if none is in its
/// way, at most 30 ms late; a section whose time is before that of the section in front of it comes right behind that.
/// TsTableWrong where a table cannot be made. Sections are told by their lengths: what is no whole section is left out,
/// and said.
/// @param take Gets every packet in its order.
/// @param findings Gets TsSectionCut with the number of the section, from 0, as its offset; may be null.
/// @return The packets.
[[nodiscard]] QLX_STREAMS_EXPORT Result<std::uint64_t> writeSpliceStream(
    std::span<const TimedSection> sections, const SpliceStreamOptions& options,
    const std::function<void(const ts::PacketBytes&)>& take, FindingSink* findings = nullptr);

}  // namespace qlx::streams
