#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>

#include "SCTEBytes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Operation = QLXSCTEOperation;
using Utilities = QLXSCTEUtilities;
using qlxtest::dataFromHex;
using qlxtest::ExactBuffer;
using qlxtest::hexOf;

namespace {

const std::string kSpliceMessage =
    "08 FF FF 00 1E 00 00 01 12 34 00 00 01 01 01 00 0E 01 01 02 03 04 05 06 0F A0 01 2C 00 00 01";
const std::string kSpliceData = "01 01020304 0506 0FA0 012C 00 00 01";
const std::string kDescriptorData = "00000001 00 0000 03 03 414243 30 01 02 00 00 00 00 00 03";

/// The parameters as text, "none" without any: compares whole and reads well when it differs.
std::string parsed(std::uint16_t operationID, std::string_view data) {
    const auto parameters = Operation::parametersOfSCTEOperationWithID_data(operationID, dataFromHex(data));
    return parameters ? qlx::Value(*parameters).description() : "none";
}

std::string described(const qlx::Dictionary& parameters) {
    return qlx::Value(parameters).description();
}

std::vector<std::string> messageOperations(const qlx::Data& message) {
    std::vector<std::string> result;
    for (const qlx::Dictionary& parameters : Utilities::operationsWithSCTEMessageData(message)) {
        result.push_back(described(parameters));
    }
    return result;
}

std::vector<std::string> messageOperations(std::string_view message) {
    return messageOperations(dataFromHex(message));
}

/// What a splice null or any other operation without parameters gives in a message.
std::string bare(const char* name, int asIndex, int dpiPID, int messageNumber) {
    return described(
        {{"asIndex", asIndex}, {"dpiPID", dpiPID}, {"messageNumber", messageNumber}, {"operationID", name}});
}

}  // namespace

TEST(SCTEOperationParameters, HoldEveryFieldOfASpliceRequest) {
    const auto parameters = Operation::parametersOfSCTEOperationWithID_data(257, dataFromHex(kSpliceData));
    EXPECT_EQ(parameters, (qlx::Dictionary{{"operationID", "SpliceRequestData"},
                                           {"spliceInsertType", 1},
                                           {"spliceInsertTypeName", "spliceStartNormal"},
                                           {"spliceEventID", 0x01020304},
                                           {"uniqueProgramID", 0x0506},
                                           {"preRollTime", 4000},
                                           {"breakDuration", 300},
                                           {"availNum", 0},
                                           {"availsExpected", 0},
                                           {"autoReturn", true}}));
    EXPECT_EQ(
        Operation::parametersOfSCTEOperationWithID_data(257, dataFromHex("FF FFFFFFFF FFFE FFFD FFFC FB FA 80 00")),
        (qlx::Dictionary{{"operationID", "SpliceRequestData"},
                         {"spliceInsertType", 255},
                         {"spliceInsertTypeName", "unknown"},
                         {"spliceEventID", 4294967295},
                         {"uniqueProgramID", 65534},
                         {"preRollTime", 65533},
                         {"breakDuration", 65532},
                         {"availNum", 251},
                         {"availsExpected", 250},
                         {"autoReturn", true}}));
    EXPECT_EQ(*Operation::parametersOfSCTEOperationWithID_data(257, dataFromHex("05 00000000 0000 0000 0000 00 00 00"))
                   ->find("autoReturn"),
              qlx::Value(false));
}

TEST(SCTEOperationParameters, HoldThePreRollOfATimeSignal) {
    EXPECT_EQ(Operation::parametersOfSCTEOperationWithID_data(260, dataFromHex("FEDC")),
              (qlx::Dictionary{{"operationID", "TimeSignalRequestData"}, {"preRollTime", 0xFEDC}}));
    EXPECT_EQ(parsed(260, "FEDC 00"), parsed(260, "FEDC"));
}

