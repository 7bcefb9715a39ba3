// The commands of ANSI/SCTE 35: the standard's own examples, and sections that are worked out by hand from its tables.
#include "Scte35Bytes.h"

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

/// A section that is right: nothing is found, and it is written as it was.
SpliceInfoSection rightSection(const Bytes& bytes) {
    const ReadSection read = readSection(bytes);
    EXPECT_TRUE(read.section);
    EXPECT_EQ(read.findings, FindingList{});
    if (!read.section) {
        return {};
    }
    EXPECT_EQ(writtenSection(*read.section), bytes);
    return *read.section;
}

/// The same from base64, which is also written again.
SpliceInfoSection exampleOf(const std::string& base64) {
    const auto bytes = spliceInfoBytes(base64);
    EXPECT_TRUE(bytes);
    if (!bytes) {
        return {};
    }
    EXPECT_EQ(base64Text(*bytes), base64);
    return rightSection(*bytes);
}

/// A segmentation as the examples have it: program-wide, web delivery not allowed, the rest allowed, a TI.
SpliceDescriptor exampleSegmentation(std::uint32_t eventId, std::uint8_t typeId, std::string_view airing) {
    SegmentationDescriptor descriptor;
    descriptor.eventId = eventId;
    descriptor.restrictions = DeliveryRestrictions{true, true, true, 3};
    descriptor.upid = {UpidType::Ti, fromHex(airing)};
    descriptor.typeId = typeId;
    return {descriptor, {}};
}

TEST(Scte35Examples, PlacementOpportunityStart) {
    const SpliceInfoSection section =
        exampleOf("/DA0AAAAAAAA///wBQb+cr0AUAAeAhxDVUVJSAAAjn/PAAGlmbAICAAAAAAsoKGKNAIAmsnRfg==");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    expected.command = TimeSignal{{0x072BD0050, 0x7F}};
    SpliceDescriptor descriptor = exampleSegmentation(0x4800008E, 0x34, "000000002ca0a18a");
    auto& segmentation = std::get<SegmentationDescriptor>(descriptor.data);
    segmentation.restrictions = DeliveryRestrictions{false, true, true, 3};
    segmentation.duration90k = 0x0001A599B0;
    segmentation.segmentNum = 2;
    expected.descriptors = {descriptor};
    EXPECT_EQ(section, expected);
}

TEST(Scte35Examples, SpliceInsert) {
    const SpliceInfoSection section = exampleOf("/DAvAAAAAAAA///wFAVIAACPf+/+c2nALv4AUsz1AAAAAAAKAAhDVUVJAAABNWLbowo=");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    SpliceInsert insert;
    insert.eventId = 0x4800008F;
    insert.outOfNetwork = true;
    insert.time.ticks90k = 0x07369C02E;
    insert.breakDuration = BreakDuration{true, 0x00052CCF5, 0x3F};
    expected.command = insert;
    expected.descriptors = {{AvailDescriptor{0x135}, {}}};
    EXPECT_EQ(section, expected);
}

TEST(Scte35Examples, PlacementOpportunityEnd) {
    const SpliceInfoSection section = exampleOf("/DAvAAAAAAAA///wBQb+dGKQoAAZAhdDVUVJSAAAjn+fCAgAAAAALKChijUCAKnMZ1g=");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    expected.command = TimeSignal{{0x0746290A0, 0x7F}};
    SpliceDescriptor descriptor = exampleSegmentation(0x4800008E, 0x35, "000000002ca0a18a");
    std::get<SegmentationDescriptor>(descriptor.data).segmentNum = 2;
    expected.descriptors = {descriptor};
    EXPECT_EQ(section, expected);
}

TEST(Scte35Examples, ProgramStartAndEnd) {
    const SpliceInfoSection section = exampleOf(
        "/DBIAAAAAAAA///wBQb+ek2ItgAyAhdDVUVJSAAAGH+fCAgAAAAALMvDRBEAAAIXQ1VFSUgAABl/nwgIAAAAACyk26AQAACZcuND");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    expected.command = TimeSignal{{0x07A4D88B6, 0x7F}};
    expected.descriptors = {exampleSegmentation(0x48000018, 0x11, "000000002ccbc344"),
                            exampleSegmentation(0x48000019, 0x10, "000000002ca4dba0")};
    EXPECT_EQ(section, expected);
}

