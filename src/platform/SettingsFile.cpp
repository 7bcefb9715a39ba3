#include "platform/SettingsFile.h"

#include "platform/Process.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace qlx {

namespace {

namespace fs = std::filesystem;

struct Escape {
    char character;
    char mark;
};

constexpr Escape kEscapes[] = {{'\n', 'n'}, {'\r', 'r'}, {'=', 'e'}, {'\\', '\\'}};

std::string escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        const auto* const escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                                [character](const Escape& e) { return e.character == character; });
        if (escape == std::end(kEscapes)) {
            result += character;
        } else {
            result += '\\';
            result += escape->mark;
        }
    }
    return result;
}

/// A backslash before anything else stands for itself.
std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char mark = index + 1 < text.size() ? text[index + 1] : '\0';
        const auto* const escape =
            std::find_if(std::begin(kEscapes), std::end(kEscapes), [mark](const Escape& e) { return e.mark == mark; });
        if (text[index] == '\\' && escape != std::end(kEscapes)) {
            result += escape->character;
            ++index;
        } else {
            result += text[index];
        }
    }
    return result;
}

/// A line of the file.
struct Line {
    std::string text;  ///< Without its end.
    std::string end;   ///< "\n", "\r\n", or nothing behind the last one.
    bool isSetting = false;
    std::string key;
    std::string value;
};

Line lineOf(std::string_view text, std::string_view end) {
    Line line;
    line.text = text;
    line.end = end;
    if (const std::size_t equals = text.find('='); equals != std::string_view::npos) {
        line.isSetting = true;
        line.key = unescaped(text.substr(0, equals));
        line.value = unescaped(text.substr(equals + 1));
    }
    return line;
}

std::vector<Line> linesIn(std::string_view text) {
    std::vector<Line> lines;
    while (!text.empty()) {
        const std::size_t feed = text.find('\n');
        const std::string_view whole = text.substr(0, feed == std::string_view::npos ? feed : feed + 1);
        text.remove_prefix(whole.size());
        std::string_view content = whole;
        if (content.ends_with('\n')) {
            content.remove_suffix(1);
        }
        if (content.ends_with('\r')) {
            content.remove_suffix(1);
        }
        lines.push_back(lineOf(content, whole.substr(content.size())));
    }
    return lines;
}

using Lines = std::vector<Line>;

/// Whether the settings stand in the order of their keys.
bool isSorted(const Lines& lines) {
    const Line* last = nullptr;
    for (const Line& line : lines) {
        if (!line.isSetting) {
            continue;
        }
        if (last != nullptr && line.key < last->key) {
            return false;
        }
        last = &line;
    }
    return true;
}

/// The place of what stands right above a line, and is about it.
std::size_t topOf(const Lines& lines, std::size_t line) {
    while (line > 0 && !lines[line - 1].isSetting && !lines[line - 1].text.empty()) {
        --line;
    }
    return line;
}

/// Adds settings, which stand in the order of their keys, where they belong: in order, or else behind all others.
Lines withNewSettings(Lines lines, Lines added) {
    if (added.empty()) {
        return lines;
    }
    // The file's own kind of end; the last line may have had none.
    const std::string end = !lines.empty() && lines.front().end.ends_with('\n') ? lines.front().end : "\n";
    for (Line& line : added) {
        line.end = end;
    }
    Lines result;
    result.reserve(lines.size() + added.size());
    auto next = added.begin();
    std::size_t taken = 0;
    for (std::size_t place = isSorted(lines) ? 0 : lines.size(); place < lines.size() && next != added.end(); ++place) {
        if (!lines[place].isSetting || !(next->key < lines[place].key)) {
            continue;
        }
        for (const std::size_t top = std::max(topOf(lines, place), taken); taken < top; ++taken) {
            result.push_back(std::move(lines[taken]));
        }
        for (; next != added.end() && next->key < lines[place].key; ++next) {
            result.push_back(std::move(*next));
        }
    }
    for (; taken < lines.size(); ++taken) {
        result.push_back(std::move(lines[taken]));
    }
    if (next != added.end() && !result.empty() && !result.back().end.ends_with('\n')) {
        // A carriage return that counts for no part of its text goes on counting for none.
        result.back().end = result.back().end.empty() ? end : "\r\n";
    }
    result.insert(result.end(), std::make_move_iterator(next), std::make_move_iterator(added.end()));
    return result;
}

/// The file that a link leads to, which need not be there.
std::string targetOf(const std::string& path) {
    constexpr int kMostLinks = 40;
    fs::path result = path;
    std::error_code error;
    for (int link = 0; link < kMostLinks && fs::is_symlink(result, error); ++link) {
        const fs::path target = fs::read_symlink(result, error);
        if (error) {
            break;
        }
        result = target.is_absolute() ? target : result.parent_path() / target;
    }
    return result.string();
}

