#pragma once

#include <functional>
#include <string>

namespace ravo {

// One desktop notification. A newer one with the same identifier replaces the older.
struct UserNotification {
    std::string identifier;
    std::string thread; // groups related notifications, such as "websites"
    std::string title;
    std::string body;
    std::string icon;     // a freedesktop icon name
    std::string category; // a freedesktop category such as "network.disconnected"
    bool operator==(const UserNotification&) const = default;
};

// The desktop's notification centre. Delivery is asynchronous; a failure comes back as a
// text through `failed`, on the caller's thread.
class UserNotifications {
public:
    using Failure = std::function<void(const std::string& error)>;
    virtual ~UserNotifications() = default;
    virtual void requestAuthorization(Failure failed) = 0;
    virtual void post(const UserNotification& notification, Failure failed) = 0;
};

} // namespace ravo
