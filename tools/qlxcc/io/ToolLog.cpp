#include "io/ToolLog.h"

#include "io/Errors.h"

#include <QLXClosedCaptionsUtilities/QLXClosedCaptionsUtilities.h>

#include <filesystem>
#include <system_error>

namespace qlx::tool {

namespace {

// Levels of the technical log.
constexpr std::int64_t kProblem = 1;
constexpr std::int64_t kInformation = 2;

void checkFolder(const std::string& folder) {
    std::error_code error;
    const auto status = std::filesystem::status(folder, error);
    if (!std::filesystem::exists(status)) {
        throw failureIn(folder, systemErrorText(error ? error.value() : ENOENT));
    }
    if (!std::filesystem::is_directory(status)) {
        throw failureIn(folder, systemErrorText(ENOTDIR));
    }
}

/// Not shown: the message has been printed already.
void logProblem(std::string_view message) {
    QLXLogController::sharedLogController()->logMessage_level_show(std::string(message), kProblem, false);
}

}  // namespace

ToolLog::ToolLog(const LogOptions& options) : _delegate(std::make_shared<QLXLogControllerDelegate>()) {
    if (options.folder) {
        checkFolder(*options.folder);
        // Before the controller is made: it takes them over silently.
        UserDefaults& defaults = services().get<UserDefaults>();
        defaults.setValue(QLXTechnicalLogFolderPathKey, *options.folder);
        defaults.setValue(QLXTechnicalLogLevelKey, options.level);
    }
    // Information belongs into the file; what the log cannot write it says on the console.
    _delegate->displayLogMessage_logLevel = [](const std::string& message, std::int64_t level) {
        if (level <= kProblem) {
            printLine(message);
        }
    };
    _delegate->initialLogMessage = [] { return "qlxcc " + std::string(QLXClosedCaptionsUtilitiesVersionString); };
    const auto log = QLXLogController::sharedLogController();
    log->setLogDelegate(_delegate);
    if (options.folder) {
        log->logMessage_level_show(options.commandLine, kInformation, false);
        setMessageListener(&logProblem);
    }
}

ToolLog::~ToolLog() {
    setMessageListener(nullptr);
    QLXLogController::sharedLogController()->waitUntilQueuesAreEmpty();
}

}  // namespace qlx::tool
