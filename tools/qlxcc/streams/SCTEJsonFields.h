// Fields of messages and sections as members of JSON objects. What an object has is one function, which names its fields
// for a JsonFieldWriter or a JsonFieldReader:
//
//     template <class Io, class Value>
//     requires IsA<Value, scte::TimeSignalRequest>
//     void describe(Io& io, Value& value) {
//         io.time("preRollTime", value.preRollMilliseconds, 1000);
//     }
#pragma once

#include "io/Text.h"
#include "streams/SCTEJson.h"

#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/scte/scte35_text.h>

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace qlx::tool::scte_json {

template <class Value, class Plain>
concept IsA = std::same_as<std::remove_const_t<Value>, Plain>;

template <class Number>
[[nodiscard]] constexpr std::uint64_t greatestOfNumber() {
    if constexpr (std::is_enum_v<Number>) {
        return std::numeric_limits<std::underlying_type_t<Number>>::max();
    } else {
        return std::numeric_limits<Number>::max();
    }
}

// What has no fields.
template <class Io, class Value>
requires std::is_empty_v<Value>
void describe(Io& /*io*/, Value& /*value*/) {}

/// Names fields in an object.
class JsonFieldWriter {
public:
    static constexpr bool kReads = false;

    template <class Number>
    void number(std::string_view key, const Number& value, std::uint64_t = 0) {
        _object.set(key, static_cast<std::uint64_t>(value));
    }

    /// A number that is said only where it is another one.
    template <class Number>
    void unusual(std::string_view key, const Number& value, Number usual, std::uint64_t = 0) {
        if (value != usual) {
            number(key, value);
        }
    }

    template <class Number>
    void optionalNumber(std::string_view key, const std::optional<Number>& value, std::uint64_t = 0) {
        if (value) {
            number(key, *value);
        }
    }

    void flag(std::string_view key, bool value) { _object.set(key, value); }

    void unusualFlag(std::string_view key, bool value, bool usual) {
        if (value != usual) {
            flag(key, value);
        }
    }

    /// A byte that is a flag: the number where it is neither 0 nor 1.
    void byteFlag(std::string_view key, const std::uint8_t& value) {
        _object.set(key, value > 1 ? Value(std::uint64_t{value}) : Value(value == 1));
    }

    template <class Number>
    void time(std::string_view key, const Number& value, std::uint64_t timescale, std::uint64_t = 0) {
        _object.set(key, Dictionary{{"value", static_cast<std::uint64_t>(value)},
                                    {"timescale", timescale},
                                    {"seconds", static_cast<double>(value) / static_cast<double>(timescale)}});
    }

    template <class Number>
    void optionalTime(std::string_view key, const std::optional<Number>& value, std::uint64_t timescale,
                      std::uint64_t = 0) {
        if (value) {
            time(key, *value, timescale);
        }
    }

    template <class Bytes>
    void bytes(std::string_view key, const Bytes& value) {
        _object.set(key, hex(value));
    }

    /// Bytes that are there in a few cases only.
    void unusualBytes(std::string_view key, const std::vector<std::uint8_t>& value) {
        if (!value.empty()) {
            bytes(key, value);
        }
    }

    /// A number of 64 bits, which is more than many readers of JSON have.
    void word(std::string_view key, const std::uint64_t& value) {
        std::array<std::uint8_t, 8> digits{};
        for (unsigned index = 0; index < 8; ++index) {
            digits[index] = static_cast<std::uint8_t>(value >> (56 - 8 * index));
        }
        bytes(key, digits);
    }

    void numbers(std::string_view key, const std::vector<std::uint32_t>& values) {
        Array list;
        for (const std::uint32_t value : values) {
            list.emplace_back(std::uint64_t{value});
        }
        _object.set(key, std::move(list));
    }

    template <class Item>
    void list(std::string_view key, const std::vector<Item>& values) {
        Array list;
        for (const Item& value : values) {
            list.emplace_back(objectOf(value));
        }
        _object.set(key, std::move(list));
    }

    template <class Item>
    void object(std::string_view key, const Item& value) {
        _object.set(key, objectOf(value));
    }

    template <class Item>
    void optionalObject(std::string_view key, const std::optional<Item>& value) {
        if (value) {
            object(key, *value);
        }
    }

    /// A name for people.
    void name(std::string_view key, std::string text) {
        if (!text.empty()) {
            _object.set(key, std::move(text));
        }
    }

    [[nodiscard]] Dictionary take() { return std::move(_object); }

    template <class Item>
    [[nodiscard]] static Dictionary objectOf(const Item& value) {
        JsonFieldWriter writer;
        describe(writer, value);
        return writer.take();
    }

private:
    Dictionary _object;
};

/// Takes fields out of an object. What is absent keeps its default.
/// @throws ScteJsonError for a value that does not fit, and a member that nothing has asked for.
class JsonFieldReader {
public:
    static constexpr bool kReads = true;

    explicit JsonFieldReader(const Dictionary& object) : _object(object) {}

    template <class Number>
    void number(std::string_view key, Number& value, std::uint64_t greatest = greatestOfNumber<Number>()) {
        if (const Value* const found = find(key)) {
            value = static_cast<Number>(numberOf(key, *found, greatest));
        }
    }

    template <class Number>
    void unusual(std::string_view key, Number& value, Number /*usual*/,
                 std::uint64_t greatest = greatestOfNumber<Number>()) {
        number(key, value, greatest);
    }

    template <class Number>
    void optionalNumber(std::string_view key, std::optional<Number>& value,
                        std::uint64_t greatest = greatestOfNumber<Number>()) {
        if (has(key)) {
            number(key, value.emplace(), greatest);
        }
    }

    void flag(std::string_view key, bool& value) {
        if (const Value* const found = find(key)) {
            value = flagOf(key, *found);
        }
    }

    void unusualFlag(std::string_view key, bool& value, bool /*usual*/) { flag(key, value); }

    void byteFlag(std::string_view key, std::uint8_t& value) {
        if (const Value* const found = find(key)) {
            value = found->isBool() ? static_cast<std::uint8_t>(found->boolValue() ? 1 : 0)
                                    : static_cast<std::uint8_t>(numberOf(key, *found, 0xFF));
        }
    }

    template <class Number>
    void time(std::string_view key, Number& value, std::uint64_t timescale,
              std::uint64_t greatest = greatestOfNumber<Number>()) {
        if (const Value* const found = find(key)) {
            value = static_cast<Number>(timeOf(key, *found, timescale, greatest));
        }
    }

    template <class Number>
    void optionalTime(std::string_view key, std::optional<Number>& value, std::uint64_t timescale,
                      std::uint64_t greatest = greatestOfNumber<Number>()) {
        if (has(key)) {
            time(key, value.emplace(), timescale, greatest);
        }
    }

    void bytes(std::string_view key, std::vector<std::uint8_t>& value) {
        if (const Value* const found = find(key)) {
            value = bytesOf(key, *found);
        }
    }

    template <std::size_t Size>
    void bytes(std::string_view key, std::array<std::uint8_t, Size>& value) {
        if (const Value* const found = find(key)) {
            const std::vector<std::uint8_t> read = bytesOf(key, *found);
            if (read.size() != Size) {
                refuse(key, "must have " + std::to_string(Size) + " bytes");
            }
            std::copy(read.begin(), read.end(), value.begin());
        }
    }

    void unusualBytes(std::string_view key, std::vector<std::uint8_t>& value) { bytes(key, value); }

    void word(std::string_view key, std::uint64_t& value) {
        std::array<std::uint8_t, 8> digits{};
        bytes(key, digits);
        value = 0;
        for (const std::uint8_t byte : digits) {
            value = value << 8U | byte;
        }
    }

    void numbers(std::string_view key, std::vector<std::uint32_t>& values) {
        for (const Value& value : arrayOf(key)) {
            values.push_back(static_cast<std::uint32_t>(numberOf(key, value, 0xFFFFFFFF)));
        }
    }

    template <class Item>
    void list(std::string_view key, std::vector<Item>& values) {
        for (const Value& value : arrayOf(key)) {
            read(key, value, values.emplace_back());
        }
    }

    template <class Item>
    void object(std::string_view key, Item& value) {
        if (const Value* const found = find(key)) {
            read(key, *found, value);
        }
    }

    template <class Item>
    void optionalObject(std::string_view key, std::optional<Item>& value) {
        if (has(key)) {
            object(key, value.emplace());
        }
    }

    void name(std::string_view key, const std::string& /*text*/) { (void)find(key); }

    [[nodiscard]] bool has(std::string_view key) const { return _object.contains(key); }

    /// Refuses members that nothing has asked for.
    void finish() const {
        for (const auto& [key, value] : _object) {
            if (std::find(_asked.begin(), _asked.end(), key) == _asked.end()) {
                throw ScteJsonError("unknown key \"" + std::string(key) + "\"");
            }
        }
    }

    /// Fills a value from an object, all of whose members must be its.
    template <class Item>
    static void fill(const Dictionary& object, Item& value) {
        JsonFieldReader reader(object);
        describe(reader, value);
        reader.finish();
    }

private:
    [[noreturn]] static void refuse(std::string_view key, const std::string& why) {
        throw ScteJsonError("\"" + std::string(key) + "\" " + why);
    }

    const Value* find(std::string_view key) {
        _asked.push_back(key);
        return _object.find(key);
    }

    static std::uint64_t numberOf(std::string_view key, const Value& value, std::uint64_t greatest) {
        std::optional<std::uint64_t> number;
        if (const std::uint64_t* const plain = value.unsignedInteger()) {
            number = *plain;
        } else if (const std::int64_t* const some = value.signedInteger(); some != nullptr && *some >= 0) {
            number = static_cast<std::uint64_t>(*some);
        }
        if (!number || *number > greatest) {
            refuse(key, "must be a whole number from 0 to " + std::to_string(greatest));
        }
        return *number;
    }

    static bool flagOf(std::string_view key, const Value& value) {
        if (!value.isBool()) {
            refuse(key, "must be true or false");
        }
        return value.boolValue();
    }

    /// A time of any timescale that is a whole number of the field's units, or the number of these.
    static std::uint64_t timeOf(std::string_view key, const Value& value, std::uint64_t timescale,
                                std::uint64_t greatest) {
        const Dictionary* const time = value.dictionary();
        if (time == nullptr) {
            return numberOf(key, value, greatest);
        }
        constexpr std::uint64_t kGreatest = std::uint64_t{1} << 44U;
        JsonFieldReader reader(*time);
        std::uint64_t units = 0;
        std::uint64_t scale = timescale;
        reader.number("value", units, kGreatest);
        reader.number("timescale", scale, 0xFFFFFFFF);
        reader.name("seconds", {});
        reader.finish();
        if (scale == 0 || units * timescale % scale != 0 || units * timescale / scale > greatest) {
            refuse(key, "must be a whole number of 1/" + std::to_string(timescale) + " s, at most " +
                            std::to_string(greatest));
        }
        return units * timescale / scale;
    }

    static std::vector<std::uint8_t> bytesOf(std::string_view key, const Value& value) {
        const std::string* const text = value.text();
        constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
        if (text == nullptr || text->size() % 2 != 0 || text->find_first_not_of(kDigits) != std::string::npos) {
            refuse(key, "must be pairs of hexadecimal digits");
        }
        std::vector<std::uint8_t> bytes(text->size() / 2);
        for (std::size_t index = 0; index < bytes.size(); ++index) {
            bytes[index] = static_cast<std::uint8_t>(std::stoul(text->substr(2 * index, 2), nullptr, 16));
        }
        return bytes;
    }

    const Array& arrayOf(std::string_view key) {
        static const Array kNone;
        const Value* const found = find(key);
        if (found == nullptr) {
            return kNone;
        }
        if (found->array() == nullptr) {
            refuse(key, "must be an array");
        }
        return *found->array();
    }

    template <class Item>
    static void read(std::string_view key, const Value& value, Item& item) {
        if (value.dictionary() == nullptr) {
            refuse(key, "must be an object");
        }
        fill(*value.dictionary(), item);
    }

    const Dictionary& _object;
    std::vector<std::string_view> _asked;
};

/// Calls `use` with each alternative of a variant from the `First` one on, made new, until it says true.
template <std::size_t First, class Variant, class Use>
bool findAlternative(Variant& variant, Use use) {
    if constexpr (First < std::variant_size_v<Variant>) {
        if (use.template operator()<std::variant_alternative_t<First, Variant>>()) {
            variant.template emplace<First>();
            return true;
        }
        return findAlternative<First + 1>(variant, use);
    }
    return false;
}

}  // namespace qlx::tool::scte_json
