// What is on air as cues: a cue for each screen, from the frame that shows it to the one that changes it.
#pragma once

#include "io/Frame.h"

#include <qlx/base/finding.h>
#include <qlx/streams/on_air.h>
#include <qlx/subtitles/cue.h>
#include <qlx/teletext/sets.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace qlx::tool {

/// The rows of a screen that have text, in the order in which they are read, with their places and colours. Its times are
/// not set.
[[nodiscard]] subtitles::Cue cueOfScreen(const screen::Screen& screen, const teletext::CharacterSet& set = {});

/// Makes cues of what a page or channel shows.
///
/// Captions that are painted letter by letter, and rows that roll up, change the screen with every pair: as long as text
/// only comes to what is shown, and not more than half a second passes in between, it is one cue. Of captions a row that
/// is being written is one cue with what it is written below however long it takes, also where its last letters are taken
/// back. What rows that only roll up still show belongs to the cue in front of them: it ends with the next letter, or, where
/// that comes within half a second, at the carriage return.
class ScreenCues {
public:
    ScreenCues(std::unique_ptr<streams::OnAir> onAir, std::function<void(subtitles::Cue)> take);

    /// Takes the next frame, which has a time.
    void receive(const Frame& frame, FindingSink* findings);

    /// Ends what is shown a frame behind the last one. Gives whether there was anything.
    /// @param findings Gets what has no end; may be null.
    bool finish(FindingSink* findings);

    [[nodiscard]] const streams::OnAir& onAir() const { return *_onAir; }

private:
    void look(const MediaTime& time);
    void change(const MediaTime& time);
    void end(const MediaTime& time);

    std::unique_ptr<streams::OnAir> _onAir;
    std::function<void(subtitles::Cue)> _take;
    screen::Screen _screen;                 ///< Of the cue.
    screen::Screen _shown;                  ///< Of the last frame: rows of the same may have rolled up.
    std::optional<std::size_t> _rowInHand;  ///< The one that the last frame changed, where it was one alone.
    teletext::CharacterSet _set;            ///< Of the screen.
    std::optional<MediaTime> _rolled;       ///< When they did, and nothing has come since.
    MediaTime _since;
    MediaTime _changed;
    std::optional<MediaTime> _last;
    std::optional<MediaTime> _before;
    std::uint64_t _cues = 0;
};

}  // namespace qlx::tool
