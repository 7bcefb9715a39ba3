// What is on air in the frames of a stream: a teletext page, a channel of captions.
#include "ExactBuffer.h"
#include "ScreenLines.h"
#include "StreamFrames.h"
#include "TeletextBytes.h"

#include <qlx/streams/on_air.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/sdp.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace ids = qlx::anc::ids;
using qlx::Data;
using qlx::streams::Frame;
using qlx::streams::OnAir;
using qlx::streams::OnAirKind;
using qlxtest::fromHex;
using qlxtest::packetOf;
using Lines = std::vector<std::string>;

/// A frame whose captions came with the picture.
Frame withTriplets(std::uint64_t number, std::string_view triplets) {
    Frame frame;
    frame.number = number;
    frame.triplets = Data(fromHex(triplets));
    return frame;
}

/// A frame with the pair of a field in a packet of its own (SMPTE ST 334-1).
Frame withPair(std::uint64_t number, std::string_view packet) {
    Frame frame;
    frame.number = number;
    frame.packets.push_back(packetOf(ids::kCea608, fromHex(packet), 9));
    return frame;
}

Lines shownBy(const OnAir& onAir) {
    return qlxtest::linesOf(onAir.screen());
}

TEST(OnAir, ShowsTheChannelOfItsField) {
    const auto first = qlx::streams::captionsOnAir(qlx::cea608::kCC1);
    const auto third = qlx::streams::captionsOnAir(qlx::cea608::kCC3);
    EXPECT_EQ(first->kind(), OnAirKind::CaptionChannel);
    EXPECT_EQ(first->name(), "CC1");
    EXPECT_EQ(third->name(), "CC3");
    EXPECT_FALSE(first->isCarried());
    // Resume caption loading, row 15, A and B, end of caption, each in field 1; a frame's second triplet is padding.
    std::uint64_t number = 0;
    for (const char* const triplets : {"fc9420 fa0000", "fc9470 fa0000", "fcc1c2 fa0000"}) {
        EXPECT_FALSE(first->receive(withTriplets(number, triplets)));
        EXPECT_FALSE(third->receive(withTriplets(number++, triplets)));
    }
    EXPECT_EQ(shownBy(*first), Lines{});
    EXPECT_TRUE(first->receive(withTriplets(number++, "fc942f fa0000")));
    EXPECT_EQ(shownBy(*first), Lines{"  15   AB"});
    EXPECT_TRUE(first->isCarried());
    EXPECT_FALSE(third->isCarried());
    EXPECT_TRUE(first->otherPages().empty());
    // The same for CC3 in field 2, in packets of a pair.
    for (const char* const packet : {"001520", "009470", "00c1c2", "00152f"}) {
        EXPECT_FALSE(first->receive(withPair(number, packet)));
        (void)third->receive(withPair(number++, packet));
    }
    EXPECT_EQ(shownBy(*third), Lines{"  15   AB"});
    // Erase displayed memory, in a triplet that is not valid and then in one that is.
    EXPECT_FALSE(first->receive(withTriplets(number++, "f8942c")));
    EXPECT_EQ(shownBy(*first), Lines{"  15   AB"});
    EXPECT_TRUE(first->receive(withTriplets(number++, "fc942c")));
    EXPECT_EQ(shownBy(*first), Lines{});
    EXPECT_EQ(shownBy(*third), Lines{"  15   AB"});
}

TEST(OnAir, TakesACodeOfALaterFrameForAnotherOne) {
    // A code twice in a row is one, also with a frame in between, as at 60 frames a second: a carriage return moves the
    // row of a caption that rolls up in two of them once. With more frames in between it is another one.
    const auto shownAfter = [](std::uint64_t frames) {
        const auto onAir = qlx::streams::captionsOnAir(qlx::cea608::kCC1);
        std::uint64_t number = 0;
        for (const char* const triplet : {"fc9425", "fcc1c2", "fc94ad"}) {
            (void)onAir->receive(withTriplets(++number, triplet));
        }
        EXPECT_EQ(shownBy(*onAir), Lines{"  14   AB"});
        (void)onAir->receive(withTriplets(number + frames, "fc94ad"));
        return shownBy(*onAir);
    };
    EXPECT_EQ(shownAfter(1), Lines{"  14   AB"});
    EXPECT_EQ(shownAfter(2), Lines{"  14   AB"});
    EXPECT_EQ(shownAfter(3), Lines{});
}

