#include "commands/convert/TransportFrames.h"

#include "io/Errors.h"
#include "io/InputFile.h"
#include "io/Text.h"
#include "streams/OpenFrames.h"

#include <qlx/streams/contents.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <memory>
#include <system_error>

namespace qlx::tool {

namespace {

bool isTeletextAlone(const Frame& frame) {
    return !frame.teletext.empty() && frame.packets.empty() && frame.triplets.empty();
}

/// The least time between two successive frames of pictures.
std::optional<double> leastDistance(const std::vector<Frame>& frames) {
    std::optional<double> least;
    std::optional<double> last;
    for (const Frame& frame : frames) {
        if (!frame.pts || isTeletextAlone(frame)) {
            continue;
        }
        const double time = secondsFrom(*frame.pts);
        if (last && time > *last) {
            least = std::min(least.value_or(time - *last), time - *last);
        }
        last = time;
    }
    return least;
}

bool isDuration(double seconds, FrameRate rate) {
    // Frames of 59.94 and of 60 a second are as little apart as this, and a tick of 90 kHz is less.
    constexpr double kNear = 1.5e-5;
    return std::abs(secondsFrom(frameDuration(rate)) - seconds) < kNear;
}

/// Whether teletext stands in the middle between frames of 25 a second, counted from the first one's time: times may be some
/// milliseconds beside those of their frames, and one alone may be far from them.
bool isBetweenFramesOf25(const std::vector<Frame>& frames) {
    constexpr double kFrame = 0.040;
    constexpr double kQuarter = kFrame / 4;
    constexpr std::size_t kFewest = 8;
    std::optional<double> first;
    std::size_t count = 0;
    std::size_t between = 0;
    for (const Frame& frame : frames) {
        if (frame.pts && isTeletextAlone(frame)) {
            const double time = secondsFrom(*frame.pts);
            first = first.value_or(time);
            const double away = std::abs(std::remainder(time - *first, kFrame));
            ++count;
            between += away > kQuarter ? 1 : 0;
        }
    }
    return between * kFewest >= count && between > 0;
}

}  // namespace

void FrameJoin::take(Frame& frame) {
    // Times that stand still would fill a frame without end; two fields have 32 lines.
    constexpr std::size_t kMostLines = 64;
    const bool hasRoom = _held && _held->teletext.size() <= kMostLines;
    if (hasRoom && _held->number == frame.number && (isTeletextAlone(*_held) || isTeletextAlone(frame))) {
        _held->teletext.insert(_held->teletext.end(), frame.teletext.begin(), frame.teletext.end());
        if (!isTeletextAlone(frame)) {
            frame.teletext = std::move(_held->teletext);
            _held = std::move(frame);
        }
        return;
    }
    finish();
    _held = std::move(frame);
}

void FrameJoin::finish() {
    if (_held) {
        _give(*_held);
        _held.reset();
    }
}

std::optional<FrameRate> rateOfTransport(const std::vector<Frame>& first) {
    if (const auto distance = leastDistance(first)) {
        const auto* const found = std::find_if(std::begin(kFrameRates), std::end(kFrameRates),
                                               [&](FrameRate rate) { return isDuration(*distance, rate); });
        return found == std::end(kFrameRates) ? std::nullopt : std::optional(*found);
    }
    if (std::none_of(first.begin(), first.end(), isTeletextAlone)) {
        return std::nullopt;
    }
    return isBetweenFramesOf25(first) ? FrameRate::Fps50 : FrameRate::Fps25;
}

std::vector<streams::ts::TeletextPage> describedPages(const std::string& path, const FrameSourceOptions& source) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) {
        return {streams::ts::TeletextPage()};
    }
    InputFile file(path);
    const std::unique_ptr<FrameInput> reader = openFrames(file, source);
    streams::ContentReader contents;
    std::vector<FrameProblem> problems;
    try {
        for (Frame frame; reader->next(frame, problems); problems.clear()) {
            contents.receive(frame);
        }
    } catch (const Failure&) {
        // It is said when the file is read to be written: the pages in front of it are there.
    }
    // The map of a transport stream knows more of its pages than what they show.
    std::vector<streams::ts::TeletextPage> pages = reader->teletextPages();
    for (const streams::Content& content : contents.contents()) {
        std::uint16_t number = 0;
        std::from_chars(content.name.data(), content.name.data() + content.name.size(), number, 16);
        const bool isKnown = std::any_of(pages.begin(), pages.end(),
                                         [&](const streams::ts::TeletextPage& page) { return page.page == number; });
        if (content.kind != streams::ContentKind::TeletextPage || isKnown) {
            continue;
        }
        streams::ts::TeletextPage& page = pages.emplace_back();
        page.page = number;
        if (content.language.size() == page.language.size()) {
            std::copy(content.language.begin(), content.language.end(), page.language.begin());
        }
    }
    if (pages.size() > streams::ts::kMostDescribedPages) {
        printNote("warning: " + file.name() + ": a descriptor has room for " +
                  counted(streams::ts::kMostDescribedPages, "page") + " of " + std::to_string(pages.size()));
        pages.resize(streams::ts::kMostDescribedPages);
    }
    return pages;
}

}  // namespace qlx::tool
