// Findings of transport streams, from numbers without a sign.
#pragma once

#include <qlx/base/finding.h>

#include <cstdint>

namespace qlx::streams::ts::detail {

/// Gives a finding to whoever wants to hear of it.
inline void addFinding(FindingSink* findings, FindingCode code, Severity severity, std::uint64_t offset,
                       std::uint64_t first = 0, std::uint64_t second = 0) {
    if (findings != nullptr) {
        findings->add({code, severity, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)});
    }
}

}  // namespace qlx::streams::ts::detail
