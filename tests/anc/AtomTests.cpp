#include <qlx/anc/atom.h>

#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

namespace {

using qlx::Finding;
using qlx::FindingCode;
using qlx::Severity;
using qlx::anc::AtomHeader;
using qlxtest::ExactBuffer;
using qlxtest::fromHex;

qlx::Result<AtomHeader> parse(const std::string& hex) {
    const ExactBuffer bytes(fromHex(hex));
    return qlx::anc::parseAtomHeader(bytes.span());
}

}  // namespace

TEST(AtomHeader, HasASizeOfThirtyTwoOrSixtyFourBits) {
    constexpr std::uint32_t kMdat = qlx::fourCC("mdat");
    for (const auto& [hex, expected] : {
             std::pair{std::string("00000008 6d646174"), AtomHeader{8, kMdat, 8}},
             {"ffffffff 6d646174 11", {0xFFFFFFFF, kMdat, 8}},
             {"00000000 6d646174", {0, kMdat, 8}},
             {"00000001 6d646174 0000000100000000", {0x100000000, kMdat, 16}},
             {"00000001 6d646174 0000000000000010 22", {16, kMdat, 16}},
         }) {
        const auto header = parse(hex);
        ASSERT_TRUE(header) << hex;
        EXPECT_EQ(*header, expected) << hex;
    }
}

TEST(AtomHeader, HoldsItself) {
    const auto errorOf = [](const std::string& hex) {
        const auto header = parse(hex);
        return header ? Finding{} : header.error();
    };
    const auto wrong = [](std::int64_t size, std::int64_t least) {
        return Finding{FindingCode::AtomSizeWrong, Severity::Error, 0, size, least};
    };
    EXPECT_EQ(errorOf("00000007 6d646174"), wrong(7, 8));
    EXPECT_EQ(errorOf("00000002 6d646174"), wrong(2, 8));
    EXPECT_EQ(errorOf("00000001 6d646174 000000000000000f"), wrong(15, 16));
    EXPECT_EQ(errorOf("00000001 6d646174 0000000000000000"), wrong(0, 16));
    qlxtest::forEachTruncation(fromHex("00000001 6d646174 0000000000000010"), [](const ExactBuffer& part) {
        const auto header = qlx::anc::parseAtomHeader(part.span());
        ASSERT_FALSE(header);
        EXPECT_EQ(header.error(), (Finding{FindingCode::AtomCut, Severity::Error, 0, part.size() < 8 ? 8 : 16,
                                           static_cast<std::int64_t>(part.size())}));
    });
}
