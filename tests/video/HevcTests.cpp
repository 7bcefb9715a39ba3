// The order of H.265 pictures, captions by SCTE 20, and what tells video from other files: bits worked out by hand.
#include <qlx/video/access_unit.h>
#include <qlx/video/captions.h>
#include <qlx/video/hevc.h>
#include <qlx/video/order.h>
#include <qlx/video/scte20.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::cc::CcType;
using qlx::cc::Triplet;
using qlx::video::CaptionCarriage;
using qlx::video::CaptionMessage;
using qlx::video::CaptionMessages;
using qlx::video::Codec;
using qlx::video::H265Sequence;
using qlx::video::Mpeg2PictureCoding;
using qlx::video::Mpeg2PictureStructure;
using qlx::video::Scte20Pair;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;
using Bytes = std::vector<std::uint8_t>;

/// Texts of 0 and 1 as bytes in hexadecimal, filled up with zeros; spaces do not count.
std::string hexOfBits(std::string_view text) {
    Bytes bytes;
    unsigned count = 0;
    for (const char bit : text) {
        if (bit == ' ') {
            continue;
        }
        if (count++ % 8 == 0) {
            bytes.push_back(0);
        }
        bytes.back() = static_cast<std::uint8_t>(bytes.back() | (bit == '1' ? 1U : 0U) << (7 - (count - 1) % 8));
    }
    return toHex(bytes);
}

// Number 0, 4:2:0, 63 x 63, no window, depths of 8 bits, counts of 4 bits.
const std::string kSequence =
    "01" + std::string(22, 'f') + "5d" + hexOfBits("1 010 0000001000000 0000001000000 0 1 1 1 1");
const std::string kSets = "00000001 4001 0c 00000001 4201 " + kSequence + " 00000001 4401 c1";

std::string fourBits(unsigned value) {
    std::string text;
    for (unsigned bit = 4; bit-- > 0;) {
        text += (value >> bit & 1U) != 0 ? '1' : '0';
    }
    return text;
}

/// A slice of a type: the first one of a picture, of the parameters 0, with a count.
std::string hevcSlice(unsigned type, unsigned count = 0) {
    const Bytes header{static_cast<std::uint8_t>(type << 1U), 1};
    const bool isRandomAccess = type >= 16;
    const std::string rest = type == 19 ? "" : fourBits(count);
    return toHex(header) + hexOfBits(std::string(isRandomAccess ? "10" : "1") + "1 011" + rest + "1");
}

TEST(HevcOrder, FollowsThePictureOrderCount) {
    constexpr unsigned kTrailN = 0;
    constexpr unsigned kTrailR = 1;
    constexpr unsigned kRadlN = 6;
    constexpr unsigned kRaslN = 8;
    constexpr unsigned kIdr = 19;
    constexpr unsigned kCra = 21;
    // I0 P4 b2 P8 b6 P12 P16 (the count has turned over), a random access point 20 with 18 in front of it; a new sequence,
    // whose first picture has one of count -2 in front of it.
    const std::vector<std::string> slices{hevcSlice(kIdr),       hevcSlice(kTrailR, 4), hevcSlice(kTrailN, 2),
                                          hevcSlice(kTrailR, 8), hevcSlice(kTrailN, 6), hevcSlice(kTrailR, 12),
                                          hevcSlice(kTrailR, 0), hevcSlice(kCra, 4),    hevcSlice(kRaslN, 2),
                                          hevcSlice(kIdr),       hevcSlice(kRadlN, 14), hevcSlice(kTrailR, 2)};
    const std::vector<int> presented{0, 2, 1, 4, 3, 5, 6, 8, 7, 10, 9, 11};
    qlx::video::PictureOrder<int> inAnnexB({Codec::H265});
    qlx::video::PictureOrder<int> withLengths({Codec::H265, 1});
    int mark = 0;
    for (const std::string& one : slices) {
        const Bytes bytes = fromHex(one);
        inAnnexB.add(fromHex((mark == 0 ? kSets : "") + "000001" + one), mark);
        // 20 bytes, and 3.
        const std::string sets = "14 4201 " + kSequence + "03 4401 c1";
        withLengths.add(fromHex((mark == 0 ? sets : "") + toHex(Bytes{static_cast<std::uint8_t>(bytes.size())}) + one),
                        mark);
        ++mark;
    }
    for (auto* const order : {&inAnnexB, &withLengths}) {
        order->finish();
        std::vector<int> marks;
        while (const auto next = order->take()) {
            marks.push_back(*next);
        }
        EXPECT_EQ(marks, presented) << (order == &inAnnexB ? "start codes" : "lengths");
    }
}

