// Captions and text of all channels of line 21, and extended data services (CTA-608-E; 47 CFR 15.119), as the byte pairs
// of each frame.
//
//     qlx::cea608::Writer writer(qlx::FrameRate::Fps5994);
//     writer.add(caption, &findings);
//     for (std::uint64_t frame = 0; !writer.isDone(); ++frame) {
//         const qlx::cea608::FramePairs pairs = writer.next(&findings);
//         if (pairs.field1) { send(pairs.field1->first, pairs.field1->second); }
//     }
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/ring.h>
#include <qlx/cea608/caption.h>
#include <qlx/cea608/xds.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qlx::cea608 {

/// How a writer sends.
struct WriterOptions {
    bool doublesCodes = true;  ///< Each pair whose first byte is 10h to 1Fh is sent twice.
    std::uint32_t clearAfter =
        4;  ///< Seconds: rows of a roll-up caption whose next one begins later are erased at its end.
    std::uint64_t firstFrame = 0;  ///< The number of the frame that next() gives first.
};

/// Captions and texts with times behind this frame are left out: some thousand million years.
inline constexpr std::uint64_t kGreatestCaptionFrame = std::uint64_t{1} << 62U;

/// What becomes of a caption.
enum class CaptionStep : std::uint8_t {
    Begun,  ///< Its first pair is sent; also of a text.
    Shown,  ///< It is on the screen: with the first pair of EOC, otherwise as it is begun.
    Ended,  ///< It is erased, or another one takes its place.
};

/// The same of one of them.
struct CaptionEvent {
    std::uint64_t number = 0;               ///< Counted by add() and addText() from 0.
    CaptionStep step = CaptionStep::Begun;  ///< What it is.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const CaptionEvent&, const CaptionEvent&) noexcept = default;
};

/// What a frame carries, with parity bits; none of a field of which it has no pair (qlx::cc::fieldsOfFrame).
struct FramePairs {
    std::optional<Pair> field1;  ///< Of field 1; kNullPair where nothing is to be sent.
    std::optional<Pair> field2;  ///< The same of field 2.

    /// Whether all fields are equal.
    [[nodiscard]] friend constexpr bool operator==(const FramePairs&, const FramePairs&) noexcept = default;
};

/// Takes captions, those of a channel in their order, and gives frame after frame.
///
/// A pop-on caption is loaded while the one before it is shown, as soon as it has been added. It fits when the pairs of
/// its field behind the EOC of that one and before its own start hold its pairs, and the EDM of that one where there is
/// a gap; then its EOC begins at the first pair of its field at or after its start. A caption that does not fit is
/// shown as soon as it is loaded, with a finding, which says how late it is and how many of those pairs it lacks: where
/// that one is late itself, or where it was added late, fewer than the pairs from its start on. A roll-up or paint-on
/// caption lacks all pairs from its start on up to its first one. EDM stands at the end, and is left out when the next
/// EOC follows at once, and where the next caption begins before that end: what is shown stays then until the other one
/// takes its place, also when that is late.
///
/// A caption of any style that is shown only at its end or behind it stays for its own length from then on, so that it
/// can be read; where the next one starts before that is over, it stays until that one takes its place, also when that is
/// late, and no EDM is sent in front of a pop-on or roll-up one. That time counts in all that is said of ends here; how
/// much later than it should the caption ends is a finding.
///
/// EDM has its time within the load, which it does not end. What belongs together, a code and its repetition (CTA-608-E,
/// D.2: in successive frames), a stand-in and its extended character, is not sent across it: where no such group ends in
/// front of EDM, pairs stay unused there, which the load needs in addition. One that has no pair to spare does not fit
/// then.
///
/// Roll-up and paint-on captions are written from their start on; a roll-up one is erased at its end only when the next
/// begins much later. In front of a paint-on caption EDM is always sent; where that one begins before the one before it is
/// over, as it is, or a pair later, EDM is over as it begins, as far as the one before it is written by then.
///
/// What is due (EOC, EDM) goes first, then captions of the first channel of a field, of the second, then text in the same
/// order, and in field 2 extended data; what goes on behind something else sends its mode code, a packet its continue
/// code. What the writer does not know yet when the pair is due does not count: a caption is
/// added at the latest before the end of the one before it, and for it to fit before that one is shown.
///
/// The offset of findings is the number of the caption or text, counted by add() and addText() from 0.
class Writer {
public:
    /// Has nothing to send yet; the next frame is the first one of the options.
    QLX_EXPORT explicit Writer(FrameRate rate, const WriterOptions& options = {});

    /// Takes a caption.
    /// @return False, with a finding, when it is left out: nothing of it is visible, it does not end behind its start,
    /// ends behind kGreatestCaptionFrame, or does not start behind the start of the caption before it in its channel.
    QLX_EXPORT bool add(const Caption& caption, FindingSink* findings = nullptr);

    /// Takes a text. It is sent from its start on as fast as captions let it, behind those of its channel that were added
    /// before. It is left out, with a finding, when it starts behind kGreatestCaptionFrame.
    QLX_EXPORT void addText(const TextMessage& text, FindingSink* findings = nullptr);

    /// Takes packets of extended data in place of those before. They are sent one behind the other, and all of them once
    /// more as often as it is said.
    /// @param packets In their order; those that cannot be sent (appendXdsPairs) are left out.
    /// @param every Seconds, at least one.
    /// @param findings Those that are left out; the offset is the number in `packets`, from 0.
    QLX_EXPORT void setXds(std::vector<XdsPacket> packets, std::uint32_t every = 10, FindingSink* findings = nullptr);

