#include "streams/Json.h"

#include "io/Errors.h"
#include "io/Text.h"
#include "streams/Cdp.h"
#include "streams/SCTE104Message.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using Json = nlohmann::ordered_json;

// Text that is not UTF-8 gets replacement characters; the default would throw.
std::string line(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json tripletList(std::span<const cc::Triplet> triplets) {
    Json list = Json::array();
    for (const cc::Triplet& triplet : triplets) {
        Json entry;
        entry["kind"] = nameOf(triplet);
        entry["data"] = hex(std::array{triplet.first, triplet.second});
        list.push_back(std::move(entry));
    }
    return list;
}

Json cdpObject(const ReadCdp& packet) {
    Json object;
    object["rate"] = packet.rate.empty() ? Json() : Json(packet.rate);
    object["ccCount"] = packet.ccCount ? Json(*packet.ccCount) : Json();
    object["counter"] = packet.cdp.sequenceCounter();
    object["triplets"] = tripletList(packet.cdp.triplets());
    if (std::string contradiction = contradictionIn(packet); !contradiction.empty()) {
        object["contradiction"] = std::move(contradiction);
    }
    object["lengthOk"] = !packet.length;
    object["checksumOk"] = !packet.checksum;
    return object;
}

std::string captionDataLine(Json object, bool isFirst) {
    if (isFirst) {
        object["schema"] = kCaptionDataSchema;
    }
    return line(object);
}

Json jsonOf(const Value& value) {
    if (const Dictionary* const dictionary = value.dictionary()) {
        Json object = Json::object();
        for (const auto& [key, entry] : *dictionary) {
            object[key] = jsonOf(entry);
        }
        return object;
    }
    if (const Array* const array = value.array()) {
        Json list = Json::array();
        for (const Value& entry : *array) {
            list.push_back(jsonOf(entry));
        }
        return list;
    }
    if (value.isBool()) {
        return value.boolValue();
    }
    if (const std::uint64_t* const number = value.unsignedInteger()) {
        return *number;
    }
    if (const std::int64_t* const number = value.signedInteger()) {
        return *number;
    }
    if (const double* const number = value.number()) {
        return *number;
    }
    if (const Data* const data = value.data()) {
        return hex(*data);
    }
    return value.text() ? Json(*value.text()) : Json();
}

/// Builds a Value out of the events of the parser, which does not recurse; neither does this.
class ValueBuilder final : public nlohmann::json_sax<nlohmann::json> {
public:
    ValueBuilder(std::string_view name, std::string_view text) : _name(name), _text(text) {}

    /// Of a text that has other values as well: this one begins at `first`, and no object of it has a key twice.
    ValueBuilder(std::string_view name, std::string_view text, std::size_t first)
        : _name(name), _text(text), _first(first), _keysAreUnique(true) {}

    /// Hands on the elements of a list in place of keeping them; see readJsonElements().
    ValueBuilder(std::string_view name, std::string_view text, const std::function<void(Value)>& takeElement,
                 const std::function<void(std::string_view, const Value&)>& takeMember)
        : _name(name), _text(text), _takeElement(&takeElement), _takeMember(&takeMember) {}

    [[nodiscard]] Value take() { return std::move(_root); }

    [[nodiscard]] bool hasList() const { return _hasList; }

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(number_integer_t value) override { return add(std::int64_t{value}); }
    bool number_unsigned(number_unsigned_t value) override { return add(std::uint64_t{value}); }
    bool number_float(number_float_t value, const string_t& /*text*/) override { return add(value); }
    bool string(string_t& value) override {
        weigh(value.size());
        return add(std::move(value));
    }
    bool binary(binary_t& /*value*/) override { return add(nullptr); }
    bool start_object(std::size_t /*elements*/) override { return open(true); }
    bool start_array(std::size_t /*elements*/) override { return open(false); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool key(string_t& value) override {
        weigh(value.size());
        _open.back().key = std::move(value);
        return true;
    }
    bool parse_error(std::size_t position, const std::string& /*token*/,
                     const nlohmann::json::exception& /*error*/) override {
        const std::size_t offset = std::min(_first + (position > 0 ? position - 1 : 0), _text.size());
        const std::string_view before = _text.substr(0, offset);
        const auto lineNumber = 1 + static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n'));
        if (offset == _text.size()) {
            throw failureAtLine(_name, lineNumber, "not JSON: the text ends too early");
        }
        std::string_view rest = _text.substr(offset);
        rest = rest.substr(0, rest.find_first_of("\r\n"));
        std::string shown;
        constexpr std::size_t kShownCharacters = 40;
        for (std::size_t count = 0; count < kShownCharacters && !rest.empty(); ++count) {
            const std::string_view whole = rest;
            (void)takeCodePoint(rest);
            shown += whole.substr(0, whole.size() - rest.size());
        }
        throw failureAtLine(_name, lineNumber, "not JSON at \"" + shown + "\"");
    }

private:
    struct Container {
        bool isObject = false;
        std::string key;
        std::vector<Dictionary::Entry> members;  ///< As they come; of several with one key the last one counts.
        Array array;
    };

    /// Whether the innermost container is the list whose elements are handed on.
    [[nodiscard]] bool isInList() const {
        return (_open.size() == 1 && !_open[0].isObject) ||
               (_open.size() == 2 && _open[0].isObject && _open[0].key == kListKey && !_open[1].isObject);
    }

    void weigh(std::size_t size) {
        _weight += size;
        if (_takeElement != nullptr && _weight > kLargestElement) {
            throw failureIn(_name, "element " + std::to_string(_elements + 1) + ": larger than any subtitle (1 MiB)");
        }
    }

    bool add(Value value) {
        weigh(kWeightOfValue);
        if (_open.empty()) {
            _root = std::move(value);
        } else if (_takeElement != nullptr && isInList()) {
            _weight = 0;
            ++_elements;
            (*_takeElement)(std::move(value));
        } else if (_takeElement != nullptr && _open.size() == 1 && _open[0].key != kListKey) {
            _weight = 0;
            if (*_takeMember) {
                (*_takeMember)(_open[0].key, value);
            }
        } else if (Container& container = _open.back(); container.isObject) {
            container.members.push_back({std::move(container.key), std::move(value)});
        } else {
            container.array.push_back(std::move(value));
        }
        return true;
    }

    bool open(bool isObject) {
        if (_open.size() == kDeepestJson) {
            throw failureIn(_name, "JSON nested deeper than " + std::to_string(kDeepestJson) + " levels");
        }
        _open.push_back({isObject, {}, {}, {}});
        _hasList = _hasList || isInList();
        return true;
    }

    bool close() {
        Container container = std::move(_open.back());
        _open.pop_back();
        return container.isObject ? add(dictionaryOf(std::move(container.members))) : add(std::move(container.array));
    }

    /// In the order of the keys each is added behind those before it, so that it takes no longer in any other order.
    Dictionary dictionaryOf(std::vector<Dictionary::Entry> members) const {
        std::stable_sort(
            members.begin(), members.end(),
            [](const Dictionary::Entry& left, const Dictionary::Entry& right) { return left.key < right.key; });
        const auto isSame = [](const Dictionary::Entry& left, const Dictionary::Entry& right) {
            return left.key == right.key;
        };
        if (const auto twice = std::adjacent_find(members.begin(), members.end(), isSame);
            _keysAreUnique && twice != members.end()) {
            throw failureIn(_name, "an object has the key \"" + printable(twice->key) + "\" twice");
        }
        Dictionary dictionary;
        for (Dictionary::Entry& member : members) {
            dictionary.set(member.key, std::move(member.value));
        }
        return dictionary;
    }

    static constexpr std::string_view kListKey = "cues";
    static constexpr std::size_t kLargestElement = std::size_t{1024} * 1024;
    static constexpr std::size_t kWeightOfValue = 64;

    std::string_view _name;
    std::string_view _text;
    std::size_t _first = 0;
    bool _keysAreUnique = false;
    const std::function<void(Value)>* _takeElement = nullptr;
    const std::function<void(std::string_view, const Value&)>* _takeMember = nullptr;
    std::vector<Container> _open;
    std::size_t _weight = 0;      ///< Of the element that is read.
    std::uint64_t _elements = 0;  ///< Those that have been handed on.
    bool _hasList = false;
    Value _root;
};

/// The size of the value with which a text begins: of an object or an array up to its last bracket, of anything else up
/// to the end of the line.
std::size_t sizeOfValue(std::string_view text) {
    if (text.front() != '{' && text.front() != '[') {
        return std::min(text.size(), text.find('\n'));
    }
    std::size_t depth = 0;
    bool isString = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (isString) {
            place += character == '\\' ? 1 : 0;
            isString = character != '"';
        } else if (character == '"') {
            isString = true;
        } else if (character == '{' || character == '[') {
            ++depth;
        } else if ((character == '}' || character == ']') && --depth == 0) {
            return place + 1;
        }
    }
    return text.size();
}

/// Refuses a text or number longer than 1 MiB before the parser keeps it in several places.
void checkTokens(std::string_view name, std::string_view text) {
    constexpr std::size_t kLongestToken = std::size_t{1024} * 1024;
    constexpr std::string_view kBetweenTokens = " \t\r\n,:[]{}";
    std::size_t start = 0;
    bool isString = false;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (isString && character == '\\') {
            ++place;
        } else if (character == '"') {
            isString = !isString;
            start = place;
        } else if (!isString && kBetweenTokens.find(character) != std::string_view::npos) {
            start = place;
        } else if (place - start > kLongestToken) {
            const std::string_view before = text.substr(0, start);
            throw failureAtLine(name, 1 + static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n')),
                                "a JSON text longer than 1 MiB");
        }
    }
}

}  // namespace

