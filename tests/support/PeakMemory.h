// How much memory something takes while it runs.
#pragma once

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

#include <malloc.h>

namespace qlxtest {

/// A line of the system's status of this process, in bytes.
inline std::uint64_t statusBytes(std::string_view name) {
    std::ifstream file("/proc/self/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name)) {
            return std::stoull(line.substr(name.size())) * 1024;
        }
    }
    return 0;
}

/// The bytes that `work` has in memory at once beside its result; none where the system does not say.
template <class Work>
std::optional<std::uint64_t> bytesBesideResult(const Work& work) {
    malloc_trim(0);
    // From now on the peak is a new one.
    if (!(std::ofstream("/proc/self/clear_refs") << "5" << std::flush)) {
        return std::nullopt;
    }
    [[maybe_unused]] const auto result = work();
    const std::uint64_t peak = statusBytes("VmHWM:");
    malloc_trim(0);
    const std::uint64_t rest = statusBytes("VmRSS:");
    return peak == 0 || rest == 0 ? std::nullopt : std::optional(peak > rest ? peak - rest : 0);
}

}  // namespace qlxtest
