// Caption channel packets: bytes worked out by hand, round trips, damage.
#include "ExactBuffer.h"
#include "FindingList.h"

#include <qlx/cea708/packet.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qlx::cea708;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlx::cc::CcType;
using qlx::cc::Triplet;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::listOf;
using qlxtest::toHex;
using Blocks = std::vector<std::pair<int, std::string>>;

Packet packetOf(unsigned number, const Blocks& blocks) {
    Packet packet;
    packet.setSequenceNumber(number);
    for (const auto& [service, hex] : blocks) {
        EXPECT_TRUE(packet.addBlock(static_cast<std::uint8_t>(service), fromHex(hex)));
    }
    return packet;
}

Blocks blocksOf(const Packet& packet) {
    Blocks blocks;
    for (const ServiceBlockView& block : packet.blocks()) {
        blocks.emplace_back(block.service, toHex(block.data));
    }
    return blocks;
}

std::string written(const Packet& packet) {
    ExactBuffer room = ExactBuffer::filled(packet.size(), 0xAA);
    const auto size = writePacket(packet, room.span());
    EXPECT_TRUE(size && *size == packet.size());
    EXPECT_EQ(toHex(writePacket(packet)), toHex(room.span()));
    return toHex(room.span());
}

std::vector<Triplet> tripletsOf(const Packet& packet) {
    std::array<Triplet, 64> room{};
    const auto count = writeTriplets(packet, room);
    EXPECT_TRUE(count);
    return {room.begin(), room.begin() + static_cast<std::ptrdiff_t>(*count)};
}

/// Number, what is around it, and blocks of all packets that a reader makes of triplets.
struct Seen {
    unsigned number;
    bool isBehindLoss;
    bool isCut;
    Blocks blocks;