TEST(Scte35Examples, ProgramOverlapStart) {
    const SpliceInfoSection section = exampleOf("/DAvAAAAAAAA///wBQb+rr//ZAAZAhdDVUVJSAAACH+fCAgAAAAALKVs9RcAAJUdsKg=");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    expected.command = TimeSignal{{0x0AEBFFF64, 0x7F}};
    expected.descriptors = {exampleSegmentation(0x48000008, 0x17, "000000002ca56cf5")};
    EXPECT_EQ(section, expected);
}

TEST(Scte35Examples, ProgramBlackoutOverrideAndEnd) {
    const SpliceInfoSection section = exampleOf(
        "/DBIAAAAAAAA///wBQb+ky44CwAyAhdDVUVJSAAACn+fCAgAAAAALKCh4xgAAAIXQ1VFSUgAAAl/nwgIAAAAACygoYoRAAC0IX6w");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    expected.command = TimeSignal{{0x0932E380B, 0x7F}};
    expected.descriptors = {exampleSegmentation(0x4800000A, 0x18, "000000002ca0a1e3"),
                            exampleSegmentation(0x48000009, 0x11, "000000002ca0a18a")};
    EXPECT_EQ(section, expected);
}

TEST(Scte35Examples, ProgramEnd) {
    const SpliceInfoSection section = exampleOf("/DAvAAAAAAAA///wBQb+rvF8TAAZAhdDVUVJSAAAB3+fCAgAAAAALKVslxEAAMSHai4=");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    expected.command = TimeSignal{{0x0AEF17C4C, 0x7F}};
    expected.descriptors = {exampleSegmentation(0x48000007, 0x11, "000000002ca56c97")};
    EXPECT_EQ(section, expected);
}

TEST(Scte35Examples, ThreeSegmentationsAtOnce) {
    const SpliceInfoSection section =
        exampleOf("/DBhAAAAAAAA///wBQb+qM1E7QBLAhdDVUVJSAAArX+fCAgAAAAALLLXnTUCAAIXQ1VFSUgAACZ/nwgIAAAAACyy150RAAACF0NV"
                  "RUlIAAAnf58ICAAAAAAsstezEAAAihiGnw==");
    SpliceInfoSection expected;
    expected.cwIndex = 0xFF;
    expected.command = TimeSignal{{0x0A8CD44ED, 0x7F}};
    SpliceDescriptor first = exampleSegmentation(0x480000AD, 0x35, "000000002cb2d79d");
    std::get<SegmentationDescriptor>(first.data).segmentNum = 2;
    expected.descriptors = {first, exampleSegmentation(0x48000026, 0x11, "000000002cb2d79d"),
                            exampleSegmentation(0x48000027, 0x10, "000000002cb2d7b3")};
    EXPECT_EQ(section, expected);
}

TEST(Scte35, ReadsAndWritesTheHeader) {
    // Both indicators, sap_type 1, version 2, algorithm 5 with nothing encrypted, an adjustment of 33 bits, tier 123h.
    Bytes bytes = fromHex("fc d000 02 0b23456789 07 123 000 00 0000 00000000");
    close(bytes);
    const ReadSection read = readSection(bytes);
    ASSERT_TRUE(read.section);
    EXPECT_EQ(read.findings, (FindingList{{FindingCode::ScteSectionIndicatorSet, Severity::Warning, 1, 3, 0},
                                          {FindingCode::ScteProtocolVersionUnknown, Severity::Warning, 3, 2, 0}}));
    const SpliceInfoSection& section = *read.section;
    EXPECT_EQ(writtenSection(section), bytes);
    SpliceInfoSection expected;
    expected.sectionSyntaxIndicator = true;
    expected.privateIndicator = true;
    expected.sapType = 1;
    expected.protocolVersion = 2;
    expected.encryptionAlgorithm = 5;
    expected.ptsAdjustment90k = 0x123456789;
    expected.cwIndex = 7;
    expected.tier = 0x123;
    EXPECT_EQ(section, expected);
    EXPECT_EQ(section.commandType(), std::uint8_t{0});
}

TEST(Scte35, ReadsAndWritesCommandsWithoutFields) {
    EXPECT_EQ(rightSection(sectionOf("00")).command, SpliceCommand(SpliceNull{}));
    EXPECT_EQ(rightSection(sectionOf("07")).command, SpliceCommand(BandwidthReservation{}));
    EXPECT_EQ(rightSection(sectionOf("07")).commandType(), std::uint8_t{7});
}

TEST(Scte35, ReadsAndWritesTimeSignals) {
    EXPECT_EQ(rightSection(sectionOf("06 ff12345678")).command, SpliceCommand(TimeSignal{{0x112345678, 0x7F}}));
    EXPECT_EQ(rightSection(sectionOf("06 7f")).command, SpliceCommand(TimeSignal{}));
}

