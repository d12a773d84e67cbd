#include "server/net/ip_network.h"

#include <algorithm>
#include <charconv>

namespace ravo::server {

namespace {

IpAddress masked(IpAddress address, int prefixBits) {
    for (int i = 0; i < 16; ++i) {
        const int keep = std::clamp(prefixBits - i * 8, 0, 8);
        address.bytes[static_cast<std::size_t>(i)] &= static_cast<std::uint8_t>(0xff00 >> keep);
    }
    return address;
}

} // namespace

bool IpNetwork::contains(const IpAddress& address) const {
    return masked(address, prefixBits) == base;
}

Result<IpNetwork> parseIpNetwork(std::string_view text) {
    const auto slash = text.find('/');
    const auto address = parseIpAddress(text.substr(0, slash));
    const std::string quoted = "\"" + std::string(text.substr(0, 80)) + "\"";
    if (!address)
        return Failure{quoted + " is not an IP address or network (such as 192.168.1.0/24)"};
    const int width = address->isV4() ? 32 : 128;
    int bits = width;
    if (slash != std::string_view::npos) {
        const std::string_view digits = text.substr(slash + 1);
        const auto [end, error] =
            std::from_chars(digits.data(), digits.data() + digits.size(), bits);
        if (digits.empty() || error != std::errc{} || end != digits.data() + digits.size() ||
            bits < 0 || bits > width)
            return Failure{quoted + ": the prefix length must be from 0 to " +
                           std::to_string(width)};
    }
    const int prefixBits = bits + (128 - width);
    return IpNetwork{masked(*address, prefixBits), prefixBits};
}

Result<std::vector<IpNetwork>> parseIpNetworks(std::string_view text) {
    std::vector<IpNetwork> networks;
    std::size_t at = 0;
    while (at < text.size()) {
        const auto start = text.find_first_not_of(", \t", at);
        if (start == std::string_view::npos)
            break;
        const auto end = std::min(text.find_first_of(", \t", start), text.size());
        auto network = parseIpNetwork(text.substr(start, end - start));
        if (!network)
            return network.failure();
        networks.push_back(*network);
        at = end;
    }
    return networks;
}

std::string toString(const IpNetwork& network) {
    const int bits = network.base.isV4() ? network.prefixBits - 96 : network.prefixBits;
    return toString(network.base) + "/" + std::to_string(bits);
}

bool anyContains(const std::vector<IpNetwork>& networks, const IpAddress& address) {
    return std::any_of(networks.begin(), networks.end(),
                       [&](const IpNetwork& network) { return network.contains(address); });
}

} // namespace ravo::server
