#include <qlx/streams/captions.h>

#include "TripletBytes.h"

#include <qlx/anc/packet.h>
#include <qlx/cc/cdp.h>
#include <qlx/cc/triplet.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::streams {

Data captionTriplets(const Frame& frame, FindingSink* findings) {
    if (!frame.triplets.empty()) {
        const std::size_t whole = frame.triplets.size() / sizeof(cc::Triplet);
        if (findings != nullptr && frame.triplets.size() % sizeof(cc::Triplet) != 0) {
            findings->add({FindingCode::UserDataCut, Severity::Error, 0, static_cast<std::int64_t>(whole + 1),
                           static_cast<std::int64_t>(whole)});
        }
        return frame.triplets;
    }
    std::vector<std::uint8_t> bytes;
    for (const anc::Packet& packet : frame.packets) {
        const std::span<const std::uint8_t> data = packet.userData;
        if (packet.id() == anc::ids::kCdp) {
            PlacedSink sink(findings, packet.line);
            const Result<cc::Cdp> cdp = cc::parseCdp(data, findings == nullptr ? nullptr : &sink);
            if (!cdp) {
                sink.add(cdp.error());
            } else if (cdp->hasCcData()) {
                bytes.clear();
                for (const cc::Triplet& triplet : cdp->triplets()) {
                    detail::append(bytes, triplet);
                }
                return Data(bytes);
            }
        }
        // SMPTE ST 334-1: the highest bit of the first byte is set for field 1; then the pair.
        constexpr std::size_t kPairPacket = 3;
        if (packet.id() == anc::ids::kCea608 && data.size() < kPairPacket) {
            PlacedSink(findings, packet.line)
                .add({FindingCode::StreamPairPacketCut, Severity::Error, 0, static_cast<std::int64_t>(data.size()),
                      static_cast<std::int64_t>(kPairPacket)});
        } else if (packet.id() == anc::ids::kCea608) {
            const cc::CcType field = (data[0] & 0x80U) != 0 ? cc::CcType::Field1 : cc::CcType::Field2;
            detail::append(bytes, cc::Triplet::make(field, data[1], data[2]));
        }
    }
    return bytes.empty() ? frame.triplets : Data(bytes);
}

void CdpCounters::receive(const Frame& frame, FindingSink* findings) {
    for (const anc::Packet& packet : frame.packets) {
        if (packet.id() != anc::ids::kCdp) {
            continue;
        }
        const Result<cc::Cdp> cdp = cc::parseCdp(packet.userData);
        if (!cdp) {
            continue;
        }
        Stream& stream = _streams[{packet.line, packet.channel}];
        const std::uint16_t counter = cdp->sequenceCounter();
        const std::uint64_t leftOut = frame.number > stream.frame ? frame.number - stream.frame - 1 : 0;
        if (stream.check.expected() && static_cast<std::uint16_t>(*stream.check.expected() + leftOut) == counter) {
            stream.check.expect(counter);
        }
        (void)stream.check.receive(counter, findings, packet.line);
        stream.frame = frame.number;
    }
}

}  // namespace qlx::streams
