// Every finding of a packet, provoked once and compared wholly; the packet is used as far as it can be.
#include "CdpBytes.h"

#include <array>

namespace {

using namespace qlxtest;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;
using qlx::cc::Cdp;

constexpr auto kRemark = Severity::Remark;
constexpr auto kWarning = Severity::Warning;
constexpr auto kError = Severity::Error;

/// A packet of ten triplets has its footer at 39 and 43 bytes.
constexpr std::uint64_t kFooterAt = 39;
constexpr std::uint64_t kSize = 43;
const std::string kTenDigits = toHex(fromHex(kTenTriplets)).substr(4);

/// Changes one byte and makes the checksum right again.
Bytes with(Bytes packet, std::size_t offset, std::uint8_t byte) {
    packet[offset] = byte;
    setChecksum(packet);
    return packet;
}

TEST(CdpFindings, AreNoneForARightPacket) {
    EXPECT_EQ(read(packetOf(kTenTriplets)).findings, FindingList{});
}

TEST(CdpFindings, NameWhatIsNoPacket) {
    for (std::size_t size = 0; size < 7; ++size) {
        Bytes bytes = packetOf(kTenTriplets);
        bytes.resize(size);
        const Read result = read(bytes);
        ASSERT_FALSE(result.cdp) << size;
        EXPECT_EQ(result.cdp.error(),
                  (Finding{FindingCode::CdpTooShort, kError, size, 7, static_cast<std::int64_t>(size)}));
        EXPECT_EQ(result.findings, FindingList{});
    }
    const Read other = read(with(packetOf(kTenTriplets), 1, 0x68));
    ASSERT_FALSE(other.cdp);
    EXPECT_EQ(other.cdp.error(), (Finding{FindingCode::CdpIdentifierWrong, kError, 0, 0x9668, 0x9669}));
}

TEST(CdpFindings, NameAWrongLengthAndTheTripletsAreRead) {
    // 8 and 13 short, 11 long: deployed writers.
    for (const int difference : {-8, -13, 11, 1, -43}) {
        const auto length = static_cast<std::uint8_t>(static_cast<int>(kSize) + difference);
        const Read result = read(with(packetOf(kTenTriplets), 2, length));
        ASSERT_TRUE(result.cdp);
        EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, length, kSize}}));
        EXPECT_EQ(tripletDigits(*result.cdp), kTenDigits);
        EXPECT_EQ(written(*result.cdp), packetOf(kTenTriplets));
    }
}

TEST(CdpFindings, NameAWrongChecksum) {
    Bytes bytes = packetOf(kTenTriplets);
    const std::uint8_t right = bytes.back();
    bytes.back() = static_cast<std::uint8_t>(right + 5);
    const Read result = read(bytes);
    ASSERT_TRUE(result.cdp);
    EXPECT_EQ(result.findings,
              (FindingList{{FindingCode::CdpChecksumWrong, kWarning, kSize - 1, bytes.back(), right}}));
    EXPECT_EQ(written(*result.cdp), packetOf(kTenTriplets));
}

TEST(CdpFindings, NameAnUnknownFrameRate) {
    for (const unsigned code : {0U, 9U, 15U}) {
        const Bytes bytes = packetOf(kTenTriplets, {.rateByte = code << 4U | 0x0FU});
        const Read result = read(bytes);
        ASSERT_TRUE(result.cdp);
        EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpFrameRateUnknown, kWarning, 3, code, 0}}));
        EXPECT_EQ(result.cdp->frameRate(), std::nullopt);
        EXPECT_EQ(written(*result.cdp), bytes);
    }
}

TEST(CdpFindings, NameFlagsThatContradictTheSections) {
    const Read absent = read(packetOf(kTenTriplets, {.flags = 0x03}));
    EXPECT_EQ(absent.findings, (FindingList{{FindingCode::CdpFlagsContradictSections, kWarning, 4, 0x03, 0x43}}));
    EXPECT_EQ(tripletDigits(*absent.cdp), kTenDigits);
    // As deployed writers have them: service information announced, and none there.
    EXPECT_EQ(read(packetOf(kTenTriplets, {.flags = 0x7F})).findings,
              (FindingList{{FindingCode::CdpFlagsContradictSections, kWarning, 4, 0x7F, 0x43}}));
    // svc_info_change in the header alone.
    const Read change = read(packetOf(kTenTriplets + kTwoServices, {.flags = 0x7F}));
    EXPECT_EQ(change.findings, (FindingList{{FindingCode::CdpFlagsContradictSections, kWarning, 4, 0x7F, 0x77}}));
    EXPECT_EQ(change.cdp->serviceInformationFlags(), (qlx::cc::ServiceInformationFlags{true, false, true}));
    EXPECT_EQ(read(packetOf("71c0800000" + kTenTriplets)).findings,
              (FindingList{{FindingCode::CdpFlagsContradictSections, kWarning, 4, 0x43, 0xC3}}));
}

