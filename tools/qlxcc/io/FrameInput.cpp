#include "io/FrameInput.h"

namespace qlx::tool {

void FrameInput::setReader(std::unique_ptr<streams::FrameReader> reader, streams::InputKind kind) {
    _reader = std::move(reader);
    _kind = kind;
    _words.emplace(_name, *_reader, kind);
}

void FrameInput::sayFindings(std::vector<std::string>& problems) {
    for (const Finding& finding : _findings.found) {
        if (finding.code == FindingCode::ContainerTimesCounted && !problems.empty()) {
            // What follows from the problem in front of it.
            problems.back() += "; " + finding.text();
            continue;
        }
        const bool isProblem = !isRemark(finding);
        const bool isUsed = _kind == streams::InputKind::Klv && finding.severity != Severity::Error;
        _losses += isProblem && !isUsed ? 1 : 0;
        (isProblem ? problems : _remarks).push_back(_words->line(finding));
    }
    _findings.found.clear();
}

void FrameInput::fail(const Finding& why) {
    _bytes.rethrow();
    throw _words->failure(why);
}

bool FrameInput::next(Frame& frame, std::vector<std::string>& problems) {
    frame.subtitle.reset();
    const Result<bool> hasFrame = _reader->next(frame, &_findings);
    sayFindings(problems);
    if (!hasFrame) {
        fail(hasFrame.error());
    }
    return *hasFrame;
}

}  // namespace qlx::tool
