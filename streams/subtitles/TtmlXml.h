// The XML text of a TTML document, in front of its meaning: its bytes, its size and its shape.
#pragma once

#include "TtmlStyles.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::streams::detail {

/// What the elements, texts and attributes of a document take in memory, at most.
[[nodiscard]] std::uint64_t bytesOfTree(std::string_view text);

/// That may be taken for a document.
[[nodiscard]] std::uint64_t mostBytesOfTree(std::string_view text);

/// The text with U+FFFD in place of each byte that is no UTF-8. These are added to `count`.
[[nodiscard]] std::string repaired(std::string_view text, std::int64_t& count);

/// Refuses what is deeper than `deepest`, and a document type with a part of its own.
[[nodiscard]] std::optional<Finding> refusal(const pugi::xml_document& document, TtmlReport& report,
                                             std::size_t deepest);

}  // namespace qlx::streams::detail
