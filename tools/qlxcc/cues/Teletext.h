// What an OP-47 packet carries, in words.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace qlx::tool {

/// A few words on a subtitling data packet: `rows 10,11`, `page 888 erase`, `page 8F8 close`, `filling`. A page header
/// whose number has a digit above 9 is one that no receiver can show: it ends the page before it. Bytes that are no
/// such packet are called `4 bytes`.
[[nodiscard]] std::string teletextInWords(std::span<const std::uint8_t> packet);

}  // namespace qlx::tool
