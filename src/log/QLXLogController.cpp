#include <QLXClosedCaptionsUtilities/QLXLogController.h>

#include "log/LogState.h"
#include "platform/ObserverHold.h"

#include <QLXClosedCaptionsUtilities/platform/Format.h>
#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <cstdlib>
#include <utility>
#include <vector>

namespace {

constexpr std::int64_t kDefaultLevel = 2;

/// The key under which a change holds the value from now on.
constexpr std::string_view kNewValueKey = "new";

}  // namespace

/// The observed settings, at the service where they were found.
class QLXLogController::Observations {
public:
    explicit Observations(qlx::UserDefaults& defaults) : _defaults(defaults) {}
    ~Observations() {
        for (const std::uint64_t number : _numbers) {
            _defaults.removeObserver(number);
        }
    }
    Observations(const Observations&) = delete;
    Observations& operator=(const Observations&) = delete;

    void add(std::string_view key, const qlx::UserDefaults::Observer& observer) {
        const qlx::OwnObservers own;
        _numbers.reserve(_numbers.size() + 1);
        _numbers.push_back(_defaults.addObserver(key, observer));
    }

private:
    qlx::UserDefaults& _defaults;
    std::vector<std::uint64_t> _numbers;
};

std::shared_ptr<QLXLogController> QLXLogController::sharedLogController() {
    // Never destroyed: other objects may log while they are destroyed at exit. A forked child writes what it has logged
    // itself; what its parent has is the parent's.
    static const auto* const shared = [] {
        auto* const controller = new std::shared_ptr<QLXLogController>(std::make_shared<QLXLogController>());
        std::atexit([] { sharedLogController()->_state->end(); });
        return controller;
    }();
    return *shared;
}

void QLXLogController::initialize() {
    qlx::services().get<qlx::UserDefaults>().registerDefault(QLXTechnicalLogLevelKey, kDefaultLevel);
}

QLXLogController::QLXLogController() : _state(std::make_shared<State>()) {
    initialize();
    qlx::UserDefaults& defaults = qlx::services().get<qlx::UserDefaults>();
    // A call may be under way when the controller goes away from within it.
    const auto observer = [state = std::weak_ptr<State>(_state)](const std::string& key, const qlx::Value& value) {
        if (const std::shared_ptr<State> held = state.lock()) {
            held->takeSetting(key, value);
        }
    };
    // Observed first, so that no change falls between reading and observing.
    _observations = std::make_unique<Observations>(defaults);
    _observations->add(QLXTechnicalLogFolderPathKey, observer);
    _observations->add(QLXTechnicalLogLevelKey, observer);
    _state->beginWith(defaults.value(QLXTechnicalLogFolderPathKey).stringValue(),
                      defaults.value(QLXTechnicalLogLevelKey).integerValue());
    checkForNotificationAuthorization();
}

QLXLogController::~QLXLogController() {
    try {
        _state->retryWaiting();
    } catch (...) {  // NOLINT(bugprone-empty-catch): the state tries itself when it goes.
    }
}

std::optional<std::string> QLXLogController::applicationBundleName() const {
    return qlx::services().get<qlx::Application>().name();
}

void QLXLogController::setLogDelegate(const std::shared_ptr<QLXLogControllerDelegate>& delegate) {
    _state->setDelegate(delegate);
}

void QLXLogController::setCanCleanupOldTechnicalLogFiles(bool value) {
    _state->setCanRemoveOldFiles(value);
}

void QLXLogController::logMessageWithLevel_show_messageFormat_arguments(
    std::int64_t level, bool show, std::string_view messageFormat, std::span<const qlx::FormatArgument> arguments) {
    logMessage_level_show(qlx::formatText(messageFormat, arguments), level, show);
}

void QLXLogController::logMessage_level_show(std::optional<std::string> message, std::int64_t level, bool show) {
    logMessage_level_userNotificationTitle_userNotificationCategory_show(std::move(message), level, std::nullopt,
                                                                         std::nullopt, show);
}

void QLXLogController::logMessage_documentName_level_show_notifyRemotes(std::optional<std::string> message,
                                                                        const std::optional<std::string>& documentName,
                                                                        std::int64_t level, bool show,
                                                                        bool /*notifyRemotes*/) {
    if (documentName) {
        message = qlx::formatted("%@ (Document: %@)", message, documentName);
    }
    logMessage_level_show(std::move(message), level, show);
}

