#include "subtitles/StlTables.h"

#include "teletext/Direction.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/base/utf8.h>
#include <qlx/teletext/characters.h>
#include <qlx/teletext/sets.h>

#include <array>

namespace qlx::subtitles {

namespace {

constexpr std::size_t kUpperHalf = 0x80;
constexpr std::uint8_t kFirstUpper = 0xA0;

/// The characters A0h to FFh of a table, 0 where it has none.
using Upper = std::array<char32_t, kUpperHalf - 0x20>;

/// ISO 6937 and the supplementary set of teletext differ in these. The dollar and number signs at A4h and A6h are those of
/// 1983; the later editions have them in the lower half alone.
constexpr Upper kLatin = []() {
    struct Other {
        std::uint8_t byte;
        char32_t character;
    };
    constexpr Other kOthers[] = {{0xC9, 0x0308}, {0xD0, 0x2014}, {0xD6, 0x00AC}, {0xD7, 0x00A6},
                                 {0xD8, 0},      {0xE0, 0x2126}, {0xFF, 0x00AD}};
    Upper table{};
    for (std::size_t place = 0; place < table.size(); ++place) {
        table[place] = teletext::kLatinG2[place];
    }
    for (const Other& other : kOthers) {
        table[other.byte - kFirstUpper] = other.character;
    }
    return table;
}();

/// Characters that follow one another in Unicode as in a table.
struct Stretch {
    std::uint8_t first;
    std::uint8_t last;
    char32_t character;  ///< Of the first byte.
};

template <std::size_t Size>
constexpr Upper upperOf(const Stretch (&stretches)[Size]) {
    Upper table{};
    table[0] = 0x00A0;
    table[0xAD - kFirstUpper] = 0x00AD;
    for (const Stretch& stretch : stretches) {
        for (unsigned byte = stretch.first; byte <= stretch.last; ++byte) {
            table[byte - kFirstUpper] = stretch.character + (byte - stretch.first);
        }
    }
    return table;
}

// ISO 8859-5, -6, -7 and -8.
constexpr Upper kCyrillic = upperOf({{0xA1, 0xAC, 0x0401},
                                     {0xAE, 0xEF, 0x040E},
                                     {0xF0, 0xF0, 0x2116},
                                     {0xF1, 0xFC, 0x0451},
                                     {0xFD, 0xFD, 0x00A7},
                                     {0xFE, 0xFF, 0x045E}});
constexpr Upper kArabic = upperOf({{0xA4, 0xA4, 0x00A4},
                                   {0xAC, 0xAC, 0x060C},
                                   {0xBB, 0xBB, 0x061B},
                                   {0xBF, 0xBF, 0x061F},
                                   {0xC1, 0xDA, 0x0621},
                                   {0xE0, 0xF2, 0x0640}});
constexpr Upper kGreek = upperOf({{0xA1, 0xA2, 0x2018},
                                  {0xA3, 0xA3, 0x00A3},
                                  {0xA6, 0xA9, 0x00A6},
                                  {0xAB, 0xAC, 0x00AB},
                                  {0xAF, 0xAF, 0x2015},
                                  {0xB0, 0xB3, 0x00B0},
                                  {0xB4, 0xB6, 0x0384},
                                  {0xB7, 0xB7, 0x00B7},
                                  {0xB8, 0xBA, 0x0388},
                                  {0xBB, 0xBB, 0x00BB},
                                  {0xBC, 0xBC, 0x038C},
                                  {0xBD, 0xBD, 0x00BD},
                                  {0xBE, 0xD1, 0x038E},
                                  {0xD3, 0xFE, 0x03A3}});
constexpr Upper kHebrew = upperOf({{0xA2, 0xA9, 0x00A2},
                                   {0xAA, 0xAA, 0x00D7},
                                   {0xAB, 0xAC, 0x00AB},
                                   {0xAE, 0xB9, 0x00AE},
                                   {0xBA, 0xBA, 0x00F7},
                                   {0xBB, 0xBE, 0x00BB},
                                   {0xDF, 0xDF, 0x2017},
                                   {0xE0, 0xFA, 0x05D0}});

constexpr std::array<const Upper*, kStlTables> kTables{&kLatin, &kCyrillic, &kArabic, &kGreek, &kHebrew};

/// What a mark in front of a space is, in the order of the marks; the mark itself behind a space where that is none.
constexpr std::array<char32_t, kLastStlMark - kFirstStlMark + 1> kSpacingMarks{
    U'`', 0x00B4, U'^', U'~', 0x00AF, 0x02D8, 0x02D9, 0x00A8, 0x00A8, 0x02DA, 0x00B8, U'_', 0x02DD, 0x02DB, 0x02C7};

/// The byte of a character; 0 where the table has none.
std::uint8_t byteOf(StlTable table, char32_t character) noexcept {
    if (character >= U' ' && character < 0x7F) {
        return static_cast<std::uint8_t>(character);
    }
    const Upper& upper = *kTables[static_cast<std::size_t>(table)];
    // The first one is a space that the standard's range leaves out.
    for (std::size_t place = 1; place < upper.size(); ++place) {
        if (upper[place] == character && character != 0) {
            return static_cast<std::uint8_t>(place + kFirstUpper);
        }
    }
    return 0;
}

constexpr bool isMark(std::uint8_t byte) noexcept {
    return byte >= kFirstStlMark && byte <= kLastStlMark;
}

/// Plain characters that stand for others; empty where none do.
std::string_view plainFor(char32_t character) noexcept {
    switch (character) {
    case 0x00A0:
    case 0x2009:
    case 0x202F:
        return " ";
    case 0x2010:
    case 0x2011:
    case 0x2013:
    case 0x2014:
    case 0x2015:
    case 0x2212:
        return "-";
    case 0x2018:
    case 0x2019:
    case 0x02BC:
        return "'";
    case 0x201A:
        return ",";
    case 0x201C:
    case 0x201D:
    case 0x201E:
    case 0x00AB:
    case 0x00BB:
        return "\"";
    case 0x2026:
        return "...";
    default:
        return {};
    }
}

}  // namespace

char32_t stlCharacter(StlTable table, std::uint8_t byte) noexcept {
    if (byte >= kFirstUpper) {
        return (*kTables[static_cast<std::size_t>(table)])[byte - std::size_t{kFirstUpper}];
    }
    return byte < ' ' || byte >= 0x7F ? U'\0' : char32_t{byte};
}

void appendMarked(std::string& text, char32_t letter, char32_t mark) {
    if (const char32_t one = teletext::composed(letter, mark); one != 0) {
        appendUtf8(text, one);
        return;
    }
    if (letter == U' ') {
        for (std::uint8_t byte = kFirstStlMark; byte <= kLastStlMark; ++byte) {
            if (kLatin[byte - kFirstUpper] == mark) {
                appendUtf8(text, kSpacingMarks[byte - kFirstStlMark]);
                return;
            }
        }
    }
    appendUtf8(text, letter);
    appendUtf8(text, mark);
}

StlBytes takeStlCharacter(StlTable table, std::string_view& text) {
    const char32_t character = takeCodePoint(text);
    std::string_view behind = text;
    const char32_t follower = behind.empty() ? U'\0' : takeCodePoint(behind);
    const std::uint8_t byte = byteOf(table, character);
    if (table == StlTable::Latin) {
        const std::uint8_t mark = byteOf(table, follower);
        if (byte != 0 && !isMark(byte) && isMark(mark)) {
            text = behind;
            return {{mark, byte, 0}, 2};
        }
        const teletext::MarkedLetter parts = teletext::decomposed(character);
        const std::uint8_t itsMark = byteOf(table, parts.mark);
        const std::uint8_t letter = byteOf(table, parts.letter);
        if (byte == 0 && isMark(itsMark) && letter != 0) {
            return {{itsMark, letter, 0}, 2};
        }
        for (std::size_t place = 0; byte == 0 && place < kSpacingMarks.size(); ++place) {
            if (kSpacingMarks[place] == character) {
                return {{static_cast<std::uint8_t>(place + kFirstStlMark), ' ', 0}, 2};
            }
        }
    }
    if (const std::uint8_t one = byteOf(table, teletext::composed(character, follower)); one != 0) {
        text = behind;
        return {{one, 0, 0}, 1};
    }
    if (byte != 0 && !(table == StlTable::Latin && isMark(byte))) {
        return {{byte, 0, 0}, 1};
    }
    if (teletext::isLetterMark(character)) {
        return {{}, 0, StlFit::LeftOut};
    }
    const char32_t letter = teletext::decomposed(character).letter;
    if (const std::uint8_t plain = byteOf(table, letter); letter != 0 && plain != 0) {
        return {{plain, 0, 0}, 1, StlFit::Plain};
    }
    const std::string_view plain = plainFor(character);
    if (plain.empty()) {
        return {{'?', 0, 0}, 1, StlFit::Missing};
    }
    StlBytes result{{}, 0, StlFit::Plain};
    for (const char one : plain) {
        result.bytes[result.size++] = static_cast<std::uint8_t>(one);
    }
    return result;
}

}  // namespace qlx::subtitles
