// QLXCCUtilities: captions across frame rates.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "facade/CaptionDistributionPacket.h"
#include "facade/CaptionFrameRates.h"
#include "facade/CaptionRate.h"
#include "facade/CaptionSample.h"
#include "facade/CaptionTriplet.h"
#include "facade/SequenceCounter.h"

namespace {

using Sample = std::shared_ptr<qlx::SampleBuffer>;
using Packets = std::vector<std::shared_ptr<QLXVANCPacket>>;

constexpr std::size_t kPair = qlx::triplet::kPairBytes;

/// The timing of the output frame at `sample`'s time; invalid where the platform has no timing for it.
qlx::SampleTimingInfo outputTiming(const qlx::SampleBuffer& sample, const qlx::MediaTime& frameDuration) {
    qlx::SampleTimingInfo timing;
    if (qlx::services().get<qlx::MediaFactory>().sampleTimingInfo(sample, 0, &timing) != 0) {
        timing = {};
    }
    timing.duration = frameDuration;
    timing.presentationTimeStamp =
        qlx::convertScale(timing.presentationTimeStamp, frameDuration.timescale, qlx::RoundingMethod::QuickTime);
    return timing;
}

/// The timing one output frame later.
qlx::SampleTimingInfo nextTiming(qlx::SampleTimingInfo timing) {
    timing.presentationTimeStamp = qlx::add(timing.presentationTimeStamp, timing.duration);
    return timing;
}

qlx::captionframerates::Halves splitPacket(const qlx::Data& packet, std::uint8_t ccCount) {
    const qlx::cdp::SortedTriplets sorted = qlx::cdp::sortedTriplets(packet, qlx::cdp::kTripletsOffset);
    return qlx::captionframerates::split(sorted.dtvcc, sorted.field1, sorted.field2, ccCount);
}

/// What a split works on.
struct Split {
    const Sample& input;
    qlx::Data payload;
    qlx::SampleTimingInfo firstTiming;
    qlx::SampleTimingInfo secondTiming;
    const qlx::MediaTime& frameDuration;
    Sample* first;
    Sample* second;
};

Sample sampleOfTriplets(const qlx::SampleTimingInfo& timing, const qlx::MediaTime& frameDuration,
                        const qlx::Data& triplets) {
    Sample sample = qlx::captionsample::fromTriplets(timing, frameDuration, qlx::sequencecounter::current(), triplets);
    if (sample) {
        qlx::sequencecounter::advance();
    }
    return sample;
}

void splitCDP(const Split& split) {
    const qlx::captionframerates::Halves halves =
        splitPacket(split.payload, qlx::captionrate::ccCount(split.frameDuration));
    *split.first = sampleOfTriplets(split.firstTiming, split.frameDuration, halves.first);
    *split.second = sampleOfTriplets(split.secondTiming, split.frameDuration, halves.second);
}

/// One or two field-1 pairs. Both samples carry the same counter, and the second is made from a triplet list that
/// holds the bare pair: hosts tell the two halves apart by it.
void splitPairs(const Split& split) {
    const std::uint16_t counter = qlx::sequencecounter::current();
    const std::span<const std::uint8_t> pairs = split.payload;
    *split.first = qlx::captionsample::fromPayload(split.firstTiming, split.frameDuration, counter, pairs.first(kPair));
    if (pairs.size() > kPair) {
        *split.second =
            qlx::captionsample::fromTriplets(split.secondTiming, split.frameDuration, counter, pairs.subspan(kPair));
    }
    qlx::sequencecounter::advance();
}

/// Puts the first half of every CDP into its packet; gives the packet with the second half of the first one.
std::shared_ptr<QLXVANCPacket> splitPackets(const Packets& packets, const qlx::MediaTime& frameDuration, bool* found) {
    const std::uint8_t ccCount = qlx::captionrate::ccCount(frameDuration);
    std::shared_ptr<QLXVANCPacket> second;
    for (const auto& packet : packets) {
        if (packet->packetType() != QLXVANCPacketTypeCEA708) {
            continue;
        }
        *found = true;
        const qlx::captionframerates::Halves halves = splitPacket(packet->packetData(), ccCount);
        const auto packetData = [&](const qlx::Data& triplets) {
            return QLXVANCPacket::CEA708PacketDataWithFrameDuration_sequenceCounter_lineNumber_CEA708Bytes(
                frameDuration, 0, static_cast<std::int32_t>(packet->lineNumber()), triplets);
        };
        packet->setPacketData(packetData(halves.first));
        if (!second) {
            second =
                QLXVANCPacket::CEA708VANCPacketWithData_lineNumber(packetData(halves.second), packet->lineNumber());
            second->setPacketDID(packet->packetDID());
            second->setPacketSDID(packet->packetSDID());
        }
    }
    return second;
}

void splitElement(const Split& split) {
    const Packets packets = QLXVANCPacket::VANCPacketsWithMXFData_bufferFormat(split.payload, qlx::kPixelFormat2vuy);
    bool found = false;
    const std::shared_ptr<QLXVANCPacket> second = splitPackets(packets, split.frameDuration, &found);
    if (!found) {
        *split.first = split.input;
        *split.second = nullptr;
        return;
    }
    *split.first = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(packets, split.firstTiming);
    qlx::sequencecounter::advance();
    *split.second = QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo({second}, split.secondTiming);
    qlx::sequencecounter::advance();
}

qlx::Data joined(const qlx::Data& first, const qlx::Data& second) {
    std::vector<std::uint8_t> bytes(first.begin(), first.end());
    bytes.insert(bytes.end(), second.begin(), second.end());
    return bytes;
}

}  // namespace

