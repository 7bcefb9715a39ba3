// Captions that are sent through a writer and received again, frame by frame.
#pragma once

#include <qlx/cc/slots.h>
#include <qlx/cea708/receiver.h>
#include <qlx/cea708/writer.h>

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace qlxtest {

/// What a service shows from a frame on.
struct ShownScreen {
    std::uint64_t frame = 0;
    qlx::screen::Screen screen;

    [[nodiscard]] friend bool operator==(const ShownScreen&, const ShownScreen&) = default;
};

/// Cells as they are compared: what is not visible has no attributes, and a letter flashes in one way only.
inline qlx::screen::Screen comparable(qlx::screen::Screen screen) {
    for (qlx::screen::Cell& cell : screen.cells) {
        if (!cell.isVisible) {
            cell = {};
        }
        cell.isFlashing = cell.isFlashing || cell.foregroundOpacity == qlx::screen::Opacity::Flash;
        cell.foregroundOpacity = cell.isFlashing ? qlx::screen::Opacity::Flash : cell.foregroundOpacity;
    }
    return screen;
}

/// Feeds a writer and reads what it sends.
class ServiceLoop {
public:
    ServiceLoop(qlx::FrameRate rate, const qlx::cea708::ServiceWriterOptions& options,
                const std::vector<std::uint8_t>& services)
        : findings(1'000'000), _rate(rate), _options(options), writer(rate, options), shown(services.size()) {
        for (const std::uint8_t service : services) {
            receivers.emplace_back(service, qlx::cea708::ReceiverOptions{options.aspectRatio, {}});
        }
    }

    /// The next frame: one packet at most that is whole, within the slots of the rate, and read without a finding.
    void next() {
        const std::uint64_t frame = writer.frame();
        const auto triplets = writer.next(&findings);
        EXPECT_LE(triplets.size(), qlx::cc::slotsOf(_rate).greatestDtvcc);
        std::size_t packetCount = 0;
        for (const qlx::cc::Triplet& triplet : triplets) {
            for (const qlx::cea708::ReceivedPacket& packet : _packets.receive(triplet, &damage, frame)) {
                ++packetCount;
                for (qlx::cea708::Receiver& receiver : receivers) {
                    receiver.receive(packet, &damage, frame);
                }
            }
        }
        EXPECT_EQ(packetCount, triplets.empty() ? 0U : 1U);
        EXPECT_FALSE(_packets.isInPacket());
        if (packetCount == 0) {
            return;
        }
        for (std::size_t index = 0; index < receivers.size(); ++index) {
            receivers[index].drawScreen(_screen);
            const qlx::screen::Screen seen = comparable(_screen);
            const bool isNew =
                shown[index].empty() ? seen.hasText() || isAnyVisible(seen) : !(shown[index].back().screen == seen);
            if (isNew) {
                shown[index].push_back({frame, seen});
            }
        }
    }

    static bool isAnyVisible(const qlx::screen::Screen& screen) {
        return std::any_of(screen.cells.begin(), screen.cells.end(),
                           [](const qlx::screen::Cell& cell) { return cell.isVisible; });
    }

    qlx::Findings findings;
    qlx::Findings damage;

private:
    qlx::FrameRate _rate;
    qlx::cea708::ServiceWriterOptions _options;

public:
    qlx::cea708::Writer writer;
    std::vector<qlx::cea708::Receiver> receivers;
    std::vector<std::vector<ShownScreen>> shown;  ///< Of each service.

private:
    qlx::cea708::PacketReader _packets;
    qlx::screen::Screen _screen;
};

}  // namespace qlxtest
