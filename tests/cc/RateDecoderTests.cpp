// Packets of a changed frame rate, read by a decoder that is not ours.
#include "CdpDecoder.h"

#include <qlx/cc/rate.h>
#include <qlx/cc/slots.h>

namespace {

using namespace qlxtest;

using qlx::FrameRate;
using qlx::cc::CaptionService;
using qlx::cc::CcType;
using qlx::cc::Cdp;
using qlx::cc::Triplet;

class RateDecoder : public CdpDecoder {
protected:
    /// Frame by frame through a change of rate, and what the decoder then reads.
    [[nodiscard]] Content changed(const std::vector<Cdp>& frames, FrameRate from, FrameRate to) const {
        qlx::cc::RateChange change({.from = from, .to = to});
        std::vector<Bytes> packets;
        qlx::cc::RateFrame out;
        for (std::size_t frame = 0; frame < frames.size(); ++frame) {
            change.feed(frame, frames[frame]);
            while (change.next(out)) {
                packets.push_back(written(out.cdp));
            }
        }
        change.finish();
        while (change.next(out)) {
            packets.push_back(written(out.cdp));
        }
        return contentOf(decoded(packets, to));
    }
};

/// What frames carry.
struct Kinds {
    bool field1 = true;
    bool field2 = true;
    bool dtvcc = true;
    bool isShort = false;     ///< cc_count is what is there.
    bool alternates = false;  ///< A pair of one field a frame.
    bool hasServices = false;
};

Cdp frameOf(const Kinds& kinds, FrameRate rate, unsigned number) {
    const auto byte = static_cast<std::uint8_t>(number);
    const bool isEven = number % 2 == 0;
    std::vector<Triplet> triplets;
    if (kinds.field1 && (!kinds.alternates || isEven)) {
        triplets.push_back(Triplet::make(CcType::Field1, 0x41, 0x80U | byte));
    }
    if (kinds.field2 && (!kinds.alternates || !isEven)) {
        triplets.push_back(Triplet::make(CcType::Field2, 0x61, 0x80U | byte));
    }
    if (kinds.dtvcc) {
        // A packet of four triplets, and one of five over two frames.
        if (!isEven) {
            triplets.insert(triplets.end(), 4, Triplet::make(CcType::DtvccData, 0x33, byte));
        }
        triplets.push_back(Triplet::make(CcType::DtvccStart, 0x04, byte));
        for (std::uint8_t part = 1; part < 4; ++part) {
            triplets.push_back(Triplet::make(CcType::DtvccData, byte, part));
        }
        if (isEven) {
            triplets.push_back(Triplet::make(CcType::DtvccStart, 0x05, byte));
        }
    }
    if (!kinds.isShort) {
        triplets.resize(std::max<std::size_t>(triplets.size(), qlx::cc::slotsOf(rate).ccCount));
    }
    Cdp cdp;
    cdp.setFrameRate(rate);
    cdp.setSequenceCounter(static_cast<std::uint16_t>(number));
    EXPECT_TRUE(cdp.setTriplets(triplets));
    if (kinds.hasServices) {
        const CaptionService service = CaptionService::digital(1, {'e', 'n', 'g'});
        EXPECT_TRUE(cdp.setServices(std::span(&service, 1)));
        cdp.setTimeCode(qlx::cc::CdpTimeCode::make({.frames = static_cast<std::uint8_t>(number / 2 % 12)}));
    }
    return cdp;
}

std::vector<Cdp> framesOf(const Kinds& kinds, FrameRate rate, unsigned first = 0) {
    std::vector<Cdp> frames;
    for (unsigned frame = 0; frame < 24; ++frame) {
        frames.push_back(frameOf(kinds, rate, first + frame));
    }
    return frames;
}

Content contentOf(const std::vector<Cdp>& frames) {
    Bytes bytes;
    for (const Cdp& cdp : frames) {
        for (const Triplet& triplet : cdp.triplets()) {
            bytes.insert(bytes.end(), {triplet.header, triplet.first, triplet.second});
        }
    }
    return qlxtest::contentOf(bytes);
}

TEST_F(RateDecoder, ReadsEachKindInOrderForAllPairsOfRates) {
    for (const FrameRate from : qlx::kFrameRates) {
        for (const FrameRate to : qlx::kFrameRates) {
            // Without services, with them, and the alternation of the rate; short packets where the rate has few.
            const Kinds kinds{.isShort = to < from,
                              .alternates = qlx::cc::slotsOf(from).fieldsAlternate,
                              .hasServices = static_cast<int>(from) % 2 == 0};
            const std::vector<Cdp> frames = framesOf(kinds, from);
            EXPECT_EQ(changed(frames, from, to), contentOf(frames))
                << static_cast<int>(from) << " to " << static_cast<int>(to);
        }
    }
}

TEST_F(RateDecoder, ReadsWhateverThePacketsLack) {
    const Kinds all[] = {
        {.hasServices = false},
        {.field1 = false, .dtvcc = false},
        {.field1 = false, .field2 = false},
        {.isShort = true},
        {.field1 = false, .dtvcc = false, .isShort = true, .hasServices = true},
        {.alternates = true},
        {.dtvcc = false, .isShort = true, .alternates = true},
    };
    for (const Kinds& kinds : all) {
        for (const auto& [from, to] :
             {std::pair(FrameRate::Fps2997, FrameRate::Fps5994), std::pair(FrameRate::Fps5994, FrameRate::Fps2997),
              std::pair(FrameRate::Fps5994, FrameRate::Fps25)}) {
            const std::vector<Cdp> frames = framesOf(kinds, from);
            EXPECT_EQ(changed(frames, from, to), contentOf(frames))
                << &kinds - all << ": " << static_cast<int>(from) << " to " << static_cast<int>(to);
        }
    }
}

}  // namespace
