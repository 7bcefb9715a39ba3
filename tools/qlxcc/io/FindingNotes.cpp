#include "io/FindingNotes.h"

#include "io/Errors.h"
#include "io/Text.h"

namespace qlx::tool {

void FindingNotes::add(const Finding& finding) {
    if (finding.severity == Severity::Remark && !_saysRemarks) {
        return;
    }
    const bool isRemark = finding.severity == Severity::Remark;
    _hasFound = _hasFound || !isRemark;
    Kind& kind = _kinds[finding.code];
    if (++kind.count > _shown) {
        return;
    }
    const std::string text = finding.text();
    if (kind.count == 1) {
        kind.text = text;
    }
    _progress.clear();
    printNote((isRemark && _shown > kShown ? "remark: " : "warning: ") + _name + ": " + _place + ": " + text);
}

bool FindingNotes::prints(const Finding& finding) const {
    const auto kind = _kinds.find(finding.code);
    return (finding.severity != Severity::Remark || _saysRemarks) && !isQuiet() &&
           (kind == _kinds.end() || kind->second.count < _shown);
}

void FindingNotes::finish() {
    for (const auto& [code, kind] : _kinds) {
        if (kind.count > _shown) {
            _progress.clear();
            printNote("warning: " + _name + ": " + std::to_string(kind.count - _shown) + " more like \"" + kind.text +
                      "\"");
        }
    }
}

void noteFindings(const std::string& place, const Findings& findings,
                  const std::function<std::string(const Finding&)>& inWords) {
    constexpr std::uint64_t kShown = 10;
    struct Kind {
        std::uint64_t count = 0;
        std::string first;
    };
    std::map<FindingCode, Kind> kinds;
    for (const Finding& finding : findings) {
        Kind& kind = kinds[finding.code];
        if (kind.count >= kShown) {
            ++kind.count;
        } else if (const std::string note = inWords(finding); !note.empty()) {
            kind.first = ++kind.count == 1 ? note : kind.first;
            printNote(note);
        }
    }
    for (const auto& [code, kind] : kinds) {
        if (kind.count > kShown) {
            printNote(std::to_string(kind.count - kShown) + " more like \"" + kind.first + "\"");
        }
    }
    if (findings.rest() > 0) {
        printNote("warning: " + place + ": " + restInWords(findings));
    }
}

std::string restInWords(const Findings& findings) {
    return counted(findings.rest(), "more finding");
}

}  // namespace qlx::tool
