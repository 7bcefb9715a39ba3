#include "anc/AncWord.h"

#include <qlx/anc/packet.h>

#include <gtest/gtest.h>

namespace anc = qlx::anc;

TEST(AncWord, CodesThePublishedExamples) {
    EXPECT_EQ(anc::word(0x00), 0x200);
    EXPECT_EQ(anc::word(0x01), 0x101);
    EXPECT_EQ(anc::word(0x03), 0x203);
    EXPECT_EQ(anc::word(0x61), 0x161);
    EXPECT_EQ(anc::word(0xFF), 0x2FF);
    EXPECT_EQ(anc::word(0x80), 0x180);
}

TEST(AncWord, HasEvenParityAndItsInverseForEveryByte) {
    for (unsigned byte = 0; byte < 256; ++byte) {
        const unsigned word = anc::word(static_cast<std::uint8_t>(byte));
        // The parity by folding, as the standard's hardware does it.
        unsigned folded = byte ^ (byte >> 4U);
        folded ^= folded >> 2U;
        const unsigned parity = (folded ^ (folded >> 1U)) & 1U;
        EXPECT_EQ(word & 0xFFU, byte);
        EXPECT_EQ(word >> 8U & 1U, parity);
        EXPECT_EQ(word >> 9U, 1U - parity);
    }
}

TEST(AncChecksum, IsTheLowNineBitsWithTheInverseOfBit8) {
    EXPECT_EQ(anc::checksumWord(0x462), 0x262);
    EXPECT_EQ(anc::checksumWord(0x100), 0x100);
    EXPECT_EQ(anc::checksumWord(0x1FF), 0x1FF);
    EXPECT_EQ(anc::checksumWord(0x200), 0x200);
    EXPECT_EQ(anc::checksumWord(0), 0x200);
}

TEST(PacketKind, HasANameByItsTwoWords) {
    EXPECT_EQ(anc::kindName(0x43, 0x02), "OP-47");
    EXPECT_EQ(anc::kindName(0x61, 0x01), "CEA708");
    EXPECT_EQ(anc::kindName(0xF4, 0x68), "Sony Metadata");  // no SDID, and it names the kind all the same
    EXPECT_EQ(anc::kindName(0xF4, 0x00), "Unknown");
    EXPECT_EQ(anc::kindName(0x02, 0x43), "Unknown");
}
