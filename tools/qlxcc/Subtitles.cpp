#include "Subtitles.h"

#include "Encoding.h"
#include "Errors.h"
#include "InputFile.h"
#include "InputKind.h"
#include "Json.h"
#include "SubtitleReaders.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>

#include <optional>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::size_t kKeptProblems = 1000;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// What is wrong with an element of a JSON file; none when it has become a record that can be played.
std::optional<std::string> recordProblem(const Value& element, const QLXSubtitleRecord* record) {
    if (element.dictionary() == nullptr) {
        return "no object";
    }
    if (record == nullptr) {
        return "no \"text_lines\"";
    }
    if (!(record->endTimeInSeconds() > record->startTimeInSeconds())) {
        return "the end is not later than the start";
    }
    return std::nullopt;
}

/// Whether a text has a line like those between the times of SRT cues, near its start.
bool looksLikeSRT(std::string_view text) {
    return text.substr(0, kBytesThatTellKind).find(" --> ") != std::string_view::npos;
}

/// What a file is that is not EBU STL by its content.
InputKind kindOfText(const std::string& path, std::string_view text) {
    if (looksLikeJson(text)) {
        return InputKind::Json;
    }
    const std::optional<InputKind> named = inputKindOfName(path);
    const bool isNamed = named == InputKind::Json || named == InputKind::Stl;
    return isNamed && !text.empty() && !looksLikeSRT(text) ? *named : InputKind::Srt;
}

}  // namespace

void SubtitleProblems::add(SubtitleProblem problem) {
    ++_count;
    _leftOut += problem.effect == SubtitleProblem::Effect::None ? 0 : 1;
    if (_first.size() < kKeptProblems) {
        _first.push_back(std::move(problem));
    }
}

std::string problemInWords(const Subtitles& subtitles, const SubtitleProblem& problem) {
    using Effect = SubtitleProblem::Effect;
    const std::string_view effect = problem.effect == Effect::CueLeftOut     ? "cue left out: "
                                    : problem.effect == Effect::NotASubtitle ? "left out: "
                                                                             : "";
    return subtitles.name + ": " + std::string(subtitles.place) + " " + std::to_string(problem.place) + ": " +
           std::string(effect) + problem.what;
}

void readJson(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTaker& take) {
    subtitles.format = "JSON";
    subtitles.place = "element";
    std::uint64_t elements = 0;
    const bool hasList = readJsonElements(subtitles.name, text, [&](const Value& element) {
        ++elements;
        auto record =
            element.dictionary() == nullptr
                ? nullptr
                : QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(*element.dictionary(), request.mode);
        if (auto problem = recordProblem(element, record.get())) {
            subtitles.problems.add({elements, std::move(*problem)});
            return;
        }
        ++subtitles.cues;
        take(std::move(record));
    });
    if (!hasList) {
        throw failureAtLine(subtitles.name, 1, "the JSON is no array of subtitles");
    }
    if (subtitles.cues == 0) {
        throw failureIn(subtitles.name, elements == 0 ? "the JSON array is empty"
                                                      : "no valid subtitle in the file: element 1: " +
                                                            subtitles.problems.first().front().what);
    }
}

bool looksLikeJson(std::string_view text) noexcept {
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) {
        return false;
    }
    const std::size_t second = text.find_first_not_of(kWhiteSpace, first + 1);
    const char follower = second == std::string_view::npos ? '\0' : text[second];
    // Other subtitle formats begin with such brackets as well, but not with both characters.
    return (text[first] == '[' && (follower == '{' || follower == ']')) ||
           (text[first] == '{' && (follower == '"' || follower == '}'));
}

Subtitles readSubtitles(const SubtitleRequest& request, const CueTaker& take) {
    InputFile file(request.path);
    Subtitles subtitles;
    subtitles.name = file.name();
    const std::span<const std::uint8_t> first = file.peek(kBytesThatTellKind);
    const bool isSTL = looksLikeSTL({reinterpret_cast<const char*>(first.data()), first.size()});
    if (isSTL && !request.encoding.empty()) {
        throw UsageError("--encoding is for SRT and JSON files: " + file.name() + " is EBU STL");
    }
    const std::string text = request.encoding.empty() ? readWholeFile(file) : readEncodedFile(file, request.encoding);
    const InputKind kind = isSTL ? InputKind::Stl : kindOfText(request.path, text);
    if (kind == InputKind::Stl) {
        readSTL(subtitles, text, request, take);
        return subtitles;
    }
    checkUTF8(file.name(), text);
    if (kind == InputKind::Json) {
        readJson(subtitles, text, request, take);
    } else {
        readSRT(subtitles, text, request, take);
    }
    return subtitles;
}

std::string subtitleText(const QLXSubtitleRecord& record) {
    std::string text;
    bool hasText = false;
    for (const auto& line : record.subtitleLines()) {
        const std::string lineText = line->textString().value_or("");
        hasText = hasText || !lineText.empty();
        if (!text.empty()) {
            text += " / ";
        }
        text += lineText;
    }
    return hasText ? text : "(no text)";
}

}  // namespace qlx::tool
