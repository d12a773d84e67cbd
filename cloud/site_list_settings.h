#pragma once

#include "base/result.h"
#include "base/setting.h"
#include "cloud/core/monitored_site.h"
#include "cloud/core/pending_site_edit.h"

#include <QSettings>

#include <string>
#include <string_view>
#include <vector>

// The monitor's own settings: the site list and the check interval.
namespace ravo::cloud::SiteListSettings {

inline constexpr const char* kSitesKey = "monitoredSites";
inline constexpr const char* kIntervalKey = "websiteCheckIntervalMinutes";

inline constexpr const char* kUnreadableBackupKey = "monitoredSitesUnreadable";
// Edits made here that the server has not taken yet.
inline constexpr const char* kPendingKey = "monitoredSitesPending";

// A typed interval as it is stored, or what is wrong with it.
Result<std::string> checkedInterval(std::string_view typed);
// The interval every new site gets, whoever adds it, and every site once it is changed.
inline constexpr Setting kInterval{kIntervalKey,
                                   Setting::Kind::text,
                                   "minutes between checks of each website (1 to 1440; the "
                                   "plan may ask for more)",
                                   false,
                                   false,
                                   "5",
                                   Setting::Store::app,
                                   {},
                                   &checkedInterval};

// An unreadable list is reported in the log and kept once under kUnreadableBackupKey, so
// the list saved after it does not lose it; it reads as empty.
std::vector<MonitoredSite> load(QSettings& settings);
void save(QSettings& settings, const std::vector<MonitoredSite>& sites);
// Unreadable edits are reported in the log and read as none.
std::vector<PendingSiteEdit> loadPending(QSettings& settings);
void savePending(QSettings& settings, const std::vector<PendingSiteEdit>& edits);
// 5 minutes unless set; never below the plan's minimum, never above a day.
std::int64_t intervalMinutes(const QSettings& settings, const wire::CloudMe& plan);

} // namespace ravo::cloud::SiteListSettings
