// What is lost of cues of any rows on their way to a viewer. The first byte says by which system; a line is a row, whose
// first byte says where it stands; an empty line ends a cue. What has been learnt of a cue changes no other's words.
#include "cues/CueLosses.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitleTextLine.h>
#include <QLXClosedCaptionsUtilities/platform/Text.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using qlxfuzz::require;

namespace {

constexpr std::size_t kMostCues = 8;
constexpr std::size_t kMostRows = 30;

using Lines = std::vector<std::shared_ptr<QLXSubtitleTextLine>>;

std::vector<std::shared_ptr<QLXSubtitleRecord>> cuesOf(std::string_view text, std::int32_t mode) {
    std::vector<std::shared_ptr<QLXSubtitleRecord>> cues;
    Lines lines;
    const auto endCue = [&] {
        auto cue = QLXSubtitleRecord::initWithSubtitleMode(mode);
        cue->setSubtitleLines(std::exchange(lines, {}));
        cues.push_back(std::move(cue));
    };
    while (!text.empty() && cues.size() < kMostCues) {
        const std::string_view row = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(row.size() + 1, text.size()));
        if (row.empty() || lines.size() == kMostRows) {
            endCue();
            continue;
        }
        // No reader gives others.
        if (qlx::firstInvalidUTF8Byte(row.substr(1))) {
            continue;
        }
        auto line = std::make_shared<QLXSubtitleTextLine>();
        line->setVerticalPosition(static_cast<std::uint8_t>(row.front()) % 32U);
        line->setTextString(std::string(row.substr(1)));
        lines.push_back(std::move(line));
    }
    endCue();
    return cues;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const qlxfuzz::SilentConsole silence;
    const std::int32_t mode = 1 + data[0] % 2;
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    qlx::tool::CueLosses used(mode);
    for (const auto& cue : cuesOf(text, mode)) {
        const std::string words = used.of(cue);
        require(words == qlx::tool::CueLosses(mode).of(cue));
        require(words == used.of(cue));
        require(words.find('\n') == std::string::npos && words.find('\x1b') == std::string::npos);
        require(!qlx::firstInvalidUTF8Byte(words));
        require(words.size() <= 40 * size + 400);
    }
    return 0;
}
