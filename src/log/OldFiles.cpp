#include "log/OldFiles.h"

#include "log/LogText.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

namespace qlx::log {

void removeOldFiles(const std::string& folder, const std::string& prefix) {
    if (prefix.empty()) {
        return;
    }
    Directories& directories = services().get<Directories>();
    const auto now = services().get<Clock>().now();
    for (const Directories::Entry& entry : directories.entries(folder)) {
        if (entry.name.starts_with(prefix) && entry.creationDate && now - *entry.creationDate > kKeptFor) {
            directories.remove(pathInFolder(folder, entry.name));
        }
    }
}

}  // namespace qlx::log
