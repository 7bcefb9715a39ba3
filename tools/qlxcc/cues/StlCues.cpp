#include "cues/StlCues.h"

#include "cues/StartTimes.h"
#include "cues/SubtitleReaders.h"
#include "cues/SubtitleTimes.h"
#include "io/Errors.h"
#include "io/Text.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <qlx/facade/cue.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

using subtitles::kGsiBytes;
using subtitles::kTtiBytes;
using subtitles::StlReader;

/// `00:00:01:30`
std::string labelText(std::uint32_t number) {
    std::string text;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        const std::string part = std::to_string(number >> shift & 0xFFU);
        text += (text.empty() ? "" : ":") + std::string(part.size() < 2 ? "0" : "") + part;
    }
    return text;
}

/// What a finding leaves of a cue.
SubtitleProblem::Effect effectOf(const Finding& finding) {
    switch (finding.code) {
    case FindingCode::StlEndNotLater:
        return SubtitleProblem::Effect::CueLeftOut;
    case FindingCode::StlComment:
    case FindingCode::StlUserDataPassed:
    case FindingCode::StlBlockCut:
        return SubtitleProblem::Effect::NotASubtitle;
    default:
        return SubtitleProblem::Effect::None;
    }
}

/// Makes problems of findings.
class StlProblems final : public FindingSink {
public:
    explicit StlProblems(Subtitles& subtitles) : _subtitles(subtitles) {}

    void add(const Finding& finding) override {
        if (isOfBlankField(finding)) {
            return;
        }
        const std::uint64_t block = stlBlockAt(finding.offset);
        if (finding.code == FindingCode::StlComment) {
            // Told with its text.
            _commentBlocks.push_back(block);
            return;
        }
        _subtitles.problems.add(
            {block,
             (block == 0 ? "header byte " + std::to_string(finding.offset) + ": " : "") + stlFindingInWords(finding),
             effectOf(finding), finding.code == FindingCode::StlUserDataPassed ? Severity::Warning : finding.severity});
    }

    /// Those that have come since.
    void tellComments(const std::vector<subtitles::Cue>& comments) {
        for (; _told < comments.size(); ++_told) {
            _subtitles.problems.add({_commentBlocks.at(_told), "a comment: " + subtitleText(comments[_told]),
                                     SubtitleProblem::Effect::NotASubtitle, Severity::Warning});
        }
    }

private:
    Subtitles& _subtitles;
    std::vector<std::uint64_t> _commentBlocks;
    std::size_t _told = 0;
};

}  // namespace

void giveCue(const subtitles::Cue& cue, const SubtitleRequest& request, const CueTakers& take, std::uint64_t place) {
    if (take.value) {
        take.value(cue);
        return;
    }
    subtitles::Cue placed = subtitles::withPageRows(cue);
    std::erase_if(placed.rows, [](const subtitles::Row& row) { return row.runs.empty(); });
    placed.number = placed.number == 0 ? place : placed.number;
    auto record = facade::toRecord(placed);
    record->setSubtitleMode(request.mode);
    placeSTLRows(*record, request.mode);
    if (request.mode == kCea608Mode) {
        moveAsCaption(*record, request.frameDuration);
    }
    take.record(std::move(record));
}

StlReader openStl(const std::string& name, std::string_view bytes, FindingSink* findings,
                  const subtitles::StlReadOptions& options) {
    if (bytes.empty()) {
        throw failureAtByte(name, 0, "the file is empty");
    }
    constexpr std::size_t kCodeLength = 8;
    const std::string_view code = bytes.substr(std::min(subtitles::kDiskFormatOffset, bytes.size()), kCodeLength);
    subtitles::Gsi gsi;
    gsi.diskFormatCode = code;
    if (!gsi.rate()) {
        throw failureAtByte(name, subtitles::kDiskFormatOffset,
                            "not EBU STL: the disk format code is \"" + std::string(code) +
                                "\" and none of STL23.01, STL24.01, STL25.01, STL30.01 and STL50.01");
    }
    Result<StlReader> reader =
        StlReader::open({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, findings, options);
    if (!reader) {
        throw failureAtByte(name, bytes.size(), "the file ends inside of its header of 1024 bytes");
    }
    return std::move(*reader);
}

std::string stlFindingInWords(const Finding& finding) {
    switch (finding.code) {
    case FindingCode::StlEndNotLater:
        return "the end is not later than the start";
    case FindingCode::StlUserDataPassed:
        return "user data";
    case FindingCode::StlTimeCodeWrong:
        return "no such time code at " + std::to_string(finding.second) +
               " frames/s: " + labelText(static_cast<std::uint32_t>(finding.first));
    default:
        return finding.text();
    }
}

std::uint64_t stlBlockAt(std::uint64_t offset) noexcept {
    return offset < kGsiBytes ? 0 : (offset - kGsiBytes) / kTtiBytes + 1;
}

bool isOfBlankField(const Finding& finding) noexcept {
    return finding.offset < kGsiBytes && finding.severity == Severity::Remark;
}

void readWholeSTL(Subtitles& subtitles, std::string_view bytes, const SubtitleRequest& request, const CueTakers& take) {
    subtitles.place = "TTI block";
    StlProblems problems(subtitles);
    StlReader reader = openStl(subtitles.name, bytes, &problems);
    subtitles.format = "EBU STL, " + std::to_string(nominalFramesPerSecond(reader.rate())) + " frames/s";
    if (reader.gsi().timeCodeStatus.text() == "0") {
        subtitles.problems.add({0, "the time codes are marked as not intended for use: they are used all the same",
                                SubtitleProblem::Effect::None});
    }
    const LabelCounting own{reader.rate(), false};
    const auto start = subtitles::timeCodeOf(reader.gsi().startOfProgramme);
    const auto told = start ? std::optional(start->time(reader.rate())) : std::nullopt;
    ProgrammeTimes times(subtitles, request);
    while (const subtitles::Cue* const cue = reader.next()) {
        problems.tellComments(reader.comments());
        ++subtitles.cues;
        subtitles::Cue changed = *cue;
        times.change(changed, told, own);
        giveCue(changed, request, take);
    }
    times.finish();
    problems.tellComments(reader.comments());
    if (subtitles.cues == 0) {
        failWithoutCues(subtitles);
    }
}

}  // namespace qlx::tool
