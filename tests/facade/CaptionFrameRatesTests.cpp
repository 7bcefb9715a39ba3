// Caption triplets split over two frames, and joined from two.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "CaptionSupport.h"

#include <gtest/gtest.h>

#include <utility>

using qlx::Data;
using namespace qlxtest;

namespace {

/// A pair of digits: both halves, readable in a failed assertion.
using Halves = std::pair<std::string, std::string>;

Halves split(const Data& triplets, const Data& field1, const Data& field2, std::uint8_t ccCount) {
    Data first;
    Data second;
    QLXCCUtilities::splitCEA708PacketData_withCC1Data_andCC2Data_toPacketData1_andPacketData2_CCCount(
        triplets, field1, field2, &first, &second, ccCount);
    EXPECT_TRUE(first && second);
    return {toHex(first), toHex(second)};
}

Halves split(std::string_view triplets, std::string_view field1, std::string_view field2, std::uint8_t ccCount) {
    return split(fromHex(triplets), fromHex(field1), fromHex(field2), ccCount);
}

std::string join(std::string_view first, std::string_view second, std::string_view field1, std::string_view field2,
                 std::uint8_t ccCount) {
    return toHex(QLXCCUtilities::concatenatedCEA708PacketDataFromData_andData_withCC1Data_andCC2Data_CCCount(
        fromHex(first), fromHex(second), fromHex(field1), fromHex(field2), ccCount));
}

}  // namespace

TEST(SplitTriplets, GiveField1ToTheFirstAndField2ToTheSecond) {
    EXPECT_EQ(split(numbered(0, 18), "942c", "1526", 10),
              Halves("fc942c" + numbered(0, 9), "fd1526" + numbered(9, 18)));
}

TEST(SplitTriplets, ArePaddedToTheCount) {
    EXPECT_EQ(split("", "", "", 10), Halves(padding(10), padding(10)));
    EXPECT_EQ(split("", "942c", "1526", 12), Halves("fc942c" + padding(11), "fd1526" + padding(11)));
    EXPECT_EQ(split(numbered(0, 3), "942c", "", 10), Halves("fc942c" + numbered(0, 3) + padding(6), padding(10)));
    EXPECT_EQ(split(numbered(0, 11), "", "", 10), Halves(numbered(0, 9) + padding(1), numbered(9, 11) + padding(8)));
}

TEST(SplitTriplets, AreNeverCut) {
    // Two pairs and nine triplets are one more than the count; what is left for the second half may be far more.
    EXPECT_EQ(split(numbered(0, 40), "942c9420", "15261527", 10),
              Halves("fc942cfc9420" + numbered(0, 9), "fd1526fd1527" + numbered(9, 40)));
    EXPECT_EQ(split("", "942c94209425", "", 2), Halves("fc942cfc9420fc9425", padding(2)));
}

TEST(SplitTriplets, TakeAsManyField2PairsAsField1Has) {
    EXPECT_EQ(split("", "", "15261527", 3), Halves(padding(3), padding(3)));
    EXPECT_EQ(split("", "942c", "15261527", 3), Halves("fc942c" + padding(2), "fd1526" + padding(2)));
    EXPECT_EQ(split("", "942c9420", "15261527", 3), Halves("fc942cfc9420" + padding(1), "fd1526fd1527" + padding(1)));
    EXPECT_EQ(split("", "942c94209425", "1526", 3), Halves("fc942cfc9420fc9425", "fd1526" + padding(2)))
        << "and stop at the end of field 2";
}

TEST(SplitTriplets, LoseTheOddByteOfAField) {
    EXPECT_EQ(split("", "94", "15", 2), Halves(padding(2), padding(2)));
    EXPECT_EQ(split("", "94", "1526", 2), Halves(padding(2), padding(2)));
    EXPECT_EQ(split("", "942c", "15", 2), Halves("fc942c" + padding(1), padding(2)));
    EXPECT_EQ(split("", "942c94", "152615", 2), Halves("fc942c" + padding(1), "fd1526" + padding(1)));
    EXPECT_EQ(split("", "942c94", "15261526", 2), Halves("fc942c" + padding(1), "fd1526" + padding(1)));
}

TEST(SplitTriplets, OfASmallCount) {
    EXPECT_EQ(split(numbered(0, 4), "", "", 0), Halves("", numbered(0, 4)));
    EXPECT_EQ(split(numbered(0, 4), "942c", "1526", 0), Halves("fc942c", "fd1526" + numbered(0, 4)));
    EXPECT_EQ(split(numbered(0, 4), "", "", 1), Halves(padding(1), numbered(0, 4)));
    EXPECT_EQ(split(numbered(0, 4), "", "", 2), Halves(numbered(0, 1) + padding(1), numbered(1, 4)));
    EXPECT_EQ(split("", "", "", 0), Halves("", ""));
    EXPECT_EQ(split("", "", "", 255), Halves(padding(255), padding(255)));
}

