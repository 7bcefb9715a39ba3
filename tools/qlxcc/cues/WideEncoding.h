// The 16-bit characters of caption services in encodings that iconv knows.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

namespace qlx::tool {

/// The encodings of P16 that --p16 names.
inline constexpr std::string_view kWideEncodings[] = {"utf-16", "euc-kr"};

/// What turns a code into its character, 0 for one without; empty for `utf-16`, which the library reads itself.
/// @param name One of kWideEncodings.
[[nodiscard]] std::function<char32_t(std::uint16_t code)> wideCharactersOf(std::string_view name);

/// What turns a character into its code, none for one without; empty for `utf-16`.
/// @param name One of kWideEncodings.
[[nodiscard]] std::function<std::optional<std::uint16_t>(char32_t character)> wideCodesOf(std::string_view name);

}  // namespace qlx::tool
