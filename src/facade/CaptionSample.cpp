#include "facade/CaptionSample.h"

#include "base/Bytes.h"
#include "facade/CaptionRate.h"
#include "facade/CaptionTriplet.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace qlx::captionsample {

void writeAtomHeader(std::uint8_t* bytes, std::uint32_t size, std::uint32_t type) noexcept {
    storeBig(bytes, size);
    storeBig(bytes + 4, type);
}

std::shared_ptr<SampleBuffer> ofBytes(std::uint32_t subType, std::span<const std::uint8_t> bytes,
                                      const SampleTimingInfo& timingInfo) {
    OneSample result = makeOneSample(anc::kCaptionMedia, subType, bytes, timingInfo);
    return result.failedStage == SampleStage::None ? std::move(result.sample) : nullptr;
}

std::shared_ptr<SampleBuffer> atom(std::uint32_t atomType, std::span<const std::uint8_t> payload,
                                   const SampleTimingInfo& timingInfo) {
    std::vector<std::uint8_t> bytes(anc::kAtomHeaderBytes + payload.size());
    writeAtomHeader(bytes.data(), static_cast<std::uint32_t>(bytes.size()), atomType);
    std::copy(payload.begin(), payload.end(), bytes.begin() + anc::kAtomHeaderBytes);
    const std::uint32_t subType = atomType == anc::kFieldOneAtom ? anc::kCea608Samples : anc::kCea708Samples;
    return ofBytes(subType, bytes, timingInfo);
}

namespace {

/// The largest caption sample: header and a CDP of 255 bytes of triplets.
constexpr std::size_t kMaxSampleBytes = anc::kAtomHeaderBytes + cdp::tripletPacketSize(0xFF);

/// A `c708` sample whose CDP of `size` bytes is written by `write(span)`; the atom size has only its low byte.
template <class Write>
std::shared_ptr<SampleBuffer> sampleOfPacket(std::size_t size, const SampleTimingInfo& timingInfo, Write write) {
    std::array<std::uint8_t, kMaxSampleBytes> bytes{};
    const std::size_t sampleSize = anc::kAtomHeaderBytes + size;
    writeAtomHeader(bytes.data(), static_cast<std::uint8_t>(sampleSize), anc::kCdpAtom);
    write(std::span(bytes).subspan(anc::kAtomHeaderBytes, size));
    return ofBytes(anc::kCea708Samples, std::span(bytes).first(sampleSize), timingInfo);
}

cdp::Header headerFor(const MediaTime& frameDuration, std::uint16_t sequenceCounter) {
    return {captionrate::frameRateCode(frameDuration), sequenceCounter};
}

}  // namespace

std::shared_ptr<SampleBuffer> fromPayload(const SampleTimingInfo& timingInfo, const MediaTime& frameDuration,
                                          std::uint16_t sequenceCounter, const Data& payload) {
    const std::uint8_t ccCount = std::min(captionrate::ccCount(frameDuration), cdp::kMaxPayloadCount);
    return sampleOfPacket(cdp::payloadPacketSize(ccCount), timingInfo, [&](std::span<std::uint8_t> bytes) {
        cdp::writePayloadPacket(bytes, headerFor(frameDuration, sequenceCounter), ccCount, payload);
    });
}

Data packetOfPayload(const MediaTime& frameDuration, std::uint16_t sequenceCounter, const Data& payload) {
    const std::uint8_t ccCount = std::min(captionrate::ccCount(frameDuration), cdp::kMaxPayloadCount);
    std::vector<std::uint8_t> bytes(cdp::payloadPacketSize(ccCount));
    cdp::writePayloadPacket(bytes, headerFor(frameDuration, sequenceCounter), ccCount, payload);
    return bytes;
}

std::shared_ptr<SampleBuffer> fromTriplets(const SampleTimingInfo& timingInfo, const MediaTime& frameDuration,
                                           std::uint16_t sequenceCounter, const Data& triplets) {
    constexpr std::size_t kFirstOwnSize = 18;
    if (timingInfo.duration.value == 0) {
        return nullptr;
    }
    if (triplets.size() < kFirstOwnSize && triplets.size() % triplet::kBytes == 0) {
        return fromPayload(timingInfo, frameDuration, sequenceCounter, triplets);
    }
    if (captionrate::ccCount(frameDuration) == 0) {
        return nullptr;
    }
    return sampleOfPacket(cdp::tripletPacketSize(triplets.size()), timingInfo, [&](std::span<std::uint8_t> bytes) {
        cdp::writeTripletPacket(bytes, headerFor(frameDuration, sequenceCounter), triplets);
    });
}

Data payloadOf(const SampleBuffer& sample) {
    if (!sample.formatDescription) {
        return {};
    }
    const std::uint32_t type = sample.formatDescription->mediaType;
    const std::uint32_t subType = sample.formatDescription->mediaSubType;
    const bool ancillary = type == kMetadataMediaType && subType == kSubTypeVANC;
    if (!ancillary && type != anc::kCaptionMedia) {
        return {};
    }
    const std::size_t offset = type == anc::kCaptionMedia && subType == anc::kCea708Samples ? anc::kAtomHeaderBytes : 0;
    const auto bytes = dataOfSample(sample);
    if (!bytes || bytes->size() < offset) {
        return {};
    }
    return bytes->subspan(offset);
}

}  // namespace qlx::captionsample
