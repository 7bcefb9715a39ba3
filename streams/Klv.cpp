#include <qlx/streams/klv.h>

#include <qlx/anc/element.h>
#include <qlx/klv/keys.h>

#include <algorithm>

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

/// Keeps the first findings of an element, and knows whether the others say that something was left out.
class ElementFindings final : public FindingSink {
public:
    void add(const Finding& finding) override {
        hasLossInRest |= kept.size() == kMostElementFindings && finding.severity == Severity::Error;
        kept.add(finding);
    }

    Findings kept{kMostElementFindings};
    bool hasLossInRest = false;
};

}  // namespace

void readAncFrameElement(std::span<const std::uint8_t> element, std::uint64_t place, Frame& frame,
                         FindingSink* findings) {
    ElementFindings own;
    for (const anc::ElementPacketView& packet : anc::elementPackets(element, findings == nullptr ? nullptr : &own)) {
        frame.packets.push_back(packet.toPacket());
    }
    if (findings == nullptr) {
        return;
    }
    for (Finding finding : own.kept) {
        finding.offset += place;
        findings->add(finding);
    }
    if (own.kept.rest() > 0) {
        findings->add({FindingCode::StreamMoreFindings, own.hasLossInRest ? Severity::Error : Severity::Warning, place,
                       static_cast<std::int64_t>(own.kept.rest()), 0});
    }
}

KlvReader::KlvReader(ByteSource& source) : _source(source), _start(source.offset()), _reader({}, &_findings) {}

/// Reads as much as the reader needs: on a pipe nothing is waited for in vain.
std::optional<Finding> KlvReader::fill() {
    constexpr std::uint64_t kGreatestPiece = std::uint64_t{64} * 1024;
    _piece.resize(static_cast<std::size_t>(std::min(_reader.wanted(), kGreatestPiece)));
    const bool isFirst = _source.offset() == _start;
    const std::size_t got = _source.read(_piece);
    if (got < _piece.size() && _source.error()) {
        return _source.error();
    }
    if (isFirst && got == 0) {
        return Finding{FindingCode::StreamEmpty, Severity::Error, _start, 0, 0};
    }
    const auto piece = std::span<const std::uint8_t>(_piece).first(got);
    if (isFirst && !klv::beginsLabel(piece)) {
        return Finding{FindingCode::KlvFileKeyMissing, Severity::Error, _start, 0, 0};
    }
    _reader.push(piece);
    if (got < _piece.size()) {
        _isAtEnd = true;
        _reader.finish();
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
            cut = finding;
            break;
        }
        if (findings != nullptr) {
            findings->add(finding);
        }
    }
    _findings.clear();
    return cut;
}

Result<bool> KlvReader::read(Frame& frame, FindingSink* findings) {
    for (;;) {
        while (const auto triplet = _reader.next()) {
            if (const auto cut = report(findings)) {
                return *cut;
            }
            if (!klv::isAncFrameElement(triplet->header.key)) {
                continue;
            }
            frame = {};
            frame.number = _frames++;
            const std::uint64_t place = _start + triplet->offset + triplet->header.size();
            readAncFrameElement(triplet->value, place, frame, findings);
            return true;
        }
        if (const auto cut = report(findings)) {
            return *cut;
        }
        if (_isAtEnd) {
            if (_frames == 0) {
                return Finding{FindingCode::KlvFileFrameMissing, Severity::Error, _source.offset(), 0, 0};
            }
            return false;
        }
        if (const auto failure = fill()) {
            return *failure;
        }
    }
}

Result<bool> KlvReader::next(Frame& frame, FindingSink* findings) {
    if (_failure) {
        return *_failure;
    }
    const Result<bool> result = read(frame, findings);
    if (!result) {
        _failure = result.error();
    }
    return result;
}

Place KlvReader::placeOf(const Finding& finding) const {
    // What is wrong with triplets is between frames, or may be.
    constexpr std::uint32_t kBlockOfKlv = static_cast<std::uint32_t>(FindingCode::KlvKeyWrong) >> 16U;
    const bool isOfFrame = static_cast<std::uint32_t>(finding.code) >> 16U != kBlockOfKlv && _frames > 0;
    return {.frame = isOfFrame ? std::optional(_frames - 1) : std::nullopt, .line = {}, .byte = finding.offset};
}

Result<Data> KlvWriter::elementOf(const Frame& frame) const {
    return anc::writeElement(frame.packets);
}

std::optional<Finding> KlvWriter::write(const Frame& frame, FindingSink* /*findings*/) {
    const Result<Data> element = elementOf(frame);
    if (!element) {
        return ofFrame(element.error(), frame);
    }
    const Result<Data> triplet = klv::writeTriplet(klv::ancFrameElementKey(), *element);
    return triplet ? _sink.write(*triplet) : ofFrame(triplet.error(), frame);
}

}  // namespace qlx::streams