TEST(CdpFindings, NameACountThatTheRateDoesNotHave) {
    const Bytes bytes = packetOf("72e2 fc942c fd8080");
    const Read result = read(bytes);
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpCountUnlikeRate, kWarning, 8, 2, 10}}));
    EXPECT_EQ(written(*result.cdp), bytes);
}

TEST(CdpFindings, NameACountThatIsNotThatOfTheTriplets) {
    for (const int announced : {0, 8, 9, 11, 14, 31}) {
        for (const std::string& behind : {std::string(), kTwoServices, std::string("7502aabb")}) {
            const unsigned flags = behind == kTwoServices ? 0x77 : 0x43;
            const Bytes right = packetOf(kTenTriplets + behind, {.flags = flags});
            const Read result = read(with(right, 8, static_cast<std::uint8_t>(0xE0 | announced)));
            EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpCountWrong, kWarning, 8, announced, 10},
                                                    {FindingCode::CdpCountUnlikeRate, kWarning, 8, announced, 10}}))
                << announced << behind;
            EXPECT_EQ(written(*result.cdp), right);
        }
    }
}

TEST(CdpFindings, NameACutSectionOfTripletsAndUseWhatIsThere) {
    Bytes bytes = packetOf(kTenTriplets);
    bytes.resize(9 + 3 * 3 + 2);
    const Read result = read(bytes);
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, kSize, 20},
                                            {FindingCode::CdpCountWrong, kWarning, 8, 10, 3},
                                            {FindingCode::CdpFooterMissing, kWarning, 20, 0, 0}}));
    EXPECT_EQ(tripletDigits(*result.cdp), "fc942cfd8080ff0221");
}

TEST(CdpFindings, NameACounterThatTheFooterDoesNotRepeat) {
    const Read result = read(packetOf(kTenTriplets, {.footerCounter = 0x1235}));
    EXPECT_EQ(result.findings,
              (FindingList{{FindingCode::CdpCounterUnlikeFooter, kWarning, kFooterAt + 1, 0x1234, 0x1235}}));
    EXPECT_EQ(result.cdp->sequenceCounter(), 0x1234);
}

TEST(CdpFindings, NameSectionsThatAreCut) {
    Bytes timeCode = packetOf("71c08000", {.flags = 0x83});
    timeCode.resize(10);
    EXPECT_EQ(read(timeCode).findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, 15, 10},
                                                    {FindingCode::CdpSectionCut, kError, 7, 0x71, 3},
                                                    {FindingCode::CdpFooterMissing, kWarning, 10, 0, 0}}));
    // A future section that is longer than what is left, with a footer behind it.
    const Read future = read(packetOf(kTenTriplets + "7520aabb"));
    EXPECT_EQ(future.findings, (FindingList{{FindingCode::CdpSectionCut, kError, 39, 0x75, 4}}));
    EXPECT_EQ(written(*future.cdp), packetOf(kTenTriplets));
    Bytes footer = packetOf(kTenTriplets);
    footer.resize(kFooterAt + 2);
    EXPECT_EQ(read(footer).findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, kSize, 41},
                                                  {FindingCode::CdpSectionCut, kError, kFooterAt, 0x74, 2}}));
    Bytes head = packetOf("72");
    head.resize(8);
    EXPECT_EQ(read(head).findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, 12, 8},
                                                {FindingCode::CdpSectionCut, kError, 7, 0x72, 1},
                                                {FindingCode::CdpFooterMissing, kWarning, 8, 0, 0}}));
}

TEST(CdpFindings, NameAnotherOrderThanTheStandards) {
    const Read result = read(packetOf(kTwoServices + kTenTriplets, {.flags = 0x77}));
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpSectionOutOfOrder, kWarning, 23, 0x72, 0x73}}));
    EXPECT_EQ(written(*result.cdp), packetOf(kTenTriplets + kTwoServices, {.flags = 0x77}));
    EXPECT_EQ(read(packetOf("7600 7500" + kTenTriplets)).findings,
              (FindingList{{FindingCode::CdpSectionOutOfOrder, kWarning, 11, 0x72, 0x75}}))
        << "future sections have no order among themselves";
}

