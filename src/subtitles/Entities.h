// Entities in the text of cues.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// A character and the bytes that name it.
struct Entity {
    char32_t character = 0;  ///< A space for a control character.
    std::size_t size = 0;    ///< From the ampersand to the semicolon.
};

/// The entity with which a text begins: `&amp;`, `&lt;`, `&gt;`, `&quot;`, `&apos;`, `&nbsp;`, `&lrm;`, `&rlm;`,
/// `&shy;`, `&#N;`, `&#xN;`; none for any other text.
[[nodiscard]] std::optional<Entity> entityIn(std::string_view text) noexcept;

}  // namespace qlx::subtitles
