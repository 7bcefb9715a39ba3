#include "facade/FrenchTeletext.h"

#include <qlx/teletext/characters.h>

#include <array>
#include <cstddef>

namespace qlx::facade {

namespace {

/// Accented capitals from `first` to `last` that become one plain letter.
struct CapitalRange {
    std::uint8_t first;
    std::uint8_t last;
    char letter;
};

constexpr CapitalRange kAccentedCapitals[] = {
    {0xC0, 0xC5, 'A'}, {0xC7, 0xC7, 'C'}, {0xC8, 0xCB, 'E'}, {0xCC, 0xCF, 'I'},
    {0xD1, 0xD1, 'N'}, {0xD2, 0xD6, 'O'}, {0xD9, 0xDC, 'U'}, {0xDD, 0xDD, 'Y'},
};

constexpr std::array<std::uint8_t, 256> kFrenchCodes = []() {
    std::array<std::uint8_t, 256> table{};
    for (unsigned character = 0; character < table.size(); ++character) {
        table[character] = static_cast<std::uint8_t>(character & 0x7FU);
    }
    // All thirteen are characters of ISO 8859-1.
    for (std::size_t place = 0; place < teletext::kNationalCodes.size(); ++place) {
        table[teletext::nationalCharacters(teletext::NationalOption::French)[place]] = teletext::kNationalCodes[place];
    }
    for (const CapitalRange& range : kAccentedCapitals) {
        for (unsigned character = range.first; character <= range.last; ++character) {
            table[character] = static_cast<std::uint8_t>(range.letter);
        }
    }
    return table;
}();

}  // namespace

std::uint8_t frenchCode(std::uint8_t character) noexcept {
    return kFrenchCodes[character];
}

}  // namespace qlx::facade
