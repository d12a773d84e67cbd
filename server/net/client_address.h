#pragma once

#include "server/net/ip_address.h"
#include "server/net/ip_network.h"

#include <string>
#include <string_view>
#include <vector>

namespace ravo::server {

// Which header a trusted proxy keeps: the one it appends the client's address to.
enum class ForwardedHeader { xForwardedFor, forwarded };

struct ProxyTrust {
    std::vector<IpNetwork> proxies; // none: every peer is the client itself
    ForwardedHeader header = ForwardedHeader::xForwardedFor;
    bool operator==(const ProxyTrust&) const = default;
};

// The addresses a forwarding header lists, left (farthest) to right (nearest). An entry that
// is not an address (a Forwarded "unknown" or obfuscated node, or garbage) is kept as
// nothing, so that the walk below stops there.
std::vector<std::optional<IpAddress>> forwardedAddresses(std::string_view value,
                                                         ForwardedHeader header);

// The client a request comes from: the peer, unless the peer is a trusted proxy; then the
// right-most address in the header that is not a trusted proxy. A hop that cannot be read
// ends the walk at the last trusted hop, so a client can never pick its own address.
IpAddress clientAddress(const IpAddress& peer, std::string_view headerValue,
                        const ProxyTrust& trust);

// Whether the peer is one of the trusted proxies, whose forwarding headers count.
bool isTrustedProxy(const IpAddress& peer, const ProxyTrust& trust);

// The key limits are counted under: an IPv4 address, or an IPv6 address's /64 (one
// subscriber's network, which a client can roam freely).
std::string clientKey(const IpAddress& client);
// The same for a client given as text (a request's client address); text that is not an
// address is its own key.
std::string clientKey(std::string_view client);

} // namespace ravo::server
