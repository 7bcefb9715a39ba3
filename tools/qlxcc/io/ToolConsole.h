// Where the library's own messages go in a command-line program.
#pragma once

#include "io/Errors.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

namespace qlx::tool {

/// Keeps standard output free for results: what the library prints goes to standard error. Its log is left out, because
/// the tool reports the same things with the place where they were found.
class ToolConsole final : public Console {
public:
    void print(std::string_view text) override {
        while (text.ends_with('\n')) {
            text.remove_suffix(1);
        }
        printLine(text);
    }
    void log(std::string_view /*message*/) override {}
};

}  // namespace qlx::tool
