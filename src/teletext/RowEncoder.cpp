// Encodes characters in a set, and finds the set for texts.
#include <qlx/teletext/row_encoder.h>

#include "teletext/ArabicForms.h"
#include "teletext/SetCodes.h"

#include <algorithm>
#include <tuple>

namespace qlx::teletext {

namespace {

using Fit = CellCode::Fit;

constexpr std::uint8_t kQuestionMark = 0x3F;
constexpr std::uint8_t kCommercialAtCode = 0x2A;  ///< Of a plain letter of X/26.
constexpr char32_t kLowerCase = 0x20;

constexpr bool isLetter(char32_t character) {
    return (character >= U'A' && character <= U'Z') || (character >= U'a' && character <= U'z');
}

/// The code of a character of the Latin set without an option; 0 when it is none.
std::uint8_t plainLatinCode(char32_t character) {
    constexpr char32_t kCurrency = U'\u00A4';
    constexpr char32_t kLast = U'~';
    const bool isThere = character > U' ' && character <= kLast && character != U'$';
    return isThere ? static_cast<std::uint8_t>(character) : static_cast<std::uint8_t>(character == kCurrency ? '$' : 0);
}

/// A character, and another one that is shown for it or under it.
struct Alike {
    char32_t character;
    char32_t other;
};

/// What receivers of level 1 show under a character that X/26 brings, and everyone where that has no place.
constexpr Alike kNearest[] = {
    {U'#', U'='},           {U'$', U'S'},           {U'@', U'a'},           {U'[', U'('},
    {U'\\', U'/'},          {U']', U')'},           {U'^', U'\''},          {U'_', U'-'},
    {U'`', U'\''},          {U'{', U'('},           {U'|', U'!'},           {U'}', U')'},
    {U'~', U'-'},           {U'\u00A1', U'!'},      {U'\u00A2', U'c'},      {U'\u00A3', U'L'},
    {U'\u00A4', U'*'},      {U'\u00A5', U'Y'},      {U'\u00A7', U'S'},      {U'\u00A9', U'c'},
    {U'\u00AA', U'a'},      {U'\u00AB', U'"'},      {U'\u00AE', U'r'},      {U'\u00B0', U'o'},
    {U'\u00B1', U'+'},      {U'\u00B2', U'2'},      {U'\u00B3', U'3'},      {U'\u00B5', U'u'},
    {U'\u00B6', U'P'},      {U'\u00B7', U'.'},      {U'\u00B9', U'1'},      {U'\u00BA', U'o'},
    {U'\u00BB', U'"'},      {U'\u00BC', U'1'},      {U'\u00BD', U'1'},      {U'\u00BE', U'3'},
    {U'\u00BF', U'?'},      {U'\u00C6', U'A'},      {U'\u00D7', U'x'},      {U'\u00D8', U'O'},
    {U'\u00DE', U'T'},      {U'\u00DF', U's'},      {U'\u00E6', U'a'},      {U'\u00F0', U'd'},
    {U'\u00F7', U':'},      {U'\u00F8', U'o'},      {U'\u00FE', U't'},      {U'\u0110', U'D'},
    {U'\u0111', U'd'},      {U'\u0126', U'H'},      {U'\u0127', U'h'},      {U'\u0131', U'i'},
    {U'\u0132', U'I'},      {U'\u0133', U'i'},      {U'\u0138', U'k'},      {U'\u013F', U'L'},
    {U'\u0140', U'l'},      {U'\u0141', U'L'},      {U'\u0142', U'l'},      {U'\u0149', U'n'},
    {U'\u014A', U'N'},      {U'\u014B', U'n'},      {U'\u0152', U'O'},      {U'\u0153', U'o'},
    {U'\u0166', U'T'},      {U'\u0167', U't'},      {U'\u018F', U'E'},      {U'\u0259', U'e'},
    {U'\u0404', U'\u0415'}, {U'\u0406', U'I'},      {U'\u0454', U'\u0435'}, {U'\u0456', U'i'},
    {U'\u0490', U'\u0413'}, {U'\u0491', U'\u0433'}, {U'\u20AC', U'E'},      {U'\u2015', U'-'},
    {U'\u2016', U'!'},      {U'\u2026', U'.'},      {U'\u2122', U't'},      {U'\u215B', U'1'},
    {U'\u215C', U'3'},      {U'\u215D', U'5'},      {U'\u215E', U'7'},      {U'\u266A', U'#'},
    {U'\u266B', U'#'},      {U'\u2190', U'<'},      {U'\u2191', U'\''},     {U'\u2192', U'>'},
    {U'\u2193', U'.'},      {U'\u0622', U'\u0627'}, {U'\u0623', U'\u0627'}, {U'\u0624', U'\u0648'},
    {U'\u0625', U'\u0627'}, {U'\u0626', U'\u0649'}, {U'\u067E', U'\u0628'}, {U'\u0686', U'\u062C'},
    {U'\u06A4', U'\u0641'}, {U'\u06A9', U'\u0643'}, {U'\u0671', U'\u0627'}, {U'\u0698', U'\u0632'},
    {U'\u06AF', U'\u0643'},
};
/// Characters that are shown as others without anything being lost.
constexpr Alike kSame[] = {
    {U'\u00A0', U' '},      {U'\u00AD', U'-'},      {U'\u00B4', U'\''},     {U'\u0218', U'\u015E'},
    {U'\u0219', U'\u015F'}, {U'\u021A', U'\u0162'}, {U'\u021B', U'\u0163'}, {U'\u05BE', U'-'},
    {U'\u05F3', U'\''},     {U'\u05F4', U'"'},      {U'\u066A', U'%'},      {U'\u06A9', U'\u0643'},
    {U'\u06CC', U'\u0649'}, {U'\u1E9E', U'\u00DF'}, {U'\u2002', U' '},      {U'\u2003', U' '},
    {U'\u2009', U' '},      {U'\u2010', U'-'},      {U'\u2011', U'-'},      {U'\u2012', U'-'},
    {U'\u2013', U'-'},      {U'\u2014', U'\u2015'}, {U'\u2018', U'\''},     {U'\u2019', U'\''},
    {U'\u201A', U','},      {U'\u201B', U'\''},     {U'\u201C', U'"'},      {U'\u201D', U'"'},
    {U'\u201E', U'"'},      {U'\u201F', U'"'},      {U'\u202F', U' '},      {U'\u2212', U'-'},
    {U'\u2039', U'\''},     {U'\u203A', U'\''},     {U'\u2044', U'/'},      {U'\u20A4', U'\u00A3'},
    {U'\u2669', U'\u266A'}, {U'\u266C', U'\u266A'}, {U'\u00D0', U'\u0110'},
};

template <std::size_t size>
char32_t find(const Alike (&table)[size], char32_t character) {
    for (const Alike& alike : table) {
        if (alike.character == character) {
            return alike.other;
        }
    }
    return U'\0';
}

/// Encodes in one set.
class Encoder {
public:
    explicit Encoder(const CharacterSet& set)
        : _set(set), _g0(g0Characters(set)), _g0Codes(g0Codes(set)), _g2Codes(g2Codes(set.g2)) {}

