#include "io/FrameInput.h"

#include "io/Errors.h"

#include <cstddef>

namespace qlx::tool {

namespace {

/// `frame 3, line 9, byte 24 of the row: `, as much of it as is known.
std::string inWords(const streams::Place& place) {
    std::string text;
    const auto add = [&text](const char* what, std::uint64_t number) {
        text += text.empty() ? "" : ", ";
        text += what + std::to_string(number);
    };
    if (place.frame) {
        add("frame ", *place.frame);
    }
    if (place.line) {
        add("line ", *place.line);
    }
    if (place.byte) {
        add("byte ", *place.byte);
        text += place.line ? " of the row" : "";
    }
    return text.empty() ? text : text + ": ";
}

}  // namespace

void FrameInput::sayFindings(std::vector<std::string>& problems) {
    if (_findings.found.empty()) {
        return;
    }
    const std::vector<std::string> texts = _reader->takeLibraryTexts();
    std::size_t text = 0;
    for (const Finding& finding : _findings.found) {
        std::vector<std::string>& lines = finding.severity == Severity::Remark ? _remarks : problems;
        if (finding.code == FindingCode::StreamLibraryRemark && text < texts.size()) {
            lines.push_back(texts[text++]);
        } else {
            lines.push_back(inWords(_reader->placeOf(finding)) + finding.text());
        }
    }
    _findings.found.clear();
}

void FrameInput::fail(const Finding& why) {
    _bytes.rethrow();
    if (_reader->placeUnit() == streams::PlaceUnit::TextLine && why.offset > 0) {
        throw failureAtLine(_name, why.offset, why.text());
    }
    throw failureAtByte(_name, why.offset, why.text());
}

bool FrameInput::next(Frame& frame, std::vector<std::string>& problems) {
    const Result<bool> hasFrame = [&] {
        try {
            return _reader->next(frame, &_findings);
        } catch (const Failure&) {
            // As long as there are readers of the tool's own.
            sayFindings(problems);
            throw;
        }
    }();
    sayFindings(problems);
    if (!hasFrame) {
        fail(hasFrame.error());
    }
    return *hasFrame;
}

}  // namespace qlx::tool