TEST(CdpFindings, NameASectionThatIsThereTwice) {
    const Read result = read(packetOf(kTenTriplets + "72e1fc4142"));
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpSectionRepeated, kError, 39, 0x72, 5}}));
    EXPECT_EQ(tripletDigits(*result.cdp), kTenDigits);
    EXPECT_EQ(read(packetOf("71c0800000 71c0800000" + kTenTriplets, {.flags = 0xC3})).findings,
              (FindingList{{FindingCode::CdpSectionRepeated, kError, 12, 0x71, 5}}));
    EXPECT_EQ(read(packetOf(kTenTriplets + kTwoServices + kTwoServices, {.flags = 0x77})).findings,
              (FindingList{{FindingCode::CdpSectionRepeated, kError, 55, 0x73, 16}}));
}

TEST(CdpFindings, NameASectionThatIsNotKnown) {
    const Read result = read(packetOf(kTenTriplets + "f00102"));
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpSectionUnknown, kError, 39, 0xF0, 3}}));
    EXPECT_EQ(written(*result.cdp), packetOf(kTenTriplets));
}

TEST(CdpFindings, NameAMissingFooter) {
    Bytes bytes = packetOf(kTenTriplets);
    bytes.resize(kFooterAt);
    const Read result = read(bytes);
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, kSize, kFooterAt},
                                            {FindingCode::CdpFooterMissing, kWarning, kFooterAt, 0, 0}}));
    EXPECT_EQ(written(*result.cdp), packetOf(kTenTriplets));
}

TEST(CdpFindings, NameBytesBehindTheFooter) {
    Bytes bytes = packetOf(kTenTriplets);
    bytes.insert(bytes.end(), {0x00, 0x40});
    EXPECT_EQ(read(bytes).findings, (FindingList{{FindingCode::CdpBytesBehindFooter, kWarning, kSize, 2, 0}}));
    bytes.resize(1000);
    EXPECT_EQ(read(bytes).findings, (FindingList{{FindingCode::CdpBytesBehindFooter, kWarning, kSize, 957, 0}}));
}

TEST(CdpFindings, NameAPacketThatIsLongerThanAnyCanBe) {
    Bytes bytes = packetOf("75ff" + repeatedDigits("00", 289));
    ASSERT_EQ(bytes.size(), 302U);
    const Read result = read(bytes);
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, 302 - 256, 255},
                                            {FindingCode::CdpFlagsContradictSections, kWarning, 4, 0x43, 0x03},
                                            {FindingCode::CdpSectionCut, kError, 7, 0x75, 244},
                                            {FindingCode::CdpFooterMissing, kWarning, 255, 0, 0},
                                            {FindingCode::CdpTooLong, kError, 255, 302, 255}}));
}

/// A packet whose only flaw is a reserved bit: said, and kept.
void expectReserved(const Bytes& bytes, std::uint64_t offset, std::uint8_t right) {
    const Read result = read(bytes);
    ASSERT_TRUE(result.cdp);
    EXPECT_EQ(result.findings,
              (FindingList{{FindingCode::CdpReservedBitsWrong, kRemark, offset, bytes[offset], right}}));
    EXPECT_EQ(written(*result.cdp), bytes);
}

TEST(CdpFindings, RemarkReservedBits) {
    const std::string time = "71 d0 d9 30 24";
    const Bytes all = packetOf(time + kTenTriplets + kTwoServices, {.flags = 0xF7});
    ASSERT_EQ(read(all).findings, FindingList{});
    struct Case {
        std::size_t offset;
        std::uint8_t there;
        std::uint8_t right;
    };
    for (const Case& one : {Case{3, 0x87, 0x8F}, Case{4, 0xF6, 0xF7}, Case{8, 0x50, 0xD0}, Case{9, 0x59, 0xD9},
                            Case{11, 0x64, 0x24}, Case{13, 0x6A, 0xEA}, Case{14, 0x74, 0xFC}, Case{41, 0x02, 0xFA},
                            Case{45, 0x52, 0xD2}, Case{46, 0x60, 0xE0}, Case{46, 0xC0, 0xE0}, Case{50, 0x7C, 0x7E},
                            Case{50, 0x3E, 0x7E}, Case{51, 0x3E, 0x3F}, Case{52, 0x7F, 0xFF}, Case{57, 0x81, 0xC1}}) {
        expectReserved(with(all, one.offset, one.there), one.offset, one.right);
    }
}

