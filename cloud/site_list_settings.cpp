#include "cloud/site_list_settings.h"

#include "base/json_parse.h"
#include "base/log.h"

#include <algorithm>
#include <charconv>

namespace ravo::cloud::SiteListSettings {

std::vector<MonitoredSite> load(QSettings& settings) {
    const QString text = settings.value(kSitesKey).toString();
    if (text.isEmpty())
        return {};
    const auto parsed = parseJson(text.toStdString());
    auto sites = parsed ? monitoredSitesFromJson(*parsed)
                        : Result<std::vector<MonitoredSite>>(parsed.failure());
    if (!sites) {
        log::error("websites", "The saved website list is unreadable: " + sites.error());
        if (!settings.contains(kUnreadableBackupKey)) {
            settings.setValue(kUnreadableBackupKey, text);
            settings.sync();
        }
        return {};
    }
    return std::move(sites).value();
}

void save(QSettings& settings, const std::vector<MonitoredSite>& sites) {
    settings.setValue(kSitesKey, QString::fromStdString(toJson(sites).dump()));
    settings.sync();
}

std::vector<PendingSiteEdit> loadPending(QSettings& settings) {
    const QString text = settings.value(kPendingKey).toString();
    if (text.isEmpty())
        return {};
    auto edits = decodePendingEdits(text.toStdString());
    if (!edits) {
        log::error("websites",
                   "The website edits waiting for the server are unreadable: " + edits.error());
        return {};
    }
    return std::move(edits).value();
}

void savePending(QSettings& settings, const std::vector<PendingSiteEdit>& edits) {
    if (edits.empty())
        settings.remove(kPendingKey);
    else
        settings.setValue(kPendingKey, QString::fromStdString(encodePendingEdits(edits)));
    settings.sync();
}

Result<std::string> checkedInterval(std::string_view typed) {
    if (typed.empty())
        return std::string();
    std::int64_t minutes = 0;
    const auto [end, error] = std::from_chars(typed.data(), typed.data() + typed.size(), minutes);
    if (error != std::errc() || end != typed.data() + typed.size() || minutes < 1 || minutes > 1440)
        return Failure{std::string(kIntervalKey) + " takes whole minutes from 1 to 1440."};
    return std::to_string(minutes);
}

std::int64_t intervalMinutes(const QSettings& settings, const wire::CloudMe& plan) {
    bool ok = false;
    const auto stored = settings.value(kIntervalKey).toLongLong(&ok);
    return std::clamp<std::int64_t>(ok ? stored : 5, // kInterval's default
                                    std::max<std::int64_t>(plan.minIntervalMinutes, 1), 1440);
}

} // namespace ravo::cloud::SiteListSettings
