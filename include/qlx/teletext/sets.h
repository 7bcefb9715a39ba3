// All alphabets of teletext (ETSI EN 300 706, clause 15) and how a page designates one: Latin, Cyrillic, Greek, Arabic
// and Hebrew, each with the supplementary set that packets X/26 choose from.
//
//     const auto set = qlx::teletext::characterSetOf(0x24);                       // Russian and Bulgarian
//     const char32_t letter = qlx::teletext::g0Characters(*set)[0x41 - 0x20];     // Cyrillic A
//     const auto polish = qlx::teletext::designationOf("pl");                     // 08h
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/teletext/characters.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace qlx::teletext {

/// A primary set: the characters that the codes of rows mean.
enum class G0Set : std::uint8_t {
    Latin,      ///< With a national option.
    Cyrillic1,  ///< Serbian, Macedonian.
    Cyrillic2,  ///< Russian, Bulgarian.
    Cyrillic3,  ///< Ukrainian.
    Greek,
    Arabic,
    Hebrew,
};

/// A supplementary set: what packets X/26 put over a cell.
enum class G2Set : std::uint8_t { Latin, Cyrillic, Greek, Arabic };

/// What a page's codes mean.
struct CharacterSet {
    G0Set g0 = G0Set::Latin;                          ///< Of the rows.
    NationalOption option = NationalOption::English;  ///< Of the Latin set; of no meaning in the others.
    G2Set g2 = G2Set::Latin;                          ///< Of X/26.

    /// Whether its letters are written from the right to the left.
    [[nodiscard]] constexpr bool isRightToLeft() const noexcept { return g0 == G0Set::Arabic || g0 == G0Set::Hebrew; }
    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CharacterSet&, const CharacterSet&) noexcept = default;
};

/// The lowest code of the sets; they end with 7Fh.
inline constexpr std::uint8_t kFirstCharacterCode = 0x20;
/// Characters of a set.
inline constexpr std::size_t kSetCharacters = 96;

/// The characters of a set, 0 where it has none.
using SetCharacters = std::span<const char32_t, kSetCharacters>;

/// How many designations there are: seven bits, the low three of them C12, C13 and C14 of the page's header.
inline constexpr unsigned kDesignations = 128;

/// The sets of a whole designation (EN 300 706, tables 32 and 33); none for one that is reserved.
[[nodiscard]] QLX_EXPORT std::optional<CharacterSet> characterSetOf(std::uint8_t designation) noexcept;

/// The sets that a page is shown with: the four high bits are those of `region`, the low three C12, C13 and C14. What
/// is reserved there is taken as in Western Europe (region 0), and as English there.
/// @param region A designation from packet X/28/0 or M/29/0, or of the receiver; its low three bits are not looked at.
/// @param control C12, C13 and C14, 0 to 7, C12 highest.
[[nodiscard]] QLX_EXPORT CharacterSet shownSet(std::uint8_t region, std::uint8_t control) noexcept;

/// The characters of a primary set from code 20h on. Arabic letters are presentation forms, as they are drawn.
[[nodiscard]] QLX_EXPORT SetCharacters g0Characters(const CharacterSet& set) noexcept;

/// The characters of the Latin primary set without a national option (EN 300 706, table 35): what letters with a mark
/// are made of, whatever the set of the page is.
[[nodiscard]] QLX_EXPORT SetCharacters plainLatin() noexcept;

/// The characters of a supplementary set from code 20h on. Codes 41h to 4Fh of the Latin, Cyrillic and Greek ones are
/// combining marks.
[[nodiscard]] QLX_EXPORT SetCharacters g2Characters(G2Set set) noexcept;

/// The marks that X/26 puts on letters, in the order of their numbers 1 to 15; 0 at 0.
[[nodiscard]] QLX_EXPORT char32_t markCharacter(std::uint8_t mark) noexcept;

/// A letter with a combining mark as one character; 0 where Unicode has none. Knows what the sets can be put together
/// to: A to Z, a to z and the Cyrillic letters, with the fifteen marks.
[[nodiscard]] QLX_EXPORT char32_t composed(char32_t letter, char32_t mark) noexcept;

/// A letter and its mark.
struct MarkedLetter {
    char32_t letter = 0;  ///< Without it; 0 when there is none.
    char32_t mark = 0;    ///< The combining character.
};

/// The letter and the mark that make up a character; zeros for what is no such letter.
[[nodiscard]] QLX_EXPORT MarkedLetter decomposed(char32_t character) noexcept;

/// The designation of the set in which a language is broadcast.
/// @param language ISO 639 code of two letters, or of three (either kind); upper and lower case are the same.
/// @return None for a language that no set is made for.
[[nodiscard]] QLX_EXPORT std::optional<std::uint8_t> designationOf(std::string_view language) noexcept;

/// The code of three letters of such a language (ISO 639-2, the terminological one), as the descriptors of a transport
/// stream have it: `deu` for `de` and `ger`. None for a language that no set is made for.
[[nodiscard]] QLX_EXPORT std::optional<std::array<char, 3>> languageCode(std::string_view language) noexcept;

/// Whether receivers of a region must be told the designation: those of Western Europe have 00h to 06h of their own.
/// Every other set is designated by a packet X/28/0 in each transmission of the page.
/// @param region A designation of the receivers' region; its low three bits are not looked at.
[[nodiscard]] constexpr bool needsDesignationPacket(std::uint8_t designation, std::uint8_t region = 0) noexcept {
    constexpr unsigned kRegionBits = 0x78;
    return ((designation ^ region) & kRegionBits) != 0;
}

}  // namespace qlx::teletext
