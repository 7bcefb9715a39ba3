// Reading cues from whatever has them: subtitle files, and what is on air in files of frames.
#pragma once

#include "cues/Encoding.h"
#include "io/FrameSource.h"
#include "streams/InputKind.h"

#include <qlx/base/finding.h>
#include <qlx/cc/time_code.h>
#include <qlx/cea608/codes.h>
#include <qlx/streams/ttml.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/stl.h>
#include <qlx/subtitles/webvtt.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace qlx::tool {

/// How a file is to be read.
struct CueRequest {
    std::string path;                        ///< `-`: standard input.
    std::shared_ptr<InputFile> opened{};     ///< It, where it has been opened.
    std::string encoding;                    ///< Of a text; empty: what the file says.
    FrameSourceOptions source;               ///< Its kind, and what is known of its frames.
    std::string track;                       ///< Of text: its number from 1, or its language; empty: the first one.
    std::optional<cea608::Channel> channel;  ///< Of captions; none: CC1, where no page is given.
    std::optional<std::uint8_t> service;     ///< Of captions of CTA-708, in the place of a channel.
    std::optional<std::uint16_t> page;       ///< Of teletext.
    std::uint8_t region = 0;                 ///< The same: of receivers, as teletextOnAir() takes it.
    bool ignoresParity = false;              ///< Parity bits of CEA-608 are not looked at.
    std::string wideEncoding = "utf-16";     ///< Of the 16-bit characters of a service, one of kWideEncodings.
    bool keepsStlBlocks = false;             ///< EBU STL: comments, user data and groups are properties of cues.
    bool isDrop = false;                     ///< Time codes of EBU STL and TTML at 29.97 and 59.94 leave numbers out.
    std::size_t longest = kLongestSubtitleFile;  ///< Bytes of a file that is read as a whole.
    std::optional<std::size_t> longestText{};    ///< Of one that is read in pieces; none: as long as it may be.
};

/// Gets what is found in a file.
class CueInputNotes {
public:
    CueInputNotes() = default;
    CueInputNotes(const CueInputNotes&) = delete;
    CueInputNotes& operator=(const CueInputNotes&) = delete;
    virtual ~CueInputNotes() = default;

    /// @param place `line 12`, `frame 3, line 9`; or empty.
    virtual void found(const std::string& place, const Finding& finding) = 0;

    /// Something that is no finding of the library.
    /// @param isDamage Whether something is missing because of it.
    virtual void say(const std::string& text, bool isDamage) = 0;

    /// Something that is there, is no cue, and is not carried.
    virtual void lose(const std::string& text) { say(text, false); }
};

/// What a file was.
struct CueInput {
    std::string name;            ///< What to call it in messages.
    std::string format;          ///< `SRT`, `WebVTT`, `captions CC1`
    subtitles::WebVttFile file;  ///< What it has besides cues; only of WebVTT, and whole at the end.
    std::optional<MediaTime>
        begin;  ///< The time of the first frame, or where an EBU STL file says that the programme starts.
    std::optional<cc::TimeCodeCounting> counting;  ///< How its timecodes count, where it says so.
    std::uint64_t cues = 0;                        ///< That were read.
    std::optional<subtitles::Gsi> gsi;             ///< The head of an EBU STL file.
    std::optional<streams::TtmlFile> ttml;         ///< What a TTML file has besides cues.
};

/// Gets the cues; `input` has what stands in front of them.
using TakeCue = std::function<void(subtitles::Cue cue, const CueInput& input)>;

/// The whole text of a file, in UTF-8: what CueRequest::encoding and the bytes say tells its encoding.
/// @throws Failure when it is longer than CueRequest::longest.
[[nodiscard]] std::string readWholeText(InputFile& file, const CueRequest& request, CueInputNotes& notes);

/// Reads all cues of a file, in its order. Memory is bounded but for JSON, TTML and EBU STL files, which
/// CueRequest::longest bounds.
/// @throws Failure when the file cannot be read; UsageError when it has no cues, or options do not go with it.
[[nodiscard]] CueInput readCues(const CueRequest& request, CueInputNotes& notes, const TakeCue& take);

/// The same of a file that is open and of this kind: what is on air in it where the kind is none that hasCues().
/// @param input Has its name.
void readFileOfCues(InputFile& file, InputKind kind, const CueRequest& request, CueInput& input, CueInputNotes& notes,
                    const TakeCue& take);

}  // namespace qlx::tool