    bool operator==(const Seen&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Seen& seen) {
    stream << seen.number << (seen.isBehindLoss ? " lost" : "") << (seen.isCut ? " cut" : "");
    for (const auto& [service, data] : seen.blocks) {
        stream << ' ' << service << ':' << data;
    }
    return stream;
}

void take(std::vector<Seen>& seen, std::span<const ReceivedPacket> packets) {
    for (const ReceivedPacket& one : packets) {
        seen.push_back({one.packet.sequenceNumber(), one.isBehindLoss, one.isCut, blocksOf(one.packet)});
    }
}

TEST(CaptionChannelPacket, IsWrittenAsTheStandardSays) {
    struct Case {
        Packet packet;
        std::string bytes;
    };
    const std::string most(2 * 31, '4');
    const std::array cases{
        Case{packetOf(0, {}), "0100"},
        Case{packetOf(2, {{1, "4869"}}), "82224869"},
        // An even number of data: a null block behind them.
        Case{packetOf(3, {{1, "41"}}), "c2214100"},
        // Services from 7 on have a header of two bytes.
        Case{packetOf(1, {{6, ""}, {7, "41"}, {63, "4243"}}), "45c0e10741e23f424300"},
        // 127 bytes have the size code 0: 3 x 32 + 31.
        Case{packetOf(1, {{1, most}, {2, most}, {3, most}, {4, most.substr(2)}}),
             "403f" + most + "5f" + most + "7f" + most + "9e" + most.substr(2)},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(written(one.packet), one.bytes);
        Findings findings;
        const auto read = parsePacket(ExactBuffer(fromHex(one.bytes)).span(), &findings);
        ASSERT_TRUE(read);
        EXPECT_EQ(*read, one.packet);
        EXPECT_EQ(blocksOf(*read), blocksOf(one.packet));
        EXPECT_TRUE(findings.empty());
    }
    EXPECT_EQ(packetDataSize(0), 127U);
    EXPECT_EQ(packetDataSize(1), 1U);
    EXPECT_EQ(packetDataSize(63), 125U);
}

TEST(CaptionChannelPacket, IsTriplets) {
    EXPECT_EQ(tripletsOf(packetOf(2, {{1, "4869"}})),
              (std::vector{Triplet{0xFF, 0x82, 0x22}, Triplet{0xFE, 0x48, 0x69}}));
    std::array<Triplet, 1> room{};
    EXPECT_EQ(writeTriplets(packetOf(2, {{1, "4869"}}), room).error().code, FindingCode::OutputTooSmall);
    EXPECT_EQ(room[0], Triplet());
}

TEST(CaptionChannelPacket, KeepsItsLength) {
    Packet packet = packetOf(0, {{1, "41"}});
    packet.growTo(8);
    EXPECT_EQ(written(packet), "05214100000000000000");
    EXPECT_EQ(*parsePacket(fromHex(written(packet))), packet);
    packet.growTo(500);
    EXPECT_EQ(packet.size(), 128U);
    packet.removeBlocks();
    EXPECT_EQ(packet, Packet());
}

TEST(CaptionChannelPacket, RefusesWhatHasNoPlace) {
    Packet packet = packetOf(0, {{1, "4142"}});
    const Packet before = packet;
    const std::vector<std::uint8_t> data(32, 0x20);
    const auto codeOf = [&packet](std::uint8_t service, std::span<const std::uint8_t> bytes) {
        return packet.addBlock(service, bytes).error().code;
    };
    EXPECT_EQ(codeOf(0, data), FindingCode::Cea708ServiceWrong);
    EXPECT_EQ(codeOf(64, data), FindingCode::Cea708ServiceWrong);
    EXPECT_EQ(codeOf(8, {}), FindingCode::Cea708ServiceWrong);
    EXPECT_EQ(codeOf(1, data), FindingCode::Cea708BlockTooLong);
    EXPECT_EQ(packet, before);
    for (int count = 0; count < 3; ++count) {
        EXPECT_TRUE(packet.addBlock(1, std::span(data).first(31)));
    }
    // 3 + 3 x 32 are taken, 28 are free.
    const auto full = packet.addBlock(7, std::span(data).first(27));
    EXPECT_EQ(full.error(), (Finding{FindingCode::Cea708PacketFull, Severity::Error, 0, 29, 28}));
    EXPECT_EQ(*packet.addBlock(6, std::span(data).first(27)), 0U);
    std::array<std::uint8_t, 127> room{};
    EXPECT_EQ(writePacket(packet, room).error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 128, 127}));
}

TEST(CaptionChannelPacket, SaysWhatIsWrong) {
    struct Case {
        std::string bytes;
        Blocks blocks;
        std::vector<Finding> findings;
    };
    using enum FindingCode;
    const std::array cases{
        // The last block says five bytes; none is there.
        Case{"02214125", {{1, "41"}}, {{Cea708BlockCut, Severity::Error, 3, 6, 1}}},
        Case{"022141e1", {{1, "41"}}, {{Cea708BlockCut, Severity::Error, 3, 3, 1}}},
        // Service 5 in an extended header; the next block is read.
        Case{"04e1054121420000", {{1, "42"}}, {{Cea708ServiceWrong, Severity::Error, 2, 5, 1}}},
        Case{"02e1c941", {{9, "41"}}, {{Cea708ReservedBitsWrong, Severity::Warning, 2, 0xC9, 9}}},
        // Nothing comes behind a null block, whatever it says itself.
        Case{"032141000042", {{1, "41"}}, {{Cea708BytesBehindNullBlock, Severity::Error, 5, 1, 0}}},
        Case{"02054142", {}, {{Cea708BytesBehindNullBlock, Severity::Error, 1, 3, 0}}},
        Case{"0421412242",
             {{1, "41"}},
             {{Cea708PacketCut, Severity::Error, 0, 8, 5}, {Cea708BlockCut, Severity::Error, 3, 3, 2}}},
        Case{"010021", {}, {{Cea708BytesBehindPacket, Severity::Error, 2, 1, 0}}},
    };
    for (const Case& one : cases) {
        Findings findings;
        const auto packet = parsePacket(ExactBuffer(fromHex(one.bytes)).span(), &findings);
        ASSERT_TRUE(packet);
        EXPECT_EQ(blocksOf(*packet), one.blocks) << one.bytes;
        EXPECT_EQ(listOf(findings), one.findings) << one.bytes;
    }
    EXPECT_EQ(parsePacket({}).error(), (Finding{Cea708PacketCut, Severity::Error, 0, 2, 0}));
}

