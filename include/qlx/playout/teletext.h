// Cues as teletext pages (ETSI EN 300 706), and the subtitling distribution packets of each frame (SMPTE RDD 8).
//
//     qlx::playout::TeletextPlayout playout(qlx::FrameRate::Fps25);
//     playout.add(cue, {.page = 0x888, .designation = 0x04}, &findings);
//     while (!playout.isDone()) {
//         for (const qlx::anc::Packet& packet : playout.next(&findings)) { send(packet); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/anc/packet.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/subtitles/cue.h>
#include <qlx/teletext/page_text.h>
#include <qlx/teletext/sdp_stream.h>
#include <qlx/teletext/writer.h>

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::playout {

/// Where and how a cue is sent.
struct TeletextOptions {
    std::uint16_t page = teletext::kSubtitlePage;  ///< 0x100 to 0x899; its digits are decimal ones.
    std::uint16_t subcode = 0;                     ///< As in teletext::PageHeader.
    std::uint8_t designation = 0;                  ///< Of the character set (teletext::designationOf).
    bool isDoubleHeight = true;                    ///< Letters are two rows high.
    std::uint64_t findingsOffset = 0;              ///< What findings have as their offset.
};

/// The rows of a cue on a page.
///
/// Letters are joined with the marks behind them, and marks that no letter takes, and signs of direction, have no place
/// (TeletextMarkLeftOut). Rows of text are broken at a space where the page has no room for them (in double height 37
/// characters, 36 behind a colour; in single height one more), or behind the last one that has (PlayoutRowBroken).
/// Those that do not fit on the page are left out (PlayoutPageFull). An ellipsis (U+2026) that the set lacks becomes
/// three points where its row has room for them (TeletextCharacterReplaced). Rows stand left, in the middle or right;
/// unchanged ones begin at the left with their own spaces, those of a screen of 40 columns in the column that they
/// name, and those of another screen with their middle where it is there. Codes of a background and of flashing stand
/// in front as far as the row has room. Where the cue names rows of a page (subtitles::teletextRowOf) they stand
/// exactly there, of whatever height; one whose place another row of the cue takes, or that has none below it for
/// double height, stands on the nearest that is free (PlayoutPageRowMoved). Where its rows say no more than its box
/// does, and the box is on the 25 rows and 40 columns of a page and not on those of CEA-608 as well
/// (subtitles::isOnGrid()), they stand on these, as far as the codes in front let them. Other row numbers, 1 to 11, are
/// every second one of the page's rows, so that row n of the cue is row 2n at double height; of single height they are
/// spread over the rows 1 to 23 by the last of them, and the rows of a cue keep their distance from one another.
/// Without numbers the rows end at the bottom, or stand in the middle or at the top as their place in the cue says.
/// There is no bold (PlayoutBoldLeftOut).
[[nodiscard]] QLX_EXPORT std::vector<teletext::PageRow> teletextRowsOf(const subtitles::Cue& cue,
                                                                       const TeletextOptions& options = {},
                                                                       FindingSink* findings = nullptr);

/// How a playout sends.
struct TeletextPlayoutOptions {
    teletext::FrameFields fields = teletext::FrameFields::ByRate;  ///< Of a frame.
    std::uint8_t sdps = 1;          ///< Subtitling distribution packets of a field, 1 to 3 (others: the nearest).
    std::uint32_t repeatAfter = 0;  ///< Seconds after which a page is sent again; 0: never.
    bool isSerial = false;          ///< Pages of all magazines one after the other (C11).
    bool fillsFields = false;       ///< Fields with nothing to send have a packet of filling ones.
    /// Line of the packets of the first field, and of all of progressive frames. 12 and 575 are usual in 1125 lines,
    /// interlaced; no public rule names a line of progressive pictures, which have the first of them: that is the
    /// choice of this library. In 625 lines 21 and 334 are.
    std::uint32_t firstLine = teletext::kFirstSdpLine;
    std::uint32_t secondLine = teletext::kSecondSdpLine;  ///< Line of the packets of the second field.
    std::uint64_t firstFrame = 0;                         ///< The number of the frame that is sent first.
    std::uint8_t region = 0;                              ///< Of receivers, as in teletext::needsDesignationPacket().
};

/// Takes cues, those of a page in the order of their starts, and gives the packets of frame after frame. A cue is shown
/// from the first frame that begins at its start or later to the first one that begins at its end or later;
/// teletext::Writer says when its packets go.
///
/// A page shows the rows of all cues that are on air. Those of one that begins later and collides move up to the next
/// free rows (PlayoutCueMoved), or are left out where there are none (PlayoutCueLeftOut). Subcode and character set of
/// a page are those of its first cue.
///
/// The offset of findings is the number of the cue, counted by add() from 0. What stands on a page at its end, at its
/// start or because of an addition is told of the cue that began last.
class TeletextPlayout {
public:
    /// Has nothing to send yet. Teletext is made for 25 and 50 frames a second; with others the first cue has a finding
    /// (PlayoutRateUnusual).
    QLX_EXPORT explicit TeletextPlayout(FrameRate rate, const TeletextPlayoutOptions& options = {});

    /// Takes a cue. The offset of `options` does not count.
    /// @return False, with a finding, when it is left out: its times are none, it has no text, it is shorter than a
    /// frame, starts before the one in front of it on its page, or has no free rows.
    QLX_EXPORT bool add(const subtitles::Cue& cue, TeletextOptions options = {}, FindingSink* findings = nullptr);

    /// The packets of the next frame; often none.
    [[nodiscard]] QLX_EXPORT std::vector<anc::Packet> next(FindingSink* findings = nullptr);

    /// What has become of cues in the frame that next() gave, by their numbers, up to the next call. Where cues begin
    /// in the same frame of a page, the one that was added last stands for all of them.
    [[nodiscard]] std::span<const teletext::TextEvent> events() const noexcept { return _events; }

    /// The number of the next frame.
    [[nodiscard]] std::uint64_t frame() const noexcept { return _writer.frame(); }
    /// Whether all was sent, and no page shows anything.
    [[nodiscard]] QLX_EXPORT bool isDone() const noexcept;

private:
    struct PlacedCue {
        std::uint64_t number = 0;
        std::uint64_t start = 0;  ///< Frame.
        std::uint64_t end = 0;    ///< Frame.
        std::vector<teletext::CodedRow> rows;
    };

    struct Page {
        TeletextOptions options;      ///< Of its first cue.
        std::vector<PlacedCue> cues;  ///< By their starts; those that are over go.
        std::uint64_t composed = 0;   ///< Frame up to which the writer knows what it shows.
        std::uint64_t lastStart = 0;  ///< Frame.
        std::uint64_t lastState = 0;  ///< Frame from which on the last one is that the writer has.
        bool hasState = false;
    };

    Page& pageOf(const TeletextOptions& options);
    bool place(const Page& page, PlacedCue& cue, const std::vector<teletext::PageRow>& rows,
               const TeletextOptions& options, FindingSink* findings) const;
    [[nodiscard]] static std::optional<std::uint64_t> nextChange(const Page& page);
    void compose(Page& page, std::uint64_t until, bool isFinal, FindingSink* findings);

    FrameRate _rate;
    TeletextPlayoutOptions _options;
    teletext::Writer _writer;
    teletext::SdpStream _stream;
    std::vector<Page> _pages;
    std::uint64_t _cues = 0;
    std::vector<teletext::TextEvent> _events;
};

}  // namespace qlx::playout
