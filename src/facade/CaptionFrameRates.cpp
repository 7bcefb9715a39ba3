#include "facade/CaptionFrameRates.h"

#include "facade/CaptionTriplet.h"

#include <algorithm>
#include <vector>

namespace qlx::captionframerates {

namespace {

/// A growing list of triplets.
class Triplets {
public:
    explicit Triplets(std::size_t room) { _bytes.reserve(room * triplet::kBytes); }

    void add(const triplet::Triplet& one) { _bytes.insert(_bytes.end(), {one.header, one.first, one.second}); }
    void add(Bytes triplets) { _bytes.insert(_bytes.end(), triplets.begin(), triplets.end()); }

    /// The pairs whose offset is below `bound`; half a pair at the end is left out.
    void addPairs(std::uint8_t kind, Bytes pairs, std::size_t bound) {
        for (std::size_t offset = 0; offset < bound && offset + triplet::kPairBytes <= pairs.size();
             offset += triplet::kPairBytes) {
            add({kind, pairs[offset], pairs[offset + 1]});
        }
    }

    void padTo(std::size_t count) {
        while (_bytes.size() < count * triplet::kBytes) {
            add(triplet::kPadding);
        }
    }

    [[nodiscard]] Data data() const { return _bytes; }

private:
    std::vector<std::uint8_t> _bytes;
};

}  // namespace

Halves split(Bytes dtvcc, Bytes field1, Bytes field2, std::uint8_t ccCount) {
    // The length counts with 8 bits, and only whole triplets are moved.
    const std::size_t size = (dtvcc.size() & 0xFFU) / triplet::kBytes * triplet::kBytes;
    const std::size_t firstSize = ccCount == 0 ? 0 : std::min(size, (std::size_t{ccCount} - 1) * triplet::kBytes);

    Triplets first(ccCount);
    first.addPairs(triplet::kField1, field1, field1.size());
    first.add(dtvcc.first(firstSize));
    first.padTo(ccCount);

    Triplets second(ccCount);
    // Field 1 decides how many pairs of field 2 are taken: hosts are used to it.
    second.addPairs(triplet::kField2, field2, field1.size() / triplet::kPairBytes * triplet::kPairBytes);
    second.add(dtvcc.subspan(firstSize, size - firstSize));
    second.padTo(ccCount);
    return {first.data(), second.data()};
}

Data join(Bytes firstDTVCC, Bytes secondDTVCC, Bytes field1, Bytes field2, std::uint8_t ccCount) {
    Triplets joined(ccCount);
    joined.addPairs(triplet::kField1, field1, field1.size());
    if (field2.size() < triplet::kPairBytes) {
        joined.add(triplet::kNullField2);
    } else {
        joined.addPairs(triplet::kField2, field2, field2.size());
    }
    joined.add(firstDTVCC);
    joined.add(secondDTVCC);
    joined.padTo(ccCount);
    return joined.data();
}

}  // namespace qlx::captionframerates