/// The new file, as long as it has not taken the place of the old one.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& target) {
        static std::atomic<std::uint64_t> last{0};
        struct stat former {};
        const bool exists = stat(target.c_str(), &former) == 0;
        constexpr mode_t kReadAndWrite = 0666;
        constexpr mode_t kOwnersAlone = 0600;
        do {
            _path = target + '.' + std::to_string(processIdentifier()) + '-' + std::to_string(++last) + ".new";
            _descriptor =
                open(_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, exists ? kOwnersAlone : kReadAndWrite);
        } while (_descriptor < 0 && errno == EEXIST);
        if (_descriptor >= 0 && exists) {
            takeOver(former);
        }
    }
    ~TemporaryFile() {
        if (_descriptor >= 0) {
            ::close(_descriptor);
            unlink(_path.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    /// 0, or the number of the error.
    [[nodiscard]] int replace(const std::string& target, std::string_view text) {
        if (_descriptor < 0 || !write(text) || fsync(_descriptor) != 0 ||
            std::rename(_path.c_str(), target.c_str()) != 0) {
            return errno;
        }
        ::close(_descriptor);
        _descriptor = -1;
        return 0;
    }

private:
    void takeOver(const struct stat& former) {
        constexpr mode_t kAllBits = 07777;
        constexpr mode_t kPermissions = 0777;
        const bool isOwners = fchown(_descriptor, former.st_uid, former.st_gid) == 0;
        fchmod(_descriptor, former.st_mode & (isOwners ? kAllBits : kPermissions));
    }

    [[nodiscard]] bool write(std::string_view text) {
        while (!text.empty()) {
            const ssize_t written = ::write(_descriptor, text.data(), text.size());
            if (written < 0 && errno != EINTR) {
                return false;
            }
            text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
        }
        return true;
    }

    std::string _path;
    int _descriptor = -1;
};

/// The change of a folder reaches the disk; where that is not to be had, the file is still one or the other.
void syncFolderOf(const std::string& path) {
    const fs::path parent = fs::path(path).parent_path();
    const int folder = open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        ::close(folder);
    }
}

}  // namespace

Dictionary settingsIn(std::string_view text) {
    Dictionary settings;
    for (Line& line : linesIn(text)) {
        if (line.isSetting) {
            settings.set(line.key, std::move(line.value));
        }
    }
    return settings;
}

std::string textWithSettings(std::string_view text, const Dictionary& settings,
                             const std::set<std::string, std::less<>>& erased) {
    Lines lines = linesIn(text);
    std::erase_if(lines, [&](const Line& line) {
        const Value* const value = line.isSetting ? settings.find(line.key) : nullptr;
        return line.isSetting && (value ? !value->stringValue() : erased.contains(line.key));
    });
    // Of several lines of a key the last holds.
    std::map<std::string, Line*, std::less<>> places;
    for (Line& line : lines) {
        if (line.isSetting) {
            places[line.key] = &line;
        }
    }
    Lines added;
    for (const Dictionary::Entry& entry : settings) {
        const std::optional<std::string> value = entry.value.stringValue();
        if (!value) {
            continue;
        }
        const auto place = places.find(entry.key);
        if (place == places.end()) {
            added.push_back(lineOf(escaped(entry.key) + '=' + escaped(*value), {}));
        } else if (Line& line = *place->second; line.value != *value) {
            line.value = *value;
            line.text = line.text.substr(0, line.text.find('=') + 1) + escaped(*value);
        }
    }
    lines = withNewSettings(std::move(lines), std::move(added));
    std::string result;
    for (const Line& line : lines) {
        result += line.text;
        result += line.end;
    }
    return result;
}

std::optional<std::string> textOfFile(const std::string& path) {
    std::error_code error;
    const bool exists = fs::exists(path, error);
    if (error) {
        return std::nullopt;
    }
    if (!exists) {
        return std::string();
    }
    // A pipe would be waited for.
    if (!fs::is_regular_file(path, error)) {
        return std::nullopt;
    }
    std::ifstream stream(path, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    try {
        return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    } catch (const std::ios_base::failure&) {
        // The file cannot be read to its end.
        return std::nullopt;
    }
}

int replaceFile(const std::string& path, std::string_view text) {
    const std::string target = targetOf(path);
    const int error = TemporaryFile(target).replace(target, text);
    if (error == 0) {
        syncFolderOf(target);
    }
    return error;
}

}  // namespace qlx
