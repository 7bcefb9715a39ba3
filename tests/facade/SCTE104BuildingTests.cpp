#include <QLXClosedCaptionsUtilities/QLXSCTEOperation.h>
#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include "SCTEBytes.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

using Operation = QLXSCTEOperation;
using Utilities = QLXSCTEUtilities;
using qlxtest::dataFromHex;
using qlxtest::hex;
using qlxtest::hexOf;

namespace {

constexpr auto kHeader = Utilities::SCTEHeaderWithMessageSize_messageNumber_numberOfOperations_asIndex_dpiPID;
constexpr auto kSpliceInsert = Utilities::
    SCTE104SpliceInsertDataWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll;
constexpr auto kMultiMessage = Utilities::SCTE104MultiMessageDataWithOperations_messageNumber_asIndex_dpiPID;
constexpr auto kSpliceRequest =
    Operation::spliceRequestDataWithSpliceType_spliceEventID_programUniqueID_duration_autoReturn_preRoll;
constexpr auto kOperationData = Operation::SCTEOperationDataWithOperationType_parameters_errorDescription;

constexpr auto kSplicePacket = QLXVANCPacket::
    SCTE104VANCPacketWithSpliceType_asIndex_dpiPID_spliceEventID_programUniqueID_duration_autoReturn_preRoll_lineNumber;

qlx::Dictionary with(qlx::Dictionary parameters, std::string_view key, qlx::Value value) {
    parameters.set(key, std::move(value));
    return parameters;
}

qlx::Dictionary without(qlx::Dictionary parameters, std::string_view key) {
    EXPECT_TRUE(parameters.erase(key));
    return parameters;
}

qlx::Dictionary requestParameters() {
    return {{"spliceType", 1}, {"eventID", 16909060}, {"programUniqueID", 0x0506},
            {"duration", 300}, {"autoReturn", true},  {"preRoll", 4000}};
}

qlx::Dictionary descriptorParameters() {
    return {{"segmentationType", 0x30}, {"eventID", 1},         {"duration", 0}, {"UPIDType", 3}, {"UPID", "ABC"},
            {"segmentNumber", 1},       {"segmentsExpected", 2}};
}

/// What is built and what is said; "untouched" when nothing is.
struct Result {
    std::string bytes;
    std::string error;

