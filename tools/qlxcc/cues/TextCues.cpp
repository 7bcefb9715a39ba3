// SRT, WebVTT and SubStation Alpha files as the library's own readers of them have their cues: with all styles and places.
#include "cues/SubtitleReaders.h"
#include "streams/InputKind.h"

#include <qlx/base/finding.h>
#include <qlx/subtitles/ssa.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace qlx::tool {

namespace {

/// Makes problems of a file of what is found in it; remarks are none.
class ProblemSink final : public FindingSink {
public:
    explicit ProblemSink(Subtitles& subtitles) : _subtitles(subtitles) {}

    void add(const Finding& finding) override {
        if (finding.severity != Severity::Remark) {
            _subtitles.problems.add(problemOf(finding));
        }
    }

private:
    Subtitles& _subtitles;
};

template <class Reader>
void readAll(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTakers& take) {
    ProblemSink problems(subtitles);
    Reader reader({}, &problems);
    const auto takeAll = [&] {
        while (const subtitles::Cue* const cue = reader.next()) {
            ++subtitles.cues;
            giveCue(*cue, request, take, subtitles.cues);
        }
    };
    // What the reader gets at once, so that the file is in memory only once.
    constexpr std::size_t kBytesAtOnce = std::size_t{256} * 1024;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, kBytesAtOnce);
        text.remove_prefix(piece.size());
        reader.push({reinterpret_cast<const std::uint8_t*>(piece.data()), piece.size()});
        takeAll();
    }
    reader.finish();
    takeAll();
}

}  // namespace

void readTextCues(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTakers& take) {
    const auto told = inputKindOfBytes({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    const auto named = inputKindOfName(subtitles.name);
    // Events without anything in front of them have no times as the others have them.
    const bool isEvents = !told && named == InputKind::Ass && text.find("-->") == std::string_view::npos;
    const auto kind = isEvents ? named : told;
    if (kind == InputKind::Vtt && request.readsAll) {
        subtitles.format = "WebVTT";
        readAll<subtitles::WebVttReader>(subtitles, text, request, take);
    } else if (kind == InputKind::Ass && request.readsAll) {
        subtitles.format = "SubStation Alpha";
        readAll<subtitles::SsaReader>(subtitles, text, request, take);
    } else if (take.value) {
        subtitles.format = "SRT";
        readAll<subtitles::SubRipReader>(subtitles, text, request, take);
    } else {
        readSRT(subtitles, text, request, take);
        return;
    }
    if (subtitles.cues == 0) {
        throwNoCue(subtitles, text);
    }
}

}  // namespace qlx::tool
