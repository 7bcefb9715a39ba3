// Subtitling distribution packets: what they hold, what is wrong with them, truncation, random round trips.
#include "ExactBuffer.h"
#include "Sanitized.h"
#include "TeletextBytes.h"

#include <qlx/teletext/sdp.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using namespace qlx::teletext;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::fromHex;
using Bytes = std::vector<std::uint8_t>;
using FindingList = std::vector<Finding>;

/// Three packets, lines 10 to 12 of the odd field, counter 0x1234.
Bytes whole() {
    return fromHex(qlxtest::packetHex(
        "8a8b8c", qlxtest::pageHeaderHex("d0d0", true) + qlxtest::bonjourRowHex() + qlxtest::fillingPacketHex(),
        0x1234));
}

/// What is found, and whether what is read is written as the same bytes.
FindingList findingsOf(const Bytes& bytes, bool& isSame) {
    Findings findings;
    const qlxtest::ExactBuffer exact(bytes);
    const auto sdp = parseSdp(exact.span(), &findings);
    if (!sdp) {
        return {sdp.error()};
    }
    const auto written = writeSdp(*sdp);
    isSame = written && Bytes(written->begin(), written->end()) == bytes;
    return {findings.begin(), findings.end()};
}

FindingList findingsOf(const Bytes& bytes) {
    bool isSame = false;
    FindingList findings = findingsOf(bytes, isSame);
    EXPECT_TRUE(isSame || !findings.empty());
    return findings;
}

/// The checksum made right.
Bytes repaired(Bytes bytes) {
    bytes.back() = 0;
    unsigned sum = 0;
    for (const std::uint8_t byte : bytes) {
        sum += byte;
    }
    bytes.back() = static_cast<std::uint8_t>(0U - sum);
    return bytes;
}

TEST(Sdp, HoldsPacketsWithTheirLines) {
    const Bytes bytes = whole();
    ASSERT_EQ(bytes.size(), 148U);
    Findings findings;
    const auto sdp = parseSdp(bytes, &findings);
    ASSERT_TRUE(sdp);
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(sdp->counter, 0x1234);
    ASSERT_EQ(sdp->lines.size(), 3U);
    EXPECT_EQ(sdp->lines[0].line(), 10);
    EXPECT_TRUE(sdp->lines[0].isOddField());
    EXPECT_EQ(sdp->lines[2].line(), 12);
    EXPECT_EQ(parsePacket(sdp->lines[0].bytes)->number, 0);
    EXPECT_TRUE(parsePacket(sdp->lines[2].bytes)->isFilling());
    Bytes room(148);
    EXPECT_EQ(*writeSdp(*sdp, room), 148U);
    EXPECT_EQ(room, bytes);
}

TEST(Sdp, IsBuiltOfUpToFivePackets) {
    Sdp sdp;
    sdp.counter = 0xFFFF;
    for (std::size_t count = 0; count <= 5; ++count) {
        // Identifier, length, format; descriptors; packets; footer and checksum.
        std::string text = "5115";
        const Bytes length{static_cast<std::uint8_t>(13 + 45 * count)};
        text += qlxtest::toHex(length) + "02";
        for (std::size_t place = 0; place < 5; ++place) {
            const Bytes descriptor{static_cast<std::uint8_t>(place < count ? 0x07 + place : 0)};
            text += qlxtest::toHex(descriptor);
        }
        for (std::size_t place = 0; place < count; ++place) {
            text += "555527"
                    "d0ea" +
                    [] {
                        std::string zeros;
                        for (int index = 0; index < 40; ++index) {
                            zeros += "00";
                        }
                        return zeros;
                    }();
        }
        const Bytes expected = repaired(fromHex(text + "74ffff00"));
        const auto written = writeSdp(sdp);
        ASSERT_TRUE(written);
        EXPECT_EQ(Bytes(written->begin(), written->end()), expected);
        EXPECT_TRUE(findingsOf(expected).empty());
        EXPECT_EQ(sdp.add(Packet(), static_cast<unsigned>(7 + count), false), count < 5);
    }
    EXPECT_EQ(sdp.lines.size(), 5U);
    Sdp other;
    EXPECT_FALSE(other.add(Packet(), 0, false));
    EXPECT_FALSE(other.add(Packet(), 32, true));
    EXPECT_FALSE(other.add(Packet(), 334, false));
    EXPECT_TRUE(other.add(Packet(), 0, true));
    Packet wrong;
    wrong.magazine = 0;
    EXPECT_FALSE(other.add(wrong, 7, false));
    EXPECT_EQ(other.lines.size(), 1U);
}

TEST(Sdp, IsWrittenIntoRoomThatHoldsIt) {
    Sdp sdp;
    ASSERT_TRUE(sdp.add(Packet(), 10, true));
    for (std::size_t size = 0; size < 58; ++size) {
        qlxtest::ExactBuffer room = qlxtest::ExactBuffer::filled(size, 0xA5);
        EXPECT_EQ(writeSdp(sdp, room.span()).error(),
                  (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 58, static_cast<std::int64_t>(size)}));
        EXPECT_EQ(room.vector(), Bytes(size, 0xA5));
    }
    ASSERT_TRUE(sdp.lines.append(std::array<SdpLine, 1>{}));
    Bytes room(255);
    const Finding unused{FindingCode::SdpDescriptorUnused, Severity::Error, 5, 1, 0};
    EXPECT_EQ(writeSdp(sdp, room).error(), unused);
    EXPECT_EQ(writeSdp(sdp).error(), unused);
}

