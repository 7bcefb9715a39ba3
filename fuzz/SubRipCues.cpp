// Arbitrary bytes as a SubRip file: pieces make no difference, and what is read, written and read again stays as it is.
#include <qlx/subtitles/subrip.h>

#include "FuzzTextCues.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace qlx::subtitles;
    const auto first = qlxfuzz::readInPieces<SubRipReader>({data, size}, size + 1);
    qlxfuzz::require(first == qlxfuzz::readInPieces<SubRipReader>({data, size}, 3));
    qlx::Findings findings;
    SubRipWriter writer(&findings);
    std::string text;
    for (const Cue& cue : first) {
        (void)writer.write(cue, text);
    }
    if (findings.empty()) {
        const auto second = qlxfuzz::readInPieces<SubRipReader>(qlxfuzz::bytesOf(text), text.size() + 1);
        qlxfuzz::require(second == first);
    }
    return 0;
}
