// What a program that consumes the second library does at least: what a file is, and what is on air, by way of the first.
// With the argument `containers` or `no-containers` it tells whether containers can be read as it should be.
#include <qlx/streams/container.h>
#include <qlx/streams/input_kind.h>
#include <qlx/streams/on_air.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace {

/// Whether what is said of a container goes with what can be read here.
bool containersAre(bool areThere) {
    const auto obstacle = qlx::streams::containerObstacle();
    qlx::streams::MemorySource source({});
    qlx::streams::ContainerReader reader(source, qlx::streams::InputKind::Mxf);
    const auto error = reader.open();
    std::puts(obstacle ? obstacle->c_str() : "containers can be read");
    return obstacle.has_value() != areThere && error &&
           (error->code == qlx::FindingCode::ContainerLibraryMissing) == obstacle.has_value();
}

}  // namespace

int main(int count, char** arguments) {
    if (count > 1) {
        return containersAre(arguments[1] == std::string_view("containers")) ? 0 : 1;
    }
    const std::array<std::uint8_t, 6> start{0x00, 0x00, 0x00, 0x01, 0x09, 0xF0};
    if (qlx::streams::inputKindOfBytes(start) != qlx::streams::InputKind::H264) {
        std::puts("an access unit delimiter begins no H.264 stream");
        return 1;
    }
    const auto onAir = qlx::streams::captionsOnAir(qlx::cea608::kCC1);
    qlx::streams::Frame frame;
    // A caption that rolls up, and two letters.
    for (const std::array<std::uint8_t, 3> triplet :
         {std::array<std::uint8_t, 3>{0xFC, 0x94, 0x25}, std::array<std::uint8_t, 3>{0xFC, 0xC1, 0xC2}}) {
        frame.triplets = qlx::Data(triplet);
        (void)onAir->receive(frame);
        ++frame.number;
    }
    if (!onAir->screen().hasText()) {
        std::puts("nothing on air");
        return 1;
    }
    return 0;
}