    [[nodiscard]] CellCode encode(char32_t character) const {
        CellCode cell{.shown = character};
        if (place(character, cell)) {
            return cell;
        }
        if (const char32_t same = sameForm(character); same != U'\0' && place(same, cell)) {
            // Another form of an Arabic letter is the letter all the same, where rows are read as such.
            cell.shown = same;
            cell.fit = _set.isRightToLeft() && plainArabic(same) == plainArabic(character) ? Fit::Exact : Fit::Replaced;
            return cell;
        }
        cell = {.code = under(character), .fit = Fit::Missing};
        cell.shown = _g0[cell.code - kFirstCharacterCode];
        return cell;
    }

private:
    /// Whether the row or X/26 have it.
    bool place(char32_t character, CellCode& cell) const {
        if (const std::uint8_t code = g0Code(character); code != 0) {
            cell.code = code;
            return true;
        }
        return placeOver(character, cell);
    }

    bool placeOver(char32_t character, CellCode& cell) const {
        const std::uint8_t code = codeIn(_g2Codes, character);
        const bool isMark = character >= U'\u0300' && character <= U'\u036F';
        if (code > kFirstCharacterCode && character != U'\0' && !isMark) {
            put(modeOf(ColumnMode::G2Character), code, under(character), cell);
            return true;
        }
        if (const MarkedLetter parts = decomposed(character); parts.letter != U'\0') {
            return placeMarked(parts, cell);
        }
        if (character == U'@') {
            put(modeOf(ColumnMode::PlainLetter), kCommercialAtCode, under(character), cell);
            return true;
        }
        if (const std::uint8_t plain = plainLatinCode(character); plain != 0) {
            put(modeOf(ColumnMode::PlainLetter), plain, under(character), cell);
            return true;
        }
        return false;
    }

