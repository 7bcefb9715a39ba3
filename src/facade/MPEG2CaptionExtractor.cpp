#include "facade/MPEG2CaptionExtractor.h"

#include "cc/A53Layout.h"

namespace qlx::mpeg2 {

Data captionTriplets(std::span<const std::uint8_t> video, const videostream::Kernels& kernels) {
    if (video.size() <= a53::kFlagsOffset) {
        return {};
    }
    // An identifier without its flags byte leads nowhere, so the search may end before it.
    const std::size_t end = video.size() - a53::kFlagsOffset;
    const std::size_t position = kernels.findUserIdentifier(video.data(), 0, end);
    if (position == end || (video[position + a53::kFlagsOffset] & a53::kProcessCCDataFlag) == 0) {
        return {};
    }
    return a53::triplets(video.subspan(position));
}

}  // namespace qlx::mpeg2
