#include "cues/TrackCues.h"

#include "io/Errors.h"
#include "io/StreamBytes.h"
#include "io/Text.h"
#include "streams/OpenFrames.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using streams::TextTrack;
using streams::TextTrackKind;

/// `2 (wvtt, eng)`
std::string trackInWords(std::size_t index, const TextTrack& track) {
    return std::to_string(index + 1) + " (" + std::string(nameOf(track.kind)) +
           (track.language.empty() ? std::string() : ", " + printable(track.language)) + ")";
}

/// The track that is asked for; none where nothing is.
std::optional<std::size_t> chosenTrack(const std::string& name, const CueRequest& request,
                                       const std::vector<TextTrack>& tracks) {
    if (request.track.empty()) {
        const auto first = std::find_if(tracks.begin(), tracks.end(),
                                        [](const TextTrack& track) { return track.kind != TextTrackKind::Unreadable; });
        return first == tracks.end() ? std::nullopt : std::optional(static_cast<std::size_t>(first - tracks.begin()));
    }
    for (std::size_t index = 0; index < tracks.size(); ++index) {
        if (request.track == std::to_string(index + 1) ||
            asciiLowercased(request.track) == asciiLowercased(tracks[index].language)) {
            return index;
        }
    }
    throw UsageError("--track: " + name + " has no text track " + request.track +
                     (tracks.empty() ? "" : ", but " + tracksInWords(tracks)));
}

Failure failureOf(const std::string& name, const Finding& error, const std::string& words) {
    return failureIn(name, error.text() + (words.empty() ? "" : ": " + printable(words)));
}

/// Tells notes of findings, with the place of their sample in front of them.
class SamplePlaces final : public FindingSink {
public:
    SamplePlaces(const streams::TextTrackReader& reader, CueInputNotes& notes) : _reader(reader), _notes(notes) {}

    void add(const Finding& finding) override {
        const std::string place = finding.offset == 0 ? "text track" : "byte " + std::to_string(finding.offset);
        if (finding.code == FindingCode::StreamLibraryRemark) {
            _notes.say(place + ": " + finding.text() + ": " + printable(_reader.libraryText()), true);
        } else {
            _notes.found(place, finding);
        }
    }

private:
    const streams::TextTrackReader& _reader;
    CueInputNotes& _notes;
};

/// Tells notes of what is found in the head of a track.
class HeadFindings final : public FindingSink {
public:
    explicit HeadFindings(CueInputNotes& notes) : _notes(notes) {}

    void add(const Finding& finding) override {
        _notes.found("head of the text track, line " + std::to_string(finding.offset), finding);
    }

private:
    CueInputNotes& _notes;
};

}  // namespace

std::string tracksInWords(const std::vector<TextTrack>& tracks, std::optional<std::size_t> leftOut) {
    constexpr std::size_t kNamed = 10;
    std::string words;
    std::size_t named = 0;
    for (std::size_t index = 0; index < tracks.size() && named < kNamed; ++index) {
        if (index != leftOut) {
            words += (words.empty() ? "" : ", ") + trackInWords(index, tracks[index]);
            ++named;
        }
    }
    const std::size_t all = tracks.size() - (leftOut ? 1 : 0);
    return all > named ? words + " and " + std::to_string(all - named) + " more" : words;
}

std::vector<TextTrack> textTracksOf(InputFile& file, InputKind kind) {
    InputBytes bytes(file);
    streams::TextTrackReader reader(bytes, kind);
    const auto error = reader.open();
    bytes.rethrow();
    (void)file.seek(0);
    return error ? std::vector<TextTrack>() : reader.tracks();
}

bool hasOnlyTextTracks(const std::string& path, InputKind kind) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return false;
    }
    InputFile file(path);
    const std::vector<TextTrack> tracks = textTracksOf(file, kind);
    if (std::none_of(tracks.begin(), tracks.end(),
                     [](const TextTrack& track) { return track.kind != TextTrackKind::Unreadable; })) {
        return false;
    }
    try {
        FrameSourceOptions options;
        options.kind = kind;
        (void)openFrames(file, options);
        return false;
    } catch (const WithoutFrames&) {
        return true;
    }
}

bool readTrackAsCues(InputFile& file, InputKind kind, const CueRequest& request, CueInput& input, CueInputNotes& notes,
                     const TakeCue& take) {
    if (request.track.empty() && !file.size()) {
        notes.say(std::string(kTracksNotLookedFor) + " (--track says which)", false);
        return false;
    }
    InputBytes bytes(file);
    streams::TextTrackReader reader(bytes, kind);
    const auto error = reader.open();
    bytes.rethrow();
    if (error && !request.track.empty()) {
        throw failureOf(file.name(), *error, reader.libraryText());
    }
    const std::vector<TextTrack>& tracks = reader.tracks();
    const auto chosen = chosenTrack(file.name(), request, tracks);
    if (!chosen) {
        if (!tracks.empty()) {
            notes.say("text tracks that cannot be read are left out: " + tracksInWords(tracks), false);
        }
        (void)file.seek(0);
        return false;
    }
    const TextTrack& track = tracks[*chosen];
    input.format = "text track " + trackInWords(*chosen, track);
    if (tracks.size() > 1) {
        notes.say("text track " + trackInWords(*chosen, track) + " is read, and not " + tracksInWords(tracks, chosen) +
                      (request.track.empty() ? ": --track says which" : ""),
                  false);
    }
    std::string language;
    if (!track.header.empty()) {
        HeadFindings findings(notes);
        input.file = subtitles::readWebVttHead(track.header, &findings);
        language = subtitles::languageOf(input.file);
    }
    SamplePlaces places(reader, notes);
    const auto failure = reader.read(
        *chosen,
        [&](subtitles::Cue cue) {
            ++input.cues;
            cue.language = cue.language.empty() ? language : cue.language;
            take(std::move(cue), input);
        },
        &places, [&](const streams::TtmlFile& head) { input.ttml = head; });
    bytes.rethrow();
    if (failure) {
        throw failureOf(file.name(), *failure, reader.libraryText());
    }
    if (input.cues == 0) {
        notes.say("the text track has no cue", false);
    }
    return true;
}

}  // namespace qlx::tool
