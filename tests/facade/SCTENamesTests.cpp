#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

using Operation = QLXSCTEOperation;

namespace {

struct SegmentationRow {
    std::int32_t type;
    const char* name;
    std::int32_t typeOfName;
};

constexpr SegmentationRow kSegmentationRows[] = {
    {0x01, "ContentIdentification", 0x01},
    {0x10, "ProgramStart", 0x10},
    {0x11, "ProgramEnd", 0x11},
    {0x12, "EarlyTermination", 0x12},
    {0x13, "ProgramBreakaway", 0x13},
    {0x14, "ProgramResumption", 0x14},
    {0x15, "ProgramRunoverPlanned", 0x15},
    {0x16, "RunoverUnplanned", 0},
    {0x17, "ProgramOverlapStart", 0x17},
    {0x18, "ProgramBlackoutOverride", 0x18},
    {0x19, "ProgramStartInProgress", 0x19},
    {0x20, "ChapterStart", 0x20},
    {0x21, "ChapterEnd", 0x21},
    {0x22, "BreakStart", 0x22},
    {0x23, "BreakEnd", 0x23},
    {0x24, "OpeningCreditStart", 0x24},
    {0x25, "OpeningCreditEnd", 0x25},
    {0x26, "ClosingCreditStart", 0x26},
    {0x27, "ClosingCreditEnd", 0x27},
    {0x30, "ProviderAdvertisementStart", 0x30},
    {0x31, "ProviderAdvertisementEnd", 0x31},
    {0x32, "DistributorAdvertisementStart", 0x32},
    {0x33, "DistributorAdvertisementEnd", 0x33},
    {0x34, "ProviderPlacementOpportunityStart", 0x34},
    {0x35, "ProviderPlacementOpportunityEnd", 0x35},
    {0x36, "DistributorPlacementOpportunityStart", 0},
    {0x37, "DistributorPlacementOpportunityEnd", 0},
    {0x38, "ProviderOverlayPlacementOpportunityStart", 0},
    {0x39, "ProviderOverlayPlacementOpportunityEnd", 0},
    {0x3A, "DistributorOverlayPlacementOpportunityStart", 0x38},
    {0x3B, "DistributorOverlayPlacementOpportunityEnd", 0x3B},
    {0x40, "UnscheduledEventStart", 0x40},
    {0x41, "UnscheduledEventEnd", 0x41},
    {0x50, "NetworkStart", 0x50},
    {0x51, "NetworkEnd", 0x51},
};

}  // namespace

TEST(SCTENames, NameEveryOperation) {
    const std::map<int, std::string> names{
        {0, "unsupported"},
        {256, "InjectSectionDataRequest"},
        {257, "SpliceRequestData"},
        {258, "SpliceNullRequestData"},
        {259, "StartScheduleDownloadRequestData"},
        {260, "TimeSignalRequestData"},
        {261, "TransmitScheduleRequestData"},
        {262, "ComponentModeDPIRequestData"},
        {263, "EncryptedDPIRequestData"},
        {264, "InsertDescriptorRequestData"},
        {265, "InsertDTMFDescriptorRequestData"},
        {266, "InsertAvailDescriptorRequestData"},
        {267, "InsertSegmentationDescriptorRequestData"},
        {268, "ProprietaryCommandRequestData"},
        {269, "ScheduleComponentModeRequestData"},
        {270, "ScheduleDefinitionData"},
        {768, "DeleteControlWordData"},
        {769, "UpdateControlWordData"},
    };
    for (int id = 0; id <= 0xFFFF; ++id) {
        const auto row = names.find(id);
        EXPECT_EQ(Operation::SCTEOperationNameWithID(static_cast<std::uint16_t>(id)),
                  row == names.end() ? "unknown" : row->second);
    }
}

TEST(SCTENames, NameSpliceTypesInTwoSpellings) {
    const char* const modes[] = {"unknown",         "spliceStartNormal",  "spliceStartImmediate",
                                 "spliceEndNormal", "spliceEndImmediate", "spliceCancel"};
    const char* const displayed[] = {"Unknown",    "Start Normal",  "Start Immediate",
                                     "End Normal", "End Immediate", "Cancel"};
    for (int type = 0; type < 256; ++type) {
        EXPECT_EQ(Operation::SCTESpliceInsertModeNameWithByte(static_cast<std::uint8_t>(type)),
                  modes[type > 5 ? 0 : type]);
        EXPECT_EQ(QLXVANCPacket::spliceTypeStringWithSpliceType(type), displayed[type > 5 ? 0 : type]);
    }
    EXPECT_EQ(QLXVANCPacket::spliceTypeStringWithSpliceType(-1), "Unknown");
    EXPECT_EQ(QLXVANCPacket::spliceTypeStringWithSpliceType(257), "Unknown");
}