// Counts of 16 bits, which begin at 60,000: their first turn is that of the first picture. A layer of another view has
// parameters of the same number, with counts of 4 bits.
TEST(HevcOrder, BeginsAtARandomAccessPointInTheStream) {
    const auto slice = [](unsigned type, unsigned count) {
        const Bytes bytes{static_cast<std::uint8_t>(type << 1U), 1};
        std::string text = type >= 16 ? "10 1 011 " : "1 1 011 ";
        for (unsigned bit = 16; bit-- > 0;) {
            text += (count >> bit & 1U) != 0 ? '1' : '0';
        }
        return "000001" + toHex(bytes) + hexOfBits(text + "1");
    };
    const std::string sequence =
        "01" + std::string(22, 'f') + "5d" + hexOfBits("1 010 0000001000000 0000001000000 0 1 1 0001101 1");
    const std::string sets = "00000001 4201 " + sequence + " 00000001 4209 " + kSequence + " 00000001 4401 c1";
    qlx::video::PictureOrder<int> order({Codec::H265});
    int mark = 0;
    for (const std::string& picture : {sets + slice(21, 60000), slice(1, 60004), slice(0, 60002)}) {
        order.add(fromHex(picture), mark++);
    }
    order.finish();
    std::vector<int> marks;
    while (const auto next = order.take()) {
        marks.push_back(*next);
    }
    EXPECT_EQ(marks, (std::vector<int>{0, 2, 1}));
}

TEST(HevcOrder, BeginsBehindTheEndOfASequence) {
    // I0 P4 P8; a random access picture of count 4 with one of 2 in front of it, and P8. Without the end of the sequence,
    // or of the bitstream, they were among the first three.
    for (const char* end : {"000001 4801", "000001 4a01"}) {
        qlx::video::PictureOrder<int> order({Codec::H265});
        int mark = 0;
        for (const std::string& picture :
             {kSets + "000001" + hevcSlice(19), "000001" + hevcSlice(1, 4), "000001" + hevcSlice(1, 8) + end,
              "000001" + hevcSlice(21, 4), "000001" + hevcSlice(8, 2), "000001" + hevcSlice(1, 8)}) {
            order.add(fromHex(picture), mark++);
        }
        order.finish();
        std::vector<int> marks;
        while (const auto next = order.take()) {
            marks.push_back(*next);
        }
        EXPECT_EQ(marks, (std::vector<int>{0, 1, 2, 4, 3, 5})) << end;
    }
}

TEST(HevcOrder, ReadsParameterSets) {
    const ExactBuffer whole(fromHex(kSequence));
    const auto sequence = qlx::video::parseH265Sequence(whole.span());
    ASSERT_TRUE(sequence);
    EXPECT_EQ(*sequence, (H265Sequence{.number = 0, .hasColourPlanes = false, .orderBits = 4}));
    for (std::size_t size = 0; size + 1 < whole.size(); ++size) {
        EXPECT_FALSE(qlx::video::parseH265Sequence(whole.span().first(size))) << size;
    }
    // Three sub-layers, of which the first has a profile and the second a level, number 2, 4:4:4 in planes, counts of 9 bits.
    const auto other = qlx::video::parseH265Sequence(
        fromHex("05" + std::string(22, 'f') + "5d" + hexOfBits("10 01 000000000000") + std::string(22, 'a') + "5d" +
                hexOfBits("011 00100 1 011 011 1 1 1 1 1 1 1 00110 1")));
    ASSERT_TRUE(other);
    EXPECT_EQ(*other, (H265Sequence{.number = 2, .hasColourPlanes = true, .orderBits = 9}));
    const auto picture = qlx::video::parseH265Picture(fromHex(hexOfBits("00100 010 0 1 011 1")));
    ASSERT_TRUE(picture);
    EXPECT_EQ(*picture,
              (qlx::video::H265Picture{.number = 3, .sequence = 1, .hasOutputFlag = true, .extraHeaderBits = 3}));
    EXPECT_FALSE(qlx::video::parseH265Picture(Bytes{}));
}

