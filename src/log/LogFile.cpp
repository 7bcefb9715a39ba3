#include "log/LogFile.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

namespace qlx::log {

AppendResult appendToFile(const std::optional<std::string>& path, std::string_view text) {
    if (!path || path->size() >= kPathCapacity || path->find('\0') != std::string::npos) {
        return AppendResult::Skipped;
    }
    LogFiles& files = services().get<LogFiles>();
    const int descriptor = files.openForAppending(path->c_str());
    // Descriptor 0 comes up where a host has closed its standard input. It counts as a failure and is left open, so
    // that the next file gets another one; hosts rely on the report.
    if (descriptor < 1) {
        return AppendResult::OpenFailed;
    }
    files.write(descriptor, text);
    files.close(descriptor);
    return AppendResult::Opened;
}

}  // namespace qlx::log