Value parseJson(std::string_view name, std::string_view text) {
    ValueBuilder builder(name, text);
    (void)nlohmann::json::sax_parse(text, &builder);
    return builder.take();
}

std::vector<JsonValue> parseJsonValues(std::string_view name, std::string_view text, std::size_t first) {
    std::vector<JsonValue> values;
    std::uint64_t line = 1;
    std::size_t counted = 0;
    while ((first = text.find_first_not_of(" \t\r\n", first)) != std::string_view::npos) {
        const std::string_view before = text.substr(counted, first - counted);
        line += static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n'));
        counted = first;
        const std::string_view one = text.substr(first, sizeOfValue(text.substr(first)));
        ValueBuilder builder(name, text, first);
        (void)nlohmann::json::sax_parse(one, &builder);
        values.push_back({line, builder.take()});
        first += one.size();
    }
    return values;
}

bool readJsonElements(std::string_view name, std::string_view text, const std::function<void(Value)>& take,
                      const std::function<void(std::string_view key, const Value& value)>& takeMember) {
    checkTokens(name, text);
    ValueBuilder builder(name, text, take, takeMember);
    (void)nlohmann::json::sax_parse(text, &builder);
    return builder.hasList();
}

void CaptionMembers::appendOfPacket(std::string& text, const anc::Packet& packet) const {
    if (packet.id() == anc::ids::kCdp) {
        if (const auto cdp = readCdp(packet.userData)) {
            text += ",\"cdp\":" + line(cdpObject(*cdp));
        }
    }
    if (packet.id() == anc::ids::kScte104) {
        if (const Scte104Message message = readScte104(packet.userData); !message.refusal) {
            text += ",\"scte104\":" + line(jsonOf(scte104Operations(message)));
        }
    }
}

