// The H.264 caption searches, with both sets of loops, against the same searches written out byte by byte.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "FuzzSupport.h"
#include "LiteralCaptionExtractors.h"
#include "facade/H264CaptionExtractor.h"

using qlxfuzz::require;

namespace {

bool equal(const qlx::Data& triplets, const qlxtest::LiteralTriplets& expected) {
    return expected ? triplets == qlx::Data(*expected) : !triplets;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<std::uint8_t> bytes(data, data + size);
    const qlxtest::LiteralTriplets annexB = qlxtest::literalAnnexB(bytes);
    const qlxtest::LiteralTriplets lengthPrefixed = qlxtest::literalLengthPrefixed(bytes);
    for (const auto* kernels : {&qlx::videostream::scalarKernels(), qlx::videostream::avx2Kernels()}) {
        if (kernels) {
            require(equal(qlx::h264::tripletsInAnnexB(bytes, *kernels), annexB));
            require(equal(qlx::h264::tripletsInLengthPrefixed(bytes, *kernels), lengthPrefixed));
        }
    }
    require(equal(QLXCCUtilities::extractCCDataFromAnnexBH264Packet(bytes), annexB));
    require(equal(QLXCCUtilities::extractCCDataFromAVCCH264Packet(bytes), lengthPrefixed));
    require(equal(QLXCCUtilities::extractCCDataFromH264Packet(bytes), qlxtest::literalH264(bytes)));
    return 0;
}
