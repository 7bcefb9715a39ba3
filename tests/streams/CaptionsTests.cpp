// The captions of a frame, wherever they are.
#include "ExactBuffer.h"
#include "StreamFrames.h"

#include <qlx/streams/captions.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

namespace ids = qlx::anc::ids;
using qlx::Data;
using qlx::streams::captionTriplets;
using qlx::streams::Frame;
using qlxtest::fromHex;
using qlxtest::packetOf;

TEST(Captions, AreTakenFromWhereverTheyAre) {
    Frame frame;
    EXPECT_FALSE(captionTriplets(frame));
    frame.packets.push_back(packetOf(ids::kCea608, Data{0x80, 0x94, 0x2C}, 21));
    frame.packets.push_back(packetOf(ids::kCea608, Data{0x00, 0x15, 0x2C}, 284));
    frame.packets.push_back(packetOf(ids::kCea608, Data{0x80, 0x94}, 21));
    EXPECT_EQ(captionTriplets(frame), (Data{0xFC, 0x94, 0x2C, 0xFD, 0x15, 0x2C}));
    // A packet with a time code section in front of its two triplets.
    frame.packets.push_back(
        packetOf(ids::kCdp, Data(fromHex("9669193fff0000718081828372e2fc9420f9152c740000ff00")), 9));
    EXPECT_EQ(captionTriplets(frame), (Data{0xFC, 0x94, 0x20, 0xF9, 0x15, 0x2C}));
    frame.triplets = Data{0xFA, 0x00, 0x00};
    EXPECT_EQ(captionTriplets(frame), (Data{0xFA, 0x00, 0x00}));
}

TEST(Captions, AreTakenFromTheFirstPacketWithASectionForThem) {
    Frame frame;
    // One without caption data, one that ends in its second triplet, and one that is whole.
    frame.packets.push_back(packetOf(ids::kCdp, fromHex("96690b3f0b0001740001e0"), 9));
    EXPECT_FALSE(captionTriplets(frame));
    frame.packets.push_back(packetOf(ids::kCdp, fromHex("96690d3f43000072e2fc942cf9"), 9));
    frame.packets.push_back(packetOf(ids::kCdp, fromHex("9669103f43000072e1fc9420740000e0"), 9));
    EXPECT_EQ(captionTriplets(frame), (Data{0xFC, 0x94, 0x2C}));
    // What is no CDP has none.
    frame.packets.assign(1, packetOf(ids::kCdp, fromHex("9668103f43000072e1fc9420740000e0"), 9));
    EXPECT_FALSE(captionTriplets(frame));
}

TEST(Captions, AreReadAsFarAsAPacketGoes) {
    const auto whole = fromHex("9669133f43000072e2fc942cfd8080740000ea");
    qlxtest::forEachTruncation(whole, [](const qlxtest::ExactBuffer& part) {
        Frame frame;
        frame.packets.push_back(packetOf(ids::kCdp, part.span(), 9));
        const Data triplets = captionTriplets(frame);
        // The section begins behind the header's 7 bytes, its triplets behind 2 more.
        EXPECT_EQ(static_cast<bool>(triplets), part.size() >= 9) << part.size();
        const std::vector<std::uint8_t> all = fromHex("fc942cfd8080");
        const std::size_t there = part.size() < 9 ? 0 : std::min<std::size_t>((part.size() - 9) / 3 * 3, all.size());
        EXPECT_TRUE(std::equal(triplets.begin(), triplets.end(), all.begin(), all.begin() + std::ptrdiff_t(there)))
            << part.size();
    });
}

TEST(Captions, SayWhichPacketsAreTooShortForAPair) {
    Frame frame;
    frame.packets.push_back(packetOf(ids::kCea608, Data{0x80, 0x94}, 21));
    frame.packets.push_back(packetOf(ids::kCea608, Data{0x00, 0x15, 0x2C}, 284));
    qlx::Findings findings;
    EXPECT_EQ(captionTriplets(frame, &findings), (Data{0xFD, 0x15, 0x2C}));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{qlx::FindingCode::StreamPairPacketCut, qlx::Severity::Error, 21, 2, 3}));
}

TEST(Captions, SayThatTheLastTripletIsCut) {
    Frame frame;
    qlx::Findings findings;
    for (const std::size_t bytes : {3U, 4U, 5U, 6U}) {
        frame.triplets = Data(fromHex(std::string("fc9420fd942c").substr(0, 2 * bytes)));
        EXPECT_EQ(captionTriplets(frame, &findings), frame.triplets);
    }
    ASSERT_EQ(findings.size(), 2U);
    for (const qlx::Finding& finding : findings) {
        EXPECT_EQ(finding, (qlx::Finding{qlx::FindingCode::UserDataCut, qlx::Severity::Error, 0, 2, 1}));
    }
}

TEST(Captions, SayOnWhichLineAPacketIsWrong) {
    Frame frame;
    // One that is no CDP, and one whose checksum should be eb.
    frame.packets.push_back(packetOf(ids::kCdp, fromHex("9668103f43000072e1fc9420740000e0"), 9));
    frame.packets.push_back(packetOf(ids::kCdp, fromHex("9669133f43000072e2fc942cfd8080740000ea"), 572));
    qlx::Findings findings;
    EXPECT_EQ(captionTriplets(frame, &findings), Data(fromHex("fc942cfd8080")));
    ASSERT_GE(findings.size(), 2U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::CdpIdentifierWrong);
    EXPECT_EQ(findings[0].offset, 9U);
    bool isChecksumTold = false;
    for (const qlx::Finding& finding : findings.kept().subspan(1)) {
        EXPECT_EQ(finding.offset, 572U);
        isChecksumTold = isChecksumTold || (finding.code == qlx::FindingCode::CdpChecksumWrong &&
                                            finding.first == 0xEA && finding.second == 0xEB);
    }
    EXPECT_TRUE(isChecksumTold);
    // What comes with the picture goes before them, and they are not looked into.
    findings.clear();
    frame.triplets = Data{0xFA, 0x00, 0x00};
    (void)captionTriplets(frame, &findings);
    EXPECT_TRUE(findings.empty());
}

}  // namespace
