#include "streams/FrameCaptions.h"

#include "streams/Cdp.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace qlx::tool {

namespace {

// cc_data (CTA-708): five marker bits, cc_valid, and two bits of cc_type.
constexpr std::uint8_t kField1 = 0xFC;
constexpr std::uint8_t kField2 = 0xFD;

// A CDP's header, and the identifier and count of its caption data.
constexpr std::size_t kBytesBeforeTriplets = 7 + 2;
constexpr std::size_t kTripletSize = 3;

}  // namespace

Data captionTriplets(const Frame& frame) {
    if (!frame.triplets.empty()) {
        return frame.triplets;
    }
    std::vector<std::uint8_t> pairs;
    for (const auto& packet : frame.packets) {
        const std::span<const std::uint8_t> data = packet.userData;
        if (packet.id() == anc::ids::kCdp) {
            if (const auto cdp = readCdp(data); cdp && cdp->ccCount) {
                return Data(
                    data.subspan(kBytesBeforeTriplets + cdp->timeCodeBytes, cdp->triplets.size() * kTripletSize));
            }
        }
        // SMPTE ST 334-1: the highest bit of the first byte is set for field 1; then the pair.
        constexpr std::size_t kPairPacket = 3;
        if (packet.id() == anc::ids::kCea608 && data.size() >= kPairPacket) {
            const std::uint8_t flags = (data[0] & 0x80U) != 0 ? kField1 : kField2;
            pairs.insert(pairs.end(), {flags, data[1], data[2]});
        }
    }
    return pairs.empty() ? frame.triplets : Data(pairs);
}

}  // namespace qlx::tool
