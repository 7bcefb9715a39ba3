// qlxcc scte104 and scte35: messages from options and JSON, what they hold, and their sections.
#include "AncBytes.h"
#include "SCTESupport.h"
#include "ToolRunner.h"
#include "streams/SCTE104Message.h"

#include <QLXClosedCaptionsUtilities/QLXSCTEUtilities.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

using qlxtest::ancSamples;
using qlxtest::Arguments;
using qlxtest::build;
using qlxtest::fromHex;
using qlxtest::isOneMessage;
using qlxtest::joined;
using qlxtest::kAncKeyHex;
using qlxtest::kSegmentation;
using qlxtest::kSegmentationArguments;
using qlxtest::kSplice;
using qlxtest::kSpliceArguments;
using qlxtest::kSpliceNull;
using qlxtest::outputOf;
using qlxtest::runTool;
using qlxtest::TemporaryFolder;
using qlxtest::ToolResult;
using qlxtest::v210Row;

TEST(SCTE104Build, WritesTheBytesOfASpliceRequest) {
    EXPECT_EQ(outputOf(build(kSpliceArguments)), kSplice + "\n");
}

TEST(SCTE104Build, GivesEachSpliceItsType) {
    const std::vector<std::pair<std::string, std::string>> types{{"splice-start", "01"},
                                                                 {"splice-start-immediate", "02"},
                                                                 {"splice-end", "03"},
                                                                 {"splice-end-immediate", "04"},
                                                                 {"splice-cancel", "05"}};
    for (const auto& [name, type] : types) {
        EXPECT_EQ(outputOf(build({name, "--event-id", "0xFFFFFFFF"})),
                  "08ffff001e00000100000000010101000e" + type + "ffffffff00000000000000" + "0000\n");
    }
}

TEST(SCTE104Build, WritesTheOtherOperations) {
    EXPECT_EQ(outputOf(build({"splice-null"})), kSpliceNull + "\n");
    EXPECT_EQ(outputOf(build({"splice-null", "--message-number", "255", "--as-index", "3"})),
              "08ffff00100003ff000000000101020000\n");
    EXPECT_EQ(outputOf(build({"time-signal", "--pre-roll", "4000"})), "08ffff0012000001000000000101040002"
                                                                      "0fa0\n");
    EXPECT_EQ(outputOf(build(kSegmentationArguments)), "08ffff00250000010000000001" + kSegmentation + "\n");
}

TEST(SCTE104Build, WritesEveryFieldOfASegmentationDescriptor) {
    EXPECT_EQ(outputOf(build({"segmentation",
                              "--event-id",
                              "9",
                              "--segmentation-type",
                              "0x22",
                              "--duration",
                              "300",
                              "--upid-type",
                              "15",
                              "--upid",
                              "ab",
                              "--segment",
                              "3",
                              "--segments",
                              "4",
                              "--extension-frames",
                              "5",
                              "--cancel",
                              "--delivery-not-restricted",
                              "--web-delivery-allowed",
                              "--no-regional-blackout",
                              "--archive-allowed",
                              "--device-restrictions",
                              "2"})),
              "08ffff00240000010000000001"
              "010b00140000000980012c0f0261622203040501010101"
              "02\n");
}

TEST(SCTE104Build, PutsSeveralOperationsIntoOneMessage) {
    Arguments arguments{"time-signal"};
    arguments.insert(arguments.end(), kSegmentationArguments.begin(), kSegmentationArguments.end());
    EXPECT_EQ(outputOf(build(arguments)), "08ffff002b0000010000000002010400020000" + kSegmentation + "\n");
}

TEST(SCTE104Build, TakesTypesByTheNamesThatListingsShow) {
    const std::vector<std::pair<std::string, std::string>> types{{"RunoverUnplanned", "16"},
                                                                 {"ProgramRunoverUnplanned", "16"},
                                                                 {"DistributorPlacementOpportunityStart", "36"},
                                                                 {"ProviderOverlayPlacementOpportunityStart", "38"},
                                                                 {"DistributorOverlayPlacementOpportunityStart", "3a"},
                                                                 {"NetworkEnd", "51"}};
    for (const auto& [name, type] : types) {
        EXPECT_EQ(outputOf(build({"segmentation", "--event-id", "1", "--segmentation-type", name})),
                  "08ffff00220000010000000001010b001200000001000000" + std::string("0000") + type +
                      "0000000000000003\n");
    }
}