void CaptionMembers::appendOfCaptions(std::string& text, const Data& triplets) const {
    text += ",\"triplets\":" + line(tripletList(readTriplets(triplets)));
}

std::string jsonText(const Value& value) {
    return line(jsonOf(value));
}

Value jsonTime(const std::optional<MediaTime>& time) {
    return time ? Value(Dictionary{{"value", time->value},
                                   {"timescale", std::int64_t{time->timescale}},
                                   {"seconds", secondsFrom(*time)}})
                : Value();
}

void setSchema(Dictionary& object, std::string_view schema, bool isFirst) {
    if (isFirst) {
        object.set("schema", schema);
    }
}

std::string jsonLine(std::uint64_t unit, std::uint64_t offset, const std::optional<std::string>& data, bool isFirst) {
    Json object;
    object["unit"] = unit;
    object["offset"] = offset;
    object["data"] = data ? Json(*data) : Json();
    return captionDataLine(std::move(object), isFirst);
}

std::string jsonLine(std::uint64_t unit, const std::optional<MediaTime>& pts, const std::optional<std::string>& data,
                     bool isFirst) {
    Json object;
    object["unit"] = unit;
    object["pts"] = nullptr;
    if (pts) {
        object["pts"] = {{"value", pts->value}, {"timescale", pts->timescale}, {"seconds", secondsFrom(*pts)}};
    }
    object["data"] = data ? Json(*data) : Json();
    return captionDataLine(std::move(object), isFirst);
}

}  // namespace qlx::tool
