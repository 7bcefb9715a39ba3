#include "PairNames.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <array>
#include <bit>
#include <string_view>

namespace qlx::tool {

namespace {

/// The miscellaneous control codes, 14 20 to 14 2F.
constexpr std::array<std::string_view, 16> kControlNames{
    "resume caption loading",
    "backspace",
    "alarm off",
    "alarm on",
    "delete to end of row",
    "roll-up captions, 2 rows",
    "roll-up captions, 3 rows",
    "roll-up captions, 4 rows",
    "flash on",
    "resume direct captioning",
    "text restart",
    "resume text display",
    "erase displayed memory",
    "carriage return",
    "erase non-displayed memory",
    "end of caption",
};

/// The row of a preamble, by the low three bits of its first byte and bit 5 of the second.
constexpr std::array<std::array<int, 2>, 8> kPreambleRows{
    {{11, 11}, {1, 2}, {3, 4}, {12, 13}, {14, 15}, {5, 6}, {7, 8}, {9, 10}}};

std::string textOf(const Data& character) {
    return {reinterpret_cast<const char*>(character.data()), character.size()};
}

std::string controlName(unsigned group, std::uint8_t second) {
    if (second >= 0x40) {
        return "preamble row " + std::to_string(kPreambleRows[group][(second >> 5U) & 1U]);
    }
    const bool isLowHalf = second < 0x30;
    switch (group) {
    case 0:
        return second >= 0x20 && isLowHalf ? "background colour" : "";
    case 1:
        return isLowHalf ? "mid-row code"
                         : "special character \"" + textOf(QLXCCUtilities::dataWith608SpecialCharacter(second)) + "\"";
    case 2:
        return "extended character \"" + textOf(QLXCCUtilities::dataWith608ExtSpanishFrenchCharacter(second)) + "\"";
    case 3:
        return "extended character \"" + textOf(QLXCCUtilities::dataWith608ExtPortugueseGermanDanishCharacter(second)) +
               "\"";
    case 4:
    case 5:
        return isLowHalf ? std::string(kControlNames[second & 0x0FU]) : "";
    case 7:
        if (second >= 0x21 && second <= 0x23) {
            return "tab offset " + std::to_string(second - 0x20);
        }
        return second >= 0x2D && isLowHalf ? "foreground or background attribute" : "";
    default:
        return "";
    }
}

std::string characters(std::uint8_t first, std::uint8_t second) {
    std::string text = textOf(QLXCCUtilities::dataWith608ASCIICharacter(first));
    if (second >= 0x20) {
        text += textOf(QLXCCUtilities::dataWith608ASCIICharacter(second));
    }
    return "text \"" + text + "\"";
}

}  // namespace

bool hasOddParity(std::uint8_t byte) noexcept {
    return std::popcount(byte) % 2 == 1;
}

std::string nameOfPair(std::uint8_t first, std::uint8_t second) {
    const auto code = static_cast<std::uint8_t>(first & 0x7FU);
    const auto next = static_cast<std::uint8_t>(second & 0x7FU);
    if (first == 0 && second == 0) {
        return "nothing";
    }
    if (code == 0 && next == 0) {
        return "null";
    }
    if (code >= 0x20) {
        return characters(code, next);
    }
    if (code >= 0x10) {
        const std::string name = next >= 0x20 ? controlName(code & 7U, next) : "";
        if (name.empty()) {
            return "unknown control code";
        }
        return name + ((code & 8U) != 0 ? " (channel 2)" : "");
    }
    return code == 0 ? "unknown" : "extended data services";
}

}  // namespace qlx::tool
