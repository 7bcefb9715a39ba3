// Findings of one thing of which a file may have very many.
#pragma once

#include <qlx/base/finding.h>
#include <qlx/streams/klv.h>

#include <algorithm>
#include <cstdint>

namespace qlx::streams::detail {

/// Keeps the first kMostElementFindings, and counts the rest with the worst severity among them.
class BoundedFindings final : public FindingSink {
public:
    void add(const Finding& finding) override {
        if (_kept.size() == kMostElementFindings) {
            _worst = std::max(_worst, finding.severity);
        }
        _kept.add(finding);
    }

    /// Hands them on, with offsets from `place` on: StreamMoreFindings counts the rest.
    void give(std::uint64_t place, FindingSink& sink) const {
        for (Finding finding : _kept) {
            finding.offset += place;
            sink.add(finding);
        }
        if (_kept.rest() > 0) {
            sink.add({FindingCode::StreamMoreFindings, _worst, place, static_cast<std::int64_t>(_kept.rest()), 0});
        }
    }

private:
    Findings _kept{kMostElementFindings};
    Severity _worst = Severity::Remark;
};

}  // namespace qlx::streams::detail
