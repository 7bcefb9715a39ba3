// Pictures in the order of presentation, and streams cut into them.
#include <qlx/video/access_unit.h>
#include <qlx/video/order.h>

#include "ExactBuffer.h"
#include "PictureUnits.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using qlx::FindingCode;
using qlx::video::AccessUnitReader;
using qlx::video::Codec;
using qlx::video::PictureOrder;
using qlxtest::fromHex;
using namespace qlxtest::pictures;

TEST(PictureOrder, FollowsThePictureOrderCountOfH264) {
    // I0 P8 B4 b2 b6 P16 (the count of 4 bits has turned over) b12; a new sequence: I0 P4 b2.
    EXPECT_EQ(orderOf(Codec::H264,
                      {kParameters + slice(0x65, 0), slice(0x41, 8), slice(0x01, 4), slice(0x01, 2), slice(0x01, 6),
                       slice(0x41, 0), slice(0x01, 12), slice(0x65, 0), slice(0x41, 4), slice(0x01, 2)}),
              (std::vector<int>{0, 3, 2, 4, 1, 6, 5, 7, 9, 8}));
}

/// Parameters of type 1: counts of 4 bits for frames, deltas, those of no reference 2 less, the offset of a bottom field
/// 1 less, cycles of two frames of 4 and 6.
std::string cycleParameters(bool hasFramesOnly) {
    const std::string sequence = "1 1 010 0 00101 011 011 0001000 0001100 010 0 1 1 ";
    return "00000001 67 42001e" + hexOfBits(sequence + (hasFramesOnly ? "1" : "0 0") + "1") + "00000001 68 e0";
}

/// A slice of them, `between` the frame's number and the delta, which is 0.
std::string cycleSlice(unsigned nal, unsigned frame, const std::string& between = "", const std::string& delta = "1") {
    std::string bits = "111";
    for (unsigned bit = 4; bit-- > 0;) {
        bits += (frame >> bit & 1U) != 0 ? '1' : '0';
    }
    const Bytes header{static_cast<std::uint8_t>(nal)};
    return "000001" + qlxtest::toHex(header) +
           hexOfBits(bits + between + ((nal & 0x1FU) == 5 ? "1" : "") + delta + "1");
}

TEST(PictureOrder, FollowsTheCyclesOfH264) {
    // I0, then P4 b2, P10 b8, P14 b12, and so on, while the number of 4 bits turns over; in the next sequence, P4, one of
    // no reference whose delta of 4 (0001000) puts it behind that, and P10 behind both.
    std::vector<std::string> units{cycleParameters(true) + cycleSlice(0x65, 0)};
    std::vector<int> presented{0};
    for (unsigned frame = 1; frame <= 40; ++frame) {
        const int mark = static_cast<int>(units.size());
        units.push_back(cycleSlice(0x41, frame % 16));
        units.push_back(cycleSlice(0x01, (frame + 1) % 16));
        presented.insert(presented.end(), {mark + 1, mark});
    }
    const int mark = static_cast<int>(units.size());
    for (const std::string& unit :
         {cycleSlice(0x65, 0), cycleSlice(0x41, 1), cycleSlice(0x01, 2, "", "0001000"), cycleSlice(0x41, 2)}) {
        units.push_back(unit);
    }
    presented.insert(presented.end(), {mark, mark + 1, mark + 2, mark + 3});
    EXPECT_EQ(orderOf(Codec::H264, units), presented);
}

TEST(PictureOrder, FollowsTheFieldsOfCycles) {
    // A frame (0), then a top field (1 0) whose bottom field (1 1) is presented before it.
    EXPECT_EQ(orderOf(Codec::H264, {cycleParameters(false) + cycleSlice(0x65, 0, "0"), cycleSlice(0x41, 1, "10"),
                                    cycleSlice(0x41, 1, "11")}),
              (std::vector<int>{0, 2, 1}));
}

