// Arbitrary bytes as a stream of coded video: however it is pushed, the same units come out, one behind the other.
#include <qlx/video/access_unit.h>

#include "FuzzSupport.h"

#include <algorithm>

using qlx::video::Codec;
using qlxfuzz::require;

namespace {

/// Where the units begin, and the end of the last one.
struct Cut {
    std::vector<std::uint64_t> places;
    std::optional<Codec> codec;
    std::optional<qlx::Finding> error;
};

Cut cut(const std::vector<std::uint8_t>& stream, std::size_t step, std::optional<Codec> codec) {
    qlx::video::AccessUnitReader reader({.codec = codec});
    Cut result;
    const auto take = [&] {
        while (const auto unit = reader.next()) {
            require(result.places.empty() ? unit->number == 0 : unit->offset == result.places.back());
            // A zero byte may be both what stands behind a start code and the beginning of the next one.
            require(unit->offset + unit->bytes.size() <= stream.size());
            require(unit->bytes.size() >= qlx::video::kStartCodeBytes);
            require(std::equal(unit->bytes.begin(), unit->bytes.end(),
                               stream.begin() + static_cast<std::ptrdiff_t>(unit->offset)));
            require(qlx::video::findStartCode(unit->bytes) <= 1);
            if (result.places.empty()) {
                result.places.push_back(unit->offset);
            }
            result.places.push_back(unit->offset + unit->bytes.size());
        }
    };
    for (std::size_t place = 0; place < stream.size(); place += step) {
        reader.push(std::span<const std::uint8_t>(stream).subspan(place, std::min(step, stream.size() - place)));
        take();
    }
    reader.finish();
    take();
    require(!reader.next());
    result.codec = reader.codec();
    result.error = reader.error();
    return result;
}

}  // namespace

// Codec, bytes that are pushed at once, then the stream.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t kind = input.takeByte() % 4;
    const std::optional<Codec> codec = kind < 3 ? std::optional(static_cast<Codec>(kind)) : std::nullopt;
    const std::size_t step = input.takeByte() + std::size_t{1};
    const std::vector<std::uint8_t> stream = input.rest();
    const Cut whole = cut(stream, std::max<std::size_t>(stream.size(), 1), codec);
    const Cut pieces = cut(stream, step, codec);
    require(whole.places == pieces.places && whole.codec == pieces.codec && whole.error == pieces.error);
    require(whole.places.empty() || whole.places.back() == stream.size());
    require(stream.empty() || !whole.places.empty() || whole.error);
    return 0;
}
