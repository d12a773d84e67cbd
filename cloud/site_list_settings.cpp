#include "cloud/site_list_settings.h"

#include "base/json_parse.h"
#include "base/log.h"

#include <algorithm>

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

std::int64_t intervalMinutes(const QSettings& settings, const wire::CloudMe& plan) {
    bool ok = false;
    const auto stored = settings.value(kIntervalKey).toLongLong(&ok);
    return std::clamp<std::int64_t>(ok ? stored : 5,
                                    std::max<std::int64_t>(plan.minIntervalMinutes, 1), 1440);
}

} // namespace ravo::cloud::SiteListSettings
