// The one formatter behind every quoted message: printf-like placeholders over typed arguments.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace qlx {

/// One argument of a format. Texts are referred to, not copied: they must outlive the call.
class FormatArgument {
public:
    /// An integer with the width of its own type, so that -1 prints as ffffffff when it came as 32 bits.
    struct Integer {
        std::uint64_t bits;      ///< The value, widened with its sign.
        std::uint8_t byteCount;  ///< Bytes of its type.
        bool isSigned;           ///< Whether its type has a sign.
    };
    /// What an argument can be.
    using Content = std::variant<std::nullptr_t, Integer, double, std::string_view, Data, Value>;

    /// An integer, a boolean or a character.
    template <std::integral T>
    FormatArgument(T value) noexcept
        : _content(
              Integer{static_cast<std::uint64_t>(value), static_cast<std::uint8_t>(sizeof(T)), std::is_signed_v<T>}) {}
    /// A double.
    FormatArgument(double value) noexcept : _content(value) {}
    /// A text.
    FormatArgument(std::string_view value) noexcept : _content(value) {}
    /// A text.
    FormatArgument(const std::string& value) noexcept : _content(std::string_view(value)) {}
    /// A text; a null pointer is a null object.
    FormatArgument(const char* value) noexcept { setText(value); }
    /// A text or a null object.
    FormatArgument(const std::optional<std::string>& value) noexcept {
        if (value) {
            _content = std::string_view(*value);
        }
    }
    /// A null object.
    FormatArgument(std::nullptr_t) noexcept {}
    /// A byte buffer.
    FormatArgument(const Data& value) noexcept : _content(value) {}
    /// An object of any kind.
    FormatArgument(const Value& value) : _content(value) {}

    /// What the argument is.
    [[nodiscard]] const Content& content() const noexcept { return _content; }

private:
    void setText(const char* value) noexcept {
        if (value) {
            _content = std::string_view(value);
        }
    }

    Content _content{nullptr};
};

/// Formats `arguments` by `format`: `%@ %d %i %u %x %X %f %c %s %%` with flags `-0+ #`, width, precision (each a number
/// or `*`) and the length marks `h l ll z q j t`, which are accepted and not needed.
///
/// A null object or text prints as "(null)". A missing argument prints "(missing argument)", one that does not suit
/// its placeholder "(wrong argument)"; an unknown placeholder is copied as it stands; surplus arguments are ignored.
/// Numbers never depend on the locale.
[[nodiscard]] QLX_EXPORT std::string formatText(std::string_view format, std::span<const FormatArgument> arguments);

/// formatText() over a list of arguments.
template <class... Arguments>
[[nodiscard]] std::string formatted(std::string_view format, const Arguments&... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
        return formatText(format, {});
    } else {
        const std::array<FormatArgument, sizeof...(arguments)> list{FormatArgument(arguments)...};
        return formatText(format, list);
    }
}

}  // namespace qlx