TEST(SCTE104Build, WritesBytesElementsAndRows) {
    const TemporaryFolder folder;
    const std::vector<std::uint8_t> message = fromHex(kSpliceNull);
    const std::string raw(message.begin(), message.end());
    EXPECT_EQ(outputOf(build({"splice-null", "-o", folder.path("a.raw")})), "");
    EXPECT_EQ(folder.read("a.raw"), raw);
    EXPECT_EQ(outputOf(build({"splice-null", "--format", "raw"})), raw);
    EXPECT_EQ(outputOf(build({"splice-null", "-o", folder.path("a.hex")})), "");
    EXPECT_EQ(folder.read("a.hex"), kSpliceNull + "\n");

    // Count; line, wrapping, coding, samples, array; DID, SDID, DC and data, which are whole 4 bytes.
    const auto element =
        joined({kAncKeyHex, "83 000024", "0001 000d 01 04 0014 00000014 00000001 41 07 11", kSpliceNull});
    EXPECT_EQ(outputOf(build({"splice-null", "--format", "klv"})), std::string(element.begin(), element.end()));
    const auto otherLine =
        joined({kAncKeyHex, "83 000024", "0001 0009 01 04 0014 00000014 00000001 41 07 11", kSpliceNull});
    EXPECT_EQ(outputOf(build({"splice-null", "--format", "klv", "--line", "9"})),
              std::string(otherLine.begin(), otherLine.end()));

    const auto row = v210Row(8, ancSamples(0x41, 0x07, message));
    EXPECT_EQ(outputOf(build({"splice-null", "--format", "v210", "--width", "48"})),
              std::string(row.begin(), row.end()));
    EXPECT_EQ(outputOf(build({"splice-null", "--format", "v210"})).size(), 5120U);
}

TEST(SCTE104Build, PutsALongMessageIntoSeveralPackets) {
    const TemporaryFolder folder;
    std::string operations;
    for (int index = 0; index < 14; ++index) {
        operations += std::string(index == 0 ? "" : ",") +
                      R"({"operationID":257,"spliceType":1,"eventID":1,"programUniqueID":1})";
    }
    // 12 + 14 x 18 = 264 bytes behind the payload descriptor, of which the first packet has 254.
    const std::string json = "[" + operations + "]";
    const std::string message = outputOf(build({"--json-file", "-"}), json);
    EXPECT_EQ(message.size(), 531U);
    const std::string file = folder.path("a.klv");
    EXPECT_EQ(outputOf(build({"--json-file", "-", "-o", file}), json), "");
    const std::string listed = outputOf({"scan", file});
    EXPECT_NE(listed.find("255  0c" + message.substr(2, 508) + "\n"), std::string::npos) << listed;
    EXPECT_NE(listed.find("11  0a" + message.substr(510, 20) + "\n"), std::string::npos) << listed;
    const std::string again = outputOf({"scte104", "parse", file, "--json"});
    EXPECT_EQ(outputOf(build({"--json-file", "-"}), again), message);
}

TEST(SCTE104Build, RefusesWhatNoMessageHolds) {
    std::string nulls = R"({"operationID":258})";
    for (int index = 1; index < 256; ++index) {
        nulls += R"(,{"operationID":258})";
    }
    const ToolResult many = runTool(build({"--json-file", "-"}), {.input = "[" + nulls + "]"});
    EXPECT_EQ(many.exitCode, 1);
    EXPECT_EQ(many.err, "qlxcc: 256 operations: a message has at most 255\n");
}

TEST(SCTE104Build, ReadsSeveralOperationsFromJSON) {
    const TemporaryFolder folder;
    const std::string file =
        folder.write("a.json", R"({"messageNumber":7,"asIndex":2,"dpiPID":4660,"operations":[)"
                               R"({"operationID":"SpliceRequestData","spliceType":"spliceEndNormal",)"
                               R"("eventID":1,"programUniqueID":2,"duration":3,"preRoll":4,)"
                               R"("autoReturn":false},{"operationID":258},)"
                               R"({"operationID":260,"preRollTime":5}]})");
    const std::string operations = "0101000e03000000010002000400030000"
                                   "00"
                                   "01020000"
                                   "010400020005";
    EXPECT_EQ(outputOf(build({"--json-file", file})), "08ffff0028000207123400000"
                                                      "3" +
                                                          operations + "\n");
    EXPECT_EQ(outputOf(build({"--json-file", file, "--message-number", "8", "--as-index", "0", "--dpi-pid", "1"})),
              "08ffff00280000080001000003" + operations + "\n");
}

