// Arbitrary bytes as a caption distribution packet: the two readers and the readable form, against plain ones.
#include <QLXClosedCaptionsUtilities/QLXCCUtilities.h>

#include "FuzzSupport.h"

#include <string>

using qlxfuzz::require;
using Bytes = std::vector<std::uint8_t>;

namespace {

struct Sorted {
    Bytes dtvcc;
    Bytes field1;
    Bytes field2;
};

Sorted sortPlainly(const Bytes& data, std::uint64_t offset) {
    Sorted sorted;
    for (std::uint64_t position = offset % 256; position < 256; position += 3) {
        if (offset > data.size() || position >= data.size() - offset || position + 3 > data.size()) {
            break;
        }
        const std::uint8_t kind = data[position];
        std::uint8_t first = data[position + 1];
        std::uint8_t second = data[position + 2];
        if (kind == 0xFC && (sorted.field1.empty() || first != 0x80 || second != 0x80)) {
            sorted.field1.insert(sorted.field1.end(), {first, second});
        }
        if (kind == 0xFD && (sorted.field2.empty() || (first != 0x80 && second != 0x80))) {
            sorted.field2.insert(sorted.field2.end(), {first, second});
        }
        if (kind == 0xFF && first == 0x80 && second == 0x80) {
            first = second = 0x00;
        }
        if (kind >= 0xFE) {
            sorted.dtvcc.insert(sorted.dtvcc.end(), {kind, first, second});
        }
    }
    return sorted;
}

Bytes tripletsPlainly(const Bytes& data) {
    if (data.size() < 10 || data[0] != 0x96 || data[1] != 0x69) {
        return {};
    }
    const std::size_t bytes = std::size_t{3} * (data[8] % 32);
    if (data.size() < 9 + bytes) {
        return {};
    }
    const auto first = data.begin() + 9;
    return {first, first + static_cast<std::ptrdiff_t>(bytes)};
}

}  // namespace

// The offset (2 bytes), then the packet.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint64_t offset = input.takeByte() * 256ULL + input.takeByte();
    const Bytes bytes = input.rest();

    require(QLXCCUtilities::extractCEA708TripletDataFromCCData(bytes) == qlx::Data(tripletsPlainly(bytes)));

    qlx::Data field1;
    qlx::Data field2;
    const qlx::Data dtvcc =
        QLXCCUtilities::extractCaptionTripletsFromData_fromOffset_CC1Data_CC2Data(bytes, offset, &field1, &field2);
    const Sorted expected = sortPlainly(bytes, offset);
    require(dtvcc == qlx::Data(expected.dtvcc));
    require(field1 == qlx::Data(expected.field1));
    require(field2 == qlx::Data(expected.field2));

    const std::string text = descriptionForCEA708Triplets(bytes);
    const std::string count = std::to_string(bytes.size() / 3) + " samples: ";
    require(bytes.size() % 3 == 0 ? text.starts_with(count)
                                  : text == qlx::Data(bytes).description() && text.starts_with('<'));
    require(bytes.size() % 3 != 0 || bytes.empty() || text.size() == count.size() + bytes.size() / 3 * 7 - 1);
    return 0;
}
