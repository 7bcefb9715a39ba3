// Everything that can be wrong in a message of ANSI/SCTE 104, provoked once and compared wholly; the message is kept.
#include "Scte104Bytes.h"

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

constexpr auto kRemark = Severity::Remark;
constexpr auto kWarning = Severity::Warning;

/// The findings of a message that is kept: what is written are the bytes that were read. Most messages here have one
/// operation; that it has nothing to add to is not said of each.
FindingList findingsOf(const Bytes& bytes) {
    qlx::Findings findings;
    const auto message = parseMultipleOperationMessage(bytes, &findings);
    EXPECT_TRUE(message) << message.error().text();
    if (message) {
        EXPECT_EQ(written(*message), bytes);
    }
    FindingList list;
    for (const Finding& finding : findings) {
        EXPECT_FALSE(finding.text().empty());
        if (finding.code != FindingCode::ScteSupplementAlone || finding.offset != 12) {
            list.push_back(finding);
        }
    }
    return list;
}

TEST(Scte104Findings, NameWhatIsNoMessage) {
    const auto marked = parseMultipleOperationMessage(fromHex("0101 0010"));
    ASSERT_FALSE(marked);
    EXPECT_EQ(marked.error(), (Finding{FindingCode::ScteMessageMarkWrong, Severity::Error, 0, 0x0101, 0xFFFF}));
    const auto single = parseSingleOperationMessage(fromHex("ffff 0010"));
    ASSERT_FALSE(single);
    EXPECT_EQ(single.error(), (Finding{FindingCode::ScteMessageMarkWrong, Severity::Error, 0, 0xFFFF, 0xFFFF}));
    const auto cut = parseMultipleOperationMessage(fromHex("ffff 0010 00 00 01 0000 00 01 4d3c"));
    ASSERT_FALSE(cut);
    EXPECT_EQ(cut.error(), (Finding{FindingCode::ScteMessageCut, Severity::Error, 13, 18, 13}));
}

TEST(Scte104Findings, NameAWrongSize) {
    Bytes bytes = multipleMessage(0x0104, "0fa0");
    bytes[3] = 11;
    EXPECT_EQ(findingsOf(bytes), (FindingList{{FindingCode::ScteMessageSizeWrong, kWarning, 2, 11, 18}}));
    Bytes single = singleMessage(0x0007, "2a");
    single[3] = 0;
    qlx::Findings findings;
    const auto message = parseSingleOperationMessage(single, &findings);
    ASSERT_TRUE(message);
    EXPECT_EQ(listOf(findings), (FindingList{{FindingCode::ScteMessageSizeWrong, kWarning, 2, 0, 14}}));
    EXPECT_EQ(written(*message), single);
}

TEST(Scte104Findings, NameAWrongCountOfOperations) {
    EXPECT_EQ(findingsOf(multipleMessage("00", 2, operationBytes(0x0102, ""))),
              (FindingList{{FindingCode::ScteOperationsMissing, kWarning, 16, 2, 1}}));
    EXPECT_EQ(findingsOf(multipleMessage("00", 0, operationBytes(0x0102, ""))),
              (FindingList{{FindingCode::ScteBytesBehindMessage, kWarning, 12, 4, 0}}));
    EXPECT_EQ(findingsOf(multipleMessage("00", 2, fromHex("01020000 0102"))),
              (FindingList{{FindingCode::ScteOperationsMissing, kWarning, 16, 2, 1},
                           {FindingCode::ScteBytesBehindMessage, kWarning, 16, 2, 0}}));
}

TEST(Scte104Findings, NameAnOperationThatIsCut) {
    EXPECT_EQ(findingsOf(multipleMessage("00", 1, fromHex("0101 000e 0101"))),
              (FindingList{{FindingCode::ScteOperationCut, kWarning, 12, 14, 2},
                           {FindingCode::ScteOperationTooShort, kWarning, 16, 0x0101, 2}}));
    // All fields are there: only the length is wrong.
    EXPECT_EQ(findingsOf(multipleMessage("00", 1, fromHex("0104 0003 0fa0"))),
              (FindingList{{FindingCode::ScteOperationCut, kWarning, 12, 3, 2}}));
}

