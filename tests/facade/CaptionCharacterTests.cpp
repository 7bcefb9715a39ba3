// Every row of every character set as UTF-8 bytes, and every code of every set.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "ExactBuffer.h"

#include <gtest/gtest.h>

#include <map>

using qlxtest::toHex;

namespace {

struct Row {
    std::uint8_t code;
    const char* utf8;  ///< Hexadecimal digits.
};

constexpr Row kBasic[] = {
    {0x2A, "c3a1"}, {0x5C, "c3a9"}, {0x5E, "c3ad"}, {0x5F, "c3b3"}, {0x60, "c3ba"},
    {0x7B, "c3a7"}, {0x7C, "c3b7"}, {0x7D, "c391"}, {0x7E, "c3b1"}, {0x7F, "e29688"},
};

constexpr Row kSpecial[] = {
    {0x30, "c2ae"}, {0x31, "c2b0"},   {0x32, "c2bd"}, {0x33, "c2bf"}, {0x34, "e284a2"}, {0x35, "c2a2"},
    {0x36, "c2a3"}, {0x37, "e299ab"}, {0x38, "c3a0"}, {0x39, "c2a0"}, {0x3A, "c3a8"},   {0x3B, "c3a2"},
    {0x3C, "c3aa"}, {0x3D, "c3ae"},   {0x3E, "c3b4"}, {0x3F, "c3bb"},
};

constexpr Row kSpanishFrench[] = {
    {0x20, "c381"}, {0x21, "c389"}, {0x22, "c393"}, {0x23, "c39a"}, {0x24, "c39c"}, {0x25, "c3bc"},   {0x26, "c2b4"},
    {0x27, "c2a1"}, {0x28, "2a"},   {0x29, "27"},   {0x2A, "2d"},   {0x2B, "c2a9"}, {0x2C, "e284a0"}, {0x2D, "e280a2"},
    {0x2E, "22"},   {0x2F, "22"},   {0x30, "c380"}, {0x31, "c382"}, {0x32, "c387"}, {0x33, "c388"},   {0x34, "c38a"},
    {0x35, "c38b"}, {0x36, "c3ab"}, {0x37, "c38e"}, {0x38, "c38f"}, {0x39, "c3af"}, {0x3A, "c394"},   {0x3B, "c399"},
    {0x3C, "c3b9"}, {0x3D, "c39b"}, {0x3E, "c2ab"}, {0x3F, "c2bb"},
};

constexpr Row kPortugueseGermanDanish[] = {
    {0x20, "c383"}, {0x21, "c3a3"}, {0x22, "c38d"}, {0x23, "c38c"}, {0x24, "c3ac"}, {0x25, "c392"}, {0x26, "c3b2"},
    {0x27, "c395"}, {0x28, "c3b5"}, {0x29, "7b"},   {0x2A, "7d"},   {0x2B, "5c"},   {0x2C, "5e"},   {0x2D, "5f"},
    {0x2E, "7c"},   {0x2F, "7e"},   {0x30, "c384"}, {0x31, "c3a4"}, {0x32, "c396"}, {0x33, "c3b6"}, {0x34, "c39f"},
    {0x35, "c2a5"}, {0x36, "20"},   {0x37, "c2a6"}, {0x38, "c385"}, {0x39, "c3a5"}, {0x3A, "c398"}, {0x3B, "c3b8"},
};

constexpr Row kG2[] = {
    {0x20, "20"},     {0x21, "c2a0"},   {0x2A, "c5a0"},   {0x2C, "c592"},   {0x30, "e29688"},
    {0x31, "27"},     {0x32, "27"},     {0x33, "e2809c"}, {0x34, "e2809d"}, {0x35, "e280a2"},
    {0x39, "e284a2"}, {0x3A, "c5a1"},   {0x3C, "c593"},   {0x3D, "e284a0"}, {0x3F, "c5b8"},
    {0x76, "e2859b"}, {0x77, "e2859c"}, {0x78, "e2859d"}, {0x79, "e2859e"}, {0x7A, "e29482"},
    {0x7B, "e29490"}, {0x7C, "e29494"}, {0x7D, "e29480"}, {0x7E, "e29498"}, {0x7F, "e2948c"},
};

constexpr Row kG1[] = {
    {0xA2, "efbfa0"}, {0xA3, "efbfa1"}, {0xA5, "efbfa5"}, {0xAC, "efbfa2"}, {0xAD, "2d"}, {0xAF, "efbfa3"},
};

using Expected = std::map<unsigned, std::string>;

/// Adds the codes from `first` to `last` as bytes of their own, behind `prefix`; `offset` is added to each code.
void addCodes(Expected& expected, unsigned first, unsigned last, const std::string& prefix, int offset) {
    for (unsigned code = first; code <= last; ++code) {
        const std::uint8_t byte[] = {static_cast<std::uint8_t>(static_cast<int>(code) + offset)};
        expected[code] = prefix + toHex(byte);
    }
}

template <std::size_t count>
void addRows(Expected& expected, const Row (&rows)[count]) {
    for (const Row& row : rows) {
        expected[row.code] = row.utf8;
    }
}

/// All 256 codes: the expected bytes, or an empty buffer, which is never none.
void expectSet(qlx::Data (*operation)(std::uint8_t), const Expected& expected) {
    for (unsigned code = 0; code < 256; ++code) {
        const auto row = expected.find(code);
        const qlx::Data data = operation(static_cast<std::uint8_t>(code));
        EXPECT_TRUE(static_cast<bool>(data)) << "code " << code;
        EXPECT_EQ(toHex(data), row == expected.end() ? "" : row->second) << "code " << code;
    }
}

}  // namespace

