#include "MccBytes.h"

#include "HexText.h"

#include <qlx/anc/packet.h>
#include <qlx/cc/cdp.h>

#include <algorithm>

namespace qlx::streams::detail {

namespace {

/// A letter and the bytes that it stands for.
struct Alias {
    char letter;
    std::uint8_t size;
    std::array<std::uint8_t, 4> bytes;
};

/// In front of them stand G to O, which are one to nine times the padding of cc_data.
constexpr Alias kAliases[] = {
    {'P', 3, {0xFB, 0x80, 0x80}},
    {'Q', 3, {0xFC, 0x80, 0x80}},
    {'R', 3, {0xFD, 0x80, 0x80}},
    {'S', 2, {cc::kCdpIdentifier >> 8U, cc::kCdpIdentifier & 0xFFU}},
    {'T', 2, {anc::ids::kCdp.did, anc::ids::kCdp.sdid}},
    {'U', 4, {0xE1, 0x00, 0x00, 0x00}},
    {'Z', 1, {0x00}},
};
constexpr std::array<std::uint8_t, 3> kPadding{0xFA, 0x00, 0x00};
constexpr std::size_t kMostPaddings = 9;
constexpr HexDigits kUpperHexDigits = makeHexDigits("0123456789ABCDEF");

/// What a character is: the value of a digit, and from kLetters on a letter counted from `G`.
constexpr std::uint8_t kNoCharacter = 0xFF;
constexpr std::uint8_t kLetters = 16;

constexpr std::array<std::uint8_t, 256> makeCharacters() {
    std::array<std::uint8_t, 256> table{};
    table.fill(kNoCharacter);
    for (std::uint8_t digit = 0; digit < 10; ++digit) {
        table[static_cast<std::size_t>('0') + digit] = digit;
    }
    for (std::uint8_t letter = 0; letter < 26; ++letter) {
        const bool isAlias = letter >= 6 && letter <= static_cast<std::uint8_t>('U' - 'A');
        if (letter < 6 || isAlias || letter == 25) {
            const auto value = static_cast<std::uint8_t>(letter + 10);
            table[static_cast<std::size_t>('A') + letter] = value;
            table[static_cast<std::size_t>('a') + letter] = value;
        }
    }
    return table;
}

constexpr std::array<std::uint8_t, 256> kCharacters = makeCharacters();

void append(MccBytes& to, std::span<const std::uint8_t> bytes) noexcept {
    if (to.size + bytes.size() <= kMostMccBytes) {
        std::copy(bytes.begin(), bytes.end(), to.bytes.begin() + static_cast<std::ptrdiff_t>(to.size));
        to.size += bytes.size();
        return;
    }
    for (const std::uint8_t byte : bytes) {
        if (to.size < kMostMccBytes) {
            to.bytes[to.size] = byte;
        }
        ++to.size;
    }
}

void appendAlias(MccBytes& to, std::uint8_t character) noexcept {
    const std::size_t paddings = static_cast<std::size_t>(character) - kLetters + 1;
    if (paddings <= kMostPaddings) {
        for (std::size_t count = 0; count < paddings; ++count) {
            append(to, kPadding);
        }
        return;
    }
    const auto letter = static_cast<char>('A' + (character - 10));
    const auto alias = std::find_if(std::begin(kAliases), std::end(kAliases),
                                    [letter](const Alias& each) { return each.letter == letter; });
    append(to, std::span(alias->bytes).first(alias->size));
}

}  // namespace

void readMccBytes(std::string_view text, MccBytes& to) noexcept {
    to.size = 0;
    to.wrong = 0;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const std::uint8_t character = kCharacters[static_cast<std::uint8_t>(text[place])];
        if (character == kNoCharacter) {
            to.wrong = place + 1;
            return;
        }
        if (character >= kLetters) {
            appendAlias(to, character);
            continue;
        }
        const std::uint8_t second =
            place + 1 < text.size() ? kCharacters[static_cast<std::uint8_t>(text[place + 1])] : kNoCharacter;
        if (second >= kLetters) {
            to.wrong = place + 1;
            return;
        }
        ++place;
        append(to, std::array{static_cast<std::uint8_t>(character << 4U | second)});
    }
}

void appendMccBytes(std::string& text, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        std::size_t paddings = 0;
        while (paddings < kMostPaddings && bytes.size() >= (paddings + 1) * kPadding.size() &&
               std::equal(kPadding.begin(), kPadding.end(),
                          bytes.begin() + static_cast<std::ptrdiff_t>(paddings * kPadding.size()))) {
            ++paddings;
        }
        if (paddings > 0) {
            text += static_cast<char>('F' + static_cast<char>(paddings));
            bytes = bytes.subspan(paddings * kPadding.size());
            continue;
        }
        const auto alias = std::find_if(std::begin(kAliases), std::end(kAliases), [&bytes](const Alias& each) {
            return bytes.size() >= each.size &&
                   std::equal(each.bytes.begin(), each.bytes.begin() + each.size, bytes.begin());
        });
        if (alias != std::end(kAliases)) {
            text += alias->letter;
            bytes = bytes.subspan(alias->size);
            continue;
        }
        const auto& digits = kUpperHexDigits[bytes.front()];
        text.append(digits.data(), digits.size());
        bytes = bytes.subspan(1);
    }
}

}  // namespace qlx::streams::detail