TEST(Scte35, ReadsAndWritesPrivateCommands) {
    EXPECT_EQ(rightSection(sectionOf("ff 41424344 0102")).command, SpliceCommand(PrivateCommand{0x41424344, {1, 2}}));
}

TEST(Scte35, ReadsAndWritesSpliceInserts) {
    const auto insertOf = [](const std::string& digits) {
        return std::get<SpliceInsert>(rightSection(sectionOf("05" + digits)).command);
    };
    SpliceInsert cancelled;
    cancelled.eventId = 0x01020304;
    cancelled.cancel = true;
    EXPECT_EQ(insertOf("01020304 ff"), cancelled);

    // Back to the network at once; its identifiers comply with the constraints.
    SpliceInsert immediate;
    immediate.eventId = 1;
    immediate.immediate = true;
    immediate.eventIdCompliance = false;
    immediate.uniqueProgramId = 0x0506;
    immediate.availNum = 1;
    immediate.availsExpected = 2;
    EXPECT_EQ(insertOf("00000001 7f 57 0506 01 02"), immediate);

    // Two streams, one of which has no time; a duration.
    SpliceInsert components;
    components.eventId = 2;
    components.outOfNetwork = true;
    components.programSplice = false;
    components.components = {{0x10, {0x1FFFFFFFF, 0x7F}}, {0x20, {}}};
    components.breakDuration = BreakDuration{false, 2700000, 0x3F};
    EXPECT_EQ(insertOf("00000002 7f af 02 10 ffffffffff 20 7f 7e002932e0 0000 00 00"), components);

    // Two streams at once.
    SpliceInsert both;
    both.eventId = 3;
    both.programSplice = false;
    both.immediate = true;
    both.components = {{0x10, {}}, {0x20, {}}};
    EXPECT_EQ(insertOf("00000003 7f 1f 02 10 20 0000 00 00"), both);
}

TEST(Scte35, ReadsAndWritesSchedules) {
    ScheduledSplice program;
    program.eventId = 1;
    program.outOfNetwork = true;
    program.gpsSeconds = 0x4D3C2B1A;
    program.breakDuration = BreakDuration{true, 2700000, 0x3F};
    program.uniqueProgramId = 0x0506;
    program.availNum = 1;
    program.availsExpected = 2;
    ScheduledSplice cancelled;
    cancelled.eventId = 2;
    cancelled.cancel = true;
    cancelled.eventIdCompliance = false;
    ScheduledSplice components;
    components.eventId = 3;
    components.programSplice = false;
    components.components = {{0x10, 7}, {0x20, 8}};
    EXPECT_EQ(rightSection(sectionOf("04 03"
                                     "00000001 7f ff 4d3c2b1a fe002932e0 0506 01 02"
                                     "00000002 bf"
                                     "00000003 7f 1f 02 10 00000007 20 00000008 0000 00 00"))
                  .command,
              SpliceCommand(SpliceSchedule{{program, cancelled, components}}));
    EXPECT_EQ(rightSection(sectionOf("04 00")).command, SpliceCommand(SpliceSchedule{}));
}

TEST(Scte35, KeepsALengthOfTheCommandThatIsNotGiven) {
    for (const std::string& command :
         {std::string("00"), std::string("06 ff12345678"), std::string("05 01020304 ff"), std::string("04 00"),
          std::string("05 00000001 7f ef fe00000000 fe00000000 0506 01 02"), std::string("07")}) {
        Bytes bytes = sectionOf(command, "00 08 43554549 00000135");
        bytes[11] |= 0x0F;
        bytes[12] = 0xFF;
        close(bytes);
        const SpliceInfoSection section = rightSection(bytes);
        EXPECT_EQ(section.statedCommandLength, kCommandLengthNotGiven);
        EXPECT_EQ(section.descriptors, (std::vector<SpliceDescriptor>{{AvailDescriptor{0x135}, {}}})) << command;
    }
}

TEST(Scte35, KeepsStuffing) {
    Bytes bytes = sectionOf("06 7f", "00 08 43554549 00000135");
    bytes.insert(bytes.end() - 4, {0xAA, 0xBB, 0xCC});
    close(bytes);
    EXPECT_EQ(rightSection(bytes).alignmentStuffing, fromHex("aabbcc"));
}

