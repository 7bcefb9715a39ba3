// SCTE-104 messages and SCTE-35 sections as JSON: what is written is read as the same bytes, whatever was kept.
//
// --gtest_random_seed=N runs others.
#include "JsonSchema.h"
#include "SCTESupport.h"
#include "tests/scte/RandomFields.h"
#include "tests/scte/Scte35Bytes.h"

#include "scte/Scte104Layout.h"
#include "scte/Scte35Layout.h"
#include "streams/Json.h"
#include "streams/SCTEJson.h"

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::tool::jsonOf;
using qlx::tool::jsonText;
using qlx::tool::messageOfJson;
using qlx::tool::parseJson;
using qlx::tool::sectionOfJson;

// Texts take their time.
constexpr unsigned kJsonRounds = kRandomRounds / 10;

Message throughJson(const Message& message) {
    static const Schema schema("scte104");
    const std::string text = jsonText(jsonOf(message));
    EXPECT_EQ(schema.problem(text), "") << text;
    return messageOfJson(*parseJson("text", text).dictionary());
}

SpliceInfoSection throughJson(const SpliceInfoSection& section) {
    static const Schema schema("scte35");
    const std::string text = jsonText(jsonOf(section));
    EXPECT_EQ(schema.problem(text), "") << text;
    return sectionOfJson(*parseJson("text", text).dictionary());
}

/// Changes a few bytes from `first` on, and takes some away from the end.
void damage(Bytes& bytes, std::size_t first, RandomFields& random) {
    for (std::uint64_t changes = random.below(3); changes > 0; --changes) {
        random.number(bytes[first + random.below(bytes.size() - 1 - first)]);
    }
    bytes.resize(bytes.size() - (random.below(3) == 0 ? random.below(4) : 0));
}

TEST(SCTEJson, MessagesComeBack) {
    unsigned odd = 0;
    for (unsigned seed = firstSeed(); seed < firstSeed() + kJsonRounds; ++seed) {
        RandomFields random(seed);
        MultipleOperationMessage message;
        random.number(message.asIndex);
        random.number(message.dpiPidIndex);
        std::variant<UtcTimeStamp, VitcTimeStamp, GpiTimeStamp> stamp;
        fillAny<0>(stamp, random);
        std::visit([&message](const auto& value) { message.timeStamp = value; }, stamp);
        message.operations.resize(random.below(4));
        for (Operation& operation : message.operations) {
            fillAny<0>(operation.data, random);
        }
        Bytes bytes = written(message);
        damage(bytes, 2, random);
        const auto read = parseMessage(bytes);
        if (!read) {
            continue;
        }
        const Message back = throughJson(*read);
        ASSERT_EQ(back, *read) << seed << jsonText(jsonOf(*read));
        ASSERT_EQ(bytesOf(*writeMessage(back)), bytes) << seed;
        const auto* const multiple = std::get_if<MultipleOperationMessage>(&*read);
        odd += multiple != nullptr && (multiple->statedSize || multiple->statedCount) ? 1 : 0;
    }
    EXPECT_GT(odd, kJsonRounds / 20);
}

TEST(SCTEJson, SingleMessagesComeBack) {
    for (unsigned seed = firstSeed(); seed < firstSeed() + kJsonRounds; ++seed) {
        RandomFields random(seed);
        SingleOperationMessage message;
        random.number(message.result);
        random.number(message.messageNumber);
        fillAny<1>(message.operation, random);
        Bytes bytes = written(message);
        damage(bytes, 2, random);
        const auto read = parseSingleOperationMessage(bytes);
        if (read) {
            const Message back = throughJson(Message(*read));
            ASSERT_EQ(back, Message(*read)) << seed << jsonText(jsonOf(Message(*read)));
            ASSERT_EQ(bytesOf(*writeMessage(back)), bytes) << seed;
        }
    }
}

