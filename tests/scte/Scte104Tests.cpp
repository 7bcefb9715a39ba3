// Each operation of ANSI/SCTE 104 from bytes that are worked out by hand from the standard's tables, and back.
#include "Scte104Bytes.h"

#include <algorithm>
#include <array>

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

struct OperationCase {
    std::uint16_t opId;
    std::string digits;
    OperationData data;
};

const std::vector<OperationCase> kOperations{
    {0x0100, "0005 00 06 fe12345678", InjectSectionDataRequest{0, 6, fromHex("fe12345678")}},
    {0x0101, "01 01020304 0506 0fa0 012c 01 02 01",
     SpliceRequest{SpliceInsertType::StartNormal, 0x01020304, 0x0506, 4000, 300, 1, 2, 1, std::nullopt}},
    {0x0101, "04 00000007 0000 0000 0000 00 00 00 01",
     SpliceRequest{SpliceInsertType::EndImmediate, 7, 0, 0, 0, 0, 0, 0, std::uint8_t{1}}},
    {0x0102, "", SpliceNullRequest{}},
    {0x0103, "02 00000135 fffffffe", StartScheduleDownloadRequest{{0x135, 0xFFFFFFFE}}},
    {0x0103, "00", StartScheduleDownloadRequest{}},
    {0x0104, "1f40", TimeSignalRequest{8000}},
    {0x0105, "01", TransmitScheduleRequest{1}},
    {0x0106, "10 0fa0 20 1388", ComponentModeRequest{{{0x10, 4000}, {0x20, 5000}}}},
    {0x0106, "", ComponentModeRequest{}},
    {0x0107, "03 07", EncryptedDpiRequest{3, 7}},
    {0x0108, "02 00 08 43554549 00000135 80 02 abcd",
     InsertDescriptorRequest{{{0x00, fromHex("43554549 00000135")}, {0x80, fromHex("abcd")}}}},
    {0x0109, "32 05 3132 312a 23", InsertDtmfDescriptorRequest{50, {'1', '2', '1', '*', '#'}}},
    {0x010A, "01 00000135", InsertAvailDescriptorRequest{{0x135}}},
    {0x010B, "4800008e 00 001e 08 08 000000002ca0a18a 34 02 00 05 00 01 01 00 03",
     InsertSegmentationDescriptorRequest{0x4800008E, 0, 30, 8, fromHex("000000002ca0a18a"), 0x34, 2, 0, 5, 0, 1, 1, 0,
                                         3, std::nullopt}},
    {0x010B, "00000001 01 0000 00 00 30 01 02 00 01 00 00 01 00 01 03 04",
     InsertSegmentationDescriptorRequest{1, 1, 0, 0, {}, 0x30, 1, 2, 0, 1, 0, 0, 1, 0, SubSegmentRequest{1, 3, 4}}},
    {0x010C, "43554549 07 0102", ProprietaryCommandRequest{0x43554549, 7, {1, 2}}},
    {0x010D, "10 4d3c2b1a 20 4d3c2b1b", ScheduleComponentModeRequest{{{0x10, 0x4D3C2B1A}, {0x20, 0x4D3C2B1B}}}},
    {0x010E, "03 00000009 4d3c2b1a 0506 01 012c 01 02",
     ScheduleDefinition{SpliceScheduleCommand::Return, 9, 0x4D3C2B1A, 0x0506, 1, 300, 1, 2}},
    {0x010F, "0abc", InsertTierRequest{0xABC}},
    {0x0110, "00005f5e1000 3b9ac9ff 0025", InsertTimeDescriptorRequest{0x5F5E1000, 999999999, 37}},
    {0x0111, "0102", InsertAudioDescriptorRequest{{1, 2}}},
    {0x0300, "07", DeleteControlWord{7}},
    {0x0301, "07 0123456789abcdef 0000000000000001 fedcba9876543210",
     UpdateControlWord{7, {0x0123456789ABCDEF, 1, 0xFEDCBA9876543210}}},
};

