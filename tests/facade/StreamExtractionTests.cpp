// Caption triplets out of coded pictures, and the structure that goes into them.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "ExactBuffer.h"
#include "facade/H264CaptionExtractor.h"
#include "facade/MPEG2CaptionExtractor.h"

#include <gtest/gtest.h>

#include <string>

using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;
using Utilities = QLXCCUtilities;

namespace {

constexpr const char* kTriplets = "fc942cfd8080";
constexpr const char* kNone = "none";

/// The digits of a result; none and empty differ.
std::string textOf(const qlx::Data& data) {
    return data ? toHex(data) : kNone;
}

std::string annexB(const std::string& hex) {
    return textOf(Utilities::extractCCDataFromAnnexBH264Packet(fromHex(hex)));
}

std::string lengthPrefixed(const std::string& hex) {
    return textOf(Utilities::extractCCDataFromAVCCH264Packet(fromHex(hex)));
}

std::string dispatched(const std::string& hex) {
    return textOf(Utilities::extractCCDataFromH264Packet(fromHex(hex)));
}

std::string mpeg2(const std::string& hex) {
    return textOf(Utilities::extractCCDataFromMPEG2Packet_pts(fromHex(hex), qlx::MediaTime()));
}

// A NAL unit of registered user data: header, payload type 4, size 17, country B5, provider 0031, "GA94", type 03,
// flags C2, em_data, two triplets, marker, trailing bits. 21 bytes.
constexpr const char* kSEI = "06 04 11 b5 0031 47413934 03 c2 ff fc942c fd8080 ff 80";

/// The same with another header, type code or flags.
std::string seiWith(const std::string& header, const std::string& typeCode, const std::string& flags) {
    return header + "04 11 b5 0031 47413934" + typeCode + flags + "ff fc942c fd8080 ff 80";
}

}  // namespace

TEST(AnnexBCaptions, AreReturnedAsTheyStand) {
    EXPECT_EQ(annexB(std::string("00000001") + kSEI), kTriplets);
    EXPECT_EQ(dispatched(std::string("00000001") + kSEI), kTriplets);
}

TEST(AnnexBCaptions, AreFoundBehindOtherUnits) {
    EXPECT_EQ(annexB(std::string("00000001 09f0 00000001 6742001e 000001 06 05 01 00 80 000001") + kSEI +
                     "000001 65 8884 0000"),
              kTriplets);
}

TEST(AnnexBCaptions, KeepEmulationPreventionBytes) {
    EXPECT_EQ(annexB("00000001 06 04 12 b5 0031 47413934 03 c2 ff fe0000 03fe01 02 ff 80"), "fe000003fe01");
}

TEST(AnnexBCaptions, TakeAnyUnitWhoseLowFiveBitsAreSix) {
    for (const char* header : {"06", "26", "46", "66", "86", "e6"}) {
        EXPECT_EQ(annexB("00000001" + seiWith(header, "03", "c2")), kTriplets) << header;
    }
    for (const char* header : {"05", "07", "16", "65"}) {
        EXPECT_EQ(annexB("00000001" + seiWith(header, "03", "c2")), kNone) << header;
    }
}

TEST(AnnexBCaptions, CompareTheWholeFlagsByte) {
    EXPECT_EQ(annexB("00000001" + seiWith("06", "03", "82")), kTriplets);
    EXPECT_EQ(annexB("00000001" + seiWith("06", "03", "42")), kTriplets);
    EXPECT_EQ(annexB("00000001" + seiWith("06", "03", "22")), kNone);
    EXPECT_EQ(annexB("00000001" + seiWith("06", "03", "3f")), kNone);
    EXPECT_EQ(annexB("00000001" + seiWith("06", "03", "40")), "") << "a count of 0 is an empty buffer";
    EXPECT_EQ(annexB("00000001" + seiWith("06", "04", "c2")), kNone);
}

