#include "ToolRunner.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qlxtest {

namespace {

constexpr const char* kTool = QLXCC_PATH;
constexpr unsigned kNobody = 65534;
/// Longer than the half second behind which a run shows its progress.
constexpr std::chrono::milliseconds kRest{700};

struct Pipe {
    int readEnd = -1;
    int writeEnd = -1;
    Pipe() {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("pipe2 failed");
        }
        readEnd = ends[0];
        writeEnd = ends[1];
    }
    ~Pipe() {
        closeEnd(readEnd);
        closeEnd(writeEnd);
    }
    static void closeEnd(int& end) {
        if (end >= 0) {
            ::close(end);
            end = -1;
        }
    }
};

/// An unnamed file with `content`, to be read from its start.
int openInput(const std::string& content) {
    std::FILE* const file = std::tmpfile();
    if (file == nullptr || std::fwrite(content.data(), 1, content.size(), file) != content.size() ||
        std::fflush(file) != 0) {
        throw std::runtime_error("no temporary file for standard input");
    }
    const int descriptor = ::dup(::fileno(file));
    std::fclose(file);
    ::lseek(descriptor, 0, SEEK_SET);
    return descriptor;
}

/// Until the program reads no more.
void writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return;
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

/// Writes the input to a pipe, with a rest in the middle; on a thread of its own, since the program writes meanwhile.
std::thread feed(Pipe& pipe, std::string_view input, std::size_t restsAt) {
    return std::thread([&end = pipe.writeEnd, input, restsAt] {
        sigset_t closedPipe;
        ::sigemptyset(&closedPipe);
        ::sigaddset(&closedPipe, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &closedPipe, nullptr);
        writeAll(end, input.substr(0, restsAt));
        std::this_thread::sleep_for(kRest);
        writeAll(end, input.substr(restsAt));
        Pipe::closeEnd(end);
    });
}

/// In the child: only calls that are safe behind fork().
[[noreturn]] void becomeTool(int tool, char* const* arguments, char* const* environment,
                             const ToolConditions& conditions, int input, int output, int errors) {
    ::dup2(input, STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    // Whatever the tests themselves were started under (nohup, say).
    for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGPIPE}) {
        std::signal(signal, SIG_DFL);
    }
    if (conditions.greatestFile) {
        const rlimit limit{*conditions.greatestFile, *conditions.greatestFile};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (conditions.asNobody && ::geteuid() == 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) {
        ::_exit(126);
    }
    ::fexecve(tool, arguments, environment);
    ::_exit(127);
}

/// The environment of the test, but for what steers colours, and what the conditions add.
std::vector<std::string> environmentOf(const ToolConditions& conditions) {
    std::vector<std::string> variables;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string text = *variable;
        if (!text.starts_with("TERM=") && !text.starts_with("NO_COLOR=")) {
            variables.push_back(text);
        }
    }
    variables.insert(variables.end(), conditions.environment.begin(), conditions.environment.end());
    return variables;
}

/// Pointers to texts, and a null behind them.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    std::transform(texts.begin(), texts.end(), std::back_inserter(pointers),
                   [](std::string& text) { return text.data(); });
    pointers.push_back(nullptr);
    return pointers;
}

/// A terminal: what is written to its write end comes out at its read end.
void openTerminal(Pipe& terminal) {
    const int control = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (control < 0 || ::grantpt(control) != 0 || ::unlockpt(control) != 0) {
        throw std::runtime_error("no terminal");
    }
    Pipe::closeEnd(terminal.readEnd);
    Pipe::closeEnd(terminal.writeEnd);
    terminal.readEnd = control;
    terminal.writeEnd = ::open(::ptsname(control), O_RDWR | O_NOCTTY | O_CLOEXEC);
}

/// Collects both outputs until the program has closed them.
void collect(pid_t child, Pipe& out, Pipe& err, const ToolConditions& conditions, ToolResult& result) {
    bool waits = !conditions.waitForText.empty();
    std::array<pollfd, 2> watched{pollfd{out.readEnd, POLLIN, 0}, pollfd{err.readEnd, POLLIN, 0}};
    std::array<std::string*, 2> texts{&result.out, &result.err};
    while (watched[0].fd >= 0 || watched[1].fd >= 0) {
        if (::poll(watched.data(), watched.size(), -1) < 0 && errno != EINTR) {
            throw std::runtime_error("poll failed");
        }
        for (std::size_t index = 0; index < watched.size(); ++index) {
            if (watched[index].fd < 0 || watched[index].revents == 0) {
                continue;
            }
            std::array<char, 65536> buffer{};
            const ssize_t got = ::read(watched[index].fd, buffer.data(), buffer.size());
            if (got > 0) {
                texts[index]->append(buffer.data(), static_cast<std::size_t>(got));
            } else if (got == 0 || errno != EINTR) {
                watched[index].fd = -1;
            }
        }
        if (waits && result.err.find(conditions.waitForText) != std::string::npos) {
            waits = false;
            ::kill(child, conditions.signal);
        }
    }
}

/// Whether the program is still at work; its end stays to be waited for.
bool isRunning(pid_t child) {
    siginfo_t ended{};
    return ::waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == 0;
}

