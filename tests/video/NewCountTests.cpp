// Pictures of H.264 with which the count of the order begins anew.
#include "PictureUnits.h"

#include <qlx/video/h264.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using qlx::FindingCode;
using qlxtest::fromHex;
using namespace qlxtest::pictures;

/// Parameters with counts of 4 bits for frames, whose picture parameter set has all that stands in front of the marking:
/// two and three references, weights in P and B slices, redundant counts; `order` is the type and what belongs to it.
std::string markedParameters(const std::string& order, const std::string& groups = "1", bool hasBottomDeltas = false) {
    return "00000001 67 42001e" + hexOfBits("1 1" + order + " 010 0 1 1 1 1") + "00000001 68" +
           hexOfBits("1 1 0" + std::string(hasBottomDeltas ? "1" : "0") + groups + ue(1) + ue(2) +
                     "1 01 1 1 1 1 0 1 1");
}

constexpr const char* kNoMarking = "0";
// Operations 1, 2, 3, 4, 6, then 5.
const std::string kNewCount =
    "1" + ue(1) + ue(7) + ue(2) + ue(1) + ue(3) + ue(2) + ue(1) + ue(4) + ue(2) + ue(6) + ue(0) + ue(5) + ue(0);

/// A reference that is no IDR picture. `prediction` stands between its order and the marking.
std::string markedSlice(unsigned kind, const std::string& frameAndOrder, const std::string& prediction,
                        const std::string& marking) {
    return "000001 41" + hexOfBits(ue(0) + ue(kind) + ue(0) + frameAndOrder + prediction + marking + "1");
}

TEST(H264PictureOrder, BeginsAnewWhereAnOperationSaysSo) {
    const std::string weight = "1" + ue(3) + ue(4) + "0" + "0" + "1" + ue(1) + ue(2) + ue(3) + ue(4);
    const std::string modified = "1" + ue(0) + ue(3) + ue(2) + ue(1) + ue(3);
    // The redundant count first; of P: two references, which are modified, and have weights.
    const std::string ofP = ue(0) + "0" + modified + ue(5) + ue(5) + weight;
    // Of B: direct prediction, another number of references (1 and 2), both lists, weights.
    const std::string ofB = ue(0) + "1" + "1" + ue(0) + ue(1) + modified + modified + ue(5) + ue(5) + "01" + ue(6) +
                            ue(7) + ue(8) + ue(9) + weight;
    const std::string ofI = ue(0);
    struct Case {
        unsigned kind;
        const std::string& prediction;
    };
    const std::string groupsOfType2 = ue(2) + ue(2) + ue(4) + ue(5) + ue(6) + ue(7);
    const std::string groupsOfType6 = ue(2) + ue(6) + ue(3) + "00 01 10 00";
    for (const std::string& groups :
         {ue(0), ue(1) + ue(0) + ue(4) + ue(5), groupsOfType2, ue(1) + ue(4) + "1" + ue(9), groupsOfType6}) {
        const std::string first = markedParameters("1 1", groups) + slice(0x65, 0);
        for (const Case& one : {Case{0, ofP}, {5, ofP}, {3, ofP}, {1, ofB}, {6, ofB}, {2, ofI}, {9, ofI}}) {
            // I0 P8 X4, and behind that P4 and b2: X begins anew, or it stands between I0 and P8, and so do the others.
            const auto presented = [&](const std::string& marking) {
                return orderOf(Codec::H264,
                               {first, slice(0x01, 8), markedSlice(one.kind, "0010 0100", one.prediction, marking),
                                slice(0x01, 4), slice(0x01, 2)});
            };
            EXPECT_EQ(presented(kNewCount), (std::vector<int>{0, 1, 2, 4, 3})) << one.kind << " " << groups;
            EXPECT_EQ(presented(kNoMarking), (std::vector<int>{0, 4, 2, 3, 1})) << one.kind << " " << groups;
            EXPECT_EQ(presented("1" + ue(4) + ue(0) + ue(0)), (std::vector<int>{0, 4, 2, 3, 1})) << one.kind;
        }
    }
}

/// With emulation prevention bytes (7.4.1).
Bytes escaped(const Bytes& payload) {
    Bytes bytes;
    for (const std::uint8_t byte : payload) {
        const std::size_t size = bytes.size();
        if (size > 1 && bytes[size - 1] == 0 && bytes[size - 2] == 0 && byte <= 3) {
            bytes.push_back(3);
        }
        bytes.push_back(byte);
    }
    return bytes;
}

