#include "server/http/http_server.h"

#include "server/http/http_request_reader.h"

#include "core/log.h"

#include <boost/asio/strand.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

namespace ravo::server {

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;
using tcp = asio::ip::tcp;

namespace {

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

constexpr std::uint64_t kEndlessBytes = 8ull << 30; // "endless": 8 GiB, the client stops first
constexpr std::size_t kChunkBytes = 64 * 1024;

const std::array<char, kChunkBytes>& zeros() {
    static const std::array<char, kChunkBytes> chunk{};
    return chunk;
}

class Session : public std::enable_shared_from_this<Session> {
public:
    Session(tcp::socket socket, const RequestHandler& handler, const HttpLimits& limits,
            const HttpStreams& streams)
        : stream_(std::move(socket)), handler_(handler), limits_(limits), streams_(streams) {
        beast::error_code ignored;
        const auto endpoint = stream_.socket().remote_endpoint(ignored);
        peer_ = ignored ? "unknown" : endpoint.address().to_string();
    }

    void start() { read(); }

private:
    void read() {
        header_.emplace();
        header_->header_limit(static_cast<std::uint32_t>(limits_.maxHeaderBytes));
        // The body's size is judged once the path is known: uploads to the sink have none.
        header_->body_limit(std::numeric_limits<std::uint64_t>::max());
        stream_.expires_after(first_ ? limits_.requestTimeout : limits_.idleTimeout);
        http::async_read_header(stream_, buffer_, *header_,
                                [self = shared_from_this()](beast::error_code error, std::size_t) {
                                    self->onHeader(error);
                                });
    }

    void onHeader(beast::error_code headerError) {
        first_ = false;
        if (headerError)
            return onRead(headerError);
        const auto& header = header_->get();
        if (header.method() == http::verb::post && header.target() == streams_.uploadSinkPath)
            return discardUpload();
        if (header.method() == http::verb::get && header.target() == streams_.endlessDownloadPath)
            return sendEndless();
        if (header_->content_length().value_or(0) > limits_.maxBodyBytes)
            return onRead(http::error::body_limit);
        parser_.emplace(std::move(*header_));
        parser_->body_limit(limits_.maxBodyBytes);
        stream_.expires_after(limits_.requestTimeout);
        http::async_read(stream_, buffer_, *parser_,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             self->onRead(error);
                         });
    }

    void discardUpload() {
        scratch_.resize(kChunkBytes);
        sink_.emplace(std::move(*header_));
        sink_->body_limit(std::numeric_limits<std::uint64_t>::max());
        readUploadChunk();
    }

    void readUploadChunk() {
        sink_->get().body().data = scratch_.data();
        sink_->get().body().size = scratch_.size();
        stream_.expires_after(limits_.requestTimeout);
        http::async_read(stream_, buffer_, *sink_,
                         [self = shared_from_this()](beast::error_code error, std::size_t) {
                             if (error == http::error::need_buffer)
                                 error = {};
                             if (error)
                                 return self->close();
                             if (!self->sink_->is_done())
                                 return self->readUploadChunk();
                             const bool keepAlive = self->sink_->get().keep_alive();
                             self->write(toMessage(jsonResponse(200, "{}"), 11, keepAlive));
                         });
    }

    void sendEndless() {
        auto head = std::make_shared<std::string>(
            "HTTP/1.1 200 OK\r\nServer: ravo-server\r\nContent-Type: application/octet-stream\r\n"
            "Cache-Control: no-store\r\nConnection: close\r\nContent-Length: " +
            std::to_string(kEndlessBytes) + "\r\n\r\n");
        stream_.expires_after(limits_.requestTimeout);
        asio::async_write(stream_, asio::buffer(*head),
                          [self = shared_from_this(), head](beast::error_code error, std::size_t) {
                              if (error)
                                  return self->close();
                              self->sendZeros(0);
                          });
    }

    void sendZeros(std::uint64_t sent) {
        if (sent >= kEndlessBytes)
            return close();
        stream_.expires_after(limits_.requestTimeout);
        asio::async_write(
            stream_, asio::buffer(zeros()),
            [self = shared_from_this(), sent](beast::error_code error, std::size_t written) {
                if (error)
                    return self->close();
                self->sendZeros(sent + written);
            });
    }

    void onRead(beast::error_code error) {
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
        const HttpResponse response = handler_(requestFromMessage(request, peer_));
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
    std::optional<http::request_parser<http::empty_body>> header_;
    std::optional<http::request_parser<http::string_body>> parser_;
    std::optional<http::request_parser<http::buffer_body>> sink_;
    std::vector<char> scratch_; // only for uploads
    const RequestHandler& handler_;
    const HttpLimits& limits_;
    const HttpStreams& streams_;
    std::string peer_;
    bool first_ = true;
};

} // namespace

HttpServer::HttpServer(asio::io_context& io, const tcp::endpoint& endpoint, RequestHandler handler,
                       HttpLimits limits, HttpStreams streams)
    : io_(io), acceptor_(io), handler_(std::move(handler)), limits_(limits),
      streams_(std::move(streams)) {
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
                std::make_shared<Session>(std::move(socket), handler_, limits_, streams_)->start();
            if (error != asio::error::operation_aborted)
                accept();
        });
}

} // namespace ravo::server