void QLXLogController::logMessage_documentName_level_show(std::optional<std::string> message,
                                                          const std::optional<std::string>& documentName,
                                                          std::int64_t level, bool show) {
    logMessage_documentName_level_show_notifyRemotes(std::move(message), documentName, level, show, true);
}

void QLXLogController::logMessage_level_userNotificationTitle_userNotificationCategory_show(
    std::optional<std::string> message, std::int64_t level, std::optional<std::string> userNotificationTitle,
    std::optional<std::string> userNotificationCategory, bool show) {
    if (!message) {
        return;
    }
    // The dictionary is made only where the delegate wants it: most messages go to the file alone.
    qlx::log::Message entry;
    entry.text = std::move(message);
    entry.level = level;
    entry.show = show;
    entry.notificationTitle = std::move(userNotificationTitle);
    entry.notificationCategory = std::move(userNotificationCategory);
    _state->log(entry);
}

void QLXLogController::logWithInfoDict(const qlx::Dictionary& infoDict) {
    qlx::log::Message message = qlx::log::messageWithInfo(infoDict);
    _state->log(message);
}

void QLXLogController::writeStringToTechnicalLog_isProblem_logLevel_show_logInConsole(
    std::optional<std::string> message, bool isProblem, std::int64_t logLevel, bool show, bool /*logInConsole*/) {
    _state->queueTechnicalLine(std::move(message), isProblem, logLevel, show);
    _state->writeIfEnding();
}

void QLXLogController::writeStringToTechnicalLog_isProblem_logLevel_show(std::optional<std::string> message,
                                                                         bool isProblem, std::int64_t logLevel,
                                                                         bool show) {
    writeStringToTechnicalLog_isProblem_logLevel_show_logInConsole(std::move(message), isProblem, logLevel, show, true);
}

void QLXLogController::logSimpleMessage_toFileWithName(std::string message, std::string name) {
    _state->queueSimpleLine(std::move(message), std::move(name));
}

void QLXLogController::cleanupOldTechnicalLogFiles() {
    _state->removeOldFiles();
}

void QLXLogController::observeValueForKeyPath_ofObject_change_context(std::string_view keyPath, const void* /*object*/,
                                                                      const qlx::Dictionary& change,
                                                                      void* /*context*/) {
    const qlx::Value* const found = change.find(kNewValueKey);
    _state->takeSetting(keyPath, found ? *found : qlx::Value());
}

void QLXLogController::checkForNotificationAuthorization() {
    _state->notifications().checkAuthorization();
}

void QLXLogController::displayNotificationWithTitle_message_categoryIdentifier(
    const std::string& title, const std::string& message, const std::optional<std::string>& categoryIdentifier) {
    _state->notifications().display(title, message, categoryIdentifier);
}

void QLXLogController::displayNotificationWithTitle_message(const std::string& title, const std::string& message) {
    displayNotificationWithTitle_message_categoryIdentifier(title, message, std::nullopt);
}

void QLXLogController::waitUntilQueuesAreEmpty() {
    _state->runQueues();
    _state->waitForRemovals();
}

std::string QLXLogController::logPrefix() const {
    return _state->prefix();
}

void QLXLogController::setLogPrefix(std::string value) {
    _state->setPrefix(std::move(value));
}

std::optional<std::string> QLXLogController::lastTechnicalLogFilePath() const {
    return _state->repeats().lastPath();
}

void QLXLogController::setLastTechnicalLogFilePath(std::optional<std::string> value) {
    _state->repeats().setLastPath(std::move(value));
}

std::optional<std::string> QLXLogController::lastTechnicalLogMessage() const {
    return _state->repeats().lastMessage();
}

void QLXLogController::setLastTechnicalLogMessage(std::optional<std::string> value) {
    _state->repeats().setLastMessage(std::move(value));
}

std::optional<std::string> QLXLogController::technicalLogFolderPath() const {
    return _state->folder();
}

void QLXLogController::setTechnicalLogFolderPath(std::optional<std::string> value) {
    _state->setFolder(std::move(value));
}

std::int64_t QLXLogController::technicalLogLevel() const {
    return _state->level();
}

void QLXLogController::setTechnicalLogLevel(std::int64_t value) {
    _state->setLevel(value);
}
