// Splitting and joining: triplets and fields of any length, and samples of every kind with any payload and time.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include "FuzzSupport.h"

#include <algorithm>
#include <array>
#include <memory>

using qlxfuzz::require;
using Bytes = std::vector<std::uint8_t>;
using Sample = std::shared_ptr<qlx::SampleBuffer>;

namespace {

struct Format {
    std::uint32_t type;
    std::uint32_t subType;
};

constexpr std::array<Format, 5> kFormats{{{qlx::fourCC("clcp"), qlx::fourCC("c608")},
                                          {qlx::fourCC("clcp"), qlx::fourCC("c708")},
                                          {qlx::fourCC("meta"), qlx::fourCC("VANC")},
                                          {qlx::fourCC("clcp"), 0},
                                          {qlx::fourCC("sbtl"), qlx::fourCC("op47")}}};

constexpr std::array<qlx::MediaTime, 10> kDurations{
    {qlx::MediaTime::make(1001, 60'000), qlx::MediaTime::make(1001, 30'000), qlx::MediaTime::make(1, 50),
     qlx::MediaTime::make(1, 25), qlx::MediaTime::make(1, 120), qlx::MediaTime::make(1, 7), qlx::MediaTime{},
     qlx::MediaTime::make(-1, 25), qlx::MediaTime::make(INT64_MAX, 1), qlx::MediaTime::make(1, INT32_MAX)}};

/// One part of the input: as many bytes as its first byte says.
Bytes takePart(qlxfuzz::Input& input) {
    Bytes part(input.takeByte() * std::size_t{3});
    std::generate(part.begin(), part.end(), [&input] { return input.takeByte(); });
    return part;
}

Bytes takeField(qlxfuzz::Input& input) {
    Bytes field(input.takeByte() % 16);
    std::generate(field.begin(), field.end(), [&input] { return input.takeByte(); });
    return field;
}

void checkTriplets(qlxfuzz::Input& input) {
    const std::uint8_t ccCount = input.takeByte();
    const Bytes field1 = takeField(input);
    const Bytes field2 = takeField(input);
    const Bytes dtvcc = takePart(input);
    const Bytes others = input.rest();
    qlx::Data first;
    qlx::Data second;
    QLXCCUtilities::splitCEA708PacketData_withCC1Data_andCC2Data_toPacketData1_andPacketData2_CCCount(
        dtvcc, field1, field2, &first, &second, ccCount);
    const std::size_t least = std::size_t{ccCount} * 3;
    require(first.size() >= least && first.size() % 3 == 0);
    require(second.size() >= least && second.size() % 3 == 0);
    const std::size_t pairs = field1.size() / 2;
    require(first.size() ==
            std::max(least, pairs * 3 + std::min(dtvcc.size() % 256 / 3 * 3, std::max<std::size_t>(least, 3) - 3)));

    const qlx::Data joined =
        QLXCCUtilities::concatenatedCEA708PacketDataFromData_andData_withCC1Data_andCC2Data_CCCount(
            dtvcc, others, field1, field2, ccCount);
    const std::size_t field2Triplets = std::max<std::size_t>(field2.size() / 2, 1);
    const std::size_t content = (pairs + field2Triplets) * 3 + dtvcc.size() + others.size();
    require(joined.size() >= std::max(content, least) && joined.size() < std::max(content, least) + 3);
    require(std::equal(others.begin(), others.end(),
                       joined.begin() + static_cast<std::ptrdiff_t>(content - others.size())));
}

Sample takeSample(qlxfuzz::Input& input, const Bytes& payload) {
    const Format& format = kFormats[input.takeByte() % kFormats.size()];
    auto sample = std::make_shared<qlx::SampleBuffer>();
    sample->formatDescription =
        std::make_shared<qlx::FormatDescription>(qlx::FormatDescription{format.type, format.subType, {}});
    sample->dataBuffer = std::make_shared<qlx::BlockBuffer>(payload.size());
    std::copy(payload.begin(), payload.end(), sample->dataBuffer->data());
    const std::uint8_t value = input.takeByte();
    if (value != 0) {
        qlx::MediaTime time = kDurations[input.takeByte() % kDurations.size()];
        time.value = time.value > 1'000'000 ? time.value : time.value * value;
        sample->timingInfo = qlx::SampleTimingInfo{time, time, {}};
    }
    return sample;
}

/// What a made sample must be: packets, or a caption packet whose atom size and bytes agree.
void checkMade(const Sample& sample) {
    if (!sample || sample->formatDescription->mediaSubType != qlx::fourCC("c708")) {
        return;
    }
    const qlx::Data packet = QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample);
    require(packet.size() >= 29 && packet[0] == 0x96 && packet[1] == 0x69);
    std::uint8_t sum = 0;
    for (const std::uint8_t byte : packet) {
        sum = static_cast<std::uint8_t>(sum + byte);
    }
    require(sum == 0);
}

void checkSamples(qlxfuzz::Input& input) {
    const qlx::MediaTime& duration = kDurations[input.takeByte() % kDurations.size()];
    const Bytes otherPayload = takePart(input);
    const Sample other = takeSample(input, otherPayload);
    const std::uint8_t format = input.takeByte();
    qlxfuzz::Input header(&format, 1);
    const Sample one = takeSample(header, input.rest());

    for (const Sample& sample : {one, other}) {
        Sample first;
        Sample second;
        const bool result = QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(
            sample, &first, &second, duration);
        require(result == static_cast<bool>(QLXCCUtilities::extractCaptionsDataFromSampleBuffer(sample)));
        require(result || (!first && !second));
        if (first != sample) {
            checkMade(first);
            checkMade(second);
            checkMade(QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(
                first, second, duration));
        }
    }
    checkMade(QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(one, other,
                                                                                                           duration));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    if (input.takeByte() % 2 == 0) {
        checkTriplets(input);
    } else {
        checkSamples(input);
    }
    return 0;
}
