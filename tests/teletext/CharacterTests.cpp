// The Latin sets: all national options, G2, mosaics, and the way back.
#include <qlx/teletext/characters.h>

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::teletext;

std::u32string text(std::string_view codes, NationalOption option) {
    std::u32string characters;
    for (const char code : codes) {
        characters += latinG0(static_cast<std::uint8_t>(code), option);
    }
    return characters;
}

constexpr std::string_view kCodes = "#$@[\\]^_`{|}~";

TEST(LatinG0, HasThirteenNationalOptions) {
    // EN 300 706, table 36.
    using enum NationalOption;
    EXPECT_EQ(text(kCodes, CzechSlovak), U"#ůčťžýířéáěúš");
    EXPECT_EQ(text(kCodes, English), U"£$@←½→↑#—¼‖¾÷");
    EXPECT_EQ(text(kCodes, Estonian), U"#õŠÄÖŽÜÕšäöžü");
    EXPECT_EQ(text(kCodes, French), U"éïàëêùî#èâôûç");
    EXPECT_EQ(text(kCodes, German), U"#$§ÄÖÜ^_°äöüß");
    EXPECT_EQ(text(kCodes, Italian), U"£$é°ç→↑#ùàòèì");
    EXPECT_EQ(text(kCodes, LettishLithuanian), U"#$ŠėęŽčūšąųžį");
    EXPECT_EQ(text(kCodes, Polish), U"#ńąŻŚŁćóężśłź");
    EXPECT_EQ(text(kCodes, PortugueseSpanish), U"ç$¡áéíóú¿üñèà");
    EXPECT_EQ(text(kCodes, Rumanian), U"#¤ŢÂŞĂÎıţâşăî");
    EXPECT_EQ(text(kCodes, SerbianCroatianSlovenian), U"#ËČĆŽĐŠëčćžđš");
    EXPECT_EQ(text(kCodes, SwedishFinnishHungarian), U"#¤ÉÄÖÅÜ_éäöåü");
    EXPECT_EQ(text(kCodes, Turkish), U"₺ğİŞÖÇÜĞışöçü");
}

TEST(LatinG0, IsASCIIElsewhere) {
    for (const NationalOption option : kAllNationalOptions) {
        for (unsigned code = 0x20; code < 0x7F; ++code) {
            if (kCodes.find(static_cast<char>(code)) == std::string_view::npos) {
                EXPECT_EQ(latinG0(static_cast<std::uint8_t>(code), option), char32_t{code});
            }
        }
        EXPECT_EQ(latinG0(0x7F, option), U'■');
        EXPECT_EQ(latinG0(0x1F, option), U' ');
        EXPECT_EQ(latinG0(0x80, option), U' ');
    }
}

TEST(LatinG0, GoesBothWays) {
    for (const NationalOption option : kAllNationalOptions) {
        std::set<char32_t> seen;
        for (unsigned code = 0x20; code < 0x80; ++code) {
            const char32_t character = latinG0(static_cast<std::uint8_t>(code), option);
            EXPECT_TRUE(seen.insert(character).second) << code;
            EXPECT_EQ(latinG0Code(character, option), code);
        }
    }
    EXPECT_EQ(latinG0Code(U'é', NationalOption::French), 0x23);
    EXPECT_EQ(latinG0Code(U'ß', NationalOption::German), 0x7E);
    EXPECT_EQ(latinG0Code(U'ß', NationalOption::French), std::nullopt);
    EXPECT_EQ(latinG0Code(U'[', NationalOption::French), std::nullopt);
    EXPECT_EQ(latinG0Code(U'\n', NationalOption::French), std::nullopt);
}

