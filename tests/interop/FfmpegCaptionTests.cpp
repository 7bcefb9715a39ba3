// Pop-on captions of CC1 and CC3 as the writer sends them, read by a decoder that is not from here: FFmpeg's.
//
// Judged are the frames from which and up to which a caption is shown, and place and text of its rows. That decoder reads
// the first channel of a field, no text mode and no extended data. Colours and italics are libzvbi's to judge, and
// backgrounds nobody's. Braces and the backslash are markup in what it gives back, a dash, a bullet and an opening
// quotation mark are others there, a special character beside its like is one, the code of black letters takes a column
// more, and that of flashing, a spacing attribute as well (47 CFR 79.101 (h)), none: these are not asked for.
#include <gtest/gtest.h>

#ifdef QLX_HAVE_FFMPEG

#include "FFmpeg.h"

#include "DemoCues.h"
#include "Sanitized.h"
#include "tests/cea608/RandomCaptions.h"

#include <qlx/base/utf8.h>
#include <qlx/cc/slots.h>
#include <qlx/cea608/writer.h>
#include <qlx/playout/broadcast.h>
#include <qlx/playout/captions.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <vector>

namespace {

using namespace qlxtest;

/// A caption as text: frames, and rows.
struct Shown {
    std::int64_t start = 0;
    std::int64_t end = 0;
    std::string rows;

    friend bool operator==(const Shown&, const Shown&) = default;
    friend void PrintTo(const Shown& shown, std::ostream* out) {
        *out << shown.start << " to " << shown.end << ": " << shown.rows;
    }
};

struct DeleteContext {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};

struct DeletePacket {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

class Judge {
public:
    explicit Judge(Channel channel, qlx::FrameRate rate = qlx::FrameRate::Fps2997)
        : _field(channel.field), _frame(qlx::frameDuration(rate)) {
        _context->pkt_timebase = {static_cast<int>(_frame.value), _frame.timescale};
        EXPECT_EQ(av_opt_set_int(_context->priv_data, "data_field", _field - 1, 0), 0);
        EXPECT_EQ(avcodec_open2(_context.get(), _context->codec, nullptr), 0);
    }

    void take(std::int64_t frame, const Pair& pair) {
        take(frame, std::array{static_cast<std::uint8_t>(0xFB + _field), pair.first, pair.second});
    }

    /// The triplets of a frame.
    void take(std::int64_t frame, std::span<const std::uint8_t> triplets) {
        std::vector<std::uint8_t> data(triplets.begin(), triplets.end());
        data.resize(triplets.size() + AV_INPUT_BUFFER_PADDING_SIZE);
        _packet->data = data.data();
        _packet->size = static_cast<int>(triplets.size());
        _packet->pts = frame;
        AVSubtitle subtitle{};
        int isGot = 0;
        ASSERT_GE(avcodec_decode_subtitle2(_context.get(), &subtitle, &isGot, _packet.get()), 0);
        if (isGot == 0) {
            return;
        }
        const double start = static_cast<double>(subtitle.pts) / AV_TIME_BASE;
        Shown one{frameOf(start), frameOf(start + subtitle.end_display_time / 1000.0), {}};
        for (unsigned index = 0; index < subtitle.num_rects; ++index) {
            one.rows += rowsOf(subtitle.rects[index]->ass);
        }
        shown.push_back(one);
        avsubtitle_free(&subtitle);
    }

