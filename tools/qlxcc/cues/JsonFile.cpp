// JSON subtitle files as records.
#include "cues/JsonCues.h"
#include "cues/SubtitleReaders.h"
#include "io/Errors.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>
#include <qlx/facade/cue.h>

#include <algorithm>
#include <string>
#include <utility>

namespace qlx::tool {

void readJson(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTakers& take) {
    subtitles.format = "JSON";
    subtitles.place = "element";
    ProgrammeTimes times(subtitles, request);
    const auto takeCue = [&](subtitles::Cue cue, bool hasAll) {
        ++subtitles.cues;
        // As deployed nothing is asked for, nor said.
        if (!request.asDeployed) {
            times.change(cue);
        }
        if (take.value) {
            take.value(cue);
            return;
        }
        auto record = facade::toRecord(hasAll ? subtitles::withPageRows(cue) : cue);
        record->setSubtitleMode(request.mode);
        if (hasAll) {
            placeSTLRows(*record, request.mode);
        }
        take.record(std::move(record));
    };
    const std::uint64_t elements = readJsonText(
        subtitles.name, text, {takeCue, [&](SubtitleProblem problem) { subtitles.problems.add(std::move(problem)); }});
    times.finish();
    if (subtitles.cues == 0) {
        const auto& problems = subtitles.problems.first();
        // In front of them stands what is said of the text as a whole.
        const auto first = std::find_if(problems.begin(), problems.end(),
                                        [](const SubtitleProblem& problem) { return problem.place != 0; });
        throw failureIn(subtitles.name, elements == 0 ? "the JSON array is empty"
                                                      : "no valid subtitle in the file: element 1: " +
                                                            (first == problems.end() ? "" : first->what));
    }
}

}  // namespace qlx::tool
