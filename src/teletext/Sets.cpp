// The tables of the sets, and which page has which.
#include <qlx/teletext/sets.h>

#include "teletext/SetCodes.h"

#include <algorithm>
#include <utility>

namespace qlx::teletext {

namespace {

// From code 20h on, a row of sixteen a line. Letters are those that texts have, not those that the standard's tables draw:
// a short I for the I with a grave accent of Cyrillic 2 and 3.

constexpr std::u32string_view kCyrillic1 =
    U" !\"#$%&'()*+,-./"
    U"0123456789:;<=>\?"
    U"\u0427\u0410\u0411\u0426\u0414\u0415\u0424\u0413\u0425\u0418\u0408\u041A\u041B\u041C\u041D\u041E"
    U"\u041F\u040C\u0420\u0421\u0422\u0423\u0412\u0403\u0409\u040A\u0417\u040B\u0416\u0402\u0428\u040F"
    U"\u0447\u0430\u0431\u0446\u0434\u0435\u0444\u0433\u0445\u0438\u0458\u043A\u043B\u043C\u043D\u043E"
    U"\u043F\u045C\u0440\u0441\u0442\u0443\u0432\u0453\u0459\u045A\u0437\u045B\u0436\u0452\u0448\u25A0";

constexpr std::u32string_view kCyrillic2 =
    U" !\"#$%\u044B'()*+,-./"
    U"0123456789:;<=>\?"
    U"\u042E\u0410\u0411\u0426\u0414\u0415\u0424\u0413\u0425\u0418\u0419\u041A\u041B\u041C\u041D\u041E"
    U"\u041F\u042F\u0420\u0421\u0422\u0423\u0416\u0412\u042C\u042A\u0417\u0428\u042D\u0429\u0427\u042B"
    U"\u044E\u0430\u0431\u0446\u0434\u0435\u0444\u0433\u0445\u0438\u0439\u043A\u043B\u043C\u043D\u043E"
    U"\u043F\u044F\u0440\u0441\u0442\u0443\u0436\u0432\u044C\u044A\u0437\u0448\u044D\u0449\u0447\u25A0";

constexpr std::u32string_view kCyrillic3 =
    U" !\"#$%\u0457'()*+,-./"
    U"0123456789:;<=>\?"
    U"\u042E\u0410\u0411\u0426\u0414\u0415\u0424\u0413\u0425\u0418\u0419\u041A\u041B\u041C\u041D\u041E"
    U"\u041F\u042F\u0420\u0421\u0422\u0423\u0416\u0412\u042C\u0406\u0417\u0428\u0404\u0429\u0427\u0407"
    U"\u044E\u0430\u0431\u0446\u0434\u0435\u0444\u0433\u0445\u0438\u0439\u043A\u043B\u043C\u043D\u043E"
    U"\u043F\u044F\u0440\u0441\u0442\u0443\u0436\u0432\u044C\u0456\u0437\u0448\u0454\u0449\u0447\u25A0";

constexpr std::u32string_view kGreek =
    U" !\"#$%&'()*+,-./"
    U"0123456789:;\u00AB=\u00BB\?"
    U"\u0390\u0391\u0392\u0393\u0394\u0395\u0396\u0397\u0398\u0399\u039A\u039B\u039C\u039D\u039E\u039F"
    U"\u03A0\u03A1\u0384\u03A3\u03A4\u03A5\u03A6\u03A7\u03A8\u03A9\u03AA\u03AB\u03AC\u03AD\u03AE\u03AF"
    U"\u03B0\u03B1\u03B2\u03B3\u03B4\u03B5\u03B6\u03B7\u03B8\u03B9\u03BA\u03BB\u03BC\u03BD\u03BE\u03BF"
    U"\u03C0\u03C1\u03C2\u03C3\u03C4\u03C5\u03C6\u03C7\u03C8\u03C9\u03CA\u03CB\u03CC\u03CD\u03CE\u25A0";

constexpr std::u32string_view kArabic =
    U" !\"\u00A3$%\uFEF0\uFEF2)(*+\u060C-./"
    U"0123456789:\u061B>=<\u061F"
    U"\uFE94\uFE80\uFE92\uFE8F\uFE98\uFE95\uFE8E\uFE8D\uFE91\uFE93\uFE97\uFE9B\uFE9F\uFEA3\uFEA7\uFEA9"
    U"\uFEAB\uFEAD\uFEAF\uFEB3\uFEB7\uFEBB\uFEBF\uFEC1\uFEC5\uFECB\uFECF\uFE9C\uFEA0\uFEA4\uFEA8#"
    U"\u0640\uFED3\uFED7\uFEDB\uFEDF\uFEE3\uFEE7\uFEEB\uFEED\uFEEF\uFEF3\uFE99\uFE9D\uFEA1\uFEA5\uFEF4"
    U"\uFEF0\uFECC\uFED0\uFED4\uFED1\uFED8\uFED5\uFED9\uFEE0\uFEDD\uFEE4\uFEE1\uFEE8\uFEE5\uFEFB\u25A0";

constexpr std::u32string_view kHebrew =
    U" !\"\u00A3$%&'()*+,-./"
    U"0123456789:;<=>\?"
    U"@ABCDEFGHIJKLMNO"
    U"PQRSTUVWXYZ\u2190\u00BD\u2192\u2191#"
    U"\u05D0\u05D1\u05D2\u05D3\u05D4\u05D5\u05D6\u05D7\u05D8\u05D9\u05DA\u05DB\u05DC\u05DD\u05DE\u05DF"
    U"\u05E0\u05E1\u05E2\u05E3\u05E4\u05E5\u05E6\u05E7\u05E8\u05E9\u05EA\u20AA\u2016\u00BE\u00F7\u25A0";

constexpr std::u32string_view kCyrillicG2{
    U"\u00A0\u00A1\u00A2\u00A3\0\u00A5#\u00A7\0\u2018\u201C\u00AB\u2190\u2191\u2192\u2193"
    U"\u00B0\u00B1\u00B2\u00B3\u00D7\u00B5\u00B6\u00B7\u00F7\u2019\u201D\u00BB\u00BC\u00BD\u00BE\u00BF"
    U"\0\u0300\u0301\u0302\u0303\u0304\u0306\u0307\u0308\u0323\u030A\u0327\u0332\u030B\u0328\u030C"
    U"\u2015\u00B9\u00AE\u00A9\u2122\u266A\u20A0\u2030\u03B1\u0141\u0142\u00DF\u215B\u215C\u215D\u215E"
    U"DEFGIJKLNQRSUVWZ"
    U"defgijklnqrsuvwz",
    kSetCharacters};

constexpr std::u32string_view kGreekG2{
    U"\u00A0ab\u00A3ehi\u00A7:\u2018\u201Ck\u2190\u2191\u2192\u2193"
    U"\u00B0\u00B1\u00B2\u00B3xmnp\u00F7\u2019\u201Dt\u00BC\u00BD\u00BEx"
    U"\0\u0300\u0301\u0302\u0303\u0304\u0306\u0307\u0308\u0323\u030A\u0327\u0332\u030B\u0328\u030C"
    U"\?\u00B9\u00AE\u00A9\u2122\u266A\u20A0\u2030\u03B1\u038A\u038E\u038F\u215B\u215C\u215D\u215E"
    U"CDFGJLQRSUVWYZ\u0386\u0389"
    U"cdfgjlqrsuvwyz\u0388\u25A0",
    kSetCharacters};

constexpr std::u32string_view kArabicG2{
    U"\u00A0\uFEC9\uFE81\uFE83\uFE85\uFE87\uFE8B\uFE89\uFB7C\uFB7D\uFB7A\uFB58\uFB59\uFB56\uFB6D\uFB8E"
    U"\u0660\u0661\u0662\u0663\u0664\u0665\u0666\u0667\u0668\u0669\uFECE\uFECD\uFEFC\uFEEC\uFEEA\uFEE9"
    U"\u00E0ABCDEFGHIJKLMNO"
    U"PQRSTUVWXYZ\u00EB\u00EA\u00F9\u00EE\uFECA"
    U"\u00E9abcdefghijklmno"
    U"pqrstuvwxyz\u00E2\u00F4\u00FB\u00E7\0",
    kSetCharacters};

using Table = std::array<char32_t, kSetCharacters>;

consteval Table tableOf(std::u32string_view characters) {
    Table table{};
    std::copy(characters.begin(), characters.end(), table.begin());
    return table;
}

/// The Latin sets with their options, in the order of the numbers.
constexpr std::array<Table, kNationalOptions> kLatin = []() {
    std::array<Table, kNationalOptions> tables{};
    for (const NationalOption option : kAllNationalOptions) {
        for (std::size_t place = 0; place < kSetCharacters; ++place) {
            tables[static_cast<std::size_t>(option)][place] =
                latinG0(static_cast<std::uint8_t>(place + kFirstCharacterCode), option);
        }
    }
    return tables;
}();

/// ASCII with the general currency sign.
constexpr Table kPlainLatin = []() {
    Table table{};
    for (std::size_t place = 0; place < kSetCharacters; ++place) {
        table[place] = static_cast<char32_t>(place + kFirstCharacterCode);
    }
    table['$' - kFirstCharacterCode] = U'\u00A4';
    table.back() = kFilledBlock;
    return table;
}();

/// The others, in the order of G0Set from Cyrillic1 on.
constexpr std::array<Table, 6> kOthers{tableOf(kCyrillic1), tableOf(kCyrillic2), tableOf(kCyrillic3),
                                       tableOf(kGreek),     tableOf(kArabic),    tableOf(kHebrew)};

/// In the order of G2Set.
constexpr std::array<Table, 4> kSupplementary{tableOf(kLatinG2), tableOf(kCyrillicG2), tableOf(kGreekG2),
                                              tableOf(kArabicG2)};

/// The way back: the lowest code of a character first.
consteval CodeTable codesOf(const Table& characters) {
    CodeTable codes{};
    for (std::size_t place = 0; place < characters.size(); ++place) {
        codes[place] = {characters[place], static_cast<std::uint8_t>(place + kFirstCharacterCode)};
    }
    std::sort(codes.begin(), codes.end());
    return codes;
}

template <std::size_t count, std::size_t... index>
consteval std::array<CodeTable, count> allCodesOf(const std::array<Table, count>& tables,
                                                  std::index_sequence<index...> /*places*/) {
    return {codesOf(tables[index])...};
}

constexpr auto kLatinCodes = allCodesOf(kLatin, std::make_index_sequence<kLatin.size()>());
constexpr auto kOtherCodes = allCodesOf(kOthers, std::make_index_sequence<kOthers.size()>());
constexpr auto kSupplementaryCodes = allCodesOf(kSupplementary, std::make_index_sequence<kSupplementary.size()>());

/// Designations whose sets are not the Latin ones of both kinds.
struct Entry {
    std::uint8_t designation;
    CharacterSet set;
};
constexpr Entry kDesignated[] = {
    {0x20, {.g0 = G0Set::Cyrillic1, .g2 = G2Set::Cyrillic}},
    {0x24, {.g0 = G0Set::Cyrillic2, .g2 = G2Set::Cyrillic}},
    {0x25, {.g0 = G0Set::Cyrillic3, .g2 = G2Set::Cyrillic}},
    {0x37, {.g0 = G0Set::Greek, .g2 = G2Set::Greek}},
    {0x40, {.option = NationalOption::English, .g2 = G2Set::Arabic}},
    {0x44, {.option = NationalOption::French, .g2 = G2Set::Arabic}},
    {0x47, {.g0 = G0Set::Arabic, .g2 = G2Set::Arabic}},
    {0x55, {.g0 = G0Set::Hebrew, .g2 = G2Set::Arabic}},
    {0x57, {.g0 = G0Set::Arabic, .g2 = G2Set::Arabic}},
};

/// Letters that become one character with a mark.
struct Compositions {
    char32_t mark;
    std::u32string_view letters;
    std::u32string_view characters;
};
constexpr Compositions kCompositions[] = {
    {U'\u0300', U"AEINOUWYaeinouwy",
     U"\u00C0\u00C8\u00CC\u01F8\u00D2\u00D9\u1E80\u1EF2\u00E0\u00E8\u00EC\u01F9\u00F2\u00F9\u1E81\u1EF3"},
    {U'\u0301', U"ACEGIKLMNOPRSUWYZacegiklmnoprsuwyz\u0413\u041A\u0391\u0395\u0397\u0399\u039F\u03A5\u03A9\u0433\u043A",
     U"\u00C1\u0106\u00C9\u01F4\u00CD\u1E30\u0139\u1E3E\u0143\u00D3\u1E54\u0154\u015A\u00DA\u1E82\u00DD\u0179\u00E1"
     U"\u0107\u00E9\u01F5\u00ED\u1E31\u013A\u1E3F\u0144\u00F3\u1E55\u0155\u015B\u00FA\u1E83\u00FD\u017A\u0403\u040C"
     U"\u0386\u0388\u0389\u038A\u038C\u038E\u038F\u0453\u045C"},
    {U'\u0302', U"ACEGHIJOSUWYZaceghijosuwyz",
     U"\u00C2\u0108\u00CA\u011C\u0124\u00CE\u0134\u00D4\u015C\u00DB\u0174\u0176\u1E90\u00E2\u0109\u00EA\u011D\u0125"
     U"\u00EE\u0135\u00F4\u015D\u00FB\u0175\u0177\u1E91"},
    {U'\u0303', U"AEINOUVYaeinouvy",
     U"\u00C3\u1EBC\u0128\u00D1\u00D5\u0168\u1E7C\u1EF8\u00E3\u1EBD\u0129\u00F1\u00F5\u0169\u1E7D\u1EF9"},
    {U'\u0304', U"AEGIOUYaegiouy",
     U"\u0100\u0112\u1E20\u012A\u014C\u016A\u0232\u0101\u0113\u1E21\u012B\u014D\u016B\u0233"},
    {U'\u0306', U"AEGIOUaegiou\u0418\u0423\u0438\u0443",
     U"\u0102\u0114\u011E\u012C\u014E\u016C\u0103\u0115\u011F\u012D\u014F\u016D\u0419\u040E\u0439\u045E"},
    {U'\u0307', U"ABCDEFGHIMNOPRSTWXYZabcdefghmnoprstwxyz",
     U"\u0226\u1E02\u010A\u1E0A\u0116\u1E1E\u0120\u1E22\u0130\u1E40\u1E44\u022E\u1E56\u1E58\u1E60\u1E6A\u1E86\u1E8A"
     U"\u1E8E\u017B\u0227\u1E03\u010B\u1E0B\u0117\u1E1F\u0121\u1E23\u1E41\u1E45\u022F\u1E57\u1E59\u1E61\u1E6B\u1E87"
     U"\u1E8B\u1E8F\u017C"},
    {U'\u0308', U"AEHIOUWXYaehiotuwxy\u0415\u0406\u0435\u0456",
     U"\u00C4\u00CB\u1E26\u00CF\u00D6\u00DC\u1E84\u1E8C\u0178\u00E4\u00EB\u1E27\u00EF\u00F6\u1E97\u00FC\u1E85\u1E8D"
     U"\u00FF\u0401\u0407\u0451\u0457"},
    {U'\u0323', U"ABDEHIKLMNORSTUVWYZabdehiklmnorstuvwyz",
     U"\u1EA0\u1E04\u1E0C\u1EB8\u1E24\u1ECA\u1E32\u1E36\u1E42\u1E46\u1ECC\u1E5A\u1E62\u1E6C\u1EE4\u1E7E\u1E88\u1EF4"
     U"\u1E92\u1EA1\u1E05\u1E0D\u1EB9\u1E25\u1ECB\u1E33\u1E37\u1E43\u1E47\u1ECD\u1E5B\u1E63\u1E6D\u1EE5\u1E7F\u1E89"
     U"\u1EF5\u1E93"},
    {U'\u030A', U"AUauwy", U"\u00C5\u016E\u00E5\u016F\u1E98\u1E99"},
    {U'\u0327', U"CDEGHKLNRSTcdeghklnrst",
     U"\u00C7\u1E10\u0228\u0122\u1E28\u0136\u013B\u0145\u0156\u015E\u0162\u00E7\u1E11\u0229\u0123\u1E29\u0137\u013C"
     U"\u0146\u0157\u015F\u0163"},
    {U'\u030B', U"OUou", U"\u0150\u0170\u0151\u0171"},
    {U'\u0328', U"AEIOUaeiou", U"\u0104\u0118\u012E\u01EA\u0172\u0105\u0119\u012F\u01EB\u0173"},
    {U'\u030C', U"ACDEGHIKLNORSTUZacdeghijklnorstuz",
     U"\u01CD\u010C\u010E\u011A\u01E6\u021E\u01CF\u01E8\u013D\u0147\u01D1\u0158\u0160\u0164\u01D3\u017D\u01CE\u010D"
     U"\u010F\u011B\u01E7\u021F\u01D0\u01F0\u01E9\u013E\u0148\u01D2\u0159\u0161\u0165\u01D4\u017E"}};
static_assert(std::all_of(std::begin(kCompositions), std::end(kCompositions), [](const Compositions& compositions) {
    return compositions.letters.size() == compositions.characters.size();
}));

constexpr std::size_t kMarkedLetters = []() {
    std::size_t count = 0;
    for (const Compositions& compositions : kCompositions) {
        count += compositions.characters.size();
    }
    return count;
}();

/// A character that comes apart.
struct Decomposition {
    char32_t character = 0;
    MarkedLetter parts;
};

/// All of them, by character.
constexpr std::array<Decomposition, kMarkedLetters> kDecompositions = []() {
    std::array<Decomposition, kMarkedLetters> all{};
    std::size_t next = 0;
    for (const Compositions& compositions : kCompositions) {
        for (std::size_t place = 0; place < compositions.characters.size(); ++place) {
            all[next++] = {compositions.characters[place], {compositions.letters[place], compositions.mark}};
        }
    }
    std::sort(all.begin(), all.end(),
              [](const Decomposition& one, const Decomposition& other) { return one.character < other.character; });
    return all;
}();

/// A language by its codes.
struct Language {
    std::string_view code;           ///< ISO 639-1; empty where there is none.
    std::string_view threeLetters;   ///< ISO 639-2/T.
    std::string_view bibliographic;  ///< ISO 639-2/B where it is another one.
    std::uint8_t designation;
};
constexpr Language kLanguages[] = {
    {"en", "eng", "", 0x00},    {"nl", "nld", "dut", 0x00}, {"af", "afr", "", 0x00},    {"cy", "cym", "wel", 0x00},
    {"mt", "mlt", "", 0x00},    {"de", "deu", "ger", 0x01}, {"lb", "ltz", "", 0x01},    {"sv", "swe", "", 0x02},
    {"fi", "fin", "", 0x02},    {"hu", "hun", "", 0x02},    {"da", "dan", "", 0x02},    {"no", "nor", "", 0x02},
    {"nb", "nob", "", 0x02},    {"nn", "nno", "", 0x02},    {"is", "isl", "ice", 0x02}, {"fo", "fao", "", 0x02},
    {"se", "sme", "", 0x02},    {"it", "ita", "", 0x03},    {"fr", "fra", "fre", 0x04}, {"sq", "sqi", "alb", 0x04},
    {"br", "bre", "", 0x04},    {"pt", "por", "", 0x05},    {"es", "spa", "", 0x05},    {"ca", "cat", "", 0x05},
    {"gl", "glg", "", 0x05},    {"eu", "eus", "baq", 0x05}, {"ga", "gle", "", 0x05},    {"cs", "ces", "cze", 0x06},
    {"sk", "slk", "slo", 0x06}, {"pl", "pol", "", 0x08},    {"tr", "tur", "", 0x16},    {"hr", "hrv", "scr", 0x1D},
    {"sl", "slv", "", 0x1D},    {"bs", "bos", "", 0x1D},    {"ro", "ron", "rum", 0x1F}, {"sr", "srp", "scc", 0x20},
    {"mk", "mkd", "mac", 0x20}, {"et", "est", "", 0x22},    {"lt", "lit", "", 0x23},    {"lv", "lav", "", 0x23},
    {"ru", "rus", "", 0x24},    {"bg", "bul", "", 0x24},    {"uk", "ukr", "", 0x25},    {"el", "ell", "gre", 0x37},
    {"ar", "ara", "", 0x47},    {"he", "heb", "", 0x55},    {"iw", "heb", "", 0x55},    {"yi", "yid", "", 0x55},
};

constexpr char lowerCase(char letter) noexcept {
    constexpr int kCase = 0x20;
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + kCase) : letter;
}

/// ASCII letters whose case is of no meaning.
bool isSame(std::string_view given, std::string_view code) noexcept {
    return std::equal(given.begin(), given.end(), code.begin(), code.end(),
                      [](char left, char right) { return lowerCase(left) == right; });
}

/// The language with this code; null where there is none.
const Language* languageNamed(std::string_view code) noexcept {
    for (const Language& entry : kLanguages) {
        const bool isIt =
            isSame(code, entry.code) || isSame(code, entry.threeLetters) || isSame(code, entry.bibliographic);
        if (isIt && !code.empty()) {
            return &entry;
        }
    }
    return nullptr;
}

/// Where the marks are in the Latin G2 set, from none on.
constexpr std::size_t kMarks = 0x40 - kFirstCharacterCode;
constexpr std::uint8_t kLastMark = 15;

}  // namespace

