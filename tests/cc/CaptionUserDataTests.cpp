#include <qlx/cc/a53.h>

#include "CdpBytes.h"

#include <random>

namespace {

using namespace qlxtest;

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;
using qlx::cc::CaptionUserData;
using qlx::cc::CcType;
using qlx::cc::Triplet;
using qlx::cc::UserDataForm;

constexpr UserDataForm kForms[] = {UserDataForm::Mpeg2, UserDataForm::ItuT35, UserDataForm::TypeCode};

std::string codes(UserDataForm form) {
    switch (form) {
    case UserDataForm::Mpeg2:
        return "47413934 03";
    case UserDataForm::ItuT35:
        return "b5 0031 47413934 03";
    case UserDataForm::TypeCode:
        break;
    }
    return "03";
}

struct ReadUserData {
    qlx::Result<CaptionUserData> captions;
    FindingList findings;
};

ReadUserData readUserData(std::span<const std::uint8_t> bytes, UserDataForm form) {
    const ExactBuffer buffer(bytes);
    qlx::Findings findings;
    auto captions = qlx::cc::parseCaptionUserData(buffer.span(), form, &findings);
    return {std::move(captions), {findings.begin(), findings.end()}};
}

CaptionUserData twoTriplets() {
    CaptionUserData captions;
    const Triplet triplets[] = {Triplet::make(CcType::Field1, 0x94, 0x2C), Triplet()};
    EXPECT_TRUE(captions.triplets.assign(triplets));
    return captions;
}

Bytes writtenUserData(const CaptionUserData& captions, UserDataForm form) {
    ExactBuffer room = ExactBuffer::filled(qlx::cc::kGreatestCaptionUserData, 0xAA);
    const auto size = qlx::cc::writeCaptionUserData(captions, form, room.span());
    EXPECT_TRUE(size);
    const qlx::Data data = qlx::cc::writeCaptionUserData(captions, form);
    Bytes bytes = room.vector();
    bytes.resize(*size);
    EXPECT_EQ(Bytes(data.begin(), data.end()), bytes);
    return bytes;
}

TEST(CaptionUserData, HasTheBytesOfTheStandard) {
    for (const UserDataForm form : kForms) {
        const Bytes bytes = fromHex(codes(form) + "c2 ff fc942c fa0000 ff");
        EXPECT_EQ(writtenUserData(twoTriplets(), form), bytes);
        const ReadUserData back = readUserData(bytes, form);
        ASSERT_TRUE(back.captions);
        EXPECT_EQ(*back.captions, twoTriplets());
        EXPECT_EQ(back.findings, FindingList{});
    }
}

TEST(CaptionUserData, KeepsEachFlag) {
    const Bytes bytes = fromHex("47413934 03 20 12 ff");
    const ReadUserData back = readUserData(bytes, UserDataForm::Mpeg2);
    ASSERT_TRUE(back.captions);
    EXPECT_FALSE(back.captions->processEmData);
    EXPECT_FALSE(back.captions->processCcData);
    EXPECT_TRUE(back.captions->additionalData);
    EXPECT_EQ(back.captions->emData, 0x12);
    EXPECT_TRUE(back.captions->triplets.empty());
    EXPECT_EQ(writtenUserData(*back.captions, UserDataForm::Mpeg2), bytes);
}

TEST(CaptionUserData, IsReadBackAsItWasWritten) {
    std::mt19937 random(53);
    for (unsigned round = 0; round < 300; ++round) {
        CaptionUserData captions;
        captions.processEmData = random() % 2 != 0;
        captions.processCcData = random() % 2 != 0;
        captions.additionalData = random() % 2 != 0;
        captions.emData = static_cast<std::uint8_t>(random());
        std::vector<Triplet> triplets(round % 32);
        for (Triplet& triplet : triplets) {
            triplet = {static_cast<std::uint8_t>(0xF8U | random()), static_cast<std::uint8_t>(random()),
                       static_cast<std::uint8_t>(random())};
        }
        ASSERT_TRUE(captions.triplets.assign(triplets));
        for (const UserDataForm form : kForms) {
            const ReadUserData back = readUserData(writtenUserData(captions, form), form);
            ASSERT_TRUE(back.captions);
            EXPECT_EQ(*back.captions, captions);
            EXPECT_EQ(back.findings, FindingList{});
        }
    }
}

TEST(CaptionUserData, SaysWhatIsWrong) {
    const auto findingsOf = [](std::string_view digits) {
        return readUserData(fromHex(digits), UserDataForm::TypeCode).findings;
    };
    EXPECT_EQ(findingsOf("03 c1 ff 04942c ff"),
              (FindingList{{FindingCode::UserDataMarkerBitsWrong, Severity::Warning, 3, 0x04, 0xFC}}));
    EXPECT_EQ(findingsOf("03 c1 ff fc942c 7f"),
              (FindingList{{FindingCode::UserDataMarkerBitsWrong, Severity::Warning, 6, 0x7F, 0xFF}}));
    EXPECT_EQ(findingsOf("03 c1 ff fc942c"),
              (FindingList{{FindingCode::UserDataMarkerBitsMissing, Severity::Warning, 6, 0, 0}}));
    EXPECT_EQ(findingsOf("03 c1 ff fc942c ff 0000"),
              (FindingList{{FindingCode::UserDataBytesBehind, Severity::Remark, 7, 2, 0}}));
    EXPECT_EQ(findingsOf("03 c2 ff fc942c ff"), (FindingList{{FindingCode::UserDataCut, Severity::Error, 6, 2, 1}}));
}

TEST(CaptionUserData, RefusesOtherUserData) {
    const auto errorOf = [](std::string_view digits, UserDataForm form) {
        const ReadUserData read = readUserData(fromHex(digits), form);
        EXPECT_FALSE(read.captions);
        EXPECT_EQ(read.findings, FindingList{});
        return read.captions.error();
    };
    // Bar data; an identifier of another body; another country.
    EXPECT_EQ(errorOf("47413934 06 c0 ff ff", UserDataForm::Mpeg2),
              (Finding{FindingCode::UserDataUnlikeCaptions, Severity::Error, 4, 0x06, 0x03}));
    EXPECT_EQ(errorOf("44544731 41 f8", UserDataForm::Mpeg2),
              (Finding{FindingCode::UserDataUnlikeCaptions, Severity::Error, 0, 0x44, 0x47}));
    EXPECT_EQ(errorOf("26 0031 47413934 03 c0 ff ff", UserDataForm::ItuT35),
              (Finding{FindingCode::UserDataUnlikeCaptions, Severity::Error, 0, 0x26, 0xB5}));
    EXPECT_EQ(errorOf("b5 002f 03 8e", UserDataForm::ItuT35),
              (Finding{FindingCode::UserDataUnlikeCaptions, Severity::Error, 2, 0x2F, 0x31}));
}

TEST(CaptionUserData, UsesWhatIsThereOfACutOne) {
    for (const UserDataForm form : kForms) {
        const Bytes whole = writtenUserData(twoTriplets(), form);
        const std::size_t head = whole.size() - 7;
        forEachTruncation(whole, [&](const ExactBuffer& cut) {
            const ReadUserData read = readUserData(cut.span(), form);
            ASSERT_EQ(read.captions.hasValue(), cut.size() >= head);
            if (!read.captions) {
                EXPECT_EQ(read.captions.error(),
                          (Finding{FindingCode::UserDataTooShort, Severity::Error, 0, static_cast<std::int64_t>(head),
                                   static_cast<std::int64_t>(cut.size())}));
                return;
            }
            EXPECT_EQ(read.captions->triplets.size(), (cut.size() - head) / 3);
            ASSERT_EQ(read.findings.size(), 1U);
            EXPECT_EQ(read.findings[0].code, cut.size() == whole.size() - 1 ? FindingCode::UserDataMarkerBitsMissing
                                                                            : FindingCode::UserDataCut);
        });
    }
}

TEST(CaptionUserData, WritesNothingIntoASmallRoom) {
    ExactBuffer room = ExactBuffer::filled(9, 0xAA);
    const auto size = qlx::cc::writeCaptionUserData(twoTriplets(), UserDataForm::TypeCode, room.span());
    ASSERT_FALSE(size);
    EXPECT_EQ(size.error(), (Finding{FindingCode::OutputTooSmall, Severity::Error, 0, 10, 9}));
    EXPECT_EQ(room.vector(), Bytes(9, 0xAA));
}

}  // namespace