TEST(CdpFindings, NameImpossibleTimeCodes) {
    struct Case {
        std::string time;
        unsigned rateByte;
        bool isPossible;
    };
    const Case cases[] = {
        {"e3 d9 59 29", 0x8F, true},                                 // 23:59:59:29
        {"e4 80 00 00", 0x8F, false},                                // 24 hours
        {"c0 e0 00 00", 0x8F, false},                                // 60 minutes
        {"c0 80 60 00", 0x8F, false},                                // 60 seconds
        {"c0 80 00 30", 0x8F, false},                                // 30 pairs of frames
        {"c0 80 80 29", 0x8F, true},                                 // the second of a pair
        {"c0 80 00 24", 0x3F, true},  {"c0 80 00 25", 0x3F, false},  // 25 frames a second
        {"c0 80 00 24", 0x6F, true},  {"c0 80 00 25", 0x6F, false},  // 25 pairs a second
        {"c0 80 00 23", 0x1F, true},  {"c0 80 00 24", 0x2F, false},  // 24 frames a second
        {"ca 80 00 00", 0x8F, false},                                // a digit above 9
        {"c0 8a 00 00", 0x8F, false}, {"c0 80 0f 00", 0x8F, false}, {"c0 80 00 0b", 0x8F, false},
        {"c0 81 00 80", 0x7F, false}, {"c0 81 00 81", 0x7F, false},  // dropped
        {"c0 81 00 82", 0x7F, true},  {"c0 90 00 80", 0x7F, true},  {"c0 81 01 80", 0x7F, true},
    };
    for (const Case& one : cases) {
        const Bytes bytes = packetOf("71" + one.time, {.rateByte = one.rateByte, .flags = 0x83});
        const Read result = read(bytes);
        const auto number = static_cast<std::int64_t>(bytes[8]) << 24U | bytes[9] << 16U | bytes[10] << 8U | bytes[11];
        const FindingList expected{{FindingCode::CdpTimeCodeInvalid, kWarning, 8, number, 0}};
        EXPECT_EQ(result.findings, one.isPossible ? FindingList{} : expected) << one.time << " " << one.rateByte;
        EXPECT_EQ(written(*result.cdp), bytes);
    }
}

TEST(CdpFindings, NameDroppedFramesAtARateThatDropsNone) {
    struct Case {
        std::uint8_t code;
        bool mayDrop;
    };
    // 01:01:00;00, which is dropped where frames are.
    for (const Case& one : {Case{1, false}, Case{2, false}, Case{3, false}, Case{4, true}, Case{5, false},
                            Case{6, false}, Case{7, true}, Case{8, false}}) {
        const unsigned rateByte = one.code * 16U + 15U;
        const Bytes bytes = packetOf("71 c1 81 00 80", {.rateByte = rateByte, .flags = 0x83});
        const Read result = read(bytes);
        const Finding dropped{FindingCode::CdpTimeCodeInvalid, kWarning, 8, 0xC181'0080, 0};
        const Finding unlike{FindingCode::CdpDropFrameUnlikeRate, kWarning, 11, 0xC181'0080, one.code};
        EXPECT_EQ(result.findings, (FindingList{one.mayDrop ? dropped : unlike})) << int{one.code};
        EXPECT_EQ(written(*result.cdp), bytes);
        // 01:01:00;02 is there.
        EXPECT_EQ(read(packetOf("71 c1 81 00 82", {.rateByte = rateByte, .flags = 0x83})).findings.empty(),
                  one.mayDrop);
    }
    // Nothing is known of the rate.
    EXPECT_EQ(read(packetOf("71 c1 81 00 82", {.rateByte = 0x9F, .flags = 0x83})).findings,
              (FindingList{{FindingCode::CdpFrameRateUnknown, kWarning, 3, 9, 0}}));
    EXPECT_EQ((Finding{FindingCode::CdpDropFrameUnlikeRate, kWarning, 11, 0xC181'0082, 3}).text(),
              "time code c1810082 says that it drops frames, frame rate code 3 drops none");
}

TEST(CdpFindings, NameMorePairsOfAFieldThanAFrameHas) {
    const auto packet = [](unsigned code, const std::string& first) {
        constexpr std::array<std::size_t, 9> kCounts{0, 25, 25, 24, 20, 20, 12, 10, 10};
        const std::size_t padding = kCounts.at(code) - first.size() / 6;
        return packetOf("72" + toHex(Bytes{static_cast<std::uint8_t>(0xE0 | kCounts.at(code))}) + first +
                            repeatedDigits("fa0000", padding),
                        {.rateByte = code * 16 + 15});
    };
    for (unsigned code = 1; code <= 8; ++code) {
        const bool isFilm = code <= 2;
        // One pair of each field, also with null pairs and with some that are not valid.
        EXPECT_EQ(read(packet(code, "fcc141fdc242")).findings, FindingList{});
        EXPECT_EQ(read(packet(code, "fcc141fc8080fc0000f8c141fdc242fd8080f9c242")).findings, FindingList{});
        // At 24 frames a second the 60 fields have two pairs in some frames, and never three.
        const Finding twoOfField1{FindingCode::CdpPairsUnlikeRate, kWarning, 12, 1, 2};
        const Finding twoOfField2{FindingCode::CdpPairsUnlikeRate, kWarning, 15, 2, 2};
        const Bytes ofField1 = packet(code, "fcc141fc4343fdc242");
        const Bytes ofField2 = packet(code, "fdc141fc4343fdc242");
        EXPECT_EQ(read(ofField1).findings, isFilm ? FindingList{} : FindingList{twoOfField1}) << code;
        EXPECT_EQ(read(ofField2).findings, isFilm ? FindingList{} : FindingList{twoOfField2}) << code;
        EXPECT_EQ(written(*read(ofField2).cdp), ofField2);
        const Finding threeOfField2{FindingCode::CdpPairsUnlikeRate, kWarning, isFilm ? 18U : 15U, 2, 3};
        EXPECT_EQ(read(packet(code, "fdc141fc4343fdc242fdc343")).findings, FindingList{threeOfField2}) << code;
    }
    EXPECT_EQ((Finding{FindingCode::CdpPairsUnlikeRate, kWarning, 12, 1, 2}).text(),
              "2 pairs of field 1, a frame of the rate has fewer");
}

TEST(CdpFindings, NameServicesThatAreNotWhatIsAnnounced) {
    const Bytes right = packetOf(kTenTriplets + kTwoServices, {.flags = 0x77});
    for (const int announced : {0, 1, 3, 15}) {
        const Read result = read(with(right, 40, static_cast<std::uint8_t>(0xD0 | announced)));
        EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpServiceCountWrong, kWarning, 40, announced, 2}}));
        EXPECT_EQ(written(*result.cdp), right);
    }
    Bytes cut = right;
    cut.resize(50);
    const Read result = read(cut);
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpLengthWrong, kWarning, 2, 59, 50},
                                            {FindingCode::CdpServiceCountWrong, kWarning, 40, 2, 1},
                                            {FindingCode::CdpFooterMissing, kWarning, 50, 0, 0}}));
    EXPECT_EQ(result.cdp->services().size(), 1U);
}

