// The readable form of a triplet list.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include <QLXClosedCaptionsUtilities/platform/Format.h>

#include "base/Hex.h"
#include "facade/CaptionTriplet.h"

std::string descriptionForCEA708Triplets(const qlx::Data& data) {
    if (!data || data.size() % qlx::triplet::kBytes != 0) {
        return data.description();
    }
    std::string groups;
    for (std::size_t index = 0; index < data.size(); ++index) {
        if (index != 0 && index % qlx::triplet::kBytes == 0) {
            groups += ' ';
        }
        qlx::appendHexByte(groups, data[index]);
    }
    return qlx::formatted("%li samples: %@", data.size() / qlx::triplet::kBytes, groups);
}