TEST(Scte104, KnowsTheClassOfEachOperation) {
    using enum OperationUsage;
    // The Usage column of table 8-3, from opID 0000h on, and of table 8-4, from 0100h on.
    const std::vector<OperationUsage> single{Basic,   Basic, Basic, Basic, Basic, Unknown, Unknown,
                                             Basic,   Basic, Basic, Basic, Basic, Basic,   Unknown,
                                             Unknown, Basic, Basic, Basic, Basic};
    const std::vector<OperationUsage> multiple{Normal,       Normal,       Normal,       Normal,       Normal,
                                               Normal,       Supplemental, Supplemental, Supplemental, Supplemental,
                                               Supplemental, Supplemental, Normal,       Supplemental, Supplemental,
                                               Supplemental, Supplemental, Supplemental, Control,      Supplemental};
    for (unsigned opId = 0; opId <= 0xFFFF; ++opId) {
        OperationUsage expected = opId == 0x0300 || opId == 0x0301 ? Control : Unknown;
        if (opId < single.size()) {
            expected = single[opId];
        } else if (opId >= 0x0100 && opId - 0x0100 < multiple.size()) {
            expected = multiple[opId - 0x0100];
        }
        ASSERT_EQ(operationUsage(static_cast<std::uint16_t>(opId)), expected) << opId;
    }
}

TEST(Scte104, ReadsAndWritesEachOperation) {
    for (const OperationCase& one : kOperations) {
        const ExactBuffer bytes(multipleMessage(one.opId, one.digits));
        qlx::Findings findings;
        const auto message = parseMultipleOperationMessage(bytes.span(), &findings);
        ASSERT_TRUE(message) << one.opId;
        FindingList alone;
        if (operationUsage(one.opId) == OperationUsage::Supplemental) {
            alone = {{FindingCode::ScteSupplementAlone, Severity::Warning, 12, one.opId, 0}};
        }
        EXPECT_EQ(listOf(findings), alone) << one.opId;
        const MultipleOperationMessage expected{.asIndex = 2,
                                                .messageNumber = 3,
                                                .dpiPidIndex = 0x1234,
                                                .timeStamp = {},
                                                .operations = {{one.data, {}, {}}},
                                                .trailing = {},
                                                .statedSize = {},
                                                .statedCount = {}};
        EXPECT_EQ(*message, expected) << one.opId;
        EXPECT_EQ(message->operations[0].opId(), one.opId);
        EXPECT_EQ(written(*message), bytes.vector()) << one.opId;
        const auto either = parseMessage(bytes.span());
        ASSERT_TRUE(either);
        EXPECT_EQ(*either, Message(expected));
        EXPECT_EQ(written(*either), bytes.vector());
    }
}

TEST(Scte104, KeepsAMessageThatEndsAnywhere) {
    for (const OperationCase& one : kOperations) {
        forEachTruncation(multipleMessage(one.opId, one.digits), [&](const ExactBuffer& cut) {
            qlx::Findings findings;
            const auto message = parseMultipleOperationMessage(cut.span(), &findings);
            constexpr std::size_t kHeaderBytes = 12;
            ASSERT_EQ(message.hasValue(), cut.size() >= kHeaderBytes) << one.opId << ' ' << cut.size();
            if (!message) {
                EXPECT_EQ(message.error().code, FindingCode::ScteMessageCut);
                return;
            }
            // The size is wrong in each of them.
            EXPECT_EQ(findings[0].code, FindingCode::ScteMessageSizeWrong);
            EXPECT_EQ(written(*message), cut.vector());
        });
    }
}

struct SystemCase {
    std::uint16_t opId;
    std::string digits;
    SystemOperation operation;
};

SystemName name(std::string_view text) {
    SystemName result{};
    std::copy(text.begin(), text.end(), result.begin());
    return result;
}

const std::string kNameDigits = "73766331" + std::string(56, '0');

