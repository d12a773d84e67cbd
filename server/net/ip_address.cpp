#include "server/net/ip_address.h"

#include "server/net/ip_network.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace ravo::server {

namespace {

constexpr std::array<std::uint8_t, 12> kMappedPrefix{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff};

// The blocks below are literals of ours, so they always parse.
IpNetwork block(const char* text) {
    return parseIpNetwork(text).value();
}

std::vector<IpNetwork> blocks(std::initializer_list<const char*> texts) {
    std::vector<IpNetwork> networks;
    for (const char* text : texts)
        networks.push_back(block(text));
    return networks;
}

// IANA's special-purpose IPv4 blocks that are not globally reachable, with multicast and the
// reserved 240/4 (which holds the broadcast address).
const std::vector<IpNetwork>& nonGlobalV4() {
    static const std::vector<IpNetwork> table = blocks(
        {"0.0.0.0/8", "10.0.0.0/8", "100.64.0.0/10", "127.0.0.0/8", "169.254.0.0/16",
         "172.16.0.0/12", "192.0.0.0/24", "192.0.2.0/24", "192.88.99.0/24", "192.168.0.0/16",
         "198.18.0.0/15", "198.51.100.0/24", "203.0.113.0/24", "224.0.0.0/4", "240.0.0.0/4"});
    return table;
}

// Inside 2000::/3, the global unicast space: protocol assignments (Teredo among them) and the
// documentation blocks.
const std::vector<IpNetwork>& nonGlobalV6() {
    static const std::vector<IpNetwork> table = blocks({"2001::/23", "2001:db8::/32", "3fff::/20"});
    return table;
}

IpAddress v4At(const IpAddress& address, std::size_t offset) {
    IpAddress v4;
    std::copy(kMappedPrefix.begin(), kMappedPrefix.end(), v4.bytes.begin());
    std::copy_n(address.bytes.begin() + static_cast<std::ptrdiff_t>(offset), 4,
                v4.bytes.begin() + 12);
    return v4;
}

} // namespace

bool IpAddress::isV4() const {
    return std::equal(kMappedPrefix.begin(), kMappedPrefix.end(), bytes.begin());
}

IpAddress ipv4Address(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d) {
    IpAddress address;
    std::copy(kMappedPrefix.begin(), kMappedPrefix.end(), address.bytes.begin());
    address.bytes[12] = a;
    address.bytes[13] = b;
    address.bytes[14] = c;
    address.bytes[15] = d;
    return address;
}

std::optional<IpAddress> parseIpAddress(std::string_view text) {
    if (text.size() >= 2 && text.front() == '[' && text.back() == ']')
        text = text.substr(1, text.size() - 2);
    if (text.empty() || text.size() > INET6_ADDRSTRLEN)
        return std::nullopt;
    const std::string terminated(text);
    in_addr v4{};
    if (inet_pton(AF_INET, terminated.c_str(), &v4) == 1) {
        const auto* octets = reinterpret_cast<const std::uint8_t*>(&v4.s_addr);
        return ipv4Address(octets[0], octets[1], octets[2], octets[3]);
    }
    IpAddress address;
    if (inet_pton(AF_INET6, terminated.c_str(), address.bytes.data()) == 1)
        return address;
    return std::nullopt;
}

std::optional<IpAddress> addressOf(const sockaddr* address) {
    if (!address)
        return std::nullopt;
    if (address->sa_family == AF_INET) {
        sockaddr_in v4{};
        std::memcpy(&v4, address, sizeof v4);
        const auto* octets = reinterpret_cast<const std::uint8_t*>(&v4.sin_addr.s_addr);
        return ipv4Address(octets[0], octets[1], octets[2], octets[3]);
    }
    if (address->sa_family == AF_INET6) {
        sockaddr_in6 v6{};
        std::memcpy(&v6, address, sizeof v6);
        IpAddress result;
        std::memcpy(result.bytes.data(), &v6.sin6_addr, 16);
        return result;
    }
    return std::nullopt;
}

std::string toString(const IpAddress& address) {
    char text[INET6_ADDRSTRLEN] = {};
    if (address.isV4())
        inet_ntop(AF_INET, address.bytes.data() + 12, text, sizeof text);
    else
        inet_ntop(AF_INET6, address.bytes.data(), text, sizeof text);
    return text;
}

bool isGlobalAddress(const IpAddress& address) {
    if (address.isV4())
        return !anyContains(nonGlobalV4(), address);
    static const IpNetwork nat64 = block("64:ff9b::/96");
    static const IpNetwork globalUnicast = block("2000::/3");
    static const IpNetwork sixToFour = block("2002::/16");
    if (nat64.contains(address))
        return isGlobalAddress(v4At(address, 12));
    // Loopback, unspecified, IPv4-compatible, unique-local, link-local, multicast and
    // everything not yet assigned all lie outside the global unicast space.
    if (!globalUnicast.contains(address))
        return false;
    if (sixToFour.contains(address))
        return isGlobalAddress(v4At(address, 2));
    return !anyContains(nonGlobalV6(), address);
}

} // namespace ravo::server
