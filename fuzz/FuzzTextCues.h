// What the fuzz targets of text formats of cues have in common.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Text.h>
#include <qlx/subtitles/cue.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace qlxfuzz {

inline std::span<const std::uint8_t> bytesOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// All cues, each of which is in order.
template <class Reader>
std::vector<qlx::subtitles::Cue> readInPieces(std::span<const std::uint8_t> bytes, std::size_t piece) {
    std::vector<qlx::subtitles::Cue> cues;
    Reader reader;
    const auto take = [&] {
        while (const qlx::subtitles::Cue* const cue = reader.next()) {
            require(cue->start.isValid() && cue->end.value >= cue->start.value && cue->start.value >= 0);
            for (const auto& row : cue->rows) {
                require(!qlx::firstInvalidUTF8Byte(row.text()));
            }
            cues.push_back(*cue);
        }
    };
    for (std::size_t done = 0; done < bytes.size(); done += piece) {
        const auto part = bytes.subspan(done, std::min(piece, bytes.size() - done));
        reader.push(std::vector<std::uint8_t>(part.begin(), part.end()));
        take();
    }
    reader.finish();
    take();
    require(reader.next() == nullptr && cues.size() <= bytes.size());
    return cues;
}

}  // namespace qlxfuzz
