// The receiver of a service over time: delays, packets, losses, pieces of whatever size.
#include "ExactBuffer.h"
#include "FedReceiver.h"

#include <qlx/cea708/receiver.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace qlx::cea708;
namespace screen = qlx::screen;
using qlx::Finding;
using qlx::FrameRate;
using qlx::Severity;
using qlxtest::bytesOf;
using qlxtest::Fed;
using qlxtest::kHidden;
using qlxtest::kShown;
using qlxtest::Lines;
using qlxtest::Parts;
using enum qlx::FindingCode;

TEST(CaptionDelays, EndByTime) {
    // A second, in frames that last 1/24 s or 1001/24000 s ...: 24 of 23.976 are 1.001 s.
    constexpr std::array<int, 8> kFrames{24, 24, 25, 30, 30, 50, 60, 60};
    for (const FrameRate rate : qlx::kFrameRates) {
        Fed fed;
        fed.feed({kShown, "8d0a", "'x"});
        int frames = 0;
        do {
            ++frames;
            EXPECT_TRUE(fed.receiver.isDelayed());
            EXPECT_EQ(fed.lines(), Lines());
        } while (!fed.receiver.nextFrame(rate, &fed.findings) && frames < 100);
        EXPECT_EQ(frames, kFrames[static_cast<std::size_t>(rate) - 1]);
        EXPECT_FALSE(fed.receiver.isDelayed());
        EXPECT_EQ(fed.lines(), Lines{"  14  x"});
        EXPECT_TRUE(fed.findings.empty());
    }
}

TEST(CaptionDelays, FollowOneAnother) {
    Fed fed;
    // 0.1 s each: of 25 frames a second the third one ends the first, the fifth one the second.
    fed.feed({kShown, "8d01", "'a", "8d01", "'b", "8d00", "'c"});
    std::vector<Lines> seen;
    for (int frame = 0; frame < 6; ++frame) {
        fed.receiver.nextFrame(FrameRate::Fps25);
        seen.push_back(fed.lines());
    }
    const Lines a{"  14  a"};
    const Lines abc{"  14  abc"};
    EXPECT_EQ(seen, (std::vector<Lines>{{}, {}, a, a, abc, abc}));
}

TEST(CaptionDelays, EndByCommandAndByAFullBuffer) {
    Fed fed;
    // What looks like DLC and RST in a character of 16 bits is none.
    fed.feed({kShown}).feed({"8dff", "'ab", "188e8f"});
    EXPECT_FALSE(fed.wasChanged);
    EXPECT_TRUE(fed.receiver.isDelayed());
    fed.feed({"8dff", "'c"});
    EXPECT_FALSE(fed.wasChanged);
    // Of both delays.
    fed.feed({"8e", "'d"});
    EXPECT_TRUE(fed.wasChanged);
    EXPECT_FALSE(fed.receiver.isDelayed());
    EXPECT_EQ(fed.lines(), Lines{"  14  ab\u8E8Fcd"});
    // RST takes the windows that came before it.
    fed.feed({"8dff", "'e", "8f", kHidden, "8901", "'f"});
    EXPECT_FALSE(fed.receiver.isDelayed());
    EXPECT_EQ(fed.lines(), Lines{"  14  f"});
    EXPECT_TRUE(fed.findings.empty());
    // 25.5 s, of which a second is over; 127 bytes wait, and one more.
    fed.feed({"0c", "8dff"});
    for (int frame = 0; frame < 25; ++frame) {
        EXPECT_FALSE(fed.receiver.nextFrame(FrameRate::Fps25));
    }
    for (int count = 0; count < 127; ++count) {
        EXPECT_FALSE(fed.feed({"00"}).wasChanged);
    }
    EXPECT_TRUE(fed.receiver.isDelayed());
    EXPECT_TRUE(fed.feed({"'g"}).wasChanged);
    EXPECT_FALSE(fed.receiver.isDelayed());
    EXPECT_EQ(fed.lines(), Lines{"  14  g"});
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708DelayFull, Severity::Warning, 0, 128, 24500}}));
}

TEST(CaptionDelays, EndWithAReset) {
    Fed fed;
    fed.feed({kShown, "'a", "8dff", "'b", "18"});
    EXPECT_TRUE(fed.receiver.reset());
    EXPECT_FALSE(fed.receiver.isDelayed());
    EXPECT_EQ(fed.feed({kShown, "'c"}).lines(), Lines{"  14  c"});
    EXPECT_TRUE(fed.findings.empty());
}

