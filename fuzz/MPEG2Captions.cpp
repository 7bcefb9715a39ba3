// The MPEG-2 caption search, with both sets of loops, against the same search written out byte by byte; and the
// structure built from the same bytes, read back.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "FuzzSupport.h"
#include "LiteralCaptionExtractors.h"
#include "cc/A53Layout.h"
#include "facade/MPEG2CaptionExtractor.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    const qlxtest::LiteralTriplets found = qlxtest::literalMPEG2(bytes);
    const qlx::Data expected = found ? qlx::Data(*found) : qlx::Data();
    for (const auto* kernels : {&qlx::videostream::scalarKernels(), qlx::videostream::avx2Kernels()}) {
        if (kernels) {
            require(qlx::mpeg2::captionTriplets(bytes, *kernels) == expected);
        }
    }
    require(QLXCCUtilities::extractCCDataFromMPEG2Packet_pts(bytes, qlx::MediaTime()) == expected);

    if (const qlx::Data structure = QLXCCUtilities::a53CCDataFromCCData(bytes)) {
        std::vector<std::uint8_t> userData(qlx::a53::kUserIdentifier.begin(), qlx::a53::kUserIdentifier.end());
        userData.insert(userData.end(), structure.begin(), structure.end());
        require(QLXCCUtilities::extractCCDataFromMPEG2Packet_pts(userData, qlx::MediaTime()) ==
                QLXCCUtilities::extractCEA708TripletDataFromCCData(bytes));
    }
    return 0;
}
