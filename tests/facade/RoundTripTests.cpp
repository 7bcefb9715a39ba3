// What is drawn reads back, for every byte pair, in every format.
#include <QLXClosedCaptionsUtilities/QLXCEA608ReaderWriter.h>

#include "Pictures.h"
#include "Sanitized.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

/// Draws into one picture and reads it back, again and again.
class Line {
public:
    Line(std::uint32_t format, std::size_t width) : _sample(std::make_shared<qlx::SampleBuffer>()) {
        _sample->imageBuffer = qlxtest::makePicture(width, 3, format);
    }

    /// True when the pair a, b gives the sample a, b | 0x80, 0x80, 0: row 2 holds 0x80 twice, and its first byte meets
    /// the second one of row 1.
    [[nodiscard]] bool carries(unsigned first, unsigned second) {
        const std::uint8_t pair[] = {static_cast<std::uint8_t>(first), static_cast<std::uint8_t>(second)};
        _writer.overlayCEA608FromCCBuffer_size_intoPixelBuffer(pair, 2, _sample->imageBuffer);
        const auto caption = _reader.createClosedCaptionSampleFromCEA608VideoSampleBuffer(_sample);
        if (!caption || caption->dataBuffer->size() != 4) {
            return false;
        }
        const std::uint8_t* const bytes = caption->dataBuffer->data();
        return bytes[0] == first && bytes[1] == (second | 0x80U) && bytes[2] == 0x80 && bytes[3] == 0;
    }

private:
    QLXCEA608ReaderWriter _writer;
    QLXCEA608ReaderWriter _reader;  ///< Another object: it knows the pair from the picture alone.
    std::shared_ptr<qlx::SampleBuffer> _sample;
};

class Line21RoundTrip : public testing::TestWithParam<std::tuple<std::uint32_t, std::size_t>> {};

/// "v210_1920".
std::string nameOf(const testing::TestParamInfo<Line21RoundTrip::ParamType>& info) {
    const std::uint32_t format = std::get<0>(info.param);
    std::string name;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        name.push_back(static_cast<char>(format >> shift & 0xFFU));
    }
    return name + "_" + std::to_string(std::get<1>(info.param));
}

}  // namespace

TEST_P(Line21RoundTrip, CarriesEveryPair) {
    Line line(std::get<0>(GetParam()), std::get<1>(GetParam()));
    // Under the sanitizers still every value of either byte: the step is odd and shorter than 256.
    for (unsigned pair = 0; pair < 0x10000; pair += qlxtest::countFor(1U, 61U)) {
        ASSERT_TRUE(line.carries(pair >> 8U, pair & 0xFFU)) << "pair " << pair;
    }
}

INSTANTIATE_TEST_SUITE_P(Formats, Line21RoundTrip,
                         testing::Combine(testing::ValuesIn(qlxtest::kPixelFormats),
                                          testing::Values(std::size_t{720}, std::size_t{1280}, std::size_t{1920})),
                         nameOf);