TEST(Scte104Findings, NameDataThatDoNotFitTheOperation) {
    EXPECT_EQ(findingsOf(multipleMessage(0x0104, "0f")),
              (FindingList{{FindingCode::ScteOperationTooShort, kWarning, 16, 0x0104, 1}}));
    EXPECT_EQ(findingsOf(multipleMessage(0x0104, "0fa0 01 02")),
              (FindingList{{FindingCode::ScteBytesBehindOperation, kWarning, 18, 0x0104, 2}}));
    EXPECT_EQ(findingsOf(multipleMessage(0x0102, "ab")),
              (FindingList{{FindingCode::ScteBytesBehindOperation, kWarning, 16, 0x0102, 1}}));
    EXPECT_EQ(findingsOf(multipleMessage(0x0106, "10 0fa0 20")),
              (FindingList{{FindingCode::ScteBytesBehindOperation, kWarning, 19, 0x0106, 1}}));
    // Two of the three bytes of sub-segments.
    EXPECT_EQ(findingsOf(multipleMessage(0x010B, "00000001 00 0000 00 00 30 00 00 00 00 00 00 00 00 01 02")),
              (FindingList{{FindingCode::ScteBytesBehindOperation, kWarning, 34, 0x010B, 2}}));
    // Two descriptors announced, the second is cut.
    EXPECT_EQ(findingsOf(multipleMessage(0x0108, "02 00 01 aa 01 02 bb")),
              (FindingList{{FindingCode::ScteOperationTooShort, kWarning, 16, 0x0108, 7}}));
}

TEST(Scte104Findings, NameWhatAddsToNothing) {
    const auto orderOf = [](const std::vector<std::uint16_t>& opIds) {
        Bytes operations;
        for (const std::uint16_t opId : opIds) {
            append(operations, operationBytes(opId, ""));
        }
        const Bytes bytes = multipleMessage("00", static_cast<std::uint8_t>(opIds.size()), operations);
        qlx::Findings findings;
        EXPECT_TRUE(parseMultipleOperationMessage(bytes, &findings));
        FindingList order;
        for (const Finding& finding : findings) {
            if (finding.code == FindingCode::ScteSupplementAlone) {
                order.push_back(finding);
            }
        }
        return order;
    };
    const auto alone = [](std::uint64_t number, std::int64_t opId) {
        return Finding{FindingCode::ScteSupplementAlone, kWarning, 12 + 4 * number, opId, 0};
    };
    // A tier, a time descriptor, and then what they could add to.
    EXPECT_EQ(orderOf({0x010F, 0x0110, 0x0102}), (FindingList{alone(0, 0x010F), alone(1, 0x0110)}));
    EXPECT_EQ(orderOf({0x0102, 0x010F, 0x0113, 0x010C, 0x010F}), FindingList{});
    // Nothing adds to control operations; an unknown one could be normal.
    EXPECT_EQ(orderOf({0x0102, 0x0112, 0x010F}), FindingList{alone(2, 0x010F)});
    EXPECT_EQ(orderOf({0xC001, 0x010F}), FindingList{});
    // Encryption is in front of a schedule, but not in front of a splice.
    EXPECT_EQ(orderOf({0x0107, 0x0103}), FindingList{});
    EXPECT_EQ(orderOf({0x0107, 0x0101}), FindingList{alone(0, 0x0107)});
    EXPECT_EQ(orderOf({0x0107}), FindingList{alone(0, 0x0107)});
}

TEST(Scte104Findings, NameAControlWordThatIsChangedTwice) {
    const std::string words = "0000000000000001 0000000000000000 0000000000000000";
    Bytes operations = operationBytes(0x0301, "07" + words);
    append(operations, operationBytes(0x0300, "08"));
    append(operations, operationBytes(0x0300, "07"));
    // An update has 4 + 25 bytes, a deletion 4 + 1.
    EXPECT_EQ(findingsOf(multipleMessage("00", 3, operations)),
              (FindingList{{FindingCode::ScteControlWordTwice, kWarning, 12 + 29 + 5, 7, 0}}));
}

TEST(Scte104Findings, NameWhatIsWrongInASingleMessage) {
    const auto findingsOfSingle = [](const Bytes& bytes) {
        qlx::Findings findings;
        const auto message = parseSingleOperationMessage(bytes, &findings);
        EXPECT_TRUE(message);
        EXPECT_EQ(written(*message), bytes);
        return listOf(findings);
    };
    // Results are for responses: those of general_response and alive_response, not those of alive_request.
    const auto results = [&](const std::string& opId) {
        return findingsOfSingle(fromHex(opId + "000d 0064 0001 00 02 03 1234"));
    };
    EXPECT_EQ(results("0000"), FindingList{});
    EXPECT_EQ(results("0004"), FindingList{});
    EXPECT_EQ(results("0011"), FindingList{});
    EXPECT_EQ(results("0003"), (FindingList{{FindingCode::ScteResultInRequest, kWarning, 4, 100, 0xFFFF},
                                            {FindingCode::ScteResultInRequest, kWarning, 6, 1, 0xFFFF}}));
    EXPECT_EQ(findingsOfSingle(singleMessage(0x0009, "0a000001 1f40 01 01 05 0102 01")),
              (FindingList{{FindingCode::ScteNumberWrong, kWarning, 13 + 7, 1, 0}}));
    std::string name;
    for (int index = 0; index < 32; ++index) {
        name += "41";
    }
    EXPECT_EQ(findingsOfSingle(singleMessage(0x000F, "0a000002 1f40" + name + "0005")),
              (FindingList{{FindingCode::ScteNameUnended, kWarning, 13 + 6, 32, 0}}));
    // The first service has 6 + 32 + 1 + 4 + 1 + 3 + 2 bytes behind service_count.
    const std::string ended = name.substr(2) + "00";
    EXPECT_EQ(findingsOfSingle(singleMessage(0x000B, "02 0a000001 142f" + ended + "01 0005 02 00 01 10 01 20 01 30" +
                                                         "0a000001 142f" + name + "02 0005 01 01 0006 00 02 00")),
              (FindingList{{FindingCode::ScteNumberWrong, kWarning, 13 + 1 + 39 + 2, 2, 1},
                           {FindingCode::ScteNameUnended, kWarning, 13 + 1 + 49 + 6, 32, 0},
                           {FindingCode::ScteNumberWrong, kWarning, 13 + 1 + 49 + 39 + 7, 2, 1}}));
}

