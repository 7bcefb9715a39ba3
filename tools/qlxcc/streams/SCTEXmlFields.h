// Fields of sections as attributes and elements of XML. What an element has is one function, which names its fields for an
// XmlFieldWriter or an XmlFieldReader, as those of SCTEJsonFields.h do for JSON. The only file with pugixml's header, for
// one source.
#pragma once

#include "io/Text.h"
#include "streams/SCTEJsonFields.h"
#include "streams/SCTEXml.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qlx::tool::scte_xml {

using scte_json::greatestOfNumber;
using scte_json::IsA;

inline constexpr std::string_view kNamespace = "http://www.scte.org/schemas/35";

/// `number` of `text`, decimal; none for anything else, or above `greatest`.
[[nodiscard]] inline std::optional<std::uint64_t> decimalOf(std::string_view text, std::uint64_t greatest) {
    std::uint64_t number = 0;
    for (const char digit : text) {
        const auto value = static_cast<std::uint64_t>(static_cast<unsigned char>(digit) - '0');
        if (value > 9 || number > (greatest - std::min(greatest, value)) / 10 || value > greatest) {
            return std::nullopt;
        }
        number = number * 10 + value;
    }
    return text.empty() ? std::nullopt : std::optional(number);
}

[[nodiscard]] inline std::optional<std::vector<std::uint8_t>> bytesOfDigits(std::string_view digits) {
    constexpr std::string_view kDigits = "0123456789abcdef0123456789ABCDEF";
    std::vector<std::uint8_t> bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t place = 0; place + 1 < digits.size(); place += 2) {
        const std::size_t high = kDigits.find(digits[place]);
        const std::size_t low = kDigits.find(digits[place + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos) {
            return std::nullopt;
        }
        bytes.push_back(static_cast<std::uint8_t>(high % 16 * 16 + low % 16));
    }
    return digits.size() % 2 == 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

[[nodiscard]] inline std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kSpace);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

/// The name of a node or attribute without its prefix.
[[nodiscard]] inline std::string_view localOf(std::string_view name) {
    return name.substr(name.find(':') == std::string_view::npos ? 0 : name.find(':') + 1);
}

[[nodiscard]] inline std::string_view prefixOf(std::string_view name) {
    return name.find(':') == std::string_view::npos ? std::string_view() : name.substr(0, name.find(':'));
}

/// The namespace that a prefix has in an element; empty where it has none. No element has so many attributes or is in so
/// many others that this takes long: see checkedDocument().
[[nodiscard]] inline std::string_view namespaceOf(pugi::xml_node element, std::string_view prefix) {
    const std::string declaration = prefix.empty() ? "xmlns" : "xmlns:" + std::string(prefix);
    for (; element; element = element.parent()) {
        if (const pugi::xml_attribute found = element.attribute(declaration.c_str())) {
            return found.value();
        }
    }
    return {};
}

/// Whether a namespace is that of the standard, of whatever edition: http://www.scte.org/schemas/35, also with the year
/// behind it, and as it is seen without "www." or with https. Manifests of DASH often have the name of the event's scheme
/// for it: urn:scte:scte35:2013:xml, urn:scte:scte35:2014:xml+bin.
[[nodiscard]] inline bool isStandard(std::string_view name) {
    if (name.starts_with("urn:scte:scte35:")) {
        return true;
    }
    for (const std::string_view start : {"http://", "https://"}) {
        name.remove_prefix(name.starts_with(start) ? start.size() : 0);
    }
    name.remove_prefix(name.starts_with("www.") ? 4 : 0);
    constexpr std::string_view kRest = "scte.org/schemas/35";
    if (!name.starts_with(kRest)) {
        return false;
    }
    name.remove_prefix(kRest.size());
    return name.empty() || (name.front() == '/' && decimalOf(name.substr(1), 9999));
}

[[nodiscard]] inline bool isOurs(pugi::xml_node element) {
    return element.type() == pugi::node_element && isStandard(namespaceOf(element, prefixOf(element.name())));
}

