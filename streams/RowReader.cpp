#include <qlx/streams/rows.h>

#include "LeftOut.h"

#include <algorithm>
#include <utility>

namespace qlx::streams {

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

/// Keeps everything: a row has only so many places.
class AllFindings final : public FindingSink {
public:
    explicit AllFindings(std::vector<Finding>& to) : _to(to) {}
    void add(const Finding& finding) override { _to.push_back(detail::asFramesKeepIt(finding)); }

private:
    std::vector<Finding>& _to;
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

    /// Hands on what is left.
    void give(const FileRow& row, Frame& frame, FindingSink* sink) {
        for (Hit& hit : hits) {
            frame.packets.push_back(std::move(hit.packet));
        }
        for (Finding& finding : findings) {
            finding.offset += row.offset;
            sink->add(finding);
        }
    }

private:
    static int rankOf(anc::Status checksum) {
        return checksum == anc::Status::Right ? 2 : checksum == anc::Status::NotCarried ? 1 : 0;
    }
};

std::optional<Finding> RowLayout::check() const noexcept {
    if (!lines.empty() && width > 0 && width <= kGreatestRowWidth) {
        return std::nullopt;
    }
    return Finding{FindingCode::RowLayoutWrong, Severity::Error, 0, width, static_cast<std::int64_t>(lines.size())};
}

RowReader::RowReader(ByteSource& source, RowLayout layout)
    : _source(source), _start(source.offset()), _layout(std::move(layout)), _failure(_layout.check()) {
    if (_failure) {
        _failure->offset = _start;
    } else {
        _row.resize(anc::rowBytes(_layout.format, _layout.width));
    }
}

RowReader::Found RowReader::find(anc::Channels channels, const FileRow& row) const {
    Found found;
    AllFindings findings(found.findings);
    const anc::RowOptions options{.format = _layout.format,
                                  .line = static_cast<std::uint32_t>(row.line),
                                  .channels = channels,
                                  .width = _layout.width};
    for (const anc::PacketView packet : anc::packets(row.bytes, options, &findings)) {
        found.hits.push_back({packet.toPacket(),
                              extentOf(_layout.format, packet.channel(), packet.horizontalOffset(), packet.dataCount()),
                              packet.checksum()});
    }
    return found;
}

void RowReader::search(const FileRow& row, Frame& frame, FindingSink* findings) {
    Findings none(0);
    FindingSink* const sink = findings != nullptr ? findings : &none;
    Found apart = find(anc::Channels::Both, row);
    if (_layout.width > kWidestMultiplex) {
        apart.give(row, frame, sink);
        return;
    }
    Found together = find(anc::Channels::SdMultiplex, row);
    const std::vector<Hit> ofBoth = apart.hits;
    apart.leaveOutInside(together.hits);
    together.leaveOutInside(ofBoth);
    apart.leaveOutFindingsInside(together.hits);
    together.leaveOutFindingsInside(apart.hits);
    apart.give(row, frame, sink);
    together.give(row, frame, sink);
}

Result<bool> RowReader::next(Frame& frame, FindingSink* findings) {
    if (_failure) {
        return *_failure;
    }
    frame = {};
    frame.number = _frames;
    std::size_t rows = 0;
    for (; rows < _layout.lines.size(); ++rows) {
        const std::uint64_t start = _source.offset();
        const std::size_t got = _source.read(_row);
        if (got < _row.size()) {
            const auto failure = [&](FindingCode code, std::size_t there, std::size_t whole) {
                return Finding{code, Severity::Error, start, static_cast<std::int64_t>(there),
                               static_cast<std::int64_t>(whole)};
            };
            if (_source.error()) {
                _failure = _source.error();
            } else if (got > 0) {
                _failure = failure(FindingCode::RowFileRowCut, got, _row.size());
            } else if (rows > 0) {
                _failure = failure(FindingCode::RowFileFrameCut, rows, _layout.lines.size());
            } else if (_frames == 0) {
                _failure = failure(FindingCode::StreamEmpty, 0, 0);
            }
            break;
        }
        search({_row, start, _layout.lines[rows]}, frame, findings);
    }
    if (rows == 0) {
        return _failure ? Result<bool>(*_failure) : false;
    }
    ++_frames;
    return true;
}

Place RowReader::placeOf(const Finding& finding) const {
    const std::uint64_t byte = finding.offset - _start;
    if (finding.offset < _start || _row.empty() || _layout.lines.empty()) {
        return FrameReader::placeOf(finding);
    }
    const std::uint64_t row = byte / _row.size();
    return {.frame = row / _layout.lines.size(),
            .line = _layout.lines[static_cast<std::size_t>(row % _layout.lines.size())],
            .byte = byte % _row.size()};
}

}  // namespace qlx::streams
