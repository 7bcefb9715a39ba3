// Captions of all services of DTVCC (CTA-708) as the triplets of each frame.
//
//     qlx::cea708::Writer writer(qlx::FrameRate::Fps5994);
//     writer.add(caption, &findings);
//     while (!writer.isDone()) {
//         for (const qlx::cc::Triplet& triplet : writer.next(&findings)) { use(triplet); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/ring.h>
#include <qlx/cc/triplet.h>
#include <qlx/cea708/caption.h>
#include <qlx/cea708/packet.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace qlx::cea708 {

namespace detail {
class FrameBlocks;
}  // namespace detail

/// How a writer sends.
struct ServiceWriterOptions {
    AspectRatio aspectRatio = AspectRatio::Wide;  ///< Of the picture: it says how many columns there are.
    bool usesWideCharacters = false;              ///< What G0 to G3 do not have is sent behind P16.
    /// Seconds: rows of a roll-up caption whose next one begins later are erased at its end.
    std::uint32_t clearAfter = 4;
    std::uint64_t firstFrame = 0;  ///< The number of the frame that next() gives first.
    /// With usesWideCharacters: the 16-bit code of a character, none for one without. Where it is empty they are
    /// UTF-16.
    std::function<std::optional<std::uint16_t>(char32_t character)> wideCode{};
};

/// Captions with times behind this frame are left out: some thousand million years.
inline constexpr std::uint64_t kGreatestCaptionFrame = std::uint64_t{1} << 62U;

/// What becomes of a caption.
enum class CaptionStep : std::uint8_t {
    Begun,  ///< Its first command is sent.
    Shown,  ///< It is on the screen: when its window is shown, otherwise as it is begun.
    Ended,  ///< It is deleted, or another one takes its place.
};

/// The same of one of them.
struct CaptionEvent {
    std::uint64_t number = 0;               ///< Counted by add() from 0.
    CaptionStep step = CaptionStep::Begun;  ///< What it is.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CaptionEvent&, const CaptionEvent&) noexcept = default;
};

/// Takes captions, those of a service in their order, and gives the DTVCC triplets of frame after frame.
///
/// A frame has at most one packet, which ends with it and is as long as it needs to be: at most as many triplets as the
/// rate has for DTVCC (qlx::cc::slotsOf). No command is cut at the end of a block. No delays are sent, so that the
/// input buffer of a service, of 128 bytes, holds at most what a frame has.
///
/// A pop-on caption is loaded while the one before it is shown, as soon as it has been added, into the hidden one of
/// the windows 0 and 1; lower rows that have a window of their own (encodeCaption()) are in 3 or 4 with it. In its
/// first frame one block deletes what is shown and shows what is loaded. It fits when its commands and
/// that block go into the frames behind the start of the one before it, up to and with its own first one; one that does
/// not fit is shown as soon as it is loaded, with a finding. Roll-up captions (in window 2) and paint-on captions are
/// written from their first frame on; of one whose last letters come in the frame of its end, or later, a finding says
/// so. A caption is deleted at its end, or where a pop-on one begins before that, when
/// the other one is shown; the rows of a roll-up one only when the next is
/// none, or begins much later. Another place or number of rows begins with an empty window.
///
/// A caption of any style that is shown only in the frame of its end or behind it stays for its own length from then on,
/// so that it can be read; where the next one starts before that is over, it stays until that one takes its place, also
/// when that is late. That time counts in all that is said of ends here; how much later than it should the caption ends is
/// a finding.
///
/// What is due goes first, then the captions of all services, that with the earliest start in front.
/// What the writer does not know yet when it is due does not count: a caption is added at the latest before
/// the end of the one before it, and for it to fit before that one is shown.
///
/// The offset of findings is the number of the caption, counted by add() from 0.
class Writer {
public:
    /// Has nothing to send yet; the next frame is the first one of the options.
    QLX_EXPORT explicit Writer(FrameRate rate, const ServiceWriterOptions& options = {});

