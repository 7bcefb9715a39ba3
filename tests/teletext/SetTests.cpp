// All alphabets: their letters, how pages designate them, and the languages that have them.
#include <qlx/teletext/sets.h>

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace {

using namespace qlx::teletext;

std::u32string textOf(SetCharacters characters, unsigned first, unsigned last) {
    return {characters.begin() + first - kFirstCharacterCode, characters.begin() + last - kFirstCharacterCode + 1};
}

constexpr CharacterSet kRussian{.g0 = G0Set::Cyrillic2, .g2 = G2Set::Cyrillic};
constexpr CharacterSet kUkrainian{.g0 = G0Set::Cyrillic3, .g2 = G2Set::Cyrillic};
constexpr CharacterSet kSerbian{.g0 = G0Set::Cyrillic1, .g2 = G2Set::Cyrillic};
constexpr CharacterSet kGreek{.g0 = G0Set::Greek, .g2 = G2Set::Greek};
constexpr CharacterSet kArabic{.g0 = G0Set::Arabic, .g2 = G2Set::Arabic};
constexpr CharacterSet kHebrew{.g0 = G0Set::Hebrew, .g2 = G2Set::Arabic};

TEST(TeletextSets, HaveTheirLettersInG0) {
    EXPECT_EQ(textOf(g0Characters(kSerbian), 0x40, 0x7E),
              U"ЧАБЦДЕФГХИЈКЛМНОПЌРСТУВЃЉЊЗЋЖЂШЏчабцдефгхијклмнопќрстувѓљњзћжђш");
    EXPECT_EQ(textOf(g0Characters(kRussian), 0x40, 0x7E),
              U"ЮАБЦДЕФГХИЙКЛМНОПЯРСТУЖВЬЪЗШЭЩЧЫюабцдефгхийклмнопярстужвьъзшэщч");
    EXPECT_EQ(textOf(g0Characters(kRussian), 0x25, 0x27), U"%ы'");
    EXPECT_EQ(textOf(g0Characters(kUkrainian), 0x57, 0x5F), U"ВЬІЗШЄЩЧЇ");
    EXPECT_EQ(textOf(g0Characters(kUkrainian), 0x77, 0x7F), U"вьізшєщч■");
    EXPECT_EQ(textOf(g0Characters(kUkrainian), 0x26, 0x26), U"ї");
    EXPECT_EQ(textOf(g0Characters(kGreek), 0x3C, 0x7E),
              U"«=»?ΐΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟΠΡ΄ΣΤΥΦΧΨΩΪΫάέήίΰαβγδεζηθικλμνξοπρςστυφχψωϊϋόύώ");
    EXPECT_EQ(textOf(g0Characters(kHebrew), 0x5B, 0x7E), U"←½→↑#אבגדהוזחטיךכלםמןנסעףפץצקרשת₪‖¾÷");
    EXPECT_EQ(textOf(g0Characters(kArabic), 0x26, 0x3F), U"\uFEF0\uFEF2)(*+،-./0123456789:؛>=<؟");
    EXPECT_EQ(textOf(g0Characters(kArabic), 0x40, 0x5F), U"ﺔﺀﺒﺏﺘﺕﺎﺍﺑﺓﺗﺛﺟﺣﺧﺩﺫﺭﺯﺳﺷﺻﺿﻁﻅﻋﻏﺜﺠﺤﺨ#");
    EXPECT_EQ(textOf(g0Characters(kArabic), 0x60, 0x7F), U"ـﻓﻗﻛﻟﻣﻧﻫﻭﻯﻳﺙﺝﺡﺥﻴﻰﻌﻐﻔﻑﻘﻕﻙﻠﻝﻤﻡﻨﻥﻻ■");
    EXPECT_EQ(textOf(g0Characters({.option = NationalOption::German}), 0x5B, 0x5F), U"ÄÖÜ^_");
    EXPECT_EQ(textOf(plainLatin(), 0x23, 0x24), U"#¤");
    EXPECT_EQ(textOf(plainLatin(), 0x5B, 0x60), U"[\\]^_`");
}

TEST(TeletextSets, HaveOtherLettersInG2) {
    EXPECT_EQ(textOf(g2Characters(G2Set::Cyrillic), 0x58, 0x7F), U"αŁłß⅛⅜⅝⅞DEFGIJKLNQRSUVWZdefgijklnqrsuvwz");
    EXPECT_EQ(textOf(g2Characters(G2Set::Greek), 0x58, 0x7E), U"αΊΎΏ⅛⅜⅝⅞CDFGJLQRSUVWYZΆΉcdfgjlqrsuvwyzΈ");
    EXPECT_EQ(textOf(g2Characters(G2Set::Arabic), 0x21, 0x3F), U"ﻉﺁﺃﺅﺇﺋﺉﭼﭽﭺﭘﭙﭖﭭﮎ٠١٢٣٤٥٦٧٨٩ﻎﻍﻼﻬﻪﻩ");
    EXPECT_EQ(textOf(g2Characters(G2Set::Arabic), 0x5B, 0x60), U"ëêùîﻊé");
    EXPECT_EQ(textOf(g2Characters(G2Set::Latin), 0x20, 0x7F), kLatinG2);
    for (const G2Set set : {G2Set::Latin, G2Set::Cyrillic, G2Set::Greek}) {
        for (std::uint8_t mark = 1; mark < 16; ++mark) {
            EXPECT_EQ(g2Characters(set)[mark + 0x40U - 0x20U], markCharacter(mark));
        }
    }
}

TEST(TeletextSets, AreDesignatedBySevenBits) {
    const std::map<unsigned, CharacterSet> kOthers{{0x20, kSerbian},
                                                   {0x24, kRussian},
                                                   {0x25, kUkrainian},
                                                   {0x37, kGreek},
                                                   {0x47, kArabic},
                                                   {0x55, kHebrew},
                                                   {0x57, kArabic},
                                                   {0x40, {.g2 = G2Set::Arabic}},
                                                   {0x44, {.option = NationalOption::French, .g2 = G2Set::Arabic}}};
    for (unsigned designation = 0; designation < 256; ++designation) {
        const auto set = characterSetOf(static_cast<std::uint8_t>(designation));
        const auto option = nationalOptionOf(static_cast<std::uint8_t>(designation));
        if (const auto other = kOthers.find(designation); other != kOthers.end()) {
            EXPECT_EQ(set, other->second) << designation;
        } else {
            EXPECT_EQ(set.has_value(), option.has_value()) << designation;
            EXPECT_TRUE(!set || *set == CharacterSet{.option = *option}) << designation;
        }
    }
    // The low bits of the region are not its own; what is reserved is as in the West.
    EXPECT_EQ(shownSet(0x27, 4), kRussian);
    EXPECT_EQ(shownSet(0x20, 6).option, NationalOption::CzechSlovak);
    EXPECT_EQ(shownSet(0x18, 1).option, NationalOption::German);
    EXPECT_EQ(shownSet(0, 7), CharacterSet{});
}

TEST(TeletextSets, PutLettersAndMarksTogether) {
    EXPECT_EQ(composed(U'e', U'\u0301'), U'é');
    EXPECT_EQ(composed(U'Z', U'\u030C'), U'Ž');
    EXPECT_EQ(composed(U'g', U'\u0327'), U'ģ');
    EXPECT_EQ(composed(U'е', U'\u0308'), U'ё');
    EXPECT_EQ(composed(U'Ο', U'\u0301'), U'Ό');
    EXPECT_EQ(composed(U'b', U'\u0301'), U'\0');
    EXPECT_EQ(composed(U'a', U'\u0332'), U'\0');
    EXPECT_EQ(composed(U'a', U'a'), U'\0');
    EXPECT_EQ(decomposed(U'ё').letter, U'е');
    EXPECT_EQ(decomposed(U'Ő').mark, U'\u030B');
    EXPECT_EQ(decomposed(U'e').letter, U'\0');
    // What is put together comes apart again.
    std::size_t count = 0;
    for (std::uint8_t mark = 1; mark < 16; ++mark) {
        for (char32_t letter = U'A'; letter < U'\u0500'; ++letter) {
            if (const char32_t character = composed(letter, markCharacter(mark)); character != U'\0') {
                ++count;
                EXPECT_EQ(decomposed(character).letter, letter);
                EXPECT_EQ(decomposed(character).mark, markCharacter(mark));
            }
        }
    }
    EXPECT_GT(count, 300U);
}

TEST(TeletextSets, AreKnownByLanguage) {
    const std::map<std::string, unsigned> kExpected{
        {"en", 0x00},  {"de", 0x01},  {"sv", 0x02},  {"fi", 0x02},  {"hu", 0x02}, {"it", 0x03}, {"fr", 0x04},
        {"pt", 0x05},  {"es", 0x05},  {"cs", 0x06},  {"sk", 0x06},  {"pl", 0x08}, {"tr", 0x16}, {"hr", 0x1D},
        {"sl", 0x1D},  {"ro", 0x1F},  {"sr", 0x20},  {"et", 0x22},  {"lt", 0x23}, {"lv", 0x23}, {"ru", 0x24},
        {"bg", 0x24},  {"uk", 0x25},  {"el", 0x37},  {"ar", 0x47},  {"he", 0x55}, {"da", 0x02}, {"GER", 0x01},
        {"deu", 0x01}, {"fre", 0x04}, {"Fra", 0x04}, {"gre", 0x37}, {"rus", 0x24}};
    for (const auto& [language, designation] : kExpected) {
        EXPECT_EQ(designationOf(language), designation) << language;
        EXPECT_TRUE(characterSetOf(static_cast<std::uint8_t>(designation))) << language;
    }
    EXPECT_EQ(designationOf(""), std::nullopt);
    EXPECT_EQ(designationOf("zh"), std::nullopt);
    EXPECT_EQ(designationOf("engl"), std::nullopt);
    EXPECT_FALSE(needsDesignationPacket(6));
    EXPECT_TRUE(needsDesignationPacket(8));
}

}  // namespace
