// Everything that can be wrong in a section of ANSI/SCTE 35, provoked once and compared wholly.
#include "Scte35Bytes.h"

#include <algorithm>
#include <array>
#include <map>

namespace {

using namespace qlxtest;
using namespace qlx::scte;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;

constexpr auto kRemark = Severity::Remark;
constexpr auto kWarning = Severity::Warning;
constexpr auto kError = Severity::Error;

/// The findings of a section that is kept: it is written as it was.
FindingList findingsOf(const Bytes& bytes) {
    const ReadSection read = readSection(bytes);
    EXPECT_TRUE(read.section) << read.section.error().text();
    if (read.section) {
        EXPECT_EQ(writtenSection(*read.section), bytes);
    }
    for (const Finding& finding : read.findings) {
        EXPECT_FALSE(finding.text().empty());
    }
    return read.findings;
}

Finding refusalOf(const Bytes& bytes) {
    const ReadSection read = readSection(bytes);
    EXPECT_FALSE(read.section);
    return read.section ? Finding{} : read.section.error();
}

void setCommandLength(Bytes& section, std::size_t length) {
    section[11] = static_cast<std::uint8_t>((section[11] & 0xF0U) | length >> 8U);
    section[12] = static_cast<std::uint8_t>(length);
    close(section);
}

TEST(Scte35Findings, NameWhatIsNoSection) {
    EXPECT_EQ(refusalOf(fromHex("00 b00d")), (Finding{FindingCode::ScteTableIdWrong, kError, 0, 0x00, 0xFC}));
    EXPECT_EQ(refusalOf({}), (Finding{FindingCode::ScteSectionCut, kError, 0, 17, 0}));
    Bytes bytes = sectionOf("00");
    bytes[1] = 0x3F;
    bytes[2] = 0xFE;
    EXPECT_EQ(refusalOf(bytes), (Finding{FindingCode::ScteSectionTooLong, kError, 1, 4094, 4093}));
    bytes[2] = 0xFD;
    EXPECT_EQ(refusalOf(bytes), (Finding{FindingCode::ScteSectionCut, kError, 1, 4096, 20}));
    bytes[1] = 0x30;
    bytes[2] = 5;
    EXPECT_EQ(refusalOf(bytes), (Finding{FindingCode::ScteSectionCut, kError, 1, 17, 8}));
    Bytes noLoop = sectionOf("00");
    noLoop.resize(18);
    close(noLoop);
    EXPECT_EQ(refusalOf(noLoop), (Finding{FindingCode::ScteSectionCut, kError, 18, 20, 18}));
}

TEST(Scte35Findings, NameAWrongCrc) {
    Bytes bytes = sectionOf("06 7f");
    const std::int64_t right = (std::int64_t{bytes[17]} << 24) + (bytes[18] << 16) + (bytes[19] << 8) + bytes[20];
    bytes[20] ^= 1U;
    EXPECT_EQ(findingsOf(bytes), (FindingList{{FindingCode::ScteSectionCrcWrong, kWarning, 17, right ^ 1, right}}));
}

TEST(Scte35Findings, RemarkBytesBehindTheSection) {
    Bytes bytes = sectionOf("00");
    append(bytes, fromHex("ffffff"));
    const ReadSection read = readSection(bytes);
    ASSERT_TRUE(read.section);
    EXPECT_EQ(read.findings, (FindingList{{FindingCode::ScteBytesBehindSection, kRemark, 20, 3, 0}}));
    EXPECT_EQ(writtenSection(*read.section), sectionOf("00"));
}

TEST(Scte35Findings, RemarkReservedBits) {
    const auto reserved = [](std::uint64_t offset, std::int64_t there, std::int64_t right) {
        return FindingList{{FindingCode::ScteReservedBitsWrong, kRemark, offset, there, right}};
    };
    EXPECT_EQ(findingsOf(sectionOf("06 00")), reserved(14, 0, 0x7F));
    EXPECT_EQ(findingsOf(sectionOf("06 8012345678")), reserved(14, 0, 0x3F));
    EXPECT_EQ(findingsOf(sectionOf("05 00000001 81")), reserved(18, 1, 0x7F));
    EXPECT_EQ(findingsOf(sectionOf("05 00000001 7f 58 0506 01 02")), reserved(19, 0, 7));
    EXPECT_EQ(findingsOf(sectionOf("05 00000001 7f 7f 0012345678 0506 01 02")), reserved(20, 0, 0x3F));
    EXPECT_EQ(findingsOf(sectionOf("04 01 00000001 40 5f 00000000 0000 00 00")), reserved(19, 0, 0x3F));
    EXPECT_EQ(findingsOf(sectionOf("04 01 00000001 7f 40 00000000 0000 00 00")), reserved(20, 0, 0x1F));
    EXPECT_EQ(findingsOf(sectionOf("00", "01 06 43554549 00 00")), reserved(23, 0, 0x1F));
    EXPECT_EQ(findingsOf(sectionOf("00", "04 05 43554549 00")), reserved(22, 0, 0x0F));
    EXPECT_EQ(findingsOf(sectionOf("00", "02 09 43554549 00000001 80")), reserved(26, 0, 0x3F));
    EXPECT_EQ(findingsOf(sectionOf("00", "02 0f 43554549 00000001 7f a0 00 00 10 00 00")), reserved(27, 0, 0x1F));
}

TEST(Scte35Findings, NameAHeaderThatIsNone) {
    Bytes version = sectionOf("00");
    version[3] = 1;
    close(version);
    EXPECT_EQ(findingsOf(version), (FindingList{{FindingCode::ScteProtocolVersionUnknown, kWarning, 3, 1, 0}}));
    for (unsigned indicators = 1; indicators < 4; ++indicators) {
        Bytes bytes = sectionOf("00");
        // section_syntax_indicator is the highest bit.
        bytes[1] = static_cast<std::uint8_t>(bytes[1] | (indicators & 1U) << 7U | (indicators & 2U) << 5U);
        close(bytes);
        EXPECT_EQ(findingsOf(bytes), (FindingList{{FindingCode::ScteSectionIndicatorSet, kWarning, 1, indicators, 0}}));
    }
}

TEST(Scte35Findings, NameADescriptorThatIsTooLong) {
    std::string data = "41424344";
    while (data.size() < 2 * 254) {
        data += "00";
    }
    EXPECT_TRUE(findingsOf(sectionOf("00", "80 fe" + data)).empty());
    EXPECT_EQ(findingsOf(sectionOf("00", "80 ff" + data + "00")),
              (FindingList{{FindingCode::ScteDescriptorTooLong, kWarning, 17, 255, 254}}));
}

TEST(Scte35Findings, NameEveryDescriptorThatEndsTooEarly) {
    // The data of each descriptor, and the sizes at which it is whole: a segmentation descriptor also without
    // sub-segments.
    struct Whole {
        unsigned tag;
        std::string data;
        std::vector<std::size_t> sizes;
    };
    const std::vector<Whole> descriptors{{0, "43554549 00000135", {8}},
                                         {1, "43554549 05 5f 3132", {8}},
                                         {2, "43554549 00000001 7f bf 00 00 34 00 00 01 02", {15, 17}},
                                         {3, "43554549 000060000000 00000001 0025", {16}},
                                         {4, "43554549 1f 01 656e67 10", {10}}};
    for (const Whole& whole : descriptors) {
        const Bytes data = fromHex(whole.data);
        for (std::size_t size = 0; size <= data.size(); ++size) {
            const Bytes descriptor{static_cast<std::uint8_t>(whole.tag), static_cast<std::uint8_t>(size)};
            const FindingList findings =
                findingsOf(sectionOf("00", toHex(descriptor) + toHex(std::span(data).first(size))));
            if (std::count(whole.sizes.begin(), whole.sizes.end(), size) > 0) {
                EXPECT_TRUE(findings.empty()) << whole.tag << ' ' << size;
            } else if (size > whole.sizes.front()) {
                EXPECT_EQ(findings, (FindingList{{FindingCode::ScteBytesBehindDescriptor, kWarning,
                                                  18 + whole.sizes.front(), whole.tag, 1}}));
            } else {
                const std::size_t behind = size < 4 ? size : size - 4;
                EXPECT_EQ(findings, (FindingList{{FindingCode::ScteDescriptorTooShort, kWarning, 18, whole.tag,
                                                  static_cast<std::int64_t>(behind)}}))
                    << whole.tag << ' ' << size;
            }
        }
    }
}

TEST(Scte35Findings, NameAUpidThatIsNotAsLongAsItsType) {
    // segmentation_upid_length is the byte at 16 + 2 + 4 + 4 + 1 + 1 + 1.
    const auto findings = [](unsigned type, std::size_t bytes, const std::string& behind = "10 00 00") {
        const auto byte = [](std::size_t value) { return toHex(std::array{static_cast<std::uint8_t>(value)}); };
        const std::string data =
            "43554549 00000001 7f bf" + byte(type) + byte(bytes) + std::string(2 * bytes, '0') + behind;
        return findingsOf(sectionOf("00", "02" + byte(fromHex(data).size()) + data));
    };
    const std::map<unsigned, std::size_t> lengths{{0x00, 0},  {0x02, 8},  {0x03, 12}, {0x04, 32}, {0x05, 8},
                                                  {0x06, 12}, {0x07, 12}, {0x08, 8},  {0x0A, 12}, {0x10, 16}};
    for (unsigned type = 0; type < 0x14; ++type) {
        const auto length = lengths.find(type);
        if (length == lengths.end()) {
            // The UPIDs of a MID are two bytes and more: of type 0 and no bytes here.
            EXPECT_TRUE(findings(type, 6).empty()) << type;
            continue;
        }
        EXPECT_TRUE(findings(type, length->second).empty()) << type;
        EXPECT_EQ(findings(type, length->second + 1),
                  (FindingList{{FindingCode::ScteUpidLengthWrong, kWarning, 29, type,
                                static_cast<std::int64_t>(length->second + 1)}}));
    }
    EXPECT_EQ(findings(0x08, 7, "34 00 00 01 02"),
              (FindingList{{FindingCode::ScteUpidLengthWrong, kWarning, 29, 8, 7}}));
    EXPECT_EQ(findings(0x0D, 1), (FindingList{{FindingCode::ScteUpidLengthWrong, kWarning, 29, 13, 1}}));
}

TEST(Scte35Findings, NameALengthOfTheCommandThatIsWrong) {
    // Too long by far, and too short: the fields tell where the descriptors are.
    for (const std::size_t length : {200U, 0U, 4U}) {
        Bytes bytes = sectionOf("06 ff12345678", "00 08 43554549 00000135");
        setCommandLength(bytes, length);
        EXPECT_EQ(findingsOf(bytes), (FindingList{{FindingCode::ScteCommandLengthWrong, kWarning, 11,
                                                   static_cast<std::int64_t>(length), 5}}));
        const auto section = parseSpliceInfoSection(bytes);
        ASSERT_TRUE(section);
        EXPECT_EQ(section->command, SpliceCommand(TimeSignal{{0x112345678, 0x7F}}));
        EXPECT_EQ(section->descriptors, (std::vector<SpliceDescriptor>{{AvailDescriptor{0x135}, {}}}));
    }
    // The fields of a private command do not tell, nor do those of an unknown one.
    for (const std::string& command : {std::string("ff 41424344 01"), std::string("08 41424344 01")}) {
        Bytes bytes = sectionOf(command);
        setCommandLength(bytes, 0xFFF);
        EXPECT_EQ(refusalOf(bytes), (Finding{FindingCode::ScteCommandLengthWrong, kError, 11, 0xFFF, 0}));
        setCommandLength(bytes, 20);
        EXPECT_EQ(refusalOf(bytes), (Finding{FindingCode::ScteCommandLengthWrong, kError, 11, 20, 0}));
    }
}

TEST(Scte35Findings, NameADescriptorLoopThatIsCut) {
    Bytes bytes = sectionOf("08 41424344 01", "00 08 43554549 00000135");
    bytes[20] = 11;
    close(bytes);
    EXPECT_EQ(refusalOf(bytes), (Finding{FindingCode::ScteDescriptorLoopCut, kError, 19, 11, 10}));
}

TEST(Scte35Findings, NameACommandThatIsUnlikeItsFields) {
    EXPECT_EQ(findingsOf(sectionOf("08 0102")), (FindingList{{FindingCode::ScteCommandUnknown, kRemark, 13, 8, 2}}));
    EXPECT_EQ(findingsOf(sectionOf("06 7f 0102")),
              (FindingList{{FindingCode::ScteBytesBehindCommand, kWarning, 15, 6, 2}}));
    EXPECT_EQ(findingsOf(sectionOf("00 01")), (FindingList{{FindingCode::ScteBytesBehindCommand, kWarning, 14, 0, 1}}));
    EXPECT_EQ(findingsOf(sectionOf("05 0102")), (FindingList{{FindingCode::ScteCommandTooShort, kWarning, 13, 5, 2}}));
    EXPECT_EQ(findingsOf(sectionOf("ff 0102")),
              (FindingList{{FindingCode::ScteCommandTooShort, kWarning, 13, 0xFF, 2}}));
}

TEST(Scte35Findings, NameDescriptorsThatAreUnlikeTheirFields) {
    EXPECT_EQ(findingsOf(sectionOf("00", "00 08 43554549 00000135 02")),
              (FindingList{{FindingCode::ScteDescriptorCut, kWarning, 26, 2, 1}}));
    EXPECT_EQ(findingsOf(sectionOf("00", "02 09 43554549")),
              (FindingList{{FindingCode::ScteDescriptorCut, kWarning, 16, 2, 6}}));
    EXPECT_EQ(findingsOf(sectionOf("00", "00 03 435545")),
              (FindingList{{FindingCode::ScteDescriptorTooShort, kWarning, 18, 0, 3}}));
    EXPECT_EQ(findingsOf(sectionOf("00", "00 07 43554549 000001")),
              (FindingList{{FindingCode::ScteDescriptorTooShort, kWarning, 18, 0, 3}}));
    EXPECT_EQ(findingsOf(sectionOf("00", "00 09 43554549 00000135 aa")),
              (FindingList{{FindingCode::ScteBytesBehindDescriptor, kWarning, 26, 0, 1}}));
    EXPECT_EQ(findingsOf(sectionOf("00", "02 11 43554549 00000001 7f bf 00 00 10 00 00 01 02")),
              (FindingList{{FindingCode::ScteSubSegmentsUnexpected, kRemark, 33, 0x10, 0}}));
    EXPECT_EQ(findingsOf(sectionOf("00", "02 10 43554549 00000001 7f bf 00 00 34 00 00 01")),
              (FindingList{{FindingCode::ScteBytesBehindDescriptor, kWarning, 33, 2, 1}}));
}

TEST(Scte35Text, ReadsDigitsAndBase64) {
    const Bytes bytes = fromHex("fc3011000000000000000ffff000000000");
    for (const std::string_view text : {"fc3011000000000000000ffff000000000", "0xFC3011000000000000000FFFF000000000",
                                        " FC 30 11 00 00 00 00 00 00 00 0f ff f0 00 00 00 00\n"}) {
        const auto read = spliceInfoBytes(text);
        ASSERT_TRUE(read) << text;
        EXPECT_EQ(*read, bytes);
    }
    // Worked out by hand: fc3011 is 111111 000011 000000 010001.
    for (const std::string_view text : {"/DARAAAA", "/DAR AAAA\n"}) {
        const auto read = spliceInfoBytes(text);
        ASSERT_TRUE(read) << text;
        EXPECT_EQ(*read, fromHex("fc3011000000"));
    }
    EXPECT_EQ(*spliceInfoBytes("/DA="), fromHex("fc30"));
    EXPECT_EQ(*spliceInfoBytes("/DA"), fromHex("fc30"));
    EXPECT_EQ(*spliceInfoBytes("/A=="), fromHex("fc"));
    EXPECT_EQ(*spliceInfoBytes(""), Bytes{});
    EXPECT_EQ(base64Text(fromHex("fc3011")), "/DAR");
    EXPECT_EQ(base64Text(fromHex("fc30")), "/DA=");
    EXPECT_EQ(base64Text(fromHex("fc")), "/A==");
    EXPECT_EQ(base64Text({}), "");
    EXPECT_EQ(hexText(fromHex("FC30")), "fc30");
}

TEST(Scte35Text, NamesTheCharacterThatIsWrong) {
    const auto refused = [](std::string_view text) {
        const auto bytes = spliceInfoBytes(text);
        EXPECT_FALSE(bytes) << text;
        return bytes ? Finding{} : bytes.error();
    };
    const auto wrong = [](std::uint64_t offset, std::int64_t character, std::int64_t size) {
        return Finding{FindingCode::ScteTextWrong, kError, offset, character, size};
    };
    EXPECT_EQ(refused("fc3"), wrong(3, 0, 3));
    EXPECT_EQ(refused("fc3g"), wrong(3, 'g', 4));
    EXPECT_EQ(refused("0x/D"), wrong(2, '/', 4));
    EXPECT_EQ(refused("/DA-"), wrong(3, '-', 4));
    EXPECT_EQ(refused("/DAR/"), wrong(5, 0, 5));
    EXPECT_EQ(refused("/A="), wrong(3, 0, 3));
    EXPECT_EQ(refused("/DA=="), wrong(4, '=', 5));
    EXPECT_EQ(refused("/DAR="), wrong(4, '=', 5));
    EXPECT_EQ(refused("/A==/A=="), wrong(4, '/', 8));
    EXPECT_EQ(refused("/D\xC3\xA9"), wrong(2, 0xC3, 4));
}

}  // namespace
