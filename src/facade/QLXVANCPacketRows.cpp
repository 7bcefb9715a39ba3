// QLXVANCPacket: finding packets in SDI rows.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/FourCC.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include "anc/RowKernels.h"
#include "facade/LumaPackets.h"
#include "v210/V210.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

using Packets = std::vector<std::shared_ptr<QLXVANCPacket>>;

/// Luma bytes that fit on the stack: rows of up to 4096 pixels need no allocation.
constexpr std::size_t kLumaOnStack = 4096;

/// True when 00, FF, FF stand in one of the two interleaved channels at one of the first six bytes. Nothing behind
/// the row is read: an offset that needs it does not match.
bool has8BitFlagNearStart(std::span<const std::uint8_t> row) {
    constexpr std::size_t kProbedBytes = 6;
    for (std::size_t offset = 0; offset < kProbedBytes && offset + 4 < row.size(); ++offset) {
        if (row[offset] == 0x00 && row[offset + 2] == 0xFF && row[offset + 4] == 0xFF) {
            return true;
        }
    }
    return false;
}

/// The packets of a `v210` row whose flag was seen.
Packets packetsOfV210Row(std::span<const std::uint8_t> row, std::uint64_t lineNumber,
                         std::optional<std::string>* errorString) {
    const std::size_t groups = row.size() / qlx::v210::kGroupBytes;
    if (groups == 0) {
        return {};
    }
    const std::size_t size = groups * qlx::v210::kLumaOfGroup;
    std::array<std::uint8_t, kLumaOnStack> stack;  // Filled up to `size` before it is read.
    std::vector<std::uint8_t> heap(size > stack.size() ? size : 0);
    std::uint8_t* const luma = heap.empty() ? stack.data() : heap.data();
    qlx::anc::rowKernels().reduceV210(row.data(), groups, luma);
    return QLXVANCPacket::VANCPacketsWithSDILumaBuffer_size_lineNumber_errorString(luma, size, lineNumber, errorString);
}

}  // namespace

Packets QLXVANCPacket::VANCPacketsWithMultilineSDIBuffer_size_bytesPerRow_bufferFormat_errorString(
    const std::uint8_t* buffer, std::uint64_t size, std::uint64_t bytesPerRow, std::uint32_t bufferFormat,
    std::optional<std::string>* errorString) {
    Packets packets;
    std::optional<std::string> messages;
    // Not cleared between rows: a row without a flag repeats the message before it, as hosts have always been told.
    std::optional<std::string> rowError;
    const std::uint64_t rows = bytesPerRow == 0 ? 0 : size / bytesPerRow;
    for (std::uint64_t row = 0; row < rows; ++row) {
        Packets found = VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
            buffer + row * bytesPerRow, bytesPerRow, bufferFormat, row, &rowError);
        std::move(found.begin(), found.end(), std::back_inserter(packets));
        if (rowError) {
            if (messages) {
                (*messages += '\n') += *rowError;
            } else {
                messages = rowError;
            }
        }
    }
    if (errorString) {
        *errorString = std::move(messages);
    }
    return packets;
}

Packets QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
    const std::uint8_t* buffer, std::uint64_t size, std::uint32_t bufferFormat, std::uint64_t lineNumber,
    std::optional<std::string>* errorString) {
    const std::span<const std::uint8_t> row(buffer, static_cast<std::size_t>(size));
    if (bufferFormat == qlx::kPixelFormat2vuy && has8BitFlagNearStart(row)) {
        const qlx::Data luma = QLXCCUtilities::lumaBufferFrom8BitYUVBuffer_size(buffer, size);
        return VANCPacketsWithSDILumaBuffer_size_lineNumber_errorString(luma.data(), luma.size(), lineNumber,
                                                                        errorString);
    }
    // An 8-bit row without a flag is probed as a 10-bit one too: some hosts hand over v210 rows as 2vuy.
    const bool probe = bufferFormat == qlx::kPixelFormatV210 || bufferFormat == qlx::kPixelFormat2vuy;
    if (probe && qlx::v210::hasDataFlagNearStart(row)) {
        return packetsOfV210Row(row, lineNumber, errorString);
    }
    return {};
}

Packets QLXVANCPacket::VANCPacketsWithSDILumaBuffer_size_lineNumber_errorString(
    const std::uint8_t* buffer, std::uint64_t size, std::uint64_t lineNumber, std::optional<std::string>* errorString) {
    Packets packets;
    std::optional<std::string> lastError;
    qlx::anc::LumaPackets luma(std::span<const std::uint8_t>(buffer, static_cast<std::size_t>(size)));
    while (const auto found = luma.next()) {
        if (found->isWhole()) {
            packets.push_back(make(packetTypeWithDID_SDID(found->did, found->sdid), found->did, found->sdid, lineNumber,
                                   found->userData));
            continue;
        }
        lastError = qlx::formatted(
            "VANC Packet issue: Packed header defines Packet of size %zu while remaining bytes in buffer is %zu",
            std::size_t{found->dataCount}, found->remaining);
        qlx::services().get<qlx::Console>().log(*lastError);
    }
    if (errorString) {
        *errorString = std::move(lastError);
    }
    return packets;
}
