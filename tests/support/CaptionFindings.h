// What findings say of a caption.
#pragma once

#include <qlx/base/finding.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace qlxtest {

/// The findings of one caption, which name places, characters or colours of it by their first number.
class CaptionFindings {
public:
    explicit CaptionFindings(const std::vector<qlx::Finding>& findings) : _findings(findings) {}

    /// The one with this first number; null where there is none.
    [[nodiscard]] const qlx::Finding* find(qlx::FindingCode code, std::int64_t first) const {
        const auto found = std::find_if(_findings.begin(), _findings.end(), [&](const qlx::Finding& finding) {
            return finding.code == code && finding.first == first;
        });
        return found == _findings.end() ? nullptr : &*found;
    }

    /// Whether a place is among those of a finding: so many from the first one on.
    [[nodiscard]] bool has(qlx::FindingCode code, std::int64_t place) const {
        return std::any_of(_findings.begin(), _findings.end(), [&](const qlx::Finding& finding) {
            return finding.code == code && place >= finding.first && place < finding.first + finding.second;
        });
    }

private:
    const std::vector<qlx::Finding>& _findings;
};

}  // namespace qlxtest
