#pragma once

#include "base/result.h"
#include "server/net/ip_address.h"

#include <string>
#include <string_view>
#include <vector>

namespace ravo::server {

// A CIDR block such as 192.168.1.0/24 or fd00::/8; a bare address is a block of one.
struct IpNetwork {
    IpAddress base;     // with the bits past the prefix cleared
    int prefixBits = 0; // of the 128-bit form: IPv4 blocks count from 96

    bool contains(const IpAddress& address) const;
    bool operator==(const IpNetwork&) const = default;
};

Result<IpNetwork> parseIpNetwork(std::string_view text);
// "a/n, b/n": commas, spaces or both between the blocks; one that does not parse fails it all.
Result<std::vector<IpNetwork>> parseIpNetworks(std::string_view text);
std::string toString(const IpNetwork& network);

bool anyContains(const std::vector<IpNetwork>& networks, const IpAddress& address);

} // namespace ravo::server