/// The characters of an element.
[[nodiscard]] inline std::string textOf(pugi::xml_node element) {
    std::string text;
    for (const pugi::xml_node child : element.children()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            text += child.value();
        }
    }
    return text;
}

/// Writes fields into an element.
class XmlFieldWriter {
public:
    static constexpr bool kReads = false;

    explicit XmlFieldWriter(pugi::xml_node element) : _element(element) {}

    template <class Number>
    void number(const char* name, const Number& value, std::uint64_t = 0) {
        text(name, std::to_string(static_cast<std::uint64_t>(value)));
    }

    template <class Number>
    void optionalNumber(const char* name, const std::optional<Number>& value, std::uint64_t = 0) {
        if (value) {
            number(name, *value);
        }
    }

    /// One without which an element says nothing.
    template <class Number>
    void requiredNumber(const char* name, const Number& value) {
        number(name, value);
    }

    void flag(const char* name, bool value) { text(name, value ? "true" : "false"); }

    void text(const char* name, const std::string& value) { _element.append_attribute(name).set_value(value.c_str()); }

    template <class Item>
    void element(const char* name, const Item& value) {
        XmlFieldWriter inner(_element.append_child(name));
        describe(inner, value);
    }

    template <class Item>
    void optionalElement(const char* name, const std::optional<Item>& value) {
        if (value) {
            element(name, *value);
        }
    }

    template <class Item>
    void list(const char* name, const std::vector<Item>& values) {
        for (const Item& value : values) {
            element(name, value);
        }
    }

    /// An element with nothing but digits.
    void bytes(const char* name, const std::vector<std::uint8_t>& value) {
        XmlFieldWriter(_element.append_child(name)).characters(hex(value));
    }

    /// What stands in the element itself.
    void characters(const std::string& text) {
        if (!text.empty()) {
            _element.text().set(text.c_str());
        }
    }

private:
    pugi::xml_node _element;
};

/// Takes fields out of an element. What is absent keeps its default.
/// @throws ScteXmlError for a value that does not fit.
class XmlFieldReader {
public:
    static constexpr bool kReads = true;

    XmlFieldReader(pugi::xml_node element, std::vector<std::string>& notes) : _element(element), _notes(notes) {}

    template <class Number>
    void number(const char* name, Number& value, std::uint64_t greatest = greatestOfNumber<Number>()) {
        if (const auto found = find(name)) {
            const auto read = decimalOf(trimmed(*found), greatest);
            value = read ? static_cast<Number>(*read)
                         : refuse<Number>(name, "must be a whole number from 0 to " + std::to_string(greatest));
        }
    }

    template <class Number>
    void optionalNumber(const char* name, std::optional<Number>& value,
                        std::uint64_t greatest = greatestOfNumber<Number>()) {
        if (has(name)) {
            number(name, value.emplace(), greatest);
        }
    }

    template <class Number>
    void requiredNumber(const char* name, Number& value) {
        if (!has(name)) {
            refuse<void>(name, "is missing");
        }
        number(name, value);
    }

    void flag(const char* name, bool& value) {
        if (const auto found = find(name)) {
            const std::string_view word = trimmed(*found);
            value = word == "true" || word == "1"    ? true
                    : word == "false" || word == "0" ? false
                                                     : refuse<bool>(name, "must be true or false");
        }
    }

    [[nodiscard]] std::string text(const char* name) { return find(name).value_or(""); }

    template <class Item>
    void element(const char* name, Item& value) {
        if (const pugi::xml_node found = only(name)) {
            read(found, value);
        }
    }

    template <class Item>
    void optionalElement(const char* name, std::optional<Item>& value) {
        if (const pugi::xml_node found = only(name)) {
            read(found, value.emplace());
        }
    }

    template <class Item>
    void list(const char* name, std::vector<Item>& values) {
        _children.emplace_back(name);
        for (const pugi::xml_node child : _element.children()) {
            if (isOurs(child) && localOf(child.name()) == name) {
                read(child, values.emplace_back());
            }
        }
    }

