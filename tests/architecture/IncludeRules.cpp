#include "IncludeRules.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <span>
#include <utility>

namespace architecture {
namespace {

constexpr std::size_t kMaximumLines = 500;
constexpr std::string_view kPublicFolder = "include/";
constexpr std::string_view kCoreFolder = "include/qlx/";
constexpr std::string_view kSourceFolder = "src/";
constexpr std::string_view kStreamsFolder = "streams/";
/// Its parts that are loaded at run time stand on libraries that print and lock.
constexpr std::string_view kStreamsModules = "streams/modules/";
/// The public headers of the fixed operations, and those that their signatures need.
constexpr std::string_view kFixedFolder = "include/QLXClosedCaptionsUtilities/";
constexpr std::string_view kPlatformFolder = "include/QLXClosedCaptionsUtilities/platform/";
constexpr std::string_view kToolFolder = "tools/qlxcc/";

constexpr std::string_view kSpanningHeaders[] = {
    "include/QLXClosedCaptionsUtilities/QLXVANCPacket.h",
    "include/QLXClosedCaptionsUtilities/QLXCCUtilities.h",
    // One enumeration with a block for each room.
    "include/qlx/base/finding_code.h",
};

constexpr std::string_view kGeneratedHeaders[] = {
    "include/QLXClosedCaptionsUtilities/Export.h",
    "include/QLXClosedCaptionsUtilities/Version.h",
    "include/qlx/streams/export.h",
};

/// Where the second library and the tool meet the system: files, streams, the terminal, what is loaded at run time.
constexpr std::string_view kSystemFiles[] = {
    "streams/Module.cpp",           "tools/qlxcc/io/Descriptors.cpp",   "tools/qlxcc/io/Errors.cpp",
    "tools/qlxcc/io/InputFile.cpp", "tools/qlxcc/io/Module.cpp",        "tools/qlxcc/io/OutputFile.cpp",
    "tools/qlxcc/io/Progress.cpp",  "tools/qlxcc/io/TemporaryFile.cpp",
};

struct HeavyLibrary {
    std::string_view folder;
    std::size_t files;  ///< How many of the tool may include it.
};

constexpr HeavyLibrary kHeavyLibraries[] = {{"CLI/", 1}, {"nlohmann/", 1}};

struct LibraryWrapper {
    std::string_view file;
    std::string_view header;  ///< The beginning of what it may include.
};

/// The files of the tool and of streams/ that include a library's headers, one each.
constexpr LibraryWrapper kLibraryWrappers[] = {
    {"streams/JsonFrame.cpp", "nlohmann/"},
    {"streams/modules/FFmpegDemuxer.cpp", "libav"},
    {"streams/subtitles/TtmlNames.h", "pugixml"},
    {"tools/qlxcc/cues/Encoding.cpp", "iconv.h"},
    {"tools/qlxcc/modules/LibpngCodec.cpp", "png.h"},
    {"tools/qlxcc/modules/UchardetGuess.cpp", "uchardet.h"},
    {"tools/qlxcc/modules/VbiScreenPainter.cpp", "libzvbi.h"},
    {"tools/qlxcc/streams/SCTEXmlFields.h", "pugixml.hpp"},
};

/// The rooms of src/ that may print, log, wait and read files; all others, and streams/, are functions and values.
constexpr std::string_view kActingRooms[] = {"facade", "log", "platform"};

/// What it takes to do so, or to depend on the process's locale.
constexpr std::string_view kActingHeaders[] = {
    "barrier", "chrono",    "condition_variable", "csignal", "cstdio",     "ctime",  "filesystem",
    "fstream", "future",    "iostream",           "istream", "latch",      "locale", "mutex",
    "ostream", "semaphore", "shared_mutex",       "sstream", "stop_token", "thread",
};

constexpr std::string_view kVectorHeaders[] = {"immintrin.h", "arm_neon.h"};

/// Headers of the language and its library, as far as a portable file may use them.
constexpr std::string_view kStandardHeaders[] = {
    "algorithm",
    "any",
    "array",
    "atomic",
    "bit",
    "bitset",
    "cctype",
    "cerrno",
    "cfloat",
    "charconv",
    "chrono",
    "cinttypes",
    "climits",
    "cmath",
    "compare",
    "complex",
    "concepts",
    "condition_variable",
    "csetjmp",
    "csignal",
    "cstdarg",
    "cstddef",
    "cstdint",
    "cstdio",
    "cstdlib",
    "cstring",
    "ctime",
    "cuchar",
    "cwchar",
    "cwctype",
    "deque",
    "exception",
    "execution",
    "filesystem",
    "forward_list",
    "fstream",
    "functional",
    "future",
    "initializer_list",
    "iomanip",
    "ios",
    "iosfwd",
    "iostream",
    "istream",
    "iterator",
    "latch",
    "limits",
    "list",
    "locale",
    "map",
    "memory",
    "memory_resource",
    "mutex",
    "new",
    "numbers",
    "numeric",
    "optional",
    "ostream",
    "queue",
    "random",
    "ranges",
    "ratio",
    "regex",
    "scoped_allocator",
    "semaphore",
    "set",
    "shared_mutex",
    "span",
    "sstream",
    "stack",
    "stdexcept",
    "stop_token",
    "streambuf",
    "string",
    "string_view",
    "system_error",
    "thread",
    "tuple",
    "type_traits",
    "typeindex",
    "typeinfo",
    "unordered_map",
    "unordered_set",
    "utility",
    "valarray",
    "variant",
    "vector",
    "version",
};

bool contains(std::span<const std::string_view> list, std::string_view item) {
    return std::find(list.begin(), list.end(), item) != list.end();
}

class Checker {
public:
    Checker(const Rooms& rooms, const std::vector<SourceFile>& tree) : _rooms(rooms), _tree(tree) {
        for (const SourceFile& file : tree) {
            _paths.insert(file.path);
        }
        _paths.insert(std::begin(kGeneratedHeaders), std::end(kGeneratedHeaders));
    }

