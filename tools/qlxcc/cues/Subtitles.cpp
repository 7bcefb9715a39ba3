#include "cues/Subtitles.h"

#include "cues/CueInput.h"
#include "cues/Encoding.h"
#include "cues/SubtitleReaders.h"
#include "cues/TextPieces.h"
#include "cues/TrackCues.h"
#include "io/Errors.h"
#include "io/InputFile.h"
#include "io/Text.h"
#include "streams/InputKind.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <qlx/base/utf8.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace qlx::tool {

namespace {

constexpr std::size_t kKeptProblems = 1000;

/// Whether a text has a line like those between the times of SRT cues, near its start.
bool looksLikeSRT(std::string_view text) {
    return text.substr(0, kBytesThatTellKind).find(" --> ") != std::string_view::npos;
}

/// Whether a file has frames whose times and captions are plain without anything more than OnAirChoice. How the rows of
/// a file lie is not.
bool hasPlainFrames(InputKind kind) {
    return !hasCues(kind) && !hasRows(kind) && kind != InputKind::Png && kind != InputKind::Ppm;
}

/// Caption files, whose first channel is meant where nothing else is said.
bool isCaptionFile(InputKind kind) {
    return kind == InputKind::Scc || kind == InputKind::Mcc;
}

/// What is said of a file of another kind.
std::string noSubtitles(const SubtitleRequest& request, std::optional<InputKind> kind) {
    if (request.asDeployed) {
        return "which the fixed operations do not read as subtitles";
    }
    return "which is no subtitle file" + (kind && hasPlainFrames(*kind)
                                              ? " unless " + std::string(request.onAir.options) + " says what is on air"
                                              : std::string());
}

/// Refuses a file of another kind, by its first bytes, or by its name where they do not tell.
void checkKind(const InputFile& file, std::span<const std::uint8_t> first, const SubtitleRequest& request) {
    // A text in an encoding of the caller's choice, in whose bytes cues cannot be looked for.
    const bool isEncoded = !request.encoding.empty();
    const std::string_view text(reinterpret_cast<const char*>(first.data()), first.size());
    const bool isUTF16 = text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF");
    const bool isList = looksLikeJson(text) && text.find("\"cues\"") != std::string_view::npos;
    const bool isOpaque = (isEncoded || isUTF16) && !inputKindOfBytes(first);
    if (!isOpaque && !isList && !looksLikeSRT(text) && !looksLikeSTL(text)) {
        const auto told = inputKindOfBytes(first);
        refuseOtherKinds(first, file.name(), &hasCues,
                         noSubtitles(request, told ? told : inputKindOfName(file.name())));
    }
}

/// What a file is for the fixed operations, where it is not EBU STL by its content.
InputKind deployedKindOf(const std::string& path, std::string_view text) {
    if (looksLikeJson(text)) {
        return InputKind::Json;
    }
    const std::optional<InputKind> named = inputKindOfName(path);
    const bool isNamed = named == InputKind::Json || named == InputKind::Stl;
    return isNamed && !text.empty() && !looksLikeSRT(text) ? *named : InputKind::Srt;
}

/// What a text is whose first bytes do not tell it in any encoding.
InputKind kindOfUntold(std::string_view first, const std::string& name) {
    if (looksLikeJson(first)) {
        return InputKind::Json;
    }
    const std::optional<InputKind> named = inputKindOfName(name);
    return named && hasCues(*named) && !looksLikeSRT(first) ? *named : InputKind::Srt;
}

/// Makes problems of what is found in a file; remarks are none.
class ProblemNotes final : public CueInputNotes {
public:
    explicit ProblemNotes(Subtitles& subtitles) : _subtitles(subtitles) {}