    /// The pairs of the next frame.
    [[nodiscard]] QLX_EXPORT FramePairs next(FindingSink* findings = nullptr);

    /// What became of captions and texts with the last frame, in order; valid until the next call of next().
    [[nodiscard]] std::span<const CaptionEvent> events() const noexcept { return _events; }

    /// The number of the next frame.
    [[nodiscard]] std::uint64_t frame() const noexcept { return _frame; }
    /// How many captions or texts of a channel are not yet on the screen as a whole.
    [[nodiscard]] std::size_t waiting(Channel channel) const noexcept { return lane(channel).cues.size(); }
    /// Whether all was sent, no caption stays on the screen, and no packet of extended data lacks its end.
    [[nodiscard]] QLX_EXPORT bool isDone() const noexcept;

private:
    struct Cue {
        std::uint64_t number = 0;
        std::uint64_t start = 0;  ///< Slot of its field, as all times of a lane.
        std::uint64_t end = 0;
        std::size_t pairs = 0;  ///< Not sent yet, EOC apart.
        Code mode;
        CaptionStyle style = CaptionStyle::PopOn;
        bool isText = false;
        bool isBegun = false;
        std::uint64_t ownEnd =
            0;  ///< The end that it had, if the next one cuts it: a pop-on one takes its place up to then.
        std::uint64_t shownAt = 0;    ///< Of what is shown.
        std::uint64_t knownFrom = 0;  ///< The slot that was the next one as it was added.
    };

    /// A channel, or its text.
    struct Lane {
        Ring<Cue> cues;
        Ring<CodePair> pairs;
        std::optional<Cue> shown;
        std::uint64_t lastStart = 0;  ///< Frame.
        std::uint64_t lastEnd = 0;    ///< The same.
        std::uint64_t freeFrom = 0;   ///< The slot behind EOC, or the last pair, of the last caption that is there.
        bool hasStarted = false;      ///< A caption was added.
    };

    static constexpr std::size_t kCaptionLanes = 2;
    static constexpr std::size_t kLanes = 4;

    /// A field: captions and texts of its two channels, and pairs that are sent one behind the other.
    struct Field {
        std::array<Lane, kLanes> lanes;
        std::vector<Pair> burst;
        std::size_t sent = 0;           ///< Of `burst`.
        std::size_t selected = kLanes;  ///< The lane whose text may follow without a mode code; kLanes for none.
    };

    /// Extended data.
    struct Xds {
        std::vector<XdsPacket> packets;
        std::size_t next = 0;  ///< The next one of them.
        XdsPacket current;
        std::vector<Pair> pairs;  ///< Of `current`.
        std::size_t sent = 0;     ///< Of `pairs`.
        bool isInterrupted = false;
        std::uint64_t again = 0;   ///< The slot from which on all of them are sent once more.
        std::uint64_t period = 0;  ///< Slots.
    };

    [[nodiscard]] const Lane& lane(Channel channel) const noexcept {
        return _fields[channel.field == 2 ? 1U : 0U]
            .lanes[(channel.isText ? kCaptionLanes : 0U) + (channel.channel == 2 ? 1U : 0U)];
    }
    [[nodiscard]] std::uint64_t slotAtOrAfter(std::size_t field, std::uint64_t frame) const noexcept;
    [[nodiscard]] std::uint64_t frameOfSlot(std::size_t field, std::uint64_t slot) const noexcept;
    [[nodiscard]] std::size_t codeLength() const noexcept { return _options.doublesCodes ? 2 : 1; }
    Pair nextPair(std::size_t field, std::uint64_t slot, FindingSink* findings);
    bool sendDue(std::size_t field, std::size_t channel, std::uint64_t slot, FindingSink* findings);
    bool sendPairs(std::size_t field, std::size_t channel, std::uint64_t slot, FindingSink* findings);
    bool sendXds(std::uint64_t slot);
    [[nodiscard]] static std::uint64_t overTime(const Cue& shown) noexcept;
    [[nodiscard]] static bool isOvertaken(const Lane& lane) noexcept;
    [[nodiscard]] std::uint64_t eraseTime(const Lane& lane) const noexcept;
    [[nodiscard]] std::uint64_t loadedAt(const Lane& lane, std::uint64_t slot, bool isSelected) const noexcept;
    [[nodiscard]] bool isErased(const Lane& lane, std::uint64_t loaded, std::uint64_t time) const noexcept;
    [[nodiscard]] std::uint64_t nextDue(const Field& field, std::size_t sending, std::uint64_t slot,
                                        std::size_t count) const noexcept;
    void push(Field& field, const Code& code) const;
    void start(std::size_t field, const Lane& lane, const Cue& cue, std::uint64_t slot, FindingSink* findings);
    void end(std::size_t field, const Lane& lane, std::uint64_t slot, FindingSink* findings);

    FrameRate _rate;
    WriterOptions _options;
    bool _fieldsAlternate;
    std::uint64_t _clearAfter;  ///< Slots.
    std::uint64_t _frame = 0;
    std::uint64_t _added = 0;
    std::array<Field, 2> _fields;
    Xds _xds;
    std::vector<CodePair> _encoded;
    std::vector<CaptionEvent> _events;
};

}  // namespace qlx::cea608
