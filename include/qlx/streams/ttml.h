// Timed text in XML (W3C TTML 1 and 2), both ways: read are IMSC, EBU-TT-D, SMPTE-TT and older files of the family (DFXP);
// written are the text profile of IMSC 1.1 and EBU-TT-D.
//
//     const auto file = qlx::streams::readTtml(bytes, [](qlx::subtitles::Cue cue) { take(cue); }, {}, &findings);
//     if (!file) { report(file.error().offset, file.error().text()); }
//
//   <tt xmlns="http://www.w3.org/ns/ttml" xml:lang="en">
//    <body><div><p begin="1s" end="2.5s">Hello<br/><span xmlns:tts="http://www.w3.org/ns/ttml#styling"
//    tts:fontStyle="italic">you</span></p></div></body></tt>
//
// A paragraph is a cue. Its begin and end are worked out of all that is around it (`timeContainer`, `dur`, offsets), in
// media time: of the time base `smpte` the frames are counted, with those that `dropMode` leaves out. Of spans with times
// of their own, those that appear one behind the other and stay have them in Run::from; others give a cue for each moment
// at which what is shown changes. What names mean is told by the namespace, not by the prefix.
//
// Of styles those that a cue has fields for are resolved (referred to, nested, inherited); other ones are properties:
// `ttml.tts:fontFamily` of a cue, or of a run where a span has it. A region says where the rows stand: on a grid of 15
// rows and 32 columns in the inner 80 % of the picture, as CTA-608-E has it; the region itself is in TtmlFile.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/cc/time_code.h>
#include <qlx/streams/export.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

namespace qlx::streams {

/// Which of the family a file says that it is.
enum class TtmlKind : std::uint8_t {
    Ttml,     ///< It does not say.
    Dfxp,     ///< Of the namespaces before TTML 1.
    SmpteTt,  ///< SMPTE ST 2052-1.
    EbuTt,    ///< EBU Tech 3350 or 3380 (EBU-TT-D).
    Imsc,     ///< W3C IMSC 1.0 or 1.1.
};

/// A region of the screen.
struct TtmlRegion {
    std::string name;  ///< Its `xml:id`.
    /// Its style, resolved, by names with the usual prefixes: `tts:origin`, `10% 80%`.
    subtitles::Properties attributes;

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const TtmlRegion&, const TtmlRegion&) = default;
};

/// What a file has besides cues.
struct TtmlFile {
    TtmlKind kind = TtmlKind::Ttml;   ///< Which one it is.
    std::string language;             ///< `xml:lang` of the document.
    std::string title;                ///< `ttm:title`
    std::string description;          ///< `ttm:desc`
    std::string copyright;            ///< `ttm:copyright`
    std::uint16_t cellColumns = 32;   ///< `ttp:cellResolution`, which lengths in cells (`c`) count.
    std::uint16_t cellRows = 15;      ///< The same.
    std::vector<TtmlRegion> regions;  ///< In their order.
    bool hasFrameRate = false;        ///< `ttp:frameRate` says what frame numbers count.
    bool countsFrames = false;        ///< `ttp:timeBase="smpte"`: times are labels of frames.
    /// How such labels count; none where they do it at another rate, or drop other numbers, than time codes.
    std::optional<cc::TimeCodeCounting> counting{};

    /// Whether all fields are equal.
    [[nodiscard]] friend bool operator==(const TtmlFile&, const TtmlFile&) = default;
};

/// What is read of a file.
struct TtmlReadOptions {
    std::size_t greatestFile = std::size_t{64} * 1024 * 1024;  ///< Bytes; a longer one is refused.
    std::size_t deepest = 200;                                 ///< Elements within each other; deeper ones are refused.
    std::size_t mostTimes =
        1000;  ///< At which a paragraph changes; of one with more the times of spans are passed over.
    std::size_t mostPieces = 50'000;  ///< Texts and line ends of a paragraph; those behind are left out.
    /// What frame numbers count in a file without `ttp:frameRate`; none: 30, as TTML2, 7.2.5 has it.
    std::optional<FrameRate> rate{};
    /// Of these frames numbers are left out (`dropNTSC`) where neither a frame rate nor `ttp:dropMode` is in the file.
    bool isDrop = false;
    /// Where what nothing ends does, such as the end of the sample that a document is of; none: five seconds behind its
    /// beginning, with a finding.
    std::optional<MediaTime> openEnd{};
    /// Gets what the file has besides cues, in front of the first of them; may be empty.
    std::function<void(const TtmlFile&)> takeHead{};
};

