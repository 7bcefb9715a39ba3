// MCC files as written here, read by a demuxer that is not from here: FFmpeg's. Judged are the caption data of
// every packet, triplet for triplet, and times; but not those of drop-frame timecodes, of which that demuxer takes two
// numbers away in every minute, also the first one.
#include <gtest/gtest.h>

#ifdef QLX_HAVE_FFMPEG

#include "FFmpeg.h"

#include <qlx/cc/cdp.h>
#include <qlx/cc/slots.h>
#include <qlx/streams/mcc.h>

#include "FrameFiles.h"

#include <array>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace ffmpeg_mcc {
namespace {

using namespace qlx;
using Bytes = std::vector<std::uint8_t>;
using Packets = std::vector<std::pair<double, Bytes>>;

/// The packets of a file with this content: their seconds, and their bytes.
Packets demuxed(const std::string& text, const std::string& name) {
    const std::string path = testing::TempDir() + "qlx-mcc-" + name + ".mcc";
    std::ofstream(path, std::ios::binary) << text;
    Packets packets;
    AVFormatContext* context = nullptr;
    // Recognised by its first bytes.
    EXPECT_EQ(avformat_open_input(&context, path.c_str(), nullptr, nullptr), 0);
    EXPECT_TRUE(context != nullptr && std::string(context->iformat->name) == "mcc");
    AVPacket* packet = av_packet_alloc();
    while (context != nullptr && av_read_frame(context, packet) >= 0) {
        packets.emplace_back(static_cast<double>(packet->pts) * av_q2d(context->streams[0]->time_base),
                             Bytes(packet->data, packet->data + packet->size));
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    avformat_close_input(&context);
    (void)std::remove(path.c_str());
    return packets;
}

TEST(FfmpegMcc, HasTheTripletsOfEveryPacket) {
    std::mt19937 random(17);
    for (const auto& [rate, drops] : {std::pair{FrameRate::Fps2997, true},
                                      {FrameRate::Fps25, false},
                                      {FrameRate::Fps30, false},
                                      {FrameRate::Fps5994, true}}) {
        qlxtest::MemorySink sink;
        streams::MccWriter writer(sink, {.version = 1, .rate = rate, .dropsFrames = drops, .uuid = "1"});
        Packets expected;
        const MediaTime duration = frameDuration(rate);
        // Over a minute, at whose beginning numbers are dropped.
        for (std::uint64_t number = 3000; number < 3900; number += 1 + random() % 3) {
            cc::Cdp cdp;
            cdp.setFrameRate(rate);
            cdp.setSequenceCounter(static_cast<std::uint16_t>(number));
            std::vector<cc::Triplet> triplets;
            Bytes bytes;
            for (std::size_t place = 0; place < cc::slotsOf(rate).ccCount; ++place) {
                const auto type = static_cast<cc::CcType>(place < 2 ? place : 2 + random() % 2);
                const bool isPadding = place > 2 && random() % 2 == 0;
                const cc::Triplet triplet =
                    isPadding ? cc::Triplet{}
                              : cc::Triplet::make(type, static_cast<std::uint8_t>(random() % 3 == 0 ? 0x80 : random()),
                                                  static_cast<std::uint8_t>(random() % 3 == 0 ? 0x80 : random()));
                triplets.push_back(triplet);
                bytes.insert(bytes.end(), {triplet.header, triplet.first, triplet.second});
            }
            ASSERT_TRUE(cdp.setTriplets(triplets));
            std::array<std::uint8_t, cc::kGreatestCdpBytes> room{};
            const auto size = cc::writeCdp(cdp, room);
            ASSERT_TRUE(size);
            streams::Frame frame;
            frame.number = number;
            frame.packets.push_back({.did = 0x61,
                                     .sdid = 1,
                                     .userData = {room.begin(), room.begin() + static_cast<std::ptrdiff_t>(*size)},
                                     .line = 9});
            ASSERT_FALSE(writer.write(frame, nullptr));
            expected.emplace_back(
                static_cast<double>(number) * static_cast<double>(duration.value) / duration.timescale, bytes);
        }
        ASSERT_FALSE(writer.finish());
        const Packets read = demuxed(sink.text(), std::to_string(static_cast<int>(rate)));
        ASSERT_EQ(read.size(), expected.size());
        for (std::size_t index = 0; index < read.size(); ++index) {
            ASSERT_EQ(read[index].second, expected[index].second) << index;
            if (!drops) {
                ASSERT_NEAR(read[index].first, expected[index].first, 1e-6) << index;
            }
        }
    }
}

}  // namespace
}  // namespace ffmpeg_mcc

#else

TEST(FfmpegMcc, NeedFfmpeg) {
    GTEST_SKIP() << "built without FFmpeg's libraries";
}

#endif
