// The vector loops against the plain ones.
#include "anc/RowKernels.h"

#include "FuzzSupport.h"
#include "v210/V210.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const qlx::anc::RowKernels* const vector = qlx::anc::avx2RowKernels();
    if (!vector) {
        return 0;
    }
    const qlx::anc::RowKernels& plain = qlx::anc::scalarRowKernels();
    qlxfuzz::Input input(data, size);
    const std::size_t begin = input.takeByte();
    const std::vector<std::uint8_t> bytes = input.rest();

    const std::size_t groups = bytes.size() / qlx::v210::kGroupBytes;
    std::vector<std::uint8_t> expected(groups * qlx::v210::kLumaOfGroup);
    std::vector<std::uint8_t> luma(expected.size());
    plain.reduceV210(bytes.data(), groups, expected.data());
    vector->reduceV210(bytes.data(), groups, luma.data());
    require(luma == expected);

    if (bytes.size() >= begin + 2) {
        const std::size_t end = bytes.size() - 2;
        require(vector->findDataFlag(bytes.data(), begin, end) == plain.findDataFlag(bytes.data(), begin, end));
    }
    return 0;
}
