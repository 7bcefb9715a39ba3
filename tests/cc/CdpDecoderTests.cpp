// Caption distribution packets that are written here, read by a decoder that is not ours: GStreamer's ccconverter.
#include "CdpDecoder.h"

#include <qlx/cc/slots.h>

namespace {

using namespace qlxtest;

using qlx::FrameRate;
using qlx::cc::CaptionService;
using qlx::cc::CcType;
using qlx::cc::Cdp;
using qlx::cc::Triplet;

TEST_F(CdpDecoder, ReadsEveryTripletAtEveryRate) {
    constexpr unsigned kFrames = 40;
    const CaptionService services[] = {CaptionService::line21(false), CaptionService::digital(1, {'e', 'n', 'g'})};
    for (const FrameRate rate : qlx::kFrameRates) {
        const qlx::cc::Slots slots = qlx::cc::slotsOf(rate);
        std::vector<Bytes> packets;
        Bytes expected;
        for (unsigned frame = 0; frame < kFrames; ++frame) {
            const auto number = static_cast<std::uint8_t>(frame);
            const qlx::cc::FrameFields fields = qlx::cc::fieldsOfFrame(rate, frame);
            // Pairs with content, and no padding, which the decoder leaves out.
            std::vector<Triplet> triplets;
            if (fields.field1) {
                triplets.push_back(Triplet::make(CcType::Field1, 0x20, number | 0x40U));
            }
            if (fields.field2) {
                triplets.push_back(Triplet::make(CcType::Field2, 0x61, number | 0x40U));
            }
            triplets.push_back(Triplet::make(CcType::DtvccStart, number, 0x21));
            for (std::uint8_t more = 1; more < slots.greatestDtvcc; ++more) {
                triplets.push_back(Triplet::make(CcType::DtvccData, number, more));
            }
            for (const Triplet& triplet : triplets) {
                expected.insert(expected.end(), {triplet.header, triplet.first, triplet.second});
            }
            triplets.resize(slots.ccCount);
            Cdp cdp;
            cdp.setFrameRate(rate);
            cdp.setSequenceCounter(static_cast<std::uint16_t>(65530 + frame));
            cdp.setTimeCode(qlx::cc::CdpTimeCode::make({.hours = 1, .frames = static_cast<std::uint8_t>(frame / 2)}));
            ASSERT_TRUE(cdp.setTriplets(triplets));
            ASSERT_TRUE(cdp.setServices(services));
            packets.push_back(written(cdp));
        }
        EXPECT_EQ(contentOf(decoded(packets, rate)), contentOf(expected)) << "rate " << static_cast<int>(rate);
    }
}

TEST_F(CdpDecoder, RefusesAWrongLength) {
    // What the judge is worth: a packet with a wrong length byte gives it nothing.
    Bytes packet = packetOf(kTenTriplets);
    packet[2] = static_cast<std::uint8_t>(packet[2] - 8);
    setChecksum(packet);
    EXPECT_EQ(contentOf(decoded({packet}, FrameRate::Fps60)), Content{});
    EXPECT_EQ(contentOf(decoded({packetOf(kTenTriplets)}, FrameRate::Fps60)),
              contentOf(fromHex(kTenTriplets.substr(4))));
}

}  // namespace
