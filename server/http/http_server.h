#pragma once

#include "server/http/http_message.h"
#include "server/api/transfer_budget.h"
#include "server/net/client_address.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace ravo::server {

struct HttpLimits {
    std::size_t maxBodyBytes = 256 * 1024;
    std::size_t maxHeaderBytes = 16 * 1024;
    // A client that has not sent a request's head, or its whole body, by then is let go.
    std::chrono::seconds headerTimeout{10};
    std::chrono::seconds requestTimeout{30};
    std::chrono::seconds idleTimeout{60};
    // Past this many open connections new ones wait in the kernel's queue.
    std::size_t maxConnections = 1024;
    // One client (an address, an IPv6 /64) holds at most this many; more are closed at
    // once. Trusted proxies are not counted: their clients are many.
    std::size_t maxConnectionsPerClient = 64;
};

// Paths the front end serves itself because they stream: an endless download of zeros,
// and an upload whose body is read and thrown away, whatever its size. Each transfer is
// admitted first and counted against its client's budget.
struct HttpStreams {
    std::string endlessDownloadPath;
    std::string uploadSinkPath;
    // Nothing when the request (its head, no body) may stream; else the answer refusing it.
    std::function<std::optional<HttpResponse>(const HttpRequest&)> admit;
    std::shared_ptr<TransferBudget> budget;
};

using RequestHandler = std::function<HttpResponse(const HttpRequest&)>;

// HTTP/1.1 on Boost.Beast: parsing, size and time limits, keep-alive, a cap on connections
// that holds when the process runs out of file descriptors; every request goes to
// `handler`, answers go back in order.
class HttpServer {
public:
    HttpServer(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint,
               RequestHandler handler, HttpLimits limits, HttpStreams streams = {},
               ProxyTrust trust = {});
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // The port actually bound (useful with port 0).
    unsigned short port() const;

    class Listener;

private:
    std::shared_ptr<Listener> listener_;
};

} // namespace ravo::server
