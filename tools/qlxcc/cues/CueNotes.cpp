#include "cues/CueNotes.h"

#include "io/Errors.h"

#include <algorithm>

namespace qlx::tool {

namespace {

/// The codes of a room are numbers with the same upper half.
bool areOfOneRoom(FindingCode one, FindingCode other) {
    return static_cast<std::uint32_t>(one) >> 16U == static_cast<std::uint32_t>(other) >> 16U;
}

bool isOfLine21(FindingCode code) {
    return areOfOneRoom(code, FindingCode::Cea608CaptionEmpty);
}

bool isOfService(FindingCode code) {
    return areOfOneRoom(code, FindingCode::Cea708CaptionEmpty);
}

/// Empty for what is of neither system.
std::string systemOf(FindingCode code) {
    return isOfLine21(code) ? "CEA-608: " : isOfService(code) ? "CEA-708: " : "";
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
    if (_namesSystems && isOfService(finding.code) && joinWithLine21(finding)) {
        return;
    }
    Kind& kind = _kinds[finding.code];
    const bool isShown = ++kind.count <= kShown || _saysAll;
    if (_namesSystems && isOfLine21(finding.code)) {
        if (!_ofLine21.empty() && _ofLine21.front().offset != finding.offset) {
            _ofLine21.clear();
        }
        _ofLine21.push_back(
            {finding.offset, finding.text(), finding.code, isShown ? std::optional(_notes.size()) : std::nullopt});
    }
    if (!isShown) {
        return;
    }
    const std::string text = (_namesSystems ? systemOf(finding.code) : std::string()) + finding.text();
    if (kind.count == 1) {
        kind.text = text;
        kind.isRemark = finding.severity == Severity::Remark;
    }
    _notes.push_back(noteOf(finding, text));
}

std::string CueNotes::noteOf(const Finding& finding, const std::string& text) const {
    const bool isOfCue = _place.empty() && finding.offset < _cues.size();
    const std::string place = isOfCue ? "cue " + std::to_string(_cues[finding.offset].number) : _place;
    const std::string& name = isOfCue ? _names[_cues[finding.offset].name] : _name;
    return (finding.severity == Severity::Remark ? "remark: " : "warning: ") + name + ": " +
           (place.empty() ? place : place + ": ") + text;
}

bool CueNotes::joinWithLine21(const Finding& finding) {
    const std::string text = finding.text();
    const auto same = std::find_if(_ofLine21.begin(), _ofLine21.end(), [&](const OfLine21& one) {
        return one.offset == finding.offset && one.text == text;
    });
    if (same == _ofLine21.end()) {
        return false;
    }
    Kind& kind = _kinds[same->code];
    kind.text = kind.text == systemOf(same->code) + text ? text : kind.text;
    if (same->note) {
        _notes[*same->note] = noteOf(finding, text);
    }
    _ofLine21.erase(same);
    return true;
}

bool CueNotes::isLossy() const {
    return std::any_of(_kinds.begin(), _kinds.end(), [](const auto& kind) { return !kind.second.isRemark; });
}

void CueNotes::say() {
    for (const std::string& note : _notes) {
        printNote(note);
    }
    _notes.clear();
    _ofLine21.clear();
}

void CueNotes::finish() {
    say();
    for (const auto& [code, kind] : _kinds) {
        if (kind.count > kShown && !_saysAll) {
            printNote((kind.isRemark ? "remark: " : "warning: ") + _name + ": " + std::to_string(kind.count - kShown) +
                      " more like \"" + kind.text + "\"");
        }
    }
}

}  // namespace qlx::tool
