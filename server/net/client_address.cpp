#include "server/net/client_address.h"

#include "base/trimmed.h"

#include <algorithm>
#include <cctype>

namespace ravo::server {

namespace {

bool startsWithNoCase(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() &&
           std::equal(prefix.begin(), prefix.end(), text.begin(), [](char a, char b) {
               return std::tolower(static_cast<unsigned char>(a)) ==
                      std::tolower(static_cast<unsigned char>(b));
           });
}

// "192.0.2.1", "192.0.2.1:443", "2001:db8::1", "[2001:db8::1]" or "[2001:db8::1]:443".
std::optional<IpAddress> hostOf(std::string_view node) {
    if (node.size() >= 2 && node.front() == '"' && node.back() == '"')
        node = node.substr(1, node.size() - 2);
    if (!node.empty() && node.front() == '[') {
        const auto close = node.find(']');
        if (close == std::string_view::npos)
            return std::nullopt;
        const std::string_view rest = node.substr(close + 1);
        if (!rest.empty() && rest.front() != ':')
            return std::nullopt;
        return parseIpAddress(node.substr(1, close - 1));
    }
    if (const auto colon = node.find(':');
        colon != std::string_view::npos && node.find(':', colon + 1) == std::string_view::npos)
        node = node.substr(0, colon); // IPv4 with a port
    return parseIpAddress(node);
}

// One element of Forwarded: "for=...;proto=https;by=..."; its "for" node.
std::optional<IpAddress> forwardedFor(std::string_view element) {
    while (!element.empty()) {
        const auto semicolon = element.find(';');
        const std::string_view pair = trimmedView(element.substr(0, semicolon));
        if (startsWithNoCase(pair, "for="))
            return hostOf(trimmedView(pair.substr(4)));
        if (semicolon == std::string_view::npos)
            break;
        element.remove_prefix(semicolon + 1);
    }
    return std::nullopt;
}

} // namespace

std::vector<std::optional<IpAddress>> forwardedAddresses(std::string_view value,
                                                         ForwardedHeader header) {
    std::vector<std::optional<IpAddress>> hops;
    // Quoted strings in Forwarded may hold commas; the addresses never do, so a split on
    // commas only garbles entries that could not be addresses anyway.
    for (;;) {
        const auto comma = value.find(',');
        const std::string_view entry = trimmedView(value.substr(0, comma));
        hops.push_back(header == ForwardedHeader::forwarded ? forwardedFor(entry) : hostOf(entry));
        if (comma == std::string_view::npos)
            break;
        value.remove_prefix(comma + 1);
    }
    return hops;
}

IpAddress clientAddress(const IpAddress& peer, std::string_view headerValue,
                        const ProxyTrust& trust) {
    if (!anyContains(trust.proxies, peer) || trimmedView(headerValue).empty())
        return peer;
    const auto hops = forwardedAddresses(headerValue, trust.header);
    IpAddress nearest = peer;
    for (auto hop = hops.rbegin(); hop != hops.rend(); ++hop) {
        if (!*hop)
            return nearest;
        if (!anyContains(trust.proxies, **hop))
            return **hop;
        nearest = **hop;
    }
    return nearest; // every hop is a proxy of ours: the farthest one is the best we know
}

bool isTrustedProxy(const IpAddress& peer, const ProxyTrust& trust) {
    return anyContains(trust.proxies, peer);
}

std::string clientKey(const IpAddress& client) {
    if (client.isV4())
        return toString(client);
    IpAddress network = client;
    std::fill(network.bytes.begin() + 8, network.bytes.end(), 0);
    return toString(network) + "/64";
}

std::string clientKey(std::string_view client) {
    const auto address = parseIpAddress(client);
    return address ? clientKey(*address) : std::string(client);
}

} // namespace ravo::server
