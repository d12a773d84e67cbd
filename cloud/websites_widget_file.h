#pragma once

#include "base/time.h"
#include "cloud/core/monitored_site.h"
#include "cloud/core/site_state.h"
#include "cloud/core/websites_snapshot.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ravo::cloud {

// websites.json, the picture of the sites other programs (a widget, `ravo status`) read.
// It is written only when what they show changes, not on every poll.
class WebsitesWidgetFile {
public:
    // The shared container's websites.json unless another file is given.
    explicit WebsitesWidgetFile(std::optional<std::filesystem::path> file = std::nullopt);

    void publish(const std::vector<MonitoredSite>& sites,
                 const std::map<std::string, SiteState>& states,
                 const std::map<std::string, double>& uptimeDay, bool isSignedIn, TimePoint now);

private:
    std::optional<std::filesystem::path> file_;
    std::optional<std::pair<bool, std::vector<WidgetEssentials>>> published_;
};

} // namespace ravo::cloud