    /// Takes a caption.
    /// @return False, with a finding, when it is left out: nothing of it is visible, its service is none, it does not
    /// end behind its start, it ends behind kGreatestCaptionFrame, or it does not start behind the start of the caption
    /// before it in its service.
    QLX_EXPORT bool add(const Caption& caption, FindingSink* findings = nullptr);

    /// The triplets of the next frame, none where nothing is to be sent; valid until the next call.
    [[nodiscard]] QLX_EXPORT std::span<const cc::Triplet> next(FindingSink* findings = nullptr);

    /// What became of captions with the last frame, in order; valid until the next call of next().
    [[nodiscard]] std::span<const CaptionEvent> events() const noexcept { return _events; }

    /// The number of the next frame.
    [[nodiscard]] std::uint64_t frame() const noexcept { return _frame; }
    /// How many captions of a service are not yet on the screen as a whole.
    [[nodiscard]] QLX_EXPORT std::size_t waiting(std::uint8_t service) const noexcept;
    /// Whether all was sent, and no caption stays on the screen.
    [[nodiscard]] QLX_EXPORT bool isDone() const noexcept;

private:
    /// Of a definition of a window: its command.
    static constexpr std::size_t kDefinitionBytes = 7;

    struct Cue {
        std::uint64_t number = 0;
        std::uint64_t start = 0;
        std::uint64_t end = 0;
        CaptionStyle style = CaptionStyle::PopOn;
        std::uint8_t windows = 0;  ///< Bit n for window n.
        std::uint64_t ownEnd =
            0;  ///< The end that it had, if the next one cuts it: a pop-on one takes its place up to then.
        std::size_t sent = 0;            ///< Of `bytes`.
        std::uint64_t textComplete = 0;  ///< The frame that had the last of its text.
        std::vector<std::uint8_t> bytes{};

        [[nodiscard]] bool isBegun() const noexcept { return sent > 0; }
        [[nodiscard]] bool isSent() const noexcept { return sent == bytes.size(); }
    };

    /// What is on the screen.
    struct Shown {
        std::uint64_t number = 0;
        std::uint64_t start = 0;
        std::uint64_t end = 0;
        CaptionStyle style = CaptionStyle::PopOn;
        std::uint8_t windows = 0;
        std::uint64_t ownEnd = 0;
        std::uint64_t shownAt = 0;
        std::array<std::uint8_t, kDefinitionBytes> definition{};

        /// The frame up to which it is to be seen: where it has missed its end it has its own length, without what the
        /// next one cuts of it.
        [[nodiscard]] std::uint64_t over() const noexcept {
            return shownAt < end ? end : shownAt + std::max(end, ownEnd) - start;
        }
    };

    struct Lane {
        std::uint8_t service = 1;
        Ring<Cue> cues{};
        std::optional<Shown> shown{};
        std::uint64_t lastStart = 0;
        std::uint64_t lastEnd = 0;
        bool hasStarted = false;        ///< A caption was added.
        bool usesSecondWindow = false;  ///< The next pop-on or paint-on caption.
        std::uint64_t notBefore = 0;    ///< The frame in which it may send again.
    };

    [[nodiscard]] Lane* laneToLoad() noexcept;
    void sendDue(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings);
    void load(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings);
    bool begin(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings);
    bool swap(Lane& lane, detail::FrameBlocks& blocks, FindingSink* findings);
    [[nodiscard]] bool isErased(const Lane& lane) const noexcept;
    void show(Lane& lane, const Cue& cue, FindingSink* findings);
    void endShown(Lane& lane, FindingSink* findings);

    FrameRate _rate;
    ServiceWriterOptions _options;
    std::uint64_t _clearAfter;  ///< Frames.
    std::uint64_t _frame;
    std::uint64_t _added = 0;
    unsigned _sequence = 0;
    std::vector<Lane> _lanes;  ///< By service.
    std::vector<CaptionEvent> _events;
    std::array<cc::Triplet, kGreatestPacketBytes / 2> _triplets{};
};

}  // namespace qlx::cea708