TEST(LatinG0, IsDesignatedByRegionAndHeader) {
    // EN 300 706, table 32: a row for each four high bits, the options of C12, C13, C14 in their order.
    using enum NationalOption;
    constexpr auto kNone = std::optional<NationalOption>();
    const std::map<unsigned, std::vector<std::optional<NationalOption>>> kTable{
        {0, {English, German, SwedishFinnishHungarian, Italian, French, PortugueseSpanish, CzechSlovak, kNone}},
        {1, {Polish, German, SwedishFinnishHungarian, Italian, French, kNone, CzechSlovak, kNone}},
        {2, {English, German, SwedishFinnishHungarian, Italian, French, PortugueseSpanish, Turkish, kNone}},
        {3, {kNone, kNone, kNone, kNone, kNone, SerbianCroatianSlovenian, kNone, Rumanian}},
        // Cyrillic 1 to 3 at 0, 4 and 5, Greek at 7, Arabic at 7.
        {4, {kNone, German, Estonian, LettishLithuanian, kNone, kNone, CzechSlovak, kNone}},
        {6, {kNone, kNone, kNone, kNone, kNone, kNone, Turkish, kNone}},
        {8, {English, kNone, kNone, kNone, French, kNone, kNone, kNone}},
    };
    for (unsigned designation = 0; designation < 256; ++designation) {
        const auto row = kTable.find(designation >> 3U);
        const auto expected = row == kTable.end() ? kNone : row->second[designation & 7U];
        EXPECT_EQ(nationalOptionOf(static_cast<std::uint8_t>(designation)), expected) << designation;
    }
    EXPECT_EQ(westernOption(4), French);
    EXPECT_EQ(westernOption(6), CzechSlovak);
    EXPECT_EQ(westernOption(7), English);
    EXPECT_EQ(westernOption(12), French);
}

TEST(LatinG2, HasLettersMarksAndSigns) {
    // Three of each row; the marks of row 4 are the combining ones.
    EXPECT_EQ(latinG2(0x21), U'¡');
    EXPECT_EQ(latinG2(0x28), U'¤');
    EXPECT_EQ(latinG2(0x2F), U'↓');
    EXPECT_EQ(latinG2(0x30), U'°');
    EXPECT_EQ(latinG2(0x35), U'µ');
    EXPECT_EQ(latinG2(0x3F), U'¿');
    EXPECT_EQ(latinG2(0x41), U'\u0300');
    EXPECT_EQ(latinG2(0x48), U'\u0308');
    EXPECT_EQ(latinG2(0x4F), U'\u030C');
    EXPECT_EQ(latinG2(0x51), U'¹');
    EXPECT_EQ(latinG2(0x55), U'♪');
    EXPECT_EQ(latinG2(0x5F), U'⅞');
    EXPECT_EQ(latinG2(0x61), U'Æ');
    EXPECT_EQ(latinG2(0x69), U'Ø');
    EXPECT_EQ(latinG2(0x6F), U'ŉ');
    EXPECT_EQ(latinG2(0x71), U'æ');
    EXPECT_EQ(latinG2(0x7B), U'ß');
    EXPECT_EQ(latinG2(0x7F), U'■');
    EXPECT_EQ(latinG2(0x1F), U'\0');
    EXPECT_EQ(latinG2(0x80), U'\0');
    std::set<unsigned> none;
    for (unsigned code = 0x20; code < 0x80; ++code) {
        const char32_t character = latinG2(static_cast<std::uint8_t>(code));
        if (character == U'\0') {
            none.insert(code);
        } else {
            EXPECT_EQ(latinG2Code(character), code);
        }
    }
    EXPECT_EQ(none, (std::set<unsigned>{0x40, 0x59, 0x5A, 0x5B, 0x65}));
    EXPECT_EQ(latinG2Code(U'\0'), std::nullopt);
    EXPECT_EQ(latinG2Code(U'A'), std::nullopt);
}

TEST(Mosaics, AreBlockElementsAndSextants) {
    // The upper left, all, the left half, the right half.
    EXPECT_EQ(mosaic(0x21), U'\U0001FB00');
    EXPECT_EQ(mosaic(0x7F), U'█');
    EXPECT_EQ(mosaic(0x35), U'▌');
    EXPECT_EQ(mosaic(0x6A), U'▐');
    EXPECT_EQ(mosaic(0x20), U' ');
    // The last sextant is the one of all but the upper left.
    EXPECT_EQ(mosaic(0x7E), U'\U0001FB3B');
    std::set<char32_t> all;
    for (const unsigned first : {0x20U, 0x60U}) {
        for (unsigned code = first; code < first + 0x20; ++code) {
            all.insert(mosaic(static_cast<std::uint8_t>(code)));
        }
    }
    EXPECT_EQ(all.size(), 64U);
}

}  // namespace
