// The characters of CTA-708's four graphic sets as Unicode and back.
//
//     const auto code = qlx::cea708::characterCode(U'\u2026');   // 25h of G2: EXT1 goes in front of it
//     if (code) { use(qlx::cea708::characterOf(*code)); }
#pragma once

#include <array>
#include <cstdint>
#include <optional>

namespace qlx::cea708 {

/// The graphic sets. Codes of G2 and G3 have EXT1 (10h) in front of them.
enum class CharacterSet : std::uint8_t {
    G0,  ///< 20h to 7Fh: ASCII, with a music note in place of DEL.
    G1,  ///< A0h to FFh: ISO 8859-1.
    G2,  ///< EXT1 and 20h to 7Fh: what Latin text needs beside it.
    G3,  ///< EXT1 and A0h to FFh: the icon of closed captions.
};

/// A space through which the window's fill shows (G2 20h).
inline constexpr char32_t kTransparentSpace = U'\0';
/// The same where no row may be broken (G2 21h).
inline constexpr char32_t kNonBreakingTransparentSpace = U'\uFEFF';
/// What is shown for a code that has no character.
inline constexpr char32_t kReplacement = U'_';
/// The icon of closed captions (G3 A0h), which Unicode does not have: its square CC looks like it.
inline constexpr char32_t kClosedCaptionIcon = U'\u33C4';

/// A code of G2 and its character.
struct G2Entry {
    std::uint8_t code = 0;   ///< Behind EXT1.
    char32_t character = 0;  ///< Unicode.
};

/// What G2 has.
inline constexpr std::array<G2Entry, 26> kG2{{
    {0x20, kTransparentSpace},
    {0x21, kNonBreakingTransparentSpace},
    {0x25, U'\u2026'},  // ellipsis
    {0x2A, U'\u0160'},  // S with caron
    {0x2C, U'\u0152'},  // OE
    {0x30, U'\u2588'},  // full block
    {0x31, U'\u2018'},  // quotation marks
    {0x32, U'\u2019'},
    {0x33, U'\u201C'},
    {0x34, U'\u201D'},
    {0x35, U'\u2022'},  // bullet
    {0x39, U'\u2122'},  // trade mark
    {0x3A, U'\u0161'},  // s with caron
    {0x3C, U'\u0153'},  // oe
    {0x3D, U'\u2120'},  // service mark
    {0x3F, U'\u0178'},  // Y with diaeresis
    {0x76, U'\u215B'},  // 1/8, 3/8, 5/8, 7/8
    {0x77, U'\u215C'},
    {0x78, U'\u215D'},
    {0x79, U'\u215E'},
    {0x7A, U'\u2502'},  // lines: vertical, upper right, lower left, horizontal, lower right, upper left
    {0x7B, U'\u2510'},
    {0x7C, U'\u2514'},
    {0x7D, U'\u2500'},
    {0x7E, U'\u2518'},
    {0x7F, U'\u250C'},
}};

inline constexpr char32_t kMusicNote = U'\u266A';  ///< G0 7Fh.

/// Where a character stands.
struct CharacterCode {
    CharacterSet set = CharacterSet::G0;  ///< Its set.
    std::uint8_t code = 0x20;             ///< Its code there.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CharacterCode&, const CharacterCode&) noexcept = default;
};

/// Whether the code belongs to the set, with or without a character.
[[nodiscard]] constexpr bool isCodeOf(CharacterSet set, std::uint8_t code) noexcept {
    const bool isLow = set == CharacterSet::G0 || set == CharacterSet::G2;
    return isLow ? code >= 0x20 && code < 0x80 : code >= 0xA0;
}

/// The character of a code; none for a code that has none. kTransparentSpace and kNonBreakingTransparentSpace for 20h and
/// 21h of G2.
[[nodiscard]] constexpr std::optional<char32_t> characterOf(CharacterCode code) noexcept {
    if (!isCodeOf(code.set, code.code)) {
        return std::nullopt;
    }
    switch (code.set) {
    case CharacterSet::G0:
        return code.code == 0x7F ? kMusicNote : char32_t{code.code};
    case CharacterSet::G1:
        return char32_t{code.code};
    case CharacterSet::G2:
        for (const G2Entry& entry : kG2) {
            if (entry.code == code.code) {
                return entry.character;
            }
        }
        return std::nullopt;
    case CharacterSet::G3:
        return code.code == 0xA0 ? std::optional(kClosedCaptionIcon) : std::nullopt;
    }
    return std::nullopt;
}

/// The code of a character; none when no set has it.
[[nodiscard]] constexpr std::optional<CharacterCode> characterCode(char32_t character) noexcept {
    if (character == kMusicNote) {
        return CharacterCode{CharacterSet::G0, 0x7F};
    }
    if (character >= 0x20 && character < 0x7F) {
        return CharacterCode{CharacterSet::G0, static_cast<std::uint8_t>(character)};
    }
    if (character >= 0xA0 && character <= 0xFF) {
        return CharacterCode{CharacterSet::G1, static_cast<std::uint8_t>(character)};
    }
    if (character == kClosedCaptionIcon) {
        return CharacterCode{CharacterSet::G3, 0xA0};
    }
    for (const G2Entry& entry : kG2) {
        if (entry.character == character) {
            return CharacterCode{CharacterSet::G2, entry.code};
        }
    }
    return std::nullopt;
}

}  // namespace qlx::cea708
