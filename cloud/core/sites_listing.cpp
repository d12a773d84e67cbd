#include "cloud/core/sites_listing.h"

#include "base/json_error.h"

#include <algorithm>
#include <utility>

namespace ravo::cloud {

namespace {

constexpr std::string_view kOk = "ok";
constexpr std::string_view kFailed = "failed ";

} // namespace

SitesListing sitesListing(WebsitesStatus status, bool json) {
    SitesListing listing;
    listing.error = std::exchange(status.error, std::nullopt);
    if (json) {
        // A failure is an error object, with the sites as last known beside it.
        auto document = toJson(status)["sites"];
        if (listing.error) {
            auto failed = json::errorDocument(*listing.error);
            failed["sites"] = std::move(document);
            document = std::move(failed);
        }
        listing.output = json::printable(document) + "\n";
        return listing;
    }
    for (const auto& line : lines(status))
        listing.output += line + "\n";
    return listing;
}

std::string toAnswer(const SitesListing& listing) {
    if (!listing.error)
        return std::string(kOk) + "\n" + listing.output;
    // The reason is one line of the answer's head.
    std::string why = *listing.error;
    std::replace(why.begin(), why.end(), '\n', ' ');
    return std::string(kFailed) + why + "\n" + listing.output;
}

std::optional<SitesListing> fromAnswer(std::string_view answer) {
    const auto end = answer.find('\n');
    if (end == std::string_view::npos)
        return std::nullopt;
    const std::string_view head = answer.substr(0, end);
    SitesListing listing{std::string(answer.substr(end + 1)), std::nullopt};
    if (head == kOk)
        return listing;
    if (head.size() <= kFailed.size() || !head.starts_with(kFailed))
        return std::nullopt;
    listing.error = std::string(head.substr(kFailed.size()));
    return listing;
}

} // namespace ravo::cloud