TEST(SCTENames, ListSegmentationTypesInOrder) {
    std::vector<std::string> expected;
    for (const SegmentationRow& row : kSegmentationRows) {
        expected.emplace_back(row.name);
    }
    EXPECT_EQ(expected.size(), 35U);
    EXPECT_EQ(Operation::segmentationDescriptorTypeNames(), expected);
}

TEST(SCTENames, NameEverySegmentationType) {
    std::map<std::int32_t, std::string> names;
    for (const SegmentationRow& row : kSegmentationRows) {
        names[row.type] = row.name;
    }
    for (std::int32_t type = -300; type <= 600; ++type) {
        const auto row = names.find(type);
        EXPECT_EQ(Operation::SCTESegmentationDescriptorTypeNameWithByte(type),
                  row == names.end() ? "Unknown" : row->second);
    }
    EXPECT_EQ(Operation::SCTESegmentationDescriptorTypeNameWithByte(0x02), "Unknown");
    EXPECT_EQ(Operation::SCTESegmentationDescriptorTypeNameWithByte(0x52), "Unknown");
    EXPECT_EQ(Operation::SCTESegmentationDescriptorTypeNameWithByte(std::numeric_limits<std::int32_t>::min()),
              "Unknown");
    EXPECT_EQ(Operation::SCTESegmentationDescriptorTypeNameWithByte(std::numeric_limits<std::int32_t>::max()),
              "Unknown");
}

TEST(SCTENames, KeepTheMismatchesOfSegmentationNames) {
    for (const SegmentationRow& row : kSegmentationRows) {
        EXPECT_EQ(Operation::segmentationDescriptorTypeWithName(row.name), row.typeOfName) << row.name;
    }
    EXPECT_EQ(Operation::segmentationDescriptorTypeWithName("ProgramRunoverUnplanned"), 0x16);
    EXPECT_EQ(Operation::SCTESegmentationDescriptorTypeNameWithByte(0x16), "RunoverUnplanned");
    EXPECT_EQ(Operation::SCTESegmentationDescriptorTypeNameWithByte(0x3A),
              "DistributorOverlayPlacementOpportunityStart");
    EXPECT_EQ(Operation::segmentationDescriptorTypeWithName("DistributorOverlayPlacementOpportunityStart"), 0x38);
}

TEST(SCTENames, CompareSegmentationNamesExactly) {
    for (const char* const name : {"", "Unknown", "programstart", "ProgramStart ", " ProgramStart", "Program"}) {
        EXPECT_EQ(Operation::segmentationDescriptorTypeWithName(name), 0) << name;
    }
    EXPECT_EQ(Operation::segmentationDescriptorTypeWithName(std::string_view("ProgramStart\0", 13)), 0);
}

TEST(SCTENames, NameEveryUPIDType) {
    const std::vector<std::string> names{"Undefined", "UserDefined", "ISCI", "Ad-ID", "UMID", "ISAN", "V-ISAN", "TID",
                                         "TurnerID",  "ADI",         "EIDR", "ATSC",  "MPU",  "MID",  "ADS",    "URI"};
    EXPECT_EQ(Operation::SCTE35UPIDTypeNames(), names);
    for (std::size_t type = 0; type < 256; ++type) {
        EXPECT_EQ(Operation::SCTE35UPIDTypeNameWithByte(static_cast<std::uint8_t>(type)),
                  type < 16 ? names[type] : "Reserved");
    }
    for (std::size_t type = 0; type < names.size(); ++type) {
        EXPECT_EQ(Operation::SCTE35UPIDTypeWithName(names[type]), type);
    }
    for (const char* const name : {"", "Reserved", "uri", "URI ", "Ad", "Unknown"}) {
        EXPECT_EQ(Operation::SCTE35UPIDTypeWithName(name), 0U) << name;
    }
}
