#include "server/net/client_address.h"
#include "server/net/ip_address.h"
#include "server/net/ip_network.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>

namespace ravo::server {
namespace {

IpAddress address(const char* text) {
    const auto parsed = parseIpAddress(text);
    EXPECT_TRUE(parsed) << text;
    return parsed.value_or(IpAddress{});
}

std::vector<IpNetwork> networks(const char* text) {
    return parseIpNetworks(text).value();
}

// Where a check would connect, after any resolving: only the public internet is global.
TEST(CheckTargets, OnlyGlobalAddressesAreGlobalInEveryForm) {
    const char* inside[] = {"127.0.0.1",
                            "127.255.255.254",
                            "0.0.0.0",
                            "0.1.2.3",
                            "10.1.2.3",
                            "172.16.0.1",
                            "172.31.255.255",
                            "192.168.1.1",
                            "100.64.0.1",
                            "100.127.255.255",
                            "169.254.169.254",
                            "224.0.0.1",
                            "239.255.255.250",
                            "240.0.0.1",
                            "255.255.255.255",
                            "192.0.0.8",
                            "192.0.2.1",
                            "198.18.0.1",
                            "198.51.100.1",
                            "203.0.113.1",
                            "::",
                            "::1",
                            "::ffff:127.0.0.1",
                            "::ffff:10.0.0.1",
                            "::127.0.0.1",
                            "fc00::1",
                            "fd12:3456::1",
                            "fe80::1",
                            "fec0::1",
                            "ff02::1",
                            "64:ff9b::a00:1",
                            "64:ff9b::7f00:1",
                            "64:ff9b:1::1",
                            "2002:7f00:1::1",
                            "2002:c0a8:101::1",
                            "2001:db8::1",
                            "2001::1",
                            "100::1",
                            "3fff::1"};
    for (const char* text : inside)
        EXPECT_FALSE(isGlobalAddress(address(text))) << text;
    const char* outside[] = {"1.1.1.1",        "8.8.8.8",         "100.63.255.255",
                             "100.128.0.0",    "172.15.255.255",  "172.32.0.0",
                             "192.169.0.1",    "223.255.255.255", "2606:4700::1111",
                             "2a00:1450::1",   "::ffff:8.8.8.8",  "64:ff9b::808:808",
                             "2002:808:808::1"};
    for (const char* text : outside)
        EXPECT_TRUE(isGlobalAddress(address(text))) << text;
}

TEST(CheckTargets, SocketAddressesReadAsTheyConnect) {
    sockaddr_in v4{};
    v4.sin_family = AF_INET;
    inet_pton(AF_INET, "127.0.0.2", &v4.sin_addr);
    EXPECT_EQ(addressOf(reinterpret_cast<sockaddr*>(&v4)), address("127.0.0.2"));
    sockaddr_in6 v6{};
    v6.sin6_family = AF_INET6;
    inet_pton(AF_INET6, "::ffff:127.0.0.1", &v6.sin6_addr);
    // A mapped address is its IPv4 address: one rule and one allowance for both.
    EXPECT_EQ(addressOf(reinterpret_cast<sockaddr*>(&v6)), address("127.0.0.1"));
    sockaddr unix{};
    unix.sa_family = AF_UNIX;
    EXPECT_FALSE(addressOf(&unix));
}

TEST(CheckTargets, OnlyWrittenOutAddressesParse) {
    // Numeric spellings a resolver would take are names here, not addresses.
    for (const char* text : {"2130706433", "0177.0.0.1", "127.1", "0x7f.0.0.1", "127.0.0.01",
                             "1.2.3.4.5", "fe80::1%eth0", "[::1", "", "::1/128", "localhost"})
        EXPECT_FALSE(parseIpAddress(text)) << text;
    EXPECT_EQ(toString(address("[2001:DB8::1]")), "2001:db8::1");
    EXPECT_TRUE(address("192.0.2.1").isV4());
    EXPECT_FALSE(address("2001:db8::1").isV4());
}

TEST(AllowedNetworks, BlocksContainTheirAddressesOnly) {
    const auto allowed = networks("192.168.1.0/24, 127.0.0.2/32 fd00::/8\t10.0.0.0/8");
    ASSERT_EQ(allowed.size(), 4u);
    EXPECT_TRUE(anyContains(allowed, address("192.168.1.254")));
    EXPECT_TRUE(anyContains(allowed, address("::ffff:192.168.1.7")));
    EXPECT_FALSE(anyContains(allowed, address("192.168.2.1")));
    EXPECT_TRUE(anyContains(allowed, address("127.0.0.2")));
    EXPECT_FALSE(anyContains(allowed, address("127.0.0.1")));
    EXPECT_TRUE(anyContains(allowed, address("fd12::1")));
    EXPECT_FALSE(anyContains(allowed, address("fe80::1")));
    // An IPv4 block says nothing of IPv6 space, whatever its prefix.
    EXPECT_FALSE(anyContains(networks("0.0.0.0/0"), address("2001:db8::1")));
    EXPECT_TRUE(anyContains(networks("::/0"), address("8.8.8.8")));
    // Host bits are cleared, and a block prints back as itself.
    EXPECT_EQ(toString(parseIpNetwork("192.168.1.77/24").value()), "192.168.1.0/24");
    EXPECT_EQ(toString(parseIpNetwork("2001:db8::1").value()), "2001:db8::1/128");
    EXPECT_TRUE(parseIpNetworks("").value().empty());
}

TEST(AllowedNetworks, ABadBlockIsNamed) {
    EXPECT_EQ(parseIpNetworks("10.0.0.0/8, 192.168.1.0/33").error(),
              "\"192.168.1.0/33\": the prefix length must be from 0 to 32");
    EXPECT_EQ(parseIpNetwork("fd00::/129").error(),
              "\"fd00::/129\": the prefix length must be from 0 to 128");
    EXPECT_EQ(parseIpNetwork("lan/24").error(),
              "\"lan/24\" is not an IP address or network (such as 192.168.1.0/24)");
    for (const char* text : {"10.0.0.0/", "10.0.0.0/-1", "10.0.0.0/8x", "10.0.0.0/ 8"})
        EXPECT_FALSE(parseIpNetworks(text)) << text;
}

struct Forwarding {
    const char* why;
    const char* peer;
    const char* header;
    ForwardedHeader kind;
    const char* client;
};

TEST(BehindAProxy, TheClientIsTheNearestHopNoProxyOfOursAdded) {
    const Forwarding rows[] = {
        {"no proxies trusted", "198.51.100.7", "203.0.113.1", ForwardedHeader::xForwardedFor,
         "198.51.100.7"},
        {"the proxy's client", "10.0.0.2", "203.0.113.1", ForwardedHeader::xForwardedFor,
         "203.0.113.1"},
        {"a claim in front of it", "10.0.0.2", "192.0.2.66, 203.0.113.1",
         ForwardedHeader::xForwardedFor, "203.0.113.1"},
        {"through two proxies", "10.0.0.2", "203.0.113.1, 10.0.0.3", ForwardedHeader::xForwardedFor,
         "203.0.113.1"},
        {"ports and brackets", "10.0.0.2", "[2001:db8::7]:443, 203.0.113.1:5000",
         ForwardedHeader::xForwardedFor, "203.0.113.1"},
        {"garbage after the client", "10.0.0.2", "203.0.113.1, not-an-address",
         ForwardedHeader::xForwardedFor, "10.0.0.2"},
        {"only proxies", "10.0.0.2", "10.0.0.9, 10.0.0.3", ForwardedHeader::xForwardedFor,
         "10.0.0.9"},
        {"no header", "10.0.0.2", "", ForwardedHeader::xForwardedFor, "10.0.0.2"},
        {"Forwarded", "10.0.0.2", "for=192.0.2.66, For=\"[2001:db8::7]:4711\";proto=https",
         ForwardedHeader::forwarded, "2001:db8::7"},
        {"Forwarded by, then for", "10.0.0.2", "by=10.0.0.2;for=203.0.113.1",
         ForwardedHeader::forwarded, "203.0.113.1"},
        {"an obfuscated node", "10.0.0.2", "for=203.0.113.1, for=_hidden",
         ForwardedHeader::forwarded, "10.0.0.2"},
        {"an element without for", "10.0.0.2", "proto=https;by=203.0.113.1",
         ForwardedHeader::forwarded, "10.0.0.2"},
    };
    for (const auto& row : rows) {
        const ProxyTrust trust{std::string_view(row.why) == "no proxies trusted"
                                   ? std::vector<IpNetwork>{}
                                   : networks("10.0.0.0/8"),
                               row.kind};
        EXPECT_EQ(toString(clientAddress(address(row.peer), row.header, trust)), row.client)
            << row.why;
    }
}

TEST(BehindAProxy, IPv6ClientsAreCountedByTheirNetwork) {
    EXPECT_EQ(clientKey(address("2001:db8:1:2:aaaa::1")), "2001:db8:1:2::/64");
    EXPECT_EQ(clientKey(address("2001:db8:1:2:bbbb::9")), "2001:db8:1:2::/64");
    EXPECT_EQ(clientKey(address("203.0.113.9")), "203.0.113.9");
}

} // namespace
} // namespace ravo::server
