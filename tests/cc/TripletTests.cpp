#include <qlx/cc/triplet.h>

#include <gtest/gtest.h>

#include <vector>

namespace {

using qlx::cc::CcType;
using qlx::cc::Triplet;
using List = std::vector<Triplet>;

TEST(Triplet, HasTheBitsOfItsHeader) {
    EXPECT_EQ(Triplet::make(CcType::Field1, 0x94, 0x2C), (Triplet{0xFC, 0x94, 0x2C}));
    EXPECT_EQ(Triplet::make(CcType::Field2, 1, 2), (Triplet{0xFD, 1, 2}));
    EXPECT_EQ(Triplet::make(CcType::DtvccData, 1, 2), (Triplet{0xFE, 1, 2}));
    EXPECT_EQ(Triplet::make(CcType::DtvccStart, 1, 2), (Triplet{0xFF, 1, 2}));
    EXPECT_EQ(Triplet::make(CcType::Field1, 1, 2, false), (Triplet{0xF8, 1, 2}));
    EXPECT_EQ(Triplet(), Triplet::make(CcType::DtvccData, 0, 0, false)) << "padding";

    const Triplet field2{0x05, 0x80, 0x00};
    EXPECT_TRUE(field2.valid());
    EXPECT_EQ(field2.type(), CcType::Field2);
    EXPECT_TRUE(field2.is608());
    EXPECT_FALSE(field2.isDtvcc());
    EXPECT_FALSE(field2.hasMarkerBits());
    EXPECT_TRUE(field2.isNullPair());
    EXPECT_TRUE(Triplet().isDtvcc());
    EXPECT_FALSE(Triplet().valid());
    EXPECT_TRUE(Triplet().hasMarkerBits());
    EXPECT_FALSE((Triplet{0xFC, 0x80, 0x01}).isNullPair());
}

TEST(TripletFilterView, GivesThePairsOfAFieldAndTheDtvccTriplets) {
    const List all{{0xFC, 1, 1}, {0xFD, 2, 2}, {0xF8, 3, 3}, {0xFF, 4, 4}, {0xFE, 5, 5},
                   {0xFA, 6, 6}, {0xFB, 7, 7}, {0x04, 8, 8}, {0xF9, 9, 9}};
    const auto listOf = [](const qlx::cc::TripletFilterView& view) { return List(view.begin(), view.end()); };
    EXPECT_EQ(listOf(fieldPairs(all, CcType::Field1)), (List{{0xFC, 1, 1}, {0x04, 8, 8}}));
    EXPECT_EQ(listOf(fieldPairs(all, CcType::Field2)), (List{{0xFD, 2, 2}}));
    EXPECT_EQ(listOf(qlx::cc::dtvccTriplets(all)), (List{{0xFF, 4, 4}, {0xFE, 5, 5}}));
    EXPECT_TRUE(qlx::cc::dtvccTriplets({}).empty());
    EXPECT_TRUE(fieldPairs(List{{0xF8, 0, 0}}, CcType::Field1).empty());
}

}  // namespace
