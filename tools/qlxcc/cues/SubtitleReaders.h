// The readers of the single subtitle formats, behind readSubtitles().
#pragma once

#include "cues/CueTimes.h"
#include "cues/StartTimes.h"
#include "cues/Subtitles.h"

#include <qlx/base/finding.h>

#include <cstdint>
#include <optional>
#include <string_view>

namespace qlx::tool {

/// Starts a caption early, by an estimate of its pairs, and ends it a frame early: the pairs are sent one a frame, and
/// then it stands complete at its time.
void moveAsCaption(QLXSubtitleRecord& record, double frameDuration);

/// Who takes cues: as records that are placed for the mode, or as they are.
struct CueTakers {
    CueTaker record;
    CueValueTaker value;  ///< In its place, where there is one.
};

/// A problem of what is found in a text, which is no remark: whether there is one cue less.
[[nodiscard]] SubtitleProblem problemOf(const Finding& finding);

/// Gives the cues of a file the times that SubtitleRequest::fromStart asks for, in the way of `convert`.
class ProgrammeTimes {
public:
    /// Both must outlive this.
    ProgrammeTimes(Subtitles& subtitles, const SubtitleRequest& request) : _subtitles(subtitles), _request(request) {}

    /// Changes the next cue.
    /// @param told As programmeStart() takes it, with the first cue; and so is `own`.
    void change(subtitles::Cue& cue, const std::optional<MediaTime>& told = {},
                const std::optional<LabelCounting>& own = {});

    /// Says how many begin before the start; called behind the last one.
    void finish();

private:
    Subtitles& _subtitles;
    const SubtitleRequest& _request;
    TimeChange _times;
    std::uint64_t _cues = 0;
    std::uint64_t _before = 0;
};

// Each fills `subtitles`, whose name is known, and hands the cues on.

/// SRT as QLXSRTFileReader reads it.
void readSRT(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTakers& take);
void readJson(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTakers& take);
void readSTL(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTakers& take);

/// Hands a cue on in the form that is asked for: as it is, or as a record with its rows as withPageRows() has them.
/// @param place The number of a record whose cue has none.
void giveCue(const subtitles::Cue& cue, const SubtitleRequest& request, const CueTakers& take, std::uint64_t place = 0);

/// @throws Failure: there is no cue in the file, which is not empty. It says what was found in the place of one.
[[noreturn]] void throwNoCue(const Subtitles& subtitles);

/// EBU STL read whole, unless the request says as deployed.
void readWholeSTL(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTakers& take);

/// Places the rows of a record of an EBU STL file: those of a teletext page stay, others go where those of an SRT file's
/// cue do.
void placeSTLRows(QLXSubtitleRecord& record, std::int32_t mode);

/// No cue was read: says why, by the first of the problems that has a place.
[[noreturn]] void failWithoutCues(const Subtitles& subtitles);

/// Whether a file is EBU STL, by its first bytes: a code page and a disk format code.
[[nodiscard]] bool looksLikeSTL(std::string_view bytes) noexcept;

}  // namespace qlx::tool
