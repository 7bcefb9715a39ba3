// What is in a file: its channels, texts, services, extended data, pages and text tracks.
#pragma once

#include "io/Frame.h"
#include "io/OutputFile.h"

#include <qlx/base/finding.h>
#include <qlx/streams/contents.h>
#include <qlx/streams/text_tracks.h>
#include <qlx/streams/ts/tables.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace qlx::tool {

/// Writes, behind the last frame, a line for each with its language, its first and last time and how many captions it has;
/// or a JSON object of the same.
class ContentListWriter final : public FrameWriter {
public:
    ContentListWriter(OutputFile& output, bool asJson, bool ignoresParity)
        : _output(output), _asJson(asJson), _reader({.ignoresParity = ignoresParity}) {}

    /// Before the first frame: who is told what is wrong with extended data; it must outlive the frames.
    void setFindings(FindingSink* findings) noexcept { _findings = findings; }

    /// Before the end: what the file says of its teletext pages.
    void name(const std::vector<streams::ts::TeletextPage>& pages) {
        for (const streams::ts::TeletextPage& page : pages) {
            _reader.nameLanguage(page.page, {page.language.data(), page.language.size()});
        }
    }

    /// Before the end: the text tracks, of which only the names are known here.
    void name(std::vector<streams::TextTrack> tracks) { _tracks = std::move(tracks); }
    [[nodiscard]] bool hasTracks() const { return !_tracks.empty(); }

    void write(const Frame& frame) override;
    void finish() override;

private:
    void writeTable(const std::vector<streams::Content>& contents);
    void writeJson(const std::vector<streams::Content>& contents);

    OutputFile& _output;
    bool _asJson;
    streams::ContentReader _reader;
    FindingSink* _findings = nullptr;
    std::vector<streams::TextTrack> _tracks;
    std::uint64_t _frames = 0;
};

}  // namespace qlx::tool
