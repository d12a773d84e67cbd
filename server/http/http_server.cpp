#include "server/http/http_server.h"

#include "core/log.h"

#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <memory>
#include <optional>

namespace ravo::server {

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;
using tcp = asio::ip::tcp;

namespace {

HttpRequest toRequest(const http::request<http::string_body>& message, const std::string& peer) {
    HttpRequest request;
    request.method = std::string(message.method_string());
    const std::string target(message.target());
    const auto question = target.find('?');
    request.path = target.substr(0, question);
    if (question != std::string::npos)
        request.query = target.substr(question + 1);
    for (const auto& field : message) {
        std::string name(field.name_string());
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        request.headers[name] = std::string(field.value());
    }
    request.body = message.body();
    request.clientAddress = peer;
    return request;
}

http::response<http::string_body> toMessage(const HttpResponse& response, unsigned version,
                                            bool keepAlive) {
    http::response<http::string_body> message{static_cast<http::status>(response.status), version};
    message.set(http::field::server, "ravo-server");
    message.set(http::field::content_type, response.contentType);
    message.set(http::field::cache_control, "no-store");
    for (const auto& [name, value] : response.headers)
        message.set(name, value);
    message.keep_alive(keepAlive);
    message.body() = response.body;
    message.prepare_payload();
    return message;
}

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket socket, const RequestHandler& handler, const HttpLimits& limits)
        : stream_(std::move(socket)), handler_(handler), limits_(limits) {
        beast::error_code ignored;
        const auto endpoint = stream_.socket().remote_endpoint(ignored);
        peer_ = ignored ? "unknown" : endpoint.address().to_string();
    }

    void start() { read(); }

private:
    void read() {
        parser_.emplace();
        parser_->body_limit(limits_.maxBodyBytes);
        parser_->header_limit(static_cast<std::uint32_t>(limits_.maxHeaderBytes));
        stream_.expires_after(first_ ? limits_.requestTimeout : limits_.idleTimeout);
        http::async_read(stream_, buffer_, *parser_,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             self->onRead(error);
                         });
    }

    void onRead(beast::error_code error) {
        first_ = false;
        if (error == http::error::end_of_stream || error == beast::error::timeout ||
            error == asio::error::operation_aborted || error == asio::error::connection_reset)
            return close();
        if (error) {
            // Say why, then hang up: the stream may be anywhere in a broken request.
            log::info("http", "refused a request from " + peer_ + ": " + error.message());
            const int status = error == http::error::body_limit     ? 413
                               : error == http::error::header_limit ? 431
                                                                    : 400;
            return write(
                toMessage(errorResponse(status, status == 413 ? "body_too_large" : "bad_request"),
                          11, false));
        }
        auto request = parser_->release();
        const HttpResponse response = handler_(toRequest(request, peer_));
        write(toMessage(response, request.version(), request.keep_alive()));
    }

    void write(http::response<http::string_body> message) {
        auto shared = std::make_shared<http::response<http::string_body>>(std::move(message));
        stream_.expires_after(limits_.requestTimeout);
        http::async_write(
            stream_, *shared,
            [self = shared_from_this(), shared](beast::error_code error, std::size_t) {
                if (error || !shared->keep_alive())
                    return self->close();
                self->read();
            });
    }

    void close() {
        beast::error_code ignored;
        stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
    }

    beast::tcp_stream stream_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<http::string_body>> parser_;
    const RequestHandler& handler_;
    const HttpLimits& limits_;
    std::string peer_;
    bool first_ = true;
};

} // namespace

HttpServer::HttpServer(asio::io_context& io, const tcp::endpoint& endpoint, RequestHandler handler,
                       HttpLimits limits)
    : io_(io), acceptor_(io), handler_(std::move(handler)), limits_(limits) {
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(asio::socket_base::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen(asio::socket_base::max_listen_connections);
    accept();
}

unsigned short HttpServer::port() const {
    return acceptor_.local_endpoint().port();
}

void HttpServer::accept() {
    acceptor_.async_accept(
        asio::make_strand(io_), [this](beast::error_code error, tcp::socket socket) {
            if (!error)
                std::make_shared<Session>(std::move(socket), handler_, limits_)->start();
            if (error != asio::error::operation_aborted)
                accept();
        });
}

} // namespace ravo::server
