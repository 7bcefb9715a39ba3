// Messages cut into packets after SMPTE ST 2010, and joined again.
#include "Scte104Bytes.h"

#include <qlx/scte/scte104_packets.h>

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

/// A message of this size whose messageSize is right.
Bytes messageOfSize(std::size_t size) {
    Bytes message(size);
    for (std::size_t index = 0; index < size; ++index) {
        message[index] = static_cast<std::uint8_t>(index * 7);
    }
    message[2] = static_cast<std::uint8_t>(size >> 8U);
    message[3] = static_cast<std::uint8_t>(size);
    return message;
}

std::vector<Bytes> packetsOf(const Bytes& message, bool isDuplicate = false) {
    const MessagePieces pieces(message, isDuplicate);
    std::vector<Bytes> packets;
    for (std::size_t index = 0; index < pieces.count(); ++index) {
        Bytes room(255);
        const auto size = pieces.write(index, room);
        EXPECT_TRUE(size);
        room.resize(*size);
        packets.push_back(std::move(room));
    }
    return packets;
}

Bytes firstBytes(const std::vector<Bytes>& packets) {
    Bytes bytes;
    for (const Bytes& packet : packets) {
        bytes.push_back(packet[0]);
    }
    return bytes;
}

/// What a frame's packets give, and what is found in them.
struct Joined {
    std::vector<Bytes> messages;
    FindingList findings;
    std::uint64_t duplicates = 0;
};

Joined join(const std::vector<Bytes>& packets) {
    Joined result;
    MessageJoiner joiner;
    qlx::Findings findings;
    for (std::size_t index = 0; index < packets.size(); ++index) {
        const ExactBuffer packet(packets[index]);
        if (const auto message = joiner.push(packet.span(), &findings, index)) {
            result.messages.emplace_back(message->bytes.begin(), message->bytes.end());
        }
    }
    joiner.endFrame(&findings, packets.size());
    result.findings = listOf(findings);
    result.duplicates = joiner.duplicates();
    return result;
}

TEST(Scte104Packets, CutAMessageAt254Bytes) {
    EXPECT_EQ(firstBytes(packetsOf(messageOfSize(254))), fromHex("08"));
    EXPECT_EQ(packetsOf(messageOfSize(254))[0].size(), 255U);
    EXPECT_EQ(firstBytes(packetsOf(messageOfSize(255))), fromHex("0c 0a"));
    EXPECT_EQ(packetsOf(messageOfSize(255))[1], (Bytes{0x0A, static_cast<std::uint8_t>(254 * 7)}));
    EXPECT_EQ(firstBytes(packetsOf(messageOfSize(4 * 254))), fromHex("0c 0e 0e 0a"));
    EXPECT_EQ(firstBytes(packetsOf(messageOfSize(600), true)), fromHex("0d 0f 0b"));
    EXPECT_EQ(packetsOf({}), (std::vector<Bytes>{{0x08}}));
    Bytes room(254, 0x5A);
    const auto refused = MessagePieces(messageOfSize(254)).write(0, room);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 255, 254}));
    EXPECT_EQ(room, Bytes(254, 0x5A));
}

TEST(Scte104Packets, AreJoinedInTheirOrder) {
    for (const std::size_t size : {4U, 254U, 255U, 508U, 509U, 2000U, 65535U}) {
        const Bytes message = messageOfSize(size);
        std::vector<Bytes> packets = packetsOf(message);
        packets.push_back({0x08, 1, 2});
        const Joined joined = join(packets);
        EXPECT_EQ(joined.messages, (std::vector<Bytes>{message, {1, 2}}));
        EXPECT_EQ(joined.findings, FindingList{});
        EXPECT_EQ(joined.duplicates, 0U);
    }
}

