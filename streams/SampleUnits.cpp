#include "SampleUnits.h"

#include <qlx/base/finding.h>

namespace qlx::streams::detail {

namespace {

/// Notes a unit whose length leads behind the end.
struct CutUnits final : FindingSink {
    void add(const Finding& finding) override { any = any || finding.code == FindingCode::VideoUnitCut; }
    bool any = false;
};

}  // namespace

bool hasWholeUnits(std::span<const std::uint8_t> sample, std::size_t lengthBytes) noexcept {
    CutUnits cut;
    video::LengthPrefixedWalker units(sample, lengthBytes, &cut);
    video::UnitView nal;
    const bool beginsEmpty = units.next(nal) && nal.bytes.empty();
    if (lengthBytes == 0 || beginsEmpty) {
        return lengthBytes == 0;
    }
    while (units.next(nal)) {
    }
    return !cut.any;
}

std::size_t lengthBytesOf(std::span<const std::uint8_t> parameters, video::Codec codec) noexcept {
    const Result<std::size_t> bytes = video::parseLengthBytes(parameters, codec);
    return bytes ? *bytes : 0;
}

}  // namespace qlx::streams::detail