TEST(CaptionChannelPacket, GivesItsWholeBlocksAtEveryLength) {
    const Packet whole = packetOf(1, {{1, "414243"}, {8, "44"}, {2, ""}, {3, "4546"}});
    const std::vector<std::uint8_t> bytes = fromHex(written(whole));
    // The blocks end behind the bytes 5, 8, 9 and 12.
    qlxtest::forEachTruncation(bytes, [&](const ExactBuffer& part) {
        const auto packet = parsePacket(part.span());
        ASSERT_EQ(packet.hasValue(), part.size() != 0);
        if (packet) {
            const std::size_t size = part.size();
            const std::size_t count = (size >= 5) + (size >= 8) + (size >= 9) + (size >= 12);
            const Blocks all = blocksOf(whole);
            EXPECT_EQ(blocksOf(*packet), Blocks(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)));
        }
    });
}

TEST(CaptionChannelPacket, ComesBackFromBytesAndTriplets) {
    std::mt19937 random(708);
    const auto below = [&random](std::size_t limit) { return static_cast<std::size_t>(random()) % limit; };
    PacketReader reader;
    Findings findings;
    for (unsigned number = 0; number < 3000; ++number) {
        Packet packet;
        packet.setSequenceNumber(number);
        bool fits = true;
        for (std::size_t count = below(9); fits && count > 0; --count) {
            std::vector<std::uint8_t> data(below(32));
            std::generate(data.begin(), data.end(), [&] { return static_cast<std::uint8_t>(random()); });
            const std::size_t service = 1 + below(data.empty() ? 7 : 63);
            fits = packet.addBlock(static_cast<std::uint8_t>(service), data).hasValue();
        }
        if (below(3) == 0) {
            packet.growTo(below(128));
        }
        const auto read = parsePacket(fromHex(written(packet)), &findings);
        ASSERT_TRUE(read && *read == packet);
        std::vector<ReceivedPacket> received;
        for (const Triplet& triplet : tripletsOf(packet)) {
            const auto some = reader.receive(triplet, &findings);
            received.insert(received.end(), some.begin(), some.end());
        }
        ASSERT_EQ(received, (std::vector{ReceivedPacket{packet, false, false}}));
    }
    EXPECT_TRUE(findings.empty());
}

TEST(PacketReader, PassesOverWhatCarriesNothing) {
    PacketReader reader;
    Findings findings;
    std::vector<Seen> seen;
    const std::vector<Triplet> packet = tripletsOf(packetOf(0, {{1, "4142434445"}}));
    for (const Triplet& triplet : packet) {
        take(seen, reader.receive(triplet, &findings));
        // Not valid, and of CEA-608: also between.
        take(seen, reader.receive(Triplet::make(CcType::DtvccStart, 0x42, 0x42, false), &findings));
        take(seen, reader.receive(Triplet::make(CcType::DtvccData, 0x42, 0x42, false), &findings));
        take(seen, reader.receive(Triplet::make(CcType::Field1, 0x94, 0x2C), &findings));
    }
    // Zeros that fill.
    take(seen, reader.receive(Triplet::make(CcType::DtvccData, 0, 0), &findings));
    EXPECT_EQ(seen, (std::vector<Seen>{{0, false, false, {{1, "4142434445"}}}}));
    EXPECT_TRUE(findings.empty());
}

