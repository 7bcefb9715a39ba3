#include <QLXClosedCaptionsUtilities/platform/TextEncoding.h>

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <vector>

namespace {

using qlx::TextEncoding;

std::optional<std::string> decoded(std::vector<std::uint8_t> bytes, TextEncoding encoding) {
    return qlx::decodedText(bytes, encoding);
}

constexpr std::array kSets{TextEncoding::Latin1, TextEncoding::LatinCyrillic, TextEncoding::LatinArabic,
                           TextEncoding::LatinGreek, TextEncoding::LatinHebrew};

/// The 96 characters from 0xA0 on as the standards print them, row by row of 16; a full stop where there is none.
const std::map<TextEncoding, std::string>& codeCharts() {
    static const std::map<TextEncoding, std::string> charts{
        {TextEncoding::Latin1, "\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯"
                               "°±²³´µ¶·¸¹º»¼½¾¿"
                               "ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏ"
                               "ÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
                               "àáâãäåæçèéêëìíîï"
                               "ðñòóôõö÷øùúûüýþÿ"},
        {TextEncoding::LatinCyrillic, "\u00A0ЁЂЃЄЅІЇЈЉЊЋЌ\u00ADЎЏ"
                                      "АБВГДЕЖЗИЙКЛМНОП"
                                      "РСТУФХЦЧШЩЪЫЬЭЮЯ"
                                      "абвгдежзийклмноп"
                                      "рстуфхцчшщъыьэюя"
                                      "№ёђѓєѕіїјљњћќ§ўџ"},
        {TextEncoding::LatinArabic, "\u00A0...¤.......\u060C\u00AD.."
                                    "...........\u061B...\u061F"
                                    ".\u0621\u0622\u0623\u0624\u0625\u0626\u0627\u0628\u0629\u062A\u062B\u062C\u062D"
                                    "\u062E\u062F"
                                    "\u0630\u0631\u0632\u0633\u0634\u0635\u0636\u0637\u0638\u0639\u063A....."
                                    "\u0640\u0641\u0642\u0643\u0644\u0645\u0646\u0647\u0648\u0649\u064A\u064B\u064C"
                                    "\u064D\u064E\u064F"
                                    "\u0650\u0651\u0652............."},
        {TextEncoding::LatinGreek, "\u00A0‘’£€₯¦§¨©ͺ«¬\u00AD.―"
                                   "°±²³\u0384\u0385\u0386·\u0388\u0389\u038A»\u038C½\u038E\u038F"
                                   "\u0390ΑΒΓΔΕΖΗΘΙΚΛΜΝΞΟ"
                                   "ΠΡ.ΣΤΥΦΧΨΩΪΫάέήί"
                                   "ΰαβγδεζηθικλμνξο"
                                   "πρςστυφχψωϊϋόύώ."},
        {TextEncoding::LatinHebrew,
         "\u00A0.¢£¤¥¦§¨©×«¬\u00AD®¯"
         "°±²³´µ¶·¸¹÷»¼½¾."
         "................"
         "...............‗"
         "\u05D0\u05D1\u05D2\u05D3\u05D4\u05D5\u05D6\u05D7\u05D8\u05D9\u05DA\u05DB\u05DC"
         "\u05DD\u05DE\u05DF"
         "\u05E0\u05E1\u05E2\u05E3\u05E4\u05E5\u05E6\u05E7\u05E8\u05E9\u05EA..\u200E\u200F."},
    };
    return charts;
}

/// The characters of a UTF-8 text, one each.
std::vector<std::string> charactersOf(const std::string& text) {
    std::vector<std::string> characters;
    for (const char byte : text) {
        if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80) {
            characters.emplace_back();
        }
        characters.back() += byte;
    }
    return characters;
}

TEST(TextEncoding, HasEveryByteOfEverySet) {
    for (const TextEncoding set : kSets) {
        const auto upper = charactersOf(codeCharts().at(set));
        ASSERT_EQ(upper.size(), 96U) << static_cast<int>(set);
        for (unsigned byte = 0; byte < 256; ++byte) {
            std::optional<std::string> expected(std::string(1, static_cast<char>(byte)));
            if (byte >= 0xA0) {
                expected = upper[byte - 0xA0];
                if (expected == ".") {
                    expected = std::nullopt;
                }
            } else if (byte >= 0x80) {
                expected = "\xC2" + *expected;  // U+0080 to U+009F
            }
            EXPECT_EQ(decoded({static_cast<std::uint8_t>(byte)}, set), expected)
                << static_cast<int>(set) << ' ' << std::hex << byte;
        }
    }
}

TEST(TextEncoding, KnowsASCII) {
    std::vector<std::uint8_t> bytes;
    std::string expected;
    for (int byte = 0; byte < 128; ++byte) {
        bytes.push_back(static_cast<std::uint8_t>(byte));
        expected += static_cast<char>(byte);
    }
    EXPECT_EQ(decoded(bytes, TextEncoding::ASCII), expected);
    for (int byte = 128; byte < 256; ++byte) {
        EXPECT_EQ(decoded({'a', static_cast<std::uint8_t>(byte)}, TextEncoding::ASCII), std::nullopt) << byte;
    }
}

TEST(TextEncoding, ChecksUTF8) {
    EXPECT_EQ(decoded({'a', 0xC3, 0xA9, 0xE2, 0x82, 0xAC}, TextEncoding::UTF8), "a\u00E9\u20AC");
    EXPECT_EQ(decoded({'a', 0xC3}, TextEncoding::UTF8), std::nullopt);
    EXPECT_EQ(decoded({0xC0, 0x80}, TextEncoding::UTF8), std::nullopt);
    EXPECT_EQ(decoded({0xED, 0xA0, 0x80}, TextEncoding::UTF8), std::nullopt);
}

TEST(TextEncoding, GivesNoTextForOneByteWithoutACharacter) {
    EXPECT_EQ(decoded({'a', 0xA1, 'b'}, TextEncoding::LatinHebrew), std::nullopt);
    EXPECT_EQ(decoded({}, TextEncoding::LatinHebrew), "");
    EXPECT_EQ(decoded({}, TextEncoding::UTF8), "");
    EXPECT_EQ(decoded({}, TextEncoding::ASCII), "");
}

}  // namespace
