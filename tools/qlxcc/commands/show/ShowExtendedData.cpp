#include "commands/show/ShowExtendedData.h"

#include "streams/Cdp.h"

#include <qlx/cc/triplet.h>
#include <qlx/streams/captions.h>

namespace qlx::tool {

std::vector<ExtendedDatum> ExtendedDataReader::receive(const Frame& frame, FindingSink* findings) {
    std::vector<ExtendedDatum> changes;
    const std::vector<cc::Triplet> triplets = readTriplets(streams::captionTriplets(frame, findings));
    _counters.receive(frame, findings);
    for (const cc::Triplet& pair : cc::fieldPairs(triplets, cc::CcType::Field2)) {
        const auto packet = _reader.receive(pair.first, pair.second, findings);
        if (!packet) {
            continue;
        }
        const auto [place, isFirst] = _last.try_emplace({packet->xdsClass, packet->type});
        if (isFirst || place->second.packet != *packet) {
            (void)cea608::xdsValue(*packet, findings);
            place->second = {*packet, *frame.pts, frame.number};
            changes.push_back(place->second);
        }
    }
    return changes;
}

std::vector<ExtendedDatum> ExtendedDataReader::current() const {
    std::vector<ExtendedDatum> all;
    for (const auto& [key, datum] : _last) {
        all.push_back(datum);
    }
    return all;
}

}  // namespace qlx::tool