void QLXCCUtilities::splitCEA708PacketData_withCC1Data_andCC2Data_toPacketData1_andPacketData2_CCCount(
    const qlx::Data& packetData, const qlx::Data& cc1Data, const qlx::Data& cc2Data, qlx::Data* packetData1,
    qlx::Data* packetData2, std::uint8_t ccCount) {
    if (!packetData1 || !packetData2) {
        return;
    }
    qlx::captionframerates::Halves halves = qlx::captionframerates::split(packetData, cc1Data, cc2Data, ccCount);
    *packetData1 = std::move(halves.first);
    *packetData2 = std::move(halves.second);
}

qlx::Data QLXCCUtilities::concatenatedCEA708PacketDataFromData_andData_withCC1Data_andCC2Data_CCCount(
    const qlx::Data& first, const qlx::Data& second, const qlx::Data& cc1Data, const qlx::Data& cc2Data,
    std::uint8_t ccCount) {
    if (!first || !second) {
        return {};
    }
    return qlx::captionframerates::join(first, second, cc1Data, cc2Data, ccCount);
}

bool QLXCCUtilities::splitSampleBuffer_toSampleBuffer_andSampleBuffer_frameDuration(
    const Sample& sampleBuffer, Sample* first, Sample* second, const qlx::MediaTime& frameDuration) {
    if (!sampleBuffer || !first || !second) {
        return false;
    }
    qlx::Data payload = qlx::captionsample::payloadOf(*sampleBuffer);
    if (!payload) {
        return false;
    }
    const qlx::SampleTimingInfo timing = outputTiming(*sampleBuffer, frameDuration);
    const Split split{sampleBuffer, std::move(payload), timing, nextTiming(timing), frameDuration, first, second};
    if (qlx::cdp::isPacket(split.payload)) {
        splitCDP(split);
    } else if (split.payload.size() == kPair || split.payload.size() == 2 * kPair) {
        splitPairs(split);
    } else if (!split.payload.empty() && split.payload[0] == 0x00) {
        splitElement(split);
    }
    return true;
}

Sample QLXCCUtilities::createConcatenatedSampleBufferWithSampleBuffer_andSampleBuffer_frameDuration(
    const Sample& first, const Sample& second, const qlx::MediaTime& frameDuration) {
    if (!first || !second) {
        return nullptr;
    }
    const qlx::Data firstPayload = qlx::captionsample::payloadOf(*first);
    const qlx::Data secondPayload = qlx::captionsample::payloadOf(*second);
    const qlx::SampleTimingInfo timing = outputTiming(*first, frameDuration);
    const std::uint16_t counter = qlx::sequencecounter::current();
    Sample result;
    if (!qlx::cdp::isPacket(firstPayload)) {
        if (firstPayload.size() != kPair || secondPayload.size() != kPair) {
            return nullptr;
        }
        result = qlx::captionsample::fromPayload(timing, frameDuration, counter, joined(firstPayload, secondPayload));
    } else {
        if (!qlx::cdp::isPacket(secondPayload)) {
            return nullptr;
        }
        const auto one = qlx::cdp::sortedTriplets(firstPayload, qlx::cdp::kTripletsOffset);
        const auto other = qlx::cdp::sortedTriplets(secondPayload, qlx::cdp::kTripletsOffset);
        const qlx::Data triplets =
            qlx::captionframerates::join(one.dtvcc, other.dtvcc, joined(one.field1, other.field1),
                                         joined(one.field2, other.field2), qlx::captionrate::ccCount(frameDuration));
        result = qlx::captionsample::fromTriplets(timing, frameDuration, counter, triplets);
    }
    qlx::sequencecounter::advance();
    return result;
}

qlx::Data QLXCCUtilities::extractCaptionsDataFromSampleBuffer(const Sample& sampleBuffer) {
    return sampleBuffer ? qlx::captionsample::payloadOf(*sampleBuffer) : qlx::Data();
}

Sample QLXCCUtilities::createCEA708SampleBufferWithSampleTimingInfo_frameDuration_sequenceCounter_a53Data(
    const qlx::SampleTimingInfo& timingInfo, const qlx::MediaTime& frameDuration, std::uint16_t sequenceCounter,
    const qlx::Data& a53Data) {
    return qlx::captionsample::fromTriplets(timingInfo, frameDuration, sequenceCounter, a53Data);
}