    void found(const std::string& place, const Finding& finding) override {
        if (finding.severity == Severity::Remark) {
            return;
        }
        // What is counted otherwise than in lines has its place in words.
        SubtitleProblem problem = problemOf(finding);
        if (!place.empty() && place != "line " + std::to_string(finding.offset)) {
            problem.place = 0;
            problem.what = place + ": " + problem.what;
        }
        _subtitles.problems.add(std::move(problem));
    }
    void say(const std::string& text, bool isDamage) override {
        _subtitles.problems.add(
            {0, text, SubtitleProblem::Effect::None, isDamage ? Severity::Error : Severity::Remark});
    }
    void lose(const std::string& text) override {
        _subtitles.problems.add({0, text, SubtitleProblem::Effect::None, Severity::Warning});
    }

private:
    Subtitles& _subtitles;
};

/// The same request, of cues as they are.
CueRequest cueRequestOf(const SubtitleRequest& request) {
    CueRequest asked;
    asked.path = request.path;
    asked.encoding = request.encoding;
    asked.track = request.track;
    asked.source.rate = request.onAir.rate;
    asked.channel = request.onAir.channel;
    asked.service = request.onAir.service;
    asked.page = request.onAir.page;
    asked.longestText = kLongestSubtitleFile;
    return asked;
}

/// Reads a file of any kind but JSON and EBU STL.
void readAsCues(Subtitles& subtitles, InputFile& file, InputKind kind, const SubtitleRequest& request,
                const CueTakers& take) {
    ProblemNotes notes(subtitles);
    CueInput input;
    input.name = subtitles.name;
    const CueRequest asked = cueRequestOf(request);
    std::uint64_t place = 0;
    ProgrammeTimes times(subtitles, request);
    const auto takeCue = [&](subtitles::Cue cue, const CueInput& read) {
        times.change(cue, read.begin, countingOf(read.counting));
        giveCue(cue, request, take, ++place);
    };
    if (mayHaveTextTracks(kind) && !request.onAir.isGiven()) {
        if (!readTrackAsCues(file, kind, asked, input, notes, takeCue)) {
            throw otherKind(file.name(), kind, noSubtitles(request, kind));
        }
    } else {
        readFileOfCues(file, kind, asked, input, notes, takeCue);
    }
    times.finish();
    subtitles.format = input.format;
    subtitles.cues = input.cues;
    if (subtitles.cues == 0) {
        throwNoCue(subtitles);
    }
}

/// Reads a JSON file or a text, or EBU STL.
void readSubtitleFile(Subtitles& subtitles, InputFile& file, InputKind kind, const SubtitleRequest& request,
                      const CueTakers& take) {
    if (file.peek(1).empty()) {
        throw failureAtByte(file.name(), 0, "the file is empty");
    }
    if (kind == InputKind::Stl) {
        readWholeSTL(subtitles, readWholeFile(file), request, take);
    } else if (kind == InputKind::Json) {
        ProblemNotes notes(subtitles);
        readJson(subtitles, readWholeText(file, cueRequestOf(request), notes), request, take);
    } else {
        readAsCues(subtitles, file, kind, request, take);
    }
}

/// Reads a file as the fixed operations do: SRT and JSON in UTF-8 or the encoding that is given, EBU STL block by block.
void readDeployed(Subtitles& subtitles, InputFile& file, const SubtitleRequest& request, const CueTakers& take) {
    const std::span<const std::uint8_t> first = file.peek(kBytesThatTellKind);
    const bool isSTL = looksLikeSTL({reinterpret_cast<const char*>(first.data()), first.size()});
    if (isSTL && !request.encoding.empty()) {
        throw UsageError("--encoding is for SRT and JSON files: " + file.name() + " is EBU STL");
    }
    checkKind(file, first, request);
    const std::string text = request.encoding.empty() ? readWholeFile(file) : readEncodedFile(file, request.encoding);
    const InputKind kind = isSTL ? InputKind::Stl : deployedKindOf(request.path, text);
    if (kind == InputKind::Stl) {
        readSTL(subtitles, text, request, take);
        return;
    }
    checkUTF8(file.name(), text);
    kind == InputKind::Json ? readJson(subtitles, text, request, take) : readSRT(subtitles, text, request, take);
}

/// What a file is in which subtitles are on air; none for any other.
std::optional<InputKind> onAirKind(InputFile& file, const SubtitleRequest& request) {
    const auto told = inputKindOfBytes(file.peek(kBytesThatTellKind));
    const auto kind = told || !request.onAir.isGiven() ? told : inputKindOfName(file.name());
    const bool isOnAir = kind && hasPlainFrames(*kind) && (request.onAir.isGiven() || isCaptionFile(*kind));
    return isOnAir ? kind : std::nullopt;
}

/// Refuses options for what is on air where there is nothing of the kind.
void checkOnAir(const SubtitleRequest& request, const InputFile& file, std::optional<InputKind> known,
                std::optional<InputKind> onAir) {
    const OnAirChoice& choice = request.onAir;
    if (choice.isGiven() && !onAir && (!known || hasCues(*known))) {
        throw UsageError(std::string(choice.options) + " says what is on air: " + file.name() +
                         " is no file of frames");
    }
    const bool countsStart = request.fromStart.time && !request.fromStart.time->time;
    if (choice.rate && !onAir && !countsStart && known != InputKind::Ttml && (!known || hasCues(*known))) {
        throw UsageError("--from-rate is for what is on air, for TTML and for a timecode of --from-start: " +
                         file.name() + " has no use for it");
    }
    if (onAir && !request.encoding.empty()) {
        throw UsageError("--encoding is for texts: " + file.name() + " is none");
    }
}

Subtitles read(const SubtitleRequest& request, const CueTakers& take) {
    InputFile file(request.path);
    Subtitles subtitles;
    subtitles.name = file.name();
    if (request.asDeployed) {
        readDeployed(subtitles, file, request, take);
        return subtitles;
    }
    const std::span<const std::uint8_t> first = file.peek(kBytesThatTellKind);
    const std::string_view bytes(reinterpret_cast<const char*>(first.data()), first.size());
    const auto container = inputKindOfBytes(first);
    const bool isContainer = container && mayHaveTextTracks(*container);
    const auto told = isContainer           ? container
                      : looksLikeSTL(bytes) ? std::optional(InputKind::Stl)
                                            : textKindOf(file, request.encoding);
    const auto known = told ? told : inputKindOfName(subtitles.name);
    const auto onAir = told && !isContainer ? std::nullopt : onAirKind(file, request);
    checkOnAir(request, file, known, onAir);
    if (!request.track.empty() && (!isContainer || request.onAir.isGiven())) {
        throw UsageError("--track is for text tracks of MOV, MP4 and Matroska files");
    }
    if (told == InputKind::Stl && !request.encoding.empty()) {
        throw UsageError("--encoding is for texts: " + file.name() + " is EBU STL");
    }
    if (onAir || isContainer) {
        readAsCues(subtitles, file, onAir ? *onAir : *container, request, take);
        return subtitles;
    }
    if (!told) {
        checkKind(file, first, request);
    }
    readSubtitleFile(subtitles, file, told ? *told : kindOfUntold(bytes, subtitles.name), request, take);
    return subtitles;
}

/// The texts of rows, joined.
class JoinedRows {
public:
    void add(const std::string& text) {
        _text += (_text.empty() ? "" : " / ") + text;
        _hasText = _hasText || !text.empty();
    }
    [[nodiscard]] std::string take() { return _hasText ? std::move(_text) : "(no text)"; }

private:
    std::string _text;
    bool _hasText = false;
};

}  // namespace

