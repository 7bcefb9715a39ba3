// What a message costs the thread that logs it, and how many lines a second reach the disk, against what one writes
// first: opening the file for each line and printing to it, on the thread that has the message.
#include <QLXClosedCaptionsUtilities/QLXLogController.h>
#include <QLXClosedCaptionsUtilities/QLXLogControllerDelegate.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>

namespace {

/// Messages of one round. All of them are accepted before the round's lines are waited for, as in a burst.
constexpr int kRound = 10'000;

constexpr int kCompared = 200;

class BenchApplication final : public qlx::Application {
public:
    std::optional<std::string> name() override { return "Player"; }
};

/// A log that writes to a folder of its own, which goes away with it.
class Log {
public:
    Log()
        : _folder(std::filesystem::temp_directory_path() /
                  ("qlx_bench_log_" + std::to_string(std::random_device()()))) {
        std::filesystem::create_directories(_folder);
        const qlx::ScopedService<qlx::Application> scope(_application);
        _controller = std::make_shared<QLXLogController>();
        _controller->setTechnicalLogFolderPath(_folder.string());
        _controller->setLogDelegate(_delegate);
    }
    ~Log() {
        _controller->waitUntilQueuesAreEmpty();
        std::filesystem::remove_all(_folder);
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    [[nodiscard]] QLXLogController& controller() { return *_controller; }
    [[nodiscard]] std::string plainPath() const { return (_folder / "plain.log").string(); }

    /// The technical log, whatever the day.
    [[nodiscard]] std::string content() const {
        std::string result;
        for (const auto& entry : std::filesystem::directory_iterator(_folder)) {
            if (entry.path().filename().string().starts_with("Player ")) {
                std::ifstream stream(entry.path(), std::ios::binary);
                result.append(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
            }
        }
        return result;
    }

private:
    std::filesystem::path _folder;
    BenchApplication _application;
    std::shared_ptr<QLXLogControllerDelegate> _delegate = std::make_shared<QLXLogControllerDelegate>();
    std::shared_ptr<QLXLogController> _controller;
};

std::string messageText(int number) {
    return "SCTE-104 splice request " + std::to_string(number) + " turned into a section";
}

/// One line by fopen, fprintf and fclose.
void writePlainly(const std::string& path, const std::string& message) {
    const std::time_t now = std::time(nullptr);
    std::array<char, 64> stamp{};
    std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d\t%H:%M:%S\t%A", std::localtime(&now));
    if (std::FILE* const file = std::fopen(path.c_str(), "ab")) {
        std::fprintf(file, "\t%s\t\t%s\r\n", stamp.data(), message.c_str());
        std::fclose(file);
    }
}

/// The lines without what changes from second to second: the text from the weekday on.
std::string withoutTimes(const std::string& file) {
    std::string result;
    for (std::size_t start = 0; start < file.size();) {
        const std::size_t end = std::min(file.find('\n', start), file.size() - 1) + 1;
        const std::string line = file.substr(start, end - start);
        result += line.substr(std::min(line.find("\t\t"), line.size()));
        start = end;
    }
    return result;
}

/// Whether the log writes what the plain writer writes; nothing is timed otherwise.
bool writesTheSame() {
    Log log;
    for (int number = 0; number < kCompared; ++number) {
        log.controller().logMessage_level_show(messageText(number), 2, false);
        writePlainly(log.plainPath(), messageText(number));
    }
    log.controller().waitUntilQueuesAreEmpty();
    std::ifstream stream(log.plainPath(), std::ios::binary);
    const std::string plain{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    return !plain.empty() && withoutTimes(plain) == withoutTimes(log.content());
}

bool checked(benchmark::State& state) {
    static const bool same = writesTheSame();
    if (!same) {
        state.SkipWithError("the log and the plain writer differ");
    }
    return same;
}

/// The time on the thread that logs, while the lines are written on their queue.
template <class Accept>
void accept(benchmark::State& state, Accept acceptMessage) {
    if (!checked(state)) {
        return;
    }
    Log log;
    int number = 0;
    for ([[maybe_unused]] auto _ : state) {
        acceptMessage(log.controller(), number);
        if (++number % kRound == 0) {
            state.PauseTiming();
            log.controller().waitUntilQueuesAreEmpty();
            state.ResumeTiming();
        }
    }
    state.SetItemsProcessed(state.iterations());
}

void acceptMessage(benchmark::State& state) {
    accept(state, [](QLXLogController& log, int number) { log.logMessage_level_show(messageText(number), 2, false); });
}

void acceptFormatted(benchmark::State& state) {
    accept(state, [](QLXLogController& log, int number) {
        log.logMessageWithLevel_show_messageFormat(2, true, "SCTE-104 splice request %d turned into a %@", number,
                                                   "section");
    });
}

/// Messages that are too verbose for the file.
void acceptDropped(benchmark::State& state) {
    accept(state, [](QLXLogController& log, int number) { log.logMessage_level_show(messageText(number), 5, false); });
}

/// From the first message to the last line in its file.
void writeLines(benchmark::State& state) {
    if (!checked(state)) {
        return;
    }
    Log log;
    for ([[maybe_unused]] auto _ : state) {
        for (int number = 0; number < kRound; ++number) {
            log.controller().logMessage_level_show(messageText(number), 2, false);
        }
        log.controller().waitUntilQueuesAreEmpty();
    }
    state.SetItemsProcessed(state.iterations() * kRound);
}

void writeLinesPlainly(benchmark::State& state) {
    if (!checked(state)) {
        return;
    }
    const Log log;
    for ([[maybe_unused]] auto _ : state) {
        for (int number = 0; number < kRound; ++number) {
            writePlainly(log.plainPath(), messageText(number));
        }
    }
    state.SetItemsProcessed(state.iterations() * kRound);
}

BENCHMARK(acceptMessage)->UseRealTime();
BENCHMARK(acceptFormatted)->UseRealTime();
BENCHMARK(acceptDropped)->UseRealTime();
BENCHMARK(writeLines)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(writeLinesPlainly)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
