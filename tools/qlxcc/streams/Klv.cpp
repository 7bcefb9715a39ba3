#include "streams/Klv.h"

#include "io/Errors.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>

#include <qlx/anc/element.h>
#include <qlx/facade/packet.h>

#include <algorithm>

namespace qlx::tool {

namespace {

/// As many findings of an element get a line each.
constexpr std::size_t kMostFindings = 10;

constexpr std::size_t kKey = klv::Key().size();

std::string ofBytes(std::uint64_t have, std::uint64_t wanted) {
    return std::to_string(have) + " of " + counted(wanted, "byte");
}

/// Says why the core makes no element of a frame.
[[noreturn]] void throwRefused(const Frame& frame, const Finding& why) {
    const bool isOfPacket = why.code != FindingCode::AncElementTooManyPackets;
    const std::string line =
        isOfPacket ? ", line " + std::to_string(frame.packets.at(static_cast<std::size_t>(why.offset)).line) : "";
    throw Failure("frame " + std::to_string(frame.number) + line + ": " + why.text());
}

}  // namespace

void readAncFrameElement(std::span<const std::uint8_t> element, const std::string& place, Frame& frame,
                         std::vector<std::string>& problems, std::vector<std::string>* remarks) {
    if (element.size() < 2) {
        problems.push_back(place + ": element of " + counted(element.size(), "byte") + " without a packet count");
        return;
    }
    Findings findings(kMostFindings);
    for (const anc::ElementPacketView& packet : anc::elementPackets(element, &findings)) {
        frame.packets.push_back(packet.toPacket());
    }
    for (const Finding& finding : findings) {
        const std::string line =
            place + ": byte " + std::to_string(finding.offset) + " of the element: " + finding.text();
        if (finding.severity != Severity::Remark) {
            problems.push_back(line);
        } else if (remarks != nullptr) {
            remarks->push_back(line);
        }
    }
    if (findings.rest() > 0) {
        problems.push_back(place + ": " + counted(findings.rest(), "more finding") + " in the element");
    }
}

/// Reads as much as the reader needs: on a pipe nothing is waited for in vain.
void KlvReader::fill() {
    constexpr std::uint64_t kGreatestPiece = std::uint64_t{64} * 1024;
    _piece.resize(static_cast<std::size_t>(std::min(_reader.wanted(), kGreatestPiece)));
    const bool isFirst = _source.offset() == _start;
    const std::size_t got = _source.read(_piece);
    if (isFirst && got == 0) {
        throw failureAtByte(_source.name(), _start, "the file is empty");
    }
    const auto piece = std::span<const std::uint8_t>(_piece).first(got);
    if (isFirst && !klv::beginsLabel(piece)) {
        throw failureAtByte(_source.name(), _start, "no SMPTE key (06 0E 2B 34 ...): this is no KLV file");
    }
    _reader.push(piece);
    if (got < _piece.size()) {
        _isAtEnd = true;
        _reader.finish();
    }
}

void KlvReader::throwCut(const Finding& finding) const {
    const auto wanted = static_cast<std::uint64_t>(finding.first);
    const auto have = static_cast<std::uint64_t>(finding.second);
    const std::string what = finding.code == FindingCode::KlvValueCut ? ofBytes(have, wanted) + " of the value"
                             : have < kKey                            ? ofBytes(have, kKey) + " of the key"
                             : have == kKey                           ? "no length behind the key"
                                            : ofBytes(have - kKey - 1, wanted - kKey - 1) + " of the length";
    throw failureAtByte(_source.name(), _start + finding.offset, "KLV triplet cut short: " + what);
}

/// Says what the reader has found; a triplet that is cut ends the file.
void KlvReader::report(std::vector<std::string>& problems) {
    for (const Finding& finding : _findings) {
        if (finding.code == FindingCode::KlvCut || finding.code == FindingCode::KlvValueCut) {
            throwCut(finding);
        }
        problems.push_back("byte " + std::to_string(_start + finding.offset) + ": " + finding.text());
    }
    _findings.clear();
}

bool KlvReader::next(Frame& frame, std::vector<std::string>& problems) {
    for (;;) {
        while (const auto triplet = _reader.next()) {
            report(problems);
            if (!klv::isAncFrameElement(triplet->header.key)) {
                continue;
            }
            frame = {};
            frame.number = _frames++;
            const std::uint64_t place = _start + triplet->offset + triplet->header.size();
            readAncFrameElement(triplet->value,
                                "frame " + std::to_string(frame.number) + ", byte " + std::to_string(place), frame,
                                problems, &_remarks);
            return true;
        }
        report(problems);
        if (_isAtEnd) {
            if (_frames == 0) {
                throw failureAtByte(_source.name(), _source.offset(), "the file ends without an ANC frame element");
            }
            return false;
        }
        fill();
    }
}

Data KlvWriter::elementOf(const Frame& frame) const {
    if (_asDeployed) {
        // The fixed operation would cut what has no place. Without room the core says nothing else of what has one.
        const Result<std::size_t> size = anc::writeElement(frame.packets, std::span<std::uint8_t>());
        if (!size && size.error().code != FindingCode::OutputTooSmall) {
            throwRefused(frame, size.error());
        }
        return QLXVANCPacket::MXFDataPacketWithVANCPackets(facade::toVANCPackets(frame.packets));
    }
    const Result<Data> element = anc::writeElement(frame.packets);
    if (!element) {
        throwRefused(frame, element.error());
    }
    return *element;
}

void KlvWriter::write(const Frame& frame) {
    const Result<Data> triplet = klv::writeTriplet(klv::ancFrameElementKey(), elementOf(frame));
    if (!triplet) {
        throw Failure("frame " + std::to_string(frame.number) + ": too many packets for a KLV triplet");
    }
    _output.write(*triplet);
}

}  // namespace qlx::tool
