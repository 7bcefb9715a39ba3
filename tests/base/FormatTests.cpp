#include <QLXClosedCaptionsUtilities/platform/Format.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using qlx::formatted;

TEST(Format, PrintsIntegers) {
    EXPECT_EQ(formatted("%d %i %u", -5, 6, 7U), "-5 6 7");
    EXPECT_EQ(formatted("%ld %li %lld", std::int64_t{-1}, std::int64_t{2}, std::numeric_limits<std::int64_t>::min()),
              "-1 2 -9223372036854775808");
    EXPECT_EQ(formatted("%lu %llu %zu", 1UL, std::numeric_limits<std::uint64_t>::max(), std::size_t{3}),
              "1 18446744073709551615 3");
    EXPECT_EQ(formatted("%x %X %02x %02lx %#x", 255, 255, 5, 0x161, 16), "ff FF 05 161 0x10");
    EXPECT_EQ(formatted("%5d|%-5d|%05d|%+d|% d|%.3d", 42, 42, -42, 42, 42, 7), "   42|42   |-0042|+42| 42|007");
}

TEST(Format, GivesUnsignedFormsTheWidthOfTheArgument) {
    EXPECT_EQ(formatted("%x", -1), "ffffffff");
    EXPECT_EQ(formatted("%x", std::int8_t{-1}), "ff");
    EXPECT_EQ(formatted("%u", std::int16_t{-1}), "65535");
    EXPECT_EQ(formatted("%llx", std::int64_t{-1}), "ffffffffffffffff");
    EXPECT_EQ(formatted("%d", std::numeric_limits<std::uint32_t>::max()), "4294967295");
}

TEST(Format, PrintsReals) {
    EXPECT_EQ(formatted("%f", 1.5), "1.500000");
    EXPECT_EQ(formatted("%.2f|%8.1f|%-8.1f|%08.1f|%+.0f", 3.14159, 2.25, 2.5, -2.5, 2.0),
              "3.14|     2.2|2.5     |-00002.5|+2");
    EXPECT_EQ(formatted("%f %f %f", HUGE_VAL, -HUGE_VAL, std::nan("")).substr(0, 8), "inf -inf");
    EXPECT_EQ(formatted("%f", std::numeric_limits<double>::max()).size(), 309U + 7U);
    EXPECT_EQ(formatted("%.500f", 0.5), "0.5" + std::string(127, '0'));
}

TEST(Format, PrintsTextsAndObjects) {
    const std::optional<std::string> none;
    const std::optional<std::string> some = "some";
    EXPECT_EQ(formatted("%@ %@ %@", "a", std::string("b"), some), "a b some");
    EXPECT_EQ(formatted("%@ %@ %s", none, nullptr, static_cast<const char*>(nullptr)), "(null) (null) (null)");
    EXPECT_EQ(formatted("%@ %@", qlx::Data{0xFC, 0x94}, qlx::Data()), "<fc94> (null)");
    EXPECT_EQ(formatted("%@ %@ %@", 12, -3, 0.5), "12 -3 0.5");
    EXPECT_EQ(formatted("%@", qlx::Value(qlx::Array{1, "x"})), "(1, x)");
    EXPECT_EQ(formatted("%s|%6s|%-6s|%.2s", "abc", "abc", "abc", "abc"), "abc|   abc|abc   |ab");
    EXPECT_EQ(formatted("%c%c", 'x', 65), "xA");
}

TEST(Format, CopiesBytesThatAreNotUTF8) {
    EXPECT_EQ(formatted("\xFF%@\xC3", "\x80"), "\xFF\x80\xC3");
    EXPECT_EQ(formatted("%@", std::string_view("a\0b", 3)), std::string("a\0b", 3));
}

TEST(Format, MarksMissingAndWrongArguments) {
    EXPECT_EQ(formatted("%d %@"), "(missing argument) (missing argument)");
    EXPECT_EQ(formatted("%d", "text"), "(wrong argument)");
    EXPECT_EQ(formatted("%s", 5), "(wrong argument)");
    EXPECT_EQ(formatted("%f", 5), "(wrong argument)");
    EXPECT_EQ(formatted("%c", 1.0), "(wrong argument)");
    EXPECT_EQ(formatted("%x", nullptr), "(wrong argument)");
    EXPECT_EQ(formatted("%d %d", 1), "1 (missing argument)");
    EXPECT_EQ(formatted("%d", 1, 2), "1");
}

TEST(Format, CopiesWhatIsNoPlaceholder) {
    EXPECT_EQ(formatted(""), "");
    EXPECT_EQ(formatted("100%% of %d", 3), "100% of 3");
    EXPECT_EQ(formatted("50%, sure", 1), "50%, sure");
    EXPECT_EQ(formatted("end %"), "end %");
    EXPECT_EQ(formatted("end %-5"), "end %-5");
    EXPECT_EQ(formatted("%n %q %5y", 1), "%n %q %5y");
}

TEST(Format, TakesWidthAndPrecisionFromArguments) {
    EXPECT_EQ(formatted("%*d|%-*d|%.*f", 4, 7, 4, 7, 1, 2.5), "   7|7   |2.5");
    EXPECT_EQ(formatted("%*d", -4, 7), "7   ");
    EXPECT_EQ(formatted("%.*f", -1, 2.5), "2.500000");
    EXPECT_EQ(formatted("%*d", 5), "(missing argument)");
}

TEST(Format, LimitsAbsurdWidths) {
    EXPECT_EQ(formatted("%99999999999999999999d", 1).size(), 4096U);
    EXPECT_EQ(formatted("%*d", std::numeric_limits<std::int32_t>::min(), 1).size(), 4096U);
    EXPECT_EQ(formatted("%.99999999d", 1).size(), 4096U);
}
