// Sections as texts: hexadecimal digits and base64 (RFC 4648), as they stand in playlists, manifests and logs.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/result.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::scte {

/// The bytes of a section that is written in hexadecimal digits (in either case, with or without 0x in front) or in
/// base64 (with or without its = at the end). White space is passed over. A section begins with FC in the one and with
/// "/" in the other, which tells them apart; a text that begins otherwise is hexadecimal when all its characters are.
/// ScteTextWrong with the place of the first character that is wrong there, or of the end where one is missing.
///
///     const auto bytes = qlx::scte::spliceInfoBytes("/DARAAAAAAAAAP/wAAAAAHpPv/8=");
[[nodiscard]] QLX_EXPORT Result<std::vector<std::uint8_t>> spliceInfoBytes(std::string_view text);

/// In base64, with = at the end where it needs them.
[[nodiscard]] QLX_EXPORT std::string base64Text(std::span<const std::uint8_t> bytes);

/// In lower-case hexadecimal digits.
[[nodiscard]] QLX_EXPORT std::string hexText(std::span<const std::uint8_t> bytes);

}  // namespace qlx::scte