void signalWhenFileAppears(pid_t child, const ToolConditions& conditions) {
    while (std::filesystem::is_empty(conditions.waitForFileIn) && isRunning(child)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ::kill(child, conditions.signal);
}

void awaitEnd(pid_t child, ToolResult& result) {
    int status = 0;
    rusage usage{};
    while (::wait4(child, &status, 0, &usage) < 0 && errno == EINTR) {
    }
    result.peakMemory = static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
    if (WIFEXITED(status)) {
        result.exitCode = WEXITSTATUS(status);
    } else {
        result.signal = WTERMSIG(status);
    }
}

}  // namespace

ToolResult runTool(const std::vector<std::string>& arguments, const ToolConditions& conditions) {
    std::vector<std::string> texts{"qlxcc"};
    if (!conditions.redirections.empty()) {
        texts = {"sh", "-c", "exec \"$0\" \"$@\" " + conditions.redirections, kTool};
    }
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    const std::vector<char*> pointers = pointersTo(texts);
    std::vector<std::string> variables = environmentOf(conditions);
    const std::vector<char*> environment = pointersTo(variables);

    // Opened here: the child may have no right to walk the build folder.
    const int tool = ::open(conditions.redirections.empty() ? kTool : "/bin/sh", O_RDONLY | O_CLOEXEC);
    if (tool < 0) {
        throw std::runtime_error(std::string("not there: ") + kTool);
    }
    Pipe in;
    if (conditions.inputRestsAt == 0) {
        Pipe::closeEnd(in.readEnd);
        in.readEnd = openInput(conditions.input);
    }
    Pipe out;
    Pipe err;
    if (!conditions.waitForText.empty()) {
        openTerminal(err);
    }
    if (conditions.outputIsTerminal) {
        openTerminal(out);
    }
    int output = out.writeEnd;
    if (!conditions.outputFile.empty()) {
        output = ::open(conditions.outputFile.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    }
    if (conditions.outputIsClosed) {
        Pipe::closeEnd(out.readEnd);
    }
    if (conditions.waitsForNothing) {
        for (const int descriptor : {in.readEnd, output, err.writeEnd}) {
            ::fcntl(descriptor, F_SETFL, ::fcntl(descriptor, F_GETFL) | O_NONBLOCK);
        }
    }
    const pid_t child = conditions.asNobody ? ::fork() : ::vfork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        becomeTool(tool, pointers.data(), environment.data(), conditions, in.readEnd, output, err.writeEnd);
    }
    ::close(tool);
    Pipe::closeEnd(in.readEnd);
    if (output != out.writeEnd) {
        ::close(output);
    }
    Pipe::closeEnd(out.writeEnd);
    Pipe::closeEnd(err.writeEnd);
    if (!conditions.waitForFileIn.empty()) {
        signalWhenFileAppears(child, conditions);
    }
    std::thread feeder;
    if (conditions.inputRestsAt != 0) {
        feeder = feed(in, conditions.input, conditions.inputRestsAt);
    }
    ToolResult result;
    collect(child, out, err, conditions, result);
    awaitEnd(child, result);
    if (feeder.joinable()) {
        feeder.join();
    }
    return result;
}

ToolResult converted(const std::string& file, std::string_view format, const std::vector<std::string>& more) {
    std::vector<std::string> arguments{"convert", file, "-o", "-", "--to-format", std::string(format)};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return runTool(arguments);
}

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "qlxcc-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    _folder = name;
    std::filesystem::permissions(_folder, std::filesystem::perms(0755));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_folder, ignored);
}

std::string TemporaryFolder::path(std::string_view name) const {
    return name.empty() ? _folder.string() : (_folder / name).string();
}

std::string TemporaryFolder::write(std::string_view name, std::string_view content) const {
    std::ofstream file(_folder / name, std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + std::string(name));
    }
    return path(name);
}

std::string TemporaryFolder::write(std::string_view name, std::span<const std::uint8_t> content) const {
    return write(name, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

std::string TemporaryFolder::read(std::string_view name) const {
    std::ifstream file(_folder / name, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + std::string(name));
    }
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

std::vector<std::string> TemporaryFolder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(_folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string withoutReturns(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string withSchema(const std::string& text, const std::string& name) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    return text.substr(0, end - 1) + ",\"schema\":\"qlxcc/" + name + "/1\"}" + text.substr(end);
}

std::string withoutSchema(const std::string& text, const std::string& name) {
    const std::string mark = ",\"schema\":\"qlxcc/" + name + "/1\"";
    const std::size_t place = text.find(mark);
    const bool isThere = place < text.find('\n');
    EXPECT_TRUE(isThere && text.find(mark, place + mark.size()) == std::string::npos) << text.substr(0, 400);
    return isThere ? text.substr(0, place) + text.substr(place + mark.size()) : text;
}

std::string jsonTime(std::int64_t value, std::int32_t timescale, bool hasPoint) {
    std::array<char, 32> digits{};
    const double seconds = static_cast<double>(value) / timescale;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), seconds).ptr;
    return R"({"value":)" + std::to_string(value) + R"(,"timescale":)" + std::to_string(timescale) + R"(,"seconds":)" +
           std::string(digits.data(), end) + (hasPoint && value % timescale == 0 ? ".0}" : "}");
}

bool isOneMessage(std::string_view text) {
    return text.starts_with("qlxcc: ") && text.find('\n') == text.size() - 1;
}

}  // namespace qlxtest
