#include <qlx/streams/rows.h>

#include "LeftOut.h"

#include <algorithm>
#include <utility>

namespace qlx::streams {

namespace {

/// A blank row whose padding is blank as well: 48 pixels of `v210` have no padding.
std::vector<std::uint8_t> wholeBlankRow(anc::RowFormat format, std::size_t width) {
    constexpr std::size_t kWithoutPadding = 48;
    const bool isPadded = format == anc::RowFormat::V210;
    return anc::blankRow(format, isPadded ? (width + kWithoutPadding - 1) / kWithoutPadding * kWithoutPadding : width);
}

Finding aboutPacket(const Frame& frame, const anc::Packet& packet, FindingCode code, std::int64_t first,
                    std::int64_t second = 0) {
    return {code, Severity::Error, static_cast<std::uint64_t>(&packet - frame.packets.data()), first, second};
}

}  // namespace

RowWriter::RowWriter(ByteSink& sink, RowLayout layout) : _sink(sink), _layout(std::move(layout)) {
    if (!_layout.check()) {
        _blankRow = wholeBlankRow(_layout.format, _layout.width);
    }
}

/// A packet without a row would be lost on the way.
std::optional<Finding> RowWriter::checkLines(const Frame& frame) const {
    for (const anc::Packet& packet : frame.packets) {
        if (std::ranges::find(_layout.lines, packet.line) == _layout.lines.end()) {
            return aboutPacket(frame, packet, FindingCode::RowFileLineMissing, packet.line);
        }
    }
    return std::nullopt;
}

std::optional<Finding> RowWriter::checkChannels(const Frame& frame, std::uint64_t line) const {
    bool isMultiplex = false;
    bool isApart = false;
    for (const anc::Packet& packet : frame.packets) {
        if (packet.line != line) {
            continue;
        }
        (packet.channel == anc::Channel::SdMultiplex ? isMultiplex : isApart) = true;
        if (isMultiplex && isApart) {
            return aboutPacket(frame, packet, FindingCode::RowFileChannelsMixed, packet.line);
        }
    }
    return std::nullopt;
}

/// Fills a row until a packet has no place on it, and says which one that is.
std::optional<Finding> RowWriter::fillOneByOne(std::span<std::uint8_t> row, const Frame& frame,
                                               std::uint64_t line) const {
    for (const anc::Packet& packet : frame.packets) {
        if (packet.line != line) {
            continue;
        }
        const anc::RowWriteOptions options{.format = _layout.format, .channel = packet.channel, .width = _layout.width};
        if (const auto place = anc::appendPacket(row, packet, options); !place) {
            return aboutPacket(frame, packet, place.error().code, place.error().first, place.error().second);
        }
    }
    return std::nullopt;
}

std::optional<Finding> RowWriter::fill(std::span<std::uint8_t> row, const Frame& frame, std::uint64_t line) {
    if (const auto mixed = checkChannels(frame, line)) {
        return mixed;
    }
    for (const anc::Channel channel : {anc::Channel::Luma, anc::Channel::Chroma, anc::Channel::SdMultiplex}) {
        _contents.clear();
        for (const anc::Packet& packet : frame.packets) {
            if (packet.line == line && packet.channel == channel) {
                _contents.push_back(packet);
            }
        }
        const anc::RowWriteOptions options{.format = _layout.format, .channel = channel, .width = _layout.width};
        if (!_contents.empty() && !anc::appendPackets(row, _contents, options)) {
            std::ranges::copy(_blankRow, row.begin());
            return fillOneByOne(row, frame, line);
        }
    }
    return std::nullopt;
}

/// Nothing of a frame that cannot be written goes out: all rows with packets are filled before.
std::optional<Finding> RowWriter::write(const Frame& frame, FindingSink* findings) {
    if (std::optional<Finding> wrong = _layout.check()) {
        wrong->offset = frame.packets.size();
        return wrong;
    }
    if (const auto missing = checkLines(frame)) {
        return missing;
    }
    _row.resize(_blankRow.size());
    for (const bool isTrial : {true, false}) {
        for (const std::uint64_t line : _layout.lines) {
            const bool isBlank =
                std::ranges::none_of(frame.packets, [line](const anc::Packet& packet) { return packet.line == line; });
            if (!isBlank) {
                std::ranges::copy(_blankRow, _row.begin());
                if (const auto failure = fill(_row, frame, line)) {
                    return failure;
                }
            }
            if (isTrial) {
                continue;
            }
            if (const auto failure = _sink.write(isBlank ? _blankRow : _row)) {
                return failure;
            }
        }
    }
    detail::tellLeftOut(frame, {}, findings);
    return std::nullopt;
}

}  // namespace qlx::streams
