// SubRip, WebVTT and SubStation Alpha files as written here, read by demuxers that are not from here: FFmpeg's. And
// files with what receivers take (both marks of fractions, missing numbers, CR and CRLF), read by both.
//
// Judged are times to the millisecond and the rows of text with their markup. That demuxer takes neither times without
// a fraction nor an empty row's space apart: these are not asked for.
#include <gtest/gtest.h>

#ifdef QLX_HAVE_FFMPEG

#include "FFmpeg.h"

#include "TextCues.h"

#include <qlx/subtitles/ssa.h>
#include <qlx/subtitles/subrip.h>
#include <qlx/subtitles/webvtt.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

namespace ffmpeg_text_cues {
namespace {

using namespace qlx::subtitles;

struct Packet {
    std::int64_t start = 0;
    std::int64_t duration = 0;
    std::string text;

    friend bool operator==(const Packet&, const Packet&) = default;
    friend void PrintTo(const Packet& packet, std::ostream* out) {
        *out << packet.start << " for " << packet.duration << ": " << packet.text;
    }
};

/// The packets of a file with this content.
std::vector<Packet> demuxed(const std::string& text, const std::string& name) {
    const std::string path = testing::TempDir() + "qlx-text-cues-" + name;
    std::ofstream(path, std::ios::binary) << text;
    std::vector<Packet> packets;
    AVFormatContext* context = nullptr;
    // A file without numbers is not recognised there; it is read all the same.
    const AVInputFormat* const format = av_find_input_format(name.ends_with("vtt")   ? "webvtt"
                                                             : name.ends_with("ass") ? "ass"
                                                                                     : "srt");
    EXPECT_EQ(avformat_open_input(&context, path.c_str(), format, nullptr), 0);
    AVPacket* packet = av_packet_alloc();
    while (context != nullptr && av_read_frame(context, packet) >= 0) {
        const AVRational base = context->streams[0]->time_base;
        const std::int64_t unit = 1000 / (base.num == 0 ? 1 : base.den / base.num);
        EXPECT_EQ(base.num * 1000, unit * base.den);
        packets.push_back(
            {packet->pts * unit, packet->duration * unit,
             std::string(reinterpret_cast<const char*>(packet->data), static_cast<std::size_t>(packet->size))});
        av_packet_unref(packet);
    }
    av_packet_free(&packet);
    avformat_close_input(&context);
    (void)std::remove(path.c_str());
    return packets;
}

/// A cue of rows without anything that a format writes in another way.
Cue plainCue(std::mt19937& random, std::uint64_t number) {
    const auto below = [&random](std::uint64_t count) { return static_cast<std::int64_t>(random() % count); };
    const std::int64_t start = static_cast<std::int64_t>(number) * 5000 + below(2000);
    std::vector<Row> rows;
    for (std::int64_t count = 1 + below(3); count > 0; --count) {
        rows.push_back(qlxtest::rowOf("\u00E9 row " + std::to_string(below(1000)) + " \u266A, end"));
    }
    return qlxtest::cueOf(number, start, start + 1 + below(2000), std::move(rows));
}

std::string rowsOf(const Cue& cue) {
    std::string text;
    for (const Row& row : cue.rows) {
        text += (text.empty() ? "" : "\n") + row.text();
    }
    return text;
}

std::vector<Packet> packetsOf(const std::vector<Cue>& cues) {
    std::vector<Packet> packets;
    for (const Cue& cue : cues) {
        packets.push_back({cue.start.value, cue.end.value - cue.start.value, rowsOf(cue)});
    }
    return packets;
}

TEST(FfmpegTextCues, AreReadAsTheyWereWritten) {
    std::mt19937 random(3);
    std::vector<Cue> cues;
    std::string subRip;
    std::string webVtt;
    SubRipWriter subRipWriter;
    WebVttWriter webVttWriter;
    webVttWriter.begin({}, webVtt);
    for (std::uint64_t number = 1; number <= 500; ++number) {
        cues.push_back(plainCue(random, number));
        ASSERT_TRUE(subRipWriter.write(cues.back(), subRip));
        ASSERT_TRUE(webVttWriter.write(cues.back(), webVtt));
    }
    EXPECT_EQ(demuxed(subRip, "a.srt"), packetsOf(cues));
    EXPECT_EQ(demuxed(webVtt, "a.vtt"), packetsOf(cues));
}

TEST(FfmpegTextCues, AreReadAlikeFromFilesOfOthers) {
    const std::string_view files[] = {
        "1\n00:00:01.000 --> 00:00:02.500\na\nb\n\n2\n00:00:03,000 --> 00:00:04,000\nc\n",
        "1\r\n00:00:01,000 --> 00:00:02,500\r\na\r\n\r\n2\r\n00:00:03,000 --> 00:00:04,000\r\nc\r\n\r\n",
        "\xEF\xBB\xBF"
        "1\n00:00:01,000 --> 00:00:02,500\na\n\n2\n00:00:03,000 --> 00:00:04,000\nc\n",
        "00:00:01,000 --> 00:00:02,500\na\n\n00:00:03,000 --> 00:00:04,000\nc\n",
        "1\n00:00:01,000 --> 00:00:02,500\na\n\n\n\n2\n00:00:03,000 --> 00:00:04,000\n12 c\n",
    };
    for (const std::string_view file : files) {
        const auto read = qlxtest::readCues<SubRipReader>(file, std::string_view::npos, TextCueOptions{});
        ASSERT_EQ(read.cues.size(), 2U) << file;
        EXPECT_EQ(demuxed(std::string(file), "b.srt"), packetsOf(read.cues)) << file;
    }
}

/// The text of a packet of that demuxer: behind eight commas.
std::string textOf(const std::string& packet) {
    std::size_t begin = 0;
    for (int commas = 0; commas < 8; ++commas) {
        begin = packet.find(',', begin) + 1;
    }
    return packet.substr(begin);
}

TEST(FfmpegTextCues, OfSubStationAlphaAreReadAlike) {
    std::mt19937 random(5);
    std::string file =
        "[Script Info]\nScriptType: v4.00+\n\n[V4+ Styles]\nFormat: Name, Fontname, Fontsize, Alignment\n"
        "Style: Default,Arial,20,2\n\n[Events]\n"
        "Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n";
    for (unsigned number = 1; number <= 500; ++number) {
        char times[64];
        const unsigned start = number * 500 + static_cast<unsigned>(random() % 200);
        const unsigned end = start + 1 + static_cast<unsigned>(random() % 200);
        std::snprintf(times, sizeof(times), "%u:%02u:%02u.%02u,%u:%02u:%02u.%02u", start / 360'000, start / 6000 % 60,
                      start / 100 % 60, start % 100, end / 360'000, end / 6000 % 60, end / 100 % 60, end % 100);
        file += "Dialogue: 0," + std::string(times) + ",Default,,0,0,0,,row " + std::to_string(random() % 1000) +
                ", \u00E9\u266A" + (number % 3 == 0 ? "\\Nanother, end" : "") + "\n";
        file += number % 50 == 0 ? "Comment: 0," + std::string(times) + ",Default,,0,0,0,,none\n" : "";
    }
    const auto read = qlxtest::readCues<SsaReader>(file, std::string_view::npos, TextCueOptions{});
    std::vector<Packet> theirs = demuxed(file, "c.ass");
    for (Packet& packet : theirs) {
        packet.text = textOf(packet.text);
        for (std::size_t end = packet.text.find("\\N"); end != std::string::npos; end = packet.text.find("\\N")) {
            packet.text.replace(end, 2, "\n");
        }
    }
    ASSERT_EQ(read.cues.size(), 500U);
    EXPECT_EQ(theirs, packetsOf(read.cues));
}

}  // namespace
}  // namespace ffmpeg_text_cues

#else

TEST(FfmpegTextCues, NeedFfmpeg) {
    GTEST_SKIP() << "built without FFmpeg's libraries";
}

#endif
