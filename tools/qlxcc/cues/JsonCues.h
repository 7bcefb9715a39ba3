// Cues as JSON: with all that they have, and in the form of the fixed operations; and what files have besides cues.
#pragma once

#include "cues/CueInput.h"
#include "cues/Subtitles.h"

#include <QLXClosedCaptionsUtilities/platform/Value.h>
#include <qlx/base/finding.h>
#include <qlx/subtitles/cue.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace qlx::tool {

/// Who gets what a JSON text has.
struct JsonCueTakers {
    /// @param hasAll The form has all of the cue; else it is that of the fixed operations.
    std::function<void(subtitles::Cue cue, bool hasAll)> cue;
    std::function<void(SubtitleProblem)> problem;                               ///< Its place is the element.
    std::function<void(std::string_view key, const Value& value)> member = {};  ///< Besides the cues; may be empty.
};

/// Reads a JSON text that is an array, or an object with an array under `cues`, of cues in either form.
/// @return How many elements the array has.
/// @throws Failure when the text is no JSON, or has no such array.
std::uint64_t readJsonText(const std::string& name, std::string_view text, const JsonCueTakers& take);

/// Takes what a document says of a file besides cues into `input`.
/// @return What cannot be used; empty where all can, or means nothing here.
[[nodiscard]] std::string takeJsonMember(std::string_view key, const Value& value, CueInput& input);

/// Writes a document of the form kCueSchema, or with `asDeployed` of the older one, which has not all that cues have.
class JsonCueWriter {
public:
    JsonCueWriter(bool asDeployed, FindingSink* findings) : _asDeployed(asDeployed), _findings(findings) {}

    /// Appends what stands in front of the cues.
    void begin(const CueInput& input, std::string& text) const;

    /// Appends a cue; false when it has no place in the form.
    bool write(const subtitles::Cue& cue, std::string& text);

    /// Appends what stands behind them.
    void finish(const CueInput& input, std::string& text) const;

private:
    bool _asDeployed;
    FindingSink* _findings;
    std::uint64_t _given = 0;
    bool _isEmpty = true;
};

}  // namespace qlx::tool
