// The style sheets of a WebVTT track, which each of its samples is read with.
#pragma once

#include <qlx/base/finding.h>

namespace qlx::streams::detail {

/// Hands findings on but those of style sheets: they are said of the head, once.
class WithoutSheets final : public FindingSink {
public:
    explicit WithoutSheets(FindingSink& findings) noexcept : _findings(findings) {}

    void add(const Finding& finding) override {
        if (finding.code != FindingCode::WebVttStyleNotApplied) {
            _findings.add(finding);
        }
    }

private:
    FindingSink& _findings;
};

}  // namespace qlx::streams::detail
