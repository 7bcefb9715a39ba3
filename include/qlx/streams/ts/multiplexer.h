// A transport stream of one program, written at a constant bit rate: its tables, its clock, what its streams carry, and
// null packets between them (ISO/IEC 13818-1; ETSI TR 101 290 for how often tables come).
//
//     qlx::streams::ts::MultiplexOptions options;
//     options.map.streams = {{qlx::streams::ts::kSpliceType, 0x0200, {}}};
//     qlx::streams::ts::Multiplexer multiplexer(options, &findings);
//     multiplexer.addSection(0x0200, bytes, 90'000);
//     multiplexer.advanceTo(180'000);
//     for (const qlx::streams::ts::PacketBytes& packet : multiplexer.takePackets()) { write(packet); }
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/export.h>
#include <qlx/streams/ts/packet.h>
#include <qlx/streams/ts/section.h>
#include <qlx/streams/ts/tables.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::streams::ts {

inline constexpr std::int64_t kTableInterval90k = 9'000;          ///< PAT and PMT: 100 ms.
inline constexpr std::int64_t kServiceInterval90k = 180'000;      ///< SDT: 2 s.
inline constexpr std::int64_t kGreatestPcrInterval90k = 3'600;    ///< 40 ms.
inline constexpr std::int64_t kPresentationLead90k = 18'000;      ///< PTS in front of the clock: 200 ms.
inline constexpr std::uint32_t kUsualBitrate = 512'000;           ///< Room for 15 teletext packets a field.
inline constexpr std::uint32_t kLowestBitrate = 150'000;          ///< For tables and clock.
inline constexpr std::uint32_t kGreatestBitrate = 1'000'000'000;  ///< That is taken.

/// How a stream is made.
struct MultiplexOptions {
    std::uint32_t bitrate = kUsualBitrate;  ///< Bits a second of all packets; of others than may be, the nearest.
    std::uint16_t streamId = 1;             ///< transport_stream_id.
    std::uint16_t mapPid = 0x100;           ///< PID of the map.
    /// The program: its number in the header, its streams, the PID of its clock.
    Pmt map{.header = {.extension = 1}, .pcrPid = 0x1F0, .descriptors = {}, .streams = {}};
    std::string serviceName{};   ///< UTF-8; without one, and without a provider, there is no service description table.
    std::string providerName{};  ///< The same.
    std::int64_t firstTime90k = 0;  ///< The clock begins as much before this as kPresentationLead90k.
};

/// Makes the packets one after the other. Times are of presentation, in ticks of 90 kHz: what is added with a time goes out
/// 200 ms before it by the clock, in the first packet from then on that is free. The clock reference and the tables
/// that are due go first, four packets at most from kUsualBitrate on, so that it begins less than five packets later
/// (15 ms at that rate); and what was added before it does. Time goes on with advanceTo().
class Multiplexer {
public:
    /// @param options How.
    /// @param findings Gets TsBitrateTooLow, once, when something is sent so late that it comes after its time, and
    ///   TsTableWrong when the program does not fit into its tables; may be null, else it must outlive this.
    QLX_STREAMS_EXPORT explicit Multiplexer(const MultiplexOptions& options = {}, FindingSink* findings = nullptr);

    /// Adds a PES packet.
    /// @param pid One of the map.
    /// @param pes All of it, from its start code on.
    /// @param time90k Not before that of what was added last.
    QLX_STREAMS_EXPORT void addPes(std::uint16_t pid, std::span<const std::uint8_t> pes, std::int64_t time90k);

    /// Adds a section.
    /// @param pid One of the map.
    /// @param section All of it, with its CRC.
    /// @param time90k Not before that of what was added last.
    QLX_STREAMS_EXPORT void addSection(std::uint16_t pid, std::span<const std::uint8_t> section, std::int64_t time90k);

    /// Makes all packets that go out before this time less 200 ms.
    QLX_STREAMS_EXPORT void advanceTo(std::int64_t time90k);

    /// Makes packets until nothing waits, and up to this time itself: everything is presented.
    QLX_STREAMS_EXPORT void finish(std::int64_t time90k);

    /// The packets that have been made and not taken.
    [[nodiscard]] std::vector<PacketBytes> takePackets() noexcept { return std::exchange(_packets, {}); }

    /// Where findings go from now on.
    void setFindings(FindingSink* findings) noexcept { _findings = findings; }

private:
    struct Waiting {
        std::int64_t time90k = 0;
        PacketBytes packet{};
    };

    [[nodiscard]] std::uint64_t clockOf(std::uint64_t packet) const noexcept;
    [[nodiscard]] PayloadWriter& writerOf(std::uint16_t pid);
    void queue(const std::vector<PacketBytes>& packets, std::int64_t time90k);
    void makePacket();
    bool makeTable();

    MultiplexOptions _options;
    FindingSink* _findings;
    std::vector<PayloadWriter> _writers;
    std::vector<std::uint8_t> _association;
    std::vector<std::uint8_t> _map;
    std::vector<std::uint8_t> _services;
    std::deque<PacketBytes> _tables;  ///< That are due.
    std::deque<Waiting> _waiting;
    std::vector<PacketBytes> _packets;
    std::uint64_t _made = 0;  ///< Packets.
    // Ticks of the clock from its beginning on, at which the next one is due.
    std::uint64_t _pcrDue = 0;
    std::uint64_t _tablesDue = 0;
    std::uint64_t _servicesDue = 0;
    bool _isLateTold = false;
};

}  // namespace qlx::streams::ts
