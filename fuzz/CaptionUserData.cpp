// Arbitrary bytes as the caption user data of a picture, in each form: read, written, and read again.
#include <qlx/cc/a53.h>

#include "FuzzSupport.h"

#include <array>

using qlxfuzz::require;

// Its form, and whether the right codes are put in front of the rest.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    qlxfuzz::Input input(data, size);
    const std::uint8_t head = input.takeByte();
    const auto form = static_cast<qlx::cc::UserDataForm>(head % 3);
    std::vector<std::uint8_t> bytes = input.rest();
    if (head >= 0x80) {
        const qlx::Data codes = writeCaptionUserData(qlx::cc::CaptionUserData(), form);
        // Behind them stand flags, em_data and marker bits.
        bytes.insert(bytes.begin(), codes.begin(), codes.end() - 3);
        bytes.shrink_to_fit();
    }
    qlx::Findings findings;
    const auto captions = qlx::cc::parseCaptionUserData(bytes, form, &findings);
    require(captions.hasValue() || (findings.empty() && !captions.error().text().empty()));
    if (!captions) {
        return 0;
    }
    std::array<std::uint8_t, qlx::cc::kGreatestCaptionUserData> room{};
    const auto written = writeCaptionUserData(*captions, form, room);
    require(written.hasValue());
    const std::vector<std::uint8_t> out(room.begin(), room.begin() + static_cast<std::ptrdiff_t>(*written));
    require(!findings.empty() || out == bytes);
    const auto back = qlx::cc::parseCaptionUserData(out, form);
    require(back.hasValue() && *back == *captions);
    return 0;
}
