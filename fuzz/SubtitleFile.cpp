// The tool's readers of whole subtitle files, deployed ones and JSON: they end with a message or give cues; what the reader of JSON gives can be read
// as subtitles.
#include "cues/SubtitleReaders.h"
#include "io/Errors.h"
#include "streams/Json.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

namespace {

using Reader = void (*)(qlx::tool::Subtitles&, std::string_view, const qlx::tool::SubtitleRequest&,
                        const qlx::tool::CueTakers&);

void readWith(Reader reader, std::string_view text, std::int32_t mode) {
    qlx::tool::Subtitles subtitles;
    subtitles.name = "memory";
    std::uint64_t cues = 0;
    try {
        const auto takeRecord = [&](const auto& record) {
            require(record != nullptr);
            ++cues;
        };
        const auto takeValue = [&](const qlx::subtitles::Cue& cue) {
            require(qlx::tool::subtitleText(cue).size() <= 4 * text.size() + 16);
            ++cues;
        };
        // No mode: cues as they are.
        const bool areValues = mode == 0;
        reader(subtitles, text, {"memory", mode, 0.04},
               {takeRecord, areValues ? qlx::tool::CueValueTaker(takeValue) : qlx::tool::CueValueTaker()});
        require(cues > 0);
    } catch (const qlx::tool::Failure& failure) {
        require(std::string_view(failure.what()).starts_with("memory: "));
    }
    require(cues == subtitles.cues);
    require(subtitles.problems.first().size() <= subtitles.problems.count());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    (void)qlx::tool::looksLikeJson(text);
    for (const std::int32_t mode : {0, 1, 2}) {
        if (mode != 0) {
            readWith(&qlx::tool::readSRT, text, mode);
        }
        readWith(&qlx::tool::readJson, text, mode);
        readWith(&qlx::tool::readSTL, text, mode);
    }
    try {
        const qlx::Value value = qlx::tool::parseJson("memory", text);
        if (const qlx::Array* const elements = value.array()) {
            require(elements->size() <= size);
            for (const qlx::Value& element : *elements) {
                if (element.dictionary() == nullptr) {
                    continue;
                }
                const auto record =
                    QLXSubtitleRecord::initWithJSONDictionary_subtitleMode_error(*element.dictionary(), 1);
                require(!record || qlx::tool::subtitleText(*record).size() <= 4 * size + 16);
            }
        }
    } catch (const qlx::tool::Failure& failure) {
        require(std::string_view(failure.what()).starts_with("memory: "));
    }
    return 0;
}
