#include <QLXClosedCaptionsUtilities/platform/Format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace qlx {

namespace {

constexpr std::string_view kMissingArgument = "(missing argument)";
constexpr std::string_view kWrongArgument = "(wrong argument)";
constexpr std::string_view kNull = "(null)";
constexpr std::size_t kMaxWidth = 4096;    ///< A wider field or longer fraction is a mistake, not a wish.
constexpr std::size_t kMaxFraction = 128;  ///< Digits behind the point.

/// One placeholder: `%`, flags, width, precision, length marks, conversion.
struct Placeholder {
    bool leftAligned = false;
    bool zeroPadded = false;
    bool plusSign = false;
    bool spaceSign = false;
    bool alternate = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    char conversion = '\0';
};

class Formatter {
public:
    Formatter(std::string_view format, std::span<const FormatArgument> arguments)
        : _rest(format), _arguments(arguments) {}

    std::string run() {
        while (!_rest.empty()) {
            const std::size_t percent = std::min(_rest.find('%'), _rest.size());
            _result += _rest.substr(0, percent);
            _rest.remove_prefix(percent);
            if (!_rest.empty()) {
                appendPlaceholder();
            }
        }
        return std::move(_result);
    }

private:
    void appendPlaceholder() {
        const std::string_view whole = _rest;
        _rest.remove_prefix(1);
        const Placeholder placeholder = takePlaceholder();
        switch (placeholder.conversion) {
        case '%':
            _result += '%';
            return;
        case '@':
        case 's':
        case 'd':
        case 'i':
        case 'u':
        case 'x':
        case 'X':
        case 'f':
        case 'c':
            break;
        default:
            _result += whole.substr(0, whole.size() - _rest.size());
            return;
        }
        if (const FormatArgument* argument = nextArgument()) {
            appendArgument(placeholder, *argument);
        } else {
            _result += kMissingArgument;
        }
    }

    void appendArgument(const Placeholder& placeholder, const FormatArgument& argument) {
        const FormatArgument::Content& content = argument.content();
        switch (placeholder.conversion) {
        case '@':
        case 's':
            appendText(placeholder, content);
            return;
        case 'f':
            appendReal(placeholder, content);
            return;
        default:
            break;
        }
        const auto* integer = std::get_if<FormatArgument::Integer>(&content);
        if (!integer) {
            _result += kWrongArgument;
        } else if (placeholder.conversion == 'c') {
            appendPadded(placeholder, std::string(1, static_cast<char>(integer->bits & 0xFFU)));
        } else {
            appendInteger(placeholder, *integer);
        }
    }

    void appendText(const Placeholder& placeholder, const FormatArgument::Content& content) {
        std::string text;
        if (const auto* string = std::get_if<std::string_view>(&content)) {
            text = *string;
        } else if (std::holds_alternative<std::nullptr_t>(content)) {
            text = kNull;
        } else if (placeholder.conversion == 's') {
            _result += kWrongArgument;
            return;
        } else if (const auto* data = std::get_if<Data>(&content)) {
            text = data->description();
        } else if (const auto* value = std::get_if<Value>(&content)) {
            text = value->description();
        } else if (const auto* real = std::get_if<double>(&content)) {
            text = Value(*real).description();
        } else if (const auto* integer = std::get_if<FormatArgument::Integer>(&content)) {
            text = (isNegative(*integer) ? "-" : "") + digitsOf(magnitudeOf(*integer), 10);
        }
        if (placeholder.precision) {
            text.resize(std::min(text.size(), *placeholder.precision));
        }
        appendPadded(placeholder, std::move(text));
    }

    void appendInteger(const Placeholder& placeholder, const FormatArgument::Integer& integer) {
        const bool hexadecimal = placeholder.conversion == 'x' || placeholder.conversion == 'X';
        const bool signedForm = placeholder.conversion == 'd' || placeholder.conversion == 'i';
        const bool negative = signedForm && isNegative(integer);
        std::string digits = digitsOf(signedForm ? magnitudeOf(integer) : ownBitsOf(integer), hexadecimal ? 16 : 10);
        if (placeholder.conversion == 'X') {
            std::transform(digits.begin(), digits.end(), digits.begin(),
                           [](char digit) { return digit >= 'a' ? static_cast<char>(digit - 'a' + 'A') : digit; });
        }
        if (placeholder.precision && digits.size() < *placeholder.precision) {
            digits.insert(0, *placeholder.precision - digits.size(), '0');
        }
        std::string prefix = signedForm ? signOf(placeholder, negative) : std::string();
        if (hexadecimal && placeholder.alternate && integer.bits != 0) {
            prefix = placeholder.conversion == 'x' ? "0x" : "0X";
        }
        appendNumber(placeholder, prefix, std::move(digits), !placeholder.precision);
    }

