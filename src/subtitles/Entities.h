// Entities in the text of cues.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qlx::subtitles {

/// A character and the bytes that name it.
struct Entity {
    char32_t character = 0;  ///< A space for a control character.
    std::size_t size = 0;    ///< From the ampersand to its end.
};

/// How an entity ends.
enum class EntityEnd : std::uint8_t {
    Semicolon,
    MayBeMissing,  ///< Numbers, and names of Latin-1 characters, end without one too, as in HTML and so in WebVTT: `&lt`.
};

/// The entity with which a text begins: `&amp;` and all other names of HTML 4, `&apos;`, `&#N;`, `&#xN;`; none for any
/// other text.
[[nodiscard]] std::optional<Entity> entityIn(std::string_view text, EntityEnd ends = EntityEnd::Semicolon) noexcept;

}  // namespace qlx::subtitles
