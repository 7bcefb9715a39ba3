#include <qlx/anc/rate.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::FrameRate;
using qlx::Severity;
using qlx::anc::Packet;
using qlx::anc::PacketId;
using qlx::anc::PacketRateChange;
using qlx::anc::RateUse;

namespace ids = qlx::anc::ids;

Packet packet(PacketId id, unsigned number) {
    Packet result;
    result.did = id.did;
    result.sdid = id.sdid;
    result.userData = {static_cast<std::uint8_t>(number)};
    result.line = 12;
    return result;
}

/// For each frame of the output with packets: "DID/number" one behind the other.
using Packets = std::map<std::uint64_t, std::string>;

class Course {
public:
    Course(FrameRate from, FrameRate to) : _change(from, to) {}

    void feed(std::uint64_t frame, PacketId id, unsigned number) { _change.feed(frame, packet(id, number), &findings); }

    Packets taken(std::uint64_t frames) {
        Packets packets;
        for (std::uint64_t frame = 0; frame < frames; ++frame) {
            for (const Packet& one : _change.packetsOf(frame)) {
                EXPECT_EQ(one.line, 12U);
                packets[frame] += " " + std::to_string(one.did) + "/" + std::to_string(one.userData.at(0));
            }
        }
        EXPECT_EQ(_change.waiting(), 0U);
        return packets;
    }

    Findings findings;

private:
    PacketRateChange _change;
};

TEST(PacketRateChange, KnowsWhatDescribesAFrame) {
    EXPECT_EQ(qlx::anc::rateUseOf(ids::kAfdBarData), RateUse::EachFrame);
    EXPECT_EQ(qlx::anc::rateUseOf(ids::kPanScan), RateUse::EachFrame);
    EXPECT_EQ(qlx::anc::rateUseOf(ids::kAtc), RateUse::EachCountedFrame);
    // ST 2068, ST 2108-1, ST 2108-2, wide-screen signalling.
    for (const PacketId id : {PacketId{0x41, 0x0A}, PacketId{0x41, 0x0C}, PacketId{0x41, 0x0D}, PacketId{0x50, 0x01}}) {
        EXPECT_EQ(qlx::anc::rateUseOf(id), RateUse::EachFrame);
    }
    EXPECT_EQ(qlx::anc::rateUseOf({0x64, 0x64}), RateUse::EachCountedFrame);
    EXPECT_EQ(qlx::anc::rateUseOf({0x64, 0x7F}), RateUse::EachCountedFrame);
    // ST 352, the two-frame marker, the time code of ST 12-3.
    for (const PacketId id : {PacketId{0x41, 0x01}, PacketId{0x46, 0x01}, PacketId{0x60, 0x61}}) {
        EXPECT_EQ(qlx::anc::rateUseOf(id), RateUse::EachFrameOfItsRate);
    }
    // RP 165 checks the picture that it comes with. It is of type 1: the second word counts packets.
    EXPECT_EQ(qlx::anc::rateUseOf({0xF4, 0x00}), RateUse::EachFrameOfItsRate);
    EXPECT_EQ(qlx::anc::rateUseOf({0xF4, 0x05}), RateUse::EachFrameOfItsRate);
    EXPECT_EQ(qlx::anc::rateUseOf({0xF5, 0x00}), RateUse::Once);
    EXPECT_EQ(qlx::anc::rateUseOf({0x41, 0x02}), RateUse::Once);
    EXPECT_EQ(qlx::anc::rateUseOf(ids::kOp47), RateUse::Once);
    EXPECT_EQ(qlx::anc::rateUseOf(ids::kScte104), RateUse::Once);
    EXPECT_EQ(qlx::anc::rateUseOf({0x41, 0x0B}), RateUse::Once);
}

TEST(PacketRateChange, KnowsWhichRatesCountAlike) {
    for (const FrameRate one : qlx::kFrameRates) {
        for (const FrameRate other : qlx::kFrameRates) {
            const auto isPair = [one, other](FrameRate slow, FrameRate fast) {
                return (one == slow && other == fast) || (one == fast && other == slow);
            };
            EXPECT_EQ(qlx::anc::countAlike(one, other), one == other || isPair(FrameRate::Fps25, FrameRate::Fps50) ||
                                                            isPair(FrameRate::Fps2997, FrameRate::Fps5994) ||
                                                            isPair(FrameRate::Fps30, FrameRate::Fps60));
        }
    }
}

TEST(PacketRateChange, SendsOnceAtItsTimeOrLater) {
    // 67/2 is OP-47, 65/7 SCTE-104. Frames of 1/60 s are frames 0, 0.4, 0.8, 1.2, 1.6 and 2 of 1/24 s.
    Course course(FrameRate::Fps60, FrameRate::Fps24);
    for (unsigned frame = 0; frame < 6; ++frame) {
        course.feed(frame, ids::kOp47, frame);
        course.feed(frame, ids::kScte104, 10 + frame);
    }
    EXPECT_EQ(course.taken(5),
              (Packets{{0, " 67/0 65/10"}, {1, " 67/1 65/11 67/2 65/12"}, {2, " 67/3 65/13 67/4 65/14 67/5 65/15"}}));
    EXPECT_TRUE(course.findings.empty());
}

