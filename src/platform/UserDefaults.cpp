#include <QLXClosedCaptionsUtilities/platform/UserDefaults.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

namespace qlx {

namespace {

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

/// The settings in a file's text; lines without an equals sign are passed over.
Dictionary settingsIn(std::istream& stream) {
    Dictionary settings;
    for (std::string line; std::getline(stream, line);) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        const std::size_t equals = line.find('=');
        if (equals != std::string::npos) {
            const std::string_view text = line;
            settings.set(unescaped(text.substr(0, equals)), unescaped(text.substr(equals + 1)));
        }
    }
    return settings;
}

}  // namespace

UserDefaults::~UserDefaults() = default;

UserDefaults& UserDefaults::defaultInstance() {
    static auto* const instance = new UserDefaults;
    return *instance;
}

void UserDefaults::registerDefault(std::string_view key, Value value) {
    const std::lock_guard lock(_mutex);
    _registered.set(key, std::move(value));
}

Value UserDefaults::value(std::string_view key) {
    const std::lock_guard lock(_mutex);
    return valueLocked(key);
}

Value UserDefaults::valueLocked(std::string_view key) const {
    const Value* const written = _written.find(key);
    const Value* const value = written ? written : _registered.find(key);
    return value ? *value : Value();
}

void UserDefaults::setValue(std::string_view key, Value value) {
    const std::lock_guard changes(_changesMutex);
    {
        const std::lock_guard lock(_mutex);
        if (value.isNull()) {
            _written.erase(key);
        } else {
            _written.set(key, std::move(value));
        }
    }
    save();
    notify(std::string(key));
}

std::uint64_t UserDefaults::addObserver(std::string_view key, Observer observer) {
    const std::lock_guard lock(_mutex);
    _observers.push_back({++_lastNumber, std::string(key), std::move(observer)});
    return _lastNumber;
}

void UserDefaults::removeObserver(std::uint64_t number) {
    // Waits for observers that run on other threads.
    const std::lock_guard changes(_changesMutex);
    const std::lock_guard lock(_mutex);
    std::erase_if(_observers, [number](const Registration& registration) { return registration.number == number; });
}

void UserDefaults::notify(const std::string& key) {
    std::vector<std::uint64_t> numbers;
    {
        const std::lock_guard lock(_mutex);
        for (const Registration& registration : _observers) {
            if (registration.key == key) {
                numbers.push_back(registration.number);
            }
        }
    }
    for (const std::uint64_t number : numbers) {
        Observer observer;
        Value value;
        {
            const std::lock_guard lock(_mutex);
            const auto found = std::find_if(_observers.begin(), _observers.end(),
                                            [number](const Registration& r) { return r.number == number; });
            if (found == _observers.end()) {
                continue;  // Removed by an observer called before it.
            }
            observer = found->observer;
            value = valueLocked(key);
        }
        if (observer) {
            observer(key, value);
        }
    }
}

bool UserDefaults::backWithFile(const std::string& path) {
    // A path with a NUL byte would be cut short and name another file.
    if (path.find('\0') != std::string::npos) {
        return false;
    }
    const std::lock_guard changes(_changesMutex);
    std::error_code error;
    const bool exists = std::filesystem::exists(path, error);
    std::ifstream stream(path, std::ios::binary);
    if (error || (exists && (!stream || !std::filesystem::is_regular_file(path, error)))) {
        return false;
    }
    const Dictionary settings = settingsIn(stream);
    {
        const std::lock_guard lock(_mutex);
        _filePath = path;
        for (const Dictionary::Entry& entry : settings) {
            _written.set(entry.key, entry.value);
        }
    }
    const bool saved = save();
    for (const Dictionary::Entry& entry : settings) {
        notify(entry.key);
    }
    return saved;
}

/// Called with the changes mutex held, so that files do not overtake each other.
bool UserDefaults::save() {
    std::string text;
    std::string path;
    {
        const std::lock_guard lock(_mutex);
        if (!_filePath) {
            return true;
        }
        path = *_filePath;
        for (const Dictionary::Entry& entry : _written) {
            if (const std::optional<std::string> value = entry.value.stringValue()) {
                text += escaped(entry.key) + '=' + escaped(*value) + '\n';
            }
        }
    }
    // The file is replaced whole, so that an interruption leaves the former one.
    const std::string temporary = path + ".new";
    {
        std::ofstream stream(temporary, std::ios::binary | std::ios::trunc);
        stream << text;
        stream.close();
        if (!stream) {
            return false;
        }
    }
    std::error_code error;
    std::filesystem::rename(temporary, path, error);
    return !error;
}

}  // namespace qlx
