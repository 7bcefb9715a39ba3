// The tool's reader of JSON: it ends with a message or gives a value, and what it gives can be read as subtitles.
#include "Errors.h"
#include "Json.h"
#include "Subtitles.h"

#include <QLXClosedCaptionsUtilities/QLXSubtitleRecord.h>

#include "FuzzSupport.h"

using qlxfuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    (void)qlx::tool::looksLikeJson(text);
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
