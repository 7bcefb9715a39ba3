// The rules of the source tree: which file may include what. docs/ARCHITECTURE.md draws the arrows between its rooms.
#pragma once

#include "Rooms.h"

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace architecture {

/// A source or header; the path is relative to the project's root, with slashes.
struct SourceFile {
    std::string path;
    std::string text;
};

/// One `#include` line (1-based).
struct Include {
    std::size_t line;
    std::string path;
    bool quoted;

    friend bool operator==(const Include&, const Include&) = default;
};

/// The text with blanks in place of comments, so that what stands in them is not read; the lines stay where they are.
std::string withoutComments(std::string_view text);

/// The include lines of a file; those in comments do not count. A computed include has an empty path.
std::vector<Include> includesOf(std::string_view text);

/// Of files, relative to the project's root.
using Paths = std::set<std::string, std::less<>>;

/// The one of `paths` that an include of the file `path` names, or an empty text.
std::string fileNamedBy(const Include& include, const std::string& path, const Paths& paths);

/// Everything in the tree that breaks a rule, one line each: `path:line: what is wrong`. Empty when all is well.
std::vector<std::string> violationsIn(const Rooms& rooms, const std::vector<SourceFile>& tree);

/// Reads the `.h` and `.cpp` files below src/ and include/ of a project, and below the other folders that have rooms.
std::vector<SourceFile> readTree(const std::string& root, const Rooms& rooms);

}  // namespace architecture
