// Where the times of cues go: to another beginning, at another speed, apart from each other.
#pragma once

#include <qlx/base/frame_rate.h>
#include <qlx/subtitles/cue.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qlx::tool {

/// -1, 0 or 1: which of two valid times is the earlier one.
[[nodiscard]] int compared(const MediaTime& left, const MediaTime& right) noexcept;

/// How times are changed, in this order.
struct TimeChange {
    std::optional<MediaTime> fromStart;  ///< Subtracted, where a cue does not begin before it.
    std::int32_t scaleFactor = 1;        ///< Multiplied with.
    std::int32_t scaleDivisor = 1;       ///< Divided by.
    std::optional<MediaTime> offset;     ///< Added.
    std::optional<MediaTime> toStart;    ///< Added.

    [[nodiscard]] bool isNothing() const { return !fromStart && !offset && !toStart && scaleFactor == scaleDivisor; }
};

/// Changes the times of a cue and of its parts.
/// @return False when it begins before TimeChange::fromStart, which is not subtracted then.
bool changeTimes(const TimeChange& change, subtitles::Cue& cue);

/// The frame with which a time is on air: the one that it is the time of, to the millisecond as which most files state
/// such times; else the first one behind it, as nothing is shown before its time. None for what is no time of a frame.
[[nodiscard]] std::optional<std::uint64_t> frameOnAir(const MediaTime& time, FrameRate rate) noexcept;

/// Puts the times of a cue and of its parts on frames, all as frameOnAir() has it: cues that touch go on touching.
/// @return True when it would be shown no more, and lasts a frame.
bool putOnFrames(FrameRate rate, subtitles::Cue& cue);

/// What becomes of cues that are shown at the same time.
enum class Overlap : std::uint8_t {
    Keep,     ///< They stay as they are.
    Compose,  ///< They become one cue while both are shown, or one for each place (ComposedPlaces).
    Cut,      ///< The earlier one ends when the later one begins.
};

/// Where cues are composed that stand at different places: in one, with rows of all places, as a screen has them; or in
/// one for each region or place.
enum class ComposedPlaces : std::uint8_t { Together, Apart };

/// What becomes of a cue on its way.
enum class CueChange : std::uint8_t {
    Before,      ///< It begins before TimeChange::fromStart.
    Moved,       ///< It came behind a later one.
    Late,        ///< The same, too far to be put in front of it.
    Cut,         ///< It ends when another one begins.
    Composed,    ///< It is made of several.
    Reduced,     ///< It is part of such ones, which have the name, language, group and settings of another one.
    Uncomposed,  ///< It stays as it is, as others are shown with it as many as are composed.
    Wide,        ///< It is wider or higher than asked for.
    Lengthened,  ///< It was shorter than a frame.
    InFront,     ///< It begins in front of what is written.
};

/// Gets what becomes of a cue, with its times as they are then.
using TakeCueChange = std::function<void(const subtitles::Cue& cue, CueChange change)>;

/// What a cue takes in memory, about.
[[nodiscard]] std::size_t bytesOf(const subtitles::Cue& cue);

/// Puts cues into the order of their starts and apart from each other.
class CueOrder {
public:
    /// As many cues are held back, less where they take more than kWindowBytes.
    static constexpr std::size_t kWindow = 1000;
    static constexpr std::size_t kWindowBytes = std::size_t{16} << 20U;
    /// As many cues are composed into one: what comes of them grows as their square.
    static constexpr std::size_t kMostTogether = 50;

    CueOrder(Overlap overlap, std::function<void(subtitles::Cue)> take, TakeCueChange changed,
             ComposedPlaces places = ComposedPlaces::Together);

    void push(subtitles::Cue cue);
    void finish();

private:
    struct Shown {
        subtitles::Cue cue;
        bool isSaid = false;  ///< Compose: what it says besides its text has been given with it, or with another one.
    };

    void give(subtitles::Cue cue);
    void sort();
    void giveFirst();
    void addToAir(subtitles::Cue cue);
    void compose(const MediaTime* to);
    void giveOnAir(const MediaTime& to);
    [[nodiscard]] bool saysSame(const subtitles::Cue& first, const subtitles::Cue& cue) const;
    void giveNumbered(subtitles::Cue cue);

    Overlap _overlap;
    ComposedPlaces _places;
    std::function<void(subtitles::Cue)> _take;
    TakeCueChange _changed;
    std::vector<subtitles::Cue> _window;  ///< Held back.
    std::size_t _heldBytes = 0;           ///< That they take.
    bool _isSorted = true;                ///< They are in the order of their starts.
    MediaTime _latest;                    ///< Start of theirs.
    std::vector<Shown> _onAir;            ///< Compose: not given whole as yet. Cut: the last one.
    MediaTime _until;                     ///< Compose: as far as has been given.
    MediaTime _firstEnd;                  ///< Compose: of those on air.
    std::uint64_t _number = 0;            ///< Compose: of the last one that was given.
    std::optional<MediaTime> _lastStart;
};

}  // namespace qlx::tool
