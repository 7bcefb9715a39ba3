#include "commands/scte/SCTE35Stream.h"

#include "io/Errors.h"

#include <qlx/streams/splice.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::uint64_t kTimes = scte::kGreatestTicks + 1;
/// How long before a splice its section should be there at least (ANSI/SCTE 35, 9.9.2.1).
constexpr std::uint64_t kLead90k = 4 * std::uint64_t{90000};

std::optional<std::uint64_t> spliceOf(const scte::SpliceInfoSection& section) {
    streams::SpliceArrival arrival;
    arrival.section = section;
    return arrival.splice90k();
}

/// When a section for a splice should come.
std::uint64_t arrivalFor(std::uint64_t splice) {
    return (splice + kTimes - kLead90k) % kTimes;
}

/// When the first of sections comes that no frame carries: what has no time comes with the first that has one.
std::uint64_t firstArrivalOf(std::span<const scte::SpliceInfoSection> sections) {
    for (const scte::SpliceInfoSection& section : sections) {
        if (const auto splice = spliceOf(section)) {
            return arrivalFor(*splice);
        }
    }
    return 0;
}

bool isBefore(std::uint64_t one, std::uint64_t other) {
    return (other + kTimes - one) % kTimes < kTimes / 2;
}

}  // namespace

void writeScte35Stream(std::span<const scte::SpliceInfoSection> sections, const Scte35Options& options,
                       OutputFile& output) {
    const bool hasFrame = !options.areSections && !options.splicePts && !options.asDeployed;
    std::vector<streams::TimedSection> timed;
    streams::SpliceStreamOptions stream;
    stream.heartbeat90k = options.heartbeat90k;
    std::uint64_t arrival = hasFrame ? options.pts : firstArrivalOf(sections);
    for (const scte::SpliceInfoSection& section : sections) {
        const auto bytes = writeSpliceInfoSection(section);
        if (!bytes) {
            throw failureIn(options.source.input, "a section cannot be written: " + bytes.error().text());
        }
        const auto splice = spliceOf(section);
        if (splice && !hasFrame) {
            arrival = arrivalFor(*splice);
        }
        if (splice && (!stream.end90k || isBefore(*stream.end90k, *splice))) {
            stream.end90k = *splice;
        }
        timed.push_back({arrival, {bytes->begin(), bytes->end()}});
    }
    const auto written = streams::writeSpliceStream(
        timed, stream, [&output](const streams::ts::PacketBytes& packet) { output.write(packet); });
    if (!written) {
        throw failureIn(output.name(), written.error().text());
    }
}

}  // namespace qlx::tool
