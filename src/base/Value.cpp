#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

namespace qlx {

namespace {

/// `value` truncated toward zero and limited to the range of `Integer`; 0 for not-a-number.
template <class Integer>
Integer saturated(double value) {
    constexpr auto kMin = std::numeric_limits<Integer>::min();
    constexpr auto kMax = std::numeric_limits<Integer>::max();
    if (std::isnan(value)) {
        return 0;
    }
    if (value <= static_cast<double>(kMin)) {
        return kMin;
    }
    // 2^63 and 2^64 are the first doubles that do not fit.
    if (value >= std::ldexp(1.0, std::numeric_limits<Integer>::digits)) {
        return kMax;
    }
    return static_cast<Integer>(value);
}

template <class Number>
std::string decimal(Number number) {
    std::array<char, 32> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() ? std::string(digits.data(), end) : std::string();
}

template <class Entries>
auto placeOf(Entries& entries, std::string_view key) {
    return std::lower_bound(entries.begin(), entries.end(), key,
                            [](const Dictionary::Entry& entry, std::string_view wanted) {
                                return std::string_view(entry.key).compare(wanted) < 0;
                            });
}

}  // namespace

Dictionary::Dictionary() noexcept = default;
Dictionary::Dictionary(const Dictionary& other) = default;
Dictionary::Dictionary(Dictionary&& other) noexcept = default;
Dictionary& Dictionary::operator=(const Dictionary& other) = default;
Dictionary& Dictionary::operator=(Dictionary&& other) noexcept = default;
Dictionary::~Dictionary() = default;

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) {
        set(entry.key, entry.value);
    }
}

const Value* Dictionary::find(std::string_view key) const noexcept {
    const auto place = placeOf(_entries, key);
    return place != _entries.end() && place->key == key ? &place->value : nullptr;
}

void Dictionary::set(std::string_view key, Value value) {
    const auto place = placeOf(_entries, key);
    if (place != _entries.end() && place->key == key) {
        place->value = std::move(value);
    } else {
        _entries.insert(place, Entry{std::string(key), std::move(value)});
    }
}

bool Dictionary::erase(std::string_view key) {
    const auto place = placeOf(_entries, key);
    if (place == _entries.end() || place->key != key) {
        return false;
    }
    _entries.erase(place);
    return true;
}

std::size_t Dictionary::size() const noexcept {
    return _entries.size();
}

const Dictionary::Entry* Dictionary::begin() const noexcept {
    return _entries.data();
}

const Dictionary::Entry* Dictionary::end() const noexcept {
    return _entries.data() + _entries.size();
}

bool operator==(const Dictionary& left, const Dictionary& right) {
    return left._entries == right._entries;
}

bool Value::isNumber() const noexcept {
    return signedInteger() || unsignedInteger() || number();
}

std::int64_t Value::integerValue() const noexcept {
    if (const auto* unsignedNumber = unsignedInteger()) {
        return static_cast<std::int64_t>(
            std::min(*unsignedNumber, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())));
    }
    if (const auto* signedNumber = signedInteger()) {
        return *signedNumber;
    }
    if (const auto* real = number()) {
        return saturated<std::int64_t>(*real);
    }
    if (const auto* string = text()) {
        return qlx::integerValue(*string);
    }
    return boolValue() ? 1 : 0;
}

std::uint64_t Value::unsignedValue() const noexcept {
    if (const auto* unsignedNumber = unsignedInteger()) {
        return *unsignedNumber;
    }
    if (const auto* real = number()) {
        return *real < 0 ? static_cast<std::uint64_t>(saturated<std::int64_t>(*real)) : saturated<std::uint64_t>(*real);
    }
    if (const auto* string = text()) {
        return qlx::unsignedValue(*string);
    }
    return static_cast<std::uint64_t>(integerValue());
}

bool Value::boolValue() const noexcept {
    if (const auto* flag = boolean()) {
        return *flag;
    }
    if (const auto* string = text()) {
        return qlx::boolValue(*string);
    }
    if (const auto* real = number()) {
        return *real != 0;
    }
    return (signedInteger() && *signedInteger() != 0) || (unsignedInteger() && *unsignedInteger() != 0);
}

double Value::doubleValue() const noexcept {
    if (const auto* real = number()) {
        return *real;
    }
    if (const auto* string = text()) {
        return qlx::doubleValue(*string);
    }
    if (const auto* unsignedNumber = unsignedInteger()) {
        return static_cast<double>(*unsignedNumber);
    }
    return static_cast<double>(integerValue());
}

std::optional<std::string> Value::stringValue() const {
    if (const auto* string = text()) {
        return *string;
    }
    if (const auto* flag = boolean()) {
        return *flag ? "1" : "0";
    }
    if (const auto* signedNumber = signedInteger()) {
        return decimal(*signedNumber);
    }
    if (const auto* unsignedNumber = unsignedInteger()) {
        return decimal(*unsignedNumber);
    }
    if (const auto* real = number()) {
        return decimal(*real);
    }
    return std::nullopt;
}

std::string Value::description() const {
    if (const auto* bytes = data()) {
        return bytes->description();
    }
    if (const auto* list = array()) {
        std::string result = "(";
        for (const Value& value : *list) {
            result += result.size() > 1 ? ", " : "";
            result += value.description();
        }
        return result + ")";
    }
    if (const auto* entries = dictionary()) {
        std::string result = "{";
        for (const auto& entry : *entries) {
            result += result.size() > 1 ? "; " : "";
            result += entry.key + " = " + entry.value.description();
        }
        return result + "}";
    }
    return stringValue().value_or("(null)");
}

bool operator==(const Value& left, const Value& right) {
    if (left._content.index() == right._content.index()) {
        return left._content == right._content;
    }
    const auto equalAcrossSigns = [](const Value& one, const Value& other) {
        return one.signedInteger() && other.unsignedInteger() && *one.signedInteger() >= 0 &&
               static_cast<std::uint64_t>(*one.signedInteger()) == *other.unsignedInteger();
    };
    return equalAcrossSigns(left, right) || equalAcrossSigns(right, left);
}

}  // namespace qlx