TEST(AnnexBCaptions, NeedAByteOfTheUnitBehindThem) {
    const std::string head = "00000001 06 04 11 b5 0031 47413934 03 c2 ff fc942c fd8080";
    EXPECT_EQ(annexB(head), kNone);
    EXPECT_EQ(annexB(head + "ff"), kTriplets);
    EXPECT_EQ(annexB(head + "000001 65 88"), kNone);
    EXPECT_EQ(annexB(head + "000001"), kNone);
    EXPECT_EQ(annexB(head + "0000"), kTriplets);
    EXPECT_EQ(annexB(head + "00 000001 65 88"), kTriplets) << "the zero byte of a long start code is the unit's";
}

TEST(AnnexBCaptions, BeginTwelveBytesIntoTheUnit) {
    // The identifier may stand from offset 5 of the unit on.
    EXPECT_EQ(annexB("00000001 06 00000000 47413934 03 41 ff fc942c ff"), "fc942c");
    EXPECT_EQ(annexB("00000001 06 000000 47413934 03 41 ff fc942c ffff"), kNone);
}

TEST(AnnexBCaptions, NeedAUnitOfThirteenBytes) {
    EXPECT_EQ(annexB("00000001 06 00000000 47413934 03 40 ff ff"), "");
    EXPECT_EQ(annexB("00000001 06 00000000 47413934 03 40 ff"), kNone);
}

TEST(AnnexBCaptions, GoOnBehindARefusedIdentifier) {
    const std::string refused = "b5 0031 47413934 04 c2 ff fc942c fd8080 ff";
    EXPECT_EQ(annexB("00000001 06 04 25" + refused + "b5 0031 47413934 03 c1 ff fc1111 ff 80"), "fc1111");
    EXPECT_EQ(annexB("00000001 06 04 11" + refused + "80 000001" + kSEI), kTriplets);
    // Triplets that do not fit are no end either: the second identifier stands among the first one's.
    EXPECT_EQ(annexB("00000001 06 04 11 b5 0031 47413934 03 df ff 47413934 03 c1 ff fc1111 ff"), "fc1111");
}

TEST(AnnexBCaptions, StepOverFourBytesAtOtherUnits) {
    // A header of 00 that is also the first zero of the next start code goes by, and that code with it.
    EXPECT_EQ(annexB(std::string("00000001 09 000001 000001") + kSEI), kNone);
    EXPECT_EQ(annexB(std::string("00000001 09 000001 00 000001") + kSEI), kTriplets);
}

TEST(AnnexBCaptions, EndAtAStartCodeInsideTheTriplets) {
    EXPECT_EQ(annexB("00000001 06 04 11 b5 0031 47413934 03 c2 ff fc9400 0001fd ff 80"), kNone);
}

TEST(AnnexBCaptions, OfShortBuffersAreNone) {
    EXPECT_EQ(textOf(Utilities::extractCCDataFromAnnexBH264Packet(qlx::Data())), kNone);
    EXPECT_EQ(textOf(Utilities::extractCCDataFromH264Packet(qlx::Data())), kNone);
    EXPECT_EQ(annexB(""), kNone);
    EXPECT_EQ(annexB("06"), kNone);
    EXPECT_EQ(annexB("00000001"), kNone);
    EXPECT_EQ(annexB("0000000106"), kNone);
    EXPECT_EQ(annexB("0600000000"), kNone);
    EXPECT_EQ(annexB("000000010604"), kNone);
}

TEST(AnnexBCaptions, WithoutALongStartCodeAreWalkedByLengths) {
    // A short start code reads as a length of 0x00000106, which leads behind the end.
    EXPECT_EQ(annexB(std::string("000001") + kSEI), kNone);
    // The first length byte is taken for the header: 06... is a unit of 100 MB, searched as far as it is there.
    EXPECT_EQ(annexB("06000000 00 47413934 03 c2 ff fc942c fd8080"), kTriplets);
    EXPECT_EQ(annexB("a6000000 00 47413934 03 c2 ff fc942c fd8080"), kTriplets);
    EXPECT_EQ(annexB("06000000 00 47413934 03 c2 ff fc942c fd80"), kNone);
    EXPECT_EQ(annexB("06000000 00 47413934 03 40"), "");
    EXPECT_EQ(annexB("06000000 00 47413934 03"), kNone);
    EXPECT_EQ(annexB("06000000 47413934 03 c2 ff fc942c fd8080"), kNone);
    // Units of ordinary length come first; a true SEI unit among them is not seen.
    EXPECT_EQ(annexB("00000002 0900 06000000 00 47413934 03 c2 ff fc942c fd8080"), kTriplets);
    EXPECT_EQ(annexB(std::string("00000015") + kSEI + "00000003 658884"), kNone);
    // A length of 0 is a step of four.
    EXPECT_EQ(annexB("00000000 00000000 06000000 00 47413934 03 c2 ff fc942c fd8080"), kTriplets);
}

