#include "server/api/api.h"
#include "server/api/site_list_tag.h"

#include "server/config/secrets.h"

#include <algorithm>
#include <set>

namespace ravo::server::SitesApi {

using nlohmann::json;

namespace {

bool isWebAddress(const std::string& url) {
    const auto scheme = url.find("://");
    if (scheme == std::string::npos)
        return false;
    const std::string name = url.substr(0, scheme);
    const std::string rest = url.substr(scheme + 3);
    return (name == "http" || name == "https") && !rest.empty() && rest.front() != '/' &&
           url.size() <= 2048 && rest.find_first_of(" \t\r\n") == std::string::npos;
}

// The first reason the list cannot be kept, or nothing.
std::optional<std::string> problemWith(const std::vector<wire::CloudSite>& sites,
                                       const wire::CloudMe& plan) {
    if (static_cast<std::int64_t>(sites.size()) > plan.maxSites)
        return "Your plan allows " + std::to_string(plan.maxSites) + " websites.";
    std::set<std::string> ids;
    for (const auto& site : sites) {
        if (!Secrets::isCanonicalUUID(site.id))
            return "\"" + site.id.substr(0, 64) + "\" is not a UUID";
        if (!ids.insert(site.id).second)
            return "the site " + site.id + " is listed twice";
        if (!isWebAddress(site.url))
            return "only http:// and https:// addresses can be monitored";
        if (site.name.size() > 200 || (site.keyword && site.keyword->size() > 500))
            return "the name or keyword of " + site.id + " is too long";
        if (site.intervalMinutes < plan.minIntervalMinutes || site.intervalMinutes > 1440)
            return "the interval must be from " + std::to_string(plan.minIntervalMinutes) +
                   " to 1440 minutes";
    }
    return std::nullopt;
}

std::optional<std::vector<std::int64_t>> versionsMatched(const HttpRequest& request) {
    const auto header = request.headers.find("if-match");
    if (header == request.headers.end())
        return std::nullopt;
    return listVersionsIn(header->second);
}

HttpResponse listed(const SiteList& stored) {
    auto response = jsonResponse(200, wireJson(stored.sites).dump());
    response.headers["ETag"] = entityTagFor(stored.version);
    return response;
}

} // namespace

HttpResponse sync(ApiContext& context, const Caller& caller, const HttpRequest& request) {
    auto decoded = decodeBody(request, wire::sitesFromJson);
    if (auto* refused = std::get_if<HttpResponse>(&decoded))
        return *refused;
    auto* sites = &std::get<std::vector<wire::CloudSite>>(decoded);
    for (auto& site : *sites)
        if (site.keyword && site.keyword->empty())
            site.keyword.reset();
    if (const auto problem = problemWith(*sites, context.config.plan))
        return errorResponse(400, *problem);
    const auto replaced =
        context.store.replaceSites(caller.account.id, *sites, versionsMatched(request));
    if (!replaced)
        return storeFailure(replaced.failure());
    if (!*replaced)
        return errorResponse(412, "the site list changed since it was read; read it again");
    if (context.sitesChanged)
        context.sitesChanged();
    return list(context, caller);
}

HttpResponse list(ApiContext& context, const Caller& caller) {
    const auto stored = context.store.siteList(caller.account.id);
    if (!stored)
        return storeFailure(stored.failure());
    return listed(*stored);
}

HttpResponse listIfChanged(ApiContext& context, const Caller& caller, const HttpRequest& request) {
    const auto stored = context.store.siteList(caller.account.id);
    if (!stored)
        return storeFailure(stored.failure());
    if (const auto header = request.headers.find("if-none-match");
        header != request.headers.end()) {
        // "*", or a tag of the list as it stands.
        const auto versions = listVersionsIn(header->second);
        if (!versions ||
            std::find(versions->begin(), versions->end(), stored->version) != versions->end())
            return HttpResponse{304, {}, {}, {{"ETag", entityTagFor(stored->version)}}, {}};
    }
    return listed(*stored);
}

HttpResponse status(ApiContext& context, const Caller& caller) {
    const auto statuses = context.store.siteStatuses(caller.account.id);
    if (!statuses)
        return storeFailure(statuses.failure());
    return jsonResponse(200, wireJson(*statuses).dump());
}

HttpResponse history(ApiContext& context, const Caller& caller, const std::string& siteID) {
    if (!Secrets::isCanonicalUUID(siteID))
        return errorResponse(404, "site_not_found");
    const auto history = context.store.siteHistory(caller.account.id, siteID, context.now());
    if (!history)
        return storeFailure(history.failure());
    if (!*history)
        return errorResponse(404, "site_not_found");
    return jsonResponse(200, wire::toJson(**history).dump());
}

} // namespace ravo::server::SitesApi
