// Text in 8-bit character sets.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qlx {

/// How the bytes of a text stand for its characters.
enum class TextEncoding {
    ASCII,
    UTF8,
    Latin1,         ///< ISO 8859-1
    LatinCyrillic,  ///< ISO 8859-5
    LatinArabic,    ///< ISO 8859-6
    LatinGreek,     ///< ISO 8859-7
    LatinHebrew,    ///< ISO 8859-8
};

/// `bytes` as UTF-8; none when one of them has no character in `encoding`, or is not well-formed UTF-8 where that is
/// the encoding. The control codes 0x80 to 0x9F of the ISO 8859 sets are characters.
[[nodiscard]] QLX_EXPORT std::optional<std::string> decodedText(std::span<const std::uint8_t> bytes,
                                                                TextEncoding encoding);

}  // namespace qlx
