#pragma once

#include "base/result.h"
#include "base/time.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

// Wire records of a site's history and of the Telegram alert settings.
namespace ravo::wire {

struct CloudLatencyPoint {
    TimePoint at;
    double latencyMs = 0;
    bool operator==(const CloudLatencyPoint&) const = default;
};

struct CloudIncident {
    TimePoint startedAt;
    std::optional<TimePoint> endedAt; // absent while the incident is open
    std::string reason;
    bool operator==(const CloudIncident&) const = default;
};

// Uptimes are fractions from 0 to 1; absent when the window holds no check.
struct CloudSiteHistory {
    std::optional<double> uptime24h;
    std::optional<double> uptime7d;
    std::optional<double> uptime30d;
    std::vector<CloudLatencyPoint> latency24h;
    std::vector<CloudLatencyPoint> latency7dHourly;
    std::vector<CloudIncident> incidents;
    bool operator==(const CloudSiteHistory&) const = default;
};

struct CloudNotificationSettings {
    std::optional<std::string> telegramChatId;
    bool hasCustomBotToken = false;
    // Why the last alert could not be delivered, until one is again.
    std::optional<std::string> lastDeliveryError;
    bool operator==(const CloudNotificationSettings&) const = default;
};

// The PUT body: a key that is absent leaves that setting as it is; an empty text clears it.
struct NotificationSettingsUpdate {
    std::optional<std::string> telegramChatId;
    std::optional<std::string> telegramBotToken;
    bool operator==(const NotificationSettingsUpdate&) const = default;
};

nlohmann::json toJson(const CloudSiteHistory& history);
nlohmann::json toJson(const CloudNotificationSettings& settings);
nlohmann::json toJson(const NotificationSettingsUpdate& update);

Result<CloudSiteHistory> siteHistoryFromJson(const nlohmann::json& json);
Result<CloudNotificationSettings> notificationSettingsFromJson(const nlohmann::json& json);
Result<NotificationSettingsUpdate> notificationSettingsUpdateFromJson(const nlohmann::json& json);

} // namespace ravo::wire
