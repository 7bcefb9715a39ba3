// Edits of a line's text that several parsers of this folder need.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// Removes every occurrence of `tag` (in lower case) from `text`, letters A to Z in either case, in one pass: text that
/// comes together by a removal is not looked at again.
void removeAllIgnoringCase(std::string& text, std::string_view tag);

/// True when `text` begins with `prefix` (in lower case), letters A to Z in either case.
[[nodiscard]] bool startsWithIgnoringCase(std::string_view text, std::string_view prefix) noexcept;

/// Without the blanks and tabs at its ends.
[[nodiscard]] constexpr std::string_view trimmed(std::string_view text, std::string_view blanks = " \t") noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}

/// True for digits alone, of a number that integerValue() gives as it stands.
[[nodiscard]] bool isWholeNumber(std::string_view text) noexcept;

/// The digits of a cue's number.
struct CueDigits {
    std::uint64_t number = 0;  ///< The greatest one for greater ones.
    bool isUsual = false;      ///< Written as numbers above 0 are by default: the number has all of it.
    bool isTooGreat = false;
};

/// None for what is not digits alone.
[[nodiscard]] std::optional<CueDigits> cueDigits(std::string_view text) noexcept;

/// Bytes that are no UTF-8.
struct WrongBytes {
    std::uint8_t first = 0;
    std::int64_t count = 0;
};

/// `text` with U+FFFD in place of each byte that is no UTF-8; itself where there is none.
/// @param room Keeps the text where it cannot be given as it stands.
[[nodiscard]] std::string_view withoutWrongBytes(std::string_view text, std::string& room, WrongBytes& wrong);

/// Takes the text up to `separator` off the front of `rest`, together with the separator; all of it without one.
[[nodiscard]] std::string_view takePart(std::string_view& rest, char separator) noexcept;

}  // namespace qlx::subtitles
