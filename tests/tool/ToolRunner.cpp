#include "ToolRunner.h"

#include <algorithm>
#include <array>
#include <cerrno>
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
constexpr std::chrono::seconds kPatience{60};

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

void signalWhenFileAppears(pid_t child, const ToolConditions& conditions) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (std::filesystem::is_empty(conditions.waitForFileIn) && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ::kill(child, conditions.signal);
}

}  // namespace

ToolResult runTool(const std::vector<std::string>& arguments, const ToolConditions& conditions) {
    std::vector<std::string> texts{"qlxcc"};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    const std::vector<char*> pointers = pointersTo(texts);
    std::vector<std::string> variables = environmentOf(conditions);
    const std::vector<char*> environment = pointersTo(variables);

    // Opened here: the child may have no right to walk the build folder.
    const int tool = ::open(kTool, O_RDONLY | O_CLOEXEC);
    if (tool < 0) {
        throw std::runtime_error(std::string("not there: ") + kTool);
    }
    const int input = openInput(conditions.input);
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
    const pid_t child = ::fork();
    if (child < 0) {
        throw std::runtime_error("fork failed");
    }
    if (child == 0) {
        becomeTool(tool, pointers.data(), environment.data(), conditions, input, output, err.writeEnd);
    }
    ::close(tool);
    ::close(input);
    if (output != out.writeEnd) {
        ::close(output);
    }
    Pipe::closeEnd(out.writeEnd);
    Pipe::closeEnd(err.writeEnd);
    if (!conditions.waitForFileIn.empty()) {
        signalWhenFileAppears(child, conditions);
    }
    ToolResult result;
    collect(child, out, err, conditions, result);
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
    return result;
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

std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

bool isOneMessage(std::string_view text) {
    return text.starts_with("qlxcc: ") && text.find('\n') == text.size() - 1;
}

}  // namespace qlxtest