TEST(LengthPrefixedCaptions, AreNotSearchedInTheLastUnit) {
    EXPECT_EQ(lengthPrefixed(std::string("00000015") + kSEI), kNone);
    EXPECT_EQ(dispatched(std::string("00000015") + kSEI), kNone);
    EXPECT_EQ(lengthPrefixed(std::string("00000015") + kSEI + "00000003 658884"), kTriplets);
    EXPECT_EQ(dispatched(std::string("00000015") + kSEI + "00000003 658884"), kTriplets);
    EXPECT_EQ(lengthPrefixed(std::string("00000015") + kSEI + "65"), kTriplets) << "one byte more is enough";
}

TEST(LengthPrefixedCaptions, AreFoundBehindOtherUnits) {
    EXPECT_EQ(
        lengthPrefixed(std::string("00000002 09f0 00000000 00000005 0605010080 00000015") + kSEI + "00000003 658884"),
        kTriplets);
}

TEST(LengthPrefixedCaptions, NeedTheHeaderSixExactly) {
    for (const char* header : {"26", "46", "66", "86", "05"}) {
        EXPECT_EQ(lengthPrefixed("00000015" + seiWith(header, "03", "c2") + "00000003 658884"), kNone) << header;
    }
}

TEST(LengthPrefixedCaptions, CompareTheWholeFlagsByte) {
    EXPECT_EQ(lengthPrefixed("00000015" + seiWith("06", "03", "82") + "00000003 658884"), kTriplets);
    EXPECT_EQ(lengthPrefixed("00000015" + seiWith("06", "03", "42") + "00000003 658884"), kTriplets);
    EXPECT_EQ(lengthPrefixed("00000015" + seiWith("06", "03", "22") + "00000003 658884"), kNone);
    EXPECT_EQ(lengthPrefixed("00000015" + seiWith("06", "03", "40") + "00000003 658884"), "");
}

TEST(LengthPrefixedCaptions, NeedAUnitOfTwentyOneBytesWithItsLength) {
    EXPECT_EQ(lengthPrefixed("00000011 06 47413934 03 41 ff fc942c 00000000 ff ff 00000000"), "fc942c");
    EXPECT_EQ(lengthPrefixed("00000010 06 47413934 03 41 ff fc942c 00000000 ff 00000000"), kNone);
}

TEST(LengthPrefixedCaptions, NeedAByteOfTheUnitBehindThem) {
    EXPECT_EQ(lengthPrefixed("00000014 06 04 11 b5 0031 47413934 03 c2 ff fc942c fd8080 ff 0000000165"), kTriplets);
    EXPECT_EQ(lengthPrefixed("00000013 06 04 11 b5 0031 47413934 03 c2 ff fc942c fd8080 0000000165"), kNone);
}

TEST(LengthPrefixedCaptions, EndAtARefusedIdentifier) {
    const std::string refused = "00000015" + seiWith("06", "04", "c2");
    EXPECT_EQ(lengthPrefixed(refused + "00000015" + kSEI + "00000003 658884"), kNone);
    // One in a unit that is not searched is no such thing, nor one that a good one follows in its own unit.
    EXPECT_EQ(lengthPrefixed("00000015" + seiWith("26", "04", "c2") + "00000015" + kSEI + "0000000165"), kTriplets);
    EXPECT_EQ(lengthPrefixed("00000018 06 04 14 b5 0031 47413934 04 c2 ff 47413934 03 c1 ff fc1111 ff 0000000165"),
              "fc1111");
}