TEST(SCTEJson, SectionsComeBack) {
    unsigned odd = 0;
    for (unsigned seed = firstSeed(); seed < firstSeed() + kJsonRounds; ++seed) {
        RandomFields random(seed);
        SpliceInfoSection section;
        section.ptsAdjustment90k = random.below(kGreatestTicks);
        section.encryptionAlgorithm = static_cast<std::uint8_t>(random.below(63));
        random.number(section.cwIndex);
        fillAny<0>(section.command, random);
        if (auto* const encrypted = std::get_if<EncryptedContent>(&section.command)) {
            encrypted->commandLength = static_cast<std::uint16_t>(random.below(kCommandLengthNotGiven));
        } else {
            section.descriptors.resize(random.below(3));
            for (SpliceDescriptor& descriptor : section.descriptors) {
                fillAny<0>(descriptor.data, random);
                if (auto* const segmentation = std::get_if<SegmentationDescriptor>(&descriptor.data)) {
                    segmentation->upid.bytes.resize(segmentation->upid.bytes.size() % 32);
                }
            }
            random.rest(section.alignmentStuffing);
        }
        Bytes bytes = writtenSection(section);
        // Not section_length, without which a section has no end.
        for (std::uint64_t changes = random.below(3); changes > 0; --changes) {
            random.number(bytes[3 + random.below(bytes.size() - 4)]);
        }
        const auto read = parseSpliceInfoSection(bytes);
        if (!read) {
            continue;
        }
        const SpliceInfoSection back = throughJson(*read);
        ASSERT_EQ(back, *read) << seed << jsonText(jsonOf(*read));
        ASSERT_EQ(writtenSection(back), bytes) << seed;
        odd += read->statedCrc ? 1 : 0;
    }
    EXPECT_GT(odd, kJsonRounds / 20);
}

TEST(SCTEJson, NamesFieldsAsTheStandardDoes) {
    MultipleOperationMessage message;
    message.messageNumber = 1;
    message.operations.push_back({TimeSignalRequest{4000}, {}, {}});
    EXPECT_EQ(
        jsonText(jsonOf(Message(message))),
        R"({"asIndex":0,"dpiPidIndex":0,"messageNumber":1,"operations":[{"name":"TimeSignalRequestData","opID":260,)"
        R"("preRollTime":{"seconds":4.0,"timescale":1000,"value":4000}}],"protocolVersion":0,)"
        R"("schema":"qlxcc/scte104/1","scte35ProtocolVersion":0,"timestamp":{"timeType":0}})");
    // What the fixed operations have no names for.
    message.operations = {{InsertTierRequest{5}, {}, {}},
                          {InsertTimeDescriptorRequest{1, 2, 37}, {}, {}},
                          {InsertAudioDescriptorRequest{{0x1F}}, {}, {}}};
    EXPECT_NE(jsonText(jsonOf(Message(message)))
                  .find(R"([{"name":"InsertTierData","opID":271,"tierData":5},)"
                        R"({"name":"InsertTimeDescriptor","opID":272,"taiNs":2,"taiSeconds":1,"utcOffset":37},)"
                        R"({"audioDescriptorData":"1f","name":"InsertAudioDescriptor","opID":273}])"),
              std::string::npos);
    SingleOperationMessage single;
    single.operation = AliveRequest{};
    EXPECT_NE(jsonText(jsonOf(Message(single))).find(R"("name":"AliveRequestData","opID":3)"), std::string::npos);
    SpliceInfoSection section;
    section.command = TimeSignal{{900000, 0x7F}};
    section.descriptors.push_back({DtmfDescriptor{50, 0x1F, {0x31, 0x2A}}, {}});
    EXPECT_EQ(jsonText(jsonOf(section)),
              R"({"cwIndex":0,"descriptors":[{"dtmfChars":"312a","preroll":{"seconds":5.0,"timescale":10,"value":50},)"
              R"("spliceDescriptorTag":1}],"encryptionAlgorithm":0,"protocolVersion":0,)"
              R"("ptsAdjustment":{"seconds":0.0,"timescale":90000,"value":0},"sapType":3,"schema":"qlxcc/scte35/1",)"
              R"("spliceCommand":{"spliceTime":{"ptsTime":{"seconds":10.0,"timescale":90000,"value":900000}}},)"
              R"("spliceCommandType":6,"tier":4095})");
}

