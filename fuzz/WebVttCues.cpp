// Arbitrary bytes as a WebVTT file: pieces make no difference, and what is read, written and read again stays as it is.
#include <qlx/subtitles/webvtt.h>

#include "FuzzTextCues.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qlx::subtitles;
    const auto first = qlxfuzz::readInPieces<WebVttReader>({data, size}, size + 1);
    qlxfuzz::require(first == qlxfuzz::readInPieces<WebVttReader>({data, size}, 3));
    qlx::Findings findings;
    WebVttWriter writer(&findings);
    const auto write = [&](const std::vector<Cue>& cues) {
        std::string text;
        writer.begin({}, text);
        for (const Cue& cue : cues) {
            (void)writer.write(cue, text);
        }
        return text;
    };
    // Spans may stand in another order, and what looks alike is one: behind that nothing changes any more.
    const std::string text = write(first);
    const auto second = qlxfuzz::readInPieces<WebVttReader>(qlxfuzz::bytesOf(text), text.size() + 1);
    qlxfuzz::require(second.size() == first.size());
    for (std::size_t index = 0; index < first.size(); ++index) {
        qlxfuzz::require(second[index].start == first[index].start && second[index].end == first[index].end);
        for (const Row& row : second[index].rows) {
            qlxfuzz::require(row.text().find_first_of("\r\n") == std::string::npos);
        }
    }
    const std::string again = write(second);
    const auto third = qlxfuzz::readInPieces<WebVttReader>(qlxfuzz::bytesOf(again), again.size() + 1);
    qlxfuzz::require(write(third) == again);
    return 0;
}