TEST(SplitTriplets, CountTheirBytesWithEightBits) {
    for (std::size_t size = 0; size <= 600; ++size) {
        std::vector<std::uint8_t> triplets = fromHex(numbered(0, 201));
        triplets.resize(size);
        const std::size_t whole = size % 256 / 3;
        const std::size_t inFirst = std::min<std::size_t>(whole, 9);
        const std::string all = toHex(triplets);
        const std::string first = all.substr(0, 6 * inFirst) + padding(10 - inFirst);
        const std::size_t inSecond = whole - inFirst;
        const std::string second = all.substr(6 * inFirst, 6 * inSecond) + padding(inSecond < 10 ? 10 - inSecond : 0);
        EXPECT_EQ(split(triplets, {}, {}, 10), Halves(first, second)) << size;
    }
}

TEST(SplitTriplets, OfNoneAreThoseOfEmptyBuffers) {
    EXPECT_EQ(split(Data(), Data(), Data(), 10), Halves(padding(10), padding(10)));
    EXPECT_EQ(split(Data(), Data{0x94, 0x2C}, Data(), 3), Halves("fc942c" + padding(2), padding(3)));
}

TEST(SplitTriplets, NeedBothPlaces) {
    Data one = {1};
    const Data triplets = fromHex(numbered(0, 18));
    const auto splitTo = [&](Data* first, Data* second) {
        QLXCCUtilities::splitCEA708PacketData_withCC1Data_andCC2Data_toPacketData1_andPacketData2_CCCount(
            triplets, {}, {}, first, second, 10);
    };
    splitTo(&one, nullptr);
    EXPECT_EQ(one, Data{1});
    splitTo(nullptr, &one);
    EXPECT_EQ(one, Data{1});
    splitTo(nullptr, nullptr);
}

TEST(JoinedTriplets, AreBothFieldsThenBothFrames) {
    EXPECT_EQ(join(numbered(0, 9), numbered(9, 18), "942c", "1526", 20), "fc942cfd1526" + numbered(0, 18));
    EXPECT_EQ(join(numbered(0, 2), numbered(2, 3), "942c9420", "15261527", 10),
              "fc942cfc9420fd1526fd1527" + numbered(0, 3) + padding(3));
}

TEST(JoinedTriplets, HaveANullPairForAnEmptyField2Only) {
    EXPECT_EQ(join("", "", "", "", 4), "fd8080" + padding(3));
    EXPECT_EQ(join("", "", "94", "15", 4), "fd8080" + padding(3));
    EXPECT_EQ(join("", "", "942c", "", 4), "fc942cfd8080" + padding(2));
    EXPECT_EQ(join("", "", "942c9420", "", 20), "fc942cfc9420fd8080" + padding(17));
}

TEST(JoinedTriplets, LoseTheOddByteOfAField) {
    EXPECT_EQ(join("", "", "942c94", "152615", 4), "fc942cfd1526" + padding(2));
}

TEST(JoinedTriplets, AreNeverCut) {
    EXPECT_EQ(join(numbered(0, 60), numbered(60, 130), "942c", "1526", 20), "fc942cfd1526" + numbered(0, 130));
    EXPECT_EQ(join(numbered(0, 2), "", "", "", 0), "fd8080" + numbered(0, 2));
    // Bytes that are no whole triplet stay, and padding begins while the length is below the count's.
    EXPECT_EQ(join("fe01", "fe", "", "", 3), "fd8080fe01fefa0000");
    EXPECT_EQ(join("fe01", "", "", "", 3), "fd8080fe01fa0000fa0000");
}

TEST(JoinedTriplets, AreNoneWithoutABuffer) {
    const auto joinData = [](const Data& first, const Data& second) {
        return QLXCCUtilities::concatenatedCEA708PacketDataFromData_andData_withCC1Data_andCC2Data_CCCount(
            first, second, {0x94, 0x2C}, {}, 2);
    };
    EXPECT_FALSE(joinData(Data(), Data::zeros(0)));
    EXPECT_FALSE(joinData(Data::zeros(0), Data()));
    EXPECT_FALSE(joinData(Data(), Data()));
    EXPECT_EQ(toHex(joinData(Data::zeros(0), Data::zeros(0))), "fc942cfd8080");
    EXPECT_EQ(toHex(QLXCCUtilities::concatenatedCEA708PacketDataFromData_andData_withCC1Data_andCC2Data_CCCount(
                  Data::zeros(0), Data::zeros(0), Data(), Data(), 2)),
              "fd8080fa0000");
}

TEST(JoinedTriplets, AreWhatWasSplit) {
    // One pair a field and 2 (c - 1) triplets fill both frames; joined at twice the count they come back unchanged.
    for (std::size_t count = 1; count <= 40; ++count) {
        const std::string dtvcc = numbered(0, 2 * (count - 1));
        const auto [first, second] = split(dtvcc, "942c", "1526", static_cast<std::uint8_t>(count));
        ASSERT_EQ(first.size(), 6 * count);
        ASSERT_EQ(second.size(), 6 * count);
        EXPECT_EQ(join(first.substr(6), second.substr(6), first.substr(2, 4), second.substr(2, 4),
                       static_cast<std::uint8_t>(2 * count)),
                  "fc942cfd1526" + dtvcc);
    }
}