TEST(SCTEOperationParameters, HoldDescriptorDataOnlyWithBytesToSpare) {
    EXPECT_EQ(parsed(264, ""), "none");
    // Exactly N + 1 bytes give nothing; one more and the range is taken; a range that runs past the data is not.
    EXPECT_EQ(parsed(264, "02 AA BB"), "{operationID = InsertDescriptorRequestData}");
    EXPECT_EQ(parsed(264, "02 AA BB CC"), "{descriptorData = <aabb>; operationID = InsertDescriptorRequestData}");
    EXPECT_EQ(parsed(264, "02 AA"), "{operationID = InsertDescriptorRequestData}");
    EXPECT_EQ(parsed(264, "02"), "{operationID = InsertDescriptorRequestData}");
    EXPECT_EQ(parsed(264, "00"), "{operationID = InsertDescriptorRequestData}");
    EXPECT_EQ(parsed(264, "00 AA"), "{descriptorData = <>; operationID = InsertDescriptorRequestData}");
    EXPECT_EQ(parsed(264, "FF 01 02 03"), "{operationID = InsertDescriptorRequestData}");
}

TEST(SCTEOperationParameters, HoldDTMFCharactersOnlyWithBytesToSpare) {
    EXPECT_EQ(parsed(265, "05 00"), "none");
    // Well formed: the characters stand at offset 2, and none are given.
    EXPECT_EQ(parsed(265, "05 03 31 32 2A"), "{operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
    // One byte more: the characters from offset 3.
    EXPECT_EQ(parsed(265, "05 03 31 32 2A 23"),
              "{DTMFString = 2*#; operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
    EXPECT_EQ(parsed(265, "FF 01 31 32 2A 23"),
              "{DTMFString = 2; operationID = InsertDTMFDescriptorRequestData; preRoll = 255}");
    EXPECT_EQ(parsed(265, "05 00 31"), "{DTMFString = ; operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
    // Past the data, and not ASCII.
    EXPECT_EQ(parsed(265, "05 04 31 32 2A"), "{operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
    EXPECT_EQ(parsed(265, "05 FF 31 32 2A"), "{operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
    EXPECT_EQ(parsed(265, "05 02 31 32 80"), "{operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
    EXPECT_EQ(parsed(265, "05 02 31 32 80 23"), "{operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
    // What stands in front of offset 3 does not count.
    EXPECT_EQ(parsed(265, "05 02 80 32 7E 23"),
              "{DTMFString = 2~; operationID = InsertDTMFDescriptorRequestData; preRoll = 5}");
}

TEST(SCTEOperationParameters, HoldEveryFieldOfASegmentationDescriptor) {
    const qlx::Dictionary expected{{"operationID", "InsertSegmentationDescriptorRequestData"},
                                   {"eventID", 1},
                                   {"cancel", false},
                                   {"duration", 0},
                                   {"UPIDType", 3},
                                   {"UPIDTypeName", "Ad-ID"},
                                   {"UPID", "ABC"},
                                   {"segmentationType", 0x30},
                                   {"segmentationTypeName", "ProviderAdvertisementStart"},
                                   {"segmentNumber", 1},
                                   {"segmentsExpected", 2},
                                   {"durationExtensionFrames", 0},
                                   {"deliveryNotRestricted", false},
                                   {"webDeliveryAllowed", false},
                                   {"noRegionalBlackout", false},
                                   {"archiveAllowed", false},
                                   {"deviceRestrictions", 3}};
    EXPECT_EQ(Operation::parametersOfSCTEOperationWithID_data(267, dataFromHex(kDescriptorData)), expected);
    EXPECT_EQ(Operation::parametersOfSCTEOperationWithID_data(
                  267, dataFromHex("FFFEFDFC 80 FBFA 10 00 02 F9 F8 F7 80 00 01 02 F6 AA")),
              (qlx::Dictionary{{"operationID", "InsertSegmentationDescriptorRequestData"},
                               {"eventID", 0xFFFEFDFC},
                               {"cancel", true},
                               {"duration", 0xFBFA},
                               {"UPIDType", 16},
                               {"UPIDTypeName", "Reserved"},
                               {"UPID", ""},
                               {"segmentationType", 2},
                               {"segmentationTypeName", "Unknown"},
                               {"segmentNumber", 0xF9},
                               {"segmentsExpected", 0xF8},
                               {"durationExtensionFrames", 0xF7},
                               {"deliveryNotRestricted", true},
                               {"webDeliveryAllowed", false},
                               {"noRegionalBlackout", true},
                               {"archiveAllowed", true},
                               {"deviceRestrictions", 0xF6}}));
}

TEST(SCTEOperationParameters, ReadAnyCancelByteButZero) {
    for (const int byte : {0x00, 0x01, 0x80, 0xFF}) {
        std::vector<std::uint8_t> data = qlxtest::fromHex(kDescriptorData);
        data[4] = static_cast<std::uint8_t>(byte);
        const auto parameters = Operation::parametersOfSCTEOperationWithID_data(267, data);
        EXPECT_EQ(*parameters->find("cancel"), qlx::Value(byte != 0));
    }
}

TEST(SCTEOperationParameters, LeaveOutAUPIDThatIsNotASCII) {
    std::vector<std::uint8_t> data = qlxtest::fromHex(kDescriptorData);
    data[10] = 0x80;
    const auto parameters = Operation::parametersOfSCTEOperationWithID_data(267, data);
    EXPECT_EQ(parameters->find("UPID"), nullptr);
    EXPECT_EQ(parameters->size(), 16U);
    EXPECT_EQ(*parameters->find("segmentationType"), qlx::Value(0x30));
}

TEST(SCTEOperationParameters, NeedEveryByteOfASegmentationDescriptor) {
    for (const std::size_t length : {0U, 1U, 64U, 255U}) {
        std::vector<std::uint8_t> data = qlxtest::fromHex("00000001 00 0000 03 00");
        data[8] = static_cast<std::uint8_t>(length);
        data.insert(data.end(), length, 0x41);
        const auto tail = qlxtest::fromHex("30 01 02 00 00 00 00 00 03");
        data.insert(data.end(), tail.begin(), tail.end());
        ASSERT_EQ(data.size(), 18 + length);
        EXPECT_EQ(*Operation::parametersOfSCTEOperationWithID_data(267, data)->find("UPID"),
                  qlx::Value(std::string(length, 'A')));
        qlxtest::forEachTruncation(data, [](const ExactBuffer& shorter) {
            EXPECT_FALSE(Operation::parametersOfSCTEOperationWithID_data(267, shorter.vector())) << shorter.size();
        });
    }
}

TEST(SCTEOperationParameters, AreNoneForTooFewBytes) {
    qlxtest::forEachTruncation(qlxtest::fromHex(kSpliceData), [](const ExactBuffer& shorter) {
        EXPECT_FALSE(Operation::parametersOfSCTEOperationWithID_data(257, shorter.vector())) << shorter.size();
    });
    qlxtest::forEachTruncation(qlxtest::fromHex("FEDC"), [](const ExactBuffer& shorter) {
        EXPECT_FALSE(Operation::parametersOfSCTEOperationWithID_data(260, shorter.vector())) << shorter.size();
    });
    qlxtest::forEachTruncation(qlxtest::fromHex("05 00 31"), [](const ExactBuffer& shorter) {
        EXPECT_FALSE(Operation::parametersOfSCTEOperationWithID_data(265, shorter.vector())) << shorter.size();
    });
    constexpr std::uint16_t kWithData[] = {257, 260, 264, 265, 267};
    for (const std::uint16_t operationID : kWithData) {
        EXPECT_FALSE(Operation::parametersOfSCTEOperationWithID_data(operationID, qlx::Data())) << operationID;
    }
}

TEST(SCTEOperationParameters, AreTheNameAloneForOtherOperations) {
    for (int id = 0; id <= 0xFFFF; ++id) {
        if (id == 257 || id == 260 || id == 264 || id == 265 || id == 267) {
            continue;
        }
        const auto operationID = static_cast<std::uint16_t>(id);
        const qlx::Dictionary expected{{"operationID", Operation::SCTEOperationNameWithID(operationID)}};
        ASSERT_EQ(Operation::parametersOfSCTEOperationWithID_data(operationID, qlx::Data()), expected) << id;
    }
    EXPECT_EQ(parsed(258, "01 02 03"), "{operationID = SpliceNullRequestData}");
    EXPECT_EQ(parsed(0, "01 02 03"), "{operationID = unsupported}");
    EXPECT_EQ(parsed(1, kSpliceData), "{operationID = unknown}");
}

TEST(SCTE104MessageParsing, GivesOneDictionaryForASpliceInsert) {
    EXPECT_EQ(Utilities::operationsWithSCTEMessageData(dataFromHex(kSpliceMessage)),
              (std::vector<qlx::Dictionary>{{{"operationID", "SpliceRequestData"},
                                             {"spliceInsertType", 1},
                                             {"spliceInsertTypeName", "spliceStartNormal"},
                                             {"spliceEventID", 0x01020304},
                                             {"uniqueProgramID", 0x0506},
                                             {"preRollTime", 4000},
                                             {"breakDuration", 300},
                                             {"availNum", 0},
                                             {"availsExpected", 0},
                                             {"autoReturn", true},
                                             {"asIndex", 0},
                                             {"dpiPID", 0x1234},
                                             {"messageNumber", 1}}}));
}

TEST(SCTE104MessageParsing, PassesOverTimeStamps) {
    const std::vector<std::string> expected{bare("SpliceNullRequestData", 0xFD, 0xFBFA, 0xFC)};
    const std::string start = "08 FFFF 0000 07 FD FC FBFA 07 ";
    EXPECT_EQ(messageOperations(start + "00 01 0102 0000"), expected);
    EXPECT_EQ(messageOperations(start + "01 AAAAAAAAAAAA 01 0102 0000"), expected);
    EXPECT_EQ(messageOperations(start + "02 AAAAAAAA 01 0102 0000"), expected);
    EXPECT_EQ(messageOperations(start + "03 AAAA 01 0102 0000"), expected);
    EXPECT_EQ(messageOperations(start + "04 01 0102 0000"), expected);
    EXPECT_EQ(messageOperations(start + "FF 01 0102 0000"), expected);
}

TEST(SCTE104MessageParsing, IsCutAnywhereInATimeStamp) {
    for (const char* const message : {"08 FFFF 0000 00 01 02 0003 00 01 AAAAAAAAAAAA 01 0102 0000",
                                      "08 FFFF 0000 00 01 02 0003 00 02 AAAAAAAA 01 0102 0000",
                                      "08 FFFF 0000 00 01 02 0003 00 03 AAAA 01 0102 0000"}) {
        EXPECT_EQ(messageOperations(message).size(), 1U);
        qlxtest::forEachTruncation(qlxtest::fromHex(message), [](const ExactBuffer& shorter) {
            EXPECT_TRUE(messageOperations(shorter.vector()).empty()) << shorter.size();
        });
    }
}

TEST(SCTE104MessageParsing, NeedsDescriptorAndReservedField) {
    EXPECT_EQ(messageOperations("08 FFFF 0010 00 00 01 0000 00 00 01 0102 0000").size(), 1U);
    EXPECT_TRUE(messageOperations("09 FFFF 0010 00 00 01 0000 00 00 01 0102 0000").empty());
    EXPECT_TRUE(messageOperations("08 FEFF 0010 00 00 01 0000 00 00 01 0102 0000").empty());
    EXPECT_TRUE(messageOperations("08 FFFE 0010 00 00 01 0000 00 00 01 0102 0000").empty());
}

TEST(SCTE104MessageParsing, GivesNothingWithoutOperations) {
    EXPECT_TRUE(Utilities::operationsWithSCTEMessageData(qlx::Data()).empty());
    EXPECT_TRUE(messageOperations("").empty());
    EXPECT_TRUE(messageOperations("08 FFFF 000C 00 00 01 0000 00 00 00").empty());
    EXPECT_TRUE(messageOperations("08 FFFF 000C 00 00 01 0000 00 00 01").empty());
    EXPECT_TRUE(messageOperations("08 FFFF 0010 00 00 01 0000 00 00 00 0102 0000").empty());
}

TEST(SCTE104MessageParsing, SkipsWhatCannotBeParsed) {
    // A splice request and a segmentation descriptor that are one byte short, between two good ones.
    EXPECT_EQ(
        messageOperations("08 FFFF 0000 00 01 02 0003 00 00 05"
                          "0102 0000"
                          "0101 000D 01 01020304 0506 0FA0 012C 00 00"
                          "010B 0012 00000001 00 0000 03 01 41 30 01 02 00 00 00 00 00"
                          "0108 0000"
                          "0300 0002 AABB"),
        (std::vector<std::string>{bare("SpliceNullRequestData", 1, 3, 2), bare("DeleteControlWordData", 1, 3, 2)}));
}

TEST(SCTE104MessageParsing, EndsAtTheBuffersEnd) {
    const std::vector<std::uint8_t> message = qlxtest::fromHex("08 FFFF 0000 00 01 02 0003 00 00 03"
                                                               "0101 000E 01 01020304 0506 0FA0 012C 00 00 01"
                                                               "0104 0002 0FA0"
                                                               "0102 0000");
    ASSERT_EQ(message.size(), 41U);
    EXPECT_EQ(messageOperations(message).size(), 3U);
    qlxtest::forEachTruncation(message, [](const ExactBuffer& shorter) {
        const std::size_t expected = shorter.size() < 31 ? 0 : shorter.size() < 37 ? 1 : 2;
        EXPECT_EQ(messageOperations(shorter.vector()).size(), expected) << shorter.size();
    });
}

TEST(SCTE104MessageParsing, StopsAtAnOperationThatRunsPastTheBuffer) {
    EXPECT_EQ(messageOperations("08 FFFF 0000 00 01 02 0003 00 00 03 0102 0000 0102 FFFF 0102 0000"),
              (std::vector<std::string>{bare("SpliceNullRequestData", 1, 3, 2)}));
}

TEST(SCTE104MessageParsing, StopsAfterTheNumberOfOperations) {
    EXPECT_EQ(messageOperations("08 FFFF 0000 00 01 02 0003 00 00 01 0102 0000 0102 0000"),
              (std::vector<std::string>{bare("SpliceNullRequestData", 1, 3, 2)}));
    const qlx::Data message = Utilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
        std::vector<qlx::Data>(300, Operation::spliceNullRequestData()), 2, 1, 3);
    EXPECT_EQ(messageOperations(message), std::vector<std::string>(255, bare("SpliceNullRequestData", 1, 3, 2)));
}

TEST(SCTE104MessageParsing, ReadsBackWhatWasBuilt) {
    const std::vector<qlx::Data> operations{
        Operation::spliceRequestDataWithSpliceType_spliceEventID_programUniqueID_duration_autoReturn_preRoll(
            2, 0xFFFFFFFF, 0xABCD, 600, true, 0x8001),
        Operation::spliceNullRequestData(), Operation::timeSignalRequestDataWithPreRollTime(0xFFFF),
        Operation::insertSegmentationDescriptorRequestDataWithParameters_errorDescription(
            {{"segmentationType", 0x34},
             {"eventID", 4294967295},
             {"cancel", true},
             {"duration", 65535},
             {"UPIDType", 15},
             {"UPID", "urn:a"},
             {"segmentNumber", 1},
             {"segmentsExpected", 255},
             {"durationExtensionFrames", 24},
             {"webDeliveryAllowed", true},
             {"archiveAllowed", true},
             {"deviceRestrictions", 2}})};
    const qlx::Data message =
        Utilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(operations, 200, 100, 50000);
    const auto parameters = Utilities::operationsWithSCTEMessageData(message);
    ASSERT_EQ(parameters.size(), 4U);
    // A splice request is parsed under the names of its fields and built from others.
    const auto field = [&](const char* key) { return *parameters[0].find(key); };
    const std::vector<std::pair<std::int32_t, qlx::Dictionary>> again{{257,
                                                                       {{"spliceType", field("spliceInsertType")},
                                                                        {"eventID", field("spliceEventID")},
                                                                        {"programUniqueID", field("uniqueProgramID")},
                                                                        {"duration", field("breakDuration")},
                                                                        {"autoReturn", field("autoReturn")},
                                                                        {"preRoll", field("preRollTime")}}},
                                                                      {258, parameters[1]},
                                                                      {260, parameters[2]},
                                                                      {267, parameters[3]}};
    std::vector<qlx::Data> rebuilt;
    for (const auto& [operationID, values] : again) {
        rebuilt.push_back(
            Operation::SCTEOperationDataWithOperationType_parameters_errorDescription(operationID, values));
    }
    EXPECT_EQ(hexOf(Utilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID(
                  rebuilt, static_cast<std::uint8_t>(field("messageNumber").unsignedValue()),
                  static_cast<std::uint8_t>(field("asIndex").unsignedValue()),
                  static_cast<std::uint16_t>(field("dpiPID").unsignedValue()))),
              hexOf(message));
}