TEST(SCTE104Build, BuildsAgainWhatParseHasPrinted) {
    Arguments several{"splice-start", "splice-null", "time-signal"};
    several.insert(several.end(), kSegmentationArguments.begin(), kSegmentationArguments.end());
    for (const Arguments& arguments :
         std::vector<Arguments>{kSpliceArguments, kSegmentationArguments, {"splice-null"}, several}) {
        const std::string message = outputOf(build(arguments));
        // A segmentation alone has nothing to add to, and that is said.
        const ToolResult parsed = runTool({"scte104", "parse", "-", "--json"}, {.input = message});
        EXPECT_EQ(parsed.exitCode, 0);
        EXPECT_EQ(outputOf(build({"--json-file", "-"}), parsed.out), message);
    }
}

TEST(SCTE104Build, ReadsWhatVersionsBeforePrinted) {
    const std::string json = R"({"asIndex":0,"dpiPID":4660,"messageNumber":1,"operations":[{"autoReturn":true,)"
                             R"("availNum":0,"availsExpected":0,"breakDuration":300,"opID":257,)"
                             R"("operationID":"SpliceRequestData","preRollTime":4000,"spliceEventID":16909060,)"
                             R"("spliceInsertType":1,"spliceInsertTypeName":"spliceStartNormal",)"
                             R"("uniqueProgramID":1286}]})";
    EXPECT_EQ(outputOf(build({"--json-file", "-"}), json), kSplice + "\n");
}

TEST(SCTE104Build, AsksForSections) {
    const TemporaryFolder folder;
    // The section of kSplice in a frame of PTS 4294967296.
    const std::string section = outputOf({"scte35", kSplice, "--pts", "4294967296", "--to-format", "base64"});
    const std::string file = folder.write("a.txt", section);
    EXPECT_EQ(outputOf(build({"--from-scte35", file, "--pts", "4294967296", "--dpi-pid", "0x1234"})), kSplice + "\n");
    EXPECT_EQ(outputOf(build({"--from-scte35", "-", "--pts", "0x100000000", "--dpi-pid", "0x1234"}), section),
              kSplice + "\n");
    const ToolResult late = runTool(build({"--from-scte35", file, "--pts", "4295327386"}));
    EXPECT_EQ(late.exitCode, 1);
    EXPECT_EQ(late.err, "qlxcc: " + file + ": section 1: splice -1 ms behind the frame: a pre-roll has 0 to 65535\n");
    const ToolResult rounded = runTool(build({"--from-scte35", file, "--pts", "4294967297", "--dpi-pid", "0x1234"}));
    EXPECT_EQ(rounded.out, kSplice + "\n");
    EXPECT_EQ(rounded.err, "qlxcc: warning: " + file +
                               ": section 1: splice 359999 ticks behind the frame: the pre-roll has 360000, whole "
                               "milliseconds\n");
}

TEST(SCTE104Parse, ReadsSingleOperationMessages) {
    // alive_request_data with a time: 13 bytes of header and 8 of data.
    const std::string message = "00030015ffffffff00010200000000000100000002";
    EXPECT_EQ(outputOf({"scte104", "parse", message}),
              "message 2, AS index 1, DPI PID 0, result 65535, 21 bytes\n  opID 3 (system)\n");
    const std::string json = outputOf({"scte104", "parse", message, "--json"});
    EXPECT_NE(json.find(R"("time":{"microseconds":2,"seconds":1})"), std::string::npos) << json;
    EXPECT_EQ(outputOf(build({"--json-file", "-"}), json), message + "\n");
}

class BrokenJson : public ::testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(BrokenJson, GivesOneMessageWithItsPlace) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a.json", GetParam().first);
    const ToolResult result = runTool(build({"--json-file", file, "-o", folder.path("a.klv")}));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "qlxcc: " + file + ": " + GetParam().second + "\n");
    EXPECT_EQ(folder.names(), Arguments{"a.json"});
}

