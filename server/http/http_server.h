#pragma once

#include "server/core/http_message.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace ravo::server {

struct HttpLimits {
    std::size_t maxBodyBytes = 256 * 1024;
    std::size_t maxHeaderBytes = 16 * 1024;
    // A client that has not sent its whole request by then is let go.
    std::chrono::seconds requestTimeout{30};
    std::chrono::seconds idleTimeout{60};
};

// Paths the front end serves itself because they stream: an endless download of zeros,
// and an upload whose body is read and thrown away, whatever its size.
struct HttpStreams {
    std::string endlessDownloadPath;
    std::string uploadSinkPath;
};

using RequestHandler = std::function<HttpResponse(const HttpRequest&)>;

// HTTP/1.1 on Boost.Beast: parsing, size and time limits, keep-alive; every request goes
// to `handler`, answers go back in order.
class HttpServer {
public:
    HttpServer(boost::asio::io_context& io, const boost::asio::ip::tcp::endpoint& endpoint,
               RequestHandler handler, HttpLimits limits, HttpStreams streams = {});

    // The port actually bound (useful with port 0).
    unsigned short port() const;

private:
    void accept();

    boost::asio::io_context& io_;
    boost::asio::ip::tcp::acceptor acceptor_;
    RequestHandler handler_;
    HttpLimits limits_;
    HttpStreams streams_;
};

} // namespace ravo::server