TEST(Scte35, KeepsEncryptedSections) {
    Bytes bytes = fromHex("fc 3000 00 8200000000 05 fff 014 0102030405060708090a 00000000");
    close(bytes);
    const ReadSection read = readSection(bytes);
    ASSERT_TRUE(read.section);
    EXPECT_EQ(read.findings, (FindingList{{FindingCode::ScteSectionEncrypted, Severity::Remark, 13, 1, 10}}));
    EXPECT_TRUE(read.section->isEncrypted());
    EXPECT_EQ(read.section->commandType(), std::nullopt);
    EXPECT_EQ(read.section->command, SpliceCommand(EncryptedContent{0x014, fromHex("0102030405060708090a")}));
    EXPECT_EQ(writtenSection(*read.section), bytes);
}

TEST(Scte35, RefusesEveryShorterLength) {
    for (const std::string& command : {std::string("00"), std::string("05 00000001 7f 57 0506 01 02")}) {
        const Bytes whole = sectionOf(command, "00 08 43554549 00000135");
        forEachTruncation(whole, [&](const ExactBuffer& cut) {
            const auto section = parseSpliceInfoSection(cut.span());
            ASSERT_FALSE(section);
            EXPECT_EQ(section.error().code, FindingCode::ScteSectionCut);
        });
        // With a section_length that fits, each is read as far as it goes or refused; none is read past its end.
        forEachTruncation(whole, [&](const ExactBuffer& cut) {
            Bytes bytes = cut.vector();
            if (bytes.size() >= 7) {
                close(bytes);
                const ExactBuffer exact(bytes);
                if (const auto section = parseSpliceInfoSection(exact.span())) {
                    EXPECT_EQ(writtenSection(*section), bytes);
                }
            }
        });
    }
}

TEST(Scte35, WritesIntoTheCallersRoom) {
    const Bytes bytes = sectionOf("06 7f");
    const auto section = parseSpliceInfoSection(bytes);
    ASSERT_TRUE(section);
    ExactBuffer room = ExactBuffer::filled(bytes.size(), 0);
    EXPECT_EQ(*writeSpliceInfoSection(*section, room.span()), bytes.size());
    EXPECT_EQ(room.vector(), bytes);
    ExactBuffer small = ExactBuffer::filled(bytes.size() - 1, 0x5A);
    const auto refused = writeSpliceInfoSection(*section, small.span());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 21, 20}));
    EXPECT_EQ(small.vector(), Bytes(20, 0x5A));
}

TEST(Scte35, RefusesToWriteWhatDoesNotFit) {
    const auto refusal = [](const SpliceInfoSection& section) {
        const auto result = writeSpliceInfoSection(section);
        EXPECT_FALSE(result);
        return result ? Finding{} : result.error();
    };
    const auto tooLarge = [](std::uint64_t offset, std::int64_t value, std::int64_t greatest) {
        return Finding{FindingCode::ScteValueTooLarge, Severity::Error, offset, value, greatest};
    };
    SpliceInfoSection section;
    section.tier = 0x1000;
    EXPECT_EQ(refusal(section), tooLarge(10, 0x1000, 0xFFF));
    section = {};
    section.ptsAdjustment90k = kGreatestTicks + 1;
    EXPECT_EQ(refusal(section), tooLarge(4, 0x200000000, 0x1FFFFFFFF));
    section = {};
    section.command = TimeSignal{{kGreatestTicks + 1, 0x7F}};
    EXPECT_EQ(refusal(section), tooLarge(14, 0x200000000, 0x1FFFFFFFF));
    section = {};
    SpliceInsert insert;
    insert.programSplice = false;
    insert.components.resize(256);
    section.command = insert;
    EXPECT_EQ(refusal(section), tooLarge(20, 256, 255));
    section = {};
    section.descriptors = {{DtmfDescriptor{0, 0x1F, Bytes(8)}, {}}};
    EXPECT_EQ(refusal(section), tooLarge(23, 8, 7));
    section.descriptors = {{VerbatimDescriptor{0x80, Bytes(256)}, {}}};
    EXPECT_EQ(refusal(section), tooLarge(274, 256, 255));

    // 4093 is the greatest section_length: 3 bytes more are in front of it.
    section = {};
    section.command = PrivateCommand{0, Bytes(4093 - 17 - 4)};
    const auto greatest = writeSpliceInfoSection(section);
    ASSERT_TRUE(greatest);
    EXPECT_EQ(greatest->size(), 4096U);
    EXPECT_EQ((*greatest)[1] & 0x0F, 0x0F);
    EXPECT_EQ((*greatest)[2], 0xFD);
    section.command = PrivateCommand{0, Bytes(4093 - 17 - 4 + 1)};
    EXPECT_EQ(refusal(section), (Finding{FindingCode::ScteSectionTooLong, Severity::Error, 0, 4094, 4093}));
}

}  // namespace
