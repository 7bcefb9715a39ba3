// Transport streams with teletext as they are written here, taken apart by FFmpeg's libraries, and their pages decoded by
// libzvbi, which FFmpeg hands them to.
#include <gtest/gtest.h>

#ifdef QLX_HAVE_FFMPEG

#include "FFmpeg.h"

#include "Sanitized.h"
#include "TransportTexts.h"
#include "VbiLetters.h"

#include <qlx/base/utf8.h>
#include <qlx/streams/transport_writer.h>
#include <qlx/teletext/sets.h>
#include <qlx/teletext/writer.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace qlx::streams;

/// A text that is decoded: when, in ticks of 90 kHz, and its rows without spaces around them.
struct DecodedPage {
    std::int64_t time = 0;
    std::string text;
};

/// Takes a stream apart.
class TransportJudge {
public:
    explicit TransportJudge(const std::vector<std::uint8_t>& stream) : _stream(stream) {
        constexpr int kBuffer = 4096;
        _input = avio_alloc_context(static_cast<unsigned char*>(av_malloc(kBuffer)), kBuffer, 0, this, &read, nullptr,
                                    nullptr);
        _format = avformat_alloc_context();
        _format->pb = _input;
        av_log_set_level(AV_LOG_WARNING);  // libzvbi's region is told with each decoder
        const AVInputFormat* const demuxer = av_find_input_format("mpegts");
        // The times are to be those that are written: the demuxer puts its own, 140.6 ms behind the last clock, in place of
        // teletext's that are later.
        AVDictionary* options = nullptr;
        EXPECT_GE(av_dict_set(&options, "fix_teletext_pts", "0", 0), 0);
        EXPECT_EQ(avformat_open_input(&_format, "", demuxer, &options), 0);
        EXPECT_EQ(av_dict_count(options), 0) << "the demuxer does not know the option";
        av_dict_free(&options);
        EXPECT_GE(avformat_find_stream_info(_format, nullptr), 0);
    }
    ~TransportJudge() {
        avformat_close_input(&_format);
        av_freep(&_input->buffer);
        avio_context_free(&_input);
    }
    TransportJudge(const TransportJudge&) = delete;
    TransportJudge& operator=(const TransportJudge&) = delete;

    [[nodiscard]] const AVFormatContext& format() const { return *_format; }

    /// The texts of page 888 as they come; empty where libzvbi is not there.
    std::vector<DecodedPage> pages(const char* page = "888") {
        std::vector<DecodedPage> pages;
        const AVCodec* const codec = avcodec_find_decoder(AV_CODEC_ID_DVB_TELETEXT);
        if (codec == nullptr) {
            return pages;
        }
        AVCodecContext* context = avcodec_alloc_context3(codec);
        context->pkt_timebase = {1, 90000};
        EXPECT_EQ(av_opt_set(context->priv_data, "txt_format", "text", 0), 0);
        EXPECT_EQ(av_opt_set(context->priv_data, "txt_page", page, 0), 0);
        // Receivers in Western Europe.
        EXPECT_EQ(av_opt_set_int(context->priv_data, "txt_default_region", 0, 0), 0);
        EXPECT_EQ(avcodec_open2(context, codec, nullptr), 0);
        AVPacket* packet = av_packet_alloc();
        while (av_read_frame(_format, packet) == 0) {
            AVSubtitle subtitle{};
            int isGot = 0;
            EXPECT_GE(avcodec_decode_subtitle2(context, &subtitle, &isGot, packet), 0);
            if (isGot != 0) {
                DecodedPage one{av_rescale(subtitle.pts, 90000, AV_TIME_BASE), {}};
                for (unsigned index = 0; index < subtitle.num_rects; ++index) {
                    const AVSubtitleRect& rect = *subtitle.rects[index];
                    one.text += rect.ass != nullptr ? textOf(rect.ass) : rect.text != nullptr ? rect.text : "";
                }
                pages.push_back(one);
                avsubtitle_free(&subtitle);
            }
            av_packet_unref(packet);
        }
        av_packet_free(&packet);
        avcodec_free_context(&context);
        return pages;
    }

private:
    static int read(void* self, std::uint8_t* to, int size) {
        auto& judge = *static_cast<TransportJudge*>(self);
        const std::size_t count = std::min(judge._stream.size() - judge._place, static_cast<std::size_t>(size));
        std::memcpy(to, judge._stream.data() + judge._place, count);
        judge._place += count;
        return count == 0 ? AVERROR_EOF : static_cast<int>(count);
    }

