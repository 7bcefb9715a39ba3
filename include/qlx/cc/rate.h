// The captions of one frame rate as those of another: 23.976 to 60, any to any.
//
//     qlx::cc::RateChange change({.from = qlx::FrameRate::Fps25, .to = qlx::FrameRate::Fps5994});
//     qlx::cc::RateFrame out;
//     for (std::uint64_t frame = 0; reader.read(cdp); ++frame) {
//         change.feed(frame, cdp, &findings);
//         while (change.next(out, &findings)) write(out);
//     }
//     change.finish();
//     while (change.next(out, &findings)) write(out);
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/ring.h>
#include <qlx/cc/cdp.h>
#include <qlx/cc/slots.h>
#include <qlx/cc/triplet.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace qlx::cc {

namespace detail {

/// A triplet that waits for its frame.
struct WaitingTriplet {
    std::uint64_t inputFrame = 0;     ///< The frame that it came with.
    std::uint64_t firstFrame = 0;     ///< The first frame that it may go out with.
    Triplet triplet;                  ///< What waits.
    std::uint8_t packetTriplets = 0;  ///< In front of a DTVCC packet: triplets of it that have come; otherwise 0.
    bool needsGap = false;            ///< Was apart from the same control code in front of it, and has to stay so.
};

/// The pairs of a field.
struct WaitingField {
    Ring<WaitingTriplet> pairs;               ///< In their order.
    std::optional<std::uint64_t> lastInput;   ///< The frame that the last pair came with.
    Triplet last;                             ///< The last pair that came.
    bool lastIsRepetition = false;            ///< Whether it was the second one of a doubled control code.
    std::optional<std::uint64_t> lastOutput;  ///< The frame that the last pair went out with.
};

/// What the sections of a packet say that go out once.
struct SectionContents {
    bool hasServices = false;                                 ///< Whether there is service information.
    ServiceInformationFlags flags;                            ///< Of the service information.
    BoundedList<CaptionService, kGreatestServices> services;  ///< The same.
    BoundedList<std::uint8_t, kGreatestFutureBytes> future;   ///< Future sections, as they stand on the wire.
    std::uint64_t waiting = 0;                                ///< How many wait that say this.

    /// Whether both say the same.
    [[nodiscard]] QLX_EXPORT bool isLike(const SectionContents& other) const noexcept;

    /// The identifier of the first one.
    [[nodiscard]] QLX_EXPORT std::uint8_t id() const noexcept;
};

/// Sections of a packet that wait.
struct WaitingSections {
    std::uint64_t inputFrame = 0;  ///< The frame that they came with.
    std::uint64_t firstFrame = 0;  ///< The first frame that they may go out with.
    std::uint64_t contents = 0;    ///< What they say, counted from the first that came.
};

/// What is known of a frame of the input besides its triplets.
struct InputFrameState {
    std::uint64_t firstFrame = 0;     ///< The first frame of the output at or after it.
    std::uint64_t endFrame = 0;       ///< The first frame of the output at or after the next one.
    bool isCarried = false;           ///< Whether it has captions.
    bool isActive = true;             ///< caption_service_active
    bool hasTimeCode = false;         ///< Whether there is one for the output.
    bool dropsFrames = false;         ///< How the output's time code counts.
    std::uint32_t timeCodeCount = 0;  ///< Frames between midnight and `firstFrame`.
};

/// Where the time codes of a stretch without a jump begin.
struct TimeCodeAnchor {
    std::uint64_t inputFrame = 0;   ///< A frame of the input.
    std::uint32_t inputCount = 0;   ///< Frames between midnight and it.
    bool inputDropsFrames = false;  ///< How they are counted.
    std::uint64_t outputFrame = 0;  ///< A frame of the output.
    std::uint32_t outputCount = 0;  ///< Frames between midnight and it.
};

}  // namespace detail

