#pragma once

#include "base/user_notifications.h"

#include <vector>

namespace ravo::testing {

// Keeps what would have been shown; the desktop tests use a real notification server.
struct RecordingNotifications final : UserNotifications {
    std::vector<UserNotification> posted;
    void requestAuthorization(Failure) override {}
    void post(const UserNotification& notification, Failure) override {
        posted.push_back(notification);
    }
};

} // namespace ravo::testing
