// qlxcc: captions, subtitles and ancillary packets on the command line.
#include "cli/CommandLine.h"
#include "cli/Completion.h"
#include "commands/extract/Extract.h"
#include "commands/line21/Line21.h"
#include "commands/play/Play.h"
#include "commands/rate/RateChange.h"
#include "commands/scan/Scan.h"
#include "commands/show/Show.h"
#include "commands/subs/Subs.h"
#include "io/Errors.h"
#include "io/Text.h"
#include "io/ToolLog.h"

#include <csignal>
#include <exception>
#include <new>
#include <optional>
#include <string>
#include <variant>

namespace {

using namespace qlx::tool;

int run(ExitNow /*nothingToDo*/) {
    return kExitSuccess;
}

int run(const PlayOptions& options) {
    return play(options);
}

int run(const SubsOptions& options) {
    return listSubtitles(options);
}

int run(const ScanOptions& options) {
    return scan(options);
}

int run(const ShowOptions& options) {
    return show(options);
}

int run(const ExtractOptions& options) {
    return extract(options);
}

int run(const RateChangeOptions& options) {
    return changeRate(options);
}

int run(const CompletionOptions& options) {
    return printCompletion(options);
}

int run(const Line21WriteOptions& options) {
    return writeLine21(options);
}

int run(const Line21ReadOptions& options) {
    return readLine21(options);
}

int run(const Scte104BuildOptions& options) {
    return buildScte104(options);
}

int run(const Scte104ParseOptions& options) {
    return parseScte104(options);
}

int run(const Scte35Options& options) {
    return convertToScte35(options);
}

int run(const ScteCommand& command) {
    return std::visit([](const auto& options) { return run(options); }, command);
}

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
    // Both then come back as errors of the write, which know what to clean up.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::optional<ToolLog> log;
    std::string called = "qlxcc";
    try {
        LogOptions logOptions;
        const Command command = parseCommandLine(argc, argv, logOptions, called);
        if (std::holds_alternative<ExitNow>(command)) {
            return kExitSuccess;
        }
        logOptions.commandLine = commandLine(argc, argv);
        log.emplace(logOptions);
        return std::visit([](const auto& options) { return run(options); }, command);
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
