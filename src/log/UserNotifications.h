// Desktop notifications, as far as the user allows them.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace qlx::log {

/// Any thread may call it.
class UserNotifications {
public:
    /// Asks the notification centre whether notifications are authorised, and waits for the answer. When the user has
    /// not decided yet he is asked; that answer counts whenever it comes.
    void checkAuthorization();

    /// Posts a notification, if they are authorised.
    void display(const std::string& title, const std::string& message, const std::optional<std::string>& category);

private:
    /// Shared with answers that come late.
    std::shared_ptr<std::atomic<bool>> _canDisplay = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace qlx::log
