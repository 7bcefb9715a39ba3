// QLXVANCPacket: packets in MXF data, QuickTime atoms and media samples.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "base/Bytes.h"
#include "facade/AncElement.h"
#include "facade/CaptionSample.h"
#include "facade/OneSample.h"
#include "facade/QuickTimeCaptionAtom.h"

#include <map>
#include <span>
#include <string_view>
#include <utility>

namespace {

using Packets = std::vector<std::shared_ptr<QLXVANCPacket>>;

constexpr std::string_view kPacketTypesAttachment = "VANCPacketTypes";

/// What the element's writers need of each packet; holds the data, so that they stay in place.
class ElementPackets {
public:
    void add(const QLXVANCPacket& packet) {
        _data.push_back(packet.packetData());
        _packets.push_back({packet.lineNumber(), static_cast<std::uint8_t>(packet.packetDID()),
                            static_cast<std::uint8_t>(packet.packetSDID()), _data.back()});
    }

    void reserve(std::size_t count) {
        _data.reserve(count);
        _packets.reserve(count);
    }

    [[nodiscard]] std::span<const qlx::ancelement::Packet> packets() const { return _packets; }

private:
    std::vector<qlx::Data> _data;
    std::vector<qlx::ancelement::Packet> _packets;
};

}  // namespace

Packets QLXVANCPacket::VANCPacketsWithMXFData_bufferFormat(const qlx::Data& data, std::uint32_t bufferFormat) {
    return VANCPacketsWithMXFBuffer_size_bufferFormat(data.data(), data.size(), bufferFormat);
}

Packets QLXVANCPacket::VANCPacketsWithMXFBuffer_size_bufferFormat(const std::uint8_t* buffer, std::uint64_t size,
                                                                  std::uint32_t bufferFormat) {
    Packets packets;
    if (bufferFormat != qlx::kPixelFormat2vuy) {
        return packets;
    }
    qlx::ancelement::Reader reader(std::span<const std::uint8_t>(buffer, static_cast<std::size_t>(size)));
    while (const auto packet = reader.next()) {
        packets.push_back(make(packetTypeWithDID_SDID(packet->did, packet->sdid), packet->did, packet->sdid,
                               packet->lineNumber, packet->userData));
    }
    return packets;
}

std::shared_ptr<QLXVANCPacket> QLXVANCPacket::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(
    const std::uint8_t* buffer, std::uint64_t size, std::int32_t lineNumber) {
    const auto atom = qlx::captionatom::parse(std::span<const std::uint8_t>(buffer, static_cast<std::size_t>(size)));
    if (!atom) {
        return nullptr;
    }
    const auto line = static_cast<std::uint64_t>(std::int64_t{lineNumber});
    return atom->kind == qlx::captionatom::Kind::CEA608 ? CEA608VANCPacketWithData_lineNumber(atom->payload, line)
                                                        : CEA708VANCPacketWithData_lineNumber(atom->payload, line);
}

Packets QLXVANCPacket::VANCPacketsWithCMSampleBuffer(const std::shared_ptr<qlx::SampleBuffer>& sampleBuffer) {
    if (!sampleBuffer || !sampleBuffer->formatDescription ||
        sampleBuffer->formatDescription->mediaSubType != qlx::captionsample::kSubTypeVANC) {
        return {};
    }
    const auto element = qlx::dataOfSample(*sampleBuffer);
    if (!element) {
        return {};
    }
    return VANCPacketsWithMXFBuffer_size_bufferFormat(element->data(), element->size(), qlx::kPixelFormat2vuy);
}

qlx::Data QLXVANCPacket::ANCPacketWithVANCPacket(const std::shared_ptr<QLXVANCPacket>& packet) {
    if (!packet) {
        return {};
    }
    ElementPackets one;
    one.add(*packet);
    const qlx::ancelement::Packet& content = one.packets().front();
    return qlx::Data::make(qlx::ancelement::packetSize(content.userData.size()),
                           [&content](std::uint8_t* bytes) { qlx::ancelement::writePacket(bytes, content); });
}

qlx::Data QLXVANCPacket::ANCPacketWithVANCPackets_lineNumber(const Packets& packets, std::uint64_t lineNumber) {
    ElementPackets ofLine;
    for (const auto& packet : packets) {
        if (packet && packet->lineNumber() == lineNumber) {
            ofLine.add(*packet);
        }
    }
    return qlx::ancelement::combinedPacket(lineNumber, ofLine.packets());
}

qlx::Data QLXVANCPacket::MXFDataPacketWithVANCPackets(const Packets& packets) {
    ElementPackets all;
    all.reserve(packets.size());
    for (const auto& packet : packets) {
        if (packet) {
            all.add(*packet);
        }
    }
    return qlx::ancelement::element(all.packets());
}

qlx::Data QLXVANCPacket::MXFDataPacketWithVANCPacketsOld(const Packets& packets) {
    std::map<std::uint64_t, ElementPackets> lines;
    for (const auto& packet : packets) {
        if (packet) {
            lines[packet->lineNumber()].add(*packet);
        }
    }
    std::vector<std::uint8_t> element(2);
    qlx::storeBig(element.data(), static_cast<std::uint16_t>(lines.size()));
    for (const auto& [lineNumber, ofLine] : lines) {
        const std::vector<std::uint8_t> combined = qlx::ancelement::combinedPacket(lineNumber, ofLine.packets());
        element.insert(element.end(), combined.begin(), combined.end());
    }
    return element;
}

std::shared_ptr<qlx::SampleBuffer> QLXVANCPacket::createSampleBufferWithVANCPackets_timingInfo(
    const Packets& packets, const qlx::SampleTimingInfo& timingInfo) {
    const qlx::Data element = MXFDataPacketWithVANCPackets(packets);
    qlx::OneSample result = qlx::makeOneSample(qlx::captionsample::kMetadataMediaType, qlx::captionsample::kSubTypeVANC,
                                               element, timingInfo);
    if (result.failedStage == qlx::SampleStage::SampleBuffer) {
        qlx::services().get<qlx::Console>().print(
            qlx::formatted("Invalid could not create VANC sample buffer (Error = %i\n", result.status));
    } else if (result.sample) {
        qlx::Array types;
        types.reserve(packets.size());
        for (const auto& packet : packets) {
            if (packet) {
                types.emplace_back(packet->packetType());
            }
        }
        result.sample->attachments.set(kPacketTypesAttachment, std::move(types));
    }
    return std::move(result.sample);
}
