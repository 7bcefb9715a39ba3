// The folders of the source tree and which of them may include which, as rooms.txt says it.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace architecture {

class Rooms {
public:
    /// Reads the text of rooms.txt.
    explicit Rooms(std::string_view text);

    /// What is wrong with the text, one line each: `line: what`.
    const std::vector<std::string>& mistakes() const { return _mistakes; }

    bool contains(std::string_view room) const { return _arrows.contains(room); }

    /// The folders at the project's root that rooms are named by: `tools` for `tools/io`. Those of src/ are among them.
    std::set<std::string> firstFolders() const;

    /// The room of a file; what belongs to none is named by its path, which no arrow allows.
    std::string_view roomOf(std::string_view path) const;

    /// Every room may include itself, and what those may include that it may. `to` may also be `public`.
    bool mayInclude(std::string_view from, std::string_view to) const;

private:
    using Names = std::set<std::string, std::less<>>;

    void readLine(const std::string& line, std::size_t number);
    void report(std::size_t line, const std::string& message);

    std::map<std::string, Names, std::less<>> _arrows;
    std::map<std::string, std::string, std::less<>> _owners;
    std::vector<std::pair<std::string, std::size_t>> _named;  ///< Rooms that lines name, and the lines.
    std::vector<std::string> _mistakes;
};

}  // namespace architecture