TEST(OnAir, CountsTheSlotsOfAFieldBetweenFramesThatAreLeftOut) {
    // A field has a slot in every frame up to 30 a second, in every other one from 50 on: one empty slot does not make the
    // second CR another one, two do.
    const auto shownAfter = [](std::uint64_t frames, std::int32_t rate) {
        const auto onAir = qlx::streams::captionsOnAir(qlx::cea608::kCC1);
        std::uint64_t number = 0;
        const auto send = [&](const char* triplet) {
            Frame frame = withTriplets(number, triplet);
            frame.pts = qlx::MediaTime::make(static_cast<std::int64_t>(number), rate);
            (void)onAir->receive(frame);
        };
        for (const char* const triplet : {"fc9425", "fcc1c2", "fc94ad"}) {
            send(triplet);
            number += 2;
        }
        number += frames - 2;
        send("fc94ad");
        return shownBy(*onAir);
    };
    for (const std::int32_t rate : {24, 25, 30}) {
        EXPECT_EQ(shownAfter(1, rate), Lines{"  14   AB"}) << rate;
        EXPECT_EQ(shownAfter(2, rate), Lines{"  14   AB"}) << rate;
        EXPECT_EQ(shownAfter(3, rate), Lines{}) << rate;
    }
    for (const std::int32_t rate : {50, 60}) {
        EXPECT_EQ(shownAfter(2, rate), Lines{"  14   AB"}) << rate;
        EXPECT_EQ(shownAfter(4, rate), Lines{"  14   AB"}) << rate;
        EXPECT_EQ(shownAfter(6, rate), Lines{}) << rate;
    }
}

TEST(OnAir, ShowsATeletextPageAndKnowsTheOthers) {
    const auto onAir = qlx::streams::teletextOnAir(0x888);
    EXPECT_EQ(onAir->kind(), OnAirKind::TeletextPage);
    EXPECT_EQ(onAir->name(), "888");
    Frame frame;
    // A page that is not watched: tens and units 0 and 1.
    const std::string other = qlxtest::pageHeaderHex("0215", true);
    const std::string filling = qlxtest::fillingPacketHex();
    frame.packets.push_back(
        packetOf(ids::kOp47, fromHex(qlxtest::packetHex(qlxtest::kEvenLines, other + filling + filling, 0)), 12));
    EXPECT_FALSE(onAir->receive(frame));
    EXPECT_TRUE(onAir->isCarried());
    EXPECT_EQ(onAir->otherPages(), std::vector<std::uint16_t>{0x801});
    // The row is listed first, and stands behind the header of its page all the same.
    frame.packets.clear();
    frame.packets.push_back(packetOf(ids::kOp47, fromHex(qlxtest::bonjourHex(2)), 575));
    frame.packets.push_back(packetOf(ids::kOp47, fromHex(qlxtest::eraseHex(1)), 12));
    EXPECT_TRUE(onAir->receive(frame));
    // The bytes 15 and 9B number packet 22 of magazine 8.
    EXPECT_EQ(shownBy(*onAir), Lines{"  22  " + std::string(17, ' ') + "Bonjour"});
    frame.packets.clear();
    frame.packets.push_back(packetOf(ids::kOp47, fromHex(qlxtest::eraseHex(3)), 12));
    EXPECT_TRUE(onAir->receive(frame));
    EXPECT_EQ(shownBy(*onAir), Lines{});
}

