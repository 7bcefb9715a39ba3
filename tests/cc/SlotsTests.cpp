#include <qlx/cc/slots.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using qlx::FrameRate;
using qlx::cc::FrameFields;
using qlx::cc::Slots;
using qlx::cc::slotsOf;

TEST(Slots, AreThoseOfEachRate) {
    EXPECT_EQ(slotsOf(FrameRate::Fps23976), (Slots{25, 22, false}));
    EXPECT_EQ(slotsOf(FrameRate::Fps24), (Slots{25, 22, false}));
    EXPECT_EQ(slotsOf(FrameRate::Fps25), (Slots{24, 22, false}));
    EXPECT_EQ(slotsOf(FrameRate::Fps2997), (Slots{20, 18, false}));
    EXPECT_EQ(slotsOf(FrameRate::Fps30), (Slots{20, 18, false}));
    EXPECT_EQ(slotsOf(FrameRate::Fps50), (Slots{12, 11, true}));
    EXPECT_EQ(slotsOf(FrameRate::Fps5994), (Slots{10, 9, true}));
    EXPECT_EQ(slotsOf(FrameRate::Fps60), (Slots{10, 9, true}));
}

TEST(Slots, LeaveRoomForThePairsOfAFrame) {
    for (const FrameRate rate : qlx::kFrameRates) {
        for (std::uint64_t frame = 0; frame < 4; ++frame) {
            const FrameFields fields = qlx::cc::fieldsOfFrame(rate, frame);
            const int pairs = (fields.field1 ? 1 : 0) + (fields.field2 ? 1 : 0);
            EXPECT_LE(slotsOf(rate).greatestDtvcc + pairs, slotsOf(rate).ccCount);
            EXPECT_EQ(pairs, slotsOf(rate).fieldsAlternate ? 1 : 2);
        }
    }
}

TEST(Slots, AlternateTheFieldsAtHighRates) {
    for (const FrameRate rate : {FrameRate::Fps50, FrameRate::Fps5994, FrameRate::Fps60}) {
        EXPECT_EQ(qlx::cc::fieldsOfFrame(rate, 0), (FrameFields{true, false}));
        EXPECT_EQ(qlx::cc::fieldsOfFrame(rate, 7), (FrameFields{false, true}));
        EXPECT_EQ(qlx::cc::fieldsOfFrame(rate, UINT64_MAX), (FrameFields{false, true}));
    }
    EXPECT_EQ(qlx::cc::fieldsOfFrame(FrameRate::Fps2997, 7), (FrameFields{true, true}));
}

TEST(Slots, HoldANullPairWhenIdle) {
    using qlx::cc::CcType;
    using qlx::cc::Triplet;
    EXPECT_EQ(qlx::cc::idlePair(CcType::Field1), (Triplet{0xFC, 0x80, 0x80}));
    EXPECT_EQ(qlx::cc::idlePair(CcType::Field2), (Triplet{0xFD, 0x80, 0x80}));
}

}  // namespace
