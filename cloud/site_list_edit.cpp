#include "cloud/site_list_edit.h"

namespace ravo::cloud {

QCoro::Task<CloudResult<TaggedSites>> changeSiteList(const CloudClient& client,
                                                     SiteListChange change) {
    // Each round loses only to a write that landed in between; this many in a row is a
    // writer gone wild, not bad luck.
    for (int round = 0; round < 8; ++round) {
        auto read = co_await client.taggedSites();
        if (auto* failure = std::get_if<CloudError>(&read))
            co_return *failure;
        const auto& current = std::get<TaggedSites>(read);
        auto changed = change(current.sites);
        if (auto* refused = std::get_if<CloudError>(&changed))
            co_return *refused;
        auto& sites = std::get<std::vector<wire::CloudSite>>(changed);
        if (sites == current.sites)
            co_return current;
        auto written = co_await client.syncSites(std::move(sites), current.tag);
        if (const auto* failure = std::get_if<CloudError>(&written);
            failure && failure->status == 412)
            continue;
        co_return written;
    }
    co_return CloudError{CloudError::Kind::rejected,
                         "The website list kept changing on the server. Try again."};
}

} // namespace ravo::cloud
