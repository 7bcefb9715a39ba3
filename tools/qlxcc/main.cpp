// qlxcc: captions, subtitles and ancillary packets on the command line.
#include "CommandLine.h"
#include "Errors.h"
#include "Play.h"
#include "Scan.h"

#include <csignal>
#include <exception>
#include <new>
#include <variant>

namespace {

using namespace qlx::tool;

int run(ExitNow exit) {
    return exit.code;
}

int run(const PlayOptions& options) {
    return play(options);
}

int run(const ScanOptions& options) {
    return scan(options);
}

}  // namespace

int main(int argc, char** argv) {
    // Both then come back as errors of the write, which know what to clean up.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return std::visit([](const auto& options) { return run(options); }, parseCommandLine(argc, argv));
    } catch (const ClosedPipe&) {
        return kExitSuccess;
    } catch (const std::bad_alloc&) {
        printMessage("out of memory");
    } catch (const std::exception& error) {
        printMessage(error.what());
    }
    return kExitFailure;
}
