#include <qlx/base/finding.h>
#include <qlx/base/result.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Findings;
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
              "value of 18446744073709551615 bytes, of which 24 are there");
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
