// Arbitrary bytes as a SubStation Alpha file: pieces make no difference, and its cues can be written.
#include <qlx/subtitles/ssa.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include "FuzzTextCues.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qlx::subtitles;
    const auto first = qlxfuzz::readInPieces<SsaReader>({data, size}, size + 1);
    qlxfuzz::require(first == qlxfuzz::readInPieces<SsaReader>({data, size}, 3));
    std::string text;
    SubRipWriter subRip;
    WebVttWriter webVtt;
    for (const Cue& cue : first) {
        qlxfuzz::require(!cue.rows.empty());
        for (const Row& row : cue.rows) {
            qlxfuzz::require(row.number <= cue.screenRows && row.column <= cue.screenColumns && row.anchor <= 9);
        }
        (void)subRip.write(cue, text);
        (void)webVtt.write(cue, text);
    }
    return 0;
}
