#include "io/FrameInput.h"

#include "io/Text.h"

namespace qlx::tool {

namespace {

/// Whether a file ends in the midst of a frame, as one does whose recording was interrupted.
bool isCut(FindingCode code) {
    return code == FindingCode::KlvCut || code == FindingCode::KlvValueCut || code == FindingCode::RowFileRowCut ||
           code == FindingCode::RowFileFrameCut;
}

}  // namespace

void FrameInput::setReader(std::unique_ptr<streams::FrameReader> reader, streams::InputKind kind) {
    _reader = std::move(reader);
    _kind = kind;
    _words.emplace(_name, *_reader, kind);
}

/// Whether what is wrong was used all the same: of packets in KLV and MCC files and on rows it is known.
bool FrameInput::isUsed(Severity severity) const noexcept {
    return (_kind == streams::InputKind::Klv || _kind == streams::InputKind::Mcc || streams::hasRows(_kind)) &&
           severity != Severity::Error;
}

void FrameInput::sayRest(std::vector<FrameProblem>& problems) {
    const CallFindings::Rest& rest = _findings.rest;
    if (rest.count == 0) {
        return;
    }
    const bool isProblem = rest.worst != Severity::Remark;
    _losses += isProblem && !isUsed(rest.worst) ? 1 : 0;
    const std::string text = counted(rest.count, "more finding") + " in one place";
    if (isProblem) {
        problems.push_back({text, FindingCode::None});
    } else {
        _remarks.push_back(text);
    }
}

void FrameInput::sayFindings(std::vector<FrameProblem>& problems) {
    for (const Finding& finding : _findings.found) {
        if (finding.code == FindingCode::ContainerTimesCounted && !problems.empty()) {
            // What follows from the problem in front of it.
            problems.back().text += "; " + finding.text();
            continue;
        }
        const bool isProblem = !isRemark(finding);
        _losses += isProblem && !isUsed(finding.severity) ? 1 : 0;
        if (isProblem) {
            problems.push_back({_words->line(finding), finding.code});
        } else {
            _remarks.push_back(_words->line(finding));
        }
    }
    sayRest(problems);
    _findings.clear();
}

void FrameInput::fail(const Finding& why) {
    _bytes.rethrow();
    const Failure failure = _words->failure(why);
    if (why.code == FindingCode::ContainerWithoutTracks) {
        throw WithoutFrames(failure.what());
    }
    throw failure;
}

bool FrameInput::next(Frame& frame, std::vector<FrameProblem>& problems) {
    frame.subtitle.reset();
    if (_isCut) {
        return false;
    }
    const Result<bool> hasFrame = _reader->next(frame, &_findings);
    const std::size_t before = problems.size();
    sayFindings(problems);
    _problems += problems.size() - before;
    if (!hasFrame) {
        if (!_hasGivenFrames || !isCut(hasFrame.error().code)) {
            fail(hasFrame.error());
        }
        const Finding& cut = hasFrame.error();
        problems.push_back({"byte " + std::to_string(cut.offset) + ": " + cut.text(), cut.code});
        _problems += 1;
        _losses += 1;
        _isCut = true;
        return false;
    }
    _hasGivenFrames = _hasGivenFrames || *hasFrame;
    return *hasFrame;
}

}  // namespace qlx::tool
