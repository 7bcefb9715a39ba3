#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <vector>

#ifdef __APPLE__
#include <cstdlib>
#else
#include <cerrno>
#endif

namespace qlx {

namespace {

/// Room that a read asks for at first when the size of a file is not known (a pipe, a device).
constexpr std::size_t kFirstRead = std::size_t{64} * 1024;

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

Console::~Console() = default;

Console& Console::defaultInstance() {
    static auto* const instance = new Console;
    return *instance;
}

void Console::print(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

void Console::log(std::string_view message) {
    // One write, so that lines of several threads do not mix.
    std::string line(message);
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

Application::~Application() = default;

Application& Application::defaultInstance() {
    static auto* const instance = new Application;
    return *instance;
}

std::optional<std::string> Application::name() {
    return std::nullopt;
}

std::string Application::identifier() {
    return programName();
}

std::string Application::programName() {
#ifdef __APPLE__
    return getprogname();
#else
    return program_invocation_short_name;
#endif
}

FileReader::~FileReader() = default;

FileReader& FileReader::defaultInstance() {
    static auto* const instance = new FileReader;
    return *instance;
}

Data FileReader::contentsOfFile(const std::string& path) {
    // A path with a NUL byte would be cut short and name another file.
    if (path.find('\0') != std::string::npos) {
        return {};
    }
    const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        return {};
    }
    std::size_t expected = kFirstRead;
    if (std::fseek(file.get(), 0, SEEK_END) == 0) {
        const long length = std::ftell(file.get());
        // A directory can be opened and answers with the largest offset there is.
        if (length > 0 && length < std::numeric_limits<long>::max()) {
            expected = static_cast<std::size_t>(length) + 1;
        }
        std::rewind(file.get());
    }
    std::vector<std::uint8_t> bytes;
    std::size_t used = 0;
    while (std::feof(file.get()) == 0) {
        bytes.resize(used + expected);
        used += std::fread(bytes.data() + used, 1, expected, file.get());
        if (std::ferror(file.get()) != 0) {
            return {};
        }
        expected = std::max(kFirstRead, used);
    }
    bytes.resize(used);
    return Data(bytes);
}

Clock::~Clock() = default;

Clock& Clock::defaultInstance() {
    static auto* const instance = new Clock;
    return *instance;
}

std::chrono::system_clock::time_point Clock::now() {
    return std::chrono::system_clock::now();
}

Services& services() noexcept {
    static constinit Services instance;
    return instance;
}

}  // namespace qlx
