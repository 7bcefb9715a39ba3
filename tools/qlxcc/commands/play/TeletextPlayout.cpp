// Playing out as teletext pages.
#include "commands/play/PlayedCues.h"
#include "commands/play/Playout.h"
#include "cues/CueNotes.h"
#include "cues/CueSchedule.h"
#include "cues/Subtitles.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/playout/teletext.h>
#include <qlx/teletext/packet.h>
#include <qlx/teletext/row_encoder.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// The character set that suits the texts best.
std::uint8_t designationFor(const std::vector<subtitles::Cue>& cues, std::uint8_t region) {
    teletext::SetChoice choice;
    for (const subtitles::Cue& cue : cues) {
        for (const subtitles::Row& row : cue.rows) {
            std::u32string text;
            const std::string bytes = row.text();
            for (std::string_view rest = bytes; !rest.empty();) {
                text += takeCodePoint(rest);
            }
            choice.add(text);
        }
    }
    return choice.designation(region);
}

/// A file and its page.
struct PlayedPage {
    std::string name;  ///< Of the file.
    playout::TeletextOptions options;
};

/// What was found on the way, and what it says of the cues' courses.
class CourseSink final : public FindingSink {
public:
    CourseSink(CueNotes& notes, std::vector<CueCourse>& courses) : _notes(notes), _courses(courses) {}

    void add(const Finding& finding) override {
        _notes.add(finding);
        if (finding.code == FindingCode::TeletextPageLeftOut && finding.offset < _courses.size()) {
            CueCourse& course = _courses[finding.offset];
            course.isLeftOut = course.isLeftOut || !course.shown;
        }
    }

private:
    CueNotes& _notes;
    std::vector<CueCourse>& _courses;
};

/// What is played, of all files.
struct PlayedPages {
    explicit PlayedPages(const PlayOptions& options) : window(options, false) {
        for (const TeletextPlayOptions::Page& page : options.teletext.pages) {
            PlayOptions own = options;
            own.subtitles = page.subtitles;
            PlayedCues file(own);
            const Subtitles subtitles = file.read();
            reportProblems(subtitles, true);
            window.add(file.window());
            std::vector<subtitles::Cue> played = file.inOrder(true);
            file.sayLengthened(subtitles.name);
            isDamaged = isDamaged || subtitles.problems.damages() > 0;
            isLossy = isLossy || subtitles.problems.losses() > 0 || file.areChanged();
            const std::uint8_t designation =
                page.designation ? *page.designation : designationFor(played, options.teletext.playout.region);
            for (subtitles::Cue& cue : played) {
                cues.push_back({std::move(cue), pages.size()});
            }
            pages.push_back(
                {subtitles.name,
                 {.page = page.number, .designation = designation, .isDoubleHeight = options.teletext.isDoubleHeight}});
            names += (names.empty() ? "" : ", ") + subtitles.name;
            cueCount += subtitles.cues;
        }
        std::stable_sort(cues.begin(), cues.end(), [](const PlayedCue& left, const PlayedCue& right) {
            return secondsFrom(left.cue.start) < secondsFrom(right.cue.start);
        });
    }

    struct PlayedCue {
        subtitles::Cue cue;
        std::size_t page = 0;  ///< Its place among the pages.
    };

    PlayWindow window;
    std::vector<PlayedPage> pages;
    std::vector<PlayedCue> cues;  ///< In the order of their starts.
    std::string names;
    std::uint64_t cueCount = 0;  ///< Of the files.
    bool isDamaged = false;      ///< One of the files.
    bool isLossy = false;        ///< The same.
};

class TeletextPlayout final : public Playout {
public:
    TeletextPlayout(const PlayOptions& options, const PlayedPages& played)
        : _options(options), _names(played.names), _cueCount(played.cueCount), _isDamaged(played.isDamaged),
          _isLossy(played.isLossy), _range(played.window.frames(_names)), _pages(played.pages),
          _cuesOfPage(_pages.size()), _notes(_names), _sink(_notes, _courses),
          _playout(frameRateOf(options.rate), playoutOptions(options, _range.first)) {
        if (options.reportsAll) {
            _notes.sayAll();
        }
        played.window.reportFilling(_names);
        for (const PlayedPages::PlayedCue& cue : played.cues) {
            add(cue);
        }
        _notes.say();
    }