/// From what to what.
struct RateOptions {
    FrameRate from = FrameRate::Fps2997;  ///< Of the frames that come.
    FrameRate to = FrameRate::Fps2997;    ///< Of the frames that are given.
    /// Sequence counter of the first packet; none: that of the first packet that comes.
    std::optional<std::uint16_t> firstCounter = std::nullopt;
    /// Whether service information and sections that the standard keeps for the future go out as one where several that
    /// wait one behind the other say the same; else each goes out. Of input that has them in every packet a lower rate,
    /// which has fewer packets, then sends them later and later, and the rest behind the end (lateSections()).
    bool joinSections = false;
};

/// What of a kind went out late.
struct RateLateness {
    std::uint64_t count = 0;                ///< How many were sent after more than two seconds.
    std::uint64_t longestMilliseconds = 0;  ///< How long the one of these waited that waited longest.
    std::uint64_t framesBehindEnd = 0;      ///< Frames with some of the kind behind the end of the input.
};

/// A frame of the new rate.
struct RateFrame {
    std::uint64_t number = 0;  ///< Counted from 0; frame 0 begins with frame 0 of the input.
    bool isCarried = false;    ///< Whether the packet is to be sent: false where the input has no captions either.
    Cdp cdp;                   ///< Its caption packet.
};

/// Changes the frame rate of captions.
///
/// Time is kept: what came with a frame goes out with the first frame that begins at the same moment or later and has a
/// place for it, never earlier. CEA-608 pairs of field 1, those of field 2 and DTVCC triplets stay in their order, each
/// kind for itself, in the slots of the new rate (slotsOf(), fieldsOfFrame()). Null pairs, and triplets that are not
/// valid, are no content: they are not taken over but made where nothing waits.
///
/// Receivers can follow: the two parts of a doubled control code stay in successive slots of their field, equal control
/// codes that were apart stay apart (by a null pair), and a DTVCC packet is not begun before the rest of it can follow
/// without padding in between.
///
/// Service information, and sections that the standard keeps for the future, go out in their order, once for each that
/// came, those of one packet with a packet; with RateOptions::joinSections equal ones that wait together go out as one
/// (sectionsJoined()). The time code is counted on from the first one that came, in the new rate's frames, and
/// anew after each jump; at 29.97 and 59.94 with dropped numbers, unless the input has one of these rates and does not
/// drop any, or 23.976, whose labels are right without. An impossible one is left out (RateTimeCodeImpossible).
///
/// Nothing is lost: what waits longer than two seconds is sent nevertheless (RateSentLate, one for each triplet and for
/// the sections of each packet), and what has no place in front of the input's end goes out behind it (RateWaitsAtEnd).
/// Of sections both have the identifier of the first one in place of the cc_type. What waits is kept in memory, 24
/// bytes a triplet and as many the sections of a packet, with 400 more where they say what none of the last sixteen
/// different ones said. Input that keeps to the slots of its own rate makes this grow by less than 30 triplets and 40
/// sections a second; a host that has to live with worse for days looks at waiting(). In a steady course nothing is
/// allocated.
///
/// For one thread at a time.
class RateChange {
public:
    /// Numbers of frames go up to here: more than two years at 60.
    static constexpr std::uint64_t kGreatestFrame = UINT32_MAX;

    /// Begins with frame 0.
    QLX_EXPORT explicit RateChange(const RateOptions& options);

    /// Takes the packet of a frame. Frames come in their order; one may have several packets, or none, and then needs no
    /// call. A frame behind a later one is taken as part of that (RateFrameOutOfOrder). After finish() nothing is taken.
    QLX_EXPORT void feed(std::uint64_t frame, const Cdp& cdp, FindingSink* findings = nullptr);

    /// Takes triplets without a packet around them; no triplets: the frame has no captions.
    QLX_EXPORT void feed(std::uint64_t frame, std::span<const Triplet> triplets, FindingSink* findings = nullptr);

    /// Says that no more frames come: the frames up to the end of the last one are given, and then what still waits.
    QLX_EXPORT void finish() noexcept;

