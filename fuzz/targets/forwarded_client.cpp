// What a proxy (or a client pretending to be one) puts in X-Forwarded-For or Forwarded, and
// the networks an operator types into trusted-proxies or check-allow-networks.
#include "fuzz_check.h"
#include "server/net/client_address.h"
#include "server/net/ip_network.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

using namespace ravo::server;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const auto header = data[0] & 1 ? ForwardedHeader::forwarded : ForwardedHeader::xForwardedFor;

    // A network that parses prints back as itself.
    if (const auto networks = parseIpNetworks(text.substr(0, text.find('\n'))))
        for (const auto& network : *networks) {
            const auto again = parseIpNetwork(toString(network));
            FUZZ_CHECK(again && *again == network);
        }

    // The client is the peer or one of the listed hops, never anything else.
    const IpAddress peer = ipv4Address(10, 0, 0, 1);
    const ProxyTrust trust{parseIpNetworks("10.0.0.0/8, fd00::/8").value(), header};
    const IpAddress client = clientAddress(peer, text, trust);
    const auto hops = forwardedAddresses(text, header);
    FUZZ_CHECK(client == peer ||
               std::find(hops.begin(), hops.end(), std::optional(client)) != hops.end());
    FUZZ_CHECK(!clientKey(client).empty());
    return 0;
}