TEST(PictureOrder, KeepsTheStreamsOrderInCyclesThatAreTooLong) {
    // One frame a cycle, of 2,147,483,647 (ue 4,294,967,293: 31 zeros, then 2^32 - 2): the fourth picture is behind all that
    // a count may be.
    const std::string offset = std::string(31, '0') + std::string(31, '1') + "0";
    const std::string sequence = hexOfBits("1 1 010 1 1 1 010 " + offset + " 010 0 1 1 1 1");
    const auto slice = [](unsigned nal, unsigned frame) { return cycleSlice(nal, frame, "", ""); };
    EXPECT_EQ(orderOf(Codec::H264, {"00000001 67 42001e" + sequence + "00000001 68 e0" + slice(0x65, 0), slice(0x41, 1),
                                    slice(0x41, 2), slice(0x41, 3), slice(0x41, 4), slice(0x41, 5)}),
              (std::vector<int>{0, 1, 2, 3, 4, 5}));
    // Three frames a cycle: that, again that, and the same below 0. The second one's count is greater than it may be, and
    // counts no place; the third one has that of the first.
    const std::string below = std::string(31, '0') + std::string(32, '1');
    const std::string three = hexOfBits("1 1 010 1 1 1 00100 " + offset + offset + below + " 010 0 1 1 1 1");
    EXPECT_EQ(orderOf(Codec::H264, {"00000001 67 42001e" + three + "00000001 68 e0" + slice(0x65, 0), slice(0x41, 2),
                                    slice(0x41, 3)}),
              (std::vector<int>{0, 1, 2}));
}

TEST(PictureOrder, ReadsTheHeadersOfPartitions) {
    // Partition A (2) begins with a slice header as a slice (1) does; B and C (3, 4) do not: I0 P8 b4 b2 b6.
    const std::string others = "000001 43 ff 000001 44 ff";
    EXPECT_EQ(orderOf(Codec::H264, {kParameters + slice(0x65, 0), slice(0x42, 8) + others, slice(0x02, 4) + others,
                                    slice(0x02, 2) + others, slice(0x02, 6) + others}),
              (std::vector<int>{0, 3, 2, 4, 1}));
}

TEST(PictureOrder, TakesStartCodesWithoutAUnitBehind) {
    EXPECT_EQ(orderOf(Codec::H264, {"000001000001000001", kParameters + "000001 000001" + slice(0x65, 0),
                                    slice(0x41, 4), slice(0x01, 2)}),
              (std::vector<int>{0, 1, 3, 2}));
}