    /// The text of an event, behind its eight commas, rows without what stands around them.
    static std::string textOf(const std::string& event) {
        std::size_t place = 0;
        for (int comma = 0; comma < 8; ++comma) {
            place = event.find(',', place) + 1;
        }
        std::string text;
        std::string row;
        const auto endRow = [&] {
            const std::size_t begin = row.find_first_not_of(' ');
            if (begin != std::string::npos) {
                text += (text.empty() ? "" : "|") + row.substr(begin, row.find_last_not_of(' ') - begin + 1);
            }
            row.clear();
        };
        for (; place < event.size(); ++place) {
            if (event.compare(place, 2, "\\N") == 0) {
                endRow();
                ++place;
            } else if (event[place] != '\r' && event[place] != '\n') {
                row += event[place];
            }
        }
        endRow();
        return text;
    }

    const std::vector<std::uint8_t>& _stream;
    std::size_t _place = 0;
    AVIOContext* _input = nullptr;
    AVFormatContext* _format = nullptr;
};

std::string valueOf(AVDictionary* dictionary, const char* key) {
    const AVDictionaryEntry* const entry = av_dict_get(dictionary, key, nullptr, 0);
    return entry == nullptr ? "" : entry->value;
}

qlx::teletext::PageRow rowOf(std::u32string_view letters, std::uint8_t row) {
    qlx::teletext::PageRow result;
    result.row = row;
    result.column = 3;
    for (const char32_t letter : letters) {
        result.cells.push_back({.character = letter, .isVisible = true});
    }
    return result;
}

TEST(FfmpegTransport, SeesTheTablesThatAreWritten) {
    TransportWriterOptions options;
    options.serviceName = "Åland 1";
    options.mapPid = 0x1000;
    options.teletextPid = 0x234;
    options.pcrPid = 0x235;
    options.pages = {{{'s', 'w', 'e'}, ts::TeletextType::HearingImpaired, 0x888},
                     {{'f', 'i', 'n'}, ts::TeletextType::Subtitles, 0x150}};
    std::vector<qlx::teletext::PageText> texts{{.start = 10, .end = 40, .rows = {rowOf(U"One", 20)}}};
    const auto stream = qlxtest::streamOfTexts(texts, options);
    const TransportJudge judge(stream);
    ASSERT_EQ(judge.format().nb_programs, 1U);
    const AVProgram& program = *judge.format().programs[0];
    EXPECT_EQ(program.pmt_pid, 0x1000);
    EXPECT_EQ(program.pcr_pid, 0x235);
    EXPECT_EQ(valueOf(program.metadata, "service_name"), "Åland 1");
    ASSERT_EQ(judge.format().nb_streams, 1U);
    const AVStream& teletext = *judge.format().streams[0];
    EXPECT_EQ(teletext.id, 0x234);
    EXPECT_EQ(teletext.codecpar->codec_id, AV_CODEC_ID_DVB_TELETEXT);
    EXPECT_EQ(valueOf(teletext.metadata, "language"), "swe,fin");
}

/// What the judge calls the rows of a text, and the frame from which on they are shown.
DecodedPage expectedOf(const qlx::teletext::PageText& text, std::int64_t frameDuration) {
    const qlx::teletext::CharacterSet set = *qlx::teletext::characterSetOf(text.designation);
    DecodedPage page{static_cast<std::int64_t>(text.start) * frameDuration, {}};
    for (const qlx::teletext::PageRow& row : text.rows) {
        std::u32string letters = qlxtest::shownText(row);
        qlxtest::drawLetters(letters, qlxtest::drawnLetters(set));
        page.text += page.text.empty() ? "" : "|";
        for (const char32_t letter : letters) {
            qlx::appendUtf8(page.text, letter);
        }
    }
    return page;
}

