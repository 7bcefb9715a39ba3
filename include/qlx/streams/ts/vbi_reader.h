// The teletext and line-21 captions of a transport stream, read in pieces.
//
//     qlx::streams::ts::VbiReader reader({}, &findings);
//     while (more(piece)) {
//         reader.push(piece);
//         while (const qlx::streams::ts::VbiMoment* const moment = reader.next()) {
//             for (const auto& line : moment->vbi.teletext) { use(moment->time90k, line.bytes); }
//         }
//     }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/limits.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/pes.h>
#include <qlx/streams/ts/program_map.h>
#include <qlx/streams/ts/tables.h>
#include <qlx/streams/ts/vbi.h>

#include <bitset>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace qlx::streams::ts {

/// Which stream is read.
struct VbiReaderOptions {
    /// The PID; none for the first one that a program's map says to hold teletext or VBI data, or else, where no map
    /// has a descriptor of it, or there is no map, for the first one of private PES packets that hold such data.
    std::optional<std::uint16_t> pid{};
    ReadLimits limits{};  ///< Of the stream; the items are moments.
};

/// What a PES packet of VBI data brings.
struct VbiMoment {
    std::int64_t time90k = 0;  ///< Its time of presentation; continuous where that of the stream begins anew.
    std::uint64_t offset = 0;  ///< Byte of the stream at which its first packet stands.
    std::uint16_t pid = 0;     ///< Of its packets.
    VbiPacket vbi;             ///< Its lines.
};

/// Finds the stream and reads it. It holds a few packets and a PES packet for each stream that is looked at, and as
/// long as a program's map is missing 64 PES packets of one that was found by its data: maps that come decide whether
/// they are given.
///
/// PES packets without a time have that of the program's clock where they begin.
///
/// Findings: those of PacketReader, of ProgramMap, of PesReader for the stream that is read, and of readVbi();
/// TsPacketScrambled and TsMorePacketsLeftOut for PES packets too, which are left out; once TsTimeOfClock or, without a
/// clock, TsTimeMissing (what comes before the first time is left out), TsTimeJumped where a time is before the one in
/// front of it, TsDataUnitUnused once for each data_unit_id that is not read, TsTeletextLeftOut (a Remark) once for
/// each other PID that is said to hold teletext, TsMapMissing for a stream that is found and that no map names,
/// TsGuessDropped where maps come later all the same, and none of them has it (nothing more is read of it),
/// LimitOfBytesReached or LimitOfItemsReached.
class VbiReader {
public:
    /// @param options Which stream.
    /// @param findings Gets what is wrong, with the byte of the stream; may be null, else it must outlive this.
    QLX_STREAMS_EXPORT explicit VbiReader(const VbiReaderOptions& options = {}, FindingSink* findings = nullptr);

    /// Takes the next bytes of the stream; behind the limit of items nothing is kept.
    void push(std::span<const std::uint8_t> bytes) {
        if (!_moments.hasEnded()) {
            _packets.push(bytes);
        }
    }

    /// Says that the stream has ended.
    void finish() noexcept { _packets.finish(); }

    /// What comes next; null when more bytes are needed, or at the end. Valid until the next call.
    [[nodiscard]] QLX_STREAMS_EXPORT const VbiMoment* next();

    /// The PID that is read; none before it is known.
    [[nodiscard]] std::optional<std::uint16_t> pid() const noexcept { return _isGuessed ? std::nullopt : _pid; }

    /// The pages that the map names for it.
    [[nodiscard]] QLX_STREAMS_EXPORT std::vector<TeletextPage> pages() const;

    /// What the stream holds.
    [[nodiscard]] const ProgramMap& map() const noexcept { return _map; }

    /// Bytes of the stream that have been read.
    [[nodiscard]] std::uint64_t offset() const noexcept { return _packets.offset(); }

    /// Where findings go from now on.
    QLX_STREAMS_EXPORT void setFindings(FindingSink* findings) noexcept;

private:
    /// A stream that may hold it.
    struct Candidate {
        std::uint16_t pid = 0;
        PesReader reader;
    };

    const VbiMoment* nextMoment();
    bool advance();
    void chooseStreams();
    void choose(std::uint16_t pid);
    void drop();
    void trustGuess();
    void collect(const PacketView& packet);
    void takeClock(const PacketView& packet);
    [[nodiscard]] bool takeTime(const PesView& pes);
    bool take(const PesView& pes);
    bool takeOf(std::uint16_t pid, PesReader& reader);
    void tellOthers(const PesView& pes);
    void stop();
    void tellStreams();

    VbiReaderOptions _options;
    FindingSink* _findings;
    ReadBudget _moments;  ///< Of the items alone: the bytes are the packets' matter.
    PacketReader _packets;
    ProgramMap _map;
    std::optional<std::uint16_t> _pid;
    std::optional<PesReader> _reader;         ///< Of it.
    std::bitset<kGreatestPid + 1U> _leftOut;  ///< PIDs that have been told.
    std::vector<Candidate> _candidates;       ///< As long as it is not known.
    ContinuousTime _time;
    ClockByPlace _clock;
    std::optional<std::uint16_t> _clockPid;
    UnusablePackets _scrambled;  ///< PES packets.
    VbiMoment _moment;
    std::deque<VbiMoment> _held;  ///< Read already.
    std::bitset<256> _told;       ///< Units that are not read.
    bool _isGuessed = false;      ///< The PID was found by its data, and a map may still come.
    bool _isTrusted = false;      ///< It was found by its data, and no map has come for long.
    bool _isTimeTold = false;
    bool _isEndTold = false;
};

}  // namespace qlx::streams::ts
