#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

struct sockaddr;

namespace ravo::server {

// An IPv4 or IPv6 address as 16 bytes; IPv4 is kept in its mapped form (::ffff:a.b.c.d), so
// one comparison serves both families.
struct IpAddress {
    std::array<std::uint8_t, 16> bytes{};

    bool isV4() const;
    auto operator<=>(const IpAddress&) const = default;
};

IpAddress ipv4Address(std::uint8_t a, std::uint8_t b, std::uint8_t c, std::uint8_t d);

// Dotted-quad IPv4 (four decimal parts, nothing else) or an IPv6 literal, with or without
// brackets; no ports, no zone ids.
std::optional<IpAddress> parseIpAddress(std::string_view text);
// An AF_INET or AF_INET6 socket address; nothing for other families.
std::optional<IpAddress> addressOf(const sockaddr* address);

std::string toString(const IpAddress& address);

// Whether the address is reachable on the public internet: not loopback, private, link-local,
// shared (CGNAT), documentation, multicast, reserved, nor any of those wrapped in an IPv6 form
// that carries an IPv4 address (mapped, compatible, NAT64, 6to4).
bool isGlobalAddress(const IpAddress& address);

} // namespace ravo::server
