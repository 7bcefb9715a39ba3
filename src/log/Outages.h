// The record of outages that status() shows.
#pragma once

#include <qlx/log/status.h>

namespace qlx::log {

/// Takes the outage up and tells the observer.
void beginOutage(const Outage& outage);
/// A line is lost in the outage of the file at `path`.
void loseLine(const std::string& path);
/// `count` lines are lost without a file's fault.
void loseLines(std::uint64_t count);
/// Tells the observer and forgets the outage.
void endOutage(const std::string& path);

}  // namespace qlx::log