TEST(Scte104Findings, RemarkAnUnknownOperation) {
    EXPECT_EQ(findingsOf(multipleMessage(0xC001, "aabb")),
              (FindingList{{FindingCode::ScteOperationUnknown, kRemark, 16, 0xC001, 2}}));
    qlx::Findings findings;
    const Bytes bytes = singleMessage(0x0101, "2a");
    const auto message = parseSingleOperationMessage(bytes, &findings);
    ASSERT_TRUE(message);
    EXPECT_EQ(listOf(findings), (FindingList{{FindingCode::ScteOperationUnknown, kRemark, 13, 0x0101, 1}}));
    EXPECT_EQ(written(*message), bytes);
}

TEST(Scte104Findings, NameNumbersThatAreNotDefined) {
    const auto wrong = [](std::uint64_t offset, std::int64_t number, std::int64_t greatest) {
        return FindingList{{FindingCode::ScteNumberWrong, kWarning, offset, number, greatest}};
    };
    const auto spliceType = [](const std::string& digits) {
        return findingsOf(multipleMessage(0x0101, digits + "00000001 0000 0000 0000 00 00 00"));
    };
    EXPECT_EQ(spliceType("06"), wrong(16, 6, 5));
    EXPECT_EQ(spliceType("00"), wrong(16, 0, 5));
    EXPECT_EQ(spliceType("05"), FindingList{});
    EXPECT_EQ(findingsOf(multipleMessage(0x0107, "40 00")), wrong(16, 64, 63));
    EXPECT_EQ(findingsOf(multipleMessage(0x0109, "00 02 31 45")), wrong(19, 'E', 'D'));
    EXPECT_EQ(findingsOf(multipleMessage(0x010E, "02 00000001 00000000 0000 00 0000 00 00")), wrong(16, 2, 5));
    EXPECT_EQ(findingsOf(multipleMessage(0x010F, "1fff")), wrong(16, 0x1FFF, 0x0FFF));
    // A cancel byte with its top bit set, as some writers have it.
    EXPECT_EQ(findingsOf(multipleMessage(0x010B, "00000001 80 0000 00 01 aa 30 00 00 00 00 00 00 00 00")),
              wrong(20, 0x80, 1));
    EXPECT_EQ(findingsOf(multipleMessage(0x010B, "00000001 00 0000 00 01 aa 30 00 00 00 00 00 02 00 00")),
              wrong(32, 2, 1));
    EXPECT_EQ(findingsOf(multipleMessage(0x010B, "00000001 00 0000 00 01 aa 30 00 00 00 00 00 00 00 04")),
              wrong(34, 4, 3));
    EXPECT_EQ(findingsOf(multipleMessage(0x010B, "00000001 00 0000 00 01 aa 30 00 00 00 00 00 00 00 00 02 00 00")),
              wrong(35, 2, 1));
}

TEST(Scte104Findings, NameNumbersOfTheHeaderThatAreNotDefined) {
    const auto timeStamp = [](const std::string& digits) {
        return findingsOf(multipleMessage(digits, 1, operationBytes(0x0102, "")));
    };
    const auto wrong = [](std::uint64_t offset, std::int64_t number, std::int64_t greatest) {
        return FindingList{{FindingCode::ScteNumberWrong, kWarning, offset, number, greatest}};
    };
    EXPECT_EQ(timeStamp("04"), wrong(10, 4, 3));
    EXPECT_EQ(timeStamp("02 18 00 00 00"), wrong(11, 24, 23));
    EXPECT_EQ(timeStamp("02 00 3c 00 00"), wrong(12, 60, 59));
    EXPECT_EQ(timeStamp("02 00 00 3c 00"), wrong(13, 60, 59));
    EXPECT_EQ(timeStamp("03 ff 02"), wrong(12, 2, 1));
    Bytes bytes = multipleMessage(0x0102, "");
    bytes[4] = 1;
    EXPECT_EQ(findingsOf(bytes), wrong(4, 1, 0));
    bytes[4] = 0;
    bytes[9] = 1;
    EXPECT_EQ(findingsOf(bytes), wrong(9, 1, 0));
}

}  // namespace
