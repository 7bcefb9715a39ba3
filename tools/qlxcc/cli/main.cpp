// qlxcc: captions, subtitles and ancillary packets on the command line.
#include "cli/CommandLine.h"
#include "io/Descriptors.h"
#include "io/Errors.h"
#include "io/Text.h"
#include "io/ToolLog.h"

#include <csignal>
#include <exception>
#include <new>
#include <optional>
#include <string>

namespace {

using namespace qlx::tool;

/// What was called, for the log.
std::string commandLine(int argc, const char* const* argv) {
    std::string text = "qlxcc";
    for (int index = 1; index < argc; ++index) {
        text += " " + printable(argv[index]);
    }
    return text;
}

}  // namespace

int main(int argc, char** argv) {
    openStandardDescriptors();
    // Both then come back as errors of the write, which know what to clean up.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::optional<ToolLog> log;
    std::string called = "qlxcc";
    try {
        LogOptions logOptions;
        const Action action = parseCommandLine(argc, argv, logOptions, called);
        if (!action) {
            return kExitSuccess;
        }
        logOptions.commandLine = commandLine(argc, argv);
        log.emplace(logOptions);
        return action();
    } catch (const ClosedPipe&) {
        return kExitSuccess;
    } catch (const UsageError& error) {
        printMessage(std::string(error.what()) + " (see " + called + " --help)");
        return kExitUsage;
    } catch (const std::bad_alloc&) {
        printMessage("out of memory");
    } catch (const std::exception& error) {
        printMessage(error.what());
    }
    return kExitFailure;
}
