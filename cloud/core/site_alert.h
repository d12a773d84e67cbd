#pragma once

#include "cloud/core/site_state.h"

#include <map>
#include <string>
#include <vector>

namespace ravo::cloud {

struct SiteAlert {
    enum class Kind { down, recovered, slow, certificateExpiring };
    Kind kind = Kind::down;
    SiteProblem problem;                  // down
    std::optional<double> downForSeconds; // recovered
    double latencySeconds = 0;            // slow
    int days = 0;                         // certificateExpiring; negative once expired

    struct Message {
        std::string title;
        std::string body;
        std::string symbol; // an icon name of the freedesktop icon theme
        bool operator==(const Message&) const = default;
    };
    Message message(const std::string& siteName) const;
    bool operator==(const SiteAlert&) const = default;
};

// "less than a minute", "4 minutes", "2 hours 5 minutes".
std::string durationText(double seconds);

// The alerts a change of states raises, in the order of `siteIDs`: up or slow to down
// is "down", down to up or slow is "recovered"; a site without an earlier state, and every
// other change, raises nothing.
std::vector<std::pair<std::string, SiteAlert>>
alertsBetween(const std::vector<std::string>& siteIDs,
              const std::map<std::string, SiteState>& before,
              const std::map<std::string, SiteState>& after);

} // namespace ravo::cloud