std::optional<CharacterSet> characterSetOf(std::uint8_t designation) noexcept {
    for (const Entry& entry : kDesignated) {
        if (entry.designation == designation) {
            return entry.set;
        }
    }
    const auto option = nationalOptionOf(designation);
    if (!option) {
        return std::nullopt;
    }
    return CharacterSet{.option = *option};
}

CharacterSet shownSet(std::uint8_t region, std::uint8_t control) noexcept {
    constexpr std::uint8_t kControlBits = 7;
    const auto designation = static_cast<std::uint8_t>((region & ~unsigned{kControlBits}) | (control & kControlBits));
    return characterSetOf(designation).value_or(CharacterSet{.option = westernOption(control)});
}

SetCharacters g0Characters(const CharacterSet& set) noexcept {
    return set.g0 == G0Set::Latin ? kLatin[static_cast<std::size_t>(set.option)]
                                  : kOthers[static_cast<std::size_t>(set.g0) - 1];
}

SetCharacters plainLatin() noexcept {
    return kPlainLatin;
}

SetCharacters g2Characters(G2Set set) noexcept {
    return kSupplementary[static_cast<std::size_t>(set)];
}

char32_t markCharacter(std::uint8_t mark) noexcept {
    return mark > kLastMark ? U'\0' : kLatinG2[kMarks + mark];
}

