#include "Subtitles.h"

#include "Errors.h"
#include "InputFile.h"
#include "Json.h"
#include "Text.h"

#include <QLXClosedCaptionsUtilities/QLXSRTFileReader.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace qlx::tool {

namespace {

// No subtitle file is this long; something else was named by mistake.
constexpr std::size_t kLongestFile = std::size_t{256} * 1024 * 1024;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kArrow = " --> ";
constexpr std::size_t kQuotedCharacters = 40;

/// Gives the library the bytes that were read here, so that a file is read once and each failure has its reason.
class LoadedFile final : public FileReader {
public:
    explicit LoadedFile(Data contents) : _contents(std::move(contents)) {}
    Data contentsOfFile(const std::string& /*path*/) override { return _contents; }

private:
    Data _contents;
};

std::string readWhole(InputFile& file) {
    constexpr std::size_t kChunk = std::size_t{1024} * 1024;
    std::string text;
    for (;;) {
        const std::size_t had = text.size();
        text.resize(had + kChunk);
        const std::size_t got = file.read(std::span(reinterpret_cast<std::uint8_t*>(text.data()) + had, kChunk));
        text.resize(had + got);
        if (got < kChunk) {
            return text;
        }
        if (text.size() > kLongestFile) {
            throw failureIn(file.name(), "too long for a subtitle file (more than 256 MiB)");
        }
    }
}

void checkEncoding(const std::string& name, std::string_view text) {
    const std::optional<std::size_t> bad = firstInvalidUTF8Byte(text);
    if (!bad) {
        return;
    }
    const auto line =
        1 + static_cast<std::uint64_t>(std::count(text.begin(), text.begin() + std::ptrdiff_t(*bad), '\n'));
    std::string what = "not UTF-8 (line " + std::to_string(line) + ", byte value " +
                       hex(std::span(reinterpret_cast<const std::uint8_t*>(text.data()) + *bad, 1)) + ")";
    if (*bad == 0 && (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))) {
        what = "not UTF-8 but UTF-16 (by its byte-order mark)";
    }
    throw failureAtByte(name, *bad, what);
}

/// The start of a text between quotation marks.
std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (std::size_t count = 0; !text.empty(); ++count) {
        if (count == kQuotedCharacters) {
            result += "...";
            break;
        }
        const std::string_view rest = text;
        (void)takeCodePoint(text);
        result += rest.substr(0, rest.size() - text.size());
    }
    return result + "\"";
}

/// What is wrong with a timing line; none when it is right.
std::optional<std::string> timingProblem(std::string_view timing) {
    const std::size_t arrow = timing.find(kArrow);
    if (arrow == std::string_view::npos || timing.find(kArrow, arrow + kArrow.size()) != std::string_view::npos) {
        return quoted(timing) + " is not a timing line (HH:MM:SS,mmm --> HH:MM:SS,mmm)";
    }
    const std::string_view start = timing.substr(0, arrow);
    const std::string_view end = timing.substr(arrow + kArrow.size());
    if (QLXSubtitleRecord::secondsFromSRTTimecode(end) > QLXSubtitleRecord::secondsFromSRTTimecode(start)) {
        return std::nullopt;
    }
    return "the end " + quoted(end) + " is not later than the start " + quoted(start) + " (HH:MM:SS,mmm)";
}

/// Whether a line begins with `HH:MM:SS,mmm --> HH:MM:SS,mmm` and the end is later than the start.
bool isTimingLine(std::string_view line) {
    constexpr std::string_view kForm = "00:00:00,000 --> 00:00:00,000";
    if (line.size() < kForm.size()) {
        return false;
    }
    const bool hasForm = std::equal(kForm.begin(), kForm.end(), line.begin(), [](char form, char character) {
        return form == '0' ? character >= '0' && character <= '9' : character == form;
    });
    return hasForm && !timingProblem(line);
}

[[noreturn]] void throwNoCue(const Subtitles& subtitles, std::string_view text) {
    if (text.empty()) {
        throw failureAtByte(subtitles.name, 0, "the file is empty");
    }
    if (text.find('\n') == std::string_view::npos && text.find('\r') != std::string_view::npos) {
        throw failureAtLine(subtitles.name, 1, "no cue: lines must end in line feeds, these end in carriage returns");
    }
    if (subtitles.problems.empty()) {
        throw failureAtLine(subtitles.name, 1, "no cue: the file has no text");
    }
    const SubtitleProblem& first = subtitles.problems.front();
    throw failureAtLine(subtitles.name, first.line, "no valid cue in the file: " + first.what);
}

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

void loadJson(Subtitles& subtitles, std::string_view text, std::int32_t mode) {
    subtitles.place = "element";
    const Value value = parseJson(subtitles.name, text);
    const Array* const elements = value.array();
    if (elements == nullptr) {
        throw failureAtLine(subtitles.name, 1, "the JSON is no array of subtitles");
    }
    for (std::size_t index = 0; index < elements->size(); ++index) {
        const Value& element = (*elements)[index];
        auto record = element.dictionary() == nullptr
                          ? nullptr
                          : QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(*element.dictionary(), mode);
        if (auto problem = recordProblem(element, record.get())) {
            subtitles.problems.push_back({index + 1, std::move(*problem)});
        } else {
            subtitles.records.push_back(std::move(record));
        }
    }
    if (subtitles.records.empty()) {
        throw failureIn(subtitles.name, subtitles.problems.empty() ? "the JSON array is empty"
                                                                   : "no valid subtitle in the file: element 1: " +
                                                                         subtitles.problems.front().what);
    }
}

}  // namespace

std::vector<SubtitleProblem> findSRTProblems(std::string_view text) {
    std::vector<SubtitleProblem> problems;
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    std::uint64_t lineInBlock = 0;
    std::string line;
    for (std::uint64_t lineNumber = 1; !text.empty() || lineInBlock > 0; ++lineNumber) {
        // Behind the last line stands an empty one, which closes the last block.
        const std::size_t end = std::min(text.find('\n'), text.size());
        line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        std::erase(line, '\r');
        if (line.empty()) {
            if (lineInBlock == 1) {
                problems.push_back({lineNumber - 1, "cue without a timing line"});
            }
            lineInBlock = 0;
            continue;
        }
        if (++lineInBlock == 2) {
            if (auto problem = timingProblem(line)) {
                problems.push_back({lineNumber, std::move(*problem)});
            }
        } else if (lineInBlock > 2 && isTimingLine(line)) {
            problems.push_back({lineNumber, "a timing line inside a cue: is a blank line missing?", false});
        }
    }
    return problems;
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

Subtitles loadSubtitles(const std::string& path, std::int32_t mode, double frameDuration) {
    InputFile file(path);
    const std::string text = readWhole(file);
    checkEncoding(file.name(), text);

    Subtitles subtitles;
    subtitles.name = file.name();
    if (!text.empty() && (asciiLowercased(path).ends_with(".json") || looksLikeJson(text))) {
        loadJson(subtitles, text, mode);
        return subtitles;
    }
    subtitles.problems = findSRTProblems(text);
    LoadedFile contents(Data(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
    const ScopedService<FileReader> scope(contents);
    subtitles.records =
        QLXSRTFileReader::subtitleRecordsFromSRTFileAtPath_subtitleMode_frameDuration(path, mode, frameDuration);
    if (subtitles.records.empty()) {
        throwNoCue(subtitles, text);
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