const std::vector<SystemCase> kSystemOperations{
    {0x0000, "", GeneralResponse{}},
    {0x0001, "", InitRequest{}},
    {0x0002, "", InitResponse{}},
    {0x0003, "4d3c2b1a 000f423f", AliveRequest{SystemTime{0x4D3C2B1A, 999999}}},
    {0x0003, "", AliveRequest{}},
    {0x0004, "00000000 00000001", AliveResponse{SystemTime{0, 1}}},
    {0x0007, "2a", InjectResponse{42}},
    {0x0008, "2a 03", InjectCompleteResponse{42, 3}},
    {0x0009, "0a000001 1f40 01 00 05 0102 01", ConfigRequest{0x0A000001, 8000, 1, 0, 5, 0x0102, 1}},
    {0x000A, "05 01", ConfigResponse{5, 1}},
    {0x000B, "01 0a000001 142f" + kNameDigits + "01 0005 00 01 01 10 02 20 21 01 30",
     ProvisioningRequest{{{0x0A000001, 5167, name("svc1"), {{5, 0, 1}}, 1, {0x10, {0x20, 0x21}, {0x30}}}}}},
    {0x000B, "02 00000000 0000" + kNameDigits + "00 00 00000001 0002" + kNameDigits + "02 0005 00 01 0006 01 00 00",
     ProvisioningRequest{{{0, 0, name("svc1"), {}, 0, {}}, {1, 2, name("svc1"), {{5, 0, 1}, {6, 1, 0}}, 0, {}}}}},
    {0x000C, "", ProvisioningResponse{}},
    {0x000F, "0a000002 1f40" + kNameDigits + "0005", FaultRequest{0x0A000002, 8000, name("svc1"), 5}},
    {0x0010, "", FaultResponse{}},
    {0x0011, "", AsAliveRequest{}},
    {0x0012, "", AsAliveResponse{}},
};

TEST(Scte104, ReadsAndWritesEachSingleOperation) {
    for (const SystemCase& one : kSystemOperations) {
        const ExactBuffer bytes(singleMessage(one.opId, one.digits));
        qlx::Findings findings;
        const auto message = parseSingleOperationMessage(bytes.span(), &findings);
        ASSERT_TRUE(message) << one.opId;
        EXPECT_EQ(listOf(findings), FindingList{}) << one.opId;
        SingleOperationMessage expected;
        expected.asIndex = 2;
        expected.messageNumber = 3;
        expected.dpiPidIndex = 0x1234;
        expected.operation = one.operation;
        EXPECT_EQ(*message, expected) << one.opId;
        EXPECT_EQ(message->opId(), one.opId);
        EXPECT_EQ(written(*message), bytes.vector()) << one.opId;
        const auto either = parseMessage(bytes.span());
        ASSERT_TRUE(either);
        EXPECT_EQ(*either, Message(expected));
        EXPECT_EQ(written(*either), bytes.vector());
    }
}

TEST(Scte104, KeepsASingleMessageThatEndsAnywhere) {
    for (const SystemCase& one : kSystemOperations) {
        forEachTruncation(singleMessage(one.opId, one.digits), [&](const ExactBuffer& cut) {
            const auto message = parseSingleOperationMessage(cut.span());
            constexpr std::size_t kHeaderBytes = 13;
            ASSERT_EQ(message.hasValue(), cut.size() >= kHeaderBytes) << one.opId << ' ' << cut.size();
            if (message) {
                EXPECT_EQ(written(*message), cut.vector());
            } else {
                EXPECT_EQ(message.error(), (Finding{FindingCode::ScteMessageCut, Severity::Error, cut.size(), 13,
                                                    static_cast<std::int64_t>(cut.size())}));
            }
        });
    }
}

TEST(Scte104, ReadsTheResultOfASingleMessage) {
    const Bytes bytes = fromHex("0007 000e 0064 0001 00 02 03 1234 2a");
    const auto message = parseSingleOperationMessage(bytes);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->result, 100);
    EXPECT_EQ(message->resultExtension, 1);
    EXPECT_EQ(message->operation, SystemOperation(InjectResponse{42}));
    EXPECT_EQ(written(*message), bytes);
}

TEST(Scte104, ReadsAndWritesEachTimeStamp) {
    const std::vector<std::pair<std::string, TimeStamp>> stamps{{"00", TimeStamp{}},
                                                                {"01 4d3c2b1a 01f4", UtcTimeStamp{0x4D3C2B1A, 500}},
                                                                {"02 17 3b 3b 1d", VitcTimeStamp{23, 59, 59, 29}},
                                                                {"03 05 01", GpiTimeStamp{5, 1}}};
    for (const auto& [digits, timeStamp] : stamps) {
        Bytes operations = operationBytes(0x0102, "");
        append(operations, operationBytes(0x0104, "0000"));
        const Bytes bytes = multipleMessage(digits, 2, operations);
        qlx::Findings findings;
        const auto message = parseMultipleOperationMessage(bytes, &findings);
        ASSERT_TRUE(message);
        EXPECT_EQ(listOf(findings), FindingList{});
        EXPECT_EQ(message->timeStamp, timeStamp);
        EXPECT_EQ(timeTypeOf(message->timeStamp), bytes[10]);
        EXPECT_EQ(message->operations.size(), 2U);
        EXPECT_EQ(written(*message), bytes);
    }
}

