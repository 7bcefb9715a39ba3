// Each descriptor of ANSI/SCTE 35 from bytes that are worked out by hand from the standard's tables, and back.
#include "Scte35Bytes.h"

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

/// The only descriptor of a section that is right; it is written as it was.
SpliceDescriptorData descriptorOf(std::string_view digits) {
    const Bytes bytes = sectionOf("00", digits);
    const ReadSection read = readSection(bytes);
    EXPECT_TRUE(read.section);
    EXPECT_EQ(read.findings, FindingList{});
    if (!read.section || read.section->descriptors.size() != 1) {
        ADD_FAILURE() << digits;
        return {};
    }
    EXPECT_EQ(writtenSection(*read.section), bytes);
    EXPECT_EQ(read.section->descriptors[0].tag(), fromHex(digits)[0]);
    return read.section->descriptors[0].data;
}

TEST(Scte35Descriptors, Avail) {
    EXPECT_EQ(descriptorOf("00 08 43554549 00000135"), SpliceDescriptorData(AvailDescriptor{0x135}));
}

TEST(Scte35Descriptors, Dtmf) {
    EXPECT_EQ(descriptorOf("01 0a 43554549 32 9f 3132312a"),
              SpliceDescriptorData(DtmfDescriptor{50, 0x1F, {'1', '2', '1', '*'}}));
    EXPECT_EQ(descriptorOf("01 06 43554549 00 1f"), SpliceDescriptorData(DtmfDescriptor{0, 0x1F, {}}));
}

TEST(Scte35Descriptors, Time) {
    EXPECT_EQ(descriptorOf("03 10 43554549 00005f5e1000 3b9ac9ff 0025"),
              SpliceDescriptorData(TimeDescriptor{0x5F5E1000, 999999999, 37}));
}

TEST(Scte35Descriptors, Audio) {
    // Two streams: complete main with 5.1 channels and full service; visually impaired, mono.
    EXPECT_EQ(descriptorOf("04 0f 43554549 2f 01 656e67 19 ff 667261 42"),
              SpliceDescriptorData(
                  AudioDescriptor{0x0F, {{1, {'e', 'n', 'g'}, 0, 12, true}, {0xFF, {'f', 'r', 'a'}, 2, 1, false}}}));
    EXPECT_EQ(descriptorOf("04 05 43554549 0f"), SpliceDescriptorData(AudioDescriptor{}));
}

TEST(Scte35Descriptors, CancelledSegmentation) {
    SegmentationDescriptor cancelled;
    cancelled.eventId = 0x01020304;
    cancelled.cancel = true;
    EXPECT_EQ(descriptorOf("02 09 43554549 01020304 ff"), SpliceDescriptorData(cancelled));
}

TEST(Scte35Descriptors, SegmentationWithSubSegments) {
    SegmentationDescriptor segmentation;
    segmentation.eventId = 1;
    segmentation.eventIdCompliance = false;
    segmentation.duration90k = 0x123456789A;
    segmentation.upid = {UpidType::AdId, {'A', 'B', 'C', 'D', '0', '1', '2', '3', '4', '5', '6', 'H'}};
    segmentation.typeId = 0x36;
    segmentation.segmentNum = 1;
    segmentation.segmentsExpected = 2;
    segmentation.subSegment = SubSegment{3, 4};
    EXPECT_EQ(descriptorOf("02 22 43554549 00000001 3f ff 123456789a 03 0c 414243443031323334353648 36 01 02 03 04"),
              SpliceDescriptorData(segmentation));
}

TEST(Scte35Descriptors, SegmentationOfComponentsWithRestrictions) {
    SegmentationDescriptor segmentation;
    segmentation.eventId = 2;
    segmentation.programSegmentation = false;
    segmentation.restrictions = DeliveryRestrictions{true, false, true, 1};
    segmentation.components = {{0x10, 0x7F, 0}, {0x20, 0x7F, kGreatestTicks}};
    segmentation.typeId = 0x10;
    EXPECT_EQ(descriptorOf("02 1c 43554549 00000002 7f 15 02 10 fe00000000 20 ffffffffff 00 00 10 00 00"),
              SpliceDescriptorData(segmentation));
}

