// What a record or a packetizer is meant for; no other number gives any output.
#pragma once

#include <cstdint>

namespace qlx::subtitles {

inline constexpr std::int32_t kCEA608Mode = 1;
inline constexpr std::int32_t kTeletextMode = 2;

}  // namespace qlx::subtitles
