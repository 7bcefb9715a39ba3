#include "io/AsDeployed.h"

#include "io/Frame.h"

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>

#include <qlx/anc/element.h>
#include <qlx/anc/packet.h>
#include <qlx/facade/packet.h>

#include <array>

namespace qlx::tool {

namespace {

/// The 32-bit words of a v210 row from the one that holds a packet's first luma sample to the one that holds its last.
constexpr std::uint64_t wordsOfPacket(std::uint64_t dataBytes) {
    constexpr std::array<std::uint64_t, 6> kWordOfSample{0, 1, 1, 2, 3, 3};
    const std::uint64_t last = anc::packetWords(dataBytes) - 1;
    return last / 6 * 4 + kWordOfSample[last % 6] + 1;
}

/// A packet that has no place: the fixed operation would count its data in eight bits, or write it behind the picture's
/// width, where it would be lost.
std::optional<Finding> findMisfit(const streams::Frame& frame, std::uint64_t line, std::uint64_t width) {
    const std::uint64_t available = (width * 2 + 2) / 3;
    std::uint64_t used = 0;
    for (std::size_t index = 0; index < frame.packets.size(); ++index) {
        const anc::Packet& packet = frame.packets[index];
        const std::size_t size = packet.userData.size();
        if (size > anc::kGreatestUserData) {
            return Finding{FindingCode::AncTooManyUserDataWords, Severity::Error, index,
                           static_cast<std::int64_t>(size), static_cast<std::int64_t>(anc::kGreatestUserData)};
        }
        used += packet.line == line ? wordsOfPacket(size) : 0;
        if (used > available) {
            return Finding{FindingCode::AncPacketDoesNotFit, Severity::Error, index,
                           static_cast<std::int64_t>(anc::packetWords(size)), 0};
        }
    }
    return std::nullopt;
}

void tellChannels(const streams::Frame& frame, FindingSink* findings) {
    for (std::size_t index = 0; findings != nullptr && index < frame.packets.size(); ++index) {
        if (const anc::Channel channel = frame.packets[index].channel; channel != anc::Channel::Luma) {
            findings->add(
                {FindingCode::StreamChannelLeftOut, Severity::Warning, index, static_cast<std::int64_t>(channel), 0});
        }
    }
}

void tellWrappings(const streams::Frame& frame, FindingSink* findings) {
    for (std::size_t index = 0; findings != nullptr && index < frame.wrappings.size(); ++index) {
        if (const anc::Wrapping wrapping = frame.wrappings[index]; wrapping != anc::Wrapping::VancFrame) {
            findings->add(
                {FindingCode::StreamWrappingLeftOut, Severity::Warning, index, static_cast<std::int64_t>(wrapping), 0});
        }
    }
}

}  // namespace

void NearStartReader::search(const streams::FileRow& row, streams::Frame& frame, FindingSink* findings) {
    std::optional<std::string> problem;
    const std::uint32_t pixelFormat = layout().format == anc::RowFormat::V210 ? kPixelFormatV210 : kPixelFormat2vuy;
    const auto packets =
        facade::toAncPackets(QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
            row.bytes.data(), row.bytes.size(), pixelFormat, row.line, &problem));
    frame.packets.insert(frame.packets.end(), packets.begin(), packets.end());
    if (problem && findings != nullptr) {
        _texts.push_back(tool::placeOf(frame.number, row.line) + ": " + *problem);
        findings->add({FindingCode::StreamLibraryRemark, Severity::Error, row.offset, 0, 0});
    }
}

std::optional<Finding> DeployedRowWriter::fill(std::span<std::uint8_t> row, const streams::Frame& frame,
                                               std::uint64_t line) {
    if (const auto misfit = findMisfit(frame, line, layout().width)) {
        return misfit;
    }
    QLXCCUtilities::fillYComponentIn10BitBuffer_withVANCPackets_destinationBufferSize_lineNumber(
        row.data(), facade::toVANCPackets(frame.packets), row.size(), static_cast<std::int32_t>(line));
    return std::nullopt;
}

std::optional<Finding> DeployedRowWriter::write(const streams::Frame& frame, FindingSink* findings) {
    const std::optional<Finding> failure = RowWriter::write(frame, findings);
    if (!failure) {
        tellChannels(frame, findings);
    }
    return failure;
}

std::optional<Finding> DeployedKlvWriter::write(const streams::Frame& frame, FindingSink* findings) {
    const std::optional<Finding> failure = KlvWriter::write(frame, findings);
    if (!failure) {
        tellChannels(frame, findings);
        tellWrappings(frame, findings);
    }
    return failure;
}

Result<Data> DeployedKlvWriter::elementOf(const streams::Frame& frame) const {
    // The fixed operation would cut what has no place. Without room the core says nothing else of what has one.
    const Result<std::size_t> size = anc::writeElement(frame.packets, std::span<std::uint8_t>());
    if (!size && size.error().code != FindingCode::OutputTooSmall) {
        return size.error();
    }
    return QLXVANCPacket::MXFDataPacketWithVANCPackets(facade::toVANCPackets(frame.packets));
}

}  // namespace qlx::tool
