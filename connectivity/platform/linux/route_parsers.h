#pragma once

#include <string>
#include <string_view>
#include <vector>

// The kernel's routing tables, which say whether and over which interfaces there is a way out.
namespace ravo::connectivity::kernel {

// Default-route interface names from /proc/net/route.
std::vector<std::string> parseDefaultRoutes(std::string_view text);
// Whether /proc/net/ipv6_route holds ::/0 over an interface other than loopback.
bool hasDefaultIPv6Route(std::string_view text);
// The interfaces of those ::/0 routes, in the table's order.
std::vector<std::string> parseDefaultIPv6Routes(std::string_view text);

} // namespace ravo::connectivity::kernel
