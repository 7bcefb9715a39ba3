#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/stl_writer.h>

#include <algorithm>

namespace qlx::subtitles {

namespace {

/// A language by its ISO 639-1 code.
struct Language {
    std::string_view name;
    std::string_view code;         ///< EBU Tech 3264, appendix 3.
    std::string_view table{"00"};  ///< Of its letters.
};

constexpr Language kLanguages[] = {
    {"sq", "01"},       {"br", "02"},       {"ca", "03"},       {"hr", "04"},       {"cy", "05"},
    {"cs", "06"},       {"da", "07"},       {"de", "08"},       {"en", "09"},       {"es", "0A"},
    {"eo", "0B"},       {"et", "0C"},       {"eu", "0D"},       {"fo", "0E"},       {"fr", "0F"},
    {"fy", "10"},       {"ga", "11"},       {"gd", "12"},       {"gl", "13"},       {"is", "14"},
    {"it", "15"},       {"se", "16"},       {"la", "17"},       {"lv", "18"},       {"lb", "19"},
    {"lt", "1A"},       {"hu", "1B"},       {"mt", "1C"},       {"nl", "1D"},       {"no", "1E"},
    {"nb", "1E"},       {"nn", "1E"},       {"oc", "1F"},       {"pl", "20"},       {"pt", "21"},
    {"ro", "22"},       {"rm", "23"},       {"sr", "24", "01"}, {"sk", "25"},       {"sl", "26"},
    {"fi", "27"},       {"sv", "28"},       {"tr", "29"},       {"wa", "2B"},       {"zu", "45"},
    {"vi", "46"},       {"uz", "47"},       {"ur", "48", "02"}, {"uk", "49", "01"}, {"th", "4A"},
    {"te", "4B"},       {"tt", "4C", "01"}, {"ta", "4D"},       {"tg", "4E", "01"}, {"sw", "4F"},
    {"so", "51"},       {"si", "52"},       {"sn", "53"},       {"ru", "56", "01"}, {"qu", "57"},
    {"ps", "58", "02"}, {"pa", "59"},       {"fa", "5A", "02"}, {"or", "5C"},       {"ne", "5D"},
    {"nd", "5E"},       {"mr", "5F"},       {"ms", "61"},       {"mg", "62"},       {"mk", "63", "01"},
    {"lo", "64"},       {"ko", "65"},       {"km", "66"},       {"kk", "67", "01"}, {"kn", "68"},
    {"ja", "69"},       {"id", "6A"},       {"hi", "6B"},       {"he", "6C", "04"}, {"ha", "6D"},
    {"gn", "6E"},       {"gu", "6F"},       {"el", "70", "03"}, {"ka", "71"},       {"ff", "72"},
    {"zh", "75"},       {"my", "76"},       {"bg", "77", "01"}, {"bn", "78"},       {"be", "79", "01"},
    {"bm", "7A"},       {"az", "7B"},       {"as", "7C"},       {"hy", "7D"},       {"ar", "7E", "02"},
    {"am", "7F"},       {"yi", "00", "04"}};

const Language* languageNamed(std::string_view name) noexcept {
    name = name.substr(0, name.find_first_of("-_"));
    const auto isSame = [](char given, char known) {
        return (given >= 'A' && given <= 'Z' ? static_cast<char>(given - 'A' + 'a') : given) == known;
    };
    for (const Language& language : kLanguages) {
        if (std::equal(name.begin(), name.end(), language.name.begin(), language.name.end(), isSame)) {
            return &language;
        }
    }
    return nullptr;
}

/// From 80h on.
constexpr std::u32string_view kCodePage850 =
    U"\u00C7\u00FC\u00E9\u00E2\u00E4\u00E0\u00E5\u00E7\u00EA\u00EB\u00E8\u00EF\u00EE\u00EC\u00C4\u00C5"
    U"\u00C9\u00E6\u00C6\u00F4\u00F6\u00F2\u00FB\u00F9\u00FF\u00D6\u00DC\u00F8\u00A3\u00D8\u00D7\u0192"
    U"\u00E1\u00ED\u00F3\u00FA\u00F1\u00D1\u00AA\u00BA\u00BF\u00AE\u00AC\u00BD\u00BC\u00A1\u00AB\u00BB"
    U"\u2591\u2592\u2593\u2502\u2524\u00C1\u00C2\u00C0\u00A9\u2563\u2551\u2557\u255D\u00A2\u00A5\u2510"
    U"\u2514\u2534\u252C\u251C\u2500\u253C\u00E3\u00C3\u255A\u2554\u2569\u2566\u2560\u2550\u256C\u00A4"
    U"\u00F0\u00D0\u00CA\u00CB\u00C8\u0131\u00CD\u00CE\u00CF\u2518\u250C\u2588\u2584\u00A6\u00CC\u2580"
    U"\u00D3\u00DF\u00D4\u00D2\u00F5\u00D5\u00B5\u00FE\u00DE\u00DA\u00DB\u00D9\u00FD\u00DD\u00AF\u00B4"
    U"\u00AD\u00B1\u2017\u00BE\u00B6\u00A7\u00F7\u00B8\u00B0\u00A8\u00B7\u00B9\u00B3\u00B2\u25A0\u00A0";
static_assert(kCodePage850.size() == 128);

/// The byte of a character; none for one that the code page does not have.
std::optional<char> byteOf850(char32_t character) noexcept {
    constexpr char32_t kUpperHalf = 0x80;
    if (character >= U' ' && character < kUpperHalf - 1) {
        return static_cast<char>(character);
    }
    const std::size_t place = kCodePage850.find(character);
    return place == std::u32string_view::npos ? std::nullopt : std::optional(static_cast<char>(kUpperHalf + place));
}

}  // namespace

std::optional<std::string_view> stlLanguageCode(std::string_view language) noexcept {
    const Language* const known = languageNamed(language);
    return known == nullptr ? std::nullopt : std::optional(known->code);
}

std::string_view stlTableOfLanguage(std::string_view language) noexcept {
    const Language* const known = languageNamed(language);
    return known == nullptr ? std::string_view("00") : known->table;
}

std::string stlInformationText(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        result += byteOf850(takeCodePoint(text)).value_or('?');
    }
    return result;
}

std::optional<char32_t> missingInStlInformation(std::string_view text, std::size_t room) noexcept {
    for (; room > 0 && !text.empty(); --room) {
        if (const char32_t character = takeCodePoint(text); !byteOf850(character)) {
            return character;
        }
    }
    return std::nullopt;
}

}  // namespace qlx::subtitles