/// The judge decodes these texts as they were written, at the times at which they are sent.
void expectDecoded(const std::vector<qlx::teletext::PageText>& texts, qlx::FrameRate rate, std::string_view language) {
    const std::int64_t duration = qlx::frameDuration(rate).value * 90000 / qlx::frameDuration(rate).timescale;
    const auto stream = qlxtest::streamOfTexts(texts, {.rate = rate, .bitrate = 400'000}, 15);
    TransportJudge judge(stream);
    auto decoded = judge.pages();
    std::erase_if(decoded, [](const DecodedPage& page) { return page.text.empty(); });
    ASSERT_EQ(decoded.size(), texts.size()) << language;
    for (std::size_t index = 0; index < decoded.size(); ++index) {
        const DecodedPage expected = expectedOf(texts[index], duration);
        EXPECT_EQ(decoded[index].text, expected.text) << language << ", text " << index;
        // The page is whole with its closing header, in the frame of its start or the next one.
        EXPECT_GE(decoded[index].time, expected.time);
        EXPECT_LE(decoded[index].time, expected.time + duration);
    }
}

/// Languages whose texts the judge decodes: Arabic letters are in codes of its own.
std::vector<qlxtest::LanguageLetters> judgedLanguages() {
    auto languages = qlxtest::languageLetters();
    std::erase_if(languages, [](const qlxtest::LanguageLetters& language) {
        const std::uint8_t designation = *qlx::teletext::designationOf(language.language);
        return qlx::teletext::characterSetOf(designation)->g0 == qlx::teletext::G0Set::Arabic;
    });
    return languages;
}

TEST(FfmpegTransport, DecodesEveryLanguage) {
    if (avcodec_find_decoder(AV_CODEC_ID_DVB_TELETEXT) == nullptr) {
        GTEST_SKIP() << "FFmpeg was built without libzvbi here: nothing decodes the pages";
    }
    std::size_t languages = 0;
    for (const qlxtest::LanguageLetters& language : judgedLanguages()) {
        const std::uint8_t designation = *qlx::teletext::designationOf(language.language);
        expectDecoded(qlxtest::textsOfRows(language.rows, designation), qlx::FrameRate::Fps25, language.language);
        ++languages;
    }
    EXPECT_GE(languages, 28U);
}

/// Half of 10,000 pages of letters of all languages, in their set and by X/26.
void expectRandomPages(qlx::FrameRate rate, unsigned seed) {
    auto languages = judgedLanguages();
    std::erase_if(languages, [](const qlxtest::LanguageLetters& language) {
        const std::uint8_t designation = *qlx::teletext::designationOf(language.language);
        return qlx::teletext::characterSetOf(designation)->isRightToLeft();
    });
    std::mt19937 random(seed);
    const std::size_t count = qlxtest::countFor(5'000U, 100U) / languages.size() + 1;
    for (const qlxtest::LanguageLetters& language : languages) {
        const std::uint8_t designation = *qlx::teletext::designationOf(language.language);
        expectDecoded(qlxtest::randomTexts(random, language, designation, count), rate, language.language);
    }
}

TEST(FfmpegTransport, DecodesThePagesOf25Frames) {
    if (avcodec_find_decoder(AV_CODEC_ID_DVB_TELETEXT) == nullptr) {
        GTEST_SKIP() << "FFmpeg was built without libzvbi here: nothing decodes the pages";
    }
    expectRandomPages(qlx::FrameRate::Fps25, 4);
}

TEST(FfmpegTransport, DecodesThePagesOf50Frames) {
    if (avcodec_find_decoder(AV_CODEC_ID_DVB_TELETEXT) == nullptr) {
        GTEST_SKIP() << "FFmpeg was built without libzvbi here: nothing decodes the pages";
    }
    expectRandomPages(qlx::FrameRate::Fps50, 5);
}

}  // namespace

#endif