TEST(Scte104Packets, CountDuplicates) {
    std::vector<Bytes> packets = packetsOf(messageOfSize(300));
    for (int times = 0; times < 2; ++times) {
        const auto again = packetsOf(messageOfSize(300), true);
        packets.insert(packets.end(), again.begin(), again.end());
    }
    const Joined joined = join(packets);
    EXPECT_EQ(joined.messages, std::vector<Bytes>(3, messageOfSize(300)));
    EXPECT_EQ(joined.duplicates, 2U);
    EXPECT_EQ(joined.findings, FindingList{});
    MessageJoiner joiner;
    const auto message = joiner.push(fromHex("09 0102"));
    ASSERT_TRUE(message);
    EXPECT_TRUE(message->isDuplicate);
    EXPECT_EQ(message->packets, 1U);
}

TEST(Scte104Packets, NameAMissingPiece) {
    const std::vector<Bytes> packets = packetsOf(messageOfSize(600));
    const auto missing = [](std::uint64_t packet, std::int64_t descriptor, std::int64_t bytes) {
        return Finding{FindingCode::SctePieceMissing, Severity::Error, packet, descriptor, bytes};
    };
    // The first one is missing.
    EXPECT_EQ(join({packets[1], packets[2]}).findings, (FindingList{missing(0, 0x0E, 254), missing(1, 0x0A, 92)}));
    EXPECT_EQ(join({packets[1], packets[2]}).messages, std::vector<Bytes>{});
    // The last one is missing: at the frame's end, and in front of another message.
    EXPECT_EQ(join({packets[0], packets[1]}).findings, (FindingList{missing(2, 0, 508)}));
    const Joined cut = join({packets[0], {0x08, 9}, packets[0], packets[0], packets[1], packets[2]});
    EXPECT_EQ(cut.findings, (FindingList{missing(1, 0x08, 254), missing(3, 0x0C, 254)}));
    EXPECT_EQ(cut.messages, (std::vector<Bytes>{{9}, messageOfSize(600)}));
    // The middle one is missing: the size tells.
    const Joined shorter = join({packets[0], packets[2]});
    EXPECT_EQ(shorter.findings, (FindingList{{FindingCode::ScteMessageSizeWrong, Severity::Warning, 1, 600, 346}}));
    EXPECT_EQ(shorter.messages.size(), 1U);
}

TEST(Scte104Packets, NameAnotherVersionAndReservedBits) {
    EXPECT_EQ(join({{0x10, 1}, {0x04, 1}, {0x18}}).findings,
              (FindingList{{FindingCode::SctePacketVersionUnknown, Severity::Error, 0, 0x10, 0x08},
                           {FindingCode::SctePacketVersionUnknown, Severity::Error, 1, 0x04, 0x0C},
                           {FindingCode::SctePacketVersionUnknown, Severity::Error, 2, 0x18, 0x08}}));
    const Joined reserved = join({{0x88, 1}});
    EXPECT_EQ(reserved.findings,
              (FindingList{{FindingCode::SctePacketDescriptorReserved, Severity::Remark, 0, 0x88, 0x08}}));
    EXPECT_EQ(reserved.messages, (std::vector<Bytes>{{1}}));
    EXPECT_EQ(join({{}}).findings, (FindingList{{FindingCode::SctePacketEmpty, Severity::Error, 0, 0, 0}}));
    // One of another version in the middle of a message does not end it.
    const std::vector<Bytes> packets = packetsOf(messageOfSize(300));
    EXPECT_EQ(join({packets[0], {0x10, 1}, packets[1]}).messages, (std::vector<Bytes>{messageOfSize(300)}));
}

TEST(Scte104Packets, EndAMessageThatIsTooLong) {
    std::vector<Bytes> packets(260, Bytes(255, 0x0E));
    packets[0][0] = 0x0C;
    const Joined joined = join(packets);
    EXPECT_EQ(joined.messages, std::vector<Bytes>{});
    // 258 pieces are 65,532 bytes; what follows the one that is too many has no beginning.
    EXPECT_EQ(joined.findings, (FindingList{{FindingCode::ScteTooLong, Severity::Error, 258, 65786, 65535},
                                            {FindingCode::SctePieceMissing, Severity::Error, 259, 0x0E, 254}}));
}

}  // namespace
