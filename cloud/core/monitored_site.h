#pragma once

#include "base/result.h"
#include "wire/wire_records.h"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace ravo::cloud {

// A site in the app's own list (kept in the settings as JSON: id, url, name, keyword,
// isEnabled).
struct MonitoredSite {
    std::string id;
    std::string url;
    std::string name;
    std::optional<std::string> keyword;
    bool isEnabled = true;
    bool operator==(const MonitoredSite&) const = default;
};

nlohmann::json toJson(const std::vector<MonitoredSite>& sites);
Result<std::vector<MonitoredSite>> monitoredSitesFromJson(const nlohmann::json& json);

wire::CloudSite toCloudSite(const MonitoredSite& site, std::int64_t intervalMinutes);
MonitoredSite fromCloudSite(const wire::CloudSite& site);

// Why a site could not be added, with the text the user reads.
struct SiteInputError {
    enum class Kind { tooMany, invalidURL, duplicate, signedOut };
    SiteInputError(Kind errorKind, std::int64_t planLimit = 0)
        : kind(errorKind), limit(planLimit) {}
    Kind kind;
    std::int64_t limit; // tooMany
    std::string text() const;
    bool operator==(const SiteInputError&) const = default;
};

// The list with a new, enabled site at its end, or why not. The name is trimmed and cut
// to 100 characters; an empty keyword is none.
std::variant<std::vector<MonitoredSite>, SiteInputError>
withAddedSite(const std::vector<MonitoredSite>& sites, const std::optional<wire::CloudMe>& account,
              const std::string& name, const std::string& address, const std::string& keyword,
              const std::string& newID);

// The server's list, then the local sites it does not have (by id or by address).
std::vector<MonitoredSite> mergedSiteLists(const std::vector<MonitoredSite>& server,
                                           const std::vector<MonitoredSite>& local);

} // namespace ravo::cloud
