#include <qlx/base/finding.h>
#include <qlx/base/result.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
using qlx::PlacedSink;
using qlx::Result;
using qlx::Severity;

static_assert(std::is_trivially_copyable_v<Finding>);
static_assert(sizeof(Finding) <= 32);

TEST(Finding, SaysItsNumbersInDecimalOrHexadecimal) {
    EXPECT_EQ((Finding{FindingCode::CdpCountUnlikeRate, Severity::Warning, 8, 12, 20}).text(),
              "12 triplets, the frame rate has 20");
    EXPECT_EQ((Finding{FindingCode::AncChecksumWrong, Severity::Warning, 0, 0x1A2, 0x2A3}).text(),
              "checksum 1a2, but 2a3 is right");
    EXPECT_EQ((Finding{FindingCode::CdpChecksumWrong, Severity::Warning, 0, 0x05, 0xFB}).text(),
              "caption packet checksum 05, but fb is right");
    // A length may be greater than a number with a sign.
    EXPECT_EQ((Finding{FindingCode::KlvValueCut, Severity::Error, 0, -1, 24}).text(),
              "KLV triplet cut short: 24 of 18446744073709551615 bytes of the value");
}

TEST(Finding, HasNounsInTheirNumberAndTimeCodesWithTheirMark) {
    EXPECT_EQ((Finding{FindingCode::RowFileFrameCut, Severity::Error, 0, 0, 1}).text(),
              "the last frame is cut short: 0 of 1 row");
    EXPECT_EQ((Finding{FindingCode::RowFileFrameCut, Severity::Error, 0, 1, 2}).text(),
              "the last frame is cut short: 1 of 2 rows");
    EXPECT_EQ((Finding{FindingCode::SccTimecodeEarlier, Severity::Remark, 6, 5, 0x0A3B'0203}).text(),
              "the timecode is earlier than that of line 5: the line's pairs follow those, from 10:59:02:03 on");
    EXPECT_EQ((Finding{FindingCode::SccTimecodeEarlier, Severity::Remark, 6, 5, 0x8100'1E1D}).text(),
              "the timecode is earlier than that of line 5: the line's pairs follow those, from 01:00:30;29 on");
}

TEST(Finding, SaysTheNumberOfACodeThatIsNotKnown) {
    EXPECT_EQ((Finding{static_cast<FindingCode>(0x7FFF'FFFF), Severity::Error, 0, 0, 0}).text(), "finding 2147483647");
}

TEST(Findings, AreKeptUpToALimitAndCountedBehindIt) {
    Findings findings(2);
    for (std::uint64_t offset = 0; offset < 5; ++offset) {
        findings.add({FindingCode::CdpFooterMissing, Severity::Warning, offset, 0, 0});
    }
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0].offset, 0U);
    EXPECT_EQ(findings[1].offset, 1U);
    EXPECT_EQ(findings.rest(), 3U);
    findings.clear();
    EXPECT_TRUE(findings.empty());
    EXPECT_EQ(findings.rest(), 0U);
}

TEST(PlacedSink, GivesFindingsThePlaceOfTheirPart) {
    Findings findings;
    PlacedSink placed(&findings, 9);
    const Finding found{FindingCode::CdpTooShort, Severity::Error, 3, 11, 2};
    placed.add(found);
    placed.setPlace(13);
    placed.add(found);
    ASSERT_EQ(findings.size(), 2U);
    EXPECT_EQ(findings[0], (Finding{FindingCode::CdpTooShort, Severity::Error, 9, 11, 2}));
    EXPECT_EQ(findings[1], (Finding{FindingCode::CdpTooShort, Severity::Error, 13, 11, 2}));
    PlacedSink(nullptr, 9).add(found);
}

TEST(ResultOf, HoldsAValueOrAFinding) {
    const Result<std::string> good(std::string("value"));
    ASSERT_TRUE(good);
    EXPECT_EQ(*good, "value");
    EXPECT_EQ(good->size(), 5U);
    const Finding why{FindingCode::CdpTooShort, Severity::Error, 3, 11, 2};
    const Result<std::string> bad(why);
    ASSERT_FALSE(bad);
    EXPECT_EQ(bad.error(), why);
}

}  // namespace