INSTANTIATE_TEST_SUITE_P(
    Files, BrokenJson,
    ::testing::Values(
        std::pair("", "byte 0: the file is empty"), std::pair("[", "line 1: not JSON: the text ends too early"),
        std::pair("7", "the JSON is no array of operations, and has no array \"operations\""),
        std::pair("[]", "the JSON has no operation"), std::pair("[7]", "operation 1: no object"),
        std::pair(R"({"dpiPid":1,"operations":[]})", "unknown key \"dpiPid\""),
        std::pair(R"({"dpiPID":65536,"operations":[]})", "\"dpiPID\" must be a whole number from 0 to 65535"),
        std::pair(R"([{"operationID":258},{"operationID":259}])",
                  "operation 2: this \"operationID\" cannot be built (possible: SpliceRequestData, "
                  "SpliceNullRequestData, TimeSignalRequestData, InsertSegmentationDescriptorRequestData)"),
        std::pair(R"({"operations":[{"opID":260,"preRollTime":1,"opID":258}]})",
                  "an object has the key \"opID\" twice"),
        std::pair("[{\"opID\":258}]\n\n[\n", "line 4: not JSON: the text ends too early"),
        std::pair("{\"operations\":[]}\n{\"operations\":[7]}", "message 2: operation 1: no object"),
        std::pair("{\"opID\":258}\n{\"operations\":[]}",
                  "message 1: the JSON is no array of operations, and has no array \"operations\""),
        std::pair(R"([{"operationID":257,"spliceType":1,"programUniqueID":1}])",
                  "operation 1: Invalid or missing event ID"),
        std::pair(R"([{"operationID":257,"spliceType":1,"eventID":1,"programUniqueID":1,"duratoin":1}])",
                  "operation 1: unknown parameter \"duratoin\""),
        std::pair(R"([{"operationID":257,"spliceType":1,"eventID":1,"programUniqueID":1,"duration":70000}])",
                  "operation 1: \"duration\" must be a whole number from 0 to 65535"),
        std::pair(R"([{"operationID":257,"spliceType":1,"eventID":1,"programUniqueID":1,"duration":-1}])",
                  "operation 1: \"duration\" must be a whole number from 0 to 65535"),
        std::pair(R"([{"operationID":257,"spliceType":1,"eventID":1,"programUniqueID":1,"availNum":1}])",
                  "operation 1: \"availNum\" must be 0"),
        std::pair(R"([{"operationID":257,"spliceType":1,"eventID":1,"spliceEventID":1,"programUniqueID":1}])",
                  "operation 1: \"eventID\" and \"spliceEventID\" are the same"),
        std::pair(R"([{"operationID":257,"spliceType":"unknown","eventID":1,"programUniqueID":1}])",
                  "operation 1: \"spliceType\": \"unknown\" is no name of such a type"),
        std::pair(R"([{"operationID":257,"spliceType":1,"eventID":"1","programUniqueID":1}])",
                  "operation 1: \"eventID\" must be a whole number from 0 to 4294967295"),
        std::pair(R"([{"operationID":257,"spliceType":1,"eventID":1,"programUniqueID":1,"autoReturn":1}])",
                  "operation 1: \"autoReturn\" must be true or false"),
        std::pair(R"([{"operationID":267,"eventID":1,"segmentationType":1}])", "operation 1: UPID is missing"),
        std::pair(R"([{"operationID":267,"eventID":1,"segmentationType":1,"UPID":"é"}])",
                  "operation 1: \"UPID\" must be ASCII, at most 64 characters")));

TEST(SCTE104Parse, SaysWhatAMessageHolds) {
    EXPECT_EQ(outputOf({"scte104", "parse", kSplice}),
              "message 1, AS index 0, DPI PID 4660, 1 operation, 31 bytes\n"
              "  SpliceRequestData: spliceStartNormal, event 16909060, program 1286, pre-roll 4000 ms, break 30.0 s, "
              "auto return\n"
              "splice points:\n"
              "  the message: event 16909060 out in 4000 ms, for 30.0 s, returns by itself\n");
    EXPECT_EQ(outputOf({"scte104", "parse", "08ffff002b0000010000000002010400020fa0" + kSegmentation}),
              "message 1, AS index 0, DPI PID 0, 2 operations, 44 bytes\n"
              "  TimeSignalRequestData: pre-roll 4000 ms\n"
              "  InsertSegmentationDescriptorRequestData: ProviderAdvertisementStart (0x30), event 1, duration 0 s, "
              "UPID Ad-ID \"ABC\", segment 1 of 2, device restrictions 3\n"
              "splice points:\n"
              "  the message: segment 1 ProviderAdvertisementStart\n"
              "  segment 1 ProviderAdvertisementStart: start without end\n");
}

