#include "commands/convert/TransportFrames.h"

#include "io/Errors.h"
#include "io/InputFile.h"
#include "io/Text.h"
#include "streams/OpenFrames.h"
#include "streams/TransportRate.h"

#include <qlx/streams/contents.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <system_error>

namespace qlx::tool {

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
