#include "wire/monitoring_records.h"

#include "base/json_optional.h"
#include "wire/wire_fields.h"

namespace ravo::wire {

using nlohmann::json;
using ravo::json::putOptional;

namespace {

json pointsJson(const std::vector<CloudLatencyPoint>& points) {
    json list = json::array();
    for (const auto& point : points)
        list.push_back({{"at", toIso8601(point.at)}, {"latency_ms", point.latencyMs}});
    return list;
}

// Reads a list of objects under `key` with `read`; the first failure names the item.
template <typename Item, typename Read>
Result<std::vector<Item>> listFromJson(const json& object, const char* key, Read read) {
    std::vector<Item> items;
    const auto found = object.find(key);
    if (found == object.end() || found->is_null())
        return items;
    if (!found->is_array())
        return Failure{std::string(key) + " must be a list"};
    for (std::size_t i = 0; i < found->size(); ++i) {
        WireFields fields((*found)[i]);
        Item item = read(fields);
        if (fields.problem())
            return Failure{std::string(key) + " " + std::to_string(i + 1) + ": " +
                           *fields.problem()};
        items.push_back(std::move(item));
    }
    return items;
}

CloudLatencyPoint readPoint(WireFields& f) {
    CloudLatencyPoint point;
    point.at = f.optionalDate("at").value_or(TimePoint());
    point.latencyMs = f.optionalNumber("latency_ms").value_or(0);
    f.text("at"); // required: reports it when missing
    return point;
}

} // namespace

json toJson(const CloudSiteHistory& h) {
    json j = json::object();
    putOptional(j, "uptime_24h", h.uptime24h);
    putOptional(j, "uptime_7d", h.uptime7d);
    putOptional(j, "uptime_30d", h.uptime30d);
    j["latency_24h"] = pointsJson(h.latency24h);
    j["latency_7d_hourly"] = pointsJson(h.latency7dHourly);
    json incidents = json::array();
    for (const auto& incident : h.incidents) {
        json item = {{"started_at", toIso8601(incident.startedAt)}, {"reason", incident.reason}};
        if (incident.endedAt)
            item["ended_at"] = toIso8601(*incident.endedAt);
        incidents.push_back(std::move(item));
    }
    j["incidents"] = std::move(incidents);
    return j;
}

json toJson(const CloudNotificationSettings& s) {
    json j = {{"has_custom_bot_token", s.hasCustomBotToken}};
    putOptional(j, "telegram_chat_id", s.telegramChatId);
    putOptional(j, "last_delivery_error", s.lastDeliveryError);
    return j;
}

json toJson(const NotificationSettingsUpdate& u) {
    json j = json::object();
    putOptional(j, "telegram_chat_id", u.telegramChatId);
    putOptional(j, "telegram_bot_token", u.telegramBotToken);
    return j;
}

Result<CloudSiteHistory> siteHistoryFromJson(const json& j) {
    WireFields f(j);
    CloudSiteHistory history;
    history.uptime24h = f.optionalNumber("uptime_24h");
    history.uptime7d = f.optionalNumber("uptime_7d");
    history.uptime30d = f.optionalNumber("uptime_30d");
    if (f.problem())
        return Failure{*f.problem()};
    auto day = listFromJson<CloudLatencyPoint>(j, "latency_24h", readPoint);
    auto week = listFromJson<CloudLatencyPoint>(j, "latency_7d_hourly", readPoint);
    auto incidents = listFromJson<CloudIncident>(j, "incidents", [](WireFields& item) {
        CloudIncident incident;
        incident.startedAt = item.optionalDate("started_at").value_or(TimePoint());
        item.text("started_at");
        incident.endedAt = item.optionalDate("ended_at");
        incident.reason = item.optionalText("reason").value_or(std::string());
        return incident;
    });
    if (!day)
        return day.failure();
    if (!week)
        return week.failure();
    if (!incidents)
        return incidents.failure();
    history.latency24h = std::move(day).value();
    history.latency7dHourly = std::move(week).value();
    history.incidents = std::move(incidents).value();
    return history;
}

Result<CloudNotificationSettings> notificationSettingsFromJson(const json& j) {
    WireFields f(j);
    CloudNotificationSettings s{f.optionalText("telegram_chat_id"),
                                f.boolean("has_custom_bot_token", false),
                                f.optionalText("last_delivery_error")};
    return finish(f, std::move(s));
}

Result<NotificationSettingsUpdate> notificationSettingsUpdateFromJson(const json& j) {
    WireFields f(j);
    NotificationSettingsUpdate u{f.optionalText("telegram_chat_id"),
                                 f.optionalText("telegram_bot_token")};
    return finish(f, std::move(u));
}

} // namespace ravo::wire
