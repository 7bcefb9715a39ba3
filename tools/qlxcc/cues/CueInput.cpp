#include "cues/CueInput.h"

#include "cues/JsonCues.h"
#include "cues/ScreenCues.h"
#include "cues/StlCues.h"
#include "cues/Subtitles.h"
#include "cues/TextPieces.h"
#include "cues/TrackCues.h"
#include "cues/WideEncoding.h"
#include "io/Errors.h"
#include "io/FrameLoop.h"
#include "io/Progress.h"
#include "io/Text.h"
#include "streams/InputKind.h"
#include "streams/OpenFrames.h"

#include <qlx/cc/time_code.h>
#include <qlx/subtitles/ssa.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/teletext/page.h>

#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// Tells notes of findings, with a line in front of them.
class LineFindings final : public FindingSink {
public:
    explicit LineFindings(CueInputNotes& notes) : _notes(notes) {}

    void add(const Finding& finding) override { _notes.found("line " + std::to_string(finding.offset), finding); }

private:
    CueInputNotes& _notes;
};

std::string formatOf(streams::TtmlKind kind) {
    switch (kind) {
    case streams::TtmlKind::Dfxp:
        return "DFXP";
    case streams::TtmlKind::SmpteTt:
        return "SMPTE-TT";
    case streams::TtmlKind::EbuTt:
        return "EBU-TT";
    case streams::TtmlKind::Imsc:
        return "IMSC";
    case streams::TtmlKind::Ttml:
        break;
    }
    return "TTML";
}

/// @throws Failure when a text is longer than is asked for.
void checkLengthOfText(const InputFile& file, const CueRequest& request, std::uint64_t length) {
    if (request.longestText && length > *request.longestText) {
        throwTooLong(file, *request.longestText);
    }
}

/// Whether a text has more than blanks and a byte order mark.
bool hasText(std::string_view text) noexcept {
    return text.find_first_not_of(" \t\r\n\v\f\xEF\xBB\xBF") != std::string_view::npos;
}

/// A file without a cue is told from one in which nothing is.
void sayNoCue(CueInputNotes& notes, bool isBlank) {
    notes.say(isBlank ? "the file has no text" : "the file has no cue", isBlank);
}

/// Reads a text in pieces.
template <class Reader, class Behind>
void readText(InputFile& file, const CueRequest& request, CueInput& input, CueInputNotes& notes, const TakeCue& take,
              const Behind& behind) {
    checkLengthOfText(file, request, file.size().value_or(0));
    LineFindings findings(notes);
    Reader reader({}, &findings);
    TextPieces pieces(file, request.encoding, notes);
    Progress progress(file.size(), false);
    bool isBlank = true;
    const auto takeAll = [&] {
        while (const subtitles::Cue* const cue = reader.next()) {
            if (input.cues++ == 0) {
                behind(reader);
            }
            take(*cue, input);
        }
    };
    while (const auto piece = pieces.next()) {
        checkLengthOfText(file, request, file.offset());
        isBlank = isBlank && !hasText(*piece);
        reader.push({reinterpret_cast<const std::uint8_t*>(piece->data()), piece->size()});
        takeAll();
        progress.update(input.cues, file.offset());
    }
    reader.finish();
    takeAll();
    behind(reader);
    if (input.cues == 0) {
        sayNoCue(notes, isBlank);
    }
}

/// Reads a TTML file as a whole.
void readTtmlAsCues(InputFile& file, const CueRequest& request, CueInput& input, CueInputNotes& notes,
                    const TakeCue& take) {
    const std::string text = readWholeText(file, request, notes);
    LineFindings findings(notes);
    streams::TtmlReadOptions options;
    options.greatestFile = request.longest;
    options.rate = request.source.rate ? std::optional(frameRateOf(*request.source.rate)) : std::nullopt;
    options.isDrop = request.isDrop;
    options.takeHead = [&](const streams::TtmlFile& head) {
        input.format = formatOf(head.kind);
        input.ttml = head;
        input.counting = head.counting;
        if (options.rate && head.countsFrames && head.hasFrameRate) {
            notes.say("--from-rate is without effect: the file says what its frames count", false);
        }
    };
    const auto read = streams::readTtml(
        {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()},
        [&](subtitles::Cue cue) {
            ++input.cues;
            take(std::move(cue), input);
        },
        options, &findings);
    if (!read) {
        throw failureAtLine(file.name(), read.error().offset, read.error().text());
    }
    if (input.cues == 0) {
        sayNoCue(notes, false);
    }
}

