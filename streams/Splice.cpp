#include <qlx/streams/splice.h>

#include <qlx/streams/ts/tables.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qlx::streams {

namespace {

constexpr std::size_t kMostWaiting = 4096;
/// Of all programs: what sections say takes many times their bytes.
constexpr std::size_t kMostWaitingBytes = std::size_t{1} << 20U;
/// A clock that goes on by more than a second between two times has jumped; they come every tenth of one.
constexpr std::uint64_t kGreatestStep = ts::kPcrPerSecond;

std::optional<std::uint64_t> timeOf(const scte::SpliceCommand& command) noexcept {
    if (const auto* const signal = std::get_if<scte::TimeSignal>(&command)) {
        return signal->time.ticks90k;
    }
    const auto* const insert = std::get_if<scte::SpliceInsert>(&command);
    if (insert == nullptr || insert->cancel || insert->immediate) {
        return std::nullopt;
    }
    if (insert->programSplice) {
        return insert->time.ticks90k;
    }
    for (const scte::SpliceComponent& component : insert->components) {
        if (component.time.ticks90k) {
            return component.time.ticks90k;
        }
    }
    return std::nullopt;
}

bool isCueRegistration(const ts::Descriptor& descriptor) {
    // format_identifier (ISO/IEC 13818-1, 2.6.8).
    std::uint32_t identifier = 0;
    constexpr std::size_t kIdentifierBytes = sizeof identifier;
    if (!descriptor.is(ts::DescriptorTag::Registration) || descriptor.bytes.size() < kIdentifierBytes) {
        return false;
    }
    for (std::size_t index = 0; index < kIdentifierBytes; ++index) {
        identifier = identifier << 8U | descriptor.bytes[index];
    }
    return identifier == scte::kCueIdentifier;
}

}  // namespace

std::optional<std::uint64_t> SpliceArrival::splice90k() const noexcept {
    const auto time = timeOf(section.command);
    return time ? std::optional((*time + section.ptsAdjustment90k) % ts::kTimeBits) : std::nullopt;
}

std::optional<std::int64_t> SpliceArrival::distance90k() const noexcept {
    const auto splice = splice90k();
    if (!splice || !arrival90k) {
        return std::nullopt;
    }
    const std::uint64_t ahead = (*splice + ts::kTimeBits - *arrival90k) % ts::kTimeBits;
    return ahead < ts::kTimeBits / 2 ? static_cast<std::int64_t>(ahead)
                                     : static_cast<std::int64_t>(ahead) - static_cast<std::int64_t>(ts::kTimeBits);
}

SpliceReader::SpliceReader(const SpliceReaderOptions& options, FindingSink* findings)
    : _options(options), _findings(findings), _arrivals({.items = options.limits.items}),
      _packets(findings, {.bytes = options.limits.bytes}), _programs(findings) {
    for (const std::uint16_t pid : _options.pids) {
        _sections.try_emplace(pid, ts::SectionCrc::Always, _findings);
    }
}

void SpliceReader::push(std::span<const std::uint8_t> bytes) {
    if (_arrivals.hasEnded()) {
        return;
    }
    _packets.push(bytes);
    while (const auto packet = _packets.next()) {
        takePacket(*packet);
    }
}

void SpliceReader::finish() {
    const bool isAtLimit = _arrivals.hasEnded();
    if (!isAtLimit) {
        _packets.finish();
        while (const auto packet = _packets.next()) {
            takePacket(*packet);
        }
    }
    for (auto& [pid, sections] : _sections) {
        if (isAtLimit || _packets.isCut()) {
            sections.stop();
        } else {
            sections.finish();
        }
    }
    _programs.finish();
    if (isAtLimit) {
        return;
    }
    for (auto& [pid, clock] : _clocks) {
        release(clock);
    }
}

std::optional<SpliceArrival> SpliceReader::next() {
    if (_ready.empty()) {
        return std::nullopt;
    }
    SpliceArrival arrival = std::move(_ready.front());
    _ready.pop_front();
    if (!_arrivals.takeItem()) {
        _ready.clear();
        if (const auto finding = _arrivals.takeFinding(arrival.offset); finding && _findings != nullptr) {
            _findings->add(*finding);
        }
        return std::nullopt;
    }
    return arrival;
}

