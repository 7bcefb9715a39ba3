// A console that keeps what it is given.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <string>
#include <vector>

namespace qlxtest {

/// Keeps printed text and log messages. For one thread.
class RecordingConsole : public qlx::Console {
public:
    void print(std::string_view text) override { printed += text; }
    void log(std::string_view message) override { logged.emplace_back(message); }

    std::string printed;
    std::vector<std::string> logged;
};

}  // namespace qlxtest