/// Reads a file as a whole.
///
/// Refused are what is not well-formed, no TTML, too long or too deep, what has so many elements that they would take more
/// than 32 MiB and nine times the file in memory, and a document type with a part of its own: nothing outside of the file
/// is ever looked at. Everything else that cannot be used is passed over with a finding, whose offset
/// is its line, counted from 1. Images and data that are carried along (SMPTE ST 2052-1, 5.5 ff.) are such. A paragraph
/// that nothing ends lasts five seconds, or as TtmlReadOptions::openEnd says. What a `set` changes (TTML2, 13) is followed, in several cues where need be;
/// `animate` is passed over. Where a file has regions, text in none of them is read, and a finding says that receivers do
/// not show it. Takes time and memory in proportion to the file.
/// @param text UTF-8, whatever its declaration says; a byte that is not becomes U+FFFD.
/// @param take Gets the cues in the order of the file: times need not rise.
/// @param findings May be null.
QLX_STREAMS_EXPORT Result<TtmlFile> readTtml(std::span<const std::uint8_t> text,
                                             const std::function<void(subtitles::Cue)>& take,
                                             const TtmlReadOptions& options = {}, FindingSink* findings = nullptr);

/// What is written.
enum class TtmlProfile : std::uint8_t {
    Imsc11Text,  ///< W3C IMSC 1.1, text profile.
    EbuTtD,      ///< EBU Tech 3380.
};

/// How a file is written.
struct TtmlWriteOptions {
    TtmlProfile profile = TtmlProfile::Imsc11Text;  ///< Which one.
    /// EBU-TT-D: this many hundredths of a cell on each side of the text of a row (`ebutts:linePadding`), 0 to 100.
    std::uint8_t linePadding = 50;
};

/// A region that puts text where a box does: `tts:displayAlign`, `tts:extent`, `tts:origin`. What of the box is beyond the
/// screen is cut off (IMSC 1.1, 7.12.8); one that is all beyond it becomes subtitles::kSafeBox.
QLX_STREAMS_EXPORT TtmlRegion regionOf(std::string name, const subtitles::Box& box);

/// Writes cues.
///
///     qlx::streams::TtmlWriter writer(file, {.profile = qlx::streams::TtmlProfile::EbuTtD}, &findings);
///     writer.write(cue);
///     const std::string text = writer.finish();
///
/// Times are milliseconds of media time, rounded as spanIn() does; a cue that ends before 0 is left out. A cue without
/// a region of the file gets one that is its box, or else is made of its rows' numbers, columns, anchors and alignment.
/// What a profile cannot say is a finding, whose offset is the cue, counted from 1 (SubtitleTimeEmptied,
/// SubtitleTimeNegative, SubtitleStylesLost, SubtitlePlaceLost, SubtitlePropertiesLost, SubtitleNameLost,
/// SubtitleRegionLost, TtmlCharacterReplaced).
class QLX_STREAMS_EXPORT TtmlWriter {
public:
    /// Begins a file. `findings` may be null, else it must outlive this.
    explicit TtmlWriter(TtmlFile file = {}, const TtmlWriteOptions& options = {}, FindingSink* findings = nullptr);

    /// Takes a cue, and gives whether it is written.
    bool write(const subtitles::Cue& cue);

    /// The whole text, in UTF-8 with lines that end in LF. Nothing is written behind it.
    [[nodiscard]] std::string finish();

private:
    TtmlFile _file;
    TtmlWriteOptions _options;
    FindingSink* _findings;
    std::string _body;
    std::map<std::string, std::string> _styles;  ///< Names of the styles by their attributes.
    std::map<std::string, std::string> _places;  ///< The same of regions.
    std::map<std::string, bool> _names;          ///< Of all elements: one stands once in a file.
    std::set<std::string> _regions;              ///< The names of the file's regions.
    std::size_t _lastStyle = 0;                  ///< The number of the last style's name.
    std::size_t _lastPlace = 0;                  ///< The same of regions.
    std::uint64_t _cues = 0;                     ///< Given so far.
};

}  // namespace qlx::streams
