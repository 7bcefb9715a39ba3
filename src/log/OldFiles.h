// Removing log files that nobody needs any more.
#pragma once

#include <chrono>
#include <string>

namespace qlx::log {

/// How long log files are kept: 30 days.
inline constexpr std::chrono::seconds kKeptFor{2'592'000};

/// Removes from `folder` every entry whose name begins with `prefix` and which came into being longer ago than
/// kKeptFor. Failures are ignored. An empty prefix, which every name would match, removes nothing.
void removeOldFiles(const std::string& folder, const std::string& prefix);

}  // namespace qlx::log