TEST(PacketRateChange, DropsTheChecksOfPicturesThatAreOthers) {
    for (const FrameRate to : {FrameRate::Fps25, FrameRate::Fps50}) {
        Course course(FrameRate::Fps25, to);
        course.feed(0, {0xF4, 0x01}, 1);
        EXPECT_EQ(course.taken(1), to == FrameRate::Fps25 ? Packets({{0, " 244/1"}}) : Packets());
        EXPECT_EQ(course.findings.size(), to == FrameRate::Fps25 ? 0U : 1U);
    }
}

TEST(PacketRateChange, RepeatsWhatDescribesAFrame) {
    Course course(FrameRate::Fps25, FrameRate::Fps50);
    course.feed(0, ids::kAfdBarData, 1);
    course.feed(0, ids::kAtc, 2);
    course.feed(0, ids::kOp47, 3);
    course.feed(2, ids::kAfdBarData, 4);
    course.feed(2, ids::kAfdBarData, 5);
    EXPECT_EQ(course.taken(7),
              (Packets{{0, " 67/3 65/1 96/2"}, {1, " 65/1 96/2"}, {4, " 65/4 65/5"}, {5, " 65/4 65/5"}}));
}

TEST(PacketRateChange, DropsWhatNamesAnotherRate) {
    Course same(FrameRate::Fps50, FrameRate::Fps50);
    same.feed(0, ids::kPayloadIdentifier, 1);
    EXPECT_EQ(same.taken(2), (Packets{{0, " 65/1"}}));
    EXPECT_TRUE(same.findings.empty());
    Course other(FrameRate::Fps25, FrameRate::Fps50);
    other.feed(0, ids::kPayloadIdentifier, 1);
    other.feed(0, ids::kHdrMetadata, 2);
    EXPECT_EQ(other.taken(2), (Packets{{0, " 65/2"}, {1, " 65/2"}}));
    ASSERT_EQ(other.findings.size(), 1U);
    EXPECT_EQ(other.findings[0], (Finding{FindingCode::AncPacketDropped, Severity::Warning, 0, 0x41, 0x01}));
}

// A step for each pair of packets would take many seconds.
TEST(PacketRateChange, TakesManyPacketsOfAFrame) {
    constexpr unsigned kPackets = 20'000;
    PacketRateChange change(FrameRate::Fps50, FrameRate::Fps25);
    for (unsigned frame = 0; frame < 3; ++frame) {
        for (unsigned index = 0; index < kPackets; ++index) {
            change.feed(frame, packet(index % 2 == 0 ? ids::kAfdBarData : ids::kPanScan, frame));
        }
    }
    EXPECT_EQ(change.packetsOf(0).size(), kPackets);
    const std::vector<Packet> packets = change.packetsOf(1);
    ASSERT_EQ(packets.size(), kPackets);
    EXPECT_TRUE(std::all_of(packets.begin(), packets.end(),
                            [](const Packet& one) { return one.userData == std::vector<std::uint8_t>{2}; }));
}

TEST(PacketRateChange, TakesTheLastOfThoseThatDescribeAFrame) {
    Course course(FrameRate::Fps50, FrameRate::Fps25);
    course.feed(0, ids::kAfdBarData, 0);
    course.feed(1, ids::kAfdBarData, 1);
    course.feed(2, ids::kAfdBarData, 2);
    // No other comes up to frame 2 of the output: it holds there.
    course.feed(3, ids::kPanScan, 3);
    EXPECT_EQ(course.taken(4), (Packets{{0, " 65/0"}, {1, " 65/2"}, {2, " 65/3"}}));
}

TEST(PacketRateChange, DropsWhatCountsFramesOtherwise) {
    Course course(FrameRate::Fps24, FrameRate::Fps30);
    course.feed(7, ids::kAtc, 2);
    EXPECT_EQ(course.taken(12), Packets{});
    ASSERT_EQ(course.findings.size(), 1U);
    EXPECT_EQ(course.findings[0], (Finding{FindingCode::AncPacketDropped, Severity::Warning, 7, 0x60, 0x60}));
    EXPECT_EQ(course.findings[0].text(), "packet 60/60 is left out: it counts the frames of the old rate");
}

TEST(PacketRateChange, SendsEachOnceAtAllPairsOfRates) {
    // Ticks of 1/120000 s in a frame, in the order of the codes.
    const std::uint64_t ticks[] = {5005, 5000, 4800, 4004, 4000, 2400, 2002, 2000};
    for (const FrameRate from : qlx::kFrameRates) {
        for (const FrameRate to : qlx::kFrameRates) {
            const std::uint64_t one = ticks[static_cast<std::size_t>(from) - 1];
            const std::uint64_t other = ticks[static_cast<std::size_t>(to) - 1];
            Course course(from, to);
            Packets expected;
            for (unsigned frame = 0; frame < 200; frame += 1 + frame % 3) {
                course.feed(frame, ids::kOp47, frame);
                expected[(frame * one + other - 1) / other] += " 67/" + std::to_string(frame);
            }
            EXPECT_EQ(course.taken(600), expected) << static_cast<int>(from) << " to " << static_cast<int>(to);
        }
    }
}

}  // namespace