    /// A letter of the Latin set, or of the page's, with a mark. A receiver reads letters of the page's where they make
    /// up a character with the mark.
    bool placeMarked(const MarkedLetter& parts, CellCode& cell) const {
        const std::uint8_t mark = markNumber(parts.mark);
        const bool isLatin = isLetter(parts.letter);
        const std::uint8_t code = isLatin ? static_cast<std::uint8_t>(parts.letter) : g0Code(parts.letter);
        if (code == 0) {
            return false;
        }
        if (const char32_t base = _g0[code - std::size_t{kFirstCharacterCode}]; isLatin && base != parts.letter) {
            const char32_t own = composed(base, parts.mark);
            if (own != U'\0' && own != composed(parts.letter, parts.mark)) {
                cell.fit = Fit::Replaced;
                cell.shown = own;
            }
        }
        put(static_cast<std::uint8_t>(modeOf(ColumnMode::PlainLetter) + mark), code,
            under(isLatin ? parts.letter : _g0[code - std::size_t{kFirstCharacterCode}]), cell);
        return true;
    }

    static void put(std::uint8_t mode, std::uint8_t placed, std::uint8_t under, CellCode& cell) {
        cell.code = under;
        cell.mode = mode;
        cell.placedCode = placed;
    }

    /// Another character that says the same.
    [[nodiscard]] char32_t sameForm(char32_t character) const {
        for (const char32_t form : otherForms(character)) {
            if (form != U'\0' && (g0Code(form) != 0 || codeIn(_g2Codes, form) != 0)) {
                return form;
            }
        }
        const char32_t same = standIn(kSame, character);
        return same != U'\0' && same != character && isArabic(same) ? sameForm(same) : same;
    }

    /// What a table has for a character; for a form of an Arabic letter the same form of another letter.
    template <std::size_t size>
    [[nodiscard]] static char32_t standIn(const Alike (&table)[size], char32_t character) {
        constexpr char32_t kPersianYeh = U'\u06CC';
        constexpr char32_t kYeh = U'\u064A';
        const ArabicLetter* const letter = arabicLetter(character);
        if (letter == nullptr) {
            return find(table, character);
        }
        char32_t other = find(table, letter->letter);
        const ArabicForm form = formIn(*letter, character);
        if (letter->letter == kPersianYeh && (form == ArabicForm::Initial || form == ArabicForm::Medial)) {
            other = kYeh;  // which has the two dots there
        }
        return other == U'\0' ? other : formLike(character, other);
    }

    /// The code of the nearest character of the row's set: what receivers of level 1 show.
    [[nodiscard]] std::uint8_t under(char32_t character) const {
        constexpr int kSteps = 4;
        for (int step = 0; step < kSteps; ++step) {
            if (const std::uint8_t code = codeOfNear(character); code != 0) {
                return code;
            }
            const MarkedLetter parts = decomposed(character);
            char32_t next = parts.letter;
            next = next == U'\0' ? standIn(kSame, character) : next;
            next = next == U'\0' ? standIn(kNearest, character) : next;
            if (next == U'\0') {
                break;
            }
            character = next;
        }
        if (character >= kFirstArabicDigit && character < kFirstArabicDigit + 10) {
            return static_cast<std::uint8_t>('0' + (character - kFirstArabicDigit));
        }
        return kQuestionMark;
    }

