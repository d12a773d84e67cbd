#pragma once

#include "server/http/http_server.h"

#include <boost/asio/ip/tcp.hpp>

#include <memory>

namespace ravo::server {

// What every connection of one server uses.
struct HttpShared {
    RequestHandler handler;
    HttpLimits limits;
    HttpStreams streams;
    ProxyTrust trust;
};

// Where a connection reports that it has ended; kept alive by its connections.
class HttpSessionOwner {
public:
    virtual ~HttpSessionOwner() = default;
    virtual const HttpShared& shared() const = 0;
    virtual void sessionEnded(const std::string& peerKey) = 0;
};

// The peer's address as the connection shows it ("::" when it cannot be read).
IpAddress peerOf(const boost::asio::ip::tcp::socket& socket);

// Serves one accepted connection from `peer` until it closes; `peerKey` is handed back at
// the end.
void startHttpSession(boost::asio::ip::tcp::socket socket, std::shared_ptr<HttpSessionOwner> owner,
                      const IpAddress& peer, std::string peerKey);

} // namespace ravo::server
