#include "cloud/websites_widget_file.h"

#include "base/atomic_file.h"
#include "base/log.h"
#include "base/paths.h"

namespace ravo::cloud {

WebsitesWidgetFile::WebsitesWidgetFile(std::optional<std::filesystem::path> file)
    : file_(file ? file : paths::inSharedContainer("websites.json")) {}

void WebsitesWidgetFile::publish(const std::vector<MonitoredSite>& sites,
                                 const std::map<std::string, SiteState>& states,
                                 const std::map<std::string, double>& uptimeDay, bool isSignedIn,
                                 TimePoint now) {
    if (!file_)
        return;
    const auto snapshot = websitesSnapshot(sites, states, uptimeDay, isSignedIn, now);
    auto essentials = std::pair(snapshot.isSignedIn, widgetEssentials(snapshot, now));
    if (published_ == essentials)
        return;
    std::error_code ignored;
    std::filesystem::create_directories(file_->parent_path(), ignored);
    if (auto written = writeFileAtomically(*file_, toJson(snapshot).dump(2) + "\n"); !written) {
        log::error("websites", "Websites snapshot save failed: " + written.error());
        return;
    }
    published_ = std::move(essentials);
}

} // namespace ravo::cloud