// Two pairs of line 21: 94 2c of the first displayed field, and 15 2c of the second, their bits in reverse.
const std::string kPairs =
    "0381" + hexOfBits("00010  00 01 01011 00101001 00110100 1  01 10 01011 10101000 00110100 1");

TEST(Scte20, HasPairsOfFieldsWithTheirBitsInReverse) {
    Findings findings;
    const ExactBuffer whole(fromHex(kPairs));
    const auto pairs = qlx::video::parseScte20(whole.span(), &findings);
    ASSERT_TRUE(pairs);
    ASSERT_EQ(pairs->size(), 2U);
    EXPECT_EQ(pairs->items()[0], (Scte20Pair{0, 1, 11, 0x94, 0x2C}));
    EXPECT_EQ(pairs->items()[1], (Scte20Pair{1, 2, 11, 0x15, 0x2C}));
    EXPECT_TRUE(findings.empty());
    // Cut: what is whole is used.
    EXPECT_EQ(qlx::video::parseScte20(whole.span().first(whole.size() - 1), &findings)->size(), 1U);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].text(), "2 pairs announced, 1 there");
    // No captions in it, another type, other reserved bits, and nothing.
    EXPECT_TRUE(qlx::video::parseScte20(fromHex("0380"))->empty());
    for (const char* const other : {"", "03", "0381", "0481ff", "0383ff"}) {
        EXPECT_FALSE(qlx::video::parseScte20(fromHex(other))) << other;
    }
    findings.clear();
    (void)qlx::video::parseScte20(fromHex("0381" + hexOfBits("00001 00 00 01011 00101001 00110100 1")), &findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::VideoScte20FieldWrong, qlx::Severity::Error, 2, 0, 0}));
}

TEST(Scte20, KeepsTheLineAndRemarksAnother) {
    Findings findings;
    // Offsets 11, 0 and 31: two pairs of another line, which are used; one remark of the first.
    const auto pairs = qlx::video::parseScte20(
        fromHex("0381" + hexOfBits("00011  00 01 01011 00101001 00110100 1  00 01 00000 00101001 00110100 1"
                                   "00 10 11111 10101000 00110100 1")),
        &findings);
    ASSERT_TRUE(pairs);
    EXPECT_EQ(std::vector(pairs->items().begin(), pairs->items().end()),
              (std::vector<Scte20Pair>{{0, 1, 11, 0x94, 0x2C}, {0, 1, 0, 0x94, 0x2C}, {0, 2, 31, 0x15, 0x2C}}));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::VideoScte20OtherLine, qlx::Severity::Remark, 5, 1, 0}));
    EXPECT_EQ(findings[0].text(), "pair 1 has line offset 0, not 11 for line 21: it is used all the same");
}

TEST(Scte20, FollowsTheOrderOfDisplay) {
    const auto typeOf = [](std::uint8_t field, Mpeg2PictureStructure structure, bool isTopFirst) {
        const Triplet triplet = qlx::video::scte20Triplet({0, field, 11, 0x94, 0x2C}, {structure, isTopFirst});
        EXPECT_EQ(triplet.valid(), field != 0);
        EXPECT_EQ(triplet.first, 0x94);
        EXPECT_EQ(triplet.second, 0x2C);
        return triplet.type();
    };
    using enum Mpeg2PictureStructure;
    EXPECT_EQ(typeOf(1, Frame, true), CcType::Field1);
    EXPECT_EQ(typeOf(2, Frame, true), CcType::Field2);
    EXPECT_EQ(typeOf(3, Frame, true), CcType::Field1);
    EXPECT_EQ(typeOf(1, Frame, false), CcType::Field2);
    EXPECT_EQ(typeOf(2, Frame, false), CcType::Field1);
    EXPECT_EQ(typeOf(3, Frame, false), CcType::Field2);
    EXPECT_EQ(typeOf(1, TopField, false), CcType::Field1);
    EXPECT_EQ(typeOf(1, BottomField, true), CcType::Field2);
    (void)typeOf(0, Frame, true);
}

