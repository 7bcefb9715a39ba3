// A decoder of caption distribution packets that is not ours: GStreamer's ccconverter.
#pragma once

#include "CdpBytes.h"

#include <QLXClosedCaptionsUtilities/platform/MediaTime.h>
#include <qlx/base/frame_rate.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

namespace qlxtest {

class CdpDecoder : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::system("gst-inspect-1.0 --exists ccconverter >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "GStreamer's ccconverter is not installed: nothing decodes the packets here";
        }
        // A folder of its own: other tests of this program may run at the same time.
        _folder = ::testing::TempDir() + "/" + ::testing::UnitTest::GetInstance()->current_test_info()->name();
    }

    void TearDown() override { std::filesystem::remove_all(_folder); }

    /// The triplets that ccconverter takes out of packets, each of which it gets as a buffer of its own.
    [[nodiscard]] Bytes decoded(const std::vector<Bytes>& packets, qlx::FrameRate rate) const {
        std::filesystem::remove_all(_folder);
        std::filesystem::create_directories(_folder);
        for (std::size_t index = 0; index < packets.size(); ++index) {
            std::ofstream(_folder + "/" + std::to_string(index) + ".cdp", std::ios::binary)
                .write(reinterpret_cast<const char*>(packets[index].data()),
                       static_cast<std::streamsize>(packets[index].size()));
        }
        const std::string out = _folder + "/triplets.bin";
        const qlx::MediaTime duration = qlx::frameDuration(rate);
        const std::string command =
            "gst-launch-1.0 -q multifilesrc location='" + _folder +
            "/%d.cdp' caps='closedcaption/x-cea-708,format=cdp,framerate=" + std::to_string(duration.timescale) + "/" +
            std::to_string(duration.value) +
            "' ! ccconverter ! closedcaption/x-cea-708,format=cc_data ! filesink location='" + out + "' 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        std::ifstream file(out, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

private:
    std::string _folder;
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

inline Content contentOf(const Bytes& triplets) {
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

}  // namespace qlxtest
