// What the technical log tells its host.
#pragma once

#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <cstdint>
#include <functional>
#include <string>

/// The host's side of QLXLogController. Each method may be left empty. Methods are set before the delegate is handed to
/// setLogDelegate() and not changed from then on.
///
/// The display methods are called on the thread that logs, one message at a time; they must not log themselves, set the
/// delegate, wait for the log, or end the process. No method may throw. A file that cannot be opened is reported, and
/// initialLogMessage asked for, on the log's own queue, where both are allowed; such a report may come while another
/// message is displayed.
struct QLXLogControllerDelegate {
    /// The entry for messages to display; see QLXLogController for the dictionary's keys.
    std::function<void(const qlx::Dictionary& info)> displayLogWithInfoDict;

    /// Text and level of a message to display; used only when displayLogWithInfoDict is empty.
    std::function<void(const std::string& message, std::int64_t level)> displayLogMessage_logLevel;

    /// The header line of every newly started file; an empty text gives none.
    std::function<std::string()> initialLogMessage;
};
