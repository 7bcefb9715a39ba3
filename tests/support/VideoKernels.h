// The searches of video streams that a machine runs.
#pragma once

#include "video/VideoStreamKernels.h"

#include <vector>

namespace qlxtest {

/// Both sets on this machine; only the plain one where there is no AVX2.
inline std::vector<const qlx::videostream::Kernels*> allVideoKernels() {
    std::vector<const qlx::videostream::Kernels*> all{&qlx::videostream::scalarKernels()};
    if (qlx::videostream::avx2Kernels()) {
        all.push_back(qlx::videostream::avx2Kernels());
    }
    return all;
}

}  // namespace qlxtest
