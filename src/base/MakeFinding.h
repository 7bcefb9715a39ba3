// A finding of sizes and numbers without a sign.
#pragma once

#include <qlx/base/finding.h>

#include <cstdint>

namespace qlx {

/// The same with numbers of 64 bits, as a finding keeps them.
[[nodiscard]] constexpr Finding makeFinding(FindingCode code, Severity severity, std::uint64_t offset,
                                            std::uint64_t first = 0, std::uint64_t second = 0) noexcept {
    return {code, severity, offset, static_cast<std::int64_t>(first), static_cast<std::int64_t>(second)};
}

/// Gives a finding to whoever wants to hear of it.
inline void addTo(FindingSink* findings, const Finding& finding) {
    if (findings != nullptr) {
        findings->add(finding);
    }
}

}  // namespace qlx
