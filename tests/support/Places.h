// Where the project's own files are. Only Places.cpp is told, so that the tests are the same in every checkout.
#pragma once

#include <string>
#include <string_view>

namespace qlxtest {

/// The path of a file or folder of the project, which is named from its root.
std::string projectPath(std::string_view name);

/// The subtitles of the demonstration.
inline std::string demoSubtitles() {
    return projectPath("examples/data/demo.srt");
}

}  // namespace qlxtest
