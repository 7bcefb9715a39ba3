// What is on air in frames of any packets: a screen changes only when that is said, and captions are the same whether
// they are in packets or came with the picture.
#include "FuzzSupport.h"

#include <qlx/streams/captions.h>
#include <qlx/streams/on_air.h>

#include <algorithm>
#include <array>
#include <memory>

using qlxfuzz::require;
using namespace qlx::streams;
namespace anc = qlx::anc;

namespace {

/// A page or channel, and its screen.
struct Watched {
    std::unique_ptr<OnAir> onAir;
    qlx::screen::Screen screen = onAir->screen();

    void receive(const Frame& frame) {
        const bool isChanged = onAir->receive(frame);
        qlx::screen::Screen now = onAir->screen();
        require(isChanged || now == screen);
        require(now.rows() == screen.rows() && now.columns == screen.columns);
        screen = std::move(now);
    }
};

/// Takes the next frame off the input. Packets stand one behind the other: a byte that says what it is, whether it is
/// on an odd line and whether it is the frame's last; its size; its data.
Frame takeFrame(qlxfuzz::Input& input, std::uint64_t number) {
    constexpr std::array<anc::PacketId, 3> kIds{anc::ids::kCdp, anc::ids::kCea608, anc::ids::kOp47};
    constexpr unsigned kLast = 0x80;
    Frame frame;
    frame.number = number;
    for (unsigned what = 0; !input.empty() && (what & kLast) == 0;) {
        what = input.takeByte();
        std::vector<std::uint8_t> data(input.takeByte());
        std::generate(data.begin(), data.end(), [&input] { return input.takeByte(); });
        const std::size_t kind = what & 3U;
        if (kind == kIds.size()) {
            frame.triplets = qlx::Data(data);
            continue;
        }
        anc::Packet packet;
        packet.did = kIds[kind].did;
        packet.sdid = kIds[kind].sdid;
        packet.line = what >> 2U & 1U;
        packet.userData.assign(data.begin(), data.end());
        frame.packets.push_back(packet);
    }
    return frame;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostBytes = 2048;
    qlxfuzz::Input input(data, std::min(size, kMostBytes));
    Watched page{teletextOnAir(0x888)};
    Watched first{captionsOnAir(qlx::cea608::kCC1)};
    Watched third{captionsOnAir(qlx::cea608::kCC3)};
    Watched inPicture{captionsOnAir(qlx::cea608::kCC1)};
    for (std::uint64_t number = 0; !input.empty(); ++number) {
        const Frame frame = takeFrame(input, number);
        const qlx::Data triplets = captionTriplets(frame);
        require(frame.triplets.empty() ? triplets.size() % 3 == 0 : triplets == frame.triplets);
        for (Watched* const watched : {&page, &first, &third}) {
            watched->receive(frame);
        }
        Frame same;
        same.number = number;
        same.triplets = triplets;
        inPicture.receive(same);
        require(inPicture.screen == first.screen);
    }
    return 0;
}
