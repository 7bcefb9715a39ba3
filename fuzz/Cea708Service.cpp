// Arbitrary triplets, packets and commands of DTVCC: whatever comes, it is read to screens of their size, what was read
// is written, and what is written is read as the same.
#include "FuzzSupport.h"

#include <qlx/cea708/receiver.h>

#include <algorithm>

using namespace qlx::cea708;
using qlxfuzz::require;

namespace {

void checkPacket(const Packet& packet) {
    std::array<std::uint8_t, kGreatestPacketBytes> room{};
    const auto size = writePacket(packet, room);
    require(size && *size == packet.size() && *size % 2 == 0);
    qlx::Findings findings;
    const auto again = parsePacket(std::span(room).first(*size), &findings);
    require(again && *again == packet);
    const auto isKept = [](const qlx::Finding& one) { return one.code == qlx::FindingCode::Cea708ReservedBitsWrong; };
    require(std::all_of(findings.begin(), findings.end(), isKept));
    Packet rebuilt;
    for (const ServiceBlockView& block : packet.blocks()) {
        require(block.service != 0 && block.service <= kGreatestService);
        require(rebuilt.addBlock(block.service, block.data).hasValue());
    }
}

void checkCommands(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        qlx::Findings findings;
        const auto read = parseCommand(bytes, &findings);
        require(read.hasValue() == (sizeOfCommand(bytes) <= bytes.size()));
        if (!read) {
            require(findings.empty() && !read.error().text().empty());
            return;
        }
        std::array<std::uint8_t, kGreatestCommandBytes> room{};
        const auto size = writeCommand(read->command, room);
        require(size && *size == read->size);
        const bool hasReservedBits = std::any_of(findings.begin(), findings.end(), [](const qlx::Finding& one) {
            return one.code == qlx::FindingCode::Cea708ReservedBitsWrong;
        });
        require(hasReservedBits ||
                std::equal(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(*size), bytes.begin()));
        const auto again = parseCommand(room);
        require(again && again->command == read->command);
        bytes = bytes.subspan(read->size);
    }
}

void checkScreen(const Receiver& receiver, AspectRatio ratio) {
    const qlx::screen::Screen screen = receiver.screen();
    require(screen.rows() == kRows && screen.columns == columnsOf(ratio));
    for (std::size_t number = 0; number < kWindows; ++number) {
        const Window& window = receiver.window(number);
        require(window.isDefined() == (window.rows() != 0));
        require(window.place().row + window.rows() <= kRows);
        require(window.place().column + window.columns() <= screen.columns);
    }
}

}  // namespace

// The first byte: bit 0 for 4:3, bit 1 for the data of a service in place of triplets.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kMostBytes = 1024;
    qlxfuzz::Input input(data, std::min(size, kMostBytes));
    const std::uint8_t choice = input.takeByte();
    const std::vector<std::uint8_t> bytes = input.rest();
    ReceiverOptions options;
    options.aspectRatio = (choice & 1U) != 0 ? AspectRatio::Standard : AspectRatio::Wide;
    Receiver receiver(1, options);
    qlx::Findings findings;
    qlx::screen::Screen shown = receiver.screen();
    const auto update = [&](bool isChanged) {
        if (isChanged) {
            shown = receiver.screen();
        }
    };
    const auto rate = qlx::FrameRate::Fps2997;
    if ((choice & 2U) != 0) {
        checkCommands(bytes);
        for (std::size_t begin = 0; begin < bytes.size(); begin += kGreatestBlockData) {
            const std::size_t count = std::min(kGreatestBlockData, bytes.size() - begin);
            update(receiver.receive(std::span(bytes).subspan(begin, count), &findings, begin));
            update(receiver.nextFrame(rate, &findings, begin));
        }
    } else {
        if (const auto packet = parsePacket(bytes)) {
            checkPacket(*packet);
        }
        PacketReader packets;
        const auto take = [&](std::span<const ReceivedPacket> some) {
            for (const ReceivedPacket& received : some) {
                checkPacket(received.packet);
                update(receiver.receive(received, &findings));
            }
        };
        for (std::size_t begin = 0; begin + 3 <= bytes.size(); begin += 3) {
            take(packets.receive({bytes[begin], bytes[begin + 1], bytes[begin + 2]}, &findings, begin));
            update(receiver.nextFrame(rate, &findings, begin));
        }
        take(packets.finish(&findings));
        require(!packets.isInPacket());
    }
    // What was not told to have changed has not.
    require(shown == receiver.screen());
    checkScreen(receiver, options.aspectRatio);
    for (const qlx::Finding& finding : findings) {
        require(!finding.text().empty());
    }
    return 0;
}
