// The technical log: levelled, time-stamped lines in one file a day.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>
#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Value.h>

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct QLXLogControllerDelegate;

// The settings that the log reads from the user defaults and observes.
inline constexpr std::string_view QLXTechnicalLogFolderPathKey = "technicalLogFolderPath";
inline constexpr std::string_view QLXTechnicalLogLevelKey = "technicalLogLevel";

/// Writes levelled messages to a text file a day in the host's folder, shows them through the host's delegate, raises a
/// desktop notification for critical errors, and removes its files after 30 days. Untagged lines go to simple logs, in
/// separately named daily files of the same folder.
///
/// A level is a signed number, and a smaller one is more severe: 0 and 1 are problems, marked with "!" in the file.
/// Lines above technicalLogLevel (2, unless the setting says otherwise) are not written. A message that equals the one
/// before it is counted, and the count is written in front of the next different one.
///
/// The settings are the user defaults "technicalLogFolderPath" (without one, or with an empty one, nothing is written)
/// and "technicalLogLevel"; changes are seen while the program runs.
///
/// Any thread may log. The file work runs on queues of its own, with threads of their own unless the host has set a
/// background queue: a thread that logs never waits for a disk. When the process ends normally (a return from main, or
/// exit()), the shared controller first writes what it has accepted, unless a write does not come back for 2 seconds; a
/// pending repeat count is not written. A host that takes its platform services away before that calls
/// waitUntilQueuesAreEmpty() first.
///
/// A file that does not take a line whole gets the rest, and the lines behind it, before any other line, once it takes
/// bytes again; <qlx/log/status.h> tells of such outages and of lines lost. What does not get away from a write that
/// hangs waits in memory, up to 64 MB.
///
/// A child of fork() has its parent's delegate and settings, and a log of its own: what the parent had not written yet
/// is left to the parent.
///
/// The dictionary of logWithInfoDict() and of the delegate holds "message", "level", "show" (true: the host should
/// show it), "origin" (7), "notifyRemotes", "source_unique_id", and "userNotificationTitle" and
/// "userNotificationCategory" where they are given. The report of a file that cannot be opened has "identifier" and
/// "sourceUniqueID" in place of "source_unique_id".
class QLX_EXPORT QLXLogController {
public:
    /// The one instance of the process, made on first use.
    [[nodiscard]] static std::shared_ptr<QLXLogController> sharedLogController();

    /// Registers the default level 2; every new controller does so too.
    static void initialize();

    /// A controller of its own, with its own file state. Hosts use the shared one. Waits for the notification centre to
    /// say whether notifications are authorised.
    QLXLogController();
    /// Stops observing the settings. Lines that are accepted are still written.
    ~QLXLogController();
    QLXLogController(const QLXLogController&) = delete;
    QLXLogController& operator=(const QLXLogController&) = delete;

    /// The application's name; none when the host gives none.
    [[nodiscard]] std::optional<std::string> applicationBundleName() const;

    /// Sets the delegate, which is not kept alive; null removes it. Until the first one is set, messages are printed to
    /// the console and the last 20 are kept: the first delegate gets them, and those that their levels allow are
    /// written. Without a delegate later on, messages are printed only.
    void setLogDelegate(const std::shared_ptr<QLXLogControllerDelegate>& delegate);

    /// Whether old files are removed when a new file is started; true at first.
    void setCanCleanupOldTechnicalLogFiles(bool value);

    /// Formats the text (qlx::formatText: a missing or wrong argument prints a marker) and logs it.
    /// @param level 0 is for everybody; the higher, the more verbose.
    /// @param show Whether the host should show it; with level 0 also a notification is raised.
    /// @param messageFormat The text with its placeholders.
    /// @param arguments What takes their places.
    template <class... Arguments>
    void logMessageWithLevel_show_messageFormat(std::int64_t level, bool show, std::string_view messageFormat,
                                                const Arguments&... arguments) {
        if constexpr (sizeof...(arguments) == 0) {
            logMessageWithLevel_show_messageFormat_arguments(level, show, messageFormat, {});
        } else {
            const std::array<qlx::FormatArgument, sizeof...(arguments)> list{qlx::FormatArgument(arguments)...};
            logMessageWithLevel_show_messageFormat_arguments(level, show, messageFormat, list);
        }
    }

    /// The same with a list of arguments.
    void logMessageWithLevel_show_messageFormat_arguments(std::int64_t level, bool show, std::string_view messageFormat,
                                                          std::span<const qlx::FormatArgument> arguments);

    /// Logs `message`; none is ignored. The text is written as it is, whatever its bytes.
    void logMessage_level_show(std::optional<std::string> message, std::int64_t level, bool show);

