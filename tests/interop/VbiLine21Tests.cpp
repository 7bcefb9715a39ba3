// A line 21 drawn by this library, sliced by a decoder that is not from here: libzvbi, as receivers on Linux use it.
#include <gtest/gtest.h>

#ifdef QLX_HAVE_LIBZVBI

#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>
#include <QLXClosedCaptionsUtilities/QLXSubtitlesPacketizer.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <libzvbi.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t kWidth = 720;
constexpr std::size_t kRows = 480;
constexpr int kSamplingRate = 13'500'000;

/// Where row 1 of a picture begins, in samples behind the start of the line's horizontal sync. CTA-608 puts the first
/// cycle of the clock at 10.5 us; the drawn one begins at pixel 13.
constexpr int kRowStart = static_cast<int>(10.5e-6 * kSamplingRate) - 13;

/// libzvbi, set to one line of samples of the given format.
class Slicer {
public:
    Slicer(vbi_pixfmt format, std::size_t bytesPerLine) {
        vbi_raw_decoder_init(&_decoder);
        _decoder.scanning = 525;
        _decoder.sampling_format = format;
        _decoder.sampling_rate = kSamplingRate;
        _decoder.bytes_per_line = static_cast<int>(bytesPerLine);
        _decoder.offset = kRowStart;
        _decoder.start[0] = 21;
        _decoder.count[0] = 1;
        _decoder.start[1] = 0;
        _decoder.count[1] = 0;
        _decoder.interlaced = 0;
        _decoder.synchronous = 1;
        _services = vbi_raw_decoder_add_services(&_decoder, VBI_SLICED_CAPTION_525, 0);
    }
    ~Slicer() { vbi_raw_decoder_destroy(&_decoder); }
    Slicer(const Slicer&) = delete;
    Slicer& operator=(const Slicer&) = delete;

    [[nodiscard]] unsigned services() const { return _services; }

    /// The two bytes that are found in `line`, or nothing.
    std::vector<std::uint8_t> decode(std::uint8_t* line) {
        std::array<vbi_sliced, 4> sliced{};
        if (vbi_raw_decode(&_decoder, line, sliced.data()) != 1 || sliced[0].line != 21) {
            return {};
        }
        return {sliced[0].data[0], sliced[0].data[1]};
    }

private:
    vbi_raw_decoder _decoder{};
    unsigned _services = 0;
};

/// Draws a spread sample of parity-correct pairs into a picture of the given format and has row 1 of it decoded.
void expectPairsToBeDecoded(std::uint32_t pixelFormat, vbi_pixfmt samplingFormat) {
    std::shared_ptr<qlx::PixelBuffer> picture;
    ASSERT_EQ(qlx::services().get<qlx::PixelBufferFactory>().createPixelBuffer(kWidth, kRows, pixelFormat, &picture),
              0);
    QLXCEA608ReaderWriter writer;
    Slicer slicer(samplingFormat, picture->bytesPerRow());
    ASSERT_NE(slicer.services() & VBI_SLICED_CAPTION_525, 0U);
    // 16384 pairs of 7-bit codes in steps of 13: 1261 pairs, with every value of either byte among them.
    std::size_t decoded = 0;
    for (unsigned codes = 0; codes < 0x4000; codes += 13) {
        const std::vector<std::uint8_t> pair{
            QLXSubtitlesPacketizer::addOddParity(static_cast<std::uint8_t>(codes >> 7U)),
            QLXSubtitlesPacketizer::addOddParity(static_cast<std::uint8_t>(codes & 0x7FU))};
        writer.overlayCEA608FromData_videoPixelBuffer(qlx::Data(pair), picture);
        ASSERT_EQ(slicer.decode(picture->row(1)), pair) << "codes " << codes;
        ++decoded;
    }
    EXPECT_EQ(decoded, 1261U);
    EXPECT_TRUE(slicer.decode(picture->row(0)).empty()) << "a black row holds no caption";
    EXPECT_EQ(slicer.decode(picture->row(2)), (std::vector<std::uint8_t>{0x80, 0x80}));
}

}  // namespace

TEST(VbiLine21, DecodesWhatIsDrawnInto2vuy) {
    expectPairsToBeDecoded(qlx::kPixelFormat2vuy, VBI_PIXFMT_UYVY);
}

TEST(VbiLine21, DecodesWhatIsDrawnIntoYuvs) {
    expectPairsToBeDecoded(qlx::kPixelFormatYuvs, VBI_PIXFMT_YUYV);
}

TEST(VbiLine21, DecodesWhatIsDrawnInto420v) {
    expectPairsToBeDecoded(qlx::kPixelFormat420v, VBI_PIXFMT_YUV420);
}

TEST(VbiLine21, DecodesWhatIsDrawnIntoBGRA) {
    expectPairsToBeDecoded(qlx::kPixelFormatBGRA, VBI_PIXFMT_BGRA32_LE);
}

#else

TEST(VbiLine21, DecodesWhatIsDrawn) {
    GTEST_SKIP() << "libzvbi is missing: install libzvbi-dev and configure again";
}

#endif
