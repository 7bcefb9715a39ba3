#include "CaptionAtoms.h"

#include "BoundedFindings.h"
#include "TripletBytes.h"

#include <qlx/anc/caption_atom.h>
#include <qlx/cc/triplet.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace qlx::streams::detail {

namespace {

anc::Packet packetOf(std::span<const std::uint8_t> cdp) {
    anc::Packet packet;
    packet.did = anc::ids::kCdp.did;
    packet.sdid = anc::ids::kCdp.sdid;
    packet.userData.assign(cdp.begin(), cdp.end());
    return packet;
}

}  // namespace

bool readCaptionAtoms(std::span<const std::uint8_t> sample, Frame& frame, FindingSink& findings) {
    BoundedFindings own;
    std::vector<std::uint8_t> triplets;
    bool isKnown = sample.empty();
    for (const anc::CaptionAtomView& atom : anc::captionAtoms(sample, &own)) {
        isKnown = true;
        if (atom.type == anc::kCdpAtom) {
            frame.packets.push_back(packetOf(atom.content));
            continue;
        }
        const cc::CcType field = atom.type == anc::kFieldOneAtom ? cc::CcType::Field1 : cc::CcType::Field2;
        for (std::size_t place = 0; place + 1 < atom.content.size(); place += 2) {
            append(triplets, cc::Triplet::make(field, atom.content[place], atom.content[place + 1]));
        }
    }
    if (!triplets.empty()) {
        frame.triplets = Data(triplets);
        frame.captionPlace = CaptionPlace::Track;
    }
    if (isKnown) {
        own.give(0, findings);
    }
    return isKnown;
}

}  // namespace qlx::streams::detail
