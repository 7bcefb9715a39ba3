// The samples of text tracks as cues.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>
#include <qlx/subtitles/ssa.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::streams::detail {

/// When a sample is shown.
struct SampleSpan {
    MediaTime begin;
    MediaTime end;
};

using TakeSampleCue = std::function<void(subtitles::Cue cue)>;

/// Whether a text begins with the byte order mark of UTF-16.
[[nodiscard]] bool hasUtf16Mark(std::span<const std::uint8_t> bytes) noexcept;

/// The characters of a text: UTF-16 behind its byte order mark, else UTF-8. What makes no character becomes U+FFFD.
/// @param findings Gets TextSampleUnitsWrong, SubtitleTextNotUtf8.
[[nodiscard]] std::u32string charactersOf(std::span<const std::uint8_t> bytes, FindingSink& findings);

/// What the description of a `tx3g` track says of all its samples (3GPP TS 26.245, 5.16).
struct TimedTextDefaults {
    subtitles::Alignment alignment = subtitles::Alignment::Center;
    std::uint8_t anchor = 0;
    std::uint32_t background = 0;  ///< Red, green, blue, alpha.
    std::uint16_t font = 0;
    std::uint8_t face = 0;
    std::uint8_t size = 0;
    std::uint32_t color = 0xFFFFFFFF;
};

[[nodiscard]] TimedTextDefaults timedTextDefaults(std::span<const std::uint8_t> description);

/// Reads a sample of `tx3g` (3GPP TS 26.245, 5.17); one without text gives nothing.
/// @param findings Their offset is 0.
void readTimedText(std::span<const std::uint8_t> sample, const TimedTextDefaults& defaults, const SampleSpan& span,
                   const TakeSampleCue& take, FindingSink& findings);

/// What stands in front of the cues of a WebVTT track, and holds for each of them: blocks with an empty line behind them.
struct SampleHead {
    std::string sheets;
    std::map<std::string, std::string, std::less<>> regions;  ///< By their names.
};

/// The head that a header says.
/// @param findings Gets what of its style sheets is not applied. All of them are not where they have more than 16 KiB: each
/// sample is read with them.
[[nodiscard]] SampleHead sampleHeadOf(std::string_view header, FindingSink& findings);

/// Reads a sample of `wvtt` (ISO/IEC 14496-30, 7.5).
void readWvtt(std::span<const std::uint8_t> sample, const SampleSpan& span, const SampleHead& head,
              const TakeSampleCue& take, FindingSink& findings);

/// Reads the text of a WebVTT cue.
/// @param origin Milliseconds: what times within the text call its beginning; none: as the track does.
void readWebVttText(std::string_view text, std::string_view name, std::string_view settings, const SampleSpan& span,
                    std::optional<std::int64_t> origin, const SampleHead& head, const TakeSampleCue& take,
                    FindingSink& findings);

/// Reads the text of a SubRip cue.
void readSubRipText(std::string_view text, const SampleSpan& span, const TakeSampleCue& take, FindingSink& findings);

/// Reads the samples of SubStation Alpha: the fields of an event without its times, behind a number that counts them.
class SubStationSamples {
public:
    /// @param head What a file has in front of its events.
    /// @param findings Must outlive this.
    SubStationSamples(std::string_view head, FindingSink& findings);

    void read(std::string_view sample, const SampleSpan& span, const TakeSampleCue& take);

    /// Says what of the head was passed over.
    void finish();

private:
    void push(const std::string& text);

    FindingSink& _findings;
    subtitles::SsaReader _reader;
};

}  // namespace qlx::streams::detail