std::uint8_t markNumber(char32_t mark) noexcept {
    const auto* const first = kLatinG2.begin() + kMarks + 1;
    return static_cast<std::uint8_t>(std::find(first, first + kLastMark, mark) - first + 1);
}

char32_t composed(char32_t letter, char32_t mark) noexcept {
    for (const Compositions& compositions : kCompositions) {
        if (compositions.mark == mark) {
            const std::size_t place = compositions.letters.find(letter);
            return place == std::u32string_view::npos ? U'\0' : compositions.characters[place];
        }
    }
    return U'\0';
}

MarkedLetter decomposed(char32_t character) noexcept {
    const auto* const place = std::lower_bound(
        kDecompositions.begin(), kDecompositions.end(), character,
        [](const Decomposition& decomposition, char32_t wanted) { return decomposition.character < wanted; });
    return place == kDecompositions.end() || place->character != character ? MarkedLetter{} : place->parts;
}

const CodeTable& g0Codes(const CharacterSet& set) noexcept {
    return set.g0 == G0Set::Latin ? kLatinCodes[static_cast<std::size_t>(set.option)]
                                  : kOtherCodes[static_cast<std::size_t>(set.g0) - 1];
}

const CodeTable& g2Codes(G2Set set) noexcept {
    return kSupplementaryCodes[static_cast<std::size_t>(set)];
}

std::optional<std::uint8_t> designationOf(std::string_view language) noexcept {
    const Language* const found = languageNamed(language);
    return found == nullptr ? std::nullopt : std::optional(found->designation);
}

std::optional<std::array<char, 3>> languageCode(std::string_view language) noexcept {
    const Language* const found = languageNamed(language);
    if (found == nullptr || found->threeLetters.empty()) {
        return std::nullopt;
    }
    return std::array{found->threeLetters[0], found->threeLetters[1], found->threeLetters[2]};
}

}  // namespace qlx::teletext