/// Reads a JSON file as a whole.
void readJsonAsCues(InputFile& file, const CueRequest& request, CueInput& input, CueInputNotes& notes,
                    const TakeCue& take) {
    const std::string text = readWholeText(file, request, notes);
    const auto say = [&notes](const SubtitleProblem& problem) {
        notes.say((problem.place == 0 ? std::string() : "element " + std::to_string(problem.place) + ": ") +
                      problem.what,
                  problem.effect == SubtitleProblem::Effect::CueLeftOut);
    };
    JsonCueTakers takers;
    takers.cue = [&](subtitles::Cue cue, bool) {
        ++input.cues;
        take(std::move(cue), input);
    };
    takers.problem = say;
    takers.member = [&](std::string_view key, const Value& value) {
        if (const std::string what = takeJsonMember(key, value, input); !what.empty()) {
            notes.say(what, true);
        }
    };
    if (readJsonText(file.name(), text, takers) == 0) {
        notes.say("the JSON array is empty", false);
    }
}

/// Tells notes of findings, with their block in front of them.
class BlockFindings final : public FindingSink {
public:
    explicit BlockFindings(CueInputNotes& notes) : _notes(notes) {}

    void add(const Finding& finding) override {
        const std::uint64_t block = stlBlockAt(finding.offset);
        if (finding.code == FindingCode::StlUserDataPassed) {
            _notes.lose("TTI block " + std::to_string(block) + ": user data left out");
        } else if (finding.code != FindingCode::StlComment && !isOfBlankField(finding)) {
            _notes.found(block == 0 ? "header byte " + std::to_string(finding.offset)
                                    : "TTI block " + std::to_string(block),
                         finding);
        }
    }

private:
    CueInputNotes& _notes;
};

/// What the numbers of a file's frames mean: its own rate, or another one that counts as many in a second.
class FrameLabels {
public:
    FrameLabels(FrameRate own, const CueRequest& request, CueInputNotes& notes)
        : _own(own), _meant(request.source.rate ? frameRateOf(*request.source.rate) : own),
          _dropsFrames(request.isDrop && cc::mayDropFrames(_meant)) {
        if (nominalFramesPerSecond(_own) != nominalFramesPerSecond(_meant)) {
            notes.say("--from-rate is without effect: the file counts " + std::to_string(nominalFramesPerSecond(own)) +
                          " frames in a second",
                      false);
            _meant = own;
            _dropsFrames = false;
        }
    }

    /// How they count.
    [[nodiscard]] cc::TimeCodeCounting counting() const { return {_meant, _dropsFrames}; }

    /// The time of a label that the reader took as one of the file's own rate.
    void change(MediaTime& time) const {
        if (_meant == _own) {
            return;
        }
        const std::uint32_t nominal = nominalFramesPerSecond(_own);
        const auto frame = static_cast<std::uint32_t>(time.value / frameDuration(_own).value);
        const std::uint32_t counted = cc::FrameCount(_meant, _dropsFrames).ofLabel({frame / nominal, frame % nominal});
        const MediaTime one = frameDuration(_meant);
        time = MediaTime::make(counted * one.value, one.timescale);
    }

private:
    FrameRate _own;
    FrameRate _meant;
    bool _dropsFrames;
};

