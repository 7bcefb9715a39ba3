// The tool's CEA-608 decoder: whatever pairs come, all four channels have a screen of their size that can be printed.
#include "Cea608Screen.h"
#include "FuzzSupport.h"
#include "ScreenText.h"

#include <algorithm>

using qlxfuzz::require;
using namespace qlx::tool;
namespace screen = qlx::screen;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostBytes = 256;
    size = std::min(size, kMostBytes);
    for (const CaptionChannel channel : {CaptionChannel{1, 1}, {1, 2}, {2, 1}, {2, 2}}) {
        Cea608Screen decoder(channel);
        screen::Screen screen = decoder.screen();
        for (std::size_t index = 0; index + 1 < size; index += 2) {
            if (decoder.receive(data[index], data[index + 1])) {
                screen = decoder.screen();
            }
        }
        require(screen == decoder.screen());
        require(screen.columns == 34 && screen.rows() == 15);
        require(screenRows(screen).size() == screenLines(screen, true).size());
    }
    return 0;
}
