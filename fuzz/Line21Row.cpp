// Line 21 in arbitrary rows: read in both ways, written, and read back; nothing behind the row is touched.
#include <qlx/line21/line21.h>

#include "FuzzPictures.h"

#include <array>

using qlx::line21::Sampling;
using qlxfuzz::require;

// The shape of a picture, two bytes of a pair, then what its row is filled with.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    qlxfuzz::Shape shape = qlxfuzz::takeShape(input);
    shape.height = 1;
    shape.padding = 0;
    const std::uint8_t first = input.takeByte();
    const qlx::cea608::Pair pair{first, input.takeByte()};
    qlxfuzz::FilledPicture picture(shape, input.rest());
    const qlx::line21::RowLayout layout{shape.format, shape.width, shape.height};
    const bool hasChroma = shape.format == qlx::kPixelFormat420v;
    const qlx::line21::RowRoom room{picture.first.span(),
                                    hasChroma ? picture.second.span() : std::span<std::uint8_t>()};
    const qlx::line21::RowView row{room.samples, room.chroma};

    qlx::Findings findings;
    const auto found = readPair(row, layout, &findings);
    require(found ? findings.size() <= 2 : findings.empty() && found.error().offset <= shape.width);
    require(readPair(row, layout, nullptr, {.sampling = Sampling::Fixed}).hasValue());
    require(!readPair({row.samples.first(row.samples.size() - 1), row.chroma}, layout).hasValue());

    const std::vector<std::uint8_t> before = picture.first.vector();
    const auto written = writePair(pair, layout, room);
    require(written.hasValue() == (shape.width >= qlx::line21::kWaveformPixels));
    if (!written) {
        require(picture.first.vector() == before);
        return 0;
    }
    require(*written == room.samples.size());
    for (const Sampling sampling : {Sampling::Clock, Sampling::Fixed}) {
        const auto back = readPair(row, layout, nullptr, {.sampling = sampling});
        require(back.hasValue() && *back == pair);
    }
    return 0;
}
