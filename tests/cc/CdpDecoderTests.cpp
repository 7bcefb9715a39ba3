// Caption distribution packets that are written here, read by a decoder that is not ours: GStreamer's ccconverter.
#include "CdpBytes.h"

#include <qlx/cc/slots.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

using namespace qlxtest;

using qlx::FrameRate;
using qlx::cc::CaptionService;
using qlx::cc::CcType;
using qlx::cc::Cdp;
using qlx::cc::Triplet;

class CdpDecoder : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::system("gst-inspect-1.0 --exists ccconverter >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "GStreamer's ccconverter is not installed: nothing decodes the packets here";
        }
    }

    /// The triplets that ccconverter takes out of packets of one size.
    static Bytes decoded(const Bytes& packets, std::size_t size, FrameRate rate) {
        const std::string folder = ::testing::TempDir();
        const std::string in = folder + "/packets.cdp";
        const std::string out = folder + "/triplets.bin";
        std::filesystem::remove(out);
        std::ofstream(in, std::ios::binary)
            .write(reinterpret_cast<const char*>(packets.data()), static_cast<std::streamsize>(packets.size()));
        const qlx::MediaTime duration = qlx::frameDuration(rate);
        const std::string command =
            "gst-launch-1.0 -q filesrc location='" + in + "' blocksize=" + std::to_string(size) +
            " ! closedcaption/x-cea-708,format=cdp,framerate=" + std::to_string(duration.timescale) + "/" +
            std::to_string(duration.value) +
            " ! ccconverter ! closedcaption/x-cea-708,format=cc_data ! filesink location='" + out + "' 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::ifstream file(out, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

/// The content of triplets as digits, kind by kind. The decoder may pair the fields of neighbouring frames anew, with
/// null pairs for what it has not got yet; neither these nor padding are content.
struct Content {
    std::string field1;
    std::string field2;
    std::string dtvcc;

    friend bool operator==(const Content&, const Content&) = default;
    friend void PrintTo(const Content& content, std::ostream* out) {
        *out << "\n1 " << content.field1 << "\n2 " << content.field2 << "\n708 " << content.dtvcc;
    }
};

Content contentOf(const Bytes& triplets) {
    Content content;
    for (std::size_t offset = 0; offset + 3 <= triplets.size(); offset += 3) {
        const std::string digits = toHex(std::span(triplets).subspan(offset, 3));
        if (digits.starts_with("fc") && digits != "fc8080") {
            content.field1 += digits;
        } else if (digits.starts_with("fd") && digits != "fd8080") {
            content.field2 += digits;
        } else if (digits.starts_with("fe") || digits.starts_with("ff")) {
            content.dtvcc += digits;
        }
    }
    return content;
}

TEST_F(CdpDecoder, ReadsEveryTripletAtEveryRate) {
    constexpr unsigned kFrames = 40;
    const CaptionService services[] = {CaptionService::line21(false), CaptionService::digital(1, {'e', 'n', 'g'})};
    for (const FrameRate rate : qlx::kFrameRates) {
        const qlx::cc::Slots slots = qlx::cc::slotsOf(rate);
        Bytes packets;
        Bytes expected;
        std::size_t size = 0;
        for (unsigned frame = 0; frame < kFrames; ++frame) {
            const auto number = static_cast<std::uint8_t>(frame);
            const qlx::cc::FrameFields fields = qlx::cc::fieldsOfFrame(rate, frame);
            // Pairs with content, and no padding, which the decoder leaves out.
            std::vector<Triplet> triplets;
            if (fields.field1) {
                triplets.push_back(Triplet::make(CcType::Field1, 0x20, number | 0x40U));
            }
            if (fields.field2) {
                triplets.push_back(Triplet::make(CcType::Field2, 0x61, number | 0x40U));
            }
            triplets.push_back(Triplet::make(CcType::DtvccStart, number, 0x21));
            for (std::uint8_t more = 1; more < slots.greatestDtvcc; ++more) {
                triplets.push_back(Triplet::make(CcType::DtvccData, number, more));
            }
            for (const Triplet& triplet : triplets) {
                expected.insert(expected.end(), {triplet.header, triplet.first, triplet.second});
            }
            triplets.resize(slots.ccCount);
            Cdp cdp;
            cdp.setFrameRate(rate);
            cdp.setSequenceCounter(static_cast<std::uint16_t>(65530 + frame));
            cdp.setTimeCode(qlx::cc::CdpTimeCode::make({.hours = 1, .frames = static_cast<std::uint8_t>(frame / 2)}));
            ASSERT_TRUE(cdp.setTriplets(triplets));
            ASSERT_TRUE(cdp.setServices(services));
            const Bytes packet = written(cdp);
            size = packet.size();
            packets.insert(packets.end(), packet.begin(), packet.end());
        }
        EXPECT_EQ(contentOf(decoded(packets, size, rate)), contentOf(expected)) << "rate " << static_cast<int>(rate);
    }
}

TEST_F(CdpDecoder, RefusesAWrongLength) {
    // What the judge is worth: a packet with a wrong length byte gives it nothing.
    Bytes packet = packetOf(kTenTriplets);
    packet[2] = static_cast<std::uint8_t>(packet[2] - 8);
    setChecksum(packet);
    EXPECT_EQ(contentOf(decoded(packet, packet.size(), FrameRate::Fps60)), Content{});
    EXPECT_EQ(contentOf(decoded(packetOf(kTenTriplets), packet.size(), FrameRate::Fps60)),
              contentOf(fromHex(kTenTriplets.substr(4))));
}

}  // namespace
