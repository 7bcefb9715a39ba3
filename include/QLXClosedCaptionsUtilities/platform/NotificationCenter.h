// Messages on the user's desktop, and the unique identifiers that they carry.
#pragma once

#include <QLXClosedCaptionsUtilities/Export.h>

#include <cstdint>
#include <functional>
#include <string>

namespace qlx {

/// What the user has decided about notifications. A platform may answer with further values.
using AuthorizationStatus = std::int64_t;
inline constexpr AuthorizationStatus kAuthorizationNotDetermined = 0;
inline constexpr AuthorizationStatus kAuthorizationDenied = 1;
inline constexpr AuthorizationStatus kAuthorizationAuthorized = 2;
inline constexpr AuthorizationStatus kAuthorizationProvisional = 3;

/// What authorisation is asked for: a bit mask.
inline constexpr std::uint64_t kNotificationBadge = 1;
inline constexpr std::uint64_t kNotificationSound = 2;
inline constexpr std::uint64_t kNotificationAlert = 4;

/// A message for the user.
struct Notification {
    std::string identifier;  ///< Unique among the notifications.
    std::string title;       ///< Its first line.
    std::string body;        ///< Its text.
    std::string category;    ///< The kind of notification, for the host.

    /// Field by field.
    friend bool operator==(const Notification&, const Notification&) = default;
};

/// The desktop's notification centre. The default stands for a platform without one: nothing is authorised, and what
/// is posted goes nowhere. Any thread may call it; answers may come on any thread, also before the call returns.
class QLX_EXPORT NotificationCenter {
public:
    NotificationCenter() = default;
    NotificationCenter(const NotificationCenter&) = delete;
    NotificationCenter& operator=(const NotificationCenter&) = delete;
    virtual ~NotificationCenter();

    /// The portable default.
    [[nodiscard]] static NotificationCenter& defaultInstance();

    /// Asks for the user's decision.
    virtual void getAuthorizationStatus(std::function<void(AuthorizationStatus)> answer);

    /// Asks the user to decide; `answer` gets true when all of `options` is granted.
    virtual void requestAuthorization(std::uint64_t options, std::function<void(bool)> answer);

    /// Shows `notification` at once.
    virtual void post(const Notification& notification);
};

/// Makes universally unique identifiers. Any thread may call it.
class QLX_EXPORT UUIDs {
public:
    UUIDs() = default;
    UUIDs(const UUIDs&) = delete;
    UUIDs& operator=(const UUIDs&) = delete;
    virtual ~UUIDs();

    /// The portable default.
    [[nodiscard]] static UUIDs& defaultInstance();

    /// A fresh identifier: by default random (RFC 4122, version 4), in upper-case hexadecimal digits with hyphens.
    [[nodiscard]] virtual std::string make();
};

}  // namespace qlx
