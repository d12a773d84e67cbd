#include "server/http/http_request_reader.h"

#include <gtest/gtest.h>

namespace ravo::server {
namespace {

const IpAddress kProxy = ipv4Address(10, 0, 0, 2);

std::variant<HttpRequest, int> read(const std::string& head, const std::string& body = "",
                                    const IpAddress& peer = kProxy, const ProxyTrust& trust = {}) {
    return readHttpRequest("POST /api/v1/auth/token HTTP/1.1\r\nHost: x\r\n" + head + "\r\n" + body,
                           HttpLimits{}, peer, trust);
}

// A request whose end the server cannot be sure of could smuggle a second one behind a
// proxy that reads it otherwise: it is refused.
TEST(HttpFraming, OnlyExactlyChunkedIsATransferEncoding) {
    const std::string chunked = "2\r\n{}\r\n0\r\n\r\n";
    for (const char* head :
         {"Transfer-Encoding: xchunked\r\n", "Transfer-Encoding: chunked, gzip\r\n",
          "Transfer-Encoding: gzip, chunked\r\n", "Transfer-Encoding: identity\r\n",
          "Transfer-Encoding: gzip\r\nTransfer-Encoding: chunked\r\n",
          "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n",
          "Transfer-Encoding: chunked\r\nContent-Length: 13\r\n"}) {
        const auto result = read(head, chunked);
        ASSERT_TRUE(std::holds_alternative<int>(result)) << head;
        EXPECT_EQ(std::get<int>(result), 400) << head;
    }
    const auto http10 = readHttpRequest(
        "POST /x HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n" + chunked, HttpLimits{}, kProxy);
    EXPECT_EQ(std::get<int>(http10), 400);
    for (const char* head :
         {"Transfer-Encoding: chunked\r\n", "Transfer-Encoding:  Chunked \r\n"}) {
        const auto result = read(head, chunked);
        ASSERT_TRUE(std::holds_alternative<HttpRequest>(result)) << head;
        EXPECT_EQ(std::get<HttpRequest>(result).body, "{}");
    }
}

TEST(HttpFraming, ForwardingHeadersCountFromTrustedPeersAndAllTheirLines) {
    const ProxyTrust trust{parseIpNetworks("10.0.0.0/8").value(), ForwardedHeader::xForwardedFor};
    const std::string head = "X-Forwarded-For: 203.0.113.9, 198.51.100.4\r\n"
                             "X-Forwarded-For: 10.0.0.7\r\nContent-Length: 0\r\n";
    const auto proxied = read(head, "", kProxy, trust);
    EXPECT_EQ(std::get<HttpRequest>(proxied).clientAddress, "198.51.100.4");
    const auto direct = read(head, "", ipv4Address(192, 0, 2, 5), trust);
    EXPECT_EQ(std::get<HttpRequest>(direct).clientAddress, "192.0.2.5");
}

} // namespace
} // namespace ravo::server