SubtitleProblem problemOf(const Finding& finding) {
    using enum FindingCode;
    constexpr FindingCode kOfCues[] = {WebVttTimingWrong, WebVttEndNotLater, WebVttTextTooLong, SrtTimingMissing,
                                       SrtTimeWrong,      SrtEndNotLater,    SrtCueTooLong,     SsaEventWrong,
                                       SsaTimeWrong,      SsaEndNotLater,    SsaRowsTooMany};
    const bool isOfCue = std::find(std::begin(kOfCues), std::end(kOfCues), finding.code) != std::end(kOfCues);
    return {finding.offset, finding.text(),
            isOfCue && finding.severity == Severity::Error ? SubtitleProblem::Effect::CueLeftOut
                                                           : SubtitleProblem::Effect::None,
            finding.severity};
}

void ProgrammeTimes::change(subtitles::Cue& cue, const std::optional<MediaTime>& told,
                            const std::optional<LabelCounting>& own) {
    if (_cues++ == 0) {
        _times.fromStart = subtractedStart(_request.fromStart, _subtitles.name, told, own, &cue);
        if (std::string late = lateStartInWords(_request.fromStart, &cue); !late.empty()) {
            _subtitles.problems.add({0, std::move(late), SubtitleProblem::Effect::None});
        }
    }
    _before += changeTimes(_times, cue) ? 0 : 1;
}

void ProgrammeTimes::finish() {
    if (_before > 0) {
        _subtitles.problems.add({0, counted(_before, "cue") + " before the start, which is not subtracted from them",
                                 SubtitleProblem::Effect::None, Severity::Warning});
    }
}

Subtitles readSubtitles(const SubtitleRequest& request, const CueTaker& take) {
    return read(request, {take, {}});
}

Subtitles readCues(const SubtitleRequest& request, const CueValueTaker& take) {
    return read(request, {{}, take});
}

void moveAsCaption(QLXSubtitleRecord& record, double frameDuration) {
    const auto pairs = static_cast<double>(record.numberOfCEA608Packets());
    record.setStartTimeInSeconds(std::max(0.0, record.startTimeInSeconds() - pairs * frameDuration));
    record.setEndTimeInSeconds(std::max(0.0, record.endTimeInSeconds() - frameDuration));
}

void SubtitleProblems::add(SubtitleProblem problem) {
    ++_count;
    _leftOut += problem.effect == SubtitleProblem::Effect::None ? 0 : 1;
    if (problem.effect == SubtitleProblem::Effect::CueLeftOut || problem.severity == Severity::Error) {
        ++_damages;
    } else if (problem.severity == Severity::Warning) {
        ++_losses;
    }
    if (_first.size() < kKeptProblems) {
        _first.push_back(std::move(problem));
    }
}

std::string placeInWords(const Subtitles& subtitles, const SubtitleProblem& problem) {
    return problem.place == 0 ? std::string()
                              : std::string(subtitles.place) + " " + std::to_string(problem.place) + ": ";
}

std::string problemInWords(const Subtitles& subtitles, const SubtitleProblem& problem) {
    using Effect = SubtitleProblem::Effect;
    const std::string_view effect = problem.effect == Effect::CueLeftOut     ? "cue left out: "
                                    : problem.effect == Effect::NotASubtitle ? "left out: "
                                                                             : "";
    return subtitles.name + ": " + placeInWords(subtitles, problem) + std::string(effect) + problem.what;
}

bool looksLikeJson(std::string_view text) noexcept {
    constexpr std::string_view kWhiteSpace = " \t\r\n";
    text = withoutByteOrderMark(text);
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

std::string subtitleText(const QLXSubtitleRecord& record) {
    JoinedRows rows;
    for (const auto& line : record.subtitleLines()) {
        rows.add(line->textString().value_or(""));
    }
    return rows.take();
}

std::string subtitleText(const subtitles::Cue& cue) {
    JoinedRows rows;
    for (const subtitles::Row& row : cue.rows) {
        rows.add(row.text());
    }
    return rows.take();
}

}  // namespace qlx::tool
