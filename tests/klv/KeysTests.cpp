#include <qlx/klv/keys.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

namespace {

using namespace qlx::klv;
using qlxtest::fromHex;
using qlxtest::toHex;

Key key(std::string_view digits) {
    Key result{};
    const auto bytes = fromHex(digits);
    std::copy(bytes.begin(), bytes.end(), result.begin());
    return result;
}

}  // namespace

TEST(KlvKeys, KnowTheBeginningOfALabel) {
    EXPECT_TRUE(beginsLabel(fromHex("060e2b34")));
    EXPECT_TRUE(beginsLabel(fromHex("060e2b34ff")));
    EXPECT_TRUE(beginsLabel(fromHex("060e")));
    EXPECT_TRUE(beginsLabel({}));
    EXPECT_FALSE(beginsLabel(fromHex("060f")));
    EXPECT_FALSE(beginsLabel(fromHex("060e2b35")));
    EXPECT_FALSE(beginsLabel(fromHex("00060e2b34")));
}

TEST(KlvKeys, NameAncFrameElementsOfEveryCountAndNumber) {
    EXPECT_EQ(toHex(ancFrameElementKey()), "060e2b34010201010d01030117010201");
    EXPECT_EQ(toHex(ancFrameElementKey(2, 0x7F)), "060e2b34010201010d0103011702027f");
    EXPECT_TRUE(isAncFrameElement(key("060e2b34 01020101 0d010301 17010201")));
    EXPECT_TRUE(isAncFrameElement(key("060e2b34 01020101 0d010301 17030204")));
    EXPECT_TRUE(isAncFrameElement(key("060e2b34 0102010d 0d010301 17010201")));
    // Lines of the vertical blanking, a system item, a picture.
    EXPECT_FALSE(isAncFrameElement(key("060e2b34 01020101 0d010301 17010101")));
    EXPECT_FALSE(isAncFrameElement(key("060e2b34 01020101 0d010301 14010201")));
    EXPECT_FALSE(isAncFrameElement(key("060e2b34 01020101 0d010301 15010501")));
    EXPECT_FALSE(isAncFrameElement(Key{}));
}

TEST(KlvKeys, NameElementsOfTheGenericContainer) {
    const auto anc = elementKey(ancFrameElementKey(2, 0x7F));
    EXPECT_EQ(anc, (ElementKey{.item = kDataItem, .count = 2, .type = 2, .number = 0x7F}));
    // A picture element, and a system metadata pack.
    const auto picture = elementKey(key("060e2b34 01020101 0d010301 15010501"));
    EXPECT_EQ(picture, (ElementKey{.item = 0x15, .count = 1, .type = 5, .number = 1}));
    const auto system = elementKey(key("060e2b34 02050101 0d010301 14020000"));
    ASSERT_TRUE(system);
    EXPECT_EQ(system->item, 0x14);
    EXPECT_FALSE(elementKey(key("060e2b34 02050101 0d010201 01020400")));
    EXPECT_FALSE(elementKey(key("060e2b35 01020101 0d010301 17010201")));
    EXPECT_FALSE(elementKey(kFillItemKey));
}

TEST(KlvKeys, NamePartitionPacks) {
    EXPECT_EQ(partitionKey(key("060e2b34 02050101 0d010201 01020400")),
              (PartitionKey{PartitionKind::Header, PartitionStatus::ClosedComplete}));
    EXPECT_EQ(partitionKey(key("060e2b34 02050102 0d010201 01030100")),
              (PartitionKey{PartitionKind::Body, PartitionStatus::OpenIncomplete}));
    EXPECT_EQ(partitionKey(key("060e2b34 02050101 0d010201 01031100")),
              (PartitionKey{PartitionKind::Body, PartitionStatus::GenericStream}));
    EXPECT_EQ(partitionKey(key("060e2b34 02050101 0d010201 01040200")),
              (PartitionKey{PartitionKind::Footer, PartitionStatus::ClosedIncomplete}));
    EXPECT_EQ(toHex(partitionPackKey({PartitionKind::Footer, PartitionStatus::OpenComplete})),
              "060e2b34020501010d01020101040300");
    // Neither a primer pack nor a random index pack is one.
    EXPECT_EQ(partitionKey(kPrimerPackKey), std::nullopt);
    EXPECT_EQ(partitionKey(kRandomIndexPackKey), std::nullopt);
    EXPECT_EQ(partitionKey(key("060e2b34 02050101 0d010201 01020401")), std::nullopt);
    EXPECT_EQ(partitionKey(ancFrameElementKey()), std::nullopt);
}

TEST(KlvKeys, BeginAllPacksAlike) {
    for (const Key& pack : {kPrimerPackKey, kRandomIndexPackKey, partitionPackKey({})}) {
        EXPECT_TRUE(std::equal(kPackKeyStart.begin(), kPackKeyStart.end(), pack.begin())) << toHex(pack);
    }
}

TEST(KlvKeys, NameFillItemsOfOldAndNewRegisters) {
    EXPECT_TRUE(isFillItem(key("060e2b34 01010102 03010210 01000000")));
    EXPECT_TRUE(isFillItem(key("060e2b34 01010101 03010210 01000000")));
    EXPECT_FALSE(isFillItem(key("060e2b34 01010102 03010210 02000000")));
}
