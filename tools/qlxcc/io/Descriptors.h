// The descriptors that a program is started with, and waiting for one.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace qlx::tool {

/// Opens those of the descriptors 0 to 2 that are closed, so that no file which is opened later is taken for one of
/// them. What is read from or written to them goes on failing. To be called before anything else is opened.
void openStandardDescriptors() noexcept;

/// What a descriptor is waited for.
enum class Readiness : std::uint8_t { ToRead, ToWrite };

/// Rests until the descriptor is ready, or a signal comes. For one that does not wait by itself (EAGAIN).
/// @return False when there is nothing to wait for.
[[nodiscard]] bool waitFor(int descriptor, Readiness readiness) noexcept;

/// Writes all of the bytes, however many calls it takes.
/// @return 0, or the number of the system's error.
[[nodiscard]] int writeAll(int descriptor, std::span<const std::uint8_t> bytes) noexcept;

/// What a path leads to.
struct PathTarget {
    std::string path;               ///< Without a symbolic link as its last part; it need not exist.
    std::optional<int> descriptor;  ///< The path is a name of this descriptor of ours: /dev/stdout, /dev/fd/3.
};

/// Follows the symbolic links that a path ends in, also where the last of them leads to nothing.
/// @return The path itself where the links go round.
[[nodiscard]] PathTarget followLinks(const std::string& path);

}  // namespace qlx::tool
