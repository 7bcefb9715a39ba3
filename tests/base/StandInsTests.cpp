// The letters that are sent in place of those that a caption system does not have.
#include "base/StandIns.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

std::u32string replaced(std::u32string_view text) {
    std::u32string result;
    for (const char32_t character : text) {
        result += qlx::replacementOf(character);
    }
    return result;
}

TEST(StandIns, AreTheLettersWithoutTheirMarks) {
    EXPECT_EQ(replaced(U"ŴŵŶŷẀẁẂẃẄẅỲỳ"), U"WwYyWwWwWwYy");                              // Welsh
    EXPECT_EQ(replaced(U"ĈĉĜĝĤĥĴĵŜŝŬŭ"), U"CcGgHhJjSsUu");                              // Esperanto
    EXPECT_EQ(replaced(U"ĊċĠġĦħŻż"), U"CcGgHhZz");                                      // Maltese
    EXPECT_EQ(replaced(U"ĀāČčĒēĢģĪīĶķĻļŅņŌōŖŗŠšŪūŽž"), U"AaCcEeGgIiKkLlNnOoRrSsUuZz");  // Latvian
    EXPECT_EQ(replaced(U"ĄąČčĘęĖėĮįŠšŲųŪūŽž"), U"AaCcEeEeIiSsUuUuZz");                  // Lithuanian
    EXPECT_EQ(replaced(U"ĂăȘșŞşȚțŢţ"), U"AaSsSsTtTt");                                  // Romanian
    EXPECT_EQ(replaced(U"ĞğİıŞş"), U"GgIiSs");                                          // Turkish
    EXPECT_EQ(replaced(U"ƏəĞğ"), U"AaGg");                                              // Azerbaijani
    EXPECT_EQ(replaced(U"ČčĐđŊŋŠšŦŧŽž"), U"CcDdNnSsTtZz");                              // Northern Sami
    EXPECT_EQ(replaced(U"ĎďĚěŇňŘřŤťŮůĹĺĽľŔŕ"), U"DdEeNnRrTtUuLlLlRr");                  // Czech, Slovak
    EXPECT_EQ(replaced(U"ĄąĆćĘęŁłŃńŚśŹźŻżŐőŰű"), U"AaCcEeLlNnSsZzZzOoUu");              // Polish, Hungarian
    EXPECT_EQ(replaced(U"ŒœŸÿÆæĲĳŉſẞ"), U"OoYyAaIinsS");                                // ligatures and others
    EXPECT_EQ(replaced(U"ĂăĐđĨĩŨũƠơƯưẠạẢảẤấẰằẴẵẸẹẾếỆệỈỉỊịỌọỐốỘộỜờỢợỤụỦủỨứỰựỲỳỴỵỸỹ"),
              U"AaDdIiUuOoUuAaAaAaAaAaEeEeEeIiIiOoOoOoOoOoUuUuUuUuYyYyYy");  // Vietnamese
    EXPECT_EQ(replaced(U"ǍǎǏǐǑǒǓǔǕǖǗǘǙǚǛǜ"), U"AaIiOoUuUuUuUuUu");           // Pinyin
    EXPECT_EQ(replaced(U"ḂḃḊḋḞḟṀṁṖṗṠṡṪṫẸẹỌọṢṣ"), U"BbDdFfMmPpSsTtEeOoSs");   // Irish, Yoruba
}

TEST(StandIns, OfWhatHasNoneAreQuestionMarks) {
    EXPECT_EQ(replaced(U"Жあ\u0180\u1DFF\u1EFA\U00010100"), U"??????");
}

}  // namespace
