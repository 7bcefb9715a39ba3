#include "commands/scte/SCTE35Input.h"

#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/InputFile.h"
#include "streams/Json.h"
#include "streams/SCTEJson.h"
#include "streams/SCTEXml.h"

#include <qlx/scte/scte35_text.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>

namespace qlx::tool {

namespace {

/// Far more than a day of sections.
constexpr std::size_t kLongestSections = std::size_t{16} * 1024 * 1024;

scte::SpliceInfoSection sectionOf(const std::string& place, std::span<const std::uint8_t> bytes) {
    Findings findings;
    auto section = scte::parseSpliceInfoSection(bytes, &findings);
    if (!section) {
        throw failureAtByte(place, section.error().offset, section.error().text());
    }
    noteFindings(place, findings, [&place](const Finding& finding) {
        return (finding.severity == Severity::Remark ? "" : "warning: ") + place + ": byte " +
               std::to_string(finding.offset) + ": " + finding.text();
    });
    return *std::move(section);
}

/// section_length and the three bytes in front of what it counts.
std::size_t sizeOfSection(std::span<const std::uint8_t> bytes) {
    constexpr std::size_t kUncounted = 3;
    const std::size_t length =
        bytes.size() < kUncounted ? 0 : static_cast<std::size_t>((bytes[1] & 0x0FU) << 8U | bytes[2]);
    return std::min(bytes.size(), kUncounted + length);
}

using Sections = std::vector<scte::SpliceInfoSection>;

scte::SpliceInfoSection sectionOfObject(const std::string& place, const Value& value) {
    if (value.dictionary() == nullptr) {
        throw failureIn(place, "no object with a section");
    }
    try {
        return sectionOfJson(*value.dictionary());
    } catch (const ScteJsonError& error) {
        throw failureIn(place, error.what());
    }
}

/// Of the JSON values from `first` on, of a section each, or of arrays of these.
void takeJson(const std::string& name, std::string_view text, std::size_t first, Sections& sections) {
    for (const JsonValue& one : parseJsonValues(name, text, first)) {
        const std::string place = name + ": line " + std::to_string(one.line);
        if (one.value.array() == nullptr) {
            sections.push_back(sectionOfObject(place, one.value));
            continue;
        }
        std::size_t number = 0;
        for (const Value& value : *one.value.array()) {
            sections.push_back(sectionOfObject(place + ": section " + std::to_string(++number), value));
        }
    }
}

scte::SpliceInfoSection sectionOfDigits(const std::string& place, std::string_view line) {
    const auto bytes = scte::spliceInfoBytes(line);
    if (!bytes) {
        throw failureAtByte(place, bytes.error().offset, bytes.error().text());
    }
    return sectionOf(place, *bytes);
}

/// Of bytes, one section behind the other.
void takeBytes(const std::string& name, std::span<const std::uint8_t> bytes, Sections& sections) {
    for (std::size_t offset = 0; offset < bytes.size();) {
        const auto rest = bytes.subspan(offset);
        const std::size_t size = sizeOfSection(rest);
        sections.push_back(sectionOf(name + ": section " + std::to_string(sections.size() + 1), rest.first(size)));
        offset += size;
    }
}

/// Of XML, with what is passed over in it.
void takeXml(const std::string& name, std::string_view content, Sections& sections) {
    std::vector<std::string> notes;
    try {
        sections = sectionsOfXml(content, notes);
    } catch (const ScteXmlError& error) {
        throw failureIn(name, error.what());
    }
    const std::string place = "warning: " + name + ": ";
    for (const std::string& note : notes) {
        printNote(place + note);
    }
}

/// Whether the first character is that of XML.
bool isXml(std::string_view content) {
    const std::size_t first = content.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    return first != std::string_view::npos && content[first] == '<';
}

/// Of lines of digits or base64; from a line that begins a JSON value on all that follows is JSON.
void takeLines(const std::string& name, std::string_view content, Sections& sections) {
    std::uint64_t number = 0;
    for (std::size_t offset = 0; offset < content.size();) {
        ++number;
        std::string_view line = content.substr(offset, content.find('\n', offset) - offset);
        const std::size_t first = line.find_first_not_of(" \t\r");
        if (first != std::string_view::npos && (line[first] == '{' || line[first] == '[')) {
            takeJson(name, content, offset, sections);
            return;
        }
        offset += line.size() + 1;
        if (first != std::string_view::npos) {
            line.remove_prefix(first);
            sections.push_back(sectionOfDigits(name + ": line " + std::to_string(number), line));
        }
    }
}

}  // namespace

std::vector<scte::SpliceInfoSection> readScte35Sections(const std::string& name, std::string_view content) {
    Sections sections;
    const std::span bytes(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    if (!bytes.empty() && bytes[0] == scte::kSpliceInfoTableId) {
        takeBytes(name, bytes, sections);
    } else if (isXml(content)) {
        takeXml(name, content, sections);
    } else {
        takeLines(name, content, sections);
    }
    if (sections.empty()) {
        throw failureIn(name, "no SCTE-35 section");
    }
    return sections;
}

std::vector<scte::SpliceInfoSection> loadScte35Sections(const std::string& path) {
    InputFile file(path);
    std::string content(kLongestSections + 1, '\0');
    content.resize(file.read(std::span(reinterpret_cast<std::uint8_t*>(content.data()), content.size())));
    if (content.size() > kLongestSections) {
        throw failureIn(file.name(), "too long for SCTE-35 sections");
    }
    return readScte35Sections(file.name(), content);
}

std::vector<scte::SpliceInfoSection> readScte35Argument(const std::string& input) {
    std::error_code error;
    if (input != "-" && !std::filesystem::exists(input, error) && scte::spliceInfoBytes(input)) {
        return readScte35Sections("the section", input);
    }
    return loadScte35Sections(input);
}

}  // namespace qlx::tool
