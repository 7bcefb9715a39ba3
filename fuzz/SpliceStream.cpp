// Arbitrary bytes as a transport stream with splice information, and as the content of sections that are written into one.
#include <qlx/streams/splice.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <vector>

using qlxfuzz::require;

namespace {

using Bytes = std::vector<std::uint8_t>;

std::vector<qlx::streams::SpliceArrival> arrivalsOf(const Bytes& stream, std::size_t piece) {
    qlx::Findings findings;
    qlx::streams::SpliceReader reader({.pids = {0x101}}, &findings);
    std::vector<qlx::streams::SpliceArrival> arrivals;
    for (std::size_t place = 0; place < stream.size(); place += piece) {
        reader.push(std::span(stream).subspan(place, std::min(piece, stream.size() - place)));
    }
    reader.finish();
    while (auto arrival = reader.next()) {
        require(arrival->offset < stream.size() && !arrival->bytes.empty());
        require(!arrival->arrival90k || *arrival->arrival90k < qlx::streams::ts::kTimeBits);
        const auto distance = arrival->distance90k();
        require(!distance || (arrival->arrival90k && arrival->splice90k()));
        arrivals.push_back(*std::move(arrival));
    }
    for (const qlx::Finding& finding : findings) {
        require(!finding.text().empty());
    }
    return arrivals;
}

/// A section with stuffing of the input's bytes comes back.
void roundTrip(const Bytes& bytes) {
    qlx::scte::SpliceInfoSection section;
    section.alignmentStuffing.assign(
        bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(bytes.size(), 4000)));
    const auto written = writeSpliceInfoSection(section);
    require(written.hasValue());
    Bytes stream;
    const std::vector<qlx::streams::TimedSection> sections{{bytes.size(), {written->begin(), written->end()}}};
    const auto packets = writeSpliceStream(sections, {}, [&stream](const qlx::streams::ts::PacketBytes& packet) {
        stream.insert(stream.end(), packet.begin(), packet.end());
    });
    require(packets && *packets * qlx::streams::ts::kPacketBytes == stream.size());
    const auto arrivals = arrivalsOf(stream, 1000);
    require(arrivals.size() == 1 && arrivals[0].bytes == sections[0].bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes(data, data + size);
    require(arrivalsOf(bytes, 188).size() == arrivalsOf(bytes, 7).size());
    roundTrip(bytes);
    return 0;
}
