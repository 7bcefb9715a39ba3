#include <qlx/streams/klv.h>

#include "BoundedFindings.h"
#include "KeptFailure.h"
#include "LeftOut.h"

#include <qlx/anc/element.h>
#include <qlx/klv/keys.h>

#include <algorithm>
#include <utility>

namespace qlx::streams {

namespace {

constexpr FindingCode kAboutNoPacket[] = {FindingCode::AncElementTooManyPackets, FindingCode::KlvLengthDoesNotFit};

/// A finding of an element or triplet as one of a frame that is written.
Finding ofFrame(Finding finding, const Frame& frame) {
    if (std::ranges::find(kAboutNoPacket, finding.code) != std::end(kAboutNoPacket)) {
        finding.offset = frame.packets.size();
    }
    return finding;
}

/// The packets as the element had them that they were read from.
std::vector<anc::ElementPacket> wrapped(const Frame& frame) {
    std::vector<anc::ElementPacket> packets(frame.packets.size());
    for (std::size_t place = 0; place < packets.size(); ++place) {
        packets[place].packet = frame.packets[place];
        packets[place].wrapping = frame.wrappingOf(place);
        packets[place].coding = anc::sampleCoding(frame.packets[place].channel);
    }
    return packets;
}

/// Whether a content package that had a data element with this number last is over where this key stands.
bool isBehindPackage(const klv::Key& key, std::uint8_t last) noexcept {
    const std::optional<klv::ElementKey> element = klv::elementKey(key);
    const bool goesOn = element && element->item == klv::kDataItem && element->number > last;
    return (element && !goesOn) || klv::partitionKey(key);
}

/// Findings of an element whose packets go into a frame.
class ElementFindings final : public FindingSink {
public:
    void add(const Finding& finding) override { _own.add(detail::asFramesKeepIt(finding)); }
    void give(std::uint64_t place, FindingSink& to) const { _own.give(place, to); }

private:
    detail::BoundedFindings _own;
};

}  // namespace

void readAncFrameElement(std::span<const std::uint8_t> element, std::uint64_t place, Frame& frame,
                         FindingSink* findings) {
    ElementFindings own;
    for (const anc::ElementPacketView& packet : anc::elementPackets(element, findings == nullptr ? nullptr : &own)) {
        frame.packets.push_back(packet.toPacket());
        frame.wrapLast(packet.wrapping());
    }
    if (findings != nullptr) {
        own.give(place, *findings);
    }
}

KlvReader::KlvReader(ByteSource& source)
    : _source(source), _start(source.offset()), _reader(optionsFor(source), &_findings) {}

/// Where the source can be sought, what stands behind a long value is looked at before that is passed.
klv::ReaderOptions KlvReader::optionsFor(ByteSource& source) {
    klv::ReaderOptions options;
    if (source.size()) {
        options.lookAhead = [&source, start = source.offset()](std::uint64_t place, std::span<std::uint8_t> room) {
            const std::uint64_t here = source.offset();
            if (place > *source.size() - start || !source.seek(start + place)) {
                return std::size_t{0};
            }
            const std::size_t got = source.read(room);
            return source.seek(here) ? got : 0;
        };
    }
    return options;
}

/// Reads as much as the reader needs where more may have to be waited for, as on a pipe. What was read in front of a
/// failure is read to its end.
std::optional<Finding> KlvReader::fill() {
    constexpr std::uint64_t kGreatestPiece = std::uint64_t{64} * 1024;
    const std::uint64_t wanted = _source.size() ? kGreatestPiece : std::min(_reader.wanted(), kGreatestPiece);
    _piece.resize(static_cast<std::size_t>(wanted));
    const bool isFirst = _source.offset() == _start;
    const std::size_t got = _source.read(_piece);
    if (got < _piece.size()) {
        _readError = _source.error();
    }
    if (isFirst && got == 0) {
        return _readError ? _readError : Finding{FindingCode::StreamEmpty, Severity::Error, _start, 0, 0};
    }
    _reader.push(std::span<const std::uint8_t>(_piece).first(got));
    if (got < _piece.size()) {
        _isAtEnd = true;
        _reader.finish();
    }
    return std::nullopt;
}

/// A file that begins with no key may have a damaged one there, but not for longer than an element can be.
std::optional<Finding> KlvReader::otherFile() const {
    const bool isLong = _isAtEnd || _source.offset() - _start > klv::kGreatestAncFrameElement;
    if (isLong && !_hasTriplet && _findings.size() > 0 && _findings[0].code == FindingCode::KlvKeyWrong) {
        return Finding{FindingCode::KlvFileKeyMissing, Severity::Error, _start, 0, 0};
    }
    return std::nullopt;
}

/// Hands on what has been found.
/// @return A triplet that is cut: it ends the file.
std::optional<Finding> KlvReader::report(FindingSink* findings) {
    std::optional<Finding> cut;
    for (Finding finding : _findings) {
        finding.offset += _start;
        if (finding.code == FindingCode::KlvCut || finding.code == FindingCode::KlvValueCut) {
            // What the source failed in is cut by that alone.
            cut = _readError ? *_readError : finding;
            break;
        }
        if (findings != nullptr) {
            findings->add(finding);
        }
    }
    _findings.clear();
    return cut;
}

/// Whether the frame with another element of its content package has no more packets than an element counts: it can be
/// written again, and takes no more memory than that.
bool KlvReader::hasRoomFor(const klv::TripletView& triplet, const Frame& frame, FindingSink* findings) const {
    const std::size_t there = frame.packets.size();
    const auto more = static_cast<std::size_t>(std::ranges::distance(anc::elementPackets(triplet.value)));
    if (more <= anc::kGreatestElementPackets - there) {
        return true;
    }
    if (findings != nullptr) {
        findings->add({FindingCode::KlvFilePackageTooGreat, Severity::Warning, _start + triplet.offset,
                       static_cast<std::int64_t>(more), static_cast<std::int64_t>(there)});
    }
    return false;
}

/// Adds the packets of an element of the frame.
/// @return Whether the frame is whole. Then the triplet may be one of the next frame, which is kept.
bool KlvReader::take(const klv::TripletView& triplet, Frame& frame, FindingSink* findings) {
    const klv::Key& key = triplet.header.key;
    const bool isOfAnc = klv::isAncFrameElement(key);
    if (_element && isBehindPackage(key, *_element)) {
        _element.reset();
        if (isOfAnc) {
            _next = triplet;
        }
        return true;
    }
    if (isOfAnc && _element && !hasRoomFor(triplet, frame, findings)) {
        _element.reset();
        _next = triplet;
        return true;
    }
    const std::optional<klv::ElementKey> element = klv::elementKey(key);
    if (isOfAnc && !_element) {
        frame = {};
        frame.number = _frames++;
        _element = element->number;
    }
    if (!_element || !element) {
        return false;
    }
    if (isOfAnc) {
        readAncFrameElement(triplet.value, _start + triplet.offset + triplet.header.size(), frame, findings);
    }
    _element = element->number < element->count ? std::optional(element->number) : std::nullopt;
    return !_element;
}

/// What ends the file: a failure, or that nothing is behind. A frame that has begun goes in front of it.
Result<bool> KlvReader::end(const std::optional<Finding>& failure) {
    if (_element) {
        _element.reset();
        _failure = failure;
        return true;
    }
    if (failure) {
        return *failure;
    }
    return false;
}

Result<bool> KlvReader::read(Frame& frame, FindingSink* findings) {
    for (;;) {
        while (const auto triplet = _next ? std::exchange(_next, std::nullopt) : _reader.next()) {
            _hasTriplet = true;
            if (const auto cut = report(findings)) {
                return end(cut);
            }
            if (take(*triplet, frame, findings)) {
                return true;
            }
        }
        if (_isAtEnd && _readError && !_hasTriplet) {
            return *_readError;
        }
        if (const auto other = otherFile()) {
            return *other;
        }
        // What is known before the first triplet waits for it.
        if (_hasTriplet || _isAtEnd) {
            if (const auto cut = report(findings)) {
                return end(cut);
            }
        }
        if (_isAtEnd) {
            const bool isWithoutFrame = _frames == 0 && !_readError;
            return end(isWithoutFrame
                           ? Finding{FindingCode::KlvFileFrameMissing, Severity::Error, _source.offset(), 0, 0}
                           : _readError);
        }
        if (const auto failure = fill()) {
            return end(failure);
        }
    }
}

Result<bool> KlvReader::next(Frame& frame, FindingSink* findings) {
    return detail::readUnlessFailed(_failure, [&] { return read(frame, findings); });
}

Place KlvReader::placeOf(const Finding& finding) const {
    // What is wrong with triplets is between frames, or may be.
    constexpr std::uint32_t kBlockOfKlv = static_cast<std::uint32_t>(FindingCode::KlvKeyWrong) >> 16U;
    const bool isOfFrame = static_cast<std::uint32_t>(finding.code) >> 16U != kBlockOfKlv && _frames > 0;
    return {.frame = isOfFrame ? std::optional(_frames - 1) : std::nullopt, .line = {}, .byte = finding.offset};
}

Result<Data> KlvWriter::elementOf(const Frame& frame) const {
    return frame.wrappings.empty() ? anc::writeElement(frame.packets) : anc::writeElement(wrapped(frame));
}

std::optional<Finding> KlvWriter::write(const Frame& frame, FindingSink* findings) {
    const Result<Data> element = elementOf(frame);
    if (!element) {
        return ofFrame(element.error(), frame);
    }
    const Result<Data> triplet = klv::writeTriplet(klv::ancFrameElementKey(), *element);
    if (!triplet) {
        return ofFrame(triplet.error(), frame);
    }
    if (const auto failure = _sink.write(*triplet)) {
        return failure;
    }
    detail::tellLeftOut(frame, {.wrappings = true}, findings);
    return std::nullopt;
}

}  // namespace qlx::streams
