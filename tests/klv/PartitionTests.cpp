#include <qlx/klv/partition.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using namespace qlx::klv;
using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::Severity;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;
using qlxtest::toHex;

// Version, grid | this, previous, footer | header and index bytes | index stream | body offset | body stream | pattern.
const std::string kFields = "0001 0003 00000200"
                            "0000000000001000 0000000000000400 0000000000123456"
                            "0000000000004000 0000000000000800"
                            "00000081 00000000000abcde 00000001"
                            "060e2b34040101010d01020101010900";
const std::string kContainers = "060e2b34040101030d010301020d0000 060e2b34040101030d010301027f0100";

PartitionPack packOfFields() {
    PartitionPack pack;
    pack.kagSize = 0x200;
    pack.thisPartition = 0x1000;
    pack.previousPartition = 0x400;
    pack.footerPartition = 0x123456;
    pack.headerByteCount = 0x4000;
    pack.indexByteCount = 0x800;
    pack.indexSid = 129;
    pack.bodyOffset = 0xABCDE;
    pack.bodySid = 1;
    pack.operationalPattern = {0x06, 0x0E, 0x2B, 0x34, 0x04, 0x01, 0x01, 0x01,
                               0x0D, 0x01, 0x02, 0x01, 0x01, 0x01, 0x09, 0x00};
    return pack;
}

std::vector<Finding> findingsOf(const std::string& value, std::size_t containers) {
    Findings findings;
    const ExactBuffer buffer(fromHex(value));
    const auto pack = parsePartitionPack(buffer.span(), &findings);
    EXPECT_TRUE(pack);
    EXPECT_EQ(pack->essenceContainers.size(), containers);
    EXPECT_EQ(pack->bodySid, 1U);
    return {findings.begin(), findings.end()};
}

std::vector<Finding> just(FindingCode code, std::uint64_t offset, std::int64_t first, std::int64_t second) {
    return {{code, Severity::Warning, offset, first, second}};
}

}  // namespace

TEST(MxfPartitionPack, IsReadAndWritten) {
    const auto value = fromHex(kFields + "00000002 00000010" + kContainers);
    PartitionPack expected = packOfFields();
    expected.essenceContainers = {
        {0x06, 0x0E, 0x2B, 0x34, 0x04, 0x01, 0x01, 0x03, 0x0D, 0x01, 0x03, 0x01, 0x02, 0x0D},
        {0x06, 0x0E, 0x2B, 0x34, 0x04, 0x01, 0x01, 0x03, 0x0D, 0x01, 0x03, 0x01, 0x02, 0x7F, 0x01}};
    Findings findings;
    const auto pack = parsePartitionPack(value, &findings);
    ASSERT_TRUE(pack);
    EXPECT_EQ(*pack, expected);
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(partitionPackSize(2), value.size());
    EXPECT_EQ(toHex(writePartitionPack(expected)), toHex(value));
}

TEST(MxfPartitionPack, MayHaveNoEssence) {
    EXPECT_TRUE(findingsOf(kFields + "00000000 00000010", 0).empty());
}

TEST(MxfPartitionPack, SaysWhatIsWrongWithItsList) {
    EXPECT_EQ(findingsOf(kFields + "00000003 00000010" + kContainers, 2), just(FindingCode::MxfListCut, 80, 3, 2));
    EXPECT_EQ(findingsOf(kFields + "ffffffff 00000010" + kContainers, 2),
              just(FindingCode::MxfListCut, 80, 0xFFFF'FFFF, 2));
    EXPECT_EQ(findingsOf(kFields + "00000001 00000010" + kContainers, 1),
              just(FindingCode::MxfTrailingBytes, 104, 16, 0));
    EXPECT_EQ(findingsOf(kFields + "00000000 00000000", 0), just(FindingCode::MxfListItemLengthWrong, 84, 0, 16));
}

TEST(MxfPartitionPack, IsNotReadWhenItIsShorter) {
    qlxtest::forEachTruncation(fromHex(kFields + "00000000 00000010"), [](const ExactBuffer& cut) {
        const auto pack = parsePartitionPack(cut.span());
        ASSERT_FALSE(pack);
        EXPECT_EQ(pack.error(), (Finding{FindingCode::MxfPartitionTooShort, Severity::Error, 0, 88,
                                         static_cast<std::int64_t>(cut.size())}));
    });
}

TEST(MxfPartitionPack, IsNotWrittenIntoTooSmallARoom) {
    for (std::size_t there = 0; there < 88; ++there) {
        ExactBuffer room = ExactBuffer::filled(there, 0x5A);
        const auto used = writePartitionPack(packOfFields(), room.span());
        ASSERT_FALSE(used);
        EXPECT_EQ(used.error(),
                  (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 88, static_cast<std::int64_t>(there)}));
    }
    ExactBuffer room = ExactBuffer::filled(88, 0x5A);
    const auto used = writePartitionPack(packOfFields(), room.span());
    ASSERT_TRUE(used);
    EXPECT_EQ(toHex(room.span()), toHex(fromHex(kFields + "00000000 00000010")));
}

TEST(MxfPartitionPack, GivesBackEveryByteOfWhatIsReadWithoutAFinding) {
    std::mt19937 random(1);
    for (int round = 0; round < 1000; ++round) {
        std::vector<std::uint8_t> value(partitionPackSize(random() % 4));
        for (std::uint8_t& byte : value) {
            byte = static_cast<std::uint8_t>(random());
        }
        const std::array<std::uint8_t, 8> list{
            0, 0, 0, static_cast<std::uint8_t>((value.size() - partitionPackSize()) / sizeof(Key)), 0, 0, 0, 16};
        std::copy(list.begin(), list.end(), value.begin() + 80);
        Findings findings;
        const auto pack = parsePartitionPack(value, &findings);
        ASSERT_TRUE(pack);
        ASSERT_TRUE(findings.empty());
        ASSERT_EQ(toHex(writePartitionPack(*pack)), toHex(value));
    }
}