TEST(LengthPrefixedCaptions, OfHugeLengthsEndTheWalk) {
    // In 32 bits the first step would be 0, the second 3.
    EXPECT_EQ(lengthPrefixed(std::string("fffffffc 06") + kSEI + kSEI), kNone);
    EXPECT_EQ(lengthPrefixed(std::string("ffffffff 06") + kSEI + kSEI), kNone);
    EXPECT_EQ(annexB(std::string("fffffffc 06") + kSEI + kSEI), kNone);
    EXPECT_EQ(annexB(std::string("ffffffff 06") + kSEI + kSEI), kNone);
    EXPECT_EQ(lengthPrefixed(std::string("00000015") + kSEI + "ffffffff 06"), kTriplets);
}

TEST(LengthPrefixedCaptions, OfShortBuffersAreNone) {
    EXPECT_EQ(textOf(Utilities::extractCCDataFromAVCCH264Packet(qlx::Data())), kNone);
    EXPECT_EQ(lengthPrefixed(""), kNone);
    EXPECT_EQ(lengthPrefixed("00000000"), kNone);
    EXPECT_EQ(lengthPrefixed("0000000006"), kNone);
}

TEST(H264Captions, WithAShortStartCodeGoToTheLengthPrefixedSearch) {
    // 00 00 01 00 is a length of 256: a unit of 260 bytes with "GA94", and one byte behind it.
    std::vector<std::uint8_t> unit = fromHex("00000100 06 04 fa b5 0031 47413934 03 c2 ff fc942c fd8080");
    unit.resize(260, 0xFF);
    EXPECT_EQ(textOf(Utilities::extractCCDataFromH264Packet(unit)), kNone);
    unit.push_back(0x65);
    EXPECT_EQ(textOf(Utilities::extractCCDataFromH264Packet(unit)), kTriplets);
    EXPECT_EQ(dispatched(std::string("000001") + kSEI + "000001 6588"), kNone);
}

TEST(MPEG2Captions, AreReturnedAsTheyStand) {
    EXPECT_EQ(mpeg2("000001b2 47413934 03 c2 ff fc942c fd8080 ff"), kTriplets);
    EXPECT_EQ(mpeg2("00000100 000fffff 000001b2 47413934 03 42 ff fc942c fd8080 ff 00000101"), kTriplets);
}

TEST(MPEG2Captions, NeedNeitherStartCodeNorTypeCode) {
    EXPECT_EQ(mpeg2("47413934 06 c2 ff fc942c fd8080"), kTriplets);
}

TEST(MPEG2Captions, NeedProcessCCDataFlag) {
    EXPECT_EQ(mpeg2("000001b2 47413934 03 82 ff fc942c fd8080 ff"), kNone);
    EXPECT_EQ(mpeg2("000001b2 47413934 03 42 ff fc942c fd8080 ff"), kTriplets);
}

TEST(MPEG2Captions, EndAtTheFirstIdentifier) {
    EXPECT_EQ(mpeg2("000001b2 47413934 03 82 ff 000001b2 47413934 03 c2 ff fc942c fd8080 ff"), kNone);
}

TEST(MPEG2Captions, MustFit) {
    EXPECT_EQ(mpeg2("000001b2 47413934 03 c2 ff fc942c fd80"), kNone);
    EXPECT_EQ(mpeg2("000001b2 47413934 03 40 ff"), "");
    EXPECT_EQ(mpeg2("000001b2 47413934 03 40"), "");
    EXPECT_EQ(mpeg2("000001b2 47413934 03"), kNone);
    EXPECT_EQ(mpeg2("47413934"), kNone);
    EXPECT_EQ(mpeg2("474139"), kNone);
    EXPECT_EQ(mpeg2(""), kNone);
    EXPECT_EQ(textOf(Utilities::extractCCDataFromMPEG2Packet_pts(qlx::Data(), qlx::MediaTime())), kNone);
}

