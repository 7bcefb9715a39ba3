#include <qlx/streams/ts/multiplexer.h>

#include "TsFinding.h"

#include <algorithm>

namespace qlx::streams::ts {

namespace {

constexpr std::uint64_t kBitsPerPacket = kPacketBytes * 8;

/// As a number of ticks of 27 MHz.
constexpr std::uint64_t clockTicks(std::int64_t ticks90k) {
    return static_cast<std::uint64_t>(ticks90k) * kTicksPerPcr;
}

}  // namespace

Multiplexer::Multiplexer(const MultiplexOptions& options, FindingSink* findings)
    : _options(options), _findings(findings) {
    _options.bitrate = std::clamp(_options.bitrate, kLowestBitrate, kGreatestBitrate);
    Pat association;
    association.header.extension = _options.streamId;
    association.programs = {{_options.map.header.extension, _options.mapPid}};
    Sdt services;
    services.header.extension = _options.streamId;
    services.services = {
        {_options.map.header.extension, {serviceDescriptor(_options.providerName, _options.serviceName)}}};
    const auto keep = [this](const Result<std::vector<std::uint8_t>>& section, std::vector<std::uint8_t>& to) {
        if (section) {
            to = *section;
        } else {
            detail::addFinding(_findings, section.error().code, Severity::Error, 0,
                               static_cast<std::uint64_t>(section.error().first),
                               static_cast<std::uint64_t>(section.error().second));
        }
    };
    keep(writePat(association), _association);
    keep(writePmt(_options.map), _map);
    if (!_options.serviceName.empty() || !_options.providerName.empty()) {
        keep(writeSdt(services), _services);
    }
}

/// Ticks of 27 MHz from the beginning to the packet of that number.
std::uint64_t Multiplexer::clockOf(std::uint64_t packet) const noexcept {
    // In whole seconds and the rest: no product goes beyond 64 bits.
    const std::uint64_t bits = packet * kBitsPerPacket;
    const std::uint64_t seconds = bits / _options.bitrate;
    const std::uint64_t rest = bits % _options.bitrate;
    return seconds * kPcrPerSecond + rest * kPcrPerSecond / _options.bitrate;
}

PayloadWriter& Multiplexer::writerOf(std::uint16_t pid) {
    const auto known = std::find_if(_writers.begin(), _writers.end(),
                                    [pid](const PayloadWriter& writer) { return writer.pid() == pid; });
    return known != _writers.end() ? *known : _writers.emplace_back(pid);
}

void Multiplexer::queue(const std::vector<PacketBytes>& packets, std::int64_t time90k) {
    for (const PacketBytes& packet : packets) {
        _waiting.push_back({time90k, packet});
    }
}

void Multiplexer::addPes(std::uint16_t pid, std::span<const std::uint8_t> pes, std::int64_t time90k) {
    std::vector<PacketBytes> packets;
    writerOf(pid).addPes(pes, packets);
    queue(packets, time90k);
}

void Multiplexer::addSection(std::uint16_t pid, std::span<const std::uint8_t> section, std::int64_t time90k) {
    std::vector<PacketBytes> packets;
    writerOf(pid).addSection(section, packets);
    queue(packets, time90k);
}

/// Whether a table's packet was made.
bool Multiplexer::makeTable() {
    const std::uint64_t next = clockOf(_made + 1);
    std::vector<PacketBytes> packets;
    // Those of the tables are sent one behind the other: what is due later must not wait for it.
    const std::uint64_t margin = clockOf(3);
    if (next + margin > _tablesDue) {
        _tablesDue = clockOf(_made) + clockTicks(kTableInterval90k);
        writerOf(kPatPid).addSection(_association, packets);
        writerOf(_options.mapPid).addSection(_map, packets);
    }
    if (!_services.empty() && next + margin > _servicesDue) {
        _servicesDue = clockOf(_made) + clockTicks(kServiceInterval90k);
        writerOf(kSdtPid).addSection(_services, packets);
    }
    _tables.insert(_tables.end(), packets.begin(), packets.end());
    if (_tables.empty()) {
        return false;
    }
    _packets.push_back(_tables.front());
    _tables.pop_front();
    return true;
}

void Multiplexer::makePacket() {
    const std::uint64_t clock = clockOf(_made);
    const std::int64_t time = static_cast<std::int64_t>(clock / kTicksPerPcr) + _options.firstTime90k;
    if (_made == 0 || clockOf(_made + 1) > _pcrDue) {
        // The clock begins before 0 where times begin there.
        const auto base = static_cast<std::uint64_t>(_options.firstTime90k - kPresentationLead90k);
        const std::uint64_t pcr = (base % kTimeBits) * kTicksPerPcr + clock;
        writerOf(_options.map.pcrPid).addPcr(pcr % kPcrWrap, _packets);
        _pcrDue = clock + clockTicks(kGreatestPcrInterval90k);
    } else if (makeTable()) {
        // It has been made.
    } else if (!_waiting.empty() && _waiting.front().time90k <= time) {
        const std::int64_t late = time - kPresentationLead90k - _waiting.front().time90k;
        if (late > 0 && !_isLateTold) {
            _isLateTold = true;
            detail::addFinding(_findings, FindingCode::TsBitrateTooLow, Severity::Warning, _made * kPacketBytes,
                               _options.bitrate, static_cast<std::uint64_t>(late));
        }
        _packets.push_back(_waiting.front().packet);
        _waiting.pop_front();
    } else {
        _packets.push_back(nullPacket());
    }
    ++_made;
}

void Multiplexer::advanceTo(std::int64_t time90k) {
    const std::int64_t ticks = time90k - _options.firstTime90k;
    while (ticks > 0 && clockOf(_made) < clockTicks(ticks)) {
        makePacket();
    }
}

void Multiplexer::finish(std::int64_t time90k) {
    advanceTo(time90k);
    while (!_waiting.empty()) {
        makePacket();
    }
    advanceTo(time90k + kPresentationLead90k);
}

}  // namespace qlx::streams::ts