    std::vector<std::string> run() {
        for (const SourceFile& file : _tree) {
            checkLength(file);
            checkRoom(file);
            for (const Include& include : includesOf(file.text)) {
                checkInclude(file.path, include);
            }
        }
        for (const HeavyLibrary& library : kHeavyLibraries) {
            checkCount(library, _heavyIncluders[std::string(library.folder)]);
        }
        return std::move(_violations);
    }

private:
    void report(const std::string& path, std::size_t line, const std::string& message) {
        _violations.push_back(path + ":" + std::to_string(line) + ": " + message);
    }

    void checkLength(const SourceFile& file) {
        const auto lines = static_cast<std::size_t>(std::count(file.text.begin(), file.text.end(), '\n'));
        if (lines > kMaximumLines && !contains(kSpanningHeaders, file.path)) {
            report(file.path, lines, "more than " + std::to_string(kMaximumLines) + " lines");
        }
    }

    void checkRoom(const SourceFile& file) {
        if (!_rooms.contains(_rooms.roomOf(file.path))) {
            report(file.path, 1, "belongs to no known room");
        }
    }

    void checkInclude(const std::string& path, const Include& include) {
        if (include.path.empty()) {
            report(path, include.line, "an include must name its file");
            return;
        }
        const std::string target = fileNamedBy(include, path, _paths);
        if (!target.empty()) {
            checkArrow(path, include, target);
        } else if (include.quoted || include.path.starts_with("QLXClosedCaptionsUtilities/") ||
                   include.path.starts_with("qlx/")) {
            report(path, include.line, "no such file: " + include.path);
        } else {
            checkForeign(path, include);
        }
    }

    void checkArrow(const std::string& path, const Include& include, const std::string& target) {
        const std::string_view from = _rooms.roomOf(path);
        const std::string_view to = _rooms.roomOf(target);
        const bool toPublic = target.starts_with(kPublicFolder);
        bool allowed = _rooms.mayInclude(from, to);
        if (toPublic && _rooms.mayInclude(from, "public")) {
            allowed = true;
        } else if (path.starts_with(kFixedFolder)) {
            // Of what its room may include: value types and services.
            allowed = allowed && (target.starts_with(kPlatformFolder) || contains(kGeneratedHeaders, target));
        } else if (path.starts_with(kPublicFolder)) {
            allowed = allowed && toPublic;
        } else if (!path.starts_with(kSourceFolder)) {
            // What stands on the library sees of its rooms what is public.
            allowed = allowed && !target.starts_with(kSourceFolder);
        }
        if (!allowed) {
            report(path, include.line, std::string(from) + " must not include " + include.path);
        }
    }

    /// An include of something outside the tree.
    void checkForeign(const std::string& path, const Include& include) {
        if (contains(kStandardHeaders, include.path)) {
            const bool isOfLibrary = path.starts_with(kSourceFolder) || path.starts_with(kCoreFolder);
            const bool isPure = (isOfLibrary && !contains(kActingRooms, _rooms.roomOf(path))) ||
                                (path.starts_with(kStreamsFolder) && !path.starts_with(kStreamsModules));
            if (isPure && contains(kActingHeaders, include.path)) {
                report(path, include.line, "a room of values must not include " + include.path);
            }
            return;
        }
        if (contains(kVectorHeaders, include.path) && path.starts_with(kSourceFolder)) {
            return;
        }
        for (const HeavyLibrary& library : kHeavyLibraries) {
            if (path.starts_with("tools/") && include.path.starts_with(library.folder)) {
                _heavyIncluders[std::string(library.folder)].insert(path);
                return;
            }
        }
        for (const LibraryWrapper& wrapper : kLibraryWrappers) {
            if (path == wrapper.file && include.path.starts_with(wrapper.header)) {
                return;
            }
        }
        if (!path.starts_with("src/platform/") && !contains(kSystemFiles, path)) {
            report(path, include.line, "must not include " + include.path);
        }
    }

