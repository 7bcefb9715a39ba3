#include "Rooms.h"

#include <algorithm>
#include <sstream>

namespace architecture {
namespace {

constexpr std::string_view kPublic = "public";

/// Takes everything up to a slash from the front of a path; nothing when it has none.
std::string_view takeFolder(std::string_view& path) {
    const std::size_t slash = path.find('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    const std::string_view folder = path.substr(0, slash);
    path.remove_prefix(slash + 1);
    return folder;
}

}  // namespace

Rooms::Rooms(std::string_view text) {
    std::istringstream stream{std::string(text)};
    std::size_t number = 0;
    for (std::string line; std::getline(stream, line);) {
        ++number;
        if (!line.empty() && !line.starts_with('#')) {
            readLine(line, number);
        }
    }
    for (const auto& [room, line] : _named) {
        if (!contains(room)) {
            report(line, "no such folder: " + room);
        }
    }
}

void Rooms::report(std::size_t line, const std::string& message) {
    _mistakes.push_back(std::to_string(line) + ": " + message);
}

void Rooms::readLine(const std::string& line, std::size_t number) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) {
        report(number, "no colon");
        return;
    }
    const std::string name = line.substr(0, colon);
    const bool header = name.ends_with(".h");
    std::istringstream words(line.substr(colon + 1));
    Names names;
    for (std::string word; words >> word;) {
        names.insert(word);
        if (header || word != kPublic) {
            _named.emplace_back(word, number);
        }
    }
    if (header && names.size() != 1) {
        report(number, name + " needs one folder");
    } else if (!(header ? _owners.emplace(name, *names.begin()).second : _arrows.emplace(name, names).second)) {
        report(number, "not the only line of " + name);
    }
}

std::set<std::string> Rooms::firstFolders() const {
    std::set<std::string> result;
    for (const auto& [room, names] : _arrows) {
        result.insert(room.substr(0, room.find('/')));
    }
    return result;
}

std::string_view Rooms::roomOf(std::string_view path) const {
    std::string_view name = path;
    const std::string_view top = takeFolder(name);
    if (top == "include") {
        takeFolder(name);
        if (const auto owner = _owners.find(name); owner != _owners.end()) {
            return owner->second;
        }
    } else if (top != "src") {
        name = path;
    }
    // The innermost folder that is a room.
    for (std::size_t slash = name.rfind('/'); slash != std::string_view::npos; slash = name.rfind('/')) {
        name = name.substr(0, slash);
        if (contains(name)) {
            return name;
        }
    }
    return path;
}

bool Rooms::mayInclude(std::string_view from, std::string_view to) const {
    if (from == to) {
        return true;
    }
    const auto arrows = _arrows.find(from);
    return arrows != _arrows.end() && std::any_of(arrows->second.begin(), arrows->second.end(),
                                                  [&](const std::string& room) { return mayInclude(room, to); });
}

}  // namespace architecture
