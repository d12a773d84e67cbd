#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace ravo::wire {

// A web address as the user typed it, made into the address the monitor keeps: trimmed,
// "https://" put in front when it has no scheme, http or https only, a host, no user name
// or password, no white space inside. Scheme and host are lower case. Nothing when it is
// not such an address.
std::optional<std::string> normalizedSiteURL(std::string_view typed);

// The host of a normalized address ("example.com"), or nothing.
std::optional<std::string> siteHost(std::string_view url);

// What alerts and lists call a site: its trimmed name, else its address without the scheme,
// a user name or a closing "/" ("shop.example:8443/health"), else the address as it stands.
std::string siteDisplayName(std::string_view name, std::string_view url);

} // namespace ravo::wire