TEST(CdpFindings, NameAServiceWithTwoNumbers) {
    const Read result = read(packetOf(kTenTriplets + "73d1 e1656e67 c23fff", {.flags = 0x77}));
    EXPECT_EQ(result.findings, (FindingList{{FindingCode::CdpServiceNumberContradicts, kWarning, 41, 1, 2}}));
}

TEST(CdpFindings, OfCountersNameAJump) {
    qlx::cc::CounterCheck counters;
    qlx::Findings findings;
    EXPECT_EQ(counters.expected(), std::nullopt);
    EXPECT_TRUE(counters.receive(65535, &findings));
    EXPECT_TRUE(counters.receive(0, &findings));
    EXPECT_TRUE(findings.empty());
    EXPECT_FALSE(counters.receive(5, &findings, 77));
    EXPECT_TRUE(counters.receive(6, &findings));
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::CdpCounterJumped, kWarning, 77, 5, 1}));
    counters.reset();
    EXPECT_TRUE(counters.receive(1000));
    EXPECT_EQ(counters.expected(), 1001);
}

TEST(CdpFindings, OfCountersNameOnceThatTheyStandStill) {
    qlx::cc::CounterCheck counters;
    FindingList told;
    for (const std::uint16_t counter : std::array<std::uint16_t, 8>{7, 7, 7, 8, 8, 65535, 65535, 0}) {
        qlx::Findings findings;
        (void)counters.receive(counter, &findings, counter + 100U);
        told.insert(told.end(), findings.begin(), findings.end());
    }
    EXPECT_EQ(told, (FindingList{{FindingCode::CdpCounterStandsStill, kWarning, 107, 7, 8},
                                 {FindingCode::CdpCounterJumped, kWarning, 65635, 65535, 9}}));
    qlx::Findings findings;
    counters.reset();
    EXPECT_TRUE(counters.receive(3, &findings));
    EXPECT_FALSE(counters.receive(3, &findings));
    EXPECT_EQ(findings.size(), 1U);
    counters.expect(9);
    EXPECT_TRUE(counters.receive(9, &findings));
}

}  // namespace