    std::vector<Shown> shown;

private:
    /// Of an event: eight fields, then rows with `\\N` between, `\\h` for a space, markup in braces, and where each row is in
    /// a picture of 384 by 288 whose rows are 0.0533 of its height and whose columns 0.025 of its width.
    static std::string rowsOf(std::string event) {
        for (int field = 0; field < 8; ++field) {
            event.erase(0, event.find(',') + 1);
        }
        std::string rows;
        event += "\\N";
        for (std::size_t end = event.find("\\N"); end != std::string::npos; end = event.find("\\N")) {
            std::string row = event.substr(0, end);
            event.erase(0, end + 2);
            int x = 0;
            int y = 0;
            const std::size_t place = row.find("\\pos(");
            EXPECT_TRUE(place != std::string::npos && std::sscanf(row.c_str() + place, "\\pos(%d,%d)", &x, &y) == 2)
                << row;
            for (std::size_t open = row.find('{'); open != std::string::npos; open = row.find('{')) {
                row.erase(open, row.find('}') - open + 1);
            }
            std::size_t column = static_cast<std::size_t>(std::lround((x + 0.5 - 38.4) / 9.6));
            for (std::size_t space = row.find("\\h"); space != std::string::npos; space = row.find("\\h")) {
                row.replace(space, 2, " ");
            }
            const std::size_t first = row.find_first_not_of(' ');
            row.erase(row.find_last_not_of(' ') + 1);
            column += first;
            rows += std::to_string(std::lround((y + 0.5 - 28.8) / 15.35) + 1) + "/" + std::to_string(column) + " " +
                    row.substr(first) + "\n";
        }
        return rows;
    }

    [[nodiscard]] std::int64_t frameOf(double seconds) const {
        return std::lround(seconds * _frame.timescale / static_cast<double>(_frame.value));
    }

    int _field;
    qlx::MediaTime _frame;
    std::unique_ptr<AVCodecContext, DeleteContext> _context{
        avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_EIA_608))};
    std::unique_ptr<AVPacket, DeletePacket> _packet{av_packet_alloc()};
};

constexpr std::u32string_view kOtherThere = U"{}\\\u2018\u2014\u2022";

/// The rows of a caption as they are expected.
std::vector<CaptionRow> judgedRows(Random& random) {
    std::vector<CaptionRow> rows = fittingRows(random);
    for (CaptionRow& row : rows) {
        char32_t before = 0;
        for (Cell& cell : row.cells) {
            const bool isOther = kOtherThere.find(cell.character) != std::u32string_view::npos;
            cell.character = isOther || (cell.character != U' ' && cell.character == before) ? U'x' : cell.character;
            before = cell.character;
            cell.foreground = cell.foreground == Color::Black ? Color::Yellow : cell.foreground;
            cell.isFlashing = false;
        }
    }
    return rows;
}

