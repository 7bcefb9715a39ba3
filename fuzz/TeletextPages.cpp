// The teletext receiver and the tool's list of it: whatever packets come, a page has its size, and what it shows can be drawn and printed.
#include "FuzzSupport.h"
#include "commands/scan/ScanList.h"
#include "pictures/ScreenText.h"

#include <qlx/teletext/page.h>

#include <algorithm>

using qlxfuzz::require;
using namespace qlx::tool;
namespace screen = qlx::screen;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    // Packets one after the other: their size comes first.
    constexpr std::size_t kMostBytes = 1024;
    std::vector<std::uint8_t> bytes = input.rest();
    bytes.resize(std::min(bytes.size(), kMostBytes));
    qlx::teletext::PageReader page;
    TeletextList list(size % 2 == 0);
    screen::Screen screen = page.screen();
    for (std::size_t begin = 0; begin < bytes.size();) {
        const std::size_t length = std::min<std::size_t>(bytes[begin], bytes.size() - begin - 1);
        const std::vector<std::uint8_t> packet(bytes.begin() + static_cast<std::ptrdiff_t>(begin + 1),
                                               bytes.begin() + static_cast<std::ptrdiff_t>(begin + 1 + length));
        const auto sdp = qlx::teletext::parseSdp(packet);
        if (sdp && page.receive(*sdp)) {
            screen = page.screen();
        }
        require(list.linesOf(packet).size() <= 5);
        begin += 1 + length;
    }
    require(screen == page.screen());
    require(screen.columns == 40 && screen.rows() == 25);
    require(screenLines(screen, true).empty() != screen.hasText());
    require(screenRows(screen).size() == screenLines(screen, false).size());
    return 0;
}