TEST(OnAir, SaysWhenCountersOfPacketsJump) {
    const auto onAir = qlx::streams::teletextOnAir(0x888);
    qlx::Findings findings;
    // 65535 is followed by 0, and 2 by 4.
    for (const int counter : {65534, 65535, 0, 1, 2, 4, 5}) {
        Frame frame;
        frame.packets.push_back(
            packetOf(ids::kOp47, fromHex(qlxtest::eraseHex(static_cast<std::uint16_t>(counter))), 12));
        (void)onAir->receive(frame, &findings);
    }
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (qlx::Finding{qlx::FindingCode::SdpCounterJumped, qlx::Severity::Warning, 12, 4, 3}));
}

TEST(OnAir, SaysOnWhichLineOfThePictureTeletextIsWrong) {
    // Page headers of a transport stream, of which one has a wrong bit in its second address byte, and one no line.
    const auto header = [](unsigned line, bool isOdd, unsigned wrongBits) {
        qlx::teletext::SdpLine made;
        EXPECT_TRUE(writePacket(*qlx::teletext::packetOf(qlx::teletext::PageHeader{.page = 0x888}), made.bytes));
        made.descriptor = qlx::teletext::sdpDescriptor(line, isOdd);
        made.bytes[4] ^= static_cast<std::uint8_t>(wrongBits);
        return made;
    };
    Frame frame;
    frame.teletext = {header(7, true, 0), header(8, true, 1), header(22, false, 4), header(0, true, 2)};
    qlx::Findings findings;
    EXPECT_TRUE(qlx::streams::teletextOnAir(0x888)->receive(frame, &findings));
    ASSERT_EQ(findings.size(), 3U);
    for (const qlx::Finding& finding : findings) {
        EXPECT_EQ(finding.code, qlx::FindingCode::TeletextByteCorrected);
    }
    EXPECT_EQ(findings[0].offset, 8U);
    // The second field begins with line 313.
    EXPECT_EQ(findings[1].offset, 335U);
    EXPECT_EQ(findings[2].offset, 0U);
}

// A packet of service 1 announces 14 bytes, of which 12 come: DF0 visible with one row of two columns, and "Hi".
TEST(OnAir, ShowsWhatCameOfAPacketWithoutAnEnd) {
    const auto service = qlx::streams::serviceOnAir(1);
    qlx::Findings findings;
    EXPECT_FALSE(service->receive(withTriplets(0, "ff0729fe9820fe0000fe0001fe1148fe6900"), &findings));
    EXPECT_FALSE(service->isCarried());
    EXPECT_TRUE(service->finish(&findings));
    EXPECT_TRUE(service->isCarried());
    ASSERT_EQ(shownBy(*service).size(), 1U);
    EXPECT_NE(shownBy(*service)[0].find("Hi"), std::string::npos);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::Cea708PacketCut);
    EXPECT_FALSE(service->finish(&findings));
    EXPECT_EQ(findings.size(), 1U);
    EXPECT_FALSE(qlx::streams::captionsOnAir(qlx::cea608::kCC1)->finish(&findings));
}

TEST(OnAir, SaysOnWhichLineAPacketIsWrong) {
    Frame frame;
    std::vector<std::uint8_t> damaged = fromHex(qlxtest::eraseHex(1));
    damaged.back() ^= 1U;
    frame.packets.push_back(packetOf(ids::kOp47, fromHex("00000000000000000000"), 575));
    frame.packets.push_back(packetOf(ids::kOp47, damaged, 12));
    qlx::Findings findings;
    EXPECT_FALSE(qlx::streams::captionsOnAir(qlx::cea608::kCC1)->receive(frame, &findings));
    EXPECT_TRUE(findings.empty());
    (void)qlx::streams::teletextOnAir(0x888)->receive(frame, &findings);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].code, qlx::FindingCode::SdpChecksumWrong);
    EXPECT_EQ(findings[0].offset, 12U);
    EXPECT_EQ(findings[1].severity, qlx::Severity::Error);
    EXPECT_EQ(findings[1].offset, 575U);
    // Pairs in a caption packet.
    frame.packets.assign(1, packetOf(ids::kCdp, fromHex("9668"), 9));
    findings.clear();
    (void)qlx::streams::captionsOnAir(qlx::cea608::kCC1)->receive(frame, &findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].offset, 9U);
}

}  // namespace