/// `3/6 Hello`: row, column, text.
std::string textOf(const CaptionRow& row) {
    std::size_t first = 0;
    while (!row.cells[first].hasText()) {
        ++first;
    }
    std::string text;
    for (std::size_t index = first; index < row.cells.size(); ++index) {
        const char32_t character = row.cells[index].character;
        qlx::appendUtf8(text, character == U'\'' ? U'\u2019' : character);
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return std::to_string(row.row) + "/" + std::to_string(row.column + first) + " " + text + "\n";
}

/// Captions that follow at once, or behind a gap.
void expectToBeRead(Channel channel) {
    Random random(channel.field);
    Writer writer(qlx::FrameRate::Fps2997);
    Judge judge(channel);
    qlx::Findings findings;
    std::vector<Shown> expected;
    for (std::size_t count = 1; count <= 150; ++count) {
        constexpr std::uint64_t kPeriod = 600;
        Caption caption{.start = count * kPeriod, .channel = channel, .rows = judgedRows(random)};
        caption.end = caption.start + (isTrue(random, 50) ? kPeriod : 50 + below(random, 500));
        expected.push_back({static_cast<std::int64_t>(caption.start), static_cast<std::int64_t>(caption.end), {}});
        for (const CaptionRow& row : caption.rows) {
            expected.back().rows += textOf(row);
        }
        ASSERT_TRUE(writer.add(caption, &findings));
    }
    while (!writer.isDone()) {
        const auto frame = static_cast<std::int64_t>(writer.frame());
        const FramePairs pairs = writer.next(&findings);
        judge.take(frame, (channel.field == 1 ? pairs.field1 : pairs.field2).value_or(kNullPair));
    }
    EXPECT_TRUE(findings.empty()) << findings[0].text();
    ASSERT_EQ(judge.shown.size(), expected.size());
    for (std::size_t index = 0; index < expected.size(); ++index) {
        ASSERT_EQ(judge.shown[index], expected[index]) << "caption " << index;
    }
}

TEST(FfmpegCaptions, OfChannel1AreReadAsWritten) {
    expectToBeRead(kCC1);
}

TEST(FfmpegCaptions, OfChannel3AreReadAsWritten) {
    expectToBeRead(kCC3);
}

/// Text of rows with a space between them: `3/6 Hello\n4/2 you\n` is `Hello you`.
std::string wordsOf(const std::string& rows) {
    std::string text;
    for (std::size_t begin = 0; begin < rows.size();) {
        const std::size_t end = rows.find('\n', begin);
        const std::size_t place = rows.find(' ', begin) + 1;
        text += (text.empty() ? "" : " ") + rows.substr(place, end - place);
        begin = end + 1;
    }
    return text;
}

/// The same of a cue. That decoder has a typographic apostrophe.
std::string wordsOf(const qlx::subtitles::Cue& cue) {
    std::string text;
    for (const qlx::subtitles::Row& row : cue.rows) {
        text += (text.empty() ? "" : " ") + row.text();
    }
    for (std::size_t place = text.find('\''); place != std::string::npos; place = text.find('\'')) {
        text.replace(place, 1, "\u2019");
    }
    return text;
}

/// Each as it is written, from the first slot of its field at or after its start on.
void expectOnTime(const std::vector<Shown>& shown, const std::vector<qlx::subtitles::Cue>& cues, qlx::FrameRate rate,
                  Channel channel) {
    ASSERT_EQ(shown.size(), cues.size());
    const bool alternates = qlx::cc::slotsOf(rate).fieldsAlternate;
    for (std::size_t index = 0; index < cues.size(); ++index) {
        EXPECT_EQ(wordsOf(shown[index].rows), wordsOf(cues[index])) << "cue " << index + 1;
        auto due = static_cast<std::int64_t>(qlx::firstFrameAtOrAfter(cues[index].start, rate).value());
        due += alternates && due % 2 != channel.field - 1 ? 1 : 0;
        EXPECT_EQ(shown[index].start, due) << "cue " << index + 1;
    }
}

class FfmpegDemo : public ::testing::TestWithParam<std::tuple<qlx::FrameRate, Channel>> {};

// 46 of 46, and each from the first slot of its field at or after its start on.
TEST_P(FfmpegDemo, IsReadAsWrittenAndOnTime) {
    const auto [rate, channel] = GetParam();
    const std::vector<qlx::subtitles::Cue> cues = demoCues();
    ASSERT_EQ(cues.size(), 46U);
    qlx::playout::CaptionPlayout playout(rate);
    for (const qlx::subtitles::Cue& cue : cues) {
        EXPECT_TRUE(playout.add(cue, {.channel = channel}));
    }
    Judge judge(channel, rate);
    while (!playout.isDone()) {
        const auto frame = static_cast<std::int64_t>(playout.frame());
        const qlx::cc::Cdp cdp = playout.next();
        const auto field = channel.field == 1 ? qlx::cc::CcType::Field1 : qlx::cc::CcType::Field2;
        for (const qlx::cc::Triplet& pair : qlx::cc::fieldPairs(cdp.triplets(), field)) {
            judge.take(frame, {pair.first, pair.second});
        }
    }
    expectOnTime(judge.shown, cues, rate, channel);
}

INSTANTIATE_TEST_SUITE_P(Rates, FfmpegDemo,
                         ::testing::Combine(::testing::ValuesIn(qlx::kFrameRates), ::testing::Values(kCC1, kCC3)));

struct CloseInput {
    void operator()(AVFormatContext* input) const { avformat_close_input(&input); }
};

/// Shows the judge what FFmpeg takes out of the ancillary packets of an MXF file; gives the number of frames.
std::int64_t readMxf(const std::string& path, Judge& judge) {
    AVDictionary* options = nullptr;
    av_dict_set(&options, "eia608_extract", "1", 0);
    AVFormatContext* opened = nullptr;
    const int error = avformat_open_input(&opened, path.c_str(), nullptr, &options);
    av_dict_free(&options);
    EXPECT_EQ(error, 0);
    const std::unique_ptr<AVFormatContext, CloseInput> input(opened);
    const std::unique_ptr<AVPacket, DeletePacket> packet(av_packet_alloc());
    std::int64_t frames = 0;
    while (input && av_read_frame(input.get(), packet.get()) == 0) {
        EXPECT_EQ(packet->pts, frames);
        judge.take(frames++, std::span(packet->data, static_cast<std::size_t>(packet->size)));
        av_packet_unref(packet.get());
    }
    return frames;
}

class FfmpegMxf : public ::testing::TestWithParam<qlx::FrameRate> {};

// Whole packets, put into an MXF file by GStreamer: both fields and a service in them, CC1 and CC3 read from it.
TEST_P(FfmpegMxf, HasEveryCaptionOnTime) {
    if (std::system("gst-inspect-1.0 --exists mxfmux >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "GStreamer's mxfmux is not installed: nothing makes the file here";
    }
    const qlx::FrameRate rate = GetParam();
    std::vector<qlx::subtitles::Cue> cues = demoCues();
    ASSERT_EQ(cues.size(), 46U);
    cues.resize(countFor(cues.size(), std::size_t{8}));
    qlx::playout::BroadcastPlayout playout(rate);
    for (const qlx::subtitles::Cue& cue : cues) {
        EXPECT_TRUE(playout.add(
            cue, {.line21 = qlx::playout::CaptionOptions{.channel = kCC1}, .service = qlx::playout::ServiceOptions{}}));
        EXPECT_TRUE(playout.add(cue, {.line21 = qlx::playout::CaptionOptions{.channel = kCC3}}));
    }
    const std::string folder = ::testing::TempDir() + "/FfmpegMxf" + std::to_string(static_cast<int>(rate));
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
    std::int64_t frames = 0;
    for (; !playout.isDone(); ++frames) {
        std::array<std::uint8_t, qlx::cc::kGreatestCdpBytes> room{};
        const qlx::Result<std::size_t> size = qlx::cc::writeCdp(playout.next(), room);
        ASSERT_TRUE(size);
        std::ofstream(folder + "/" + std::to_string(frames) + ".cdp", std::ios::binary)
            .write(reinterpret_cast<const char*>(room.data()), static_cast<std::streamsize>(*size));
    }
    const qlx::MediaTime duration = qlx::frameDuration(rate);
    const std::string command =
        "gst-launch-1.0 -q multifilesrc location='" + folder +
        "/%d.cdp' caps='closedcaption/x-cea-708,format=cdp,framerate=" + std::to_string(duration.timescale) + "/" +
        std::to_string(duration.value) + "' ! mxfmux ! filesink location='" + folder + "/captions.mxf' 2>&1";
    ASSERT_EQ(std::system(command.c_str()), 0);
    for (const Channel& channel : {kCC1, kCC3}) {
        Judge judge(channel, rate);
        EXPECT_EQ(readMxf(folder + "/captions.mxf", judge), frames);
        expectOnTime(judge.shown, cues, rate, channel);
    }
    std::filesystem::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(Rates, FfmpegMxf, ::testing::ValuesIn(qlx::kFrameRates));

}  // namespace

#else

TEST(FfmpegCaptions, OfChannel1AreReadAsWritten) {
    GTEST_SKIP() << "FFmpeg's libraries are missing: install libavcodec-dev and configure again";
}

#endif
