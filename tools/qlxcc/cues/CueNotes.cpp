#include "cues/CueNotes.h"

#include "io/Errors.h"

#include <algorithm>

namespace qlx::tool {

namespace {

/// `CEA-608: `; empty for what is of neither system. The codes of a room are numbers with the same upper half.
std::string systemOf(FindingCode code) {
    const auto roomOf = [](FindingCode one) { return static_cast<std::uint32_t>(one) >> 16U; };
    return roomOf(code) == roomOf(FindingCode::Cea608CaptionEmpty)   ? "CEA-608: "
           : roomOf(code) == roomOf(FindingCode::Cea708CaptionEmpty) ? "CEA-708: "
                                                                     : std::string();
}

}  // namespace

void CueNotes::addCue(std::uint64_t number, const std::string& name) {
    const auto place = std::find(_names.begin(), _names.end(), name);
    _cues.push_back({number, static_cast<std::size_t>(place - _names.begin())});
    if (place == _names.end()) {
        _names.push_back(name);
    }
}

void CueNotes::add(const Finding& finding) {
    Kind& kind = _kinds[finding.code];
    if (++kind.count > kShown) {
        return;
    }
    const std::string text = (_namesSystems ? systemOf(finding.code) : std::string()) + finding.text();
    if (kind.count == 1) {
        kind.text = text;
        kind.isRemark = finding.severity == Severity::Remark;
    }
    const bool isOfCue = _place.empty() && finding.offset < _cues.size();
    const std::string place = isOfCue ? "cue " + std::to_string(_cues[finding.offset].number) : _place;
    const std::string& name = isOfCue ? _names[_cues[finding.offset].name] : _name;
    _notes.push_back((finding.severity == Severity::Remark ? "remark: " : "warning: ") + name + ": " +
                     (place.empty() ? place : place + ": ") + text);
}

bool CueNotes::isLossy() const {
    return std::any_of(_kinds.begin(), _kinds.end(), [](const auto& kind) { return !kind.second.isRemark; });
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
