// The captions of coded pictures, alone and as the frames of a stream.
#include "ExactBuffer.h"
#include "streams/SampleUnits.h"

#include <gtest/gtest.h>

#include <qlx/streams/video.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using qlx::Data;
using qlx::FindingCode;
using qlx::streams::captionTriplets;
using qlx::streams::detail::lengthBytesOf;
using qlx::video::Codec;
using qlxtest::fromHex;
using Bytes = std::vector<std::uint8_t>;

// A message of user data behind its length, with two triplets, in front of a slice.
const std::string kSei = "06 04 11 b5 0031 47413934 03 c2 ff fc942c fd8080 ff 80";

TEST(VideoCaptions, AreFoundBehindLengthsOfAnySize) {
    const Data expected(fromHex("fc942cfd8080"));
    for (const auto& [size, lengths] : std::vector<std::pair<std::size_t, std::pair<std::string, std::string>>>{
             {1, {"15", "03"}}, {2, {"0015", "0003"}}, {4, {"00000015", "00000003"}}}) {
        const Bytes unit = fromHex(lengths.first + kSei + lengths.second + "658880");
        EXPECT_EQ(captionTriplets(unit, {Codec::H264, size}), expected) << size;
        qlxtest::forEachTruncation(unit, [size = size, &expected](const qlxtest::ExactBuffer& part) {
            const Data found = captionTriplets(part.span(), {Codec::H264, size});
            EXPECT_TRUE(!found || found == expected);
        });
    }
    for (const char* const start : {"00000001", "000001"}) {
        EXPECT_EQ(captionTriplets(fromHex(start + kSei + "000001658880"), {Codec::H264, 0}), expected);
    }
}

TEST(VideoCaptions, KnowWhetherTheLengthsFit) {
    const auto fits = [](const std::string& unit, std::size_t bytes) {
        const qlxtest::ExactBuffer exact(fromHex(unit));
        return qlx::streams::detail::hasWholeUnits(exact.span(), bytes);
    };
    EXPECT_TRUE(fits("00000002 0910 00000003 658880", 4));
    EXPECT_TRUE(fits("02 0910 03 658880", 1));
    EXPECT_TRUE(fits("", 4));
    EXPECT_TRUE(fits("000001658880", 0));
    // Some writers fill samples up.
    EXPECT_TRUE(fits("00000002 0910 0000", 4));
    EXPECT_FALSE(fits("00000002 0910 00000004 658880", 4));
    EXPECT_FALSE(fits("00000002 0910 ffffffff 658880", 4));
    EXPECT_FALSE(fits("658880 000000 0000", 4));
    EXPECT_FALSE(fits("00000000 000000 0000", 4));
}

TEST(VideoCaptions, KnowTheLengthsOfAParameterRecord) {
    EXPECT_EQ(lengthBytesOf(fromHex("01 64001f ff e1 0000"), Codec::H264), 4U);
    EXPECT_EQ(lengthBytesOf(fromHex("01 64001f fd e1 0000"), Codec::H264), 2U);
    EXPECT_EQ(lengthBytesOf(fromHex("00000001 6764001f"), Codec::H264), 0U);
    EXPECT_EQ(lengthBytesOf(fromHex("01 64001f ff e1"), Codec::H264), 0U);
    EXPECT_EQ(lengthBytesOf({}, Codec::H264), 0U);
}

/// The triplets of an MPEG-2 picture with two messages behind its header.
TEST(VideoCaptions, AreThoseOfAllMessages) {
    const std::string message = "000001b2 47413934 03 c1 ff fc942c ff";
    const std::string second = "000001b2 47413934 03 c1 ff fd8080 ff";
    const Bytes picture = fromHex("00000100 0008" + message + second + "00000101 00");
    EXPECT_EQ(captionTriplets(picture, {Codec::Mpeg2, 0}), Data(fromHex("fc942cfd8080")));
    // In every SEI unit, whatever nal_ref_idc is, and in H.265.
    const std::string sei = "04 0e b5 0031 47413934 03 c1 ff fc942c ff 80";
    const Bytes two = fromHex("00000001 06" + sei + "000001 66" + sei + "000001 658880");
    EXPECT_EQ(captionTriplets(two, {Codec::H264, 0}), Data(fromHex("fc942cfc942c")));
    EXPECT_EQ(captionTriplets(fromHex("00000001 4e01" + sei), {Codec::H265, 0}), Data(fromHex("fc942c")));
    // A message without triplets is one; a picture without a message has none.
    EXPECT_EQ(captionTriplets(fromHex("000001b2 47413934 03 c0 ff ff"), {Codec::Mpeg2, 0}), Data(Bytes{}));
    EXPECT_FALSE(captionTriplets(fromHex("00000100 0008"), {Codec::Mpeg2, 0}));
}

