#include "log/UserNotifications.h"

#include <QLXClosedCaptionsUtilities/platform/Services.h>

#include <future>
#include <string_view>
#include <utility>

namespace qlx::log {

namespace {

constexpr std::string_view kDefaultCategory = "WarningNotification";
constexpr std::uint64_t kWantedOptions = kNotificationAlert | kNotificationSound | kNotificationBadge;

/// One answer that somebody waits for. A centre that lets go of it without answering ends the wait as well.
class Answer {
public:
    ~Answer() { settle(); }
    void settle() {
        if (!_settled.exchange(true)) {
            _promise.set_value();
        }
    }
    [[nodiscard]] std::future<void> future() { return _promise.get_future(); }

private:
    std::promise<void> _promise;
    std::atomic<bool> _settled{false};
};

void takeStatus(AuthorizationStatus status, const std::shared_ptr<std::atomic<bool>>& canDisplay) {
    switch (status) {
    case kAuthorizationAuthorized:
    case kAuthorizationProvisional:
        canDisplay->store(true);
        break;
    case kAuthorizationDenied:
        canDisplay->store(false);
        break;
    case kAuthorizationNotDetermined:
        services().get<NotificationCenter>().requestAuthorization(
            kWantedOptions, [canDisplay](bool granted) { canDisplay->store(granted); });
        break;
    default:
        break;
    }
}

}  // namespace

void UserNotifications::checkAuthorization() {
    auto answer = std::make_shared<Answer>();
    const std::future<void> answered = answer->future();
    services().get<NotificationCenter>().getAuthorizationStatus(
        [answer, canDisplay = _canDisplay](AuthorizationStatus status) {
            takeStatus(status, canDisplay);
            answer->settle();
        });
    answer.reset();
    answered.wait();
}

void UserNotifications::display(const std::string& title, const std::string& message,
                                const std::optional<std::string>& category) {
    if (!_canDisplay->load()) {
        return;
    }
    const bool hasCategory = category && !category->empty();
    services().get<NotificationCenter>().post(
        {services().get<UUIDs>().make(), title, message, hasCategory ? *category : std::string(kDefaultCategory)});
}

}  // namespace qlx::log