    bool operator==(const Result&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Result& result) {
    return stream << result.bytes << " / " << result.error;
}

Result request(const qlx::Dictionary& parameters) {
    std::optional<std::string> error = "untouched";
    const qlx::Data data = Operation::spliceRequestDataWithParameters_errorDescription(parameters, &error);
    EXPECT_EQ(Operation::spliceRequestDataWithParameters_errorDescription(parameters), data);
    EXPECT_EQ(kOperationData(257, parameters, nullptr), data);
    return {hexOf(data), error.value_or("none")};
}

Result descriptor(const qlx::Dictionary& parameters) {
    std::optional<std::string> error = "untouched";
    const qlx::Data data =
        Operation::insertSegmentationDescriptorRequestDataWithParameters_errorDescription(parameters, &error);
    EXPECT_EQ(Operation::insertSegmentationDescriptorRequestDataWithParameters_errorDescription(parameters), data);
    EXPECT_EQ(kOperationData(267, parameters, nullptr), data);
    return {hexOf(data), error.value_or("none")};
}

Result built(std::string_view bytes) {
    return {hex(bytes), "untouched"};
}

Result failed(std::string error) {
    return {"none", std::move(error)};
}

}  // namespace

TEST(SCTE104Message, WritesEveryFieldOfTheHeader) {
    EXPECT_EQ(hexOf(kHeader(0x1234, 0x56, 0x78, 0x9A, 0xBCDE)), hex("08 FFFF 1234 00 9A 56 BCDE 00 00 78"));
    EXPECT_EQ(hexOf(kHeader(0, 0, 0, 0, 0)), hex("08 FFFF 0000 00 00 00 0000 00 00 00"));
}

TEST(SCTE104Message, KeepsTheLowBitsOfSizeAndCount) {
    EXPECT_EQ(hexOf(kHeader(0x1'0002'0003, 1, 0x1FE, 2, 3)), hex("08 FFFF 0003 00 02 01 0003 00 00 FE"));
    EXPECT_EQ(hexOf(kHeader(std::numeric_limits<std::uint64_t>::max(), 255, 256, 255, 65535)),
              hex("08 FFFF FFFF 00 FF FF FFFF 00 00 00"));
}

TEST(SCTE104Message, StatesOnlyTheOperationsLengthInSpliceNull) {
    EXPECT_EQ(hexOf(Utilities::SCTE104SpliceNullRequestDataWithASIndex_dpiPID(2, 0)),
              hex("08 FF FF 00 04 00 02 01 00 00 00 00 01 01 02 00 00"));
    EXPECT_EQ(hexOf(Utilities::SCTE104SpliceNullRequestDataWithASIndex_dpiPID(255, 0xABCD)),
              hex("08 FF FF 00 04 00 FF 01 AB CD 00 00 01 01 02 00 00"));
}

TEST(SCTE104Message, HoldsOneSpliceInsert) {
    EXPECT_EQ(hexOf(kSpliceInsert(1, 0, 0x1234, 16909060, 0x0506, 300, true, 4000)),
              hex("08 FF FF 00 1E 00 00 01 12 34 00 00 01 01 01 00 0E 01 01 02 03 04 05 06 0F A0 01 2C 00 00 01"));
    EXPECT_EQ(hexOf(kSpliceInsert(255, 7, 0xFFFF, 0xFFFFFFFF, 0xFFFF, 0xFFFF, false, 0xFFFF)),
              hex("08 FF FF 00 1E 00 07 01 FF FF 00 00 01 01 01 00 0E FF FF FF FF FF FF FF FF FF FF FF 00 00 00"));
}

TEST(SCTE104Message, IsAHeaderAloneWhenTheSpliceInsertIsInvalid) {
    const std::string headerAlone = hex("08 FF FF 00 1E 00 03 01 12 34 00 00 01");
    EXPECT_EQ(hexOf(kSpliceInsert(0, 3, 0x1234, 1, 2, 3, true, 4)), headerAlone);
    EXPECT_EQ(hexOf(kSpliceInsert(256, 3, 0x1234, 1, 2, 3, true, 4)), headerAlone);
    EXPECT_EQ(hexOf(kSpliceInsert(-1, 3, 0x1234, 1, 2, 3, true, 4)), headerAlone);
    EXPECT_EQ(hexOf(kSpliceInsert(1, 3, 0x1234, 0x1'0000'0000, 2, 3, true, 4)), headerAlone);
    EXPECT_EQ(hexOf(kSpliceInsert(1, 3, 0x1234, 1, 65536, 3, true, 4)), headerAlone);
}

TEST(SCTE104Message, AppendsOperationsInOrder) {
    EXPECT_EQ(hexOf(kMultiMessage({Operation::timeSignalRequestDataWithPreRollTime(0x0102),
                                   Operation::spliceNullRequestData(), dataFromHex("0109 0001 7F")},
                                  9, 8, 0x0607)),
              hex("08 FFFF 001B 00 08 09 0607 00 00 03  0104 0002 0102  0102 0000  0109 0001 7F"));
}

TEST(SCTE104Message, IsAHeaderWithoutOperations) {
    EXPECT_EQ(hexOf(kMultiMessage({}, 1, 2, 3)), hex("08 FFFF 000C 00 02 01 0003 00 00 00"));
}

TEST(SCTE104Message, SaturatesTheCountAndAppendsEverything) {
    for (const std::size_t count : {254U, 255U, 256U, 300U}) {
        const qlx::Data message =
            kMultiMessage(std::vector<qlx::Data>(count, Operation::spliceNullRequestData()), 1, 0, 0);
        std::vector<std::uint8_t> expected = qlxtest::fromHex("08 FFFF 0000 00 00 01 0000 00 00 00");
        expected[3] = static_cast<std::uint8_t>((12 + 4 * count) / 256);
        expected[4] = static_cast<std::uint8_t>((12 + 4 * count) % 256);
        expected[12] = count < 255 ? static_cast<std::uint8_t>(count) : 255;
        for (std::size_t index = 0; index < count; ++index) {
            expected.insert(expected.end(), {0x01, 0x02, 0x00, 0x00});
        }
        EXPECT_EQ(hexOf(message), qlxtest::toHex(expected)) << count;
    }
}

TEST(SCTE104Message, WrapsItsSizeAround) {
    // 12 + 65530 = 65542 = 0x10006
    const qlx::Data message = kMultiMessage({qlx::Data::zeros(65530)}, 1, 0, 0);
    EXPECT_EQ(message.size(), 65543U);
    EXPECT_EQ(qlxtest::toHex(std::span(message).first(13)), hex("08 FFFF 0006 00 00 01 0000 00 00 01"));
}

TEST(SCTE104Message, TakesAnAbsentOperationForAnEmptyOne) {
    EXPECT_EQ(hexOf(kMultiMessage({qlx::Data(), Operation::spliceNullRequestData()}, 1, 0, 0)),
              hex("08 FFFF 0010 00 00 01 0000 00 00 02 0102 0000"));
}

TEST(SCTEOperation, KeepsItsOperationID) {
    Operation operation;
    EXPECT_EQ(operation.operationID(), 0U);
    operation.setOperationID(0xFFFF);
    EXPECT_EQ(operation.operationID(), 0xFFFFU);
}

TEST(SCTEOperation, BuildsTheFixedOperations) {
    EXPECT_EQ(hexOf(Operation::spliceNullRequestData()), hex("0102 0000"));
    EXPECT_EQ(hexOf(Operation::timeSignalRequestDataWithPreRollTime(0)), hex("0104 0002 0000"));
    EXPECT_EQ(hexOf(Operation::timeSignalRequestDataWithPreRollTime(0xFEDC)), hex("0104 0002 FEDC"));
}

TEST(SCTEOperation, BuildsSpliceRequestFromArguments) {
    EXPECT_EQ(hexOf(kSpliceRequest(5, 0, 0, 0, false, 0)), hex("0101 000E 05 00000000 0000 0000 0000 00 00 00"));
    EXPECT_EQ(hexOf(kSpliceRequest(255, 0xFFFFFFFF, 0xFFFF, 0xABCD, true, 0x1234)),
              hex("0101 000E FF FFFFFFFF FFFF 1234 ABCD 00 00 01"));
    EXPECT_EQ(hexOf(kSpliceRequest(0, 1, 1, 1, true, 1)), "none");
    EXPECT_EQ(hexOf(kSpliceRequest(256, 1, 1, 1, true, 1)), "none");
    EXPECT_EQ(hexOf(kSpliceRequest(-255, 1, 1, 1, true, 1)), "none");
    EXPECT_EQ(hexOf(kSpliceRequest(1, 0x1'0000'0000, 1, 1, true, 1)), "none");
    EXPECT_EQ(hexOf(kSpliceRequest(1, std::numeric_limits<std::uint64_t>::max(), 1, 1, true, 1)), "none");
    EXPECT_EQ(hexOf(kSpliceRequest(1, 1, 0x1'0000, 1, true, 1)), "none");
    EXPECT_EQ(hexOf(kSpliceRequest(1, 1, std::numeric_limits<std::uint64_t>::max(), 1, true, 1)), "none");
}

TEST(SpliceRequestParameters, BecomeBytes) {
    EXPECT_EQ(request(requestParameters()), built("0101 000E 01 01020304 0506 0FA0 012C 00 00 01"));
    EXPECT_EQ(request({{"spliceType", 4}, {"eventID", 0}, {"programUniqueID", 0}}),
              built("0101 000E 04 00000000 0000 0000 0000 00 00 00"));
}

TEST(SpliceRequestParameters, KeepTheLowBitsOfDurationAndPreRoll) {
    // 70000 = 0x11170; -2 has the low bits FFFE.
    EXPECT_EQ(request(with(with(requestParameters(), "duration", 70000), "preRoll", -2)),
              built("0101 000E 01 01020304 0506 FFFE 1170 00 00 01"));
}

TEST(SpliceRequestParameters, AreReadLeniently) {
    EXPECT_EQ(request({{"spliceType", " 2x"},
                       {"eventID", "4294967295"},
                       {"programUniqueID", 6.9},
                       {"duration", "12"},
                       {"autoReturn", "yes"},
                       {"preRoll", true}}),
              built("0101 000E 02 FFFFFFFF 0006 0001 000C 00 00 01"));
}

TEST(SpliceRequestParameters, RefuseInvalidSpliceTypes) {
    const Result failure = failed("Invalid or missing splice Type");
    for (const qlx::Value& value : {qlx::Value(0), qlx::Value(256), qlx::Value(-1), qlx::Value("none"), qlx::Value()}) {
        EXPECT_EQ(request(with(requestParameters(), "spliceType", value)), failure) << value.description();
    }
    EXPECT_EQ(request(without(requestParameters(), "spliceType")), failure);
    EXPECT_EQ(request({}), failure);
    EXPECT_EQ(request(with(requestParameters(), "spliceType", 255)),
              built("0101 000E FF 01020304 0506 0FA0 012C 00 00 01"));
}

TEST(SpliceRequestParameters, RefuseInvalidEventIDs) {
    const Result failure = failed("Invalid or missing event ID");
    for (const qlx::Value& value : {qlx::Value(4294967296), qlx::Value(-1), qlx::Value()}) {
        EXPECT_EQ(request(with(requestParameters(), "eventID", value)), failure) << value.description();
    }
    EXPECT_EQ(request(without(requestParameters(), "eventID")), failure);
    EXPECT_EQ(request(without(without(requestParameters(), "eventID"), "programUniqueID")), failure);
    EXPECT_EQ(request(with(requestParameters(), "eventID", 0)), built("0101 000E 01 00000000 0506 0FA0 012C 00 00 01"));
}

TEST(SpliceRequestParameters, RefuseInvalidProgramIDs) {
    const Result failure = failed("Invalid or missing program unique ID");
    for (const qlx::Value& value : {qlx::Value(65536), qlx::Value(-1), qlx::Value()}) {
        EXPECT_EQ(request(with(requestParameters(), "programUniqueID", value)), failure) << value.description();
    }
    EXPECT_EQ(request(without(requestParameters(), "programUniqueID")), failure);
    EXPECT_EQ(request(with(requestParameters(), "programUniqueID", 65535)),
              built("0101 000E 01 01020304 FFFF 0FA0 012C 00 00 01"));
}

TEST(SCTEOperationData, IsChosenByOperationID) {
    EXPECT_EQ(hexOf(kOperationData(257, requestParameters(), nullptr)),
              hex("0101 000E 01 01020304 0506 0FA0 012C 00 00 01"));
    EXPECT_EQ(hexOf(kOperationData(258, requestParameters(), nullptr)), hex("0102 0000"));
    EXPECT_EQ(hexOf(kOperationData(260, {{"preRollTime", 0x12345}}, nullptr)), hex("0104 0002 2345"));
    EXPECT_EQ(hexOf(kOperationData(260, {{"preRollTime", -1}}, nullptr)), hex("0104 0002 FFFF"));
    EXPECT_EQ(hexOf(kOperationData(260, {}, nullptr)), hex("0104 0002 0000"));
    EXPECT_EQ(hexOf(kOperationData(267, descriptorParameters(), nullptr)),
              hex("01 0B 00 15 00 00 00 01 00 00 00 03 03 41 42 43 30 01 02 00 00 00 00 00 03"));
}

TEST(SCTEOperationData, LeavesTheErrorUntouchedOnSuccess) {
    std::optional<std::string> error = "untouched";
    for (const std::int32_t operationID : {257, 258, 260}) {
        EXPECT_TRUE(kOperationData(operationID, requestParameters(), &error));
        EXPECT_EQ(error, "untouched");
    }
    EXPECT_TRUE(kOperationData(267, descriptorParameters(), &error));
    EXPECT_EQ(error, "untouched");
}

TEST(SCTEOperationData, ComparesTheOperationIDWhole) {
    for (const std::int32_t operationID : {0, 256, 259, 261, 266, 268, 65536 + 257, 65536 + 258, 65536 + 267, -257}) {
        std::optional<std::string> error;
        EXPECT_EQ(hexOf(kOperationData(operationID, requestParameters(), &error)), "none") << operationID;
        EXPECT_EQ(error, "Unsupported Operation Type") << operationID;
        EXPECT_EQ(hexOf(kOperationData(operationID, requestParameters(), nullptr)), "none") << operationID;
    }
}

TEST(SCTEOperationData, PassesTheErrorOn) {
    std::optional<std::string> error;
    EXPECT_EQ(hexOf(kOperationData(257, {}, &error)), "none");
    EXPECT_EQ(error, "Invalid or missing splice Type");
    EXPECT_EQ(hexOf(kOperationData(267, {}, &error)), "none");
    EXPECT_EQ(error, "Invalid Segmentation Type");
}

TEST(SegmentationDescriptorParameters, BecomeBytes) {
    EXPECT_EQ(descriptor(descriptorParameters()),
              built("01 0B 00 15 00 00 00 01 00 00 00 03 03 41 42 43 30 01 02 00 00 00 00 00 03"));
    EXPECT_EQ(descriptor(with(descriptorParameters(), "cancel", true)),
              built("01 0B 00 15 00 00 00 01 80 00 00 03 03 41 42 43 30 01 02 00 00 00 00 00 03"));
    EXPECT_EQ(descriptor({{"segmentationType", 1}, {"eventID", 4294967295}, {"UPID", ""}}),
              built("010B 0012 FFFFFFFF 00 0000 00 00 01 00 00 00 00 00 00 00 03"));
    EXPECT_EQ(descriptor({{"segmentationType", 255},
                          {"eventID", 0x01020304},
                          {"cancel", 1},
                          {"duration", 65535},
                          {"UPIDType", 255},
                          {"UPID", "z"},
                          {"segmentNumber", 255},
                          {"segmentsExpected", 254},
                          {"durationExtensionFrames", 253},
                          {"deviceRestrictions", 255}}),
              built("010B 0013 01020304 80 FFFF FF 01 7A FF FF FE FD 00 00 00 00 FF"));
}

TEST(SegmentationDescriptorParameters, WriteEachFlagInItsPlace) {
    const qlx::Dictionary base{{"segmentationType", 1}, {"eventID", 1}, {"UPID", ""}, {"deviceRestrictions", 0}};
    const std::string start = "010B 0012 00000001 00 0000 00 00 01 00 00 00 ";
    EXPECT_EQ(descriptor(with(base, "deliveryNotRestricted", true)), built(start + "01 00 00 00 00"));
    EXPECT_EQ(descriptor(with(base, "webDeliveryAllowed", true)), built(start + "00 01 00 00 00"));
    EXPECT_EQ(descriptor(with(base, "noRegionalBlackout", true)), built(start + "00 00 01 00 00"));
    EXPECT_EQ(descriptor(with(base, "archiveAllowed", true)), built(start + "00 00 00 01 00"));
    EXPECT_EQ(descriptor(base), built(start + "00 00 00 00 00"));
}

TEST(SegmentationDescriptorParameters, LookOnlyAtTheLowByteOfTheType) {
    const Result failure = failed("Invalid Segmentation Type");
    EXPECT_EQ(descriptor(without(descriptorParameters(), "segmentationType")), failure);
    EXPECT_EQ(descriptor(with(descriptorParameters(), "segmentationType", 0)), failure);
    EXPECT_EQ(descriptor(with(descriptorParameters(), "segmentationType", 256)), failure);
    EXPECT_EQ(descriptor(with(descriptorParameters(), "segmentationType", -256)), failure);
    EXPECT_EQ(descriptor({}), failure);
    EXPECT_EQ(descriptor(with(descriptorParameters(), "segmentationType", 257)),
              built("01 0B 00 15 00 00 00 01 00 00 00 03 03 41 42 43 01 01 02 00 00 00 00 00 03"));
    EXPECT_EQ(descriptor(with(descriptorParameters(), "segmentationType", -1)),
              built("01 0B 00 15 00 00 00 01 00 00 00 03 03 41 42 43 FF 01 02 00 00 00 00 00 03"));
}

TEST(SegmentationDescriptorParameters, AreRefusedOutOfRange) {
    const struct {
        const char* key;
        std::int64_t limit;
        const char* error;
    } rows[] = {
        {"eventID", 4294967296, "Invalid Event ID"},
        {"duration", 65536, "Invalid Duration"},
        {"segmentNumber", 256, "Invalid Segment Number"},
        {"segmentsExpected", 256, "Invalid Segments Expected Number"},
        {"durationExtensionFrames", 256, "Invalid Duration Extension Frames"},
        {"deviceRestrictions", 256, "Invalid Device Restrictions"},
        {"UPIDType", 256, "Invalid UPID Type"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(descriptor(with(descriptorParameters(), row.key, row.limit)), failed(row.error));
        EXPECT_EQ(descriptor(with(descriptorParameters(), row.key, -1)), failed(row.error));
        EXPECT_EQ(descriptor(with(descriptorParameters(), row.key, row.limit - 1)).error, "untouched") << row.key;
    }
    EXPECT_EQ(descriptor(with(descriptorParameters(), "eventID", 0)), failed("Invalid Event ID"));
    EXPECT_EQ(descriptor(without(descriptorParameters(), "eventID")), failed("Invalid Event ID"));
    EXPECT_EQ(descriptor(without(descriptorParameters(), "UPID")), failed("UPID is missing"));
    EXPECT_EQ(descriptor(with(descriptorParameters(), "UPID", qlx::Value())), failed("UPID is missing"));
}

TEST(SegmentationDescriptorParameters, AreCheckedInOrder) {
    qlx::Dictionary parameters{{"segmentationType", 0},     {"eventID", 0},
                               {"duration", 65536},         {"segmentNumber", 256},
                               {"segmentsExpected", 256},   {"durationExtensionFrames", 256},
                               {"deviceRestrictions", 256}, {"UPIDType", 256}};
    const std::pair<const char*, const char*> steps[] = {
        {"segmentationType", "Invalid Segmentation Type"},
        {"eventID", "Invalid Event ID"},
        {"duration", "Invalid Duration"},
        {"segmentNumber", "Invalid Segment Number"},
        {"segmentsExpected", "Invalid Segments Expected Number"},
        {"durationExtensionFrames", "Invalid Duration Extension Frames"},
        {"deviceRestrictions", "Invalid Device Restrictions"},
        {"UPIDType", "Invalid UPID Type"},
    };
    for (const auto& [key, error] : steps) {
        EXPECT_EQ(descriptor(parameters), failed(error));
        parameters.set(key, 1);
    }
    EXPECT_EQ(descriptor(parameters), failed("UPID is missing"));
    parameters.set("UPID", "");
    EXPECT_EQ(descriptor(parameters), built("010B 0012 00000001 00 0001 01 00 01 01 01 01 00 00 00 00 01"));
}

namespace {

/// The UPID's bytes in an operation, as digits.
std::string upidOf(const std::string& text) {
    const qlx::Data data = Operation::insertSegmentationDescriptorRequestDataWithParameters_errorDescription(
        with(descriptorParameters(), "UPID", text));
    const std::size_t length = data[12];
    EXPECT_EQ(data.size(), 22 + length);
    EXPECT_EQ(data[2] * 256U + data[3], 18 + length);
    EXPECT_EQ(data[13 + length], 0x30);
    return qlxtest::toHex(std::span(data).subspan(13, length));
}

std::string repeated(std::size_t count, std::string_view digits) {
    std::string result;
    for (std::size_t index = 0; index < count; ++index) {
        result += digits;
    }
    return result;
}

}  // namespace

TEST(SegmentationDescriptorUPID, IsCutFrom65CharactersOn) {
    EXPECT_EQ(upidOf(std::string(63, 'a')), repeated(63, "61"));
    EXPECT_EQ(upidOf(std::string(64, 'a')), repeated(64, "61"));
    EXPECT_EQ(upidOf(std::string(65, 'a')), repeated(63, "61"));
    EXPECT_EQ(upidOf(std::string(70, 'a')), repeated(63, "61"));
    EXPECT_EQ(upidOf(std::string(100000, 'a')), repeated(63, "61"));
}

TEST(SegmentationDescriptorUPID, IsEmptyWhenNotASCII) {
    EXPECT_EQ(upidOf("caf\xC3\xA9"), "");
    EXPECT_EQ(upidOf("\xFF"), "");
    EXPECT_EQ(upidOf(std::string("\x00\x7F", 2)), "007f");
    // Cut first: what is not ASCII behind the cut does not count.
    EXPECT_EQ(upidOf(std::string(64, 'a') + "\xC3\xA9"), repeated(63, "61"));
    EXPECT_EQ(upidOf(std::string(63, 'a') + "\xC3\xA9" + "a"), repeated(63, "61"));
    EXPECT_EQ(upidOf(std::string(62, 'a') + "\xC3\xA9" + "aa"), "");
    // 64 characters in 65 bytes are not cut; one beyond the basic plane counts as two.
    EXPECT_EQ(upidOf(std::string(63, 'a') + "\xC3\xA9"), "");
    EXPECT_EQ(upidOf(std::string(63, 'a') + "\xF0\x9F\x98\x80"), repeated(63, "61"));
}

TEST(SegmentationDescriptorUPID, MayBeANumber) {
    EXPECT_EQ(upidOf("120"), "313230");
    EXPECT_EQ(descriptor(with(descriptorParameters(), "UPID", 120)),
              built("01 0B 00 15 00 00 00 01 00 00 00 03 03 31 32 30 30 01 02 00 00 00 00 00 03"));
}

TEST(SCTE104Packet, WrapsAMessage) {
    const qlx::Data message = dataFromHex("08 FFFF 000C 00 02 01 0003 00 00 00");
    const auto packet = QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(message, 0x1'0000'000D);
    EXPECT_EQ(packet->packetType(), 4U);
    EXPECT_EQ(packet->packetDID(), 0x41U);
    EXPECT_EQ(packet->packetSDID(), 0x07U);
    EXPECT_EQ(packet->lineNumber(), 0x1'0000'000DU);
    EXPECT_EQ(packet->packetData(), message);
    EXPECT_EQ(QLXVANCPacket::nameOfPacketType(packet->packetType()), "SCTE104");
    EXPECT_FALSE(QLXVANCPacket::SCTE104PacketDataWithData_lineNumber(qlx::Data(), 1)->packetData());
}

TEST(SCTE104Packet, HoldsASpliceInsert) {
    const auto packet = kSplicePacket(1, 0, 0x1234, 16909060, 0x0506, 300, true, 4000, 13);
    EXPECT_EQ(hexOf(packet->packetData()),
              hex("08 FF FF 00 1E 00 00 01 12 34 00 00 01 01 01 00 0E 01 01 02 03 04 05 06 0F A0 01 2C 00 00 01"));
    EXPECT_EQ(packet->packetType(), 4U);
    EXPECT_EQ(packet->packetDID(), 0x41U);
    EXPECT_EQ(packet->packetSDID(), 0x07U);
    EXPECT_EQ(packet->lineNumber(), 13U);
}

TEST(SCTE104Packet, HoldsSeveralOperations) {
    const auto packet = QLXVANCPacket::SCTE104VANCPacketWithOperations_messageNumber_asIndex_dpiPID_lineNumber(
        {Operation::spliceNullRequestData()}, 0x1FE, 5, 6, 11);
    EXPECT_EQ(hexOf(packet->packetData()), hex("08 FFFF 0010 00 05 FE 0006 00 00 01 0102 0000"));
    EXPECT_EQ(packet->packetType(), 4U);
    EXPECT_EQ(packet->packetDID(), 0x41U);
    EXPECT_EQ(packet->packetSDID(), 0x07U);
    EXPECT_EQ(packet->lineNumber(), 11U);
}

TEST(SCTE104Packet, IsNotMadeFromSCTE35) {
    EXPECT_EQ(QLXVANCPacket::SCTE104PacketDataWithSCTE35Data(qlx::Data{0xFC}), nullptr);
    EXPECT_EQ(QLXVANCPacket::SCTE104PacketDataWithSCTE35Data(qlx::Data()), nullptr);
}
