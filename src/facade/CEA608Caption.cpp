#include "facade/CEA608Caption.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/cea608/codes.h>

#include <algorithm>
#include <array>
#include <bit>

namespace qlx::facade {

namespace {

using cea608::Code;
using cea608::CodeKind;
using cea608::Control;
using cea608::controlCode;
using cea608::Pair;

/// A control code with its parity bits, as it is sent.
constexpr Pair sent(const Code& code) noexcept {
    return cea608::withOddParity(cea608::pairOf(code).value());
}

constexpr Pair kResumeCaptionLoading = sent(controlCode(Control::ResumeCaptionLoading));
constexpr Pair kEraseNonDisplayedMemory = sent(controlCode(Control::EraseNonDisplayedMemory));
constexpr Pair kEraseDisplayedMemory = sent(controlCode(Control::EraseDisplayedMemory));
constexpr Pair kEndOfCaption = sent(controlCode(Control::EndOfCaption));
/// Rows 12 and 13, white, column 0.
constexpr std::array<Pair, kMaxRows> kRowAddresses{sent({.kind = CodeKind::Preamble, .row = 12}),
                                                   sent({.kind = CodeKind::Preamble, .row = 13})};

constexpr std::size_t kMaxCharacters = 31;
constexpr std::uint8_t kNullWithParity = 0x80;
constexpr std::uint8_t kSpecial = 0x11;

/// The code that the standard has for a character of its basic or special set.
constexpr SentCharacter standard(char32_t character) noexcept {
    const cea608::CharacterCode code = cea608::characterCode(character).value();
    return {code.set == cea608::CharacterSet::Special ? kSpecial : std::uint8_t{0}, code.code};
}

struct Mapping {
    std::uint32_t character;
    SentCharacter code;
};

/// Ascending by character.
constexpr std::array<Mapping, 28> kMappings{{
    {0x00A2, standard(U'\u00A2')},  // cent sign
    {0x00A3, standard(U'\u00A3')},  // pound sign
    {0x00AE, standard(U'\u00AE')},  // registered sign
    {0x00B0, standard(U'\u00B0')},  // degree sign
    {0x00BD, standard(U'\u00BD')},  // one half
    {0x00BF, standard(U'\u00BF')},  // inverted question mark
    {0x00C7, {0, 0x7B}},            // C cedilla
    {0x00C9, {0, 0x5C}},            // E acute
    {0x00CD, {0, 0x5E}},            // I acute
    {0x00D1, standard(U'\u00D1')},  // N tilde
    {0x00D2, {0, 0x5F}},            // O grave: takes o acute, and O acute is a space; receivers know it so
    {0x00DA, {0, 0x60}},            // U acute
    {0x00E0, standard(U'\u00E0')},  // a grave
    {0x00E1, standard(U'\u00E1')},  // a acute
    {0x00E2, standard(U'\u00E2')},  // a circumflex
    {0x00E8, standard(U'\u00E8')},  // e grave
    {0x00E9, standard(U'\u00E9')},  // e acute
    {0x00EA, standard(U'\u00EA')},  // e circumflex
    {0x00ED, standard(U'\u00ED')},  // i acute
    {0x00EE, standard(U'\u00EE')},  // i circumflex
    {0x00F1, standard(U'\u00F1')},  // n tilde
    {0x00F3, standard(U'\u00F3')},  // o acute
    {0x00F4, standard(U'\u00F4')},  // o circumflex
    {0x00F7, standard(U'\u00F7')},  // division sign
    {0x00FA, standard(U'\u00FA')},  // u acute
    {0x00FB, standard(U'\u00FB')},  // u circumflex
    {0x2588, standard(U'\u2588')},  // full block
    {0x1F3B5, {kSpecial, 0x37}},    // musical note
}};

static_assert(std::is_sorted(kMappings.begin(), kMappings.end(), [](const Mapping& left, const Mapping& right) {
    return left.character < right.character;
}));

void append(std::vector<std::uint8_t>& caption, const Pair& pair) {
    caption.insert(caption.end(), {pair.first, pair.second});
}

}  // namespace

SentCharacter sentCharacter(std::uint32_t character) noexcept {
    constexpr std::uint32_t kFirstMapped = 0x80;
    if (character < kFirstMapped) {
        return {0, static_cast<std::uint8_t>(character)};
    }
    const auto* const mapping =
        std::lower_bound(kMappings.begin(), kMappings.end(), character,
                         [](const Mapping& entry, std::uint32_t wanted) { return entry.character < wanted; });
    return mapping != kMappings.end() && mapping->character == character ? mapping->code : SentCharacter{0, ' '};
}

std::uint8_t deployedOddParity(std::uint8_t byte) noexcept {
    constexpr std::uint8_t kParityBit = 0x80;
    const auto code = static_cast<std::uint8_t>(byte & 0x7FU);
    return std::popcount(byte) % 2 == 0 ? static_cast<std::uint8_t>(code | kParityBit) : code;
}

void appendText(std::vector<std::uint8_t>& caption, std::string_view text) {
    const std::size_t start = caption.size();
    for (std::size_t count = 0; count < kMaxCharacters && !text.empty(); ++count) {
        const SentCharacter code = sentCharacter(takeCodePoint(text));
        for (const std::uint8_t byte : {code.high, code.low}) {
            if (byte != 0) {
                caption.push_back(deployedOddParity(byte));
            }
        }
    }
    if ((caption.size() - start) % 2 != 0) {
        caption.push_back(kNullWithParity);
    }
}

void appendBeginning(std::vector<std::uint8_t>& caption) {
    append(caption, kResumeCaptionLoading);
    append(caption, kEraseNonDisplayedMemory);
    append(caption, kResumeCaptionLoading);
}

void appendRow(std::vector<std::uint8_t>& caption, std::size_t row, std::string_view text) {
    append(caption, kRowAddresses.at(row));
    appendText(caption, text);
}

void appendEnd(std::vector<std::uint8_t>& caption) {
    append(caption, kEraseDisplayedMemory);
    append(caption, kEndOfCaption);
}

}  // namespace qlx::facade
