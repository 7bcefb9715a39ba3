#include "cues/JsonCues.h"

#include "cues/SubtitleTimes.h"
#include "io/Errors.h"
#include "io/FindingNotes.h"
#include "io/Text.h"
#include "streams/Json.h"

#include <qlx/subtitles/stl.h>
#include <qlx/subtitles/value.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

constexpr std::string_view kWebVttKey = "webvtt";
constexpr std::string_view kNotesKey = "webvttNotes";
constexpr std::string_view kTtmlKey = "ttml";
constexpr std::string_view kStlKey = "stl";

/// By TtmlKind.
constexpr std::array<std::string_view, 5> kTtmlKinds{"ttml", "dfxp", "smpte-tt", "ebu-tt", "imsc"};

Array listOf(const std::vector<std::string>& texts) {
    return {texts.begin(), texts.end()};
}

Dictionary ttmlOf(const streams::TtmlFile& file) {
    Array regions;
    for (const streams::TtmlRegion& region : file.regions) {
        Array attributes;
        for (const subtitles::Property& attribute : region.attributes) {
            attributes.emplace_back(Dictionary{{"name", attribute.name}, {"value", attribute.value}});
        }
        regions.emplace_back(Dictionary{{"name", region.name}, {"attributes", std::move(attributes)}});
    }
    return {{"kind", kTtmlKinds.at(static_cast<std::size_t>(file.kind))},
            {"language", file.language},
            {"title", file.title},
            {"description", file.description},
            {"copyright", file.copyright},
            {"cellColumns", file.cellColumns},
            {"cellRows", file.cellRows},
            {"regions", std::move(regions)}};
}

/// Gives the values of a document's members, and keeps in mind whether all could be used.
class Members {
public:
    explicit Members(const Value& value) : _members(value.dictionary()), _isRight(_members != nullptr) {}

    void text(std::string_view key, std::string& to) {
        if (const Value* const value = find(key)) {
            value->text() != nullptr ? static_cast<void>(to = *value->text()) : fail();
        }
    }

    void number(std::string_view key, std::uint16_t& to) {
        if (const Value* const value = find(key)) {
            const bool isOne = value->isNumber() && value->number() == nullptr && value->integerValue() > 0 &&
                               value->integerValue() <= std::numeric_limits<std::uint16_t>::max();
            isOne ? static_cast<void>(to = static_cast<std::uint16_t>(value->integerValue())) : fail();
        }
    }

    template <class Take>
    void each(std::string_view key, const Take& take) {
        if (const Value* const value = find(key)) {
            if (value->array() == nullptr) {
                fail();
                return;
            }
            for (const Value& entry : *value->array()) {
                take(entry);
            }
        }
    }

    void texts(std::string_view key, std::vector<std::string>& to) {
        each(key, [&](const Value& entry) { takeText(entry, to); });
    }

    void takeText(const Value& entry, std::vector<std::string>& to) {
        entry.text() != nullptr ? static_cast<void>(to.push_back(*entry.text())) : fail();
    }

    void fail() { _isRight = false; }
    void failWith(const Members& other) { _isRight = _isRight && other._isRight; }
    [[nodiscard]] bool isRight() const { return _isRight; }

private:
    [[nodiscard]] const Value* find(std::string_view key) const {
        return _members == nullptr ? nullptr : _members->find(key);
    }

    const Dictionary* _members;
    bool _isRight;
};

bool takeTtml(const Value& value, streams::TtmlFile& file) {
    Members members(value);
    std::string kind(kTtmlKinds.front());
    members.text("kind", kind);
    const auto* const named = std::find(kTtmlKinds.begin(), kTtmlKinds.end(), kind);
    if (named == kTtmlKinds.end()) {
        members.fail();
    } else {
        file.kind = static_cast<streams::TtmlKind>(named - kTtmlKinds.begin());
    }
    members.text("language", file.language);
    members.text("title", file.title);
    members.text("description", file.description);
    members.text("copyright", file.copyright);
    members.number("cellColumns", file.cellColumns);
    members.number("cellRows", file.cellRows);
    members.each("regions", [&](const Value& entry) {
        Members region(entry);
        streams::TtmlRegion& to = file.regions.emplace_back();
        region.text("name", to.name);
        region.each("attributes", [&](const Value& each) {
            Members attribute(each);
            subtitles::Property& property = to.attributes.emplace_back();
            attribute.text("name", property.name);
            attribute.text("value", property.value);
            region.failWith(attribute);
        });
        members.failWith(region);
    });
    return members.isRight();
}

bool takeStl(const Value& value, CueInput& input) {
    const std::string* const digits = value.text();
    if (digits == nullptr || digits->size() != 2 * subtitles::kGsiBytes) {
        return false;
    }
    std::vector<std::uint8_t> bytes(subtitles::kGsiBytes);
    for (std::size_t place = 0; place < bytes.size(); ++place) {
        constexpr int kHexadecimal = 16;
        const char* const first = digits->data() + 2 * place;
        const auto [behind, error] = std::from_chars(first, first + 2, bytes[place], kHexadecimal);
        if (error != std::errc() || behind != first + 2) {
            return false;
        }
    }
    const auto gsi = subtitles::parseGsi(bytes);
    if (!gsi) {
        return false;
    }
    input.gsi = *gsi;
    return true;
}