TEST(PictureOrder, KeepsTheStreamsOrderWithoutParameters) {
    EXPECT_EQ(orderOf(Codec::H264, {slice(0x65, 0), slice(0x41, 8), slice(0x01, 4)}), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(orderOf(Codec::H264, {"", "00", "000001", "00000167", "0000016742", "00000165"}),
              (std::vector<int>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(orderOf(Codec::Mpeg2, {"", "00000100", "00000100ff", "000001b8"}), (std::vector<int>{0, 1, 2, 3}));
}

std::string picture(unsigned temporalReference, unsigned type) {
    const Bytes bytes{static_cast<std::uint8_t>(temporalReference >> 2U),
                      static_cast<std::uint8_t>((temporalReference & 3U) << 6U | type << 3U)};
    return "00000100" + qlxtest::toHex(bytes);
}

TEST(PictureOrder, FollowsTheTemporalReferenceOfMPEG2) {
    const std::string group = "000001b8 00000000";
    // An open group: its first B pictures come before its I picture.
    EXPECT_EQ(orderOf(Codec::Mpeg2, {group + picture(0, 1), picture(3, 2), picture(1, 3), picture(2, 3),
                                     group + picture(2, 1), picture(0, 3), picture(1, 3), picture(3, 2)}),
              (std::vector<int>{0, 2, 3, 1, 5, 6, 4, 7}));
    // The reference of 10 bits turns over.
    EXPECT_EQ(orderOf(Codec::Mpeg2, {picture(1021, 2), picture(0, 2), picture(1022, 3), picture(1023, 3), picture(3, 2),
                                     picture(1, 3), picture(2, 3)}),
              (std::vector<int>{0, 2, 3, 1, 5, 6, 4}));
}

TEST(PictureOrder, GivesPicturesBeforeTheStreamEnds) {
    PictureOrder<unsigned> order({Codec::Mpeg2});
    std::size_t given = 0;
    for (unsigned index = 0; index < 200; ++index) {
        order.add(fromHex(picture(index, 2)), index);
        const auto marks = marksOf(order);
        for (std::size_t mark = 0; mark < marks.size(); ++mark) {
            EXPECT_EQ(marks[mark], given + mark);
        }
        given += marks.size();
        EXPECT_LE(index + 1 - given, qlx::video::kLongestPictureWait);
    }
    EXPECT_EQ(given, 200 - qlx::video::kLongestPictureWait);
}

TEST(PictureOrder, ReadsHighProfileParameters) {
    // Profile 100, number 0 (1), 4:2:0 (010), depths 0 0 (1 1), no bypass (0), no scaling (0), frame number of 4 bits
    // (1), order type 0 (1) with 6 bits (011), 4 reference frames (00101), no gaps (0), 2 x 2 (010 010), frames (1).
    // 1 010 1 1 0 0 | 1 1 011 001 | 01 0 010 01 | 0 1 1(stop) 00000
    const auto sequence = qlx::video::parseH264Sequence(fromHex("64001f acd94960"));
    ASSERT_TRUE(sequence);
    EXPECT_EQ(*sequence, (qlx::video::H264Sequence{.number = 0,
                                                   .hasColourPlanes = false,
                                                   .frameNumberBits = 4,
                                                   .orderType = 0,
                                                   .orderBits = 6,
                                                   .hasFramesOnly = true,
                                                   .cycleOffsets{}}));
    qlxtest::forEachTruncation(fromHex("64001f acd94960"), [](const qlxtest::ExactBuffer& part) {
        const auto cut = qlx::video::parseH264Sequence(part.span());
        ASSERT_FALSE(cut);
        EXPECT_EQ(cut.error(), (qlx::Finding{qlx::FindingCode::VideoParametersWrong, qlx::Severity::Error, 0, 7,
                                             static_cast<std::int64_t>(part.size())}));
    });
}

TEST(PictureOrder, ReadsTheParametersBehindScalingLists) {
    // Rec. ITU-T H.264, 7.3.2.1.1: profile, level, number 0, and what follows the lists as without them.
    const std::string begin = "01100100 00000000 00011111 1 ";
    const std::string rest = " 1 1 011 00101 0 010 010 1 1";
    qlx::video::H264Sequence expected{.number = 0,
                                      .hasColourPlanes = false,
                                      .frameNumberBits = 4,
                                      .orderType = 0,
                                      .orderBits = 6,
                                      .hasFramesOnly = true,
                                      .cycleOffsets{}};
    const auto parse = [](const std::string& bits) { return qlx::video::parseH264Sequence(fromHex(hexOfBits(bits))); };
    // 4:2:0 has eight: the first is the usual one, which -8 (000010001) says, the third 16 differences of 0, the seventh
    // 63 of 0 and one of 1 (010).
    const std::string eight = "1 000010001 0 1 " + std::string(16, '1') + " 0 0 0 1 " + std::string(63, '1') + " 010 0";
    const auto sequence = parse(begin + "010 1 1 0 1 " + eight + rest);
    ASSERT_TRUE(sequence);
    EXPECT_EQ(*sequence, expected);
    // 4:4:4 has twelve; the last goes on with 9 from its third on, as 1 and then -9 (000010011) say. In separate planes
    // there are no colours beside luma.
    expected.hasColourPlanes = true;
    expected.hasChroma = false;
    const auto planes = parse(begin + "00100 1 1 1 0 1 " + std::string(11, '0') + " 1 010 000010011" + rest);
    ASSERT_TRUE(planes);
    EXPECT_EQ(*planes, expected);
    expected.hasColourPlanes = false;
    expected.hasChroma = true;
    const auto together = parse(begin + "00100 0 1 1 0 0" + rest);
    ASSERT_TRUE(together);
    EXPECT_EQ(*together, expected);
}

TEST(PictureOrder, RefusesCountersThatAreTooWide) {
    // kParameters with a number of 12 (0001101), 13 (0001110) or FFFFFFFEh (31 zeros, 32 ones) for a counter's bits
    // less 4, where 16 bits are the most: 1 n 1 1 010 0 1 1 1 1 for frames, 1 1 1 n 010 0 1 1 1 1 for the order.
    const auto parse = [](const char* hex) { return qlx::video::parseH264Sequence(fromHex(hex)); };
    ASSERT_TRUE(parse("42001e 8dd3 c0"));
    EXPECT_EQ(parse("42001e 8dd3 c0")->frameNumberBits, 16U);
    ASSERT_TRUE(parse("42001e e353 c0"));
    EXPECT_EQ(parse("42001e e353 c0")->orderBits, 16U);
    for (const char* hex :
         {"42001e 8ed3 c0", "42001e e393 c0", "42001e 80000003 00ffffff ffd3 c0", "42001e e0000003 003fffff ffd3 c0"}) {
        const auto sequence = parse(hex);
        ASSERT_FALSE(sequence) << hex;
        EXPECT_EQ(sequence.error().code, FindingCode::VideoParametersWrong);
    }
}

TEST(PictureOrder, IsTheSameBehindLengths) {
    PictureOrder<int> order({Codec::H264, 2});
    int mark = 0;
    for (const char* unit : {"0006 6742001e f4f0 0002 68e0 0003 65e108", "0003 41e090", "0003 01e050"}) {
        order.add(fromHex(unit), mark++);
    }
    order.finish();
    EXPECT_EQ(marksOf(order), (std::vector<int>{0, 2, 1}));
}

/// The units of a stream, pushed in pieces that end where `endsAt` says; then the error.
template <class EndsAt>
std::string unitsOf(const Bytes& stream, const qlx::video::AccessUnitOptions& options, bool takesBetween,
                    const EndsAt& endsAt) {
    AccessUnitReader reader(options);
    std::string text;
    std::uint64_t number = 0;
    const auto take = [&] {
        while (const auto unit = reader.next()) {
            EXPECT_EQ(unit->number, number++);
            EXPECT_TRUE(std::equal(unit->bytes.begin(), unit->bytes.end(),
                                   stream.begin() + static_cast<std::ptrdiff_t>(unit->offset)));
            text += std::to_string(unit->offset) + ":" + qlxtest::toHex(unit->bytes) + " ";
        }
    };
    std::size_t begin = 0;
    for (std::size_t end = 1; end <= stream.size(); ++end) {
        if (end == stream.size() || endsAt(end)) {
            const qlxtest::ExactBuffer piece(std::span<const std::uint8_t>(stream).subspan(begin, end - begin));
            reader.push(piece.span());
            begin = end;
            if (takesBetween) {
                take();
            }
        }
    }
    reader.finish();
    take();
    return text + (reader.error() ? "@" + std::to_string(reader.error()->offset) + " " + reader.error()->text() : "");
}

std::string cut(const std::string& hex, std::size_t step, std::optional<Codec> codec = std::nullopt,
                std::size_t greatest = 1000) {
    return unitsOf(fromHex(hex), {.codec = codec, .greatest = greatest}, true,
                   [step](std::size_t place) { return place % step == 0; });
}

void expectCut(const std::string& hex, const std::string& expected, std::optional<Codec> codec = std::nullopt) {
    for (const std::size_t step : {1U, 2U, 3U, 5U, 7U, 1000U}) {
        EXPECT_EQ(cut(hex, step, codec), expected) << step;
    }
}

TEST(AccessUnits, BeginWithTheFirstUnitOfAPicture) {
    // Delimiter, parameters, message, two slices of one picture; a slice of the next one; a message of another.
    expectCut(
        "00000001 09f0 00000001 67 42 000001 68 ce 000001 06 05 000001 65 88 000001 65 22 00000001 41 9a 000001 06 05 "
        "000001 41 e0",
        "0:0000000109f000000001674200000168ce000001060500000165880000016522 "
        "32:00000001419a 38:000001060500000141e0 ");
    // Sequence, group, picture, slice; a picture; a group with a picture.
    expectCut(
        "000001b3 16 000001b8 00 000001 00 0008 000001 01 22 000001 00 0050 000001 01 33 000001b8 01 000001 00 0008",
        "0:000001b316000001b8000000010000080000010122 21:0000010000500000010133 32:000001b801000001000008 ");
    // H.265: parameter sets 32 to 34, prefix SEI, a first and a second slice segment, suffix SEI; a delimiter; a slice.
    expectCut(
        "00000001 4001 0c 000001 4201 01 000001 4401 c1 000001 4e01 01 000001 2601 af 000001 2601 20 000001 5001 01 "
        "000001 4601 10 000001 0201 d0 000001 0201 e0",
        "0:0000000140010c0000014201010000014401c10000014e01010000012601af000001260120000001500101 "
        "43:0000014601100000010201d0 55:0000010201e0 ",
        Codec::H265);
}

TEST(AccessUnits, SayWhyNoneIsThere) {
    expectCut("", "");
    expectCut("0000", "@0 no start code in 2 bytes");
    expectCut("ff 000001", "@0 no start code in 4 bytes");
    expectCut("ffff 000001ba 44", "@2 start code ba of a transport or program stream");
    expectCut("ff 00000001 65 88", "1:000000016588 ");
    EXPECT_EQ(cut("000001 65" + std::string(60, 'f'), 10, std::nullopt, 20),
              "@0 access unit of 21 bytes and more, at most 20 are read");
    EXPECT_EQ(cut(std::string(80, 'f'), 10, std::nullopt, 20), "@0 no start code in 21 bytes");
}

TEST(AccessUnits, AreTheSameHoweverTheStreamIsPushed) {
    struct Case {
        std::string stream;
        std::size_t greatest;
        std::string expected;
    };
    const std::string unit = "0000016588";
    const std::string tooLong = "access unit of 6 bytes and more, at most 5 are read";
    const Case cases[] = {
        {unit + unit, 5, "0:0000016588 5:0000016588 "},
        {unit + unit, 4, "@0 access unit of 5 bytes and more, at most 4 are read"},
        {unit + "ff", 5, "@0 " + tooLong},
        {unit + unit + "ffff", 5, "0:0000016588 @5 " + tooLong},
        {unit + "00" + unit, 5, "0:0000016588 @5 " + tooLong},
        {unit + "00" + unit, 6, "0:0000016588 5:000000016588 "},
        {"ffffffffff" + unit, 5, "5:0000016588 "},
        {"ffffffffffff" + unit, 5, "@0 no start code in 6 bytes"},
        {"ffffffffffff 000001ba44", 5, "@0 no start code in 6 bytes"},
        {"ffff 000001ba44", 5, "@2 start code ba of a transport or program stream"},
        {"ffffff", 2, "@0 no start code in 3 bytes"},
        {"ffffff", 3, "@0 no start code in 3 bytes"},
    };
    for (const Case& one : cases) {
        const Bytes stream = fromHex(one.stream);
        // A bit for each place between two bytes, and one for whether units are taken before the stream has ended.
        for (std::size_t mask = 0; mask < std::size_t{1} << stream.size(); ++mask) {
            ASSERT_EQ(unitsOf(stream, {.codec = std::nullopt, .greatest = one.greatest}, mask % 2 != 0,
                              [mask](std::size_t place) { return (mask >> place & 1U) != 0; }),
                      one.expected)
                << one.stream << " " << one.greatest << " " << mask;
        }
    }
    // What waits in whole is no longer than its units, and a long one is long in one piece as well.
    std::string six;
    for (int index = 0; index < 6; ++index) {
        six += unit;
    }
    EXPECT_EQ(unitsOf(fromHex(six), {.codec = std::nullopt, .greatest = 20}, false,
                      [](std::size_t place) { return place % 5 == 0; }),
              "0:0000016588 5:0000016588 10:0000016588 15:0000016588 20:0000016588 25:0000016588 ");
    EXPECT_EQ(cut(unit + std::string(130, 'f'), 70, std::nullopt, 20),
              "@0 access unit of 21 bytes and more, at most 20 are read");
}

TEST(AccessUnitReader, EndsAtItsLimits) {
    // Three pictures of MPEG-2 video, of six bytes each.
    const Bytes stream = fromHex("00000100 0011 00000100 0022 00000100 0033");
    const auto never = [](std::size_t) { return false; };
    const std::string two = "0:000001000011 6:000001000022 ";
    qlx::video::AccessUnitOptions options;
    options.limits = {.bytes = stream.size(), .items = 3};
    EXPECT_EQ(unitsOf(stream, options, true, never), two + "12:000001000033 ");
    options.limits = {.items = 2};
    EXPECT_EQ(unitsOf(stream, options, true, never), two + "@18 reading ends at the limit of 2 items");
    options.limits = {.bytes = 14};
    for (const bool takesAtOnce : {true, false}) {
        EXPECT_EQ(unitsOf(stream, options, takesAtOnce, never),
                  two.substr(0, 15) + "@6 reading ends at the limit of 14 bytes");
    }
}

}  // namespace