    void appendReal(const Placeholder& placeholder, const FormatArgument::Content& content) {
        double number = 0;
        if (const auto* real = std::get_if<double>(&content)) {
            number = *real;
        } else {
            _result += kWrongArgument;
            return;
        }
        if (!std::isfinite(number)) {
            appendNumber(placeholder, signOf(placeholder, std::signbit(number)), std::isnan(number) ? "nan" : "inf",
                         false);
            return;
        }
        constexpr std::size_t kIntegerDigits = 310;
        std::array<char, kIntegerDigits + kMaxFraction + 2> digits{};
        const std::size_t fraction = std::min(placeholder.precision.value_or(6), kMaxFraction);
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), std::fabs(number),
                                       std::chars_format::fixed, static_cast<int>(fraction))
                             .ptr;
        appendNumber(placeholder, signOf(placeholder, std::signbit(number)), std::string(digits.data(), end), true);
    }

    /// Sign or base prefix, then zeros (if allowed) or blanks up to the width.
    void appendNumber(const Placeholder& placeholder, const std::string& prefix, std::string digits,
                      bool zerosAllowed) {
        if (placeholder.zeroPadded && zerosAllowed && !placeholder.leftAligned) {
            const std::size_t length = prefix.size() + digits.size();
            digits.insert(0, placeholder.width > length ? placeholder.width - length : 0, '0');
        }
        appendPadded(placeholder, prefix + digits);
    }

    void appendPadded(const Placeholder& placeholder, std::string text) {
        const std::size_t padding = placeholder.width > text.size() ? placeholder.width - text.size() : 0;
        text.insert(placeholder.leftAligned ? text.size() : 0, padding, ' ');
        _result += text;
    }

    static std::string signOf(const Placeholder& placeholder, bool negative) {
        if (negative) {
            return "-";
        }
        return placeholder.plusSign ? "+" : placeholder.spaceSign ? " " : "";
    }

    static bool isNegative(const FormatArgument::Integer& integer) {
        return integer.isSigned && static_cast<std::int64_t>(integer.bits) < 0;
    }
    static std::uint64_t magnitudeOf(const FormatArgument::Integer& integer) {
        return isNegative(integer) ? ~integer.bits + 1 : integer.bits;
    }
    static std::uint64_t ownBitsOf(const FormatArgument::Integer& integer) {
        return integer.byteCount >= 8 ? integer.bits
                                      : integer.bits & ((std::uint64_t{1} << (integer.byteCount * 8U)) - 1);
    }
    static std::string digitsOf(std::uint64_t number, int base) {
        std::array<char, 24> digits{};
        return {digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number, base).ptr};
    }

    Placeholder takePlaceholder() {
        Placeholder placeholder;
        while (takeFlag(placeholder)) {
        }
        placeholder.width = takeCount(placeholder.leftAligned).value_or(0);
        if (takeIf('.')) {
            bool negative = false;
            placeholder.precision = takeCount(negative).value_or(0);
            if (negative) {
                placeholder.precision.reset();
            }
        }
        while (!_rest.empty() && std::string_view("hlzqjt").find(_rest.front()) != std::string_view::npos) {
            _rest.remove_prefix(1);
        }
        if (!_rest.empty()) {
            placeholder.conversion = _rest.front();
            _rest.remove_prefix(1);
        }
        return placeholder;
    }

    bool takeFlag(Placeholder& placeholder) {
        if (takeIf('-')) {
            placeholder.leftAligned = true;
        } else if (takeIf('0')) {
            placeholder.zeroPadded = true;
        } else if (takeIf('+')) {
            placeholder.plusSign = true;
        } else if (takeIf(' ')) {
            placeholder.spaceSign = true;
        } else if (takeIf('#')) {
            placeholder.alternate = true;
        } else {
            return false;
        }
        return true;
    }

    bool takeIf(char wanted) {
        if (_rest.empty() || _rest.front() != wanted) {
            return false;
        }
        _rest.remove_prefix(1);
        return true;
    }

    /// Digits, or `*` for the next argument; a negative argument sets `negative`.
    std::optional<std::size_t> takeCount(bool& negative) {
        if (takeIf('*')) {
            const FormatArgument* argument = nextArgument();
            const auto* integer = argument ? std::get_if<FormatArgument::Integer>(&argument->content()) : nullptr;
            if (!integer) {
                return std::nullopt;
            }
            negative = negative || isNegative(*integer);
            return static_cast<std::size_t>(std::min<std::uint64_t>(magnitudeOf(*integer), kMaxWidth));
        }
        std::optional<std::size_t> count;
        while (!_rest.empty() && _rest.front() >= '0' && _rest.front() <= '9') {
            const std::size_t value = count.value_or(0) * 10 + static_cast<std::size_t>(_rest.front() - '0');
            count = std::min(value, kMaxWidth);
            _rest.remove_prefix(1);
        }
        return count;
    }

    const FormatArgument* nextArgument() { return _next < _arguments.size() ? &_arguments[_next++] : nullptr; }

    std::string_view _rest;
    std::span<const FormatArgument> _arguments;
    std::size_t _next = 0;
    std::string _result;
};

}  // namespace

std::string formatText(std::string_view format, std::span<const FormatArgument> arguments) {
    return Formatter(format, arguments).run();
}

}  // namespace qlx