void appendMember(std::string& text, std::string_view key, const Value& value) {
    text += "\"" + std::string(key) + "\":" + jsonText(value) + ",\n";
}

}  // namespace

std::uint64_t readJsonText(const std::string& name, std::string_view text, const JsonCueTakers& take) {
    std::uint64_t elements = 0;
    const auto takeElement = [&](const Value& element) {
        ++elements;
        Findings findings;
        const bool hasAll = subtitles::isModel(element);
        Result<subtitles::Cue> cue =
            hasAll ? subtitles::cueOfModel(element, &findings) : subtitles::cueOf(element, &findings);
        std::vector<SubtitleProblem> problems;
        if (!hasAll) {
            problems = elementProblems(elements, element, findings, cue);
        } else {
            for (const Finding& finding : findings) {
                problems.push_back({elements, finding.text(), SubtitleProblem::Effect::None});
            }
            if (!cue) {
                problems.push_back({elements, cue.error().text(), SubtitleProblem::Effect::CueLeftOut});
            }
        }
        if (findings.rest() > 0) {
            problems.push_back({elements, restInWords(findings), SubtitleProblem::Effect::None});
        }
        const bool isCue = hasAll ? cue.hasValue() : !leaveCueOut(problems);
        for (SubtitleProblem& problem : problems) {
            take.problem(std::move(problem));
        }
        if (isCue) {
            cue->number = hasAll ? cue->number : elements;
            take.cue(std::move(*cue), hasAll);
        }
    };
    const auto takeMember = [&](std::string_view key, const Value& value) {
        const bool isOther = key == "schema" && value.text() != nullptr && value.text()->starts_with("qlxcc/") &&
                             *value.text() != subtitles::kCueSchema && *value.text() != "qlxcc/subs/1";
        if (isOther) {
            take.problem({0, "the schema is " + *value.text() + ", and not " + std::string(subtitles::kCueSchema),
                          SubtitleProblem::Effect::None});
        }
        if (take.member) {
            take.member(key, value);
        }
    };
    if (!readJsonElements(name, text, takeElement, takeMember)) {
        throw failureAtLine(name, 1, "the JSON is no array of subtitles");
    }
    return elements;
}

std::string takeJsonMember(std::string_view key, const Value& value, CueInput& input) {
    bool isRight = true;
    if (key == kWebVttKey) {
        Members members(value);
        members.text("title", input.file.title);
        members.texts("header", input.file.header);
        members.texts("blocks", input.file.blocks);
        isRight = members.isRight();
    } else if (key == kNotesKey) {
        if (const Array* const notes = value.array()) {
            Members members(value);
            for (const Value& note : *notes) {
                members.takeText(note, input.file.notes);
            }
            isRight = input.file.notes.size() == notes->size();
        } else {
            isRight = false;
        }
    } else if (key == kTtmlKey) {
        input.ttml.emplace();
        isRight = takeTtml(value, *input.ttml);
    } else if (key == kStlKey) {
        isRight = takeStl(value, input);
    }
    return isRight ? std::string() : "\"" + std::string(key) + "\": something of it cannot be used";
}

void JsonCueWriter::begin(const CueInput& input, std::string& text) const {
    text += "{";
    if (!_asDeployed) {
        appendMember(text, "schema", subtitles::kCueSchema);
        const subtitles::WebVttFile& file = input.file;
        if (!file.title.empty() || !file.header.empty() || !file.blocks.empty()) {
            appendMember(
                text, kWebVttKey,
                Dictionary{{"title", file.title}, {"header", listOf(file.header)}, {"blocks", listOf(file.blocks)}});
        }
        if (input.ttml) {
            appendMember(text, kTtmlKey, ttmlOf(*input.ttml));
        }
        if (input.gsi) {
            appendMember(text, kStlKey, subtitles::writeGsi(*input.gsi));
        }
    }
    text += "\"cues\":[";
}

bool JsonCueWriter::write(const subtitles::Cue& cue, std::string& text) {
    ++_given;
    if (_asDeployed && cue.rows.empty()) {
        if (_findings != nullptr) {
            _findings->add({FindingCode::SubtitleValueNoLines, Severity::Warning, _given, 0, 0});
        }
        return false;
    }
    text += std::exchange(_isEmpty, false) ? "\n" : ",\n";
    text += jsonText(_asDeployed
                         ? subtitles::dictionaryOf(subtitles::withPageRows(cue), {.findingsOffset = _given}, _findings)
                         : subtitles::modelOf(cue));
    return true;
}

void JsonCueWriter::finish(const CueInput& input, std::string& text) const {
    text += "\n]";
    if (!_asDeployed && !input.file.notes.empty()) {
        text += ",\n\"" + std::string(kNotesKey) + "\":" + jsonText(listOf(input.file.notes));
    }
    text += "}\n";
}

}  // namespace qlx::tool
