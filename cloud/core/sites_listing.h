#pragma once

#include "cloud/core/websites_status.h"

#include <optional>
#include <string>
#include <string_view>

namespace ravo::cloud {

// What `ravo sites` prints: made by one function whether the running Ravo or the command
// itself read the sites, so both give the same output.
struct SitesListing {
    std::string output;               // for standard output
    std::optional<std::string> error; // for standard error; the command then fails
    bool operator==(const SitesListing&) const = default;
};

SitesListing sitesListing(WebsitesStatus status, bool json);

// A listing sent over the single-instance socket: a first line "ok" or "failed WHY", then
// the output as it stands.
std::string toAnswer(const SitesListing& listing);
// Nothing for an answer of another form.
std::optional<SitesListing> fromAnswer(std::string_view answer);

} // namespace ravo::cloud