    void checkCount(const HeavyLibrary& library, const std::set<std::string>& files) {
        if (files.size() <= library.files) {
            return;
        }
        for (const std::string& file : files) {
            report(file, 1,
                   "includes " + std::string(library.folder) + ", as " + std::to_string(files.size()) +
                       " files do and no more than " + std::to_string(library.files) + " may");
        }
    }

    const Rooms& _rooms;
    const std::vector<SourceFile>& _tree;
    Paths _paths;
    std::vector<std::string> _violations;
    std::map<std::string, std::set<std::string>> _heavyIncluders;
};

/// Takes blanks and then `word` from the front of a line.
bool skipWord(std::string_view& line, std::string_view word) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (!line.starts_with(word)) {
        return false;
    }
    line.remove_prefix(word.size());
    return true;
}

}  // namespace

std::string withoutComments(std::string_view text) {
    std::string result(text);
    enum class State { Code, Text, LineComment, BlockComment } state = State::Code;
    char quote = 0;
    for (std::size_t index = 0; index < result.size(); ++index) {
        const char character = result[index];
        const char next = index + 1 < result.size() ? result[index + 1] : '\0';
        switch (state) {
        case State::Code:
            if (character == '/' && (next == '/' || next == '*')) {
                state = next == '/' ? State::LineComment : State::BlockComment;
                result[index++] = ' ';
                result[index] = ' ';
            } else if (character == '"') {
                state = State::Text;
                quote = character;
            }
            break;
        case State::Text:
            if (character == '\\') {
                ++index;
            } else if (character == quote || character == '\n') {
                state = State::Code;
            }
            break;
        case State::LineComment:
            state = character == '\n' ? State::Code : state;
            result[index] = character == '\n' ? '\n' : ' ';
            break;
        case State::BlockComment:
            result[index] = character == '\n' ? '\n' : ' ';
            if (character == '*' && next == '/') {
                result[++index] = ' ';
                state = State::Code;
            }
            break;
        }
    }
    return result;
}

std::vector<Include> includesOf(std::string_view text) {
    std::vector<Include> result;
    const std::string code = withoutComments(text);
    std::size_t number = 0;
    for (std::size_t start = 0; start < code.size();) {
        const std::size_t end = std::min(code.find('\n', start), code.size());
        std::string_view line = std::string_view(code).substr(start, end - start);
        start = end + 1;
        ++number;
        if (!skipWord(line, "#") || !skipWord(line, "include")) {
            continue;
        }
        Include include{number, {}, false};
        if (skipWord(line, "\"")) {
            include.quoted = true;
            include.path = line.substr(0, line.find('"'));
        } else if (skipWord(line, "<")) {
            include.path = line.substr(0, line.find('>'));
        }
        result.push_back(std::move(include));
    }
    return result;
}

std::string fileNamedBy(const Include& include, const std::string& path, const Paths& paths) {
    const std::filesystem::path name(include.path);
    std::vector<std::filesystem::path> candidates = {"src" / name, "include" / name};
    if (path.starts_with(kToolFolder)) {
        candidates.push_back(std::filesystem::path(kToolFolder) / name);
    }
    if (include.quoted) {
        candidates.insert(candidates.begin(), std::filesystem::path(path).parent_path() / name);
    }
    for (const std::filesystem::path& candidate : candidates) {
        std::string normal = candidate.lexically_normal().generic_string();
        if (paths.contains(normal)) {
            return normal;
        }
    }
    return {};
}

std::vector<std::string> violationsIn(const Rooms& rooms, const std::vector<SourceFile>& tree) {
    return Checker(rooms, tree).run();
}

std::vector<SourceFile> readTree(const std::string& root, const Rooms& rooms) {
    std::vector<SourceFile> tree;
    std::set<std::string> folders = rooms.firstFolders();
    folders.insert({"src", "include"});
    for (const std::string& folder : folders) {
        const std::filesystem::path path = std::filesystem::path(root) / folder;
        if (!std::filesystem::is_directory(path)) {
            continue;
        }
        for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
            const std::filesystem::path extension = entry.path().extension();
            if (extension != ".h" && extension != ".cpp") {
                continue;
            }
            std::ifstream stream(entry.path(), std::ios::binary);
            std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
            tree.push_back({std::filesystem::relative(entry.path(), root).generic_string(), std::move(text)});
        }
    }
    std::sort(tree.begin(), tree.end(),
              [](const SourceFile& left, const SourceFile& right) { return left.path < right.path; });
    return tree;
}

}  // namespace architecture