    /// The code of a character of the row's set, in the other case if need be, or of the letter that stands where Latin
    /// has this one: these sets have letters of the same sound there.
    [[nodiscard]] std::uint8_t codeOfNear(char32_t character) const {
        if (const std::uint8_t code = g0Code(character); code != 0) {
            return code;
        }
        for (const char32_t form : otherForms(character)) {
            if (const std::uint8_t code = form == U'\0' ? std::uint8_t{0} : g0Code(form); code != 0) {
                return code;
            }
        }
        if (!isLetter(character)) {
            return 0;
        }
        const std::uint8_t capital = g0Code(character & ~kLowerCase);
        const bool hasSounds = _set.g0 != G0Set::Arabic && _set.g0 != G0Set::Hebrew;
        return capital != 0 ? capital : hasSounds ? static_cast<std::uint8_t>(character) : kQuestionMark;
    }

    /// The code of a character of the row's set; 0 when it is not there.
    [[nodiscard]] std::uint8_t g0Code(char32_t character) const {
        return isAtAscii(_g0, character) ? static_cast<std::uint8_t>(character) : codeIn(_g0Codes, character);
    }

    static constexpr char32_t kFirstArabicDigit = 0x660;

    const CharacterSet& _set;
    SetCharacters _g0;
    const CodeTable& _g0Codes;
    const CodeTable& _g2Codes;
};

void tell(FindingSink* findings, const DisplayCell& cell, const CellCode& code) {
    if (findings == nullptr || code.fit == Fit::Exact) {
        return;
    }
    const bool isMissing = code.fit == Fit::Missing;
    findings->add({isMissing ? FindingCode::TeletextCharacterMissing : FindingCode::TeletextCharacterReplaced,
                   isMissing ? Severity::Error : Severity::Remark, cell.source,
                   static_cast<std::int64_t>(cell.character), static_cast<std::int64_t>(code.shown)});
}

}  // namespace

CellCode encodeCharacter(char32_t character, const CharacterSet& set) noexcept {
    return Encoder(set).encode(character);
}

std::size_t encodeCells(std::span<const DisplayCell> cells, const CharacterSet& set, std::uint8_t row,
                        std::size_t column, std::span<std::uint8_t, kDataBytes> codes,
                        std::vector<Placement>& placements, FindingSink* findings) {
    const Encoder encoder(set);
    const std::size_t count = column >= codes.size() ? 0 : std::min(cells.size(), codes.size() - column);
    for (std::size_t index = 0; index < count; ++index, ++column) {
        const CellCode code = encoder.encode(cells[index].character);
        codes[column] = code.code;
        if (code.isPlaced()) {
            placements.push_back({row, static_cast<std::uint8_t>(column), code.mode, code.placedCode});
        }
        tell(findings, cells[index], code);
    }
    return count;
}

void SetChoice::add(std::u32string_view text) {
    for (const DisplayCell& cell : displayCells(text, {})) {
        ++_counts[cell.character];
    }
}

std::uint8_t SetChoice::designation(std::uint8_t region) const {
    // Lost characters, placements, not of the region, number: the least of all.
    using Cost = std::tuple<std::uint64_t, std::uint64_t, bool, unsigned>;
    Cost best{~std::uint64_t{0}, 0, false, 0};
    for (unsigned designation = 0; designation < kDesignations; ++designation) {
        const auto set = characterSetOf(static_cast<std::uint8_t>(designation));
        if (!set) {
            continue;
        }
        Cost cost{0, 0, needsDesignationPacket(static_cast<std::uint8_t>(designation), region), designation};
        for (const auto& [character, count] : _counts) {
            const CellCode code = encodeCharacter(character, *set);
            std::get<0>(cost) += code.fit == Fit::Missing ? count : 0;
            std::get<1>(cost) += code.isPlaced() ? count : 0;
        }
        best = std::min(best, cost);
    }
    return static_cast<std::uint8_t>(std::get<3>(best));
}

}  // namespace qlx::teletext
