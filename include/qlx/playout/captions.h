// Cues as captions of CEA-608 (CTA-608-E; 47 CFR 15.119), and the caption distribution packet of each frame (SMPTE
// ST 334-2).
//
//     qlx::playout::CaptionPlayout playout(qlx::FrameRate::Fps5994);
//     playout.add(cue, {}, &findings);
//     while (!playout.isDone()) {
//         std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room;
//         const qlx::Result<std::size_t> size = qlx::cc::writeCdp(playout.next(&findings), room);
//         send(std::span(room).first(*size));
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/cc/cdp.h>
#include <qlx/cea608/caption.h>
#include <qlx/cea608/writer.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace qlx::playout {

/// Where and how a cue is sent.
struct CaptionOptions {
    cea608::Channel channel = cea608::kCC1;                    ///< CC1 to CC4; of a broadcast also T1 to T4.
    cea608::CaptionStyle style = cea608::CaptionStyle::PopOn;  ///< How it comes to the screen.
    std::uint8_t rollUpRows = 2;                               ///< RollUp: 2 to 4.
    std::uint64_t findingsOffset = 0;                          ///< What findings have as their offset.
};

/// The caption of a cue, shown from the first frame that begins at the cue's start or later to the first one that
/// begins at its end or later.
///
/// Letters are joined with the marks behind them, and marks that no letter takes, and signs of direction, have no place
/// (TeletextMarkLeftOut). Rows of text are broken at a space where they have more than 32 characters, or behind the
/// 32nd one (PlayoutRowBroken). The first four are kept (PlayoutRowLeftOut). They stand left, in the middle or right;
/// unchanged ones begin in the first column with their own spaces, and left ones behind as many columns as the codes of
/// a background and of flashing take. Where the cue names columns (Cue::screenColumns) they stand in the same one of
/// 32, and with their middle where it is among others; of the 42 of a wide picture of CTA-708 captions have those in
/// the middle. Where it names rows of 15 they stand on these, if there is room for all of them. Other row numbers, 1 to
/// 11, which a teletext page has at double height, are spread over the rows 1 to 15: rows with one free row between them
/// at most keep their distance from one another, and stand by the last of them (the first, where that is above the
/// middle); one whose number does not rise stands below the one before it (PlayoutRowMoved). Without numbers the rows
/// end on row 15, or stand in the middle or at the top as their place in the cue says; where they have several places,
/// those of each stand together in it, from the top down. Colours, italics, underlines and flashing are asked for; the
/// writer says what cannot be sent. There is no bold (PlayoutBoldLeftOut). Cues that begin together in a channel are one
/// caption (qlx::subtitles::shownTogether()).
///
/// Fails with PlayoutTimeWrong where start or end is no time, is negative, or has no number of a frame.
[[nodiscard]] QLX_EXPORT Result<cea608::Caption> captionOf(const subtitles::Cue& cue, FrameRate rate,
                                                           const CaptionOptions& options = {},
                                                           FindingSink* findings = nullptr);

/// The packet of a frame that carries these pairs and nothing else: as many triplets as frames of the rate have
/// (qlx::cc::slotsOf), those of CEA-608 first, the others padding.
/// @param counter cdp_hdr_sequence_cntr.
[[nodiscard]] QLX_EXPORT cc::Cdp cdpOf(const cea608::FramePairs& pairs, FrameRate rate, std::uint16_t counter) noexcept;

/// Takes cues, those of a channel in the order of their starts, and gives the packet of frame after frame. No cue is on
/// air before its start; one that does not fit is shown late, with a finding (qlx::cea608::Writer says when that is).
///
/// The offset of findings is the number of the cue, counted by add() from 0.
class CaptionPlayout {
public:
    /// Has nothing to send yet; the next frame is the first one of the options, and frame 0 is at 0 s.
    explicit CaptionPlayout(FrameRate rate, const cea608::WriterOptions& options = {})
        : _rate(rate), _writer(rate, options) {}

    /// Takes a cue. The offset of `options` does not count.
    /// @return False, with a finding, when it is left out: its times are none, it has no text, it is shorter than a
    /// frame, or does not start behind the start of the one before it in its channel.
    QLX_EXPORT bool add(const subtitles::Cue& cue, CaptionOptions options = {}, FindingSink* findings = nullptr);

    /// Takes extended data (qlx::cea608::Writer::setXds()).
    void setXds(std::vector<cea608::XdsPacket> packets, std::uint32_t every = 10, FindingSink* findings = nullptr) {
        _writer.setXds(std::move(packets), every, findings);
    }

    /// The packet of the next frame. Its counter is the low 16 bits of the frame's number.
    [[nodiscard]] QLX_EXPORT cc::Cdp next(FindingSink* findings = nullptr);

    /// What became of cues with the last frame, in order; valid until the next call of next().
    [[nodiscard]] std::span<const cea608::CaptionEvent> events() const noexcept { return _writer.events(); }

    /// The number of the next frame.
    [[nodiscard]] std::uint64_t frame() const noexcept { return _writer.frame(); }
    /// Whether all was sent, and nothing stays on the screen.
    [[nodiscard]] bool isDone() const noexcept { return _writer.isDone(); }

private:
    FrameRate _rate;
    cea608::Writer _writer;
    std::uint64_t _cues = 0;
};

}  // namespace qlx::playout
