// One styled line of a subtitle.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/AttributedString.h>
#include <QLXClosedCaptionsUtilities/platform/Error.h>
#include <QLXClosedCaptionsUtilities/platform/Guarded.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

inline constexpr std::string_view QLXSubtitleTextLineTextKey = "text";
inline constexpr std::string_view QLXSubtitleTextLineColorKey = "color";
inline constexpr std::string_view QLXSubtitleTextLineAlignmentKey = "alignment";
inline constexpr std::string_view QLXSubtitleTextLineVerticalPositionKey = "vertical_position";

/// A line of text with its style and its place on the screen.
///
/// Lines have identity and are changed in place. Every property is read and written whole, from any thread.
class QLX_EXPORT QLXSubtitleTextLine {
public:
    /// No text, white, centred, unplaced.
    QLXSubtitleTextLine() noexcept = default;
    QLXSubtitleTextLine(const QLXSubtitleTextLine&) = delete;
    QLXSubtitleTextLine& operator=(const QLXSubtitleTextLine&) = delete;

    /// A line from one text line of an SRT block: `<b>`, `<i>`, `<u>`, `<font color="...">`, `<line="...">` and
    /// `{\anN}` are understood and removed; other markup stays in the text. Takes linear time. Never null.
    [[nodiscard]] static std::shared_ptr<QLXSubtitleTextLine> initWithSRTLine(std::string_view line);

    /// A line from a JSON dictionary with "text" and, optionally, "color", "alignment" and "vertical_position".
    /// @param dictionary The keys and kinds of value as written above.
    /// @param lineIndex 0-based place of this line among the record's lines.
    /// @param lineCount Number of entries of the record's array; the last line lands on row 11.
    /// @param error Written when "text" is missing (code -50, domain the application's identifier).
    /// @return The line, or null when "text" is missing.
    [[nodiscard]] static std::shared_ptr<QLXSubtitleTextLine> initWithJSONDictionary_lineIndex_lineCount_error(
        const qlx::Dictionary& dictionary, std::uint64_t lineIndex, std::uint64_t lineCount,
        std::optional<qlx::Error>* error = nullptr);

    // Properties

    /// The visible text without markup (UTF-8); none until set.
    [[nodiscard]] std::optional<std::string> textString() const { return _guard.load(_textString); }
    /// Sets textString().
    void setTextString(std::optional<std::string> value) { _guard.store(_textString, std::move(value)); }

    /// `<b>` was present. Carried for clients; no output renders it.
    [[nodiscard]] bool bold() const noexcept { return _bold.load(std::memory_order_relaxed); }
    /// Sets bold().
    void setBold(bool value) noexcept { _bold.store(value, std::memory_order_relaxed); }

    /// `<u>` was present. Carried for clients; no output renders it.
    [[nodiscard]] bool underline() const noexcept { return _underline.load(std::memory_order_relaxed); }
    /// Sets underline().
    void setUnderline(bool value) noexcept { _underline.store(value, std::memory_order_relaxed); }

    /// `<i>` was present. Carried for clients; no output renders it.
    [[nodiscard]] bool italic() const noexcept { return _italic.load(std::memory_order_relaxed); }
    /// Sets italic().
    void setItalic(bool value) noexcept { _italic.store(value, std::memory_order_relaxed); }

    /// 1 red, 2 green, 3 yellow, 4 blue, 5 magenta, 6 cyan, 7 white (the teletext alphanumeric colour codes).
    [[nodiscard]] std::int32_t textColor() const noexcept { return _textColor.load(std::memory_order_relaxed); }
    /// Sets textColor().
    void setTextColor(std::int32_t value) noexcept { _textColor.store(value, std::memory_order_relaxed); }

    /// 0 unchanged, 1 left, 2 center, 3 right.
    [[nodiscard]] std::int32_t alignment() const noexcept { return _alignment.load(std::memory_order_relaxed); }
    /// Sets alignment().
    void setAlignment(std::int32_t value) noexcept { _alignment.store(value, std::memory_order_relaxed); }

    /// The digit of an `{\anN}` tag (numeric-keypad layout), 0 for none.
    [[nodiscard]] std::int32_t positioningType() const noexcept {
        return _positioningType.load(std::memory_order_relaxed);
    }
    /// Sets positioningType().
    void setPositioningType(std::int32_t value) noexcept { _positioningType.store(value, std::memory_order_relaxed); }

    /// The screen row of the line; 0: not yet placed.
    [[nodiscard]] std::uint64_t verticalPosition() const noexcept {
        return _verticalPosition.load(std::memory_order_relaxed);
    }
    /// Sets verticalPosition().
    void setVerticalPosition(std::uint64_t value) noexcept {
        _verticalPosition.store(value, std::memory_order_relaxed);
    }

    /// A `<font color>` opened on this line and was not closed on it.
    [[nodiscard]] bool colorNeedsToBeAppliedToNextLine() const noexcept {
        return _colorNeedsToBeAppliedToNextLine.load(std::memory_order_relaxed);
    }
    /// Sets colorNeedsToBeAppliedToNextLine().
    void setColorNeedsToBeAppliedToNextLine(bool value) noexcept {
        _colorNeedsToBeAppliedToNextLine.store(value, std::memory_order_relaxed);
    }

    // Other forms

    /// "text" (when there is one) and "alignment" (when 0 to 3); colour and position are not written.
    [[nodiscard]] qlx::Dictionary JSONDictionary() const;

    /// The text itself.
    [[nodiscard]] std::optional<std::string> description() const { return textString(); }

    /// Display attributes: "foregroundColor" (dictionary "constant", "red", "green", "blue"), "fontName" "Helvetica",
    /// "fontSize" 16.0, "alignment" "center". Bold, italic, underline and alignment are not rendered.
    [[nodiscard]] qlx::Dictionary stringAttributes() const;

    /// The text with its display attributes.
    [[nodiscard]] qlx::AttributedString attributedString() const;

    // Parsers (they read nothing of the line itself)

    /// The value of exactly two lower-case hexadecimal digits; any other character counts as digit 0, any other length
    /// gives 0.
    [[nodiscard]] std::int32_t intWithHexByteString(std::string_view text) const noexcept;

    /// The colour constant nearest to `#RRGGBB`, `RRGGBB`, `rgb(r, g, b)` or `rgba(r, g, b, a)`; 7 (white) for black
    /// and for anything else, colour names included.
    [[nodiscard]] std::int32_t colorWithHexRGBValue(std::string_view text) const;

    /// The display colour of a colour constant; white for any number outside 1 to 7.
    [[nodiscard]] qlx::Color colorWithConstant(std::int32_t constant) const noexcept;

    /// The integer value of the digit of an `{\anN}` tag.
    [[nodiscard]] std::int32_t positionWithPositioningTag(std::string_view text) const noexcept;

private:
    friend class QLXSubtitleRecord;
    friend class QLXSRTFileReader;
    friend class QLXSTLFileReader;

    std::optional<std::string> _textString;
    std::atomic<bool> _bold{false};
    std::atomic<bool> _underline{false};
    std::atomic<bool> _italic{false};
    std::atomic<std::int32_t> _textColor{7};
    std::atomic<std::int32_t> _alignment{2};
    std::atomic<std::int32_t> _positioningType{0};
    std::atomic<std::uint64_t> _verticalPosition{0};
    std::atomic<bool> _colorNeedsToBeAppliedToNextLine{false};
    qlx::Guarded _guard;
};
