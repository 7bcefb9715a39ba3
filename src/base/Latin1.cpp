#include "base/Latin1.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <iterator>

namespace qlx::latin1 {

namespace {

constexpr std::uint8_t kReplacement = '?';

/// Plain neighbours of consecutive characters; '?' where there is none.
struct Run {
    char16_t first;
    std::string_view neighbours;
};

constexpr Run kRuns[] = {
    // Latin Extended-A
    {0x0100, "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi??JjKk?LlLlLlL"},
    {0x0140, "lLlNnNnNn???OoOoOo??RrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZzs"},
    // Latin Extended-B
    {0x0180, "bBBb???Cc?DDd????FfG???IKkl??NnOOo??Pp?????tTtTUu?VY"},
    {0x01B4, "yZz??????????????????????AaIiOoUuUuUuUuUu?AaAa??GgGg"},
    {0x01E8, "KkOoOo??j???Gg??NnAa??OoAaAaEeEeIiIiOoOoRrRrUuUuSsTt"},
    {0x021C, "??HhNd??ZzAaEeOoOoOoOoYylntj??ACcLTsz??B??EeJjQqRrYy"},
    {0x02BC, "'"},
    // Latin Extended Additional
    {0x1E00, "AaBbBbBbCcDdDdDdDdDdEeEeEeEeEeFfGgHhHhHhHhHhIiIiKkKkKkLlLlLlLlMm"},
    {0x1E40, "MmMmNnNnNnNnOoOoOoOoPpPpRrRrRrRrSsSsSsSsSsTtTtTtTtUuUuUuUuUuVvVv"},
    {0x1E80, "WwWwWwWwWwXxXxYyZzZzZzhtwyasss"},
    {0x1EA0, "AaAaAaAaAaAaAaAaAaAaAaAaEeEeEeEeEeEeEeEeIiIiOoOoOoOoOoOoOoOoOoOo"},
    {0x1EE0, "OoOoUuUuUuUuUuUuUuYyYyYyYy????Yy"},
    // General Punctuation: spaces, dashes, quotes, primes, angle quotes
    {0x2000, "           "},
    {0x2010, "------"},
    {0x2018, "''''\"\"\"\""},
    {0x202F, " "},
    {0x2032, "'\""},
    {0x2039, "<>"},
    {0x205F, " "},
    {0x2212, "-"},
    {0x3000, " "},
};

/// Characters whose neighbour is a sequence, or itself outside ASCII.
struct Sequence {
    char16_t character;
    std::string_view neighbour;
};

constexpr Sequence kSequences[] = {
    {0x0132, "IJ"}, {0x0133, "ij"},   {0x0149, "'n"},   {0x0152, "OE"},   {0x0153, "oe"},  {0x01C4, "DZ"},
    {0x01C5, "Dz"}, {0x01C6, "dz"},   {0x01C7, "LJ"},   {0x01C8, "Lj"},   {0x01C9, "lj"},  {0x01CA, "NJ"},
    {0x01CB, "Nj"}, {0x01CC, "nj"},   {0x01E2, "\xC6"}, {0x01E3, "\xE6"}, {0x01F1, "DZ"},  {0x01F2, "Dz"},
    {0x01F3, "dz"}, {0x01FC, "\xC6"}, {0x01FD, "\xE6"}, {0x1E9E, "SS"},   {0x2026, "..."},
};

/// The ISO 8859-1 letters that a combining mark makes; both texts have the same length.
struct Mark {
    char16_t mark;
    std::string_view letters;
    std::string_view composed;
};

constexpr Mark kMarks[] = {
    {0x0300, "AEIOUaeiou", "\xC0\xC8\xCC\xD2\xD9\xE0\xE8\xEC\xF2\xF9"},            // grave
    {0x0301, "AEIOUYaeiouy", "\xC1\xC9\xCD\xD3\xDA\xDD\xE1\xE9\xED\xF3\xFA\xFD"},  // acute
    {0x0302, "AEIOUaeiou", "\xC2\xCA\xCE\xD4\xDB\xE2\xEA\xEE\xF4\xFB"},            // circumflex
    {0x0303, "ANOano", "\xC3\xD1\xD5\xE3\xF1\xF5"},                                // tilde
    {0x0308, "AEIOUaeiouy", "\xC4\xCB\xCF\xD6\xDC\xE4\xEB\xEF\xF6\xFC\xFF"},       // diaeresis
    {0x030A, "Aa", "\xC5\xE5"},                                                    // ring
    {0x0327, "Cc", "\xC7\xE7"},                                                    // cedilla
};

constexpr char32_t kFirstMark = 0x0300;
constexpr char32_t kLastMark = 0x036F;

static_assert(std::adjacent_find(std::begin(kRuns), std::end(kRuns), [](const Run& left, const Run& right) {
                  return left.first + left.neighbours.size() > right.first;
              }) == std::end(kRuns));
static_assert(std::adjacent_find(std::begin(kSequences), std::end(kSequences),
                                 [](const Sequence& left, const Sequence& right) {
                                     return left.character >= right.character;
                                 }) == std::end(kSequences));
static_assert(std::all_of(std::begin(kMarks), std::end(kMarks),
                          [](const Mark& mark) { return mark.letters.size() == mark.composed.size(); }));

bool isMark(char32_t character) noexcept {
    return character >= kFirstMark && character <= kLastMark;
}

/// `letter` with the combining `mark`, or `letter` itself where the set has no such pair.
std::uint8_t composed(std::uint8_t letter, char32_t mark) noexcept {
    const auto* const found =
        std::find_if(std::begin(kMarks), std::end(kMarks), [mark](const Mark& entry) { return entry.mark == mark; });
    if (found == std::end(kMarks)) {
        return letter;
    }
    const std::size_t index = found->letters.find(static_cast<char>(letter));
    return index == std::string_view::npos ? letter : static_cast<std::uint8_t>(found->composed[index]);
}

/// What stands for a character outside ISO 8859-1.
std::string_view neighbourOf(char32_t character) noexcept {
    const auto* const sequence =
        std::lower_bound(std::begin(kSequences), std::end(kSequences), character,
                         [](const Sequence& entry, char32_t value) { return entry.character < value; });
    if (sequence != std::end(kSequences) && sequence->character == character) {
        return sequence->neighbour;
    }
    const auto* const next = std::upper_bound(std::begin(kRuns), std::end(kRuns), character,
                                              [](char32_t value, const Run& run) { return value < run.first; });
    if (next != std::begin(kRuns)) {
        const Run& run = *std::prev(next);
        const std::size_t offset = character - run.first;
        if (offset < run.neighbours.size()) {
            return run.neighbours.substr(offset, 1);
        }
    }
    return "?";
}

}  // namespace

std::size_t convertLossy(std::string_view text, std::span<std::uint8_t> target) noexcept {
    std::size_t count = 0;
    while (!text.empty()) {
        const char32_t character = takeCodePoint(text);
        if (isMark(character) && count != 0) {
            target[count - 1] = composed(target[count - 1], character);
        } else if (count == target.size()) {
            break;
        } else if (isMark(character)) {
            target[count++] = kReplacement;
        } else if (character <= 0xFF) {
            target[count++] = static_cast<std::uint8_t>(character);
        } else {
            for (const char letter : neighbourOf(character).substr(0, target.size() - count)) {
                target[count++] = static_cast<std::uint8_t>(letter);
            }
        }
    }
    return count;
}

}  // namespace qlx::latin1