// A map of slice groups has a number for each unit of the picture (type 6): of 8,160 units, which a picture of 1920 x 1088
// has, with 3 bits each, that is longer than 3,000 bytes, and of an offset for each of 255 frames a sequence parameter set
// is as long.
TEST(H264PictureOrder, ReadsParametersOfAnyLength) {
    std::string map = ue(7) + ue(6) + ue(8159);
    for (unsigned unit = 0; unit < 8160; ++unit) {
        map += unit % 7 == 0 ? "111" : unit % 2 == 0 ? "101" : "010";
    }
    const auto presented = [&](const std::string& marking) {
        return orderOf(Codec::H264, {markedParameters("1 1", map) + slice(0x65, 0), slice(0x01, 8),
                                     markedSlice(2, "0010 0100", ue(0), marking), slice(0x01, 4), slice(0x01, 2)});
    };
    EXPECT_EQ(presented(kNewCount), (std::vector<int>{0, 1, 2, 4, 3}));
    EXPECT_EQ(presented(kNoMarking), (std::vector<int>{0, 4, 2, 3, 1}));

    std::string offsets;
    for (unsigned frame = 0; frame < 255; ++frame) {
        offsets += ue(2'000'000'000);
    }
    const auto sequence = qlx::video::parseH264Sequence(
        escaped(fromHex("42001e" + hexOfBits("1 1 010 0 1 1" + ue(255) + offsets + "010 0 1 1 1 1"))));
    ASSERT_TRUE(sequence);
    EXPECT_EQ(sequence->cycleOffsets.size(), 255U);
    EXPECT_EQ(sequence->cycleOffsets.items().back(), -1'000'000'000);
    EXPECT_TRUE(sequence->hasFramesOnly);
}

// Where a picture parameter set is cut behind it, the flag for the delta of the bottom field still tells where that stands.
TEST(H264PictureOrder, KeepsWhatStandsInFrontOfACut) {
    const std::string sets = "00000001 67 42001e" + hexOfBits("1 1 1 1 010 0 1 1 1 1") + "00000001 68" +
                             hexOfBits("1 1 0 1" + ue(9) + std::string(40, '1'));
    // Deltas of 0 and of -4 (code 8): a frame at 6 whose bottom field is presented 4 earlier stands in front of one at 4.
    const auto of = [](unsigned nal, const std::string& frameAndOrder, unsigned delta) {
        const Bytes header{static_cast<std::uint8_t>(nal)};
        return "000001" + qlxtest::toHex(header) + hexOfBits(ue(0) + ue(7) + ue(0) + frameAndOrder + ue(delta) + "1");
    };
    EXPECT_EQ(
        orderOf(Codec::H264, {sets + of(0x65, "0000 1 0000", 0), of(0x01, "0001 0100", 0), of(0x01, "0001 0110", 8)}),
        (std::vector<int>{0, 2, 1}));
}

TEST(H264PictureOrder, BeginsAnewInCyclesAndAsTheStreamStands) {
    // Type 1, one frame of 4 a cycle, those of no reference 2 less: I0, P36 with number 9, X with number 10 and a delta of
    // 100, whose count of 140 becomes 0; behind it number 1 is P4, and number 2 of no reference stands at 4 - 2.
    const std::string cycles = "010 0 00101 1 010 0001000";
    const auto of = [](unsigned nal, unsigned frame, const std::string& marking, unsigned delta = 0) {
        const Bytes header{static_cast<std::uint8_t>(nal)};
        std::string number;
        for (unsigned bit = 4; bit-- > 0;) {
            number += (frame >> bit & 1U) != 0 ? '1' : '0';
        }
        const bool isIdr = nal == 0x65;
        return "000001" + qlxtest::toHex(header) +
               hexOfBits(ue(0) + ue(2) + ue(0) + number + (isIdr ? ue(0) : "") + ue(delta) + ue(0) + marking + "1");
    };
    const auto presented = [&](const std::string& marking) {
        return orderOf(Codec::H264, {markedParameters(cycles) + of(0x65, 0, "00"), of(0x41, 9, kNoMarking),
                                     of(0x41, 10, marking, 199), of(0x41, 1, kNoMarking), of(0x01, 2, "")});
    };
    EXPECT_EQ(presented(kNewCount), (std::vector<int>{0, 1, 2, 4, 3}));
    // Without it the number 1 is that behind a whole turn of 16: 68 and 66.
    EXPECT_EQ(presented(kNoMarking), (std::vector<int>{0, 1, 4, 3, 2}));
    PictureOrder<int> cycling({Codec::H264});
    cycling.add(fromHex(markedParameters(cycles) + of(0x65, 0, "00")), 0);
    cycling.add(fromHex(of(0x41, 1, kNoMarking)), 1);
    EXPECT_EQ(marksOf(cycling), std::vector<int>{});
    // What is in front of the new count is complete at once.
    cycling.add(fromHex(of(0x41, 2, kNewCount)), 2);
    EXPECT_EQ(marksOf(cycling), (std::vector<int>{0, 1}));
    // Type 2 has no other order; what is in front is complete all the same.
    PictureOrder<int> standing({Codec::H264});
    const auto plain = [](unsigned nal, const std::string& marking) {
        const Bytes header{static_cast<std::uint8_t>(nal)};
        return "000001" + qlxtest::toHex(header) +
               hexOfBits(ue(0) + ue(2) + ue(0) + "0000" + (nal == 0x65 ? ue(0) : "") + ue(0) + marking + "1");
    };
    standing.add(fromHex(markedParameters(ue(2)) + plain(0x65, "00")), 0);
    standing.add(fromHex(plain(0x41, kNoMarking)), 1);
    EXPECT_EQ(marksOf(standing), std::vector<int>{});
    standing.add(fromHex(plain(0x41, kNewCount)), 2);
    EXPECT_EQ(marksOf(standing), (std::vector<int>{0, 1}));
    standing.finish();
    EXPECT_EQ(marksOf(standing), (std::vector<int>{2}));
}

TEST(PictureOrder, GoesOnBehindANewCountFromItsTopField) {
    // A frame whose bottom field is the first by 6 (delta -6: 0001101) leaves its top field at 6: a count of 12 is then
    // nearer than one of -4.
    const std::string first = markedParameters("1 1", "1", true);
    const std::string idr = "000001 65" + hexOfBits("1" + ue(7) + "1 0000 1 0000 1 00 1");
    const auto presented = [&](const std::string& delta) {
        const std::string lower = "000001 01" + hexOfBits("1" + ue(7) + "1 0010 1110 1 1");
        return orderOf(Codec::H264, {first + idr, markedSlice(7, "0001 1000" + delta, "1", kNewCount),
                                     markedSlice(7, "0001 1100 1", "1", kNoMarking), lower});
    };
    // 12 behind 6, and 14 behind that.
    EXPECT_EQ(presented("0001101"), (std::vector<int>{0, 1, 2, 3}));
    // Behind 0 the low bits 12 and 14 are those of -4 and -2.
    EXPECT_EQ(presented("1"), (std::vector<int>{0, 2, 3, 1}));
}

TEST(PictureOrder, ReadsPictureParameters) {
    const auto parse = [](const std::string& bits) { return qlx::video::parseH264Picture(fromHex(hexOfBits(bits))); };
    const std::string whole = ue(255) + ue(31) + "1 1" + ue(0) + ue(31) + ue(2) + "1 01 1 1 1 1 0 1";
    ASSERT_TRUE(parse(whole));
    EXPECT_EQ(*parse(whole), (qlx::video::H264Picture{255, 31, true, 32, 3, true, true, true, false}));
    const qlx::video::H264Picture cut{.number = 255, .sequence = 31, .hasBottomDeltas = true, .isCut = true};
    const std::string numbers = ue(255) + ue(31) + "1 1";
    for (const std::string& bits : {numbers, numbers + ue(8), numbers + ue(0) + ue(32) + ue(2) + "1 01 1 1 1 1 0 1",
                                    numbers + ue(1) + ue(6) + ue(4'000'000)}) {
        ASSERT_TRUE(parse(bits));
        EXPECT_EQ(*parse(bits), cut) << bits;
    }
    for (const std::string& bits : {ue(256) + ue(0), ue(0) + ue(32), std::string("000"), std::string()}) {
        ASSERT_FALSE(parse(bits));
        EXPECT_EQ(parse(bits).error().code, FindingCode::VideoParametersWrong);
        EXPECT_EQ(parse(bits).error().first, 8);
    }
}

}  // namespace
