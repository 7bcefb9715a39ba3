// Reading a subtitle file, and saying what is wrong with it.
#pragma once

#include "cues/StartTimes.h"
#include "io/Rates.h"

#include <qlx/base/finding.h>
#include <qlx/cea608/codes.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class QLXSubtitleRecord;

namespace qlx::tool {

// The library's subtitle modes.
inline constexpr std::int32_t kCea608Mode = 1;
inline constexpr std::int32_t kTeletextMode = 2;

/// Something in a subtitle file that was left out, or that needs a look.
struct SubtitleProblem {
    enum class Effect {
        CueLeftOut,   ///< There is one cue less.
        None,         ///< The cue is taken all the same.
        NotASubtitle  ///< What was left out is no cue, and need not be one.
    };

    /// The line, in JSON the element, in STL the TTI block; counted from 1. 0: the file as a whole.
    std::uint64_t place = 0;
    std::string what;
    Effect effect = Effect::CueLeftOut;
    /// Error: something of the file is missing because of it, as it is of a cue that is left out. Warning: something that
    /// the file has is lost. Remark: neither.
    Severity severity = Severity::Remark;
};

/// What was found in a file; the first thousand are kept, the others counted.
class SubtitleProblems {
public:
    void add(SubtitleProblem problem);

    [[nodiscard]] const std::vector<SubtitleProblem>& first() const { return _first; }
    [[nodiscard]] std::uint64_t count() const { return _count; }
    [[nodiscard]] std::uint64_t leftOut() const { return _leftOut; }  ///< Those that are not of Effect::None.
    [[nodiscard]] std::uint64_t damages() const { return _damages; }  ///< As `convert` counts them.
    [[nodiscard]] std::uint64_t losses() const { return _losses; }    ///< The same.

private:
    std::vector<SubtitleProblem> _first;
    std::uint64_t _count = 0;
    std::uint64_t _leftOut = 0;
    std::uint64_t _damages = 0;
    std::uint64_t _losses = 0;
};

/// What of a file of frames is read as cues, as CueRequest has it.
struct OnAirChoice {
    std::optional<cea608::Channel> channel;
    std::optional<std::uint8_t> service;
    std::optional<std::uint16_t> page;
    std::optional<Rate>
        rate;  ///< Of frames without times of their own, and of TTML that counts frames without saying it.
    std::string_view options = "--channel, --service or --page";  ///< What says it on the command line.

    /// Whether anything is chosen.
    [[nodiscard]] bool isGiven() const { return channel || service || page; }
};

/// How a file is to be read.
struct SubtitleRequest {
    std::string path;                   ///< `-`: standard input.
    std::int32_t mode = kTeletextMode;  ///< What the cues are placed for.
    double frameDuration = 0;           ///< Seconds a frame, for mode 1.
    std::string encoding = {};          ///< Of a text; empty: what the file says, as deployed UTF-8.
    bool asDeployed = false;            ///< As the fixed operations read SRT, JSON and EBU STL, and nothing else.
    std::string track = {};    ///< Of containers, as CueRequest has it; as deployed not looked at, as the rest.
    FromStart fromStart = {};  ///< Not as deployed.
    OnAirChoice onAir = {};    ///< Files of frames; of Scenarist and MCC files also without a choice: CC1.
};

/// What a file is.
struct Subtitles {
    std::string name;                 ///< What to call the file in messages.
    std::string format;               ///< `SRT`, `JSON`, `EBU STL, 25 frames/s`
    std::string_view place = "line";  ///< What the problems' places count.
    std::uint64_t cues = 0;           ///< How many there are.
    SubtitleProblems problems;
};

using CueTaker = std::function<void(std::shared_ptr<QLXSubtitleRecord>)>;
using CueValueTaker = std::function<void(const subtitles::Cue&)>;

/// Reads a subtitle file and hands on its cues one by one, so that a long file takes no more memory than its text: EBU
/// STL, SRT, WebVTT, SubStation Alpha, TTML or JSON, by its content, or else by its name; a text track of a container;
/// or what is on air in a Scenarist or MCC file, or in any other file of frames but rows, where SubtitleRequest::onAir
/// says what that is. A JSON file is an array of the dictionaries that QLXSubtitleRecord reads, or an object with such
/// an array under `cues`.
///
/// The encoding of a text is what readCues() of CueInput.h finds, and a byte that it does not have becomes U+FFFD, which
/// is a problem. With SubtitleRequest::asDeployed SRT is read as QLXSRTFileReader does, and a text that is not in its
/// encoding is refused.
///
/// In mode 1 the cues of files other than JSON start early, by an estimate of their pairs; those of a JSON file keep
/// their times. In mode 2 the cues of an STL file keep their rows where a teletext page has them, else they are placed like
/// those of an SRT file. EBU STL files are read whole: joined blocks, sets, all character tables; with
/// SubtitleRequest::asDeployed block by block as Latin text, as the fixed operations do.
/// @throws Failure when the file cannot be read, is longer than kLongestSubtitleFile, is not in the encoding, or has no
///   valid cue; UsageError when an encoding is given for what is no text, or the file is of another kind.
[[nodiscard]] Subtitles readSubtitles(const SubtitleRequest& request, const CueTaker& take);

/// The same of cues as they are, which have the times and places that the file gives them. The mode does not count.
[[nodiscard]] Subtitles readCues(const SubtitleRequest& request, const CueValueTaker& take);

/// `line 12: `; empty for the file as a whole.
[[nodiscard]] std::string placeInWords(const Subtitles& subtitles, const SubtitleProblem& problem);

/// `film.srt: line 12: cue left out: no timing line`
[[nodiscard]] std::string problemInWords(const Subtitles& subtitles, const SubtitleProblem& problem);

/// Whether a subtitle text is JSON: an array of objects, or an object, by its first characters.
[[nodiscard]] bool looksLikeJson(std::string_view text) noexcept;

/// The lines of a subtitle, joined by ` / `; `(no text)` when there is nothing in them.
[[nodiscard]] std::string subtitleText(const QLXSubtitleRecord& record);
[[nodiscard]] std::string subtitleText(const subtitles::Cue& cue);

}  // namespace qlx::tool