TEST(StreamCaptions, AreFoundAsSoonAsTheyAreThere) {
    const auto expectFrom = [](const std::string& hex, std::size_t first, auto extract) {
        const std::vector<std::uint8_t> whole = fromHex(hex);
        EXPECT_EQ(textOf(extract(ExactBuffer(whole).span())), kTriplets);
        qlxtest::forEachTruncation(whole, [first, extract](const ExactBuffer& bytes) {
            EXPECT_EQ(textOf(extract(bytes.span())), bytes.size() < first ? kNone : kTriplets) << bytes.size();
        });
    };
    for (const auto* kernels : {&qlx::videostream::scalarKernels(), &qlx::videostream::kernels()}) {
        const auto annexB = [kernels](auto bytes) { return qlx::h264::tripletsInAnnexB(bytes, *kernels); };
        const auto lengths = [kernels](auto bytes) { return qlx::h264::tripletsInLengthPrefixed(bytes, *kernels); };
        const auto mpeg2 = [kernels](auto bytes) { return qlx::mpeg2::captionTriplets(bytes, *kernels); };
        expectFrom(std::string("00000001 09f0 00000001") + kSEI + "000001 658884", 4 + 2 + 4 + 20, annexB);
        expectFrom("06000000 00 47413934 03 c2 ff fc942c fd8080 ff 80", 18, annexB);
        expectFrom(std::string("00000002 09f0 00000015") + kSEI + "00000003 658884", 6 + 4 + 21 + 1, lengths);
        expectFrom("000001b2 47413934 03 c2 ff fc942c fd8080 ff", 17, mpeg2);
    }
}

TEST(A53CCData, HoldsTheTripletsOfAPacket) {
    // A packet of 20 triplets: header, field 1, field 2, 18 of padding, footer.
    std::string packet = "9669 49 4f 7f 0001 72 f4 fc942c fd8080";
    std::string expected = "03d4fffc942cfd8080";
    for (int triplet = 0; triplet < 18; ++triplet) {
        packet += "fa0000";
        expected += "fa0000";
    }
    expected += "ff";
    const qlx::Data built = Utilities::a53CCDataFromCCData(fromHex(packet + "74 0001 00"));
    EXPECT_EQ(built.size(), 64U);
    EXPECT_EQ(toHex(built), expected);
}

TEST(A53CCData, HoldsAtMostThirtyOneTriplets) {
    std::string packet = "9669 00 4f 7f 0001 72 ff";
    std::string expected = "03dfff";
    for (int triplet = 0; triplet < 31; ++triplet) {
        packet += "fe1234";
        expected += "fe1234";
    }
    EXPECT_EQ(textOf(Utilities::a53CCDataFromCCData(fromHex(packet))), expected + "ff");
}

TEST(A53CCData, OfNoTripletsIsNone) {
    EXPECT_EQ(textOf(Utilities::a53CCDataFromCCData(qlx::Data())), kNone);
    EXPECT_EQ(textOf(Utilities::a53CCDataFromCCData(fromHex("9669 0d 4f 7f 0001 72 e0 74 0001 00"))), kNone);
    EXPECT_EQ(textOf(Utilities::a53CCDataFromCCData(fromHex("9669 10 4f 7f 0001 72 e1 fc94"))), kNone);
    EXPECT_EQ(textOf(Utilities::a53CCDataFromCCData(fromHex("9669 10 4f 7f 0001 72 e1 fc942c"))), "03c1fffc942cff");
    EXPECT_EQ(textOf(Utilities::a53CCDataFromCCData(fromHex("9668 10 4f 7f 0001 72 e1 fc942c"))), kNone);
}

TEST(A53CCData, IsReadBack) {
    const auto packet = fromHex("9669 10 4f 7f 0001 72 e2 fc942c fd8080 74 0001 00");
    const std::string structure = toHex(Utilities::a53CCDataFromCCData(packet));
    EXPECT_EQ(annexB("00000001 06 04 11 b5 0031 47413934" + structure + "80"), kTriplets);
    EXPECT_EQ(mpeg2("000001b2 47413934" + structure), kTriplets);
}