    /// Gives the next frame. False when it depends on frames that have not come (those of the following one or two, and
    /// of a DTVCC packet that has begun); after finish(), when all has been given. The packet is whole: writeCdp() only
    /// adds length and checksum.
    [[nodiscard]] QLX_EXPORT bool next(RateFrame& frame, FindingSink* findings = nullptr);

    /// Triplets that wait.
    [[nodiscard]] std::size_t waiting() const noexcept {
        return _fields[0].pairs.size() + _fields[1].pairs.size() + _dtvcc.size();
    }
    /// Triplets, and sections of a packet, that were sent after more than two seconds.
    [[nodiscard]] std::uint64_t sentLate() const noexcept { return _lateTriplets.count + _lateSections.count; }
    /// The triplets of these.
    [[nodiscard]] const RateLateness& lateTriplets() const noexcept { return _lateTriplets; }
    /// The sections of these, those of a packet as one. RateOptions::joinSections keeps equal ones from being late.
    [[nodiscard]] const RateLateness& lateSections() const noexcept { return _lateSections; }
    /// Sections of packets that went out with those in front of them, which say the same (RateOptions::joinSections).
    [[nodiscard]] std::uint64_t sectionsJoined() const noexcept { return _sectionsJoined; }
    /// Sections of packets that went out for themselves, with others waiting behind them that say the same.
    [[nodiscard]] std::uint64_t sectionsAlike() const noexcept { return _sectionsAlike; }

private:
    void enterFrame(std::uint64_t& frame, FindingSink* findings);
    void takeTriplets(std::uint64_t frame, std::span<const Triplet> triplets);
    void takePair(const detail::WaitingTriplet& pair);
    void takeDtvcc(detail::WaitingTriplet triplet);
    void takeSections(std::uint64_t frame, const Cdp& cdp);
    void takeTimeCode(std::uint64_t frame, const CdpTimeCode& timeCode, FindingSink* findings);

    [[nodiscard]] std::optional<std::size_t> dtvccOfFrame() const noexcept;
    [[nodiscard]] bool canFollow(std::size_t start, std::size_t packetTriplets) const noexcept;
    [[nodiscard]] bool isAtEnd(FindingSink* findings);
    [[nodiscard]] bool isBehindEnd() const noexcept { return _isFinished && _next >= _decided; }
    bool leaveInputFrames();
    [[nodiscard]] Triplet nextPair(CcType field, FindingSink* findings);
    void countLate(RateLateness& kind, std::uint64_t inputFrame, std::uint8_t what, FindingSink* findings);
    [[nodiscard]] detail::SectionContents takeContents(std::uint64_t which);
    bool putSections(Cdp& cdp, FindingSink* findings);

    RateOptions _options;
    std::array<detail::WaitingField, 2> _fields;
    Ring<detail::WaitingTriplet> _dtvcc;
    Ring<detail::WaitingSections> _sections;
    Ring<detail::SectionContents> _contents;  ///< What they say, from the first one that waits on.
    std::uint64_t _contentsGone = 0;          ///< What was said in front of these.
    Ring<detail::InputFrameState> _inputFrames;
    detail::InputFrameState
        _state;  ///< Of the last frame of the input that is not later than the next one to be given.
    std::optional<detail::TimeCodeAnchor> _anchor;
    std::optional<std::uint64_t> _lastInput;
    std::optional<std::uint8_t> _strangeRate;  ///< Code of the last packet of another rate.
    std::optional<std::uint16_t> _counter;
    std::uint64_t _next = 0;
    std::uint64_t _decided = 0;      ///< Frames in front of this one depend on nothing to come, but for DTVCC packets.
    std::size_t _packetMissing = 0;  ///< Triplets that the last DTVCC packet still lacks.
    std::uint64_t _packetInput = 0;  ///< The last frame with triplets of it.
    RateLateness _lateTriplets;
    RateLateness _lateSections;
    std::uint64_t _sectionsJoined = 0;
    std::uint64_t _sectionsAlike = 0;
    bool _isFinished = false;
    bool _saidWaiting = false;
};

}  // namespace qlx::cc