TEST(CaptionCharacters, Of608BasicAreTenReplacementsAndOwnBytes) {
    Expected expected;
    addCodes(expected, 0x00, 0xFF, "", 0);
    addRows(expected, kBasic);
    ASSERT_EQ(std::size(kBasic), 10U);
    expectSet(QLXCCUtilities::dataWith608ASCIICharacter, expected);
}

TEST(CaptionCharacters, Of608BasicAboveASCIIAreSingleBytes) {
    EXPECT_EQ(toHex(QLXCCUtilities::dataWith608ASCIICharacter(0x41)), "41");
    EXPECT_EQ(toHex(QLXCCUtilities::dataWith608ASCIICharacter(0x2A)), "c3a1");
    EXPECT_EQ(toHex(QLXCCUtilities::dataWith608ASCIICharacter(0x90)), "90");
    EXPECT_EQ(toHex(QLXCCUtilities::dataWith608ASCIICharacter(0x00)), "00");
}

TEST(CaptionCharacters, Of608SpecialAreSixteen) {
    Expected expected;
    addRows(expected, kSpecial);
    ASSERT_EQ(expected.size(), 16U);
    expectSet(QLXCCUtilities::dataWith608SpecialCharacter, expected);
}

TEST(CaptionCharacters, Of608SpanishFrenchAreThirtyTwo) {
    Expected expected;
    addRows(expected, kSpanishFrench);
    ASSERT_EQ(expected.size(), 32U);
    expectSet(QLXCCUtilities::dataWith608ExtSpanishFrenchCharacter, expected);
}

TEST(CaptionCharacters, Of608PortugueseGermanDanishEndAt3B) {
    Expected expected;
    addRows(expected, kPortugueseGermanDanish);
    ASSERT_EQ(expected.size(), 28U);
    expectSet(QLXCCUtilities::dataWith608ExtPortugueseGermanDanishCharacter, expected);
}

TEST(CaptionCharacters, Of708G0AreASCIIWithANote) {
    Expected expected;
    addCodes(expected, 0x20, 0x7E, "", 0);
    expected[0x7F] = "e299ab";
    expectSet(QLXCCUtilities::dataWith708G0Character, expected);
}

TEST(CaptionCharacters, Of708G1AreLatin1WithFullWidthSigns) {
    Expected expected;
    addCodes(expected, 0xA0, 0xBF, "c2", 0);
    addCodes(expected, 0xC0, 0xFF, "c3", -0x40);
    addRows(expected, kG1);
    expectSet(QLXCCUtilities::dataWith708G1Character, expected);
}

TEST(CaptionCharacters, Of708G2AreThoseOfItsTable) {
    Expected expected;
    addRows(expected, kG2);
    ASSERT_EQ(expected.size(), 25U);
    expectSet(QLXCCUtilities::dataWith708G2Character, expected);
    EXPECT_TRUE(QLXCCUtilities::dataWith708G2Character(0x25).empty());
}

TEST(CaptionCharacters, Of708G3IsTheCaptionIconAlone) {
    expectSet(QLXCCUtilities::dataWith708G3Character, {{0xA0, "c2a9"}});
}