TEST(Sdp, IsRefusedWhenItIsNone) {
    EXPECT_EQ(findingsOf(fromHex("521594028a00000000")),
              FindingList{(Finding{FindingCode::SdpIdentifierWrong, Severity::Error, 0, 0x5215, 0x5115})});
    EXPECT_EQ(findingsOf(fromHex("511594038a00000000")),
              FindingList{(Finding{FindingCode::SdpFormatUnknown, Severity::Error, 3, 3, 2})});
    EXPECT_EQ(findingsOf(fromHex("511594028a000000")),
              FindingList{(Finding{FindingCode::SdpTooShort, Severity::Error, 8, 9, 8})});
    EXPECT_EQ(findingsOf({}), FindingList{(Finding{FindingCode::SdpTooShort, Severity::Error, 0, 9, 0})});
}

TEST(Sdp, SaysWhatContradictsIt) {
    Bytes bytes = whole();
    bytes[2] = 0x3A;
    EXPECT_EQ(findingsOf(repaired(bytes)),
              FindingList{(Finding{FindingCode::SdpLengthWrong, Severity::Warning, 2, 0x3A, 148})});
    bytes = whole();
    bytes[147] ^= 0x01U;
    EXPECT_EQ(findingsOf(bytes), FindingList{(Finding{FindingCode::SdpChecksumWrong, Severity::Warning, 147, bytes[147],
                                                      bytes[147] ^ 0x01})});
    bytes = whole();
    std::swap(bytes[6], bytes[7]);
    EXPECT_EQ(findingsOf(bytes), FindingList{(Finding{FindingCode::SdpDescriptorUnused, Severity::Warning, 6, 2, 0})});
    bytes = whole();
    bytes[144] = 0x75;
    EXPECT_EQ(findingsOf(bytes),
              FindingList{(Finding{FindingCode::SdpFooterMissing, Severity::Warning, 144, 0x75, 0})});
    bytes = whole();
    bytes.push_back(0);
    EXPECT_EQ(findingsOf(bytes),
              FindingList{(Finding{FindingCode::SdpBytesBehindFooter, Severity::Warning, 148, 1, 0})});
    // A descriptor more than packets: the fourth packet begins where the footer is.
    bytes = whole();
    bytes[7] = 0x8D;
    const FindingList expected{(Finding{FindingCode::SdpLengthWrong, Severity::Warning, 2, 148, 193}),
                               (Finding{FindingCode::SdpLineCut, Severity::Error, 144, 4, 3})};
    EXPECT_EQ(findingsOf(bytes), expected);
}

TEST(Sdp, IsReadAsFarAsItGoes) {
    const Bytes bytes = whole();
    qlxtest::forEachTruncation(bytes, [](const qlxtest::ExactBuffer& cut) {
        Findings findings;
        const auto sdp = parseSdp(cut.span(), &findings);
        ASSERT_EQ(static_cast<bool>(sdp), cut.size() >= 9);
        if (!sdp) {
            EXPECT_EQ(sdp.error().code, FindingCode::SdpTooShort);
            return;
        }
        EXPECT_EQ(sdp->lines.size(), std::min<std::size_t>((cut.size() - 9) / 45, 3));
        ASSERT_EQ(findings.size(), 1U);
        EXPECT_EQ(findings[0].code, cut.size() < 144    ? FindingCode::SdpLineCut
                                    : cut.size() == 144 ? FindingCode::SdpFooterMissing
                                                        : FindingCode::SdpFooterCut);
    });
}

TEST(Sdp, ComesBackWhateverItHolds) {
    std::mt19937 random(7);
    const auto byte = [&random] { return static_cast<std::uint8_t>(random() & 0xFFU); };
    for (unsigned round = 0; round < qlxtest::countFor(20000U, 2000U); ++round) {
        Sdp sdp;
        sdp.counter = static_cast<std::uint16_t>(random());
        for (std::size_t count = random() % 6; count > 0; --count) {
            SdpLine line{static_cast<std::uint8_t>(1 + random() % 255), {}};
            std::generate(line.bytes.begin(), line.bytes.end(), byte);
            ASSERT_TRUE(sdp.lines.append({&line, 1}));
        }
        const auto written = writeSdp(sdp);
        ASSERT_TRUE(written);
        Findings findings;
        const auto read = parseSdp(*written, &findings);
        ASSERT_TRUE(read && *read == sdp && findings.empty());
    }
}

TEST(SdpCounterCheck, TellsJumps) {
    SdpCounterCheck check;
    Findings findings;
    EXPECT_EQ(check.expected(), std::nullopt);
    EXPECT_TRUE(check.receive(65534, &findings));
    EXPECT_TRUE(check.receive(65535, &findings));
    EXPECT_TRUE(check.receive(0, &findings));
    EXPECT_FALSE(check.receive(0, &findings, 99));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::SdpCounterJumped, Severity::Warning, 99, 0, 1}));
    EXPECT_TRUE(check.receive(1));
    check.reset();
    EXPECT_TRUE(check.receive(77));
    EXPECT_EQ(check.expected(), 78);
}

}  // namespace