    void bytes(const char* name, std::vector<std::uint8_t>& value) {
        if (const pugi::xml_node found = only(name)) {
            const std::string digits = textOf(found);
            const auto read = bytesOfDigits(trimmed(digits));
            value = read ? *read : refuse<std::vector<std::uint8_t>>(name, "must be pairs of hexadecimal digits");
        }
    }

    [[nodiscard]] bool has(const char* name) { return find(name).has_value(); }
    [[nodiscard]] bool hasElement(std::string_view name) const {
        const auto children = _element.children();
        return std::any_of(children.begin(), children.end(),
                           [name](pugi::xml_node child) { return isOurs(child) && localOf(child.name()) == name; });
    }
    [[nodiscard]] pugi::xml_node node() const { return _element; }

    template <class Item>
    void read(pugi::xml_node element, Item& value) {
        XmlFieldReader inner(element, _notes);
        describe(inner, value);
        inner.finish();
    }

    /// An element that has been taken by itself.
    void pass(const char* name) {
        // Once, however many there are: finish() goes through all names for each element.
        if (std::find(_children.begin(), _children.end(), name) == _children.end()) {
            _children.emplace_back(name);
        }
    }

    /// Says what is passed over: the first of it, as a text may have very much.
    void note(const std::string& text) const {
        constexpr std::size_t kMostNotes = 100;
        if (_notes.size() < kMostNotes) {
            _notes.push_back(std::string(localOf(_element.name())) + ": " + text);
        } else if (_notes.size() == kMostNotes) {
            _notes.emplace_back("more is left out");
        }
    }

    template <class Any>
    [[noreturn]] Any refuse(const std::string& name, const std::string& why) const {
        throw ScteXmlError(std::string(localOf(_element.name())) + ": " + name + " " + why);
    }

private:
    void note(const std::string& what, std::string_view name) const {
        note("the " + what + " " + printable(name) + " is left out");
    }

    /// Attributes of the standard have no prefix, or one of its namespace.
    [[nodiscard]] bool isOwn(pugi::xml_attribute attribute) const {
        const std::string_view prefix = prefixOf(attribute.name());
        return prefix.empty() || isStandard(namespaceOf(_element, prefix));
    }

    std::optional<std::string> find(std::string_view name) {
        _attributes.push_back(name);
        for (const pugi::xml_attribute attribute : _element.attributes()) {
            if (localOf(attribute.name()) == name && isOwn(attribute)) {
                return attribute.value();
            }
        }
        return std::nullopt;
    }

    pugi::xml_node only(const char* name) {
        _children.emplace_back(name);
        pugi::xml_node found;
        for (const pugi::xml_node child : _element.children()) {
            if (isOurs(child) && localOf(child.name()) == name) {
                found = found ? refuse<pugi::xml_node>(name, "stands there twice") : child;
            }
        }
        return found;
    }

    /// Says what nothing has asked for.
    void finish() {
        const auto isAsked = [](const std::vector<std::string_view>& names, std::string_view name) {
            return std::find(names.begin(), names.end(), name) != names.end();
        };
        for (const pugi::xml_attribute attribute : _element.attributes()) {
            const std::string_view name = attribute.name();
            const bool isDeclaration = name == "xmlns" || prefixOf(name) == "xmlns";
            if (!isDeclaration && !(isOwn(attribute) && isAsked(_attributes, localOf(name)))) {
                note("attribute", name);
            }
        }
        for (const pugi::xml_node child : _element.children()) {
            if (child.type() == pugi::node_element && !(isOurs(child) && isAsked(_children, localOf(child.name())))) {
                note("element", child.name());
            }
        }
    }

    pugi::xml_node _element;
    std::vector<std::string>& _notes;
    std::vector<std::string_view> _attributes;  ///< That have been asked for.
    std::vector<std::string_view> _children;
};

}  // namespace qlx::tool::scte_xml
