// The dynamic value, array and dictionary of JSON subtitles, attachments and parameter sets.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Data.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace qlx {

class Value;

/// A list of values.
using Array = std::vector<Value>;

/// Values by text key, ordered by key (byte order).
class QLX_EXPORT Dictionary {
public:
    struct Entry;

    Dictionary() noexcept;
    Dictionary(std::initializer_list<Entry> entries);  ///< A later entry replaces an earlier one of the same key.
    /// A copy of all entries.
    Dictionary(const Dictionary& other);
    /// Takes the entries over.
    Dictionary(Dictionary&& other) noexcept;
    /// A copy of all entries.
    Dictionary& operator=(const Dictionary& other);
    /// Takes the entries over.
    Dictionary& operator=(Dictionary&& other) noexcept;
    ~Dictionary();

    /// The value of `key`, or null; valid until the dictionary is changed.
    [[nodiscard]] const Value* find(std::string_view key) const noexcept;
    /// Whether there is such a key.
    [[nodiscard]] bool contains(std::string_view key) const noexcept { return find(key) != nullptr; }

    /// Stores `value` under `key`, replacing what stood there. Keys that come in order, rising or falling, take a time
    /// that does not depend on how many there are; others make room between their neighbours.
    void set(std::string_view key, Value value);

    /// Removes `key`; false when it was not there.
    bool erase(std::string_view key);

    /// Number of entries.
    [[nodiscard]] std::size_t size() const noexcept;
    /// Whether there is no entry.
    [[nodiscard]] bool empty() const noexcept { return size() == 0; }
    /// The first entry, where an iteration begins.
    [[nodiscard]] const Entry* begin() const noexcept;
    /// Behind the last entry.
    [[nodiscard]] const Entry* end() const noexcept;

    /// By keys and values.
    friend QLX_EXPORT bool operator==(const Dictionary& left, const Dictionary& right);

private:
    void insert(std::size_t place, Entry entry);
    void makeRoomInFront();

    std::vector<Entry> _entries;
    std::size_t _unused = 0;  ///< Empty entries at the beginning, into which those of smaller keys go.
};

/// Null, boolean, signed or unsigned 64-bit integer, double, text, byte buffer, array or dictionary.
///
/// The number readers are lenient: a text gives the number at its start, a boolean 0 or 1, anything else 0; a double
/// is truncated toward zero and saturates.
class QLX_EXPORT Value {
public:
    Value() noexcept = default;
    /// Null.
    Value(std::nullptr_t) noexcept {}
    /// A boolean.
    Value(std::same_as<bool> auto value) noexcept : _content(value) {}
    /// An integer, signed or unsigned like its type.
    template <std::integral T>
    requires(!std::same_as<T, bool>) Value(T value)
    noexcept : _content(widened(value)) {}
    /// A double.
    Value(double value) noexcept : _content(value) {}
    /// A text.
    Value(std::string value) noexcept : _content(std::move(value)) {}
    /// A text.
    Value(std::string_view value) : _content(std::string(value)) {}
    /// A null pointer gives null.
    Value(const char* value) {
        if (value) {
            _content = std::string(value);
        }
    }
    /// A byte buffer, possibly none.
    Value(Data value) noexcept : _content(std::move(value)) {}
    /// An array.
    Value(Array value) noexcept : _content(std::move(value)) {}
    /// A dictionary.
    Value(Dictionary value) noexcept : _content(std::move(value)) {}

    /// True for null.
    [[nodiscard]] bool isNull() const noexcept { return std::holds_alternative<std::nullptr_t>(_content); }
    /// True for a boolean.
    [[nodiscard]] bool isBool() const noexcept { return std::holds_alternative<bool>(_content); }
    /// True for integers and doubles (not booleans).
    [[nodiscard]] bool isNumber() const noexcept;

    /// The boolean, else null; valid until the value is changed.
    [[nodiscard]] const bool* boolean() const noexcept { return std::get_if<bool>(&_content); }
    /// The signed integer, else null; valid until the value is changed.
    [[nodiscard]] const std::int64_t* signedInteger() const noexcept { return std::get_if<std::int64_t>(&_content); }
    /// The unsigned integer, else null; valid until the value is changed.
    [[nodiscard]] const std::uint64_t* unsignedInteger() const noexcept {
        return std::get_if<std::uint64_t>(&_content);
    }
    /// The double, else null; valid until the value is changed.
    [[nodiscard]] const double* number() const noexcept { return std::get_if<double>(&_content); }
    /// The text, else null; valid until the value is changed.
    [[nodiscard]] const std::string* text() const noexcept { return std::get_if<std::string>(&_content); }
    /// The byte buffer, else null; valid until the value is changed.
    [[nodiscard]] const Data* data() const noexcept { return std::get_if<Data>(&_content); }
    /// The array, else null; valid until the value is changed.
    [[nodiscard]] const Array* array() const noexcept { return std::get_if<Array>(&_content); }
    /// The dictionary, else null; valid until the value is changed.
    [[nodiscard]] const Dictionary* dictionary() const noexcept { return std::get_if<Dictionary>(&_content); }

    /// The number with a sign; an unsigned number above the largest signed one gives that.
    [[nodiscard]] std::int64_t integerValue() const noexcept;
    /// The number without a sign; a negative one gives its low 64 bits.
    [[nodiscard]] std::uint64_t unsignedValue() const noexcept;
    /// True for true, a number other than 0 and the texts that boolValue() takes for true.
    [[nodiscard]] bool boolValue() const noexcept;
    /// The number as a double.
    [[nodiscard]] double doubleValue() const noexcept;

    /// A text as it is, a number in decimal digits, a boolean as "1" or "0"; none for the rest.
    [[nodiscard]] std::optional<std::string> stringValue() const;

    /// A readable form for messages; null prints as "(null)".
    [[nodiscard]] std::string description() const;

    /// Same kind and same content; signed and unsigned integers of the same number are equal.
    friend QLX_EXPORT bool operator==(const Value& left, const Value& right);

private:
    using Content =
        std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, Data, Array, Dictionary>;

    /// An integer, signed or unsigned like its type.
    template <std::integral T>
    static constexpr auto widened(T value) noexcept {
        if constexpr (std::is_signed_v<T>) {
            return std::int64_t{value};
        } else {
            return std::uint64_t{value};
        }
    }

    Content _content{nullptr};
};

/// A key and its value.
struct Dictionary::Entry {
    std::string key;  ///< UTF-8.
    Value value;      ///< What stands under it.

    /// By key and value.
    friend bool operator==(const Entry&, const Entry&) = default;
};

}  // namespace qlx
