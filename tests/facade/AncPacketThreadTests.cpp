#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

TEST(AncPacketThreads, EachPropertyIsReadWhole) {
    QLXVANCPacket packet;
    packet.setPacketData(qlx::Data::zeros(8));
    std::atomic<bool> torn{false};
    std::vector<std::thread> threads;
    for (std::uint8_t writer = 1; writer <= 2; ++writer) {
        threads.emplace_back([&packet, writer] {
            for (std::int64_t count = 0; count < 10'000; ++count) {
                const auto time = qlx::MediaTime::make(count, writer);
                packet.setTimingInfo({time, time, time});
                packet.setPacketData(std::vector<std::uint8_t>(8, writer));
                packet.setLineNumber(writer);
                packet.setPacketType(writer);
                packet.setInHANCSpace(writer == 1);
                packet.setCanBeDropped(writer == 2);
                packet.setPacketDID(writer);
                packet.setPacketSDID(writer);
            }
        });
    }
    threads.emplace_back([&] {
        for (int count = 0; count < 10'000; ++count) {
            const qlx::SampleTimingInfo timing = packet.timingInfo();
            const qlx::Data data = packet.packetData();
            if (timing.duration != timing.decodeTimeStamp || data.size() != 8 || data[0] != data[7] ||
                packet.lineNumber() > 2 || packet.packetType() > 2 || packet.packetDID() > 2 ||
                packet.packetSDID() > 2) {
                torn = true;
            }
        }
    });
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(torn);
}