TEST(CaptionPackets, AreReadToScreens) {
    PacketReader packets;
    Fed fed;
    std::uint64_t place = 0;
    const auto send = [&](unsigned number, const std::vector<std::pair<int, Parts>>& blocks) {
        Packet packet;
        packet.setSequenceNumber(number);
        for (const auto& [service, parts] : blocks) {
            EXPECT_TRUE(packet.addBlock(static_cast<std::uint8_t>(service), bytesOf(parts)));
        }
        std::array<qlx::cc::Triplet, 64> room{};
        const std::size_t count = *writeTriplets(packet, room);
        bool isChanged = false;
        ++place;
        for (const qlx::cc::Triplet& triplet : std::span(room).first(count)) {
            for (const ReceivedPacket& received : packets.receive(triplet, &fed.findings, place)) {
                isChanged = fed.receiver.receive(received, &fed.findings, place) || isChanged;
            }
        }
        return isChanged;
    };
    // A command in two blocks, with another service between them.
    EXPECT_FALSE(send(0, {{1, {"983841"}}, {2, {kShown, "'no"}}, {63, {"'no"}}}));
    EXPECT_TRUE(send(1, {{1, {"00011f09", "'yes", "90"}}}));
    EXPECT_EQ(fed.lines(), Lines{"  14  yes"});
    EXPECT_TRUE(fed.findings.empty());
    // Number 2 is lost, and with it the rest of the command; not the window.
    EXPECT_TRUE(send(3, {{1, {"'AB"}}}));
    EXPECT_EQ(fed.lines(), Lines{"  14  yesAB"});
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708PacketLost, Severity::Warning, 3, 3, 2},
                                                 {Cea708CommandsDropped, Severity::Error, 3, 1, 0}}));
    // So is what waits for the end of a delay, which is over: ETX, "C" and the code of a window.
    EXPECT_FALSE(send(0, {{1, {"8d64", "03", "'C", "98"}}}));
    EXPECT_TRUE(fed.receiver.isDelayed());
    EXPECT_TRUE(send(2, {{1, {"'D"}}}));
    EXPECT_FALSE(fed.receiver.isDelayed());
    EXPECT_EQ(fed.lines(), Lines{"  14  yesABD"});
    EXPECT_EQ(fed.findings.size(), 4U);
    EXPECT_EQ(fed.findings[3], (Finding{Cea708CommandsDropped, Severity::Error, 5, 3, 0}));
    // Where nothing waits, a delay that ends loses nothing.
    EXPECT_FALSE(send(3, {{1, {"8d64"}}}));
    EXPECT_TRUE(send(1, {{1, {"'E"}}}));
    EXPECT_EQ(fed.lines(), Lines{"  14  yesABDE"});
    EXPECT_EQ(fed.findings.size(), 5U);
}

TEST(CaptionPackets, EndAPairOfHalvesBehindALoss) {
    Fed fed;
    const ReceivedPacket behindLoss{{}, true, false};
    // The half is shown as what is unknown at once; what comes is no other half of it.
    fed.feed({kShown, "18d83d"});
    EXPECT_TRUE(fed.receiver.receive(behindLoss, &fed.findings, 1));
    EXPECT_EQ(fed.feed({"'b", "18d83d", "18de"}).lines(), Lines{"  14  _b"});
    EXPECT_TRUE(fed.receiver.receive(behindLoss, &fed.findings, 2));
    EXPECT_EQ(fed.feed({"18de00", "'c"}).lines(), Lines{"  14  _b__c"});
    // Where there is no half nothing changes.
    EXPECT_FALSE(fed.receiver.receive(behindLoss, &fed.findings, 3));
    // RST says it as well; what the host asks for does not.
    fed.feed({"18d83d", "8f", kShown, "18d83d"});
    EXPECT_TRUE(fed.receiver.reset());
    EXPECT_EQ(fed.feed({kShown, "18de00"}).lines(), Lines{"  14  _"});
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708CharacterUnknown, Severity::Warning, 1, 0xD83D, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 2, 0xD83D, 0},
                                                 {Cea708CommandsDropped, Severity::Error, 2, 2, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 0, 0xDE00, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 0, 0xD83D, 0},
                                                 {Cea708CharacterUnknown, Severity::Warning, 0, 0xDE00, 0}}));
}

TEST(CaptionPackets, DropWhatABlockThatIsCutWasToComplete) {
    PacketReader packets;
    Fed fed;
    std::uint64_t place = 0;
    // A window, "ab" and the code of SPC; a block of 31 bytes, of which two are there; "hello".
    for (const Parts& parts : {Parts{"062a", kShown, "'ab", "91"}, Parts{"423f4142"}, Parts{"8425", "'hello", "00"}}) {
        const std::vector<std::uint8_t> bytes = bytesOf(parts);
        ++place;
        for (std::size_t index = 0; index < bytes.size(); index += 2) {
            const auto type = index == 0 ? qlx::cc::CcType::DtvccStart : qlx::cc::CcType::DtvccData;
            const auto triplet = qlx::cc::Triplet::make(type, bytes[index], bytes[index + 1]);
            for (const ReceivedPacket& received : packets.receive(triplet, &fed.findings, place)) {
                (void)fed.receiver.receive(received, &fed.findings, place);
            }
        }
    }
    EXPECT_EQ(fed.lines(), Lines{"  14  abhello"});
    EXPECT_EQ(fed.cell(13, 2).foreground, kPenWhite);
    EXPECT_EQ(fed.found(), (std::vector<Finding>{{Cea708BlockCut, Severity::Error, 2, 32, 3},
                                                 {Cea708CommandsDropped, Severity::Error, 3, 1, 0}}));
}