TEST(Scte35Descriptors, OfOthersAreKept) {
    const auto foreign = std::get<VerbatimDescriptor>(descriptorOf("02 06 41424344 0102"));
    EXPECT_EQ(foreign, (VerbatimDescriptor{2, fromHex("41424344 0102")}));
    EXPECT_EQ(foreign.identifier(), 0x41424344U);
    EXPECT_EQ(std::get<VerbatimDescriptor>(descriptorOf("05 05 43554549 01")),
              (VerbatimDescriptor{5, fromHex("43554549 01")}));
    EXPECT_EQ((VerbatimDescriptor{2, fromHex("414243")}).identifier(), std::nullopt);
}

TEST(Scte35Descriptors, NameTheTypesWithSubSegments) {
    Bytes types;
    for (unsigned type = 0; type < 256; ++type) {
        if (hasSubSegments(static_cast<std::uint8_t>(type))) {
            types.push_back(static_cast<std::uint8_t>(type));
        }
    }
    EXPECT_EQ(types, fromHex("30 32 34 36 38 3a 44 46"));
}

TEST(Scte35Upids, AsPeopleWriteThem) {
    const auto textOf = [](UpidType type, std::string_view digits) { return upidText({type, fromHex(digits)}); };
    EXPECT_EQ(textOf(UpidType::AdId, "414243443031323334353648"), "ABCD0123456H");
    EXPECT_EQ(textOf(UpidType::Uri, "75726e3a61"), "urn:a");
    EXPECT_EQ(textOf(UpidType::Adi, "410a"), "410a");
    EXPECT_EQ(textOf(UpidType::Ti, "000000002ca0a18a"), "000000002ca0a18a");
    // The EIDR of the registry's own example, whose check character is 5.
    EXPECT_EQ(textOf(UpidType::Eidr, "1478 7791 8534 2c23 9030 8610"), "10.5240/7791-8534-2C23-9030-8610-5");
    EXPECT_EQ(textOf(UpidType::Eidr, "1478 7791"), "14787791");
    EXPECT_EQ(textOf(UpidType::Isan, "0000 0001 5947 0000 0000 abcd"), "0000-0001-5947-0000-0000-ABCD");
    EXPECT_EQ(textOf(UpidType::IsanDeprecated, "0000 0001 5947 0000"), "0000-0001-5947-0000");
    EXPECT_EQ(textOf(UpidType::Umid, "060a2b340101010501010d2013000000d2c9036c8f195343ab7014d2d718bfda"),
              "060A2B34.01010105.01010D20.13000000.D2C9036C.8F195343.AB7014D2.D718BFDA");
    EXPECT_EQ(textOf(UpidType::Uuid, "00112233445566778899aabbccddeeff"), "00112233-4455-6677-8899-aabbccddeeff");
    EXPECT_EQ(textOf(UpidType::Mpu, "41424344 01"), "4142434401");
    EXPECT_EQ(textOf(UpidType::NotUsed, ""), "");
    EXPECT_EQ(textOf(UpidType::Mid, "03 03 414243 08 08 000000002ca0a18a"), "[ABC, 000000002ca0a18a]");
    EXPECT_EQ(textOf(UpidType::Mid, "03 04 414243"), "0304414243");
    EXPECT_EQ(upidTypeText(UpidType::Eidr), "EIDR");
    EXPECT_EQ(upidTypeText(UpidType::Scr), "SCR");
    EXPECT_EQ(upidTypeText(static_cast<UpidType>(0x12)), "");
}

TEST(Scte35Upids, SeveralInOne) {
    const std::vector<Upid> upids{{UpidType::AdId, fromHex("414243")}, {UpidType::NotUsed, {}}};
    const auto bytes = midOfUpids(upids);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(*bytes, fromHex("03 03 414243 00 00"));
    const auto back = upidsOfMid(*bytes);
    ASSERT_TRUE(back);
    EXPECT_EQ(*back, upids);
    const auto cut = upidsOfMid(fromHex("03 03 414243 08 02 00"));
    ASSERT_FALSE(cut);
    EXPECT_EQ(cut.error(), (Finding{FindingCode::ScteDescriptorTooShort, Severity::Error, 5, 0x0D, 3}));
    const auto large = midOfUpids(std::vector<Upid>{{UpidType::Uri, Bytes(256)}});
    ASSERT_FALSE(large);
    EXPECT_EQ(large.error(), (Finding{FindingCode::ScteValueTooLarge, Severity::Error, 1, 256, 255}));
}

}  // namespace