    [[nodiscard]] FrameRange range() const override { return _range; }
    [[nodiscard]] std::vector<std::uint64_t> lines() const override {
        const auto& playout = _options.teletext.playout;
        return nominalFrames(_options.rate) > kGreatestInterlaced
                   ? std::vector<std::uint64_t>{playout.firstLine}
                   : std::vector<std::uint64_t>{playout.firstLine, playout.secondLine};
    }
    [[nodiscard]] bool isDone() const override { return _playout.isDone(); }

    [[nodiscard]] Frame next(std::uint64_t number, const MediaTime& pts) override {
        Frame frame;
        frame.number = number;
        frame.pts = pts;
        frame.packets = _playout.next(&_sink);
        for (const teletext::TextEvent& event : _playout.events()) {
            follow(event, number);
        }
        return frame;
    }

    [[nodiscard]] std::unique_ptr<FrameWriter> makeSchedule(OutputFile& output) override {
        auto schedule = std::make_unique<CueScheduleWriter>(output, _options.rate, _courses);
        std::string pages;
        for (const PlayedPage& page : _pages) {
            pages += (pages.empty() ? "" : ", ") + teletext::pageName(page.options.page);
        }
        schedule->writeTitles(_names + ": " + counted(_cueCount, "cue") + " as OP-47 teletext on page" +
                              (_pages.size() > 1 ? "s " : " ") + pages + ", " + std::string(_options.rate.name) +
                              " frames/s");
        return schedule;
    }

    [[nodiscard]] bool isDamaged() const override { return _isDamaged; }
    [[nodiscard]] bool isLossy() const override { return _isLossy || _notes.isLossy(); }
    void finish() override { _notes.finish(); }

private:
    static playout::TeletextPlayoutOptions playoutOptions(const PlayOptions& options, std::uint64_t firstFrame) {
        playout::TeletextPlayoutOptions playout = options.teletext.playout;
        playout.firstFrame = firstFrame;
        return playout;
    }

    void add(const PlayedPages::PlayedCue& played) {
        const PlayedPage& page = _pages[played.page];
        _notes.addCue(played.cue.number, page.name);
        const bool isTaken = _playout.add(played.cue, page.options, &_notes);
        std::string text;
        if (_options.format == PlayFormat::Schedule) {
            text = (_pages.size() > 1 ? teletext::pageName(page.options.page) + ": " : "") + subtitleText(played.cue);
        }
        _courses.push_back({.number = played.cue.number,
                            .text = std::move(text),
                            .due = dueFrame(played.cue, _options.rate).value_or(0),
                            .isLeftOut = !isTaken});
        _pageOfCue.push_back(played.page);
        _cuesOfPage[played.page].cues.push_back(_courses.size() - 1);
    }

    /// An event of a cue is also that of those that began before it on its page and have not had theirs: a page shows
    /// them together.
    void follow(const teletext::TextEvent& event, std::uint64_t number) {
        CuesOfPage& page = _cuesOfPage[_pageOfCue[event.number]];
        const bool isShown = event.step == teletext::TextEvent::Step::Shown;
        for (std::size_t place = page.settled; place < page.cues.size() && page.cues[place] <= event.number; ++place) {
            CueCourse& course = _courses[page.cues[place]];
            if (!course.isLeftOut) {
                course.sent = course.sent.value_or(number);
                course.shown = isShown ? std::optional(number) : std::nullopt;
            }
            page.settled += isShown ? 1 : 0;
        }
    }

    /// The cues of a page, by their places among the courses.
    struct CuesOfPage {
        std::vector<std::size_t> cues;
        std::size_t settled = 0;  ///< Those in front of it are shown, or never will be.
    };

    const PlayOptions& _options;
    std::string _names;
    std::uint64_t _cueCount;
    bool _isDamaged = false;
    bool _isLossy = false;  ///< Something of the files.
    FrameRange _range;
    std::vector<PlayedPage> _pages;
    std::vector<CuesOfPage> _cuesOfPage;  ///< Of each of the pages.
    std::vector<CueCourse> _courses;
    std::vector<std::size_t> _pageOfCue;  ///< Of the same cues.
    CueNotes _notes;
    CourseSink _sink;
    playout::TeletextPlayout _playout;
};

}  // namespace

std::unique_ptr<Playout> makeTeletextPlayout(const PlayOptions& options) {
    return std::make_unique<TeletextPlayout>(options, PlayedPages(options));
}

}  // namespace qlx::tool