TEST(CaptionPackets, AreReadUpToEveryLength) {
    // Where each character comes, and nothing else, is one more to be read; what is cut waits.
    const std::vector<std::uint8_t> bytes = bytesOf({kShown, "'a", "90051f", "'b", "1039", "18ac00", "917c833f", "'c"});
    constexpr std::array<std::size_t, 5> kEnds{8, 12, 14, 17, 22};
    qlxtest::forEachTruncation(bytes, [&](const qlxtest::ExactBuffer& part) {
        Receiver receiver;
        qlx::Findings findings;
        (void)receiver.receive(std::span<const std::uint8_t>(part.data(), part.size()), &findings);
        const screen::Screen seen = receiver.screen();
        const auto count = std::count_if(seen.cells.begin(), seen.cells.end(),
                                         [](const screen::Cell& cell) { return cell.hasText(); });
        EXPECT_EQ(count,
                  std::count_if(kEnds.begin(), kEnds.end(), [&](std::size_t end) { return part.size() >= end; }));
        EXPECT_TRUE(findings.empty());
        // The rest completes it.
        (void)receiver.receive(std::span<const std::uint8_t>(bytes).subspan(part.size()), &findings);
        EXPECT_EQ(qlxtest::linesOf(receiver.screen()), Lines{"  14  ab™가c"});
    });
}

TEST(CaptionPackets, AreReadAlikeInWhateverPieces) {
    std::mt19937 random(708);
    for (int run = 0; run < 60; ++run) {
        std::vector<std::uint8_t> bytes;
        for (int count = 0; count < 60; ++count) {
            // Any window, any command, text.
            constexpr std::array<std::string_view, 12> kCommands{"9a2a30500412", "8f", "8d01", "8e", "97", "90",
                                                                 "91",           "92", "18",   "10", "0d", "8b"};
            const auto more = [&](std::size_t size) {
                for (std::size_t index = 0; index < size; ++index) {
                    bytes.push_back(static_cast<std::uint8_t>(random()));
                }
            };
            if (random() % 4 == 0) {
                const std::vector<std::uint8_t> start = qlxtest::fromHex("9838000005");
                bytes.insert(bytes.end(), start.begin(), start.end());
                more(2);
            }
            const std::vector<std::uint8_t> command =
                qlxtest::fromHex(kCommands[static_cast<std::size_t>(random()) % kCommands.size()]);
            bytes.insert(bytes.end(), command.begin(), command.end());
            more(static_cast<std::size_t>(random()) % 6);
        }
        Receiver whole;
        Receiver single;
        qlx::Findings ofWhole;
        qlx::Findings ofSingle;
        (void)whole.receive(bytes, &ofWhole);
        for (const std::uint8_t byte : bytes) {
            (void)single.receive(std::span(&byte, 1), &ofSingle);
        }
        ASSERT_EQ(whole.screen(), single.screen());
        ASSERT_EQ(whole.isDelayed(), single.isDelayed());
        ASSERT_TRUE(std::equal(ofWhole.begin(), ofWhole.end(), ofSingle.begin(), ofSingle.end()));
    }
}

TEST(CaptionServices, SayInWhichWaysTheScreenChanges) {
    constexpr screen::Change kWritten{.isWritten = true};
    constexpr screen::Change kReplaced{.isReplaced = true};
    Fed fed;
    const auto changeBy = [&fed](const Parts& parts) { return fed.feed(parts).receiver.takeChange(); };
    EXPECT_EQ(changeBy({kHidden, "'a", "0d", "'b", "0d", "08"}), screen::Change());
    // DSW; letters; CR below two rows; the same window once more; BS, HCR, FF; a place of its own; DLW.
    EXPECT_EQ(changeBy({"8901"}), kReplaced);
    EXPECT_EQ(changeBy({"'c"}), kWritten);
    EXPECT_EQ(changeBy({"0d"}), (screen::Change{.isRolled = true}));
    EXPECT_EQ(changeBy({"'c", "0d"}), (screen::Change{.isWritten = true, .isRolled = true}));
    EXPECT_EQ(changeBy({"'c", "08"}), kWritten);
    EXPECT_EQ(changeBy({"0e"}), kWritten);
    EXPECT_EQ(changeBy({"0c"}), kReplaced);
    EXPECT_EQ(changeBy({"'c", "0d"}), kWritten);
    EXPECT_EQ(changeBy({kShown}), screen::Change());
    EXPECT_EQ(changeBy({"98384000011f09"}), kReplaced);
    EXPECT_EQ(changeBy({"8c01"}), kReplaced);
}

}  // namespace
