#include "cues/CueNotes.h"

#include "io/Errors.h"

namespace qlx::tool {

void CueNotes::add(const Finding& finding) {
    Kind& kind = _kinds[finding.code];
    if (++kind.count > kShown) {
        return;
    }
    const std::string text = finding.text();
    if (kind.count == 1) {
        kind.text = text;
        kind.isRemark = finding.severity == Severity::Remark;
    }
    const bool isOfCue = _place.empty() && finding.offset < _cues.size();
    const std::string place = isOfCue ? "cue " + std::to_string(_cues[finding.offset]) : _place;
    _notes.push_back((finding.severity == Severity::Remark ? "remark: " : "warning: ") + _name + ": " +
                     (place.empty() ? place : place + ": ") + text);
}

void CueNotes::say() {
    for (const std::string& note : _notes) {
        printNote(note);
    }
    _notes.clear();
}

void CueNotes::finish() {
    say();
    for (const auto& [code, kind] : _kinds) {
        if (kind.count > kShown) {
            printNote((kind.isRemark ? "remark: " : "warning: ") + _name + ": " + std::to_string(kind.count - kShown) +
                      " more like \"" + kind.text + "\"");
        }
    }
}

}  // namespace qlx::tool