TEST(VideoCaptions, SayWhatIsWrongWithThem) {
    qlx::Findings findings;
    // Two are announced and one is there, at byte 100 of the stream.
    EXPECT_EQ(captionTriplets(fromHex("000001b2 47413934 03 c2 ff fc942c"), {Codec::Mpeg2, 0}, 100, &findings),
              Data(fromHex("fc942c")));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::UserDataCut);
    EXPECT_EQ(findings[0].offset, 100U + 14);
    findings.clear();
    // Not meant to be used.
    EXPECT_FALSE(captionTriplets(fromHex("000001b2 47413934 03 81 ff fc942c ff"), {Codec::Mpeg2, 0}, 100, &findings));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::StreamCaptionsUnused, qlx::Severity::Remark, 103, 1, 0}));
}

// An SEI unit with nal_ref_idc is read as any other, and pairs of SCTE 20 from another line as those of line 21; each
// is told once a stream.
TEST(VideoCaptions, TellOnceWhatIsUsual) {
    qlx::streams::PictureCaptions captions;
    qlx::Findings findings;
    const Bytes unit = fromHex("000001 66 04 0e b50031 47413934 03 c1 ff fc942c ff 80 000001 65 88");
    for (std::uint64_t offset = 0; offset < 300; offset += 100) {
        EXPECT_EQ(captions.take(unit, {Codec::H264}, offset, &findings), Data(fromHex("fc942c")));
    }
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{FindingCode::VideoSeiReferenced, qlx::Severity::Remark, 3, 3, 0}));
    findings.clear();
    // One pair of the first field, line offset 0: 00001 00 01 00000, 94h and 2Ch with their bits in reverse, 1.
    qlx::streams::PictureCaptions others;
    for (int picture = 0; picture < 3; ++picture) {
        EXPECT_FALSE(
            others.take(fromHex("00000100 0008 000001b2 03 81 08 80 a4 d2"), {Codec::Mpeg2}, 0, &findings).empty());
    }
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, FindingCode::VideoScte20OtherLine);
}

/// What a reader gives: the third byte of the first triplet of each frame, -1 without any; and how it ends.
std::vector<int> marksIn(const Bytes& stream, std::optional<Codec> codec, std::optional<FindingCode>& error) {
    qlx::streams::MemorySource source(stream);
    qlx::streams::VideoReader reader(source, codec);
    qlx::streams::Frame frame;
    std::vector<int> marks;
    for (;;) {
        const qlx::Result<bool> more = reader.next(frame, nullptr);
        if (!more || !*more) {
            error = more ? std::nullopt : std::optional(more.error().code);
            return marks;
        }
        EXPECT_EQ(frame.number, marks.size());
        marks.push_back(frame.triplets.empty() ? -1 : frame.triplets[2]);
    }
}

std::string mpeg2Picture(unsigned temporalReference, const std::string& mark) {
    const Bytes reference{static_cast<std::uint8_t>(temporalReference >> 2U),
                          static_cast<std::uint8_t>((temporalReference & 3U) << 6U | 2U << 3U)};
    return "00000100" + qlxtest::toHex(reference) + "000001b2 47413934 03 c1 ff fc80" + mark + "ff 00000101 00";
}

TEST(VideoReader, GivesThePicturesInTheOrderOfPresentation) {
    const Bytes stream = fromHex(mpeg2Picture(0, "01") + mpeg2Picture(2, "03") + mpeg2Picture(1, "02"));
    std::optional<FindingCode> error;
    EXPECT_EQ(marksIn(stream, std::nullopt, error), (std::vector<int>{1, 2, 3}));
    EXPECT_FALSE(error);
    EXPECT_EQ(marksIn({}, Codec::Mpeg2, error), std::vector<int>{});
    EXPECT_EQ(error, FindingCode::StreamEmpty);
    EXPECT_EQ(marksIn(Bytes(100, 0xFF), Codec::Mpeg2, error), std::vector<int>{});
    EXPECT_EQ(error, FindingCode::VideoStartCodeMissing);
    EXPECT_EQ(marksIn(fromHex("000001ba 44"), std::nullopt, error), std::vector<int>{});
    EXPECT_EQ(error, FindingCode::VideoSystemStartCode);
}

