// Random sections of ANSI/SCTE 35: what is written is read back as the same value, and as the same bytes.
//
// --gtest_random_seed=N runs others.
#include "RandomFields.h"
#include "Scte35Bytes.h"

#include "scte/Scte35Layout.h"

namespace {

using namespace qlxtest;
using namespace qlx::scte;

void fillDescriptor(SpliceDescriptor& descriptor, RandomFields& random) {
    fillAny<0>(descriptor.data, random);
    if (auto* const verbatim = std::get_if<VerbatimDescriptor>(&descriptor.data)) {
        // Above the tags that are known.
        verbatim->tag = static_cast<std::uint8_t>(5 + random.below(250));
        verbatim->data.resize(4 + verbatim->data.size());
    } else if (auto* const segmentation = std::get_if<SegmentationDescriptor>(&descriptor.data)) {
        segmentation->upid.bytes.resize(segmentation->upid.bytes.size() % 32);
    }
}

SpliceInfoSection randomSection(RandomFields& random) {
    SpliceInfoSection section;
    section.protocolVersion = static_cast<std::uint8_t>(random.below(255));
    section.encryptionAlgorithm = static_cast<std::uint8_t>(random.below(63));
    section.sapType = static_cast<std::uint8_t>(random.below(3));
    section.ptsAdjustment90k = random.below(kGreatestTicks);
    random.number(section.cwIndex);
    section.tier = static_cast<std::uint16_t>(random.below(kEveryTier));
    fillAny<0>(section.command, random);
    if (auto* const verbatim = std::get_if<VerbatimCommand>(&section.command)) {
        verbatim->commandType = static_cast<std::uint8_t>(8 + random.below(246));
    } else if (auto* const encrypted = std::get_if<EncryptedContent>(&section.command)) {
        encrypted->commandLength = static_cast<std::uint16_t>(random.below(kCommandLengthNotGiven));
        return section;
    }
    section.descriptors.resize(random.below(3));
    for (SpliceDescriptor& descriptor : section.descriptors) {
        fillDescriptor(descriptor, random);
    }
    random.rest(section.alignmentStuffing);
    return section;
}

TEST(Scte35Random, SectionsComeBack) {
    for (unsigned seed = firstSeed(); seed < firstSeed() + kRandomRounds; ++seed) {
        RandomFields random(seed);
        const SpliceInfoSection section = randomSection(random);
        const Bytes bytes = writtenSection(section);
        const auto back = parseSpliceInfoSection(bytes);
        ASSERT_TRUE(back) << seed;
        ASSERT_EQ(*back, section) << seed;
        ASSERT_EQ(writtenSection(*back), bytes) << seed;
        ASSERT_EQ(plainCrc(bytes), 0U) << seed;
        ASSERT_EQ(*spliceInfoBytes(base64Text(bytes)), bytes) << seed;
        ASSERT_EQ(*spliceInfoBytes(hexText(bytes)), bytes) << seed;
    }
}

TEST(Scte35Random, BytesOfASectionThatIsDamagedAreKept) {
    unsigned kept = 0;
    for (unsigned seed = firstSeed(); seed < firstSeed() + kRandomRounds; ++seed) {
        RandomFields random(seed);
        Bytes bytes = writtenSection(randomSection(random));
        for (std::uint64_t changes = random.below(3); changes > 0; --changes) {
            random.number(bytes[3 + random.below(bytes.size() - 4)]);
        }
        const ExactBuffer exact(bytes);
        if (const auto back = parseSpliceInfoSection(exact.span())) {
            ASSERT_EQ(writtenSection(*back), bytes) << seed;
            ++kept;
        }
    }
    EXPECT_GT(kept, kRandomRounds / 2);
}

}  // namespace
