#pragma once

#include "cloud/core/monitored_site.h"

#include <QSettings>

#include <vector>

// The monitor's own settings: the site list and the check interval.
namespace ravo::cloud::SiteListSettings {

inline constexpr const char* kSitesKey = "monitoredSites";
inline constexpr const char* kIntervalKey = "websiteCheckIntervalMinutes";

inline constexpr const char* kUnreadableBackupKey = "monitoredSitesUnreadable";

// An unreadable list is reported in the log and kept once under kUnreadableBackupKey, so
// the list saved after it does not lose it; it reads as empty.
std::vector<MonitoredSite> load(QSettings& settings);
void save(QSettings& settings, const std::vector<MonitoredSite>& sites);
// 5 minutes unless set; never below the plan's minimum, never above a day.
std::int64_t intervalMinutes(const QSettings& settings, const wire::CloudMe& plan);

} // namespace ravo::cloud::SiteListSettings