/// Reads an EBU STL file; where the programme starts in it is its begin.
void readStlAsCues(InputFile& file, const CueRequest& request, CueInput& input, CueInputNotes& notes,
                   const TakeCue& take) {
    if (!request.encoding.empty()) {
        throw UsageError("--encoding is for texts: " + file.name() + " is EBU STL");
    }
    BlockFindings findings(notes);
    const std::string bytes = readWholeFile(file, request.longest);
    subtitles::StlReader reader = openStl(file.name(), bytes, &findings, {.keepsBlocks = request.keepsStlBlocks});
    const FrameRate rate = reader.rate();
    input.format = "EBU STL, " + std::to_string(nominalFramesPerSecond(rate)) + " frames/s";
    input.gsi = reader.gsi();
    const FrameLabels labels(rate, request, notes);
    input.counting = labels.counting();
    if (const auto start = subtitles::timeCodeOf(reader.gsi().startOfProgramme)) {
        input.begin = start->time(rate);
        labels.change(*input.begin);
    }
    std::size_t comments = 0;
    // Those that no cue has taken with it are told as well where they are kept: there is no cue.
    const auto tellComments = [&] {
        for (; comments < reader.comments().size(); ++comments) {
            notes.lose("comment left out: " + subtitleText(reader.comments()[comments]));
        }
    };
    while (const subtitles::Cue* const cue = reader.next()) {
        if (!request.keepsStlBlocks) {
            tellComments();
        }
        ++input.cues;
        subtitles::Cue changed = *cue;
        labels.change(changed.start);
        labels.change(changed.end);
        take(std::move(changed), input);
    }
    if (!request.keepsStlBlocks || input.cues == 0) {
        tellComments();
    }
    if (input.cues == 0) {
        sayNoCue(notes, false);
    }
}

std::unique_ptr<streams::OnAir> onAirOf(const CueRequest& request) {
    return request.page ? streams::teletextOnAir(*request.page, request.region)
           : request.service
               ? streams::serviceOnAir(*request.service, {.wideCharacter = wideCharactersOf(request.wideEncoding)})
               : streams::captionsOnAir(request.channel.value_or(cea608::kCC1),
                                        {.ignoresParity = request.ignoresParity});
}

/// Decodes what is on air.
void readFramesAsCues(InputFile& file, InputKind kind, const CueRequest& request, CueInput& input, CueInputNotes& notes,
                      const TakeCue& take) {
    FrameSourceOptions options = request.source;
    options.kind = kind;
    if (request.channel && request.channel->field == 2) {
        options.field = cc::CcType::Field2;
    }
    if (hasRows(kind) && !options.lines) {
        throw UsageError("--lines or --rows is needed with " + std::string(streams::nameOf(kind)) +
                         ": the rows of a frame say which time a row has");
    }
    const auto reader = openFrames(file, options);
    ScreenCues screens(onAirOf(request), [&](subtitles::Cue cue) {
        ++input.cues;
        take(std::move(cue), input);
    });
    input.format = (request.page ? "teletext page " : "captions ") + screens.onAir().name();
    Progress progress(file.size(), false);
    Frame frame;
    std::vector<FrameProblem> problems;
    for (std::uint64_t frames = 1; reader->next(frame, problems); ++frames) {
        if (!frame.pts) {
            throw UsageError("--from-rate is needed: " + file.name() + " does not say the times of its frames");
        }
        // Where a file has timecodes, the programme begins with an hour of theirs, and not with the first caption.
        input.counting = reader->counting();
        input.begin = input.begin || input.counting ? input.begin : frame.pts;
        // All of them, of which a frame holds no more than its bytes: each says whether something is missing.
        Findings findings(std::numeric_limits<std::size_t>::max());
        screens.receive(frame, &findings);
        for (const Finding& finding : findings) {
            notes.found(placeOf(frame.number, finding.offset), finding);
        }
        for (const FrameProblem& problem : std::exchange(problems, {})) {
            notes.say(problem.text, true);
        }
        for (const std::string& remark : reader->takeRemarks()) {
            notes.say(remark, false);
        }
        progress.update(frames, file.offset());
    }
    for (const FrameProblem& problem : problems) {
        notes.say(problem.text, true);
    }
    Findings atEnd;
    const bool isOnAir = screens.finish(&atEnd);
    for (const Finding& finding : atEnd) {
        notes.found("the end", finding);
    }
    if (isOnAir) {
        notes.say("the last cue is on air up to the end of the file", false);
    }
    if (input.cues == 0) {
        notes.say("nothing is on air: " + input.format + " (qlxcc scan --list says what there is)", false);
    }
}

}  // namespace

