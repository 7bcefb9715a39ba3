// The rules of the source tree: which folder may include what. docs/ARCHITECTURE.md draws the same arrows.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace architecture {

/// A file of src/, include/ or tools/; the path is relative to the project's root, with slashes.
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

/// The include lines of a file; those in comments do not count. A computed include has an empty path.
std::vector<Include> includesOf(std::string_view text);

/// Everything in the tree that breaks a rule, one line each: `path:line: what is wrong`. Empty when all is well.
std::vector<std::string> violationsIn(const std::vector<SourceFile>& tree);

/// Reads the `.h` and `.cpp` files below the folders src, include and tools of a project.
std::vector<SourceFile> readTree(const std::string& root);

}  // namespace architecture