TEST(SCTE104Parse, ShowsTimeStamps) {
    const std::string tail = ", 1 operation, ";
    EXPECT_EQ(outputOf({"scte104", "parse",
                        "08ffff0016000001000000"
                        "01"
                        "4d3c2b1a01f4"
                        "01"
                        "01020000"}),
              "message 1, AS index 0, DPI PID 0, UTC 1295788826 s and 500 us" + tail +
                  "23 bytes\n  SpliceNullRequestData\n");
    EXPECT_EQ(outputOf({"scte104", "parse",
                        "08ffff0014000001000000"
                        "02"
                        "0a0b0c18"
                        "01"
                        "01020000"}),
              "message 1, AS index 0, DPI PID 0, VITC 10:11:12:24" + tail + "21 bytes\n  SpliceNullRequestData\n");
    EXPECT_EQ(outputOf({"scte104", "parse",
                        "08ffff0012000001000000"
                        "03"
                        "0501"
                        "01"
                        "01020000"}),
              "message 1, AS index 0, DPI PID 0, GPI 5 edge 1" + tail + "19 bytes\n  SpliceNullRequestData\n");
}

TEST(SCTE104Parse, ShowsTheDataOfOperationsWithoutFields) {
    const ToolResult result = runTool({"scte104", "parse",
                                       "08ffff00000000010000000003"
                                       "01030002aabb"
                                       "0200000"
                                       "0"
                                       "010c0001ff"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "qlxcc: warning: the message: byte 3: messageSize 0 in a message of 27 bytes\n"
                          "qlxcc: warning: the message: byte 17: 2 bytes are too few for operation 103\n"
                          "qlxcc: warning: the message: byte 23: unknown operation 200 of 0 bytes\n"
                          "qlxcc: warning: the message: byte 27: 1 bytes are too few for operation 10c\n");
    EXPECT_EQ(result.out, "message 1, AS index 0, DPI PID 0, 3 operations, 28 bytes\n"
                          "  StartScheduleDownloadRequestData: data aabb\n"
                          "  unknown (0x0200)\n"
                          "  ProprietaryCommandRequestData: data ff\n");
}

TEST(SCTE104Parse, ReadsFilesOfEveryFormat) {
    const TemporaryFolder folder;
    const std::string expected = "message 1, AS index 0, DPI PID 0, 1 operation, 17 bytes\n  SpliceNullRequestData\n";
    const std::string hex = folder.write("a", "08FF ff00 1000\n0001000000000101020000\r\n");
    EXPECT_EQ(outputOf({"scte104", "parse", hex}), expected);
    EXPECT_EQ(outputOf({"scte104", "parse", "-", "--format", "hex"}, folder.read("a")), expected);
    const std::string raw = folder.write("b", fromHex(kSpliceNull));
    EXPECT_EQ(outputOf({"scte104", "parse", raw}), expected);
    EXPECT_EQ(outputOf({"scte104", "parse", "-", "--format", "raw"}, folder.read("b")), expected);

    // A frame without, a frame with an SCTE-104 packet and another one, and one with two.
    const std::string packet = "000d 01 04 0014 00000014 00000001 41 07 11" + kSpliceNull;
    const std::string other = "0009 01 04 0005 00000008 00000001 61 01 02 9669 000000";
    const std::string file = folder.write("c", joined({kAncKeyHex, "02 0000", kAncKeyHex, "3a 0002", other, packet,
                                                       kAncKeyHex, "46 0002", packet, packet}));
    const std::string shown =
        "frame 1, line 13: " + expected + "frame 2, line 13: " + expected + "frame 2, line 13: " + expected;
    EXPECT_EQ(outputOf({"scte104", "parse", file}), shown);
    EXPECT_EQ(outputOf({"scte104", "parse", "-"}, folder.read("c")), shown);
    const std::string json = R"("messageNumber":1,"operations":[{"name":"SpliceNullRequestData","opID":258}],)"
                             R"("protocolVersion":0,"schema":"qlxcc/scte104/1","scte35ProtocolVersion":0,)"
                             R"("timestamp":{"timeType":0}})"
                             "\n";
    const std::string frame1 = R"({"asIndex":0,"dpiPidIndex":0,"frame":1,"line":13,)" + json;
    const std::string frame2 = R"({"asIndex":0,"dpiPidIndex":0,"frame":2,"line":13,)" + json;
    EXPECT_EQ(outputOf({"scte104", "parse", file, "--format", "klv", "--json"}), frame1 + frame2 + frame2);
    EXPECT_EQ(outputOf({"scte104", "parse", raw, "--json"}), R"({"asIndex":0,"dpiPidIndex":0,)" + json);
}

class BrokenMessage : public ::testing::TestWithParam<std::pair<std::string, std::string>> {};

TEST_P(BrokenMessage, GivesOneMessageWithItsByte) {
    for (const Arguments& arguments :
         std::vector<Arguments>{{"scte104", "parse", GetParam().first}, {"scte35", GetParam().first, "--pts", "0"}}) {
        const ToolResult result = runTool(arguments);
        EXPECT_EQ(result.exitCode, 1);
        // What ends early is not as long as it says: that may be told behind it.
        const std::size_t size = result.err.find("qlxcc: warning: the message: byte 3: messageSize ");
        EXPECT_EQ(result.err.substr(0, size), "qlxcc: the message: " + GetParam().second + "\n");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Messages, BrokenMessage,
    ::testing::Values(
        std::pair("0", "byte 1: an odd number of hexadecimal digits"),
        std::pair("fc30", "byte 0: no SCTE-104 message: it begins with fc and not with the payload descriptor 08"),
        std::pair("ffff0010",
                  "byte 0: no SCTE-104 message: the payload descriptor 08 (SMPTE ST 2010) is missing in front"),
        std::pair("080100", "byte 1: no multiple_operation_message: 0100 where ffff marks one (single-operation "
                            "messages have no place in ANC packets)"),
        std::pair("08ffff", "byte 3: SCTE-104 message cut short: 3 of the header's 13 bytes"),
        std::pair("08ffff0016000001000000014d3c", "byte 14: SCTE-104 message cut short: 14 of the header's 19 bytes"),
        std::pair("08ffff00100000010000000001", "byte 13: operation 1 of 1 is missing: the message ends here"),
        std::pair("08ffff001e00000100000000010101000e0101",
                  "byte 13: operation 1 of 1 is cut short: 2 of 14 bytes of data"),
        std::pair("08ffff0012000001000000000101010002"
                  "0fa0",
                  "byte 13: operation 1 of 1: 2 bytes of data are too few for SpliceRequestData")));

TEST(SCTE104Parse, ShowsWhatStandsBeforeABrokenPlace) {
    const ToolResult result = runTool({"scte104", "parse", "08ffff001000000100000000020102000001"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "message 1, AS index 0, DPI PID 0, 2 operations, 18 bytes\n  SpliceNullRequestData\n");
    EXPECT_EQ(result.err, "qlxcc: the message: byte 17: operation 2 of 2 is missing: the message ends here\n"
                          "qlxcc: warning: the message: byte 3: messageSize 16 in a message of 17 bytes\n");
}

TEST(SCTE104Parse, SaysWhatAFileLacks) {
    const TemporaryFolder folder;
    const std::string empty = folder.write("empty", "");
    EXPECT_EQ(runTool({"scte104", "parse", empty}).err, "qlxcc: " + empty + ": byte 0: the file is empty\n");
    const std::string text = folder.write("text", "08ff\nhello");
    EXPECT_EQ(runTool({"scte104", "parse", text}).err,
              "qlxcc: " + text + ": byte 5: byte value 68 is no hexadecimal digit\n");
    const std::string klv = folder.write("klv", joined({kAncKeyHex, "02 0000"}));
    EXPECT_EQ(runTool({"scte104", "parse", klv}).err, "qlxcc: " + klv + ": no SCTE-104 packet\n");
    const std::string cut = folder.write("cut", joined({kAncKeyHex, "02 00"}));
    EXPECT_EQ(runTool({"scte104", "parse", cut}).err,
              "qlxcc: " + cut + ": byte 0: KLV triplet cut short: 1 of 2 bytes of the value\n");
    EXPECT_EQ(runTool({"scte104", "parse", folder.path("none")}).err,
              "qlxcc: " + folder.path("none") + ": No such file or directory\n");
    for (const std::string& name : folder.names()) {
        EXPECT_EQ(runTool({"scte104", "parse", folder.path(name)}).exitCode, 1);
    }
}

TEST(SCTE104Parse, FindsTheOperationsThatTheLibraryFinds) {
    const std::vector<std::uint8_t> message = fromHex("08ffff00000000010000000004"
                                                      "010400020fa0"
                                                      "0101000101" +
                                                      kSegmentation + "01020000");
    for (std::size_t size = 0; size <= message.size(); ++size) {
        const qlx::Data data(message.data(), size);
        const auto found = qlx::tool::readScte104(data).operations;
        const auto readable = std::count_if(found.begin(), found.end(),
                                            [](const auto& operation) { return operation.parameters.has_value(); });
        EXPECT_EQ(static_cast<std::size_t>(readable), QLXSCTEUtilities::operationsWithSCTEMessageData(data).size())
            << size;
    }
}
class WrongSCTEUsage : public ::testing::TestWithParam<Arguments> {};

TEST_P(WrongSCTEUsage, EndsWithCodeTwoAndOneMessage) {
    const ToolResult result = runTool(GetParam());
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_TRUE(isOneMessage(result.err)) << result.err;
    EXPECT_NE(result.err.find("(see qlxcc scte"), std::string::npos) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    CommandLines, WrongSCTEUsage,
    ::testing::Values(
        Arguments{"scte104"}, Arguments{"scte104", "bulid"}, build({}), build({"splice"}), build({"splice-start"}),
        build({"segmentation", "--event-id", "1"}), build({"segmentation", "--segmentation-type", "1"}),
        build({"segmentation", "--event-id", "0", "--segmentation-type", "1"}),
        build({"segmentation", "--event-id", "1", "--segmentation-type", "Unknown"}),
        build({"segmentation", "--event-id", "1", "--segmentation-type", "0"}),
        build({"segmentation", "--event-id", "1", "--segmentation-type", "256"}),
        build({"segmentation", "--event-id", "1", "--segmentation-type", "1", "--upid", std::string(65, 'a')}),
        build({"segmentation", "--event-id", "1", "--segmentation-type", "1", "--duration", "0.5"}),
        build({"segmentation", "--event-id", "1", "--segmentation-type", "1", "--pre-roll", "1"}),
        build({"splice-start", "--event-id", "4294967296"}), build({"splice-start", "--event-id", "-1"}),
        build({"splice-start", "--event-id", "1x"}),
        build({"splice-start", "--event-id", "1", "--program-id", "65536"}),
        build({"splice-start", "--event-id", "1", "--duration", "6553.6"}),
        build({"splice-start", "--event-id", "1", "--duration", "1.25"}),
        build({"splice-start", "--event-id", "1", "--duration", "1."}),
        build({"splice-start", "--event-id", "1", "--pre-roll", "65536"}),
        build({"splice-start", "splice-start", "--event-id", "1"}), build({"splice-null", "--event-id", "1"}),
        build({"splice-null", "--message-number", "256"}), build({"splice-null", "--dpi-pid", "65536"}),
        build({"splice-null", "--as-index", "256"}), build({"splice-null", "--json-file", "a.json"}),
        build({"splice-null", "--pts", "1"}), build({"--from-scte35", "a"}), build({"splice-null", "--rate", "25"}),
        build({"--json-file", "a", "--from-scte35", "b", "--pts", "1"}),
        build({"--json-file", "a.json", "--event-id", "1"}), build({"splice-null", "-o", "a.bin"}),
        build({"splice-null", "--format", "jsonl"}), build({"splice-null", "--line", "9"}),
        build({"splice-null", "--format", "klv", "--width", "720"}), Arguments{"scte104", "parse"},
        Arguments{"scte104", "parse", "08", "--format", "jsonl"}, Arguments{"scte104", "parse", "08", "--width", "720"},
        Arguments{"scte35", "08", "--pts", "1", "--near-start"}, Arguments{"scte104", "parse", "a.klv", "--near-start"},
        Arguments{"scte104", "parse", "a.v210", "--lines", "1", "--rows", "1"},
        Arguments{"scte104", "parse", "08", "09"}, Arguments{"scte35"}, Arguments{"scte35", "08"},
        Arguments{"scte35", "08", "--pts", "8589934592"}, Arguments{"scte35", "08", "--pts", "-1"},
        Arguments{"scte35", "08", "--pts", "1.5"}, Arguments{"scte35", "08", "--pts", "1", "-o", "a.bin"},
        Arguments{"scte35", "08", "--pts", "1", "--format", "klv"},
        Arguments{"scte35", "08", "--pts", "1", "--splice-pts", "1"},
        Arguments{"scte35", "08", "--splice-pts", "1", "--at-pts", "1"},
        Arguments{"scte35", "08", "--splice-pts", "1", "--as-deployed"},
        Arguments{"scte35", "fc", "--from-format", "section", "--pts", "1"},
        Arguments{"scte35", "fc", "--from-format", "section", "--rows", "1"}));

TEST(SCTEUsage, HelpShowsAnExampleOfEachCommand) {
    for (const Arguments& command :
         std::vector<Arguments>{{"scte104"}, {"scte104", "build"}, {"scte104", "parse"}, {"scte35"}}) {
        Arguments arguments = command;
        arguments.emplace_back("--help");
        const std::string help = outputOf(arguments);
        EXPECT_NE(help.find("Examples:\n  qlxcc " + command.front() + " "), std::string::npos) << help;
        for (const std::string& line : qlxtest::linesOf(help)) {
            EXPECT_LE(line.size(), 120U) << line;
        }
    }
}

TEST(SCTE104Parse, WarnsOfWhatIsWrongInAMessageThatItShows) {
    // A tier of 13 bits that stands alone in a message of 18 bytes, all a byte later for the payload descriptor.
    const ToolResult result = runTool({"scte104", "parse", "08ffff000b00020312340000 01010f00021fff"}, {});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "message 3, AS index 2, DPI PID 4660, 1 operation, 19 bytes\n  InsertTierData: data 1fff\n");
    EXPECT_EQ(result.err,
              "qlxcc: warning: the message: byte 3: messageSize 11 in a message of 18 bytes\n"
              "qlxcc: warning: the message: byte 13: operation 10f adds to another one, which is not there\n"
              "qlxcc: warning: the message: byte 17: number 8191 is not defined, the greatest is 4095\n");
    // A request with a result: no descriptor stands in front of it.
    const ToolResult single = runTool({"scte104", "parse", "0001000d0064ffff000203 1234"}, {});
    EXPECT_EQ(single.exitCode, 0);
    EXPECT_EQ(single.err, "qlxcc: warning: the message: byte 4: result 100 in a request, should be 65535\n");
}

/// A splice request, and five DTMF descriptors for it of 255 small letters each, which DTMF does not have: 1,275 findings,
/// the first one of byte 37, behind the payload descriptor, the header of 12 bytes, the request of 18 and six more.
std::string messageOfManyFindings() {
    std::string message = "08ffff05370000011234000006" + kSplice.substr(26);
    for (int index = 0; index < 5; ++index) {
        message += "0109010100ff";
        for (int letter = 0; letter < 255; ++letter) {
            message += "78";
        }
    }
    return message;
}

TEST(SCTE104Parse, CountsTheFindingsThatItDoesNotKeep) {
    const ToolResult result = runTool({"scte104", "parse", messageOfManyFindings()}, {});
    EXPECT_EQ(result.exitCode, 0);
    const auto line = [](int byte) {
        return "warning: the message: byte " + std::to_string(byte) + ": number 120 is not defined, the greatest is 68";
    };
    std::string expected;
    for (int byte = 37; byte < 47; ++byte) {
        expected += "qlxcc: " + line(byte) + "\n";
    }
    expected += "qlxcc: warning: the message: 275 more findings\n";
    expected += "qlxcc: 990 more like \"" + line(37) + "\"\n";
    EXPECT_EQ(result.err, expected);
}

TEST(SCTE35, CountsTheFindingsThatItDoesNotKeep) {
    const ToolResult message = runTool({"scte35", messageOfManyFindings(), "--splice-pts", "0"}, {});
    const std::string letter = "warning: the message: byte 37: number 120 is not defined, the greatest is 68";
    EXPECT_EQ(std::count(message.err.begin(), message.err.end(), '\n'), 13) << message.err;
    EXPECT_NE(
        message.err.find("qlxcc: 990 more like \"" + letter + "\"\nqlxcc: warning: the message: 275 more findings\n"),
        std::string::npos)
        << message.err;
    // A splice null, 1,100 descriptors that are too short for an identifier, and a wrong CRC.
    std::string section = "fc38a9000000000000"
                          "00fff000"
                          "000898";
    for (int index = 0; index < 1100; ++index) {
        section += "0000";
    }
    section += "00000000";
    const ToolResult read = runTool({"scte35", "--from-format", "section", section}, {});
    EXPECT_EQ(std::count(read.err.begin(), read.err.end(), '\n'), 13) << read.err;
    EXPECT_NE(read.err.find(
                  "qlxcc: 989 more like \"warning: the section: line 1: byte 18: 0 bytes are too few for descriptor "
                  "00\"\nqlxcc: warning: the section: line 1: 101 more findings\n"),
              std::string::npos)
        << read.err;
}

}  // namespace
