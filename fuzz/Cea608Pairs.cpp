// The CEA-608 receiver: whatever pairs come, all eight channels have a screen of their size that can be printed, and
// each pair has a meaning that gives it back, and a name.
#include "FuzzSupport.h"
#include "pictures/ScreenText.h"

#include <qlx/cea608/receiver.h>

#include <algorithm>

using qlxfuzz::require;
using namespace qlx::tool;
namespace screen = qlx::screen;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostBytes = 256;
    size = std::min(size, kMostBytes);
    for (std::size_t index = 0; index + 1 < size; index += 2) {
        const qlx::cea608::Code code = qlx::cea608::codeOf(data[index], data[index + 1]);
        const auto pair = qlx::cea608::pairOf(code);
        require(pair.has_value() == (code.kind >= qlx::cea608::CodeKind::Control));
        require(!pair || qlx::cea608::withOddParity(*pair) ==
                             qlx::cea608::withOddParity(qlx::cea608::Pair{data[index], data[index + 1]}));
        require(!qlx::cea608::nameOfPair(data[index], data[index + 1]).empty());
        require(!qlx::cea608::nameOfPair(data[index], data[index + 1], 1).empty());
    }
    for (std::size_t number = 0; number < 8; ++number) {
        const auto& channels = number < 4 ? qlx::cea608::kChannels : qlx::cea608::kTextChannels;
        qlx::cea608::Receiver decoder(channels[number % 4], {.ignoresParity = size % 2 != 0});
        qlx::Findings findings;
        screen::Screen screen = decoder.screen();
        for (std::size_t index = 0; index + 1 < size; index += 2) {
            if (decoder.receive(data[index], data[index + 1], &findings, index)) {
                screen = decoder.screen();
            }
        }
        require(screen == decoder.screen());
        for (const qlx::Finding& finding : findings) {
            require(finding.offset < size && finding.text().rfind("finding ", 0) != 0);
        }
        require(screen.columns == 34 && screen.rows() == 15);
        require(screenRows(screen).size() == screenLines(screen, true).size());
    }
    return 0;
}
