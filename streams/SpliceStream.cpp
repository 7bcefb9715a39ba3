#include <qlx/scte/scte35.h>
#include <qlx/streams/splice.h>
#include <qlx/streams/ts/tables.h>

#include <algorithm>
#include <deque>
#include <utility>

namespace qlx::streams {

namespace {

// A packet every 10 ms, of which every eighth is the clock's: it comes at least every 100 ms (ISO/IEC 13818-1, D.0.3).
constexpr std::uint64_t kSlot90k = 900;
constexpr std::uint64_t kClockSlots = 8;
constexpr std::uint64_t kTableSlots = 40;

std::uint64_t distanceOf(std::uint64_t from, std::uint64_t to) noexcept {
    return (to + ts::kTimeBits - from) % ts::kTimeBits;
}

/// The tables in packets.
Result<std::vector<ts::PacketBytes>> tablesOf(const SpliceStreamOptions& options, ts::PayloadWriter& patWriter,
                                              ts::PayloadWriter& pmtWriter) {
    ts::Pat pat;
    pat.header.extension = 1;
    pat.programs = {{options.program, options.mapPid}};
    ts::Pmt pmt;
    pmt.header.extension = options.program;
    pmt.pcrPid = options.pcrPid;
    pmt.descriptors = {{static_cast<std::uint8_t>(ts::DescriptorTag::Registration), {'C', 'U', 'E', 'I'}}};
    pmt.streams = {{ts::kSpliceType, options.pid, {}}};
    const auto patBytes = ts::writePat(pat);
    const auto pmtBytes = ts::writePmt(pmt);
    if (!patBytes || !pmtBytes) {
        return patBytes ? pmtBytes.error() : patBytes.error();
    }
    std::vector<ts::PacketBytes> packets;
    patWriter.addSection(*patBytes, packets);
    pmtWriter.addSection(*pmtBytes, packets);
    return packets;
}

/// Makes the packets slot by slot.
class Stream {
public:
    Stream(std::uint64_t start, const SpliceStreamOptions& options,
           const std::function<void(const ts::PacketBytes&)>& take)
        : _start(start), _options(options), _take(take), _sections(options.pid), _clock(options.pcrPid) {}

    /// Sections that are to come from now on.
    /// @return Bytes that are left out, as they are no whole section.
    std::size_t add(std::span<const std::uint8_t> section) {
        std::vector<ts::PacketBytes> packets;
        const std::size_t left = _sections.addSections(section, packets);
        _waiting.insert(_waiting.end(), packets.begin(), packets.end());
        return left;
    }

    [[nodiscard]] bool isIdle() const noexcept { return _waiting.empty(); }
    /// Ticks from the start to the next slot.
    [[nodiscard]] std::uint64_t elapsed90k() const noexcept { return _slot * kSlot90k; }
    [[nodiscard]] std::uint64_t packets() const noexcept { return _slot; }

    /// None, or why a table cannot be made.
    std::optional<Finding> writeSlot() {
        std::vector<ts::PacketBytes> made;
        if (_slot % kTableSlots == 0) {
            auto tables = tablesOf(_options, _pat, _pmt);
            if (!tables) {
                return tables.error();
            }
            _tables.assign(tables->begin(), tables->end());
        }
        if (_slot % kClockSlots == 0) {
            _clock.addPcr((_start + elapsed90k()) % ts::kTimeBits * ts::kTicksPerPcr, made);
            _take(made.front());
        } else if (!_tables.empty()) {
            _take(_tables.front());
            _tables.pop_front();
        } else if (!_waiting.empty()) {
            _take(_waiting.front());
            _waiting.pop_front();
        } else {
            _take(ts::nullPacket());
        }
        ++_slot;
        return std::nullopt;
    }

private:
    std::uint64_t _start;
    const SpliceStreamOptions& _options;
    const std::function<void(const ts::PacketBytes&)>& _take;
    ts::PayloadWriter _pat{ts::kPatPid};
    ts::PayloadWriter _pmt{_options.mapPid};
    ts::PayloadWriter _sections;
    ts::PayloadWriter _clock;
    std::deque<ts::PacketBytes> _tables;
    std::deque<ts::PacketBytes> _waiting;
    std::uint64_t _slot = 0;
};

/// A section and the ticks from the start to it.
struct Due {
    std::uint64_t elapsed90k = 0;
    std::span<const std::uint8_t> bytes;
};

std::vector<Due> dueOf(std::span<const TimedSection> sections, std::uint64_t start) {
    std::vector<Due> due;
    std::uint64_t last = 0;
    for (const TimedSection& section : sections) {
        const std::uint64_t distance = distanceOf(start, section.arrival90k);
        last = distance < ts::kTimeBits / 2 ? std::max(last, distance) : last;
        due.push_back({last, section.bytes});
    }
    return due;
}

}  // namespace

Result<std::uint64_t> writeSpliceStream(std::span<const TimedSection> sections, const SpliceStreamOptions& options,
                                        const std::function<void(const ts::PacketBytes&)>& take,
                                        FindingSink* findings) {
    // What is in front of the first section makes it known to a receiver, and its clock.
    constexpr std::uint64_t kAhead = kTableSlots * kSlot90k;
    const std::uint64_t first = sections.empty() ? options.end90k.value_or(0) : sections.front().arrival90k;
    const std::uint64_t start = distanceOf(kAhead, first);
    const std::vector<Due> due = dueOf(sections, start);
    std::uint64_t end = due.empty() ? kAhead : due.back().elapsed90k;
    if (options.end90k) {
        const std::uint64_t wanted = distanceOf(start, *options.end90k);
        end = wanted < ts::kTimeBits / 2 ? std::max(end, wanted) : end;
    }
    const Result<Data> null = scte::writeSpliceInfoSection(scte::SpliceInfoSection{});
    Stream stream(start, options, take);
    std::uint64_t heartbeat = 0;
    for (auto next = due.begin(); stream.elapsed90k() <= end + kAhead || !stream.isIdle();) {
        for (; next != due.end() && next->elapsed90k <= stream.elapsed90k(); ++next) {
            const std::size_t left = stream.add(next->bytes);
            if (findings != nullptr && (left > 0 || next->bytes.empty())) {
                findings->add({FindingCode::TsSectionCut, Severity::Error,
                               static_cast<std::uint64_t>(next - due.begin()), options.pid,
                               static_cast<std::int64_t>(left)});
            }
        }
        if (options.heartbeat90k && stream.elapsed90k() >= heartbeat && stream.elapsed90k() <= end && null) {
            (void)stream.add(*null);
            heartbeat += std::max(*options.heartbeat90k, kSlot90k);
        }
        if (const auto wrong = stream.writeSlot()) {
            return *wrong;
        }
    }
    return stream.packets();
}

}  // namespace qlx::streams
