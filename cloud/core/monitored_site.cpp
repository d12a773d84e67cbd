#include "cloud/core/monitored_site.h"

#include "base/json_optional.h"
#include "base/trimmed.h"
#include "wire/site_url.h"
#include "wire/wire_fields.h"

#include <algorithm>

namespace ravo::cloud {

namespace {

// The first 100 characters, not cutting a UTF-8 sequence.
std::string first100Characters(const std::string& text) {
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80 && characters++ == 100)
            return text.substr(0, i);
    return text;
}

} // namespace

nlohmann::json toJson(const std::vector<MonitoredSite>& sites) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& site : sites) {
        nlohmann::json item = {
            {"id", site.id}, {"url", site.url}, {"name", site.name}, {"isEnabled", site.isEnabled}};
        json::putOptional(item, "keyword", site.keyword);
        list.push_back(std::move(item));
    }
    return list;
}

Result<std::vector<MonitoredSite>> monitoredSitesFromJson(const nlohmann::json& json) {
    if (!json.is_array())
        return Failure{"the site list is not a list"};
    std::vector<MonitoredSite> sites;
    for (const auto& item : json) {
        wire::WireFields f(item);
        MonitoredSite site{f.text("id"), f.text("url"),
                           f.optionalText("name").value_or(std::string()),
                           f.optionalText("keyword"), f.boolean("isEnabled", true)};
        if (f.problem())
            return Failure{"a site: " + *f.problem()};
        sites.push_back(std::move(site));
    }
    return sites;
}

wire::CloudSite toCloudSite(const MonitoredSite& site, std::int64_t intervalMinutes) {
    return {site.id, site.url, site.name, site.keyword, site.isEnabled, intervalMinutes};
}

MonitoredSite fromCloudSite(const wire::CloudSite& site) {
    return {site.id, site.url, site.name, site.keyword, site.enabled};
}

std::string SiteInputError::text() const {
    switch (kind) {
    case Kind::tooMany:
        return "Your plan allows " + std::to_string(limit) + " websites.";
    case Kind::invalidURL:
        return "Enter a web address such as example.com or https://example.com/health/.";
    case Kind::duplicate:
        return "This address is already monitored.";
    case Kind::signedOut:
        break;
    }
    return "Sign in to your Ravo account first.";
}

std::variant<std::vector<MonitoredSite>, SiteInputError>
withAddedSite(const std::vector<MonitoredSite>& sites, const std::optional<wire::CloudMe>& account,
              const std::string& name, const std::string& address, const std::string& keyword,
              const std::string& newID) {
    using Kind = SiteInputError::Kind;
    if (!account)
        return SiteInputError{Kind::signedOut};
    if (static_cast<std::int64_t>(sites.size()) >= account->maxSites)
        return SiteInputError{Kind::tooMany, account->maxSites};
    const auto url = wire::normalizedSiteURL(address);
    if (!url)
        return SiteInputError{Kind::invalidURL};
    if (std::any_of(sites.begin(), sites.end(),
                    [&](const MonitoredSite& s) { return s.url == *url; }))
        return SiteInputError{Kind::duplicate};
    std::vector<MonitoredSite> added = sites;
    const std::string word = trimmed(keyword);
    added.push_back({newID, *url, first100Characters(trimmed(name)),
                     word.empty() ? std::nullopt : std::optional(word), true});
    return added;
}

std::vector<MonitoredSite> mergedSiteLists(const std::vector<MonitoredSite>& server,
                                           const std::vector<MonitoredSite>& local) {
    std::vector<MonitoredSite> merged = server;
    for (const auto& site : local)
        if (std::none_of(merged.begin(), merged.end(), [&](const MonitoredSite& known) {
                return known.id == site.id || known.url == site.url;
            }))
            merged.push_back(site);
    return merged;
}

} // namespace ravo::cloud