/// What the user data of a frame carry, whose lower field is displayed first.
std::string messagesIn(const std::string& userData, Findings& findings) {
    // A picture header, and its coding extension: number 8, four codes of 15, precision 0, a frame, lower field first.
    const Bytes picture = fromHex("00000100 000ffff8 000001b5 8ffff3 0080" + userData);
    CaptionMessages messages(picture, {Codec::Mpeg2}, &findings);
    std::string text;
    while (const std::optional<CaptionMessage> message = messages.next()) {
        text += message->carriage == CaptionCarriage::Scte20 ? "20:" : "53:";
        for (const Triplet& triplet : message->captions.triplets) {
            text += " " + toHex(Bytes{triplet.header, triplet.first, triplet.second});
        }
        text += "; ";
    }
    return text;
}

TEST(Scte20, StandsBesideA53) {
    Findings findings;
    const std::string a53 = "000001b2 47413934 03 c1 ff fc942c ff";
    EXPECT_EQ(messagesIn("000001b2" + kPairs, findings), "20: fd942c fc152c; ");
    EXPECT_EQ(messagesIn(a53 + "000001b2" + kPairs, findings), "53: fc942c; 20: fd942c fc152c; ");
    EXPECT_TRUE(findings.empty());
    // Other user data are none.
    EXPECT_EQ(messagesIn("000001b2 04c1ff", findings), "");
    EXPECT_TRUE(findings.empty());
}

TEST(VideoParameters, TellVideoFromOtherFiles) {
    const auto has = [](const std::string& hex) { return qlx::video::hasVideoParameters(fromHex(hex)); };
    // 64 x 64, squares, 25 frames/s; the same with rate 0, with aspect 0, without the marker bit, and cut.
    EXPECT_TRUE(has("52494646 000001b3 040040 13 ffff e0"));
    for (const char* const other :
         {"000001b3 040040 10 ffff e0", "000001b3 040040 03 ffff e0", "000001b3 040040 13 ffff c0",
          "000001b3 040040 13 ffff", "000001b3 000040 13 ffff e0"}) {
        EXPECT_FALSE(has(other)) << other;
    }
    EXPECT_TRUE(has("00000001 67 42001e f4f0"));
    EXPECT_FALSE(has("00000001 67 42"));
    EXPECT_TRUE(has(kSets));
    EXPECT_FALSE(has("00000001 4001 0c 000001 65 88"));
    EXPECT_FALSE(has(""));
}

TEST(VideoParameters, TellTheCodecByWhatIsBehindTheFirstStartCode) {
    const auto codecOf = [](const std::string& hex) { return qlx::video::codecOfStartCode(fromHex(hex)); };
    // Sets of parameters, a message and the three delimiters of H.265.
    for (const char* const hevc : {"40010c", "4201", "4401", "4e0105", "460110", "460130", "460150"}) {
        EXPECT_EQ(codecOf(hevc), Codec::H265) << hevc;
    }
    // A sequence, a delimiter, and messages of which others refer to one: 46 is the same byte.
    for (const char* const avc : {"6742", "0910", "0605", "460504", "460107", "4601", "46", "4002", "40", "4e80"}) {
        EXPECT_EQ(codecOf(avc), Codec::H264) << avc;
    }
    EXPECT_EQ(codecOf("b304"), Codec::Mpeg2);
    EXPECT_EQ(codecOf("0001"), Codec::Mpeg2);
    for (const char* const other : {"b9", "ba44", "e001", ""}) {
        EXPECT_EQ(codecOf(other), std::nullopt) << other;
    }
}

}  // namespace
