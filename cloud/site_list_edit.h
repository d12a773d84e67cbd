#pragma once

#include "cloud/cloud_client.h"

#include <functional>
#include <variant>
#include <vector>

namespace ravo::cloud {

// A change to the account's site list, made to the list as the server has it now: the
// changed list, or why the change cannot be made.
using SiteListChange = std::function<std::variant<std::vector<wire::CloudSite>, CloudError>(
    const std::vector<wire::CloudSite>&)>;

// Reads the list, changes it and writes it back only if no one wrote in between; when
// someone did, reads and changes it again. The list the server kept, or the failure (then
// nothing was written).
QCoro::Task<CloudResult<TaggedSites>> changeSiteList(const CloudClient& client,
                                                     SiteListChange change);

} // namespace ravo::cloud