TEST(PacketReader, TellsLossesAndUsesWhatIsWhole) {
    PacketReader reader;
    Findings findings;
    std::vector<Seen> seen;
    std::uint64_t place = 0;
    const auto feed = [&](const Packet& packet, std::size_t count) {
        for (const Triplet& triplet : tripletsOf(packet)) {
            if (count-- == 0) {
                return;
            }
            take(seen, reader.receive(triplet, &findings, place));
        }
    };
    // In the middle of a packet, which is told once; then 1 behind 3, 2 cut behind its first block, 3, and a cut 0.
    take(seen, reader.receive(Triplet::make(CcType::DtvccData, 0x41, 0x42), &findings, place));
    take(seen, reader.receive(Triplet::make(CcType::DtvccData, 0x43, 0x44), &findings, place));
    ++place;
    feed(packetOf(3, {{1, "41"}}), 9);
    ++place;
    feed(packetOf(1, {{1, "42"}}), 9);
    ++place;
    feed(packetOf(2, {{1, "43"}, {1, "4445464748"}}), 3);
    EXPECT_TRUE(reader.isInPacket());
    ++place;
    // A packet of one triplet ends two at once.
    const auto two = reader.receive(Triplet::make(CcType::DtvccStart, 0xC1, 0x00), &findings, place);
    EXPECT_EQ(two.size(), 2U);
    take(seen, two);
    ++place;
    feed(packetOf(0, {{1, "49"}, {1, "4a4b4c"}}), 2);
    take(seen, reader.finish(&findings, place));
    EXPECT_TRUE(reader.finish(&findings, place).empty());
    EXPECT_EQ(seen, (std::vector<Seen>{{3, false, false, {{1, "41"}}},
                                       {1, true, false, {{1, "42"}}},
                                       {2, false, true, {{1, "43"}}},
                                       {3, true, false, {}},
                                       {0, false, true, {{1, "49"}}}}));
    using enum FindingCode;
    EXPECT_EQ(listOf(findings), (std::vector<Finding>{{Cea708DataOutsidePacket, Severity::Error, 0, 0x4142, 0},
                                                      {Cea708PacketLost, Severity::Warning, 2, 1, 0},
                                                      {Cea708PacketCut, Severity::Error, 4, 10, 6},
                                                      {Cea708BlockCut, Severity::Error, 4, 6, 3},
                                                      {Cea708PacketCut, Severity::Error, 5, 8, 4},
                                                      {Cea708BlockCut, Severity::Error, 5, 4, 1}}));
}

TEST(PacketReader, IsBehindALossWhereABlockIsCut) {
    PacketReader reader;
    Findings findings;
    std::vector<Seen> seen;
    // Whole packets: the last block of 1 says 31 bytes and has two, that of 3 ends within its header.
    const std::vector<std::string> packets{"02214100", "423f4142", "82214300", "c22144e1", "02214500", "42214600"};
    for (std::size_t place = 0; place < packets.size(); ++place) {
        const std::vector<std::uint8_t> bytes = fromHex(packets[place]);
        for (std::size_t index = 0; index + 1 < bytes.size(); index += 2) {
            const CcType type = index == 0 ? CcType::DtvccStart : CcType::DtvccData;
            take(seen, reader.receive(Triplet::make(type, bytes[index], bytes[index + 1]), &findings, place));
        }
    }
    EXPECT_EQ(seen, (std::vector<Seen>{{0, false, false, {{1, "41"}}},
                                       {1, false, false, {}},
                                       {2, true, false, {{1, "43"}}},
                                       {3, false, false, {{1, "44"}}},
                                       {0, true, false, {{1, "45"}}},
                                       {1, false, false, {{1, "46"}}}}));
    EXPECT_EQ(listOf(findings), (std::vector<Finding>{{FindingCode::Cea708BlockCut, Severity::Error, 1, 32, 3},
                                                      {FindingCode::Cea708BlockCut, Severity::Error, 3, 3, 1}}));
}

}  // namespace