void SpliceReader::takePacket(const ts::PacketView& packet) {
    if (_programs.receive(packet)) {
        takeMaps(packet.offset);
    }
    if (packet.pcr) {
        takePcr(_clocks[packet.pid], packet);
    }
    const auto found = _sections.find(packet.pid);
    if (found == _sections.end()) {
        return;
    }
    found->second.push(packet);
    takeSections(found->second);
}

void SpliceReader::takeMaps(std::uint64_t offset) {
    for (const ts::Pmt& map : _programs.maps()) {
        bool isAny = false;
        for (const ts::ProgramStream& stream : map.streams) {
            if (stream.type == ts::kSpliceType) {
                isAny = true;
                _sections.try_emplace(stream.pid, ts::SectionCrc::Always, _findings);
            }
        }
        const bool isRegistered = std::any_of(map.descriptors.begin(), map.descriptors.end(), isCueRegistration);
        const std::uint16_t program = map.header.extension;
        if (isAny && !isRegistered && !std::exchange(_isSaid[program], true) && _findings != nullptr) {
            _findings->add({FindingCode::SpliceNotRegistered, Severity::Warning, offset, program, 0});
        }
    }
}

const ts::Pmt* SpliceReader::programOf(std::uint16_t pid) const {
    const ts::Pmt* const map = _programs.mapOf(pid);
    // A PID that no map names has the clock of the only program.
    return map == nullptr && _programs.maps().size() == 1 ? &_programs.maps().front() : map;
}

void SpliceReader::takeSections(ts::SectionReader& sections) {
    while (const auto view = sections.next()) {
        // SCTE 35, 9.6.1: of other tables there are none in such a stream. A wrong CRC is said by the reader.
        if (!view->isCrcRight || view->tableId() != scte::kSpliceInfoTableId) {
            continue;
        }
        Findings findings;
        auto section = scte::parseSpliceInfoSection(view->bytes, &findings);
        if (!section) {
            findings.add(section.error());
        }
        for (Finding finding : findings) {
            finding.offset = view->offset;
            if (_findings != nullptr) {
                _findings->add(finding);
            }
        }
        if (!section) {
            continue;
        }
        const ts::Pmt* const map = programOf(view->pid);
        Clock& clock = _clocks[map == nullptr ? ts::kNullPid : map->pcrPid];
        clock.waiting.push_back({view->offset,
                                 view->pid,
                                 map == nullptr ? std::uint16_t{0} : map->header.extension,
                                 std::nullopt,
                                 {view->bytes.begin(), view->bytes.end()},
                                 *std::move(section)});
        _waitingBytes += view->bytes.size();
        if (clock.waiting.size() > kMostWaiting) {
            release(clock);
        }
        if (_waitingBytes > kMostWaitingBytes) {
            for (auto& [pid, one] : _clocks) {
                release(one);
            }
        }
    }
}

void SpliceReader::takePcr(Clock& clock, const ts::PacketView& packet) {
    const std::uint64_t step = (*packet.pcr + ts::kPcrWrap - clock.pcr) % ts::kPcrWrap;
    const bool goesOn = clock.isKnown && !packet.isDiscontinuous && step <= kGreatestStep;
    if (goesOn && packet.offset > clock.offset) {
        clock.ticksPerByte = static_cast<double>(step) / static_cast<double>(packet.offset - clock.offset);
    }
    // In front of the first two times it is the clock of these.
    if (clock.isKnown) {
        release(clock);
    }
    clock.offset = packet.offset;
    clock.pcr = *packet.pcr;
    clock.isKnown = true;
}

void SpliceReader::release(Clock& clock) {
    for (SpliceArrival& arrival : clock.waiting) {
        if (clock.isKnown) {
            const double bytes = static_cast<double>(arrival.offset) - static_cast<double>(clock.offset);
            const auto ticks = static_cast<std::int64_t>(std::llround(bytes * clock.ticksPerByte));
            const auto wrap = static_cast<std::int64_t>(ts::kPcrWrap);
            const std::int64_t pcr = ((static_cast<std::int64_t>(clock.pcr) + ticks) % wrap + wrap) % wrap;
            arrival.arrival90k = static_cast<std::uint64_t>(pcr) / ts::kTicksPerPcr;
        }
        _waitingBytes -= arrival.bytes.size();
        _ready.push_back(std::move(arrival));
    }
    clock.waiting.clear();
}

}  // namespace qlx::streams