std::string readWholeText(InputFile& file, const CueRequest& request, CueInputNotes& notes) {
    if (file.size().value_or(0) > request.longest) {
        throwTooLong(file, request.longest);
    }
    std::string text;
    TextPieces pieces(file, request.encoding, notes);
    while (const auto piece = pieces.next()) {
        if (text.size() + piece->size() > request.longest) {
            throwTooLong(file, request.longest);
        }
        text += *piece;
    }
    return text;
}

void readFileOfCues(InputFile& file, InputKind kind, const CueRequest& request, CueInput& input, CueInputNotes& notes,
                    const TakeCue& take) {
    switch (kind) {
    case InputKind::Srt:
        input.format = "SRT";
        readText<subtitles::SubRipReader>(file, request, input, notes, take, [](const auto&) {});
        break;
    case InputKind::Vtt:
        input.format = "WebVTT";
        readText<subtitles::WebVttReader>(file, request, input, notes, take,
                                          [&input](const auto& reader) { input.file = reader.file(); });
        break;
    case InputKind::Ttml:
        input.format = "TTML";
        readTtmlAsCues(file, request, input, notes, take);
        break;
    case InputKind::Ass: {
        input.format = "SubStation Alpha";
        // Events have no numbers, and may stand in any order: whoever writes them counts them.
        const TakeCue takeUnnumbered = [&take](subtitles::Cue cue, const CueInput& read) {
            cue.number = 0;
            take(std::move(cue), read);
        };
        readText<subtitles::SsaReader>(file, request, input, notes, takeUnnumbered, [](const auto&) {});
        break;
    }
    case InputKind::Stl:
        readStlAsCues(file, request, input, notes, take);
        break;
    case InputKind::Json:
        input.format = "JSON";
        readJsonAsCues(file, request, input, notes, take);
        break;
    default:
        readFramesAsCues(file, kind, request, input, notes, take);
    }
}

CueInput readCues(const CueRequest& request, CueInputNotes& notes, const TakeCue& take) {
    const auto opened = request.opened ? request.opened : std::make_shared<InputFile>(request.path);
    InputFile& file = *opened;
    CueInput input;
    input.name = file.name();
    const auto given = request.source.kind;
    const auto text = given ? given : textKindOf(file, request.encoding);
    const InputKind kind = text ? *text : kindOf(file, given);
    if ((request.page || request.channel || request.service) && hasCues(kind)) {
        throw UsageError("--page, --channel and --service are for what is on air: " + file.name() + " has cues");
    }
    if (!request.track.empty() && (!mayHaveTextTracks(kind) || request.page || request.channel || request.service)) {
        throw UsageError("--track is for text tracks of MOV, MP4 and Matroska files");
    }
    if (hasCues(kind)) {
        if (file.peek(1).empty()) {
            throw failureAtByte(file.name(), 0, "the file is empty");
        }
        readFileOfCues(file, kind, request, input, notes, take);
        return input;
    }
    if (!request.encoding.empty()) {
        throw UsageError("--encoding is for texts: " + file.name() + " is none");
    }
    const bool mayBeText = mayHaveTextTracks(kind) && !request.page && !request.channel && !request.service;
    if (!mayBeText || !readTrackAsCues(file, kind, request, input, notes, take)) {
        readFileOfCues(file, kind, request, input, notes, take);
    }
    return input;
}

}  // namespace qlx::tool