    /// Logs "message (Document: name)", or the message alone without a name. `notifyRemotes` is not passed on.
    /// An argument has no effect: see docs/COMPATIBILITY.md.
    void logMessage_documentName_level_show_notifyRemotes(std::optional<std::string> message,
                                                          const std::optional<std::string>& documentName,
                                                          std::int64_t level, bool show, bool notifyRemotes);
    /// The same without a choice about remotes.
    void logMessage_documentName_level_show(std::optional<std::string> message,
                                            const std::optional<std::string>& documentName, std::int64_t level,
                                            bool show);

    /// Logs `message` (none is ignored) with the title and category of the notification that level 0 with `show`
    /// raises; without a title it is "Critical Error".
    void logMessage_level_userNotificationTitle_userNotificationCategory_show(
        std::optional<std::string> message, std::int64_t level, std::optional<std::string> userNotificationTitle,
        std::optional<std::string> userNotificationCategory, bool show);

    /// Logs what the dictionary says: the entry of every message, which the delegate gets as it is.
    void logWithInfoDict(const qlx::Dictionary& infoDict);

    /// Queues one line for the technical log file, stamped with the time of the call; the level is compared when the
    /// line's turn comes. `logInConsole` has no effect.
    /// An argument has no effect: see docs/COMPATIBILITY.md.
    void writeStringToTechnicalLog_isProblem_logLevel_show_logInConsole(std::optional<std::string> message,
                                                                        bool isProblem, std::int64_t logLevel,
                                                                        bool show, bool logInConsole);
    /// The same without a choice about the console.
    void writeStringToTechnicalLog_isProblem_logLevel_show(std::optional<std::string> message, bool isProblem,
                                                           std::int64_t logLevel, bool show);

    /// Queues one line for the simple log `name`, stamped with the time at which it is written. Failures are silent.
    void logSimpleMessage_toFileWithName(std::string message, std::string name);

    /// Removes from the log folder what begins with the prefix and came into being more than 30 days ago, simple logs
    /// included. Nothing is removed with an empty prefix, which every name would match.
    void cleanupOldTechnicalLogFiles();

    /// Takes the new value of an observed setting, `change["new"]`, and prints it; other keys are passed over.
    /// `object` and `context` are not used.
    void observeValueForKeyPath_ofObject_change_context(std::string_view keyPath, const void* object,
                                                        const qlx::Dictionary& change, void* context);

    /// Asks the notification centre whether notifications are authorised, and waits for the answer. An undecided user
    /// is asked; that answer is not waited for.
    void checkForNotificationAuthorization();

    /// Posts a notification, if they are authorised. Without a category it is "WarningNotification".
    void displayNotificationWithTitle_message_categoryIdentifier(const std::string& title, const std::string& message,
                                                                 const std::optional<std::string>& categoryIdentifier);
    /// The same with the category "WarningNotification".
    void displayNotificationWithTitle_message(const std::string& title, const std::string& message);

    /// Blocks until every line that was accepted before the call is written, and the removal of old files that they
    /// started is done. The calling thread lends a hand with the writing. Not to be called by a display method.
    void waitUntilQueuesAreEmpty();

    // Properties; any thread may read and write them.

    /// The first part of every file name: the application's name, or else the program's, and a space.
    [[nodiscard]] std::string logPrefix() const;
    /// Sets logPrefix().
    void setLogPrefix(std::string value);
    /// The path of the technical log file last written to; none at first.
    [[nodiscard]] std::optional<std::string> lastTechnicalLogFilePath() const;
    /// Sets lastTechnicalLogFilePath().
    void setLastTechnicalLogFilePath(std::optional<std::string> value);
    /// The message last written to it; none at first, and after the first line of a file.
    [[nodiscard]] std::optional<std::string> lastTechnicalLogMessage() const;
    /// Sets lastTechnicalLogMessage().
    void setLastTechnicalLogMessage(std::optional<std::string> value);
    /// The folder of all log files; a change that comes from the user defaults also lets a failure be reported again.
    [[nodiscard]] std::optional<std::string> technicalLogFolderPath() const;
    /// Sets technicalLogFolderPath().
    void setTechnicalLogFolderPath(std::optional<std::string> value);
    /// The most verbose level that is written.
    [[nodiscard]] std::int64_t technicalLogLevel() const;
    /// Sets technicalLogLevel().
    void setTechnicalLogLevel(std::int64_t value);

private:
    class Observations;
    class State;
    std::shared_ptr<State> _state;
    std::unique_ptr<Observations> _observations;
};
