// JSON subtitle files, element by element.
#include "cues/SubtitleReaders.h"
#include "cues/SubtitleTimes.h"
#include "io/Errors.h"
#include "streams/Json.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include <utility>
#include <vector>

namespace qlx::tool {

namespace {

/// What is wrong with an element of a JSON file, of which the library has made `record`; empty when it is right.
std::vector<SubtitleProblem> elementProblems(std::uint64_t number, const Value& element,
                                             const QLXSubtitleRecord* record) {
    if (element.dictionary() == nullptr) {
        return {{number, "no object"}};
    }
    if (record == nullptr) {
        return {{number, "no \"text_lines\""}};
    }
    return elementTimeProblems(number, *element.dictionary(), *record);
}

}  // namespace

void readJson(Subtitles& subtitles, std::string_view text, const SubtitleRequest& request, const CueTaker& take) {
    subtitles.format = "JSON";
    subtitles.place = "element";
    std::uint64_t elements = 0;
    const bool hasList = readJsonElements(subtitles.name, text, [&](const Value& element) {
        ++elements;
        auto record =
            element.dictionary() == nullptr
                ? nullptr
                : QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(*element.dictionary(), request.mode);
        std::vector<SubtitleProblem> problems = elementProblems(elements, element, record.get());
        const bool isCue = !leaveCueOut(problems);
        for (SubtitleProblem& problem : problems) {
            subtitles.problems.add(std::move(problem));
        }
        if (isCue) {
            ++subtitles.cues;
            record->setIndex(elements);
            take(std::move(record));
        }
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
