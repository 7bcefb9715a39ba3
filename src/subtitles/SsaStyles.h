// The columns and styles of SubStation Alpha files.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace qlx::subtitles {

/// What a column of a `Style:` or `Dialogue:` line is.
enum class SsaColumn : std::uint8_t {
    // Of styles
    Name,
    Font,
    Size,
    Primary,
    Outline,
    Back,
    Bold,
    Italic,
    Underline,
    StrikeOut,
    BorderStyle,
    Alignment,
    MarginVertical,
    // Of events
    Layer,
    Start,
    End,
    Style,
    Effect,
    Text,
    // Of either: what is not looked at
    Other,
};

/// The fields of a line by their columns; empty where the line has none.
class SsaFields {
public:
    [[nodiscard]] std::string_view operator[](SsaColumn column) const noexcept {
        return _fields[static_cast<std::size_t>(column)];
    }
    void set(SsaColumn column, std::string_view field) noexcept { _fields[static_cast<std::size_t>(column)] = field; }

private:
    std::array<std::string_view, static_cast<std::size_t>(SsaColumn::Other) + 1> _fields;
};

/// The order of columns, as a `Format:` line says it.
class SsaFormat {
public:
    SsaFormat() = default;
    explicit SsaFormat(std::string_view names) { set(names); }

    /// @param names With commas between them, in either case. No more than 64 count.
    void set(std::string_view names);

    [[nodiscard]] bool isEmpty() const noexcept { return _columns.empty(); }
    [[nodiscard]] bool has(SsaColumn column) const noexcept;

    /// Cuts a line into its fields, the last of which has all that is left; those but the text without blanks around.
    /// @return False when there are fewer fields than columns; those that are there are set.
    [[nodiscard]] bool split(std::string_view line, SsaFields& fields) const noexcept;

private:
    std::vector<SsaColumn> _columns;
};

/// How text looks.
struct SsaStyle {
    bool isBold = false;
    bool isItalic = false;
    bool isUnderlined = false;
    bool isStruckOut = false;
    bool isBoxed = false;             ///< There is a box behind the text.
    std::uint8_t anchor = 2;          ///< As on a numeric keypad.
    std::uint32_t color = 0xFF'FFFF;  ///< 24 bits, red highest.
    std::uint32_t box = 0;            ///< The same, of the box.
    std::uint8_t alpha = 0xFF;        ///< How much of the text hides what is behind it.
    std::uint8_t boxAlpha = 0xFF;     ///< The same, of the box.
    std::int32_t margin = -1;         ///< Of the lower or upper edge of the screen; -1: the usual one.
    std::string_view font{};          ///< What `\fn` says; empty: that of the style.
    std::string_view size{};          ///< What `\fs` says; the same.
};

/// The style of a `Style:` line.
/// @param isPlus The line is one of v4.00+: it counts places otherwise, and has the outline's colour in boxes.
/// @param isRight Becomes false when a field cannot be read, which has no effect then.
[[nodiscard]] SsaStyle ssaStyleOf(const SsaFields& fields, bool isPlus, bool& isRight) noexcept;

/// A whole number with or without a sign; none for any other text.
[[nodiscard]] std::optional<std::int32_t> ssaNumber(std::string_view text) noexcept;

/// Whether `\b` with this number means bold.
[[nodiscard]] constexpr bool isSsaBold(std::int32_t weight) noexcept {
    constexpr std::int32_t kNormal = 400;
    return weight == 1 || weight == -1 || weight > kNormal;
}

}  // namespace qlx::subtitles