TEST(Scte104, WalksOperationsWithoutReadingThem) {
    Bytes operations = operationBytes(0x0104, "0fa0");
    append(operations, operationBytes(0x0200, "ab"));
    Bytes bytes = multipleMessage("03 05 01", 3, operations);
    append(bytes, fromHex("0102 0003 11 22"));
    const auto view = MultipleOperationView::of(bytes);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->statedCount, 3);
    EXPECT_EQ(view->statedSize, bytes.size() - 6);
    EXPECT_EQ(view->timeStamp, TimeStamp(GpiTimeStamp{5, 1}));
    MultipleOperationView walk = *view;
    const auto first = walk.next();
    const auto second = walk.next();
    const auto third = walk.next();
    ASSERT_TRUE(first && second && third);
    EXPECT_EQ(first->offset, 14U);
    EXPECT_EQ(Bytes(first->data.begin(), first->data.end()), fromHex("0fa0"));
    EXPECT_EQ(second->opId, 0x0200);
    EXPECT_FALSE(second->isCut());
    EXPECT_TRUE(third->isCut());
    EXPECT_EQ(third->statedLength, 3);
    EXPECT_EQ(Bytes(third->data.begin(), third->data.end()), fromHex("1122"));
    EXPECT_FALSE(walk.next());
    EXPECT_EQ(walk.offset(), bytes.size());
}

TEST(Scte104, WritesIntoTheCallersRoom) {
    const auto message = parseMultipleOperationMessage(multipleMessage(0x0104, "0fa0"));
    ASSERT_TRUE(message);
    ExactBuffer room = ExactBuffer::filled(18, 0x5A);
    EXPECT_EQ(*writeMessage(*message, room.span()), 18U);
    EXPECT_EQ(room.vector(), multipleMessage(0x0104, "0fa0"));
    ExactBuffer small = ExactBuffer::filled(17, 0x5A);
    const auto refused = writeMessage(*message, small.span());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 18, 17}));
    SingleOperationMessage single;
    single.operation = InjectResponse{1};
    ExactBuffer fourteen = ExactBuffer::filled(14, 0);
    EXPECT_EQ(*writeMessage(single, fourteen.span()), 14U);
    EXPECT_EQ(fourteen.vector(), fromHex("0007 000e ffff ffff 00 00 00 0000 01"));
}

TEST(Scte104, RefusesToWriteWhatDoesNotFit) {
    const auto refusal = [](OperationData data) {
        MultipleOperationMessage message;
        message.operations.push_back({std::move(data), {}, {}});
        const auto result = writeMessage(message);
        EXPECT_FALSE(result);
        return result ? Finding{} : result.error();
    };
    constexpr auto kTooLarge = FindingCode::ScteValueTooLarge;
    // The operation's data begin at byte 16, their length stands at 14.
    EXPECT_EQ(refusal(InsertAvailDescriptorRequest{std::vector<std::uint32_t>(256)}),
              (Finding{kTooLarge, Severity::Error, 16, 256, 255}));
    EXPECT_EQ(refusal(InsertTimeDescriptorRequest{std::uint64_t{1} << 48U, 0, 0}),
              (Finding{kTooLarge, Severity::Error, 16, std::int64_t{1} << 48, (std::int64_t{1} << 48) - 1}));
    EXPECT_EQ(refusal(VerbatimOperation{0x8000, Bytes(65536)}),
              (Finding{kTooLarge, Severity::Error, 14, 65536, 65535}));
    EXPECT_EQ(refusal(VerbatimOperation{0x8000, Bytes(65520)}),
              (Finding{FindingCode::ScteTooLong, Severity::Error, 0, 65536, 65535}));
    MultipleOperationMessage many;
    many.operations.resize(256);
    EXPECT_EQ(writeMessage(many).error(), (Finding{kTooLarge, Severity::Error, 11, 256, 255}));
}

}  // namespace
