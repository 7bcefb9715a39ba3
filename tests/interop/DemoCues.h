// The cues of the demonstration file, for those who judge captions.
#pragma once

#include "Places.h"

#include <qlx/subtitles/srt.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace qlxtest {

inline std::vector<qlx::subtitles::Cue> demoCues() {
    std::ifstream file(demoSubtitles(), std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    qlx::subtitles::SrtReader reader;
    reader.push({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
    reader.finish();
    std::vector<qlx::subtitles::Cue> cues;
    while (const qlx::subtitles::Cue* const cue = reader.next()) {
        cues.push_back(*cue);
    }
    return cues;
}

}  // namespace qlxtest
