// JSON subtitle files, element by element.
#include "cues/SubtitleReaders.h"
#include "cues/SubtitleTimes.h"
#include "io/Errors.h"
#include "streams/Json.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <qlx/facade/cue.h>
#include <qlx/subtitles/value.h>

#include <utility>
#include <vector>

namespace qlx::tool {

void readJson(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTakers& take) {
    subtitles.format = "JSON";
    subtitles.place = "element";
    std::uint64_t elements = 0;
    const bool hasList = readJsonElements(subtitles.name, text, [&](const Value& element) {
        ++elements;
        Findings findings;
        Result<subtitles::Cue> cue = subtitles::cueOf(element, &findings);
        std::vector<SubtitleProblem> problems = elementProblems(elements, element, findings, cue);
        const bool isCue = !leaveCueOut(problems);
        for (SubtitleProblem& problem : problems) {
            subtitles.problems.add(std::move(problem));
        }
        if (!isCue) {
            return;
        }
        ++subtitles.cues;
        cue->number = elements;
        if (take.value) {
            take.value(*cue);
            return;
        }
        auto record = facade::toRecord(*cue);
        record->setSubtitleMode(request.mode);
        take.record(std::move(record));
    });
    if (!hasList) {
        throw failureAtLine(subtitles.name, 1, "the JSON is no array of subtitles");
    }
    if (subtitles.cues == 0) {
        throw failureIn(subtitles.name, elements == 0 ? "the JSON array is empty"
                                                      : "no valid subtitle in the file: element 1: " +
                                                            subtitles.problems.first().front().what);
    }
}

}  // namespace qlx::tool
