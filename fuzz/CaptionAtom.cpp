// The reader of QuickTime caption samples, and those of one atom and of any atom's header, on arbitrary bytes.
#include <QLXClosedCaptionsUtilities/QLXVANCPacket.h>
#include <qlx/anc/atom.h>
#include <qlx/anc/caption_atom.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

namespace {

/// What is read of a sample, written again, is read as the same atoms, and without a finding.
void walkSample(std::span<const std::uint8_t> sample) {
    std::vector<std::uint8_t> written;
    std::size_t behind = 0;
    for (const qlx::anc::CaptionAtomView& atom : qlx::anc::captionAtoms(sample)) {
        require(atom.offset >= behind && atom.offset + 8 + atom.content.size() <= sample.size());
        behind = atom.offset + 8 + atom.content.size();
        const auto bytes = qlx::anc::writeCaptionAtom(atom.type, atom.content);
        require(bytes.hasValue());
        written.insert(written.end(), bytes->begin(), bytes->end());
    }
    qlx::Findings findings;
    const auto again = qlx::anc::captionAtoms(written, &findings);
    auto copy = again.begin();
    for (const qlx::anc::CaptionAtomView& atom : qlx::anc::captionAtoms(sample)) {
        require(copy != again.end() && copy->type == atom.type && std::ranges::equal(copy->content, atom.content));
        ++copy;
    }
    require(copy == again.end() && findings.empty());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> buffer(data, data + size);
    walkSample(buffer);
    const auto header = qlx::anc::parseAtomHeader(buffer);
    require(header ? header->headerBytes <= size && (header->size == 0 || header->size >= header->headerBytes)
                   : header.error().code == qlx::FindingCode::AtomSizeWrong || size < 16);
    const auto packet =
        QLXVANCPacket::VANCPacketWithQuickTimeAtomBuffer_size_lineNumber(buffer.data(), buffer.size(), -5);
    if (packet) {
        require(header && header->size <= size);
        require(size >= 8 && packet->packetData().size() <= size - 8);
        require(packet->packetType() == (size < 10 ? QLXVANCPacketTypeCEA608 : QLXVANCPacketTypeCEA708));
        require(packet->lineNumber() == static_cast<std::uint64_t>(-5));
        require(!packet->description().empty());
    }
    return 0;
}
