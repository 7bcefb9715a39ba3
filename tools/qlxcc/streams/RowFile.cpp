#include "streams/RowFile.h"

#include "io/Errors.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <qlx/facade/packet.h>

#include <algorithm>
#include <utility>

namespace qlx::tool {

namespace {

/// The bytes of a row from a packet's first sample to its last.
struct Extent {
    std::uint64_t first = 0;
    std::uint64_t last = 0;

    [[nodiscard]] bool holds(std::uint64_t byte) const { return first <= byte && byte <= last; }
};

Extent extentOf(anc::RowFormat format, anc::Channel channel, std::uint64_t offset, std::size_t dataCount) {
    const auto byteOf = [&](std::uint64_t word) {
        const std::uint64_t sample = channel == anc::Channel::SdMultiplex ? word
                                     : channel == anc::Channel::Luma      ? word * 2 + 1
                                                                          : word * 2;
        return format == anc::RowFormat::V210 ? sample / 3 * 4 : sample;
    };
    return {byteOf(offset), byteOf(offset + anc::packetWords(dataCount) - 1)};
}

/// A packet and the bytes that it takes.
struct Hit {
    anc::Packet packet;
    Extent extent;
    anc::Status checksum = anc::Status::Right;
};

}  // namespace

/// What one search of a row gives.
struct RowReader::Found {
    std::vector<Hit> hits;
    std::vector<Finding> findings;

    /// Leaves out the packets that begin inside those of another search of which more is right: in 8 bits data can look
    /// like a flag of other channels.
    void leaveOutInside(const std::vector<Hit>& others) {
        const auto leftOut = std::stable_partition(hits.begin(), hits.end(), [&](const Hit& hit) {
            return std::none_of(others.begin(), others.end(), [&](const Hit& other) {
                return rankOf(other.checksum) > rankOf(hit.checksum) && other.extent.holds(hit.extent.first);
            });
        });
        // What is wrong with them may stand behind the others' end.
        const auto isOfOne = [](auto first, auto last, const Finding& finding) {
            return std::any_of(first, last, [&](const Hit& hit) { return hit.extent.holds(finding.offset); });
        };
        std::erase_if(findings, [&](const Finding& finding) {
            return isOfOne(leftOut, hits.end(), finding) && !isOfOne(hits.begin(), leftOut, finding);
        });
        hits.erase(leftOut, hits.end());
    }

    /// Leaves out what was found inside the packets of another search: it is no business of this one.
    void leaveOutFindingsInside(const std::vector<Hit>& others) {
        std::erase_if(findings, [&](const Finding& finding) {
            return std::any_of(others.begin(), others.end(), [&](const Hit& other) {
                return other.checksum != anc::Status::Wrong && other.extent.holds(finding.offset);
            });
        });
    }

private:
    static int rankOf(anc::Status checksum) {
        return checksum == anc::Status::Right ? 2 : checksum == anc::Status::NotCarried ? 1 : 0;
    }
};

RowReader::RowReader(ByteSource& source, RowLayout layout, RowSearch search)
    : _source(source), _layout(std::move(layout)), _search(search),
      _row(anc::rowBytes(_layout.format(), _layout.width)) {}

void RowReader::readNearStart(Frame& frame, std::uint64_t line, std::vector<std::string>& problems) const {
    std::optional<std::string> problem;
    const auto packets =
        facade::toAncPackets(QLXVANCPacket::VANCPacketsWithSDIBuffer_size_bufferFormat_lineNumber_errorString(
            _row.data(), _row.size(), _layout.pixelFormat, line, &problem));
    frame.packets.insert(frame.packets.end(), packets.begin(), packets.end());
    if (problem) {
        problems.push_back(placeOf(frame.number, line) + ": " + *problem);
    }
}

RowReader::Found RowReader::find(anc::Channels channels, std::uint64_t line) const {
    /// Keeps everything: a row has only so many places.
    class AllFindings final : public FindingSink {
    public:
        explicit AllFindings(std::vector<Finding>& to) : _to(to) {}
        void add(const Finding& finding) override { _to.push_back(finding); }

    private:
        std::vector<Finding>& _to;
    };
    Found found;
    AllFindings findings(found.findings);
    const anc::RowFormat format = _layout.format();
    const anc::RowOptions options{
        .format = format, .line = static_cast<std::uint32_t>(line), .channels = channels, .width = _layout.width};
    for (const anc::PacketView packet : anc::packets(_row, options, &findings)) {
        found.hits.push_back({packet.toPacket(),
                              extentOf(format, packet.channel(), packet.horizontalOffset(), packet.dataCount()),
                              packet.checksum()});
    }
    return found;
}

void RowReader::take(Frame& frame, std::uint64_t line, Found found, std::vector<std::string>& problems) {
    for (Hit& hit : found.hits) {
        frame.packets.push_back(std::move(hit.packet));
    }
    for (const Finding& finding : found.findings) {
        auto& lines = finding.severity == Severity::Remark ? _remarks : problems;
        lines.push_back(placeOf(frame.number, line) + ", byte " + std::to_string(finding.offset) +
                        " of the row: " + finding.text());
    }
}

void RowReader::readRow(Frame& frame, std::uint64_t line, std::vector<std::string>& problems) {
    if (_search == RowSearch::NearStart) {
        readNearStart(frame, line, problems);
        return;
    }
    Found apart = find(anc::Channels::Both, line);
    if (_layout.width <= kWidestMultiplex) {
        Found together = find(anc::Channels::SdMultiplex, line);
        const std::vector<Hit> ofBoth = apart.hits;
        apart.leaveOutInside(together.hits);
        together.leaveOutInside(ofBoth);
        apart.leaveOutFindingsInside(together.hits);
        together.leaveOutFindingsInside(apart.hits);
        take(frame, line, std::move(apart), problems);
        take(frame, line, std::move(together), problems);
        return;
    }
    take(frame, line, std::move(apart), problems);
}

std::vector<std::string> RowReader::takeRemarks() {
    return std::exchange(_remarks, {});
}

bool RowReader::next(Frame& frame, std::vector<std::string>& problems) {
    if (_failure) {
        throw failureAtByte(_source.name(), _failureOffset, *_failure);
    }
    frame = {};
    frame.number = _frames;
    std::size_t rows = 0;
    for (; rows < _layout.lines.size(); ++rows) {
        const std::uint64_t start = _source.offset();
        const std::size_t got = _source.read(_row);
        if (got < _row.size()) {
            _failureOffset = start;
            if (got > 0) {
                _failure = "the last row is cut short: " + std::to_string(got) + " of " + counted(_row.size(), "byte");
            } else if (rows > 0) {
                _failure = "the last frame is cut short: " + std::to_string(rows) + " of " +
                           counted(_layout.lines.size(), "row");
            } else if (_frames == 0) {
                _failure = "the file is empty";
            }
            break;
        }
        readRow(frame, _layout.lines[rows], problems);
    }
    if (rows == 0 && _failure) {
        throw failureAtByte(_source.name(), _failureOffset, *_failure);
    }
    if (rows > 0) {
        ++_frames;
    }
    return rows > 0;
}

}  // namespace qlx::tool
