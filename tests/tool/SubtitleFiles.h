// Subtitle files for the tests of the tool.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace qlxtest {

struct Cue {
    std::string_view start;
    std::string_view end;
    std::string_view text;
};

/// An SRT file.
inline std::string srt(const std::vector<Cue>& cues) {
    std::string file;
    std::size_t index = 0;
    for (const Cue& cue : cues) {
        file += std::to_string(++index) + "\n" + std::string(cue.start) + " --> " + std::string(cue.end) + "\n" +
                std::string(cue.text) + "\n\n";
    }
    return file;
}

/// `qlxcc play FILE --mode MODE --rate RATE` and more.
inline std::vector<std::string> playArgumentsOfMode(const std::string& mode, const std::string& file,
                                                    const std::string& rate, const std::vector<std::string>& more) {
    std::vector<std::string> arguments{"play", file, "--mode", mode, "--rate", rate};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
}

/// `qlxcc play FILE --mode teletext --rate RATE` and more.
inline std::vector<std::string> playArguments(const std::string& file, const std::string& rate,
                                              const std::vector<std::string>& more = {}) {
    return playArgumentsOfMode("teletext", file, rate, more);
}

/// The same by the fixed operations.
inline std::vector<std::string> deployedTeletextArguments(const std::string& file, const std::string& rate,
                                                          std::vector<std::string> more = {}) {
    more.emplace_back("--as-deployed");
    return playArguments(file, rate, more);
}

/// `qlxcc play FILE --mode cea608 --rate RATE` and more.
inline std::vector<std::string> captionArguments(const std::string& file, const std::string& rate,
                                                 const std::vector<std::string>& more = {}) {
    return playArgumentsOfMode("cea608", file, rate, more);
}

/// The same by the fixed operations.
inline std::vector<std::string> deployedCaptionArguments(const std::string& file, const std::string& rate,
                                                         std::vector<std::string> more = {}) {
    more.emplace_back("--as-deployed");
    return captionArguments(file, rate, more);
}

}  // namespace qlxtest