TEST(SCTEJson, SaysWhatItCannotRead) {
    const auto errorOf = [](const std::string& text) {
        try {
            (void)messageOfJson(*parseJson("text", text).dictionary());
        } catch (const qlx::tool::ScteJsonError& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    const auto operation = [](const std::string& fields) { return R"({"operations":[{"opID":260,)" + fields + "}]}"; };
    EXPECT_EQ(errorOf("{}"), "no array \"operations\", and no object \"operation\"");
    EXPECT_EQ(errorOf(R"({"operations":[{}]})"), "operation 1: no \"opID\"");
    EXPECT_EQ(errorOf(operation(R"("preRoll":1)")), "operation 1: unknown key \"preRoll\"");
    EXPECT_EQ(errorOf(operation(R"("preRollTime":65536)")),
              "operation 1: \"preRollTime\" must be a whole number from 0 to 65535");
    EXPECT_EQ(errorOf(operation(R"("preRollTime":{"value":1,"timescale":3})")),
              "operation 1: \"preRollTime\" must be a whole number of 1/1000 s, at most 65535");
    EXPECT_EQ(errorOf(operation(R"("preRollTime":{"value":360000,"timescale":90000})")), "");
    EXPECT_EQ(errorOf(operation(R"("data":"0")")), "operation 1: \"data\" must be pairs of hexadecimal digits");
    EXPECT_EQ(errorOf(operation(R"("dataLength":-1)")),
              "operation 1: \"dataLength\" must be a whole number from 0 to 65535");
    EXPECT_EQ(errorOf(R"({"operation":7})"), "\"operation\" must be an object");
}

TEST(SCTE104Build, ReadsJSONOverManyLinesAndSeveralMessages) {
    const std::string splice = outputOf({"scte104", "parse", kSplice, "--json"});
    const std::string null = outputOf({"scte104", "parse", kSpliceNull, "--json"});
    const Arguments read = build({"--json-file", "-"});
    std::string pretty;
    for (const char character : splice) {
        pretty += character;
        pretty += std::string_view("{[,").find(character) != std::string_view::npos ? "\n  " : "";
    }
    EXPECT_EQ(outputOf(read, pretty), kSplice + "\n");
    // A value a line, or an array; operations alone are those of one message.
    const std::string both = kSplice + "\n" + kSpliceNull + "\n";
    EXPECT_EQ(outputOf(read, splice + null), both);
    EXPECT_EQ(outputOf(read, "[" + splice + "," + null + "]"), both);
    const std::string operations = "08ffff00160000010000000002"
                                   "01020000"
                                   "010400020fa0\n";
    EXPECT_EQ(outputOf(read, "{\"opID\":258}\n{\"opID\":260,\n\"preRollTime\":4000}\n"), operations);
    EXPECT_EQ(outputOf(read, R"([{"opID":258},{"opID":260,"preRollTime":4000}])"), operations);
    // In packets each has a frame of its own.
    const std::string klv = outputOf(build({"--json-file", "-", "--format", "klv"}), splice + null);
    const std::string parsed = outputOf({"scte104", "parse", "-"}, klv);
    EXPECT_NE(parsed.find("frame 1, line 13: message 1, AS index 0, DPI PID 0, 1 operation, 17 bytes\n"),
              std::string::npos)
        << parsed;
    const ToolResult raw = runTool(build({"--json-file", "-", "--format", "raw"}), {.input = splice + null});
    EXPECT_EQ(raw.exitCode, 1);
    EXPECT_EQ(raw.err, "qlxcc: 2 messages: a raw file has one\n");
}

}  // namespace
