#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>
#include <utility>

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

/// Where a key is among entries.
struct Place {
    std::size_t index = 0;  ///< Of the entry with the key, or else of the first one whose key is behind it.
    bool isThere = false;
};

/// Searches the entries from `first` on. Not Dictionary's own: a function that the library exports is called, and never
/// put in place.
inline Place placeAmong(const std::vector<Dictionary::Entry>& entries, std::size_t first, std::string_view key) {
    std::size_t end = entries.size();
    while (first != end) {
        const std::size_t middle = first + (end - first) / 2;
        const int order = std::string_view(entries[middle].key).compare(key);
        if (order == 0) {
            return {middle, true};
        }
        (order < 0 ? first : end) = order < 0 ? middle + 1 : middle;
    }
    return {first, false};
}

/// From this many entries on room is made in front of them for more than one at a time.
constexpr std::size_t kManyEntries = 16;

}  // namespace

Dictionary::Dictionary() noexcept = default;
Dictionary::Dictionary(const Dictionary& other) : _entries(other.begin(), other.end()) {}
Dictionary::Dictionary(Dictionary&& other) noexcept
    : _entries(std::move(other._entries)), _unused(std::exchange(other._unused, 0)) {}
Dictionary& Dictionary::operator=(const Dictionary& other) {
    return *this = Dictionary(other);
}
Dictionary& Dictionary::operator=(Dictionary&& other) noexcept {
    if (this != &other) {
        _entries = std::move(other._entries);
        _unused = std::exchange(other._unused, 0);
        other._entries.clear();
    }
    return *this;
}
Dictionary::~Dictionary() = default;

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
    for (const Entry& entry : entries) {
        set(entry.key, entry.value);
    }
}

const Value* Dictionary::find(std::string_view key) const noexcept {
    const Place place = placeAmong(_entries, _unused, key);
    return place.isThere ? &_entries[place.index].value : nullptr;
}

void Dictionary::set(std::string_view key, Value value) {
    // Most come in order.
    if (_entries.empty() || std::string_view(_entries.back().key).compare(key) < 0) {
        _entries.push_back({std::string(key), std::move(value)});
        return;
    }
    const Place place = placeAmong(_entries, _unused, key);
    if (place.isThere) {
        _entries[place.index].value = std::move(value);
    } else {
        insert(place.index, Entry{std::string(key), std::move(value)});
    }
}

void Dictionary::insert(std::size_t place, Entry entry) {
    if (place == _unused && _unused == 0 && _entries.size() >= kManyEntries) {
        makeRoomInFront();
        place = _unused;
    }
    const auto first = _entries.begin() + static_cast<std::ptrdiff_t>(_unused);
    const auto here = _entries.begin() + static_cast<std::ptrdiff_t>(place);
    if (_unused != 0 && here - first < _entries.end() - here) {
        std::move(first, here, first - 1);
        *(here - 1) = std::move(entry);
        --_unused;
    } else {
        _entries.insert(here, std::move(entry));
    }
}

/// As much room as there are entries: it is used up before they are moved again.
void Dictionary::makeRoomInFront() {
    std::vector<Entry> roomy(2 * _entries.size());
    std::move(_entries.begin(), _entries.end(), roomy.begin() + static_cast<std::ptrdiff_t>(_entries.size()));
    _unused = _entries.size();
    _entries.swap(roomy);
}

bool Dictionary::erase(std::string_view key) {
    const Place place = placeAmong(_entries, _unused, key);
    if (place.isThere) {
        _entries.erase(_entries.begin() + static_cast<std::ptrdiff_t>(place.index));
    }
    return place.isThere;
}

std::size_t Dictionary::size() const noexcept {
    return _entries.size() - _unused;
}

const Dictionary::Entry* Dictionary::begin() const noexcept {
    return _entries.data() + _unused;
}

const Dictionary::Entry* Dictionary::end() const noexcept {
    return _entries.data() + _entries.size();
}

bool operator==(const Dictionary& left, const Dictionary& right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end());
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