/// A field picture of MPEG-2 (1 top, 2 bottom), with a message or without.
std::string mpeg2Field(unsigned temporalReference, unsigned structure, const std::string& message) {
    const Bytes header{static_cast<std::uint8_t>(temporalReference >> 2U),
                       static_cast<std::uint8_t>((temporalReference & 3U) << 6U | 2U << 3U)};
    return "00000100" + qlxtest::toHex(header) + "000001b5 8fff f" + std::to_string(structure) + "0080" + message +
           "00000101 00";
}

TEST(VideoReader, JoinsTheFieldsOfAFrame) {
    const std::string first = "000001b2 47413934 03 c1 ff fc942c ff";
    const std::string second = "000001b2 47413934 03 c1 ff fd8080 ff";
    const std::string empty = "000001b2 47413934 03 c0 ff ff";
    const Bytes stream =
        fromHex(mpeg2Field(0, 1, first) + mpeg2Field(0, 2, second) + mpeg2Field(1, 2, first) + mpeg2Field(1, 1, "") +
                mpeg2Field(2, 1, "") + mpeg2Field(2, 2, second) + mpeg2Field(3, 1, "") + mpeg2Field(3, 2, empty) +
                mpeg2Field(4, 1, "") + mpeg2Field(4, 2, "") + mpeg2Field(5, 1, first));
    const std::vector<Data> expected{
        Data(fromHex("fc942cfd8080")), Data(fromHex("fc942c")), Data(fromHex("fd8080")), Data(Bytes{}), Data(),
        Data(fromHex("fc942c"))};
    qlx::streams::MemorySource source(stream);
    qlx::streams::VideoReader reader(source, Codec::Mpeg2);
    qlx::streams::Frame frame;
    std::vector<Data> found;
    for (qlx::Result<bool> more = reader.next(frame, nullptr); more && *more; more = reader.next(frame, nullptr)) {
        EXPECT_EQ(frame.number, found.size());
        found.push_back(frame.triplets);
    }
    EXPECT_EQ(found, expected);
    ASSERT_EQ(found.size(), 6U);
    EXPECT_TRUE(found[3]);
    EXPECT_FALSE(found[4]);
}

// Two pictures in front of the parameter sets, and one behind them that names others.
TEST(VideoReader, SaysWhichPicturesHaveNoParameters) {
    // Baseline profile, counts of 4 bits for frames and order, frames only; an IDR picture with order 0, one with order 4.
    const std::string parameters = "00000001 67 42001e f4f0 00000001 68 e0";
    const std::string idr = "000001 65 e108";
    const std::string next = "000001 41 e090";
    // The first bit 1, then slice type 0 and picture parameter set 1.
    const std::string other = "000001 41 d0 1010";
    const auto read = [](const std::string& hex, Codec codec) {
        const Bytes stream = fromHex(hex);
        qlx::streams::MemorySource source(stream);
        qlx::streams::VideoReader reader(source, codec);
        qlx::streams::Frame frame;
        qlx::Findings findings;
        for (qlx::Result<bool> more = true; more && *more; more = reader.next(frame, &findings)) {
        }
        std::vector<std::string> said;
        for (const qlx::Finding& finding : findings) {
            said.push_back(std::to_string(finding.offset) + ": " + finding.text());
        }
        return said;
    };
    const std::string words = " in front of parameter sets: as they stand, not as they are presented";
    EXPECT_EQ(read(idr + next + parameters + idr + next, Codec::H264),
              std::vector<std::string>{"0: 2 pictures" + words});
    const std::string sound = parameters + idr;
    EXPECT_EQ(read(sound + other, Codec::H264),
              std::vector<std::string>{std::to_string(fromHex(sound).size()) + ": 1 picture" + words});
    EXPECT_EQ(read(sound + next, Codec::H264), std::vector<std::string>());
    EXPECT_EQ(read("00000001 2601 af00 00000001 0201 d000", Codec::H265),
              std::vector<std::string>{"0: 2 pictures" + words});
    EXPECT_EQ(read(mpeg2Picture(0, "01"), Codec::Mpeg2), std::vector<std::string>());
}

}  // namespace
